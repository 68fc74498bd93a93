// What the SARIF and GitHub reports point at: each finding of a check at its element, with the
// lines around it and its hint; a failing check without findings at its table's struct; the
// loader's warnings and errors at their places.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>

#include "cli/annotations.h"
#include "cli/github_report.h"
#include "cli/sarif_report.h"

namespace {

Finding PrimaryKeyFinding() {
  Finding finding;
  finding.line = 12;
  finding.column = 5;
  finding.element = FindingElement::kEntry;
  finding.name = "k";
  finding.message = "The entry type is not supported! entry_name:'k' table='player'";
  finding.result = -16;
  finding.code = "ERROR_FIELD_TYPE_ILLEGAL";
  finding.notes = {"CheckPrimaryKey failed! table:'player',ret:-16"};
  finding.help = "A key field must be a number or a string.";
  return finding;
}

TableRun PlayerWithFindings() {
  TableRun table;
  table.table = "player";
  table.line = 10;
  CheckRun check;
  check.check = CheckKind::kTable;
  check.result = -16;
  check.message = "CheckPrimaryKey failed! table:'player',ret:-16";
  check.findings.push_back(PrimaryKeyFinding());
  Finding also;
  also.line = 14;
  also.column = 3;
  also.element = FindingElement::kIndex;
  also.message = "index field is not a key field, 100% sure";
  also.result = -6;
  also.code = "ERROR_INDEX_FIELD";
  also.also = true;
  check.findings.push_back(also);
  table.checks.push_back(check);
  return table;
}

TEST(Annotations, GiveEachFindingItsPlaceNotesAndHint) {
  const std::vector<Annotation> annotations = AnnotationsOf("game.xml", PlayerWithFindings());
  ASSERT_EQ(annotations.size(), 2u);
  EXPECT_EQ(annotations[0].file, "game.xml");
  EXPECT_EQ(annotations[0].line, 12);
  EXPECT_EQ(annotations[0].column, 5);
  EXPECT_EQ(annotations[0].rule, "ERROR_FIELD_TYPE_ILLEGAL");
  EXPECT_EQ(annotations[0].result, -16);
  EXPECT_EQ(annotations[0].level, AnnotationLevel::kError);
  EXPECT_EQ(annotations[0].message,
            "The entry type is not supported! entry_name:'k' table='player'\n"
            "CheckPrimaryKey failed! table:'player',ret:-16\n"
            "help: A key field must be a number or a string.");
  EXPECT_EQ(annotations[1].line, 14);
  EXPECT_EQ(annotations[1].column, 3);
  EXPECT_EQ(annotations[1].rule, "ERROR_INDEX_FIELD");
  EXPECT_EQ(annotations[1].message, "index field is not a key field, 100% sure");
}

TEST(Annotations, PlaceAFindingWithoutPositionOnTheFile) {
  TableRun table = PlayerWithFindings();
  table.checks[0].findings.resize(1);
  table.checks[0].findings[0].line = 0;
  table.checks[0].findings[0].column = 0;
  const std::vector<Annotation> annotations = AnnotationsOf("game.xml", table);
  ASSERT_EQ(annotations.size(), 1u);
  EXPECT_EQ(annotations[0].line, std::nullopt);
  EXPECT_EQ(annotations[0].column, std::nullopt);
}

TEST(Annotations, GiveAFailingCheckWithoutFindingsItsTablesStructOnce) {
  TableRun table;
  table.table = "t";
  table.line = 3;
  CheckRun first;
  first.check = CheckKind::kTableType;
  first.result = -12;
  first.message = "table name has illegal character.";
  first.log.push_back({WLOG_PRIORITY_ERROR, "x.cpp", 1, "f", "table name has illegal character."});
  CheckRun second = first;
  second.check = CheckKind::kTable;
  second.log.push_back({WLOG_PRIORITY_ERROR, "x.cpp", 2, "g", "reason below the wrapper"});
  second.log.push_back({WLOG_PRIORITY_DEBUG, "x.cpp", 3, "g", "a trace line"});
  table.checks = {first, first, second};
  const std::vector<Annotation> annotations = AnnotationsOf("s.xml", table);
  ASSERT_EQ(annotations.size(), 2u);
  EXPECT_EQ(annotations[0].line, 3);
  EXPECT_EQ(annotations[0].column, 1);
  EXPECT_EQ(annotations[0].message, "table name has illegal character.");
  EXPECT_EQ(annotations[1].message, "table name has illegal character.\nreason below the wrapper");
}

TEST(Annotations, ListEveryLoadErrorAfterTheWarnings) {
  SchemaRun run;
  run.warnings.push_back({"s.xml", 2, 7, "unknown element <x> in <metalib> is ignored"});
  run.error = {"s.xml", 4, 1, "first"};
  run.errors = {run.error, {"s.xml", 9, 2, "second"}};
  const std::vector<Annotation> annotations = LoadAnnotationsOf(run);
  ASSERT_EQ(annotations.size(), 3u);
  EXPECT_EQ(annotations[0].level, AnnotationLevel::kWarning);
  EXPECT_EQ(annotations[0].rule, kLoadWarningRule);
  EXPECT_EQ(annotations[1].rule, kLoadErrorRule);
  EXPECT_EQ(annotations[1].line, 4);
  EXPECT_EQ(annotations[2].message, "second");
  EXPECT_EQ(annotations[2].line, 9);
  EXPECT_EQ(annotations[2].column, 2);
}

TEST(Annotations, ReachTheGithubReportWithTheirPlaces) {
  SchemaRun run;
  run.loaded = true;
  run.tables.push_back(PlayerWithFindings());
  std::ostringstream out;
  WriteGithubAnnotations("dir/game.xml", run, out);
  EXPECT_EQ(out.str(),
            "::error file=dir/game.xml,line=12,col=5,title=ERROR_FIELD_TYPE_ILLEGAL::The entry "
            "type is not supported! entry_name:'k' table='player'%0ACheckPrimaryKey failed! "
            "table:'player',ret:-16%0Ahelp: A key field must be a number or a string.\n"
            "::error file=dir/game.xml,line=14,col=3,title=ERROR_INDEX_FIELD::index field is not "
            "a key field, 100%25 sure\n");
}

TEST(Annotations, ReachTheSarifReportWithTheirPlaces) {
  SchemaRun run;
  run.loaded = true;
  run.tables.push_back(PlayerWithFindings());
  std::ostringstream out;
  SarifReport report(out);
  report.AddSchema("dir/game.xml", run);
  report.Finish();
  const nlohmann::json log = nlohmann::json::parse(out.str());
  const nlohmann::json& results = log["runs"][0]["results"];
  ASSERT_EQ(results.size(), 2u);
  EXPECT_EQ(results[1]["ruleId"], "ERROR_INDEX_FIELD");
  EXPECT_EQ(results[1]["message"]["text"], "index field is not a key field, 100% sure");
  EXPECT_EQ(results[1]["locations"][0]["physicalLocation"],
            nlohmann::json::parse(R"({"artifactLocation":{"uri":"dir/game.xml","index":0},)"
                                  R"("region":{"startLine":14,"startColumn":3}})"));
}

}  // namespace
