// Plus, subtract, times, div, minus, abs.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ARITHMETIC_H
#define ZENTHAR_KERNELS_OPERATIONS_ARITHMETIC_H

#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

// A real operand beside a complex one has no imaginary part, not one of +0.0, so signed zeros and infinities
// of the other's survive: hence the mixed forms of reals and complexes here.

struct Plus {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint b, C checks) {
    return add(a, b, checks);
  }
  ZENTHAR_KERNEL static mreal value(mreal a, mreal b) { return a + b; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) { return {a.re + b.re, a.im + b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return {a + b.re, b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re + b, a.im}; }
};

struct Subtract {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint b, C checks) {
    return subtract(a, b, checks);
  }
  ZENTHAR_KERNEL static mreal value(mreal a, mreal b) { return a - b; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) { return {a.re - b.re, a.im - b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return {a - b.re, -b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re - b, a.im}; }
};

struct Times {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, mint b, C checks) {
    return multiply(a, b, checks);
  }
  ZENTHAR_KERNEL static mreal value(mreal a, mreal b) { return a * b; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) { return multiply(a, b); }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return {a * b.re, a * b.im}; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re * b, a.im * b}; }
};

struct Div {
  ZENTHAR_KERNEL static mreal value(mreal a, mreal b) { return a / b; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) { return divide(a, b); }
  ZENTHAR_KERNEL static mcomplex value(mreal a, mcomplex b) { return divide({a, 0.0}, b); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mreal b) { return {a.re / b, a.im / b}; }
};

struct Minus {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, C checks) {
    return negate(a, checks);
  }
  ZENTHAR_KERNEL static mreal value(mreal a) { return -a; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a) { return {-a.re, -a.im}; }
};

struct Abs {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint a, C checks) {
    return magnitude(a, checks);
  }
  ZENTHAR_KERNEL static mreal value(mreal a) { return __builtin_fabs(a); }
  ZENTHAR_KERNEL static mreal value(mcomplex a) { return modulus(a); }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
