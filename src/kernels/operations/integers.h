// Operations of integers alone: bits, shifts, digits, divisors, exact logarithms.
#ifndef ZENTHAR_KERNELS_OPERATIONS_INTEGERS_H
#define ZENTHAR_KERNELS_OPERATIONS_INTEGERS_H

#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

// |a|, which is 2^(bits - 1) for the least.
template <AnyInteger T>
ZENTHAR_KERNEL Unsigned<T> unsigned_magnitude(T a) {
  return is_negative(a) ? Unsigned<T>(-Unsigned<T>(a)) : Unsigned<T>(a);
}

struct BitAnd {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return T(a & b);
  }
};
struct BitOr {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return T(a | b);
  }
};
struct BitXor {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return T(a ^ b);
  }
};
struct BitNot {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T x) {
    return T(~x);
  }
};

// Of a negative integer the length of its complement.
struct BitLength {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T x) {
    const uint64_t bits = Unsigned<T>(is_negative(x) ? ~x : x);
    return T(64 - __builtin_clzll(bits | 1) - (bits == 0));
  }
};

struct EvenQ {
  template <AnyInteger T>
  ZENTHAR_KERNEL static mint value(T x) {
    return ~mint(x) & 1;
  }
};
struct OddQ {
  template <AnyInteger T>
  ZENTHAR_KERNEL static mint value(T x) {
    return mint(x) & 1;
  }
};

// Shifts are of sign and magnitude; counts are unsigned here.

template <AnyInteger T>
ZENTHAR_KERNEL T with_sign_of(T a, Unsigned<T> size) {
  return T(is_negative(a) ? Unsigned<T>(-size) : size);
}

// What is left of a count that shifts nothing out altogether.
template <AnyInteger T>
inline constexpr Unsigned<T> kShiftMask = kBits<T> - 1;

template <AnyInteger T>
ZENTHAR_KERNEL T shift_magnitude_right(T a, Unsigned<T> count) {
  const auto shifted =
      Unsigned<T>(count > kShiftMask<T> ? 0 : unsigned_magnitude(a) >> (count & kShiftMask<T>));
  return with_sign_of(a, shifted);
}

template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> shift_left(T a, Unsigned<T> count, C checks) {
  using U = Unsigned<T>;
  if (!checks.overflow()) return {T(U(a) << (count & kShiftMask<T>)), Failure::kNone};
  const auto limit = U(U(kGreatest<T>) + is_negative(a));
  const bool overflow =
      (a != 0) & ((count > kShiftMask<T>) | (unsigned_magnitude(a) > U(limit >> (count & kShiftMask<T>))));
  return {with_sign_of(a, U(unsigned_magnitude(a) << (count & kShiftMask<T>))),
          fail_if(overflow, Failure::kOverflow)};
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
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T s, C checks) {
    if (is_negative(s)) return {shift_magnitude_right(a, unsigned_magnitude(s)), Failure::kNone};
    return shift_left(a, Unsigned<T>(s), checks);
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
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T s, C checks) {
    if (is_negative(s)) return shift_left(a, unsigned_magnitude(s), checks);
    return {shift_magnitude_right(a, Unsigned<T>(s)), Failure::kNone};
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
