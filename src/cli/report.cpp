#include "cli/report.h"

#include <nlohmann/json.hpp>

#include <sstream>

#include "cli/json_stream.h"
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

void WriteLogJson(const std::vector<WlogRecord>& lines, JsonStream& json) {
  json.BeginArray();
  for (const WlogRecord& line : lines) {
    json.BeginObject();
    json.Key("priority");
    json.Number(line.priority);
    json.Key("function");
    json.String(line.function);
    json.Key("file");
    json.String(line.file);
    json.Key("line");
    json.Number(line.line);
    json.Key("text");
    json.String(line.text);
    json.EndObject();
  }
  json.EndArray();
}

// What only some checks report: the table type check's attributes, a count/refer check's list.
void WriteCheckDetailsJson(const CheckRun& check, JsonStream& json) {
  switch (check.check) {
    case CheckKind::kTableType:
      json.Key("table_type");
      json.Number(check.table_type);
      json.Key("list_num");
      json.Number(check.list_num);
      json.Key("sort_field_num");
      json.Number(check.sort_field_num);
      json.Key("sort_rule");
      json.Number(check.sort_rule);
      json.Key("data_protocol");
      json.String(check.data_protocol);
      break;
    case CheckKind::kCountRefer:
    case CheckKind::kNewCountRefer:
      json.Key("report");
      json.String(check.report);
      break;
    case CheckKind::kTable:
      break;
  }
}

void WriteCheckJson(const CheckRun& check, JsonStream& json) {
  json.BeginObject();
  json.Key("check");
  json.String(CheckName(check.check));
  if (check.check == CheckKind::kTable) {
    json.Key("kind");
    json.Number(check.kind);
  }
  json.Key("result");
  json.Number(check.result);
  json.Key("code");
  const char* code = CheckResultName(check.result);
  if (code != nullptr) {
    json.String(code);
  } else {
    json.Null();
  }
  json.Key("message");
  json.String(check.message);
  WriteCheckDetailsJson(check, json);
  json.Key("log");
  WriteLogJson(check.log, json);
  json.EndObject();
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

// A table and its checks, written as they are read, at the depth of the tables' list.
void WriteTableJson(const TableRun& table, std::ostream& out) {
  JsonStream json(out, 2);
  json.BeginObject();
  json.Key("table");
  json.String(table.table);
  json.Key("line");
  if (table.line) {
    json.Number(*table.line);
  } else {
    json.Null();
  }
  json.Key("ok");
  json.Bool(table.ok);
  json.Key("checks");
  json.BeginArray();
  for (const CheckRun& check : table.checks) WriteCheckJson(check, json);
  json.EndArray();
  json.EndObject();
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

  // The document is written one table at a time, each as it is read, so that no part of it
  // stands in memory as a JSON tree.
  out << "{\n  \"format\": 1,\n  \"schema\": ";
  WriteIndented(TextJson(options.schema_path), 1, out);
  out << ",\n  \"tables\": [";
  int failed = 0;
  for (size_t i = 0; i < run.tables.size(); ++i) {
    if (!run.tables[i].ok) ++failed;
    out << (i == 0 ? "\n    " : ",\n    ");
    WriteTableJson(run.tables[i], out);
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
  if (options.format == ReportFormat::kJson) {
    WriteJsonReport(options, run, out);
  } else {
    WriteTextReport(options, run, out, err);
  }
  return ExitStatusFor(run);
}
