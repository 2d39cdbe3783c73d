// Mod and quotient, which round the quotient down, and the root of a complex number.
#ifndef ZENTHAR_KERNELS_OPERATIONS_DIVISION_H
#define ZENTHAR_KERNELS_OPERATIONS_DIVISION_H

#include "kernels/operations/functions.h"
#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

ZENTHAR_KERNEL mreal truncated_remainder(mreal a, mreal b) { return __builtin_fmod(a, b); }
ZENTHAR_KERNEL float truncated_remainder(float a, float b) { return __builtin_fmodf(a, b); }

// The remainder with the divisor's sign. A tiny remainder of the other sign, which would round to the
// divisor, is 0.
template <AnyReal T>
ZENTHAR_KERNEL T floored_remainder(T a, T b) {
  const T r = truncated_remainder(a, b);
  if (!(b > T(0) ? r < T(0) : r > T(0))) return r;
  return r + b == b ? T(0) : r + b;
}

// a / b without the fractional part, for a divisor that is neither 0 nor, with the least a, -1. Loops divide
// narrow integers as reals, which vectors can: rounding the quotient does not take it to the next whole
// number, as it is a part in |a| away from that at least, and T has fewer bits than the real.
template <AnyInteger T, class C>
ZENTHAR_KERNEL T truncated_quotient(T a, T b, C) {
  if constexpr (!C::kBlock || sizeof(T) == 8) {
    return T(a / b);
  } else if constexpr (sizeof(T) == 4 && !kSigned<T>) {  // the quotient fits an int32_t but for b = 1
    const auto quotient = uint32_t(int32_t(mreal(a) / mreal(b == 1 ? 2 : b)));
    return b == 1 ? a : quotient;
  } else {
    using R = std::conditional_t<sizeof(T) == 4, mreal, float>;
    return T(int32_t(R(a) / R(b)));
  }
}

struct Mod {
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C checks) {
    // 0 for the divisor -1, and no division that the processor has no result for.
    const bool trivial = (b == 0) | (kSigned<T> && b == T(-1));
    const T divisor = trivial ? T(1) : b;
    T remainder;
    if constexpr (C::kBlock && sizeof(T) < 8) {
      remainder = T(a - wrapped_product(truncated_quotient(a, divisor, checks), divisor));
    } else {
      remainder = T(a % divisor);
    }
    const bool other_sign = kSigned<T> && remainder != 0 && is_negative(T(remainder ^ b));
    return {T(remainder + (other_sign ? b : T(0))), fail_if(b == 0, Failure::kDomain)};
  }
  template <AnyReal T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C) {
    if (b == T(0)) return {T(0), Failure::kDomain};
    return {floored_remainder(a, b), Failure::kNone};
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mcomplex> checked(mcomplex a, mreal b, C) {
    if (b == 0.0) return {{0.0, 0.0}, Failure::kDomain};
    return {{floored_remainder(a.re, b), floored_remainder(a.im, b)}, Failure::kNone};
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mcomplex> checked(mcomplex a, mcomplex b, C checks) {
    if (b.im == 0.0) return checked(a, b.re, checks);
    return {complex_mod(a, b), Failure::kNone};
  }
};

struct Quotient {
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C checks) {
    const bool fails = (b == 0) | (kSigned<T> && ((a == kLeast<T>)&(b == T(-1))));
    const T divisor = fails ? T(1) : b;
    const T quotient = truncated_quotient(a, divisor, checks);
    const bool above = kSigned<T> && wrapped_product(quotient, divisor) != a && is_negative(T(a ^ divisor));
    return {T(quotient - (above ? T(1) : T(0))), fail_if(fails, Failure::kDomain)};
  }
  // The quotient is rounded to a real first.
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mreal a, mreal b, C checks) {
    const mreal quotient = __builtin_floor(a / b);
    const bool outside = checks.overflow() && !in_mint_range(quotient);
    return {to_mint(quotient), b == 0.0 ? Failure::kDomain : fail_if(outside, Failure::kOverflow)};
  }
};

struct Root {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mcomplex> checked(mcomplex z, mint n, C) {
    if (n == 0) return {z, Failure::kDomain};
    return {complex_root(z, n), Failure::kNone};
  }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
