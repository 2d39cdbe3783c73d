// Operations of integers alone: bits, shifts, digits, divisors, exact logarithms.
#ifndef ZENTHAR_KERNELS_OPERATIONS_INTEGERS_H
#define ZENTHAR_KERNELS_OPERATIONS_INTEGERS_H

#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

// |a|, which is 2^63 for the most negative.
ZENTHAR_KERNEL uint64_t unsigned_magnitude(mint a) { return a < 0 ? -uint64_t(a) : uint64_t(a); }

struct BitAnd {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a & b; }
};
struct BitOr {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a | b; }
};
struct BitXor {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a ^ b; }
};
struct BitNot {
  ZENTHAR_KERNEL static mint value(mint x) { return ~x; }
};

// Of a negative integer the length of its complement.
struct BitLength {
  ZENTHAR_KERNEL static mint value(mint x) {
    const auto bits = uint64_t(x < 0 ? ~x : x);
    return 64 - __builtin_clzll(bits | 1) - (bits == 0);
  }
};

struct EvenQ {
  ZENTHAR_KERNEL static mint value(mint x) { return ~x & 1; }
};
struct OddQ {
  ZENTHAR_KERNEL static mint value(mint x) { return x & 1; }
};

// Shifts are of sign and magnitude; counts are unsigned here.

ZENTHAR_KERNEL mint with_sign_of(mint a, uint64_t size) { return mint(a < 0 ? -size : size); }

ZENTHAR_KERNEL mint shift_magnitude_right(mint a, uint64_t count) {
  const uint64_t shifted = count > 63 ? 0 : unsigned_magnitude(a) >> (count & 63);
  return with_sign_of(a, shifted);
}

template <class C>
ZENTHAR_KERNEL Outcome<mint> shift_left(mint a, uint64_t count, C checks) {
  if (!checks.overflow()) return {mint(uint64_t(a) << (count & 63)), Failure::kNone};
  const uint64_t limit = uint64_t(INT64_MAX) + (a < 0);
  const bool overflow = (a != 0) & ((count > 63) | (unsigned_magnitude(a) > limit >> (count & 63)));
  return {with_sign_of(a, unsigned_magnitude(a) << (count & 63)), fail_if(overflow, Failure::kOverflow)};
}

// Scales by 2^n: exact until the result is rounded, once. Counts beyond the limits leave nothing of any
// number, or overflow whatever it is.
inline constexpr mint kScaleLowest = -2098;
inline constexpr mint kScaleHighest = 2097;

ZENTHAR_KERNEL mreal scale(mreal x, mint n) {
  if (x == 0.0) return x;
  if (n < kScaleLowest) return __builtin_copysign(0.0, x);
  return __builtin_ldexp(x, int(n > kScaleHighest ? kScaleHighest + 1 : n));
}

template <class C>
ZENTHAR_KERNEL Outcome<mreal> scale(mreal x, mint n, C checks) {
  return {scale(x, n), fail_if(checks.reals() && n > kScaleHighest && x != 0.0, Failure::kDomain)};
}

template <class C>
ZENTHAR_KERNEL Outcome<mcomplex> scale(mcomplex z, mint n, C checks) {
  return {{scale(z.re, n), scale(z.im, n)},
          fail_if(checks.reals() && n > kScaleHighest && !(z.re == 0.0 && z.im == 0.0), Failure::kDomain)};
}

// -n, but for -2^63 the largest mint, which is as far beyond every limit.
ZENTHAR_KERNEL mint opposite(mint n) { return n == kMostNegative ? INT64_MAX : -n; }

struct BitShiftLeft {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint s, C checks) {
    if (s < 0) return {shift_magnitude_right(a, unsigned_magnitude(s)), Failure::kNone};
    return shift_left(a, uint64_t(s), checks);
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal x, mint n, C checks) {
    return scale(x, n, checks);
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mcomplex> checked(mcomplex z, mint n, C checks) {
    return scale(z, n, checks);
  }
};

struct BitShiftRight {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint s, C checks) {
    if (s < 0) return shift_left(a, unsigned_magnitude(s), checks);
    return {shift_magnitude_right(a, uint64_t(s)), Failure::kNone};
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal x, mint n, C checks) {
    return scale(x, opposite(n), checks);
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mcomplex> checked(mcomplex z, mint n, C checks) {
    return scale(z, opposite(n), checks);
  }
};

// The greatest common divisor of magnitudes, by Stein's binary algorithm. (J. Stein, Computational problems
// associated with Racah algebra, J. Comput. Phys. 1 (1967) 397-405.)
ZENTHAR_KERNEL uint64_t greatest_common_divisor(uint64_t a, uint64_t b) {
  if (a == 0) return b;
  if (b == 0) return a;
  const int twos = __builtin_ctzll(a | b);
  a >>= __builtin_ctzll(a);
  b >>= __builtin_ctzll(b);
  while (a != b) {
    const uint64_t difference = a > b ? a - b : b - a;
    b = a < b ? a : b;
    a = difference >> __builtin_ctzll(difference);
  }
  return a << twos;
}

struct Gcd {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint b, C checks) {
    const auto divisor = mint(greatest_common_divisor(unsigned_magnitude(a), unsigned_magnitude(b)));
    return {divisor, fail_if(checks.overflow() && divisor < 0, Failure::kOverflow)};
  }
};

struct Lcm {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint b, C checks) {
    if (a == 0 || b == 0) return {0, Failure::kNone};
    const uint64_t divisor = greatest_common_divisor(unsigned_magnitude(a), unsigned_magnitude(b));
    uint64_t multiple;
    const bool overflow =
        __builtin_mul_overflow(unsigned_magnitude(a) / divisor, unsigned_magnitude(b), &multiple);
    return {mint(multiple),
            fail_if(checks.overflow() && (overflow || multiple > uint64_t(INT64_MAX)), Failure::kOverflow)};
  }
};

// The exponent of the highest power of b that divides n.
struct IntExp {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, mint b, C) {
    if (b < 2 || n == 0) return {0, Failure::kDomain};
    const auto base = uint64_t(b);
    uint64_t rest = unsigned_magnitude(n);
    if ((base & (base - 1)) == 0) return {__builtin_ctzll(rest) / __builtin_ctzll(base), Failure::kNone};
    mint exponent = 0;
    for (; rest % base == 0; rest /= base) ++exponent;
    return {exponent, Failure::kNone};
  }
};

// The number of digits of n in base b.
struct IntLen {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, mint b, C) {
    if (b < 2) return {0, Failure::kDomain};
    const auto base = uint64_t(b);
    uint64_t rest = unsigned_magnitude(n);
    if (rest == 0) return {0, Failure::kNone};
    if ((base & (base - 1)) == 0)
      return {(63 - __builtin_clzll(rest)) / __builtin_ctzll(base) + 1, Failure::kNone};
    mint digits = 1;
    for (; rest >= base; rest /= base) ++digits;
    return {digits, Failure::kNone};
  }
};

// log2 and log10 of integers: exact, or raised as inexact so that the caller goes over to reals.

template <class C>
ZENTHAR_KERNEL Outcome<mint> exact_log2(mint n, C) {
  if (n <= 0) return {0, Failure::kDomain};
  return {__builtin_ctzll(uint64_t(n)), fail_if((n & (n - 1)) != 0, Failure::kInexact)};
}

template <class C>
ZENTHAR_KERNEL Outcome<mint> exact_log10(mint n, C) {
  if (n <= 0) return {0, Failure::kDomain};
  mint exponent = 0;
  mint power = 1;
  for (; power < n && exponent < 18; ++exponent) power *= 10;
  return {exponent, fail_if(power != n, Failure::kInexact)};
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
