#include "cli/schema_inputs.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <velmora/zem_xml_loader.h>

const char* const kStandardInputName = "<stdin>";

namespace {

namespace fs = std::filesystem;

// Standard input is read in blocks of this size.
constexpr size_t kBlockBytes = 64 * 1024;

bool IsFolder(const std::string& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

SchemaInput Unusable(const std::string& path, const std::string& problem) {
  SchemaInput input;
  input.path = path;
  input.problem = problem;
  return input;
}

// The *.xml files below a folder, sorted, or one input that says why there are none. Links to
// folders are not followed, so a link back up the tree cannot loop.
std::vector<SchemaInput> SchemasInFolder(const std::string& folder) {
  std::vector<std::string> paths;
  std::error_code error;
  fs::recursive_directory_iterator walk(folder, error);
  for (; !error && walk != fs::recursive_directory_iterator(); walk.increment(error)) {
    std::error_code kind_error;
    if (walk->path().extension() == ".xml" && walk->is_regular_file(kind_error)) {
      paths.push_back(walk->path().string());
    }
  }
  if (error) return {Unusable(folder, "cannot search the folder: " + error.message())};
  if (paths.empty()) return {Unusable(folder, "no schema in this folder: no *.xml file below it")};
  std::sort(paths.begin(), paths.end());
  std::vector<SchemaInput> inputs(paths.size());
  for (size_t i = 0; i < paths.size(); ++i) inputs[i].path = std::move(paths[i]);
  return inputs;
}

}  // namespace

std::vector<SchemaInput> ExpandSchemaArguments(const std::vector<std::string>& arguments) {
  std::vector<SchemaInput> inputs;
  bool stdin_named = false;
  for (const std::string& argument : arguments) {
    if (argument == "-") {
      if (stdin_named) {
        inputs.push_back(Unusable(kStandardInputName, "standard input is named more than once; "
                                                      "it holds one schema"));
        continue;
      }
      stdin_named = true;
      SchemaInput input;
      input.path = kStandardInputName;
      input.from_stdin = true;
      inputs.push_back(std::move(input));
    } else if (IsFolder(argument)) {
      std::vector<SchemaInput> found = SchemasInFolder(argument);
      std::move(found.begin(), found.end(), std::back_inserter(inputs));
    } else {
      SchemaInput input;
      input.path = argument;
      inputs.push_back(std::move(input));
    }
  }
  return inputs;
}

bool NamesSeveralSchemas(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 || (arguments.size() == 1 && IsFolder(arguments.front()));
}

bool ReadWholeStream(int fd, uint64_t limit, const std::string& setting, std::string* text,
                     std::string* error) {
  text->clear();
  while (text->size() <= limit) {
    const size_t room = static_cast<size_t>(std::min<uint64_t>(kBlockBytes, limit + 1 - text->size()));
    const size_t had = text->size();
    text->resize(had + room);
    const ssize_t got = read(fd, &(*text)[had], room);
    if (got < 0) {
      const int reason = errno;
      text->resize(had);
      if (reason == EINTR) continue;
      *error = std::string("cannot read standard input: ") + std::strerror(reason);
      return false;
    }
    text->resize(had + static_cast<size_t>(got));
    if (got == 0) return true;
  }
  *error = "the input goes on past the maximum input size of " + FormatZemByteSize(limit) + " (" +
           std::to_string(limit) + " bytes); set a larger limit with " + setting;
  return false;
}
