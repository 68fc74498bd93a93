// velmora-check-table end to end: the settings of .velmora-check.toml, found from the current
// folder upward within the repository or named by --config, and the command line winning over them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli_test_support.h"

namespace {

using ::testing::HasSubstr;

std::string Fixture(const std::string& name) {
  return std::string(VELMORA_FIXTURES_DIR) + "/cli/" + name;
}

void WriteText(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

// Runs the command in the folder dir.
CommandResult RunIn(const std::string& dir, const std::vector<std::string>& args) {
  return RunCheckTableAfter("cd " + ShellQuote(dir) + " &&", args);
}

const char kListFails[] =
    ":3:3: error: list4: This table:list4 's key num:4 is more than 3,proxy version need >= "
    "3.37.0,but now is : [CHECK_TABLE_ERROR_SYSTEM_ERROR]\n"
    "    help: Proxies before 3.37.0 serve at most 4 key fields of a generic table and 3 of a list "
    "table: use fewer key fields, or pass --proxy-version 3.37.0 or later if every proxy is that "
    "new.\n1 table checked, 1 failed\n";
const char kListPasses[] = ":3: ok: list4 (list of 10)\n1 table checked, 0 failed\n";

// A repository (a folder with .git) whose root holds a config file, and a folder two levels down.
class ConfigRepository : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_dir.ok());
    std::filesystem::create_directories(m_dir.File("repo/.git"));
    std::filesystem::create_directories(Deep());
  }
  std::string Root() const { return m_dir.File("repo"); }
  std::string Deep() const { return m_dir.File("repo/schemas/game"); }
  std::string RootConfig() const { return Root() + "/.velmora-check.toml"; }
  const ScratchDir& Dir() const { return m_dir; }

 private:
  ScratchDir m_dir;
};

TEST_F(ConfigRepository, FindsTheConfigFileInAFolderAbove) {
  const std::string schema = Fixture("list4.xml");
  EXPECT_EQ(RunIn(Deep(), {schema}).out, schema + kListFails);
  WriteText(RootConfig(), "# the deployment\nproxy-version = \"3.37.0\"\n");
  const CommandResult result = RunIn(Deep(), {schema});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, schema + kListPasses);
  EXPECT_EQ(result.err, "");
}

TEST_F(ConfigRepository, TheNearestConfigFileWins) {
  WriteText(RootConfig(), "proxy-version = \"3.37.0\"\n");
  WriteText(Deep() + "/.velmora-check.toml", "proxy-version = \"3.36.0\"\n");
  EXPECT_EQ(RunIn(Deep(), {Fixture("list4.xml")}).status, 1);
  EXPECT_EQ(RunIn(Root() + "/schemas", {Fixture("list4.xml")}).status, 0);
}

TEST_F(ConfigRepository, DoesNotSearchAboveTheRepositoryRoot) {
  WriteText(Dir().File(".velmora-check.toml"), "proxy-version = \"3.37.0\"\n");
  EXPECT_EQ(RunIn(Deep(), {Fixture("list4.xml")}).status, 1);
  // Without .git the search goes on upward and finds it.
  std::filesystem::remove_all(Root() + "/.git");
  EXPECT_EQ(RunIn(Deep(), {Fixture("list4.xml")}).status, 0);
}

TEST_F(ConfigRepository, SetsEveryKeyItKnows) {
  const std::string versions = Fixture("versions.xml");
  EXPECT_EQ(RunIn(Root(), {"-t", "biglist", versions}).status, 1);
  WriteText(RootConfig(), "server-version = \"3.40.0.193000\"\n");
  EXPECT_EQ(RunIn(Root(), {"-t", "biglist", versions}).status, 0);

  WriteText(RootConfig(), "proxy-version = \"3.37.0\"\nrest-proxy-version = \"3.36.0\"\n");
  const CommandResult rest = RunIn(Root(), {Fixture("list4.xml")});
  EXPECT_EQ(rest.status, 1);
  EXPECT_THAT(rest.out, HasSubstr("rest proxy version need >= 3.37.0,but now is :3.36.0"));

  const std::string protocol = Fixture("protocol.xml");
  EXPECT_EQ(RunIn(Root(), {protocol}).status, 0);
  WriteText(RootConfig(), "require-data-protocol = true\n");
  const CommandResult required = RunIn(Root(), {protocol});
  EXPECT_EQ(required.status, 1);
  EXPECT_THAT(required.out, HasSubstr("plain.customattr2: DataProtocolType must be existed, please check it."));
  WriteText(RootConfig(), "require-data-protocol = false\n");
  EXPECT_EQ(RunIn(Root(), {protocol}).status, 0);

  const std::string warned = Fixture("warnings.xml");
  EXPECT_EQ(RunIn(Root(), {warned}).status, 0);
  WriteText(RootConfig(), "strict = true\n");
  const CommandResult strict = RunIn(Root(), {warned});
  EXPECT_EQ(strict.status, 1);
  EXPECT_THAT(strict.out, HasSubstr("[strict]"));
  EXPECT_EQ(RunIn(Root(), {"--no-config", warned}).status, 0);

  WriteText(RootConfig(), "format = \"json\"\n");
  EXPECT_EQ(RunIn(Root(), {protocol}).out, RunCheckTable({"-f", "json", protocol}).out);
}

TEST_F(ConfigRepository, TheCommandLineWinsOverTheFile) {
  WriteText(RootConfig(), "proxy-version = \"3.36.0\"\nformat = \"json\"\n");
  const std::string schema = Fixture("list4.xml");
  const CommandResult result = RunIn(Root(), {"--proxy-version", "3.37.0", "-f", "text", schema});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, schema + kListPasses);
}

TEST_F(ConfigRepository, ChecksASettingTheCommandLineOverrides) {
  WriteText(RootConfig(), "proxy-version = \"latest\"\n");
  const CommandResult result = RunIn(Root(), {"--proxy-version", "3.37.0", Fixture("list4.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, HasSubstr(".velmora-check.toml:1:17: error: proxy-version: 'latest'"));
}

TEST_F(ConfigRepository, NoConfigIgnoresTheFile) {
  WriteText(RootConfig(), "proxy-version = \"3.37.0\"\n");
  EXPECT_EQ(RunIn(Root(), {"--no-config", Fixture("list4.xml")}).status, 1);
  WriteText(RootConfig(), "not toml at all\n");
  EXPECT_EQ(RunIn(Root(), {"--no-config", Fixture("list4.xml")}).status, 1);
  EXPECT_EQ(RunIn(Root(), {"--no-config", "--config", RootConfig(), Fixture("list4.xml")}).status,
            1);
}

TEST_F(ConfigRepository, ConfigNamesTheFileToRead) {
  const std::string other = Dir().File("elsewhere/ci.toml");
  WriteText(other, "proxy-version = \"3.37.0\"\n");
  WriteText(RootConfig(), "proxy-version = \"3.36.0\"\n");
  EXPECT_EQ(RunIn(Deep(), {"--config", other, Fixture("list4.xml")}).status, 0);
  EXPECT_EQ(RunIn(Deep(), {Fixture("list4.xml")}).status, 1);
}

TEST_F(ConfigRepository, RefusesAConfigFileThatCannotBeRead) {
  const std::string missing = Dir().File("missing.toml");
  const CommandResult result = RunIn(Root(), {"--config", missing, Fixture("list4.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, missing + ": error: cannot read the config file\n");
  EXPECT_EQ(RunIn(Root(), {"--config", Deep(), Fixture("list4.xml")}).err,
            Deep() + ": error: cannot read the config file\n");
}

struct BadConfig {
  const char* text;
  const char* error;  // after ".velmora-check.toml"
};

class RefusesABadConfigFile : public ConfigRepository,
                              public ::testing::WithParamInterface<BadConfig> {};

TEST_P(RefusesABadConfigFile, WithItsLineAndExitsTwo) {
  WriteText(RootConfig(), GetParam().text);
  const CommandResult result = RunIn(Deep(), {Fixture("list4.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, std::string("../../.velmora-check.toml") + GetParam().error + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    ConfigFile, RefusesABadConfigFile,
    ::testing::Values(
        BadConfig{"proxy-version = \"3.37.0\"\nfrmat = \"json\"\n",
                  ":2:1: error: unknown key 'frmat'; the keys are server-version, "
                  "proxy-version, rest-proxy-version, require-data-protocol, strict, format"},
        BadConfig{"[server]\nversion = \"3.40.0\"\n",
                  ":1:2: error: unknown key 'server'; "
                  "the keys are server-version, "
                  "proxy-version, rest-proxy-version, "
                  "require-data-protocol, strict, format"},
        BadConfig{"require-data-protocol = \"yes\"\n",
                  ":1:25: error: require-data-protocol must be true or false"},
        BadConfig{"strict = 1\n", ":1:10: error: strict must be true or false"},
        BadConfig{"\n\nserver-version = 3.40\n", ":3:18: error: server-version must be a string"},
        BadConfig{"format = \"xml\"\n", ":1:10: error: format: 'xml' is not a report format"},
        BadConfig{"rest-proxy-version = \"3.37\"\n",
                  ":1:22: error: rest-proxy-version: '3.37' is not a version: three or four "
                  "decimal numbers joined by dots, like 3.40.0 or 3.40.0.193000, or none"},
        BadConfig{"<config proxy=\"3.37.0\"/>\n",
                  ":1:1: error: Error while parsing root table: expected keys, tables, "
                  "whitespace or comments, saw '<'"},
        BadConfig{"proxy-version = \n",
                  ":1:17: error: Error while parsing key-value pair: "
                  "expected value, saw '\\n'"}));

}  // namespace
