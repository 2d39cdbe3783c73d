// Hyperbolic functions, and the logistic function.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/hyperbolic.inc"

namespace {

constexpr ShortTable<16> kExp2InverseRest = shortened(kExp2InverseLow);

// Up to `most` functions still change.
ZENTHAR_KERNEL ExpArgument reduce_magnitude(Real x, mreal most) {
  return reduce_for_exp(lesser(broadcast(most), magnitude(x)));
}

ZENTHAR_KERNEL Nearest twice(Nearest n) { return {n.value + n.value, n.integer << 1}; }

// exp(|x|) + exp(-|x|) and their difference are 2^e times (t + u) cosh(r) + (t - u) sinh(r) and the same with
// the sums exchanged, with t = 2^(index/16), u = 2^(-index/16 - 2 e). The small parts that make the sums
// exact go along.
struct Pair {
  Real t, u, t_low, u_low;
  Real cosh_less_one, square;  // of r
};
ZENTHAR_KERNEL Pair pair_of(const ExpArgument& a) {
  const Real scale = inverse_power_of_two(twice(a.exponent));
  const Real square = a.r.high * a.r.high;
  const Bits place = a.index << 32;
  return {look_up(kExp2High, a.index),
          look_up(kExp2InverseHigh, a.index) * scale,
          look_up(kExp2Rest, place),
          look_up(kExp2InverseRest, place) * scale,
          square * polynomial(square, kCoshTerms[2], kCoshTerms[1], kCoshTerms[0]),
          square};
}
ZENTHAR_KERNEL Real sinh_series(Real square) {
  return polynomial(square, kSinhTerms[2], kSinhTerms[1], kSinhTerms[0]);
}

// 2 sinh|x| / 2^e, and 2 cosh(x) / 2^e; rounding leaves the low parts.
ZENTHAR_KERNEL Double scaled_sinh(const ExpArgument& a) {
  const Pair p = pair_of(a);
  const Double difference = fast_sum(p.t, -p.u), sum = fast_sum(p.t, p.u);
  const Double first = product(sum.high, a.r.high), s = fast_sum(difference.high, first.high);
  const Real sinh_less_r = fused(p.square * a.r.high, sinh_series(p.square), a.r.low);
  const Real low = fused(sum.low + (p.t_low + p.u_low), a.r.high, difference.low + (p.t_low - p.u_low));
  const Real rest = fused(difference.high, p.cosh_less_one, fused(sum.high, sinh_less_r, low + first.low));
  return fast_sum(s.high, s.low + rest);
}
ZENTHAR_KERNEL Double scaled_cosh(const ExpArgument& a) {
  const Pair p = pair_of(a);
  const Double sum = fast_sum(p.t, p.u);
  const Real low = sum.low + (p.t_low + p.u_low);
  const Real sinh = fused(p.square * a.r.high, sinh_series(p.square), a.r.high);
  return fast_sum(sum.high, fused(sum.high, p.cosh_less_one, fused(p.t - p.u, sinh, low)));
}

struct SinhForm {
  ZENTHAR_KERNEL static ExpArgument prepare(Real x) { return reduce_magnitude(x, 715.0); }
  ZENTHAR_KERNEL static Real finish(const ExpArgument& y, Real x, Mask&) {
    return with_sign(scale(scaled_sinh(y).high, y.exponent.value - 1.0), x);
  }
};

// exp|x| is 2^e (t + rest), and cosh(x) half the sum of that and its inverse.
struct CoshForm {
  struct Half {
    Real t, rest;
    Nearest exponent;
  };
  ZENTHAR_KERNEL static Half prepare(Real x) {
    const ExpArgument y = reduce_magnitude(x, 715.0);
    const Real r = y.r.high, square = r * r;
    const Real p = fused(square, paired(r, square, kExpTerms), r);
    const Real t = look_up(kExp2High, y.index);
    return {t, fused(t, p, look_up(kExp2Rest, y.index << 32)), y.exponent};
  }
  ZENTHAR_KERNEL static Real finish(const Half& y, Real, Mask&) {
    const Real inverse = inverse_power_of_two(twice(y.exponent)) / (y.t + y.rest);
    const Double sum = fast_sum(y.t, inverse);
    return scale(sum.high + (sum.low + y.rest), y.exponent.value - 1.0);
  }
};

// Reciprocals near 0 are left to the definition, which has them right, infinities among them.
ZENTHAR_KERNEL Mask is_tiny(Real x) { return less(magnitude(x), broadcast(0x1p-900)); }

struct CschForm {
  ZENTHAR_KERNEL static ExpArgument prepare(Real x) { return reduce_magnitude(x, 750.0); }
  ZENTHAR_KERNEL static Real finish(const ExpArgument& y, Real x, Mask& rare) {
    rare = is_tiny(x);
    return with_sign(scale(reciprocal(scaled_sinh(y)), 1.0 - y.exponent.value), x);
  }
};

struct SechForm {
  ZENTHAR_KERNEL static ExpArgument prepare(Real x) { return reduce_magnitude(x, 750.0); }
  ZENTHAR_KERNEL static Real finish(const ExpArgument& y, Real, Mask&) {
    return scale(reciprocal(scaled_cosh(y)), 1.0 - y.exponent.value);
  }
};

// tanh|x| = (T - w) / (T + w) where exp(2 |x|) is 2^e T and w = 2^-e
struct TanhForm {
  ZENTHAR_KERNEL static ExpParts prepare(Real x) { return exp_parts(reduce_magnitude(x + x, 44.0)); }
  ZENTHAR_KERNEL static Real finish(const ExpParts& y, Real x, Mask&) {
    const Real w = inverse_power_of_two(y.exponent);
    return with_sign(divided(whole(y, fast_sum(y.t, -w)), whole(y, fast_sum(y.t, w))), x);
  }
};

struct CothForm {
  ZENTHAR_KERNEL static ExpParts prepare(Real x) { return exp_parts(reduce_magnitude(x + x, 44.0)); }
  ZENTHAR_KERNEL static Real finish(const ExpParts& y, Real x, Mask& rare) {
    rare = is_tiny(x);
    const Real w = inverse_power_of_two(y.exponent);
    return with_sign(divided(whole(y, fast_sum(y.t, w)), whole(y, fast_sum(y.t, -w))), x);
  }
};

// T / (T + w) on the right, w / (T + w) on the left, where exp|x| is 2^e T and w = 2^-e.
struct LogisticForm {
  ZENTHAR_KERNEL static ExpParts prepare(Real x) { return exp_parts(reduce_magnitude(x, 750.0)); }
  ZENTHAR_KERNEL static Real finish(const ExpParts& y, Real x, Mask&) {
    const Mask left = sign_bit(x);
    const Double numerator = select(left, Double{broadcast(1.0), Real{}}, whole(y));
    const Double sum = whole(y, fast_sum(y.t, inverse_power_of_two(y.exponent)));
    return scale(divided(numerator, sum), select(left, -y.exponent.value, Real{}));
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Sinh, SinhForm, mreal)
ZENTHAR_VECTOR_FORM(Cosh, CoshForm, mreal)
ZENTHAR_VECTOR_FORM(Tanh, TanhForm, mreal)
ZENTHAR_VECTOR_FORM(Csch, CschForm, mreal)
ZENTHAR_VECTOR_FORM(Sech, SechForm, mreal)
ZENTHAR_VECTOR_FORM(Coth, CothForm, mreal)
ZENTHAR_VECTOR_FORM(Logistic, LogisticForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
