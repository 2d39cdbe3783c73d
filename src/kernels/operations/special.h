// Special functions.
#ifndef ZENTHAR_KERNELS_OPERATIONS_SPECIAL_H
#define ZENTHAR_KERNELS_OPERATIONS_SPECIAL_H

#include "kernels/operations/functions.h"
#include "kernels/operations/integers.h"
#include "kernels/operations/numbers.h"
#include "zenthar/scalar.h"

namespace zenthar::ZENTHAR_TARGET {

// Factorials from 0! to 20!, which are all that fit a mint.
inline constexpr mint kFactorials[] = {1,
                                       1,
                                       2,
                                       6,
                                       24,
                                       120,
                                       720,
                                       5040,
                                       40320,
                                       362880,
                                       3628800,
                                       39916800,
                                       479001600,
                                       6227020800,
                                       87178291200,
                                       1307674368000,
                                       20922789888000,
                                       355687428096000,
                                       6402373705728000,
                                       121645100408832000,
                                       2432902008176640000};

struct Sinc {
  ZENTHAR_KERNEL static mreal value(mreal x) { return x == 0.0 ? 1.0 : __builtin_sin(x) / x; }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_sinc(z); }
};

// F(-n) = (-1)^(n + 1) F(n)
struct Fibonacci {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, C) {
    if (n < -92 || n > 92) return {0, Failure::kOverflow};
    const mint number = fibonacci_table[unsigned_magnitude(n)];
    return {n < 0 && (n & 1) == 0 ? -number : number, Failure::kNone};
  }
  ZENTHAR_KERNEL static mreal value(mreal x) { return real_fibonacci(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_fibonacci(z); }
};

// L(-n) = (-1)^n L(n)
struct LucasL {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, C) {
    if (n < -90 || n > 90) return {0, Failure::kOverflow};
    const mint number = lucasl_table[unsigned_magnitude(n)];
    return {n < 0 && (n & 1) != 0 ? -number : number, Failure::kNone};
  }
  ZENTHAR_KERNEL static mreal value(mreal x) { return real_lucasl(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_lucasl(z); }
};

struct Erf {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_erf(x); }
};

struct ErfC {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_erfc(x); }
};

struct Gamma {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, C) {
    if (n < 1 || n > 21) return {0, Failure::kOverflow};
    return {kFactorials[n - 1], Failure::kNone};
  }
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_tgamma(x); }
};

struct LogGamma {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal x, C) {
    if (x <= 0.0) return {0.0, Failure::kDomain};
    return {real_loggamma(x), Failure::kNone};
  }
};

struct Gudermannian {
  ZENTHAR_KERNEL static mreal value(mreal x) { return 2.0 * __builtin_atan(__builtin_tanh(0.5 * x)); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_gudermannian(z); }
};

// 2 atanh(tan(x/2)) where |tan(x/2)| <= 1, which is where the cosine is not negative; as asinh(tan x) it does
// not lose what sets the tangent apart from 1 near the ends.
struct InverseGudermannian {
  ZENTHAR_KERNEL static mreal value(mreal x) {
    return __builtin_cos(x) >= 0.0 ? __builtin_asinh(__builtin_tan(x)) : __builtin_nan("");
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_inversegudermannian(z); }
};

struct Haversine {
  ZENTHAR_KERNEL static mreal value(mreal x) {
    const mreal sine = __builtin_sin(0.5 * x);
    return sine * sine;
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_haversine(z); }
};

// 2 asin(sqrt(x)), which loses digits where x is near 1; a tangent does not.
struct InverseHaversine {
  ZENTHAR_KERNEL static mreal value(mreal x) {
    if (!(x > 0.5)) return 2.0 * __builtin_asin(__builtin_sqrt(x));
    return 2.0 * __builtin_atan2(__builtin_sqrt(x), __builtin_sqrt(1.0 - x));
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_inversehaversine(z); }
};

struct Logistic {
  ZENTHAR_KERNEL static mreal value(mreal x) {
    const mreal power = __builtin_exp(-__builtin_fabs(x));
    return (x > 0.0 ? 1.0 : power) / (1.0 + power);
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return complex_logistic(z); }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
