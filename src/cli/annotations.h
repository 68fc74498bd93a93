// What the machine-read reports (SARIF, GitHub workflow commands) point at: one problem of a
// table at its place in the schema, with its code and message, and the loader's errors and
// warnings in the same shape.
#ifndef VELMORA_CLI_ANNOTATIONS_H_
#define VELMORA_CLI_ANNOTATIONS_H_

#include <optional>
#include <string>
#include <vector>

#include "cli/run_checks.h"

enum class AnnotationLevel { kError, kWarning };

// The rule names of the loader's messages, next to the result code names of the checks.
extern const char* const kLoadErrorRule;
extern const char* const kLoadWarningRule;

struct Annotation {
  AnnotationLevel level = AnnotationLevel::kError;
  std::string file;           // the schema file as the command was given it
  std::optional<int> line;    // none: the file as a whole (a table the schema lacks)
  std::optional<int> column;  // none: the whole line, or no line
  std::string rule;           // a result code name, kLoadErrorRule or kLoadWarningRule
  std::optional<int> result;  // the check's result code; none for the loader's messages
  std::string message;
};

// The problems of a table of the schema at schema_path, in check order: one annotation per finding
// of a check (those of later steps, marked also, included; one that two checks share, once), with
// its notes and hint on lines of their own. A failing check without findings gives one annotation at the table's struct
// element: its message, then the error lines it logged; a later check failing with the same
// message and code as an earlier one adds nothing.
std::vector<Annotation> AnnotationsOf(const std::string& schema_path, const TableRun& table);

// The loader's warnings of a run (errors under --strict), then its load errors when the schema
// could not be used.
std::vector<Annotation> LoadAnnotationsOf(const SchemaRun& run);

#endif  // VELMORA_CLI_ANNOTATIONS_H_
