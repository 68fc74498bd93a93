#include "cli/report.h"

#include <nlohmann/json.hpp>

#include <sstream>

#include "cli/github_report.h"
#include "cli/sarif_report.h"
#include "cli/short_names.h"
#include "cli/utf8.h"
#include <velmora/check_table_error.h>

namespace {

using Json = nlohmann::ordered_json;

// Lines of this priority or more severe are shown under a failing check in the text report.
constexpr int kShownPriority = WLOG_PRIORITY_ERROR;

// "FILE:LINE" or, for a table the schema lacks, "FILE".
std::string TablePlace(const std::string& schema_path, const TableRun& table) {
  if (!table.line) return schema_path;
  return schema_path + ":" + std::to_string(*table.line);
}

std::string ResultCodeText(int result) {
  const char* name = CheckResultName(result);
  return name != nullptr ? name : std::to_string(result);
}

// What a failing check says: the checker's message, or the list of offending fields of a
// count/refer check.
const std::string& HeadlineMessage(const CheckRun& check) {
  const bool is_count_refer =
      check.check == CheckKind::kCountRefer || check.check == CheckKind::kNewCountRefer;
  if (is_count_refer && !check.report.empty()) return check.report;
  return check.message;
}

// A failing table: one compiler-style line for its first failing check, then the error lines of
// every failing check. A later check that fails for another reason adds its own message and code
// before its lines. A line that repeats the headline or its own check's message (the entry point's
// wrapping line, a table name rule that both the attribute check and the entry point apply) is
// left out. Long names are shown shortened, so that every reason stays on screen.
void WriteFailedTable(const std::string& place, const TableRun& table,
                      const std::unordered_set<std::string>& long_names, std::ostream& out) {
  std::ostringstream body;
  const CheckRun* first = nullptr;
  for (const CheckRun& check : table.checks) {
    if (check.passed) continue;
    const std::string& message = HeadlineMessage(check);
    if (first == nullptr) {
      first = &check;
      body << ": error: " << table.table << ": " << message << " ["
           << ResultCodeText(check.result) << "]\n";
    } else if (message != HeadlineMessage(*first) || check.result != first->result) {
      body << "    " << message << " [" << ResultCodeText(check.result) << "]\n";
    }
    const std::string& headline = HeadlineMessage(*first);
    for (const WlogRecord& line : check.log) {
      if (line.priority > kShownPriority || line.text == message || line.text == headline) {
        continue;
      }
      body << "    " << line.text << '\n';
    }
  }
  out << place << ShortenLongNames(body.str(), table.table, long_names);
}

Json TextJson(const std::string& text) { return Json(ToValidUtf8(text)); }

Json CodeJson(int result) {
  const char* name = CheckResultName(result);
  return name != nullptr ? Json(name) : Json(nullptr);
}

Json LogJson(const std::vector<WlogRecord>& lines) {
  Json log = Json::array();
  for (const WlogRecord& line : lines) {
    Json entry;
    entry["priority"] = line.priority;
    entry["function"] = TextJson(line.function);
    entry["file"] = TextJson(line.file);
    entry["line"] = line.line;
    entry["text"] = TextJson(line.text);
    log.push_back(std::move(entry));
  }
  return log;
}

Json CheckJson(const CheckRun& check) {
  Json json;
  json["check"] = CheckName(check.check);
  if (check.check == CheckKind::kTable) json["kind"] = check.kind;
  json["result"] = check.result;
  json["code"] = CodeJson(check.result);
  json["message"] = TextJson(check.message);
  switch (check.check) {
    case CheckKind::kTableType:
      json["table_type"] = check.table_type;
      json["list_num"] = check.list_num;
      json["sort_field_num"] = check.sort_field_num;
      json["sort_rule"] = check.sort_rule;
      json["data_protocol"] = TextJson(check.data_protocol);
      break;
    case CheckKind::kCountRefer:
    case CheckKind::kNewCountRefer:
      json["report"] = TextJson(check.report);
      break;
    case CheckKind::kTable:
      break;
  }
  json["log"] = LogJson(check.log);
  return json;
}

// A position of 0 means the message has none (a file that cannot be read).
Json PositionJson(int position) { return position > 0 ? Json(position) : Json(nullptr); }

Json WarningJson(const ZemLoadMessage& warning) {
  Json json;
  json["file"] = TextJson(warning.file);
  json["line"] = PositionJson(warning.line);
  json["column"] = PositionJson(warning.column);
  json["message"] = TextJson(warning.text);
  return json;
}

Json WarningsJson(const std::vector<ZemLoadMessage>& warnings) {
  Json json = Json::array();
  for (const ZemLoadMessage& warning : warnings) json.push_back(WarningJson(warning));
  return json;
}

Json TableJson(const TableRun& table) {
  Json json;
  json["table"] = TextJson(table.table);
  json["line"] = table.line ? Json(*table.line) : Json(nullptr);
  json["ok"] = table.ok;
  Json checks = Json::array();
  for (const CheckRun& check : table.checks) checks.push_back(CheckJson(check));
  json["checks"] = std::move(checks);
  return json;
}

// Writes a value as it stands at this depth of an indented document: its inner lines are indented
// by two blanks per level.
void WriteIndented(const Json& json, int depth, std::ostream& out) {
  const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace);
  const std::string indent(static_cast<size_t>(depth) * 2, ' ');
  size_t from = 0;
  for (size_t newline = text.find('\n'); newline != std::string::npos;
       newline = text.find('\n', from)) {
    out.write(text.data() + from, static_cast<std::streamsize>(newline + 1 - from));
    out << indent;
    from = newline + 1;
  }
  out.write(text.data() + from, static_cast<std::streamsize>(text.size() - from));
}

void WriteJson(const Json& json, std::ostream& out) {
  WriteIndented(json, 0, out);
  out << '\n';
}

}  // namespace

std::string DescribeTableKind(const CheckRun& table_type_run) {
  if (table_type_run.result == ERROR_OLD_TABLE_DEFINE) return "generic, old-style definition";
  switch (table_type_run.table_type) {
    case 1:
      return "list of " + std::to_string(table_type_run.list_num);
    case 2: {
      const int fields = table_type_run.sort_field_num;
      return "sorted list of " + std::to_string(table_type_run.list_num) + " by " +
             std::to_string(fields) + (fields == 1 ? " field, " : " fields, ") +
             (table_type_run.sort_rule == 1 ? "DESC" : "INSC");
    }
    default:
      return "generic";
  }
}

void WriteTextReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out,
                     std::ostream& err) {
  for (const ZemLoadMessage& warning : run.warnings) {
    err << FormatZemLoadMessage(warning, "warning") << '\n';
  }
  if (!run.loaded) {
    err << FormatZemLoadMessage(run.error, "error") << '\n';
    return;
  }

  int failed = 0;
  for (const TableRun& table : run.tables) {
    const std::string place = TablePlace(options.schema_path, table);
    if (table.ok) {
      out << place << ": ok: " << table.table << " (" << DescribeTableKind(table.checks.front())
          << ")\n";
      continue;
    }
    ++failed;
    WriteFailedTable(place, table, run.long_names, out);
  }
  const size_t checked = run.tables.size();
  out << checked << (checked == 1 ? " table" : " tables") << " checked, " << failed << " failed\n";
}

void WriteJsonReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out) {
  if (!run.loaded) {
    Json json;
    json["format"] = 1;
    json["schema"] = TextJson(run.error_schema);
    Json error;
    error["line"] = PositionJson(run.error.line);
    error["column"] = PositionJson(run.error.column);
    error["message"] = TextJson(run.error.text);
    json["error"] = std::move(error);
    if (!run.warnings.empty()) json["warnings"] = WarningsJson(run.warnings);
    WriteJson(json, out);
    return;
  }

  // The document is written one table at a time, so that a schema of thousands of tables never
  // stands in memory as one JSON tree.
  out << "{\n  \"format\": 1,\n  \"schema\": ";
  WriteIndented(TextJson(options.schema_path), 1, out);
  out << ",\n  \"tables\": [";
  int failed = 0;
  for (size_t i = 0; i < run.tables.size(); ++i) {
    if (!run.tables[i].ok) ++failed;
    out << (i == 0 ? "\n    " : ",\n    ");
    WriteIndented(TableJson(run.tables[i]), 2, out);
  }
  out << (run.tables.empty() ? "]" : "\n  ]");
  Json summary;
  summary["tables"] = run.tables.size();
  summary["failed"] = failed;
  out << ",\n  \"summary\": ";
  WriteIndented(summary, 1, out);
  if (!run.warnings.empty()) {
    out << ",\n  \"warnings\": ";
    WriteIndented(WarningsJson(run.warnings), 1, out);
  }
  out << "\n}\n";
}

int WriteReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out,
                std::ostream& err) {
  switch (options.format) {
    case ReportFormat::kJson:
      WriteJsonReport(options, run, out);
      break;
    case ReportFormat::kSarif: {
      SarifReport sarif(out);
      sarif.AddSchema(options.schema_path, run);
      sarif.Finish();
      break;
    }
    case ReportFormat::kGithub:
      WriteGithubAnnotations(options.schema_path, run, out);
      break;
    case ReportFormat::kText:
      WriteTextReport(options, run, out, err);
      break;
  }
  return ExitStatusFor(run);
}
