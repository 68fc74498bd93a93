// velmora-check-table: checks the table definitions of a ZEM XML schema as the table store would
// and reports what it would refuse. Exit status 0: every table passed; 1: a table failed; 2: the
// options or a schema could not be used, or the report could not be written.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <iostream>

#include "cli/check_schemas.h"
#include "cli/options.h"
#include "cli/tree_memory.h"

namespace {

// Standard input's descriptor, or -1 when it is closed. A closed one is taken by /dev/null so
// that no schema file opened later lands on descriptor 0 and is read as standard input.
int StandardInput() {
  if (fcntl(STDIN_FILENO, F_GETFD) != -1) return STDIN_FILENO;
  const int placeholder = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (placeholder > STDIN_FILENO) close(placeholder);
  return -1;
}

// Whether standard output is a pipe or socket whose reader has gone (`| head`): the report was
// cut on purpose, which needs no message.
bool ReaderLeft() {
  struct stat info;
  if (fstat(STDOUT_FILENO, &info) != 0 || !(S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode))) {
    return false;
  }
  pollfd output = {STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that leaves early turns writes into errors instead of ending the process.
  std::signal(SIGPIPE, SIG_IGN);
  UseTreeMemory();
  try {
    const ParsedCommandLine parsed = ParseCommandLine(argc, argv, std::cout, std::cerr);
    if (!parsed.run) return parsed.exit_status;
    const int status = CheckSchemas(parsed.options, StandardInput(), std::cout, std::cerr);
    // A report that did not reach its reader (a full disk, a closed pipe) must not pass for one.
    if (!std::cout.flush()) {
      if (!ReaderLeft()) std::cerr << "velmora-check-table: error: cannot write the report\n";
      return 2;
    }
    return status;
  } catch (const std::exception& error) {
    std::cerr << "velmora-check-table: error: " << error.what() << '\n';
    return 2;
  }
}
