// Shared fixtures of the command's end-to-end tests: run the built velmora-check-table with
// arguments and collect its exit status, standard output and standard error.
#ifndef VELMORA_TESTS_CLI_TEST_SUPPORT_H_
#define VELMORA_TESTS_CLI_TEST_SUPPORT_H_

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
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

// A folder of the running test's own under the tests' scratch directory in the build tree. The
// guard removes it with everything in it, whether or not the test's assertions held.
class ScratchDir {
 public:
  ScratchDir() {
    const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name =
        test != nullptr ? std::string(test->test_suite_name()) + "." + test->name() : "scratch";
    for (char& c : name) {
      if (c == '/') c = '_';  // parameterized tests are named "Suite/Case"
    }
    std::error_code error;
    std::filesystem::create_directories(VELMORA_TEST_SCRATCH_DIR, error);
    std::string pattern = std::string(VELMORA_TEST_SCRATCH_DIR) + "/" + name + "-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) {
      m_path = pattern;
    } else {
      ADD_FAILURE() << "cannot make a scratch folder " << pattern;
    }
  }
  ~ScratchDir() {
    std::error_code ignored;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  bool ok() const { return !m_path.empty(); }
  const std::string& path() const { return m_path; }
  // The path of a file in the folder.
  std::string File(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

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

// Runs the command with these arguments after the shell words of prefix (a change of folder or
// environment: "cd DIR &&", "NO_COLOR=1") and collects what it printed and its exit status.
inline CommandResult RunCheckTableAfter(const std::string& prefix,
                                        const std::vector<std::string>& args) {
  return RunShell(prefix + " " + CheckTableCommand(args) + " </dev/null");
}

// Runs the command with these arguments and collects what it printed and its exit status.
inline CommandResult RunCheckTable(const std::vector<std::string>& args) {
  return RunCheckTableAfter("", args);
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
