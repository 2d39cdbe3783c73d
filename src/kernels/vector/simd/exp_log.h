// Exponentials and logarithms with more bits than a real has, for the functions that are made of them.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_EXP_LOG_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_EXP_LOG_H

#include "kernels/vector/simd/loop.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/exponential.inc"
#include "kernels/coefficients/logarithm.inc"

inline constexpr auto kExp2Rest = shortened(kExp2Low);

// x = n log(2)/16 + r with |r.high| <= log(2)/32, for |x| < 2^15, and n = 16 exponent + index (P. T. P. Tang,
// Table-driven implementation of the exponential function in IEEE floating-point arithmetic, ACM TOMS 15,
// 1989).
struct ExpArgument {
  Double r;
  Bits index;
  Nearest exponent;
};

// The exponent of n = 16 exponent + index.
ZENTHAR_KERNEL Nearest exponent_of(Nearest n) {
#ifdef __AVX512F__
  return {_mm512_maskz_roundscale_pd(kAllLanes, n.value * 0.0625, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC),
          n.integer >> 4};
#else
  return nearest(fused(n.value, 0.0625, -0.46875));
#endif
}

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
  return {r, n.integer & 15, exponent_of(n)};
}

// exp(x + low) = 2^(n/16 rounded down) significand for |x| < 2^15, with one rounding that counts.
struct ExpSignificand {
  Real significand;
  Nearest n;

  // Where the exponential is no subnormal, and finite.
  ZENTHAR_KERNEL Real normal() const {
    // The upper bits of n are added to the exponent.
    return real(bits(significand) + ((n.integer & ~uint64_t(15)) << 48));
  }
};
template <class Rest = NoLow>
ZENTHAR_KERNEL ExpSignificand exp_significand(Real x, Rest low = {}) {
  const Nearest n = nearest(x * kExpScale);
  Real r = fused(n.value, -kExpStepLow, fused(n.value, -kExpStepHigh, x));
  if constexpr (!std::is_same_v<Rest, NoLow>) r += low;
  const Real square = r * r;
  const Real p = fused(square, paired(r, square, kExpTerms), r);
  const Real t = look_up(kExp2High, n.integer & 15);
  return {t + fused(t, p, look_up(kExp2Rest, n.integer << 32)), n};
}

// exp(x) likewise, for |x| <= 708, with AVX-512 |x| < 2^15.
ZENTHAR_KERNEL Real exp_rounded(Real x) {
  const ExpSignificand y = exp_significand(x);
#ifdef __AVX512F__
  return _mm512_maskz_scalef_pd(kAllLanes, y.significand, y.n.value * 0.0625);  // rounds the exponent down
#else
  return y.normal();
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
  const Real square = r.high * r.high;
  Double excess = {r.high, fused(square, paired(r.high, square, kExpTerms), r.low)};  // exp(r) - 1
  if constexpr (kLow == Low::kRoundingError) excess = fast_sum(excess.high, excess.low);
  const Real t = look_up(kExp2High, a.index), t_low = look_up(kExp2Rest, a.index << 32);
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

// x = 2^exponent significand with a significand from 3/4 to 3/2, for a positive number x, which on targets
// below AVX-512 must be no subnormal.
struct Parts {
  Real exponent, significand;

  ZENTHAR_KERNEL explicit Parts(Real x) {
#ifdef __AVX512F__
    significand = _mm512_maskz_getmant_pd(kAllLanes, x, _MM_MANT_NORM_p75_1p5, _MM_MANT_SIGN_zero);
    exponent = _mm512_maskz_getexp_pd(kAllLanes, x) - Real(_mm512_maskz_getexp_pd(kAllLanes, significand));
#else
    biased = bits(x) + (kOne - bits(broadcast(0.75)));
    exponent = to_real(biased >> 52) - 1023.0;
    significand = real(bits(x) + (kOne - (biased & kExponents)));
#endif
  }

  // 2^-exponent y, for exponents that are far from the ends where that counts.
  ZENTHAR_KERNEL Real scaled(Real y) const {
#ifdef __AVX512F__
    return _mm512_maskz_scalef_pd(kAllLanes, y, -exponent);
#else
    return y * real((kOne << 1) + (uint64_t(1) << 52) - (biased & kExponents)) * 0.5;
#endif
  }

 private:
#ifndef __AVX512F__
  static constexpr uint64_t kOne = uint64_t(1023) << 52, kExponents = uint64_t(0x7ff) << 52;
  Bits biased;
#endif
};

// The logarithm y of x put right where x is not a positive number. On targets below AVX-512 these, subnormal
// x and x beyond `most` become rare instead.
ZENTHAR_KERNEL Real finish_log(Real y, Real x, Mask& rare, mreal most = kLargest) {
#ifdef __AVX512F__
  // By class of x, from the lowest digit: NaNs stay, 0 gives -inf, 1 the result, -inf gives a NaN, inf stays,
  // negative numbers give a NaN, positive ones the result.
  static_cast<void>(rare);
  static_cast<void>(most);
  return _mm512_fixupimm_pd(y, x, _mm512_set1_epi64(0x03530422), 0);
#else
  rare = rare | not_less_equal(broadcast(0x1p-1022), x) | not_less_equal(x, broadcast(most));
  return y;
#endif
}

inline constexpr auto kCentres = shortened(kLogCentres);

// Tables and series of a logarithm: its value for 2, and the inverse of its base's natural logarithm, both in
// two parts.
struct Natural {
  static constexpr bool kIsNatural = true;
  static constexpr ShortTable<16> kHigh = shortened(kLogHigh);
  static constexpr const mreal (&kLow)[16] = kLogLow;
  static constexpr const mreal (&kTerms)[10] = kLogTerms;
  static constexpr mreal kOfTwoHigh = kLogOfTwoHigh, kOfTwoLow = kLogOfTwoLow;
};
struct Binary {
  static constexpr bool kIsNatural = false;
  static constexpr ShortTable<16> kHigh = shortened(kLog2High);
  static constexpr const mreal (&kLow)[16] = kLog2Low;
  static constexpr const mreal (&kTerms)[10] = kLog2Terms;
  static constexpr mreal kOfTwoHigh = kLog2OfTwoHigh, kOfTwoLow = kLog2OfTwoLow;
  static constexpr mreal kUnitHigh = kLog2UnitHigh, kUnitLow = kLog2UnitLow;
};
struct Decimal {
  static constexpr bool kIsNatural = false;
  static constexpr ShortTable<16> kHigh = shortened(kLog10High);
  static constexpr const mreal (&kLow)[16] = kLog10Low;
  static constexpr const mreal (&kTerms)[10] = kLog10Terms;
  static constexpr mreal kOfTwoHigh = kLog10OfTwoHigh, kOfTwoLow = kLog10OfTwoLow;
  static constexpr mreal kUnitHigh = kLog10UnitHigh, kUnitLow = kLog10UnitLow;
};

// Where the first bits of a significand's fraction number the element of a table.
ZENTHAR_KERNEL Bits place_of(Real significand) { return bits(significand) >> 16; }

// exponent log(2) - log(c) in two parts, the first of them exact, for the c that is numbered so.
template <class Base>
ZENTHAR_KERNEL Double whole_log(Real exponent, Real significand) {
  const Real high = look_up(Base::kHigh, place_of(significand));
  const Real low = look_up(Base::kLow, (bits(significand) >> 48) & 15);
  if constexpr (Base::kOfTwoHigh == 1.0) {
    return {exponent + high, low};
  } else {
    return {fused(exponent, Base::kOfTwoHigh, high), fused(exponent, Base::kOfTwoLow, low)};
  }
}

// m c - 1, exactly: c has so few bits, and is so near 1/m.
ZENTHAR_KERNEL Real excess(Real m, Real c) {
  if constexpr (kFused) {
    return fused(m, c, -1.0 + Real{});
  } else {
    const Real high = real(bits(m) & ~((uint64_t(1) << 27) - 1));
    return (high * c - 1.0) + (m - high) * c;
  }
}

// The logarithm of a positive number x = 2^e m: with c near 1/m, the logarithms of the power of two and of
// 1/c, and the series of log(1 + r) for r = m c - 1 (P. T. P. Tang, Table-driven implementation of the
// logarithm function in IEEE floating-point arithmetic, ACM TOMS 16, 1990).
template <class Base>
ZENTHAR_KERNEL Real log_of(Real x) {
  const Parts parts(x);
  const Real r = excess(parts.significand, look_up(kCentres, place_of(parts.significand)));
  const Double whole = whole_log<Base>(parts.exponent, parts.significand);
  const Real square = r * r;
  const Real tail = fused(square, paired(r, square, Base::kTerms), whole.low);
  if constexpr (Base::kIsNatural) {
    const Double s = fast_sum(whole.high, r);
    return s.high + (s.low + tail);
  } else {
    const Double p = product(r, broadcast(Base::kUnitHigh));
    const Double s = fast_sum(whole.high, p.high);
    return s.high + (s.low + fused(r, Base::kUnitLow, p.low + tail));
  }
}

// log(2^e x), for a number x whose low part counts where the logarithm is near 0.
ZENTHAR_KERNEL Real log_of(Double x, Real e) {
  const Parts parts(x.high);
  const Real c = look_up(kCentres, place_of(parts.significand));
  const Double whole = whole_log<Natural>(parts.exponent + e, parts.significand);
  const Real r = excess(parts.significand, c), r_low = parts.scaled(x.low) * c;
  const Double s = fast_sum(whole.high, r);
  const Real both = r + r_low, square = both * both;
  return s.high + (s.low + (r_low + fused(square, paired(both, square, kLogTerms), whole.low)));
}

inline constexpr auto kFineCentresShort = shortened(kFineCentres),
                      kFineLogHighShort = shortened(kFineLogHigh);

// log(2^(1023 - bias) x) to about 2^-65 of itself for a normal x; the low part may be as large as 2^-16.
ZENTHAR_KERNEL Double log_loose(Real x, Real bias) {
  constexpr uint64_t kHalf = uint64_t(1) << 46, kExponents = uint64_t(0x7ff) << 52;
  const Bits z = bits(x) + kHalf;  // to the nearest of 32 steps of a power of two
  const Real e = to_real(z >> 52) - bias;
  const Real m = real(bits(x) - (z & kExponents) + (uint64_t(1023) << 52));
  const Bits place = z >> 15;
  const Real r = excess(m, look_up(kFineCentresShort, place));
  const Real high = fused(e, kFineLogOfTwoHigh, look_up(kFineLogHighShort, place));  // exact
  const Real rest = fused(e, kFineLogOfTwoLow, look_up(kFineLogLow, (z >> 47) & 31));
  const Double s = fast_sum(high, r);
  const Double square = product(r, r * -0.5);
  const Double t = fast_sum(s.high, square.high);
  const Real tail = fused(r * square.high, paired(r, square.high, kFineLogTerms), rest + square.low);
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
