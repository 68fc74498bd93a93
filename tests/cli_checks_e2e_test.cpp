// velmora-check-table end to end, one store rule at a time: each schema under fixtures/cli/checks
// breaks one rule, and the command must name the rule's result code, its exact message and the
// checker's log lines in JSON, and the compiler-style headline with the lines that name the field
// at fault in text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include "cli_test_support.h"
#include <velmora/check_table_error.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Json = nlohmann::json;

std::string Fixture(const std::string& name) {
  return std::string(VELMORA_FIXTURES_DIR) + "/cli/checks/" + name;
}

// Runs the command in JSON and returns the report of one table; the run's exit status must be 1.
Json FailingTable(const std::string& table, std::vector<std::string> args) {
  args.insert(args.begin(), {"--format", "json"});
  const CommandResult result = RunCheckTable(args);
  EXPECT_EQ(result.status, 1) << result.out << result.err;
  EXPECT_EQ(result.err, "");
  const Json report = Json::parse(result.out, nullptr, false);
  EXPECT_FALSE(report.is_discarded()) << "not JSON:\n" << result.out;
  if (report.is_discarded()) return Json::object();
  for (const Json& entry : report.at("tables")) {
    if (entry.at("table") == table) {
      EXPECT_EQ(entry.at("ok"), false);
      EXPECT_EQ(entry.at("checks").size(), 3u);
      return entry;
    }
  }
  ADD_FAILURE() << "no table " << table << " in the report";
  return Json::object();
}

// A log line as (priority, function, text).
using LogLine = std::tuple<int, std::string, std::string>;

// The lines a check logged at error priority, in order.
std::vector<LogLine> ErrorLines(const Json& check) {
  std::vector<LogLine> lines;
  for (const Json& line : check.at("log")) {
    EXPECT_THAT(line.at("file").get<std::string>(), StartsWith("src/common/check_table"));
    if (line.at("priority").get<int>() <= 300) {
      lines.emplace_back(line.at("priority"), line.at("function"), line.at("text"));
    }
  }
  return lines;
}

// The attribute check of a table without customattr2: an old-style definition, which passes.
void ExpectOldStyleDefinition(const Json& check) {
  EXPECT_EQ(check.at("check"), "CheckTableTypeByCustomAttr");
  EXPECT_EQ(check.at("result"), ERROR_OLD_TABLE_DEFINE);
  EXPECT_EQ(check.at("code"), "ERROR_OLD_TABLE_DEFINE");
  EXPECT_EQ(check.at("message"), "");
  EXPECT_THAT(ErrorLines(check), IsEmpty());
}

void ExpectPassingReferCheck(const Json& check) {
  EXPECT_EQ(check.at("check"), "CheckWhetherCountWithRefer");
  EXPECT_EQ(check.at("result"), 0);
  EXPECT_EQ(check.at("code"), "CHECK_TABLE_SUCCESS");
  EXPECT_EQ(check.at("report"), "");
}

// The entry point's check with its result, code and message.
void ExpectTableCheck(const Json& check, int kind, int result, const std::string& code,
                      const std::string& message) {
  EXPECT_EQ(check.at("check"), "VelmoraCheckTable");
  EXPECT_EQ(check.at("kind"), kind);
  EXPECT_EQ(check.at("result"), result);
  EXPECT_EQ(check.at("code"), code);
  EXPECT_EQ(check.at("message"), message);
}

// ---- The entry point's rules, one schema each ------------------------------------------------

// A table that breaks one rule of the entry point: the JSON report must hold the rule's result,
// code, message and error lines, and the text report the headline with the detail lines under it.
struct EntryPointRule {
  std::string rule;  // the test's name
  std::string fixture;
  std::vector<std::string> options;
  std::string table;
  int line;
  int result;
  std::string code;
  std::string message;
  std::vector<LogLine> error_lines;
  // The text report's findings, each line after the schema's path (":LINE:COL: error: ...") or
  // under it ("    note: ..."); none when the schema's other tables make the text report a case
  // of its own. The first is the entry point's first finding in JSON too.
  std::optional<std::vector<std::string>> text_details;
};

class CheckTableCommandEntryPointRules : public ::testing::TestWithParam<EntryPointRule> {};

TEST_P(CheckTableCommandEntryPointRules, ReportsTheRuleInJsonAndText) {
  const EntryPointRule& rule = GetParam();
  const std::string path = Fixture(rule.fixture);
  std::vector<std::string> args = rule.options;
  args.push_back(path);

  const Json table = FailingTable(rule.table, args);
  EXPECT_EQ(table.at("line"), rule.line);
  ExpectOldStyleDefinition(table.at("checks")[0]);
  const Json& entry = table.at("checks")[1];
  ExpectTableCheck(entry, 0, rule.result, rule.code, rule.message);
  EXPECT_EQ(ErrorLines(entry), rule.error_lines);
  ExpectPassingReferCheck(table.at("checks")[2]);

  if (!rule.text_details) return;
  const CommandResult text = RunCheckTable(args);
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.err, "");
  std::vector<std::string> expected;
  for (const std::string& line : *rule.text_details) {
    expected.push_back(line[0] == ':' ? path + line : line);
  }
  expected.push_back("1 table checked, 1 failed");
  EXPECT_EQ(Lines(text.out), expected);

  // The same finding in JSON: its place, and its reason with the code.
  ASSERT_FALSE(rule.text_details->empty());
  const std::string& first = rule.text_details->front();
  int line = 0;
  int column = 0;
  ASSERT_EQ(std::sscanf(first.c_str(), ":%d:%d:", &line, &column), 2) << first;
  ASSERT_FALSE(entry.at("findings").empty());
  const Json& finding = entry.at("findings")[0];
  EXPECT_EQ(finding.at("line"), line);
  EXPECT_EQ(finding.at("column"), column);
  EXPECT_NE(first.find(": " + finding.at("message").get<std::string>() + " [" +
                       finding.at("code").get<std::string>() + "]"),
            std::string::npos)
      << first;
}

const char kProxyTooOld[] =
    "This table:shard_stat 's key num:5 is more than 4,proxy version need >= 3.37.0,"
    "but now is :3.36.0";
const char kRestProxyTooOld[] =
    "This table:shard_stat 's key num:5 is more than 4,rest proxy version need >= 3.37.0,"
    "but now is :3.36.0";
const char kRepetition[] =
    "using strncasecmp, the field name is repeated. field_name:Level, entry_index:1, "
    "cmp_field_name:level, cmp_entry_index:2";
const std::string kRepeatedFieldMessage =
    std::string("CheckRepeatedFieldName failed! table:'pet',ret:-51, err_msg:") + kRepetition;

const EntryPointRule kEntryPointRules[] = {
    {"ReportsAKeyFieldMissingFromAnIndexOfATableWithoutSplitKey",
     "primary_key.xml",
     {},
     "account",
     4,
     ERROR_PRIMARYKEY_FIELD,
     "ERROR_PRIMARYKEY_FIELD",
     "CheckPrimaryKey failed! table:'account',ret:-4",
     {{300, "CheckWhetherIndex",
       "Splittablekey field is not belong to index field! Splittablekey:'zone',table:'account'"},
      {300, "CheckPrimaryKey",
       "The index field has not include primarykey if splittablekey not exist! "
       "primarykey:'zone' table:'account'"},
      {300, "VelmoraCheckTable", "CheckPrimaryKey failed! table:'account',ret:-4"}},
     std::vector<std::string>{
         ":8:5: error: account.by_uid: The index field has not include primarykey if splittabl"
         "ekey not exist! primarykey:'zone' table:'account' [ERROR_PRIMARYKEY_FIELD]",
         "    note: Splittablekey field is not belong to index field! Splittablekey:'zone',tab"
         "le:'account'",
         "    note: CheckPrimaryKey failed! table:'account',ret:-4",
         "    help: Without a splittablekey every index must hold every primary key field: add"
         " this field to each index's column list, or declare a splittablekey."}},
    {"ReportsFiveKeyFieldsBehindAProxyOlderThan3370",
     "key_count.xml",
     {"--proxy-version", "3.36.0"},
     "shard_stat",
     4,
     CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CHECK_TABLE_ERROR_SYSTEM_ERROR",
     kProxyTooOld,
     {{300, "VelmoraCheckTable", kProxyTooOld}},
     std::vector<std::string>{
         ":4:3: error: shard_stat: This table:shard_stat 's key num:5 is more than 4,proxy ver"
         "sion need >= 3.37.0,but now is :3.36.0 [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
         "    help: Proxies before 3.37.0 serve at most 4 key fields of a generic table and 3 "
         "of a list table: use fewer key fields, or pass --proxy-version 3.37.0 or later if ev"
         "ery proxy is that new."}},
    {"ReportsFiveKeyFieldsBehindARestProxyOlderThan3370",
     "key_count.xml",
     {"--proxy-version", "3.37.0", "--rest-proxy-version", "3.36.0"},
     "shard_stat",
     4,
     CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CHECK_TABLE_ERROR_SYSTEM_ERROR",
     kRestProxyTooOld,
     {{300, "VelmoraCheckTable", kRestProxyTooOld}},
     std::vector<std::string>{
         ":4:3: error: shard_stat: This table:shard_stat 's key num:5 is more than 4,rest prox"
         "y version need >= 3.37.0,but now is :3.36.0 [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
         "    help: REST proxies before 3.37.0 serve at most 4 key fields of a generic table a"
         "nd 3 of a list table: use fewer, or pass --rest-proxy-version 3.37.0 or later (or no"
         "ne)."}},
    {"ReportsAValueFieldOfATypeTheStoreCannotHold",
     "value_field.xml",
     {},
     "article",
     4,
     ERROR_FIELD_TYPE_ILLEGAL,
     "ERROR_FIELD_TYPE_ILLEGAL",
     "CheckValueField failed! table:'article',ret:-16",
     {{300, "CheckValueField",
       "The entry type is not supported! entry_name:'title' table='article'"},
      {300, "VelmoraCheckTable", "CheckValueField failed! table:'article',ret:-16"}},
     std::nullopt},
    // The name "tag%n" is copied as it stands: it never acts as a conversion. The array has its
    // refer, so the refer check passes.
    {"ReportsAStringArrayAndKeepsThePercentSignOfItsName",
     "value_field.xml",
     {},
     "labels",
     9,
     ERROR_FIELD_TYPE_ILLEGAL,
     "ERROR_FIELD_TYPE_ILLEGAL",
     "CheckValueField failed! table:'labels',ret:-16",
     {{300, "CheckValueField", "these string entry should not have 'count' attribute : tag%n "},
      {300, "VelmoraCheckTable", "CheckValueField failed! table:'labels',ret:-16"}},
     std::nullopt},
    {"ReportsASplitTableKeyOutsideThePrimaryKey",
     "split_key.xml",
     {},
     "guild",
     4,
     ERROR_SPLITTABLE_FIELD,
     "ERROR_SPLITTABLE_FIELD",
     "CheckSplittableKey failed! table:'guild',ret:-5",
     {{300, "CheckWhetherPrimaryKey",
       "Entry is not belong to primarykey!Entry:'region' table:'guild'"},
      {300, "CheckSplittableKey",
       "Primaykey must include splittablekey! Splittablekey:'region',table:'guild' "},
      {300, "VelmoraCheckTable", "CheckSplittableKey failed! table:'guild',ret:-5"}},
     std::vector<std::string>{
         ":4:46: error: guild.splittablekey: Primaykey must include splittablekey! Splittablek"
         "ey:'region',table:'guild'  [ERROR_SPLITTABLE_FIELD]",
         "    note: Entry is not belong to primarykey!Entry:'region' table:'guild'",
         "    note: CheckSplittableKey failed! table:'guild',ret:-5",
         "    help: Every splittablekey field must be a primary key field, named exactly (lett"
         "er case counts): add it to primarykey or drop it from splittablekey."}},
    {"ReportsAnIndexOverAValueField",
     "index.xml",
     {},
     "hero",
     4,
     ERROR_INDEX_FIELD,
     "ERROR_INDEX_FIELD",
     "CheckIndex failed! table:'hero',ret:-6",
     {{300, "CheckWhetherPrimaryKey",
       "Entry is not belong to primarykey!Entry:'level' table:'hero'"},
      {300, "CheckIndex",
       "The index field should be primarykey field! index:'level', table:'hero'"},
      {300, "VelmoraCheckTable", "CheckIndex failed! table:'hero',ret:-6"}},
     std::vector<std::string>{
         ":7:5: error: hero.by_level: The index field should be primarykey field! index:'level"
         "', table:'hero' [ERROR_INDEX_FIELD]",
         "    note: Entry is not belong to primarykey!Entry:'level' table:'hero'",
         "    note: CheckIndex failed! table:'hero',ret:-6",
         "    help: Index columns must be primary key fields, and the name shown is the field,"
         " not the index: drop it from the index or add it to primarykey."}},
    {"ReportsAFieldNameWithAnIllegalCharacter",
     "field_name.xml",
     {},
     "monster",
     4,
     ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR,
     "ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR",
     "CheckFieldNameLength failed! table:'monster',ret:-18",
     {{300, "CheckFieldNameLength", "field name[max-hp] has illegal character."},
      {300, "VelmoraCheckTable", "CheckFieldNameLength failed! table:'monster',ret:-18"}},
     std::vector<std::string>{
         ":6:5: error: monster.max-hp: field name[max-hp] has illegal character. [ERROR_FIELD_"
         "NAME_HAS_ILLEGAL_CHAR]",
         "    note: CheckFieldNameLength failed! table:'monster',ret:-18",
         "    help: A field name may hold only ASCII letters, digits and underscores (no blank"
         ", '-' or non-ASCII character): rename the field."}},
    // The length check leaves its list in the buffer; the entry point adds no wrapping message.
    {"ReportsEveryFieldOverItsSizeLimitForTheServerVersion",
     "field_size.xml",
     {"--server-version", "3.29.0"},
     "replay",
     4,
     ERROR_ENTRY_LENGTH_NOT_LEGAL,
     "ERROR_ENTRY_LENGTH_NOT_LEGAL",
     "ERR_ENTRY_LEN;code|frames|",
     {{300, "CheckValueFieldLen", "key code length(2000) is greater than 1K"},
      {300, "CheckValueFieldLen", "entry frames length(300000) is greater than 256k"},
      {300, "VelmoraCheckTable",
       "CheckFieldNameLength failed! table:'replay', svrMinVersion:3.29.0"}},
     std::vector<std::string>{
         ":5:5: error: replay.code: key code length(2000) is greater than 1K [ERROR_ENTRY_LENG"
         "TH_NOT_LEGAL]",
         "    note: ERR_ENTRY_LEN;code|frames|",
         "    note: CheckFieldNameLength failed! table:'replay', svrMinVersion:3.29.0",
         "    help: A key field holds at most 1024 bytes (unit size x count) on any server: ma"
         "ke it smaller.",
         ":6:5: error: replay.frames: entry frames length(300000) is greater than 256k [ERROR_"
         "ENTRY_LENGTH_NOT_LEGAL]",
         "    note: ERR_ENTRY_LEN;code|frames|",
         "    note: CheckFieldNameLength failed! table:'replay', svrMinVersion:3.29.0",
         "    help: Servers from 3.29.0 to before 3.39.0 hold a value field of at most 262144 "
         "bytes (unit size x count); 3.39.0 and later hold 10485760."}},
    {"ReportsTwoFieldNamesThatDifferOnlyInLetterCase",
     "repeated_field.xml",
     {},
     "pet",
     4,
     ERROR_REPEATED_FIELD_NAME,
     "ERROR_REPEATED_FIELD_NAME",
     kRepeatedFieldMessage,
     {{300, "CheckRepeatedFieldName", kRepetition},
      {300, "VelmoraCheckTable", kRepeatedFieldMessage}},
     std::vector<std::string>{
         ":7:5: error: pet.level: using strncasecmp, the field name is repeated. field_name:Le"
         "vel, entry_index:1, cmp_field_name:level, cmp_entry_index:2 [ERROR_REPEATED_FIELD_NA"
         "ME]",
         "    note: CheckRepeatedFieldName failed! table:'pet',ret:-51, err_msg:using strncase"
         "cmp, the field name is repeated. field_name:Level, entry_index:1, cmp_field_name:lev"
         "el, cmp_entry_index:2",
         "    help: Column names ignore letter case, so two field names may not differ in case"
         " alone (the positions count from 0): rename one."}},
};

INSTANTIATE_TEST_SUITE_P(OneSchemaEach, CheckTableCommandEntryPointRules,
                         ::testing::ValuesIn(kEntryPointRules),
                         [](const ::testing::TestParamInfo<EntryPointRule>& param_info) {
                           return param_info.param.rule;
                         });

TEST(CheckTableCommandRules, ServesFiveKeyFieldsFromProxy3370On) {
  const std::string path = Fixture("key_count.xml");
  const CommandResult result = RunCheckTable({"--proxy-version", "3.37.0", path});
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":4: ok: shard_stat (generic, old-style definition)",
                          "1 table checked, 0 failed"));
}

TEST(CheckTableCommandRules, PrintsTheValueFieldAtFaultUnderTheHeadline) {
  const std::string path = Fixture("value_field.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.err, "");
  EXPECT_THAT(Lines(text.out),
              ElementsAre(path + ":6:5: error: article.title: The entry type is not supported! entry_name"
                                 ":'title' table='article' [ERROR_FIELD_TYPE_ILLEGAL]",
                          "    note: CheckValueField failed! table:'article',ret:-16",
                          "    help: The store cannot hold this field's type (wstring is the base type it"
                          " refuses): use string or another supported type.",
                          path + ":12:5: error: labels.tag%n: these string entry should not have 'count' "
                                 "attribute : tag%n [ERROR_FIELD_TYPE_ILLEGAL]",
                          "    note: these string entry should not have 'count' attribute : tag%n ",
                          "    note: CheckValueField failed! table:'labels',ret:-16",
                          "    help: A string cannot be an array: remove count from the string fields lis"
                          "ted (their size sets their length).",
                          path + ":12:5: also: labels.tag%n: field name[tag%n] has illegal character. [ER"
                                 "ROR_FIELD_NAME_HAS_ILLEGAL_CHAR]",
                          "    note: CheckFieldNameLength failed! table:'labels',ret:-18",
                          "    help: A field name may hold only ASCII letters, digits and underscores (no"
                          " blank, '-' or non-ASCII character): rename the field.",
                          "2 tables checked, 2 failed"));
}

TEST(CheckTableCommandRules, JudgesFieldSizesOnlyWithAServerVersion) {
  const std::string path = Fixture("field_size.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":4: ok: replay (generic, old-style definition)",
                          "1 table checked, 0 failed"));
}

// ---- Arrays and their refer fields ---------------------------------------------------------

TEST(CheckTableCommandRules, ReportsEveryArrayWithoutReferAlsoInsideAStructField) {
  const std::string path = Fixture("count_refer.xml");
  const std::string report = "these entry have 'count' without 'refer' : badges gems medals ";
  const Json table = FailingTable("backpack", {path});
  EXPECT_EQ(table.at("line"), 8);
  ExpectOldStyleDefinition(table.at("checks")[0]);
  ExpectTableCheck(table.at("checks")[1], 0, CHECK_TABLE_SUCCESS, "CHECK_TABLE_SUCCESS",
                   "Table dose not have indexs, table:'backpack'");
  const Json& refer = table.at("checks")[2];
  EXPECT_EQ(refer.at("check"), "CheckWhetherCountWithRefer");
  EXPECT_EQ(refer.at("result"), ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(refer.at("code"), "ERROR_COUNT_WITHNOT_REFER");
  EXPECT_EQ(refer.at("message"), "");
  EXPECT_EQ(refer.at("report"), report);
  EXPECT_EQ(refer.at("log"), Json::array());

  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(Lines(text.out),
              ElementsAre(path + ":12:5: error: backpack.badges: these entry have 'count' without 'refer'"
                                 " : badges [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each field listed has a count above 1 but no refer: add an earlier i"
                          "nteger field (int8 to uint32, count 1) for the number in use and name it in re"
                          "fer.",
                          path + ":5:5: error: backpack.slot.gems: these entry have 'count' without 'refe"
                                 "r' : gems [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each field listed has a count above 1 but no refer: add an earlier i"
                          "nteger field (int8 to uint32, count 1) for the number in use and name it in re"
                          "fer.",
                          path + ":14:5: error: backpack.medals: these entry have 'count' without 'refer'"
                                 " : medals [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each field listed has a count above 1 but no refer: add an earlier i"
                          "nteger field (int8 to uint32, count 1) for the number in use and name it in re"
                          "fer.",
                          "1 table checked, 1 failed"));
}

TEST(CheckTableCommandRules, ReportsOnlyTheArraysTheChangeAddsWithTheOldSchema) {
  const std::string path = Fixture("count_refer.xml");
  const std::string old_path = Fixture("count_refer_old.xml");
  const std::string report = "these new entry have 'count' without 'refer' : medals ";
  const Json table = FailingTable("backpack", {"--old", old_path, path});
  const Json& refer = table.at("checks")[2];
  EXPECT_EQ(refer.at("check"), "CheckWhetherNewEntryCountWithRefer");
  EXPECT_EQ(refer.at("result"), ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(refer.at("code"), "ERROR_COUNT_WITHNOT_REFER");
  EXPECT_EQ(refer.at("message"), "");
  EXPECT_EQ(refer.at("report"), report);
  EXPECT_EQ(refer.at("log"), Json::array());

  const CommandResult text = RunCheckTable({"--old", old_path, path});
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.err, "");
  EXPECT_THAT(Lines(text.out),
              ElementsAre(path + ":14:5: error: backpack.medals: these new entry have 'count' without "
                                 "'refer' : medals [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each array this change adds (count above 1) needs a refer "
                          "naming an earlier integer field (int8 to uint32, count 1) that holds the "
                          "number in use.",
                          "1 table checked, 1 failed"));
}

// ---- Table attributes ----------------------------------------------------------------------

// A table whose attributes break one rule: the attribute check fails with its code and message,
// handing back what it parsed before it failed, and the table is then checked as a generic table.
struct TableAttrRule {
  std::string rule;  // the test's name
  std::string table;
  int line;
  int result;
  std::string code;
  std::string message;
  int table_type;
  int list_num;
  int sort_field_num;
  int sort_rule;
};

class CheckTableCommandTableAttrRules : public ::testing::TestWithParam<TableAttrRule> {};

TEST_P(CheckTableCommandTableAttrRules, ReportsTheRuleAndChecksTheTableAsGeneric) {
  const TableAttrRule& rule = GetParam();
  const Json table = FailingTable(rule.table, {Fixture("table_attrs.xml")});
  EXPECT_EQ(table.at("line"), rule.line);
  const Json& attrs = table.at("checks")[0];
  EXPECT_EQ(attrs.at("check"), "CheckTableTypeByCustomAttr");
  EXPECT_EQ(attrs.at("result"), rule.result);
  EXPECT_EQ(attrs.at("code"), rule.code);
  EXPECT_EQ(attrs.at("message"), rule.message);
  EXPECT_EQ(attrs.at("table_type"), rule.table_type);
  EXPECT_EQ(attrs.at("list_num"), rule.list_num);
  EXPECT_EQ(attrs.at("sort_field_num"), rule.sort_field_num);
  EXPECT_EQ(attrs.at("sort_rule"), rule.sort_rule);
  EXPECT_THAT(ErrorLines(attrs),
              ElementsAre(LogLine{300, "CheckTableTypeByCustomAttr", rule.message}));
  ExpectTableCheck(table.at("checks")[1], 0, CHECK_TABLE_SUCCESS, "CHECK_TABLE_SUCCESS",
                   "Table dose not have indexs, table:'" + rule.table + "'");
  ExpectPassingReferCheck(table.at("checks")[2]);
}

const TableAttrRule kTableAttrRules[] = {
    {"ReportsAFieldMarkOnAGenericTable", "profile", 4, CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CHECK_TABLE_ERROR_SYSTEM_ERROR",
     "table_type is generic,entry field can't contain customattr2.", 0, 0, 0, 0},
    // The parse got as far as the list size before it failed.
    {"ReportsASortRuleOnAPlainListTable", "mailbox", 9, CHECK_TABLE_ERROR_SYSTEM_ERROR,
     "CHECK_TABLE_ERROR_SYSTEM_ERROR",
     "table_type is list,but customattr has contain SortFieldNum or SortRule,don't forget to "
     "check the entry's customattr2.",
     1, 100, 0, 0},
    {"ReportsASortFieldThatIsNotANumber", "leaderboard", 14, CHECK_TABLE_ERROR_INVALID_PARAMETER,
     "CHECK_TABLE_ERROR_INVALID_PARAMETER",
     "sortfield(player_name)'s type(21) just support:uint8,uint16,uint32,uint64,int8,int16,"
     "int32,int64,float,double",
     2, 100, 1, 1},
};

INSTANTIATE_TEST_SUITE_P(OneTableEach, CheckTableCommandTableAttrRules,
                         ::testing::ValuesIn(kTableAttrRules),
                         [](const ::testing::TestParamInfo<TableAttrRule>& param_info) {
                           return param_info.param.rule;
                         });

TEST(CheckTableCommandRules, PrintsEachTableAttributeFailureWithItsCode) {
  const std::string path = Fixture("table_attrs.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.err, "");
  EXPECT_THAT(
      Lines(text.out),
      ElementsAre(path + ":6:37: error: profile.exp.customattr2: table_type is generic,entr"
                                 "y field can't contain customattr2. [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
                          "    help: Only the fields of a sorted list table carry a customattr2 (th"
                          "eir sort mark): remove it from the fields of this generic table.",
                          path + ":9:43: error: mailbox.customattr2: table_type is list,but customa"
                                 "ttr has contain SortFieldNum or SortRule,don't forget to check the entry"
                                 "'s customattr2. [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
                          "    help: A plain list table has no sort order: remove SortFieldNum and "
                          "SortRule (and the fields' sort marks), or make it TableType=SORTLIST.",
                          path + ":17:55: error: leaderboard.player_name.customattr2: sortfield(pla"
                                 "yer_name)'s type(21) just support:uint8,uint16,uint32,uint64,int8,int16,"
                                 "int32,int64,float,double [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
                          "    help: A sort field must be a number: int8 to uint64, byte, float or "
                          "double; strings, dates and structs cannot order a list.",
                          "3 tables checked, 3 failed"));
}

}  // namespace
