// The observer of the checks run on each thread.
#include <velmora/check_table_findings.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "common/check_table_report.h"

thread_local CheckTableObserver* t_check_table_observer = nullptr;

CheckTableObserver::~CheckTableObserver() = default;

ScopedCheckTableObserver::ScopedCheckTableObserver(CheckTableObserver* observer)
    : m_previous(t_check_table_observer) {
  t_check_table_observer = observer;
}

ScopedCheckTableObserver::~ScopedCheckTableObserver() { t_check_table_observer = m_previous; }

void NotifyCheckTableFailure(int result, int priority, const char* format, const char* message,
                             const CheckTableElement& element) {
  CheckTableFailure failure;
  failure.result = result;
  failure.priority = priority;
  failure.format = format;
  failure.message = message;
  failure.element = element;
  t_check_table_observer->OnFailure(failure);
}

void NotifyFormattedFailure(int result, const CheckTableElement& element, const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list size_args;
  va_copy(size_args, args);
  const int n = std::vsnprintf(nullptr, 0, format, size_args);
  va_end(size_args);
  std::string message(n > 0 ? static_cast<size_t>(n) : 0, '\0');
  if (n > 0) std::vsnprintf(&message[0], message.size() + 1, format, args);
  va_end(args);
  NotifyCheckTableFailure(result, WLOG_PRIORITY_ERROR, format, message.c_str(), element);
}
