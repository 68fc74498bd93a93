// The command on several schemas at once: files, folders searched for *.xml files, "-" for
// standard input; one schema that cannot be used does not stop the others, and the exit status
// is the worst of them.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

#include "cli_shell_support.h"
#include "cli_test_support.h"

namespace {

const std::string kFixtures = VELMORA_FIXTURES_DIR;
const std::string kGame = std::string(VELMORA_EXAMPLES_DIR) + "/game.xml";

const char* const kPassing =
    "<metalib name=\"m\">\n"
    "  <struct name=\"good\" primarykey=\"id\" customattr2=\"TableType=GENERIC\">\n"
    "    <entry name=\"id\" type=\"uint32\"/>\n"
    "    <entry name=\"value\" type=\"int32\"/>\n"
    "  </struct>\n"
    "</metalib>\n";

const char* const kFailing =
    "<metalib name=\"m\">\n"
    "  <struct name=\"badkey\" primarykey=\"uid,uid\" customattr2=\"TableType=GENERIC\">\n"
    "    <entry name=\"uid\" type=\"uint64\"/>\n"
    "    <entry name=\"value\" type=\"int32\"/>\n"
    "  </struct>\n"
    "</metalib>\n";

const std::string kFailingLines =
    ":2:25: error: badkey.primarykey: repeated field name in primary key, invalid! "
    "entry_name:'uid' table='badkey' [ERROR_REPEATED_FIELD_NAME]\n"
    "    note: CheckPrimaryKey failed! table:'badkey',ret:-51\n"
    "    help: primarykey names this field more than once: list each key field once.\n"
    "1 table checked, 1 failed\n";

// A folder of schemas: b/failing.xml, a.xml, b/c/passing.xml, notes.txt (no *.xml), z.XML.
void FillFolder(const ScratchDir& dir) {
  std::filesystem::create_directories(dir.File("tree/b/c"));
  WriteTextFile(dir.File("tree/b/failing.xml"), kFailing);
  WriteTextFile(dir.File("tree/a.xml"), kPassing);
  WriteTextFile(dir.File("tree/b/c/passing.xml"), kPassing);
  WriteTextFile(dir.File("tree/notes.txt"), "not a schema");
  WriteTextFile(dir.File("tree/z.XML"), "not a schema either: only *.xml is searched");
}

// Runs the command in dir with these arguments, standard input from /dev/null.
CommandResult RunIn(const ScratchDir& dir, const std::vector<std::string>& args) {
  return RunShell("cd " + ShellQuote(dir.path()) + " && " + CheckTableCommand(args) +
                  " </dev/null");
}

TEST(ManySchemas, ListsFileAfterFileThenOneLineForAll) {
  ScratchDir dir;
  WriteTextFile(dir.File("pass.xml"), kPassing);
  WriteTextFile(dir.File("fail.xml"), kFailing);
  const CommandResult result = RunIn(dir, {"pass.xml", "fail.xml"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "pass.xml:2: ok: good (generic)\n"
            "1 table checked, 0 failed\n"
            "fail.xml" + kFailingLines +
            "2 files, 2 tables checked, 1 failed\n");
  EXPECT_EQ(result.err, "");
}

TEST(ManySchemas, SearchesAFolderForXmlFilesAtEveryLevelInByteOrder) {
  ScratchDir dir;
  FillFolder(dir);
  const CommandResult result = RunIn(dir, {"tree"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "tree/a.xml:2: ok: good (generic)\n"
            "1 table checked, 0 failed\n"
            "tree/b/c/passing.xml:2: ok: good (generic)\n"
            "1 table checked, 0 failed\n"
            "tree/b/failing.xml" + kFailingLines +
            "3 files, 3 tables checked, 1 failed\n");
  EXPECT_EQ(result.err, "");
}

TEST(ManySchemas, OneFolderHoldingOneSchemaStillGivesTheReportOfSeveral) {
  ScratchDir dir;
  std::filesystem::create_directories(dir.File("one"));
  WriteTextFile(dir.File("one/only.xml"), kPassing);
  const CommandResult result = RunIn(dir, {"-f", "json", "one/"});
  EXPECT_EQ(result.status, 0);
  const nlohmann::json report = nlohmann::json::parse(result.out);
  EXPECT_EQ(report["files"].size(), 1u);
  EXPECT_EQ(report["files"][0]["schema"], "one/only.xml");
}

TEST(ManySchemas, JsonListsEachFilesDocumentWithoutFormatAndSumsThemUp) {
  ScratchDir dir;
  WriteTextFile(dir.File("pass.xml"), kPassing);
  WriteTextFile(dir.File("fail.xml"), kFailing);
  const CommandResult result = RunIn(dir, {"-f", "json", "pass.xml", "missing.xml", "fail.xml"});
  EXPECT_EQ(result.status, 2);
  const nlohmann::ordered_json report = nlohmann::ordered_json::parse(result.out);
  std::vector<std::string> keys;
  for (const auto& item : report.items()) keys.push_back(item.key());
  EXPECT_EQ(keys, (std::vector<std::string>{"format", "files", "summary"}));
  EXPECT_EQ(report["format"], 1);
  ASSERT_EQ(report["files"].size(), 3u);
  EXPECT_FALSE(report["files"][0].contains("format"));
  EXPECT_EQ(report["files"][0]["schema"], "pass.xml");
  EXPECT_EQ(report["files"][0]["summary"],
            nlohmann::ordered_json::parse(R"({"tables":1,"failed":0})"));
  EXPECT_EQ(report["files"][1],
            nlohmann::ordered_json::parse(
                R"({"schema":"missing.xml","error":{"line":null,"column":null,)"
                R"("message":"cannot read the file: No such file or directory"},)"
                R"("errors":[{"line":null,"column":null,)"
                R"("message":"cannot read the file: No such file or directory"}]})"));
  EXPECT_EQ(report["files"][2]["tables"][0]["table"], "badkey");
  EXPECT_EQ(report["summary"],
            nlohmann::ordered_json::parse(R"({"files":3,"tables":2,"failed":1})"));
  EXPECT_EQ(result.err, "");
}

TEST(ManySchemas, EachFilesJsonDocumentIsItsOneFileReportLessFormat) {
  ScratchDir dir;
  WriteTextFile(dir.File("fail.xml"), kFailing);
  nlohmann::ordered_json alone =
      nlohmann::ordered_json::parse(RunIn(dir, {"-f", "json", "fail.xml"}).out);
  const nlohmann::ordered_json several =
      nlohmann::ordered_json::parse(RunIn(dir, {"-f", "json", "fail.xml", "fail.xml"}).out);
  alone.erase("format");
  EXPECT_EQ(several["files"][0], alone);
  EXPECT_EQ(several["files"][1], alone);
}

TEST(ManySchemas, ExitStatusIsZeroWhenEveryTableOfEveryFilePassed) {
  ScratchDir dir;
  WriteTextFile(dir.File("a.xml"), kPassing);
  EXPECT_EQ(RunIn(dir, {"a.xml", "a.xml", kGame}).status, 0);
}

TEST(ManySchemas, APathThatDoesNotExistIsNamedAndTheOthersAreChecked) {
  ScratchDir dir;
  WriteTextFile(dir.File("fail.xml"), kFailing);
  const CommandResult result = RunIn(dir, {"nowhere.xml", "fail.xml"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "nowhere.xml: error: cannot read the file: No such file or directory\n");
  EXPECT_EQ(result.out, "fail.xml" + kFailingLines +
                            "2 files, 1 table checked, 1 failed, 1 file could not be used\n");
}

TEST(ManySchemas, AFileThatIsNotXmlAmongGoodOnesIsNamedAndTheOthersAreChecked) {
  ScratchDir dir;
  WriteTextFile(dir.File("a.xml"), kPassing);
  WriteTextFile(dir.File("b.xml"), "name,type\nid,uint32\n");
  WriteTextFile(dir.File("c.xml"), kPassing);
  const CommandResult result = RunIn(dir, {"a.xml", "b.xml", "c.xml"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "b.xml:1:1: error: not an XML file: it does not start with '<'\n");
  EXPECT_EQ(result.out,
            "a.xml:2: ok: good (generic)\n1 table checked, 0 failed\n"
            "c.xml:2: ok: good (generic)\n1 table checked, 0 failed\n"
            "3 files, 2 tables checked, 0 failed, 1 file could not be used\n");
}

TEST(ManySchemas, AFolderWithoutSchemaIsNamedAndTheOthersAreChecked) {
  ScratchDir dir;
  std::filesystem::create_directories(dir.File("docs/deeper"));
  WriteTextFile(dir.File("docs/readme.txt"), "no schema here");
  WriteTextFile(dir.File("a.xml"), kPassing);
  const CommandResult result = RunIn(dir, {"docs", "a.xml"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "docs: error: no schema in this folder: no *.xml file below it\n");
  EXPECT_EQ(result.out, "a.xml:2: ok: good (generic)\n1 table checked, 0 failed\n"
                        "2 files, 1 table checked, 0 failed, 1 file could not be used\n");
}

TEST(ManySchemas, AnEmptyFolderAloneIsUnusable) {
  ScratchDir dir;
  std::filesystem::create_directories(dir.File("empty"));
  const CommandResult result = RunIn(dir, {"-f", "json", "empty"});
  EXPECT_EQ(result.status, 2);
  const nlohmann::json report = nlohmann::json::parse(result.out);
  EXPECT_EQ(report["files"][0]["error"]["message"],
            "no schema in this folder: no *.xml file below it");
  EXPECT_EQ(report["summary"], nlohmann::json::parse(R"({"files":1,"tables":0,"failed":0})"));
}

TEST(ManySchemas, OldSchemaGoesWithOneSchemaOnly) {
  ScratchDir dir;
  WriteTextFile(dir.File("a.xml"), kPassing);
  const std::string expected =
      "velmora-check-table: error: --old compares one schema with its version before the "
      "change: name one schema file, not several or a folder\n";
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"--old", "a.xml", "a.xml", "a.xml"},
        std::vector<std::string>{"--old", "a.xml", "."}}) {
    const CommandResult result = RunIn(dir, args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, expected);
  }
  EXPECT_EQ(RunIn(dir, {"--old", "a.xml", "a.xml"}).status, 0);
}

TEST(StandardInput, ReadsOneSchemaNamedStdinInReports) {
  const CommandResult result =
      RunShell(CheckTableCommand({"-"}) + " <" + ShellQuote(kFixtures + "/cli/failing.xml"));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "<stdin>:3: ok: good (generic, old-style definition)\n"
            "<stdin>:7:25: error: badkey.primarykey: repeated field name in primary key, "
            "invalid! entry_name:'uid' table='badkey' [ERROR_REPEATED_FIELD_NAME]\n"
            "    note: CheckPrimaryKey failed! table:'badkey',ret:-51\n"
            "    help: primarykey names this field more than once: list each key field once.\n"
            "2 tables checked, 1 failed\n");
  EXPECT_EQ(result.err, "");
}

TEST(StandardInput, ReadsFromAPipeAmongFiles) {
  const CommandResult result = RunShell("cat " + ShellQuote(kGame) + " | " +
                                        CheckTableCommand({"-f", "json", kGame, "-"}));
  EXPECT_EQ(result.status, 0);
  const nlohmann::json report = nlohmann::json::parse(result.out);
  EXPECT_EQ(report["files"][1]["schema"], "<stdin>");
  EXPECT_EQ(report["files"][1]["tables"], report["files"][0]["tables"]);
  EXPECT_EQ(report["summary"], nlohmann::json::parse(R"({"files":2,"tables":6,"failed":0})"));
}

TEST(StandardInput, EmptyInputIsNamedAndTheOthersAreChecked) {
  const CommandResult result = RunShell(CheckTableCommand({"-", kGame}) + " </dev/null");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "<stdin>: error: standard input is empty\n");
  EXPECT_EQ(Lines(result.out).back(),
            "2 files, 3 tables checked, 0 failed, 1 file could not be used");
}

TEST(StandardInput, ClosedInputIsNamedAndTheOthersAreChecked) {
  const CommandResult result = RunShell(CheckTableCommand({kGame, "-"}) + " <&-");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "<stdin>: error: standard input is closed\n");
  EXPECT_EQ(Lines(result.out).back(),
            "2 files, 3 tables checked, 0 failed, 1 file could not be used");
}

TEST(StandardInput, ClosedInputDoesNotTakeTheNextFileForStandardInput) {
  const CommandResult result = RunShell(CheckTableCommand({"-f", "json", kGame, "-", kGame}) +
                                        " <&-");
  EXPECT_EQ(result.status, 2);
  const nlohmann::json report = nlohmann::json::parse(result.out);
  EXPECT_EQ(report["files"][1]["error"]["message"], "standard input is closed");
  EXPECT_EQ(report["summary"], nlohmann::json::parse(R"({"files":3,"tables":6,"failed":0})"));
}

TEST(StandardInput, InputPastTheSizeLimitIsRefused) {
  const CommandResult result = RunShell(
      CheckTableCommand({"--max-input-size", "100", "-"}) + " <" + ShellQuote(kGame));
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "<stdin>: error: the input goes on past the maximum input size of 100 bytes (100 "
            "bytes); set a larger limit with --max-input-size\n");
}

TEST(StandardInput, IsReadOnce) {
  const CommandResult result = RunShell(CheckTableCommand({"-", "-"}) + " <" + ShellQuote(kGame));
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "<stdin>: error: standard input is named more than once; it holds one schema\n");
  EXPECT_EQ(Lines(result.out).back(),
            "2 files, 3 tables checked, 0 failed, 1 file could not be used");
}

TEST(ClosedOutput, AReaderThatLeavesEarlyEndsTheRunQuietlyWithStatusTwo) {
  ScratchDir dir;
  // Enough report to fill the pipe after the reader has gone.
  std::vector<std::string> args = {"-f", "json"};
  for (int i = 0; i < 200; ++i) args.push_back(kGame);
  const std::string status_file = dir.File("status");
  const CommandResult result =
      RunShell("{ " + CheckTableCommand(args) + " </dev/null; echo $? >" +
               ShellQuote(status_file) + "; } | head -c 10");
  EXPECT_EQ(ReadFile(status_file), "2\n");
  EXPECT_EQ(result.out, "{\n  \"forma");
  EXPECT_EQ(result.err, "");
}

TEST(ClosedOutput, AReportThatCannotBeWrittenIsNamed) {
  const CommandResult result = RunShell(CheckTableCommand({kGame, kGame}) + " </dev/null >/dev/full");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "velmora-check-table: error: cannot write the report\n");
}

}  // namespace
