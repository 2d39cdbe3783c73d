// Exponentials.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {
namespace {

// exp(x) = 2^e t (1 + p) with t one of 16 powers of 2 between 1 and 2, and p = exp(r) - 1.
struct ExpForm {
  ZENTHAR_KERNEL static Real compute(Real given, Mask& rare) {
#ifdef __AVX512F__
    static_cast<void>(rare);
    const Real x = clamp(given, -750.0, 715.0);
#else
    const Real x = given;
    rare = not_less_equal(magnitude(x), broadcast(708.0));
#endif
    const Nearest n = nearest(x * kExpScale);
    const Real r = fused(n.value, -kExpStepLow, fused(n.value, -kExpStepHigh, x));
    const Real p = fused(r * r, estrin(r, kExpTerms), r);
    const Bits index = n.integer & 15;
    const Real t = look_up(kExp2High, index);
    const Real y = t + fused(t, p, look_up(kExp2Low, index));
#ifdef __AVX512F__
    return _mm512_maskz_scalef_pd(kAllLanes, y, n.value * 0.0625);  // rounds the exponent down
#else
    // The integer's upper bits are added to the exponent.
    return real(bits(y) + ((n.integer - index) << 48));
#endif
  }
};

// 2^e (t + rest - 2^-e)
struct ExpM1Form {
  ZENTHAR_KERNEL static Real compute(Real given, Mask& rare) {
#ifdef __AVX512F__
    static_cast<void>(rare);
#else
    rare = not_less_equal(given, broadcast(700.0));
#endif
    const Real x = clamp(given, -50.0, 715.0);
    const ExpParts y = exp_parts(x);
    const Double e = whole(y, sum(y.t, -inverse_power_of_two(y.exponent)));
    return with_sign(scale_normal(e.high + e.low, y.exponent), given);
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Exp, ExpForm, mreal)
ZENTHAR_VECTOR_FORM(ExpM1, ExpM1Form, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
