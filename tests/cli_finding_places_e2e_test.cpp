// Every failure a schema file can bring about, one tiny schema each: the command must report it at
// the line and column of the element at fault, naming that element, with the checker's exact
// message and result code, in the text report and in the JSON report alike.
//
// Texts no schema file can bring about, so not here:
// - "Primaykey is not exist!  table:'%s'": the model counts key fields but holds no key list; the
//   loader always builds the list with the count.
// - "Primaykey is not exist entry! ...": the loader refuses a primarykey member that names no
//   field, before any check runs.
// - "Table_type is invaild type! table:'%s'" (primary key) and "Table_type is invalid! table:'%s'"
//   (indexes): the entry point refuses an unknown --kind before these checks run.
// - "Table dose not have entry, table:'%s'": a negative field count, which no loaded model has.
// - "The entry: %s is not exist! table:'%s'": a key field that is no field of the struct, which
//   the loader refuses.
// - "Table dose not have index, table:'%s'": the key checks look a field up in the indexes only
//   when the table has some.
// - "%s %s length(%lld) is greater than %s": a field of more than 2147483647 bytes, which the
//   loader refuses.
// - The failures of NULL arguments (a missing meta, entry, index or name) and of memory.
// Texts that are never a finding of their own but a note of one, asserted with it below: the entry
// point's "Check... failed!" lines, the field size summary "CheckFieldNameLength failed!
// table:'%s', svrMinVersion:%s" and the list of oversized fields "ERR_ENTRY_LEN;...", and the
// lines of the lookups a check asked ("Entry is not belong to primarykey!...", "Splittablekey
// field is not belong to index field!...", "Table should have primaykey!..."), and "The index
// field can't be repeated!..." after the pair of indexes it sums up. Logged only,
// never reported: "table:'%s' %s" of a split table key text the library cannot read (the entry
// point's line around the failure is the finding, at the split table key), and
// "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!".
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <algorithm>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "cli_test_support.h"

namespace {

using Json = nlohmann::json;

struct FindingPlace {
  const char* rule;  // the test's name
  std::vector<std::string> options;  // "OLD" stands for the path of old_schema
  const char* schema;
  // Fields named v1, v2, ... of type uint8 added at the end of the struct, for the limits on the
  // number of value fields.
  int value_fields;
  // How many times "@UIDS@" in the schema names the field uid, for a split table key longer than
  // the store reads.
  int split_key_uids;
  // The text report's line of the finding after the schema's path.
  const char* text;
  int line;    // 0: the finding has no place
  int column;
  const char* element;
  const char* name;
  const char* message;
  const char* code;
  bool also;  // found by a later step run on its own
  // The lines that wrap or lead to it (the entry point's "Check... failed!", a lookup's), in order.
  std::vector<std::string> notes;
};

void PrintTo(const FindingPlace& place, std::ostream* out) { *out << place.rule; }

// The table before the change, for --old.
const char kOldSchema[] =
    "<metalib name=\"g\">\n"
    "  <struct name=\"t\" primarykey=\"uid\">\n"
    "    <entry name=\"uid\" type=\"uint64\"/>\n"
    "    <entry name=\"v\" type=\"uint32\"/>\n"
    "  </struct>\n"
    "</metalib>\n";

// The schema of a case with its generated parts filled in.
std::string Expanded(const FindingPlace& place) {
  std::string schema = place.schema;
  std::string fields;
  for (int i = 1; i <= place.value_fields; ++i) {
    fields += "    <entry name=\"v" + std::to_string(i) + "\" type=\"uint8\"/>\n";
  }
  schema.insert(schema.rfind("  </struct>"), fields);
  const size_t uids_at = schema.find("@UIDS@");
  if (uids_at != std::string::npos) {
    std::string uids = "uid";
    for (int i = 1; i < place.split_key_uids; ++i) uids += ",uid";
    schema.replace(uids_at, 6, uids);
  }
  return schema;
}

void Write(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

const FindingPlace kPlaces[] = {
    {"UnknownTableKind",
     {"-k", "2"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: t: Table_type is invaild type，please check the table type!  table:'t' [CHECK_T"
     "ABLE_ERROR_INVALID_PARAMETER]",
     2, 3, "struct", "t",
     "Table_type is invaild type，please check the table type!  table:'t'",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"NoStructOfTheTableName",
     {"-t", "nope"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ": error: nope: Get meta info failed, please check the table name! table:'nope' [CHECK_TABLE"
     "_ERROR_SYSTEM_ERROR]",
     0, 0, "struct", "nope",
     "Get meta info failed, please check the table name! table:'nope'",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"MoreKeysThanAnOldProxyServes",
     {"--proxy-version", "3.36.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"a,b,c,d,e\">\n"
     "    <entry name=\"a\" type=\"uint8\"/>\n"
     "    <entry name=\"b\" type=\"uint8\"/>\n"
     "    <entry name=\"c\" type=\"uint8\"/>\n"
     "    <entry name=\"d\" type=\"uint8\"/>\n"
     "    <entry name=\"e\" type=\"uint8\"/>\n"
     "    <entry name=\"v\" type=\"uint8\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: t: This table:t 's key num:5 is more than 4,proxy version need >= 3.37.0,but n"
     "ow is :3.36.0 [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
     2, 3, "struct", "t",
     "This table:t 's key num:5 is more than 4,proxy version need >= 3.37.0,but now is :3.36.0",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"MoreKeysThanAnOldRestProxyServes",
     {"--proxy-version", "3.37.0", "--rest-proxy-version", "3.36.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"a,b,c,d,e\">\n"
     "    <entry name=\"a\" type=\"uint8\"/>\n"
     "    <entry name=\"b\" type=\"uint8\"/>\n"
     "    <entry name=\"c\" type=\"uint8\"/>\n"
     "    <entry name=\"d\" type=\"uint8\"/>\n"
     "    <entry name=\"e\" type=\"uint8\"/>\n"
     "    <entry name=\"v\" type=\"uint8\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: t: This table:t 's key num:5 is more than 4,rest proxy version need >= 3.37.0,"
     "but now is :3.36.0 [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
     2, 3, "struct", "t",
     "This table:t 's key num:5 is more than 4,rest proxy version need >= 3.37.0,but now is :3.36"
     ".0",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"EmptyTableName",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: : table name can't be empty [ERROR_TABLE_NAME_EMPTY]",
     2, 3, "struct", "",
     "table name can't be empty",
     "ERROR_TABLE_NAME_EMPTY", false,
     {}},
    {"TableNameStartingWithADigit",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"1t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: 1t: table name startswith digit. [ERROR_TABLE_NAME_STARTWITH_DIGIT]",
     2, 3, "struct", "1t",
     "table name startswith digit.",
     "ERROR_TABLE_NAME_STARTWITH_DIGIT", false,
     {}},
    {"TableNameWithAnIllegalCharacter",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t-x\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: t-x: table name has illegal character. [ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR]",
     2, 3, "struct", "t-x",
     "table name has illegal character.",
     "ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR", false,
     {}},
    {"TableNameOf32Bytes",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"abcdefghijabcdefghijabcdefghij12\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: abcdefghijabcdefghijabcdefghij12: table name 'abcdefghijabcdefghijabcdefghij12"
     "' is too long,maximum 32 chars [ERROR_TABLE_NAME_TOO_LONG]",
     2, 3, "struct", "abcdefghijabcdefghijabcdefghij12",
     "table name 'abcdefghijabcdefghijabcdefghij12' is too long,maximum 32 chars",
     "ERROR_TABLE_NAME_TOO_LONG", false,
     {}},
    {"MetalibVersionAbove65535",
     {},
     "<metalib name=\"g\" version=\"70000\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: t: Table version error,can not higher than 65535 [CHECK_TABLE_ERROR_INVALID_PA"
     "RAMETER]",
     2, 3, "struct", "t",
     "Table version error,can not higher than 65535",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"MissingDataProtocol",
     {"--require-data-protocol"},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=GENERIC\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: DataProtocolType must be existed, please check it. [CHECK_TABL"
     "E_ERROR_SYSTEM_ERROR]",
     3, 37, "attribute", "customattr2",
     "DataProtocolType must be existed, please check it.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"UnknownDataProtocol",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"DataProtocolType=XML;TableType=GENERI"
     "C\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: DataProtocolType is error,it must be like:DataProtocolType=ZEM"
     "|PB|PLAIN. [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "DataProtocolType is error,it must be like:DataProtocolType=ZEM|PB|PLAIN.",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"NoTableType",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"ListNum=5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: TableType is error,it must be like:TableType=GENERIC|LIST|SORT"
     "LIST;ListNum=1023. [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "TableType is error,it must be like:TableType=GENERIC|LIST|SORTLIST;ListNum=1023.",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"GenericWordOutsideItsSegment",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=GENERIC1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: generic table:table_type must be GENERIC,please check it. [CHE"
     "CK_TABLE_ERROR_SYSTEM_ERROR]",
     3, 37, "attribute", "customattr2",
     "generic table:table_type must be GENERIC,please check it.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"ListNumOnAGenericTable",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=GENERIC;ListNum=5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: table_type is generic,but customattr has contain ListNum or So"
     "rtFieldNum or SortRule,don't forget to check the entry's customattr2. [CHECK_TABLE_ERROR_SY"
     "STEM_ERROR]",
     3, 37, "attribute", "customattr2",
     "table_type is generic,but customattr has contain ListNum or SortFieldNum or SortRule,don't "
     "forget to check the entry's customattr2.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"ListNumWithoutValue",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: list_num_str is error,it must be like:TableType=LIST|SORTLIST;"
     "ListNum=1-1023[;SortFieldNum=[1-4]]. [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "list_num_str is error,it must be like:TableType=LIST|SORTLIST;ListNum=1-1023[;SortFieldNum="
     "[1-4]].",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"ListNumNamingNoMacro",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum=M\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: can't find macro:M from zem:t,please check. [CHECK_TABLE_ERROR"
     "_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "can't find macro:M from zem:t,please check.",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"ListNumOutOfRange",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum=2000\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: list_num must be [1,1023],but now list_num:2000,list_num_str:2"
     "000,custom_str:TableType=LIST;ListNum=2000 [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "list_num must be [1,1023],but now list_num:2000,list_num_str:2000,custom_str:TableType=LIST"
     ";ListNum=2000",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"SortListWordOutsideItsSegment",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST1;ListNum=5;SortFie"
     "ldNum=1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: sort list table:it must be TaleType=SORTLIST,please check it. "
     "[CHECK_TABLE_ERROR_SYSTEM_ERROR]",
     3, 37, "attribute", "customattr2",
     "sort list table:it must be TaleType=SORTLIST,please check it.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"SortFieldNumWithoutValue",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: sort_num_str is error,it must be like:TableType=LIST|SORTLIST;"
     "ListNum=1-1023[;SortFieldNum=[1-4]]. [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "sort_num_str is error,it must be like:TableType=LIST|SORTLIST;ListNum=1-1023[;SortFieldNum="
     "[1-4]].",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"SortFieldNumOutOfRange",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: sort_field_num must be [1,4],but now custom_str:TableType=SORT"
     "LIST;ListNum=5;SortFieldNum=5 [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "sort_field_num must be [1,4],but now custom_str:TableType=SORTLIST;ListNum=5;SortFieldNum=5",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"UnknownSortRule",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=1;SortRule=UP\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: SortRule str must be DESC or INSC,but now custom_str:TableType"
     "=SORTLIST;ListNum=5;SortFieldNum=1;SortRule=UP [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "SortRule str must be DESC or INSC,but now custom_str:TableType=SORTLIST;ListNum=5;SortField"
     "Num=1;SortRule=UP",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"SortRuleOutsideItsSegment",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=1;xSortRule=DESC\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:37: error: t.customattr2: SortRule str must be SortRule=DESC/INSC,but now custom_str:Tab"
     "leType=SORTLIST;ListNum=5;SortFieldNum=1;xSortRule=DESC [CHECK_TABLE_ERROR_INVALID_PARAMETE"
     "R]",
     2, 37, "attribute", "customattr2",
     "SortRule str must be SortRule=DESC/INSC,but now custom_str:TableType=SORTLIST;ListNum=5;Sor"
     "tFieldNum=1;xSortRule=DESC",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"ListWordOutsideItsSegment",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST1;ListNum=5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: list table:table_type must be LIST,please check it. [CHECK_TAB"
     "LE_ERROR_SYSTEM_ERROR]",
     3, 37, "attribute", "customattr2",
     "list table:table_type must be LIST,please check it.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"SortFieldNumOnAPlainList",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum=5;SortFieldNum"
     "=1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: table_type is list,but customattr has contain SortFieldNum or "
     "SortRule,don't forget to check the entry's customattr2. [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
     3, 37, "attribute", "customattr2",
     "table_type is list,but customattr has contain SortFieldNum or SortRule,don't forget to chec"
     "k the entry's customattr2.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"UnknownDisplayCharset",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=GENERIC;stringdisplaycharse"
     "t=latin1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: error stringdisplaycharset: stringdisplaycharset=latin1 [CHECK"
     "_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "error stringdisplaycharset: stringdisplaycharset=latin1",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"FieldAttributesOfAGenericTable",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=GENERIC\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:35: error: t.v.customattr2: table_type is generic,entry field can't contain customattr2."
     " [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
     5, 35, "attribute", "v.customattr2",
     "table_type is generic,entry field can't contain customattr2.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"FieldAttributesOfAPlainList",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum=5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:35: error: t.v.customattr2: table_type is list,entry field can't contain customattr2. [C"
     "HECK_TABLE_ERROR_SYSTEM_ERROR]",
     5, 35, "attribute", "v.customattr2",
     "table_type is list,entry field can't contain customattr2.",
     "CHECK_TABLE_ERROR_SYSTEM_ERROR", false,
     {}},
    {"SortMarkOnAKeyField",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=1\">\n"
     "    <entry name=\"uid\" type=\"uint64\" customattr2=\"sort1\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.uid.customattr2: sortfield not support keyfield uid [CHECK_TABLE_ERROR_INVA"
     "LID_PARAMETER]",
     3, 37, "attribute", "uid.customattr2",
     "sortfield not support keyfield uid",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"SortMarkOnAString",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"string\" size=\"8\" customattr2=\"sort1\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:44: error: t.v.customattr2: sortfield(v)'s type(21) just support:uint8,uint16,uint32,uin"
     "t64,int8,int16,int32,int64,float,double [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     4, 44, "attribute", "v.customattr2",
     "sortfield(v)'s type(21) just support:uint8,uint16,uint32,uint64,int8,int16,int32,int64,floa"
     "t,double",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"UnknownSortMark",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort5\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:35: error: t.v.customattr2: The customattr2 is just used to SortList,it must be sort1,so"
     "rt2,sort3,sort4 [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     5, 35, "attribute", "v.customattr2",
     "The customattr2 is just used to SortList,it must be sort1,sort2,sort3,sort4",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"Sort4WithoutTheMarksBefore",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=2\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort4\"/>\n"
     "    <entry name=\"w\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: Has sort4,but it does not have sort1/sort2/sort3 [CHECK_TABLE_"
     "ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "Has sort4,but it does not have sort1/sort2/sort3",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"Sort3WithoutTheMarksBefore",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=2\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort3\"/>\n"
     "    <entry name=\"w\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: Has sort3,but it does not have sort1/sort2 [CHECK_TABLE_ERROR_"
     "INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "Has sort3,but it does not have sort1/sort2",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"Sort2WithoutSort1",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=1\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort2\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: Has sort2,but it does not have sort1 [CHECK_TABLE_ERROR_INVALI"
     "D_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "Has sort2,but it does not have sort1",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"SortMarkUsedTwice",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=2\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "    <entry name=\"w\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: Every sort flag should be 1 time(sort1:2,sort2:0,sort3:0,sort4"
     ":0),please check. [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "Every sort flag should be 1 time(sort1:2,sort2:0,sort3:0,sort4:0),please check.",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"FewerSortMarksThanSortFieldNum",
     {},
     "<metalib name=\"g\">\n"
     "  <macro name=\"N\" value=\"5000\"/>\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=5;SortFiel"
     "dNum=2\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" customattr2=\"sort1\"/>\n"
     "    <entry name=\"w\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:37: error: t.customattr2: pstEntry 's curstomaattr num's sort num 1 not match with meta'"
     "s SortFieldNum=2 [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     3, 37, "attribute", "customattr2",
     "pstEntry 's curstomaattr num's sort num 1 not match with meta's SortFieldNum=2",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"NoPrimaryKey",
     {"-t", "t"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: t: There is no Primaykey in meta:'t', maybe it is a pure struct. [ERROR_NO_PRI"
     "MARY_KEY_IN_META]",
     2, 3, "struct", "t",
     "There is no Primaykey in meta:'t', maybe it is a pure struct.",
     "ERROR_NO_PRIMARY_KEY_IN_META", false,
     {"CheckPrimaryKey failed! table:'t',ret:-15"}},
    {"NinePrimaryKeyFieldsOfAGenericTable",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"a,b,c,d,e,f,g,h,i\">\n"
     "    <entry name=\"a\" type=\"uint8\"/>\n"
     "    <entry name=\"b\" type=\"uint8\"/>\n"
     "    <entry name=\"c\" type=\"uint8\"/>\n"
     "    <entry name=\"d\" type=\"uint8\"/>\n"
     "    <entry name=\"e\" type=\"uint8\"/>\n"
     "    <entry name=\"f\" type=\"uint8\"/>\n"
     "    <entry name=\"g\" type=\"uint8\"/>\n"
     "    <entry name=\"h\" type=\"uint8\"/>\n"
     "    <entry name=\"i\" type=\"uint8\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:20: error: t.primarykey: The number of generic_table's primarykey can't be more than 8! "
     "table:'t' [ERROR_PRIMARYKEY_FIELD]",
     2, 20, "attribute", "primarykey",
     "The number of generic_table's primarykey can't be more than 8! table:'t'",
     "ERROR_PRIMARYKEY_FIELD", false,
     {"CheckPrimaryKey failed! table:'t',ret:-4"}},
    {"EightPrimaryKeyFieldsOfAList",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"a,b,c,d,e,f,g,h\" customattr2=\"TableType=LIST;ListNum=5"
     "\">\n"
     "    <entry name=\"a\" type=\"uint8\"/>\n"
     "    <entry name=\"b\" type=\"uint8\"/>\n"
     "    <entry name=\"c\" type=\"uint8\"/>\n"
     "    <entry name=\"d\" type=\"uint8\"/>\n"
     "    <entry name=\"e\" type=\"uint8\"/>\n"
     "    <entry name=\"f\" type=\"uint8\"/>\n"
     "    <entry name=\"g\" type=\"uint8\"/>\n"
     "    <entry name=\"h\" type=\"uint8\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:20: error: t.primarykey: The number of list_table's primarykey  can't be more than 7! ta"
     "ble:'t' [ERROR_PRIMARYKEY_FIELD]",
     2, 20, "attribute", "primarykey",
     "The number of list_table's primarykey  can't be more than 7! table:'t'",
     "ERROR_PRIMARYKEY_FIELD", false,
     {"CheckPrimaryKey failed! table:'t',ret:-4"}},
    {"PrimaryKeyNamingAFieldTwice",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid,uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:20: error: t.primarykey: repeated field name in primary key, invalid! entry_name:'uid' t"
     "able='t' [ERROR_REPEATED_FIELD_NAME]",
     2, 20, "attribute", "primarykey",
     "repeated field name in primary key, invalid! entry_name:'uid' table='t'",
     "ERROR_REPEATED_FIELD_NAME", false,
     {"CheckPrimaryKey failed! table:'t',ret:-51"}},
    {"KeyFieldOfAnUnsupportedType",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"wstring\" size=\"16\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:5: error: t.uid: The entry type is not supported! entry_name:'uid' table='t' [ERROR_FIEL"
     "D_TYPE_ILLEGAL]",
     3, 5, "entry", "uid",
     "The entry type is not supported! entry_name:'uid' table='t'",
     "ERROR_FIELD_TYPE_ILLEGAL", false,
     {"CheckPrimaryKey failed! table:'t',ret:-16"}},
    {"ValueFieldOfAnUnsupportedType",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"wstring\" size=\"16\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.v: The entry type is not supported! entry_name:'v' table='t' [ERROR_FIELD_TY"
     "PE_ILLEGAL]",
     4, 5, "entry", "v",
     "The entry type is not supported! entry_name:'v' table='t'",
     "ERROR_FIELD_TYPE_ILLEGAL", false,
     {"CheckValueField failed! table:'t',ret:-16"}},
    {"KeyFieldMissingFromAnIndexWithoutSplitKey",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid,zone\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"zone\" type=\"uint32\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <index name=\"by_uid\" column=\"uid\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":6:5: error: t.by_uid: The index field has not include primarykey if splittablekey not exis"
     "t! primarykey:'zone' table:'t' [ERROR_PRIMARYKEY_FIELD]",
     6, 5, "index", "by_uid",
     "The index field has not include primarykey if splittablekey not exist! primarykey:'zone' ta"
     "ble:'t'",
     "ERROR_PRIMARYKEY_FIELD", false,
     {"Splittablekey field is not belong to index field! Splittablekey:'zone',table:'t'",
      "CheckPrimaryKey failed! table:'t',ret:-4"}},
    {"SplitKeyOfATableWithoutPrimaryKey",
     {"-t", "t"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: also: t: Table dose not have primaykey, table:'t'  [ERROR_PRIMARYKEY_FIELD]",
     2, 3, "struct", "t",
     "Table dose not have primaykey, table:'t' ",
     "ERROR_PRIMARYKEY_FIELD", true,
     {"CheckSplittableKey failed! table:'t',ret:-4"}},
    {"SplitKeyTextOver1023Bytes",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" splittablekey=\"@UIDS@\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 300,
     ":2:37: error: t.splittablekey: CheckSplittableKey failed! table:'t',ret:-1 [CHECK_TABLE_ERR"
     "OR_INVALID_PARAMETER]",
     2, 37, "attribute", "splittablekey",
     "CheckSplittableKey failed! table:'t',ret:-1",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", false,
     {}},
    {"SplitKeyFieldOutsideThePrimaryKey",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" splittablekey=\"v\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:37: error: t.splittablekey: Primaykey must include splittablekey! Splittablekey:'v',tabl"
     "e:'t'  [ERROR_SPLITTABLE_FIELD]",
     2, 37, "attribute", "splittablekey",
     "Primaykey must include splittablekey! Splittablekey:'v',table:'t' ",
     "ERROR_SPLITTABLE_FIELD", false,
     {"Entry is not belong to primarykey!Entry:'v' table:'t'",
      "CheckSplittableKey failed! table:'t',ret:-5"}},
    {"SplitKeyFieldMissingFromAnIndex",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid,zone\" splittablekey=\"zone\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"zone\" type=\"uint32\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <index name=\"by_uid\" column=\"uid\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":6:5: error: t.by_uid: The index field has not include splittablekey! Splittablekey:'zone',"
     "table:'t'  [ERROR_INDEX_FIELD]",
     6, 5, "index", "by_uid",
     "The index field has not include splittablekey! Splittablekey:'zone',table:'t' ",
     "ERROR_INDEX_FIELD", false,
     {"Splittablekey field is not belong to index field! Splittablekey:'zone',table:'t'",
      "CheckSplittableKey failed! table:'t',ret:-6"}},
    {"SplitKeyNamingAFieldTwice",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" splittablekey=\"uid,uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:37: error: t.splittablekey: repeated field name in split table key, invalid! Splittablek"
     "ey:'uid' table='t' [ERROR_REPEATED_FIELD_NAME]",
     2, 37, "attribute", "splittablekey",
     "repeated field name in split table key, invalid! Splittablekey:'uid' table='t'",
     "ERROR_REPEATED_FIELD_NAME", false,
     {"CheckSplittableKey failed! table:'t',ret:-51"}},
    {"IndexOfAList",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum=5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <index name=\"by_uid\" column=\"uid\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:5: error: t.by_uid: List-type-table isn't allowed to configure index field! table:'t' [E"
     "RROR_INDEX_FIELD]",
     5, 5, "index", "by_uid",
     "List-type-table isn't allowed to configure index field! table:'t'",
     "ERROR_INDEX_FIELD", false,
     {"CheckIndex failed! table:'t',ret:-6"}},
    {"IndexNamingAColumnTwice",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <index name=\"by_uid\" column=\"uid,uid\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:5: error: t.by_uid: The index field has repeated field 'uid', table:'t' [ERROR_INDEX_FIE"
     "LD]",
     5, 5, "index", "by_uid",
     "The index field has repeated field 'uid', table:'t'",
     "ERROR_INDEX_FIELD", false,
     {"CheckIndex failed! table:'t',ret:-6"}},
    {"IndexColumnOutsideThePrimaryKey",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <index name=\"by_v\" column=\"uid,v\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:5: error: t.by_v: The index field should be primarykey field! index:'v', table:'t' [ERRO"
     "R_INDEX_FIELD]",
     5, 5, "index", "by_v",
     "The index field should be primarykey field! index:'v', table:'t'",
     "ERROR_INDEX_FIELD", false,
     {"Entry is not belong to primarykey!Entry:'v' table:'t'",
      "CheckIndex failed! table:'t',ret:-6"}},
    {"IndexOfATableWithoutPrimaryKey",
     {"-t", "t"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <index name=\"by_uid\" column=\"uid\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:5: also: t.by_uid: The index field should be primarykey field! index:'uid', table:'t' [E"
     "RROR_INDEX_FIELD]",
     5, 5, "index", "by_uid",
     "The index field should be primarykey field! index:'uid', table:'t'",
     "ERROR_INDEX_FIELD", true,
     {"Table should have primaykey! table:'t'",
      "CheckIndex failed! table:'t',ret:-6"}},
    {"TwoIndexesOfTheSameColumns",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid,zone\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"zone\" type=\"uint32\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <index name=\"a\" column=\"uid,zone\"/>\n"
     "    <index name=\"b\" column=\"zone,uid\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":7:5: error: t.b: Index field is repeated! index1:'a', index2:'b', table:'t' [ERROR_INDEX_F"
     "IELD]",
     7, 5, "index", "b",
     "Index field is repeated! index1:'a', index2:'b', table:'t'",
     "ERROR_INDEX_FIELD", false,
     {"The index field can't be repeated!  table:'t'",
      "CheckIndex failed! table:'t',ret:-6"}},
    {"NoValueField",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: error: t: The number of value field can not be zero! table: 't' [ERROR_VALUE_FIELD]",
     2, 3, "struct", "t",
     "The number of value field can not be zero! table: 't'",
     "ERROR_VALUE_FIELD", false,
     {"CheckValueField failed! table:'t',ret:-3"}},
    {"MoreThan255ValueFieldsOfAList",
     {"--server-version", "3.41.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum=5\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     256, 0,
     ":2:3: error: t: The number of value field can not more than 255! list table: 't' [ERROR_VAL"
     "UE_FIELD]",
     2, 3, "struct", "t",
     "The number of value field can not more than 255! list table: 't'",
     "ERROR_VALUE_FIELD", false,
     {"CheckValueField failed! table:'t',ret:-3"}},
    {"MoreThan256ValueFieldsOfAGenericTable",
     {"--server-version", "3.41.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     257, 0,
     ":2:3: error: t: The number of value field can not more than 256! table: 't' [ERROR_VALUE_FI"
     "ELD]",
     2, 3, "struct", "t",
     "The number of value field can not more than 256! table: 't'",
     "ERROR_VALUE_FIELD", false,
     {"CheckValueField failed! table:'t',ret:-3"}},
    {"MoreThan128ValueFieldsForAnOldServer",
     {"--server-version", "3.40.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     129, 0,
     ":2:3: error: t: svr version 3.40.0 < 3.40.0.193253, not support 256 value! table: 't' [ERRO"
     "R_VALUE_FIELD]",
     2, 3, "struct", "t",
     "svr version 3.40.0 < 3.40.0.193253, not support 256 value! table: 't'",
     "ERROR_VALUE_FIELD", false,
     {"CheckValueField failed! table:'t',ret:-3"}},
    {"StringArray",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"n\" type=\"uint8\"/>\n"
     "    <entry name=\"s\" type=\"string\" size=\"8\" count=\"4\" refer=\"n\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:5: error: t.s: these string entry should not have 'count' attribute : s [ERROR_FIELD_TYP"
     "E_ILLEGAL]",
     5, 5, "entry", "s",
     "these string entry should not have 'count' attribute : s",
     "ERROR_FIELD_TYPE_ILLEGAL", false,
     {"these string entry should not have 'count' attribute : s ",
      "CheckValueField failed! table:'t',ret:-16"}},
    {"KeyFieldOverOneKilobyte",
     {"--server-version", "3.28.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"string\" size=\"2000\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":3:5: error: t.uid: key uid length(2000) is greater than 1K [ERROR_ENTRY_LENGTH_NOT_LEGAL]",
     3, 5, "entry", "uid",
     "key uid length(2000) is greater than 1K",
     "ERROR_ENTRY_LENGTH_NOT_LEGAL", false,
     {"ERR_ENTRY_LEN;uid|",
      "CheckFieldNameLength failed! table:'t', svrMinVersion:3.28.0"}},
    {"ValueFieldOver128KilobytesForAServerBefore3290",
     {"--server-version", "3.28.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"string\" size=\"20000000\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.v: entry v length(20000000) is greater than 128k [ERROR_ENTRY_LENGTH_NOT_LEG"
     "AL]",
     4, 5, "entry", "v",
     "entry v length(20000000) is greater than 128k",
     "ERROR_ENTRY_LENGTH_NOT_LEGAL", false,
     {"ERR_ENTRY_LEN;v|",
      "CheckFieldNameLength failed! table:'t', svrMinVersion:3.28.0"}},
    {"ValueFieldOver256KilobytesForAServerBefore3390",
     {"--server-version", "3.30.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"string\" size=\"20000000\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.v: entry v length(20000000) is greater than 256k [ERROR_ENTRY_LENGTH_NOT_LEG"
     "AL]",
     4, 5, "entry", "v",
     "entry v length(20000000) is greater than 256k",
     "ERROR_ENTRY_LENGTH_NOT_LEGAL", false,
     {"ERR_ENTRY_LEN;v|",
      "CheckFieldNameLength failed! table:'t', svrMinVersion:3.30.0"}},
    {"ValueFieldOver10Megabytes",
     {"--server-version", "3.40.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"string\" size=\"20000000\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.v: entry v length(20000000) is greater than 10M [ERROR_ENTRY_LENGTH_NOT_LEGA"
     "L]",
     4, 5, "entry", "v",
     "entry v length(20000000) is greater than 10M",
     "ERROR_ENTRY_LENGTH_NOT_LEGAL", false,
     {"ERR_ENTRY_LEN;v|",
      "CheckFieldNameLength failed! table:'t', svrMinVersion:3.40.0"}},
    {"TableWithoutFields",
     {"-t", "t", "--server-version", "3.28.0"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\">\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":2:3: also: t: Zem meta is invalid! Meta name: t [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
     2, 3, "struct", "t",
     "Zem meta is invalid! Meta name: t",
     "CHECK_TABLE_ERROR_INVALID_PARAMETER", true,
     {"CheckFieldNameLength failed! table:'t', svrMinVersion:3.28.0"}},
    {"EmptyFieldName",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.: field name is empty. [ERROR_FIELD_NAME_EMPTY]",
     4, 5, "entry", "",
     "field name is empty.",
     "ERROR_FIELD_NAME_EMPTY", false,
     {"CheckFieldNameLength failed! table:'t',ret:-19"}},
    {"FieldNameStartingWithADigit",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"1v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.1v: field name[1v] startswith digit. [ERROR_FIELD_NAME_STARTWITH_DIGIT]",
     4, 5, "entry", "1v",
     "field name[1v] startswith digit.",
     "ERROR_FIELD_NAME_STARTWITH_DIGIT", false,
     {"CheckFieldNameLength failed! table:'t',ret:-17"}},
    {"FieldNameWithAnIllegalCharacter",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v-1\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.v-1: field name[v-1] has illegal character. [ERROR_FIELD_NAME_HAS_ILLEGAL_CH"
     "AR]",
     4, 5, "entry", "v-1",
     "field name[v-1] has illegal character.",
     "ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR", false,
     {"CheckFieldNameLength failed! table:'t',ret:-18"}},
    {"FieldNameOf32Bytes",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"abcdefghijabcdefghijabcdefghij12\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.abcdefghijabcdefghijabcdefghij12: length of entry abcdefghijabcdefghijabcdef"
     "ghij12 is too long [ERROR_FIELD_NAME_TOO_LONG]",
     4, 5, "entry", "abcdefghijabcdefghijabcdefghij12",
     "length of entry abcdefghijabcdefghijabcdefghij12 is too long",
     "ERROR_FIELD_NAME_TOO_LONG", false,
     {"CheckFieldNameLength failed! table:'t',ret:-9"}},
    {"FieldNamesDifferingInCaseAlone",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"V\" type=\"uint32\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:5: error: t.v: using strncasecmp, the field name is repeated. field_name:V, entry_index:"
     "1, cmp_field_name:v, cmp_entry_index:2 [ERROR_REPEATED_FIELD_NAME]",
     5, 5, "entry", "v",
     "using strncasecmp, the field name is repeated. field_name:V, entry_index:1, cmp_field_name:"
     "v, cmp_entry_index:2",
     "ERROR_REPEATED_FIELD_NAME", false,
     {"CheckRepeatedFieldName failed! table:'t',ret:-51, err_msg:using strncasecmp, the field nam"
      "e is repeated. field_name:V, entry_index:1, cmp_field_name:v, cmp_entry_index:2"}},
    {"ArrayWithoutRefer",
     {},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\" count=\"4\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":4:5: error: t.v: these entry have 'count' without 'refer' : v [ERROR_COUNT_WITHNOT_REFER]",
     4, 5, "entry", "v",
     "these entry have 'count' without 'refer' : v",
     "ERROR_COUNT_WITHNOT_REFER", false,
     {}},
    {"NewArrayWithoutRefer",
     {"--old", "OLD"},
     "<metalib name=\"g\">\n"
     "  <struct name=\"t\" primarykey=\"uid\">\n"
     "    <entry name=\"uid\" type=\"uint64\"/>\n"
     "    <entry name=\"v\" type=\"uint32\"/>\n"
     "    <entry name=\"a\" type=\"uint32\" count=\"4\"/>\n"
     "  </struct>\n"
     "</metalib>\n",
     0, 0,
     ":5:5: error: t.a: these new entry have 'count' without 'refer' : a [ERROR_COUNT_WITHNOT_REF"
     "ER]",
     5, 5, "entry", "a",
     "these new entry have 'count' without 'refer' : a",
     "ERROR_COUNT_WITHNOT_REFER", false,
     {}},
};

class CheckTableCommandFindingPlaces : public ::testing::TestWithParam<FindingPlace> {};

TEST_P(CheckTableCommandFindingPlaces, PointsAtTheElementAtFault) {
  const FindingPlace& expected = GetParam();
  const ScratchDir dir;
  ASSERT_TRUE(dir.ok());
  const std::string path = dir.File("schema.xml");
  Write(path, Expanded(expected));
  Write(dir.File("old.xml"), kOldSchema);
  std::vector<std::string> args;
  for (const std::string& option : expected.options) {
    args.push_back(option == "OLD" ? dir.File("old.xml") : option);
  }
  args.push_back(path);

  const CommandResult text = RunCheckTable(args);
  EXPECT_EQ(text.status, 1) << text.err;
  const std::vector<std::string> lines = Lines(text.out);
  const size_t head = static_cast<size_t>(
      std::find(lines.begin(), lines.end(), path + expected.text) - lines.begin());
  if (head == lines.size()) {
    ADD_FAILURE() << "no line\n" << path + expected.text << "\nin\n" << text.out;
  } else {
    // Its notes follow it, in order.
    for (size_t i = 0; i < expected.notes.size(); ++i) {
      ASSERT_LT(head + 1 + i, lines.size()) << text.out;
      EXPECT_EQ(lines[head + 1 + i], "    note: " + expected.notes[i]);
    }
  }

  args.insert(args.begin(), {"--format", "json"});
  const CommandResult json = RunCheckTable(args);
  EXPECT_EQ(json.status, 1);
  const Json report = Json::parse(json.out, nullptr, false);
  ASSERT_FALSE(report.is_discarded()) << json.out;
  // A finding without a place has null for its line and column.
  const Json line = expected.line > 0 ? Json(expected.line) : Json(nullptr);
  const Json column = expected.line > 0 ? Json(expected.column) : Json(nullptr);
  int matches = 0;
  std::string seen;
  for (const Json& table : report.at("tables")) {
    for (const Json& check : table.at("checks")) {
      for (const Json& finding : check.at("findings")) {
        seen += finding.dump() + "\n";
        if (finding.at("message") != expected.message) continue;
        ++matches;
        EXPECT_EQ(finding.at("line"), line);
        EXPECT_EQ(finding.at("column"), column);
        EXPECT_EQ(finding.at("element"), expected.element);
        EXPECT_EQ(finding.at("name"), expected.name);
        EXPECT_EQ(finding.at("code"), expected.code);
        EXPECT_EQ(finding.value("also", false), expected.also);
        EXPECT_EQ(finding.value("notes", std::vector<std::string>()), expected.notes);
      }
    }
  }
  EXPECT_GE(matches, 1) << "no finding with the message; findings:\n" << seen;
}

INSTANTIATE_TEST_SUITE_P(OneFailureEach, CheckTableCommandFindingPlaces,
                         ::testing::ValuesIn(kPlaces),
                         [](const ::testing::TestParamInfo<FindingPlace>& param_info) {
                           return std::string(param_info.param.rule);
                         });

}  // namespace
