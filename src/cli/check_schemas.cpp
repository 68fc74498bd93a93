#include "cli/check_schemas.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "cli/github_report.h"
#include "cli/json_text.h"
#include "cli/report.h"
#include "cli/run_checks.h"
#include "cli/sarif_report.h"
#include "cli/schema_inputs.h"

namespace {

// What the schemas of a run came to.
struct Totals {
  size_t files = 0;
  size_t tables = 0;
  size_t failed = 0;    // tables
  size_t unusable = 0;  // files
  size_t strict_errors = 0;  // loader warnings that --strict made errors
  int status = 0;
};

void Count(const SchemaRun& run, Totals& totals) {
  ++totals.files;
  if (!run.loaded) ++totals.unusable;
  if (run.strict) totals.strict_errors += run.warnings.size();
  totals.tables += run.tables.size();
  for (const TableRun& table : run.tables) totals.failed += table.ok ? 0 : 1;
  totals.status = std::max(totals.status, ExitStatusFor(run));
}

// A report written one schema at a time.
class SchemaReport {
 public:
  virtual ~SchemaReport() = default;
  // options.schema_path names the schema of run.
  virtual void Add(const CheckOptions& options, const SchemaRun& run) = 0;
  virtual void Finish(const Totals& totals) = 0;
};

// Text: each schema's report in turn; after several, one line for them all (not with --quiet).
class TextReport : public SchemaReport {
 public:
  TextReport(bool several, bool quiet, std::ostream& out, std::ostream& err)
      : m_several(several), m_quiet(quiet), m_out(out), m_err(err) {}
  void Add(const CheckOptions& options, const SchemaRun& run) override {
    WriteTextReport(options, run, m_out, m_err);
  }
  void Finish(const Totals& totals) override {
    if (!m_several || m_quiet) return;
    m_out << totals.files << (totals.files == 1 ? " file, " : " files, ") << totals.tables
          << (totals.tables == 1 ? " table" : " tables") << " checked, " << totals.failed
          << " failed";
    if (totals.unusable > 0) {
      m_out << ", " << totals.unusable << (totals.unusable == 1 ? " file" : " files")
            << " could not be used";
    }
    if (totals.strict_errors > 0) {
      m_out << ", " << totals.strict_errors
            << (totals.strict_errors == 1 ? " warning is an error" : " warnings are errors")
            << " under --strict";
    }
    m_out << '\n';
  }

 private:
  bool m_several;
  bool m_quiet;
  std::ostream& m_out;
  std::ostream& m_err;
};

// JSON: one schema's document; for several, each document less its "format" key in "files".
class JsonReport : public SchemaReport {
 public:
  JsonReport(bool several, std::ostream& out) : m_several(several), m_out(out) {
    if (m_several) m_out << "{\n  \"format\": 1,\n  \"files\": [";
  }
  void Add(const CheckOptions& options, const SchemaRun& run) override {
    if (!m_several) {
      WriteJsonReport(options, run, m_out);
      return;
    }
    std::ostringstream document;
    WriteJsonReport(options, run, document);
    std::string text = document.str();
    // A schema's document opens with its "format" member; the report on several keeps one.
    const std::string format_member = "\n  \"format\": 1,";
    if (text.compare(1, format_member.size(), format_member) == 0) {
      text.erase(1, format_member.size());
    }
    if (!text.empty() && text.back() == '\n') text.pop_back();
    m_out << (m_has_files ? ",\n    " : "\n    ");
    WriteIndentedText(text, 2, m_out);
    m_has_files = true;
  }
  void Finish(const Totals& totals) override {
    if (!m_several) return;
    Json summary;
    summary["files"] = totals.files;
    summary["tables"] = totals.tables;
    summary["failed"] = totals.failed;
    m_out << (m_has_files ? "\n  ],\n  \"summary\": " : "],\n  \"summary\": ");
    WriteJsonIndented(summary, 1, m_out);
    m_out << "\n}\n";
  }

 private:
  bool m_several;
  std::ostream& m_out;
  bool m_has_files = false;
};

class GithubReport : public SchemaReport {
 public:
  explicit GithubReport(std::ostream& out) : m_out(out) {}
  void Add(const CheckOptions& options, const SchemaRun& run) override {
    WriteGithubAnnotations(options.schema_path, run, m_out);
  }
  void Finish(const Totals&) override {}

 private:
  std::ostream& m_out;
};

class SarifSchemaReport : public SchemaReport {
 public:
  explicit SarifSchemaReport(std::ostream& out) : m_report(out) {}
  void Add(const CheckOptions& options, const SchemaRun& run) override {
    m_report.AddSchema(options.schema_path, run);
  }
  void Finish(const Totals&) override { m_report.Finish(); }

 private:
  SarifReport m_report;
};

std::unique_ptr<SchemaReport> ReportFor(const CheckOptions& options, bool several,
                                        std::ostream& out, std::ostream& err) {
  switch (options.format) {
    case ReportFormat::kJson:
      return std::make_unique<JsonReport>(several, out);
    case ReportFormat::kSarif:
      return std::make_unique<SarifSchemaReport>(out);
    case ReportFormat::kGithub:
      return std::make_unique<GithubReport>(out);
    case ReportFormat::kText:
      break;
  }
  return std::make_unique<TextReport>(several, options.quiet, out, err);
}

SchemaRun CheckInput(const CheckOptions& options, const SchemaInput& input, int stdin_fd) {
  if (!input.problem.empty()) return UnusableSchemaRun(options, input.path, input.problem);
  if (!input.from_stdin) return RunChecks(options);
  if (stdin_fd < 0) return UnusableSchemaRun(options, input.path, "standard input is closed");
  std::string text;
  std::string error;
  if (!ReadWholeStream(stdin_fd, options.max_input_bytes, "--max-input-size", &text, &error)) {
    return UnusableSchemaRun(options, input.path, error);
  }
  if (text.empty()) return UnusableSchemaRun(options, input.path, "standard input is empty");
  return RunChecksOnText(options, text);
}

}  // namespace

int CheckSchemas(const CheckOptions& options, int stdin_fd, std::ostream& out, std::ostream& err) {
  const bool several = NamesSeveralSchemas(options.schemas);
  if (several && options.old_schema_path) {
    err << "velmora-check-table: error: --old compares one schema with its version before the "
           "change: name one schema file, not several or a folder\n";
    return 2;
  }
  const std::unique_ptr<SchemaReport> report = ReportFor(options, several, out, err);
  Totals totals;
  for (const SchemaInput& input : ExpandSchemaArguments(options.schemas)) {
    CheckOptions one = options;
    one.schema_path = input.path;
    const SchemaRun run = CheckInput(one, input, stdin_fd);
    report->Add(one, run);
    Count(run, totals);
    // Nobody reads the rest of the report: a closed pipe or a full disk.
    if (!out) break;
  }
  report->Finish(totals);
  return totals.status;
}
