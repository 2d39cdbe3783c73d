// The process-wide thread settings: processor counts, the thread number, and what is told the OpenMP runtime.
#include <stdio.h>

#include <algorithm>
#include <atomic>

#include "parallel/module.h"
#include "zenthar/parallel.h"

// The one function that is needed of the OpenMP runtime.
extern "C" void omp_set_num_threads(int n);

int32_t ListableCompileEvaluatingThreaded = 0;

namespace {

// Plain words to their readers: relaxed accesses only keep a write in one thread and a read in another
// defined.
struct Settings {
  std::atomic<int32_t> processors{0};
  std::atomic<int32_t> hyper_threads{0};
  std::atomic<int32_t> threads{0};
  std::atomic<int32_t> from_sub_kernel{0};
};
Settings settings;

constexpr auto kRelaxed = std::memory_order_relaxed;

int32_t count_processors() {
  FILE* pipe = popen("grep -i '^processor[[:space:]]*:[[:space:]]*' /proc/cpuinfo | sort -u | wc -l", "r");
  if (!pipe) return 1;
  char digits[5] = {};
  digits[fread(digits, 1, sizeof digits - 1, pipe)] = '\0';
  int count = 0;
  // What could not be read is left open: closing would wait for a command that may never end.
  if (sscanf(digits, "%i", &count) != 1) return 1;
  pclose(pipe);
  return std::max(count, 1);
}

void set_thread_number(int32_t n) {
  settings.threads.store(n, kRelaxed);
  omp_set_num_threads(n);
}

}  // namespace

int32_t getProcessorCount(void) { return settings.processors.load(kRelaxed); }

int32_t getHyperThreadCount(void) { return settings.hyper_threads.load(kRelaxed); }

int32_t getParallelThreadNumber(void) { return settings.threads.load(kRelaxed); }

int32_t setParallelThreadNumber(int32_t n) {
  const int32_t previous = settings.threads.load(kRelaxed);
  set_thread_number(n);
  return previous;
}

void restoreParallelThreadNumber(int32_t n) { set_thread_number(n); }

void RTL_From_SubKernel(void) { settings.from_sub_kernel.store(1, kRelaxed); }

void initializeParallelThreadSettings(int32_t mode) {
  if (mode == 0) {
    settings.processors.store(1, kRelaxed);
    settings.hyper_threads.store(1, kRelaxed);
    settings.threads.store(1, kRelaxed);
    ListableCompileEvaluatingThreaded = 0;
  } else if (mode == 1) {
    const int32_t count = count_processors();
    settings.processors.store(count, kRelaxed);
    settings.hyper_threads.store(count, kRelaxed);
    const bool keep = settings.from_sub_kernel.load(kRelaxed) != 0;
    setParallelThreadNumber(keep ? getParallelThreadNumber() : count);
  }
}

namespace zenthar {

void parallel_initialize(int32_t phase) {
  if (phase == 0) initializeParallelThreadSettings(1);
}

void parallel_reinitialize() { initializeParallelThreadSettings(1); }

void parallel_tear_down() { ParallelThreadsEnvironment_delete(); }

}  // namespace zenthar
