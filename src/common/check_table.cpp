// The checker object, its reporting funnel and the entry point that runs the table checks in order.
#include <velmora/check_table.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "common/check_table_report.h"
#include "common/check_table_rules.h"
#include "log/wlog_bounds.h"
#include <velmora/string_helpers.h>

namespace {

// Proxies and REST proxies older than this cannot serve a key of more fields than the old limit.
const char* const kManyKeyFieldsProxyVersion = "3.37.0";

// Key fields that proxies before kManyKeyFieldsProxyVersion serve, by table kind.
const int kOldProxyGenericTableMaxKeyNum = 4;
const int kOldProxyListTableMaxKeyNum = 3;

}  // namespace

// The steps after the look-up log under the entry point's name, as operators know them.
#define ENTRY_POINT_LOC CHECK_TABLE_LOC_OF("VelmoraCheckTable")

// One call of the entry point, once its table has been found.
struct CheckTable::TableCall {
  LPZEMMETA pstMeta;
  const char* metaname;
  int table_type;
  LPWLOGCATEGORYINST log_handle;
  const std::string& svrMinVersion;
  const std::string& proxyMinVersion;
  const std::string& restProxyMinVer;
};

CheckTable::CheckTable() { std::memset(m_szErrorType, 0, sizeof(m_szErrorType)); }

CheckTable::CheckTable(const std::string& svrMinVersion) : m_svr_ver(svrMinVersion) {
  std::memset(m_szErrorType, 0, sizeof(m_szErrorType));
}

CheckTable::~CheckTable() = default;

int CheckTable::Report(LPWLOGCATEGORYINST log_handle, int priority, const WLOGLOCINFO& loc,
                       int result, const CheckTableElement& element, const char* format, ...) {
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
  NotifyErrorBuffer(priority, result, element, format);
  return result;
}

int CheckTable::ReportFormatText(LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc, int result,
                                 const CheckTableElement& element, const char* format,
                                 const char* text) {
  size_t length = 0;
  for (const char* p = text; *p != '\0' && length + 1 < sizeof(m_szErrorType); ++p) {
    if (p[0] == '%' && p[1] == '%') ++p;
    m_szErrorType[length++] = *p;
  }
  m_szErrorType[length] = '\0';
  LogErrorBuffer(log_handle, WLOG_PRIORITY_ERROR, loc);
  NotifyErrorBuffer(WLOG_PRIORITY_ERROR, result, element, format);
  return result;
}

void CheckTable::NotifyErrorBuffer(int priority, int result, const CheckTableElement& element,
                                   const char* format) const {
  // Only lines at error priority tell of a failure; the others are progress or notes.
  if (t_check_table_observer == nullptr || priority != WLOG_PRIORITY_ERROR) return;
  NotifyCheckTableFailure(result, priority, format, m_szErrorType, element);
}

void CheckTable::LogErrorBuffer(LPWLOGCATEGORYINST log_handle, int priority,
                                const WLOGLOCINFO& loc) const {
  if (!LogGateOpen(log_handle, priority)) return;
  WLOGEVENT event = LogEvent(priority, loc);
  // The message travels as an argument: a '%' in a schema name is text, never a conversion.
  wlog_category_logv(log_handle, &event, "%s", m_szErrorType);
}

WLOGEVENT CheckTable::LogEvent(int priority, const WLOGLOCINFO& loc) {
  WLOGEVENT event{};
  event.evt_priority = priority;
  event.evt_loc = &loc;
  return event;
}

bool CheckTable::LogGateOpen(LPWLOGCATEGORYINST log_handle, int priority) {
  return log_handle != nullptr && WlogWithinBounds(*log_handle, priority) &&
         wlog_category_can_write(log_handle, priority, 0, 0) != 0;
}

int CheckTable::CheckTableArguments(LPZEMMETALIB metalib, const char* metaname,
                                    LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc) {
  if (metalib == nullptr || metaname == nullptr) {
    return REPORT_ERROR_AT(log_handle, loc, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "Invaild parameter，please check the parameter! table: '%s'",
                           OrNullText(metaname));
  }
  return CheckTableNameValidity(metaname, log_handle);
}

int CheckTable::LookUpTable(LPZEMMETALIB metalib, const char* metaname,
                            LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc,
                            LPZEMMETA& pstMeta) {
  pstMeta = zem_get_meta_by_name(metalib, metaname);
  if (pstMeta != nullptr) return CHECK_TABLE_SUCCESS;
  return REPORT_ERROR_AT(log_handle, loc, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                         "Get meta info failed, please check the table name! table:'%s'", metaname);
}

int CheckTable::VelmoraCheckTable(LPZEMMETALIB metalib, const char* metaname, const int table_type,
                                  LPWLOGCATEGORYINST log_handle, const std::string& svrMinVersion,
                                  const std::string& proxyMinVersion,
                                  const std::string& restProxyMinVer) {
  m_svr_ver = svrMinVersion;

  int ret = CheckTableArguments(metalib, metaname, log_handle, CHECK_TABLE_LOC);
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  if (!IsKnownTableKind(table_type)) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Table_type is invaild type，please check the table type!  table:'%s'",
                        metaname);
  }

  LPZEMMETA pstMeta = nullptr;
  ret = LookUpTable(metalib, metaname, log_handle, CHECK_TABLE_LOC, pstMeta);
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  const TableCall call{pstMeta,       metaname,        table_type,     log_handle,
                       svrMinVersion, proxyMinVersion, restProxyMinVer};
  ret = RunTableChecks(call);
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckTable succees! table:'%s'", metaname);
  return CHECK_TABLE_SUCCESS;
}

const CheckTable::TableStep CheckTable::kTableSteps[kTableStepNum] = {
    TableStep::kPrimaryKey,      TableStep::kKeyCount,   TableStep::kNameLength,
    TableStep::kValueField,      TableStep::kSplittableKey, TableStep::kIndex,
    TableStep::kFieldNameLength, TableStep::kFieldSizes, TableStep::kRepeatedFieldName,
};

int CheckTable::RunTableChecks(const TableCall& call) {
  for (const TableStep step : kTableSteps) {
    const int ret = RunTableStep(step, call);
    if (ret != CHECK_TABLE_SUCCESS) return ReportTableStepFailure(step, call, ret);
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::RunTableStepAlone(TableStep step, LPZEMMETALIB metalib, const char* metaname,
                                  int table_type, LPWLOGCATEGORYINST log_handle,
                                  const std::string& svrMinVersion,
                                  const std::string& proxyMinVersion,
                                  const std::string& restProxyMinVer) {
  m_svr_ver = svrMinVersion;
  if (metalib == nullptr || metaname == nullptr || !IsKnownTableKind(table_type)) {
    return CHECK_TABLE_ERROR_INVALID_PARAMETER;
  }
  LPZEMMETA pstMeta = zem_get_meta_by_name(metalib, metaname);
  if (pstMeta == nullptr) return CHECK_TABLE_ERROR_SYSTEM_ERROR;
  const TableCall call{pstMeta,       metaname,        table_type,     log_handle,
                       svrMinVersion, proxyMinVersion, restProxyMinVer};
  const int ret = RunTableStep(step, call);
  return ret == CHECK_TABLE_SUCCESS ? ret : ReportTableStepFailure(step, call, ret);
}

int CheckTable::RunTableStep(TableStep step, const TableCall& call) {
  switch (step) {
    case TableStep::kPrimaryKey:
      return CheckPrimaryKey(call.pstMeta, call.table_type, call.log_handle);
    case TableStep::kKeyCount:
      return CheckKeyCountForOldProxies(call);
    case TableStep::kNameLength:
      // The name has passed these rules already; the second call is kept as it always was and
      // only logs its success line once more.
      return CheckTableNameLength(call.metaname, call.log_handle);
    case TableStep::kValueField:
      return CheckValueField(call.pstMeta, call.table_type, call.svrMinVersion, call.log_handle);
    case TableStep::kSplittableKey:
      return CheckSplittableKey(call.pstMeta, call.log_handle);
    case TableStep::kIndex:
      return CheckIndex(call.pstMeta, call.table_type, call.log_handle);
    case TableStep::kFieldNameLength:
      return CheckFieldNameLength(call.pstMeta, call.log_handle);
    case TableStep::kFieldSizes:
      return CheckFieldSizesForServers(call);
    case TableStep::kRepeatedFieldName:
      return CheckRepeatedFieldName(call.pstMeta, call.log_handle);
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::ReportTableStepFailure(TableStep step, const TableCall& call, int ret) {
  // The key count, name length and field size steps have reported their own failure, which is
  // passed on as it is. The other checks' failures are wrapped in a line of the entry point
  // naming the check, which replaces the check's message in the buffer.
  LPWLOGCATEGORYINST log_handle = call.log_handle;
  switch (step) {
    case TableStep::kPrimaryKey:
      return REPORT_ERROR_AT(log_handle, ENTRY_POINT_LOC, ret,
                             "CheckPrimaryKey failed! table:'%s',ret:%d", call.metaname, ret);
    case TableStep::kValueField:
      return REPORT_ERROR_AT(log_handle, ENTRY_POINT_LOC, ret,
                             "CheckValueField failed! table:'%s',ret:%d", call.metaname, ret);
    case TableStep::kSplittableKey:
      return REPORT_ERROR_AT(log_handle, ENTRY_POINT_LOC, ret,
                             "CheckSplittableKey failed! table:'%s',ret:%d", call.metaname, ret);
    case TableStep::kIndex:
      return REPORT_ERROR_AT(log_handle, ENTRY_POINT_LOC, ret,
                             "CheckIndex failed! table:'%s',ret:%d", call.metaname, ret);
    case TableStep::kFieldNameLength:
      return REPORT_ERROR_AT(log_handle, ENTRY_POINT_LOC, ret,
                             "CheckFieldNameLength failed! table:'%s',ret:%d", call.metaname, ret);
    case TableStep::kRepeatedFieldName: {
      // The check's own message is embedded, so it is copied out before the buffer is reused.
      const std::string err_str(m_szErrorType);
      return REPORT_ERROR_AT(log_handle, ENTRY_POINT_LOC, ret,
                             "CheckRepeatedFieldName failed! table:'%s',ret:%d, err_msg:%s",
                             call.metaname, ret, err_str.c_str());
    }
    case TableStep::kKeyCount:
    case TableStep::kNameLength:
    case TableStep::kFieldSizes:
      break;
  }
  return ret;
}

int CheckTable::CheckKeyCountForOldProxies(const TableCall& call) {
  // Proxies before 3.37.0 serve at most 4 key fields of a generic table and 3 of a list table.
  // Both failures are system errors rather than key errors: the table is fine, the fleet is old.
  const int lowVersionPrimayKeyMaxNum = call.table_type == kGenericTable
                                            ? kOldProxyGenericTableMaxKeyNum
                                            : kOldProxyListTableMaxKeyNum;
  const int key_num = call.pstMeta->nPrimayKeyMemberNum;
  if (key_num <= lowVersionPrimayKeyMaxNum) return CHECK_TABLE_SUCCESS;

  if (RealCmpVersion(call.proxyMinVersion.c_str(), kManyKeyFieldsProxyVersion, false) < 0) {
    return REPORT_ERROR_AT(
        call.log_handle, ENTRY_POINT_LOC, CHECK_TABLE_ERROR_SYSTEM_ERROR,
        "This table:%s 's key num:%d is more than %d,proxy version need >= %s,but now is :%s",
        call.metaname, key_num, lowVersionPrimayKeyMaxNum, kManyKeyFieldsProxyVersion,
        call.proxyMinVersion.c_str());
  }
  if (call.restProxyMinVer != "none" &&
      RealCmpVersion(call.restProxyMinVer.c_str(), kManyKeyFieldsProxyVersion, false) < 0) {
    return REPORT_ERROR_AT(
        call.log_handle, ENTRY_POINT_LOC, CHECK_TABLE_ERROR_SYSTEM_ERROR,
        "This table:%s 's key num:%d is more than %d,rest proxy version need >= %s,but now is :%s",
        call.metaname, key_num, lowVersionPrimayKeyMaxNum, kManyKeyFieldsProxyVersion,
        call.restProxyMinVer.c_str());
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckFieldSizesForServers(const TableCall& call) {
  // Field sizes depend on what the servers can hold; without a server version there is no limit
  // to apply.
  if (call.svrMinVersion.empty()) return CHECK_TABLE_SUCCESS;
  if (CheckValueFieldLen(call.pstMeta, call.log_handle, call.svrMinVersion)) {
    return CHECK_TABLE_SUCCESS;
  }
  // The buffer keeps the length check's own list of offending fields; the log line names the
  // field name check, as operators have always seen it.
  LOG_FAILURE_LINE_AT(call.log_handle, OnTable(), ERROR_ENTRY_LENGTH_NOT_LEGAL, ENTRY_POINT_LOC,
                      "CheckFieldNameLength failed! table:'%s', svrMinVersion:%s", call.metaname,
                      call.svrMinVersion.c_str());
  return ERROR_ENTRY_LENGTH_NOT_LEGAL;
}
