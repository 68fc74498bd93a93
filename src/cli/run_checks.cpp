#include "cli/run_checks.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include <velmora/check_table.h>
#include "cli/collect_findings.h"
#include "cli/short_names.h"
#include "cli/workers.h"

// Runs the entry point's steps one at a time, to find every problem of a table that failed.
class CheckTableSteps {
 public:
  // What each step of the entry point finds when run on its own with the same arguments.
  static std::vector<Finding> AlsoFindings(LPZEMMETALIB metalib, const std::string& table,
                                           int kind, const CheckOptions& options,
                                           const FindingPlaces& places) {
    std::vector<Finding> findings;
    for (const CheckTable::TableStep step : CheckTable::kTableSteps) {
      FailureRecorder recorder;
      CheckTable checker;
      (void)checker.RunTableStepAlone(step, metalib, table.c_str(), kind, nullptr,
                                      options.server_version, options.proxy_version,
                                      options.rest_proxy_version);
      for (Finding& finding : places.Place(table, recorder.lines(), true)) {
        findings.push_back(std::move(finding));
      }
    }
    return findings;
  }
};

namespace {

// The data protocol out-parameter: room for the longest protocol name and then some.
constexpr size_t kDataProtocolSize = 16;

// Each check writes into a category of its own. The JSON report lists every line at every
// priority; the text report shows only error lines, so only those are kept for it, and the
// others are refused before they are formatted.
class CheckLog : public WlogSink {
 public:
  explicit CheckLog(const CheckOptions& options)
      : m_max_priority(options.format == ReportFormat::kText ? WLOG_PRIORITY_ERROR
                                                             : WLOG_PRIORITY_UNKNOWN),
        m_category(WlogCategoryFor(this)) {}
  CheckLog(const CheckLog&) = delete;
  CheckLog& operator=(const CheckLog&) = delete;

  LPWLOGCATEGORYINST handle() { return &m_category; }
  std::vector<CheckLogLine> TakeLines() { return std::move(m_lines); }

  bool Accepts(int priority) const override { return priority <= m_max_priority; }
  void Write(const WLOGEVENT& event) override {
    CheckLogLine& line = m_lines.emplace_back();
    line.priority = event.evt_priority;
    // The category hands every line over formatted; the checker gives each its location.
    line.text.assign(event.evt_msg, event.evt_msg_len);
    if (event.evt_loc != nullptr) {
      line.file = event.evt_loc->loc_file;
      line.line = event.evt_loc->loc_line;
      line.function = event.evt_loc->loc_function;
    }
  }

 private:
  int m_max_priority;
  tagWLogCategoryInst m_category;
  std::vector<CheckLogLine> m_lines;
};

// The findings of a check that failed: what it reported, at its places. A failure that reported
// no line at error priority is shown with the check's own message at the table.
void SetFindings(const std::string& table, const FindingPlaces& places,
                 const FailureRecorder& recorder, const std::string& message, CheckRun* run) {
  if (run->passed) return;
  run->findings = places.Place(table, recorder.lines(), false);
  if (!run->findings.empty()) return;
  Finding finding = places.OfTable(table, message, run->result);
  for (const CheckLogLine& line : run->log) {
    if (line.priority <= WLOG_PRIORITY_ERROR && line.text != message) {
      finding.notes.push_back(line.text);
    }
  }
  run->findings.push_back(std::move(finding));
}

// Adds the findings not listed yet (the same place, name and message), in their order.
void AddNewFindings(std::vector<Finding> more, std::vector<Finding>* findings) {
  ShownOnce listed;
  for (const Finding& finding : *findings) listed.First(finding);
  for (Finding& finding : more) {
    if (listed.First(finding)) findings->push_back(std::move(finding));
  }
}

CheckRun RunTableTypeCheck(LPZEMMETALIB metalib, const std::string& table,
                           const CheckOptions& options, const FindingPlaces& places) {
  CheckRun run;
  run.check = CheckKind::kTableType;
  FailureRecorder recorder;
  CheckLog log(options);
  CheckTable checker(options.server_version);
  char data_protocol[kDataProtocolSize] = {};
  run.result = checker.CheckTableTypeByCustomAttr(
      metalib, table.c_str(), run.table_type, run.list_num, run.sort_field_num, run.sort_rule,
      data_protocol, options.require_data_protocol, log.handle());
  run.message = checker.GetErrType();
  run.data_protocol.assign(data_protocol,
                           std::find(data_protocol, data_protocol + kDataProtocolSize, '\0'));
  run.log = log.TakeLines();
  // A table without attributes is an old-style definition, which the store still accepts.
  run.passed = run.result == CHECK_TABLE_SUCCESS || run.result == ERROR_OLD_TABLE_DEFINE;
  SetFindings(table, places, recorder, run.message, &run);
  return run;
}

// The kind the table-creation service would pass: the user's, or list for a table whose
// attributes make it a list or sorted list table.
int TableKindFor(const CheckRun& table_type_run, const CheckOptions& options) {
  if (options.kind) return *options.kind;
  const bool is_list = table_type_run.result == CHECK_TABLE_SUCCESS &&
                       (table_type_run.table_type == 1 || table_type_run.table_type == 2);
  return is_list ? 1 : 0;
}

CheckRun RunTableCheck(LPZEMMETALIB metalib, const std::string& table, int kind,
                       const CheckOptions& options, const FindingPlaces& places) {
  CheckRun run;
  run.check = CheckKind::kTable;
  run.kind = kind;
  {
    FailureRecorder recorder;
    CheckLog log(options);
    CheckTable checker;
    run.result = checker.VelmoraCheckTable(metalib, table.c_str(), kind, log.handle(),
                                           options.server_version, options.proxy_version,
                                           options.rest_proxy_version);
    run.message = checker.GetErrType();
    run.log = log.TakeLines();
    run.passed = run.result == CHECK_TABLE_SUCCESS;
    SetFindings(table, places, recorder, run.message, &run);
  }
  // The entry point stops at the first failure; the later ones are found step by step.
  if (!run.passed) {
    AddNewFindings(CheckTableSteps::AlsoFindings(metalib, table, kind, options, places),
                   &run.findings);
  }
  return run;
}

// The refer check: on the whole table, or, when the old schema had this table, only on what the
// change adds, so that arrays already in use are not judged again.
CheckRun RunCountReferCheck(LPZEMMETA meta, LPZEMMETA old_meta, const std::string& table,
                            const CheckOptions& options, const FindingPlaces& places) {
  CheckRun run;
  FailureRecorder recorder;
  CheckLog log(options);
  CheckTable checker;
  if (old_meta != nullptr) {
    run.check = CheckKind::kNewCountRefer;
    run.result =
        checker.CheckWhetherNewEntryCountWithRefer(old_meta, meta, run.report, log.handle());
  } else {
    run.check = CheckKind::kCountRefer;
    run.result = checker.CheckWhetherCountWithRefer(meta, run.report, log.handle());
  }
  run.message = checker.GetErrType();
  run.log = log.TakeLines();
  run.passed = run.result == CHECK_TABLE_SUCCESS;
  SetFindings(table, places, recorder, run.report.empty() ? run.message : run.report, &run);
  return run;
}

// The line of each struct and union element, by name: a schema may hold thousands of tables.
using MetaLines = std::unordered_map<std::string, int>;

MetaLines LinesOfMetas(const ZemLoadResult& schema) {
  MetaLines lines;
  lines.reserve(schema.metas.size());
  for (const ZemMetaInfo& meta : schema.metas) lines.emplace(meta.name, meta.line);
  return lines;
}

std::optional<int> TableLine(const MetaLines& lines, const std::string& table) {
  const auto found = lines.find(table);
  if (found == lines.end()) return std::nullopt;
  return found->second;
}

// The names of a schema longer than kShownNameBytes, which findings may quote: of its structs and
// unions, their entries and their indexes.
std::unordered_set<std::string> LongNamesOf(LPZEMMETALIB metalib) {
  std::unordered_set<std::string> names;
  auto keep = [&names](const char* name) {
    if (std::strlen(name) > kShownNameBytes) names.insert(name);
  };
  for (int m = 0; m < zem_get_meta_num(metalib); ++m) {
    LPZEMMETA meta = zem_get_meta_by_index(metalib, m);
    keep(zem_get_meta_name(meta));
    for (int i = 0; i < zem_get_entry_num(meta); ++i) {
      LPZEMMETAENTRY entry = zem_get_entry_by_index(meta, i);
      if (entry != nullptr) keep(zem_get_entry_name(entry));
    }
    for (int i = 0; i < meta->iIndexesNum; ++i) keep(zem_index_name(meta, zem_meta_index(meta, i)));
  }
  return names;
}

std::vector<std::string> TablesToCheck(const ZemLoadResult& schema, const CheckOptions& options) {
  if (!options.tables.empty()) return options.tables;
  std::vector<std::string> tables;
  for (const ZemMetaInfo& meta : schema.metas) {
    if (!meta.is_union && meta.has_primary_key) tables.push_back(meta.name);
  }
  return tables;
}

TableRun CheckOneTable(LPZEMMETALIB metalib, const MetaLines& lines, LPZEMMETALIB old_metalib,
                       const std::string& table, const CheckOptions& options,
                       const FindingPlaces& places) {
  TableRun run;
  run.table = table;
  run.line = TableLine(lines, table);

  CheckRun table_type_run = RunTableTypeCheck(metalib, table, options, places);
  const int kind = TableKindFor(table_type_run, options);
  run.checks.push_back(std::move(table_type_run));
  run.checks.push_back(RunTableCheck(metalib, table, kind, options, places));

  LPZEMMETA meta = zem_get_meta_by_name(metalib, table.c_str());
  if (meta != nullptr) {
    LPZEMMETA old_meta =
        old_metalib != nullptr ? zem_get_meta_by_name(old_metalib, table.c_str()) : nullptr;
    run.checks.push_back(RunCountReferCheck(meta, old_meta, table, options, places));
  }

  run.ok = true;
  for (const CheckRun& check : run.checks) run.ok = run.ok && check.passed;
  return run;
}

// How many workers check tables: the user's number, or one per processor core.
unsigned WorkerCount(const CheckOptions& options) {
  if (options.jobs > 0) return options.jobs;
  return std::max(1U, std::thread::hardware_concurrency());
}

void AppendWarnings(const ZemLoadResult& loaded, std::vector<ZemLoadMessage>& warnings) {
  warnings.insert(warnings.end(), loaded.warnings.begin(), loaded.warnings.end());
}

void SetLoadError(const std::string& path, const ZemLoadResult& loaded, SchemaRun& run) {
  run.error_schema = path;
  run.error = loaded.error;
  if (run.error.file.empty()) run.error.file = path;
  if (run.error.text.empty()) run.error.text = "the schema could not be loaded";
  run.errors = loaded.errors;
  if (run.errors.empty()) run.errors.push_back(run.error);
  for (ZemLoadMessage& error : run.errors) {
    if (error.file.empty()) error.file = path;
  }
}

ZemLoadOptions LoadOptionsFor(const CheckOptions& options) {
  ZemLoadOptions load_options;
  load_options.max_input_bytes = options.max_input_bytes;
  load_options.max_input_setting = "--max-input-size";
  return load_options;
}

// Loads the old schema when there is one, then checks the tables of the schema.
SchemaRun CheckLoadedSchema(const CheckOptions& options, ZemLoadResult schema) {
  SchemaRun run;
  run.strict = options.strict;
  const ZemLoadOptions load_options = LoadOptionsFor(options);
  AppendWarnings(schema, run.warnings);
  if (!schema.ok || !schema.metalib) {
    SetLoadError(options.schema_path, schema, run);
    return run;
  }

  ZemLoadResult old_schema;
  if (options.old_schema_path) {
    old_schema = ZemLoadXmlFile(*options.old_schema_path, load_options);
    AppendWarnings(old_schema, run.warnings);
    if (!old_schema.ok || !old_schema.metalib) {
      SetLoadError(*options.old_schema_path, old_schema, run);
      return run;
    }
  }

  run.loaded = true;
  run.long_names = LongNamesOf(schema.metalib.get());
  const MetaLines lines = LinesOfMetas(schema);
  const FindingPlaces places(schema.metalib.get(), schema.places);
  const std::vector<std::string> tables = TablesToCheck(schema, options);
  // Each table's run has its own slot, so the report lists them in this order whatever the
  // order the workers finish in; the metalibs and the places are only read.
  run.tables.resize(tables.size());
  ForEachOnWorkers(tables.size(), WorkerCount(options), [&](size_t t) {
    run.tables[t] = CheckOneTable(schema.metalib.get(), lines, old_schema.metalib.get(),
                                  tables[t], options, places);
  });
  return run;
}

}  // namespace

const char* CheckName(CheckKind check) {
  switch (check) {
    case CheckKind::kTableType:
      return "CheckTableTypeByCustomAttr";
    case CheckKind::kTable:
      return "VelmoraCheckTable";
    case CheckKind::kCountRefer:
      return "CheckWhetherCountWithRefer";
    case CheckKind::kNewCountRefer:
      return "CheckWhetherNewEntryCountWithRefer";
  }
  return "";
}

SchemaRun RunChecks(const CheckOptions& options) {
  return CheckLoadedSchema(options, ZemLoadXmlFile(options.schema_path, LoadOptionsFor(options)));
}

SchemaRun RunChecksOnText(const CheckOptions& options, const std::string& text) {
  return CheckLoadedSchema(options,
                           ZemLoadXmlText(options.schema_path, text, LoadOptionsFor(options)));
}

SchemaRun UnusableSchemaRun(const CheckOptions& options, const std::string& path,
                            const std::string& reason) {
  SchemaRun run;
  run.strict = options.strict;
  run.error_schema = path;
  run.error.file = path;
  run.error.text = reason;
  run.errors.push_back(run.error);
  return run;
}

int ExitStatusFor(const SchemaRun& run) {
  if (!run.loaded) return 2;
  if (run.strict && !run.warnings.empty()) return 1;
  for (const TableRun& table : run.tables) {
    if (!table.ok) return 1;
  }
  return 0;
}
