#include "cli/report.h"

#include <nlohmann/json.hpp>

#include <sstream>

#include "cli/color.h"
#include "cli/github_report.h"
#include "cli/json_stream.h"
#include "cli/json_text.h"
#include "cli/sarif_report.h"
#include "cli/short_names.h"
#include "cli/utf8.h"
#include <velmora/check_table_error.h>

namespace {


// "FILE:LINE" or, for a table the schema lacks, "FILE".
std::string TablePlace(const std::string& schema_path, const TableRun& table) {
  if (!table.line) return schema_path;
  return schema_path + ":" + std::to_string(*table.line);
}

// "FILE:LINE:COL", "FILE:LINE" or "FILE", as far as the finding has a place.
std::string FindingPlace(const std::string& schema_path, const Finding& finding) {
  std::string place = schema_path;
  if (finding.line > 0) place += ":" + std::to_string(finding.line);
  if (finding.line > 0 && finding.column > 0) place += ":" + std::to_string(finding.column);
  return place;
}

// What a finding is about: "TABLE" or "TABLE.NAME", NAME as shown.
std::string FindingSubject(const std::string& table, const Finding& finding,
                           const std::string& shown_name) {
  if (finding.element == FindingElement::kStruct) return shown_name;
  return table + "." + shown_name;
}

// One finding: the compiler-style line with its most specific reason, then the lines around it
// as notes, then what to change.
void WriteFinding(const std::string& schema_path, const std::string& table, const Finding& finding,
                  const std::unordered_set<std::string>& long_names, bool colored,
                  std::ostream& out) {
  // The element's name is shortened on its own: joined to the table's it is no whole name.
  const std::string shown_name = ShortenLongNames(finding.name, table, long_names);
  out << FindingPlace(schema_path, finding) << ": "
      << (finding.also ? "also:" : Colored("error:", Paint::kError, colored)) << " "
      << FindingSubject(table, finding, shown_name) << ": " << finding.message << " ["
      << finding.code << "]\n";
  for (const std::string& note : finding.notes) out << "    note: " << note << '\n';
  if (finding.help != nullptr) out << "    help: " << finding.help << '\n';
}

// A failing table: every finding of its failing checks, in the order the checks ran; a finding
// two checks share (a table name rule that the attribute check and the entry point both apply)
// is shown once. Long names are shown shortened, so that every reason stays on screen.
void WriteFailedTable(const std::string& schema_path, const TableRun& table,
                      const std::unordered_set<std::string>& long_names, bool colored,
                      std::ostream& out) {
  // Each finding is written as soon as it is shortened: a table can fail on a million fields.
  std::ostringstream lines;
  ShownOnce shown;
  for (const CheckRun& check : table.checks) {
    for (const Finding& finding : check.findings) {
      if (!shown.First(finding)) continue;
      lines.str(std::string());
      WriteFinding(schema_path, table.table, finding, long_names, colored, lines);
      out << ShortenLongNames(lines.str(), table.table, long_names);
    }
  }
}

Json TextJson(const std::string& text) { return Json(ToValidUtf8(text)); }

// A position of 0 means the message has none (a file that cannot be read).
Json PositionJson(int position) { return position > 0 ? Json(position) : Json(nullptr); }

void WritePositionJson(int position, JsonStream& json) {
  if (position > 0) {
    json.Number(position);
  } else {
    json.Null();
  }
}

void WriteLogJson(const std::vector<CheckLogLine>& lines, JsonStream& json) {
  json.BeginArray();
  for (const CheckLogLine& line : lines) {
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

void WriteFindingJson(const Finding& finding, JsonStream& json) {
  json.BeginObject();
  json.Key("line");
  WritePositionJson(finding.line, json);
  json.Key("column");
  WritePositionJson(finding.column, json);
  json.Key("element");
  json.String(FindingElementName(finding.element));
  json.Key("name");
  json.String(finding.name);
  json.Key("message");
  json.String(finding.message);
  json.Key("code");
  json.String(finding.code);
  if (finding.also) {
    json.Key("also");
    json.Bool(true);
  }
  if (!finding.notes.empty()) {
    json.Key("notes");
    json.BeginArray();
    for (const std::string& note : finding.notes) json.String(note);
    json.EndArray();
  }
  if (finding.help != nullptr) {
    json.Key("help");
    json.String(finding.help);
  }
  json.EndObject();
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
  json.Key("findings");
  json.BeginArray();
  for (const Finding& finding : check.findings) WriteFindingJson(finding, json);
  json.EndArray();
  json.EndObject();
}

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

Json OptionalTextJson(const std::string& text) {
  return text.empty() ? Json(nullptr) : TextJson(text);
}

// Under --strict each warning is also an error, in the shape of a finding: its place, the
// attribute or element it is about with its name as written, its words, and the code "strict".
Json StrictErrorsJson(const std::vector<ZemLoadMessage>& warnings) {
  Json json = Json::array();
  for (const ZemLoadMessage& warning : warnings) {
    Json error;
    error["file"] = TextJson(warning.file);
    error["line"] = PositionJson(warning.line);
    error["column"] = PositionJson(warning.column);
    error["element"] = OptionalTextJson(warning.element);
    error["name"] = OptionalTextJson(warning.name);
    error["message"] = TextJson(warning.text);
    error["code"] = "strict";
    json.push_back(std::move(error));
  }
  return json;
}

// The loader warnings: on err (not with --quiet), or under --strict as error lines, on out beside
// the tables when the schema loaded.
void WriteTextWarnings(const CheckOptions& options, const SchemaRun& run, std::ostream& out,
                       std::ostream& err) {
  if (!run.strict && options.quiet) return;
  for (const ZemLoadMessage& warning : run.warnings) {
    if (run.strict) {
      const bool on_out = run.loaded;
      const std::string label = Colored(
          "error", Paint::kError, on_out ? options.color_report : options.color_messages);
      (on_out ? out : err) << FormatZemLoadMessage(warning, label.c_str()) << " [strict]\n";
    } else {
      err << FormatZemLoadMessage(warning,
                                  Colored("warning", Paint::kWarning, options.color_messages).c_str())
          << '\n';
    }
  }
}

// ", 2 warnings are errors under --strict" after the summary of a strict run that warned.
std::string StrictSummary(const SchemaRun& run) {
  if (!run.strict || run.warnings.empty()) return std::string();
  const size_t count = run.warnings.size();
  return ", " + std::to_string(count) +
         (count == 1 ? " warning is an error" : " warnings are errors") + " under --strict";
}

// The last line of the text report: how many tables were checked and how many failed.
void WriteSummary(const SchemaRun& run, int failed, bool colored, std::ostream& out) {
  const size_t checked = run.tables.size();
  const bool strict_failed = run.strict && !run.warnings.empty();
  const std::string summary = std::to_string(checked) + (checked == 1 ? " table" : " tables") +
                              " checked, " + std::to_string(failed) + " failed" +
                              StrictSummary(run);
  out << Colored(summary,
                 failed > 0 || strict_failed ? Paint::kSummaryFailed : Paint::kSummaryPassed,
                 colored)
      << '\n';
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

void WriteJson(const Json& json, std::ostream& out) {
  WriteJsonIndented(json, 0, out);
  out << '\n';
}

Json LoadErrorJson(const ZemLoadMessage& error) {
  Json json;
  json["line"] = PositionJson(error.line);
  json["column"] = PositionJson(error.column);
  json["message"] = TextJson(error.text);
  return json;
}

// A schema that could not be loaded: its first load error, then all of them (and, under
// --strict, every warning as an error).
void WriteLoadErrorJson(const SchemaRun& run, std::ostream& out) {
  Json json;
  json["format"] = 1;
  json["schema"] = TextJson(run.error_schema);
  if (run.strict) json["strict"] = true;
  json["error"] = LoadErrorJson(run.error);
  Json errors = Json::array();
  for (const ZemLoadMessage& error : run.errors) errors.push_back(LoadErrorJson(error));
  // Under --strict the warnings follow the load errors, as findings of code "strict".
  if (run.strict) {
    for (Json& strict_error : StrictErrorsJson(run.warnings)) errors.push_back(std::move(strict_error));
  }
  json["errors"] = std::move(errors);
  if (!run.warnings.empty()) json["warnings"] = WarningsJson(run.warnings);
  WriteJson(json, out);
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
  WriteTextWarnings(options, run, out, err);
  if (!run.loaded) {
    const std::string label = Colored("error", Paint::kError, options.color_messages);
    for (const ZemLoadMessage& error : run.errors) {
      err << FormatZemLoadMessage(error, label.c_str()) << '\n';
    }
    return;
  }

  const bool colored = options.color_report;
  int failed = 0;
  for (const TableRun& table : run.tables) {
    if (!table.ok) {
      ++failed;
      WriteFailedTable(options.schema_path, table, run.long_names, colored, out);
    } else if (!options.quiet) {
      out << TablePlace(options.schema_path, table) << ": " << Colored("ok:", Paint::kOk, colored)
          << " " << table.table << " (" << DescribeTableKind(table.checks.front()) << ")\n";
    }
  }
  if (!options.quiet) WriteSummary(run, failed, colored, out);
}

void WriteJsonReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out) {
  if (!run.loaded) {
    WriteLoadErrorJson(run, out);
    return;
  }

  // The document is written one table at a time, each as it is read, so that no part of it
  // stands in memory as a JSON tree.
  out << "{\n  \"format\": 1,\n  \"schema\": ";
  WriteJsonIndented(TextJson(options.schema_path), 1, out);
  if (run.strict) out << ",\n  \"strict\": true";
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
  WriteJsonIndented(summary, 1, out);
  if (!run.warnings.empty()) {
    out << ",\n  \"warnings\": ";
    WriteJsonIndented(WarningsJson(run.warnings), 1, out);
  }
  if (run.strict && !run.warnings.empty()) {
    out << ",\n  \"errors\": ";
    WriteJsonIndented(StrictErrorsJson(run.warnings), 1, out);
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
