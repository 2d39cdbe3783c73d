// Exponentials of sums of two reals, as products with further factors want them.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_EXP_OF_SUM_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_EXP_OF_SUM_H

#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {

// exp(x) = 2^exponent significand to about 2^-58 of itself, for |x| < 2^15; the low part of x may be any
// rounding error of the high one. Of the significand, from 1 to 2, the second part is less than a fortieth of
// the first.
struct Power {
  Double significand;
  Nearest exponent;
};
ZENTHAR_KERNEL Power exp_of_sum(Double x) {
  const Nearest n = nearest(x.high * kExpScale);
  const Real r = fused(n.value, -kExpStepHigh, x.high) + fused(n.value, -kExpStepLow, x.low);
  const Real square = r * r, p = fused(square, paired(r, square, kExpTerms), r);
  const Real t = look_up(kExp2High, n.integer & 15);
  return {{t, fused(t, p, look_up(kExp2Rest, n.integer << 32))}, exponent_of(n)};
}

// a b, where the product of the low parts counts too.
ZENTHAR_KERNEL Double whole_product(Double a, Double b) {
  const Double p = product(a.high, b.high);
  return fast_sum(p.high, fused(a.low, b.high + b.low, fused(a.high, b.low, p.low)));
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
