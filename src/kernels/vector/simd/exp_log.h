// Exponentials and logarithms with more bits than a real has, for the functions that are made of them.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_EXP_LOG_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_EXP_LOG_H

#include "kernels/vector/simd/loop.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/vector/simd/coefficients/exponential.inc"
#include "kernels/vector/simd/coefficients/logarithm.inc"

// x = n log(2)/16 + r with |r.high| <= log(2)/32, for |x| < 2^15, and n = 16 exponent + index (P. T. P. Tang,
// Table-driven implementation of the exponential function in IEEE floating-point arithmetic, ACM TOMS 15,
// 1989).
struct ExpArgument {
  Double r;
  Bits index;
  Nearest exponent;
};

// `low` is what is to be added to x, if anything.
struct NoLow {};
template <class Rest = NoLow>
ZENTHAR_KERNEL ExpArgument reduce_for_exp(Real x, Rest low = {}) {
  const Nearest n = nearest(x * kExpScale);
  const Real first = fused(n.value, -kExpStepHigh, x);  // exact
  Double r;
  r.high = fused(n.value, -kExpStepLow, first);
  r.low = fused(n.value, -kExpStepLow, first - r.high);
  if constexpr (!std::is_same_v<Rest, NoLow>) r = fast_sum(r.high, r.low + low);
  return {r, n.integer & 15, nearest(fused(n.value, 0.0625, -0.46875))};
}

// exp(x + low) with one rounding that counts, for |x| <= 708, with AVX-512 |x| < 2^15.
template <class Rest = NoLow>
ZENTHAR_KERNEL Real exp_rounded(Real x, Rest low = {}) {
  const Nearest n = nearest(x * kExpScale);
  Real r = fused(n.value, -kExpStepLow, fused(n.value, -kExpStepHigh, x));
  if constexpr (!std::is_same_v<Rest, NoLow>) r += low;
  const Real p = fused(r * r, estrin(r, kExpTerms), r);
  const Bits index = n.integer & 15;
  const Real t = look_up(kExp2High, index);
  const Real y = t + fused(t, p, look_up(kExp2Low, index));
#ifdef __AVX512F__
  return _mm512_maskz_scalef_pd(kAllLanes, y, n.value * 0.0625);  // rounds the exponent down
#else
  // The integer's upper bits are added to the exponent.
  return real(bits(y) + ((n.integer - index) << 48));
#endif
}

// exp(x) = 2^exponent (t + rest) to about 2^-64 of itself, with t one of 16 powers of two from 1 to 2 and
// |rest| < t log(2)/31. exp(0) and its neighbours have t = 1 and exponent 0.
struct ExpParts {
  Real t;
  Double rest;
  Nearest exponent;
};

// Where the result is rounded at once, rest.low may stay as large as 2^-12; elsewhere it is a rounding error.
enum class Low { kRoundingError, kLarge };
template <Low kLow = Low::kRoundingError>
ZENTHAR_KERNEL ExpParts exp_parts(const ExpArgument& a) {
  const Double r = a.r;
  Double excess = {r.high, fused(r.high * r.high, estrin(r.high, kExpTerms), r.low)};  // exp(r) - 1
  if constexpr (kLow == Low::kRoundingError) excess = fast_sum(excess.high, excess.low);
  const Real t = look_up(kExp2High, a.index), t_low = look_up(kExp2Low, a.index);
  const Double p = product(t, excess.high);
  return {t, {p.high, fused(t, excess.low, fused(t_low, excess.high, p.low)) + t_low}, a.exponent};
}

// t + rest + c
ZENTHAR_KERNEL Double whole(const ExpParts& y) {
  const Double s = fast_sum(y.t, y.rest.high);
  return {s.high, s.low + y.rest.low};
}
ZENTHAR_KERNEL Double whole(const ExpParts& y, Double t_and_c) {
  const Double s = fast_sum(t_and_c.high, y.rest.high);
  return {s.high, s.low + (t_and_c.low + y.rest.low)};
}

// exp(x) to about 2^-63 of itself for |x.high| <= 708.
ZENTHAR_KERNEL Double exp_double(Double x) {
  const ExpParts y = exp_parts(reduce_for_exp(x.high, x.low));
  const Double t = whole(y);
  return {scale_normal(t.high, y.exponent), scale_normal(t.low, y.exponent)};
}

// x = 2^exponent significand with a significand from 1 to 2, for a positive number x, which on targets below
// AVX-512 must be no subnormal.
struct Parts {
  Real exponent, significand;
};
ZENTHAR_KERNEL Parts parts_of(Real x) {
#ifdef __AVX512F__
  return {_mm512_maskz_getexp_pd(kAllLanes, x),
          _mm512_maskz_getmant_pd(kAllLanes, x, _MM_MANT_NORM_1_2, _MM_MANT_SIGN_zero)};
#else
  constexpr uint64_t kFraction = (uint64_t(1) << 52) - 1, kOne = uint64_t(1023) << 52;
  return {to_real(bits(x) >> 52) - 1023.0, real((bits(x) & kFraction) | kOne)};
#endif
}

// The logarithm y of x put right where x is not a positive number. On targets below AVX-512 these, and
// subnormal x, become rare instead.
ZENTHAR_KERNEL Real finish_log(Real y, Real x, Mask& rare) {
#ifdef __AVX512F__
  // By class of x, from the lowest digit: NaNs stay, 0 gives -inf, 1 the result, -inf gives a NaN, inf stays,
  // negative numbers give a NaN, positive ones the result.
  static_cast<void>(rare);
  return _mm512_fixupimm_pd(y, x, _mm512_set1_epi64(0x03530422), 0);
#else
  rare = rare | not_less_equal(broadcast(0x1p-1022), x) | not_less_equal(x, broadcast(kLargest));
  return y;
#endif
}

// Tables and series of a logarithm: its value for 2, and the inverse of its base's natural logarithm, both in
// two parts.
struct Natural {
  static constexpr bool kIsNatural = true;
  static constexpr const mreal (&kHigh)[16] = kLogHigh;
  static constexpr const mreal (&kLow)[16] = kLogLow;
  static constexpr const mreal (&kTerms)[10] = kLogTerms;
  static constexpr mreal kOfTwoHigh = kLogOfTwoHigh, kOfTwoLow = kLogOfTwoLow;
};
struct Binary {
  static constexpr bool kIsNatural = false;
  static constexpr const mreal (&kHigh)[16] = kLog2High;
  static constexpr const mreal (&kLow)[16] = kLog2Low;
  static constexpr const mreal (&kTerms)[10] = kLog2Terms;
  static constexpr mreal kOfTwoHigh = kLog2OfTwoHigh, kOfTwoLow = kLog2OfTwoLow;
  static constexpr mreal kUnitHigh = kLog2UnitHigh, kUnitLow = kLog2UnitLow;
};
struct Decimal {
  static constexpr bool kIsNatural = false;
  static constexpr const mreal (&kHigh)[16] = kLog10High;
  static constexpr const mreal (&kLow)[16] = kLog10Low;
  static constexpr const mreal (&kTerms)[10] = kLog10Terms;
  static constexpr mreal kOfTwoHigh = kLog10OfTwoHigh, kOfTwoLow = kLog10OfTwoLow;
  static constexpr mreal kUnitHigh = kLog10UnitHigh, kUnitLow = kLog10UnitLow;
};

// m c - 1, exactly: c has so few bits, and is so near 1/m.
ZENTHAR_KERNEL Real excess(Real m, Real c) {
  if constexpr (kFused) {
    return fused(m, c, -1.0 + Real{});
  } else {
    const Real high = real(bits(m) & ~((uint64_t(1) << 27) - 1));
    return (high * c - 1.0) + (m - high) * c;
  }
}

// The logarithm of 2^exponent m for 1 <= m < 2: with c near 1/m, the logarithms of the power of two and of
// 1/c, and the series of log(1 + r) for r = m c - 1 (P. T. P. Tang, Table-driven implementation of the
// logarithm function in IEEE floating-point arithmetic, ACM TOMS 16, 1990). `low` is what
// is to be added to m, if anything.
template <class Base, class Rest = NoLow>
ZENTHAR_KERNEL Real log_of_parts(Real exponent, Real m, Rest low = {}) {
  const Bits index = (bits(m) >> 48) & 15;
  const Real c = look_up(kLogCentres, index);
  const Real r = excess(m, c);
  const Real high = fused(exponent, Base::kOfTwoHigh, look_up(Base::kHigh, index));  // exact
  const Real rest = fused(exponent, Base::kOfTwoLow, look_up(Base::kLow, index));
  if constexpr (std::is_same_v<Rest, NoLow>) {
    const Real tail = fused(r * r, estrin(r, Base::kTerms), rest);
    if constexpr (Base::kIsNatural) {
      const Double s = fast_sum(high, r);
      return s.high + (s.low + tail);
    } else {
      const Double p = product(r, broadcast(Base::kUnitHigh));
      const Double s = fast_sum(high, p.high);
      return s.high + (s.low + fused(r, Base::kUnitLow, p.low + tail));
    }
  } else {
    static_assert(Base::kIsNatural);
    const Real r_low = low * c, whole = r + r_low;
    const Double s = fast_sum(high, r);
    return s.high + (s.low + (r_low + fused(whole * whole, estrin(whole, Base::kTerms), rest)));
  }
}

template <class Base>
ZENTHAR_KERNEL Real log_of(Real x) {
  const Parts parts = parts_of(x);
  return log_of_parts<Base>(parts.exponent, parts.significand);
}

// log(2^e x), for a number x whose low part counts where the logarithm is near 0.
ZENTHAR_KERNEL Real log_of(Double x, Real e) {
  const Parts parts = parts_of(x.high);
#ifdef __AVX512F__
  const Real low = _mm512_maskz_scalef_pd(kAllLanes, x.low, -parts.exponent);
#else
  // The significand's own power of two, inverted: exponents of x.high are far from the ends where x.low
  // counts.
  const Real inverse = real((uint64_t(2046) << 52) - (bits(x.high) & (uint64_t(0x7ff) << 52)));
  const Real low = x.low * inverse;
#endif
  return log_of_parts<Natural>(parts.exponent + e, parts.significand, low);
}

// log(2^(1023 - bias) x) to about 2^-65 of itself for a normal x; the low part may be as large as 2^-16.
ZENTHAR_KERNEL Double log_loose(Real x, Real bias) {
  constexpr uint64_t kHalf = uint64_t(1) << 46, kExponents = uint64_t(0x7ff) << 52;
  const Bits z = bits(x) + kHalf;  // to the nearest of 32 steps of a power of two
  const Real e = to_real(z >> 52) - bias;
  const Real m = real(bits(x) - (z & kExponents) + (uint64_t(1023) << 52));
  const Bits index = (z >> 47) & 31;
  const Real r = excess(m, look_up(kFineCentres, index));
  const Real high = fused(e, kFineLogOfTwoHigh, look_up(kFineLogHigh, index));  // exact
  const Real rest = fused(e, kFineLogOfTwoLow, look_up(kFineLogLow, index));
  const Double s = fast_sum(high, r);
  const Double square = product(r, r * -0.5);
  const Double t = fast_sum(s.high, square.high);
  const Real tail = fused(r * (r * r), estrin(r, kFineLogTerms), rest + square.low);
  return {t.high, t.low + (s.low + tail)};
}

// log(x) to about 2^-65 of itself for a positive number x.
ZENTHAR_KERNEL Double log_double(Real x) {
  const Mask small = less(x, broadcast(0x1p-1022));
  return fast_sum(
      log_loose(select(small, x * 0x1p54, x), select(small, broadcast(1023.0 + 54.0), broadcast(1023.0))));
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
