#include <velmora/wlog.h>

#include <cstdio>
#include <string>

#include "log/wlog_bounds.h"

int wlog_category_can_write(LPWLOGCATEGORYINST handle, int priority, int /*id*/, int /*cls*/) {
  if (handle == nullptr || handle->pstSink == nullptr) return 0;
  if (!WlogWithinBounds(*handle, priority)) return 0;
  return handle->pstSink->Accepts(priority) ? 1 : 0;
}

int wlog_category_vlogv(LPWLOGCATEGORYINST handle, WLOGEVENT* event, const char* format,
                        va_list args) {
  if (handle == nullptr || handle->pstSink == nullptr || event == nullptr || format == nullptr) {
    return -1;
  }
  // Most lines fit on the stack; a longer one is formatted once more into a string of its size.
  char line[2048];
  va_list again;
  va_copy(again, args);
  const int n = std::vsnprintf(line, sizeof(line), format, args);
  if (n < 0) {
    va_end(again);
    return -1;
  }
  std::string long_line;
  if (static_cast<size_t>(n) < sizeof(line)) {
    event->evt_msg = line;
  } else {
    long_line.resize(static_cast<size_t>(n) + 1);
    std::vsnprintf(&long_line[0], long_line.size(), format, again);
    long_line.resize(static_cast<size_t>(n));
    event->evt_msg = long_line.c_str();
  }
  va_end(again);
  event->evt_msg_len = static_cast<size_t>(n);
  event->evt_type = 0;
  event->evt_version = 0;
  handle->pstSink->Write(*event);
  event->evt_msg = nullptr;
  return 0;
}

int wlog_category_logv(LPWLOGCATEGORYINST handle, WLOGEVENT* event, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int rc = wlog_category_vlogv(handle, event, format, args);
  va_end(args);
  return rc;
}
