// How close the checker stands to the XML parser it is built on. On a generated schema (2,000
// tables of 100 fields by default) it prints, in process (Google Benchmark, median of
// repetitions): the pugixml parse alone, the load, the load with every check, the text and JSON
// reports; and for whole processes (paired runs, medians; wall and processor time and peak
// resident memory from wait4, as /usr/bin/time -v reads them): the parse-only program and the
// command with the text and the JSON report. Each figure is also given as a ratio to the parse.
// Last, how the command grows with four times the tables, and the peak memory of one struct of a
// million entries against its file size.
//
// Usage: velmora_near_parser [TABLES [FIELDS [RUNS]]]
#include <sys/resource.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "cli/options.h"
#include "cli/report.h"
#include "cli/run_checks.h"
#include "schema_generator.h"
#include <velmora/zem_xml_loader.h>

namespace {

// Keeps the median of each benchmark's repetitions, in milliseconds, by benchmark name.
class MedianCollector : public benchmark::ConsoleReporter {
 public:
  MedianCollector() : ConsoleReporter(OO_None) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") {
        m_medians[run.run_name.function_name] = run.GetAdjustedRealTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double Median(const std::string& name) const {
    const auto found = m_medians.find(name);
    return found == m_medians.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> m_medians;
};

CheckOptions OptionsFor(const std::string& path, ReportFormat format) {
  CheckOptions options;
  options.schema_path = path;
  options.format = format;
  options.max_input_bytes = uint64_t{1} << 30;
  return options;
}

// A stream buffer that throws every byte away, so that a report's cost is its own.
class NullBuffer : public std::streambuf {
 protected:
  int overflow(int c) override { return c; }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

void RegisterInProcess(const std::string& path) {
  auto add = [](const char* name, auto body) {
    benchmark::RegisterBenchmark(name, body)
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(5)
        ->ReportAggregatesOnly(true)
        ->Iterations(2);
  };
  add("parse", [path](benchmark::State& state) {
    for (auto _ : state) {
      pugi::xml_document document;
      benchmark::DoNotOptimize(document.load_file(path.c_str()));
    }
  });
  add("load", [path](benchmark::State& state) {
    for (auto _ : state) {
      ZemLoadOptions load_options;
      load_options.max_input_bytes = uint64_t{1} << 30;
      benchmark::DoNotOptimize(ZemLoadXmlFile(path, load_options).ok);
    }
  });
  add("load+check", [path](benchmark::State& state) {
    const CheckOptions options = OptionsFor(path, ReportFormat::kText);
    for (auto _ : state) benchmark::DoNotOptimize(RunChecks(options).tables.size());
  });
  add("text report", [path](benchmark::State& state) {
    const CheckOptions options = OptionsFor(path, ReportFormat::kText);
    const SchemaRun run = RunChecks(options);
    NullBuffer buffer;
    std::ostream out(&buffer);
    for (auto _ : state) WriteTextReport(options, run, out, out);
  });
  add("json report", [path](benchmark::State& state) {
    const CheckOptions options = OptionsFor(path, ReportFormat::kJson);
    const SchemaRun run = RunChecks(options);
    NullBuffer buffer;
    std::ostream out(&buffer);
    for (auto _ : state) WriteJsonReport(options, run, out);
  });
}

// What one whole process took.
struct Measure {
  double wall_ms = 0;
  double cpu_ms = 0;
  double peak_mib = 0;
  int status = -1;
};

// Starts the program with posix_spawn, which shares the parent's memory until the exec instead
// of copying it as fork does: the child's peak resident memory is then its own alone.
Measure RunProcess(const std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = -1;
  const int spawned = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  Measure measure;
  int status = 0;
  struct rusage usage;
  if (spawned != 0 || wait4(child, &status, 0, &usage) != child) return measure;
  measure.wall_ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  measure.cpu_ms = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
                   static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
  measure.peak_mib = static_cast<double>(usage.ru_maxrss) / 1024.0;
  measure.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return measure;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The medians of each measure over runs of the same command.
Measure MedianOf(const std::vector<Measure>& runs) {
  std::vector<double> wall, cpu, peak;
  for (const Measure& run : runs) {
    wall.push_back(run.wall_ms);
    cpu.push_back(run.cpu_ms);
    peak.push_back(run.peak_mib);
  }
  return Measure{Median(wall), Median(cpu), Median(peak), runs.empty() ? -1 : runs.back().status};
}

std::vector<std::string> CommandArgs(const std::string& path, bool json) {
  std::vector<std::string> args = {VELMORA_CHECK_TABLE_BIN, "--max-input-size", "1G"};
  if (json) args.insert(args.end(), {"--format", "json"});
  args.push_back(path);
  return args;
}

// The parse-only program, the text command and the JSON command, run in turn `runs` times.
std::vector<Measure> PairedRuns(const std::string& path, int runs) {
  const std::vector<std::vector<std::string>> commands = {
      {VELMORA_PARSE_ONLY_BIN, path}, CommandArgs(path, false), CommandArgs(path, true)};
  std::vector<std::vector<Measure>> measures(commands.size());
  for (int run = 0; run < runs; ++run) {
    for (size_t c = 0; c < commands.size(); ++c) measures[c].push_back(RunProcess(commands[c]));
  }
  std::vector<Measure> medians;
  for (const std::vector<Measure>& runs_of_one : measures) medians.push_back(MedianOf(runs_of_one));
  return medians;
}

std::string WriteSchema(const std::string& dir, const char* name, int tables, int fields) {
  const std::string path = dir + "/" + name;
  std::ofstream out(path, std::ios::binary);
  velmora_bench::WriteGeneratedSchema(out, tables, fields);
  return path;
}

double FileMib(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  return static_cast<double>(in.tellg()) / (1024.0 * 1024.0);
}

void PrintInProcess(const MedianCollector& medians) {
  const double parse = medians.Median("parse");
  const double load = medians.Median("load");
  const double load_check = medians.Median("load+check");
  std::printf("\nIn process, median of 5 repetitions          ms     x parse\n");
  auto row = [parse](const char* what, double ms) {
    std::printf("  %-40s %9.1f %9.2f\n", what, ms, ms / std::max(parse, 1e-9));
  };
  row("pugixml parse (load_file, defaults)", parse);
  row("load", load);
  row("check (load+check minus load)", load_check - load);
  row("load+check", load_check);
  row("text report", medians.Median("text report"));
  row("json report", medians.Median("json report"));
}

void PrintWholeProcess(const std::vector<Measure>& medians, int runs, double file_mib) {
  const Measure& parse = medians[0];
  std::printf("\nWhole process, median of %d paired runs   wall ms  x parse    cpu ms  x parse"
              "  peak MiB  x parse  exit\n", runs);
  const char* const names[] = {"parse only (pugixml)", "command, text report",
                               "command, --format json"};
  for (size_t c = 0; c < medians.size(); ++c) {
    const Measure& m = medians[c];
    std::printf("  %-37s %9.1f %8.2f %9.1f %8.2f %9.1f %8.2f  %4d\n", names[c], m.wall_ms,
                m.wall_ms / parse.wall_ms, m.cpu_ms, m.cpu_ms / std::max(parse.cpu_ms, 1e-9),
                m.peak_mib, m.peak_mib / parse.peak_mib, m.status);
  }
  std::printf("  file: %.1f MiB; goals: text <= 2.0 x parse, json <= 8.0 x parse, text peak <= "
              "1.3 x parse peak\n", file_mib);
}

// The text command at four times the tables, and one struct of a million entries. The two sizes
// run in turn, so that both medians come from the same stretch of the machine's state (the
// in-process runs before leave its memory otherwise than they found it).
void PrintGrowth(const std::string& dir, const std::string& path, int tables, int fields,
                 int runs) {
  const std::string big = WriteSchema(dir, "four_times.xml", tables * 4, fields);
  std::vector<Measure> once_runs;
  std::vector<Measure> big_runs;
  for (int run = 0; run < runs; ++run) {
    once_runs.push_back(RunProcess(CommandArgs(path, false)));
    big_runs.push_back(RunProcess(CommandArgs(big, false)));
  }
  const Measure once_median = MedianOf(once_runs);
  const Measure big_median = MedianOf(big_runs);
  std::printf(
      "\nGrowth, text report, median of %d paired runs: %d tables %.1f ms, %d tables %.1f "
      "ms wall (%.2f x; goal <= 4.4)\n",
      runs, tables, once_median.wall_ms, tables * 4, big_median.wall_ms,
      big_median.wall_ms / once_median.wall_ms);
  std::remove(big.c_str());

  const std::string wide = dir + "/one_struct.xml";
  {
    std::ofstream out(wide, std::ios::binary);
    out << "<metalib name=\"wide\">\n<struct name=\"t\" primarykey=\"k\">\n";
    for (long i = 0; i < 1000000; ++i) out << "<entry name=\"f" << i << "\" type=\"int32\"/>\n";
    out << "<entry name=\"k\" type=\"int32\"/>\n</struct>\n</metalib>\n";
  }
  const Measure one = RunProcess(CommandArgs(wide, false));
  const double mib = FileMib(wide);
  std::printf("One struct of a million entries: file %.1f MiB, peak %.1f MiB = %.2f x the file "
              "(goal <= 4), %.0f ms wall, exit %d\n", mib, one.peak_mib, one.peak_mib / mib,
              one.wall_ms, one.status);
  std::remove(wide.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const int tables = argc > 1 ? std::max(1, std::atoi(argv[1])) : 2000;
  const int fields = argc > 2 ? std::max(6, std::atoi(argv[2])) : 100;
  const int runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 5;
  char dir[] = "/tmp/velmora-near-parser-XXXXXX";
  if (mkdtemp(dir) == nullptr) return 1;
  const std::string path = WriteSchema(dir, "schema.xml", tables, fields);
  std::printf("Generated schema: %d tables of %d fields, %.1f MiB\n", tables, fields,
              FileMib(path));

  const std::vector<Measure> medians = PairedRuns(path, runs);

  RegisterInProcess(path);
  int bench_argc = 1;
  benchmark::Initialize(&bench_argc, argv);
  MedianCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  PrintInProcess(collector);

  PrintWholeProcess(medians, runs, FileMib(path));
  PrintGrowth(dir, path, tables, fields, runs);
  std::remove(path.c_str());
  rmdir(dir);
  return 0;
}
