// Tables checked on several workers are reported exactly as when they are checked one by one: in
// file order, byte for byte, in both formats, with and without the old schema.
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "../bench/schema_generator.h"
#include "cli_test_support.h"
#include "test_support.h"

namespace {

// Every schema file of the examples and the fixtures.
std::vector<std::string> BundledSchemas() {
  std::vector<std::string> schemas;
  for (const char* root : {VELMORA_EXAMPLES_DIR, VELMORA_FIXTURES_DIR}) {
    for (const auto& file : std::filesystem::recursive_directory_iterator(root)) {
      if (file.path().extension() == ".xml") schemas.push_back(file.path().string());
    }
  }
  return schemas;
}

void ExpectSameOnOneAndFourWorkers(const std::vector<std::string>& args) {
  std::vector<std::string> one = {"--jobs", "1"};
  std::vector<std::string> four = {"--jobs", "4"};
  one.insert(one.end(), args.begin(), args.end());
  four.insert(four.end(), args.begin(), args.end());
  const CommandResult serial = RunCheckTable(one);
  const CommandResult parallel = RunCheckTable(four);
  EXPECT_EQ(parallel.status, serial.status) << args.back();
  EXPECT_EQ(parallel.out, serial.out) << args.back();
  EXPECT_EQ(parallel.err, serial.err) << args.back();
}

TEST(CliJobs, BundledSchemasReportTheSameOnFourWorkers) {
  const std::vector<std::string> schemas = BundledSchemas();
  ASSERT_GT(schemas.size(), 20U);
  const std::string old_schema = std::string(VELMORA_EXAMPLES_DIR) + "/game.xml";
  for (const std::string& schema : schemas) {
    for (const char* format : {"text", "json"}) {
      ExpectSameOnOneAndFourWorkers({"-f", format, schema});
      ExpectSameOnOneAndFourWorkers({"-f", format, "--old", old_schema, schema});
    }
  }
}

TEST(CliJobs, GeneratedSchemaOfFiveHundredTablesReportsTheSameOnFourWorkers) {
  ScratchDir dir;
  const std::string schema = dir.File("generated.xml");
  {
    std::ofstream out(schema, std::ios::binary);
    velmora_bench::WriteGeneratedSchema(out, 500, 20);
  }
  for (const char* format : {"text", "json"}) {
    ExpectSameOnOneAndFourWorkers({"-f", format, schema});
  }
  // The report names the tables in file order.
  const CommandResult result = RunCheckTable({"--jobs", "4", schema});
  EXPECT_EQ(result.status, 0);
  const std::vector<std::string> lines = Lines(result.out);
  ASSERT_EQ(lines.size(), 501U);
  EXPECT_EQ(lines[0], schema + ":10: ok: table_0 (generic)");
  // Before table 499: 167 generic tables of 23 lines (with their index), 332 others of 22.
  EXPECT_EQ(lines[499], schema + ":" + std::to_string(10 + 167 * 23 + 332 * 22) +
                            ": ok: table_499 (list of 100)");
  EXPECT_EQ(lines[500], "500 tables checked, 0 failed");
}

TEST(CliJobs, RefusesAJobCountOutsideItsRange) {
  const std::string schema = std::string(VELMORA_EXAMPLES_DIR) + "/game.xml";
  for (const char* jobs : {"0", "1025", "-1", "two"}) {
    const CommandResult result = RunCheckTable({"--jobs", jobs, schema});
    EXPECT_EQ(result.status, 2) << jobs;
    EXPECT_TRUE(result.out.empty()) << jobs;
    EXPECT_NE(result.err.find("--jobs"), std::string::npos) << result.err;
  }
  EXPECT_EQ(RunCheckTable({"--jobs", "1024", schema}).status, 0);
}

}  // namespace
