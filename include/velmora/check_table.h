// CheckTable decides whether a table definition may be used by the Velmora table store, before
// the table is created or changed. It reads a loaded ZEM metalib, applies the store's rules to one
// table (a meta) and returns 0 or a negative enCheckModifyTableError; the reason is left in the
// error buffer (GetErrType) and written to the caller's log category.
//
// Every check accepts a NULL log_handle: it then fills the error buffer and returns its result as
// always, and logs nothing. The metalib and the log category belong to the caller and are only
// read.
//
// Threads: one object may check any number of tables in turn; it must not be used by two threads
// at once. Several threads may each check with their own object, on one shared metalib and one
// shared log category whose sink is safe for concurrent writers (see WlogSerializedSink).
#ifndef VELMORA_CHECK_TABLE_H_
#define VELMORA_CHECK_TABLE_H_

#include <string>

#include <velmora/check_table_error.h>
#include <velmora/check_table_findings.h>
#include <velmora/export.h>
#include <velmora/wlog.h>
#include <velmora/zem.h>

class VELMORA_API CheckTable {
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
  // table; an empty svrMinVersion skips the field size limits. A NULL metalib or metaname gives
  // CHECK_TABLE_ERROR_INVALID_PARAMETER.
  int VelmoraCheckTable(LPZEMMETALIB metalib, const char* metaname, const int table_type,
                        LPWLOGCATEGORYINST log_handle, const std::string& svrMinVersion,
                        const std::string& proxyMinVersion, const std::string& restProxyMinVer);

  // The message of the last check that wrote one (a success may leave an older message). Never
  // NULL; the text lives in this object and changes with its next check.
  const char* GetErrType() const { return m_szErrorType; }

  // Parses the table's custom attribute string: data protocol, table type (0 generic, 1 list,
  // 2 sorted list), list size, sort field count and sort rule, and checks the fields' sort marks.
  // Returns ERROR_OLD_TABLE_DEFINE for a table without such attributes, and
  // CHECK_TABLE_ERROR_INVALID_PARAMETER for a NULL metalib or metaname. data_protocol must hold at
  // least 6 bytes, or be NULL when the caller does not want the protocol back.
  int CheckTableTypeByCustomAttr(LPZEMMETALIB metalib, const char* metaname, int& table_type,
                                 int& list_num, int& sort_field_num, int& sort_rule,
                                 char* data_protocol, bool check_data_protocol,
                                 LPWLOGCATEGORYINST log_handle);

  // Table name rules: not empty, no leading digit, only letters, digits and '_', at most 31 bytes.
  // A NULL metaname is judged as an empty name.
  int CheckTableNameValidity(const char* metaname, LPWLOGCATEGORYINST log_handle);

  // Every array (count above 1) of the table, and of the structs it contains, has a refer field.
  // Offending names are appended to strResult, which the caller owns. A NULL table_meta gives
  // CHECK_TABLE_ERROR_INVALID_PARAMETER.
  int CheckWhetherCountWithRefer(LPZEMMETA table_meta, std::string& strResult,
                                 LPWLOGCATEGORYINST log_handle);

  // The same rule for what a change adds: only fields that old_meta does not have are judged. A
  // NULL old_meta or new_meta gives CHECK_TABLE_ERROR_INVALID_PARAMETER.
  int CheckWhetherNewEntryCountWithRefer(LPZEMMETA old_meta, LPZEMMETA new_meta,
                                         std::string& strResult, LPWLOGCATEGORYINST log_handle);

  // The number of value fields: entries minus primary key members; -1 for a NULL meta.
  int GetValueFieldNum(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);

 private:
  friend class CheckTableProbe;  // lets the tests call the individual checks
  friend class CheckTableSteps;  // lets the command run the entry point's steps one by one

  // The entry points' shared steps: both names given and the table name well-formed, then the
  // table's meta found in the library. Failures are reported at loc, the calling entry point.
  int CheckTableArguments(LPZEMMETALIB metalib, const char* metaname,
                          LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc);
  int LookUpTable(LPZEMMETALIB metalib, const char* metaname, LPWLOGCATEGORYINST log_handle,
                  const WLOGLOCINFO& loc, LPZEMMETA& pstMeta);

  // The steps of VelmoraCheckTable once its table is found.
  struct TableCall;
  // The entry point's checks after the table look-up, in the order they run.
  enum class TableStep {
    kPrimaryKey,
    kKeyCount,
    kNameLength,
    kValueField,
    kSplittableKey,
    kIndex,
    kFieldNameLength,
    kFieldSizes,
    kRepeatedFieldName,
  };
  // The steps in that order.
  static const int kTableStepNum = 9;
  static const TableStep kTableSteps[kTableStepNum];
  int RunTableChecks(const TableCall& call);
  // Runs one step on its own, as the entry point runs it once the table is found, with the same
  // arguments, and reports its failure as the entry point does. Reports nothing and returns
  // CHECK_TABLE_ERROR_INVALID_PARAMETER for arguments the entry point refuses, and
  // CHECK_TABLE_ERROR_SYSTEM_ERROR when the library has no meta of that name.
  int RunTableStepAlone(TableStep step, LPZEMMETALIB metalib, const char* metaname,
                        int table_type, LPWLOGCATEGORYINST log_handle,
                        const std::string& svrMinVersion, const std::string& proxyMinVersion,
                        const std::string& restProxyMinVer);
  int RunTableStep(TableStep step, const TableCall& call);
  int ReportTableStepFailure(TableStep step, const TableCall& call, int ret);
  int CheckKeyCountForOldProxies(const TableCall& call);
  int CheckFieldSizesForServers(const TableCall& call);

  // Table names.
  int CheckTableNameLength(const char* metaname, LPWLOGCATEGORYINST log_handle);

  // Keys and indexes.
  int CheckPrimaryKey(LPZEMMETA meta, const int table_type, LPWLOGCATEGORYINST log_handle);
  int CheckKeyMember(LPZEMMETA meta, LPZEMMETAENTRY pstEntry, bool every_index_needs_whole_key,
                     LPWLOGCATEGORYINST log_handle);
  int CheckSplittableKey(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int ReadSplitTableKey(LPZEMMETA meta, std::string& splittablekey, LPWLOGCATEGORYINST log_handle);
  int CheckSplitKeyPiece(LPZEMMETA meta, const std::string& piece, LPWLOGCATEGORYINST log_handle);
  int CheckIndex(LPZEMMETA meta, const int table_type, LPWLOGCATEGORYINST log_handle);
  int CompareIndexColumn(LPZEMMETAINDEX index1, LPZEMMETAINDEX index2, LPZEMMETA meta,
                         LPWLOGCATEGORYINST log_handle);
  int CheckWhetherExistEntry(const char* entry_name, LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckWhetherPrimaryKey(const char* entry_name, LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckWhetherIndex(const char* entry_name, LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckWhetherColumnField(const char* szFieldName, LPZEMMETAINDEX pstIndex,
                              LPZEMMETA pstTabMeta, LPWLOGCATEGORYINST log_handle);

  // Fields.
  int CheckValueField(LPZEMMETA meta, int table_type, const std::string& svrMinVersion,
                      LPWLOGCATEGORYINST log_handle);
  int CheckValueFieldNum(int index, int table_type, const std::string& svrMinVersion,
                         const char* meta_name, LPWLOGCATEGORYINST log_handle);
  int ReportEmptyEntrySlot(LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc, int slot,
                           const char* meta_name);
  int CheckWhetherTypeSupportted(LPZEMMETAENTRY pstEntry, LPWLOGCATEGORYINST log_handle);
  // The lines of a field above its size limit (max_len bytes), and of every field's size.
  void LogFieldOverLimit(LPWLOGCATEGORYINST log_handle, int64_t max_len, LPZEMMETAENTRY pstEntry,
                         int64_t len);
  void LogFieldLength(LPWLOGCATEGORYINST log_handle, int type, int64_t len,
                      const char* svrMinVersion);
  bool CheckValueFieldLen(LPZEMMETA pstMeta, LPWLOGCATEGORYINST log_handle,
                          const std::string& svrMinVersion);
  int CheckFieldNameLength(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckFieldName(LPZEMMETAENTRY pstEntry, LPWLOGCATEGORYINST log_handle);
  int CheckRepeatedFieldName(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle);
  int CheckFieldNamesDiffer(int i, const char* entry_name, int j, LPZEMMETAENTRY pstCmpEntry,
                            LPWLOGCATEGORYINST log_handle);
  int CheckStringWithCount(LPZEMMETA meta, std::string& strResult, LPWLOGCATEGORYINST log_handle);

  // Table type attributes, and the steps of CheckTableTypeByCustomAttr.
  struct CustomAttrCall;
  int ParseDataProtocol(LPZEMMETA meta, const std::string& destMetaAttr2, char* data_protocol,
                        bool check_data_protocol, LPWLOGCATEGORYINST log_handle);
  int ParseTableType(const CustomAttrCall& call);
  int ParseGenericTable(const CustomAttrCall& call);
  int ParseListTable(const CustomAttrCall& call);
  int ParseListNum(const CustomAttrCall& call);
  int ListBoundForServer(const char* metaname, LPWLOGCATEGORYINST log_handle);
  int ParseSortedListTable(const CustomAttrCall& call);
  int ParseSortRule(const CustomAttrCall& call);
  int ParsePlainListTable(const CustomAttrCall& call);
  int CheckStringDisplayCharset(const char* str, LPWLOGCATEGORYINST log_handle);
  bool CheckStr(const char* src, const char* find_str);
  // No field of a generic or plain list table carries an attribute.
  int CheckUnmarkedEntries(LPZEMMETALIB metalib, LPZEMMETA meta, bool list_table,
                           LPWLOGCATEGORYINST log_handle);
  // The sort marks of a sorted list table's fields agree with its sort field count.
  int CheckSortEntries(LPZEMMETALIB metalib, LPZEMMETA meta, int sort_field_num,
                       LPWLOGCATEGORYINST log_handle);
  int CountSortMark(LPZEMMETALIB metalib, LPZEMMETAENTRY pstEntry, int* sort_num,
                    LPWLOGCATEGORYINST log_handle);
  int CheckSortMarkCounts(LPZEMMETA meta, const int* sort_num, int sort_field_num,
                          LPWLOGCATEGORYINST log_handle);
  int ReportUnreadableEntry(LPWLOGCATEGORYINST log_handle, int slot);

  // Reporting. Every failure goes through Report: the message is formatted into the error buffer
  // (an overlong one is cut to 1023 bytes, a failed format leaves it empty), then logged through
  // "%s" when the category's gate lets the priority through, and handed with the element it is
  // about to the observer of the thread, if any. Returns result.
  int Report(LPWLOGCATEGORYINST log_handle, int priority, const WLOGLOCINFO& loc, int result,
             const CheckTableElement& element, const char* format, ...)
      __attribute__((format(printf, 7, 8)));
  // Reports text that holds schema names and was once used as a format with no arguments: "%%"
  // becomes "%", every other byte stays as it is, so no name can act as a conversion.
  // format is the text the message was made from, for the observer.
  int ReportFormatText(LPWLOGCATEGORYINST log_handle, const WLOGLOCINFO& loc, int result,
                       const CheckTableElement& element, const char* format, const char* text);
  // Hands the error buffer, just reported, to the observer of the thread.
  void NotifyErrorBuffer(int priority, int result, const CheckTableElement& element,
                         const char* format) const;
  // Logs the error buffer through "%s" when the gate lets the priority through.
  void LogErrorBuffer(LPWLOGCATEGORYINST log_handle, int priority, const WLOGLOCINFO& loc) const;
  // The event of one log line: its priority and location; the log library fills the rest.
  static WLOGEVENT LogEvent(int priority, const WLOGLOCINFO& loc);

  // The category's gate: a line of this priority is written only when the bounds read here and
  // the category itself agree. Refusing costs no call into the log library.
  static bool LogGateOpen(LPWLOGCATEGORYINST log_handle, int priority);

  char m_szErrorType[1024];
  std::string m_svr_ver;
};

#endif  // VELMORA_CHECK_TABLE_H_
