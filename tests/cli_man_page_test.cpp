// The command's manual page and pre-commit hook stay in step with the command itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "cli_test_support.h"

namespace {

using ::testing::Contains;

std::string ProjectFile(const std::string& name) {
  return ReadFile(std::string(VELMORA_EXAMPLES_DIR) + "/../" + name);
}

// The options the --help lists under "Options:", short and long names alike: the first word of
// each entry, "-t,--table" or "--version".
std::set<std::string> HelpOptions() {
  const std::vector<std::string> help = Lines(RunCheckTable({"--help"}).out);
  std::set<std::string> options;
  bool in_options = false;
  for (const std::string& line : help) {
    if (line == "Options:") in_options = true;
    if (!in_options || line.rfind("  -", 0) != 0) {
      if (in_options && line.empty()) break;
      continue;
    }
    const std::string names = line.substr(2, line.find(' ', 2) - 2);
    for (size_t from = 0; from < names.size();) {
      const size_t comma = std::min(names.find(',', from), names.size());
      options.insert(names.substr(from, comma - from));
      from = comma + 1;
    }
  }
  return options;
}

// The option names a manual page gives each entry of its OPTIONS section (the line after .TP),
// with roff's \- read as a hyphen and font changes removed.
std::set<std::string> ManPageOptions(const std::string& page) {
  const std::vector<std::string> lines = Lines(page);
  std::set<std::string> options;
  bool in_options = false;
  const std::regex name("(^|[ ,])(--?[A-Za-z][a-z-]*)");
  for (size_t i = 0; i + 1 < lines.size(); ++i) {
    if (lines[i].rfind(".SH", 0) == 0) in_options = lines[i] == ".SH OPTIONS";
    if (!in_options || lines[i] != ".TP") continue;
    const std::string entry = std::regex_replace(
        std::regex_replace(lines[i + 1], std::regex(R"(\\f[BIR])"), ""), std::regex(R"(\\-)"),
        "-");
    for (std::sregex_iterator it(entry.begin(), entry.end(), name), end; it != end; ++it) {
      options.insert((*it)[2].str());
    }
  }
  return options;
}

TEST(ManPage, DescribesEveryOptionTheHelpListsAndNoOther) {
  const std::set<std::string> help = HelpOptions();
  // A few the help must list, so that an empty reading cannot pass.
  for (const char* option : {"-h", "--help", "--version", "-t", "--table", "--quiet", "--color",
                             "--config", "--no-config", "--explain"}) {
    EXPECT_THAT(help, Contains(option));
  }
  EXPECT_EQ(ManPageOptions(ProjectFile("docs/velmora-check-table.1")), help);
}

TEST(ManPage, ReadsAnOptionsSectionAsItsEntriesName) {
  const std::string page =
      ".SH OPTIONS\n.TP\n\\fB\\-q\\fR, \\fB\\-\\-quiet\\fR\nQuiet.\n.TP\n\\fB\\-\\-color\\fR "
      "\\fIWHEN\\fR\nColour, as in \\-\\-never.\n.SH EXIT STATUS\n.TP\n.B \\-\\-not\\-an\\-option\n";
  EXPECT_EQ(ManPageOptions(page), (std::set<std::string>{"-q", "--quiet", "--color"}));
}

TEST(PreCommitHook, RunsTheCommandOnXmlFiles) {
  const std::vector<std::string> hook = Lines(ProjectFile(".pre-commit-hooks.yaml"));
  EXPECT_THAT(hook, Contains("- id: velmora-check-table"));
  EXPECT_THAT(hook, Contains("  entry: velmora-check-table"));
  EXPECT_THAT(hook, Contains("  language: system"));
  EXPECT_THAT(hook, Contains("  files: '\\.xml$'"));
}

}  // namespace
