// The Gudermannian function and its inverse.
#include "kernels/vector/simd/exp_of_sum.h"
#include "kernels/vector/simd/trigonometric.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/gudermannian.inc"

namespace {

// gd(x) = pi/2 - 2 atan(e^-x), and a polynomial where that would cancel.
struct GudermannianForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const Real size = magnitude(x);
    const Real square = size * size;
    const Real small = fused(size, square * estrin(square, kGudermannianTerms), size);

    // e^-x in two parts, of which the second is 1/40 of the first; the result is pi/2 from 40 on.
    const Power power = exp_of_sum({-lesser(broadcast(40.0), size), Real{}});
    const Real scale = power_of_two(power.exponent.integer);
    const Real high = power.significand.high * scale, low = power.significand.low * scale;
    const Real whole = high + low;

    // Its arc tangent from that of a number c nearby, the middle of a quarter of a binade, and 0 below 1/8.
    const Bits place = bits(greater(broadcast(0x1p-4), whole));
    const Real middle = real((place & (uint64_t(-1) << 50)) | uint64_t(1) << 49);
    const Real c = select(less(whole, broadcast(0.125)), Real{}, middle);
    const Real t = ((high - c) + low) / fused(c, whole, broadcast(1.0));
    const Real t_square = t * t;
    const Real excess = t * (t_square * estrin(t_square, kSmallAtanTerms));
    const Bits entry = (place >> 50) & 15;
    const Real large = look_up(kRestHigh, entry) - 2.0 * (t + (excess - 0.5 * look_up(kRestLow, entry)));
    return flip_sign(select(less(size, broadcast(0.25)), small, large), sign_of(x));
  }
};

// log((1 + |sin x|)/cos x) with the sign of the sine where the cosine is not negative, and a polynomial near
// 0.
struct InverseGudermannianForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = not_less_equal(size, broadcast(kMostReduced));
    const auto [quadrant, rest] = reduce(size);
    const Wave w = wave(rest);
    const Mask turned = bit<0>(quadrant), upper = bit<1>(quadrant), below = sign_bit(rest.high);
    // The cosine is negative in quadrant 2 and in the halves of quadrants 1 and 3 towards it.
    const Mask straight = !turned, towards = !(below ^ upper);
    const Mask outside = (turned & towards) | (straight & upper);
    const Mask negative = (turned & upper) | (straight & below);
    const Real small = fused(rest.high, w.square * estrin(w.square, kInverseTerms),
                             fused(rest.low, 0.5 * w.square, rest.low)) +
                       rest.high;

    const Double s = fast_sum(sine(w)), c = fast_sum(cosine(w));
    const Bits sign = sign_of(s.high);
    const Double size_of_sine = {flip_sign(s.high, sign), flip_sign(s.low, sign)};
    const Double own_sine = select(turned, c, size_of_sine), own_cosine = select(turned, size_of_sine, c);
    const Double above = fast_sum(broadcast(1.0), own_sine.high);
    const Double ratio = quotient({above.high, above.low + own_sine.low}, own_cosine);

    const Real large = log_of(ratio, Real{});
    const Real y = select(turned | not_less(magnitude(rest.high), broadcast(0.25)), large, magnitude(small));
    const Real signed_y = select(negative, -y, y);
    return flip_sign(select(outside, broadcast(__builtin_nan("")), signed_y), sign_of(x));
  }
  static mreal rare(mreal x) { return wide_inversegudermannian(x); }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Gudermannian, GudermannianForm, mreal)
ZENTHAR_VECTOR_FORM(InverseGudermannian, InverseGudermannianForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
