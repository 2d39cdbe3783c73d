// Tolerant equality: two reals are equal when their difference is below a fraction of the larger magnitude
// that is given in bits of the significand. One rule for both precisions, inline, for every family that
// compares.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "zenthar/comparison.h"

namespace zenthar {

template <typename Real>
inline constexpr int kSignificandBits = std::numeric_limits<Real>::digits;

// 2^(t - bits) for a t that is no integer; remembers the last one of the thread.
template <typename Real>
Real fractional_shift_factor(Real t);
extern template double fractional_shift_factor(double);
extern template float fractional_shift_factor(float);

// 2^(t - bits) for 0 < t < bits.
template <typename Real>
inline Real shift_factor(Real t) {
  const auto whole = int32_t(t);
  if (Real(whole) != t) return fractional_shift_factor(t);
  return Real(1) / Real(uint64_t{1} << (kSignificandBits<Real> - whole));
}

// Whether a and b, which are neither the same nor NaN, are equal under tolerance t. A t that is NaN is exact.
//
// Half the larger magnitude is too far for every t below `bits`: that leaves out pairs of two signs, a zero
// and differences that overflowed, and bounds what a fractional t just below `bits` lets pass. For the rest a
// - b is exact, and dividing small differences instead of scaling small magnitudes keeps all bits below 1.
template <typename Real>
inline bool near_distinct(Real t, Real a, Real b) {
  if (!(t > 0)) return false;
  if (t >= Real(kSignificandBits<Real>)) return a != 0 && b != 0 && (a < 0) == (b < 0);
  const Real magnitude_a = std::fabs(a), magnitude_b = std::fabs(b);
  const Real m = magnitude_a > magnitude_b ? magnitude_a : magnitude_b;
  const Real d = std::fabs(a - b);
  if (m >= 1) return d < m / 2 && d < m * shift_factor(t);
  return 2 * d < m && d / shift_factor(t) < m;
}

// A NaN stands above what is not positive and below the rest, and all it can equal, when every bit is
// ignored, is what has its sign: "not below zero".
template <typename Real>
inline int32_t compare_with_nan(Real t, Real a, Real b) {
  if (a == 0 || b == 0 || (a < 0) != (b < 0)) return std::isnan(a) && b <= 0 ? 1 : -1;
  return t >= Real(kSignificandBits<Real>) ? 0 : -1;
}

// The three-way comparison: -1, 0 or 1.
template <typename Real>
inline int32_t compare_reals(Real t, Real a, Real b) {
  if (a == b) return 0;
  if (std::isnan(a) || std::isnan(b)) [[unlikely]]
    return compare_with_nan(t, a, b);
  if (near_distinct(t, a, b)) return 0;
  return a > b ? 1 : -1;
}

template <typename Real>
inline bool near_reals(Real t, Real a, Real b) {
  if (a == b) return true;
  if (std::isnan(a) || std::isnan(b)) [[unlikely]]
    return compare_with_nan(t, a, b) == 0;
  return near_distinct(t, a, b);
}

// Equality of complex values, see near1_reim_mcomplex().
bool near_complexes(mreal t, mcomplex a, mcomplex b);

}  // namespace zenthar
