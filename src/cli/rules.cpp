#include "cli/rules.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <sstream>
#include <string_view>
#include <unordered_map>

#include <velmora/check_table_error.h>

namespace {

// Roles, shorter to read in the table below.
constexpr RuleTextRole kFailure = RuleTextRole::kFailure;
constexpr RuleTextRole kLookup = RuleTextRole::kLookup;
constexpr RuleTextRole kWrapper = RuleTextRole::kWrapper;
constexpr RuleTextRole kReport = RuleTextRole::kReport;
constexpr RuleTextRole kLogOnly = RuleTextRole::kLogOnly;
constexpr RuleTextRole kNote = RuleTextRole::kNote;

// Every text a schema file can bring about at error priority, in the order the checks run. The
// formats are the checker's bytes; a test compares them with the sources of the checks. Texts
// that only a NULL argument can bring about (a missing meta, entry or index) have no row.
const std::vector<RuleText> kRuleTexts = {
    // The entry point.
    {"Table_type is invaild type，please check the table type!  table:'%s'",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "VelmoraCheckTable", kFailure,
     "The table kind given with --kind must be generic (0) or list (1); no other number is "
     "accepted."},
    {"Get meta info failed, please check the table name! table:'%s'",
     CHECK_TABLE_ERROR_SYSTEM_ERROR, "VelmoraCheckTable, CheckTableTypeByCustomAttr", kFailure,
     "The schema has no struct of exactly this name (letter case counts): check the name given "
     "with -t/--table."},
    {"This table:%s 's key num:%d is more than %d,proxy version need >= %s,but now is :%s",
     CHECK_TABLE_ERROR_SYSTEM_ERROR, "VelmoraCheckTable", kFailure,
     "Proxies before 3.37.0 serve at most 4 key fields of a generic table and 3 of a list table: "
     "use fewer key fields, or pass --proxy-version 3.37.0 or later if every proxy is that new."},
    {"This table:%s 's key num:%d is more than %d,rest proxy version need >= %s,but now is :%s",
     CHECK_TABLE_ERROR_SYSTEM_ERROR, "VelmoraCheckTable", kFailure,
     "REST proxies before 3.37.0 serve at most 4 key fields of a generic table and 3 of a list "
     "table: use fewer, or pass --rest-proxy-version 3.37.0 or later (or none)."},
    {"CheckPrimaryKey failed! table:'%s',ret:%d", 0, "CheckPrimaryKey", kWrapper,
     "The primary key was refused; the primary key check's own line before this one names the "
     "field and the reason."},
    {"CheckValueField failed! table:'%s',ret:%d", 0, "CheckValueField", kWrapper,
     "The value fields were refused; the value field check's own line before this one says why."},
    {"CheckSplittableKey failed! table:'%s',ret:%d", 0, "CheckSplittableKey", kWrapper,
     "The split table key was refused; the split key check's own line before this one names the "
     "field."},
    {"CheckIndex failed! table:'%s',ret:%d", 0, "CheckIndex", kWrapper,
     "An index was refused; the index check's own line before this one names the field."},
    {"CheckFieldNameLength failed! table:'%s',ret:%d", 0, "CheckFieldNameLength", kWrapper,
     "A field name was refused; the field name check's own line before this one names the field."},
    {"CheckFieldNameLength failed! table:'%s', svrMinVersion:%s", ERROR_ENTRY_LENGTH_NOT_LEGAL,
     "VelmoraCheckTable", kLogOnly,
     "Despite its wording this line is about field sizes: the lines before it name each field "
     "larger than the servers of --server-version hold."},
    {"CheckRepeatedFieldName failed! table:'%s',ret:%d, err_msg:%s", 0, "CheckRepeatedFieldName",
     kWrapper,
     "Two field names differ only in letter case; err_msg names both fields and their positions, "
     "counted from 0."},

    // Table names.
    {"table name can't be empty", ERROR_TABLE_NAME_EMPTY,
     "CheckTableNameValidity, CheckTableNameLength", kFailure,
     "Give the struct a name of 1 to 31 ASCII letters, digits or underscores, not starting with a "
     "digit."},
    {"table name startswith digit.", ERROR_TABLE_NAME_STARTWITH_DIGIT, "CheckTableNameValidity",
     kFailure,
     "A table name must start with a letter or an underscore, not a digit 0-9: rename "
     "the struct."},
    {"table name has illegal character.", ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR,
     "CheckTableNameValidity", kFailure,
     "A table name may hold only ASCII letters, digits and underscores (no blank, '-', '.' or "
     "non-ASCII character): rename the struct."},
    {"table name '%s' is too long,maximum %d chars", ERROR_TABLE_NAME_TOO_LONG,
     "CheckTableNameLength", kFailure,
     "A table name has at most 31 bytes; 32 or more fail although the text says 32 (it counts the "
     "terminator): shorten the name."},

    // Table attributes.
    {"Table version error,can not higher than 65535", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "The metalib's version attribute must be at most 65535: lower it."},
    {"DataProtocolType must be existed, please check it.", CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CheckTableTypeByCustomAttr", kFailure,
     "With --require-data-protocol every table's customattr2 must name its protocol: add "
     "DataProtocolType=ZEM, PB or PLAIN."},
    {"DataProtocolType is error,it must be like:DataProtocolType=ZEM|PB|PLAIN.",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "DataProtocolType takes exactly ZEM, PB or PLAIN (any letter case), with nothing else before "
     "the next ';'."},
    {"TableType is error,it must be like:TableType=GENERIC|LIST|SORTLIST;ListNum=1023.",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "The table's customattr2 names no table type: add TableType=GENERIC, TableType=LIST or "
     "TableType=SORTLIST, in upper case."},
    {"generic table:table_type must be GENERIC,please check it.", CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CheckTableTypeByCustomAttr", kFailure,
     "The first ';'-segment of customattr2 that holds the word GENERIC must be one Key=Value pair "
     "with the value GENERIC, as in TableType=GENERIC."},
    {"table_type is generic,but customattr has contain ListNum or SortFieldNum or SortRule,don't forget to check the entry's customattr2.",
     CHECK_TABLE_ERROR_SYSTEM_ERROR, "CheckTableTypeByCustomAttr", kFailure,
     "A generic table has no list size and no sort order: remove ListNum, SortFieldNum and "
     "SortRule from customattr2, and the sort marks from its fields."},
    {"list_num_str is error,it must be like:TableType=LIST|SORTLIST;ListNum=1-1023[;SortFieldNum=[1-4]].",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "A list table needs ListNum=N (spelt so) in a ';'-segment of its own: a number from 1 to 1023 "
     "(10000 from server 3.40.0.193000 on) or a macro name."},
    {"can't find macro:%s from zem:%s,please check.", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "ListNum names no macro of the schema (letter case counts): define the macro or write the "
     "number, 1 to 1023."},
    {"list_num must be [1,%d],but now list_num:%d,list_num_str:%s,custom_str:%s",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "ListNum must be from 1 to 1023, or up to 10000 when --server-version is 3.40.0.193000 or "
     "later."},
    {"sort list table:it must be TaleType=SORTLIST,please check it.",
     CHECK_TABLE_ERROR_SYSTEM_ERROR, "CheckTableTypeByCustomAttr", kFailure,
     "The first ';'-segment of customattr2 that holds the word SORTLIST must be one Key=Value pair "
     "with the value SORTLIST, as in TableType=SORTLIST."},
    {"sort_num_str is error,it must be like:TableType=LIST|SORTLIST;ListNum=1-1023[;SortFieldNum=[1-4]].",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "A sorted list table needs SortFieldNum=N (a number from 1 to 4, no macro) in a ';'-segment "
     "of its own."},
    {"sort_field_num must be [1,%d],but now custom_str:%s", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "SortFieldNum must be a number from 1 to 4; a value that is not a number counts as 0."},
    {"SortRule str must be DESC or INSC,but now custom_str:%s", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "SortRule takes exactly DESC or INSC, in upper case; leave it out for ascending order."},
    {"SortRule str must be SortRule=DESC/INSC,but now custom_str:%s",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "SortRule must stand in a ';'-segment of its own, as SortRule=DESC or SortRule=INSC."},
    {"list table:table_type must be LIST,please check it.", CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CheckTableTypeByCustomAttr", kFailure,
     "The first ';'-segment of customattr2 that holds the word LIST must be one Key=Value pair "
     "with the value LIST, as in TableType=LIST."},
    {"table_type is list,but customattr has contain SortFieldNum or SortRule,don't forget to check the entry's customattr2.",
     CHECK_TABLE_ERROR_SYSTEM_ERROR, "CheckTableTypeByCustomAttr", kFailure,
     "A plain list table has no sort order: remove SortFieldNum and SortRule (and the fields' sort "
     "marks), or make it TableType=SORTLIST."},
    {"error stringdisplaycharset: %s", WARN_NEW_TABLE_DEFINE_AND_HAS_ERROR,
     "CheckTableTypeByCustomAttr", kFailure,
     "stringdisplaycharset takes utf8 or gbk, in lower case, as the last segment of customattr2: a "
     "value followed by ';' is read one character short."},
    {"table_type is generic,entry field can't contain customattr2.", CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CheckTableTypeByCustomAttr", kFailure,
     "Only the fields of a sorted list table carry a customattr2 (their sort mark): remove it from "
     "the fields of this generic table."},
    {"table_type is list,entry field can't contain customattr2.", CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CheckTableTypeByCustomAttr", kFailure,
     "Only the fields of a sorted list table carry a customattr2 (their sort mark): remove it from "
     "the fields, or make the table TableType=SORTLIST."},
    {"sortfield not support keyfield %s", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "A key field cannot be a sort field (every element of the list shares the key): put the sort "
     "mark on a value field."},
    {"sortfield(%s)'s type(%d) just support:uint8,uint16,uint32,uint64,int8,int16,int32,int64,float,double",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "A sort field must be a number: int8 to uint64, byte, float or double; strings, dates and "
     "structs cannot order a list."},
    {"The customattr2 is just used to SortList,it must be sort1,sort2,sort3,sort4",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "A field's customattr2 that contains 'sort' must be exactly sort1, sort2, sort3 or sort4, in "
     "lower case and nothing else."},
    {"Has sort4,but it does not have sort1/sort2/sort3", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "Sort marks have no gaps: with sort4 the table also needs sort1, sort2 and sort3, each on one "
     "field."},
    {"Has sort3,but it does not have sort1/sort2", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "Sort marks have no gaps: with sort3 the table also needs sort1 and sort2, each on one "
     "field."},
    {"Has sort2,but it does not have sort1", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckTableTypeByCustomAttr", kFailure,
     "Sort marks have no gaps: with sort2 the table also needs sort1 on another field."},
    {"Every sort flag should be 1 time(sort1:%d,sort2:%d,sort3:%d,sort4:%d),please check.",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "Each sort mark goes on one field only; the counts show which mark is used more than once."},
    {"pstEntry 's curstomaattr num's sort num %d not match with meta's SortFieldNum=%d",
     CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckTableTypeByCustomAttr", kFailure,
     "The fields marked sort1 to sortN must be exactly as many as SortFieldNum says (1 to 4): mark "
     "more fields or change SortFieldNum."},

    // The primary key.
    {"There is no Primaykey in meta:'%s', maybe it is a pure struct.", ERROR_NO_PRIMARY_KEY_IN_META,
     "CheckPrimaryKey", kFailure,
     "A table needs a primary key: add primarykey=\"field, ...\" to the struct (a struct without "
     "one is only a field type)."},
    {"Primaykey is not exist!  table:'%s'", ERROR_PRIMARYKEY_FIELD, "CheckPrimaryKey", kFailure,
     "The schema model counts key fields but holds no key list; no schema file loads so: the "
     "model was built or damaged elsewhere."},
    {"Table_type is invaild type! table:'%s'", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckPrimaryKey", kFailure, "The table kind must be generic (0) or list (1)."},
    {"The number of generic_table's primarykey can't be more than %d! table:'%s'",
     ERROR_PRIMARYKEY_FIELD, "CheckPrimaryKey", kFailure,
     "A generic table has at most 8 key fields: name fewer fields in primarykey."},
    {"The number of list_table's primarykey  can't be more than %d! table:'%s'",
     ERROR_PRIMARYKEY_FIELD, "CheckPrimaryKey", kFailure,
     "A list or sorted list table has at most 7 key fields: name fewer fields in primarykey."},
    {"repeated field name in primary key, invalid! entry_name:'%s' table='%s'",
     ERROR_REPEATED_FIELD_NAME, "CheckPrimaryKey", kFailure,
     "primarykey names this field more than once: list each key field once."},
    {"The entry type is not supported! entry_name:'%s' table='%s'", ERROR_FIELD_TYPE_ILLEGAL,
     "CheckPrimaryKey, CheckValueField", kFailure,
     "The store cannot hold this field's type (wstring is the base type it refuses): use string "
     "or another supported type."},
    {"Primaykey is not exist entry! Primaykey:'%s', table:'%s'", ERROR_PRIMARYKEY_FIELD,
     "CheckPrimaryKey", kFailure,
     "This primary key member is not a field of the struct (letter case counts): fix primarykey "
     "or add the field."},
    {"The index field has not include primarykey if splittablekey not exist! primarykey:'%s' table:'%s'",
     ERROR_PRIMARYKEY_FIELD, "CheckPrimaryKey", kFailure,
     "Without a splittablekey every index must hold every primary key field: add this field to "
     "each index's column list, or declare a splittablekey."},

    // The split table key.
    {"Table dose not have primaykey, table:'%s' ", ERROR_PRIMARYKEY_FIELD, "CheckSplittableKey",
     kFailure, "The table has no primary key to take its split table key from: add primarykey."},
    {"table:'%s' %s", CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckSplittableKey", kLogOnly,
     "The splittablekey text, its field names joined by ',', must fit in 1023 bytes: name fewer "
     "or shorter fields."},
    {"Primaykey must include splittablekey! Splittablekey:'%s',table:'%s' ", ERROR_SPLITTABLE_FIELD,
     "CheckSplittableKey", kFailure,
     "Every splittablekey field must be a primary key field, named exactly (letter case counts): "
     "add it to primarykey or drop it from splittablekey."},
    {"The index field has not include splittablekey! Splittablekey:'%s',table:'%s' ",
     ERROR_INDEX_FIELD, "CheckSplittableKey", kFailure,
     "Every index must hold each splittablekey field: add this field to the column list of every "
     "index."},
    {"repeated field name in split table key, invalid! Splittablekey:'%s' table='%s'",
     ERROR_REPEATED_FIELD_NAME, "CheckSplittableKey", kFailure,
     "splittablekey names this field more than once: list each field once."},

    // Indexes.
    {"Table_type is invalid! table:'%s'", CHECK_TABLE_ERROR_INVALID_PARAMETER, "CheckIndex",
     kFailure, "The table kind must be generic (0) or list (1)."},
    {"Table dose not have indexs, table:'%s'", CHECK_TABLE_SUCCESS, "CheckIndex", kNote,
     "Not a failure: a table without indexes passes; the store notes it at error priority all "
     "the same."},
    {"List-type-table isn't allowed to configure index field! table:'%s'", ERROR_INDEX_FIELD,
     "CheckIndex", kFailure,
     "A list table keeps all its elements under one key, so it has no indexes: remove its index "
     "elements, or make it a generic table."},
    {"The index field has repeated field '%s', table:'%s'", ERROR_INDEX_FIELD, "CheckIndex",
     kFailure, "An index names this column more than once: list each column once."},
    {"The index field should be primarykey field! index:'%s', table:'%s'", ERROR_INDEX_FIELD,
     "CheckIndex", kFailure,
     "Index columns must be primary key fields, and the name shown is the field, not the index: "
     "drop it from the index or add it to primarykey."},
    {"Index field is repeated! index1:'%s', index2:'%s', table:'%s'", ERROR_INDEX_FIELD,
     "CheckIndex", kFailure,
     "These two indexes hold the same columns (their order does not count): keep one of them."},
    {"The index field can't be repeated!  table:'%s'", ERROR_INDEX_FIELD, "CheckIndex", kFailure,
     "Two indexes hold the same columns (their order does not count): keep one of them."},

    // Key and index lookups.
    {"Table dose not have entry, table:'%s'", ERROR_PRIMARYKEY_FIELD, "CheckWhetherExistEntry",
     kLookup,
     "The struct's field list cannot be read (a negative count); no schema file loads so: the "
     "model was built or damaged elsewhere."},
    {"The entry: %s is not exist! table:'%s'", ERROR_EIXST_FIELD, "CheckWhetherExistEntry", kLookup,
     "This key field is not a field of the struct (letter case counts): fix the name."},
    {"Table should have primaykey! table:'%s'", ERROR_PRIMARYKEY_FIELD, "CheckWhetherPrimaryKey",
     kLookup, "The table has no primary key to look the field up in: add primarykey."},
    {"Entry is not belong to primarykey!Entry:'%s' table:'%s'", ERROR_EIXST_FIELD,
     "CheckWhetherPrimaryKey", kLookup,
     "This field is not a primary key member (the name must match exactly); the next line says "
     "which rule needs it to be one."},
    {"Table dose not have index, table:'%s'", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckWhetherIndex", kLookup,
     "The table has no index to look the field up in; the key checks ask only when it has some."},
    {"Splittablekey field is not belong to index field! Splittablekey:'%s',table:'%s'",
     ERROR_EIXST_FIELD, "CheckWhetherIndex", kLookup,
     "This field, split key or primary key field alike, is missing from an index (or an index has "
     "no columns): add it to every index's column list."},

    // Value fields, field sizes and field names.
    {"The number of value field can not be zero! table: '%s'", ERROR_VALUE_FIELD, "CheckValueField",
     kFailure,
     "A table needs at least 1 value field besides its key fields: add a field that is not in "
     "primarykey."},
    {"The number of value field can not more than %d! list table: '%s'", ERROR_VALUE_FIELD,
     "CheckValueField", kFailure,
     "A list table holds at most 255 value fields: move some into another table or group them in "
     "a struct field."},
    {"The number of value field can not more than %d! table: '%s'", ERROR_VALUE_FIELD,
     "CheckValueField", kFailure,
     "A generic table holds at most 256 value fields: move some into another table or group them "
     "in a struct field."},
    {"svr version %s < %s, not support 256 value! table: '%s'", ERROR_VALUE_FIELD,
     "CheckValueField", kFailure,
     "Servers before 3.40.0.193253 hold at most 128 value fields in a generic table and 127 in a "
     "list table: use fewer, or raise --server-version if every server is that new."},
    {"these string entry should not have 'count' attribute : ", ERROR_FIELD_TYPE_ILLEGAL,
     "CheckValueField", kReport,
     "A string cannot be an array: remove count from the string fields listed (their size sets "
     "their length)."},
    {"ERR_ENTRY_LEN;", ERROR_ENTRY_LENGTH_NOT_LEGAL, "VelmoraCheckTable", kReport,
     "The fields listed after it, each ended by '|', are larger than the servers of "
     "--server-version hold: 1024 bytes for a key field, 131072, 262144 or 10485760 for a value "
     "field."},
    {"key %s length(%d) is greater than 1K", ERROR_ENTRY_LENGTH_NOT_LEGAL, "VelmoraCheckTable",
     kLogOnly,
     "A key field holds at most 1024 bytes (unit size x count) on any server: make it smaller."},
    {"entry %s length(%d) is greater than 128k", ERROR_ENTRY_LENGTH_NOT_LEGAL, "VelmoraCheckTable",
     kLogOnly,
     "Servers before 3.29.0 hold a value field of at most 131072 bytes (unit size x count): make "
     "it smaller, or raise --server-version if every server is newer."},
    {"entry %s length(%d) is greater than 256k", ERROR_ENTRY_LENGTH_NOT_LEGAL, "VelmoraCheckTable",
     kLogOnly,
     "Servers from 3.29.0 to before 3.39.0 hold a value field of at most 262144 bytes (unit size x "
     "count); 3.39.0 and later hold 10485760."},
    {"entry %s length(%d) is greater than 10M", ERROR_ENTRY_LENGTH_NOT_LEGAL, "VelmoraCheckTable",
     kLogOnly,
     "A value field holds at most 10485760 bytes (unit size x count) on any server: make it "
     "smaller or split it."},
    {"%s %s length(%lld) is greater than %s", ERROR_ENTRY_LENGTH_NOT_LEGAL, "VelmoraCheckTable",
     kLogOnly,
     "A field of more than 2147483647 bytes, which no schema file loads: a key field holds 1024 "
     "bytes, a value field 131072, 262144 or 10485760 by server version."},
    {"Zem meta is invalid! Meta name: %s", ERROR_ENTRY_LENGTH_NOT_LEGAL, "VelmoraCheckTable",
     kFailure, "The table has no fields at all, so it has no sizes to judge: add its fields."},
    {"field name is empty.", ERROR_FIELD_NAME_EMPTY, "CheckFieldNameLength, CheckRepeatedFieldName",
     kFailure, "Every field needs a name of 1 to 31 ASCII letters, digits or underscores."},
    {"field name[%s] startswith digit.", ERROR_FIELD_NAME_STARTWITH_DIGIT, "CheckFieldNameLength",
     kFailure,
     "A field name must start with a letter or an underscore, not a digit 0-9: rename the field."},
    {"field name[%s] has illegal character.", ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR,
     "CheckFieldNameLength", kFailure,
     "A field name may hold only ASCII letters, digits and underscores (no blank, '-' or "
     "non-ASCII character): rename the field."},
    {"length of entry %s is too long", ERROR_FIELD_NAME_TOO_LONG, "CheckFieldNameLength", kFailure,
     "A field name has at most 31 bytes; 32 or more fail: shorten it."},
    {"using strncasecmp, the field name is repeated. field_name:%s, entry_index:%d, cmp_field_name:%s, cmp_entry_index:%d",
     ERROR_REPEATED_FIELD_NAME, "CheckRepeatedFieldName", kFailure,
     "Column names ignore letter case, so two field names may not differ in case alone (the "
     "positions count from 0): rename one."},

    // Arrays and their refer fields.
    {"these entry have 'count' without 'refer' : ", ERROR_COUNT_WITHNOT_REFER,
     "CheckWhetherCountWithRefer", kReport,
     "Each field listed has a count above 1 but no refer: add an earlier integer field (int8 to "
     "uint32, count 1) for the number in use and name it in refer."},
    {"these new entry have 'count' without 'refer' : ", ERROR_COUNT_WITHNOT_REFER,
     "CheckWhetherNewEntryCountWithRefer", kReport,
     "Each array this change adds (count above 1) needs a refer naming an earlier integer field "
     "(int8 to uint32, count 1) that holds the number in use."},
    {"CheckWhetherNewEntryCountWithRefer:old_meta is NULL!", CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CheckWhetherNewEntryCountWithRefer", kLogOnly,
     "Not a failure by itself: a changed struct field is compared with the struct of the old "
     "table's last field, which is no struct here, so the new arrays inside it were not judged."},
};

// A schema file with one table of this struct.
std::string Schema(const std::string& structs) {
  return "<metalib name=\"game\">\n" + structs + "</metalib>\n";
}

const std::vector<Rule> kRules = {
    {CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "A value given to the checks is out of range or malformed",
     "The checks refuse with this code a value they cannot use as written. For a table designer "
     "that is mostly the table's `customattr2`: DataProtocolType must be ZEM, PB or PLAIN; a list "
     "table's ListNum must be a number, or the name of a macro, within the list size the servers "
     "keep; a sorted list table's SortFieldNum must be 1 to 4 and its SortRule DESC or INSC; and "
     "the fields marked sort1 to sort4 must be numeric value fields, each mark used once, without "
     "gaps, as many as SortFieldNum says. A list is stored whole under its key and kept in the "
     "order of its sort fields, so these numbers bound what one record holds and how it is "
     "ordered.\n\n"
     "The same code covers a metalib version above 65535, a table kind other than generic (0) or "
     "list (1), and a split table key whose text does not fit the store's 1024-byte buffer.",
     {"Table kind (--kind): 0 (generic) or 1 (list).", "Metalib version: at most 65535.",
      "ListNum: 1 to 1023; 1 to 10000 when --server-version is 3.40.0.193000 or later.",
      "SortFieldNum: 1 to 4.",
      "Sort marks: sort1 to sort4, each on one field at most, without gaps, as many as "
      "SortFieldNum.",
      "Split table key text (its field names joined by ','): at most 1023 bytes."},
     {{},
      Schema("  <struct name=\"mail\" primarykey=\"uid\" "
             "customattr2=\"TableType=LIST;ListNum=2000\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"body\" type=\"string\" size=\"256\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"mail\" primarykey=\"uid\" "
             "customattr2=\"TableType=LIST;ListNum=1000\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"body\" type=\"string\" size=\"256\"/>\n"
             "  </struct>\n"),
      CHECK_TABLE_ERROR_INVALID_PARAMETER}},

    {CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "The table cannot be served as declared",
     "The store answers with this code when it cannot serve the table as declared although no "
     "single field is at fault. The table must exist in the schema under its exact name (letter "
     "case counts). Proxies and REST proxies before 3.37.0 route a key of at most 4 fields in a "
     "generic table and 3 in a list table: a wider key needs every proxy (--proxy-version) and "
     "every REST proxy (--rest-proxy-version, or none when there is none) to be 3.37.0 or "
     "later.\n\n"
     "In `customattr2` the word that chooses the table type must stand in a segment of its own "
     "(TableType=GENERIC, TableType=LIST or TableType=SORTLIST); a generic table takes no "
     "ListNum, SortFieldNum or SortRule, a plain list table no SortFieldNum or SortRule, and only "
     "the fields of a sorted list table carry a `customattr2`. With --require-data-protocol every "
     "table must also name its DataProtocolType.",
     {"Key fields that proxies and REST proxies before 3.37.0 serve: at most 4 in a generic table, "
      "at most 3 in a list or sorted list table."},
     {{"--proxy-version", "3.36.0"},
      Schema("  <struct name=\"daily\" primarykey=\"uid, zone, year, month, day\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"year\" type=\"uint16\"/>\n"
             "    <entry name=\"month\" type=\"uint8\"/>\n"
             "    <entry name=\"day\" type=\"uint8\"/>\n"
             "    <entry name=\"logins\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"daily\" primarykey=\"uid, zone, day\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"day\" type=\"date\"/>\n"
             "    <entry name=\"logins\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      CHECK_TABLE_ERROR_SYSTEM_ERROR}},

    {ERROR_VALUE_FIELD,
     "The table has no value field, or more than the store holds",
     "Every field of a table that is not a primary key field is a value field, and a record is "
     "its key and its values: a table needs at least one value field. The store holds at most 256 "
     "value fields in a generic table and 255 in any other kind of table. Servers before "
     "3.40.0.193253 hold only 128 in a generic table and 127 in a list table, so when "
     "--server-version names an older server, more than that fails. Fields beyond the limit "
     "belong in a second table, or together in a struct field.",
     {"Value fields: at least 1.",
      "Value fields of a generic table: at most 256; at most 128 when --server-version is before "
      "3.40.0.193253.",
      "Value fields of a list table: at most 255; at most 127 when --server-version is before "
      "3.40.0.193253. Other table kinds: at most 255."},
     {{},
      Schema("  <struct name=\"visit\" primarykey=\"uid, day\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"day\" type=\"date\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"visit\" primarykey=\"uid, day\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"day\" type=\"date\"/>\n"
             "    <entry name=\"visits\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      ERROR_VALUE_FIELD}},

    {ERROR_PRIMARYKEY_FIELD,
     "The primary key has too many fields or misses an index",
     "A record is found by its primary key, so every table has one and every key member is a "
     "field of the table. A generic table's key has at most 8 fields; a list table keeps all its "
     "elements under one key, which has at most 7. A table without a split table key is spread "
     "over the store by its whole primary key, so each of its indexes must hold every key field; "
     "with a `splittablekey`, only the split key fields must be in every index (see "
     "ERROR_INDEX_FIELD).",
     {"Key fields of a generic table: at most 8.",
      "Key fields of a list or sorted list table: at most 7."},
     {{"--proxy-version", "3.37.0"},
      Schema("  <struct name=\"cell\" primarykey=\"a1, a2, a3, a4, a5, a6, a7, a8, a9\">\n"
             "    <entry name=\"a1\" type=\"uint8\"/>\n"
             "    <entry name=\"a2\" type=\"uint8\"/>\n"
             "    <entry name=\"a3\" type=\"uint8\"/>\n"
             "    <entry name=\"a4\" type=\"uint8\"/>\n"
             "    <entry name=\"a5\" type=\"uint8\"/>\n"
             "    <entry name=\"a6\" type=\"uint8\"/>\n"
             "    <entry name=\"a7\" type=\"uint8\"/>\n"
             "    <entry name=\"a8\" type=\"uint8\"/>\n"
             "    <entry name=\"a9\" type=\"uint8\"/>\n"
             "    <entry name=\"value\" type=\"int32\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"cell\" primarykey=\"a1, a2, a3, a4, a5, a6, a7, a8\">\n"
             "    <entry name=\"a1\" type=\"uint8\"/>\n"
             "    <entry name=\"a2\" type=\"uint8\"/>\n"
             "    <entry name=\"a3\" type=\"uint8\"/>\n"
             "    <entry name=\"a4\" type=\"uint8\"/>\n"
             "    <entry name=\"a5\" type=\"uint8\"/>\n"
             "    <entry name=\"a6\" type=\"uint8\"/>\n"
             "    <entry name=\"a7\" type=\"uint8\"/>\n"
             "    <entry name=\"a8\" type=\"uint8\"/>\n"
             "    <entry name=\"a9\" type=\"uint8\"/>\n"
             "    <entry name=\"value\" type=\"int32\"/>\n"
             "  </struct>\n"),
      ERROR_PRIMARYKEY_FIELD}},

    {ERROR_SPLITTABLE_FIELD,
     "A split table key field is not a primary key field",
     "The split table key decides in which part of the store a record lives. The store computes "
     "it from the record's key, so every field named in `splittablekey` must be one of the "
     "primary key fields, named exactly (letter case counts), and named once.",
     {"No number: each split table key field must be a primary key field."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid\" splittablekey=\"zone\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\" splittablekey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      ERROR_SPLITTABLE_FIELD}},

    {ERROR_INDEX_FIELD,
     "An index is one the store cannot keep",
     "An index finds records by part of their key, within one part of the store. So a list "
     "table, which keeps all its elements under one key, has no indexes; an index's columns are "
     "primary key fields, each named once; two indexes over the same columns, in any order, are "
     "one index twice; and every index holds each split table key field, or it could not find a "
     "record without asking every part of the store.",
     {"No number: these checks limit neither the number of indexes nor their columns."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid, zone\" splittablekey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "    <index name=\"by_level\" column=\"uid, level\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid, zone\" splittablekey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "    <index name=\"by_zone\" column=\"uid, zone\"/>\n"
             "  </struct>\n"),
      ERROR_INDEX_FIELD}},

    {ERROR_EIXST_FIELD,
     "A key or index lookup did not find a field",
     "The key and index checks look fields up by name: is it a field of the table, a primary key "
     "field, a column of every index. A lookup that does not find the name logs its own line "
     "with this code; the check that asked then logs its own line and fails with its own code "
     "(ERROR_PRIMARYKEY_FIELD, ERROR_SPLITTABLE_FIELD or ERROR_INDEX_FIELD), so this code shows "
     "in the log rather than as a table's result. Names are compared byte for byte: letter case "
     "counts.",
     {"No number."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid, zone\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "    <index name=\"by_uid\" column=\"uid\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid, zone\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"zone\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "    <index name=\"by_key\" column=\"uid, zone\"/>\n"
             "  </struct>\n"),
      ERROR_PRIMARYKEY_FIELD}},

    {ERROR_FIELD_NAME_TOO_LONG,
     "A field name is longer than 31 bytes",
     "Field names become column names in the store, whose name buffer holds 32 bytes with the "
     "terminator: a field name has at most 31 bytes.",
     {"Field name: at most 31 bytes; 32 or more fail."},
     {{},
      Schema("  <struct name=\"team\" primarykey=\"team_id\">\n"
             "    <entry name=\"team_id\" type=\"uint32\"/>\n"
             "    <entry name=\"total_experience_points_of_teams\" type=\"uint64\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"team\" primarykey=\"team_id\">\n"
             "    <entry name=\"team_id\" type=\"uint32\"/>\n"
             "    <entry name=\"total_experience_points_of_team\" type=\"uint64\"/>\n"
             "  </struct>\n"),
      ERROR_FIELD_NAME_TOO_LONG}},

    {ERROR_TABLE_NAME_TOO_LONG,
     "A table name is longer than 31 bytes",
     "A table's name becomes part of keys and names across the store, which keep it in 32 bytes "
     "with the terminator: a table name has at most 31 bytes. The message says \"maximum 32 "
     "chars\" because it counts the terminator; a name of 32 bytes fails.",
     {"Table name: at most 31 bytes; 32 or more fail (the message says 32)."},
     {{},
      Schema("  <struct name=\"player_achievement_progress_logs\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"progress\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player_achievement_progress_log\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"progress\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      ERROR_TABLE_NAME_TOO_LONG}},

    {ERROR_TABLE_NAME_EMPTY,
     "The table has no name",
     "A table is known by its name everywhere in the store: the struct needs a name of at least "
     "one character.",
     {"Table name: at least 1 byte, at most 31."},
     {{},
      Schema("  <struct name=\"\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      ERROR_TABLE_NAME_EMPTY}},

    {ERROR_TABLE_NAME_STARTWITH_DIGIT,
     "A table name starts with a digit",
     "Table names are identifiers: they start with an ASCII letter or an underscore, never with a "
     "digit 0-9.",
     {"No number: the first character is a letter A-Z or a-z, or an underscore."},
     {{},
      Schema("  <struct name=\"1st_login\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"login_at\" type=\"datetime\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"first_login\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"login_at\" type=\"datetime\"/>\n"
             "  </struct>\n"),
      ERROR_TABLE_NAME_STARTWITH_DIGIT}},

    {ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR,
     "A table name holds a character other than A-Z, a-z, 0-9, _",
     "Table names are identifiers made of the ASCII letters A-Z and a-z, the digits 0-9 and the "
     "underscore. A blank, '-', '.', any other punctuation and every non-ASCII character (every "
     "byte of 0x80 or above) are refused, wherever they stand in the name.",
     {"No number: every byte is a letter A-Z or a-z, a digit 0-9 or an underscore."},
     {{},
      Schema("  <struct name=\"player-log\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"event\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player_log\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"event\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR}},

    {ERROR_NO_PRIMARY_KEY_IN_META,
     "The struct checked as a table has no primary key",
     "A table is a struct with a primary key: every record is found by it. A struct without "
     "`primarykey` is a plain struct, the type of other structs' fields; the command checks only "
     "structs with a primary key unless -t names another one.",
     {"Key fields: at least 1."},
     {{"-t", "position"},
      Schema("  <struct name=\"position\">\n"
             "    <entry name=\"map_id\" type=\"uint16\"/>\n"
             "    <entry name=\"x\" type=\"int32\"/>\n"
             "    <entry name=\"y\" type=\"int32\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"position\" primarykey=\"map_id\">\n"
             "    <entry name=\"map_id\" type=\"uint16\"/>\n"
             "    <entry name=\"x\" type=\"int32\"/>\n"
             "    <entry name=\"y\" type=\"int32\"/>\n"
             "  </struct>\n"),
      ERROR_NO_PRIMARY_KEY_IN_META}},

    {ERROR_FIELD_TYPE_ILLEGAL,
     "A field's type is one the store cannot hold",
     "The store holds the integer and floating types, byte, date, time, datetime, decimal, ipv4, "
     "char16 and string, and structs and unions made of them, in key and value fields alike; it "
     "cannot hold a wstring. A string carries its own length (its `size`), so it cannot also be an "
     "array: a string field has no count above 1.",
     {"Field types: every base type but wstring, and structs and unions.",
      "count of a string field: at most 1."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"nick\" type=\"wstring\" size=\"32\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"nick\" type=\"string\" size=\"64\"/>\n"
             "  </struct>\n"),
      ERROR_FIELD_TYPE_ILLEGAL}},

    {ERROR_FIELD_NAME_STARTWITH_DIGIT,
     "A field name starts with a digit",
     "Field names become column names: identifiers that start with an ASCII letter or an "
     "underscore, never with a digit 0-9.",
     {"No number: the first character is a letter A-Z or a-z, or an underscore."},
     {{},
      Schema("  <struct name=\"avatar\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"3d_model\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"avatar\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"model_3d\" type=\"uint32\"/>\n"
             "  </struct>\n"),
      ERROR_FIELD_NAME_STARTWITH_DIGIT}},

    {ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR,
     "A field name holds a character other than A-Z, a-z, 0-9, _",
     "Field names become column names: identifiers made of the ASCII letters A-Z and a-z, the "
     "digits 0-9 and the underscore. A blank, '-', any other punctuation and every non-ASCII "
     "character are refused.",
     {"No number: every byte is a letter A-Z or a-z, a digit 0-9 or an underscore."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"nick-name\" type=\"string\" size=\"64\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"nick_name\" type=\"string\" size=\"64\"/>\n"
             "  </struct>\n"),
      ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR}},

    {ERROR_FIELD_NAME_EMPTY,
     "A field has no name",
     "Every field becomes a column and needs a name of at least one character.",
     {"Field name: at least 1 byte, at most 31."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      ERROR_FIELD_NAME_EMPTY}},

    {ERROR_ENTRY_LENGTH_NOT_LEGAL,
     "A field is larger than the servers hold",
     "A field's size is its unit size times its count (a string's unit is its `size`, a struct's "
     "the sum of its fields). A key field is part of every record's key and holds at most 1024 "
     "bytes on any server. A value field may be as large as the oldest server that will hold the "
     "table keeps: 131072 bytes before 3.29.0, 262144 from 3.29.0, 10485760 from 3.39.0. Sizes "
     "are judged only when --server-version names that oldest server, and every field over its "
     "limit is listed.",
     {"Key field: at most 1024 bytes on any server.",
      "Value field: at most 131072 bytes before server 3.29.0, 262144 from 3.29.0, 10485760 from "
      "3.39.0.",
      "Judged only with --server-version."},
     {{"--server-version", "3.28.0"},
      Schema("  <struct name=\"save\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"blob\" type=\"string\" size=\"200000\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"save\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"blob\" type=\"string\" size=\"131072\"/>\n"
             "  </struct>\n"),
      ERROR_ENTRY_LENGTH_NOT_LEGAL}},

    {ERROR_COUNT_WITHNOT_REFER,
     "An array field has no refer field holding its length",
     "A field with a count above 1 is an array. The store keeps only the elements in use and "
     "learns how many from the field named in `refer`: an earlier integer field of the same "
     "struct (int8 to uint32, count 1). Every array needs one, in the table and in every struct "
     "it uses. With --old, arrays the table already had are not judged again; only the arrays a "
     "change adds must have a refer.",
     {"An array: count above 1; it needs a refer.",
      "A refer field: an earlier field of type int8, uint8, byte, int16, uint16, int32 or uint32, "
      "count 1."},
     {{},
      Schema("  <struct name=\"bag\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"items\" type=\"uint32\" count=\"16\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"bag\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"item_count\" type=\"uint8\"/>\n"
             "    <entry name=\"items\" type=\"uint32\" count=\"16\" refer=\"item_count\"/>\n"
             "  </struct>\n"),
      ERROR_COUNT_WITHNOT_REFER}},

    {ERROR_OLD_TABLE_DEFINE,
     "An old-style definition without table attributes (passes)",
     "A table whose struct has no `customattr2`, or one that holds only a DataProtocolType of at "
     "most 22 characters (such as DataProtocolType=PLAIN), is an old-style definition. The store "
     "still accepts it as a generic table; the attribute check answers with this code instead of "
     "0 so that the caller knows the table declared nothing, and the command counts it as a "
     "pass. Declaring TableType=GENERIC states the intent.",
     {"A customattr2 holding only DataProtocolType: 22 characters or fewer count as old-style."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\" customattr2=\"TableType=GENERIC\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      ERROR_OLD_TABLE_DEFINE}},

    {WARN_NEW_TABLE_DEFINE_AND_HAS_ERROR,
     "The table attributes hold a bad stringdisplaycharset",
     "stringdisplaycharset says in which character set the table's strings are shown: utf8 or "
     "gbk, in lower case. The value is read to the end of the `customattr2` text, and a value "
     "followed by ';' is read one character short, so the setting must be the last segment "
     "(TableType=GENERIC;stringdisplaycharset=utf8). The code marks a table that uses the new "
     "attribute style but got part of it wrong; the command counts it as a failure.",
     {"stringdisplaycharset: utf8 or gbk, as the last segment of customattr2."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid\"\n"
             "          customattr2=\"stringdisplaycharset=utf8;TableType=GENERIC\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"nick\" type=\"string\" size=\"64\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\"\n"
             "          customattr2=\"TableType=GENERIC;stringdisplaycharset=utf8\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"nick\" type=\"string\" size=\"64\"/>\n"
             "  </struct>\n"),
      WARN_NEW_TABLE_DEFINE_AND_HAS_ERROR}},

    {ERROR_REPEATED_FIELD_NAME,
     "A name repeats: in a key, or two fields differ only in case",
     "Column names in the store ignore letter case, so no two fields of a table may have names "
     "that differ only in case (Level and level). A primary key and a split table key name each "
     "field once.",
     {"No number."},
     {{},
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"Level\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      Schema("  <struct name=\"player\" primarykey=\"uid\">\n"
             "    <entry name=\"uid\" type=\"uint64\"/>\n"
             "    <entry name=\"best_level\" type=\"uint16\"/>\n"
             "    <entry name=\"level\" type=\"uint16\"/>\n"
             "  </struct>\n"),
      ERROR_REPEATED_FIELD_NAME}},
};

// The formats by text, built once: the report code may ask for every finding.
const std::unordered_map<std::string_view, const RuleText*>& TextsByFormat() {
  static const std::unordered_map<std::string_view, const RuleText*> by_format = [] {
    std::unordered_map<std::string_view, const RuleText*> map;
    for (const RuleText& text : kRuleTexts) map.emplace(text.format, &text);
    return map;
  }();
  return by_format;
}

// Whether text names check among its comma-separated checks.
bool NamesCheck(const RuleText& text, const char* check) {
  const std::string_view checks = text.checks;
  const std::string_view name = check;
  size_t start = 0;
  while (start <= checks.size()) {
    size_t end = checks.find(", ", start);
    if (end == std::string_view::npos) end = checks.size();
    if (checks.substr(start, end - start) == name) return true;
    start = end + 2;
  }
  return false;
}

std::string ToUpper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

// A code written as "-6" or "6"; false for anything else.
bool ParseCodeNumber(const std::string& text, int* code) {
  const size_t digits = !text.empty() && text[0] == '-' ? 1 : 0;
  if (digits == text.size() || text.size() - digits > 3) return false;
  int value = 0;
  for (size_t i = digits; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    value = value * 10 + (text[i] - '0');
  }
  *code = -value;
  return true;
}

// Whether the check's result is the text's code, so that a wrapper around the check reports it.
bool IsResultOfCheck(const RuleText& text) {
  return text.role == RuleTextRole::kFailure || text.role == RuleTextRole::kReport ||
         text.role == RuleTextRole::kLogOnly;
}

const char* RuleName(const Rule& rule) { return CheckResultName(rule.code); }

// Words of text filled into lines of at most width columns, each line after the first starting
// with indent. A word longer than a line stands on a line of its own.
std::string Wrap(const std::string& text, size_t width, const std::string& first_indent,
                 const std::string& indent) {
  std::string out = first_indent;
  size_t column = first_indent.size();
  bool line_has_word = false;
  std::istringstream words(text);
  std::string word;
  while (words >> word) {
    if (line_has_word && column + 1 + word.size() > width) {
      out += "\n" + indent;
      column = indent.size();
      line_has_word = false;
    }
    if (line_has_word) {
      out += ' ';
      ++column;
    }
    out += word;
    column += word.size();
    line_has_word = true;
  }
  return out + "\n";
}

constexpr size_t kWidth = 100;

// Paragraphs separated by "\n\n", each wrapped, with a blank line between them.
std::string WrapParagraphs(const std::string& text) {
  std::string out;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find("\n\n", start);
    if (end == std::string::npos) end = text.size();
    if (!out.empty()) out += "\n";
    out += Wrap(text.substr(start, end - start), kWidth, "", "");
    start = end + 2;
  }
  return out;
}

// Who writes a text, and how, after the text in the list of an explanation.
std::string TextOrigin(const RuleText& text) {
  const std::string checks = text.checks;
  switch (text.role) {
    case RuleTextRole::kFailure:
      return checks;
    case RuleTextRole::kLookup:
      return checks + ", a lookup; the check that asked adds its own line";
    case RuleTextRole::kWrapper:
      return "VelmoraCheckTable, around the failure of " + checks;
    case RuleTextRole::kReport:
      return checks + ", before the names of the offending fields";
    case RuleTextRole::kLogOnly:
      return checks + ", logged only";
    case RuleTextRole::kNote:
      return checks + ", logged although the table passes";
  }
  return checks;
}

// A schema as an indented block: Markdown shows it as code, a terminal as it is.
std::string IndentedBlock(const std::string& text) {
  std::string out;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    out += "    " + text.substr(start, end - start) + "\n";
    start = end + 1;
  }
  return out;
}

std::string ExampleCommand(const RuleExample& example) {
  std::string command = "velmora-check-table";
  for (const std::string& option : example.options) command += " " + option;
  return command + " SCHEMA.xml";
}

std::string TextsSection(const Rule& rule) {
  const std::vector<const RuleText*> texts = TextsReporting(rule.code);
  if (texts.empty()) return "None: the check returns the code without a message.\n";
  std::string out;
  for (const RuleText* text : texts) {
    // The text stands on one line as the checker writes it, blanks and all.
    out += "- `" + std::string(text->format) + "`\n";
    out += Wrap("from " + TextOrigin(*text), kWidth, "  ", "  ");
    out += Wrap(std::string("help: ") + text->hint, kWidth, "  ", "  ");
  }
  return out;
}

}  // namespace

const std::vector<Rule>& ProducedRules() { return kRules; }

const Rule* FindRule(const std::string& code) {
  int number = 0;
  const bool is_number = ParseCodeNumber(code, &number);
  const std::string upper = ToUpper(code);
  for (const Rule& rule : kRules) {
    if (is_number ? rule.code == number : upper == RuleName(rule)) return &rule;
  }
  return nullptr;
}

std::string UnknownRuleMessage(const std::string& code) {
  if (FindRule(code) != nullptr) return std::string();
  std::string message = "'" + code + "' is not a code the checks produce";
  int number = 0;
  const bool is_number = ParseCodeNumber(code, &number);
  for (int known = 0; CheckResultName(known) != nullptr; --known) {
    const char* name = CheckResultName(known);
    if (is_number ? number != known : ToUpper(code) != name) continue;
    message = std::string(name) + " (" + std::to_string(known) +
              (known == CHECK_TABLE_SUCCESS
                   ? ") means that a check passed; no rule stands behind it"
                   : ") is a code of the table service that these checks never report");
    break;
  }
  message += ".\nThe codes the checks produce:";
  for (const Rule& rule : kRules) {
    message += "\n  " + std::to_string(rule.code) + " " + RuleName(rule);
  }
  return message;
}

const std::vector<RuleText>& RuleTexts() { return kRuleTexts; }

std::vector<const RuleText*> TextsReporting(int code) {
  // A wrapper reports every code its check fails with.
  std::vector<const RuleText*> direct;
  std::vector<const RuleText*> wrappers;
  for (const RuleText& text : kRuleTexts) {
    if (text.role == RuleTextRole::kWrapper) {
      for (const RuleText& wrapped : kRuleTexts) {
        if (wrapped.code == code && IsResultOfCheck(wrapped) && NamesCheck(wrapped, text.checks)) {
          wrappers.push_back(&text);
          break;
        }
      }
    } else if (text.code == code && code != CHECK_TABLE_SUCCESS) {
      direct.push_back(&text);
    }
  }
  direct.insert(direct.end(), wrappers.begin(), wrappers.end());
  return direct;
}

const RuleText* FindRuleText(const char* format) {
  if (format == nullptr) return nullptr;
  const auto& by_format = TextsByFormat();
  const auto found = by_format.find(format);
  return found != by_format.end() ? found->second : nullptr;
}

const char* HintForFormat(const char* format) {
  const RuleText* text = FindRuleText(format);
  return text != nullptr ? text->hint : nullptr;
}

const char* HintForReport(const char* format, const char* message) {
  const char* hint = HintForFormat(format);
  if (hint != nullptr || message == nullptr) return hint;
  hint = HintForFormat(message);
  if (hint != nullptr) return hint;
  for (const RuleText& text : kRuleTexts) {
    if (text.role == RuleTextRole::kReport &&
        std::strncmp(message, text.format, std::strlen(text.format)) == 0) {
      return text.hint;
    }
  }
  return nullptr;
}

std::vector<const char*> HintFormats() {
  std::vector<const char*> formats;
  formats.reserve(kRuleTexts.size());
  for (const RuleText& text : kRuleTexts) formats.push_back(text.format);
  return formats;
}

std::string ListRules() {
  size_t name_width = 0;
  for (const Rule& rule : kRules) name_width = std::max(name_width, std::strlen(RuleName(rule)));
  std::string out;
  for (const Rule& rule : kRules) {
    std::string number = std::to_string(rule.code);
    number.insert(0, 3 - std::min<size_t>(3, number.size()), ' ');
    std::string name = RuleName(rule);
    name.resize(name_width, ' ');
    out += number + "  " + name + "  " + rule.summary + "\n";
  }
  return out;
}

std::string ExplainRule(const Rule& rule) {
  std::string out = "# " + std::string(RuleName(rule)) + " (" + std::to_string(rule.code) + ")\n\n";
  out += std::string(rule.summary) + ".\n\n";
  out += "## What the store requires\n\n" + WrapParagraphs(rule.requirement) + "\n";
  out += "## Limits\n\n";
  for (const char* limit : rule.limits) out += Wrap(limit, kWidth, "- ", "  ");
  out += "\n## Texts that report it\n\n" + TextsSection(rule) + "\n";
  out += "## Example\n\nChecked with: " + ExampleCommand(rule.example) + "\n\n";
  out += "Reports " + std::string(RuleName(rule)) + ":\n\n" + IndentedBlock(rule.example.failing);
  out += "\nFixed:\n\n" + IndentedBlock(rule.example.fixed) + "\n";
  return out;
}
