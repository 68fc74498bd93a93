// velmora-check-table on misspelt schemas: each typo is a warning that names the close known
// name, and --strict turns every warning into an error line at its place and exit status 1.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli_test_support.h"

namespace {

using ::testing::ElementsAre;
using OrderedJson = nlohmann::ordered_json;

// Writes text as a schema file of the test's scratch folder and returns its path.
std::string WriteSchema(const ScratchDir& dir, const std::string& text) {
  const std::string path = dir.File("schema.xml");
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

// A schema with one list table "t" whose struct line carries extra, and a field line.
std::string TableSchema(const std::string& struct_attributes, const std::string& field = "") {
  return "<metalib name=\"g\">\n"
         "  <struct name=\"t\" " + struct_attributes + ">\n"
         "    <entry name=\"k\" type=\"int32\"/>\n"
         "    <entry name=\"v\" type=\"int32\"" + field + "/>\n"
         "  </struct>\n"
         "</metalib>\n";
}

struct TypoCase {
  const char* name;
  std::string schema;
  int line;
  int column;
  const char* warning;
  int plain_status;  // without --strict
  const char* element;  // what the warning is about, as the JSON error names it
  const char* about;
};

// The typos that used to pass in silence, each with what it costs without --strict.
std::vector<TypoCase> TypoCases() {
  return {
      // No primary key: no table is checked at all.
      {"primaryKey", TableSchema("primaryKey=\"k\""), 2, 20,
       "unknown attribute 'primaryKey' of <struct> is ignored; did you mean 'primarykey'?", 0,
       "attribute", "primaryKey"},
      // No table attributes: an old-style generic table instead of a list.
      {"customattr", TableSchema("primarykey=\"k\" customattr=\"TableType=LIST;ListNum=5\""), 2,
       35, "unknown attribute 'customattr' of <struct> is ignored; did you mean 'customattr2'?",
       0, "attribute", "customattr"},
      // The index is left without columns, which the index check refuses.
      {"colum",
       "<metalib name=\"g\">\n  <struct name=\"t\" primarykey=\"k\">\n"
       "    <entry name=\"k\" type=\"int32\"/>\n    <entry name=\"v\" type=\"int32\"/>\n"
       "    <index name=\"i\" colum=\"k\"/>\n  </struct>\n</metalib>\n",
       5, 21, "unknown attribute 'colum' of <index> is ignored; did you mean 'column'?", 1,
       "attribute", "colum"},
      // The value field is lost, and the table with it.
      {"entyr",
       "<metalib name=\"g\">\n  <struct name=\"t\" primarykey=\"k\">\n"
       "    <entry name=\"k\" type=\"int32\"/>\n    <entyr name=\"v\" type=\"int32\"/>\n"
       "  </struct>\n</metalib>\n",
       4, 5, "unknown element <entyr> in <struct> is ignored; did you mean 'entry'?", 1, "element",
       "entyr"},
      {"customattr2 key",
       TableSchema("primarykey=\"k\" customattr2=\"TableType=GENERIC;Foo=1\""), 2, 35,
       "struct 't': unknown key 'Foo' in customattr2; the keys the table checks read are "
       "DataProtocolType, TableType, ListNum, SortFieldNum, SortRule and stringdisplaycharset",
       0, "attribute", "customattr2"},
      {"customattr2 key case",
       TableSchema("primarykey=\"k\" customattr2=\"TableType=LIST;listnum=5\""), 2, 35,
       "struct 't': unknown key 'listnum' in customattr2; did you mean 'ListNum'?", 1,
       "attribute", "customattr2"},
  };
}

std::string Place(const std::string& path, const TypoCase& typo) {
  return path + ":" + std::to_string(typo.line) + ":" + std::to_string(typo.column);
}

TEST(CheckTableStrict, EachTypoWarnsWithItsSuggestionAndKeepsItsVerdict) {
  for (const TypoCase& typo : TypoCases()) {
    SCOPED_TRACE(typo.name);
    const ScratchDir dir;
    const std::string path = WriteSchema(dir, typo.schema);
    const CommandResult result = RunCheckTable({path});
    EXPECT_EQ(result.status, typo.plain_status) << result.out;
    EXPECT_EQ(result.err, Place(path, typo) + ": warning: " + typo.warning + "\n");
  }
}

TEST(CheckTableStrict, EachTypoFailsUnderStrictAsAnErrorAtItsPlace) {
  for (const TypoCase& typo : TypoCases()) {
    SCOPED_TRACE(typo.name);
    const ScratchDir dir;
    const std::string path = WriteSchema(dir, typo.schema);
    const CommandResult result = RunCheckTable({"--strict", path});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    const std::vector<std::string> lines = Lines(result.out);
    ASSERT_GE(lines.size(), 2u) << result.out;
    EXPECT_EQ(lines.front(), Place(path, typo) + ": error: " + typo.warning + " [strict]");
    EXPECT_EQ(lines.back().substr(lines.back().find(" failed")),
              " failed, 1 warning is an error under --strict");
  }
}

TEST(CheckTableStrict, JsonMarksTheRunAndListsEachWarningAsAnError) {
  for (const TypoCase& typo : TypoCases()) {
    SCOPED_TRACE(typo.name);
    const ScratchDir dir;
    const std::string path = WriteSchema(dir, typo.schema);
    const OrderedJson plain = OrderedJson::parse(RunCheckTable({"-f", "json", path}).out);
    const CommandResult result = RunCheckTable({"--strict", "-f", "json", path});
    EXPECT_EQ(result.status, 1);
    const OrderedJson report = OrderedJson::parse(result.out);
    const OrderedJson warning = {{"file", path},
                                 {"line", typo.line},
                                 {"column", typo.column},
                                 {"message", typo.warning}};
    EXPECT_EQ(report.at("warnings"), OrderedJson::array({warning}));
    const OrderedJson error = {{"file", path},
                               {"line", typo.line},
                               {"column", typo.column},
                               {"element", typo.element},
                               {"name", typo.about},
                               {"message", typo.warning},
                               {"code", "strict"}};
    EXPECT_EQ(report.at("errors"), OrderedJson::array({error}));
    EXPECT_EQ(report.at("strict"), true);
    // Everything else is what a run without --strict reports.
    OrderedJson rest = report;
    rest.erase("strict");
    rest.erase("errors");
    EXPECT_EQ(rest, plain);
  }
}

TEST(CheckTableStrict, SchemaWithoutWarningsPassesUnderStrictAsBefore) {
  const std::string path = std::string(VELMORA_EXAMPLES_DIR) + "/game.xml";
  const CommandResult plain = RunCheckTable({path});
  const CommandResult strict = RunCheckTable({"--strict", path});
  EXPECT_EQ(strict.status, 0);
  EXPECT_EQ(strict.out, plain.out);
  EXPECT_EQ(strict.err, "");
  const OrderedJson report =
      OrderedJson::parse(RunCheckTable({"--strict", "-f", "json", path}).out);
  EXPECT_EQ(report.at("strict"), true);
  EXPECT_FALSE(report.contains("errors"));
}

TEST(CheckTableStrict, LoadErrorStillExitsTwoWithTheWarningsAsErrors) {
  const ScratchDir dir;
  const std::string path = WriteSchema(
      dir, "<metalib name=\"g\">\n  <struct name=\"t\" primaryKey=\"k\">\n"
           "    <entry name=\"k\" type=\"nope\"/>\n  </struct>\n</metalib>\n");
  const CommandResult result = RunCheckTable({"--strict", path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(Lines(result.err),
              ElementsAre(path + ":2:20: error: unknown attribute 'primaryKey' of <struct> is "
                                 "ignored; did you mean 'primarykey'? [strict]",
                          path + ":3:21: error: entry 'k': type 'nope' is neither a base type nor "
                                 "a struct or union defined earlier"));
  const CommandResult json = RunCheckTable({"--strict", "-f", "json", path});
  EXPECT_EQ(json.status, 2);
  const OrderedJson report = OrderedJson::parse(json.out);
  EXPECT_EQ(report.at("strict"), true);
  // The load error first, as in "error", then the warning as a strict finding.
  ASSERT_EQ(report.at("errors").size(), 2u);
  EXPECT_EQ(report.at("errors")[0], report.at("error"));
  EXPECT_EQ(report.at("errors")[1].at("code"), "strict");
  EXPECT_EQ(report.at("errors")[1].at("name"), "primaryKey");
}

TEST(CheckTableStrict, SeveralWarningsAreCountedInTheSummary) {
  const ScratchDir dir;
  const std::string path =
      WriteSchema(dir, TableSchema("primarykey=\"k\" customattr2=\"TableType=GENERIC;A=1;B=2\""));
  const CommandResult result = RunCheckTable({"--strict", path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(Lines(result.out).back(),
            "1 table checked, 0 failed, 2 warnings are errors under --strict");
}

}  // namespace
