#include "cli/github_report.h"

#include "cli/annotations.h"

namespace {

void WriteAnnotation(const Annotation& annotation, std::ostream& out) {
  out << (annotation.level == AnnotationLevel::kWarning ? "::warning" : "::error")
      << " file=" << EscapeWorkflowProperty(annotation.file);
  if (annotation.line) {
    out << ",line=" << *annotation.line;
    if (annotation.column) out << ",col=" << *annotation.column;
  }
  out << ",title=" << EscapeWorkflowProperty(annotation.rule)
      << "::" << EscapeWorkflowData(annotation.message) << '\n';
}

}  // namespace

std::string EscapeWorkflowData(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    if (c == '%') {
      escaped += "%25";
    } else if (c == '\r') {
      escaped += "%0D";
    } else if (c == '\n') {
      escaped += "%0A";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string EscapeWorkflowProperty(const std::string& text) {
  std::string escaped;
  for (const char c : EscapeWorkflowData(text)) {
    if (c == ':') {
      escaped += "%3A";
    } else if (c == ',') {
      escaped += "%2C";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

void WriteGithubAnnotations(const std::string& schema_path, const SchemaRun& run,
                            std::ostream& out) {
  for (const Annotation& annotation : LoadAnnotationsOf(run)) WriteAnnotation(annotation, out);
  for (const TableRun& table : run.tables) {
    for (const Annotation& annotation : AnnotationsOf(schema_path, table)) {
      WriteAnnotation(annotation, out);
    }
  }
}
