// Every SARIF report the command writes on the examples and the end-to-end fixtures passes the
// SARIF validator (sarif-multitool validate, which scripts/install-deps.sh installs) without a
// single error or warning.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "cli_shell_support.h"
#include "cli_test_support.h"

namespace {

namespace fs = std::filesystem;

const std::string kValidator = VELMORA_SARIF_MULTITOOL;
const std::string kSourceRoot = fs::path(VELMORA_EXAMPLES_DIR).parent_path().string();

// Every schema file below examples/ and tests/fixtures/, relative to the source root, sorted.
std::vector<std::string> SchemaFiles() {
  std::vector<std::string> files;
  for (const char* top : {"examples", "tests/fixtures"}) {
    for (const auto& entry : fs::recursive_directory_iterator(kSourceRoot + "/" + top)) {
      if (entry.path().extension() == ".xml") {
        files.push_back(entry.path().lexically_relative(kSourceRoot).string());
      }
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

// Writes the SARIF report of the command, run in the source root with these arguments, to path.
void WriteSarif(const std::vector<std::string>& args, const std::string& path,
                const std::string& input = "/dev/null") {
  std::vector<std::string> all = {"--format", "sarif"};
  all.insert(all.end(), args.begin(), args.end());
  const CommandResult result =
      RunShell("cd " + ShellQuote(kSourceRoot) + " && " + CheckTableCommand(all) + " <" +
               ShellQuote(input) + " >" + ShellQuote(path));
  EXPECT_LE(result.status, 2) << path;
  EXPECT_GT(fs::file_size(path), 0u) << path;
}

// The validator's findings: lines such as "FILE(1,58): error SARIF1002: ..." or "SARIF.MULTITOOL :
// error ERR997.NoValidAnalysisTargets : ...". Its exit status stays 0 when it finds errors, so
// these lines are what tells whether a log passed.
std::vector<std::string> ErrorAndWarningLines(const std::string& output) {
  static const std::regex kFinding(R"(\b(error|warning) [A-Z]+[0-9]+)");
  std::vector<std::string> findings;
  for (const std::string& line : Lines(output)) {
    if (std::regex_search(line, kFinding)) findings.push_back(line);
  }
  return findings;
}

// Runs the validator in folder on these files, with the errors and warnings it reports (notes are
// suggestions, not faults, and are not asked for).
CommandResult Validate(const std::string& folder, const std::vector<std::string>& files) {
  std::string command = "cd " + ShellQuote(folder) +
                        " && DOTNET_SYSTEM_GLOBALIZATION_INVARIANT=1 " + ShellQuote(kValidator) +
                        " validate";
  for (const std::string& file : files) command += " " + ShellQuote(file);
  return RunShell(command + " </dev/null");
}

class SarifValidation : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(fs::exists(kValidator))
        << "the SARIF validator is not installed at " << kValidator
        << ": run scripts/install-deps.sh (it installs @microsoft/sarif-multitool with npm)";
  }
};

TEST_F(SarifValidation, FindsTheFaultsOfABrokenLog) {
  ScratchDir dir;
  WriteTextFile(dir.File("broken.sarif"),
                R"({"version":"2.1.0","runs":[{"tool":{"driver":{"name":"t"}},"results":[)"
                R"({"ruleId":"R1","message":{"text":"m"},"locations":[{"physicalLocation":)"
                R"({"artifactLocation":{"uri":"a b.xml"},"region":{"startLine":1}}}]}]}]})");
  const CommandResult result = Validate(dir.path(), {"broken.sarif"});
  const std::vector<std::string> findings = ErrorAndWarningLines(result.out + result.err);
  ASSERT_FALSE(findings.empty()) << result.out << result.err;
  EXPECT_NE(findings[0].find("error SARIF1002"), std::string::npos) << findings[0];
  EXPECT_NE(result.out.find("warning SARIF2005"), std::string::npos) << result.out;
}

TEST_F(SarifValidation, PassesTheReportsOfEveryExampleAndFixture) {
  ScratchDir dir;
  std::vector<std::string> logs;
  const std::vector<std::string> schemas = SchemaFiles();
  ASSERT_GT(schemas.size(), 30u);
  for (const std::string& schema : schemas) {
    std::string name = schema;
    std::replace(name.begin(), name.end(), '/', '_');
    logs.push_back(name + ".sarif");
    WriteSarif({schema}, dir.File(logs.back()));
  }
  // All of them in one run, with the size limits and the old schema's comparison on.
  logs.push_back("all.sarif");
  std::vector<std::string> all = {"--server-version", "3.40.0.193253", "--proxy-version",
                                  "3.30.0", "--rest-proxy-version", "3.0.0",
                                  "--require-data-protocol", "examples", "tests/fixtures"};
  WriteSarif(all, dir.File(logs.back()));
  logs.push_back("old.sarif");
  WriteSarif({"--old", "tests/fixtures/cli/struct_change_old.xml",
              "tests/fixtures/cli/struct_change_new.xml"},
             dir.File(logs.back()));
  logs.push_back("stdin.sarif");
  WriteSarif({"-"}, dir.File(logs.back()), kSourceRoot + "/examples/broken.xml");

  const CommandResult result = Validate(dir.path(), logs);
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_EQ(ErrorAndWarningLines(result.out + result.err), std::vector<std::string>());
  EXPECT_NE(result.out.find("Done. " + std::to_string(logs.size()) + " files scanned."),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("Analysis completed successfully."), std::string::npos) << result.out;
}

}  // namespace
