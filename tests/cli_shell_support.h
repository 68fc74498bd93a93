// Running the built velmora-check-table through the shell, for the end-to-end cases that need
// what a shell gives: standard input from a file or closed, a folder to run in, a pipe to a reader
// that leaves early.
#ifndef VELMORA_TESTS_CLI_SHELL_SUPPORT_H_
#define VELMORA_TESTS_CLI_SHELL_SUPPORT_H_

#include <string>
#include <vector>

#include "cli_test_support.h"

// The command line "'BIN' 'ARG'...", each argument quoted for the shell.
inline std::string CheckTableCommand(const std::vector<std::string>& args) {
  std::string command = ShellQuote(VELMORA_CHECK_TABLE_BIN);
  for (const std::string& arg : args) command += " " + ShellQuote(arg);
  return command;
}

// Runs a shell command line (which redirects standard input itself, or reads /dev/null) and
// collects its exit status, standard output and standard error.
inline CommandResult RunShell(const std::string& command) {
  CommandResult result;
  const ScratchDir dir;
  if (!dir.ok()) return result;
  const std::string out_path = dir.File("out");
  const std::string err_path = dir.File("err");
  const std::string line = "{ " + command + "; } >" + ShellQuote(out_path) + " 2>" +
                           ShellQuote(err_path);
  const int raw_status = std::system(line.c_str());
  if (raw_status != -1 && WIFEXITED(raw_status)) {
    result.status = WEXITSTATUS(raw_status);
  } else {
    ADD_FAILURE() << "the command did not exit normally: " << line;
  }
  result.out = ReadFile(out_path);
  result.err = ReadFile(err_path);
  return result;
}

inline void WriteTextFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

#endif  // VELMORA_TESTS_CLI_SHELL_SUPPORT_H_
