// Every rule's example, run through the command with the options it names: the failing schema
// fails with the rule's code and one of the rule's texts, the fixed schema passes every check.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cctype>
#include <fstream>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <velmora/check_table_error.h>

#include "cli/rules.h"
#include "cli_test_support.h"

namespace {

using Json = nlohmann::json;

// A pattern that matches what the checker prints for a format: %s any text, %d and its longer
// forms a number.
std::regex FormatPattern(const std::string& format) {
  std::string pattern;
  for (size_t i = 0; i < format.size(); ++i) {
    const char c = format[i];
    if (c == '%' && format.compare(i, 2, "%s") == 0) {
      pattern += "[\\s\\S]*";
      ++i;
    } else if (c == '%' && format.compare(i, 2, "%d") == 0) {
      pattern += "-?[0-9]+";
      ++i;
    } else if (c == '%' && format.compare(i, 4, "%lld") == 0) {
      pattern += "-?[0-9]+";
      i += 3;
    } else if (c == '%' && format.compare(i, 3, "%lu") == 0) {
      pattern += "[0-9]+";
      i += 2;
    } else if (std::isalnum(static_cast<unsigned char>(c)) ||
               static_cast<unsigned char>(c) >= 0x80) {
      pattern += c;
    } else {
      pattern += '\\';
      pattern += c;
    }
  }
  return std::regex(pattern);
}

// Whether the check wrote one of the rule's texts: as the message it failed with, its report or
// a log line at error priority.
bool WroteTextOf(const Json& check, int code) {
  std::vector<std::string> written = {check.value("report", "")};
  if (check["result"] != CHECK_TABLE_SUCCESS) written.push_back(check["message"]);
  for (const Json& line : check["log"]) {
    if (line["priority"] <= 300) written.push_back(line["text"].get<std::string>());
  }
  for (const RuleText* text : TextsReporting(code)) {
    const std::regex pattern = FormatPattern(text->format);
    for (const std::string& line : written) {
      if (!line.empty() && std::regex_search(line, pattern)) return true;
    }
  }
  return false;
}

class RuleExamples : public ::testing::Test {
 protected:
  // Checks the schema as the example says and returns the exit status and the JSON report.
  std::pair<int, Json> Check(const Rule& rule, const std::string& schema, const char* which) {
    const std::string path =
        m_scratch.File(std::string(CheckResultName(rule.code)) + "_" + which + ".xml");
    std::ofstream(path, std::ios::binary) << schema;
    std::vector<std::string> args = rule.example.options;
    args.insert(args.end(), {"--format", "json", path});
    const CommandResult result = RunCheckTable(args);
    EXPECT_EQ(result.err, "") << which;
    return {result.status, Json::parse(result.out, nullptr, false)};
  }

  ScratchDir m_scratch;
};

TEST_F(RuleExamples, FailingSchemaReportsTheRulesCode) {
  for (const Rule& rule : ProducedRules()) {
    SCOPED_TRACE(CheckResultName(rule.code));
    const auto [status, report] = Check(rule, rule.example.failing, "failing");
    ASSERT_TRUE(report.is_object());
    ASSERT_EQ(report["tables"].size(), 1u);
    const Json& table = report["tables"][0];

    // An old-style definition passes: the attribute check answers with the code all the same.
    if (rule.code == ERROR_OLD_TABLE_DEFINE) {
      EXPECT_EQ(status, 0);
      EXPECT_TRUE(table["ok"].get<bool>());
      EXPECT_EQ(table["checks"][0]["check"], "CheckTableTypeByCustomAttr");
      EXPECT_EQ(table["checks"][0]["result"], ERROR_OLD_TABLE_DEFINE);
      continue;
    }
    EXPECT_EQ(status, 1);
    EXPECT_FALSE(table["ok"].get<bool>());
    const Json* failed = nullptr;
    for (const Json& check : table["checks"]) {
      const int result = check["result"].get<int>();
      const bool old_style =
          check["check"] == "CheckTableTypeByCustomAttr" && result == ERROR_OLD_TABLE_DEFINE;
      if (result != CHECK_TABLE_SUCCESS && !old_style) {
        failed = &check;
        break;
      }
    }
    ASSERT_NE(failed, nullptr);
    EXPECT_EQ((*failed)["result"].get<int>(), rule.example.first_result);
    // A lookup's code shows in the line it logs; every other code is the check's result.
    if (rule.example.first_result != rule.code) {
      EXPECT_EQ(rule.code, ERROR_EIXST_FIELD);
    }
    EXPECT_TRUE(WroteTextOf(*failed, rule.code)) << failed->dump(2);
  }
}

TEST_F(RuleExamples, FixedSchemaPassesEveryCheck) {
  for (const Rule& rule : ProducedRules()) {
    SCOPED_TRACE(CheckResultName(rule.code));
    const auto [status, report] = Check(rule, rule.example.fixed, "fixed");
    ASSERT_TRUE(report.is_object());
    EXPECT_EQ(status, 0);
    ASSERT_EQ(report["tables"].size(), 1u);
    const Json& table = report["tables"][0];
    EXPECT_TRUE(table["ok"].get<bool>());
    for (const Json& check : table["checks"]) {
      EXPECT_NE(check["result"].get<int>(), rule.code) << check["check"];
      EXPECT_FALSE(WroteTextOf(check, rule.code)) << check.dump(2);
    }
  }
}

// The failing schema of a lookup's code fails through the check that asked.
TEST_F(RuleExamples, LookupCodeShowsInTheLogOfTheAskingCheck) {
  const Rule& rule = *FindRule("ERROR_EIXST_FIELD");
  const auto [status, report] = Check(rule, rule.example.failing, "failing");
  EXPECT_EQ(status, 1);
  const Json& check = report["tables"][0]["checks"][1];
  EXPECT_EQ(check["check"], "VelmoraCheckTable");
  EXPECT_EQ(check["result"], ERROR_PRIMARYKEY_FIELD);
  std::vector<std::string> texts;
  for (const Json& line : check["log"]) {
    if (line["priority"] == 300) texts.push_back(line["text"].get<std::string>());
  }
  EXPECT_EQ(
      texts,
      (std::vector<std::string>{
          "Splittablekey field is not belong to index field! Splittablekey:'zone',table:'player'",
          "The index field has not include primarykey if splittablekey not exist! primarykey:'zone' table:'player'",
          "CheckPrimaryKey failed! table:'player',ret:-4",
      }));
}

}  // namespace
