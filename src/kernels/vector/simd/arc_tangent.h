// Arc tangents, for the functions that are made of them.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_ARC_TANGENT_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_ARC_TANGENT_H

#include "kernels/vector/simd/loop.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/inverse_trigonometric.inc"

// Arc tangents are taken from the one of a number c nearby: atan(v) = atan(c) + atan((v - c)/(1 + c v)),
// where c is the middle of half a binade, and 0 below 1/8.
struct Neighbour {
  Real value;
  Bits index;  // in the tables
};
ZENTHAR_KERNEL Neighbour neighbour(Real size) {
  const Bits place = bits(lesser(broadcast(8.0), greater(broadcast(0x1p-4), size)));
  const Real middle = real((place & (uint64_t(-1) << 51)) | uint64_t(1) << 50);
  return {select(less(size, broadcast(0.125)), Real{}, middle), (place >> 51) & 15};
}

// atan(t) - t
ZENTHAR_KERNEL Real arc_excess(Real t) {
  const Real square = t * t;
  return t * (square * estrin(square, kAtanTerms));
}

// The arc tangent of y/x in its quadrant. Of the two magnitudes the larger divides: with the quotient's
// nearest eighth c, atan(a/b) = atan(c) + atan((a - c b)/(b + c a)). That is the angle from the nearest axis,
// which is added to it or taken from it.
ZENTHAR_KERNEL Real arc_tangent(Real y, Real x, Mask& rare) {
  const Real width = magnitude(x), height = magnitude(y);
  const Mask steep = less(width, height);
  const Real a = select(steep, width, height), b = select(steep, height, width);
  // Left out are a below 2^-500 but zeros, and b that is not between 2^-500 and 2^500.
  constexpr uint64_t kLeast = __builtin_bit_cast(uint64_t, 0x1p-500),
                     kMost = __builtin_bit_cast(uint64_t, 0x1p500);
  rare = below(bits(a) - 1, kLeast - 1) | !below(bits(b) - kLeast, kMost - kLeast);

  constexpr mreal kToEighths = 0x1.8p49;
  const Real shifted = lesser(rough_quotient(a, b) + kToEighths, broadcast(kToEighths + 0.875));
  const Real c = shifted - kToEighths;
  const Bits index = bits(shifted) & 7;
  const Real above = remainder(a, c, b), share = c * a, divisor = b + share;
  const Real r = 1.0 / divisor, t = above * r, square = t * t;
  const Real t_rest = fused_from(t, share, remainder(above, t, b));

  // The axis has the sign that lets the arc be added; whether the result then has the wrong one is told by
  // x and, where the arc counts from the vertical axis, by the opposite.
  const Bits turned = select(steep, broadcast(kSignBit), Bits{}) ^ bits(x);
  const Real axis = select(steep, with_sign(broadcast(kQuarterTurn), real(turned)),
                           select(sign_bit(x), broadcast(-2 * kQuarterTurn), Real{}));
  const Double whole = fast_sum(axis, look_up(kAtanOfEighthHigh, index));
  const Real table_low = fused(axis, broadcast(kTurnLowShare), look_up(kAtanOfEighthLow, index));
  const Real low = fused(t_rest, r, whole.low + table_low);
  const Real rest = t + fused(t * square, estrin(square, kAtanShortTerms), low);
  return flip_sign(whole.high + rest, (turned ^ bits(y)) & kSignBit);
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
