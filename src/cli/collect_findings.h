// Turns the failure lines the checks hand to their observer into findings at their places in the
// schema file: the most specific line of a failure first, the lines around it as notes, a hint.
#ifndef VELMORA_CLI_COLLECT_FINDINGS_H_
#define VELMORA_CLI_COLLECT_FINDINGS_H_

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/findings.h"
#include <velmora/check_table_findings.h>
#include <velmora/zem.h>
#include <velmora/zem_xml_loader.h>

// The schema the findings are placed in, and the table being checked.
class FindingPlaces {
 public:
  FindingPlaces(LPZEMMETALIB metalib, const ZemSourcePlaces& places);

  // Places the failure lines of one check of table into findings; also marks them as found by a
  // step run on its own.
  std::vector<Finding> Place(const std::string& table,
                             const std::vector<CheckTableFailure>& lines, bool also) const;
  // A finding about the table as a whole, at its struct.
  Finding OfTable(const std::string& table, const std::string& message, int result) const;

 private:
  struct Line;
  void Locate(const std::string& table, const CheckTableElement& element, Finding* finding) const;
  void LocateEntry(LPZEMMETA table_meta, LPZEMMETAENTRY entry, bool attribute,
                   Finding* finding) const;
  // The meta holding an entry, found through an index of every entry built on first use. Tables
  // are checked on several threads at once, so the index is built by exactly one of them.
  LPZEMMETA OwnerOf(LPZEMMETAENTRY entry) const;

  LPZEMMETALIB m_metalib;
  const ZemSourcePlaces& m_places;
  mutable std::once_flag m_owners_built;
  mutable std::unique_ptr<std::unordered_map<const void*, LPZEMMETA>> m_owners;
};

// Keeps the failure lines of the checks run on this thread while it lives (each text copied).
class FailureRecorder : public CheckTableObserver {
 public:
  FailureRecorder() : m_guard(this) {}
  void OnFailure(const CheckTableFailure& failure) override;
  // The lines kept; their texts live as long as this recorder.
  const std::vector<CheckTableFailure>& lines() const { return m_lines; }

 private:
  std::vector<std::unique_ptr<std::string>> m_texts;
  std::vector<CheckTableFailure> m_lines;
  ScopedCheckTableObserver m_guard;
};

#endif  // VELMORA_CLI_COLLECT_FINDINGS_H_
