#include "cli/config.h"

#include <toml++/toml.h>

#include <fstream>
#include <sstream>
#include <system_error>

const char* const kConfigFileName = ".velmora-check.toml";

namespace {

// Sets one setting from its value in the file; returns "" or why the value is refused.
using SetSetting = std::string (*)(const toml::node& value, CheckOptions& options);

struct ConfigKey {
  const char* name;
  SetSetting set;
};

std::string SetString(const toml::node& value, const char* key, std::string& target) {
  const toml::value<std::string>* text = value.as_string();
  if (text == nullptr) return std::string(key) + " must be a string";
  target = text->get();
  return std::string();
}

std::string SetVersion(const toml::node& value, const char* key, bool none_allowed,
                       std::string& target) {
  std::string text;
  std::string error = SetString(value, key, text);
  if (error.empty()) error = VersionError(text, none_allowed);
  if (!error.empty()) return error.front() == '\'' ? std::string(key) + ": " + error : error;
  target = text;
  return std::string();
}

std::string SetFlag(const toml::node& value, const char* key, bool& target) {
  const toml::value<bool>* flag = value.as_boolean();
  if (flag == nullptr) return std::string(key) + " must be true or false";
  target = flag->get();
  return std::string();
}

std::string SetFormat(const toml::node& value, CheckOptions& options) {
  std::string text;
  std::string error = SetString(value, "format", text);
  if (!error.empty()) return error;
  const std::optional<ReportFormat> format = ParseReportFormat(text);
  if (!format) return "format: '" + text + "' is not a report format";
  options.format = *format;
  return std::string();
}

const ConfigKey kConfigKeys[] = {
    {"server-version",
     [](const toml::node& value, CheckOptions& options) {
       return SetVersion(value, "server-version", false, options.server_version);
     }},
    {"proxy-version",
     [](const toml::node& value, CheckOptions& options) {
       return SetVersion(value, "proxy-version", false, options.proxy_version);
     }},
    {"rest-proxy-version",
     [](const toml::node& value, CheckOptions& options) {
       return SetVersion(value, "rest-proxy-version", true, options.rest_proxy_version);
     }},
    {"require-data-protocol",
     [](const toml::node& value, CheckOptions& options) {
       return SetFlag(value, "require-data-protocol", options.require_data_protocol);
     }},
    {"strict",
     [](const toml::node& value, CheckOptions& options) {
       return SetFlag(value, "strict", options.strict);
     }},
    {"format", SetFormat},
};

const ConfigKey* FindConfigKey(std::string_view name) {
  for (const ConfigKey& key : kConfigKeys) {
    if (name == key.name) return &key;
  }
  return nullptr;
}

std::string KnownKeys() {
  std::string keys;
  for (const ConfigKey& key : kConfigKeys) keys += std::string(keys.empty() ? "" : ", ") + key.name;
  return keys;
}

// A fault of the file at a place in it; the earliest one is the one reported.
struct ConfigFault {
  toml::source_position at;
  std::string text;
};

void KeepEarliest(ConfigFault fault, std::optional<ConfigFault>& earliest) {
  if (!earliest || fault.at < earliest->at) earliest = std::move(fault);
}

std::string FaultLine(const std::string& path, const toml::source_position& at,
                      const std::string& text) {
  return path + ":" + std::to_string(at.line) + ":" + std::to_string(at.column) +
         ": error: " + text;
}

bool ReadConfigText(const std::string& path, std::string& text) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) return false;
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream content;
  content << in.rdbuf();
  if (in.bad()) return false;
  text = content.str();
  return true;
}

}  // namespace

std::string FindConfigFile(const std::filesystem::path& from) {
  std::filesystem::path folder = from;
  std::string up;
  std::error_code error;
  while (true) {
    if (std::filesystem::is_regular_file(folder / kConfigFileName, error)) {
      return up + kConfigFileName;
    }
    if (std::filesystem::exists(folder / ".git", error)) return std::string();
    const std::filesystem::path parent = folder.parent_path();
    if (parent == folder || parent.empty()) return std::string();
    folder = parent;
    up += "../";
  }
}

std::string ApplyConfigFile(const std::string& path,
                            const std::function<bool(const std::string& key)>& given,
                            CheckOptions& options) {
  std::string text;
  if (!ReadConfigText(path, text)) return path + ": error: cannot read the config file";
  toml::table table;
  try {
    table = toml::parse(text, std::string_view(path));
  } catch (const toml::parse_error& error) {
    return FaultLine(path, error.source().begin, std::string(error.description()));
  }
  std::optional<ConfigFault> earliest;
  CheckOptions overridden;  // settings the command line gave are checked here, then dropped
  for (auto&& [key, value] : table) {
    const ConfigKey* known = FindConfigKey(key.str());
    if (known == nullptr) {
      KeepEarliest({key.source().begin,
                    "unknown key '" + std::string(key.str()) + "'; the keys are " + KnownKeys()},
                   earliest);
      continue;
    }
    std::string error = known->set(value, given(known->name) ? overridden : options);
    if (!error.empty()) KeepEarliest({value.source().begin, std::move(error)}, earliest);
  }
  return earliest ? FaultLine(path, earliest->at, earliest->text) : std::string();
}
