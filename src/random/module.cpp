// The module's start and end, the exported tables, and the registration of the library's own methods.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "random/random.h"

uint64_t BITMASK[65];
mreal BITSHIFTFACTOR[129];

namespace zenthar {

void random_initialize(int32_t phase) {
  if (phase != 0) return;
  for (int k = 0; k <= 64; ++k) BITMASK[k] = k == 64 ? ~uint64_t{0} : (uint64_t{1} << k) - 1;
  for (int k = -64; k <= 64; ++k) BITSHIFTFACTOR[k + 64] = std::ldexp(1.0, k);
  random::make_keys();
  random::mark_workers();
}

void random_tear_down() {
  std::fill(std::begin(BITMASK), std::end(BITMASK), 0);
  std::fill(std::begin(BITSHIFTFACTOR), std::end(BITSHIFTFACTOR), 0.0);
}

}  // namespace zenthar

namespace zenthar::random {

namespace {

constexpr struct {
  size_t compiler_index;
  RandomMethodAllocate allocate;
  RandomMethodClone clone;
  RandomMethodFree free_generator;
} kMethods[] = {
    {0, CA5BufferState_alloc, CA5BufferState_clone, CA5BufferState_free},
    {2, MersenneTwister_alloc, MersenneTwister_clone, MersenneTwister_free},
    {3, PMT32_alloc, PMT32_clone, PMT32_free},
};

}  // namespace

void register_methods() {
  static bool registered = false;
  const StateLock lock;
  if (registered) return;
  bool all = true;
  for (const auto& m : kMethods) {
    const char* name = CompilerRandomGeneratorMethodList[m.compiler_index];
    if (RandomGeneratorMethod_find(name) != 0) continue;
    all &= add_method(name, CompilerRandomGeneratorMethodID[m.compiler_index], m.allocate, m.clone,
                      m.free_generator);
  }
  registered = all;
}

}  // namespace zenthar::random
