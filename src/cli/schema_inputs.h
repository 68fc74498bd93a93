// The schemas a run of velmora-check-table checks: files named on the command line, the *.xml
// files of the folders named there, and "-" for one schema on standard input.
#ifndef VELMORA_CLI_SCHEMA_INPUTS_H_
#define VELMORA_CLI_SCHEMA_INPUTS_H_

#include <cstdint>
#include <string>
#include <vector>

// The name reports give the schema read from standard input.
extern const char* const kStandardInputName;

// One schema to check, or an argument that names none.
struct SchemaInput {
  std::string path;         // as reports show it; kStandardInputName for standard input
  bool from_stdin = false;  // named by "-"
  std::string problem;      // why the argument cannot be checked; "" when it can be
};

// The arguments in their order, each folder replaced by the *.xml files below it (all levels, in
// byte order of their paths). A folder without one, a folder that cannot be searched and a second
// "-" come back with a problem. A path that is not a folder is kept as it is: the loader tells
// whether it can be read.
std::vector<SchemaInput> ExpandSchemaArguments(const std::vector<std::string>& arguments);

// Whether the arguments ask for a report of several files: more than one argument, or a folder.
// The answer depends on the command line only, never on what a folder holds.
bool NamesSeveralSchemas(const std::vector<std::string>& arguments);

// Reads file descriptor fd to its end in blocks. Returns false with *error set when reading fails
// or the input goes on past limit bytes (setting names the option that raises the limit).
bool ReadWholeStream(int fd, uint64_t limit, const std::string& setting, std::string* text,
                     std::string* error);

#endif  // VELMORA_CLI_SCHEMA_INPUTS_H_
