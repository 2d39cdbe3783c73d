// What the workloads stand on: memory that touches no allocator under test, random sizes drawn in advance, a
// clock, and a second thread that waits for work.
#pragma once

#include <sys/mman.h>
#include <time.h>

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "memory/workloads.h"

namespace zenthar::bench {

// Pages straight from the system: the workloads' own tables neither use nor shape glibc's heap.
template <typename T>
struct PageAllocator {
  using value_type = T;
  PageAllocator() = default;
  template <typename U>
  PageAllocator(const PageAllocator<U>&) {}
  T* allocate(size_t count) {
    void* pages =
        mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    return static_cast<T*>(pages);
  }
  void deallocate(T* pages, size_t count) { munmap(pages, count * sizeof(T)); }
  bool operator==(const PageAllocator&) const { return true; }
};

template <typename T>
using Table = std::vector<T, PageAllocator<T>>;

inline double nanoseconds_on(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

template <typename Work>
double nanoseconds_per_operation(clockid_t clock, size_t operations, Work&& work) {
  const double start = nanoseconds_on(clock);
  work();
  return (nanoseconds_on(clock) - start) / static_cast<double>(operations);
}

// The time that this thread spends on a processor, in the system too: what else the machine does between its
// slices does not count.
template <typename Work>
double own_nanoseconds_per_operation(size_t operations, Work&& work) {
  return nanoseconds_per_operation(CLOCK_THREAD_CPUTIME_ID, operations, work);
}

// The time that passes, for work that several threads share.
template <typename Work>
double elapsed_nanoseconds_per_operation(size_t operations, Work&& work) {
  return nanoseconds_per_operation(CLOCK_MONOTONIC, operations, work);
}

using Random = std::mt19937_64;

inline size_t draw_between(Random& random, size_t low, size_t high) {
  return std::uniform_int_distribution<size_t>(low, high)(random);
}

inline size_t draw_logarithmic(Random& random, double low, double high) {
  return static_cast<size_t>(low * std::pow(high / low, std::uniform_real_distribution<>()(random)));
}

inline size_t draw_size(Random& random, SizeMix mix) {
  const size_t percentile = draw_between(random, 0, 99);
  if (mix == SizeMix::kWide && percentile < 3) return draw_logarithmic(random, 1024, 32768);
  if (percentile < 40) return draw_between(random, 8, 32);
  if (percentile < 70) return draw_between(random, 33, 64);
  if (percentile < 85) return draw_between(random, 65, 128);
  if (percentile < 95) return draw_between(random, 129, 512);
  return draw_between(random, 513, 1024);
}

// A second thread that lives as long as the workload and runs what it is given, one piece at a time.
class Partner {
 public:
  Partner() : thread_([this] { serve(); }) {}
  Partner(const Partner&) = delete;
  Partner& operator=(const Partner&) = delete;
  ~Partner() {
    start(nullptr);
    thread_.join();
  }

  void start(std::function<void()> work) {
    work_ = std::move(work);
    started_.fetch_add(1, std::memory_order_release);
    started_.notify_one();
  }
  void wait() {
    const int started = started_.load(std::memory_order_relaxed);
    for (int done; (done = done_.load(std::memory_order_acquire)) != started;) done_.wait(done);
  }
  // Runs `theirs` on the partner and `mine` here at the same time, and waits for both.
  void together(std::function<void()> theirs, const std::function<void()>& mine) {
    start(std::move(theirs));
    mine();
    wait();
  }

 private:
  void serve() {
    for (int served = 0;;) {
      started_.wait(served, std::memory_order_acquire);
      if (!work_) return;
      work_();
      done_.store(++served, std::memory_order_release);
      done_.notify_one();
    }
  }

  std::function<void()> work_;
  std::atomic<int> started_{0};
  std::atomic<int> done_{0};
  std::thread thread_;
};

}  // namespace zenthar::bench
