// Every failure text the checks can write from a schema file has a one-line hint, keyed by the
// format exactly as the checker's sources write it. The sources are read at test time, so a text
// added, changed or moved in a check without its hint fails here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "cli/rules.h"
#include "cli_test_support.h"

namespace {

using ::testing::IsEmpty;

const std::string kCheckerSources = std::string(VELMORA_EXAMPLES_DIR) + "/../src/common";

// Texts only a NULL argument can bring about: a missing metalib, table name, meta, entry, index,
// field name or library. A schema file always gives the checks all of them.
const std::set<std::string> kNullArgumentTexts = {
    "Invaild parameter，please check the parameter! table: '%s'",  // metalib or table name
    "Meta is NULL!",                                               // meta
    "meta is NULL",                                                // meta
    "CheckIndex failure.meta is NULL",                             // meta
    "CheckFieldNameLength failed.meta is NULL",                    // meta
    "table_meta is NULL!",  // meta: a struct field always has its struct
    "CheckWhetherNewEntryCountWithRefer:new_meta is NULL!",  // meta: likewise
    "pstEntry is NULL",                                      // entry
    "entry %d is null! Meta name: %s",                       // entry
    "pstEntry %d is error,system error.",                    // entry
    "Entry_name or meta is invalid",                         // field name or meta
    "Invaild parameter! table:'%s'",                         // index
    "CHECK_TABLE_ERROR_INVALID_PARAMETER! table:'%s'",       // field name or index
    "system error,get meta from table:%s failed",            // library of the meta
};

// Reports whose text is put together at run time, by the expression that carries it, with the
// fixed texts it is made of.
const std::map<std::string, std::vector<std::string>> kComposedTexts = {
    // The oversized fields after the heading of the field size check.
    {"err_str.c_str()", {"ERR_ENTRY_LEN;"}},
    // The string arrays after the heading of the string-with-count check.
    {"strResult.c_str()", {"these string entry should not have 'count' attribute : "}},
    // The repeated field names, formatted before they reach the error buffer.
    {"err_msg",
     {"using strncasecmp, the field name is repeated. field_name:%s, entry_index:%d, cmp_field_name:%s, cmp_entry_index:%d"}},
};

// Headings of the count/refer reports: the caller shows the report, no reporting call writes it.
const std::vector<std::string> kReportHeadings = {
    "these entry have 'count' without 'refer' : ",
    "these new entry have 'count' without 'refer' : ",
};

// The calls that write a text at error priority, and whether they always do (the others name
// their priority in an argument).
const std::map<std::string, bool> kReportingCalls = {
    {"REPORT_ERROR", true},    {"REPORT_ERROR_AT", true},     {"REPORT_ERROR_ON", true},
    {"REPORT_ERROR_ON_AT", true}, {"REPORT_ATTRS_AT", true},   {"LOG_FAILURE_LINE_AT", true},
    {"ReportFormatText", true},   {"Report", false},           {"REPORT_NOTE", false},
    {"LOG_LINE", false},          {"LOG_LINE_AT", false},
};

bool IsIdentifierChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// The end of the string or character literal that starts at `at` (just past its closing quote).
size_t SkipLiteral(const std::string& code, size_t at) {
  const char quote = code[at];
  size_t i = at + 1;
  while (i < code.size() && code[i] != quote) i += code[i] == '\\' ? 2 : 1;
  return std::min(i + 1, code.size());
}

// The source with comments blanked out and lines continued with a backslash joined (line breaks
// kept), literals intact. Macro bodies stay: a macro may report a failure of its own.
std::string CodeOnly(const std::string& source) {
  std::string code = source;
  size_t i = 0;
  while (i < code.size()) {
    const char c = code[i];
    if (c == '"' || c == '\'') {
      i = SkipLiteral(code, i);
    } else if (c == '/' && i + 1 < code.size() && code[i + 1] == '/') {
      while (i < code.size() && code[i] != '\n') code[i++] = ' ';
    } else if (c == '/' && i + 1 < code.size() && code[i + 1] == '*') {
      const size_t end = std::min(code.find("*/", i + 2), code.size() - 2) + 2;
      for (; i < end; ++i) {
        if (code[i] != '\n') code[i] = ' ';
      }
    } else {
      if (c == '\\' && i + 1 < code.size() && code[i + 1] == '\n') code[i] = ' ';
      ++i;
    }
  }
  return code;
}

std::string Trim(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return std::string();
  const size_t last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}

// The text of one or more adjacent string literals, or false when expression is not just that.
bool LiteralText(const std::string& expression, std::string* text) {
  text->clear();
  size_t i = 0;
  bool any = false;
  while (true) {
    while (i < expression.size() && std::isspace(static_cast<unsigned char>(expression[i]))) ++i;
    if (i == expression.size()) return any;
    if (expression[i] != '"') return false;
    const size_t end = SkipLiteral(expression, i);
    for (size_t j = i + 1; j + 1 < end; ++j) {
      if (expression[j] != '\\') {
        *text += expression[j];
        continue;
      }
      const char escaped = expression[++j];
      *text += escaped == 'n' ? '\n' : escaped == 't' ? '\t' : escaped;
    }
    any = true;
    i = end;
  }
}

// The arguments of the call whose '(' is at `open`, split at its top-level commas.
std::vector<std::string> CallArguments(const std::string& code, size_t open) {
  std::vector<std::string> arguments;
  std::string current;
  int depth = 0;
  for (size_t i = open + 1; i < code.size(); ++i) {
    const char c = code[i];
    if (c == '"' || c == '\'') {
      const size_t end = SkipLiteral(code, i);
      current += code.substr(i, end - i);
      i = end - 1;
      continue;
    }
    if (c == '(' || c == '[' || c == '{') ++depth;
    if ((c == ')' || c == ']' || c == '}') && depth-- == 0) break;
    if (c == ',' && depth == 0) {
      arguments.push_back(Trim(current));
      current.clear();
      continue;
    }
    current += c;
  }
  arguments.push_back(Trim(current));
  return arguments;
}

// Every text of a source file, adjacent literals joined.
std::vector<std::string> LiteralsOf(const std::string& code) {
  std::vector<std::string> literals;
  size_t i = 0;
  while (i < code.size()) {
    if (code[i] == '\'') {
      i = SkipLiteral(code, i);
      continue;
    }
    if (code[i] != '"') {
      ++i;
      continue;
    }
    size_t end = SkipLiteral(code, i);
    // Literals separated by blanks only are one text.
    for (size_t next = end; next < code.size(); ++next) {
      if (code[next] == '"') {
        end = SkipLiteral(code, next);
        next = end - 1;
      } else if (!std::isspace(static_cast<unsigned char>(code[next]))) {
        break;
      }
    }
    std::string text;
    if (LiteralText(code.substr(i, end - i), &text)) literals.push_back(text);
    i = end;
  }
  return literals;
}

// The named text constants of a file: const char* const kName = "...";
std::map<std::string, std::string> TextConstantsOf(const std::string& code) {
  std::map<std::string, std::string> constants;
  static const std::regex kConstant(
      R"(const\s+char\s*\*\s*const\s+(\w+)\s*=\s*((?:"(?:[^"\\]|\\.)*"\s*)+);)");
  for (auto it = std::sregex_iterator(code.begin(), code.end(), kConstant);
       it != std::sregex_iterator(); ++it) {
    std::string text;
    if (LiteralText((*it)[2].str(), &text)) constants[(*it)[1].str()] = text;
  }
  return constants;
}

struct SourceScan {
  std::set<std::string> texts;          // every text written at error priority
  std::set<std::string> literals;       // every string literal of the checker
  std::vector<std::string> unresolved;  // calls whose text could not be told, with their place
  std::set<std::string> composed;       // the composed reports the calls use
};

int LineOf(const std::string& code, size_t offset) {
  return 1 + static_cast<int>(std::count(code.begin(), code.begin() + offset, '\n'));
}

// The texts one reporting call can write: its literal format, the constant it passes to "%s",
// or the texts of a report composed at run time.
void AddCallTexts(const std::vector<std::string>& arguments,
                  const std::map<std::string, std::string>& constants, const std::string& place,
                  SourceScan* scan) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    std::string expression = arguments[i];
    std::string text;
    if (LiteralText(expression, &text)) {
      if (text != "%s") {
        scan->texts.insert(text);
        return;
      }
      if (i + 1 == arguments.size()) break;
      expression = arguments[i + 1];
    }
    const auto constant = constants.find(expression);
    if (constant != constants.end()) {
      scan->texts.insert(constant->second);
      return;
    }
    const auto composed = kComposedTexts.find(expression);
    if (composed != kComposedTexts.end()) {
      scan->texts.insert(composed->second.begin(), composed->second.end());
      scan->composed.insert(expression);
      return;
    }
    if (!text.empty()) break;  // "%s" with an argument nobody has listed
  }
  std::string call;
  for (const std::string& argument : arguments) call += (call.empty() ? "" : ", ") + argument;
  scan->unresolved.push_back(place + ": " + call);
}

void ScanFile(const std::filesystem::path& path, SourceScan* scan) {
  const std::string code = CodeOnly(ReadFile(path.string()));
  for (const std::string& literal : LiteralsOf(code)) scan->literals.insert(literal);
  const std::map<std::string, std::string> constants = TextConstantsOf(code);
  for (size_t i = 0; i < code.size(); ++i) {
    if (!IsIdentifierChar(code[i]) || (i > 0 && IsIdentifierChar(code[i - 1]))) continue;
    size_t end = i;
    while (end < code.size() && IsIdentifierChar(code[end])) ++end;
    const auto call = kReportingCalls.find(code.substr(i, end - i));
    size_t open = end;
    while (open < code.size() && std::isspace(static_cast<unsigned char>(code[open]))) ++open;
    const bool is_definition = i >= 2 && code.compare(i - 2, 2, "::") == 0;
    if (call == kReportingCalls.end() || open == code.size() || code[open] != '(' ||
        is_definition) {
      i = end - 1;
      continue;
    }
    const std::vector<std::string> arguments = CallArguments(code, open);
    const bool at_error = call->second || std::find(arguments.begin(), arguments.end(),
                                                    "WLOG_PRIORITY_ERROR") != arguments.end();
    // The reporting macros' own definitions pass their arguments on.
    const bool forwards =
        std::find(arguments.begin(), arguments.end(), "...") != arguments.end() ||
        std::find(arguments.begin(), arguments.end(), "__VA_ARGS__") != arguments.end();
    if (at_error && !forwards) {
      AddCallTexts(arguments, constants,
                   path.filename().string() + ":" + std::to_string(LineOf(code, i)), scan);
    }
    i = end - 1;
  }
}

const SourceScan& CheckerScan() {
  static const SourceScan scan = [] {
    SourceScan result;
    for (const auto& entry : std::filesystem::directory_iterator(kCheckerSources)) {
      const std::string extension = entry.path().extension().string();
      if (extension == ".cpp" || extension == ".h") ScanFile(entry.path(), &result);
    }
    for (const std::string& heading : kReportHeadings) result.texts.insert(heading);
    return result;
  }();
  return scan;
}

std::set<std::string> HintedFormats() {
  std::set<std::string> formats;
  for (const char* format : HintFormats()) formats.insert(format);
  return formats;
}

TEST(RuleHints, ReadTheReportingCallsOfTheChecker) {
  const SourceScan& scan = CheckerScan();
  EXPECT_THAT(scan.unresolved, IsEmpty())
      << "a reporting call whose text cannot be told: name its text constant or list it among "
         "the composed texts";
  // Enough of the checker was read to mean something: texts of every subsystem are there.
  for (const char* text :
       {"table name startswith digit.", "CheckIndex failed! table:'%s',ret:%d",
        "list_num must be [1,%d],but now list_num:%d,list_num_str:%s,custom_str:%s",
        "ERR_ENTRY_LEN;", "%s %s length(%lld) is greater than %s", "table:'%s' %s",
        "Table dose not have indexs, table:'%s'"}) {
    EXPECT_EQ(scan.texts.count(text), 1u) << text;
  }
}

TEST(RuleHints, CoverEveryTextASchemaFileCanBringAbout) {
  const SourceScan& scan = CheckerScan();
  const std::set<std::string> hinted = HintedFormats();
  std::vector<std::string> missing;
  for (const std::string& text : scan.texts) {
    if (kNullArgumentTexts.count(text) == 0 && hinted.count(text) == 0) missing.push_back(text);
  }
  EXPECT_THAT(missing, IsEmpty()) << "failure texts without a hint";
}

TEST(RuleHints, AreKeyedByTextsTheCheckerWrites) {
  const SourceScan& scan = CheckerScan();
  std::vector<std::string> stale;
  for (const std::string& format : HintedFormats()) {
    if (scan.texts.count(format) == 0) stale.push_back(format);
  }
  EXPECT_THAT(stale, IsEmpty()) << "hints of texts the checker no longer writes";
}

TEST(RuleHints, ListOnlyNullArgumentTextsTheCheckerStillWritesAndGiveThemNoHint) {
  const SourceScan& scan = CheckerScan();
  for (const std::string& text : kNullArgumentTexts) {
    EXPECT_EQ(scan.texts.count(text), 1u) << "no longer written: " << text;
    EXPECT_EQ(HintForFormat(text.c_str()), nullptr) << text;
  }
}

TEST(RuleHints, NameComposedTextsTheCheckerHolds) {
  const SourceScan& scan = CheckerScan();
  for (const auto& composed : kComposedTexts) {
    EXPECT_EQ(scan.composed.count(composed.first), 1u) << "no call reports " << composed.first;
    for (const std::string& text : composed.second) {
      EXPECT_EQ(scan.literals.count(text), 1u) << "not a text of the checker: " << text;
    }
  }
  for (const std::string& heading : kReportHeadings) {
    EXPECT_EQ(scan.literals.count(heading), 1u) << "not a text of the checker: " << heading;
  }
}

TEST(RuleHints, AreOneSentenceOnOneLineEach) {
  std::set<std::string> formats;
  for (const RuleText& text : RuleTexts()) {
    const std::string hint = text.hint;
    EXPECT_TRUE(formats.insert(text.format).second) << "two rows for " << text.format;
    EXPECT_FALSE(hint.empty()) << text.format;
    EXPECT_EQ(hint.find('\n'), std::string::npos) << text.format;
    EXPECT_EQ(hint.back(), '.') << text.format;
    EXPECT_LE(hint.size(), 200u) << text.format;
  }
}

// Where a rule has a limit, the hint says it as a number.
TEST(RuleHints, NameTheLimitAsANumber) {
  const std::vector<std::pair<const char*, std::vector<const char*>>> limits = {
      {"table name '%s' is too long,maximum %d chars", {"31", "32"}},
      {"length of entry %s is too long", {"31", "32"}},
      {"The number of generic_table's primarykey can't be more than %d! table:'%s'", {"8"}},
      {"The number of list_table's primarykey  can't be more than %d! table:'%s'", {"7"}},
      {"This table:%s 's key num:%d is more than %d,proxy version need >= %s,but now is :%s",
       {"3.37.0", "4", "3"}},
      {"This table:%s 's key num:%d is more than %d,rest proxy version need >= %s,but now is :%s",
       {"3.37.0", "4", "3"}},
      {"The number of value field can not more than %d! table: '%s'", {"256"}},
      {"The number of value field can not more than %d! list table: '%s'", {"255"}},
      {"svr version %s < %s, not support 256 value! table: '%s'", {"3.40.0.193253", "128", "127"}},
      {"The number of value field can not be zero! table: '%s'", {"1"}},
      {"list_num must be [1,%d],but now list_num:%d,list_num_str:%s,custom_str:%s",
       {"1023", "10000", "3.40.0.193000"}},
      {"sort_field_num must be [1,%d],but now custom_str:%s", {"1", "4"}},
      {"pstEntry 's curstomaattr num's sort num %d not match with meta's SortFieldNum=%d",
       {"1", "4"}},
      {"Table version error,can not higher than 65535", {"65535"}},
      {"key %s length(%d) is greater than 1K", {"1024"}},
      {"entry %s length(%d) is greater than 128k", {"131072", "3.29.0"}},
      {"entry %s length(%d) is greater than 256k", {"262144", "3.29.0", "3.39.0", "10485760"}},
      {"entry %s length(%d) is greater than 10M", {"10485760"}},
      {"ERR_ENTRY_LEN;", {"1024", "131072", "262144", "10485760"}},
      {"table:'%s' %s", {"1023"}},
  };
  for (const auto& limit : limits) {
    const char* hint = HintForFormat(limit.first);
    ASSERT_NE(hint, nullptr) << limit.first;
    for (const char* number : limit.second) {
      EXPECT_THAT(hint, ::testing::HasSubstr(number)) << limit.first;
    }
  }
}

// Code -6 has five causes; each has a hint of its own.
TEST(RuleHints, TellTheFiveCausesOfAnIndexFailureApart) {
  const std::vector<const char*> causes = {
      "The index field has not include splittablekey! Splittablekey:'%s',table:'%s' ",
      "List-type-table isn't allowed to configure index field! table:'%s'",
      "The index field has repeated field '%s', table:'%s'",
      "The index field should be primarykey field! index:'%s', table:'%s'",
      "The index field can't be repeated!  table:'%s'",
  };
  std::set<std::string> hints;
  for (const char* cause : causes) {
    const char* hint = HintForFormat(cause);
    ASSERT_NE(hint, nullptr) << cause;
    hints.insert(hint);
  }
  EXPECT_EQ(hints.size(), causes.size());
}

TEST(RuleHints, AreFoundByTheExactFormat) {
  EXPECT_STREQ(HintForFormat("length of entry %s is too long"),
               "A field name has at most 31 bytes; 32 or more fail: shorten it.");
  EXPECT_EQ(HintForFormat("length of entry x is too long"), nullptr);
  EXPECT_EQ(HintForFormat("length of entry %s is too long "), nullptr);
  EXPECT_EQ(HintForFormat("%s"), nullptr);
  EXPECT_EQ(HintForFormat(""), nullptr);
  EXPECT_EQ(HintForFormat(nullptr), nullptr);
}

TEST(RuleHints, AreFoundForTextsPassedThroughPercentS) {
  const char* usage =
      "list_num_str is error,it must be like:TableType=LIST|SORTLIST;ListNum=1-1023[;SortFieldNum=[1-4]].";
  EXPECT_STREQ(HintForReport("%s", usage), HintForFormat(usage));
  EXPECT_STREQ(HintForReport("%s", "ERR_ENTRY_LEN;blob|nick|"), HintForFormat("ERR_ENTRY_LEN;"));
  const char* strings = "these string entry should not have 'count' attribute : tags ";
  EXPECT_STREQ(HintForReport(strings, strings),
               HintForFormat("these string entry should not have 'count' attribute : "));
  EXPECT_STREQ(
      HintForReport("field name[%s] startswith digit.", "field name[1a] startswith digit."),
      HintForFormat("field name[%s] startswith digit."));
  EXPECT_EQ(HintForReport("%s", "ERR_ENTRY"), nullptr);
  EXPECT_EQ(HintForReport("%s", "something else"), nullptr);
  EXPECT_EQ(HintForReport("%s", nullptr), nullptr);
  EXPECT_EQ(HintForReport(nullptr, nullptr), nullptr);
}

TEST(RuleHints, ListEveryFormatOnceInTheOrderOfTheTexts) {
  const std::vector<const char*> formats = HintFormats();
  ASSERT_EQ(formats.size(), RuleTexts().size());
  for (size_t i = 0; i < formats.size(); ++i) {
    EXPECT_STREQ(formats[i], RuleTexts()[i].format);
    EXPECT_STREQ(HintForFormat(formats[i]), RuleTexts()[i].hint);
  }
}

}  // namespace
