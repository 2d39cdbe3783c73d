// Powers of complexes.
#include "kernels/vector/simd/exp_of_sum.h"
#include "kernels/vector/simd/loop.h"
#include "kernels/vector/simd/trigonometric.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/arc.inc"

namespace {

// The angle of (x, y) to about 2^-64 of itself, for parts that are numbers, of which the larger is normal, as
// are its square and its inverse. atan(a/b) = atan(c) + atan((a - c b)/(b + c a)), where c is a sixteenth
// near a/b.
ZENTHAR_KERNEL Double angle(Real y, Real x) {
  const Real width = magnitude(x), height = magnitude(y);
  const Mask steep = less(width, height);
  const Real a = select(steep, width, height), b = select(steep, height, width);
  const Nearest n = nearest(lesser(broadcast(15.0), 16.0 * rough_quotient(a, b)));
  const Real c = 0.0625 * n.value;
  const Bits index = n.integer & 15;
  const Real above = remainder(a, c, b);
  const Double more = product(c, a), whole = fast_sum(b, more.high);
  const Double below = {whole.high, whole.low + more.low};
  const Real inverse = rough_reciprocal(below.high), rough = above * inverse;
  const Double t = fast_sum(rough, (remainder(above, rough, below.high) - rough * below.low) * inverse);
  const Real square = t.high * t.high;
  const Real excess = t.high * (square * estrin(square, kArcTerms));

  // |y|/|x| is the tangent of what lies between the nearest axis and the vector.
  const Real axis =
      select(steep, broadcast(kQuarterHigh), select(sign_bit(x), broadcast(2 * kQuarterHigh), Real{}));
  const Bits signs = sign_of(x) ^ select(steep, broadcast(kSignBit), Bits{});
  const Double first = fast_sum(axis, flip_sign(look_up(kArcHigh, index), signs));
  const Double second = fast_sum(first.high, flip_sign(t.high, signs));
  const Real low = flip_sign(t.low + (look_up(kArcLow, index) + excess), signs);
  const Double sum =
      fast_sum(second.high, (first.low + second.low) + fused(axis, kQuarterLow / kQuarterHigh, low));
  return {flip_sign(sum.high, sign_of(y)), flip_sign(sum.low, sign_of(y))};
}

// log z, for sizes of z not far from 1, nor so near that the logarithm of its modulus has fewer digits.
struct Logarithm {
  Double re, im;
};
ZENTHAR_KERNEL Logarithm logarithm(Complex z, Mask& rare) {
  constexpr mreal kLeast = 0x1p-500, kMost = 0x1p500;
  const Real width = magnitude(z.re), height = magnitude(z.im);
  rare = not_less_equal(width, broadcast(kMost)) | not_less_equal(height, broadcast(kMost)) |
         less(greater(width, height), broadcast(kLeast));
  const Double p = product(width, width), q = product(height, height), s = sum(p.high, q.high);
  const Double norm = fast_sum(s.high, s.low + (p.low + q.low));
  rare = rare | less(magnitude((norm.high - 1.0) + norm.low), broadcast(0x1p-30));
  const Double twice = log_loose(norm.high, broadcast(1023.0));
  const Real low = fused(norm.low, rough_reciprocal(norm.high), twice.low);
  return {fast_sum(0.5 * twice.high, 0.5 * low), angle(z.im, z.re)};
}

// exp(w log z). Left to the definition are, besides what the logarithm leaves out, integer exponents, whose
// powers have definitions of their own; results near the ends of the range; angles that are next to nothing,
// and results with a part so small beside the other that the angle's error would show there.
struct ComplexPowForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Complex w, Mask& rare) {
    const Logarithm log = logarithm(z, rare);
    rare = rare | (equal(w.im, Real{}) & equal(nearest(w.re).value, w.re));

    const Double along = product(log.re.high, w.re), across = product(log.im.high, w.im);
    const Double exponent = sum(along.high, -across.high);
    const Real exponent_low =
        exponent.low + (fused(log.re.low, w.re, along.low) - fused(log.im.low, w.im, across.low));
    const Double turned = product(log.im.high, w.re), grown = product(log.re.high, w.im);
    const Double turn = sum(turned.high, grown.high);
    const Real turn_low =
        turn.low + (fused(log.im.low, w.re, turned.low) + fused(log.re.low, w.im, grown.low));
    rare = rare | not_less_equal(magnitude(exponent.high), broadcast(700.0)) |
           not_less_equal(broadcast(0x1p-60), magnitude(turn.high));

    const Power power = exp_of_sum({exponent.high, exponent_low});
    const Angle reduced = reduce(turn.high);
    const Wave rest = wave(fast_sum(reduced.rest.high, reduced.rest.low + turn_low));
    const Double s = sine(rest), c = cosine(rest);
    // The angle is off by 2^-63 of what it is a sum of, at most, which shows most in the smaller part.
    const Real error = fused(magnitude(turned.high) + magnitude(grown.high), broadcast(0x1p-11), 0x1p-11);
    rare = rare | not_less_equal(error, lesser(magnitude(s.high), magnitude(c.high)));
    const Mask odd = bit<0>(reduced.quadrant);
    const Double re = whole_product(power.significand, select(odd, s, c));
    const Double im = whole_product(power.significand, select(odd, c, s));
    return {flip_sign(scale_normal(re.high, power.exponent), ((reduced.quadrant + 1) & 2) << 62),
            flip_sign(scale_normal(im.high, power.exponent), (reduced.quadrant & 2) << 62)};
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Pow, ComplexPowForm, mcomplex, mcomplex)

}  // namespace zenthar::ZENTHAR_TARGET
