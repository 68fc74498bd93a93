// What each check run keeps of its log: every line for the JSON report, only the error lines the
// text report can show for it.
#include <string>

#include "cli/options.h"
#include "cli/run_checks.h"
#include "test_support.h"

namespace {

using ::testing::ElementsAre;

SchemaRun RunExample(ReportFormat format) {
  CheckOptions options;
  options.schema_path = std::string(VELMORA_EXAMPLES_DIR) + "/game.xml";
  options.tables = {"player"};
  options.format = format;
  return RunChecks(options);
}

TEST(RunChecksLog, JsonRunKeepsEveryLine) {
  const SchemaRun run = RunExample(ReportFormat::kJson);
  ASSERT_TRUE(run.loaded);
  ASSERT_EQ(run.tables.size(), 1U);
  const CheckRun& table_check = run.tables[0].checks[1];
  ASSERT_EQ(table_check.check, CheckKind::kTable);
  ASSERT_FALSE(table_check.log.empty());
  EXPECT_EQ(table_check.log.back().text, "CheckTable succees! table:'player'");
  EXPECT_EQ(table_check.log.back().priority, WLOG_PRIORITY_INFO);
  EXPECT_STREQ(table_check.log.back().function, "VelmoraCheckTable");
  EXPECT_GT(table_check.log.back().line, 0);
  EXPECT_NE(std::string(table_check.log.back().file).find("check_table"), std::string::npos);
}

TEST(RunChecksLog, TextRunKeepsOnlyErrorLines) {
  const SchemaRun run = RunExample(ReportFormat::kText);
  ASSERT_TRUE(run.loaded);
  ASSERT_EQ(run.tables.size(), 1U);
  for (const CheckRun& check : run.tables[0].checks) {
    for (const CheckLogLine& line : check.log) {
      EXPECT_LE(line.priority, WLOG_PRIORITY_ERROR) << line.text;
    }
  }
  // A passing table with indexes logs no error line at all.
  EXPECT_TRUE(run.tables[0].checks[1].log.empty());
}

}  // namespace
