// The four operations, minus, squares and reciprocals; magnitude, argument and parts.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ARITHMETIC_H
#define ZENTHAR_KERNELS_OPERATIONS_ARITHMETIC_H

#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

// A real operand beside a complex one has no imaginary part, not one of +0.0, so signed zeros and infinities
// of the other's survive: hence the mixed forms of reals and complexes here.

struct Plus {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C checks) {
    return add(a, b, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return a + b;
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static Z value(Z a, Z b) {
    return {a.re + b.re, a.im + b.im};
  }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return {a + b.re, b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re + b, a.im}; }
};

struct Subtract {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C checks) {
    return subtract(a, b, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return a - b;
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static Z value(Z a, Z b) {
    return {a.re - b.re, a.im - b.im};
  }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return {a - b.re, -b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re - b, a.im}; }
};

struct Times {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C checks) {
    return multiply(a, b, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return a * b;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) { return multiply(a, b); }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return {a * b.re, a * b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re * b, a.im * b}; }
};

struct Div {
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return a / b;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) { return divide(a, b); }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return divide({a, 0.0}, b); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re / b, a.im / b}; }
};

struct Minus {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, C checks) {
    return negate(a, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a) {
    return -a;
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static Z value(Z a) {
    return {-a.re, -a.im};
  }
};

struct Abs {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, C checks) {
    return magnitude(a, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a) {
    return absolute(a);
  }
  ZENTHAR_KERNEL static mreal value(mcomplex a) { return modulus(a); }
};

// Abs of integers and reals alone.
struct RealAbs {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, C checks) {
    return Abs::checked(a, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a) {
    return Abs::value(a);
  }
};

// Squares of integers raise their overflow, unlike other operations.
template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> integer_square(T x, C checks) {
  const auto square = multiply(x, x, checks);
  return {square.value, fail_if(square.failure != Failure::kNone, Failure::kRaisedOverflow)};
}

struct Square {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T x, C checks) {
    return integer_square(x, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T x) {
    return x * x;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) {
    return {(z.re - z.im) * (z.re + z.im), 2.0 * z.re * z.im};
  }
};

struct AbsSquare {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T x, C checks) {
    return integer_square(x, checks);
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T x) {
    return x * x;
  }
  ZENTHAR_KERNEL static mreal value(mcomplex z) { return z.re * z.re + z.im * z.im; }
};

struct Recip {
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T x) {
    return T(1) / x;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return divide({1.0, 0.0}, z); }
};

struct Arg {
  static constexpr bool kFailsOnlyChecked = true;
  // Of a real 0; a negative one has the argument pi, which is no mint.
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mreal x, C checks) {
    return {0, fail_if(checks.overflow() && x < 0.0, Failure::kDomain)};
  }
  ZENTHAR_KERNEL static mreal value(mcomplex z) { return __builtin_atan2(z.im, z.re); }
};

struct Conj {
  template <AnyNumber T>
  ZENTHAR_KERNEL static T value(T x) {
    return x;
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static Z value(Z z) {
    return {z.re, -z.im};
  }
};

struct Re {
  template <AnyNumber T>
  ZENTHAR_KERNEL static T value(T x) {
    return x;
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static PartOf<Z> value(Z z) {
    return z.re;
  }
};

struct Im {
  template <AnyNumber T>
  ZENTHAR_KERNEL static T value(T) {
    return T(0);
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static PartOf<Z> value(Z z) {
    return z.im;
  }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
