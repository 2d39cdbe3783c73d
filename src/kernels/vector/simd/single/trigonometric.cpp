// Trigonometric functions of singles.
#include "kernels/vector/simd/single/halves.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/single.inc"

namespace {

// The largest magnitude that is reduced here.
constexpr float kMostSingle = 0x1p17f;

// n pi/2 + high + low, with |high| < 0.79. The low bits of the quadrant n are right.
struct SingleAngle {
  SingleBits quadrant;
  Single high, low;
};

ZENTHAR_KERNEL SingleAngle reduce(Single x) {
  const SingleNearest n = nearest_multiple(x, kSingleTwoOverPi);
#ifdef __FMA__
  const Single first = fused(n.value, -kSingleHalfPi[0], x);  // exact: a multiple of 2^-23 below 1
  const Single second = n.value * kSingleHalfPi[1];
  const Single second_low = fused(n.value, broadcast(kSingleHalfPi[1]), -second);
  const Single high = first - second;
  const Single low = fused(n.value, -kSingleHalfPi[2], ((first - high) - second) - second_low);
  return {n.integer, high, low};
#else
  const Halves a = halves(x), m = halves(n.value);
  const auto rest = [](Real of, Real times) {
    return (of - times * kShortHalfPiHigh) - times * kShortHalfPiLow;
  };
  const Real lower = rest(a.lower, m.lower), upper = rest(a.upper, m.upper);
  const Single high = rounded({lower, upper});
  const Halves back = halves(high);
  return {n.integer, high, rounded({lower - back.lower, upper - back.upper})};
#endif
}

// The sine or the cosine of what is left of an angle. The cosine is 1 - high^2/2, as a sum of two singles,
// and what the rest of the series gives.
ZENTHAR_KERNEL Single cosine_or_sine(SingleMask cosine, const SingleAngle& a) {
  const Single square = a.high * a.high, half = 0.5f * a.high;
  const Single one = broadcast(1.0f), whole = fused_once(half, -a.high, one);
  const Single part = fused(-a.high, a.low, fused_once(half, -a.high, one - whole));
  Single terms = select(cosine, broadcast(kSingleCosTerms[2]), broadcast(kSingleSinTerms[2]));
  for (int k = 1; k >= 0; --k)
    terms =
        fused(terms, square, select(cosine, broadcast(kSingleCosTerms[k]), broadcast(kSingleSinTerms[k])));
  return select(cosine, whole, a.high) +
         fused(select(cosine, square, a.high), square * terms, select(cosine, part, a.low));
}

ZENTHAR_KERNEL SingleMask too_large(Single size) { return not_less_equal(size, broadcast(kMostSingle)); }
// The upper bit of a quadrant as a sign.
ZENTHAR_KERNEL SingleBits upper_half(SingleBits quadrant) { return (quadrant & 2) << 30; }

// Of odd functions the angle of the magnitude is reduced, so that zeros keep their signs.
struct SingleSinForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    const Single size = magnitude(x);
    rare = too_large(size);
    const SingleAngle angle = reduce(size);
    return flip_sign(cosine_or_sine(bit<0>(angle.quadrant), angle), upper_half(angle.quadrant) ^ sign_of(x));
  }
};
struct SingleCosForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    rare = too_large(magnitude(x));
    const SingleAngle angle = reduce(x);
    return flip_sign(cosine_or_sine(!bit<0>(angle.quadrant), angle), upper_half(angle.quadrant + 1));
  }
};

// r N(r^2) / D(r^2), turned over in odd quadrants.
struct SingleTanForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    const Single size = magnitude(x);
    rare = too_large(size);
    const SingleAngle a = reduce(size);
    const Single square = a.high * a.high, one = broadcast(1.0f), slope = broadcast(kSingleTanBelow[1]);
    const Single terms = square * fused(square, kSingleTanAbove[2], kSingleTanAbove[1]);
    const SingleSum above = {a.high, fused(a.high, terms, a.low)};
    const Single whole = fused(square, slope, one);
    const Single square_low = fused(a.high + a.high, a.low, fused_once(a.high, a.high, -square));
    const Single part = fused(square_low, slope, fused_once(square, slope, one - whole));
    const SingleSum below = {whole, fused(square * square, broadcast(kSingleTanBelow[2]), part)};
    const SingleMask turned = bit<0>(a.quadrant);
    const Single y = divided(select(turned, below, above), select(turned, above, below));
    return flip_sign(y, (a.quadrant << 31) ^ sign_of(x));
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Sin, SingleSinForm, float)
ZENTHAR_VECTOR_FORM(Cos, SingleCosForm, float)
ZENTHAR_VECTOR_FORM(Tan, SingleTanForm, float)

}  // namespace zenthar::ZENTHAR_TARGET
