// Arc tangents, for the functions that are made of them.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_ARC_TANGENT_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_ARC_TANGENT_H

#include "kernels/vector/simd/loop.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/vector/simd/coefficients/inverse_trigonometric.inc"

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

// The arc tangent of y/x in its quadrant. Of the two magnitudes the larger divides; the axes' arcs come in
// after that.
ZENTHAR_KERNEL Real arc_tangent(Real y, Real x, Mask& rare) {
  constexpr mreal kLeast = 0x1p-500, kMost = 0x1p500;
  const Real width = magnitude(x), height = magnitude(y);
  const Mask steep = less(width, height);
  const Real a = select(steep, width, height), b = select(steep, height, width);
  rare = not_less_equal(b, broadcast(kMost)) | less(b, broadcast(kLeast)) |
         (not_less(a, broadcast(kLeast)) ^ !equal(a, Real{}));
  const auto [c, index] = neighbour(rough_quotient(a, b));
  const Real above = remainder(a, c, b), below = fused(c, a, b);
  const Real r = 1.0 / below, t = above * r;
  const Real low = fused(remainder(above, t, below), r, look_up(kAtanLow, index) + arc_excess(t));
  // |y|/|x| is the tangent of what lies between the nearest axis and the vector.
  const Real axis =
      select(steep, broadcast(kQuarterTurn), select(sign_bit(x), broadcast(2 * kQuarterTurn), Real{}));
  const Bits signs = sign_of(x) ^ select(steep, broadcast(kSignBit), Bits{});
  const Double whole = fast_sum(axis, flip_sign(look_up(kAtanHigh, index), signs));
  const Real rest =
      flip_sign(t, signs) + (whole.low + fused(axis, broadcast(kTurnLowShare), flip_sign(low, signs)));
  return flip_sign(whole.high + rest, sign_of(y));
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
