// Arithmetic of polynomials over GF(2) at compile time: the tables and folding constants of the checks come
// from their polynomials alone.
#pragma once

#include <cstdint>

namespace zenthar::crc {

template <class Word>
inline constexpr int kWidth = 8 * int(sizeof(Word));

// Bit i becomes bit width - 1 - i.
template <class Word>
constexpr Word reflect(Word word) {
  Word reflected = 0;
  for (int i = 0; i < kWidth<Word>; ++i) reflected = Word(reflected << 1 | (word >> i & 1));
  return reflected;
}

// A divisor x^width + low, where bit i of `low` is the coefficient of x^i.
template <class Word>
struct Polynomial {
  Word low;

  // The remainder of x * a.
  constexpr Word times_x(Word a) const {
    const bool carry = a >> (kWidth<Word> - 1) & 1;
    return Word(Word(a << 1) ^ (carry ? low : 0));
  }

  // The remainder of x^n.
  constexpr Word power_of_x(int n) const {
    Word a = 1;
    for (int i = 0; i < n; ++i) a = times_x(a);
    return a;
  }

  // The quotient of x^n, modulo x^64.
  constexpr uint64_t quotient_of_power(int n) const {
    uint64_t quotient = 0;
    Word remainder = 0;
    for (int i = n; i >= 0; --i) {
      const bool carry = remainder >> (kWidth<Word> - 1) & 1;
      quotient = quotient << 1 | uint64_t{carry};
      remainder = Word(times_x(remainder) ^ Word(i == n));
    }
    return quotient;
  }
};

inline constexpr Polynomial<uint32_t> kCrc32Polynomial{0x04C11DB7};
inline constexpr Polynomial<uint64_t> kCrc64Polynomial{0x42F0E1EBA9EA3693};

}  // namespace zenthar::crc
