// Reporting macros of the CheckTable implementation files: each supplies the location of the
// statement (file, line, function) to the one reporting funnel of CheckTable. Not for other users.
#ifndef VELMORA_COMMON_CHECK_TABLE_REPORT_H_
#define VELMORA_COMMON_CHECK_TABLE_REPORT_H_

#include <velmora/check_table.h>

#define CHECK_TABLE_LOC (WLOGLOCINFO{__FILE__, __LINE__, __func__, nullptr})

// The location of a statement in a helper that logs under the name of the public check it serves:
// operators see the check they called, whatever private step wrote the line.
#define CHECK_TABLE_LOC_OF(function) (WLOGLOCINFO{__FILE__, __LINE__, (function), nullptr})

// A failure: the message goes into the error buffer and, through the gate, to the log at error
// priority. Evaluates to result.
#define REPORT_ERROR(log_handle, result, ...) \
  REPORT_ERROR_AT((log_handle), CHECK_TABLE_LOC, (result), __VA_ARGS__)

// The same from a helper that reports under the name of the check it belongs to (loc).
#define REPORT_ERROR_AT(log_handle, loc, result, ...) \
  Report((log_handle), WLOG_PRIORITY_ERROR, (loc), (result), __VA_ARGS__)

// A message that is kept in the error buffer although nothing failed, logged at its own priority.
#define REPORT_NOTE(log_handle, priority, ...) \
  ((void)Report((log_handle), (priority), CHECK_TABLE_LOC, 0, __VA_ARGS__))

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

// Names printed with "%s" where the caller may have passed NULL.
inline const char* OrNullText(const char* text) { return text != nullptr ? text : "(null)"; }

#endif  // VELMORA_COMMON_CHECK_TABLE_REPORT_H_
