// Where draws come from: the library's own buffers, taken from inline, or a bit function of the host's.
#pragma once

#include <bit>

#include "random/buffer.h"

namespace zenthar::random {

struct OwnBits {
  RandomBuffer buffer;
  uint64_t operator()(mint bits) const { return take_bits(buffer, bits); }
};

struct ForeignBits {
  RandomBitFunction function;
  RandomGenerator generator;
  uint64_t operator()(mint bits) const { return function(bits, generator) & low_mask(bits); }
};

inline mint bit_length(uint64_t range) { return mint(std::bit_width(range)); }

// A number from 0 to `range`, of `bits` = bit_length(range) bits, by rejection.
template <class Bits>
uint64_t below_or_at(const Bits& bits_of, mint bits, uint64_t range) {
  uint64_t value;
  do value = bits_of(bits);
  while (value > range);
  return value;
}

// Element i is a number from 0 to last - i, as Generic_randomMIntegers draws it alone. `count` is last + 1 at
// most.
void draw_falling(RandomBuffer own, mint* output, mint count, mint last);

// Fills with reals as Generic_randomMReals does, and tells how many were written.
int32_t draw_reals(mreal* output, mint count, RandomGenerator generator, mreal low, mreal high,
                   mint* written);

}  // namespace zenthar::random
