// The GitHub Actions report: one workflow command per problem, which the runner shows as an
// annotation on the line of the schema file; data and property values escaped as the runner reads
// them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "cli/github_report.h"
#include "cli_shell_support.h"
#include "cli_test_support.h"

namespace {

const std::string kExamples = VELMORA_EXAMPLES_DIR;
const std::string kFixtures = VELMORA_FIXTURES_DIR;

TEST(WorkflowEscaping, DataEscapesPercentCarriageReturnAndLineFeed) {
  EXPECT_EQ(EscapeWorkflowData("100% done\r\nnext: a,b"), "100%25 done%0D%0Anext: a,b");
  EXPECT_EQ(EscapeWorkflowData("%0A"), "%250A");
  EXPECT_EQ(EscapeWorkflowData(""), "");
}

TEST(WorkflowEscaping, PropertiesAlsoEscapeColonAndComma) {
  EXPECT_EQ(EscapeWorkflowProperty("100% done\r\nnext: a,b"),
            "100%25 done%0D%0Anext%3A a%2Cb");
  EXPECT_EQ(EscapeWorkflowProperty("dir/a_b-c.xml"), "dir/a_b-c.xml");
}

TEST(GithubReport, WritesOneErrorCommandPerFindingAtItsElement) {
  const CommandResult result =
      RunShell("cd " + ShellQuote(kExamples) + " && " +
               CheckTableCommand({"--format", "github", "broken.xml"}) + " </dev/null");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "::error file=broken.xml,line=10,col=11,title=CHECK_TABLE_ERROR_SYSTEM_ERROR::"
            "table_type is generic,but customattr has contain ListNum or SortFieldNum or "
            "SortRule,don't forget to check the entry's customattr2.%0Ahelp: A generic table has "
            "no list size and no sort order: remove ListNum, SortFieldNum and SortRule from "
            "customattr2, and the sort marks from its fields.\n"
            "::error file=broken.xml,line=20,col=5,title=ERROR_INDEX_FIELD::List-type-table "
            "isn't allowed to configure index field! table:'friend_list'%0ACheckIndex failed! "
            "table:'friend_list',ret:-6%0Ahelp: A list table keeps all its elements under one "
            "key, so it has no indexes: remove its index elements, or make it a generic table.\n"
            "::error file=broken.xml,line=26,col=5,title=ERROR_COUNT_WITHNOT_REFER::these entry "
            "have 'count' without 'refer' : slots%0Ahelp: Each field listed has a count above 1 "
            "but no refer: add an earlier integer field (int8 to uint32, count 1) for the number "
            "in use and name it in refer.\n"
            "::error file=broken.xml,line=31,col=11,title=CHECK_TABLE_ERROR_INVALID_PARAMETER::"
            "pstEntry 's curstomaattr num's sort num 1 not match with meta's SortFieldNum=2%0A"
            "help: The fields marked sort1 to sortN must be exactly as many as SortFieldNum says "
            "(1 to 4): mark more fields or change SortFieldNum.\n"
            "::error file=broken.xml,line=39,col=5,title=ERROR_FIELD_TYPE_ILLEGAL::The entry "
            "type is not supported! entry_name:'nick' table='nickname'%0ACheckPrimaryKey failed! "
            "table:'nickname',ret:-16%0Ahelp: The store cannot hold this field's type (wstring "
            "is the base type it refuses): use string or another supported type.\n");
  EXPECT_EQ(result.err, "");
}

TEST(GithubReport, WritesNothingForPassingTables) {
  const CommandResult result = RunCheckTable({"-f", "github", kExamples + "/game.xml"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

TEST(GithubReport, EscapesTheFileNameAndTheMessage) {
  ScratchDir dir;
  const std::string name = "odd\r\nname,with:100%.xml";
  WriteTextFile(dir.File(name),
                "<metalib name=\"m\">\n"
                "  <struct name=\"mail\" primarykey=\"uid\" "
                "customattr2=\"TableType=LIST;ListNum=5000;Note=100%\">\n"
                "    <entry name=\"uid\" type=\"uint64\"/>\n"
                "    <entry name=\"body\" type=\"string\" size=\"64\"/>\n"
                "  </struct>\n"
                "</metalib>\n");
  const CommandResult result = RunShell("cd " + ShellQuote(dir.path()) + " && " +
                                        CheckTableCommand({"-f", "github", name}) + " </dev/null");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "::warning file=odd%0D%0Aname%2Cwith%3A100%25.xml,line=2,col=40,"
            "title=load-warning::struct 'mail': unknown key 'Note' in customattr2; the keys the "
            "table checks read are DataProtocolType, TableType, ListNum, SortFieldNum, SortRule "
            "and stringdisplaycharset\n"
            "::error file=odd%0D%0Aname%2Cwith%3A100%25.xml,line=2,col=40,"
            "title=CHECK_TABLE_ERROR_INVALID_PARAMETER::list_num must be [1,1023],but now "
            "list_num:5000,list_num_str:5000,custom_str:TableType=LIST;ListNum=5000;Note=100%25"
            "%0Ahelp: ListNum must be from 1 to 1023, or up to 10000 when --server-version is "
            "3.40.0.193000 or later.\n");
}

// Both the attribute check and the entry point look the table up; the one failure is shown once.
TEST(GithubReport, ATableTheSchemaLacksIsAnnotatedOnceOnTheFile) {
  const CommandResult result =
      RunCheckTable({"-f", "github", "-t", "nosuch", kExamples + "/game.xml"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "::error file=" + kExamples +
                            "/game.xml,title=CHECK_TABLE_ERROR_SYSTEM_ERROR::Get meta info "
                            "failed, please check the table name! table:'nosuch'%0Ahelp: The "
                            "schema has no struct of exactly this name (letter case counts): "
                            "check the name given with -t/--table.\n");
}

TEST(GithubReport, LoaderWarningsAreWarningsAndALoadErrorIsAnError) {
  const CommandResult result =
      RunShell("cd " + ShellQuote(kFixtures + "/cli") + " && " +
               CheckTableCommand({"-f", "github", "warning_then_error.xml", "empty.xml",
                                  "failing.xml"}) +
               " </dev/null");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out,
            "::warning file=warning_then_error.xml,line=3,col=36,title=load-warning::unknown "
            "attribute 'colour' of <struct> is ignored\n"
            "::error file=warning_then_error.xml,line=5,col=21,title=load-error::entry 'v': "
            "type 'nosuchtype' is neither a base type nor a struct or union defined earlier\n"
            "::error file=empty.xml,title=load-error::the file is empty\n"
            "::error file=failing.xml,line=7,col=25,title=ERROR_REPEATED_FIELD_NAME::repeated "
            "field name in primary key, invalid! entry_name:'uid' table='badkey'%0A"
            "CheckPrimaryKey failed! table:'badkey',ret:-51%0Ahelp: primarykey names this field "
            "more than once: list each key field once.\n");
  EXPECT_EQ(result.err, "");
}

TEST(GithubReport, UnderStrictALoaderWarningIsAnError) {
  const CommandResult result =
      RunShell("cd " + ShellQuote(kFixtures + "/cli") + " && " +
               CheckTableCommand({"-f", "github", "--strict", "warnings.xml"}) + " </dev/null");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(Lines(result.out), ::testing::Each(::testing::StartsWith("::error file=warnings.xml,")));
  EXPECT_THAT(result.out, ::testing::HasSubstr(",title=load-warning::"));
}

TEST(GithubReport, ShowsInTheReadmeARealAnnotationOfTheBrokenExample) {
  const std::string root = kExamples + "/..";
  std::string sample;
  for (const std::string& line : Lines(ReadFile(root + "/README.md"))) {
    if (line.rfind("    ::error file=examples/broken.xml", 0) == 0) sample = line.substr(4);
  }
  ASSERT_FALSE(sample.empty()) << "no annotation of examples/broken.xml in the README";
  const CommandResult result =
      RunShell("cd " + ShellQuote(root) + " && " +
               CheckTableCommand({"-f", "github", "examples/broken.xml"}) + " </dev/null");
  EXPECT_THAT(Lines(result.out), ::testing::Contains(sample));
}

}  // namespace
