// Error measures, and operations of three arguments. Products are rounded before sums.
#ifndef ZENTHAR_KERNELS_OPERATIONS_FUSED_H
#define ZENTHAR_KERNELS_OPERATIONS_FUSED_H

#include "kernels/operations/arithmetic.h"
#include "kernels/operations/integers.h"
#include "kernels/operations/order.h"

namespace zenthar::ZENTHAR_TARGET {

// Measures of complex arguments are complex too, with an imaginary part of 0.

struct AbsErr {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C checks) {
    using U = Unsigned<T>;
    const auto distance = T(a < b ? U(b) - U(a) : U(a) - U(b));
    return {distance, fail_if(checks.overflow() && is_negative(distance), Failure::kOverflow)};
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return absolute(a - b);
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) {
    return {modulus(Subtract::value(a, b)), 0.0};
  }
};

struct RelErr {
  static constexpr bool kResultUnchecked = true;
  ZENTHAR_KERNEL static mreal value(mint a, mint b) { return value(mreal(a), mreal(b)); }
  ZENTHAR_KERNEL static mreal value(mreal a, mreal b) { return __builtin_fabs((a - b) / b); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) {
    return {modulus(divide(Subtract::value(a, b), b)), 0.0};
  }
};

struct MaxAbs {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T b, C checks) {
    const auto x = unsigned_magnitude(a), y = unsigned_magnitude(b);
    const auto largest = T(x > y ? x : y);
    return {largest, fail_if(checks.overflow() && is_negative(largest), Failure::kOverflow)};
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return larger(absolute(a), absolute(b));
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex b) {
    return {larger(modulus(a), modulus(b)), 0.0};
  }
};

// a x + y
struct Axpy {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T x, T y, C checks) {
    const auto scaled = Times::checked(a, x, checks);
    const auto sum = Plus::checked(scaled.value, y, checks);
    return {sum.value, either(scaled.failure, sum.failure)};
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T x, T y) {
    return a * x + y;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex x, mcomplex y) {
    return Plus::value(Times::value(a, x), y);
  }
};

// a x - y
struct Axmy {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T x, T y, C checks) {
    const auto scaled = Times::checked(a, x, checks);
    const auto difference = Subtract::checked(scaled.value, y, checks);
    return {difference.value, either(scaled.failure, difference.failure)};
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T x, T y) {
    return a * x - y;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex x, mcomplex y) {
    return Subtract::value(Times::value(a, x), y);
  }
};

// y - a x
struct Ymax {
  static constexpr bool kFailsOnlyChecked = true;
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<T> checked(T a, T x, T y, C checks) {
    const auto scaled = Times::checked(a, x, checks);
    const auto difference = Subtract::checked(y, scaled.value, checks);
    return {difference.value, either(scaled.failure, difference.failure)};
  }
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T a, T x, T y) {
    return y - a * x;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex a, mcomplex x, mcomplex y) {
    return Subtract::value(y, Times::value(a, x));
  }
};

// a / (x - y), where flag 2 looks at the difference too.
struct Adxmy {
  static constexpr bool kFailsOnlyChecked = true;
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal a, mreal x, mreal y, C checks) {
    const mreal difference = x - y;
    return {a / difference, checks.reals() ? failure_of(difference) : Failure::kNone};
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mcomplex> checked(mcomplex a, mcomplex x, mcomplex y, C checks) {
    const mcomplex difference = Subtract::value(x, y);
    return {divide(a, difference), checks.reals() ? failure_of(difference) : Failure::kNone};
  }
};

// One step of compensated summation. (W. Kahan, Further remarks on reducing truncation errors, Comm. ACM 8
// (1965) 40.)
struct CompPlus {
  template <AnyReal T>
  ZENTHAR_KERNEL static Compensated<T> value(T a, T b, T c) {
    const T t = b + c;
    const T sum = t + a;
    return {sum, (a - sum) + t};
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static Compensated<Z> value(Z a, Z b, Z c) {
    const auto re = value(a.re, b.re, c.re), im = value(a.im, b.im, c.im);
    return {{re.sum, im.sum}, {re.compensation, im.compensation}};
  }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
