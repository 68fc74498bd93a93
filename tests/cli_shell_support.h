// For the end-to-end cases that need what a shell gives (standard input from a file or closed, a
// folder to run in, a pipe to a reader that leaves early): RunShell and CheckTableCommand of the
// command's test support, and files written as they are.
#ifndef VELMORA_TESTS_CLI_SHELL_SUPPORT_H_
#define VELMORA_TESTS_CLI_SHELL_SUPPORT_H_

#include <string>
#include <fstream>

#include "cli_test_support.h"

inline void WriteTextFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

#endif  // VELMORA_TESTS_CLI_SHELL_SUPPORT_H_
