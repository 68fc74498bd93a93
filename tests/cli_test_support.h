// Shared fixtures of the command's end-to-end tests: run the built velmora-check-table with
// arguments and collect its exit status, standard output and standard error.
#ifndef VELMORA_TESTS_CLI_TEST_SUPPORT_H_
#define VELMORA_TESTS_CLI_TEST_SUPPORT_H_

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct CommandResult {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs the command with these arguments and collects what it printed and its exit status.
inline CommandResult RunCheckTable(const std::vector<std::string>& args) {
  char dir_template[] = "/tmp/velmora-cli-XXXXXX";
  const char* dir = mkdtemp(dir_template);
  CommandResult result;
  if (dir == nullptr) {
    ADD_FAILURE() << "cannot make a temporary directory";
    return result;
  }
  const std::string out_path = std::string(dir) + "/out";
  const std::string err_path = std::string(dir) + "/err";
  std::string command = ShellQuote(VELMORA_CHECK_TABLE_BIN);
  for (const std::string& arg : args) command += " " + ShellQuote(arg);
  command += " </dev/null >" + ShellQuote(out_path) + " 2>" + ShellQuote(err_path);
  const int raw_status = std::system(command.c_str());
  if (raw_status != -1 && WIFEXITED(raw_status)) {
    result.status = WEXITSTATUS(raw_status);
  } else {
    ADD_FAILURE() << "the command did not exit normally: " << command;
  }
  result.out = ReadFile(out_path);
  result.err = ReadFile(err_path);
  std::remove(out_path.c_str());
  std::remove(err_path.c_str());
  rmdir(dir);
  return result;
}

// The lines of a text, without their line breaks.
inline std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

#endif  // VELMORA_TESTS_CLI_TEST_SUPPORT_H_
