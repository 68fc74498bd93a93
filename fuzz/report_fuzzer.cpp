// Every report writer on what the checks found, from two sources: a schema of the input run
// through every check as the command runs them (the input shape of fuzz_input.h), or, when the
// options line holds the word "synthetic", a run made directly of the input's bytes, so that any
// text at all (cut multi-byte characters, control bytes, stray quotes) reaches the writers. The
// JSON and SARIF reports must parse and be valid UTF-8; the text report must end with its summary;
// the GitHub report must be one workflow command per line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <exception>
#include <sstream>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "cli/annotations.h"
#include "cli/github_report.h"
#include "cli/report.h"
#include "cli/sarif_report.h"
#include "cli/run_checks.h"
#include "cli/utf8.h"
#include "fuzz_input.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Reads values off the front of the input; past its end every value is zero or empty.
class ByteReader {
 public:
  explicit ByteReader(const std::string& bytes) : bytes_(bytes) {}

  uint8_t Byte() { return pos_ < bytes_.size() ? static_cast<uint8_t>(bytes_[pos_++]) : 0; }
  bool Flag() { return (Byte() & 1) != 0; }
  int Int() {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = (value << 8) | Byte();
    return static_cast<int>(value);
  }
  // A length byte, then that many bytes.
  std::string Text() {
    const size_t length = Byte();
    const size_t taken = std::min(length, bytes_.size() - std::min(pos_, bytes_.size()));
    std::string text = pos_ < bytes_.size() ? bytes_.substr(pos_, taken) : std::string();
    pos_ += taken;
    return text;
  }
  bool AtEnd() const { return pos_ >= bytes_.size(); }

 private:
  const std::string& bytes_;
  size_t pos_ = 0;
};

ZemLoadMessage SyntheticMessage(ByteReader& in) {
  ZemLoadMessage message;
  message.file = in.Text();
  message.line = in.Int();
  message.column = in.Int();
  message.text = in.Text();
  return message;
}

// The file and function names of synthetic log lines: a check's own are static texts, these live
// until the next input.
std::deque<std::string>& LogLineNames() {
  static std::deque<std::string> names;
  return names;
}

CheckRun SyntheticCheck(ByteReader& in) {
  CheckRun check;
  check.check = static_cast<CheckKind>(in.Byte() % 4);
  check.result = in.Int();
  check.message = in.Text();
  check.table_type = in.Int();
  check.list_num = in.Int();
  check.sort_field_num = in.Int();
  check.sort_rule = in.Int();
  check.data_protocol = in.Text();
  check.kind = in.Int();
  check.report = in.Text();
  for (uint8_t lines = in.Byte() % 4; lines > 0; --lines) {
    CheckLogLine line;
    line.priority = in.Int();
    line.text = in.Text();
    line.file = LogLineNames().emplace_back(in.Text()).c_str();
    line.line = in.Int();
    line.function = LogLineNames().emplace_back(in.Text()).c_str();
    check.log.push_back(std::move(line));
  }
  check.passed = in.Flag();
  return check;
}

SchemaRun SyntheticRun(const std::string& bytes, CheckOptions& options) {
  ByteReader in(bytes);
  SchemaRun run;
  options.schema_path = in.Text();
  run.loaded = in.Flag();
  run.error_schema = in.Text();
  run.error = SyntheticMessage(in);
  for (uint8_t warnings = in.Byte() % 4; warnings > 0; --warnings) {
    run.warnings.push_back(SyntheticMessage(in));
  }
  while (!in.AtEnd() && run.tables.size() < 16) {
    TableRun table;
    table.table = in.Text();
    if (in.Flag()) table.line = in.Int();
    table.ok = in.Flag();
    // Every table has at least the attribute check: the text report describes a passing table by it.
    for (uint8_t checks = 1 + in.Byte() % 3; checks > 0; --checks) {
      table.checks.push_back(SyntheticCheck(in));
    }
    run.tables.push_back(std::move(table));
  }
  return run;
}

bool IsValidUtf8(const std::string& text) {
  for (size_t pos = 0; pos < text.size();) {
    const size_t length = Utf8SequenceLength(text, pos);
    if (length == 0) return false;
    pos += length;
  }
  return true;
}

// A report's document: valid UTF-8 that parses as JSON, or the run stops.
nlohmann::json ParseValidJson(const std::string& text) {
  Require(IsValidUtf8(text));
  try {
    return nlohmann::json::parse(text);
  } catch (const std::exception&) {
    std::abort();
  }
}

void RequireJsonReport(const CheckOptions& options, const SchemaRun& run) {
  std::ostringstream out;
  WriteJsonReport(options, run, out);
  const std::string text = out.str();
  const nlohmann::json json = ParseValidJson(text);
  Require(json.at("format") == 1);
  Require(json.contains("warnings") == !run.warnings.empty());
  Require(json.contains("strict") == run.strict);
  if (!run.loaded) {
    Require(json.at("error").at("message") == ToValidUtf8(run.error.text));
    // Every load error, then under --strict every warning.
    Require(json.at("errors").size() ==
            run.errors.size() + (run.strict ? run.warnings.size() : 0));
    return;
  }
  Require(json.contains("errors") == (run.strict && !run.warnings.empty()));
  Require(json.at("schema") == ToValidUtf8(options.schema_path));
  const nlohmann::json& tables = json.at("tables");
  Require(tables.size() == run.tables.size());
  size_t failed = 0;
  for (size_t i = 0; i < run.tables.size(); ++i) {
    Require(tables[i].at("table") == ToValidUtf8(run.tables[i].table));
    Require(tables[i].at("ok") == run.tables[i].ok);
    Require(tables[i].at("checks").size() == run.tables[i].checks.size());
    if (!run.tables[i].ok) ++failed;
  }
  Require(json.at("summary").at("tables") == run.tables.size());
  Require(json.at("summary").at("failed") == failed);
}

// What the summary line adds for a strict run with warnings.
std::string StrictSummary(const SchemaRun& run) {
  if (!run.strict || run.warnings.empty()) return std::string();
  const size_t count = run.warnings.size();
  return ", " + std::to_string(count) +
         (count == 1 ? " warning is an error" : " warnings are errors") + " under --strict";
}

void RequireTextReport(const CheckOptions& options, const SchemaRun& run) {
  std::ostringstream out;
  std::ostringstream err;
  WriteTextReport(options, run, out, err);
  if (!run.loaded) {
    Require(out.str().empty());
    return;
  }
  size_t failed = 0;
  for (const TableRun& table : run.tables) failed += table.ok ? 0 : 1;
  const size_t checked = run.tables.size();
  const std::string summary = std::to_string(checked) + (checked == 1 ? " table" : " tables") +
                              " checked, " + std::to_string(failed) + " failed" +
                              StrictSummary(run) + "\n";
  const std::string text = out.str();
  Require(text.size() >= summary.size() &&
          text.compare(text.size() - summary.size(), summary.size(), summary) == 0);
}

// Every problem of the run, as the SARIF and GitHub reports count them.
size_t AnnotationCount(const SchemaRun& run) {
  size_t count = LoadAnnotationsOf(run).size();
  for (const TableRun& table : run.tables) count += AnnotationsOf("s.xml", table).size();
  return count;
}

void RequireSarifReport(const CheckOptions& options, const SchemaRun& run) {
  std::ostringstream out;
  SarifReport report(out);
  report.AddSchema(options.schema_path, run);
  report.Finish();
  const std::string text = out.str();
  const nlohmann::json json = ParseValidJson(text);
  Require(json.at("runs").size() == 1);
  Require(json.at("runs")[0].at("results").size() == AnnotationCount(run));
}

void RequireGithubReport(const CheckOptions& options, const SchemaRun& run) {
  std::ostringstream out;
  WriteGithubAnnotations(options.schema_path, run, out);
  std::istringstream lines(out.str());
  size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    Require(line.rfind("::error file=", 0) == 0 || line.rfind("::warning file=", 0) == 0);
    Require(line.find('\r') == std::string::npos);
  }
  Require(count == AnnotationCount(run));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static FuzzRunFiles files;
  LogLineNames().clear();
  FuzzRunInput input = ParseFuzzRunInput(data, size);
  bool synthetic = false;
  for (const std::string& word : input.words) synthetic = synthetic || word == "synthetic";

  SchemaRun run;
  if (synthetic) {
    // Every byte after the options line describes the run, form feeds included.
    const std::string bytes = input.old_schema ? input.schema + '\f' + *input.old_schema
                                               : input.schema;
    run = SyntheticRun(bytes, input.options);
    run.strict = input.options.strict;
  } else {
    files.Prepare(input);
    run = RunChecks(input.options);
  }

  RequireJsonReport(input.options, run);
  RequireTextReport(input.options, run);
  RequireSarifReport(input.options, run);
  RequireGithubReport(input.options, run);
  for (const ReportFormat format : {ReportFormat::kText, ReportFormat::kJson,
                                    ReportFormat::kSarif, ReportFormat::kGithub}) {
    input.options.format = format;
    std::ostringstream out;
    std::ostringstream err;
    Require(WriteReport(input.options, run, out, err) == ExitStatusFor(run));
  }
  return 0;
}
