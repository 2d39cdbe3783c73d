// The capacities of hash tables, and remainders by them without a division.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "hashing/bytes.h"
#include "zenthar/types.h"

namespace zenthar {

inline constexpr mint kFirstStep = 2;
inline constexpr mint kLastStep = 63;

// A prime p with what its remainders need. With 2^s <= p < 2^(s+1) and r = floor(2^(64+s) / p), the estimate
// floor(n r / 2^(64+s)) of a quotient n / p falls short by less than n / 2^(64+s) < 1, that is by 1 at most,
// for every n of 64 bits: one subtraction puts it right.
struct alignas(32) PrimeStep {
  uint64_t prime;
  uint64_t reciprocal;
  uint32_t shift;

  constexpr explicit PrimeStep(uint64_t p = 3)
      : prime(p),
        reciprocal(uint64_t((uint128(1) << (63 + std::bit_width(p))) / p)),
        shift(uint32_t(std::bit_width(p)) - 1) {}

  struct Division {
    uint64_t quotient, remainder;
  };

  constexpr Division divide(uint64_t n) const {
    const uint64_t quotient = uint64_t(uint128(n) * reciprocal >> 64) >> shift;
    const uint64_t rest = n - quotient * prime;
    return rest >= prime ? Division{quotient + 1, rest - prime} : Division{quotient, rest};
  }
};

inline constexpr std::array<PrimeStep, 64> kPrimeSteps = [] {
  constexpr uint64_t kPrimes[64] = {3,
                                    5,
                                    7,
                                    11,
                                    17,
                                    31,
                                    67,
                                    127,
                                    257,
                                    521,
                                    1031,
                                    2053,
                                    4099,
                                    8191,
                                    16411,
                                    32771,
                                    65537,
                                    131071,
                                    262147,
                                    524287,
                                    1048583,
                                    2097169,
                                    4194319,
                                    8388617,
                                    16777259,
                                    33554467,
                                    67108879,
                                    134217757,
                                    268435459,
                                    536870923,
                                    1073741827,
                                    2147483647,
                                    4294967311,
                                    8589934609,
                                    17179869209,
                                    34359738421,
                                    68719476767,
                                    137438953481,
                                    274877906951,
                                    549755813911,
                                    1099511627791,
                                    2199023255579,
                                    4398046511119,
                                    8796093022237,
                                    17592186044423,
                                    35184372088891,
                                    70368744177679,
                                    140737488355333,
                                    281474976710677,
                                    562949953421381,
                                    1125899906842679,
                                    2251799813685269,
                                    4503599627370517,
                                    9007199254740997,
                                    18014398509482143,
                                    36028797018963971,
                                    72057594037928017,
                                    144115188075855881,
                                    288230376151711813,
                                    576460752303423619,
                                    1152921504606847009,
                                    2305843009213693951,
                                    4611686018427388039,
                                    9223372036854775783};
  std::array<PrimeStep, 64> steps;
  for (int i = 0; i < 64; ++i) steps[i] = PrimeStep(kPrimes[i]);
  return steps;
}();

}  // namespace zenthar
