// The config file of velmora-check-table, .velmora-check.toml: the deployment's versions and the
// report format, kept in the repository beside the schemas so that every run there uses them.
//
//   server-version = "3.40.0.193000"      # --server-version
//   proxy-version = "3.37.0"              # --proxy-version
//   rest-proxy-version = "none"           # --rest-proxy-version
//   require-data-protocol = true          # --require-data-protocol
//   format = "json"                       # --format
//
// An option given on the command line wins over the file.
#ifndef VELMORA_CLI_CONFIG_H_
#define VELMORA_CLI_CONFIG_H_

#include <filesystem>
#include <functional>
#include <string>

#include "cli/options.h"

// The name the config file is searched for.
extern const char* const kConfigFileName;

// The config file that applies in the folder from (an absolute path): the nearest
// .velmora-check.toml in it or in a folder above it, searching no higher than the repository root
// (the first folder that holds .git) or the filesystem root. The path returned is relative to from
// (".velmora-check.toml", "../.velmora-check.toml", ...); empty when there is none.
std::string FindConfigFile(const std::filesystem::path& from);

// Reads the config file at path and sets each of its settings in options, except those whose key
// given() says the command line gave. Every setting is checked either way. Returns "" or why the
// file cannot be used, as one line: "PATH:LINE:COLUMN: error: TEXT" (the first fault in the file).
std::string ApplyConfigFile(const std::string& path,
                            const std::function<bool(const std::string& key)>& given,
                            CheckOptions& options);

#endif  // VELMORA_CLI_CONFIG_H_
