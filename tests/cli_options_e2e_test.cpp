// velmora-check-table end to end: the options a user expects of a command line tool — the version,
// a quiet report, colour, versions that must look like versions, and a mistyped option named alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "cli_test_support.h"
#include <velmora/version.h>

namespace {

using ::testing::HasSubstr;

const char kRed[] = "\033[1;31m";
const char kGreen[] = "\033[1;32m";
const char kMagenta[] = "\033[1;35m";
const char kReset[] = "\033[0m";

std::string Fixture(const std::string& name) {
  return std::string(VELMORA_FIXTURES_DIR) + "/cli/" + name;
}

// A schema with one passing table, one failing table and one loader warning.
const char kMixedSchema[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<metalib name=\"mixed\" version=\"1\">\n"
    "  <struct name=\"good\" primarykey=\"id\" colour=\"red\">\n"
    "    <entry name=\"id\" type=\"uint32\"/>\n"
    "    <entry name=\"v\" type=\"int32\"/>\n"
    "  </struct>\n"
    "  <struct name=\"bad\" primarykey=\"id\" customattr2=\"TableType=LIST;ListNum=2000\">\n"
    "    <entry name=\"id\" type=\"uint32\"/>\n"
    "    <entry name=\"v\" type=\"int32\"/>\n"
    "  </struct>\n"
    "</metalib>\n";

// The finding of the bad table, at its customattr2, after "FILE:7:38: error: ".
const char kBadLine[] =
    "bad.customattr2: list_num must be [1,1023],but now list_num:2000,list_num_str:2000,"
    "custom_str:TableType=LIST;ListNum=2000 [CHECK_TABLE_ERROR_INVALID_PARAMETER]\n"
    "    help: ListNum must be from 1 to 1023, or up to 10000 when --server-version is "
    "3.40.0.193000 or later.\n";

std::string WriteMixedSchema(const ScratchDir& dir) {
  const std::string path = dir.File("mixed.xml");
  std::ofstream(path) << kMixedSchema;
  return path;
}

TEST(CheckTableOptions, PrintsTheVersionAndExitsZero) {
  const CommandResult result = RunCheckTable({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, std::string("velmora-check-table ") + VELMORA_VERSION_STRING + "\n");
  EXPECT_EQ(result.err, "");
}

TEST(CheckTableOptions, QuietShowsOnlyTheFailingTables) {
  const ScratchDir dir;
  const std::string path = WriteMixedSchema(dir);
  const CommandResult loud = RunCheckTable({path});
  EXPECT_EQ(loud.status, 1);
  EXPECT_EQ(loud.out, path + ":3: ok: good (generic, old-style definition)\n" + path +
                          ":7:38: error: " + kBadLine + "2 tables checked, 1 failed\n");
  EXPECT_EQ(loud.err, path + ":3:39: warning: unknown attribute 'colour' of <struct> is ignored\n");

  for (const char* quiet : {"-q", "--quiet"}) {
    const CommandResult result = RunCheckTable({quiet, path});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, path + ":7:38: error: " + kBadLine);
    EXPECT_EQ(result.err, "");
  }
}

TEST(CheckTableOptions, QuietPrintsNothingWhenEveryTablePasses) {
  const CommandResult result = RunCheckTable({"--quiet", Fixture("tables.xml")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

TEST(CheckTableOptions, QuietStillSaysWhyASchemaCannotBeUsed) {
  const std::string path = Fixture("warning_then_error.xml");
  const CommandResult result = RunCheckTable({"-q", path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, path + ":5:21: error: entry 'v': type 'nosuchtype' is neither a base " +
                            "type nor a struct or union defined earlier\n");
}

TEST(CheckTableOptions, QuietOnSeveralFilesLeavesOutTheLineForThemAll) {
  const ScratchDir dir;
  const std::string path = WriteMixedSchema(dir);
  const CommandResult result = RunCheckTable({"-q", Fixture("tables.xml"), path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, path + ":7:38: error: " + kBadLine);
  EXPECT_EQ(result.err, "");
}

// Under --strict a warning is a failure, so --quiet still shows it.
TEST(CheckTableOptions, QuietStillShowsWarningsThatStrictMadeErrors) {
  const ScratchDir dir;
  const std::string path = WriteMixedSchema(dir);
  const CommandResult result = RunCheckTable({"-q", "--strict", path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, path + ":3:39: error: unknown attribute 'colour' of <struct> is ignored "
                               "[strict]\n" +
                            path + ":7:38: error: " + kBadLine);
  EXPECT_EQ(result.err, "");
}

TEST(CheckTableOptions, StrictCountsTheWarningsOfSeveralFilesInTheLineForThemAll) {
  const ScratchDir dir;
  const std::string path = WriteMixedSchema(dir);
  const CommandResult result = RunCheckTable({"--strict", Fixture("tables.xml"), path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(Lines(result.out).back(),
            "2 files, 7 tables checked, 1 failed, 1 warning is an error under --strict");
}

TEST(CheckTableOptions, QuietLeavesTheJsonReportWhole) {
  const std::string path = Fixture("tables.xml");
  EXPECT_EQ(RunCheckTable({"-q", "-f", "json", path}).out, RunCheckTable({"-f", "json", path}).out);
}

TEST(CheckTableOptions, ColourAlwaysMarksTheLabelsAndTheSummary) {
  const ScratchDir dir;
  const std::string path = WriteMixedSchema(dir);
  const CommandResult result = RunCheckTable({"--color", "always", path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, path + ":3: " + kGreen + "ok:" + kReset +
                            " good (generic, old-style definition)\n" + path + ":7:38: " + kRed +
                            "error:" + kReset + " " + kBadLine + kRed +
                            "2 tables checked, 1 failed" + kReset + "\n");
  EXPECT_EQ(result.err, path + ":3:39: " + kMagenta + "warning" + kReset +
                            ": unknown attribute 'colour' of <struct> is ignored\n");
  const CommandResult passing =
      RunCheckTable({"--color=always", "-t", "alpha", Fixture("tables.xml")});
  EXPECT_THAT(passing.out,
              HasSubstr(std::string(kGreen) + "1 table checked, 0 failed" + kReset + "\n"));
}

TEST(CheckTableOptions, ColourAlwaysWinsOverNoColor) {
  const ScratchDir dir;
  const std::string path = WriteMixedSchema(dir);
  EXPECT_EQ(RunCheckTableAfter("NO_COLOR=1", {"--color", "always", path}).out,
            RunCheckTable({"--color", "always", path}).out);
}

TEST(CheckTableOptions, NoColourWhenNeverNoColorOrNotATerminal) {
  const ScratchDir dir;
  const std::string path = WriteMixedSchema(dir);
  const CommandResult plain = RunCheckTable({path});
  EXPECT_EQ(plain.out.find('\033'), std::string::npos);
  EXPECT_EQ(plain.err.find('\033'), std::string::npos);
  // The runs below write to files, not to a terminal: auto means no colour.
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {"--color", "never", path}, {"--color", "auto", path}, {path}}) {
    const CommandResult result = RunCheckTable(args);
    EXPECT_EQ(result.out, plain.out);
    EXPECT_EQ(result.err, plain.err);
  }
  const CommandResult no_color = RunCheckTableAfter("NO_COLOR=1", {"--color", "auto", path});
  EXPECT_EQ(no_color.out, plain.out);
  EXPECT_EQ(no_color.err, plain.err);
}

// Runs the command on a terminal of its own (util-linux's script) and returns what it showed there.
std::string RunOnATerminal(const std::string& prefix, const std::string& args) {
  const ScratchDir dir;
  const std::string shown = dir.File("shown");
  const std::string command = prefix + " script -qec " +
                              ShellQuote(ShellQuote(VELMORA_CHECK_TABLE_BIN) + " " + args) +
                              " /dev/null </dev/null >" + ShellQuote(shown);
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  return ReadFile(shown);
}

TEST(CheckTableOptions, ColourAutoColoursOnATerminalUnlessNoColorIsSet) {
  if (std::system("command -v script >/dev/null 2>&1") != 0) GTEST_SKIP() << "no script(1)";
  const std::string args = "-t alpha " + ShellQuote(Fixture("tables.xml"));
  const std::string place = Fixture("tables.xml") + ":15: ";
  EXPECT_EQ(RunOnATerminal("", args), place + kGreen + "ok:" + kReset + " alpha (generic)\r\n" +
                                          kGreen + "1 table checked, 0 failed" + kReset + "\r\n");
  EXPECT_EQ(RunOnATerminal("NO_COLOR=1", args),
            place + "ok: alpha (generic)\r\n1 table checked, 0 failed\r\n");
  EXPECT_EQ(RunOnATerminal("NO_COLOR=", args), RunOnATerminal("", args));
}

TEST(CheckTableOptions, NeverColoursTheJsonReport) {
  const std::string path = Fixture("failing.xml");
  EXPECT_EQ(RunCheckTable({"--color", "always", "-f", "json", path}).out,
            RunCheckTable({"-f", "json", path}).out);
}

TEST(CheckTableOptions, RejectsAnUnknownColourChoice) {
  const CommandResult result = RunCheckTable({"--color", "sometimes", Fixture("tables.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("--color"));
  EXPECT_THAT(result.err, HasSubstr("sometimes"));
}

TEST(CheckTableOptions, AcceptsVersionsOfThreeOrFourDecimalParts) {
  EXPECT_EQ(
      RunCheckTable({"-t", "biglist", "--server-version", "3.40.0.193000", Fixture("versions.xml")})
          .status,
      0);
  EXPECT_EQ(RunCheckTable({"--proxy-version", "3.37.0", "--rest-proxy-version", "3.37.0",
                           Fixture("list4.xml")})
                .status,
            0);
  EXPECT_EQ(RunCheckTable(
                {"--proxy-version", "3.37.0", "--rest-proxy-version", "none", Fixture("list4.xml")})
                .status,
            0);
}

TEST(CheckTableOptions, RejectsAVersionThatIsNotOneAndNamesTheOption) {
  const std::string not_a_version =
      "is not a version: three or four decimal numbers joined by dots, like 3.40.0 or "
      "3.40.0.193000";
  for (const char* option : {"--server-version", "--proxy-version", "--rest-proxy-version"}) {
    const bool none_allowed = std::string(option) == "--rest-proxy-version";
    for (const char* version : {"abc", "3", "3.40", "3.40.0.1.2", "3..0", "3.40.0.", ".3.40.0",
                                "3.40.x", "-3.40.0", "3.40.0 ", "", "v3.40.0", "none "}) {
      const CommandResult result = RunCheckTable({option, version, Fixture("tables.xml")});
      EXPECT_EQ(result.status, 2) << option << " " << version;
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err, std::string(option) + ": '" + version + "' " + not_a_version +
                                (none_allowed ? ", or none" : "") +
                                "\nRun with --help for more information.\n");
    }
  }
  for (const char* option : {"--server-version", "--proxy-version"}) {
    const CommandResult result = RunCheckTable({option, "none", Fixture("tables.xml")});
    EXPECT_EQ(result.status, 2) << option;
    EXPECT_THAT(result.err, HasSubstr(std::string(option) + ": 'none' " + not_a_version + "\n"));
  }
}

TEST(CheckTableOptions, NamesAMistypedOptionAlone) {
  const std::string schema = Fixture("tables.xml");
  const std::string expected = "unknown option --frmat\nRun with --help for more information.\n";
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{schema, "--frmat", "json"},
                                             {"--frmat", "json", schema},
                                             {"--frmat=json", schema},
                                             {"--frmat"},
                                             {"--kind", "sorted", "--frmat", "json", schema}}) {
    const CommandResult result = RunCheckTable(args);
    EXPECT_EQ(result.status, 2) << args.front();
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, expected) << args.front();
  }
  const CommandResult short_option = RunCheckTable({"-x", schema});
  EXPECT_EQ(short_option.status, 2);
  EXPECT_EQ(short_option.err, "unknown option -x\nRun with --help for more information.\n");
}

}  // namespace
