#include "cli/report.h"

#include <nlohmann/json.hpp>

#include "cli/utf8.h"
#include "common/check_table_error.h"

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

void WriteFailedCheck(const std::string& place, const TableRun& table, const CheckRun& check,
                      std::ostream& out) {
  const std::string& headline = HeadlineMessage(check);
  out << place << ": error: " << table.table << ": " << headline << " ["
      << ResultCodeText(check.result) << "]\n";
  for (const WlogRecord& line : check.log) {
    if (line.priority > kShownPriority || line.text == headline) continue;
    out << "    " << line.text << '\n';
  }
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

void WriteJson(const Json& json, std::ostream& out) {
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
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
    for (const CheckRun& check : table.checks) {
      if (!check.passed) WriteFailedCheck(place, table, check, out);
    }
  }
  const size_t checked = run.tables.size();
  out << checked << (checked == 1 ? " table" : " tables") << " checked, " << failed << " failed\n";
}

void WriteJsonReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out) {
  Json json;
  json["format"] = 1;
  if (!run.loaded) {
    json["schema"] = TextJson(run.error_schema);
    Json error;
    error["line"] = PositionJson(run.error.line);
    error["column"] = PositionJson(run.error.column);
    error["message"] = TextJson(run.error.text);
    json["error"] = std::move(error);
    WriteJson(json, out);
    return;
  }

  json["schema"] = TextJson(options.schema_path);
  Json tables = Json::array();
  int failed = 0;
  for (const TableRun& table : run.tables) {
    if (!table.ok) ++failed;
    Json entry;
    entry["table"] = TextJson(table.table);
    entry["line"] = table.line ? Json(*table.line) : Json(nullptr);
    entry["ok"] = table.ok;
    Json checks = Json::array();
    for (const CheckRun& check : table.checks) checks.push_back(CheckJson(check));
    entry["checks"] = std::move(checks);
    tables.push_back(std::move(entry));
  }
  json["tables"] = std::move(tables);
  Json summary;
  summary["tables"] = run.tables.size();
  summary["failed"] = failed;
  json["summary"] = std::move(summary);
  if (!run.warnings.empty()) {
    Json warnings = Json::array();
    for (const ZemLoadMessage& warning : run.warnings) warnings.push_back(WarningJson(warning));
    json["warnings"] = std::move(warnings);
  }
  WriteJson(json, out);
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
