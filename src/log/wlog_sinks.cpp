#include <velmora/wlog.h>

#include <utility>

namespace {

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

// The bytes of the event's message; none when it carries no message, whatever its length says.
size_t MessageLength(const WLOGEVENT& event) {
  return event.evt_msg != nullptr ? event.evt_msg_len : 0;
}

}  // namespace

void WlogMemorySink::Write(const WLOGEVENT& event) {
  WlogRecord record;
  record.priority = event.evt_priority;
  record.text.assign(OrEmpty(event.evt_msg), MessageLength(event));
  record.line = 0;
  if (event.evt_loc != nullptr) {
    record.file = OrEmpty(event.evt_loc->loc_file);
    record.line = event.evt_loc->loc_line;
    record.function = OrEmpty(event.evt_loc->loc_function);
  }
  m_records.push_back(std::move(record));
}

void WlogStreamSink::Write(const WLOGEVENT& event) {
  m_out << WlogPriorityName(event.evt_priority);
  if (event.evt_loc != nullptr) {
    m_out << ' ' << OrEmpty(event.evt_loc->loc_file) << ':' << event.evt_loc->loc_line << ' '
          << OrEmpty(event.evt_loc->loc_function);
  }
  m_out << ": ";
  m_out.write(OrEmpty(event.evt_msg), static_cast<std::streamsize>(MessageLength(event)));
  m_out << '\n';
}

bool WlogSerializedSink::Accepts(int priority) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_sink.Accepts(priority);
}

void WlogSerializedSink::Write(const WLOGEVENT& event) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_sink.Write(event);
}

const char* WlogPriorityName(int priority) {
  switch (priority) {
    case WLOG_PRIORITY_NULL: return "NULL";
    case WLOG_PRIORITY_FATAL: return "FATAL";
    case WLOG_PRIORITY_ALERT: return "ALERT";
    case WLOG_PRIORITY_CRIT: return "CRIT";
    case WLOG_PRIORITY_ERROR: return "ERROR";
    case WLOG_PRIORITY_WARN: return "WARN";
    case WLOG_PRIORITY_NOTICE: return "NOTICE";
    case WLOG_PRIORITY_INFO: return "INFO";
    case WLOG_PRIORITY_DEBUG: return "DEBUG";
    case WLOG_PRIORITY_TRACE: return "TRACE";
    case WLOG_PRIORITY_NOTSET: return "NOTSET";
    default: return "UNKNOWN";
  }
}
