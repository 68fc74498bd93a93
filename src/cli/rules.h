// The rules reference of velmora-check-table: every result code the table checks produce, what
// the store requires and why, its limits, the texts that report it, and a schema that breaks the
// rule next to one that keeps it; and a one-line hint for every failure text a schema file can
// bring about. The checker's own texts and codes are quoted here, never changed.
#ifndef VELMORA_CLI_RULES_H_
#define VELMORA_CLI_RULES_H_

#include <string>
#include <vector>

// How a text reaches the person reading the report.
enum class RuleTextRole {
  kFailure,  // the check's message: written to the error buffer and logged at error priority
  kLookup,   // a key or index lookup's line; the check that asked adds its own after it
  kWrapper,  // the entry point's line around a check's failure; the code is that check's
  kReport,   // the heading of a count/refer report, followed by the offending fields
  kLogOnly,  // logged at error priority; the error buffer keeps another text
  kNote,     // logged at error priority although nothing fails
};

// One text a check writes, exactly as the checker formats it (%s and %d where it fills in).
struct RuleText {
  const char* format;
  int code;            // the result it reports; for a wrapper, 0 (it carries the check's code)
  const char* checks;  // the checks that write it, separated by ", "; a wrapper's wrapped check
  RuleTextRole role;
  const char* hint;  // one line: what to change in the schema, with the limit as a number
};

// A schema that breaks the rule and the same schema with the rule kept.
struct RuleExample {
  std::vector<std::string> options;  // command-line options both schemas are checked with
  std::string failing;               // ZEM XML
  std::string fixed;                 // ZEM XML that passes every check
  // What the first failing check returns for the failing schema: the code itself, except for a
  // lookup's code, which the calling check replaces with its own.
  int first_result;
};

// A result code the checks produce, explained for a table designer.
struct Rule {
  int code;
  const char* summary;      // one line
  const char* requirement;  // what the store requires and why; paragraphs separated by "\n\n"
  std::vector<const char*> limits;
  RuleExample example;
};

// Every code the checks produce, from -1 down to -51; success and the codes only other parts of
// the table service use are not among them.
const std::vector<Rule>& ProducedRules();

// The rule of a code given by name (letter case ignored) or number ("-6" or "6"), or nullptr.
const Rule* FindRule(const std::string& code);

// Why a --explain argument names no rule, with the valid codes; "" when it names one.
std::string UnknownRuleMessage(const std::string& code);

// Every failure text with a hint, in the order of the checks.
const std::vector<RuleText>& RuleTexts();

// The texts that report a rule's code, wrappers included, in the order of RuleTexts().
std::vector<const RuleText*> TextsReporting(int code);

// The failure text with this exact format, or nullptr when the reference does not list it.
const RuleText* FindRuleText(const char* format);

// The hint of the failure text with this exact format, or nullptr when it has none. A text the
// checker passes as the argument of "%s" (a fixed usage text, the ERR_ENTRY_LEN; list) is found
// by that text.
const char* HintForFormat(const char* format);

// The hint of a reported message when its format alone does not tell ("%s", or a text copied as
// it stands): HintForFormat(format) when that has one, else the hint of a fixed text equal to
// message, else the hint of a report heading message starts with. nullptr when none applies.
const char* HintForReport(const char* format, const char* message);

// The formats that have a hint, in the order of RuleTexts().
std::vector<const char*> HintFormats();

// --list-rules: one line per produced code, "NUMBER  NAME  SUMMARY", columns aligned.
std::string ListRules();

// --explain: the whole reference of one rule, as Markdown that also reads well in a terminal.
// docs/rules.md is the explanation of every rule, in the order of ProducedRules().
std::string ExplainRule(const Rule& rule);

#endif  // VELMORA_CLI_RULES_H_
