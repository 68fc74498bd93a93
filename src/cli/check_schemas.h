// Checking every schema a run of velmora-check-table names, one after the other, and reporting
// them in the chosen format.
#ifndef VELMORA_CLI_CHECK_SCHEMAS_H_
#define VELMORA_CLI_CHECK_SCHEMAS_H_

#include <ostream>

#include "cli/options.h"

// Checks the schemas options.schemas names, reading "-" from stdin_fd (-1: standard input is
// closed), and writes the report on out (text loader messages on err). One schema that cannot be
// used does not stop the others. Returns the exit status: 2 when a schema could not be used or
// the options cannot go together, else 1 when a table failed, else 0.
//
// With one file (or "-") every report is that schema's own. With several files or a folder, text
// and github reports list one schema after the other, JSON is {"format": 1, "files": [...],
// "summary": {...}} and SARIF has one run with every schema as an artifact.
int CheckSchemas(const CheckOptions& options, int stdin_fd, std::ostream& out, std::ostream& err);

#endif  // VELMORA_CLI_CHECK_SCHEMAS_H_
