// Mod and quotient, which round the quotient down, and the root of a complex number.
#ifndef ZENTHAR_KERNELS_OPERATIONS_DIVISION_H
#define ZENTHAR_KERNELS_OPERATIONS_DIVISION_H

#include "kernels/operations/functions.h"
#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

// The remainder with the divisor's sign. A tiny remainder of the other sign, which would round to the
// divisor, is 0.
ZENTHAR_KERNEL mreal floored_remainder(mreal a, mreal b) {
  const mreal r = __builtin_fmod(a, b);
  if (!(b > 0.0 ? r < 0.0 : r > 0.0)) return r;
  return r + b == b ? 0.0 : r + b;
}

struct Mod {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint b, C) {
    // 0 for the divisor -1, and no division that the processor has no result for.
    const mint remainder = a % (((b == 0) | (b == -1)) ? 1 : b);
    return {remainder + (remainder != 0 && (remainder ^ b) < 0 ? b : 0), fail_if(b == 0, Failure::kDomain)};
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal a, mreal b, C) {
    if (b == 0.0) return {0.0, Failure::kDomain};
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
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint b, C) {
    const bool fails = (b == 0) | ((a == kMostNegative) & (b == -1));
    const mint divisor = fails ? 1 : b;
    const mint quotient = a / divisor;
    return {quotient - (quotient * divisor != a && (a ^ divisor) < 0), fail_if(fails, Failure::kDomain)};
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
