#include "cli/options.h"

#include <CLI/CLI.hpp>

#include "cli/rules.h"
#include "cli/short_names.h"
#include <cerrno>
#include <climits>
#include <cstdlib>

#include <velmora/version.h>

namespace {

// The most tables checked at once: far more threads than any machine has cores would only cost.
constexpr unsigned kMaxJobs = 1024;

const char* const kDescription =
    "Checks the table definitions of a ZEM XML schema the way the Velmora table store does before\n"
    "it creates or changes a table, and reports every table that the store would refuse.\n"
    "\n"
    "For each table (by default every struct that has a primary key, in file order), three checks\n"
    "run in turn, each on a fresh checker:\n"
    "  1. CheckTableTypeByCustomAttr: the table attributes in customattr2 (TableType, ListNum,\n"
    "     SortFieldNum, SortRule, DataProtocolType, stringdisplaycharset) and the fields' sort\n"
    "     marks (customattr2=\"sort1\" to \"sort4\");\n"
    "  2. VelmoraCheckTable: table name, table kind, primary key, key count against old\n"
    "     proxies, value fields, split table key, indexes, field names, field sizes (only with\n"
    "     --server-version) and field names that repeat regardless of letter case. The kind\n"
    "     is list (1) for a table whose attributes make it a list or sorted list table,\n"
    "     otherwise generic (0), unless --kind gives one;\n"
    "  3. CheckWhetherCountWithRefer: every array field (count above 1) has a refer field; with\n"
    "     --old, CheckWhetherNewEntryCountWithRefer judges only the arrays the change adds.\n"
    "     Skipped for a table the schema lacks.\n"
    "A table passes when every check returns 0; a table without customattr2 (an old-style\n"
    "definition) also passes the first check.\n";

const char* const kFooter =
    "Reports:\n"
    "  text  one line per failing table, FILE:LINE: error: TABLE: MESSAGE [CODE], with the\n"
    "        checker's error lines under it; FILE:LINE: ok: TABLE (KIND) per passing table;\n"
    "        then a summary line. Loader warnings and errors go to standard error.\n"
    "  json  one document: per table every check's result, code name, message, attribute\n"
    "        parse results and log lines (priority, function, file, line, text).\n"
    "\n"
    "Exit status:\n"
    "  0  every table passed\n"
    "  1  at least one table failed\n"
    "  2  the options or a schema could not be used; nothing was checked\n"
    "\n"
    "Examples:\n"
    "  velmora-check-table examples/game.xml\n"
    "  velmora-check-table -t player -t mail --server-version 3.40.0.193000 game.xml\n"
    "  velmora-check-table --old game-before.xml --format json game.xml\n"
    "  velmora-check-table --explain ERROR_INDEX_FIELD\n"
    "\n";

// The limits the command works within, each named in the message of an input that passes it.
std::string LimitsText() {
  return "Limits:\n"
         "  input size    " + FormatZemByteSize(ZEM_DEFAULT_MAX_INPUT_BYTES) +
         " per schema file unless --max-input-size says otherwise; a larger\n"
         "                regular file is refused before it is read, a pipe or device once it\n"
         "                passes the limit\n"
         "  names         struct, union and entry names of at most " +
         std::to_string(ZEM_MAX_NAME_BYTES) + " bytes\n"
         "  customattr2   at most " + std::to_string(ZEM_MAX_ENTRY_CUSTOMATTR2_BYTES) +
         " bytes on an entry\n"
         "  sizes         entries, structs and unions of at most " +
         std::to_string(ZEM_MAX_SIZE_BYTES) + " bytes\n"
         "  primary key   at most " + std::to_string(ZEM_MAX_KEY_MEMBERS) + " members\n"
         "  index         at most " + std::to_string(ZEM_MAX_INDEX_COLUMNS) + " columns\n"
         "  struct depth  the count/refer checks follow struct entries at most 64 levels deep\n"
         "  warnings      at most " + std::to_string(ZEM_MAX_WARNINGS_PER_KIND) +
         " of one kind are listed per file; one more line counts the rest\n"
         "  text report   names longer than " + std::to_string(kShownNameBytes) +
         " bytes are shown shortened, with their length\n"
         "                (JSON keeps every text whole)";
}

// Why a --max-input-size value is refused, or "" when it is accepted.
std::string SizeError(const std::string& text) {
  if (ParseByteSize(text)) return std::string();
  return "'" + text + "' is not a size: a whole number of bytes of at least 1, optionally " +
         "followed by K, M or G";
}

// --max-input-size SIZE: the largest schema file read.
void AddMaxInputSizeOption(CLI::App& app, CheckOptions& options) {
  app.add_option_function<std::string>(
         "--max-input-size",
         [&options](const std::string& text) { options.max_input_bytes = *ParseByteSize(text); },
         "Largest schema file read, in bytes or with K, M or G; default: " +
             FormatZemByteSize(ZEM_DEFAULT_MAX_INPUT_BYTES))
      ->type_name("SIZE")
      ->check(CLI::Validator(SizeError, ""));
}

// --jobs N: how many tables are checked at once.
void AddJobsOption(CLI::App& app, CheckOptions& options) {
  app.add_option("--jobs", options.jobs,
                 "Tables checked at once, from 1 to " + std::to_string(kMaxJobs) +
                     "; default: one per core")
      ->type_name("N")
      ->check(CLI::Range(1U, kMaxJobs).description(""));
}

// Why a --kind value is refused, or "" when it is accepted.
std::string KindError(const std::string& text) {
  if (ParseTableKind(text)) return std::string();
  const size_t digits_from = (!text.empty() && (text[0] == '-' || text[0] == '+')) ? 1 : 0;
  const bool is_integer = digits_from < text.size() &&
                          text.find_first_not_of("0123456789", digits_from) == std::string::npos;
  if (is_integer) return "'" + text + "' is outside the int range";
  return "'" + text + "' is not generic, list or an integer";
}

// --list-rules and --explain CODE: answered on out as soon as they are read, without a schema;
// parsing then ends with CLI::Success.
void AddRulesReferenceOptions(CLI::App& app, std::ostream& out) {
  app.add_flag_callback(
         "--list-rules",
         [&out]() {
           out << ListRules();
           throw CLI::Success();
         },
         "List every result code the checks produce: number, name, one line")
      ->trigger_on_parse();
  app.add_option_function<std::string>(
         "--explain",
         [&out](const std::string& code) {
           out << ExplainRule(*FindRule(code));
           throw CLI::Success();
         },
         "Explain a code, by name or number: rule, limits, texts, example")
      ->type_name("CODE")
      ->check(CLI::Validator([](std::string& code) { return UnknownRuleMessage(code); }, ""))
      ->trigger_on_parse();
}

}  // namespace

std::optional<uint64_t> ParseByteSize(const std::string& text) {
  size_t digits = 0;
  while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') ++digits;
  if (digits == 0 || text.size() - digits > 1) return std::nullopt;
  unsigned shift = 0;
  if (digits < text.size()) {
    const char unit = text[digits];
    if (unit == 'K' || unit == 'k') {
      shift = 10;
    } else if (unit == 'M' || unit == 'm') {
      shift = 20;
    } else if (unit == 'G' || unit == 'g') {
      shift = 30;
    } else {
      return std::nullopt;
    }
  }
  uint64_t value = 0;
  for (size_t i = 0; i < digits; ++i) {
    const uint64_t digit = static_cast<uint64_t>(text[i] - '0');
    if (value > (UINT64_MAX - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  if (value == 0 || value > (UINT64_MAX >> shift)) return std::nullopt;
  return value << shift;
}

std::optional<int> ParseTableKind(const std::string& text) {
  if (text == "generic") return 0;
  if (text == "list") return 1;
  if (text.empty()) return std::nullopt;
  size_t digits_from = (text[0] == '-' || text[0] == '+') ? 1 : 0;
  if (digits_from == text.size()) return std::nullopt;
  for (size_t i = digits_from; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
  }
  errno = 0;
  const long value = std::strtol(text.c_str(), nullptr, 10);
  if (errno == ERANGE || value < INT_MIN || value > INT_MAX) return std::nullopt;
  return static_cast<int>(value);
}

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                   std::ostream& err) {
  ParsedCommandLine parsed;
  CheckOptions& options = parsed.options;
  std::string kind_text;
  std::string format_text = "text";
  std::string old_path;

  CLI::App app(kDescription, "velmora-check-table");
  app.footer(kFooter + LimitsText());
  app.set_version_flag("--version", std::string("velmora-check-table ") + VelmoraVersion(),
                       "Print the version and exit");
  app.add_option("SCHEMA", options.schema_path, "The ZEM XML schema file to check")
      ->required()
      ->type_name("SCHEMA.xml");
  app.add_option("-t,--table", options.tables,
                 "Check this table (repeatable); default: all structs with a primary key")
      ->type_name("NAME")
      ->allow_extra_args(false);
  CLI::Option* kind_option =
      app.add_option("-k,--kind", kind_text,
                     "generic (0), list (1) or any integer; default: from table attributes")
          ->type_name("KIND")
          ->check(CLI::Validator([](std::string& text) { return KindError(text); },
                                 "generic|list|INTEGER"));
  app.add_option("--server-version", options.server_version,
                 "Oldest server version that will hold the tables (enables size limits)")
      ->type_name("V");
  app.add_option("--proxy-version", options.proxy_version,
                 "Oldest proxy version that will serve the tables; default: empty")
      ->type_name("V");
  app.add_option("--rest-proxy-version", options.rest_proxy_version,
                 "Oldest REST proxy version, or none (the default): no REST proxy")
      ->type_name("V");
  app.add_flag("--require-data-protocol", options.require_data_protocol,
               "A table's customattr2 must name its DataProtocolType");
  CLI::Option* old_option =
      app.add_option("--old", old_path,
                     "The schema before this change: only the arrays it adds are judged")
          ->type_name("OLD.xml");
  app.add_option("-f,--format", format_text, "Report format: text (default) or json")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"text", "json"}));
  AddMaxInputSizeOption(app, options);
  AddJobsOption(app, options);
  AddRulesReferenceOptions(app, out);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // Help, version and reference requests end well; every other parse failure is a usage error.
    const int status = app.exit(error, out, err);
    parsed.exit_status = status == 0 ? 0 : 2;
    return parsed;
  }

  if (kind_option->count() > 0) options.kind = ParseTableKind(kind_text);
  if (old_option->count() > 0) options.old_schema_path = old_path;
  options.format = format_text == "json" ? ReportFormat::kJson : ReportFormat::kText;
  parsed.run = true;
  return parsed;
}
