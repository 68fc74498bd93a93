// WLOG: the log category through which the checker reports. A category has two optional priority
// bounds that callers may read directly, and a sink that receives the lines the category writes.
//
// Threads: several threads may write through one category at once when its sink is safe for
// concurrent writers (wrap any sink in a WlogSerializedSink) and nobody changes the category's
// bounds or sink meanwhile.
#ifndef VELMORA_WLOG_H_
#define VELMORA_WLOG_H_

#include <cstdarg>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include <velmora/export.h>

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

// One line on its way to the category. The caller sets the priority, the location (or NULL: no
// location) and the three zero fields; the library fills the message and its length, type and
// version.
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

// Receives the lines a category writes. Accepts() is asked before anything is formatted. Write()
// gets the formatted line in event.evt_msg (evt_msg_len bytes), valid only during the call: a
// sink that keeps the line copies it.
class VELMORA_API WlogSink {
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

// Returns non-zero when the category would write a line of this priority: its bounds let the
// priority through and its sink accepts it. Returns 0 for a NULL handle and for a category without
// a sink. id and cls are not used.
VELMORA_API int wlog_category_can_write(LPWLOGCATEGORYINST handle, int priority, int id, int cls);

// Formats one line and hands it to the category's sink; it does not ask the bounds or the sink
// again, so callers ask wlog_category_can_write first. Returns 0 when written. Returns -1, writing
// nothing and leaving *event alone, for a NULL handle, event or format, a category without a sink,
// or a format that fails. While the sink runs, event->evt_msg points at the formatted line; on
// return it is NULL again and evt_msg_len, evt_type and evt_version keep what the line had.
VELMORA_API int wlog_category_logv(LPWLOGCATEGORYINST handle, WLOGEVENT* event,
                                   const char* format, ...) __attribute__((format(printf, 3, 4)));

// The same with the arguments already collected.
VELMORA_API int wlog_category_vlogv(LPWLOGCATEGORYINST handle, WLOGEVENT* event,
                                    const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

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
// are refused before they are formatted. Not safe for concurrent writers on its own.
class VELMORA_API WlogMemorySink : public WlogSink {
 public:
  explicit WlogMemorySink(int max_priority = WLOG_PRIORITY_UNKNOWN) : m_max_priority(max_priority) {}

  bool Accepts(int priority) const override { return priority <= m_max_priority; }
  void Write(const WLOGEVENT& event) override;

  // The lines so far; the reference stays valid as long as the sink, and its contents change with
  // the next Write, Clear or TakeRecords.
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

// Writes "PRIORITY file:line function: text" lines to a stream ("PRIORITY: text" for a line
// without location). The stream must outlive the sink. Not safe for concurrent writers on its own.
class VELMORA_API WlogStreamSink : public WlogSink {
 public:
  WlogStreamSink(std::ostream& out, int max_priority) : m_out(out), m_max_priority(max_priority) {}

  bool Accepts(int priority) const override { return priority <= m_max_priority; }
  void Write(const WLOGEVENT& event) override;

 private:
  std::ostream& m_out;
  int m_max_priority;
};

// Makes any sink safe for concurrent writers: every call reaches the wrapped sink under one mutex,
// so lines from several threads arrive whole, one after another. The wrapped sink must outlive
// this one; read it only when no thread writes any more.
class VELMORA_API WlogSerializedSink : public WlogSink {
 public:
  explicit WlogSerializedSink(WlogSink& sink) : m_sink(sink) {}

  bool Accepts(int priority) const override;
  void Write(const WLOGEVENT& event) override;

 private:
  WlogSink& m_sink;
  mutable std::mutex m_mutex;
};

// The name of a priority ("ERROR", "INFO", ...), or "UNKNOWN" for a value that is not one. The
// text is static.
VELMORA_API const char* WlogPriorityName(int priority);

// A category that writes every line at every priority to the sink: no bounds are set. A NULL sink
// gives a category that writes nothing.
inline tagWLogCategoryInst WlogCategoryFor(WlogSink* sink) {
  tagWLogCategoryInst category;
  category.pstSink = sink;
  return category;
}

// A category together with the memory sink it writes to: every line at every priority is kept,
// or, given a priority, the lines of that priority and more severe ones.
class WlogMemoryCategory {
 public:
  WlogMemoryCategory() : m_category(WlogCategoryFor(&m_sink)) {}
  explicit WlogMemoryCategory(int max_priority)
      : m_sink(max_priority), m_category(WlogCategoryFor(&m_sink)) {}
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
