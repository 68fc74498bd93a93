// The command line of velmora-check-table.
#ifndef VELMORA_CLI_OPTIONS_H_
#define VELMORA_CLI_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <velmora/zem_xml_loader.h>

#include "cli/color.h"

enum class ReportFormat { kText, kJson, kSarif, kGithub };

// What the user asked for.
struct CheckOptions {
  // The schemas named: files, folders searched for *.xml files, "-" for standard input.
  std::vector<std::string> schemas;
  std::string schema_path;  // the schema being checked, as reports name it
  std::vector<std::string> tables;  // empty: every struct with a primary key, in file order
  std::optional<int> kind;          // unset: derived from each table's attributes
  std::string server_version;
  std::string proxy_version;
  std::string rest_proxy_version = "none";
  bool require_data_protocol = false;
  std::optional<std::string> old_schema_path;
  ReportFormat format = ReportFormat::kText;
  uint64_t max_input_bytes = ZEM_DEFAULT_MAX_INPUT_BYTES;  // of each schema file
  bool strict = false;         // every loader warning is an error
  bool quiet = false;          // the text report shows failures only
  bool color_report = false;   // the report on standard output is coloured
  bool color_messages = false;  // the loader's messages on standard error are coloured
  unsigned jobs = 0;  // tables checked at once; 0: one per processor core
};

// The outcome of reading the command line: either options to run with, or an exit status after
// the help (0) or a usage message (2) has been printed.
struct ParsedCommandLine {
  bool run = false;
  int exit_status = 0;
  CheckOptions options;
};

// Reads the arguments. Help goes to out, usage messages to err.
ParsedCommandLine ParseCommandLine(int argc, const char* const* argv, std::ostream& out,
                                   std::ostream& err);

// A --format value (also the config file's format): the name of a report format.
std::optional<ReportFormat> ParseReportFormat(const std::string& text);

// Why a version given to option is refused, or "" when it is accepted: a version is three or four
// decimal numbers joined by dots (3.40.0, 3.40.0.193000); where none_allowed, "none" is one too.
std::string VersionError(const std::string& text, bool none_allowed);

// A --kind value: "generic" is 0, "list" is 1, a decimal integer within the int range is itself.
// Anything else has no value.
std::optional<int> ParseTableKind(const std::string& text);

// A --max-input-size value: a whole number of bytes, optionally followed by K, M or G (1024, 1024^2
// or 1024^3 bytes, either letter case); at least 1 byte. Anything else has no value.
std::optional<uint64_t> ParseByteSize(const std::string& text);

#endif  // VELMORA_CLI_OPTIONS_H_
