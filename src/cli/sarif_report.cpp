#include "cli/sarif_report.h"

#include <filesystem>
#include <system_error>

#include "cli/json_text.h"
#include "cli/rules.h"
#include "cli/utf8.h"
#include <velmora/check_table_error.h>
#include <velmora/version.h>

namespace {

namespace fs = std::filesystem;

const char* const kSarifSchema =
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/sarif-schema-2.1.0.json";

Json TextJson(const std::string& text) { return Json(ToValidUtf8(text)); }

Json MessageJson(const std::string& text) {
  Json message;
  message["text"] = TextJson(text);
  return message;
}

Json RuleJson(const std::string& id, const std::string& summary, const std::string& full,
              const std::string& help, const char* level) {
  Json rule;
  rule["id"] = id;
  rule["shortDescription"] = MessageJson(summary);
  rule["fullDescription"] = MessageJson(full);
  Json help_json = MessageJson(help);
  help_json["markdown"] = TextJson(help);
  rule["help"] = std::move(help_json);
  rule["defaultConfiguration"]["level"] = level;
  return rule;
}

// Every code the checks produce, then the loader's error and warning.
Json RulesJson() {
  Json rules = Json::array();
  for (const Rule& rule : ProducedRules()) {
    rules.push_back(RuleJson(CheckResultName(rule.code), rule.summary, rule.requirement,
                             ExplainRule(rule), "error"));
  }
  rules.push_back(RuleJson(
      kLoadErrorRule, "The schema file could not be used",
      "The file could not be read, is not a well-formed ZEM XML schema, or passes one of the "
      "loader's limits. None of its tables was checked.",
      "The message says what the loader refused and where. docs/schema-format.md describes the "
      "schema files and what the loader refuses; docs/limits.md lists its limits.",
      "error"));
  rules.push_back(RuleJson(
      kLoadWarningRule, "The loader passed over part of the schema file",
      "The file holds an element or attribute the loader does not know, or a macro defined "
      "twice. The tables were checked without it, which may not be what the file means.",
      "Correct the misspelt element or attribute, or remove the repeated macro. "
      "docs/schema-format.md lists the elements and attributes of a schema file.",
      "warning"));
  return rules;
}

Json ToolJson() {
  Json driver;
  driver["name"] = "velmora-check-table";
  driver["version"] = VelmoraVersion();
  driver["informationUri"] = VELMORA_INFORMATION_URI;
  driver["rules"] = RulesJson();
  Json tool;
  tool["driver"] = std::move(driver);
  return tool;
}

void AppendEncoded(const std::string& segment, std::string& uri) {
  static const char* const kHex = "0123456789ABCDEF";
  for (const char c : segment) {
    const unsigned char byte = static_cast<unsigned char>(c);
    const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                       (byte >= '0' && byte <= '9') || c == '-' || c == '.' || c == '_' ||
                       c == '~';
    if (plain) {
      uri += c;
    } else {
      uri += '%';
      uri += kHex[byte >> 4];
      uri += kHex[byte & 0x0F];
    }
  }
}

}  // namespace

std::string RelativeFileUri(const std::string& path) {
  fs::path file = fs::path(path).lexically_normal();
  std::error_code error;
  const fs::path here = fs::current_path(error);
  if (file.is_absolute() && !error) {
    const fs::path relative = file.lexically_relative(here);
    if (!relative.empty()) file = relative;
  }
  // A path that has no way from the current folder stays absolute, as a file URI.
  std::string uri = file.is_absolute() ? "file:///" : "";
  bool first = true;
  for (const fs::path& segment : file.relative_path()) {
    if (!first) uri += '/';
    AppendEncoded(segment.string(), uri);
    first = false;
  }
  return uri;
}

SarifReport::SarifReport(std::ostream& out) : m_out(out) {
  const Json tool = ToolJson();
  const Json& rules = tool["driver"]["rules"];
  for (size_t i = 0; i < rules.size(); ++i) {
    m_rule_index.emplace(rules[i]["id"].get<std::string>(), static_cast<int>(i));
  }
  m_out << "{\n  \"$schema\": \"" << kSarifSchema << "\",\n  \"version\": \"2.1.0\",\n"
        << "  \"runs\": [\n    {\n      \"tool\": ";
  WriteJsonIndented(tool, 3, m_out);
  m_out << ",\n      \"results\": [";
}

void SarifReport::AddSchema(const std::string& schema_path, const SchemaRun& run) {
  ArtifactIndex(RelativeFileUri(schema_path));
  for (const Annotation& annotation : LoadAnnotationsOf(run)) AddResult(annotation);
  for (const TableRun& table : run.tables) {
    for (const Annotation& annotation : AnnotationsOf(schema_path, table)) AddResult(annotation);
  }
}

void SarifReport::AddResult(const Annotation& annotation) {
  Json result;
  result["ruleId"] = annotation.rule;
  const auto rule = m_rule_index.find(annotation.rule);
  if (rule != m_rule_index.end()) result["ruleIndex"] = rule->second;
  result["level"] = annotation.level == AnnotationLevel::kWarning ? "warning" : "error";
  result["message"] = MessageJson(annotation.message);
  const std::string uri = RelativeFileUri(annotation.file);
  Json artifact;
  artifact["uri"] = uri;
  artifact["index"] = ArtifactIndex(uri);
  if (annotation.line) {
    Json physical;
    physical["artifactLocation"] = std::move(artifact);
    physical["region"]["startLine"] = *annotation.line;
    if (annotation.column) physical["region"]["startColumn"] = *annotation.column;
    Json location;
    location["physicalLocation"] = std::move(physical);
    result["locations"] = Json::array({std::move(location)});
  } else {
    // A problem of the file as a whole (it cannot be read, it lacks the table) has no place in
    // it: the result names the file as what was analysed.
    result["analysisTarget"] = std::move(artifact);
  }
  m_out << (m_has_results ? ",\n        " : "\n        ");
  WriteJsonIndented(result, 4, m_out);
  m_has_results = true;
}

int SarifReport::ArtifactIndex(const std::string& uri) {
  const auto known = m_artifact_index.find(uri);
  if (known != m_artifact_index.end()) return known->second;
  const int index = static_cast<int>(m_artifact_uris.size());
  m_artifact_uris.push_back(uri);
  m_artifact_index.emplace(uri, index);
  return index;
}

void SarifReport::Finish() {
  m_out << (m_has_results ? "\n      ],\n" : "],\n");
  Json artifacts = Json::array();
  for (const std::string& uri : m_artifact_uris) {
    Json artifact;
    artifact["location"]["uri"] = uri;
    artifact["mimeType"] = "application/xml";
    artifact["roles"] = Json::array({"analysisTarget"});
    artifacts.push_back(std::move(artifact));
  }
  m_out << "      \"artifacts\": ";
  WriteJsonIndented(artifacts, 3, m_out);
  m_out << "\n    }\n  ]\n}\n";
}
