// What the error module offers the rest of the library.
#pragma once

#include <atomic>
#include <cstdint>

namespace zenthar {

// Process-wide words that other threads, signal handlers and compiled code may read and set at any time. They
// are plain integers to those who hold their address; here every access is a single relaxed one.
class RelaxedWord {
 public:
  explicit RelaxedWord(int32_t& word) : word_(word) {}
  operator int32_t() const { return word_.load(std::memory_order_relaxed); }
  void operator=(int32_t value) const { word_.store(value, std::memory_order_relaxed); }

 private:
  std::atomic_ref<int32_t> word_;
};

inline RelaxedWord relaxed(int32_t& word) { return RelaxedWord(word); }

int32_t get_exception_style();

// Phase 0 clears the abort flags.
void abort_flags_initialize(int32_t phase);

}  // namespace zenthar
