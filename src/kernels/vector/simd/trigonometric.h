// What trigonometric functions share: angles reduced by multiples of pi/2, and the sine and cosine of what
// is left.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_TRIGONOMETRIC_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_TRIGONOMETRIC_H

#include "kernels/vector/simd/loop.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/trigonometric.inc"

// The largest magnitude that reduce() takes.
inline constexpr mreal kMostReduced = kFused ? 0x1p45 : 0x1p30;

// n pi/2 + rest, with |rest| < 0.79. Of the quadrant n, in two's complement, the low 51 bits are right.
struct Angle {
  Bits quadrant;
  Double rest;
};

// The rest, which is never less than 2^-62, has an error of less than 2^-104 of it or 2^-117.
// W. J. Cody and W. Waite, Software Manual for the Elementary Functions, 1980.
ZENTHAR_KERNEL Angle reduce(Real x) {
  const Real rounded = fused(x, kTwoOverPi, kRounder);
  const Real n = rounded - kRounder;
  Double rest;
  if constexpr (kFused) {
    const Real first = fused_from(n, broadcast(kHalfPi[0]), x);  // exact: a multiple of 2^-53 below 1
    const Double second = product(n, broadcast(kHalfPi[1]));
    rest.high = first - second.high;
    rest.low = fused_from(n, broadcast(kHalfPi[2]), ((first - rest.high) - second.high) - second.low);
  } else {
    // One of the differences alone is not exact, while they are large.
    rest = {x - n * kHalfPiShort[0], Real{}};
    for (int k = 1; k < 4; ++k) {
      const Real part = n * kHalfPiShort[k], less = rest.high - part;
      rest.low += (rest.high - less) - part;
      rest.high = less;
    }
    rest = fast_sum(rest.high, rest.low - n * kHalfPiShort[4]);
  }
  return {bits(rounded), rest};
}

// What sine and cosine of a rest are made of. Each is a sum whose second part is less than an eighth of the
// first, with an error of less than 2^-54 of the sum.
struct Wave {
  Double rest;
  Real square;        // of the rest
  Double complement;  // 1 - square/2
};

ZENTHAR_KERNEL Wave wave(Double rest) {
  const Real half = 0.5 * rest.high;
  Double complement;
  if constexpr (kFused) {
    complement.high = fused_from(half, rest.high, broadcast(1.0));
    complement.low = fused_from(half, rest.high, 1.0 - complement.high);
  } else {
    const Double p = product(half, rest.high);
    complement.high = 1.0 - p.high;
    complement.low = ((1.0 - complement.high) - p.high) - p.low;
  }
  return {rest, rest.high * rest.high, complement};
}

// With other coefficients functions of the same form.
template <int n = 6>
ZENTHAR_KERNEL Double sine(const Wave& w, const mreal (&coefficients)[n] = kSinTerms) {
  const Real terms = w.square * estrin(w.square, coefficients);
  return {w.rest.high, fused(w.rest.high, terms, w.rest.low * w.complement.high)};
}
template <int n = 6>
ZENTHAR_KERNEL Double cosine(const Wave& w, const mreal (&coefficients)[n] = kCosTerms) {
  const Real terms = w.square * estrin(w.square, coefficients);
  return {w.complement.high, fused(w.square, terms, fused_from(w.rest.high, w.rest.low, w.complement.low))};
}

// Of each lane the one or the other, for little more than the price of one.
template <int n>
ZENTHAR_KERNEL Real blended(Mask where, Real x, const mreal (&a)[n], const mreal (&b)[n]) {
  Real sum = select(where, broadcast(a[n - 1]), broadcast(b[n - 1]));
  for (int k = n - 2; k >= 0; --k) sum = fused(sum, x, select(where, broadcast(a[k]), broadcast(b[k])));
  return sum;
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
