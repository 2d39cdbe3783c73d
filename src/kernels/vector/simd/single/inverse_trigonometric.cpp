// Inverse trigonometric functions of singles.
#include "kernels/vector/simd/single/halves.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/single.inc"

namespace {

// base + (high + low), where the base is 0 or not less than the high part, a multiple of pi/2 without its own
// low part.
ZENTHAR_KERNEL Single turned(Single base, Single high, Single low) {
  const SingleSum whole = fast_sum(base, high);
  return whole.high + (whole.low + fused(base, kSingleTurnLowShare, low));
}

// The arc sine of s <= 1/2, and the angle between that of larger s and pi/2, 2 asin(sqrt((1 - s)/2)).
ZENTHAR_KERNEL SingleSum arc(SingleMask large, Single s) {
  const Single z = select(large, fused(s, -0.5f, 0.5f), s * s);
#ifdef __AVX512F__
  const Single inverse = _mm512_maskz_rsqrt14_ps(kAllSingleLanes, greater(z, broadcast(0x1p-126f)));
  const Single rough = z * inverse;
  const Single root = fused(0.5f * rough, fused(-rough, inverse, broadcast(1.0f)), rough);
#else
  const Single root = square_root(z), inverse = 1.0f / greater(root, broadcast(0x1p-63f));
#endif
  const Single rest = fused_once(-root, root, z) * inverse;
  const Single high = select(large, root + root, s);
  return {high, fused(high * z, estrin(z, kSingleAsinTerms), select(large, rest, Single{}))};
}

ZENTHAR_KERNEL SingleMask out_of_domain(Single x) { return not_less_equal(magnitude(x), broadcast(1.0f)); }

struct SingleAsinForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    rare = out_of_domain(x);
    const Single size = magnitude(x);
    const SingleMask large = less(broadcast(0.5f), size);
    const SingleSum a = arc(large, size);
    const Single base = select(large, broadcast(kSingleQuarterTurn), Single{});
    const SingleBits signs = select(large, broadcast(kSingleSign), SingleBits{});
    return with_sign(turned(base, flip_sign(a.high, signs), flip_sign(a.low, signs)), x);
  }
};

// pi/2 - arc, and of large arguments arc or, of negative ones, pi - arc.
struct SingleAcosForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    rare = out_of_domain(x);
    const Single size = magnitude(x);
    const SingleMask large = less(broadcast(0.5f), size);
    const SingleSum a = arc(large, size);
    const Single far = select(sign_bit(x), broadcast(2 * kSingleQuarterTurn), Single{});
    const Single base = select(large, far, broadcast(kSingleQuarterTurn));
    const SingleBits signs = sign_of(x) ^ select(large, SingleBits{}, broadcast(kSingleSign));
    return turned(base, flip_sign(a.high, signs), flip_sign(a.low, signs));
  }
};

// The arc tangent of a/b for 0 <= a <= b: from that of the nearest number c of eighths, but 0 for the first,
// so that what is added is little beside it.
ZENTHAR_KERNEL SingleSum arc_tangent(Single a, Single b, Single* nearby) {
  const SingleNearest n = nearest_multiple(rough_quotient(a, b), 8.0f);
  const Single c = select(less(n.value, broadcast(2.0f)), Single{}, 0.125f * n.value);
  const Single above = fused_once(-c, b, a), below = fused(c, a, b);
  const Single r = rough_reciprocal(below), t = above * r, square = t * t;
  const Single low = fused(fused_once(-t, below, above), r, look_up(kSingleArcsLow, n.integer));
  *nearby = look_up(kSingleArcs, n.integer);
  return {t, fused(t * square, estrin(square, kSingleAtanTerms), low)};
}

// Of a vector of width |x| and height |y|; |y|/|x| is the tangent of what lies between the nearest axis and
// the vector.
ZENTHAR_KERNEL Single arc_tangent(Single width, Single height, SingleBits left) {
  const SingleMask steep = less(width, height);
  Single nearby;
  const SingleSum arc = arc_tangent(lesser(width, height), greater(width, height), &nearby);
  const SingleBits turned_back = left ^ select(steep, broadcast(kSingleSign), SingleBits{});
  const Single axis = select(steep, broadcast(kSingleQuarterTurn),
                             select(sign_bit(real(left)), broadcast(2 * kSingleQuarterTurn), Single{}));
  const SingleSum whole = fast_sum(axis, flip_sign(nearby, turned_back));
  const Single rest = fused(axis, kSingleTurnLowShare, flip_sign(arc.low, turned_back));
  return whole.high + (flip_sign(arc.high, turned_back) + (whole.low + rest));
}

struct SingleAtanForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask&) {
    const Single size = lesser(broadcast(0x1p100f), magnitude(x));
    return with_sign(arc_tangent(broadcast(1.0f), size, SingleBits{}), x);
  }
};

// Vectors so long or short, or so near an axis, that products may not be exact are left out.
struct SingleAtan2Form {
  ZENTHAR_KERNEL static Single compute(Single y, Single x, SingleMask& rare) {
    const Single width = magnitude(x), height = magnitude(y);
    const auto fits = [](Single size) {
      return less_equal(broadcast(0x1p-60f), size) & less_equal(size, broadcast(0x1p60f));
    };
    rare = !(fits(width) & fits(height));
    return with_sign(arc_tangent(width, height, sign_of(x)), y);
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Asin, SingleAsinForm, float)
ZENTHAR_VECTOR_FORM(Acos, SingleAcosForm, float)
ZENTHAR_VECTOR_FORM(Atan, SingleAtanForm, float)
ZENTHAR_VECTOR_FORM(Atan2, SingleAtan2Form, float, float)

}  // namespace zenthar::ZENTHAR_TARGET
