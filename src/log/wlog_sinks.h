// Sinks for WLOG categories: one keeps the lines in memory (tests and the JSON report read it),
// one writes them to a stream (the text report).
#ifndef VELMORA_LOG_WLOG_SINKS_H_
#define VELMORA_LOG_WLOG_SINKS_H_

#include <ostream>
#include <string>
#include <vector>

#include "log/wlog.h"

// One line as a sink received it.
struct WlogRecord {
  int priority;
  std::string text;
  std::string file;
  int line;
  std::string function;
};

// Keeps every line it accepts, in order. Lines whose priority is above max_priority (less severe)
// are refused before they are formatted.
class WlogMemorySink : public WlogSink {
 public:
  explicit WlogMemorySink(int max_priority = WLOG_PRIORITY_UNKNOWN) : max_priority_(max_priority) {}

  bool Accepts(int priority) const override { return priority <= max_priority_; }
  void Write(const WLOGEVENT& event) override;

  const std::vector<WlogRecord>& records() const { return records_; }
  // Hands the lines over to the caller and leaves the sink empty.
  std::vector<WlogRecord> TakeRecords() {
    std::vector<WlogRecord> taken;
    taken.swap(records_);
    return taken;
  }
  void Clear() { records_.clear(); }

 private:
  int max_priority_;
  std::vector<WlogRecord> records_;
};

// Writes "PRIORITY file:line function: text" lines to a stream.
class WlogStreamSink : public WlogSink {
 public:
  WlogStreamSink(std::ostream& out, int max_priority) : out_(out), max_priority_(max_priority) {}

  bool Accepts(int priority) const override { return priority <= max_priority_; }
  void Write(const WLOGEVENT& event) override;

 private:
  std::ostream& out_;
  int max_priority_;
};

// The name of a priority ("ERROR", "INFO", ...), or "UNKNOWN" for a value that is not one.
const char* WlogPriorityName(int priority);

// A category that writes every line at every priority to the sink: no bounds are set.
inline tagWLogCategoryInst WlogCategoryFor(WlogSink* sink) {
  tagWLogCategoryInst category;
  category.pstSink = sink;
  return category;
}

#endif  // VELMORA_LOG_WLOG_SINKS_H_
