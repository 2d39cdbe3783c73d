// zcalc: computes an expression over the columns of a file, with the library as its engine.
#include <zenthar/zenthar.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>

#include "calculation.h"
#include "draw.h"
#include "functions.h"
#include "host.h"
#include "options.h"
#include "print.h"
#include "text.h"

namespace zcalc {
namespace {

/// Seconds since the last question.
class Stopwatch {
 public:
  double lap() {
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - start_).count();
    start_ = now;
    return seconds;
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// A full disk or a closed pipe is noticed here at the latest.
void finish_output() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw Failure(std::string("cannot write the result: ") + std::strerror(errno));
  }
}

void report_memory() {
  const uint64_t limit = MCliminuse();
  std::fprintf(stderr, "memory: %s bytes in use, %s at most, limit %s\n", grouped(MemoryInUse()).c_str(),
               grouped(MaxMemoryUsed()).c_str(), limit == 0 ? "none" : grouped(limit).c_str());
}

void calculate(const Options& options) {
  Stopwatch stopwatch;
  Calculation calculation(options.expression, options.progress, options.compile);
  calculation.read_data(options.data);
  const double reading = stopwatch.lap();
  const std::vector<Result> results = calculation.run();
  const double computing = stopwatch.lap();
  if (options.csv) {
    print_csv(stdout, results, calculation.data());
  } else {
    print_tables(stdout, results, calculation.data(), {options.rows, options.digits});
  }
  finish_output();
  if (options.time) {
    const double printing = stopwatch.lap(), compiling = calculation.compiling();
    std::fprintf(stderr, "time: reading %.3f s, ", reading);
    if (options.compile.form) std::fprintf(stderr, "compiling %.3f s, ", compiling);
    std::fprintf(stderr, "computing %.3f s, printing %.3f s\n", computing - compiling, printing);
  }
  if (options.memory) report_memory();
}

/// Tells whether every array was freed, and once.
int report_arrays(Host& host) {
  const std::vector<std::string> problems = host.end_tracking();
  for (const std::string& problem : problems) std::fprintf(stderr, "arrays: %s\n", problem.c_str());
  if (problems.empty()) std::fputs("arrays: each was freed once\n", stderr);
  return problems.empty() ? kSuccess : kFailed;
}

/// Runs the work and prints what ends it. Returns the exit status.
template <typename Work>
int attempt(const Options& options, const Work& work) {
  try {
    work();
    finish_output();
    return kSuccess;
  } catch (const Failure& failure) {
    std::fflush(stdout);
    std::fputs(describe(failure, options.expression).c_str(), stderr);
    return failure.status();
  } catch (const std::bad_alloc&) {
    std::fputs("zcalc: out of memory\n", stderr);
    return kFailed;
  }
}

int run(int argc, char** argv) {
  using Action = Options::Action;
  Options options;
  int status = attempt(options, [&] {
    options = parse_options(argc, argv);
    if (options.action == Action::kHelp) std::fputs(help_text().c_str(), stdout);
    if (options.action == Action::kVersion) std::puts("zcalc " ZCALC_VERSION);
  });
  if (status != kSuccess || options.action == Action::kHelp || options.action == Action::kVersion)
    return status;

  Host host(options.style, options.limit, options.leaks);
  status = attempt(options, [&] {
    if (options.action == Action::kFunctions) {
      std::fputs(function_list().c_str(), stdout);
    } else {
      if (options.seed || !options.generator.empty()) select_generator(options.generator, options.seed);
      calculate(options);
    }
  });
  if (options.leaks && report_arrays(host) != kSuccess) status = kFailed;
  return status;
}

}  // namespace
}  // namespace zcalc

int main(int argc, char** argv) { return zcalc::run(argc, argv); }
