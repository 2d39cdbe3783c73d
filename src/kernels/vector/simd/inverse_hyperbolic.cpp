// Inverse hyperbolic functions: logarithms of sums and quotients with twice the bits of a real, since near 1
// what lies behind the last bit of these is all there is to the logarithm.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/inverse_hyperbolic.inc"

namespace {

// Below 2^-28 the functions that vanish at 0 are their arguments, and those of reciprocals vanish alike
// beyond 2^28. Beyond 2^30 a 1 beside the square does not count.
constexpr mreal kTiny = 0x1p-28, kFar = 0x1p28, kHuge = 0x1p30;

// c - a b, which is small, exactly.
ZENTHAR_KERNEL Real remainder(Real c, Real a, Real b) {
  if constexpr (kFused) return fused_from(a, b, c);
  const Double p = product(a, b);
  return (c - p.high) - p.low;
}

constexpr ShortTable<16> kQuotients = shortened(kQuotientBits), kHalfLogs = shortened(kHalfLogHigh);

ZENTHAR_KERNEL Double root_of(Double x) {
  const Real s = square_root(x.high);
  const Real rest = remainder(x.high, s, s) + x.low;
  return {s, rest * rough_reciprocal(greater(s + s, broadcast(0x1p-600)))};
}

// a / b, but not brought into the shape whose low part is a rounding error of the high one.
ZENTHAR_KERNEL Double rough_quotient(Double a, Double b) {
  const Real r = rough_reciprocal(b.high), q = a.high * r;
  const Real rest = remainder(a.high, q, b.high) + fused_from(q, b.low, a.low);
  return {q, r * rest};
}
// The same with 12 right bits in the low part.
ZENTHAR_KERNEL Double loose_quotient(Double a, Double b) {
#ifdef __AVX512F__
  const Real q = a.high / b.high, rest = remainder(a.high, q, b.high) + fused_from(q, b.low, a.low);
  return {q, zenthar::ZENTHAR_TARGET::rough_quotient(rest, b.high)};
#else
  return rough_quotient(a, b);
#endif
}

ZENTHAR_KERNEL Double square(Real x) { return product(x, x); }

// a + x for |a| >= |x| or a = 0
ZENTHAR_KERNEL Double plus(Real a, Double x) {
  const Double s = fast_sum(a, x.high);
  return {s.high, s.low + x.low};
}
ZENTHAR_KERNEL Double plus(Double x, Real a) {
  const Double s = fast_sum(x.high, a);
  return {s.high, s.low + x.low};
}

// The number whose logarithm is the result, over 2 where it is huge.
struct OfLog {
  Double x;
  Real exponent;
};
ZENTHAR_KERNEL OfLog of_log(Mask huge, Real size, Double sum) {
  return {select(huge, Double{size, Real{}}, sum), select(huge, broadcast(1.0), Real{})};
}

struct AsinhForm {
  ZENTHAR_KERNEL static OfLog prepare(Real x) {
    const Real size = magnitude(x);
    const Double p = square(size), s = sum(p.high, broadcast(1.0));
    return of_log(not_less(size, broadcast(kHuge)), size, plus(root_of(Double{s.high, s.low + p.low}), size));
  }
  ZENTHAR_KERNEL static Real finish(const OfLog& of, Real x, Mask& rare) {
    const Real size = magnitude(x), y = finish_log(log_of(of.x, of.exponent), of.x.high, rare);
    return with_sign(select(less(size, broadcast(kTiny)), size, y), x);
  }
};

struct AcoshForm {
  ZENTHAR_KERNEL static OfLog prepare(Real x) {
    OfLog of = of_log(not_less(x, broadcast(kHuge)), x, plus(x, root_of(plus(square(x), broadcast(-1.0)))));
    of.x.high = select(less(x, broadcast(1.0)), broadcast(-1.0), of.x.high);
    return of;
  }
  ZENTHAR_KERNEL static Real finish(const OfLog& of, Real, Mask& rare) {
    return finish_log(log_of(of.x, of.exponent), of.x.high, rare);
  }
};

// log(a/b) / 2 for a >= b, both of which have a low part. With a number q of few bits near a/b it is log(q)/2
// and the inverse hyperbolic tangent of z = (a - q b)/(a + q b). Up to 9/8, q is 1.
struct HalfLog {
  Double difference, sum;
  Double whole;  // log(q)/2
};
ZENTHAR_KERNEL HalfLog prepare_half_log(Double a, Double b) {
  const Real rough = greater(broadcast(1.0), zenthar::ZENTHAR_TARGET::rough_quotient(a.high, b.high));
#ifdef __AVX512F__
  const Real exponent = _mm512_maskz_getexp_pd(kAllLanes, rough);
#else
  const Real exponent = to_real(bits(rough) >> 52) - 1023.0;
#endif
  constexpr uint64_t kExponents = uint64_t(0x7ff) << 52;
  const Bits place = place_of(rough);
  const Real q = real((bits(rough) & kExponents) | bits(look_up(kQuotients, place)));
  const Real high = fused(exponent, kHalfLogOfTwoHigh, look_up(kHalfLogs, place));  // exact
  const Real low = fused(exponent, kHalfLogOfTwoLow, look_up(kHalfLogLow, place >> 32 & 15));

  const Double difference = {remainder(a.high, q, b.high), fused_from(q, b.low, a.low)};
  const Real sum = fused(q, b.high, a.high);
  return {difference, {sum, fused(q, b.high, a.high - sum) + fused(q, b.low, a.low)}, {high, low}};
}
ZENTHAR_KERNEL Real half_log(const HalfLog& y) {
  const Double z = loose_quotient(y.difference, y.sum);
  const Real square = z.high * z.high;
  const Double s = fast_sum(y.whole.high, z.high);
  const Real excess = fused(square * z.high, paired(square, square * square, kAtanhTerms), y.whole.low);
  return s.high + (s.low + (z.low + excess));
}

// The result y where `size`, which is 0 at one end of the domain and negative beyond, is positive.
ZENTHAR_KERNEL Real inside(Real y, Real size, Mask& rare) {
#ifdef __AVX512F__
  static_cast<void>(rare);
  // By class of `size`, from the lowest digit: NaNs stay, 0 gives inf, negative numbers give a NaN.
  return _mm512_fixupimm_pd(y, size, _mm512_set1_epi64(0x03030522), 0);
#else
  rare = not_less_equal(broadcast(0x1p-1022), size);
  return y;
#endif
}

struct AtanhForm {
  ZENTHAR_KERNEL static HalfLog prepare(Real x) {
    const Real size = magnitude(x), one = broadcast(1.0);
    return prepare_half_log(fast_sum(one, size), fast_sum(one, -size));
  }
  ZENTHAR_KERNEL static Real finish(const HalfLog& half, Real x, Mask& rare) {
    const Real size = magnitude(x), y = inside(half_log(half), 1.0 - size, rare);
    return with_sign(select(less(size, broadcast(kTiny)), size, y), x);
  }
};

struct AcothForm {
  ZENTHAR_KERNEL static HalfLog prepare(Real x) {
    const Real size = magnitude(x), one = broadcast(1.0);
    return prepare_half_log(fast_sum(size, one), fast_sum(size, -one));
  }
  ZENTHAR_KERNEL static Real finish(const HalfLog& half, Real x, Mask& rare) {
    const Real size = magnitude(x), y = inside(half_log(half), size - 1.0, rare);
    return with_sign(select(less(broadcast(kFar), size), 1.0 / size, y), x);
  }
};

// log(a / x) for a from 1 to 2, or near x.
ZENTHAR_KERNEL Real log_of_ratio(Double a, Real x, Mask& rare) {
  const Mask small = less(x, broadcast(0x1p-900));
  const Double ratio = rough_quotient(a, {select(small, x * 0x1p200, x), Real{}});
  return finish_log(log_of(ratio, select(small, broadcast(200.0), Real{})), ratio.high, rare);
}

struct AsechForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Double root = root_of(plus(broadcast(1.0), -square(x)));
    const Real y = log_of_ratio(plus(broadcast(1.0), root), x, rare);
    rare = rare | equal(x, Real{});
    return y;
  }
};

struct AcschForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    const Double p = square(size), s = sum(p.high, broadcast(1.0));
    const Double root = root_of(Double{s.high, s.low + p.low});
    const Real y = log_of_ratio(plus(root, broadcast(1.0)), size, rare);
    rare = rare | equal(x, Real{});
    return with_sign(select(less(broadcast(kFar), size), 1.0 / size, y), x);
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Asinh, AsinhForm, mreal)
ZENTHAR_VECTOR_FORM(Acosh, AcoshForm, mreal)
ZENTHAR_VECTOR_FORM(Atanh, AtanhForm, mreal)
ZENTHAR_VECTOR_FORM(Acsch, AcschForm, mreal)
ZENTHAR_VECTOR_FORM(Asech, AsechForm, mreal)
ZENTHAR_VECTOR_FORM(Acoth, AcothForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
