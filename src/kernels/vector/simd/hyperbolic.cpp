// Hyperbolic functions, and the logistic function. All are made of exp(|x|) = 2^e T and of w = 2^-e, in sums
// that keep their digits: T - w is the scaled exp(|x|) - 1.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {
namespace {

// Up to `most` functions still change.
ZENTHAR_KERNEL ExpParts exp_of_magnitude(Real x, mreal most) {
  return exp_parts(lesser(broadcast(most), magnitude(x)));
}

// 2 sinh|x| = 2^e (T - w) (1 + w / T)
ZENTHAR_KERNEL Double scaled_sinh(const ExpParts& y) {
  const Real w = inverse_power_of_two(y.exponent);
  const Double less = whole(y, fast_sum(y.t, -w)), t = whole(y);
  const Real r = rough_reciprocal(t.high), q = less.high * r;
  const Double back = product(q, t.high);
  const Real rest = ((less.high - back.high) - back.low) + fused_from(q, t.low, less.low);
  const Double s = fast_sum(less.high, w * q);
  return {s.high, s.low + fused(w, r * rest, less.low)};
}

// 2 cosh(x) = 2^e (T + w^2 / T)
ZENTHAR_KERNEL Double scaled_cosh(const ExpParts& y) {
  const Real w = inverse_power_of_two(y.exponent), square = w * w;
  const Double t = whole(y);
  const Real r = rough_reciprocal(t.high);
  const Double back = product(r, t.high);
  const Real rest = ((1.0 - back.high) - back.low) - r * t.low;
  const Double s = fast_sum(t.high, square * r);
  return {s.high, s.low + fused(square, r * rest, t.low)};
}

struct SinhForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const ExpParts y = exp_of_magnitude(x, 715.0);
    const Double s = scaled_sinh(y);
    return with_sign(scale(s.high + s.low, y.exponent.value - 1.0), x);
  }
};

struct CoshForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const ExpParts y = exp_of_magnitude(x, 715.0);
    const Double s = scaled_cosh(y);
    return scale(s.high + s.low, y.exponent.value - 1.0);
  }
};

// Reciprocals near 0 are left to the definition, which has them right, infinities among them.
ZENTHAR_KERNEL Mask is_tiny(Real x) { return less(magnitude(x), broadcast(0x1p-900)); }

struct CschForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    rare = is_tiny(x);
    const ExpParts y = exp_of_magnitude(x, 750.0);
    return with_sign(scale(reciprocal(scaled_sinh(y)), 1.0 - y.exponent.value), x);
  }
};

struct SechForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const ExpParts y = exp_of_magnitude(x, 750.0);
    return scale(reciprocal(scaled_cosh(y)), 1.0 - y.exponent.value);
  }
};

// tanh|x| = (T - w) / (T + w) of 2 |x|
struct TanhForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const ExpParts y = exp_of_magnitude(x + x, 44.0);
    const Real w = inverse_power_of_two(y.exponent);
    return with_sign(divided(whole(y, fast_sum(y.t, -w)), whole(y, fast_sum(y.t, w))), x);
  }
};

struct CothForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    rare = is_tiny(x);
    const ExpParts y = exp_of_magnitude(x + x, 44.0);
    const Real w = inverse_power_of_two(y.exponent);
    return with_sign(divided(whole(y, fast_sum(y.t, w)), whole(y, fast_sum(y.t, -w))), x);
  }
};

// T / (T + w) on the right, 2^-e / (T + w) on the left.
struct LogisticForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const ExpParts y = exp_of_magnitude(x, 750.0);
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
