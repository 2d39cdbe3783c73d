// What the fuzzers share: a check that ends the run with its place, and the input as choices.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>

namespace fuzz {

// Ends the process when a property does not hold; the fuzzer then keeps the input.
inline void require(bool holds, const char* what, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
  std::abort();
}

}  // namespace fuzz

#define REQUIRE(condition) ::fuzz::require((condition) ? true : false, #condition)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
