// How velmora-check-table scales on the inputs that once made it hang or run out of memory: each
// case runs the whole command at n, 2n, 4n and 8n, and prints the time and peak memory of each
// size and their growth per doubling. Linear work and memory double at each step; the goals allow
// 2.3 times the time and 2.1 times the peak memory per doubling.
//
// Usage: velmora_scaling [SCALE [CASE...]]   SCALE divides every size (1, the default, gives the
// full sizes); CASE runs only the cases whose names contain it.
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr double kTimeGoal = 2.3;
constexpr double kMemoryGoal = 2.1;

// What one run of the command took.
struct Measure {
  double file_mb = 0;
  double wall_s = 0;
  double cpu_s = 0;  // user and system time of the command
  double peak_mib = 0;
  int status = -1;
};

// Writes a schema of size n to path, and says which arguments check it.
using Writer = std::function<std::vector<std::string>(std::ofstream& out, long n,
                                                       const std::string& path)>;

struct Case {
  const char* name;
  long n;  // the smallest size
  Writer write;
};

// Runs the command as a child process with its output thrown away, measuring its wall time, its
// processor time and its peak resident memory (as /usr/bin/time -v does, from wait4).
Measure RunCommand(const std::vector<std::string>& args) {
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(VELMORA_CHECK_TABLE_BIN));
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  Measure measure;
  int status = 0;
  struct rusage usage;
  if (child < 0 || wait4(child, &status, 0, &usage) != child) return measure;
  measure.wall_s =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  measure.cpu_s = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                  static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  measure.peak_mib = static_cast<double>(usage.ru_maxrss) / 1024.0;
  measure.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return measure;
}

// Shared struct types: 63 levels, each holding n entries of the level below and n arrays (of
// the empty struct at the bottom, so that no size grows) without refer. A walk of every path
// through them would take n^62 steps.
std::vector<std::string> SharedStructs(std::ofstream& out, long n, const std::string& path) {
  out << "<metalib name=\"shared\">\n<struct name=\"s0\"/>\n";
  for (int level = 1; level < 63; ++level) {
    out << "<struct name=\"s" << level << "\"" << (level == 62 ? " primarykey=\"k\"" : "")
        << ">\n<entry name=\"k\" type=\"" << (level == 62 ? "int32" : "s0") << "\"/>\n";
    for (long i = 0; i < n; ++i) {
      out << "<entry name=\"e" << i << "\" type=\"s" << level - 1 << "\"/>\n"
          << "<entry name=\"a" << level << "_" << i << "\" type=\"s0\" count=\"2\"/>\n";
    }
    out << "</struct>\n";
  }
  out << "</metalib>\n";
  return {path};
}

// One table of n arrays without refer: every name goes into the report.
std::vector<std::string> ArraysWithoutRefer(std::ofstream& out, long n, const std::string& path) {
  out << "<metalib name=\"arrays\">\n<struct name=\"t\" primarykey=\"k\">\n"
         "<entry name=\"k\" type=\"int32\"/>\n";
  for (long i = 0; i < n; ++i) {
    out << "<entry name=\"array_" << i << "\" type=\"int32\" count=\"4\"/>\n";
  }
  out << "</struct>\n</metalib>\n";
  return {path};
}

// One table of n plain entries, compared with itself.
std::vector<std::string> OldOfItself(std::ofstream& out, long n, const std::string& path) {
  out << "<metalib name=\"plain\">\n<struct name=\"t\" primarykey=\"k\">\n"
         "<entry name=\"k\" type=\"int32\"/>\n";
  for (long i = 0; i < n; ++i) out << "<entry name=\"field_" << i << "\" type=\"int32\"/>\n";
  out << "</struct>\n</metalib>\n";
  return {"--old", path, path};
}

// n unknown elements: each one a warning, of which 100 are listed.
std::vector<std::string> UnknownElements(std::ofstream& out, long n, const std::string& path) {
  out << "<metalib name=\"unknown\">";
  for (long i = 0; i < n; ++i) out << "<x/>";
  out << "</metalib>\n";
  return {path};
}

// A table whose customattr2 is n bytes: a list table followed by n - 30 empty segments.
std::vector<std::string> LongAttribute(std::ofstream& out, long n, const std::string& path) {
  out << "<metalib name=\"attr\">\n<struct name=\"t\" primarykey=\"k\" "
         "customattr2=\"TableType=LIST;ListNum=5";
  const std::string semicolons(1 << 20, ';');
  for (long left = n - 30; left > 0; left -= static_cast<long>(semicolons.size())) {
    out.write(semicolons.data(), std::min<long>(left, static_cast<long>(semicolons.size())));
  }
  out << "\">\n<entry name=\"k\" type=\"int32\"/>\n<entry name=\"v\" type=\"int32\"/>\n"
         "</struct>\n</metalib>\n";
  return {path};
}

// n blank lines around one table.
std::vector<std::string> BlankLines(std::ofstream& out, long n, const std::string& path) {
  out << "<metalib name=\"blank\">\n<struct name=\"t\" primarykey=\"k\">";
  const std::string lines(1 << 20, '\n');
  for (long left = n; left > 0; left -= static_cast<long>(lines.size())) {
    out.write(lines.data(), std::min<long>(left, static_cast<long>(lines.size())));
  }
  out << "<entry name=\"k\" type=\"int32\"/><entry name=\"v\" type=\"int32\"/>\n"
         "</struct>\n</metalib>\n";
  return {path};
}

// n indexes of 1000 columns each: a record per column in the model.
std::vector<std::string> IndexColumns(std::ofstream& out, long n, const std::string& path) {
  std::string columns = "k";
  for (int i = 1; i < 1000; ++i) columns += ",k";
  out << "<metalib name=\"columns\">\n<struct name=\"t\" primarykey=\"k\">\n"
         "<entry name=\"k\" type=\"int32\"/>\n";
  for (long i = 0; i < n; ++i) {
    out << "<index name=\"i" << i << "\" column=\"" << columns << "\"/>\n";
  }
  out << "</struct>\n</metalib>\n";
  return {path};
}

double FileMb(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  return static_cast<double>(in.tellg()) / 1e6;
}

// The best of three runs of the case at size n (one run for files above 40 MB).
Measure MeasureCase(const Case& test, long n, const std::string& dir) {
  const std::string path = dir + "/schema.xml";
  std::vector<std::string> args;
  {
    std::ofstream out(path, std::ios::binary);
    args = test.write(out, n, path);
  }
  args.insert(args.begin(), {"--max-input-size", "1G"});
  const double file_mb = FileMb(path);
  Measure best;
  for (int run = 0; run < (file_mb > 40 ? 1 : 3); ++run) {
    const Measure measure = RunCommand(args);
    if (run == 0 || measure.cpu_s < best.cpu_s) best = measure;
  }
  best.file_mb = file_mb;
  std::remove(path.c_str());
  return best;
}

void PrintRow(const char* name, long n, const Measure& measure, const Measure* before) {
  std::printf("%-22s %9ld %9.1f %8.2f %8.2f %9.1f", name, n, measure.file_mb, measure.wall_s,
              measure.cpu_s, measure.peak_mib);
  if (before != nullptr) {
    const double time_x = measure.cpu_s / std::max(before->cpu_s, 0.01);
    const double memory_x = measure.peak_mib / before->peak_mib;
    std::printf(" %7.2f %7.2f %6s", time_x, memory_x,
                time_x <= kTimeGoal && memory_x <= kMemoryGoal ? "ok" : "MISSED");
  } else {
    std::printf(" %7s %7s %6s", "-", "-", "");
  }
  // Peak memory in bytes per byte of the schema file (--old reads the same file twice).
  std::printf(" %9.1f  exit %d\n", measure.peak_mib * 1.048576 / std::max(measure.file_mb, 0.001),
              measure.status);
}

}  // namespace

int main(int argc, char** argv) {
  const long scale = argc > 1 ? std::max(1L, std::atol(argv[1])) : 1;
  const Case cases[] = {
      {"shared struct types", 1000, SharedStructs},
      {"arrays without refer", 125000, ArraysWithoutRefer},
      {"--old of itself", 125000, OldOfItself},
      {"unknown elements", 625000, UnknownElements},
      {"long attribute value", 6250000, LongAttribute},
      {"blank lines", 25000000, BlankLines},
      {"index column lists", 1500, IndexColumns},
  };
  char dir[] = "/tmp/velmora-scaling-XXXXXX";
  if (mkdtemp(dir) == nullptr) return 1;
  std::printf("Whole command, best of 3 runs (1 above 40 MB); cpu = user + system time, peak =\n"
              "maximum resident set (wait4, as /usr/bin/time -v). Goals per doubling: cpu x <= "
              "%.1f, peak x <= %.1f.\n\n", kTimeGoal, kMemoryGoal);
  std::printf("%-22s %9s %9s %8s %8s %9s %7s %7s %6s %9s\n", "case", "n", "file MB", "wall s",
              "cpu s", "peak MiB", "cpu x", "peak x", "goals", "peak/file");
  for (const Case& test : cases) {
    bool chosen = argc <= 2;
    for (int i = 2; i < argc; ++i) chosen = chosen || std::strstr(test.name, argv[i]) != nullptr;
    if (!chosen) continue;
    Measure before;
    for (int step = 0; step < 4; ++step) {
      const long n = (test.n << step) / scale;
      const Measure measure = MeasureCase(test, n, dir);
      PrintRow(step == 0 ? test.name : "", n, measure, step == 0 ? nullptr : &before);
      std::fflush(stdout);
      before = measure;
    }
  }
  rmdir(dir);
  return 0;
}
