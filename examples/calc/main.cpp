// zcalc: computes an expression over the columns of a file, with the library as its engine.
#include <zenthar/zenthar.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>

#include "calculation.h"
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
  Calculation calculation(options.expression, options.progress);
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
    std::fprintf(stderr, "time: reading %.3f s, computing %.3f s, printing %.3f s\n", reading, computing,
                 stopwatch.lap());
  }
  if (options.memory) report_memory();
}

int run(int argc, char** argv) {
  Options options;
  try {
    options = parse_options(argc, argv);
    if (options.action == Options::Action::kHelp) {
      std::fputs(help_text().c_str(), stdout);
    } else if (options.action == Options::Action::kVersion) {
      std::puts("zcalc " ZCALC_VERSION);
    } else {
      const Host host(options.style, options.limit);
      if (options.action == Options::Action::kFunctions) {
        std::fputs(function_list().c_str(), stdout);
      } else {
        calculate(options);
      }
    }
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

}  // namespace
}  // namespace zcalc

int main(int argc, char** argv) { return zcalc::run(argc, argv); }
