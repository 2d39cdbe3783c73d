// Tolerant comparison of reals and complexes, and the representative of a real under a tolerance.
#include "kernels/comparison/tolerance.h"

#include <algorithm>
#include <bit>

namespace zenthar {
namespace {

// The last tolerance that was no integer, and its factor. A pair of the thread's own: other threads cannot
// come between its two words.
template <typename Real>
struct FactorCache {
  Real tolerance;
  Real factor;
};
template <typename Real>
constinit thread_local FactorCache<Real> factor_cache{Real(0), Real(0)};

// Moduli beyond this may be infinite, or those of differences.
constexpr mreal kLargeModulus = 0x1p1021;

bool near_moduli(mreal t, mcomplex a, mcomplex b) {
  mreal m = std::max(std::hypot(a.re, a.im), std::hypot(b.re, b.im));
  mcomplex d = {a.re - b.re, a.im - b.im};
  if (m > kLargeModulus) {
    constexpr mreal kScale = 0x1p-3;
    a = {kScale * a.re, kScale * a.im};
    b = {kScale * b.re, kScale * b.im};
    m = std::max(std::hypot(a.re, a.im), std::hypot(b.re, b.im));
    d = {a.re - b.re, a.im - b.im};
  }
  const mreal distance = std::hypot(d.re, d.im), factor = ToleranceShiftFactor(t);
  return m >= 1 ? distance < m * factor : distance / factor < m;
}

}  // namespace

template <typename Real>
Real fractional_shift_factor(Real t) {
  auto& cache = factor_cache<Real>;
  if (cache.tolerance != t) {
    const auto whole = int32_t(t);
    cache = {t, std::ldexp(std::exp2(t - Real(whole)), whole - kSignificandBits<Real>)};
  }
  return cache.factor;
}
template double fractional_shift_factor(double);
template float fractional_shift_factor(float);

bool near_complexes(mreal t, mcomplex a, mcomplex b) {
  if (a.re == b.re && a.im == b.im) return true;
  if (!(t > 0)) return false;
  return (near_reals(t, a.re, b.re) && near_reals(t, a.im, b.im)) || near_moduli(t, a, b);
}

}  // namespace zenthar

int32_t compare_double(mreal tolerance, mreal a, mreal b) { return zenthar::compare_reals(tolerance, a, b); }

int32_t compare_float(float tolerance, float a, float b) { return zenthar::compare_reals(tolerance, a, b); }

mbool near1_double(mreal tolerance, mreal a, mreal b) { return zenthar::near_reals(tolerance, a, b); }

mbool near1_float(float tolerance, float a, float b) { return zenthar::near_reals(tolerance, a, b); }

mbool near1_reim_mcomplex(mreal tolerance, mreal a_re, mreal a_im, mreal b_re, mreal b_im) {
  return zenthar::near_complexes(tolerance, {a_re, a_im}, {b_re, b_im});
}

mreal ToleranceShiftFactor(mreal tolerance) {
  if (!(tolerance > 0)) return 0x1p-53;
  return tolerance >= 53 ? 1.0 : zenthar::shift_factor(tolerance);
}

// The leading 53 - k bits of a normal number are all but its k lowest; a subnormal one has its leading bit
// lower.
mreal er_mreal(mreal tolerance, mreal x) {
  if (!(tolerance > 0 && tolerance < 53) || !std::isfinite(x)) return x;
  constexpr uint64_t kMagnitude = ~(uint64_t{1} << 63), kSmallestNormal = uint64_t{1} << 52;
  const auto bits = std::bit_cast<uint64_t>(x);
  int32_t dropped = int32_t(tolerance);
  const uint64_t magnitude = bits & kMagnitude;
  if (magnitude < kSmallestNormal) dropped = std::max(dropped - (53 - int32_t(std::bit_width(magnitude))), 0);
  return std::bit_cast<mreal>(bits >> dropped << dropped);
}

int32_t equivalence_compare_double(mreal tolerance, mreal a, mreal b) {
  return zenthar::compare_reals(0.0, er_mreal(tolerance, a), er_mreal(tolerance, b));
}
