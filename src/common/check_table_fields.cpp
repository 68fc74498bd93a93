// Value field, field size and field name rules. Every entry of a table's meta is either a primary
// key member (key bit 0x10 of chDBFlag) or a value field. The store holds only a limited number
// of value fields of a limited set of types, each field within a size that grew with server
// releases, and it turns field names into column names, so they must be plain identifiers that
// stay distinct when letter case is ignored.
#include <strings.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include <velmora/check_table.h>
#include "common/check_table_report.h"
#include <velmora/string_helpers.h>

namespace {

// Type codes 0 to 21 are the ones the store can hold.
const unsigned int kSupportedTypeLimit = 22;

// Most value fields of a generic table and of any other kind of table. Servers before
// kManyValueFieldsVersion hold half the generic maximum in a generic table and one field less in
// a list table; other kinds of table have no version gate. The asymmetry is intended.
const int kGenericTableMaxValueNum = 256;
const int kOtherTableMaxValueNum = 255;
const int kGenericTableOldServerMaxValueNum = 128;
const int kListTableOldServerMaxValueNum = 127;
const char* const kManyValueFieldsVersion = "3.40.0.193253";

const int kGenericTable = 0;
const int kListTable = 1;

// Field size limits in bytes. A key field is part of every record's key, so it stays small; a
// value field may be as large as the oldest server that must serve the table can hold.
// Sizes from schema files fit an int and are printed as the store always printed them; a model
// built in code may hold more, and its true size is printed in full.
struct FieldLenLimit {
  int64_t max_len;
  const char* message;       // entry name, size as int
  const char* wide_message;  // entry name, size as long long
};
const FieldLenLimit kKeyFieldLimit = {1024, "key %s length(%d) is greater than 1K",
                                      "key %s length(%lld) is greater than 1K"};
const FieldLenLimit kValueFieldLimitBefore329 = {131072, "entry %s length(%d) is greater than 128k",
                                                 "entry %s length(%lld) is greater than 128k"};
const FieldLenLimit kValueFieldLimitFrom329 = {262144, "entry %s length(%d) is greater than 256k",
                                               "entry %s length(%lld) is greater than 256k"};
const FieldLenLimit kValueFieldLimitFrom339 = {10485760, "entry %s length(%d) is greater than 10M",
                                               "entry %s length(%lld) is greater than 10M"};

bool FitsInt(int64_t value) { return value >= INT32_MIN && value <= INT32_MAX; }
const char* const kValueFieldLenVersion329 = "3.29.0";
const char* const kValueFieldLenVersion339 = "3.39.0";
const char* const kEntryLenErrorHead = "ERR_ENTRY_LEN;";

// A column name holds at most 31 characters: the store's buffer has 32 bytes with the terminator.
const int kFieldNameMaxLen = 31;

// Bytes of the buffer the repetition message is composed in before it reaches the error buffer.
const size_t kRepeatedNameMessageSize = 8096;

bool IsPrimaryKeyEntry(LPZEMMETAENTRY pstEntry) {
  return (pstEntry->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY) != 0;
}

// Bytes are taken as signed chars, so every byte of 0x80 or above (any non-ASCII text) is illegal.
bool IsFieldNameChar(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

}  // namespace

int CheckTable::CheckValueField(LPZEMMETA meta, int table_type, const std::string& svrMinVersion,
                                LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER, "meta is NULL");
  }
  const char* meta_name = zem_get_meta_name(meta);

  // Types are examined in entry order, so an unsupported type is reported before any count limit.
  int index = 0;
  const int entry_num = zem_get_entry_num(meta);
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) {
      return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                          "entry %d is null! Meta name: %s", i, meta_name);
    }
    if (IsPrimaryKeyEntry(pstEntry)) continue;
    if (CheckWhetherTypeSupportted(pstEntry, log_handle) != CHECK_TABLE_SUCCESS) {
      return REPORT_ERROR(log_handle, ERROR_FIELD_TYPE_ILLEGAL,
                          "The entry type is not supported! entry_name:'%s' table='%s'",
                          zem_get_entry_name(pstEntry), meta_name);
    }
    ++index;
  }

  if (index == 0) {
    return REPORT_ERROR(log_handle, ERROR_VALUE_FIELD,
                        "The number of value field can not be zero! table: '%s'", meta_name);
  }

  // An empty server version means no version is known: only the hard maximum applies.
  bool needs_many_fields_server = false;
  if (table_type != kGenericTable) {
    if (index > kOtherTableMaxValueNum) {
      return REPORT_ERROR(log_handle, ERROR_VALUE_FIELD,
                          "The number of value field can not more than %d! list table: '%s'",
                          kOtherTableMaxValueNum, meta_name);
    }
    needs_many_fields_server = !svrMinVersion.empty() && table_type == kListTable &&
                               index > kListTableOldServerMaxValueNum;
  } else {
    if (index > kGenericTableMaxValueNum) {
      return REPORT_ERROR(log_handle, ERROR_VALUE_FIELD,
                          "The number of value field can not more than %d! table: '%s'",
                          kGenericTableMaxValueNum, meta_name);
    }
    needs_many_fields_server = !svrMinVersion.empty() && index > kGenericTableOldServerMaxValueNum;
  }
  if (needs_many_fields_server &&
      RealCmpVersion(svrMinVersion.c_str(), kManyValueFieldsVersion, true) < 0) {
    return REPORT_ERROR(log_handle, ERROR_VALUE_FIELD,
                        "svr version %s < %s, not support 256 value! table: '%s'",
                        svrMinVersion.c_str(), kManyValueFieldsVersion, meta_name);
  }

  std::string strResult;
  const int ret = CheckStringWithCount(meta, strResult, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    // The report holds entry names, so it is copied as text and never read as a format.
    return ReportFormatText(log_handle, CHECK_TABLE_LOC, ret, strResult.c_str());
  }

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckValueField success! table: '%s' ", meta_name);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckWhetherTypeSupportted(LPZEMMETAENTRY pstEntry, LPWLOGCATEGORYINST log_handle) {
  if (pstEntry == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER, "pstEntry is NULL");
  }
  // Taken unsigned, so negative codes are unsupported too. The caller reports the entry.
  const unsigned int type = static_cast<unsigned int>(zem_get_entry_type(pstEntry));
  return type < kSupportedTypeLimit ? CHECK_TABLE_SUCCESS : ERROR_EIXST_FIELD;
}

int CheckTable::GetValueFieldNum(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    LOG_LINE(log_handle, WLOG_PRIORITY_ERROR, "meta is NULL");
    return CHECK_TABLE_ERROR_INVALID_PARAMETER;
  }
  return zem_get_entry_num(meta) - meta->nPrimayKeyMemberNum;
}

bool CheckTable::CheckValueFieldLen(LPZEMMETA pstMeta, LPWLOGCATEGORYINST log_handle,
                                    const std::string& svrMinVersion) {
  if (pstMeta == nullptr) {
    REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER, "meta is NULL");
    return false;
  }
  const bool ge329 = RealCmpVersion(svrMinVersion.c_str(), kValueFieldLenVersion329, false) >= 0;
  const bool ge339 = RealCmpVersion(svrMinVersion.c_str(), kValueFieldLenVersion339, false) >= 0;
  const char* meta_name = zem_get_meta_name(pstMeta);

  const int entry_num = zem_get_entry_num(pstMeta);
  if (entry_num < 1) {
    REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                 "Zem meta is invalid! Meta name: %s", meta_name);
    return false;
  }

  // Every offending entry is logged and listed; the loop does not stop at the first.
  std::string err_str = kEntryLenErrorHead;
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(pstMeta, i);
    if (pstEntry == nullptr) {
      REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                   "entry %d is null! Meta name: %s", i, meta_name);
      return false;
    }
    const int type = zem_get_entry_type(pstEntry);
    const size_t unit_len = zem_get_entry_unitsize(pstEntry);
    const int entry_count = zem_get_entry_count(pstEntry);
    // Two factors of at most 32 bits: the 64-bit product neither wraps nor hides a huge array.
    const int64_t len = static_cast<int64_t>(unit_len) * static_cast<int64_t>(entry_count);
    const char* entry_name = zem_get_entry_name(pstEntry);

    // The key limit does not depend on the version; the value limit is chosen by the newest gate
    // the oldest server has passed.
    const FieldLenLimit& limit = IsPrimaryKeyEntry(pstEntry) ? kKeyFieldLimit
                                 : ge339                     ? kValueFieldLimitFrom339
                                 : ge329                     ? kValueFieldLimitFrom329
                                                             : kValueFieldLimitBefore329;
    if (len > limit.max_len) {
      if (FitsInt(len)) {
        LOG_LINE(log_handle, WLOG_PRIORITY_ERROR, limit.message, entry_name, static_cast<int>(len));
      } else {
        LOG_LINE(log_handle, WLOG_PRIORITY_ERROR, limit.wide_message, entry_name,
                 static_cast<long long>(len));
      }
      err_str += entry_name;
      err_str += "|";
    }
    if (FitsInt(len)) {
      LOG_LINE(log_handle, WLOG_PRIORITY_DEBUG, "type:%d size:%d,version:%s", type,
               static_cast<int>(len), svrMinVersion.c_str());
    } else {
      LOG_LINE(log_handle, WLOG_PRIORITY_DEBUG, "type:%d size:%lld,version:%s", type,
               static_cast<long long>(len), svrMinVersion.c_str());
    }
  }

  if (err_str != kEntryLenErrorHead) {
    // Each offending entry has been logged already; the list goes to the error buffer only.
    REPORT_ERROR(nullptr, ERROR_ENTRY_LENGTH_NOT_LEGAL, "%s", err_str.c_str());
    return false;
  }
  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckValueFieldLen successed! table: '%s' ", meta_name);
  return true;
}

int CheckTable::CheckFieldNameLength(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "CheckFieldNameLength failed.meta is NULL");
  }
  const char* meta_name = zem_get_meta_name(meta);

  // Within one name the tests run in this order, so a long name with a '-' in it is reported as
  // an illegal character, not as too long.
  const int entry_num = zem_get_entry_num(meta);
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) {
      return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                          "entry %d is null! Meta name: %s", i, meta_name);
    }
    const char* str = zem_get_entry_name(pstEntry);
    const int len = static_cast<int>(std::strlen(str));
    LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "length of entry name %s is %lu", str,
             static_cast<unsigned long>(len));
    if (len < 1) {
      return REPORT_ERROR(log_handle, ERROR_FIELD_NAME_EMPTY, "field name is empty.");
    }
    if (str[0] >= '0' && str[0] <= '9') {
      return REPORT_ERROR(log_handle, ERROR_FIELD_NAME_STARTWITH_DIGIT,
                          "field name[%s] startswith digit.", str);
    }
    for (int idx = 0; idx < len; ++idx) {
      if (!IsFieldNameChar(str[idx])) {
        return REPORT_ERROR(log_handle, ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR,
                            "field name[%s] has illegal character.", str);
      }
    }
    if (len > kFieldNameMaxLen) {
      return REPORT_ERROR(log_handle, ERROR_FIELD_NAME_TOO_LONG, "length of entry %s is too long",
                          str);
    }
  }

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckFieldNameLength successed! table: '%s' ",
           meta_name);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckRepeatedFieldName(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle) {
  // The length check's text on purpose: operators know this failure by it.
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "CheckFieldNameLength failed.meta is NULL");
  }
  const int entry_num = zem_get_entry_num(meta);
  if (entry_num < 1) return CHECK_TABLE_SUCCESS;
  const char* meta_name = zem_get_meta_name(meta);

  // Pairs are examined row by row, (0,1), (0,2), ... (1,2), ...; the first repeated pair is
  // reported, and an empty name only once every pair of the earlier entries has passed.
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) {
      return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                          "entry %d is null! Meta name: %s", i, meta_name);
    }
    const char* entry_name = zem_get_entry_name(pstEntry);
    const int entry_name_len = static_cast<int>(std::strlen(entry_name));
    LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "length of entry name %s is %d", entry_name,
             entry_name_len);
    if (entry_name_len < 1) {
      return REPORT_ERROR(log_handle, ERROR_FIELD_NAME_EMPTY, "field name is empty.");
    }
    if (i == entry_num - 1) return CHECK_TABLE_SUCCESS;

    for (int j = i + 1; j < entry_num; ++j) {
      LPZEMMETAENTRY pstCmpEntry = zem_get_entry_by_index(meta, j);
      if (pstCmpEntry == nullptr) {
        return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                            "entry %d is null! Meta name: %s", j, meta_name);
      }
      const char* cmp_entry_name = zem_get_entry_name(pstCmpEntry);
      if (static_cast<int>(std::strlen(cmp_entry_name)) == entry_name_len &&
          strncasecmp(entry_name, cmp_entry_name, static_cast<size_t>(entry_name_len)) == 0) {
        char err_msg[kRepeatedNameMessageSize];
        std::snprintf(err_msg, sizeof(err_msg),
                      "using strncasecmp, the field name is repeated. field_name:%s, entry_index:%d, cmp_field_name:%s, cmp_entry_index:%d",
                      entry_name, i, cmp_entry_name, j);
        // The message holds field names, so it is copied as text and never read as a format.
        return ReportFormatText(log_handle, CHECK_TABLE_LOC, ERROR_REPEATED_FIELD_NAME, err_msg);
      }
    }
  }
  return CHECK_TABLE_SUCCESS;
}
