// Table type attributes. A table declares what it is in its custom attribute string, segments
// "Key=Value" separated by ";": the data protocol, the table type (generic, list or sorted list),
// the list size, the number of sort fields and the sort rule, and the display charset of its
// strings. A sorted list table marks its sort fields with "sort1" to "sort4" in their own
// attribute; no other table may mark a field at all.
#include <strings.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <velmora/check_table.h>
#include "common/check_table_report.h"
#include "common/check_table_rules.h"
#include <velmora/string_helpers.h>

namespace {

// Servers from this build on hold lists of up to 10000 elements; older ones up to 1023.
const char* const kLongListServerVersion = "3.40.0.193000";
const int kOldListBound = 1024;   // exclusive
const int kLongListBound = 10001; // exclusive

// "DataProtocolType=PLAIN", the longest string that declares nothing but its protocol.
const size_t kProtocolOnlyMaxLength = 22;

// Sort fields hold numbers the store can order by: the integer types 2 to 12 and the two floating
// types 17 and 18, one bit per type code.
const int kMaxSortFieldType = ZEM_TYPE_DOUBLE;
const unsigned int kSortFieldTypeMask = 0x61ffc;

// Sort rules handed back: ascending is also what an absent rule means.
const int kSortRuleAscending = 0;
const int kSortRuleDescending = 1;

const char* const kListNumUsage =
    "list_num_str is error,it must be like:TableType=LIST|SORTLIST;ListNum=1-1023[;SortFieldNum=[1-4]].";
const char* const kSortNumUsage =
    "sort_num_str is error,it must be like:TableType=LIST|SORTLIST;ListNum=1-1023[;SortFieldNum=[1-4]].";

// Keys other than the data protocol are matched with their letter case.
const char* FindCaseSensitive(const char* haystack, const char* needle) {
  return std::strstr(haystack, needle);
}

// The int a number read with strtol ends up as: the low 32 bits of the long, taken as signed.
// "4294967297" gives 1, and a value strtol clamps to LONG_MAX gives -1.
int LowInt32(long value) {
  const uint32_t low = static_cast<uint32_t>(static_cast<unsigned long>(value));
  if (low <= static_cast<uint32_t>(INT32_MAX)) return static_cast<int>(low);
  return static_cast<int>(low - 0x80000000u) + INT32_MIN;
}

// A data protocol is ZEM, PB or PLAIN in any letter case, and nothing longer.
bool IsDataProtocol(const std::string& value) {
  return (value.size() == 3 && strncasecmp(value.c_str(), "ZEM", 3) == 0) ||
         (value.size() == 2 && strncasecmp(value.c_str(), "PB", 2) == 0) ||
         (value.size() == 5 && strncasecmp(value.c_str(), "PLAIN", 5) == 0);
}

bool IsSortFieldType(int type) {
  return type >= 0 && type <= kMaxSortFieldType && ((kSortFieldTypeMask >> type) & 1u) != 0;
}

// The number of a sort mark, "sort1" to "sort4" exactly, or 0 for any other text.
int SortMarkNumber(const char* mark) {
  static const char* const kMarks[VELMORA_MAX_LIST_SORT_NUM] = {"sort1", "sort2", "sort3",
                                                                "sort4"};
  for (int n = 0; n < VELMORA_MAX_LIST_SORT_NUM; ++n) {
    if (std::strcmp(mark, kMarks[n]) == 0) return n + 1;
  }
  return 0;
}

}  // namespace

// The steps below log under the name of the check they belong to, as the store's operators know
// them.
#define CUSTOM_ATTR_LOC CHECK_TABLE_LOC_OF("CheckTableTypeByCustomAttr")

// One call of CheckTableTypeByCustomAttr, once its table has been found and its attribute string
// read without spaces. The out-parameters are the caller's.
struct CheckTable::CustomAttrCall {
  LPZEMMETALIB metalib;
  LPZEMMETA meta;
  const char* metaname;
  const std::string& destMetaAttr2;
  int& table_type;
  int& list_num;
  int& sort_field_num;
  int& sort_rule;
  LPWLOGCATEGORYINST log_handle;

  const char* attr() const { return destMetaAttr2.c_str(); }
  bool Has(const char* word) const { return destMetaAttr2.find(word) != std::string::npos; }
};

int CheckTable::CheckTableTypeByCustomAttr(LPZEMMETALIB metalib, const char* metaname,
                                           int& table_type, int& list_num, int& sort_field_num,
                                           int& sort_rule, char* data_protocol,
                                           bool check_data_protocol,
                                           LPWLOGCATEGORYINST log_handle) {
  int ret = CheckTableArguments(metalib, metaname, log_handle, CHECK_TABLE_LOC);
  if (ret != CHECK_TABLE_SUCCESS) return ret;
  LPZEMMETA meta = nullptr;
  ret = LookUpTable(metalib, metaname, log_handle, CHECK_TABLE_LOC, meta);
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "Start CheckTableTypeByCustomAttr %s...", metaname);

  if (zem_get_metalib_version(metalib) > 65535) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Table version error,can not higher than 65535");
  }

  // A table without an attribute string is defined in the old style; the caller decides what that
  // means, so nothing is reported and nothing handed back.
  const char* meta_attr2 = zem_get_meta_customattr2(meta);
  if (meta_attr2 == nullptr || meta_attr2[0] == '\0') return ERROR_OLD_TABLE_DEFINE;

  // The attribute text is copied only for as long as its spaces are removed: it may be long.
  std::string destMetaAttr2;
  StringRemoveSpaces(meta_attr2, destMetaAttr2);

  if (CheckStringDisplayCharset(destMetaAttr2.c_str(), log_handle) != CHECK_TABLE_SUCCESS) {
    return WARN_NEW_TABLE_DEFINE_AND_HAS_ERROR;
  }
  ret = ParseDataProtocol(meta, destMetaAttr2, data_protocol, check_data_protocol, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) return ret;

  const CustomAttrCall call{metalib,   meta,     metaname,       destMetaAttr2, table_type,
                            list_num,  sort_field_num, sort_rule, log_handle};
  return ParseTableType(call);
}

int CheckTable::ParseDataProtocol(LPZEMMETA meta, const std::string& destMetaAttr2,
                                  char* data_protocol, bool check_data_protocol,
                                  LPWLOGCATEGORYINST log_handle) {
  const char* attr = destMetaAttr2.c_str();
  if (strstri(attr, "DataProtocolType=") == nullptr) {
    if (!check_data_protocol) return CHECK_TABLE_SUCCESS;
    return REPORT_ERROR_ON_AT(log_handle, OnTableAttributes(meta), CUSTOM_ATTR_LOC,
                              CHECK_TABLE_ERROR_SYSTEM_ERROR,
                              "DataProtocolType must be existed, please check it.");
  }
  std::string protocol;
  if (GetAssignStrFromSourStr(attr, ";", "DataProtocolType=", protocol, strstri) == nullptr ||
      !IsDataProtocol(protocol)) {
    return REPORT_ERROR_ON_AT(
        log_handle, OnTableAttributes(meta), CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
        "DataProtocolType is error,it must be like:DataProtocolType=ZEM|PB|PLAIN.");
  }
  // Safe for the caller's 6-byte buffer: an accepted value has at most 5 characters, so at most
  // 6 bytes are written with its terminator, and a rejected value has returned above.
  if (data_protocol != nullptr) {
    std::memcpy(data_protocol, protocol.c_str(), protocol.size() + 1);
  }
  // Only a protocol still counts as an old-style definition, though it was handed. Deliberate.
  if (destMetaAttr2.size() <= kProtocolOnlyMaxLength) return ERROR_OLD_TABLE_DEFINE;
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::ParseTableType(const CustomAttrCall& call) {
  // The type is found as a word anywhere in the string, not as the value of "TableType=";
  // CheckStr then vouches for the segment that carries it. "LIST" also matches "SORTLIST".
  if (call.Has("GENERIC")) return ParseGenericTable(call);
  if (call.Has("LIST")) return ParseListTable(call);
  // Only the display charset (and perhaps the protocol) is set: accepted as it is.
  if (call.Has("stringdisplaycharset")) return CHECK_TABLE_SUCCESS;
  return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                         "TableType is error,it must be like:TableType=GENERIC|LIST|SORTLIST;ListNum=1023.");
}

// The exclusive upper bound of a list's size on the oldest server that will hold the table:
// servers from 3.40.0.193000 on hold up to 10000 elements, older ones up to 1023.
// The two lines that record the version carry their source line in their text, so moving this
// function changes the report of every list table; it is kept ahead of the steps that call it,
// where its lines have always been.
int CheckTable::ListBoundForServer(const char* metaname, LPWLOGCATEGORYINST log_handle) {
  // These lines carry their own location (lines 184 and 192); taking it from the record the log
  // line is written with keeps the text and the line in agreement. The buffer keeps the last one.
  const WLOGLOCINFO svr_ver_loc = CUSTOM_ATTR_LOC;
  (void)Report(log_handle, WLOG_PRIORITY_INFO, svr_ver_loc, CHECK_TABLE_SUCCESS, OnTable(),
               "%s(%d)-<%s>:  m_svr_ver:%s table:'%s'", svr_ver_loc.loc_file,
               svr_ver_loc.loc_line, svr_ver_loc.loc_function, m_svr_ver.c_str(), metaname);
  const bool ge340193000 = RealCmpVersion(m_svr_ver.c_str(), kLongListServerVersion, true) >= 0;
  if (!ge340193000) return kOldListBound;
  // The line says ">" although an equal version takes this path too. Deliberate. Like the line
  // above, it names its own source line (192), which operators have always seen.
  const WLOGLOCINFO long_list_loc = CUSTOM_ATTR_LOC;
  (void)Report(log_handle, WLOG_PRIORITY_INFO, long_list_loc, CHECK_TABLE_SUCCESS, OnTable(),
               "%s(%d)-<%s>:  m_svr_ver(%s) > 3.40.0.193000 table:'%s'", long_list_loc.loc_file,
               long_list_loc.loc_line, long_list_loc.loc_function, m_svr_ver.c_str(), metaname);
  return kLongListBound;
}

int CheckTable::ParseGenericTable(const CustomAttrCall& call) {
  if (!CheckStr(call.attr(), "GENERIC")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                           "generic table:table_type must be GENERIC,please check it.");
  }
  if (call.Has("ListNum") || call.Has("SortFieldNum") || call.Has("SortRule")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                           "table_type is generic,but customattr has contain ListNum or SortFieldNum or SortRule,don't forget to check the entry's customattr2.");
  }
  const int ret = CheckUnmarkedEntries(call.metalib, call.meta, false, call.log_handle);
  if (ret != CHECK_TABLE_SUCCESS) return ret;
  call.table_type = kGenericTable;
  call.list_num = 0;
  // The buffer keeps this line after success.
  (void)Report(call.log_handle, WLOG_PRIORITY_INFO, CUSTOM_ATTR_LOC, CHECK_TABLE_SUCCESS,
               OnTable(), "table:%s table_type is generic.", call.metaname);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::ParseListTable(const CustomAttrCall& call) {
  // Lists and sorted lists: the out-parameters written here stay written if a later step fails.
  call.table_type = kListTable;
  call.sort_field_num = 0;

  const int ret = ParseListNum(call);
  if (ret != CHECK_TABLE_SUCCESS) return ret;
  const int parse_ret = call.Has("SORTLIST") ? ParseSortedListTable(call) : ParsePlainListTable(call);
  if (parse_ret != CHECK_TABLE_SUCCESS) return parse_ret;

  // A plain list leaves sort_rule as the caller passed it, and prints it so.
  LOG_LINE_AT(call.log_handle, WLOG_PRIORITY_INFO, CUSTOM_ATTR_LOC,
              "customattr parse result:TableType=%d;ListNum=%d;SortFieldNum=%d;SortRule=%d",
              call.table_type, call.list_num, call.sort_field_num, call.sort_rule);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::ParseListNum(const CustomAttrCall& call) {
  std::string list_num_str;
  GetAssignStrFromSourStr(call.attr(), ";", "ListNum=", list_num_str, FindCaseSensitive);
  if (list_num_str.empty()) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "%s", kListNumUsage);
  }
  if (!IsDigit(list_num_str.c_str())) {
    // Not a number: the name of a macro of the schema. An unknown one leaves list_num alone.
    int macro_value = 0;
    if (zem_get_macro_value(&macro_value, call.metalib, list_num_str.c_str()) != 0) {
      return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                             "can't find macro:%s from zem:%s,please check.", list_num_str.c_str(),
                             call.metaname);
    }
    call.list_num = macro_value;
  } else {
    call.list_num = LowInt32(std::strtol(list_num_str.c_str(), nullptr, 10));
  }

  // The usage texts keep saying "1-1023" whatever the server allows.
  const int max_list_elem_cnt = ListBoundForServer(call.metaname, call.log_handle);
  if (call.list_num < 1 || call.list_num >= max_list_elem_cnt) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "list_num must be [1,%d],but now list_num:%d,list_num_str:%s,custom_str:%s",
                           max_list_elem_cnt - 1, call.list_num, list_num_str.c_str(), call.attr());
  }
  if (!CheckStr(call.attr(), "ListNum")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "%s", kListNumUsage);
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::ParseSortedListTable(const CustomAttrCall& call) {
  // "TaleType" is how operators have always read this message; keep the spelling.
  if (!CheckStr(call.attr(), "SORTLIST")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                           "sort list table:it must be TaleType=SORTLIST,please check it.");
  }
  call.table_type = kSortedListTable;

  std::string sort_num_str;
  GetAssignStrFromSourStr(call.attr(), ";", "SortFieldNum=", sort_num_str, FindCaseSensitive);
  if (sort_num_str.empty()) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "%s", kSortNumUsage);
  }
  // No macro here: a value that is not a number reads as 0 and fails the range.
  call.sort_field_num = LowInt32(std::strtol(sort_num_str.c_str(), nullptr, 10));
  if (call.sort_field_num < 1 || call.sort_field_num > VELMORA_MAX_LIST_SORT_NUM) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "sort_field_num must be [1,%d],but now custom_str:%s",
                           static_cast<int>(VELMORA_MAX_LIST_SORT_NUM), call.attr());
  }
  if (!CheckStr(call.attr(), "SortFieldNum")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "%s", kSortNumUsage);
  }
  const int ret = ParseSortRule(call);
  if (ret != CHECK_TABLE_SUCCESS) return ret;
  return CheckSortEntries(call.metalib, call.meta, call.sort_field_num, call.log_handle);
}

int CheckTable::ParseSortRule(const CustomAttrCall& call) {
  std::string sort_rule_str;
  GetAssignStrFromSourStr(call.attr(), ";", "SortRule=", sort_rule_str, FindCaseSensitive);
  // No rule given: ascending, and the segment is not examined.
  if (sort_rule_str.empty()) {
    call.sort_rule = kSortRuleAscending;
    return CHECK_TABLE_SUCCESS;
  }
  if (sort_rule_str == "DESC") {
    call.sort_rule = kSortRuleDescending;
  } else if (sort_rule_str == "INSC") {
    call.sort_rule = kSortRuleAscending;
  } else {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "SortRule str must be DESC or INSC,but now custom_str:%s", call.attr());
  }
  if (!CheckStr(call.attr(), "SortRule")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "SortRule str must be SortRule=DESC/INSC,but now custom_str:%s",
                           call.attr());
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::ParsePlainListTable(const CustomAttrCall& call) {
  if (!CheckStr(call.attr(), "LIST")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                           "list table:table_type must be LIST,please check it.");
  }
  if (call.Has("SortFieldNum") || call.Has("SortRule")) {
    return REPORT_ATTRS_AT(call, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                           "table_type is list,but customattr has contain SortFieldNum or SortRule,don't forget to check the entry's customattr2.");
  }
  return CheckUnmarkedEntries(call.metalib, call.meta, true, call.log_handle);
}

bool CheckTable::CheckStr(const char* src, const char* find_str) {
  if (src == nullptr || find_str == nullptr) return false;

  // The segments between ";" are walked in place: a string may hold millions of them. Only the
  // first segment that mentions find_str decides, even when it merely holds it inside a longer
  // word and a later segment would match exactly.
  const std::string_view text(src);
  for (size_t start = 0;;) {
    size_t end = text.find(';', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view segment = text.substr(start, end - start);
    if (segment.find(find_str) != std::string_view::npos) {
      // It must split at "=" into exactly two pieces, one of them find_str.
      const size_t equals = segment.find('=');
      if (equals == std::string_view::npos ||
          segment.find('=', equals + 1) != std::string_view::npos) {
        return false;
      }
      return segment.substr(0, equals) == find_str || segment.substr(equals + 1) == find_str;
    }
    if (end == text.size()) return false;
    start = end + 1;
  }
}

int CheckTable::CheckStringDisplayCharset(const char* str, LPWLOGCATEGORYINST log_handle) {
  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckStringDisplayCharset: %s", OrNullText(str));
  if (str == nullptr) return CHECK_TABLE_SUCCESS;

  // The key is matched with its letter case; only its first occurrence counts.
  const std::string meta_attr2_str(str);
  const size_t n_stringdisplaycharset = meta_attr2_str.find("stringdisplaycharset");
  if (n_stringdisplaycharset == std::string::npos) return CHECK_TABLE_SUCCESS;

  const std::string stringdisplaycharset = meta_attr2_str.substr(n_stringdisplaycharset);
  // Without any "=" the position wraps to 0 and the whole tail is taken as the value.
  const size_t n_charset = stringdisplaycharset.find('=') + 1;
  const std::string charset = stringdisplaycharset.substr(n_charset);
  bool accepted = false;
  if (!charset.empty()) {
    const size_t n_delimiter = charset.find(';');
    // Deliberate: a value followed by ";" is cut one character short ("utf8;..." reads "utf"), so
    // an accepted setting must end the string. A ";" right after "=" wraps the length around and
    // takes the whole rest.
    const std::string word =
        n_delimiter == std::string::npos ? charset : charset.substr(0, n_delimiter - 1);
    accepted = word == "utf8" || word == "gbk";
  }
  if (accepted) return CHECK_TABLE_SUCCESS;
  return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                      "error stringdisplaycharset: %s", stringdisplaycharset.c_str());
}

// The field walks are the entry-level half of CheckTableTypeByCustomAttr: their lines are logged
// under its name too.

int CheckTable::ReportUnreadableEntry(LPWLOGCATEGORYINST log_handle, int slot) {
  return REPORT_ERROR_AT(log_handle, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                         "pstEntry %d is error,system error.", slot);
}

int CheckTable::CheckUnmarkedEntries(LPZEMMETALIB metalib, LPZEMMETA meta, bool list_table,
                                     LPWLOGCATEGORYINST log_handle) {
  // Only sorted list tables give their fields an attribute: a generic table has no element order,
  // and a plain list keeps its elements in insertion order.
  return ForEachEntry(
      meta,
      [&](int, LPZEMMETAENTRY pstEntry) -> int {
        const char* cus_attr_2 = zem_get_entry_customattr2(metalib, pstEntry);
        if (cus_attr_2 == nullptr || cus_attr_2[0] == '\0') return CHECK_TABLE_SUCCESS;
        if (list_table) {
          return REPORT_ERROR_ON_AT(log_handle, OnEntryAttributes(pstEntry), CUSTOM_ATTR_LOC,
                                    CHECK_TABLE_ERROR_SYSTEM_ERROR, "table_type is list,entry field can't contain customattr2.");
        }
        return REPORT_ERROR_ON_AT(log_handle, OnEntryAttributes(pstEntry), CUSTOM_ATTR_LOC,
                                  CHECK_TABLE_ERROR_SYSTEM_ERROR, "table_type is generic,entry field can't contain customattr2.");
      },
      [&](int slot) { return ReportUnreadableEntry(log_handle, slot); });
}

int CheckTable::CheckSortEntries(LPZEMMETALIB metalib, LPZEMMETA meta, int sort_field_num,
                                 LPWLOGCATEGORYINST log_handle) {
  LOG_LINE_AT(log_handle, WLOG_PRIORITY_DEBUG, CUSTOM_ATTR_LOC,
              "continue Start CheckTableTypeByCustomAttr %d...", zem_get_entry_num(meta));

  // How many fields carry each mark, sort1 to sort4.
  int sort_num[VELMORA_MAX_LIST_SORT_NUM] = {};
  const int ret = ForEachEntry(
      meta,
      [&](int, LPZEMMETAENTRY pstEntry) {
        return CountSortMark(metalib, pstEntry, sort_num, log_handle);
      },
      [&](int slot) { return ReportUnreadableEntry(log_handle, slot); });
  if (ret != CHECK_TABLE_SUCCESS) return ret;
  return CheckSortMarkCounts(meta, sort_num, sort_field_num, log_handle);
}

int CheckTable::CountSortMark(LPZEMMETALIB metalib, LPZEMMETAENTRY pstEntry, int* sort_num,
                              LPWLOGCATEGORYINST log_handle) {
  // Attributes that do not mention "sort" (case-sensitive) are not sort marks.
  const char* cus_attr_2 = zem_get_entry_customattr2(metalib, pstEntry);
  if (cus_attr_2 == nullptr || cus_attr_2[0] == '\0' ||
      std::strstr(cus_attr_2, "sort") == nullptr) {
    return CHECK_TABLE_SUCCESS;
  }
  // Every element of a list shares the table's key, so a key field cannot order them.
  if (IsPrimaryKeyEntry(pstEntry)) {
    return REPORT_ERROR_ON_AT(log_handle, OnEntryAttributes(pstEntry), CUSTOM_ATTR_LOC,
                              CHECK_TABLE_ERROR_INVALID_PARAMETER, "sortfield not support keyfield %s",
                              zem_get_entry_name(pstEntry));
  }
  const int type = zem_get_entry_type(pstEntry);
  if (!IsSortFieldType(type)) {
    return REPORT_ERROR_ON_AT(log_handle, OnEntryAttributes(pstEntry), CUSTOM_ATTR_LOC,
                              CHECK_TABLE_ERROR_INVALID_PARAMETER, "sortfield(%s)'s type(%d) just support:uint8,uint16,uint32,uint64,int8,int16,int32,int64,float,double",
                           zem_get_entry_name(pstEntry), type);
  }
  const int mark = SortMarkNumber(cus_attr_2);
  if (mark == 0) {
    return REPORT_ERROR_ON_AT(
        log_handle, OnEntryAttributes(pstEntry), CUSTOM_ATTR_LOC,
        CHECK_TABLE_ERROR_INVALID_PARAMETER,
        "The customattr2 is just used to SortList,it must be sort1,sort2,sort3,sort4");
  }
  ++sort_num[mark - 1];
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckSortMarkCounts(LPZEMMETA meta, const int* sort_num, int sort_field_num,
                                    LPWLOGCATEGORYINST log_handle) {
  // The marks are judged against the table's attribute string, which says how many there are.
  const CheckTableElement attrs = OnTableAttributes(meta);
  const int sort1_num = sort_num[0];
  const int sort2_num = sort_num[1];
  const int sort3_num = sort_num[2];
  const int sort4_num = sort_num[3];
  // Marks have no gaps: a higher one needs every lower one.
  if (sort4_num != 0 && (sort1_num == 0 || sort2_num == 0 || sort3_num == 0)) {
    return REPORT_ERROR_ON_AT(log_handle, attrs, CUSTOM_ATTR_LOC,
                              CHECK_TABLE_ERROR_INVALID_PARAMETER, "Has sort4,but it does not have sort1/sort2/sort3");
  }
  if (sort4_num == 0 && sort3_num != 0 && (sort1_num == 0 || sort2_num == 0)) {
    return REPORT_ERROR_ON_AT(log_handle, attrs, CUSTOM_ATTR_LOC,
                              CHECK_TABLE_ERROR_INVALID_PARAMETER, "Has sort3,but it does not have sort1/sort2");
  }
  if (sort4_num == 0 && sort3_num == 0 && sort2_num != 0 && sort1_num == 0) {
    return REPORT_ERROR_ON_AT(log_handle, attrs, CUSTOM_ATTR_LOC,
                              CHECK_TABLE_ERROR_INVALID_PARAMETER, "Has sort2,but it does not have sort1");
  }
  if (sort1_num > 1 || sort2_num > 1 || sort3_num > 1 || sort4_num > 1) {
    return REPORT_ERROR_ON_AT(log_handle, attrs, CUSTOM_ATTR_LOC,
                              CHECK_TABLE_ERROR_INVALID_PARAMETER, "Every sort flag should be 1 time(sort1:%d,sort2:%d,sort3:%d,sort4:%d),please check.",
                              sort1_num, sort2_num, sort3_num, sort4_num);
  }
  // Each mark is now used once and the marks form a prefix sort1..sortN, so their sum is N, which
  // must be the table's SortFieldNum. "curstomaattr" and " 's" are the message's own; keep them.
  const int total = sort1_num + sort2_num + sort3_num + sort4_num;
  if (total != sort_field_num) {
    return REPORT_ERROR_ON_AT(
        log_handle, attrs, CUSTOM_ATTR_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
        "pstEntry 's curstomaattr num's sort num %d not match with meta's SortFieldNum=%d",
        total, sort_field_num);
  }
  return CHECK_TABLE_SUCCESS;
}
