#include "cli/options.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>

#include "cli/config.h"
#include "cli/rules.h"
#include "cli/short_names.h"

#include <velmora/version.h>

namespace {

// The most tables checked at once: far more threads than any machine has cores would only cost.
constexpr unsigned kMaxJobs = 1024;

const char* const kDescription =
    "Checks the table definitions of ZEM XML schemas the way the Velmora table store does before\n"
    "it creates or changes a table, and reports every table that the store would refuse. Each\n"
    "SCHEMA is a file, a folder (every *.xml file below it, in byte order of their paths) or -\n"
    "(one schema on standard input); one that cannot be used does not stop the others.\n"
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
    "  text    per failing table, one line per finding at the element at fault,\n"
    "          FILE:LINE:COL: error: TABLE.NAME: REASON [CODE], with note: and help: lines\n"
    "          under it (also: for what a later step finds); FILE:LINE: ok: TABLE (KIND) per\n"
    "          passing table; then a summary line. Loader warnings and errors go to\n"
    "          standard error; with --strict each warning is an error line\n"
    "          FILE:LINE:COL: error: TEXT [strict] before the tables.\n"
    "  json    one document: per table every check's result, code name, message, attribute\n"
    "          parse results, log lines (priority, function, file, line, text) and findings.\n"
    "  sarif   SARIF 2.1.0 for code scanning: a rule per result code, one result per finding\n"
    "          at its line; loader warnings (load-warning) and errors (load-error) too.\n"
    "  github  GitHub Actions workflow commands: ::error file=F,line=L,col=C,title=CODE::TEXT\n"
    "          per finding, ::warning per loader warning; passing tables print nothing.\n"
    "With several files or a folder, text and github list one schema after the other (text\n"
    "ends with a line for them all), json is {\"format\": 1, \"files\": [each schema's document\n"
    "without \"format\"], \"summary\": {\"files\", \"tables\", \"failed\"}} and sarif is one run\n"
    "with every schema. --old goes with one schema only. With one file every report is that\n"
    "file's alone.\n"
    "\n"
    "Config file:\n"
    "  .velmora-check.toml in the current folder or the nearest folder above it, up to the\n"
    "  repository root, or the one --config names, sets server-version, proxy-version,\n"
    "  rest-proxy-version (strings), require-data-protocol and strict (true or false) and\n"
    "  format (a string); an option given on the command line wins. --no-config reads none.\n"
    "\n"
    "Exit status:\n"
    "  0  every table passed\n"
    "  1  at least one table failed, or with --strict the loader warned\n"
    "  2  the options or a schema could not be used, or the report could not be written (a\n"
    "     reader that leaves early, as head does, gets no message)\n"
    "\n"
    "Examples:\n"
    "  velmora-check-table examples/game.xml\n"
    "  velmora-check-table -t player -t mail --server-version 3.40.0.193000 game.xml\n"
    "  velmora-check-table --old game-before.xml --format json game.xml\n"
    "  velmora-check-table --format sarif schemas/ > velmora.sarif\n"
    "  git show HEAD:game.xml | velmora-check-table --format github -\n"
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


// What the command line gives as text, read once parsing is over.
struct CommandLineTexts {
  std::string kind;
  std::string old_path;
  std::string config_path;
  bool no_config = false;
  ColorChoice color = ColorChoice::kAuto;
};

// --server-version, --proxy-version, --rest-proxy-version: versions, or none where there may be
// no such server.
void AddVersionOptions(CLI::App& app, CheckOptions& options) {
  const auto version = [](bool none_allowed) {
    return CLI::Validator(
        [none_allowed](std::string& text) { return VersionError(text, none_allowed); }, "");
  };
  app.add_option("--server-version", options.server_version,
                 "Oldest server version that will hold the tables (enables size limits)")
      ->type_name("V")
      ->check(version(false));
  app.add_option("--proxy-version", options.proxy_version,
                 "Oldest proxy version that will serve the tables; default: empty")
      ->type_name("V")
      ->check(version(false));
  app.add_option("--rest-proxy-version", options.rest_proxy_version,
                 "Oldest REST proxy version, or none (the default): no REST proxy")
      ->type_name("V")
      ->check(version(true));
}

// What is checked: the tables, their kind, the versions and the schema before the change.
void AddCheckOptions(CLI::App& app, CheckOptions& options, CommandLineTexts& texts) {
  app.add_option("SCHEMA", options.schemas,
                 "Files; a folder: its *.xml files, all levels; -: standard input")
      ->required()
      ->type_name("");
  app.add_option("-t,--table", options.tables,
                 "Check this table (repeatable); default: all structs with a primary key")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_option("-k,--kind", texts.kind,
                 "generic (0), list (1) or any integer; default: from table attributes")
      ->type_name("KIND")
      ->check(CLI::Validator([](std::string& text) { return KindError(text); },
                             "generic|list|INTEGER"));
  AddVersionOptions(app, options);
  app.add_flag("--require-data-protocol", options.require_data_protocol,
               "A table's customattr2 must name its DataProtocolType");
  app.add_option("--old", texts.old_path,
                 "The schema before this change: only the arrays it adds are judged")
      ->type_name("OLD.xml");
}

// How the report is written, and where the settings of a repository come from.
void AddOutputOptions(CLI::App& app, CheckOptions& options, CommandLineTexts& texts) {
  app.add_option_function<std::string>(
         "-f,--format",
         [&options](const std::string& text) { options.format = *ParseReportFormat(text); },
         "Report format: text (default), json, sarif or github")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"text", "json", "sarif", "github"}));
  app.add_flag("--strict", options.strict,
               "Every loader warning is an error: listed at its place, exit status 1");
  app.add_flag("-q,--quiet", options.quiet,
               "Text report: only the failing tables, no ok lines, summary or warnings");
  app.add_option_function<std::string>(
         "--color",
         [&texts](const std::string& text) { texts.color = *ParseColorChoice(text); },
         "Colour labels: auto (on a terminal without NO_COLOR), always, never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  app.add_option("--config", texts.config_path,
                 "Settings from this file instead of the .velmora-check.toml found")
      ->type_name("FILE");
  app.add_flag("--no-config", texts.no_config, "Read no config file, not even the one --config names");
}

// A parse that ended before the run: help, version and reference requests end well (0); anything
// else is a usage error (2). An argument that looks like an option but is none is named alone,
// since whatever follows it was only left over because of it.
int EndParse(const CLI::App& app, const CLI::ParseError& error, std::ostream& out,
             std::ostream& err) {
  if (error.get_exit_code() != 0) {
    for (const std::string& arg : app.remaining()) {
      if (arg.size() < 2 || arg[0] != '-') continue;
      err << "unknown option " << arg.substr(0, arg.find('=')) << "\n"
          << "Run with --help for more information.\n";
      return 2;
    }
  }
  return app.exit(error, out, err) == 0 ? 0 : 2;
}

// Settings of the config file for the options the command line left out. Returns "" or why the
// file cannot be used.
std::string ApplyConfig(const CLI::App& app, const CommandLineTexts& texts, CheckOptions& options) {
  if (texts.no_config) return std::string();
  std::string path = texts.config_path;
  if (path.empty()) {
    std::error_code error;
    const std::filesystem::path here = std::filesystem::current_path(error);
    if (error) return std::string();
    path = FindConfigFile(here);
    if (path.empty()) return std::string();
  }
  return ApplyConfigFile(
      path, [&app](const std::string& key) { return app.get_option("--" + key)->count() > 0; },
      options);
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

std::optional<ReportFormat> ParseReportFormat(const std::string& text) {
  if (text == "text") return ReportFormat::kText;
  if (text == "json") return ReportFormat::kJson;
  if (text == "sarif") return ReportFormat::kSarif;
  if (text == "github") return ReportFormat::kGithub;
  return std::nullopt;
}

std::string VersionError(const std::string& text, bool none_allowed) {
  if (none_allowed && text == "none") return std::string();
  size_t parts = 0;
  size_t from = 0;
  while (true) {
    const size_t dot = text.find('.', from);
    const size_t end = dot == std::string::npos ? text.size() : dot;
    const bool digits = end > from && text.find_first_not_of("0123456789", from) >= end;
    if (!digits) break;
    ++parts;
    if (dot == std::string::npos) {
      if (parts == 3 || parts == 4) return std::string();
      break;
    }
    from = dot + 1;
  }
  return "'" + text + "' is not a version: three or four decimal numbers joined by dots, like " +
         "3.40.0 or 3.40.0.193000" + (none_allowed ? ", or none" : "");
}

ParsedCommandLine ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                   std::ostream& err) {
  ParsedCommandLine parsed;
  CheckOptions& options = parsed.options;
  CommandLineTexts texts;

  CLI::App app(kDescription, "velmora-check-table");
  app.footer(kFooter + LimitsText());
  app.set_version_flag("--version", std::string("velmora-check-table ") + VelmoraVersion(),
                       "Print the version and exit");
  AddCheckOptions(app, options, texts);
  AddOutputOptions(app, options, texts);
  AddMaxInputSizeOption(app, options);
  AddJobsOption(app, options);
  AddRulesReferenceOptions(app, out);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    parsed.exit_status = EndParse(app, error, out, err);
    return parsed;
  }
  const std::string config_error = ApplyConfig(app, texts, options);
  if (!config_error.empty()) {
    err << config_error << '\n';
    parsed.exit_status = 2;
    return parsed;
  }

  if (app.get_option("--kind")->count() > 0) options.kind = ParseTableKind(texts.kind);
  if (app.get_option("--old")->count() > 0) options.old_schema_path = texts.old_path;
  options.color_report = UseColor(texts.color, STDOUT_FILENO);
  options.color_messages = UseColor(texts.color, STDERR_FILENO);
  options.schema_path = options.schemas.front();
  parsed.run = true;
  return parsed;
}
