// Rounding to integers, parts of numbers, sign, and scaling to units.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ROUNDING_H
#define ZENTHAR_KERNELS_OPERATIONS_ROUNDING_H

#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

// A rounded real as an integer. Reals near the ends of the range of mint are whole, so it does not matter
// whether the range is asked for before rounding or after.
template <class C>
ZENTHAR_KERNEL Outcome<mint> converted(mreal whole, C checks) {
  return {to_mint(whole), fail_if(checks.overflow() && !in_mint_range(whole), Failure::kOverflow)};
}

// To the nearest, ties to even: the mode that is in force.
struct Round {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T x) {
    return x;
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mreal x, C checks) {
    return converted(__builtin_rint(x), checks);
  }
};

struct Floor {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T x) {
    return x;
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mreal x, C checks) {
    return converted(__builtin_floor(x), checks);
  }
};

struct Ceiling {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T x) {
    return x;
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mreal x, C checks) {
    return converted(__builtin_ceil(x), checks);
  }
};

struct IntPart {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T x) {
    return x;
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mreal x, C checks) {
    return converted(x, checks);
  }
};

// As modf has it: with the sign of x, and 0 for infinities.
template <AnyReal T>
ZENTHAR_KERNEL T fractional_part(T x) {
  const T part = absolute(x) > kLargestOf<T> ? T(0) : x - truncated(x);
  return x != x ? x : with_sign(part, x);
}

// x mod 1 in [0, 1); the sum with 1 of a tiny fractional part would round to 1.
template <AnyReal T>
ZENTHAR_KERNEL T modulo_one(T x) {
  const T part = fractional_part(x);
  const T sum = part == T(0) ? T(0) : part + T(1);
  return x < T(0) ? (sum == T(1) ? T(0) : sum) : part;
}

struct FracPart {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T) {
    return T(0);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T x) {
    return fractional_part(x);
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static Z value(Z z) {
    return {fractional_part(z.re), fractional_part(z.im)};
  }
};

struct Mod1 {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T) {
    return T(0);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T x) {
    return modulo_one(x);
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static Z value(Z z) {
    return {modulo_one(z.re), modulo_one(z.im)};
  }
};

// Signs of reals: a NaN is neither 0 nor below 0, so its sign is 1.
struct RealSign {
  template <AnyInteger T>
  ZENTHAR_KERNEL static T value(T x) {
    return T((x > 0) - is_negative(x));
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static mint value(T x) {
    return mint(x != T(0)) - 2 * mint(x < T(0));
  }
};

struct Sign : RealSign {
  using RealSign::value;
  // z / |z|, exact where a part is 0.
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) {
    if (z.im == 0.0) return {z.re == 0.0 ? z.re : __builtin_copysign(1.0, z.re), z.im};
    if (z.re == 0.0) return {z.re, __builtin_copysign(1.0, z.im)};
    const mreal largest = larger_magnitude(z);
    const mcomplex scaled = {z.re / largest, z.im / largest};
    const mreal length = modulus(scaled);
    return {scaled.re / length, scaled.im / length};
  }
};

struct Ramp {
  template <AnyNumber T>
  ZENTHAR_KERNEL static T value(T x) {
    return x > T(0) ? x : T(0);
  }
};

struct UnitBox {
  ZENTHAR_KERNEL static mint value(mreal x) { return !(__builtin_fabs(x) > 0.5); }
};

struct UnitTriangle {
  ZENTHAR_KERNEL static mreal value(mreal x) {
    const mreal magnitude = __builtin_fabs(x);
    return magnitude < 1.0 ? 1.0 - magnitude : 0.0;
  }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
