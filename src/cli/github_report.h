// The GitHub Actions report of velmora-check-table: one workflow command per problem, which the
// runner turns into an annotation on the schema file's line.
#ifndef VELMORA_CLI_GITHUB_REPORT_H_
#define VELMORA_CLI_GITHUB_REPORT_H_

#include <ostream>
#include <string>

#include "cli/run_checks.h"

// A workflow command's message with "%", carriage return and line feed escaped (%25, %0D, %0A).
std::string EscapeWorkflowData(const std::string& text);

// A workflow command's property value: escaped as a message, and ":" and "," as %3A and %2C.
std::string EscapeWorkflowProperty(const std::string& text);

// "::error file=F,line=L,col=C,title=CODE::MESSAGE" for each loader warning (as ::warning), the
// load error, and each problem of a failing table of the schema at schema_path.
void WriteGithubAnnotations(const std::string& schema_path, const SchemaRun& run,
                            std::ostream& out);

#endif  // VELMORA_CLI_GITHUB_REPORT_H_
