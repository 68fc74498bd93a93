// Table name rules. A table name becomes part of keys and file names across the store, so it is
// limited to ASCII letters, digits and '_', must not start with a digit, and has at most 31 bytes.
#include <cstring>
#include <string>

#include <velmora/check_table.h>
#include "common/check_table_report.h"
#include "common/check_table_rules.h"

int CheckTable::CheckTableNameValidity(const char* metaname, LPWLOGCATEGORYINST log_handle) {
  // The entry points reject a missing name before asking; any other caller that passes none is
  // told the name is empty instead of having a NULL pointer read.
  if (metaname == nullptr) metaname = "";
  const std::string tmp_meta_name(metaname);
  if (tmp_meta_name.empty()) {
    return REPORT_ERROR(log_handle, ERROR_TABLE_NAME_EMPTY, "table name can't be empty");
  }
  if (StartsWithDigit(tmp_meta_name.c_str())) {
    return REPORT_ERROR(log_handle, ERROR_TABLE_NAME_STARTWITH_DIGIT, "table name startswith digit.");
  }
  if (!HasOnlyNameChars(metaname)) {
    return REPORT_ERROR(log_handle, ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR,
                        "table name has illegal character.");
  }
  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckTableNameValidity successed! table: '%s'", metaname);
  return CheckTableNameLength(metaname, log_handle);
}

int CheckTable::CheckTableNameLength(const char* metaname, LPWLOGCATEGORYINST log_handle) {
  const size_t len = std::strlen(metaname);
  // The longest accepted name has 31 bytes while the message says 32: the message counts the
  // terminator, as it always has. Deliberate; keep both numbers.
  if (len > 31) {
    return REPORT_ERROR(log_handle, ERROR_TABLE_NAME_TOO_LONG,
                        "table name '%s' is too long,maximum %d chars", metaname, 32);
  }
  if (len != 0) {
    LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckTableNameLength successed! table: '%s' ", metaname);
    return CHECK_TABLE_SUCCESS;
  }
  return REPORT_ERROR(log_handle, ERROR_TABLE_NAME_EMPTY, "table name can't be empty");
}
