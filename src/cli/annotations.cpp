#include "cli/annotations.h"

#include <velmora/check_table_error.h>

const char* const kLoadErrorRule = "load-error";
const char* const kLoadWarningRule = "load-warning";

namespace {

// What a failing check says: the checker's message, or the list of offending fields of a
// count/refer check.
const std::string& ProblemMessage(const CheckRun& check) {
  const bool is_count_refer =
      check.check == CheckKind::kCountRefer || check.check == CheckKind::kNewCountRefer;
  if (is_count_refer && !check.report.empty()) return check.report;
  return check.message;
}

// The headline, then the error lines of the check's log that say more than it, one per line: the
// reason under an entry point's wrapping line.
std::string ProblemText(const CheckRun& check) {
  const std::string& headline = ProblemMessage(check);
  std::string text = headline;
  for (const CheckLogLine& line : check.log) {
    if (line.priority > WLOG_PRIORITY_ERROR || line.text == headline || line.text == check.message) {
      continue;
    }
    text += '\n';
    text += line.text;
  }
  return text;
}

std::string RuleOf(int result) {
  const char* name = CheckResultName(result);
  return name != nullptr ? name : std::to_string(result);
}

// A position of 0 means the message has none (a file that cannot be read).
std::optional<int> Position(int position) {
  if (position > 0) return position;
  return std::nullopt;
}

Annotation LoadAnnotation(const ZemLoadMessage& message, AnnotationLevel level, const char* rule) {
  Annotation annotation;
  annotation.level = level;
  annotation.file = message.file;
  annotation.line = Position(message.line);
  annotation.column = annotation.line ? Position(message.column) : std::nullopt;
  annotation.rule = rule;
  annotation.message = message.text;
  return annotation;
}

// A finding at its element: its message, then the lines around it and the hint, one per line.
Annotation FindingAnnotation(const std::string& schema_path, const Finding& finding) {
  Annotation annotation;
  annotation.file = schema_path;
  annotation.line = Position(finding.line);
  annotation.column = annotation.line ? Position(finding.column) : std::nullopt;
  annotation.rule = finding.code.empty() ? RuleOf(finding.result) : finding.code;
  annotation.result = finding.result;
  annotation.message = finding.message;
  for (const std::string& note : finding.notes) annotation.message += "\n" + note;
  if (finding.help != nullptr) annotation.message += std::string("\nhelp: ") + finding.help;
  return annotation;
}

// A failing check that placed no finding: one annotation at the table's struct element, unless
// an earlier check failed with the same message and code.
void AddCheckAnnotation(const std::string& schema_path, const TableRun& table,
                        const CheckRun& check, std::vector<Annotation>& annotations) {
  const std::string message = ProblemText(check);
  for (const Annotation& earlier : annotations) {
    if (earlier.message == message && earlier.result == check.result) return;
  }
  Annotation annotation;
  annotation.file = schema_path;
  annotation.line = table.line;
  if (table.line) annotation.column = 1;
  annotation.rule = RuleOf(check.result);
  annotation.result = check.result;
  annotation.message = message;
  annotations.push_back(std::move(annotation));
}

}  // namespace

std::vector<Annotation> AnnotationsOf(const std::string& schema_path, const TableRun& table) {
  std::vector<Annotation> annotations;
  ShownOnce shown;
  for (const CheckRun& check : table.checks) {
    if (!check.findings.empty()) {
      for (const Finding& finding : check.findings) {
        if (shown.First(finding)) annotations.push_back(FindingAnnotation(schema_path, finding));
      }
    } else if (!check.passed) {
      AddCheckAnnotation(schema_path, table, check, annotations);
    }
  }
  return annotations;
}

std::vector<Annotation> LoadAnnotationsOf(const SchemaRun& run) {
  std::vector<Annotation> annotations;
  // Under --strict a warning fails the run, so it is shown as an error.
  const AnnotationLevel warning_level = run.strict ? AnnotationLevel::kError : AnnotationLevel::kWarning;
  for (const ZemLoadMessage& warning : run.warnings) {
    annotations.push_back(LoadAnnotation(warning, warning_level, kLoadWarningRule));
  }
  if (run.loaded) return annotations;
  if (run.errors.empty()) {
    annotations.push_back(LoadAnnotation(run.error, AnnotationLevel::kError, kLoadErrorRule));
  }
  for (const ZemLoadMessage& error : run.errors) {
    annotations.push_back(LoadAnnotation(error, AnnotationLevel::kError, kLoadErrorRule));
  }
  return annotations;
}
