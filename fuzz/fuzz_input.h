// What the command-level fuzz targets read from their input: a line of options, then a schema and,
// optionally, the old schema. The shape is plain text so that seeds stay readable and the
// dictionary's words mutate into meaningful options:
//
//   kind=list server=3.40.0.193000 proxy=3.37.0 rest=none protocol tables=player,mail all\n
//   <metalib ...>...</metalib>\f<metalib ...>...</metalib>
//
// Words of the first line, separated by blanks, unknown ones ignored:
//   kind=K       --kind K (generic, list or an integer; anything else leaves it unset)
//   server=V     --server-version V;  proxy=V  --proxy-version V;  rest=V  --rest-proxy-version V
//   protocol     --require-data-protocol
//   strict       --strict
//   tables=A,B   -t A -t B (empty names kept: the checker judges them too)
//   all          check every struct and union of the schema and one name it lacks
// A form feed (never valid in XML) ends the schema; what follows it is the old schema (--old).
#ifndef VELMORA_FUZZ_FUZZ_INPUT_H_
#define VELMORA_FUZZ_FUZZ_INPUT_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "cli/options.h"
#include <velmora/zem_xml_loader.h>

// A file that lives in memory only, so that the command's own file loading runs on fuzz input
// without touching the disk or leaving anything behind.
class MemoryFile {
 public:
  explicit MemoryFile(const char* name) : fd_(memfd_create(name, 0)) {
    if (fd_ < 0) std::abort();
    path_ = "/proc/self/fd/" + std::to_string(fd_);
  }
  ~MemoryFile() { close(fd_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  // Replaces the content; returns the path that opens it.
  const std::string& Hold(const std::string& bytes) {
    if (ftruncate(fd_, 0) != 0) std::abort();
    size_t written = 0;
    while (written < bytes.size()) {
      const ssize_t got = pwrite(fd_, bytes.data() + written, bytes.size() - written,
                                 static_cast<off_t>(written));
      if (got <= 0) std::abort();
      written += static_cast<size_t>(got);
    }
    return path_;
  }

 private:
  int fd_;
  std::string path_;
};

struct FuzzRunInput {
  CheckOptions options;
  std::string schema;
  std::optional<std::string> old_schema;
  bool every_meta = false;  // the word "all"
  std::vector<std::string> words;
};

inline FuzzRunInput ParseFuzzRunInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  FuzzRunInput run;
  const size_t line_end = input.find('\n');
  const std::string line = input.substr(0, line_end);
  std::string body = line_end == std::string::npos ? std::string() : input.substr(line_end + 1);

  std::istringstream words(line);
  std::string word;
  while (words >> word) {
    run.words.push_back(word);
    if (word.rfind("kind=", 0) == 0) {
      run.options.kind = ParseTableKind(word.substr(5));
    } else if (word.rfind("server=", 0) == 0) {
      run.options.server_version = word.substr(7);
    } else if (word.rfind("proxy=", 0) == 0) {
      run.options.proxy_version = word.substr(6);
    } else if (word.rfind("rest=", 0) == 0) {
      run.options.rest_proxy_version = word.substr(5);
    } else if (word == "protocol") {
      run.options.require_data_protocol = true;
    } else if (word == "strict") {
      run.options.strict = true;
    } else if (word.rfind("tables=", 0) == 0) {
      std::string names = word.substr(7);
      size_t from = 0;
      for (size_t comma = names.find(','); comma != std::string::npos;
           comma = names.find(',', from)) {
        run.options.tables.push_back(names.substr(from, comma - from));
        from = comma + 1;
      }
      run.options.tables.push_back(names.substr(from));
    } else if (word == "all") {
      run.every_meta = true;
    }
  }

  const size_t form_feed = body.find('\f');
  if (form_feed != std::string::npos) {
    run.old_schema = body.substr(form_feed + 1);
    body.resize(form_feed);
  }
  run.schema = std::move(body);
  return run;
}

// Holds the schemas in memory files and points the options at them. With "all", the tables are
// every struct and union the schema loads with, and one name it lacks.
class FuzzRunFiles {
 public:
  FuzzRunFiles() : schema_("schema.xml"), old_schema_("old.xml") {}

  void Prepare(FuzzRunInput& run) {
    run.options.schema_path = schema_.Hold(run.schema);
    if (run.old_schema) run.options.old_schema_path = old_schema_.Hold(*run.old_schema);
    if (!run.every_meta) return;
    const ZemLoadResult loaded = ZemLoadXmlText("schema.xml", run.schema);
    for (const ZemMetaInfo& meta : loaded.metas) run.options.tables.push_back(meta.name);
    run.options.tables.push_back("no_such_table");
  }

 private:
  MemoryFile schema_;
  MemoryFile old_schema_;
};

#endif  // VELMORA_FUZZ_FUZZ_INPUT_H_
