// Findings of velmora-check-table: each failure at the line and column of the element at fault,
// every later step's findings in the same run, and the JSON of every check unchanged but for its
// findings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <fstream>
#include <string>
#include <vector>

#include "cli_test_support.h"

namespace {

using ::testing::ElementsAre;
using Json = nlohmann::json;

std::string Fixture(const std::string& name) {
  return std::string(VELMORA_FIXTURES_DIR) + "/cli/" + name;
}

// A finding as "LINE:COL ELEMENT NAME CODE", with " also" for a later step's.
std::string Summary(const Json& finding) {
  return std::to_string(finding.at("line").get<int>()) + ":" +
         std::to_string(finding.at("column").get<int>()) + " " +
         finding.at("element").get<std::string>() + " " + finding.at("name").get<std::string>() +
         " " + finding.at("code").get<std::string>() + (finding.contains("also") ? " also" : "");
}

std::vector<std::string> Summaries(const Json& check) {
  std::vector<std::string> summaries;
  for (const Json& finding : check.at("findings")) summaries.push_back(Summary(finding));
  return summaries;
}

TEST(CheckTableCommandFindings, ShowsThreeIndependentMistakesOfOneTableInOneRun) {
  const std::string path = Fixture("three_mistakes.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 1);
  const std::vector<std::string> lines = Lines(text.out);
  ASSERT_EQ(lines.size(), 14u);
  EXPECT_EQ(lines[0], path + ":5:5: error: hero.tags: these string entry should not have 'count' "
                             "attribute : tags [ERROR_FIELD_TYPE_ILLEGAL]");
  EXPECT_EQ(lines[2], "    note: CheckValueField failed! table:'hero',ret:-16");
  EXPECT_EQ(lines[4], path + ":8:5: also: hero.by_level: The index field should be primarykey "
                             "field! index:'level', table:'hero' [ERROR_INDEX_FIELD]");
  EXPECT_EQ(lines[8], path + ":7:5: also: hero.max-hp: field name[max-hp] has illegal character. "
                             "[ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR]");
  EXPECT_EQ(lines[13], "1 table checked, 1 failed");

  const Json report = Json::parse(RunCheckTable({"-f", "json", path}).out);
  const Json& checks = report.at("tables")[0].at("checks");
  // The entry point's own result, message and log stay those of its first failure.
  EXPECT_EQ(checks[1].at("result"), -16);
  EXPECT_EQ(checks[1].at("message"), "CheckValueField failed! table:'hero',ret:-16");
  EXPECT_THAT(Summaries(checks[1]),
              ElementsAre("5:5 entry tags ERROR_FIELD_TYPE_ILLEGAL",
                          "8:5 index by_level ERROR_INDEX_FIELD also",
                          "7:5 entry max-hp ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR also"));
  EXPECT_THAT(Summaries(checks[2]), ElementsAre("5:5 entry tags ERROR_COUNT_WITHNOT_REFER"));
  EXPECT_THAT(Summaries(checks[0]), ElementsAre());
}

TEST(CheckTableCommandFindings, PlacesKeyAttributesAndFieldsOfContainedStructs) {
  const std::string path = Fixture("checks/count_refer.xml");
  const Json report = Json::parse(RunCheckTable({"-f", "json", path}).out);
  EXPECT_THAT(Summaries(report.at("tables")[0].at("checks")[2]),
              ElementsAre("12:5 entry badges ERROR_COUNT_WITHNOT_REFER",
                          "5:5 entry slot.gems ERROR_COUNT_WITHNOT_REFER",
                          "14:5 entry medals ERROR_COUNT_WITHNOT_REFER"));
  const Json repeated = Json::parse(RunCheckTable({"-f", "json", Fixture("failing.xml")}).out);
  EXPECT_THAT(Summaries(repeated.at("tables")[1].at("checks")[1]),
              ElementsAre("7:25 attribute primarykey ERROR_REPEATED_FIELD_NAME"));
}

// The report's JSON with the findings taken out and log records' source lines masked: those
// follow the checker's source file, not the report.
Json WithoutFindings(Json report) {
  report.erase("schema");
  for (Json& table : report.at("tables")) {
    for (Json& check : table.at("checks")) {
      check.erase("findings");
      for (Json& line : check.at("log")) line["line"] = 0;
    }
  }
  return report;
}

TEST(CheckTableCommandFindings, KeepEveryOtherKeyAndValueOfTheJsonReport) {
  const std::string examples = std::string(VELMORA_EXAMPLES_DIR) + "/";
  const std::vector<std::vector<std::string>> runs = {
      {examples + "game.xml"},
      {examples + "broken.xml"},
      {"--server-version", "3.28.0", Fixture("several_failures.xml")}};
  const std::vector<std::string> before = {"game", "broken", "several_failures"};
  for (size_t i = 0; i < runs.size(); ++i) {
    std::vector<std::string> args = {"-f", "json"};
    args.insert(args.end(), runs[i].begin(), runs[i].end());
    const Json now = Json::parse(RunCheckTable(args).out);
    for (const Json& table : now.at("tables")) {
      for (const Json& check : table.at("checks")) {
        EXPECT_EQ(check.at("findings").empty(), check.at("result") == 0 ||
                                                    check.at("result") == -46);
      }
    }
    const Json then = Json::parse(
        ReadFile(Fixture("json_before_findings/" + before[i] + ".json")));
    EXPECT_EQ(WithoutFindings(now), WithoutFindings(then)) << before[i];
  }
}

}  // namespace

namespace {

TEST(CheckTableCommandFindings, ReportsEveryStructThatCannotBeBuiltWithItsPlace) {
  const std::string path = Fixture("three_broken.xml");
  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 2);
  EXPECT_EQ(text.out, "");
  EXPECT_THAT(
      Lines(text.err),
      ElementsAre(path + ":2:20: error: struct 'a': primarykey member 'nope' names no entry of "
                         "struct 'a'",
                  path + ":6:21: error: entry 'k': type 'nosuchtype' is neither a base type nor "
                         "a struct or union defined earlier",
                  path + ":13:21: error: entry 'n': type 'a' is a struct or union that could not "
                         "be built"));
  const CommandResult json = RunCheckTable({"-f", "json", path});
  EXPECT_EQ(json.status, 2);
  const Json report = Json::parse(json.out);
  EXPECT_EQ(report.at("error"), report.at("errors")[0]);
  ASSERT_EQ(report.at("errors").size(), 3u);
  EXPECT_EQ(report.at("errors")[2].at("line"), 13);
  EXPECT_EQ(report.at("errors")[2].at("column"), 21);
}

// A check that fails on every field of a big table gives one finding per field, each placed and
// written in time and memory in proportion to their number (each finding once, its notes gathered
// once): the command ends at once, as it does on a table that passes.
TEST(CheckTableCommandFindings, ListsAFindingForEachOfTwentyThousandFieldsOfOneCheck) {
  constexpr int kArrays = 20000;
  const ScratchDir dir;
  const std::string path = dir.File("arrays.xml");
  {
    std::ofstream schema(path);
    schema << "<metalib name=\"m\" version=\"1\">\n"
              "<struct name=\"t\" primarykey=\"k\" customattr2=\"TableType=LIST;ListNum=9\">\n"
              "<entry name=\"k\" type=\"uint32\"/>\n";
    for (int i = 0; i < kArrays; ++i) {
      schema << "<entry name=\"a" << i << "\" type=\"uint8\" count=\"2\"/>\n";
    }
    schema << "</struct>\n</metalib>\n";
  }
  const CommandResult json = RunCheckTable({"-f", "json", path});
  EXPECT_EQ(json.status, 1);
  const Json report = Json::parse(json.out);
  const Json& checks = report.at("tables").at(0).at("checks");
  const Json& refer = checks.at(2);
  ASSERT_EQ(refer.at("check"), "CheckWhetherCountWithRefer");
  ASSERT_EQ(refer.at("findings").size(), static_cast<size_t>(kArrays));
  EXPECT_EQ(Summary(refer.at("findings").at(0)), "4:1 entry a0 ERROR_COUNT_WITHNOT_REFER");
  EXPECT_EQ(Summary(refer.at("findings").at(kArrays - 1)),
            "20003:1 entry a19999 ERROR_COUNT_WITHNOT_REFER");

  const CommandResult text = RunCheckTable({path});
  EXPECT_EQ(text.status, 1);
  const std::vector<std::string> lines = Lines(text.out);
  // The value field limit of a list table (three lines), two lines a field, the summary.
  ASSERT_EQ(lines.size(), 3 + static_cast<size_t>(kArrays) * 2 + 1);
  EXPECT_EQ(lines.at(0), path + ":2:1: error: t: The number of value field can not more than 255! "
                                "list table: 't' [ERROR_VALUE_FIELD]");
  EXPECT_EQ(lines.at(3 + 2 * kArrays - 2),
            path + ":20003:1: error: t.a19999: these entry have 'count' without 'refer' : a19999 "
                   "[ERROR_COUNT_WITHNOT_REFER]");
}

}  // namespace
