// Trigonometric functions.
#include "kernels/vector/simd/trigonometric.h"

namespace zenthar::ZENTHAR_TARGET {

namespace {

ZENTHAR_KERNEL Mask too_large(Real size) { return not_less_equal(size, broadcast(kMostReduced)); }
// Zeros, and what has a reciprocal that may overflow.
ZENTHAR_KERNEL Mask too_small(Real size) { return less(size, broadcast(0x1p-960)); }

// Bits of a quadrant as signs.
ZENTHAR_KERNEL Bits odd(Bits quadrant) { return quadrant << 63; }
ZENTHAR_KERNEL Bits upper_half(Bits quadrant) { return (quadrant & 2) << 62; }

// Of odd functions the angle of the magnitude is reduced, so that zeros keep their signs.

struct SinForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = too_large(size);
    const Angle angle = reduce(size);
    const Double y = cosine_or_sine(bit<0>(angle.quadrant), wave(angle.rest));
    return flip_sign(y.high + y.low, upper_half(angle.quadrant) ^ sign_of(x));
  }
  static mreal rare(mreal x) { return wide_sin(x); }
};

struct CosForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    rare = too_large(magnitude(x));
    const Angle angle = reduce(x);
    const Double y = cosine_or_sine(!bit<0>(angle.quadrant), wave(angle.rest));
    return flip_sign(y.high + y.low, upper_half(angle.quadrant + 1));
  }
  static mreal rare(mreal x) { return wide_cos(x); }
};

// Two numbers with the tangent as their quotient, which shorter polynomials give than sine and cosine have.
struct Quotient {
  Double above, below;
};
ZENTHAR_KERNEL Quotient tangent(Double rest) {
  const Wave w = wave(rest);
  return {fast_sum(sine(w, kTanAboveTerms)), fast_sum(cosine(w, kTanBelowTerms))};
}

// In odd quadrants tangents are negative cotangents of the rest and the other way round.

struct TanForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = too_large(size);
    const Angle angle = reduce(size);
    const auto [s, c] = tangent(angle.rest);
    const Mask turned = bit<0>(angle.quadrant);
    const Real y = divided(select(turned, c, s), select(turned, s, c));
    return flip_sign(y, odd(angle.quadrant) ^ sign_of(x));
  }
  static mreal rare(mreal x) { return wide_tan(x); }
};

struct CotForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = too_large(size) | too_small(size);
    const Angle angle = reduce(x);
    const auto [s, c] = tangent(angle.rest);
    const Mask turned = bit<0>(angle.quadrant);
    const Real y = divided(select(turned, s, c), select(turned, c, s));
    return flip_sign(y, odd(angle.quadrant));
  }
  static mreal rare(mreal x) { return wide_cot(x); }
};

struct CscForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = too_large(size) | too_small(size);
    const Angle angle = reduce(x);
    const Double y = fast_sum(cosine_or_sine(bit<0>(angle.quadrant), wave(angle.rest)));
    return flip_sign(reciprocal(y), upper_half(angle.quadrant));
  }
  static mreal rare(mreal x) { return wide_csc(x); }
};

struct SecForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    rare = too_large(magnitude(x));
    const Angle angle = reduce(x);
    const Double y = fast_sum(cosine_or_sine(!bit<0>(angle.quadrant), wave(angle.rest)));
    return flip_sign(reciprocal(y), upper_half(angle.quadrant + 1));
  }
  static mreal rare(mreal x) { return wide_sec(x); }
};

// sin(x)/x
struct SincForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = too_large(size);
    const Angle angle = reduce(size);
    const Double s = fast_sum(cosine_or_sine(bit<0>(angle.quadrant), wave(angle.rest)));
    const Real y = flip_sign(divided(s, {size, Real{}}), upper_half(angle.quadrant));
    return select(less(size, broadcast(0x1p-27)), broadcast(1.0), y);
  }
  static mreal rare(mreal x) { return wide_sinc(x); }
};

// sin(x/2)^2 = (1 - cos(x))/2, and in terms of the rest, by quadrants, (1 - cos)/2, (1 + sin)/2,
// 1 - (1 - cos)/2 and (1 - sin)/2.
struct HaversineForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = too_large(size);
    const Angle angle = reduce(size);
    const Wave w = wave(angle.rest);
    const Mask turned = bit<0>(angle.quadrant);
    const Real half = 0.5 * w.rest.high;
    const Double quarter = product(half, half);
    const Real terms = w.square * blended(turned, w.square, kSinTerms, kCosTerms);
    const Double own = {select(turned, half, quarter.high),
                        select(turned, fused(half, terms, 0.5 * w.rest.low * w.complement.high),
                               fused_from(0.5 * w.square, terms, fused(half, w.rest.low, quarter.low)))};
    const Bits falling = (angle.quadrant & 2) << 62;
    const Real whole = flip_sign(own.high, falling), part = flip_sign(own.low, falling);
    const Real base = select(turned, broadcast(0.5), select(bit<1>(angle.quadrant), broadcast(1.0), Real{}));
    const Double y = sum(base, whole);
    // Where the square is near the subnormals, its second part is not exact.
    return select(less(size, broadcast(0x1p-27)), half * half, y.high + (y.low + part));
  }
  static mreal rare(mreal x) { return wide_haversine(x); }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Sin, SinForm, mreal)
ZENTHAR_VECTOR_FORM(Cos, CosForm, mreal)
ZENTHAR_VECTOR_FORM(Tan, TanForm, mreal)
ZENTHAR_VECTOR_FORM(Csc, CscForm, mreal)
ZENTHAR_VECTOR_FORM(Sec, SecForm, mreal)
ZENTHAR_VECTOR_FORM(Cot, CotForm, mreal)
ZENTHAR_VECTOR_FORM(Sinc, SincForm, mreal)
ZENTHAR_VECTOR_FORM(Haversine, HaversineForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
