// The SARIF 2.1.0 report: one run, the tool with a rule per result code the checks produce and
// one each for the loader's errors and warnings, one result per problem at its place, and every
// schema checked as an artifact.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

#include "cli/rules.h"
#include "cli/sarif_report.h"
#include "cli_shell_support.h"
#include "cli_test_support.h"
#include <velmora/check_table_error.h>
#include <velmora/version.h>

namespace {

using Json = nlohmann::json;

const std::string kExamples = VELMORA_EXAMPLES_DIR;
const std::string kFixtures = VELMORA_FIXTURES_DIR;

// The SARIF report of the command run in folder with these arguments.
Json SarifIn(const std::string& folder, const std::vector<std::string>& args, int status) {
  std::vector<std::string> all = {"--format", "sarif"};
  all.insert(all.end(), args.begin(), args.end());
  const CommandResult result =
      RunShell("cd " + ShellQuote(folder) + " && " + CheckTableCommand(all) + " </dev/null");
  EXPECT_EQ(result.status, status);
  EXPECT_EQ(result.err, "");
  return Json::parse(result.out);
}

// A result with a line: {ruleId, level, message, uri, line, column}, checked against its rule.
void ExpectResult(const Json& run, const Json& result, const std::string& rule_id,
                  const std::string& level, const std::string& message, const std::string& uri,
                  int line, int column) {
  SCOPED_TRACE(message);
  EXPECT_EQ(result["ruleId"], rule_id);
  EXPECT_EQ(run["tool"]["driver"]["rules"][result["ruleIndex"].get<size_t>()]["id"], rule_id);
  EXPECT_EQ(result["level"], level);
  EXPECT_EQ(result["message"], Json({{"text", message}}));
  ASSERT_EQ(result["locations"].size(), 1u);
  const Json& physical = result["locations"][0]["physicalLocation"];
  EXPECT_EQ(physical["artifactLocation"]["uri"], uri);
  EXPECT_EQ(run["artifacts"][physical["artifactLocation"]["index"].get<size_t>()]["location"]["uri"],
            uri);
  EXPECT_EQ(physical["region"], Json({{"startLine", line}, {"startColumn", column}}));
}

TEST(FileUri, IsRelativeToTheCurrentFolderWithBytesPercentEncoded) {
  EXPECT_EQ(RelativeFileUri("schemas/game.xml"), "schemas/game.xml");
  EXPECT_EQ(RelativeFileUri("./a/../my schema.xml"), "my%20schema.xml");
  EXPECT_EQ(RelativeFileUri("odd:name,100%#?.xml"), "odd%3Aname%2C100%25%23%3F.xml");
  EXPECT_EQ(RelativeFileUri("caf\xC3\xA9.xml"), "caf%C3%A9.xml");
  EXPECT_EQ(RelativeFileUri("<stdin>"), "%3Cstdin%3E");
  const std::filesystem::path here = std::filesystem::current_path();
  EXPECT_EQ(RelativeFileUri((here / "sub" / "t.xml").string()), "sub/t.xml");
  EXPECT_EQ(RelativeFileUri((here.parent_path() / "t.xml").string()), "../t.xml");
}

TEST(SarifReport, DescribesTheToolWithARulePerProducedCodeAndTheLoaderRules) {
  const Json log = SarifIn(kExamples, {"game.xml"}, 0);
  EXPECT_EQ(log["version"], "2.1.0");
  EXPECT_EQ(log["$schema"],
            "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/"
            "sarif-schema-2.1.0.json");
  ASSERT_EQ(log["runs"].size(), 1u);
  const Json& driver = log["runs"][0]["tool"]["driver"];
  EXPECT_EQ(driver["name"], "velmora-check-table");
  EXPECT_EQ(driver["version"], VELMORA_VERSION_STRING);
  EXPECT_FALSE(driver["informationUri"].get<std::string>().empty());
  const std::vector<Rule>& produced = ProducedRules();
  const Json& rules = driver["rules"];
  ASSERT_EQ(rules.size(), produced.size() + 2);
  for (size_t i = 0; i < produced.size(); ++i) {
    SCOPED_TRACE(produced[i].code);
    EXPECT_EQ(rules[i]["id"], CheckResultName(produced[i].code));
    EXPECT_EQ(rules[i]["shortDescription"]["text"], produced[i].summary);
    EXPECT_EQ(rules[i]["fullDescription"]["text"], produced[i].requirement);
    EXPECT_EQ(rules[i]["help"]["text"], ExplainRule(produced[i]));
    EXPECT_EQ(rules[i]["help"]["markdown"], ExplainRule(produced[i]));
    EXPECT_EQ(rules[i]["defaultConfiguration"]["level"], "error");
  }
  EXPECT_EQ(rules[produced.size()]["id"], "load-error");
  EXPECT_EQ(rules[produced.size()]["defaultConfiguration"]["level"], "error");
  EXPECT_EQ(rules[produced.size() + 1]["id"], "load-warning");
  EXPECT_EQ(rules[produced.size() + 1]["defaultConfiguration"]["level"], "warning");
  EXPECT_EQ(log["runs"][0]["results"], Json::array());
  EXPECT_EQ(log["runs"][0]["artifacts"],
            Json::parse(R"([{"location":{"uri":"game.xml"},"mimeType":"application/xml",)"
                        R"("roles":["analysisTarget"]}])"));
}

TEST(SarifReport, GivesEachFindingAResultAtItsElement) {
  const Json log = SarifIn(kExamples, {"broken.xml"}, 1);
  const Json& run = log["runs"][0];
  ASSERT_EQ(run["results"].size(), 5u);
  ExpectResult(run, run["results"][0], "CHECK_TABLE_ERROR_SYSTEM_ERROR", "error",
               "table_type is generic,but customattr has contain ListNum or SortFieldNum or "
               "SortRule,don't forget to check the entry's customattr2.\nhelp: A generic table "
               "has no list size and no sort order: remove ListNum, SortFieldNum and SortRule "
               "from customattr2, and the sort marks from its fields.",
               "broken.xml", 10, 11);
  ExpectResult(run, run["results"][1], "ERROR_INDEX_FIELD", "error",
               "List-type-table isn't allowed to configure index field! table:'friend_list'\n"
               "CheckIndex failed! table:'friend_list',ret:-6\nhelp: A list table keeps all its "
               "elements under one key, so it has no indexes: remove its index elements, or make "
               "it a generic table.",
               "broken.xml", 20, 5);
  ExpectResult(run, run["results"][2], "ERROR_COUNT_WITHNOT_REFER", "error",
               "these entry have 'count' without 'refer' : slots\nhelp: Each field listed has a "
               "count above 1 but no refer: add an earlier integer field (int8 to uint32, count "
               "1) for the number in use and name it in refer.",
               "broken.xml", 26, 5);
  ExpectResult(run, run["results"][3], "CHECK_TABLE_ERROR_INVALID_PARAMETER", "error",
               "pstEntry 's curstomaattr num's sort num 1 not match with meta's SortFieldNum=2\n"
               "help: The fields marked sort1 to sortN must be exactly as many as SortFieldNum "
               "says (1 to 4): mark more fields or change SortFieldNum.",
               "broken.xml", 31, 11);
  ExpectResult(run, run["results"][4], "ERROR_FIELD_TYPE_ILLEGAL", "error",
               "The entry type is not supported! entry_name:'nick' table='nickname'\n"
               "CheckPrimaryKey failed! table:'nickname',ret:-16\nhelp: The store cannot hold "
               "this field's type (wstring is the base type it refuses): use string or another "
               "supported type.",
               "broken.xml", 39, 5);
}

TEST(SarifReport, GivesLoaderWarningsAndTheLoadErrorResultsOfTheirOwnRules) {
  const Json log = SarifIn(kFixtures + "/cli", {"warning_then_error.xml"}, 2);
  const Json& run = log["runs"][0];
  ASSERT_EQ(run["results"].size(), 2u);
  ExpectResult(run, run["results"][0], "load-warning", "warning",
               "unknown attribute 'colour' of <struct> is ignored", "warning_then_error.xml", 3,
               36);
  ExpectResult(run, run["results"][1], "load-error", "error",
               "entry 'v': type 'nosuchtype' is neither a base type nor a struct or union "
               "defined earlier",
               "warning_then_error.xml", 5, 21);
}

TEST(SarifReport, NamesTheFileAsTargetOfAProblemWithoutPlace) {
  const Json log = SarifIn(kFixtures + "/cli", {"empty.xml"}, 2);
  const Json& result = log["runs"][0]["results"][0];
  EXPECT_EQ(result, Json::parse(R"({"ruleId":"load-error","ruleIndex":)" +
                                std::to_string(ProducedRules().size()) +
                                R"(,"level":"error","message":{"text":"the file is empty"},)"
                                R"("analysisTarget":{"uri":"empty.xml","index":0}})"));
  const Json lacking = SarifIn(kExamples, {"-t", "nosuch", "game.xml"}, 1);
  EXPECT_EQ(lacking["runs"][0]["results"][0]["analysisTarget"],
            Json::parse(R"({"uri":"game.xml","index":0})"));
  EXPECT_FALSE(lacking["runs"][0]["results"][0].contains("locations"));
}

TEST(SarifReport, HoldsEverySchemaOfSeveralInOneRun) {
  ScratchDir dir;
  std::filesystem::create_directories(dir.File("tree/sub dir"));
  std::filesystem::copy_file(kExamples + "/game.xml", dir.File("tree/game.xml"));
  std::filesystem::copy_file(kExamples + "/broken.xml", dir.File("tree/sub dir/broken.xml"));
  const Json log = SarifIn(dir.path(), {"tree", "missing.xml"}, 2);
  ASSERT_EQ(log["runs"].size(), 1u);
  const Json& run = log["runs"][0];
  std::vector<std::string> uris;
  for (const Json& artifact : run["artifacts"]) uris.push_back(artifact["location"]["uri"]);
  EXPECT_EQ(uris,
            (std::vector<std::string>{"tree/game.xml", "tree/sub%20dir/broken.xml", "missing.xml"}));
  ASSERT_EQ(run["results"].size(), 6u);
  ExpectResult(run, run["results"][0], "CHECK_TABLE_ERROR_SYSTEM_ERROR", "error",
               "table_type is generic,but customattr has contain ListNum or SortFieldNum or "
               "SortRule,don't forget to check the entry's customattr2.\nhelp: A generic table "
               "has no list size and no sort order: remove ListNum, SortFieldNum and SortRule "
               "from customattr2, and the sort marks from its fields.",
               "tree/sub%20dir/broken.xml", 10, 11);
  EXPECT_EQ(run["results"][5]["ruleId"], "load-error");
  EXPECT_EQ(run["results"][5]["analysisTarget"], Json::parse(R"({"uri":"missing.xml","index":2})"));
}

}  // namespace
