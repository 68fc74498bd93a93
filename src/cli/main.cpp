// velmora-check-table: checks the table definitions of a ZEM XML schema as the table store would
// and reports what it would refuse. Exit status 0: every table passed; 1: a table failed; 2: the
// options or a schema could not be used, or the report could not be written.
#include <exception>
#include <iostream>

#include "cli/options.h"
#include "cli/report.h"
#include "cli/run_checks.h"

int main(int argc, char** argv) {
  try {
    const ParsedCommandLine parsed = ParseCommandLine(argc, argv, std::cout, std::cerr);
    if (!parsed.run) return parsed.exit_status;
    const SchemaRun run = RunChecks(parsed.options);
    const int status = WriteReport(parsed.options, run, std::cout, std::cerr);
    // A report that did not reach its reader (a full disk, a closed pipe) must not pass for one.
    if (!std::cout.flush()) {
      std::cerr << "velmora-check-table: error: cannot write the report\n";
      return 2;
    }
    return status;
  } catch (const std::exception& error) {
    std::cerr << "velmora-check-table: error: " << error.what() << '\n';
    return 2;
  }
}
