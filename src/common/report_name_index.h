// The "already listed" test of the count/refer reports, answered without searching the report.
//
// A report lists each offending entry's name followed by one blank, and a name is left out when
// that text (name and blank) already occurs anywhere in the report: inside the heading, at the end
// of a longer name, across two listed names when the name holds a blank. That rule is a substring
// search, and a search of the whole report for every name costs the square of the report's size.
// This index gives the same answers in time proportional to the name: the names that may be asked
// about are known before the first question, so one automaton over all of them (Aho-Corasick)
// reads the report once, as it grows, and marks each name the moment its text appears.
#ifndef VELMORA_COMMON_REPORT_NAME_INDEX_H_
#define VELMORA_COMMON_REPORT_NAME_INDEX_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class ReportNameIndex {
 public:
  ReportNameIndex();

  // Adds a name that may be asked about. Names added after the first question are not indexed;
  // they are still answered, by a search of the report.
  void AddName(std::string_view name);

  // Whether name followed by one blank occurs anywhere in report. Between questions the report may
  // only grow at its end; a report shorter than the last one is read again from its start.
  bool Listed(const std::string& report, std::string_view name);

 private:
  static constexpr uint32_t kNone = UINT32_MAX;
  static constexpr uint32_t kRoot = 0;

  // A state of the automaton: the text of the path from the root to it is a prefix of "name ".
  struct Node {
    uint32_t first_child = kNone;
    uint32_t next_sibling = kNone;
    uint32_t fail = kRoot;      // the longest proper suffix of this path that is also a path
    uint32_t next_end = kNone;  // the longest proper suffix of this path that ends a name
    unsigned char byte = 0;
    bool ends_name = false;
    bool seen = false;  // this name and blank occur in the report read so far
  };

  uint32_t Child(uint32_t node, unsigned char byte) const;
  uint32_t AddChild(uint32_t node, unsigned char byte);
  // The node of name and blank, or kNone when that text is no path of the automaton.
  uint32_t Find(std::string_view name) const;
  void LinkSuffixes();
  void LinkSuffixesOfChild(uint32_t parent, uint32_t child);
  // Reads the report from where the last question left it.
  void Read(const std::string& report);
  void MarkSeen(uint32_t node);

  std::vector<Node> m_nodes;
  std::array<uint32_t, 256> m_root_children;
  bool m_linked = false;
  bool m_complete = true;  // every name added was indexed
  size_t m_read = 0;       // bytes of the report read
  uint32_t m_state = kRoot;
};

#endif  // VELMORA_COMMON_REPORT_NAME_INDEX_H_
