// The SARIF 2.1.0 report of velmora-check-table, read by code-scanning systems: one run whose tool
// lists a rule per result code the checks produce (and one each for the loader's errors and
// warnings), one result per problem at its place in the schema, and every schema as an artifact.
#ifndef VELMORA_CLI_SARIF_REPORT_H_
#define VELMORA_CLI_SARIF_REPORT_H_

#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/annotations.h"
#include "cli/run_checks.h"

// The path of a file as a URI reference relative to the current folder: "/" separates the
// segments, and every byte other than a letter, a digit and "-._~" is percent-encoded.
std::string RelativeFileUri(const std::string& path);

// Writes the log as the schemas are checked, so that only their names stay in memory: the
// constructor writes the tool and its rules, AddSchema the results of one schema, Finish the
// artifacts and the end of the log.
class SarifReport {
 public:
  explicit SarifReport(std::ostream& out);
  SarifReport(const SarifReport&) = delete;
  SarifReport& operator=(const SarifReport&) = delete;

  // The results of one schema: its loader warnings, its load error or one result per problem of
  // each failing table.
  void AddSchema(const std::string& schema_path, const SchemaRun& run);
  void Finish();

 private:
  void AddResult(const Annotation& annotation);
  int ArtifactIndex(const std::string& uri);

  std::ostream& m_out;
  std::unordered_map<std::string, int> m_rule_index;  // by rule id
  std::vector<std::string> m_artifact_uris;
  std::unordered_map<std::string, int> m_artifact_index;  // by URI
  bool m_has_results = false;
};

#endif  // VELMORA_CLI_SARIF_REPORT_H_
