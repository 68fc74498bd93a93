// WLOG: the log category through which the checker reports. A category has two optional priority
// bounds that callers may read directly, and a sink that receives the lines the category writes.
#ifndef VELMORA_WLOG_H_
#define VELMORA_WLOG_H_

#include <cstdarg>
#include <cstddef>
#include <string>
#include <vector>

// Priorities: a smaller number is more severe.
enum tagWLOG_PRIORITY {
  WLOG_PRIORITY_NULL = -1,
  WLOG_PRIORITY_FATAL = 0,
  WLOG_PRIORITY_ALERT = 100,
  WLOG_PRIORITY_CRIT = 200,
  WLOG_PRIORITY_ERROR = 300,
  WLOG_PRIORITY_WARN = 400,
  WLOG_PRIORITY_NOTICE = 500,
  WLOG_PRIORITY_INFO = 600,
  WLOG_PRIORITY_DEBUG = 700,
  WLOG_PRIORITY_TRACE = 800,
  WLOG_PRIORITY_NOTSET = 900,
  WLOG_PRIORITY_UNKNOWN = 1000,
};

// Where a line was written: source file, line and function of the logging statement.
typedef struct wlog_loc_info_t {
  const char* loc_file;
  int loc_line;
  const char* loc_function;
  void* loc_data;
} WLOGLOCINFO;

// One line on its way to the category. The caller sets the priority, the location and the three
// zero fields; the library fills the message and its length, type and version.
typedef struct tagWlogEvent {
  int evt_priority;
  const char* evt_msg;
  size_t evt_msg_len;
  const WLOGLOCINFO* evt_loc;
  int evt_is_msg_binary;
  int evt_id;
  int evt_cls;
  int evt_type;
  int evt_version;
} WLOGEVENT;

// Receives the lines a category writes. Accepts() is asked before anything is formatted.
class WlogSink {
 public:
  virtual ~WlogSink() = default;
  virtual bool Accepts(int priority) const = 0;
  virtual void Write(const WLOGEVENT& event) = 0;
};

// A log category. A line of priority P is written only when high bound <= P <= low bound; a NULL
// bound, or a low bound of -1, does not restrict. Bounds usually point at the category's own
// iPriorityHigh and iPriorityLow.
struct tagWLogCategoryInst {
  const int* piPriorityHigh = nullptr;
  const int* piPriorityLow = nullptr;
  int iPriorityHigh = WLOG_PRIORITY_NULL;
  int iPriorityLow = WLOG_PRIORITY_NULL;
  WlogSink* pstSink = nullptr;
};
typedef tagWLogCategoryInst* LPWLOGCATEGORYINST;

// Returns non-zero when the category would write a line of this priority (bounds and sink agree).
int wlog_category_can_write(LPWLOGCATEGORYINST handle, int priority, int id, int cls);

// Formats one line and hands it to the category's sink. Returns 0 when written, -1 otherwise.
int wlog_category_logv(LPWLOGCATEGORYINST handle, WLOGEVENT* event, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// The same with the arguments already collected.
int wlog_category_vlogv(LPWLOGCATEGORYINST handle, WLOGEVENT* event, const char* format,
                        va_list args) __attribute__((format(printf, 3, 0)));

// ---- The memory sink: it keeps the lines in memory, where the JSON report and the tests read
// them.
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
  explicit WlogMemorySink(int max_priority = WLOG_PRIORITY_UNKNOWN) : m_max_priority(max_priority) {}

  bool Accepts(int priority) const override { return priority <= m_max_priority; }
  void Write(const WLOGEVENT& event) override;

  const std::vector<WlogRecord>& records() const { return m_records; }
  // Hands the lines over to the caller and leaves the sink empty.
  std::vector<WlogRecord> TakeRecords() {
    std::vector<WlogRecord> taken;
    taken.swap(m_records);
    return taken;
  }
  void Clear() { m_records.clear(); }

 private:
  int m_max_priority;
  std::vector<WlogRecord> m_records;
};

// A category that writes every line at every priority to the sink: no bounds are set.
inline tagWLogCategoryInst WlogCategoryFor(WlogSink* sink) {
  tagWLogCategoryInst category;
  category.pstSink = sink;
  return category;
}

// A category together with the memory sink it writes to: every line at every priority is kept.
class WlogMemoryCategory {
 public:
  WlogMemoryCategory() : m_category(WlogCategoryFor(&m_sink)) {}
  WlogMemoryCategory(const WlogMemoryCategory&) = delete;
  WlogMemoryCategory& operator=(const WlogMemoryCategory&) = delete;

  LPWLOGCATEGORYINST handle() { return &m_category; }
  const std::vector<WlogRecord>& lines() const { return m_sink.records(); }
  // Hands the lines over to the caller and leaves the category empty.
  std::vector<WlogRecord> TakeLines() { return m_sink.TakeRecords(); }
  void Clear() { m_sink.Clear(); }

 private:
  WlogMemorySink m_sink;
  tagWLogCategoryInst m_category;
};

#endif  // VELMORA_WLOG_H_
