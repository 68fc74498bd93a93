// velmora-check-table end to end: the built command runs on schema files, and its exit status,
// standard output and standard error are what a table designer or a CI job sees.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli_test_support.h"
#include <velmora/check_table_error.h>

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

std::string Fixture(const std::string& name) {
  return std::string(VELMORA_FIXTURES_DIR) + "/cli/" + name;
}

std::string Example(const std::string& name) {
  return std::string(VELMORA_EXAMPLES_DIR) + "/" + name;
}

std::vector<std::string> Keys(const OrderedJson& object) {
  std::vector<std::string> keys;
  for (auto it = object.begin(); it != object.end(); ++it) keys.push_back(it.key());
  return keys;
}

// The JSON report of a run; fails the test when the output is not JSON.
Json ParseReport(const CommandResult& result) {
  Json report = Json::parse(result.out, nullptr, false);
  EXPECT_FALSE(report.is_discarded()) << "not JSON:\n" << result.out;
  return report;
}

// The table of this name in a JSON report.
Json TableIn(const Json& report, const std::string& name) {
  for (const Json& table : report.at("tables")) {
    if (table.at("table") == name) return table;
  }
  ADD_FAILURE() << "no table " << name << " in the report";
  return Json::object();
}

// True when the check's log holds a line of this priority, function and text.
bool HasLogLine(const Json& check, int priority, const std::string& function,
                const std::string& text) {
  for (const Json& line : check.at("log")) {
    if (line.at("priority") == priority && line.at("function") == function &&
        line.at("text") == text) {
      return true;
    }
  }
  return false;
}

// ---- Exit statuses and usage ---------------------------------------------------------------

TEST(CheckTableCommand, ExitsZeroWhenEveryTablePasses) {
  const CommandResult result = RunCheckTable({Fixture("tables.xml")});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_EQ(result.err, "");
}

TEST(CheckTableCommand, ExitsOneWhenATableFails) {
  const CommandResult result = RunCheckTable({Fixture("failing.xml")});
  EXPECT_EQ(result.status, 1) << result.out << result.err;
}

TEST(CheckTableCommand, HelpExitsZeroAndTeachesTheCommand) {
  const CommandResult result = RunCheckTable({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  for (const char* text :
       {"Usage: velmora-check-table", "-t,--table", "-k,--kind", "generic|list|INTEGER",
        "--server-version", "--proxy-version", "--rest-proxy-version", "--require-data-protocol",
        "--old", "-f,--format", "CheckTableTypeByCustomAttr", "VelmoraCheckTable",
        "CheckWhetherCountWithRefer", "CheckWhetherNewEntryCountWithRefer",
        "every struct that has a primary key, in file order", "old-style",
        "FILE:LINE:COL: error: TABLE.NAME: REASON [CODE]", "note:", "help:", "also:", "FILE:LINE: ok: TABLE (KIND)",
        "standard error", "Exit status:", "0  every table passed", "1  at least one table failed",
        "2  the options or a schema could not be used", "Examples:",
        "velmora-check-table examples/game.xml"}) {
    EXPECT_THAT(result.out, HasSubstr(text));
  }
  // Every line fits a terminal of 100 columns.
  for (const std::string& line : Lines(result.out)) EXPECT_LE(line.size(), 100u) << line;
}

TEST(CheckTableCommand, RejectsAnUnknownOptionWithUsageOnStandardError) {
  const CommandResult result = RunCheckTable({"--bogus", Fixture("tables.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("--bogus"));
  EXPECT_THAT(result.err, HasSubstr("--help"));
}

TEST(CheckTableCommand, RejectsAKindThatIsNeitherANameNorAnInteger) {
  const CommandResult result = RunCheckTable({"--kind", "sorted", Fixture("tables.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("sorted"));
  EXPECT_EQ(RunCheckTable({"-k", "1x", Fixture("tables.xml")}).status, 2);
  EXPECT_EQ(RunCheckTable({"-k", "", Fixture("tables.xml")}).status, 2);
}

TEST(CheckTableCommand, RejectsAKindBeyondTheIntRangeAndSaysSo) {
  // The checker takes the kind as an int; a larger integer cannot be passed as it is.
  for (const std::string kind : {"99999999999", "2147483648", "-2147483649"}) {
    const CommandResult result = RunCheckTable({"--kind", kind, Fixture("tables.xml")});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("'" + kind + "' is outside the int range"));
  }
  EXPECT_EQ(RunCheckTable({"--kind", "2147483647", Fixture("list4.xml")}).status, 1);
  EXPECT_EQ(RunCheckTable({"--kind=-2147483648", Fixture("list4.xml")}).status, 1);
}

TEST(CheckTableCommand, RejectsAnOptionGivenTwiceThatTakesOneValue) {
  for (const char* option : {"--server-version", "--proxy-version", "--format", "--kind"}) {
    const std::string value = std::string(option) == "--format" ? "json" : "1";
    const CommandResult result =
        RunCheckTable({option, value, option, value, Fixture("tables.xml")});
    EXPECT_EQ(result.status, 2) << option;
    EXPECT_EQ(result.out, "") << option;
    EXPECT_THAT(result.err, HasSubstr(option));
  }
}

TEST(CheckTableCommand, RequiresTheSchemaArgument) {
  const CommandResult result = RunCheckTable({});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("SCHEMA is required"));
  EXPECT_EQ(RunCheckTable({"-t", "zeta"}).status, 2);
}

TEST(CheckTableCommand, RejectsAnUnknownFormat) {
  const CommandResult result = RunCheckTable({"-f", "xml", Fixture("tables.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
}

TEST(CheckTableCommand, FailsWhenTheReportCannotBeWritten) {
  const std::string command = ShellQuote(VELMORA_CHECK_TABLE_BIN) + " " +
                              ShellQuote(Fixture("tables.xml")) + " >/dev/full 2>/dev/null";
  const int raw_status = std::system(command.c_str());
  ASSERT_TRUE(raw_status != -1 && WIFEXITED(raw_status));
  EXPECT_EQ(WEXITSTATUS(raw_status), 2);
}

TEST(CheckTableCommand, ReportsAMissingFileAndChecksNothing) {
  const std::string path = Fixture("nosuch.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 2);
  EXPECT_EQ(text.out, "");
  EXPECT_THAT(text.err, StartsWith(path + ":"));
  EXPECT_THAT(text.err, HasSubstr(": error: "));

  const CommandResult json = RunCheckTable({"--format", "json", path});
  EXPECT_EQ(json.status, 2);
  EXPECT_EQ(json.err, "");
  const Json report = ParseReport(json);
  EXPECT_EQ(report.at("format"), 1);
  EXPECT_EQ(report.at("schema"), path);
  EXPECT_TRUE(report.at("error").at("message").is_string());
  EXPECT_NE(report.at("error").at("message"), "");
  EXPECT_FALSE(report.contains("tables"));
}

TEST(CheckTableCommand, ChecksTheSchemasOfADirectory) {
  const std::string path = std::string(VELMORA_FIXTURES_DIR) + "/cli";
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, StartsWith(path + "/bad_xml.xml:5:3: error: "));
  EXPECT_THAT(result.out, StartsWith(path + "/checks/count_refer.xml:"));
  EXPECT_THAT(Lines(result.out).back(), HasSubstr(" files could not be used"));
}

TEST(CheckTableCommand, ReportsAnEmptyFileAsALoadError) {
  const std::string path = Fixture("empty.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, StartsWith(path + ":"));
  EXPECT_THAT(result.err, HasSubstr(": error: "));
  EXPECT_EQ(ParseReport(RunCheckTable({"-f", "json", path})).count("error"), 1u);
}

// ---- Load errors and warnings --------------------------------------------------------------

TEST(CheckTableCommand, ReportsMalformedXmlInCompilerStyle) {
  const std::string path = Fixture("bad_xml.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  const std::vector<std::string> lines = Lines(result.err);
  ASSERT_EQ(lines.size(), 1u) << result.err;
  EXPECT_THAT(lines[0], StartsWith(path + ":5:"));
  EXPECT_THAT(lines[0], HasSubstr(": error: "));
}

TEST(CheckTableCommand, ReportsALoadErrorAsJson) {
  const std::string path = Fixture("bad_xml.xml");
  const CommandResult result = RunCheckTable({"-f", "json", path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "");
  const OrderedJson report = OrderedJson::parse(result.out);
  EXPECT_THAT(Keys(report), ElementsAre("format", "schema", "error", "errors"));
  EXPECT_EQ(report.at("format"), 1);
  EXPECT_EQ(report.at("schema"), path);
  const OrderedJson& error = report.at("error");
  EXPECT_THAT(Keys(error), ElementsAre("line", "column", "message"));
  EXPECT_EQ(error.at("line"), 5);
  EXPECT_TRUE(error.at("column").is_number_integer());
  EXPECT_GT(error.at("column").get<int>(), 0);
  EXPECT_NE(error.at("message"), "");
}

TEST(CheckTableCommand, ReportsAnUnknownTypeAtItsEntry) {
  const std::string path = Fixture("unknown_type.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, StartsWith(path + ":5:"));
  EXPECT_THAT(result.err, HasSubstr(": error: "));
  EXPECT_THAT(result.err, HasSubstr("nosuchtype"));
}

TEST(CheckTableCommand, PrintsLoaderWarningsOnStandardErrorAndStillChecks) {
  const std::string path = Fixture("warnings.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  const std::vector<std::string> warnings = Lines(result.err);
  for (const std::string& warning : warnings) EXPECT_THAT(warning, HasSubstr(": warning: "));
  EXPECT_THAT(warnings, Contains(AllOf(StartsWith(path + ":3:"), HasSubstr("colour"))));
  EXPECT_THAT(warnings, Contains(AllOf(StartsWith(path + ":7:"), HasSubstr("banner"))));
  EXPECT_THAT(Lines(result.out), ElementsAre(path + ":3: ok: shop (generic, old-style definition)",
                                             "1 table checked, 0 failed"));
}

TEST(CheckTableCommand, ListsLoaderWarningsInJson) {
  const std::string path = Fixture("warnings.xml");
  const CommandResult result = RunCheckTable({"--format", "json", path});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const OrderedJson report = OrderedJson::parse(result.out);
  EXPECT_THAT(Keys(report), ElementsAre("format", "schema", "tables", "summary", "warnings"));
  const OrderedJson& warnings = report.at("warnings");
  ASSERT_GE(warnings.size(), 2u);
  bool colour_seen = false;
  bool banner_seen = false;
  for (const OrderedJson& warning : warnings) {
    EXPECT_THAT(Keys(warning), ElementsAre("file", "line", "column", "message"));
    EXPECT_EQ(warning.at("file"), path);
    const std::string message = warning.at("message");
    if (message.find("colour") != std::string::npos) {
      colour_seen = true;
      EXPECT_EQ(warning.at("line"), 3);
    }
    if (message.find("banner") != std::string::npos) {
      banner_seen = true;
      EXPECT_EQ(warning.at("line"), 7);
    }
  }
  EXPECT_TRUE(colour_seen);
  EXPECT_TRUE(banner_seen);
}

TEST(CheckTableCommand, OmitsWarningsInJsonWhenTheLoaderHadNone) {
  const OrderedJson report =
      OrderedJson::parse(RunCheckTable({"-f", "json", Fixture("tables.xml")}).out);
  EXPECT_THAT(Keys(report), ElementsAre("format", "schema", "tables", "summary"));
}

TEST(CheckTableCommand, KeepsTheLoaderWarningsBeforeALoadError) {
  const std::string path = Fixture("warning_then_error.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 2);
  EXPECT_EQ(text.out, "");
  const std::vector<std::string> lines = Lines(text.err);
  ASSERT_EQ(lines.size(), 2u) << text.err;
  EXPECT_EQ(lines[0], path + ":3:36: warning: unknown attribute 'colour' of <struct> is ignored");
  EXPECT_EQ(lines[1], path + ":5:21: error: entry 'v': type 'nosuchtype' is neither a base type "
                             "nor a struct or union defined earlier");

  const CommandResult json = RunCheckTable({"-f", "json", path});
  EXPECT_EQ(json.status, 2);
  EXPECT_EQ(json.err, "");
  const OrderedJson report = OrderedJson::parse(json.out);
  EXPECT_THAT(Keys(report), ElementsAre("format", "schema", "error", "errors", "warnings"));
  EXPECT_EQ(report.at("error"),
            OrderedJson({{"line", 5},
                         {"column", 21},
                         {"message", "entry 'v': type 'nosuchtype' is neither a base type nor a "
                                     "struct or union defined earlier"}}));
  EXPECT_EQ(report.at("warnings"),
            OrderedJson::array({OrderedJson({{"file", path},
                                             {"line", 3},
                                             {"column", 36},
                                             {"message", "unknown attribute 'colour' of <struct> "
                                                         "is ignored"}})}));
}

TEST(CheckTableCommand, ChecksASchemaSavedInGbk) {
  // The file is GBK: its Chinese field name reaches the checker, and the report, as UTF-8.
  const std::string path = Fixture("gbk.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.err, "");
  EXPECT_THAT(Lines(text.out),
              ElementsAre(path + ":3: ok: player (generic, old-style definition)",
                          path + ":9:5: error: pet.\xE7\xAD\x89\xE7\xBA\xA7: field name["
                                 "\xE7\xAD\x89\xE7\xBA\xA7] has illegal character. "
                                 "[ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR]",
                          "    note: CheckFieldNameLength failed! table:'pet',ret:-18",
                          "    help: A field name may hold only ASCII letters, digits and "
                          "underscores (no blank, '-' or non-ASCII character): rename the field.",
                          "2 tables checked, 1 failed"));
  const Json entry = TableIn(ParseReport(RunCheckTable({"-f", "json", path})), "pet")
                         .at("checks")[1];
  EXPECT_TRUE(HasLogLine(entry, 300, "CheckFieldNameLength",
                         "field name[\xE7\xAD\x89\xE7\xBA\xA7] has illegal character."));
}

// ---- Table selection -----------------------------------------------------------------------

TEST(CheckTableCommand, ChecksEveryStructWithAPrimaryKeyInFileOrder) {
  // pos (a plain struct) and reward (a union) are entry types, not tables.
  const std::string path = Fixture("tables.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":11: ok: zeta (generic, old-style definition)",
                          path + ":15: ok: alpha (generic)", path + ":19: ok: inbox (list of 30)",
                          path + ":23: ok: ladder (sorted list of 50 by 1 field, INSC)",
                          path + ":28: ok: top (sorted list of 10 by 2 fields, DESC)",
                          "5 tables checked, 0 failed"));
}

TEST(CheckTableCommand, ChecksTheNamedTablesInTheOrderGiven) {
  const std::string path = Fixture("tables.xml");
  const CommandResult result = RunCheckTable({"-t", "top", "--table", "zeta", path});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":28: ok: top (sorted list of 10 by 2 fields, DESC)",
                          path + ":11: ok: zeta (generic, old-style definition)",
                          "2 tables checked, 0 failed"));
}

TEST(CheckTableCommand, ChecksANamedStructWithoutPrimaryKey) {
  const std::string path = Fixture("tables.xml");
  const CommandResult result = RunCheckTable({"-t", "pos", path});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":3:3: error: pos: There is no Primaykey in meta:'pos', maybe it "
                                 "is a pure struct. [ERROR_NO_PRIMARY_KEY_IN_META]",
                          "    note: CheckPrimaryKey failed! table:'pos',ret:-15",
                          "    help: A table needs a primary key: add primarykey=\"field, ...\" to "
                          "the struct (a struct without one is only a field type).",
                          path + ":3:3: also: pos: Table dose not have primaykey, table:'pos'  "
                                 "[ERROR_PRIMARYKEY_FIELD]",
                          "    note: CheckSplittableKey failed! table:'pos',ret:-4",
                          "    help: The table has no primary key to take its split table key "
                          "from: add primarykey.",
                          "1 table checked, 1 failed"));
}

TEST(CheckTableCommand, ChecksANamedTableTheSchemaLacks) {
  const std::string path = Fixture("tables.xml");
  const std::string message = "Get meta info failed, please check the table name! table:'nosuch'";
  const CommandResult text = RunCheckTable({"-t", "nosuch", path});
  EXPECT_EQ(text.status, 1);
  // Both checks fail with the same message: the table still gets one line.
  EXPECT_THAT(
      Lines(text.out),
      ElementsAre(path + ": error: nosuch: " + message + " [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
                  "    help: The schema has no struct of exactly this name (letter case counts): "
                  "check the name given with -t/--table.",
                  "1 table checked, 1 failed"));

  const CommandResult json = RunCheckTable({"-t", "nosuch", "-f", "json", path});
  EXPECT_EQ(json.status, 1);
  const Json table = TableIn(ParseReport(json), "nosuch");
  EXPECT_TRUE(table.at("line").is_null());
  EXPECT_EQ(table.at("ok"), false);
  // The refer check needs the table's meta, so it does not run.
  ASSERT_EQ(table.at("checks").size(), 2u);
  const Json& attrs = table.at("checks")[0];
  EXPECT_EQ(attrs.at("check"), "CheckTableTypeByCustomAttr");
  EXPECT_EQ(attrs.at("result"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(attrs.at("code"), "CHECK_TABLE_ERROR_SYSTEM_ERROR");
  EXPECT_EQ(attrs.at("message"), message);
  EXPECT_TRUE(HasLogLine(attrs, 300, "CheckTableTypeByCustomAttr", message));
  const Json& entry = table.at("checks")[1];
  EXPECT_EQ(entry.at("check"), "VelmoraCheckTable");
  EXPECT_EQ(entry.at("kind"), 0);
  EXPECT_EQ(entry.at("result"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(entry.at("code"), "CHECK_TABLE_ERROR_SYSTEM_ERROR");
  EXPECT_EQ(entry.at("message"), message);
  EXPECT_TRUE(HasLogLine(entry, 300, "VelmoraCheckTable", message));
}

TEST(CheckTableCommand, ChecksATableNamedTwiceEachTime) {
  const std::string path = Fixture("tables.xml");
  const CommandResult result = RunCheckTable({"-t", "zeta", "-t", "alpha", "-t", "zeta", path});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":11: ok: zeta (generic, old-style definition)",
                          path + ":15: ok: alpha (generic)",
                          path + ":11: ok: zeta (generic, old-style definition)",
                          "3 tables checked, 0 failed"));
  // -t takes one name: a second word is a schema of its own.
  const CommandResult extra = RunCheckTable({"-t", "zeta", "alpha", path});
  EXPECT_EQ(extra.status, 2);
  EXPECT_EQ(extra.err, "alpha: error: cannot read the file: No such file or directory\n");
}

TEST(CheckTableCommand, ReportsSchemaTableNamesThatBreakTheNameRules) {
  // Such names load; the name rules of both the attribute check and the entry point refuse them,
  // and a '%' in a name stays a plain character.
  const std::string path = Fixture("names.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(Lines(text.out),
              ElementsAre(path + ":3:3: error: 9lives: table name startswith digit. [ERROR_TABLE_NA"
                                 "ME_STARTWITH_DIGIT]",
                          "    help: A table name must start with a letter or an underscore, not a "
                          "digit 0-9: rename the struct.",
                          path + ":7:3: error: hp%n%s: table name has illegal character. [ERROR_TAB"
                                 "LE_NAME_HAS_ILLEGAL_CHAR]",
                          "    help: A table name may hold only ASCII letters, digits and underscor"
                          "es (no blank, '-', '.' or non-ASCII character): rename the struct.",
                          "2 tables checked, 2 failed"));

  const Json report = ParseReport(RunCheckTable({"-f", "json", path}));
  const Json digits = TableIn(report, "9lives");
  EXPECT_EQ(digits.at("line"), 3);
  ASSERT_EQ(digits.at("checks").size(), 3u);
  for (int i = 0; i < 2; ++i) {
    const Json& check = digits.at("checks")[i];
    EXPECT_EQ(check.at("result"), ERROR_TABLE_NAME_STARTWITH_DIGIT);
    EXPECT_EQ(check.at("code"), "ERROR_TABLE_NAME_STARTWITH_DIGIT");
    EXPECT_EQ(check.at("message"), "table name startswith digit.");
    EXPECT_TRUE(
        HasLogLine(check, 300, "CheckTableNameValidity", "table name startswith digit."));
  }
  // The meta exists, so the refer check runs, and passes.
  EXPECT_EQ(digits.at("checks")[2].at("result"), 0);
  const Json percent = TableIn(report, "hp%n%s");
  EXPECT_EQ(percent.at("checks")[1].at("result"), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(percent.at("checks")[1].at("message"), "table name has illegal character.");
}

TEST(CheckTableCommand, ChecksANamedTableWithPercentSignsAsPlainText) {
  const std::string path = Fixture("tables.xml");
  const CommandResult result = RunCheckTable({"-f", "json", "-t", "a%n%s%%", path});
  EXPECT_EQ(result.status, 1);
  const Json table = TableIn(ParseReport(result), "a%n%s%%");
  EXPECT_TRUE(table.at("line").is_null());
  EXPECT_EQ(table.at("checks").size(), 2u);
  EXPECT_EQ(table.at("checks")[1].at("result"), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(table.at("checks")[1].at("message"), "table name has illegal character.");
  EXPECT_THAT(Lines(RunCheckTable({"-t", "a%n%s%%", path}).out),
              ElementsAre(path + ": error: a%n%s%%: table name has illegal character. [ERROR_TABLE_"
                                 "NAME_HAS_ILLEGAL_CHAR]",
                          "    help: A table name may hold only ASCII letters, digits and underscor"
                          "es (no blank, '-', '.' or non-ASCII character): rename the struct.",
                          "1 table checked, 1 failed"));
}

// A test's scratch folder lives under the build tree and goes away with its guard, also when an
// assertion inside the test has failed.
TEST(CheckTableCommandScratch, ScratchFolderIsRemovedWithItsFilesEvenAfterAFailedAssertion) {
  std::string path;
  std::string file;
  {
    const ScratchDir dir;
    ASSERT_TRUE(dir.ok());
    path = dir.path();
    file = dir.File("schema.xml");
    std::ofstream(file) << "<metalib/>";
    EXPECT_EQ(path.rfind(std::string(VELMORA_TEST_SCRATCH_DIR) + "/", 0), 0u);
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_NONFATAL_FAILURE(ADD_FAILURE() << "an assertion that fails inside the test",
                            "an assertion that fails");
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(CheckTableCommand, ChecksFiveThousandTablesOfATenMegabyteSchemaQuickly) {
  const ScratchDir dir;
  ASSERT_TRUE(dir.ok());
  const std::string path = dir.File("big.xml");
  {
    std::ofstream out(path, std::ios::binary);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<metalib name=\"big\" version=\"1\">\n";
    const std::string desc(1200, 'x');
    for (int t = 0; t < 5000; ++t) {
      out << "  <struct name=\"t" << t << "\" primarykey=\"id\" customattr2=\"TableType=GENERIC\""
          << " desc=\"" << desc << "\">\n    <entry name=\"id\" type=\"uint32\"/>\n";
      for (int e = 0; e < 8; ++e) {
        out << "    <entry name=\"f" << e << "\" type=\"string\" size=\"64\"/>\n";
      }
      out << "  </struct>\n";
    }
    out << "</metalib>\n";
  }
  const auto start = std::chrono::steady_clock::now();
  const CommandResult text = RunCheckTable({path});
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const CommandResult json = RunCheckTable({"-f", "json", "-t", "t4999", "-t", "t0", path});

  EXPECT_EQ(text.status, 0);
  const std::vector<std::string> lines = Lines(text.out);
  ASSERT_EQ(lines.size(), 5001u);
  EXPECT_EQ(lines[0], path + ":3: ok: t0 (generic)");
  EXPECT_EQ(lines[4999], path + ":" + std::to_string(3 + 4999 * 11) + ": ok: t4999 (generic)");
  EXPECT_EQ(lines[5000], "5000 tables checked, 0 failed");
  // Half a second in an optimised build; the bound leaves room for sanitizers and busy machines.
  EXPECT_LT(seconds, 60.0);
  EXPECT_EQ(json.status, 0);
  const Json report = ParseReport(json);
  ASSERT_EQ(report.at("tables").size(), 2u);
  EXPECT_EQ(report.at("tables")[0].at("line"), 3 + 4999 * 11);
  EXPECT_EQ(report.at("tables")[1].at("line"), 3);
}

TEST(CheckTableCommand, ReportsNoTablesForASchemaOfEntryTypesOnly) {
  const CommandResult text = RunCheckTable({Fixture("no_tables.xml")});
  EXPECT_EQ(text.status, 0);
  EXPECT_THAT(Lines(text.out), ElementsAre("0 tables checked, 0 failed"));
  const Json report = ParseReport(RunCheckTable({"-f", "json", Fixture("no_tables.xml")}));
  EXPECT_EQ(report.at("tables"), Json::array());
  EXPECT_EQ(report.at("summary"), Json({{"tables", 0}, {"failed", 0}}));
}

// ---- The text report -----------------------------------------------------------------------

TEST(CheckTableCommand, PrintsAFailingCheckWithItsErrorLines) {
  const std::string path = Fixture("failing.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
  // The wrapping line of the entry point is the headline, so it is not repeated below it.
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":3: ok: good (generic, old-style definition)",
                          path + ":7:25: error: badkey.primarykey: repeated field name in primary k"
                                 "ey, invalid! entry_name:'uid' table='badkey' [ERROR_REPEATED_FIELD_NAME]",
                          "    note: CheckPrimaryKey failed! table:'badkey',ret:-51",
                          "    help: primarykey names this field more than once: list each key fiel"
                          "d once.",
                          "2 tables checked, 1 failed"));
}

TEST(CheckTableCommand, PrintsOneLinePerTableWithEveryFailingCheckUnderIt) {
  // The attributes, the value fields and the arrays of bag are all wrong: the first failing check
  // makes the headline, each later one adds its message and code under it.
  const std::string path = Fixture("several_failures.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":3:39: error: bag.customattr2: table_type is generic,but customat"
                                 "tr has contain ListNum or SortFieldNum or SortRule,don't forget to check"
                                 " the entry's customattr2. [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
                          "    help: A generic table has no list size and no sort order: remove Lis"
                          "tNum, SortFieldNum and SortRule from customattr2, and the sort marks fro"
                          "m its fields.",
                          path + ":5:5: error: bag.nick: The entry type is not supported! entry_nam"
                                 "e:'nick' table='bag' [ERROR_FIELD_TYPE_ILLEGAL]",
                          "    note: CheckValueField failed! table:'bag',ret:-16",
                          "    help: The store cannot hold this field's type (wstring is the base t"
                          "ype it refuses): use string or another supported type.",
                          path + ":6:5: error: bag.slots: these entry have 'count' without 'refer' "
                                 ": slots [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each field listed has a count above 1 but no refer: add an ear"
                          "lier integer field (int8 to uint32, count 1) for the number in use and n"
                          "ame it in refer.",
                          "1 table checked, 1 failed"));
}

TEST(CheckTableCommand, AcceptsTextAsAnExplicitFormat) {
  const CommandResult plain = RunCheckTable({Fixture("failing.xml")});
  const CommandResult text = RunCheckTable({"--format", "text", Fixture("failing.xml")});
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.out, plain.out);
}

TEST(CheckTableCommand, PrintsTheListOfOffendingArraysOfTheReferCheck) {
  const std::string path = Fixture("old.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":6:5: error: bag.arr: these entry have 'count' without 'refer' : "
                                 "arr [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each field listed has a count above 1 but no refer: add an ear"
                          "lier integer field (int8 to uint32, count 1) for the number in use and n"
                          "ame it in refer.",
                          "1 table checked, 1 failed"));
}

// ---- The JSON report -----------------------------------------------------------------------

TEST(CheckTableCommand, KeepsTheJsonShapeKeyForKey) {
  const std::string path = Fixture("tables.xml");
  const CommandResult result = RunCheckTable({"-f", "json", "-t", "alpha", path});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const OrderedJson report = OrderedJson::parse(result.out);
  EXPECT_THAT(Keys(report), ElementsAre("format", "schema", "tables", "summary"));
  EXPECT_EQ(report.at("format"), 1);
  EXPECT_EQ(report.at("schema"), path);
  EXPECT_EQ(report.at("summary"), OrderedJson({{"tables", 1}, {"failed", 0}}));
  EXPECT_THAT(Keys(report.at("summary")), ElementsAre("tables", "failed"));
  ASSERT_EQ(report.at("tables").size(), 1u);

  const OrderedJson& table = report.at("tables")[0];
  EXPECT_THAT(Keys(table), ElementsAre("table", "line", "ok", "checks"));
  EXPECT_EQ(table.at("table"), "alpha");
  EXPECT_EQ(table.at("line"), 15);
  EXPECT_EQ(table.at("ok"), true);
  ASSERT_EQ(table.at("checks").size(), 3u);

  const OrderedJson& attrs = table.at("checks")[0];
  EXPECT_THAT(Keys(attrs),
              ElementsAre("check", "result", "code", "message", "table_type", "list_num",
                          "sort_field_num", "sort_rule", "data_protocol", "log", "findings"));
  EXPECT_EQ(attrs.at("check"), "CheckTableTypeByCustomAttr");
  EXPECT_EQ(attrs.at("result"), 0);
  EXPECT_EQ(attrs.at("code"), "CHECK_TABLE_SUCCESS");
  EXPECT_EQ(attrs.at("message"), "table:alpha table_type is generic.");
  EXPECT_EQ(attrs.at("table_type"), 0);
  EXPECT_EQ(attrs.at("list_num"), 0);
  EXPECT_EQ(attrs.at("sort_field_num"), 0);
  EXPECT_EQ(attrs.at("sort_rule"), 0);
  EXPECT_EQ(attrs.at("data_protocol"), "");
  ASSERT_FALSE(attrs.at("log").empty());
  for (const OrderedJson& line : attrs.at("log")) {
    EXPECT_THAT(Keys(line), ElementsAre("priority", "function", "file", "line", "text"));
    EXPECT_THAT(line.at("file").get<std::string>(), StartsWith("src/common/check_table"));
    EXPECT_GT(line.at("line").get<int>(), 0);
  }
  EXPECT_TRUE(HasLogLine(attrs, 600, "CheckTableTypeByCustomAttr",
                         "Start CheckTableTypeByCustomAttr alpha..."));
  EXPECT_TRUE(
      HasLogLine(attrs, 600, "CheckTableTypeByCustomAttr", "table:alpha table_type is generic."));

  const OrderedJson& entry = table.at("checks")[1];
  EXPECT_THAT(Keys(entry), ElementsAre("check", "kind", "result", "code", "message", "log", "findings"));
  EXPECT_EQ(entry.at("check"), "VelmoraCheckTable");
  EXPECT_EQ(entry.at("kind"), 0);
  EXPECT_EQ(entry.at("result"), 0);
  EXPECT_EQ(entry.at("code"), "CHECK_TABLE_SUCCESS");
  // A table without indexes passes, but the index check leaves its note in the buffer.
  EXPECT_EQ(entry.at("message"), "Table dose not have indexs, table:'alpha'");
  EXPECT_TRUE(HasLogLine(entry, 300, "CheckIndex", "Table dose not have indexs, table:'alpha'"));
  EXPECT_EQ(entry.at("log").back().at("text"), "CheckTable succees! table:'alpha'");
  EXPECT_EQ(entry.at("log").back().at("priority"), 600);
  EXPECT_EQ(entry.at("log").back().at("function"), "VelmoraCheckTable");

  const OrderedJson& refer = table.at("checks")[2];
  EXPECT_THAT(Keys(refer), ElementsAre("check", "result", "code", "message", "report", "log",
                                           "findings"));
  EXPECT_EQ(refer.at("check"), "CheckWhetherCountWithRefer");
  EXPECT_EQ(refer.at("result"), 0);
  EXPECT_EQ(refer.at("code"), "CHECK_TABLE_SUCCESS");
  EXPECT_EQ(refer.at("message"), "");
  EXPECT_EQ(refer.at("report"), "");
  EXPECT_EQ(refer.at("log"), OrderedJson::array());
}

TEST(CheckTableCommand, RecordsTheLogLinesOfAFailingCheckInJson) {
  const CommandResult result = RunCheckTable({"-f", "json", Fixture("failing.xml")});
  EXPECT_EQ(result.status, 1);
  const Json report = ParseReport(result);
  EXPECT_EQ(report.at("summary"), Json({{"tables", 2}, {"failed", 1}}));
  EXPECT_EQ(TableIn(report, "good").at("ok"), true);
  const Json table = TableIn(report, "badkey");
  EXPECT_EQ(table.at("line"), 7);
  EXPECT_EQ(table.at("ok"), false);
  const Json& attrs = table.at("checks")[0];
  EXPECT_EQ(attrs.at("result"), ERROR_OLD_TABLE_DEFINE);
  EXPECT_EQ(attrs.at("code"), "ERROR_OLD_TABLE_DEFINE");
  const Json& entry = table.at("checks")[1];
  EXPECT_EQ(entry.at("result"), ERROR_REPEATED_FIELD_NAME);
  EXPECT_EQ(entry.at("code"), "ERROR_REPEATED_FIELD_NAME");
  EXPECT_EQ(entry.at("message"), "CheckPrimaryKey failed! table:'badkey',ret:-51");
  EXPECT_TRUE(HasLogLine(entry, 300, "CheckPrimaryKey",
                         "repeated field name in primary key, invalid! entry_name:'uid' "
                         "table='badkey'"));
  EXPECT_TRUE(HasLogLine(entry, 300, "VelmoraCheckTable",
                         "CheckPrimaryKey failed! table:'badkey',ret:-51"));
  EXPECT_TRUE(HasLogLine(entry, 600, "CheckTableNameValidity",
                         "CheckTableNameValidity successed! table: 'badkey'"));
  EXPECT_EQ(table.at("checks")[2].at("result"), 0);
}

TEST(CheckTableCommand, WritesInvalidBytesAsReplacementCharacters) {
  // The list size message quotes the attribute string and is cut at 1023 bytes, inside a
  // three-byte character: its one remaining byte becomes U+FFFD.
  const std::string attr = [] {
    std::string text = "TableType=LIST;ListNum=0;Note=";
    for (int i = 0; i < 400; ++i) text += "\xE4\xB8\xAD";
    return text;
  }();
  const std::string full =
      "list_num must be [1,1023],but now list_num:0,list_num_str:0,custom_str:" + attr;
  const std::string expected = full.substr(0, 1022) + "\xEF\xBF\xBD";

  const CommandResult result = RunCheckTable({"-f", "json", Fixture("cut_message.xml")});
  EXPECT_EQ(result.status, 1);
  const Json report = ParseReport(result);
  const Json attrs = TableIn(report, "longattr").at("checks")[0];
  EXPECT_EQ(attrs.at("result"), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(attrs.at("message"), expected);
  EXPECT_TRUE(HasLogLine(attrs, 300, "CheckTableTypeByCustomAttr", expected));
}

TEST(CheckTableCommand, WritesAnInvalidTableNameAsValidJson) {
  const CommandResult result = RunCheckTable({"-f", "json", "-t", "t\xFF", Fixture("tables.xml")});
  EXPECT_EQ(result.status, 1);
  const Json report = ParseReport(result);
  ASSERT_EQ(report.at("tables").size(), 1u);
  const Json& table = report.at("tables")[0];
  EXPECT_EQ(table.at("table"), "t\xEF\xBF\xBD");
  EXPECT_EQ(table.at("checks")[0].at("result"), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(table.at("checks")[0].at("message"), "table name has illegal character.");
}

// ---- Table kind ----------------------------------------------------------------------------

TEST(CheckTableCommand, DerivesTheListKindFromTheAttributes) {
  // Four key fields are one too many for a list table behind a proxy older than 3.37.0.
  const std::string path = Fixture("list4.xml");
  const std::string message =
      "This table:list4 's key num:4 is more than 3,proxy version need >= 3.37.0,"
      "but now is :3.36.0";
  const CommandResult text = RunCheckTable({"--proxy-version", "3.36.0", path});
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(Lines(text.out), ElementsAre(path + ":3:3: error: list4: This table:list4 's key num:4 is more than 3,"
                                                  "proxy version need >= 3.37.0,but now is :3.36.0 [CHECK_TABLE_ERROR_SYSTE"
                                                  "M_ERROR]",
                                           "    help: Proxies before 3.37.0 serve at most 4 key fields of a generic "
                                           "table and 3 of a list table: use fewer key fields, or pass --proxy-versi"
                                           "on 3.37.0 or later if every proxy is that new.",
                                           "1 table checked, 1 failed"));

  const CommandResult json = RunCheckTable({"--proxy-version", "3.36.0", "-f", "json", path});
  const Json table = TableIn(ParseReport(json), "list4");
  const Json& attrs = table.at("checks")[0];
  EXPECT_EQ(attrs.at("result"), 0);
  EXPECT_EQ(attrs.at("table_type"), 1);
  EXPECT_EQ(attrs.at("list_num"), 10);
  const Json& entry = table.at("checks")[1];
  EXPECT_EQ(entry.at("kind"), 1);
  EXPECT_EQ(entry.at("result"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(entry.at("message"), message);
  EXPECT_TRUE(HasLogLine(entry, 300, "VelmoraCheckTable", message));
}

TEST(CheckTableCommand, UsesTheGivenKindInsteadOfTheAttributes) {
  const std::string path = Fixture("list4.xml");
  const CommandResult text =
      RunCheckTable({"--kind", "generic", "--proxy-version", "3.36.0", path});
  EXPECT_EQ(text.status, 0);
  EXPECT_THAT(Lines(text.out),
              ElementsAre(path + ":3: ok: list4 (list of 10)", "1 table checked, 0 failed"));
  const Json generic = TableIn(ParseReport(RunCheckTable({"-k", "generic", "--proxy-version",
                                                          "3.36.0", "-f", "json", path})),
                               "list4");
  EXPECT_EQ(generic.at("checks")[1].at("kind"), 0);

  const Json list = TableIn(
      ParseReport(RunCheckTable({"-k", "list", "--proxy-version", "3.36.0", "-f", "json", path})),
      "list4");
  EXPECT_EQ(list.at("checks")[1].at("kind"), 1);
  EXPECT_EQ(list.at("checks")[1].at("result"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
}

TEST(CheckTableCommand, PassesAnIntegerKindAsItIs) {
  const std::string path = Fixture("list4.xml");
  const std::string message =
      "Table_type is invaild type\xEF\xBC\x8Cplease check the table type!  table:'list4'";
  for (const std::string& kind : {std::string("2"), std::string("-1")}) {
    const CommandResult result = RunCheckTable({"--kind=" + kind, "-f", "json", path});
    EXPECT_EQ(result.status, 1);
    const Json entry = TableIn(ParseReport(result), "list4").at("checks")[1];
    EXPECT_EQ(entry.at("kind"), std::stoi(kind));
    EXPECT_EQ(entry.at("result"), CHECK_TABLE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(entry.at("code"), "CHECK_TABLE_ERROR_INVALID_PARAMETER");
    EXPECT_EQ(entry.at("message"), message);
  }
  const CommandResult one = RunCheckTable({"-k", "1", "-f", "json", path});
  EXPECT_EQ(TableIn(ParseReport(one), "list4").at("checks")[1].at("kind"), 1);
}

// ---- Versions and the data protocol --------------------------------------------------------

TEST(CheckTableCommand, PassesTheProxyVersions) {
  const std::string path = Fixture("list4.xml");
  EXPECT_EQ(RunCheckTable({"--proxy-version", "3.37.0", path}).status, 0);

  const CommandResult rest =
      RunCheckTable({"--proxy-version", "3.37.0", "--rest-proxy-version", "3.36.0", path});
  EXPECT_EQ(rest.status, 1);
  EXPECT_THAT(Lines(rest.out),
              ElementsAre(path + ":3:3: error: list4: This table:list4 's key num:4 is more than 3,"
                                 "rest proxy version need >= 3.37.0,but now is :3.36.0 [CHECK_TABLE_ERROR_"
                                 "SYSTEM_ERROR]",
                          "    help: REST proxies before 3.37.0 serve at most 4 key fields of a gen"
                          "eric table and 3 of a list table: use fewer, or pass --rest-proxy-versio"
                          "n 3.37.0 or later (or none).",
                          "1 table checked, 1 failed"));
  EXPECT_EQ(
      RunCheckTable({"--proxy-version", "3.37.0", "--rest-proxy-version", "none", path}).status, 0);
}

TEST(CheckTableCommand, PassesTheServerVersionToTheListSizeBound) {
  const std::string path = Fixture("versions.xml");
  const CommandResult old_server = RunCheckTable({"-t", "biglist", path});
  EXPECT_EQ(old_server.status, 1);
  EXPECT_THAT(Lines(old_server.out),
              ElementsAre(path + ":3:42: error: biglist.customattr2: list_num must be [1,1023],but "
                                 "now list_num:2000,list_num_str:2000,custom_str:TableType=LIST;ListNum=20"
                                 "00 [CHECK_TABLE_ERROR_INVALID_PARAMETER]",
                          "    help: ListNum must be from 1 to 1023, or up to 10000 when --server-v"
                          "ersion is 3.40.0.193000 or later.",
                          "1 table checked, 1 failed"));

  const CommandResult new_server =
      RunCheckTable({"-t", "biglist", "--server-version", "3.40.0.193000", path});
  EXPECT_EQ(new_server.status, 0);
  EXPECT_THAT(Lines(new_server.out),
              ElementsAre(path + ":3: ok: biglist (list of 2000)", "1 table checked, 0 failed"));
}

TEST(CheckTableCommand, PassesTheServerVersionToTheFieldSizeLimits) {
  const std::string path = Fixture("versions.xml");
  EXPECT_EQ(RunCheckTable({"-t", "bigfield", path}).status, 0);

  const CommandResult result =
      RunCheckTable({"-t", "bigfield", "--server-version", "3.28.0", path});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":9:5: error: bigfield.blob: entry blob length(200000) is greater "
                                 "than 128k [ERROR_ENTRY_LENGTH_NOT_LEGAL]",
                          "    note: ERR_ENTRY_LEN;blob|",
                          "    note: CheckFieldNameLength failed! table:'bigfield', svrMinVersion:3"
                          ".28.0",
                          "    help: Servers before 3.29.0 hold a value field of at most 131072 byt"
                          "es (unit size x count): make it smaller, or raise --server-version if ev"
                          "ery server is newer.",
                          "1 table checked, 1 failed"));
  EXPECT_EQ(RunCheckTable({"-t", "bigfield", "--server-version", "3.29.0", path}).status, 0);
}

TEST(CheckTableCommand, RequiresTheDataProtocolOnlyWhenAsked) {
  const std::string path = Fixture("protocol.xml");
  const CommandResult relaxed = RunCheckTable({"-f", "json", path});
  EXPECT_EQ(relaxed.status, 0);
  const Json report = ParseReport(relaxed);
  EXPECT_EQ(TableIn(report, "plain").at("checks")[0].at("data_protocol"), "");
  EXPECT_EQ(TableIn(report, "pb").at("checks")[0].at("data_protocol"), "PB");

  const CommandResult strict = RunCheckTable({"--require-data-protocol", path});
  EXPECT_EQ(strict.status, 1);
  EXPECT_THAT(Lines(strict.out),
              ElementsAre(path + ":3:40: error: plain.customattr2: DataProtocolType must be existed"
                                 ", please check it. [CHECK_TABLE_ERROR_SYSTEM_ERROR]",
                          "    help: With --require-data-protocol every table's customattr2 must na"
                          "me its protocol: add DataProtocolType=ZEM, PB or PLAIN.",
                          path + ":7: ok: pb (generic)",
                          "2 tables checked, 1 failed"));
}

// ---- The old schema ------------------------------------------------------------------------

TEST(CheckTableCommand, DoesNotJudgeArraysTheOldSchemaAlreadyHad) {
  const std::string path = Fixture("old.xml");
  const CommandResult result = RunCheckTable({"--old", Fixture("old.xml"), "-f", "json", path});
  EXPECT_EQ(result.status, 0) << result.out;
  const Json refer = TableIn(ParseReport(result), "bag").at("checks")[2];
  EXPECT_EQ(refer.at("check"), "CheckWhetherNewEntryCountWithRefer");
  EXPECT_EQ(refer.at("result"), 0);
  EXPECT_EQ(refer.at("report"), "");
}

TEST(CheckTableCommand, JudgesArraysAddedSinceTheOldSchema) {
  const std::string path = Fixture("new.xml");
  const CommandResult json = RunCheckTable({"--old", Fixture("old.xml"), "-f", "json", path});
  EXPECT_EQ(json.status, 1);
  const Json report = ParseReport(json);
  const Json bag = TableIn(report, "bag").at("checks")[2];
  EXPECT_EQ(bag.at("check"), "CheckWhetherNewEntryCountWithRefer");
  EXPECT_EQ(bag.at("result"), ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(bag.at("code"), "ERROR_COUNT_WITHNOT_REFER");
  EXPECT_EQ(bag.at("report"), "these new entry have 'count' without 'refer' : extra ");
  EXPECT_EQ(bag.at("message"), "");
  // A table the old schema did not have is judged whole.
  const Json wallet = TableIn(report, "wallet").at("checks")[2];
  EXPECT_EQ(wallet.at("check"), "CheckWhetherCountWithRefer");
  EXPECT_EQ(wallet.at("result"), ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(wallet.at("report"), "these entry have 'count' without 'refer' : coins ");

  const CommandResult text = RunCheckTable({"--old", Fixture("old.xml"), path});
  EXPECT_THAT(Lines(text.out),
              ElementsAre(path + ":7:5: error: bag.extra: these new entry have 'count' without 'ref"
                                 "er' : extra [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each array this change adds (count above 1) needs a refer nami"
                          "ng an earlier integer field (int8 to uint32, count 1) that holds the num"
                          "ber in use.",
                          path + ":11:5: error: wallet.coins: these entry have 'count' without 'ref"
                                 "er' : coins [ERROR_COUNT_WITHNOT_REFER]",
                          "    help: Each field listed has a count above 1 but no refer: add an ear"
                          "lier integer field (int8 to uint32, count 1) for the number in use and n"
                          "ame it in refer.",
                          "2 tables checked, 2 failed"));
}

// A field that was an int and becomes a struct is paired with the old table's last field, which
// has no struct to compare with: the line names the check the command called, at any depth.
TEST(CheckTableCommand, NamesTheChangeCheckWhenAChangedStructHasNoOldStruct) {
  const CommandResult result = RunCheckTable({"--old", Fixture("struct_change_old.xml"), "-f",
                                              "json", Fixture("struct_change_new.xml")});
  EXPECT_EQ(result.status, 0) << result.out;
  const Json report = ParseReport(result);
  for (const char* table : {"one", "two"}) {  // depth one, then depth two
    SCOPED_TRACE(table);
    const Json refer = TableIn(report, table).at("checks")[2];
    EXPECT_EQ(refer.at("check"), "CheckWhetherNewEntryCountWithRefer");
    EXPECT_EQ(refer.at("result"), 0);
    EXPECT_EQ(refer.at("report"), "");
    EXPECT_EQ(refer.at("message"), "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!");
    ASSERT_EQ(refer.at("log").size(), 1u);
    EXPECT_EQ(refer.at("log")[0].at("priority"), 300);
    EXPECT_EQ(refer.at("log")[0].at("function"), "CheckWhetherNewEntryCountWithRefer");
    EXPECT_EQ(refer.at("log")[0].at("text"),
              "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!");
    EXPECT_EQ(refer.at("log")[0].at("file"), "src/common/check_table_count_refer.cpp");
  }
}

TEST(CheckTableCommand, StopsWhenTheOldSchemaCannotBeLoaded) {
  const std::string old_path = Fixture("bad_xml.xml");
  const CommandResult text = RunCheckTable({"--old", old_path, Fixture("new.xml")});
  EXPECT_EQ(text.status, 2);
  EXPECT_EQ(text.out, "");
  EXPECT_THAT(text.err, StartsWith(old_path + ":5:"));

  const CommandResult json = RunCheckTable({"--old", old_path, "-f", "json", Fixture("new.xml")});
  EXPECT_EQ(json.status, 2);
  const Json report = ParseReport(json);
  EXPECT_EQ(report.at("schema"), old_path);
  EXPECT_EQ(report.at("error").at("line"), 5);
}

// ---- The examples --------------------------------------------------------------------------

TEST(CheckTableCommand, PassesEveryTableOfTheGameExample) {
  const std::string path = Example("game.xml");
  const CommandResult result = RunCheckTable({path});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":27: ok: player (generic)", path + ":43: ok: mail (list of 500)",
                          path + ":57: ok: score (sorted list of 100 by 2 fields, DESC)",
                          "3 tables checked, 0 failed"));
  EXPECT_EQ(RunCheckTable({"--server-version", "3.40.0.193000", "--proxy-version", "3.37.0",
                           "--rest-proxy-version", "3.37.0", "--require-data-protocol", path})
                .status,
            1);
  EXPECT_EQ(RunCheckTable({"--server-version", "3.40.0.193000", "--proxy-version", "3.37.0",
                           "--rest-proxy-version", "3.37.0", path})
                .status,
            0);
}

TEST(CheckTableCommand, FailsEachTableOfTheBrokenExampleOnOneCheck) {
  const CommandResult result = RunCheckTable({"-f", "json", Example("broken.xml")});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "");
  const Json report = ParseReport(result);
  EXPECT_EQ(report.at("summary"), Json({{"tables", 5}, {"failed", 5}}));
  for (const Json& table : report.at("tables")) {
    int failed_checks = 0;
    for (const Json& check : table.at("checks")) {
      const int code = check.at("result");
      if (code != 0 && code != -46) ++failed_checks;
    }
    EXPECT_EQ(failed_checks, 1) << table.at("table");
  }
}

// ---- The README ----------------------------------------------------------------------------

std::string Readme() { return ReadFile(std::string(VELMORA_EXAMPLES_DIR) + "/../README.md"); }

TEST(CheckTableCommand, ShowsInTheReadmeARealLineOfTheBrokenExample) {
  // The README's sample, with the path as a newcomer types it from the project root.
  const std::vector<std::string> readme = Lines(Readme());
  std::vector<std::string> sample;
  for (size_t i = 0; i < readme.size(); ++i) {
    if (readme[i].rfind("    examples/broken.xml:", 0) != 0) continue;
    sample.push_back(readme[i].substr(4));
    for (size_t j = i + 1; j < readme.size() && readme[j].rfind("        ", 0) == 0; ++j) {
      sample.push_back(readme[j].substr(4));
    }
    break;
  }
  ASSERT_FALSE(sample.empty()) << "no sample of examples/broken.xml in the README";

  const std::string path = Example("broken.xml");
  std::vector<std::string> report;
  for (const std::string& line : Lines(RunCheckTable({path}).out)) {
    report.push_back(line.rfind(path, 0) == 0 ? "examples/broken.xml" + line.substr(path.size())
                                              : line);
  }
  const auto found = std::search(report.begin(), report.end(), sample.begin(), sample.end());
  EXPECT_NE(found, report.end()) << "the README's sample is not what the command prints";
}

TEST(CheckTableCommand, ListsInTheReadmeTheOptionsOfTheHelp) {
  const std::vector<std::string> help = Lines(RunCheckTable({"--help"}).out);
  const std::vector<std::string> readme = Lines(Readme());
  const auto usage = std::find(readme.begin(), readme.end(),
                               "Usage: velmora-check-table [OPTIONS] SCHEMA...");
  ASSERT_NE(usage, readme.end()) << "no usage block in the README";
  const auto options = std::find(usage, readme.end(), "Options:");
  const auto end = std::find(usage, readme.end(), "```");
  ASSERT_LT(options, end);
  EXPECT_THAT(help, Contains(*usage));
  // The README shows the options block of the help, line for line.
  const auto help_options = std::find(help.begin(), help.end(), "Options:");
  ASSERT_NE(help_options, help.end());
  const auto help_end = std::find(help_options, help.end(), "");
  EXPECT_EQ(std::vector<std::string>(options, end),
            std::vector<std::string>(help_options, help_end));
}

}  // namespace
