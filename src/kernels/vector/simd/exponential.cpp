// Exponentials.
#include "kernels/vector/simd/loop.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/vector/simd/coefficients/exponential.inc"

namespace {

// exp(x) = 2^e t (1 + p) with t one of 16 powers of 2 between 1 and 2, and p = exp(r) - 1 for |r| <=
// log(2)/32 (P. T. P. Tang, Table-driven implementation of the exponential function, ACM TOMS 15, 1989).
struct ExpForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    constexpr mreal kMost = 708.0;
    rare = not_less_equal(magnitude(x), broadcast(kMost));
    const Nearest n = nearest(x * kExpScale);
    const Real r = fused(n.value, -kExpStepLow, fused(n.value, -kExpStepHigh, x));
    const Real p = fused(r * r, estrin(r, kExpTerms), r);
    const Bits index = n.integer & 15;
    const Real t = look_up(kExp2High, index);
    const Real y = t + fused(t, p, look_up(kExp2Low, index));
    // The integer's upper bits are added to the exponent.
    return real(bits(y) + ((n.integer - index) << 48));
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Exp, ExpForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
