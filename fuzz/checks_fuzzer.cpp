// Every check the command runs, on every table of a schema made of arbitrary bytes, with the
// command's options (table kind, versions, data protocol requirement, an old schema) taken from
// the input. Whatever the schema holds, each check ends with a known result code and a message
// that fits the checker's buffer; without a log category each check answers exactly the same; and
// one checker reused for every table returns what fresh ones do.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cli/run_checks.h"
#include "fuzz_input.h"
#include <velmora/check_table.h>
#include <velmora/check_table_error.h>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireSound(const CheckRun& check) {
  Require(CheckResultName(check.result) != nullptr);
  Require(check.message.size() <= 1023);
  for (const CheckLogLine& line : check.log) {
    Require(*line.file != '\0' && *line.function != '\0' && line.line > 0);
    Require(line.text.size() <= 1023 || line.priority > WLOG_PRIORITY_ERROR);
  }
}

// The command's checks of one table again, without a log category: same results, same messages.
void RequireSameWithoutLog(LPZEMMETALIB metalib, LPZEMMETALIB old_metalib, const TableRun& table,
                           const CheckOptions& options) {
  const CheckRun& attr_run = table.checks[0];
  CheckTable attr_checker(options.server_version);
  int table_type = 0;
  int list_num = 0;
  int sort_field_num = 0;
  int sort_rule = 0;
  char data_protocol[16] = {};
  const int attr_result = attr_checker.CheckTableTypeByCustomAttr(
      metalib, table.table.c_str(), table_type, list_num, sort_field_num, sort_rule,
      data_protocol, options.require_data_protocol, nullptr);
  Require(attr_result == attr_run.result && attr_run.message == attr_checker.GetErrType());
  Require(table_type == attr_run.table_type && list_num == attr_run.list_num &&
          sort_field_num == attr_run.sort_field_num && sort_rule == attr_run.sort_rule &&
          attr_run.data_protocol == data_protocol);

  const CheckRun& table_run = table.checks[1];
  CheckTable table_checker;
  Require(table_checker.VelmoraCheckTable(metalib, table.table.c_str(), table_run.kind, nullptr,
                                          options.server_version, options.proxy_version,
                                          options.rest_proxy_version) == table_run.result);
  Require(table_run.message == table_checker.GetErrType());

  if (table.checks.size() < 3) return;
  const CheckRun& refer_run = table.checks[2];
  LPZEMMETA meta = zem_get_meta_by_name(metalib, table.table.c_str());
  LPZEMMETA old_meta =
      old_metalib != nullptr ? zem_get_meta_by_name(old_metalib, table.table.c_str()) : nullptr;
  Require(meta != nullptr && (old_meta != nullptr) == (refer_run.check == CheckKind::kNewCountRefer));
  CheckTable refer_checker;
  std::string report;
  const int refer_result =
      old_meta != nullptr
          ? refer_checker.CheckWhetherNewEntryCountWithRefer(old_meta, meta, report, nullptr)
          : refer_checker.CheckWhetherCountWithRefer(meta, report, nullptr);
  Require(refer_result == refer_run.result && report == refer_run.report);
  Require(refer_run.message == refer_checker.GetErrType());
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
  // The same schemas as the command loaded them, to call the checks directly.
  const ZemLoadResult schema = ZemLoadXmlText("schema.xml", input.schema);
  ZemLoadResult old_schema;
  if (input.old_schema) old_schema = ZemLoadXmlText("old.xml", *input.old_schema);
  Require(schema.ok && (!input.old_schema || old_schema.ok));
  CheckTable reused;

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

    RequireSameWithoutLog(schema.metalib.get(), old_schema.metalib.get(), table, input.options);
    Require(reused.VelmoraCheckTable(schema.metalib.get(), table.table.c_str(),
                                     table.checks[1].kind, nullptr, input.options.server_version,
                                     input.options.proxy_version,
                                     input.options.rest_proxy_version) == table.checks[1].result);
  }
  const bool strict_failed = input.options.strict && !run.warnings.empty();
  Require(status == (any_failed || strict_failed ? 1 : 0));
  return 0;
}
