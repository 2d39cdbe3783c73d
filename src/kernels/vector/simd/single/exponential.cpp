// Exponentials and hyperbolic functions of singles.
#include "kernels/vector/simd/single/halves.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/single.inc"

namespace {

// x = n log(2) + high + low, with a high part that is exact, for |x| < 128. What rounding takes from the sum
// of both would be a quarter of the last place.
struct SingleRest {
  SingleNearest n;
  Single high, low;
};
ZENTHAR_KERNEL SingleRest reduce(Single x) {
  const SingleNearest n = nearest_multiple(x, kSingleLog2E);
  return {n, fused(n.value, -kSingleLogTwoHigh, x), n.value * -kSingleLogTwoLow};
}

struct SingleExpForm {
  ZENTHAR_KERNEL static Single compute(Single given, SingleMask& rare) {
#ifdef __AVX512F__
    static_cast<void>(rare);
    const Single x = clamp(given, -105.0f, 90.0f);
#else
    const Single x = given;
    rare = not_less_equal(magnitude(x), broadcast(87.0f));
#endif
    const auto [n, high, low] = reduce(x);
    const Single r = high + low;
    return scale_normal(1.0f + (high + fused(r * r, estrin(r, kSingleExpTerms), low)), n);
  }
};

// 2 sinh|x| and 2 cosh(x) are 2^n times (1 - w) cosh(r) + (1 + w) sinh(r) and the same with the sums
// exchanged, for w = 2^(-2 n).
struct SingleHyperbolic {
  SingleNearest n;
  Single w, high;               // of r
  Single sinh_rest, cosh_rest;  // sinh(r) less the high part, and cosh(r) - 1
};
ZENTHAR_KERNEL SingleHyperbolic hyperbolic(Single x) {
  const Single size = lesser(broadcast(91.0f), magnitude(x));
  const auto [n, high, low] = reduce(size);
  const Single r = high + low, square = r * r;
  const Single root = inverse_power_of_two(nearest_multiple(lesser(broadcast(30.0f), n.value), 1.0f));
  return {n, root * root, high, fused(r * square, estrin(square, kSingleSinhTerms), low),
          square * estrin(square, kSingleCoshTerms)};
}
// y 2^(n - 1)
ZENTHAR_KERNEL Single halved(Single y, SingleNearest n, Single x, SingleMask& rare) {
#ifdef __AVX512F__
  static_cast<void>(x);
  static_cast<void>(rare);
  return _mm512_maskz_scalef_ps(kAllSingleLanes, y, n.value - 1.0f);
#else
  rare = not_less_equal(magnitude(x), broadcast(88.0f));
  return y * real((n.integer + 126) << 23);
#endif
}

struct SingleSinhForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    const SingleHyperbolic h = hyperbolic(x);
    const Single difference = 1.0f - h.w, rest = (1.0f - difference) - h.w;
    const Single first = fused(h.w, h.high, h.high);
    const SingleSum s = fast_sum(difference, first);
    const Single low = fused(h.w, h.high, h.high - first) + rest;
    const Single small = fused(1.0f + h.w, h.sinh_rest, fused(difference, h.cosh_rest, low));
    return with_sign(halved(s.high + (s.low + small), h.n, x, rare), x);
  }
};

struct SingleCoshForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    const SingleHyperbolic h = hyperbolic(x);
    const SingleSum s = fast_sum(broadcast(1.0f), h.high);
    const Single small = fused(1.0f - h.w, h.sinh_rest, (1.0f + h.w) * h.cosh_rest);
    return halved(s.high + (s.low + (h.w + fused(-h.w, h.high, small))), h.n, x, rare);
  }
};

struct ShortExpM1 {
  ZENTHAR_KERNEL static Real of(Real x) {
    const ShortExp y = short_exp(clamp(x, -40.0, 100.0));
    return with_sign(fused(y.scale, y.excess, y.scale - 1.0), x);
  }
};

// (exp(2 |x|) - 1) / (exp(2 |x|) + 1)
struct ShortTanh {
  ZENTHAR_KERNEL static Real of(Real x) {
    const ShortExp y = short_exp(lesser(broadcast(20.0), magnitude(x + x)));
    const Real above = fused(y.scale, y.excess, y.scale - 1.0);
    const Real below = fused(y.scale, y.excess, y.scale + 1.0);
    return with_sign(above * rough_reciprocal(below), x);
  }
};

struct ShortLogistic {
  ZENTHAR_KERNEL static Real of(Real x) {
    const ShortExp y = short_exp(-clamp(x, -110.0, 40.0));
    return rough_reciprocal(fused(y.scale, y.excess, y.scale + 1.0));
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Exp, SingleExpForm, float)
ZENTHAR_VECTOR_FORM(ExpM1, ByHalves<ShortExpM1>, float)
ZENTHAR_VECTOR_FORM(Sinh, SingleSinhForm, float)
ZENTHAR_VECTOR_FORM(Cosh, SingleCoshForm, float)
ZENTHAR_VECTOR_FORM(Tanh, ByHalves<ShortTanh>, float)
ZENTHAR_VECTOR_FORM(Logistic, ByHalves<ShortLogistic>, float)

}  // namespace zenthar::ZENTHAR_TARGET
