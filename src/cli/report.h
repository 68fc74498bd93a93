// The reports of velmora-check-table on one schema: text for a person (compiler-style lines that
// editors and CI understand), JSON for programs, SARIF for code scanning and GitHub workflow
// commands.
#ifndef VELMORA_CLI_REPORT_H_
#define VELMORA_CLI_REPORT_H_

#include <ostream>
#include <string>

#include "cli/options.h"
#include "cli/run_checks.h"

// What a passing table is, in a few words: "generic", "list of 500", "sorted list of 100 by 2
// fields, DESC", or "generic, old-style definition" for a table without attributes.
std::string DescribeTableKind(const CheckRun& table_type_run);

// The text report: loader warnings and a load error on err, the table lines and the summary on out.
// Quiet leaves out the warnings, the passing tables and the summary. Colour, where the options
// ask for it, marks only the labels (error:, warning:, ok:) and the summary line.
void WriteTextReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out,
                     std::ostream& err);

// The JSON report on out, always valid UTF-8; also for a load error.
void WriteJsonReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out);

// Writes the report in the chosen format and returns the command's exit status.
int WriteReport(const CheckOptions& options, const SchemaRun& run, std::ostream& out,
                std::ostream& err);

#endif  // VELMORA_CLI_REPORT_H_
