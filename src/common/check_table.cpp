// The checker object, its reporting funnel and the entry point that runs the table checks in order.
#include <velmora/check_table.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "common/check_table_report.h"
#include <velmora/string_helpers.h>

namespace {

// Proxies and REST proxies older than this cannot serve a key of more fields than the old limit.
const char* const kManyKeyFieldsProxyVersion = "3.37.0";

}  // namespace

CheckTable::CheckTable() { std::memset(m_szErrorType, 0, sizeof(m_szErrorType)); }

CheckTable::CheckTable(const std::string& svrMinVersion) : m_svr_ver(svrMinVersion) {
  std::memset(m_szErrorType, 0, sizeof(m_szErrorType));
}

CheckTable::~CheckTable() = default;

int CheckTable::Report(LPWLOGCATEGORYINST log_handle, int priority, const WLOGLOCINFO& loc,
                       int result, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(m_szErrorType, sizeof(m_szErrorType), format, args);
  va_end(args);
  if (n < 0) {
    m_szErrorType[0] = '\0';
  } else if (n >= static_cast<int>(sizeof(m_szErrorType))) {
    m_szErrorType[sizeof(m_szErrorType) - 1] = '\0';
  }
  LogErrorBuffer(log_handle, priority, loc);
  return result;
}

int CheckTable::ReportFormatText(LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc, int result,
                                 const char* text) {
  size_t length = 0;
  for (const char* p = text; *p != '\0' && length + 1 < sizeof(m_szErrorType); ++p) {
    if (p[0] == '%' && p[1] == '%') ++p;
    m_szErrorType[length++] = *p;
  }
  m_szErrorType[length] = '\0';
  LogErrorBuffer(log_handle, WLOG_PRIORITY_ERROR, loc);
  return result;
}

void CheckTable::LogErrorBuffer(LPWLOGCATEGORYINST log_handle, int priority,
                                const WLOGLOCINFO& loc) const {
  if (!LogGateOpen(log_handle, priority)) return;
  WLOGEVENT event = LogEvent(priority, loc);
  // The message travels as an argument: a '%' in a schema name is text, never a conversion.
  wlog_category_logv(log_handle, &event, "%s", m_szErrorType);
}

WLOGEVENT CheckTable::LogEvent(int priority, const WLOGLOCINFO& loc) {
  WLOGEVENT event;
  std::memset(&event, 0, sizeof(event));
  event.evt_priority = priority;
  event.evt_loc = &loc;
  return event;
}

int CheckTable::VelmoraCheckTable(LPZEMMETALIB metalib, const char* metaname, const int table_type,
                                  LPWLOGCATEGORYINST log_handle, const std::string& svrMinVersion,
                                  const std::string& proxyMinVersion,
                                  const std::string& restProxyMinVer) {
  m_svr_ver = svrMinVersion;

  if (metalib == nullptr || metaname == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Invaild parameter，please check the parameter! table: '%s'",
                        OrNullText(metaname));
  }

  int ret = CheckTableNameValidity(metaname, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  // Only generic (0) and list (1) tables; compared unsigned so that negative kinds fail too.
  if (static_cast<unsigned int>(table_type) > 1u) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Table_type is invaild type，please check the table type!  table:'%s'",
                        metaname);
  }

  LPZEMMETA pstMeta = zem_get_meta_by_name(metalib, metaname);
  if (pstMeta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                        "Get meta info failed, please check the table name! table:'%s'", metaname);
  }

  ret = CheckPrimaryKey(pstMeta, table_type, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR(log_handle, ret, "CheckPrimaryKey failed! table:'%s',ret:%d", metaname, ret);
  }

  // Proxies before 3.37.0 serve at most 4 key fields of a generic table and 3 of a list table.
  // Both failures are system errors rather than key errors: the table is fine, the fleet is old.
  const int lowVersionPrimayKeyMaxNum = table_type == 0 ? 4 : 3;
  const int key_num = pstMeta->nPrimayKeyMemberNum;
  if (key_num > lowVersionPrimayKeyMaxNum) {
    if (RealCmpVersion(proxyMinVersion.c_str(), kManyKeyFieldsProxyVersion, false) < 0) {
      return REPORT_ERROR(
          log_handle, CHECK_TABLE_ERROR_SYSTEM_ERROR,
          "This table:%s 's key num:%d is more than %d,proxy version need >= %s,but now is :%s",
          metaname, key_num, lowVersionPrimayKeyMaxNum, kManyKeyFieldsProxyVersion,
          proxyMinVersion.c_str());
    }
    if (restProxyMinVer != "none" &&
        RealCmpVersion(restProxyMinVer.c_str(), kManyKeyFieldsProxyVersion, false) < 0) {
      return REPORT_ERROR(
          log_handle, CHECK_TABLE_ERROR_SYSTEM_ERROR,
          "This table:%s 's key num:%d is more than %d,rest proxy version need >= %s,but now is :%s",
          metaname, key_num, lowVersionPrimayKeyMaxNum, kManyKeyFieldsProxyVersion,
          restProxyMinVer.c_str());
    }
  }

  // The name has passed these rules already; the second call is kept as it always was and only
  // logs its success line once more.
  const int checkTableNameLengthResult = CheckTableNameLength(metaname, log_handle);
  if (checkTableNameLengthResult != CHECK_TABLE_SUCCESS) return checkTableNameLengthResult;

  ret = CheckValueField(pstMeta, table_type, svrMinVersion, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR(log_handle, ret, "CheckValueField failed! table:'%s',ret:%d", metaname, ret);
  }

  ret = CheckSplittableKey(pstMeta, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR(log_handle, ret, "CheckSplittableKey failed! table:'%s',ret:%d", metaname,
                        ret);
  }

  ret = CheckIndex(pstMeta, table_type, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR(log_handle, ret, "CheckIndex failed! table:'%s',ret:%d", metaname, ret);
  }

  ret = CheckFieldNameLength(pstMeta, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR(log_handle, ret, "CheckFieldNameLength failed! table:'%s',ret:%d", metaname,
                        ret);
  }

  // Field sizes depend on what the servers can hold; without a server version there is no limit
  // to apply. The buffer keeps the length check's own list of offending fields; the log line
  // names the field name check, as operators have always seen it.
  if (!svrMinVersion.empty() && !CheckValueFieldLen(pstMeta, log_handle, svrMinVersion)) {
    LOG_LINE(log_handle, WLOG_PRIORITY_ERROR,
             "CheckFieldNameLength failed! table:'%s', svrMinVersion:%s", metaname,
             svrMinVersion.c_str());
    return ERROR_ENTRY_LENGTH_NOT_LEGAL;
  }

  ret = CheckRepeatedFieldName(pstMeta, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) {
    // The check's own message is embedded, so it is copied out before the buffer is reused.
    const std::string err_str(m_szErrorType);
    return REPORT_ERROR(log_handle, ret, "CheckRepeatedFieldName failed! table:'%s',ret:%d, err_msg:%s",
                        metaname, ret, err_str.c_str());
  }

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckTable succees! table:'%s'", metaname);
  return CHECK_TABLE_SUCCESS;
}
