#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {

const char* const kDescription =
    "Checks the table definitions of a ZEM XML schema the way the Velmora table store does before\n"
    "it creates or changes a table, and reports every table that the store would refuse.\n"
    "\n"
    "For each table, three checks run in turn, each on a fresh checker:\n"
    "  1. CheckTableTypeByCustomAttr: the table attributes (customattr2: TableType, ListNum,\n"
    "     SortFieldNum, SortRule, DataProtocolType) and the fields' sort marks;\n"
    "  2. VelmoraCheckTable: table name, primary key, key count against old proxies, value\n"
    "     fields, split table key, indexes, field names and field sizes;\n"
    "  3. CheckWhetherCountWithRefer (with --old, CheckWhetherNewEntryCountWithRefer): every\n"
    "     array field has a refer field (skipped when the schema has no such table).\n"
    "A table passes when every check returns 0; a table without attributes (an old-style\n"
    "definition) also passes the first check.";

const char* const kFooter =
    "Exit status:\n"
    "  0  every table passed\n"
    "  1  at least one table failed\n"
    "  2  the options or a schema could not be used; nothing was checked\n"
    "\n"
    "Examples:\n"
    "  velmora-check-table examples/game.xml\n"
    "  velmora-check-table -t player -t mail --server-version 3.40.0.193000 game.xml\n"
    "  velmora-check-table --old game-before.xml --format json game.xml";

}  // namespace

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
  app.footer(kFooter);
  app.add_option("SCHEMA", options.schema_path, "The ZEM XML schema file to check")
      ->required()
      ->type_name("SCHEMA.xml");
  app.add_option("-t,--table", options.tables,
                 "Check this table (repeatable). A name the schema lacks is still checked, and "
                 "the checker reports it. Default: every struct that has a primary key, in file "
                 "order")
      ->type_name("NAME")
      ->allow_extra_args(false);
  CLI::Option* kind_option =
      app.add_option(
             "-k,--kind", kind_text,
             "Table kind given to VelmoraCheckTable: generic (0), list (1), or any integer, "
             "passed as it is. Default: list when the table's attributes make it a list or "
             "sorted list table, otherwise generic")
          ->type_name("KIND")
          ->check(CLI::Validator(
              [](std::string& text) {
                return ParseTableKind(text) ? std::string()
                                            : "'" + text + "' is not generic, list or an integer";
              },
              "generic|list|INTEGER"));
  app.add_option("--server-version", options.server_version,
                 "Minimum server version that will hold the tables; empty skips the field size "
                 "limits. Default: empty")
      ->type_name("V");
  app.add_option("--proxy-version", options.proxy_version,
                 "Minimum proxy version that will serve the tables. Default: empty")
      ->type_name("V");
  app.add_option("--rest-proxy-version", options.rest_proxy_version,
                 "Minimum REST proxy version, or none when no REST proxy serves the tables. "
                 "Default: none")
      ->type_name("V");
  app.add_flag("--require-data-protocol", options.require_data_protocol,
               "A table's attributes must name its DataProtocolType");
  CLI::Option* old_option =
      app.add_option("--old", old_path,
                     "The schema as it was before this change: arrays that were already there are "
                     "not judged again by the refer check")
          ->type_name("OLD.xml");
  app.add_option("-f,--format", format_text, "Report format: text (default) or json")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"text", "json"}));

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // Help and version requests end well; every other parse failure is a usage error.
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
