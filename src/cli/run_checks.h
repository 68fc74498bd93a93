// Running the table checks of velmora-check-table: load the schema (and the old one), pick the
// tables, run the three checks on each and keep everything a report needs as plain values.
#ifndef VELMORA_CLI_RUN_CHECKS_H_
#define VELMORA_CLI_RUN_CHECKS_H_

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "cli/findings.h"
#include "cli/options.h"
#include <velmora/wlog.h>
#include <velmora/zem_xml_loader.h>

enum class CheckKind {
  kTableType,      // CheckTableTypeByCustomAttr
  kTable,          // VelmoraCheckTable
  kCountRefer,     // CheckWhetherCountWithRefer
  kNewCountRefer,  // CheckWhetherNewEntryCountWithRefer
};

// A line a check wrote. Its file and function are the checker's own static texts (the source file
// and function of the line that logs), kept as they are; its text is copied.
struct CheckLogLine {
  int priority = 0;
  const char* file = "";
  int line = 0;
  const char* function = "";
  std::string text;
};

// One check on one table, with what it handed back.
struct CheckRun {
  CheckKind check = CheckKind::kTable;
  int result = 0;
  std::string message;  // GetErrType() right after the check
  // CheckTableTypeByCustomAttr's out-parameters.
  int table_type = 0;
  int list_num = 0;
  int sort_field_num = 0;
  int sort_rule = 0;
  std::string data_protocol;
  int kind = 0;                 // the table kind given to VelmoraCheckTable
  std::string report;           // strResult of a count/refer check
  std::vector<CheckLogLine> log;  // every line the check kept, in order
  bool passed = false;
  // Each failure at its place: what the check reported, then what its later steps find when run
  // on their own (marked also).
  std::vector<Finding> findings;
};

struct TableRun {
  std::string table;
  std::optional<int> line;  // line of its struct or union element; none when the schema lacks it
  bool ok = false;
  std::vector<CheckRun> checks;
};

// Everything one run of the command found.
struct SchemaRun {
  bool loaded = false;
  std::string error_schema;              // the schema file that could not be loaded
  ZemLoadMessage error;                  // its first load error, when not loaded
  std::vector<ZemLoadMessage> errors;    // every load error of that schema, the first included
  std::vector<ZemLoadMessage> warnings;  // of the schema, then of the old schema
  bool strict = false;                   // the warnings are errors
  std::vector<TableRun> tables;
  // The schema's names longer than the text report shows whole, which findings may quote.
  std::unordered_set<std::string> long_names;
};

// The name of a check as the checker calls it.
const char* CheckName(CheckKind check);

// Loads the schema and the old schema, then checks the tables. A load error stops before any
// check and is returned in the result.
SchemaRun RunChecks(const CheckOptions& options);

// The same on schema text already read (standard input); options.schema_path names it in messages.
SchemaRun RunChecksOnText(const CheckOptions& options, const std::string& text);

// A run that checked nothing because the schema at path could not be used: the reason is its only
// load error.
SchemaRun UnusableSchemaRun(const CheckOptions& options, const std::string& path,
                            const std::string& reason);

// 0 when every table passed, 1 when one failed or a strict run has warnings, 2 when a schema
// could not be loaded.
int ExitStatusFor(const SchemaRun& run);

#endif  // VELMORA_CLI_RUN_CHECKS_H_
