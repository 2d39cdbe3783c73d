// Compares the library's parallel loops with those of OpenMP and oneTBB. See README.md here.
//
// Each contender is measured in a process of its own, in turns: a runtime whose threads spin after a loop
// would otherwise take the processor from the next one measured.
#include <omp.h>
#include <sys/wait.h>
#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>
#include <tbb/task_arena.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "zenthar/parallel.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Row {
  const char* name;
  mint size;     // iterations; each computes one element
  int rest_ms;   // pause before each loop
  int loops;     // a turn
  bool reduces;  // one piece and one sum for each thread
};

constexpr Row kRows[] = {
    {"empty loop", 0, 0, 20000, false},
    {"10000 elements", 10000, 0, 3000, false},
    {"million elements", 1000000, 0, 100, false},
    {"sum of a million", 1000000, 0, 100, true},
    {"empty loop after a rest", 0, 50, 12, false},
    {"million elements after a rest", 1000000, 50, 12, false},
};

// The data of all rows. An empty loop still calls a body for each thread.
struct Data {
  std::vector<double> x = std::vector<double>(1000000, 1.5);
  std::vector<double> y = std::vector<double>(1000000, 2.0);
  std::vector<double> z = std::vector<double>(1000000, 0.0);
  struct alignas(64) Sum {
    double value = 0;
  };
  std::vector<Sum> sums = std::vector<Sum>(256);

  void compute(mint start, mint end) {
    const double* a = x.data();
    const double* b = y.data();
    double* __restrict c = z.data();
    for (mint i = start; i < end; ++i) c[i] = a[i] * b[i] + 1;
  }
  double sum(mint start, mint end) const {
    double total = 0;
    for (mint i = start; i < end; ++i) total += x[size_t(i)] * y[size_t(i)];
    return total;
  }
};
Data data;
volatile double sink;

using Loop = std::function<void()>;

Loop library_loop(const Row& row, int threads) {
  setParallelThreadNumber(threads);
  if (row.reduces) {
    return [size = row.size, threads] {
      auto body = [](void*, ParallelThread t) {
        data.sums[size_t(ParallelThread_ID(t))].value =
            data.sum(ParallelThread_RangeStart(t), ParallelThread_RangeEnd(t));
      };
      ParallelThreads_Reduce(nullptr, nullptr, body, 0, size, 1);
      double total = 0;
      for (int i = 0; i < threads; ++i) total += data.sums[size_t(i)].value;
      sink = total;
    };
  }
  if (row.size == 0) {
    return [threads] {
      auto body = [](void*, ParallelThread t) { asm volatile("" ::"r"(t)); };
      ParallelThreads_For(nullptr, nullptr, body, 0, threads, 1, nullptr);
    };
  }
  return [size = row.size] {
    auto body = [](void*, ParallelThread t) {
      data.compute(ParallelThread_RangeStart(t), ParallelThread_RangeEnd(t));
    };
    ParallelThreads_For(nullptr, nullptr, body, 0, size, 1, nullptr);
  };
}

Loop openmp_loop(const Row& row, int threads) {
  omp_set_num_threads(threads);
  if (row.reduces) {
    return [size = row.size] {
      double total = 0;
#pragma omp parallel reduction(+ : total)
      {
        const mint n = omp_get_num_threads();
        const mint i = omp_get_thread_num();
        total += data.sum(size * i / n, size * (i + 1) / n);
      }
      sink = total;
    };
  }
  if (row.size == 0) {
    return [threads] {
#pragma omp parallel for schedule(static)
      for (int i = 0; i < threads; ++i) asm volatile("" ::"r"(i));
    };
  }
  return [size = row.size] {
#pragma omp parallel
    {
      const mint n = omp_get_num_threads();
      const mint i = omp_get_thread_num();
      data.compute(size * i / n, size * (i + 1) / n);
    }
  };
}

Loop tbb_loop(const Row& row, int threads) {
  static std::unique_ptr<tbb::global_control> limit;
  static std::unique_ptr<tbb::task_arena> arena;
  limit = std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism, threads);
  arena = std::make_unique<tbb::task_arena>(threads);
  if (row.reduces) {
    return [size = row.size] {
      arena->execute([&] {
        sink = tbb::parallel_reduce(
            tbb::blocked_range<mint>(0, size), 0.0,
            [](const auto& r, double total) { return total + data.sum(r.begin(), r.end()); }, std::plus<>());
      });
    };
  }
  if (row.size == 0) {
    return [threads] {
      arena->execute([&] { tbb::parallel_for(0, threads, [](int i) { asm volatile("" ::"r"(i)); }); });
    };
  }
  return [size = row.size] {
    arena->execute([&] {
      tbb::parallel_for(tbb::blocked_range<mint>(0, size),
                        [](const auto& r) { data.compute(r.begin(), r.end()); });
    });
  };
}

struct Contender {
  const char* name;
  Loop (*loop)(const Row& row, int threads);
};
constexpr Contender kContenders[] = {
    {"library", library_loop}, {"OpenMP", openmp_loop}, {"oneTBB", tbb_loop}};

// The median time of a loop in microseconds.
double median_of_turn(const Row& row, const Loop& loop, int loops) {
  std::vector<double> times;
  for (int i = 0; i < std::max(loops / 10, 2); ++i) loop();
  for (int i = 0; i < loops; ++i) {
    if (row.rest_ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(row.rest_ms));
    const auto begin = Clock::now();
    loop();
    times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
  }
  std::nth_element(times.begin(), times.begin() + loops / 2, times.end());
  return times[size_t(loops / 2)];
}

// The same in a child; negative when the child failed.
double turn(const Row& row, const Contender& contender, int threads, int loops) {
  int ends[2];
  if (pipe(ends) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    const double figure = median_of_turn(row, contender.loop(row, threads), loops);
    const bool written = write(ends[1], &figure, sizeof figure) == ssize_t(sizeof figure);
    _exit(written ? 0 : 1);
  }
  close(ends[1]);
  double figure = -1;
  if (child < 0 || read(ends[0], &figure, sizeof figure) != ssize_t(sizeof figure)) figure = -1;
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return figure;
}

// Prints a row's medians over the turns, and how the library stands to the better of the others.
bool run_row(const Row& row, int threads, int turns, int loops, std::FILE* csv) {
  constexpr size_t kCount = std::size(kContenders);
  std::vector<double> figures[kCount];
  for (int i = 0; i < turns; ++i) {
    for (size_t k = 0; k < kCount; ++k) {
      const size_t whose = (size_t(i) + k) % kCount;
      figures[whose].push_back(turn(row, kContenders[whose], threads, loops));
    }
  }
  double medians[kCount];
  std::printf("%-30s %7d", row.name, threads);
  for (size_t k = 0; k < kCount; ++k) {
    std::sort(figures[k].begin(), figures[k].end());
    medians[k] = figures[k][figures[k].size() / 2];
    std::printf(" %10.2f (%9.2f)", medians[k], figures[k].front());
    if (csv) std::fprintf(csv, "%s,%d,%s,%g\n", row.name, threads, kContenders[k].name, medians[k]);
  }
  std::printf(" %6.2f\n", std::min(medians[1], medians[2]) / medians[0]);
  std::fflush(stdout);
  return std::all_of(std::begin(figures), std::end(figures), [](const auto& f) { return f.front() >= 0; });
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<int> threads = {1, 2, 4};
  std::vector<std::string> only;
  int turns = 7;
  bool quick = false;
  std::string csv_name;
  CLI::App app("Compares the library's parallel loops with those of OpenMP and oneTBB.");
  app.add_option("--threads", threads, "thread numbers (1 2 4)")->check(CLI::Range(1, 256));
  app.add_option("--only", only, "only rows whose name contains this (may be repeated)");
  app.add_option("--turns", turns, "turns of each contender in a row (7)")->check(CLI::PositiveNumber);
  app.add_flag("--quick", quick, "three turns of a quarter of the loops");
  app.add_option("--csv", csv_name, "also write loop,threads,contender,median to this file");
  CLI11_PARSE(app, argc, argv);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> csv(
      csv_name.empty() ? nullptr : std::fopen(csv_name.c_str(), "w"), std::fclose);
  if (!csv_name.empty() && !csv) {
    std::fprintf(stderr, "cannot write %s\n", csv_name.c_str());
    return 2;
  }
  if (csv) std::fprintf(csv.get(), "loop,threads,contender,median\n");

  std::printf("Median microseconds a loop over the turns (least), and the better peer over the library.\n");
  std::printf("%u processors\n%-30s %7s %22s %22s %22s %6s\n", std::thread::hardware_concurrency(), "loop",
              "threads", "library", "OpenMP", "oneTBB", "ratio");
  bool complete = true;
  for (const Row& row : kRows) {
    const auto named = [&](const std::string& part) {
      return std::string(row.name).find(part) != std::string::npos;
    };
    if (!only.empty() && std::none_of(only.begin(), only.end(), named)) continue;
    for (int n : threads)
      complete &=
          run_row(row, n, quick ? 3 : turns, std::max(quick ? row.loops / 4 : row.loops, 3), csv.get());
  }
  if (!complete) std::fprintf(stderr, "Some figures are missing: a contender failed.\n");
  return complete ? 0 : 1;
}
