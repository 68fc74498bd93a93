// Reporting macros of the CheckTable implementation files: each supplies the location of the
// statement (file, line, function) to the one reporting funnel of CheckTable. Not for other users.
#ifndef VELMORA_COMMON_CHECK_TABLE_REPORT_H_
#define VELMORA_COMMON_CHECK_TABLE_REPORT_H_

#include <velmora/check_table.h>
#include <velmora/check_table_findings.h>

// The observer installed on this thread, or NULL.
extern thread_local CheckTableObserver* t_check_table_observer;

// Hands one failure to the observer of this thread; call it only when there is one.
void NotifyCheckTableFailure(int result, int priority, const char* format, const char* message,
                             const CheckTableElement& element);

// Tells the observer of this thread, if any, of a failure line that does not go through Report.
inline void NotifyFailure(int result, const char* format, const char* message,
                          const CheckTableElement& element) {
  if (t_check_table_observer != nullptr) {
    NotifyCheckTableFailure(result, WLOG_PRIORITY_ERROR, format, message, element);
  }
}

// The elements a failure is about.
inline CheckTableElement OnTable() { return CheckTableElement{}; }
inline CheckTableElement OnEntry(LPZEMMETAENTRY pstEntry) {
  return CheckTableElement{CheckTableElementKind::kEntry, pstEntry};
}
inline CheckTableElement OnIndex(LPZEMMETAINDEX pstIndex) {
  return CheckTableElement{CheckTableElementKind::kIndex, pstIndex};
}
inline CheckTableElement OnPrimaryKey(LPZEMMETA meta) {
  return CheckTableElement{CheckTableElementKind::kPrimaryKey, meta};
}
inline CheckTableElement OnSplitTableKey(LPZEMMETA meta) {
  return CheckTableElement{CheckTableElementKind::kSplitTableKey, meta};
}
inline CheckTableElement OnTableAttributes(LPZEMMETA meta) {
  return CheckTableElement{CheckTableElementKind::kTableAttributes, meta};
}
inline CheckTableElement OnEntryAttributes(LPZEMMETAENTRY pstEntry) {
  return CheckTableElement{CheckTableElementKind::kEntryAttributes, pstEntry};
}

#define CHECK_TABLE_LOC (WLOGLOCINFO{__FILE__, __LINE__, __func__, nullptr})

// The location of a statement in a helper that logs under the name of the public check it serves:
// operators see the check they called, whatever private step wrote the line.
#define CHECK_TABLE_LOC_OF(function) (WLOGLOCINFO{__FILE__, __LINE__, (function), nullptr})

// A failure about the table as a whole: the message goes into the error buffer and, through the
// gate, to the log at error priority. Evaluates to result.
#define REPORT_ERROR(log_handle, result, ...) \
  REPORT_ERROR_ON((log_handle), OnTable(), (result), __VA_ARGS__)

// The same from a helper that reports under the name of the check it belongs to (loc).
#define REPORT_ERROR_AT(log_handle, loc, result, ...) \
  REPORT_ERROR_ON_AT((log_handle), OnTable(), (loc), (result), __VA_ARGS__)

// A failure about one element of the table (OnEntry(pstEntry), OnIndex(pstIndex), ...).
#define REPORT_ERROR_ON(log_handle, element, result, ...) \
  REPORT_ERROR_ON_AT((log_handle), (element), CHECK_TABLE_LOC, (result), __VA_ARGS__)

// The same under the name of the check a helper belongs to (loc).
#define REPORT_ERROR_ON_AT(log_handle, element, loc, result, ...) \
  Report((log_handle), WLOG_PRIORITY_ERROR, (loc), (result), (element), __VA_ARGS__)

// A failure of the attribute string of the table a step's call is about (call.meta), at loc.
#define REPORT_ATTRS_AT(call, loc, result, ...)                                          \
  REPORT_ERROR_ON_AT((call).log_handle, OnTableAttributes((call).meta), (loc), (result), \
                     __VA_ARGS__)

// A message that is kept in the error buffer although nothing failed, logged at its own priority.
#define REPORT_NOTE(log_handle, priority, ...) \
  ((void)Report((log_handle), (priority), CHECK_TABLE_LOC, 0, OnTable(), __VA_ARGS__))

// A log line that leaves the error buffer alone. Nothing is evaluated when the gate refuses it.
#define LOG_LINE(log_handle, priority, ...) \
  LOG_LINE_AT((log_handle), (priority), CHECK_TABLE_LOC, __VA_ARGS__)

// The same under the name of the check a helper belongs to (loc). The line's own format and
// arguments go straight to the log library, after the gate.
#define LOG_LINE_AT(log_handle, priority, loc, ...)                  \
  do {                                                               \
    if (LogGateOpen((log_handle), (priority))) {                     \
      const WLOGLOCINFO log_line_loc = (loc);                        \
      WLOGEVENT log_line_event = LogEvent((priority), log_line_loc); \
      wlog_category_logv((log_handle), &log_line_event, __VA_ARGS__); \
    }                                                                \
  } while (0)

// A failure line logged at error priority that leaves the error buffer alone, told to the
// observer of the thread, if any, with its element and result.
#define LOG_FAILURE_LINE_AT(log_handle, element, result, loc, ...)              \
  do {                                                                          \
    LOG_LINE_AT((log_handle), WLOG_PRIORITY_ERROR, (loc), __VA_ARGS__);         \
    if (t_check_table_observer != nullptr) {                                    \
      NotifyFormattedFailure((result), (element), __VA_ARGS__);                 \
    }                                                                           \
  } while (0)

// Formats a failure line and hands it to the observer of this thread; call it only when there is
// one.
void NotifyFormattedFailure(int result, const CheckTableElement& element, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Names printed with "%s" where the caller may have passed NULL.
inline const char* OrNullText(const char* text) { return text != nullptr ? text : "(null)"; }

#endif  // VELMORA_COMMON_CHECK_TABLE_REPORT_H_
