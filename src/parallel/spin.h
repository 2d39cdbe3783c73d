// Waiting without the system: a bounded spin, and the lock that guards a few instructions.
#ifndef ZENTHAR_PARALLEL_SPIN_H
#define ZENTHAR_PARALLEL_SPIN_H

#include <atomic>
#include <chrono>
#include <cstdint>

namespace zenthar::parallel {

inline void pause() {
#if defined(__x86_64__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

// Spins until `ready()` holds or the time is up; says whether it holds.
template <class Ready>
bool spin_until(Ready ready, std::chrono::nanoseconds limit) {
  using Clock = std::chrono::steady_clock;
  constexpr int kLooksPerClock = 16;  // reading the clock costs about as much as a look
  Clock::time_point deadline{};
  do {
    for (int i = 0; i < kLooksPerClock; ++i) {
      if (ready()) return true;
      pause();
    }
    if (deadline == Clock::time_point{}) deadline = Clock::now() + limit;
  } while (Clock::now() < deadline);
  return ready();
}

// A lock for sections of a few instructions: a handful of looks, then sleep on the word itself, so that a
// holder that lost its processor is never spun against.
class BriefLock {
 public:
  void lock() {
    if (try_take(kFree, kHeld)) return;
    for (int i = 0; i < kLooks; ++i) {
      pause();
      if (word_.load(std::memory_order_relaxed) == kFree && try_take(kFree, kHeld)) return;
    }
    while (word_.exchange(kAwaited, std::memory_order_acquire) != kFree)
      word_.wait(kAwaited, std::memory_order_relaxed);
  }

  void unlock() {
    if (word_.exchange(kFree, std::memory_order_release) == kAwaited) word_.notify_one();
  }

 private:
  static constexpr int32_t kFree = 0;
  static constexpr int32_t kHeld = 1;
  static constexpr int32_t kAwaited = 2;
  static constexpr int kLooks = 32;

  bool try_take(int32_t expected, int32_t desired) {
    return word_.compare_exchange_strong(expected, desired, std::memory_order_acquire,
                                         std::memory_order_relaxed);
  }

  std::atomic<int32_t> word_{kFree};
};

}  // namespace zenthar::parallel

#endif
