// Functions too long to stand in every loop: compiled once, for all targets.
#ifndef ZENTHAR_KERNELS_OPERATIONS_FUNCTIONS_H
#define ZENTHAR_KERNELS_OPERATIONS_FUNCTIONS_H

#include "zenthar/types.h"

namespace zenthar {

mcomplex complex_sqrt(mcomplex z);
mcomplex complex_rsqrt(mcomplex z);
mcomplex complex_expm1(mcomplex z);
mcomplex complex_log1p(mcomplex z);
mcomplex complex_log2(mcomplex z);
mcomplex complex_log10(mcomplex z);
mcomplex complex_log(mcomplex base, mcomplex z);
mcomplex complex_power_by_logarithm(mcomplex z, mcomplex w);  // z is not 0

mcomplex complex_tan(mcomplex z);
mcomplex complex_tanh(mcomplex z);
mcomplex complex_csc(mcomplex z);
mcomplex complex_sec(mcomplex z);
mcomplex complex_cot(mcomplex z);
mcomplex complex_csch(mcomplex z);
mcomplex complex_sech(mcomplex z);
mcomplex complex_coth(mcomplex z);

mcomplex complex_asin(mcomplex z);
mcomplex complex_acos(mcomplex z);
mcomplex complex_atan(mcomplex z);
mcomplex complex_asinh(mcomplex z);
mcomplex complex_acosh(mcomplex z);
mcomplex complex_atanh(mcomplex z);
mcomplex complex_acsc(mcomplex z);
mcomplex complex_asec(mcomplex z);
mcomplex complex_acot(mcomplex z);
mcomplex complex_acsch(mcomplex z);
mcomplex complex_asech(mcomplex z);
mcomplex complex_acoth(mcomplex z);

mcomplex complex_atan2(mcomplex y, mcomplex x);
mcomplex complex_root(mcomplex z, mint n);     // n is not 0
mcomplex complex_mod(mcomplex a, mcomplex b);  // b is not real

mcomplex complex_sinc(mcomplex z);
mcomplex complex_fibonacci(mcomplex z);
mcomplex complex_lucasl(mcomplex z);
mcomplex complex_gudermannian(mcomplex z);
mcomplex complex_inversegudermannian(mcomplex z);
mcomplex complex_haversine(mcomplex z);
mcomplex complex_inversehaversine(mcomplex z);
mcomplex complex_logistic(mcomplex z);

mreal real_asec(mreal x);
mreal real_acsc(mreal x);
mreal real_asech(mreal x);
mreal real_acsch(mreal x);
mreal real_acoth(mreal x);
mreal real_fibonacci(mreal x);
mreal real_lucasl(mreal x);
mreal real_loggamma(mreal x);  // of a positive x

// Within 0.51 units in the last place of the exact result for every argument, for the few that vector forms
// leave out.
mreal wide_csc(mreal x);
mreal wide_cot(mreal x);
mreal wide_sinc(mreal x);
mreal wide_inversegudermannian(mreal x);

}  // namespace zenthar

#endif
