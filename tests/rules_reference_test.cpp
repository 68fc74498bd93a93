// The rules reference: --list-rules, --explain CODE and docs/rules.md, which is the explanation of
// every code the checks produce, word for word.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include <velmora/check_table_error.h>

#include "cli/rules.h"
#include "cli_test_support.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const std::string kProjectDir = std::string(VELMORA_EXAMPLES_DIR) + "/..";

// The codes the checks return or log, as the result code table has them.
const std::vector<int> kProducedCodes = {-1,  -2,  -3,  -4,  -5,  -6,  -7,  -9,  -10, -11, -12,
                                         -13, -15, -16, -17, -18, -19, -35, -36, -46, -49, -51};

TEST(RulesReference, HasARuleForEveryCodeTheChecksProduceAndNoOther) {
  std::vector<int> codes;
  for (const Rule& rule : ProducedRules()) codes.push_back(rule.code);
  EXPECT_EQ(codes, kProducedCodes);
}

TEST(RulesReference, ExplainsEveryRuleInFull) {
  for (const Rule& rule : ProducedRules()) {
    SCOPED_TRACE(rule.code);
    ASSERT_NE(CheckResultName(rule.code), nullptr);
    EXPECT_GT(std::string(rule.summary).size(), 10u);
    EXPECT_EQ(std::string(rule.summary).back() == '.', false);
    EXPECT_GT(std::string(rule.requirement).size(), 60u);
    EXPECT_FALSE(rule.limits.empty());
    EXPECT_THAT(rule.example.failing, StartsWith("<metalib"));
    EXPECT_THAT(rule.example.fixed, StartsWith("<metalib"));
    EXPECT_NE(rule.example.failing, rule.example.fixed);
    // Only the old-style definition reports nothing: it has no message at all.
    EXPECT_EQ(TextsReporting(rule.code).empty(), rule.code == ERROR_OLD_TABLE_DEFINE);
  }
}

TEST(RulesReference, GivesEveryTextACodeOfARuleOrOfTheCheckItWraps) {
  std::set<int> codes(kProducedCodes.begin(), kProducedCodes.end());
  for (const RuleText& text : RuleTexts()) {
    if (text.role == RuleTextRole::kWrapper || text.role == RuleTextRole::kNote) {
      EXPECT_EQ(text.code, CHECK_TABLE_SUCCESS) << text.format;
    } else {
      EXPECT_EQ(codes.count(text.code), 1u) << text.format;
    }
  }
}

TEST(RulesReference, ListsTheWrapperOfEveryCheckUnderTheCodesItCarries) {
  std::vector<std::string> index_texts;
  for (const RuleText* text : TextsReporting(ERROR_INDEX_FIELD))
    index_texts.push_back(text->format);
  EXPECT_EQ(index_texts,
            (std::vector<std::string>{
                "The index field has not include splittablekey! Splittablekey:'%s',table:'%s' ",
                "List-type-table isn't allowed to configure index field! table:'%s'",
                "The index field has repeated field '%s', table:'%s'",
                "The index field should be primarykey field! index:'%s', table:'%s'",
                "Index field is repeated! index1:'%s', index2:'%s', table:'%s'",
                "The index field can't be repeated!  table:'%s'",
                "CheckSplittableKey failed! table:'%s',ret:%d",
                "CheckIndex failed! table:'%s',ret:%d",
            }));
  std::vector<std::string> empty_name_texts;
  for (const RuleText* text : TextsReporting(ERROR_FIELD_NAME_EMPTY)) {
    empty_name_texts.push_back(text->format);
  }
  EXPECT_EQ(empty_name_texts, (std::vector<std::string>{
                                  "field name is empty.",
                                  "CheckFieldNameLength failed! table:'%s',ret:%d",
                                  "CheckRepeatedFieldName failed! table:'%s',ret:%d, err_msg:%s",
                              }));
}

TEST(RulesReference, FindsARuleByNameInAnyCaseOrByNumber) {
  const Rule* index = FindRule("ERROR_INDEX_FIELD");
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(index->code, ERROR_INDEX_FIELD);
  EXPECT_EQ(FindRule("error_index_field"), index);
  EXPECT_EQ(FindRule("-6"), index);
  EXPECT_EQ(FindRule("6"), index);
  EXPECT_EQ(FindRule("-8"), nullptr);  // a code of the service these checks never produce
  EXPECT_EQ(FindRule("0"), nullptr);
  EXPECT_EQ(FindRule("CHECK_TABLE_SUCCESS"), nullptr);
  EXPECT_EQ(FindRule("-0006"), nullptr);
  EXPECT_EQ(FindRule("--6"), nullptr);
  EXPECT_EQ(FindRule(""), nullptr);
  EXPECT_EQ(FindRule("-"), nullptr);
  EXPECT_EQ(FindRule("ERROR_INDEX"), nullptr);
}

TEST(RulesReference, ListRulesPrintsOneAlignedLinePerCodeWithoutASchema) {
  const CommandResult result = RunCheckTable({"--list-rules"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, ListRules());
  const std::vector<std::string> lines = Lines(result.out);
  ASSERT_EQ(lines.size(), kProducedCodes.size());
  EXPECT_EQ(lines[0],
            " -1  CHECK_TABLE_ERROR_INVALID_PARAMETER  A value given to the checks is out of range "
            "or malformed");
  EXPECT_EQ(lines[5],
            " -6  ERROR_INDEX_FIELD                    An index is one the store cannot keep");
  EXPECT_EQ(lines[21],
            "-51  ERROR_REPEATED_FIELD_NAME            A name repeats: in a key, or two fields "
            "differ only in case");
}

TEST(RulesReference, ExplainPrintsTheRuleByNameOrNumberWithoutASchema) {
  const std::string explanation = ExplainRule(*FindRule("-6"));
  for (const char* code : {"ERROR_INDEX_FIELD", "error_index_field", "-6", "6"}) {
    const CommandResult result = RunCheckTable({"--explain", code});
    EXPECT_EQ(result.status, 0) << code;
    EXPECT_EQ(result.err, "") << code;
    EXPECT_EQ(result.out, explanation) << code;
  }
  EXPECT_EQ(RunCheckTable({"--explain=-6"}).out, explanation);
}

TEST(RulesReference, ExplainSaysWhatTheStoreRequiresTheLimitsTheTextsAndAnExample) {
  const std::vector<std::string> lines = Lines(ExplainRule(*FindRule("ERROR_TABLE_NAME_TOO_LONG")));
  const std::vector<std::string> head(lines.begin(), lines.begin() + 4);
  EXPECT_EQ(head, (std::vector<std::string>{"# ERROR_TABLE_NAME_TOO_LONG (-10)", "",
                                            "A table name is longer than 31 bytes.", ""}));
  const std::string text = ExplainRule(*FindRule("ERROR_TABLE_NAME_TOO_LONG"));
  EXPECT_THAT(text, HasSubstr("\n## What the store requires\n\nA table's name becomes part of"));
  EXPECT_THAT(text, HasSubstr("\n## Limits\n\n- Table name: at most 31 bytes; 32 or more fail (the "
                              "message says 32).\n"));
  EXPECT_THAT(text,
              HasSubstr("\n## Texts that report it\n\n"
                        "- `table name '%s' is too long,maximum %d chars`\n"
                        "  from CheckTableNameLength\n"
                        "  help: A table name has at most 31 bytes; 32 or more fail although "
                        "the text says 32 (it counts the\n  terminator): shorten the name.\n"));
  EXPECT_THAT(text, HasSubstr("\n## Example\n\nChecked with: velmora-check-table SCHEMA.xml\n\n"
                              "Reports ERROR_TABLE_NAME_TOO_LONG:\n\n"
                              "    <metalib name=\"game\">\n"
                              "      <struct name=\"player_achievement_progress_logs\" "
                              "primarykey=\"uid\">\n"));
  EXPECT_THAT(text, HasSubstr("\nFixed:\n\n    <metalib name=\"game\">\n"
                              "      <struct name=\"player_achievement_progress_log\" "
                              "primarykey=\"uid\">\n"));
  // Texts keep their blanks: two before "table", one at the end.
  const std::string index = ExplainRule(*FindRule("ERROR_INDEX_FIELD"));
  EXPECT_THAT(index, HasSubstr("\n- `The index field can't be repeated!  table:'%s'`\n"));
  EXPECT_THAT(
      index,
      HasSubstr(
          "\n- `The index field has not include splittablekey! Splittablekey:'%s',table:'%s' `\n"));
  EXPECT_THAT(ExplainRule(*FindRule("-35")),
              HasSubstr("Checked with: velmora-check-table --server-version 3.28.0 SCHEMA.xml\n"));
  EXPECT_THAT(ExplainRule(*FindRule("-46")),
              HasSubstr("\n## Texts that report it\n\nNone: the check returns the code without a "
                        "message.\n"));
}

TEST(RulesReference, ExplainRefusesAnUnknownCodeWithTheValidOnes) {
  const CommandResult result = RunCheckTable({"--explain", "ERROR_NOPE"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  const std::vector<std::string> lines = Lines(result.err);
  ASSERT_EQ(lines.size(), 2 + kProducedCodes.size() + 1);
  EXPECT_EQ(lines[0], "--explain: 'ERROR_NOPE' is not a code the checks produce.");
  EXPECT_EQ(lines[1], "The codes the checks produce:");
  EXPECT_EQ(lines[2], "  -1 CHECK_TABLE_ERROR_INVALID_PARAMETER");
  EXPECT_EQ(lines[7], "  -6 ERROR_INDEX_FIELD");
  EXPECT_EQ(lines[23], "  -51 ERROR_REPEATED_FIELD_NAME");
  EXPECT_EQ(lines[24], "Run with --help for more information.");
}

TEST(RulesReference, ExplainTellsACodeTheChecksNeverProduceFromAnUnknownOne) {
  EXPECT_EQ(Lines(RunCheckTable({"--explain", "-14"}).err)[0],
            "--explain: ERROR_EXIST_TABLE (-14) is a code of the table service that these "
            "checks never report.");
  EXPECT_EQ(Lines(RunCheckTable({"--explain", "check_table_success"}).err)[0],
            "--explain: CHECK_TABLE_SUCCESS (0) means that a check passed; no rule stands "
            "behind it.");
  EXPECT_EQ(RunCheckTable({"--explain", "-52"}).status, 2);
  EXPECT_EQ(RunCheckTable({"--explain", ""}).status, 2);
  EXPECT_EQ(RunCheckTable({"--explain"}).status, 2);
}

TEST(RulesReference, AnswersBeforeLookingAtTheSchemaOrTheOtherOptions) {
  const CommandResult listed = RunCheckTable({"--list-rules", "/no/such/schema.xml"});
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.out, ListRules());
  const CommandResult explained = RunCheckTable({"-f", "json", "--explain", "-36", "missing.xml"});
  EXPECT_EQ(explained.status, 0);
  EXPECT_EQ(explained.out, ExplainRule(*FindRule("-36")));
  // The request is answered as soon as it is read, before other options' values are judged.
  const CommandResult despite_kind = RunCheckTable({"--kind", "nope", "--list-rules"});
  EXPECT_EQ(despite_kind.status, 0);
  EXPECT_EQ(despite_kind.out, ListRules());
  // Without a request the schema is still required.
  const CommandResult nothing = RunCheckTable({"--server-version", "3.0.0"});
  EXPECT_EQ(nothing.status, 2);
  EXPECT_THAT(nothing.err, HasSubstr("SCHEMA is required"));
}

// docs/rules.md is what --explain prints for every code --list-rules lists, in that order.
TEST(RulesReference, DocsHoldTheExplanationOfEveryCodeAsTheCommandPrintsIt) {
  std::string expected;
  for (const std::string& line : Lines(RunCheckTable({"--list-rules"}).out)) {
    const size_t name_start =
        line.find_first_not_of(' ', line.find(' ', line.find_first_not_of(' ')));
    const std::string name = line.substr(name_start, line.find(' ', name_start) - name_start);
    const CommandResult explained = RunCheckTable({"--explain", name});
    ASSERT_EQ(explained.status, 0) << name;
    expected += explained.out;
  }
  const std::string docs = ReadFile(kProjectDir + "/docs/rules.md");
  EXPECT_EQ(docs, expected) << "regenerate docs/rules.md with: make docs";
}

TEST(RulesReference, ReadmeLinksTheRulesAndTheSchemaFormat) {
  const std::string readme = ReadFile(kProjectDir + "/README.md");
  EXPECT_THAT(readme, HasSubstr("](docs/rules.md)"));
  EXPECT_THAT(readme, HasSubstr("](docs/schema-format.md)"));
  EXPECT_THAT(ReadFile(kProjectDir + "/docs/schema-format.md"), StartsWith("# "));
}

}  // namespace
