// Logarithms and inverse hyperbolic functions of singles.
#include "kernels/vector/simd/single/halves.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/single.inc"

namespace {

// A positive single taken apart, which on targets below AVX-512 must be no subnormal: 2^exponent m, with m
// from 3/4 to 3/2.
struct SingleParts {
  Single exponent, m;
  Single inverse;  // 2^-exponent; without AVX-512 for exponents below 127
};
ZENTHAR_KERNEL SingleParts single_parts(Single x) {
#ifdef __AVX512F__
  const Single m = _mm512_maskz_getmant_ps(kAllSingleLanes, x, _MM_MANT_NORM_p75_1p5, _MM_MANT_SIGN_zero);
  const Single e = _mm512_maskz_getexp_ps(kAllSingleLanes, x);
  const Single exponent = _mm512_mask_add_ps(e, less(m, broadcast(1.0f)).lanes, e, broadcast(1.0f));
  return {exponent, m, _mm512_maskz_scalef_ps(kAllSingleLanes, broadcast(1.0f), -exponent)};
#else
  constexpr uint32_t kOne = uint32_t(127) << 23, kThreeQuarters = 0x3f400000;
  const SingleBits shifted = bits(x) - kThreeQuarters + kOne;
  // A biased exponent below the bits of 2^23.
  const Single e = real((shifted >> 23) | bits(broadcast(0x1p23f))) - (0x1p23f + 127.0f);
  const SingleBits power = shifted & (uint32_t(0x1ff) << 23);
  return {e, real(bits(x) - power + kOne), real(2 * kOne - power)};
#endif
}

// The logarithm y of x put right where x is not a positive number. On targets below AVX-512 these, and
// subnormal x, become rare instead.
ZENTHAR_KERNEL Single finish_log(Single y, Single x, SingleMask& rare) {
#ifdef __AVX512F__
  // By class of x, as in exp_log.h.
  static_cast<void>(rare);
  return _mm512_fixupimm_ps(y, x, _mm512_set1_epi32(0x03530422), 0);
#else
  rare = not_less_equal(broadcast(0x1p-126f), x) | not_less_equal(x, broadcast(kLargestOf<float>));
  return y;
#endif
}

// Tables and series of a logarithm: its value for 2, and the inverse of its base's natural logarithm, both in
// two parts.
struct SingleNatural {
  static constexpr bool kIsNatural = true;
  static constexpr const float (&kCentres)[16] = kSingleLogCentres;
  static constexpr const float (&kLogs)[16] = kSingleLogs;
  static constexpr const float (&kTerms)[4] = kSingleLogTerms;
  static constexpr float kOfTwoHigh = kSingleLogOfTwoHigh, kOfTwoLow = kSingleLogOfTwoLow;
};
struct SingleBinary {
  static constexpr bool kIsNatural = false;
  static constexpr const float (&kCentres)[16] = kSingleLog2Centres;
  static constexpr const float (&kLogs)[16] = kSingleLog2s;
  static constexpr const float (&kTerms)[4] = kSingleLog2Terms;
  static constexpr float kOfTwoHigh = 1.0f, kOfTwoLow = 0.0f;
  static constexpr float kUnitHigh = kSingleLog2UnitHigh, kUnitLow = kSingleLog2UnitLow;
};
// With c near 1/m, the logarithms of the power of two and of 1/c, whose sum is exact, and the series of
// log(1 + r) for r = m c - 1. What rounding takes from the sum of both is kept. `rest` is what is to be added
// to the number, where it is not 0.
struct NoRest {};
template <class Base, class Rest = NoRest>
ZENTHAR_KERNEL Single log_of(const SingleParts& parts, Rest rest = {}) {
  const Single e = parts.exponent;
  const SingleBits index = bits(parts.m) >> 19;
  const Single c = look_up(Base::kCentres, index), log = look_up(Base::kLogs, index);
  const Single r = fused_once(parts.m, c, broadcast(-1.0f));
  Single whole = r, r_low{};
  if constexpr (!std::is_same_v<Rest, NoRest>) {
    r_low = rest * parts.inverse * c;
    whole = r + r_low;
  }
  const Single base = Base::kOfTwoHigh == 1.0f ? e + log : fused(e, Base::kOfTwoHigh, log);
  Single sum, low;
  if constexpr (Base::kIsNatural) {
    sum = base + r;
    low = (base - sum) + r;
    if constexpr (!std::is_same_v<Rest, NoRest>) low += r_low;
    low = fused(e, Base::kOfTwoLow, low);
  } else {
    const Single unit = broadcast(Base::kUnitHigh);
    sum = fused_once(r, unit, base);
    low = fused(r, Base::kUnitLow, fused_once(r, unit, base - sum));
    if constexpr (Base::kOfTwoLow != 0.0f) low = fused(e, Base::kOfTwoLow, low);
  }
  return sum + fused(whole * whole, estrin(whole, Base::kTerms), low);
}

template <class Base>
struct SingleLogForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    return finish_log(log_of<Base>(single_parts(x)), x, rare);
  }
};

// 1 + x with what rounding took from it. The sign is that of x, also of a zero.
struct SingleLog1PForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    const Single y = 1.0f + x, from_x = y - 1.0f;
    const Single rest = (1.0f - (y - from_x)) + (x - from_x);
    const Single log = finish_log(log_of<SingleNatural>(single_parts(y), rest), y, rare);
#ifndef __AVX512F__
    rare = rare | not_less_equal(y, broadcast(0x1p100f));
#endif
    return with_sign(log, x);
  }
};

// The others are made of logarithms of reals, by halves. Near 0, where little of the argument is left beside
// 1, the first terms of their series are enough.
template <class F>
struct OddNearZero : F {
  ZENTHAR_KERNEL static Real of(Real given) {
    const Real x = magnitude(given);
    const Real near = fused(x * x * x, F::kCubic, x);
    return with_sign(select(less(x, broadcast(F::kNear)), near, F::elsewhere(x)), given);
  }
};

struct ShortLog10 {
  ZENTHAR_KERNEL static SingleMask left_out(Single x) { return not_less(Single{}, x) | not_finite(x); }
  ZENTHAR_KERNEL static Real of(Real x) { return short_log(x) * kShortLog10E; }
};

struct ShortAsinh {
  static constexpr mreal kNear = 0x1p-9, kCubic = -1.0 / 6;
  ZENTHAR_KERNEL static SingleMask left_out(Single x) { return not_finite(x); }
  ZENTHAR_KERNEL static Real elsewhere(Real x) {
    return short_log(x + short_root(fused(x, x, broadcast(1.0))));
  }
};

struct ShortAcosh {
  ZENTHAR_KERNEL static SingleMask left_out(Single x) {
    return not_less_equal(broadcast(1.0f), x) | not_finite(x);
  }
  ZENTHAR_KERNEL static Real of(Real x) { return short_log(x + short_root(fused(x, x, broadcast(-1.0)))); }
};

struct ShortAtanh {
  static constexpr mreal kNear = 0x1p-8, kCubic = 1.0 / 3;
  ZENTHAR_KERNEL static SingleMask left_out(Single x) { return not_less(magnitude(x), broadcast(1.0f)); }
  ZENTHAR_KERNEL static Real elsewhere(Real x) {
    return 0.5 * short_log((1.0 + x) * rough_reciprocal(1.0 - x));
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Log, SingleLogForm<SingleNatural>, float)
ZENTHAR_VECTOR_FORM(Log2, SingleLogForm<SingleBinary>, float)
ZENTHAR_VECTOR_FORM(Log10, ByHalves<ShortLog10>, float)
ZENTHAR_VECTOR_FORM(Log1P, SingleLog1PForm, float)
ZENTHAR_VECTOR_FORM(Asinh, ByHalves<OddNearZero<ShortAsinh>>, float)
ZENTHAR_VECTOR_FORM(Acosh, ByHalves<ShortAcosh>, float)
ZENTHAR_VECTOR_FORM(Atanh, ByHalves<OddNearZero<ShortAtanh>>, float)

}  // namespace zenthar::ZENTHAR_TARGET
