// Elementary functions of complexes.
#include "kernels/vector/simd/arc_tangent.h"
#include "kernels/vector/simd/exp_of_sum.h"
#include "kernels/vector/simd/loop.h"
#include "kernels/vector/simd/trigonometric.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/complex.inc"

namespace {

// Infinities, NaNs and angles that are not reduced are the business of the definitions, as are parts so small
// that the low parts of products vanish.
ZENTHAR_KERNEL Mask not_finite(Real x) { return not_less_equal(magnitude(x), broadcast(kLargest)); }
ZENTHAR_KERNEL Mask too_large(Real angle) {
  return not_less_equal(magnitude(angle), broadcast(kMostReduced));
}
ZENTHAR_KERNEL Mask too_small(Real x) { return less(magnitude(x), broadcast(0x1p-900)) & !equal(x, Real{}); }

// The sine and the cosine of an angle, of its magnitude but for the signs, so that zeros keep theirs.
struct Turn {
  Double sine, cosine;
  Bits sine_sign, cosine_sign;
};
ZENTHAR_KERNEL Turn turn(Real x) {
  const Angle angle = reduce(magnitude(x));
  const Wave w = wave(angle.rest);
  const Double s = sine(w), c = cosine(w);
  const Mask odd = bit<0>(angle.quadrant);
  return {select(odd, c, s), select(odd, s, c), ((angle.quadrant & 2) << 62) ^ sign_of(x),
          ((angle.quadrant + 1) & 2) << 62};
}

// a b, rounded, with the sign of a zero.
ZENTHAR_KERNEL Real rounded_product(Double a, Double b) {
  const Double p = product(a.high, b.high);
  const Real low = fused(a.low, b.high + b.low, fused(a.high, b.low, p.low));
  return with_sign(p.high + low, p.high);
}

// Beyond this exponents overflow or vanish, whatever they are multiplied with.
inline constexpr mreal kMostExponent = 3000;

struct ComplexExpForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    rare = not_finite(z.re) | too_large(z.im) | too_small(z.im);
    const Real x = greater(broadcast(-kMostExponent), lesser(broadcast(kMostExponent), z.re));
    const Power power = exp_of_sum({x, Real{}});
    const Turn t = turn(z.im);
    const Real re = rounded_product(power.significand, t.cosine);
    const Real im = rounded_product(power.significand, t.sine);
    return {flip_sign(scale(re, power.exponent.value), t.cosine_sign),
            flip_sign(scale(im, power.exponent.value), t.sine_sign)};
  }
};

// 2^exponent times the hyperbolic sine and cosine of |y|, the sine of a small one by its series.
struct Hyperbolic {
  Double sine, cosine;
  Real exponent;
};
ZENTHAR_KERNEL Hyperbolic hyperbolic(Real y) {
  const Real size = lesser(broadcast(kMostExponent), magnitude(y));
  const Power power = exp_of_sum({size, Real{}});
  const Double up = fast_sum(power.significand.high, power.significand.low);
  const Real inverse = 1.0 / up.high;
  const Double back = product(inverse, up.high);
  // Divided by the square of the power of two, which is none of its bits any more beyond 2^100.
  const Nearest e = nearest(lesser(broadcast(100.0), power.exponent.value));
  const Real squared = 0.5 * power_of_two(Bits{} - (e.integer << 1));
  const Double down = {inverse * squared,
                       inverse * (((1.0 - back.high) - back.low) - inverse * up.low) * squared};
  const Double half = {0.5 * up.high, 0.5 * up.low};
  Double cosine = fast_sum(half.high, down.high), sine = fast_sum(half.high, -down.high);
  cosine.low += half.low + down.low;
  sine.low += half.low - down.low;
  const Real square = size * size;
  const Double series = {size, size * (square * estrin(square, kSinhTerms))};
  return {select(less(size, broadcast(0.3)), series, sine), cosine, power.exponent.value};
}

// sin(x + i y) = sin x cosh y + i cos x sinh y
struct ComplexSinForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    rare = not_finite(z.im) | too_large(z.re) | too_small(z.re) | too_small(z.im);
    const Turn t = turn(z.re);
    const Hyperbolic h = hyperbolic(z.im);
    return {flip_sign(scale(rounded_product(h.cosine, t.sine), h.exponent), t.sine_sign),
            flip_sign(scale(rounded_product(h.sine, t.cosine), h.exponent), t.cosine_sign ^ sign_of(z.im))};
  }
};

// cos(x + i y) = cos x cosh y - i sin x sinh y
struct ComplexCosForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    rare = not_finite(z.im) | too_large(z.re) | too_small(z.re) | too_small(z.im);
    const Turn t = turn(z.re);
    const Hyperbolic h = hyperbolic(z.im);
    const Bits sign = t.sine_sign ^ sign_of(z.im) ^ kSignBit;
    // The product of two small parts may be so small that its low part vanishes before it is scaled.
    if constexpr (!kFused)
      rare = rare | (less(magnitude(z.re) * magnitude(z.im), broadcast(0x1p-900)) & !equal(z.re, Real{}) &
                     !equal(z.im, Real{}));
    return {flip_sign(scale(rounded_product(h.cosine, t.cosine), h.exponent), t.cosine_sign),
            flip_sign(scale(rounded_product(h.sine, t.sine), h.exponent), sign)};
  }
};

// tan(x + i y) = (sin x cos x + i sinh y cosh y) / (cos^2 x + sinh^2 y)
struct ComplexTanForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    const Real x = magnitude(z.re), y = magnitude(z.im);
    rare = not_less_equal(x, broadcast(kMostReduced)) | not_less_equal(y, broadcast(300.0)) |
           (less(x, broadcast(0x1p-100)) & !equal(x, Real{})) | too_small(z.im);
    const Turn t = turn(z.re);
    const Hyperbolic h = hyperbolic(z.im);
    const Nearest exponent = nearest(h.exponent);
    const Double sine = fast_sum(t.sine), cosine = fast_sum(t.cosine);
    const Double up = scaled(fast_sum(h.sine), exponent), across = scaled(h.cosine, exponent);
    const Double divisor = cosine * cosine + up * up;
    return {flip_sign(divided(sine * cosine, divisor), t.sine_sign ^ t.cosine_sign),
            with_sign(divided(up * across, divisor), z.im)};
  }

 private:
  ZENTHAR_KERNEL static Double scaled(Double x, Nearest n) {
    return {scale_normal(x.high, n), scale_normal(x.low, n)};
  }
};

// With y + i x, which is i times the conjugate of z, for z: sin and tan take it to the same of sinh z and
// tanh z, cos to the conjugate of cosh z.
ZENTHAR_KERNEL Complex swapped(Complex z) { return {z.im, z.re}; }
template <class Form>
struct SwappedForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    return swapped(Form::compute(swapped(z), rare));
  }
};
struct ComplexCoshForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    const Complex y = ComplexCosForm::compute(swapped(z), rare);
    return {y.re, -y.im};
  }
};

// A power of two near the larger part of z, by its exponent's bits; those of the numbers at both ends are
// held back, so that it has an inverse.
ZENTHAR_KERNEL Bits exponent_near(Real large) {
  const Real held = greater(broadcast(0x1p-1020), lesser(broadcast(0x1p1020), large));
  return bits(held) & (uint64_t(0x7ff) << 52);
}
ZENTHAR_KERNEL Real inverse_power(Bits exponent) { return real((uint64_t(2046) << 52) - exponent); }

struct ModulusForm {
  ZENTHAR_KERNEL static Real compute(Complex z, Mask&) {
    const Real a = magnitude(z.re), b = magnitude(z.im);
    // The second one where one is a NaN, so that it does not get lost.
    const Real larger = greater(a, b), smaller = lesser(b, a);
    const Bits exponent = exponent_near(larger);
    const Real large = larger * inverse_power(exponent), small = smaller * inverse_power(exponent);
    const Real y = square_root(square_sum(large, small)) * real(exponent);
    const Real infinity = broadcast(__builtin_inf());
    return select(equal(a, infinity) | equal(b, infinity), infinity, y);
  }

 private:
  // The square of the upper half of a significand is exact.
  ZENTHAR_KERNEL static Real upper_half(Real x) { return real(bits(x) & ~((uint64_t(1) << 27) - 1)); }
  ZENTHAR_KERNEL static Real square_sum(Real large, Real small) {
    if constexpr (kFused) return fused(large, large, small * small);
    const Real x = upper_half(large), y = upper_half(small);
    const Double s = fast_sum(x * x, y * y);
    return s.high + (s.low + ((large + x) * (large - x) + (small + y) * (small - y)));
  }
};

// The larger part of the root is sqrt((|z| + |x|)/2), the smaller one |y| over twice that.
struct ComplexSqrtForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    const Real a = magnitude(z.re), b = magnitude(z.im);
    const Real size = greater(a, b);
    const Mask zero = equal(size, Real{});
    rare = not_finite(z.re) | not_finite(z.im) | (less(size, broadcast(0x1p-1000)) & !zero);
    // With an odd bit pattern the power of two has a root.
    const Bits exponent = exponent_near(size) | (uint64_t(1) << 52);
    const Real x = a * inverse_power(exponent), y = b * inverse_power(exponent);
    rare = rare | (less(y, broadcast(0x1p-900)) & !equal(b, Real{}));
    const Double p = product(x, x), q = product(y, y), s = sum(p.high, q.high);
    const Double modulus = root({s.high, s.low + (p.low + q.low)});
    const Double t = fast_sum(modulus.high, x);
    const Double half = {0.5 * t.high, 0.5 * (t.low + modulus.low)};
    const Real root_high = square_root(half.high), inverse = 0.5 / root_high;
    const Double back = product(root_high, root_high);
    const Real root_low = inverse * (((half.high - back.high) - back.low) + half.low);
    const Real other = y * inverse;
    const Double twice = product(other, root_high + root_high);
    const Real rest = ((y - twice.high) - twice.low) - 2.0 * other * root_low;
    const Real by = real(((exponent >> 1) & (uint64_t(0x7ff) << 52)) + (uint64_t(512) << 52));
    const Real larger = select(zero, Real{}, (root_high + root_low) * by);
    const Real smaller = select(zero, Real{}, fused(rest, inverse, other) * by);
    const Mask left = less(z.re, Real{});
    return {select(left, smaller, larger), with_sign(select(left, larger, smaller), z.im)};
  }

 private:
  ZENTHAR_KERNEL static Double root(Double x) {
    const Real high = square_root(x.high);
    const Double back = product(high, high);
    return {high, (((x.high - back.high) - back.low) + x.low) / (high + high)};
  }
};

// log|z| + i arg z, the former by the square of the modulus with its low part. Where that is so near 1 that
// the low part's own error counts, the definition knows more.
struct ComplexLogForm {
  ZENTHAR_KERNEL static Complex compute(Complex z, Mask& rare) {
    const Real a = magnitude(z.re), b = magnitude(z.im);
    const Real size = greater(a, b);
    const Real im = arc_tangent(z.im, z.re, rare);
    rare = rare | not_finite(z.re) | not_finite(z.im) | less(size, broadcast(0x1p-1000));
    const Bits exponent = exponent_near(size);
    const Real x = a * inverse_power(exponent), y = b * inverse_power(exponent);
    const Double p = product(x, x), q = product(y, y), s = sum(p.high, q.high);
    const Double norm = fast_sum(s.high, s.low + (p.low + q.low));
    const Real e = to_real(exponent >> 52) - 1023.0;
    const Real distance = (norm.high - 1.0) + norm.low;
    rare = rare | (equal(e, Real{}) & less(magnitude(distance), broadcast(0x1p-40)));
    rare = rare |
           (equal(e, broadcast(-1.0)) & less(magnitude((norm.high - 4.0) + norm.low), broadcast(0x1p-38)));
    return {0.5 * log_of(norm, e + e), im};
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Exp, ComplexExpForm, mcomplex)
ZENTHAR_VECTOR_FORM(Log, ComplexLogForm, mcomplex)
ZENTHAR_VECTOR_FORM(Sin, ComplexSinForm, mcomplex)
ZENTHAR_VECTOR_FORM(Cos, ComplexCosForm, mcomplex)
ZENTHAR_VECTOR_FORM(Tan, ComplexTanForm, mcomplex)
ZENTHAR_VECTOR_FORM(Sinh, SwappedForm<ComplexSinForm>, mcomplex)
ZENTHAR_VECTOR_FORM(Cosh, ComplexCoshForm, mcomplex)
ZENTHAR_VECTOR_FORM(Tanh, SwappedForm<ComplexTanForm>, mcomplex)
ZENTHAR_VECTOR_FORM(Abs, ModulusForm, mcomplex)
ZENTHAR_VECTOR_FORM(Sqrt, ComplexSqrtForm, mcomplex)

}  // namespace zenthar::ZENTHAR_TARGET
