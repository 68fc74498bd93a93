// Gives the tests access to the individual checks of CheckTable, which the store only reaches
// through the entry point.
#ifndef VELMORA_TESTS_CHECK_TABLE_PROBE_H_
#define VELMORA_TESTS_CHECK_TABLE_PROBE_H_

#include <string>

#include <velmora/check_table.h>

class CheckTableProbe {
 public:
  static int CheckTableNameLength(CheckTable& c, const char* metaname, LPWLOGCATEGORYINST log) {
    return c.CheckTableNameLength(metaname, log);
  }
  static int CheckPrimaryKey(CheckTable& c, LPZEMMETA meta, int table_type, LPWLOGCATEGORYINST log) {
    return c.CheckPrimaryKey(meta, table_type, log);
  }
  static int CheckSplittableKey(CheckTable& c, LPZEMMETA meta, LPWLOGCATEGORYINST log) {
    return c.CheckSplittableKey(meta, log);
  }
  static int CheckIndex(CheckTable& c, LPZEMMETA meta, int table_type, LPWLOGCATEGORYINST log) {
    return c.CheckIndex(meta, table_type, log);
  }
  static int CompareIndexColumn(CheckTable& c, LPZEMMETAINDEX index1, LPZEMMETAINDEX index2,
                                LPZEMMETA meta, LPWLOGCATEGORYINST log) {
    return c.CompareIndexColumn(index1, index2, meta, log);
  }
  static int CheckWhetherExistEntry(CheckTable& c, const char* name, LPZEMMETA meta,
                                    LPWLOGCATEGORYINST log) {
    return c.CheckWhetherExistEntry(name, meta, log);
  }
  static int CheckWhetherPrimaryKey(CheckTable& c, const char* name, LPZEMMETA meta,
                                    LPWLOGCATEGORYINST log) {
    return c.CheckWhetherPrimaryKey(name, meta, log);
  }
  static int CheckWhetherIndex(CheckTable& c, const char* name, LPZEMMETA meta,
                               LPWLOGCATEGORYINST log) {
    return c.CheckWhetherIndex(name, meta, log);
  }
  static int CheckWhetherColumnField(CheckTable& c, const char* name, LPZEMMETAINDEX index,
                                     LPZEMMETA meta, LPWLOGCATEGORYINST log) {
    return c.CheckWhetherColumnField(name, index, meta, log);
  }
  static int CheckValueField(CheckTable& c, LPZEMMETA meta, int table_type,
                             const std::string& svr_version, LPWLOGCATEGORYINST log) {
    return c.CheckValueField(meta, table_type, svr_version, log);
  }
  static int CheckWhetherTypeSupportted(CheckTable& c, LPZEMMETAENTRY entry, LPWLOGCATEGORYINST log) {
    return c.CheckWhetherTypeSupportted(entry, log);
  }
  static bool CheckValueFieldLen(CheckTable& c, LPZEMMETA meta, LPWLOGCATEGORYINST log,
                                 const std::string& svr_version) {
    return c.CheckValueFieldLen(meta, log, svr_version);
  }
  static int CheckFieldNameLength(CheckTable& c, LPZEMMETA meta, LPWLOGCATEGORYINST log) {
    return c.CheckFieldNameLength(meta, log);
  }
  static int CheckRepeatedFieldName(CheckTable& c, LPZEMMETA meta, LPWLOGCATEGORYINST log) {
    return c.CheckRepeatedFieldName(meta, log);
  }
  static int CheckStringWithCount(CheckTable& c, LPZEMMETA meta, std::string& result,
                                  LPWLOGCATEGORYINST log) {
    return c.CheckStringWithCount(meta, result, log);
  }
  static int CheckStringDisplayCharset(CheckTable& c, const char* str, LPWLOGCATEGORYINST log) {
    return c.CheckStringDisplayCharset(str, log);
  }
  static bool CheckStr(CheckTable& c, const char* src, const char* find_str) {
    return c.CheckStr(src, find_str);
  }
  static const std::string& ServerVersion(const CheckTable& c) { return c.m_svr_ver; }
  static int ReportFormatText(CheckTable& c, LPWLOGCATEGORYINST log, const WLOGLOCINFO& loc,
                              int result, const char* text) {
    return c.ReportFormatText(log, loc, result, CheckTableElement{}, text, text);
  }
};

#endif  // VELMORA_TESTS_CHECK_TABLE_PROBE_H_
