// Inverse trigonometric functions.
#include "kernels/vector/simd/arc_tangent.h"

namespace zenthar::ZENTHAR_TARGET {
namespace {

// base + part + rest for |part| <= |base| or base = 0, a multiple of pi/2 without its low part.
ZENTHAR_KERNEL Real turned(Real base, Real part, Real rest) {
  const Double whole = fast_sum(base, part);
  return whole.high + (whole.low + fused(base, broadcast(kTurnLowShare), rest));
}

// The arc sine of |x| <= 1/2 with the square z, and where `large` 2 asin(sqrt(z)) for z <= 1/4; the errors of
// x and z are known only to the second form. The low part is less than a tenth of the high one.
ZENTHAR_KERNEL Double arc(Mask large, Real x, Real z) {
  const Real root = square_root(z);
  const Real rest = remainder(z, root, root) * rough_inverse_root(z);
  const Real high = select(large, root + root, x);
  return {high, fused(high, z * estrin(z, kAsinTerms), select(large, rest, Real{}))};
}
ZENTHAR_KERNEL Double arc(Mask large, Double x, Double z) {
  const Real root = square_root(z.high);
  const Real rest = (remainder(z.high, root, root) + z.low) * rough_inverse_root(z.high);
  const Real high = select(large, root + root, x.high);
  const Real low = select(large, rest, fused(x.low, 0.5 * z.high, x.low));
  return {high, fused(high, z.high * estrin(z.high, kAsinTerms), low)};
}

// Arc cosines are pi/2 - arc, and of large arguments arc or, of negative ones, pi - arc.
ZENTHAR_KERNEL Real cosine_arc(Mask large, Mask negative, Double arc, Bits signs) {
  const Real far = select(negative, broadcast(2 * kQuarterTurn), Real{});
  const Real base = select(large, far, broadcast(kQuarterTurn));
  return turned(base, flip_sign(arc.high, signs), flip_sign(arc.low, signs));
}

struct AsinForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const Real size = magnitude(x);
    const Mask large = less(broadcast(0.5), size);
    const Double a = arc(large, size, select(large, 0.5 - 0.5 * size, size * size));
    const Real base = select(large, broadcast(kQuarterTurn), Real{});
    const Bits signs = select(large, broadcast(kSignBit), Bits{});
    return flip_sign(turned(base, flip_sign(a.high, signs), flip_sign(a.low, signs)), sign_of(x));
  }
};

struct AcosForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const Real size = magnitude(x);
    const Mask large = less(broadcast(0.5), size);
    const Double a = arc(large, size, select(large, 0.5 - 0.5 * size, size * size));
    return cosine_arc(large, sign_bit(x), a, sign_of(x) ^ select(large, Bits{}, broadcast(kSignBit)));
  }
};

// 2 asin(sqrt(x)) = acos(1 - 2 x)
struct InverseHaversineForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    // Zeros, and where the square of a root may be subnormal.
    rare = less(magnitude(x), broadcast(0x1p-900));
    const Real cosine = 1.0 - (x + x), size = magnitude(cosine);
    const Mask large = less(broadcast(0.5), size), negative = sign_bit(cosine);
    const Double a = arc(large, size, select(large, select(negative, 1.0 - x, x), size * size));
    return cosine_arc(large, negative, a, sign_of(cosine) ^ select(large, Bits{}, broadcast(kSignBit)));
  }
};

// What the arc sine and the arc cosine of 1/x are made of. With 1/x, 1 - 1/x has an error that shows in its
// root.
struct Inverted {
  Mask large;
  Double arc;
};
ZENTHAR_KERNEL Inverted inverted_arc(Real size) {
  const Mask large = less(size, broadcast(2.0));
  Double inverse;
  inverse.high = 1.0 / size;
  inverse.low = remainder(broadcast(1.0), inverse.high, size) * inverse.high;
  const Real excess = 0.5 * size - 0.5;
  const Real z = select(large, excess, inverse.high) * inverse.high;
  const Double square = {z, remainder(excess, z, size) * inverse.high};
  return {large, arc(large, inverse, square)};
}
ZENTHAR_KERNEL Mask without_inverse(Real size) { return not_less_equal(size, broadcast(0x1p960)); }

struct AcscForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = without_inverse(size);
    const auto [large, a] = inverted_arc(size);
    const Real base = select(large, broadcast(kQuarterTurn), Real{});
    const Bits signs = select(large, broadcast(kSignBit), Bits{});
    return flip_sign(turned(base, flip_sign(a.high, signs), flip_sign(a.low, signs)), sign_of(x));
  }
};

struct AsecForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = without_inverse(size);
    const auto [large, a] = inverted_arc(size);
    return cosine_arc(large, sign_bit(x), a, sign_of(x) ^ select(large, Bits{}, broadcast(kSignBit)));
  }
};

struct AtanForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const Real size = lesser(broadcast(0x1p60), magnitude(x));  // a NaN stays one
    const auto [c, index] = neighbour(size);
    const Real t = (size - c) / fused(c, size, broadcast(1.0));
    const Real y = look_up(kAtanHigh, index) + (t + (look_up(kAtanLow, index) + arc_excess(t)));
    return flip_sign(y, sign_of(x));
  }
};

// acot(x) = atan(1/x): pi/2 - atan(x), and from 8 on by 1/x.
struct AcotForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = not_less_equal(size, broadcast(0x1p960));
    const Mask large = less_equal(broadcast(8.0), size);
    const auto [c, index] = neighbour(size);
    const Real above = select(large, broadcast(1.0), c - size);
    const Real below = select(large, size, fused(c, size, broadcast(1.0)));
    const Real t = above / below;
    const Real low = select(large, remainder(above, t, below) * t, look_up(kAcotLow, index));
    return flip_sign(look_up(kAcotHigh, index) + (t + (low + arc_excess(t))), sign_of(x));
  }
};

struct Atan2Form {
  ZENTHAR_KERNEL static Real compute(Real y, Real x, Mask& rare) { return arc_tangent(y, x, rare); }
};

struct ArgForm {
  ZENTHAR_KERNEL static Real compute(Complex z, Mask& rare) { return arc_tangent(z.im, z.re, rare); }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Asin, AsinForm, mreal)
ZENTHAR_VECTOR_FORM(Acos, AcosForm, mreal)
ZENTHAR_VECTOR_FORM(Atan, AtanForm, mreal)
ZENTHAR_VECTOR_FORM(Atan2, Atan2Form, mreal, mreal)
ZENTHAR_VECTOR_FORM(Arg, ArgForm, mcomplex)
ZENTHAR_VECTOR_FORM(Acsc, AcscForm, mreal)
ZENTHAR_VECTOR_FORM(Asec, AsecForm, mreal)
ZENTHAR_VECTOR_FORM(Acot, AcotForm, mreal)
ZENTHAR_VECTOR_FORM(InverseHaversine, InverseHaversineForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
