#include <velmora/wlog.h>

#include <utility>

namespace {

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

void WlogMemorySink::Write(const WLOGEVENT& event) {
  WlogRecord record;
  record.priority = event.evt_priority;
  record.text.assign(OrEmpty(event.evt_msg), event.evt_msg_len);
  record.line = 0;
  if (event.evt_loc != nullptr) {
    record.file = OrEmpty(event.evt_loc->loc_file);
    record.line = event.evt_loc->loc_line;
    record.function = OrEmpty(event.evt_loc->loc_function);
  }
  m_records.push_back(std::move(record));
}
