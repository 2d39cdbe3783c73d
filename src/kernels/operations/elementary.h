// Roots, exponentials, logarithms; trigonometric and hyperbolic functions and their inverses.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ELEMENTARY_H
#define ZENTHAR_KERNELS_OPERATIONS_ELEMENTARY_H

#include "kernels/operations/functions.h"
#include "kernels/operations/integers.h"
#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

struct Sqrt {
  template <AnyReal T>
  ZENTHAR_KERNEL static T value(T x) {
    return square_root(x);
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_sqrt(z); }
};

struct Cbrt {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_cbrt(x); }
};

struct RSqrt {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 1.0 / __builtin_sqrt(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_rsqrt(z); }
};

struct Exp {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_exp(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_cexp(native(z))); }
};

struct ExpM1 {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_expm1(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_expm1(z); }
};

struct Log {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_log(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_clog(native(z))); }

  // The base comes first.
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal base, mreal x, C) {
    return {__builtin_log(x) / __builtin_log(base), fail_if((base <= 0.0) | (x <= 0.0), Failure::kDomain)};
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex base, mcomplex z) { return complex_log(base, z); }
};

struct Log1P {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_log1p(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_log1p(z); }
};

struct Log2 {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_log2(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_log2(z); }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, C checks) {
    return exact_log2(n, checks);
  }
};

struct Log10 {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_log10(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_log10(z); }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, C checks) {
    return exact_log10(n, checks);
  }
};

struct Sin {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_sin(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_csin(native(z))); }
};

struct Cos {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_cos(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_ccos(native(z))); }
};

struct Tan {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_tan(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_tan(z); }
};

struct Csc {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 1.0 / __builtin_sin(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_csc(z); }
};

struct Sec {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 1.0 / __builtin_cos(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_sec(z); }
};

struct Cot {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 1.0 / __builtin_tan(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_cot(z); }
};

struct Sinh {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_sinh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_csinh(native(z))); }
};

struct Cosh {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_cosh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_ccosh(native(z))); }
};

struct Tanh {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_tanh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_tanh(z); }
};

struct Csch {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 1.0 / __builtin_sinh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_csch(z); }
};

struct Sech {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 1.0 / __builtin_cosh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_sech(z); }
};

struct Coth {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 1.0 / __builtin_tanh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_coth(z); }
};

struct Asin {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_asin(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_asin(z); }
};

struct Acos {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_acos(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_acos(z); }
};

struct Atan {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_atan(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_atan(z); }
};

struct Acsc {
  ZENTHAR_KERNEL static mreal value(mreal x) { return real_acsc(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_acsc(z); }
};

struct Asec {
  ZENTHAR_KERNEL static mreal value(mreal x) { return real_asec(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_asec(z); }
};

struct Acot {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_atan(1.0 / x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_acot(z); }
};

struct Asinh {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_asinh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_asinh(z); }
};

struct Acosh {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_acosh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_acosh(z); }
};

struct Atanh {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_atanh(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_atanh(z); }
};

struct Acsch {
  ZENTHAR_KERNEL static mreal value(mreal x) { return real_acsch(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_acsch(z); }
};

struct Asech {
  ZENTHAR_KERNEL static mreal value(mreal x) { return real_asech(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_asech(z); }
};

struct Acoth {
  ZENTHAR_KERNEL static mreal value(mreal x) { return real_acoth(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_acoth(z); }
};

// The ordinate comes first.
struct Atan2 {
  ZENTHAR_KERNEL static mreal value(mreal y, mreal x) { return __builtin_atan2(y, x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex y, mcomplex x) { return complex_atan2(y, x); }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
