// Every check the command runs, on every table of a schema made of arbitrary bytes, with the
// command's options (table kind, versions, data protocol requirement, an old schema) taken from
// the input. Whatever the schema holds, each check ends with a known result code and a message
// that fits the checker's buffer.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "cli/run_checks.h"
#include "fuzz_input.h"
#include <velmora/check_table_error.h>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireSound(const CheckRun& check) {
  Require(CheckResultName(check.result) != nullptr);
  Require(check.message.size() <= 1023);
  for (const WlogRecord& line : check.log) {
    Require(!line.file.empty() && !line.function.empty() && line.line > 0);
    Require(line.text.size() <= 1023 || line.priority > WLOG_PRIORITY_ERROR);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static FuzzRunFiles files;
  FuzzRunInput input = ParseFuzzRunInput(data, size);
  files.Prepare(input);
  const SchemaRun run = RunChecks(input.options);

  const int status = ExitStatusFor(run);
  if (!run.loaded) {
    Require(status == 2 && run.tables.empty() && !run.error.text.empty());
    return 0;
  }
  bool any_failed = false;
  for (const TableRun& table : run.tables) {
    Require(table.checks.size() == 2 || table.checks.size() == 3);
    Require(table.checks[0].check == CheckKind::kTableType);
    Require(table.checks[1].check == CheckKind::kTable);
    if (input.options.kind) Require(table.checks[1].kind == *input.options.kind);
    bool all_passed = true;
    for (const CheckRun& check : table.checks) {
      RequireSound(check);
      all_passed = all_passed && check.passed;
    }
    Require(table.ok == all_passed);
    any_failed = any_failed || !table.ok;
  }
  Require(status == (any_failed ? 1 : 0));
  return 0;
}
