// CheckTable decides whether a table definition may be used by the Velmora table store, before
// the table is created or changed. It reads a loaded ZEM metalib, applies the store's rules to one
// table (a meta) and returns 0 or a negative enCheckModifyTableError; the reason is left in the
// error buffer (GetErrType) and written to the caller's log category.
//
// One object may check any number of tables in turn; it must not be used by two threads at once.
#ifndef VELMORA_CHECK_TABLE_H_
#define VELMORA_CHECK_TABLE_H_

#include <string>

#include <velmora/check_table_error.h>
#include <velmora/wlog.h>
#include <velmora/zem.h>

class CheckTable {
 public:
  // Zero-fills the error buffer; no server version.
  CheckTable();
  // Keeps the server minimum version for the attribute checks. The error buffer is zero-filled
  // too, so reading it before any check has written it is always defined.
  explicit CheckTable(const std::string& svrMinVersion);
  ~CheckTable();

  CheckTable(const CheckTable&) = delete;
  CheckTable& operator=(const CheckTable&) = delete;

  // Checks one table: its name, kind (0 generic, 1 list), primary key, key count against old
  // proxies, value fields, split table key, indexes, field names and field sizes, in that order,
  // stopping at the first failure. restProxyMinVer may be "none" when no REST proxy serves the
  // table; an empty svrMinVersion skips the field size limits.
  int VelmoraCheckTable(LPZEMMETALIB metalib, const char* metaname, const int table_type,
                        LPWLOGCATEGORYINST log_handle, const std::string& svrMinVersion,
                        const std::string& proxyMinVersion, const std::string& restProxyMinVer);

  // The message of the last check that wrote one (a success may leave an older message).
  const char* GetErrType() const { return m_szErrorType; }

  // Parses the table's custom attribute string: data protocol, table type (0 generic, 1 list,
  // 2 sorted list), list size, sort field count and sort rule, and checks the fields' sort marks.
  // Returns ERROR_OLD_TABLE_DEFINE for a table without such attributes. data_protocol must hold at
  // least 6 bytes.
  int CheckTableTypeByCustomAttr(LPZEMMETALIB metalib, const char* metaname, int& table_type,
                                 int& list_num, int& sort_field_num, int& sort_rule,
                                 char* data_protocol, bool check_data_protocol,
                                 LPWLOGCATEGORYINST log_handle);

  // Table name rules: not empty, no leading digit, only letters, digits and '_', at most 31 bytes.
  int CheckTableNameValidity(const char* metaname, LPWLOGCATEGORYINST log_handle);

  // Every array (count above 1) of the table, and of the structs it contains, has a refer field.
  // Offending names are appended to strResult, which the caller owns.
  int CheckWhetherCountWithRefer(LPZEMMETA table_meta, std::string& strResult,
                                 LPWLOGCATEGORYINST log_handle);

  // The same rule for what a change adds: only fields that old_meta does not have are judged.
  int CheckWhetherNewEntryCountWithRefer(LPZEMMETA old_meta, LPZEMMETA new_meta,
                                         std::string& strResult, LPWLOGCATEGORYINST log_handle);

  // The number of value fields: entries minus primary key members; -1 for a NULL meta.
  int GetValueFieldNum(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);

 private:
  friend class CheckTableProbe;  // lets the tests call the individual checks

  // Table names.
  int CheckTableNameLength(const char* metaname, LPWLOGCATEGORYINST log_handle);

  // Keys and indexes.
  int CheckPrimaryKey(LPZEMMETA meta, const int table_type, LPWLOGCATEGORYINST log_handle);
  int CheckSplittableKey(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckIndex(LPZEMMETA meta, const int table_type, LPWLOGCATEGORYINST log_handle);
  int CompareIndexColumn(LPZEMMETAINDEX index1, LPZEMMETAINDEX index2, LPZEMMETA meta,
                         LPWLOGCATEGORYINST log_handle);
  int CheckWhetherExistEntry(const char* entry_name, LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckWhetherPrimaryKey(const char* entry_name, LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckWhetherIndex(const char* entry_name, LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckWhetherColumnField(const char* szFieldName, LPZEMMETAINDEX pstIndex, LPZEMMETA pstTabMeta,
                              LPWLOGCATEGORYINST log_handle);

  // Fields.
  int CheckValueField(LPZEMMETA meta, int table_type, const std::string& svrMinVersion,
                      LPWLOGCATEGORYINST log_handle);
  int CheckWhetherTypeSupportted(LPZEMMETAENTRY pstEntry, LPWLOGCATEGORYINST log_handle);
  bool CheckValueFieldLen(LPZEMMETA pstMeta, LPWLOGCATEGORYINST log_handle,
                          const std::string& svrMinVersion);
  int CheckFieldNameLength(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckRepeatedFieldName(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckStringWithCount(LPZEMMETA meta, std::string& strResult, LPWLOGCATEGORYINST log_handle);

  // Table type attributes.
  int CheckStringDisplayCharset(const char* str, LPWLOGCATEGORYINST log_handle);
  bool CheckStr(const char* src, const char* find_str);
  // No field of a generic or plain list table carries an attribute.
  int CheckUnmarkedEntries(LPZEMMETALIB metalib, LPZEMMETA meta, bool list_table,
                           LPWLOGCATEGORYINST log_handle);
  // The sort marks of a sorted list table's fields agree with its sort field count.
  int CheckSortEntries(LPZEMMETALIB metalib, LPZEMMETA meta, int sort_field_num,
                       LPWLOGCATEGORYINST log_handle);

  // Reporting. Every failure goes through Report: the message is formatted into the error buffer
  // (an overlong one is cut to 1023 bytes, a failed format leaves it empty), then logged through
  // "%s" when the category's gate lets the priority through. Returns result.
  int Report(LPWLOGCATEGORYINST log_handle, int priority, const WLOGLOCINFO& loc, int result,
             const char* format, ...) __attribute__((format(printf, 6, 7)));
  // Reports text that holds schema names and was once used as a format with no arguments: "%%"
  // becomes "%", every other byte stays as it is, so no name can act as a conversion.
  int ReportFormatText(LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc, int result,
                       const char* text);
  // Logs the error buffer through "%s" when the gate lets the priority through.
  void LogErrorBuffer(LPWLOGCATEGORYINST log_handle, int priority, const WLOGLOCINFO& loc) const;
  // The event of one log line: its priority and location; the log library fills the rest.
  static WLOGEVENT LogEvent(int priority, const WLOGLOCINFO& loc);

  // The category's gate: a line of this priority is written only when the bounds read here and
  // the category itself agree. Refusing costs no call into the log library.
  static bool LogGateOpen(LPWLOGCATEGORYINST log_handle, int priority) {
    if (log_handle == nullptr) return false;
    if (log_handle->piPriorityLow != nullptr && *log_handle->piPriorityLow != WLOG_PRIORITY_NULL &&
        *log_handle->piPriorityLow < priority) {
      return false;
    }
    if (log_handle->piPriorityHigh != nullptr && *log_handle->piPriorityHigh > priority) {
      return false;
    }
    return wlog_category_can_write(log_handle, priority, 0, 0) != 0;
  }

  char m_szErrorType[1024];
  std::string m_svr_ver;
};

#endif  // VELMORA_CHECK_TABLE_H_
