// Value field, field size and field name rules. Every entry of a table's meta is either a primary
// key member (key bit 0x10 of chDBFlag) or a value field. The store holds only a limited number
// of value fields of a limited set of types, each field within a size that grew with server
// releases, and it turns field names into column names, so they must be plain identifiers that
// stay distinct when letter case is ignored.
#include <strings.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <velmora/check_table.h>
#include "common/check_table_report.h"
#include "common/check_table_rules.h"
#include "common/repeated_names.h"
#include <velmora/string_helpers.h>

namespace {

// Type codes 0 to 21 are the ones the store can hold.
const unsigned int kSupportedTypeLimit = 22;

// Most value fields of a generic table and of any other kind of table. Servers before
// kManyValueFieldsVersion hold half the generic maximum in a generic table and one field less in
// a list table; other kinds of table have no version gate. The asymmetry is intended.
const int kGenericTableMaxValueNum = MAX_DBFIELD_NUM;
const int kOtherTableMaxValueNum = MAX_DBFIELD_NUM - 1;
const int kGenericTableOldServerMaxValueNum = 128;
const int kListTableOldServerMaxValueNum = 127;
const char* const kManyValueFieldsVersion = "3.40.0.193253";

// Field size limits in bytes. A key field is part of every record's key, so it stays small; a
// value field may be as large as the oldest server that must serve the table can hold.
const int64_t kKeyFieldMaxLen = 1024;
const int64_t kValueFieldMaxLenBefore329 = 131072;
const int64_t kValueFieldMaxLenFrom329 = 262144;
const int64_t kValueFieldMaxLenFrom339 = 10485760;

// How the messages name a limit.
const char* LimitName(int64_t max_len) {
  switch (max_len) {
    case kKeyFieldMaxLen:
      return "1K";
    case kValueFieldMaxLenBefore329:
      return "128k";
    case kValueFieldMaxLenFrom329:
      return "256k";
    default:
      return "10M";
  }
}

const char* const kValueFieldLenVersion329 = "3.29.0";
const char* const kValueFieldLenVersion339 = "3.39.0";
const char* const kEntryLenErrorHead = "ERR_ENTRY_LEN;";

// A column name holds at most 31 characters: the store's buffer has 32 bytes with the terminator.
const int kFieldNameMaxLen = VELMORA_MAX_FIELD_NAME - 1;

// Bytes of the buffer the repetition message is composed in before it reaches the error buffer.
const size_t kRepeatedNameMessageSize = 8096;

// The repetition message, named once for its format and for the observer.
#define REPEATED_NAME_FORMAT \
  "using strncasecmp, the field name is repeated. field_name:%s, entry_index:%d, cmp_field_name:%s, cmp_entry_index:%d"

// The size of an entry in bytes. Two factors of at most 32 bits: the 64-bit product neither wraps
// nor hides a huge array.
int64_t EntryLength(LPZEMMETAENTRY pstEntry) {
  return static_cast<int64_t>(zem_get_entry_unitsize(pstEntry)) *
         static_cast<int64_t>(zem_get_entry_count(pstEntry));
}

}  // namespace

// The per-entry steps log under the name of the check they belong to.
#define VALUE_FIELD_LOC CHECK_TABLE_LOC_OF("CheckValueField")
#define VALUE_FIELD_LEN_LOC CHECK_TABLE_LOC_OF("CheckValueFieldLen")
#define FIELD_NAME_LOC CHECK_TABLE_LOC_OF("CheckFieldNameLength")
#define REPEATED_NAME_LOC CHECK_TABLE_LOC_OF("CheckRepeatedFieldName")

int CheckTable::ReportEmptyEntrySlot(LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc,
                                     int slot, const char* meta_name) {
  return REPORT_ERROR_AT(log_handle, loc, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                         "entry %d is null! Meta name: %s", slot, meta_name);
}

int CheckTable::CheckValueField(LPZEMMETA meta, int table_type, const std::string& svrMinVersion,
                                LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER, "meta is NULL");
  }
  const char* meta_name = zem_get_meta_name(meta);

  // Types are examined in entry order, so an unsupported type is reported before any count limit.
  int index = 0;
  int ret = ForEachEntry(
      meta,
      [&](int, LPZEMMETAENTRY pstEntry) -> int {
        if (IsPrimaryKeyEntry(pstEntry)) return CHECK_TABLE_SUCCESS;
        if (CheckWhetherTypeSupportted(pstEntry, log_handle) != CHECK_TABLE_SUCCESS) {
          return REPORT_ERROR_ON_AT(log_handle, OnEntry(pstEntry), VALUE_FIELD_LOC,
                                    ERROR_FIELD_TYPE_ILLEGAL,
                                 "The entry type is not supported! entry_name:'%s' table='%s'",
                                 zem_get_entry_name(pstEntry), meta_name);
        }
        ++index;
        return CHECK_TABLE_SUCCESS;
      },
      [&](int slot) { return ReportEmptyEntrySlot(log_handle, VALUE_FIELD_LOC, slot, meta_name); });
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  ret = CheckValueFieldNum(index, table_type, svrMinVersion, meta_name, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  std::string strResult;
  ret = CheckStringWithCount(meta, strResult, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    // The report holds entry names, so it is copied as text and never read as a format.
    return ReportFormatText(log_handle, CHECK_TABLE_LOC, ret, OnTable(), strResult.c_str(),
                            strResult.c_str());
  }

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckValueField success! table: '%s' ", meta_name);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckValueFieldNum(int index, int table_type, const std::string& svrMinVersion,
                                   const char* meta_name, LPWLOGCATEGORYINST log_handle) {
  if (index == 0) {
    return REPORT_ERROR_AT(log_handle, VALUE_FIELD_LOC, ERROR_VALUE_FIELD,
                           "The number of value field can not be zero! table: '%s'", meta_name);
  }

  // An empty server version means no version is known: only the hard maximum applies.
  bool needs_many_fields_server = false;
  if (table_type != kGenericTable) {
    if (index > kOtherTableMaxValueNum) {
      return REPORT_ERROR_AT(log_handle, VALUE_FIELD_LOC, ERROR_VALUE_FIELD,
                             "The number of value field can not more than %d! list table: '%s'",
                             kOtherTableMaxValueNum, meta_name);
    }
    needs_many_fields_server = !svrMinVersion.empty() && table_type == kListTable &&
                               index > kListTableOldServerMaxValueNum;
  } else {
    if (index > kGenericTableMaxValueNum) {
      return REPORT_ERROR_AT(log_handle, VALUE_FIELD_LOC, ERROR_VALUE_FIELD,
                             "The number of value field can not more than %d! table: '%s'",
                             kGenericTableMaxValueNum, meta_name);
    }
    needs_many_fields_server = !svrMinVersion.empty() && index > kGenericTableOldServerMaxValueNum;
  }
  if (needs_many_fields_server &&
      RealCmpVersion(svrMinVersion.c_str(), kManyValueFieldsVersion, true) < 0) {
    return REPORT_ERROR_AT(log_handle, VALUE_FIELD_LOC, ERROR_VALUE_FIELD,
                           "svr version %s < %s, not support 256 value! table: '%s'",
                           svrMinVersion.c_str(), kManyValueFieldsVersion, meta_name);
  }
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
  const char* meta_name = zem_get_meta_name(pstMeta);
  if (zem_get_entry_num(pstMeta) < 1) {
    REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                 "Zem meta is invalid! Meta name: %s", meta_name);
    return false;
  }

  // The key limit does not depend on the version; the value limit is chosen by the newest gate
  // the oldest server has passed.
  const bool ge329 = RealCmpVersion(svrMinVersion.c_str(), kValueFieldLenVersion329, false) >= 0;
  const bool ge339 = RealCmpVersion(svrMinVersion.c_str(), kValueFieldLenVersion339, false) >= 0;
  const int64_t value_max_len = ge339   ? kValueFieldMaxLenFrom339
                                : ge329 ? kValueFieldMaxLenFrom329
                                        : kValueFieldMaxLenBefore329;

  // Every offending entry is logged and listed; the walk does not stop at the first.
  std::string err_str = kEntryLenErrorHead;
  const int ret = ForEachEntry(
      pstMeta,
      [&](int, LPZEMMETAENTRY pstEntry) -> int {
        const int64_t len = EntryLength(pstEntry);
        const int64_t max_len = IsPrimaryKeyEntry(pstEntry) ? kKeyFieldMaxLen : value_max_len;
        if (len > max_len) {
          LogFieldOverLimit(log_handle, max_len, pstEntry, len);
          err_str += zem_get_entry_name(pstEntry);
          err_str += "|";
        }
        LogFieldLength(log_handle, zem_get_entry_type(pstEntry), len, svrMinVersion.c_str());
        return CHECK_TABLE_SUCCESS;
      },
      [&](int slot) {
        return ReportEmptyEntrySlot(log_handle, VALUE_FIELD_LEN_LOC, slot, meta_name);
      });
  if (ret != CHECK_TABLE_SUCCESS) return false;

  if (err_str != kEntryLenErrorHead) {
    // Each offending entry has been logged already; the list goes to the error buffer only.
    REPORT_ERROR(nullptr, ERROR_ENTRY_LENGTH_NOT_LEGAL, "%s", err_str.c_str());
    return false;
  }
  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckValueFieldLen successed! table: '%s' ", meta_name);
  return true;
}

// Each limit has its own text, which operators match on. A schema file cannot hold a field above
// 2147483647 bytes; a model built in code can, and its true size is then printed in full with the
// same words.
void CheckTable::LogFieldOverLimit(LPWLOGCATEGORYINST log_handle, int64_t max_len,
                                   LPZEMMETAENTRY pstEntry, int64_t len) {
  const char* name = zem_get_entry_name(pstEntry);
  const CheckTableElement entry = OnEntry(pstEntry);
  const int result = ERROR_ENTRY_LENGTH_NOT_LEGAL;
  if (len > INT_MAX) {
    const bool is_key = max_len == kKeyFieldMaxLen;
    LOG_FAILURE_LINE_AT(log_handle, entry, result, VALUE_FIELD_LEN_LOC,
                        "%s %s length(%lld) is greater than %s", is_key ? "key" : "entry", name,
                static_cast<long long>(len), LimitName(max_len));
    return;
  }
  const int size = static_cast<int>(len);
  switch (max_len) {
    case kKeyFieldMaxLen:
      LOG_FAILURE_LINE_AT(log_handle, entry, result, VALUE_FIELD_LEN_LOC,
                          "key %s length(%d) is greater than 1K", name, size);
      return;
    case kValueFieldMaxLenBefore329:
      LOG_FAILURE_LINE_AT(log_handle, entry, result, VALUE_FIELD_LEN_LOC,
                          "entry %s length(%d) is greater than 128k", name, size);
      return;
    case kValueFieldMaxLenFrom329:
      LOG_FAILURE_LINE_AT(log_handle, entry, result, VALUE_FIELD_LEN_LOC,
                          "entry %s length(%d) is greater than 256k", name, size);
      return;
    case kValueFieldMaxLenFrom339:
      LOG_FAILURE_LINE_AT(log_handle, entry, result, VALUE_FIELD_LEN_LOC,
                          "entry %s length(%d) is greater than 10M", name, size);
      return;
  }
}

void CheckTable::LogFieldLength(LPWLOGCATEGORYINST log_handle, int type, int64_t len,
                                const char* svrMinVersion) {
  if (len < INT_MIN || len > INT_MAX) {
    LOG_LINE_AT(log_handle, WLOG_PRIORITY_DEBUG, VALUE_FIELD_LEN_LOC,
                "type:%d size:%lld,version:%s", type, static_cast<long long>(len), svrMinVersion);
    return;
  }
  LOG_LINE_AT(log_handle, WLOG_PRIORITY_DEBUG, VALUE_FIELD_LEN_LOC, "type:%d size:%d,version:%s",
              type, static_cast<int>(len), svrMinVersion);
}

int CheckTable::CheckFieldNameLength(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "CheckFieldNameLength failed.meta is NULL");
  }
  const char* meta_name = zem_get_meta_name(meta);

  const int ret = ForEachEntry(
      meta,
      [&](int, LPZEMMETAENTRY pstEntry) -> int {
        return CheckFieldName(pstEntry, log_handle);
      },
      [&](int slot) { return ReportEmptyEntrySlot(log_handle, FIELD_NAME_LOC, slot, meta_name); });
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckFieldNameLength successed! table: '%s' ",
           meta_name);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckFieldName(LPZEMMETAENTRY pstEntry, LPWLOGCATEGORYINST log_handle) {
  // The tests run in this order, so a long name with a '-' in it is reported as an illegal
  // character, not as too long.
  const char* str = zem_get_entry_name(pstEntry);
  const CheckTableElement entry = OnEntry(pstEntry);
  const int len = static_cast<int>(std::strlen(str));
  LOG_LINE_AT(log_handle, WLOG_PRIORITY_INFO, FIELD_NAME_LOC, "length of entry name %s is %lu", str,
              static_cast<unsigned long>(len));
  if (len < 1) {
    return REPORT_ERROR_ON_AT(log_handle, entry, FIELD_NAME_LOC, ERROR_FIELD_NAME_EMPTY,
                           "field name is empty.");
  }
  if (StartsWithDigit(str)) {
    return REPORT_ERROR_ON_AT(log_handle, entry, FIELD_NAME_LOC, ERROR_FIELD_NAME_STARTWITH_DIGIT,
                           "field name[%s] startswith digit.", str);
  }
  if (!HasOnlyNameChars(str)) {
    return REPORT_ERROR_ON_AT(log_handle, entry, FIELD_NAME_LOC, ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR,
                           "field name[%s] has illegal character.", str);
  }
  if (len > kFieldNameMaxLen) {
    return REPORT_ERROR_ON_AT(log_handle, entry, FIELD_NAME_LOC, ERROR_FIELD_NAME_TOO_LONG,
                           "length of entry %s is too long", str);
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckRepeatedFieldName(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle) {
  // The length check's text on purpose: operators know this failure by it.
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "CheckFieldNameLength failed.meta is NULL");
  }
  if (zem_get_entry_num(meta) < 1) return CHECK_TABLE_SUCCESS;
  const char* meta_name = zem_get_meta_name(meta);
  // The names before the first empty entry slot, if there is one.
  const int entry_num = zem_get_entry_num(meta);
  std::vector<const char*> names;
  names.reserve(static_cast<size_t>(entry_num));
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) break;
    names.push_back(zem_get_entry_name(pstEntry));
  }
  if (names.empty()) return ReportEmptyEntrySlot(log_handle, REPEATED_NAME_LOC, 0, meta_name);

  // Rows are walked in order: row i asks whether name i is empty, then compares it with every
  // later name, (0,1), (0,2), ... (1,2), ...; the first repeated pair is reported. An empty slot
  // is met by the first row's comparisons, so with one only that row is walked.
  const bool slot_gap = names.size() < static_cast<size_t>(entry_num);
  const size_t rows = slot_gap ? 1 : names.size();
  const RepeatedNameVerdict verdict = FindFirstRepeatedName(names, rows);
  const size_t walked = verdict.stop < 0 ? rows : static_cast<size_t>(verdict.stop) + 1;
  for (size_t i = 0; i < walked; ++i) {
    LOG_LINE_AT(log_handle, WLOG_PRIORITY_INFO, REPEATED_NAME_LOC, "length of entry name %s is %d",
                names[i], static_cast<int>(std::strlen(names[i])));
  }
  if (verdict.stop < 0) {
    return slot_gap ? ReportEmptyEntrySlot(log_handle, REPEATED_NAME_LOC,
                                           static_cast<int>(names.size()), meta_name)
                    : CHECK_TABLE_SUCCESS;
  }
  if (verdict.repeat < 0) {
    return REPORT_ERROR_ON_AT(log_handle, OnEntry(zem_get_entry_by_index(meta, verdict.stop)),
                              REPEATED_NAME_LOC, ERROR_FIELD_NAME_EMPTY, "field name is empty.");
  }
  return CheckFieldNamesDiffer(verdict.stop, names[static_cast<size_t>(verdict.stop)],
                               verdict.repeat, zem_get_entry_by_index(meta, verdict.repeat),
                               log_handle);
}

int CheckTable::CheckFieldNamesDiffer(int i, const char* entry_name, int j,
                                      LPZEMMETAENTRY pstCmpEntry, LPWLOGCATEGORYINST log_handle) {
  const char* cmp_entry_name = zem_get_entry_name(pstCmpEntry);
  const size_t entry_name_len = std::strlen(entry_name);
  if (std::strlen(cmp_entry_name) != entry_name_len ||
      strncasecmp(entry_name, cmp_entry_name, entry_name_len) != 0) {
    return CHECK_TABLE_SUCCESS;
  }
  char err_msg[kRepeatedNameMessageSize];
  std::snprintf(err_msg, sizeof(err_msg), REPEATED_NAME_FORMAT, entry_name, i, cmp_entry_name, j);
  // The message holds field names, so it is copied as text and never read as a format. The later
  // of the two fields is the one at fault.
  return ReportFormatText(log_handle, REPEATED_NAME_LOC, ERROR_REPEATED_FIELD_NAME,
                          OnEntry(pstCmpEntry), REPEATED_NAME_FORMAT, err_msg);
}
