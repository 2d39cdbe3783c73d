// Inverse hyperbolic functions: logarithms of sums and quotients with twice the bits of a real, since near 1
// what lies behind the last bit of these is all there is to the logarithm.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {
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

struct AsinhForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    const Mask huge = not_less(size, broadcast(kHuge));
    const Double p = square(size), s = sum(p.high, broadcast(1.0));
    const Double a = plus(root_of(Double{s.high, s.low + p.low}), size);
    const Double of = select(huge, Double{size, Real{}}, a);
    const Real y = finish_log(log_of(of, select(huge, broadcast(1.0), Real{})), of.high, rare);
    return with_sign(select(less(size, broadcast(kTiny)), size, y), x);
  }
};

struct AcoshForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Mask huge = not_less(x, broadcast(kHuge));
    const Double a = plus(x, root_of(plus(square(x), broadcast(-1.0))));
    Double of = select(huge, Double{x, Real{}}, a);
    of.high = select(less(x, broadcast(1.0)), broadcast(-1.0), of.high);
    return finish_log(log_of(of, select(huge, broadcast(1.0), Real{})), of.high, rare);
  }
};

// log(x) / 2 for quotients of what is infinite at 1.
ZENTHAR_KERNEL Real half_log(Double x, Real size, Mask& rare) {
  const Real y = 0.5 * finish_log(log_of(x, Real{}), x.high, rare);
  return select(equal(size, broadcast(1.0)), broadcast(__builtin_inf()), y);
}

struct AtanhForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x), one = broadcast(1.0);
    const Real y = half_log(rough_quotient(fast_sum(one, size), fast_sum(one, -size)), size, rare);
    return with_sign(select(less(size, broadcast(kTiny)), size, y), x);
  }
};

struct AcothForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x), one = broadcast(1.0);
    const Real y = half_log(rough_quotient(fast_sum(size, one), fast_sum(size, -one)), size, rare);
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
