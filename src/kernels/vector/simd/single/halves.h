// Functions of singles computed in reals, half a vector at a time: what needs much care in singles is short
// in reals, which have so many bits to spare, no subnormals to mind and no products that overflow.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_SINGLE_HALVES_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_SINGLE_HALVES_H

#include "kernels/vector/simd/loop.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/short.inc"

struct Halves {
  Real lower, upper;
};

ZENTHAR_KERNEL Halves halves(Single x) {
#if defined(__AVX512F__)
  return {_mm512_maskz_cvtps_pd(kAllLanes, __builtin_shufflevector(x, x, 0, 1, 2, 3, 4, 5, 6, 7)),
          _mm512_maskz_cvtps_pd(kAllLanes, __builtin_shufflevector(x, x, 8, 9, 10, 11, 12, 13, 14, 15))};
#elif defined(__AVX2__)
  return {_mm256_cvtps_pd(_mm256_castps256_ps128(x)), _mm256_cvtps_pd(_mm256_extractf128_ps(x, 1))};
#else
  return {_mm_cvtps_pd(x), _mm_cvtps_pd(_mm_movehl_ps(x, x))};
#endif
}
ZENTHAR_KERNEL Single rounded(Halves x) {
#if defined(__AVX512F__)
  const __m256 lower = _mm512_maskz_cvtpd_ps(kAllLanes, x.lower);
  const __m256 upper = _mm512_maskz_cvtpd_ps(kAllLanes, x.upper);
  return __builtin_shufflevector(lower, upper, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
#elif defined(__AVX2__)
  return _mm256_set_m128(_mm256_cvtpd_ps(x.upper), _mm256_cvtpd_ps(x.lower));
#else
  return _mm_movelh_ps(_mm_cvtpd_ps(x.lower), _mm_cvtpd_ps(x.upper));
#endif
}

// The form of a function `Real F::of(Real...)` that is right to about 2^-29 of itself. It says by
// `SingleMask F::left_out(Single...)` which arguments it does not take, if any.
template <class F>
struct ByHalves {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask& rare) {
    if constexpr (requires { F::left_out(x); }) rare = F::left_out(x);
    const Halves a = halves(x);
    return rounded({F::of(a.lower), F::of(a.upper)});
  }
  ZENTHAR_KERNEL static Single compute(Single x, Single y, SingleMask& rare) {
    if constexpr (requires { F::left_out(x, y); }) rare = F::left_out(x, y);
    const Halves a = halves(x), b = halves(y);
    return rounded({F::of(a.lower, b.lower), F::of(a.upper, b.upper)});
  }
};

ZENTHAR_KERNEL SingleMask not_finite(Single x) {
  return not_less_equal(magnitude(x), broadcast(kLargestOf<float>));
}

// 1/sqrt(x) and sqrt(x) to about 2^-40 of themselves for a positive normal number; of 0 the root is 0.
ZENTHAR_KERNEL Real short_inverse_root(Real x) {
#ifdef __AVX512F__
  const Real rough = _mm512_maskz_rsqrt14_pd(kAllLanes, x);
  const Real error = fused_from(x * rough, rough, broadcast(1.0));
  return fused(rough * error, fused(error, 0.375, 0.5), rough);
#else
  return 1.0 / square_root(x);
#endif
}
ZENTHAR_KERNEL Real short_root(Real x) {
#ifdef __AVX512F__
  const Real inverse = _mm512_maskz_rsqrt14_pd(kAllLanes, greater(x, broadcast(0x1p-1000)));
  const Real rough = x * inverse, error = fused_from(rough, inverse, broadcast(1.0));
  return fused(rough * error, fused(error, 0.375, 0.5), rough);
#else
  return square_root(x);
#endif
}

// exp(x) = scale (1 + excess) for |x| < 700. The excess is right to about 2^-32 of itself.
struct ShortExp {
  Nearest n;
  Real scale, excess;
};
ZENTHAR_KERNEL ShortExp short_exp(Real x) {
  const Nearest n = nearest(x * kShortLog2E);
  const Real r = fused(n.value, -kShortLogOfTwo, x);
  return {n, power_of_two(n.integer), fused(r * r, estrin(r, kShortExpTerms), r)};
}

// A positive number taken apart: 2^exponent m, with m from 3/4 to 3/2, so that m is near 1 where the number
// is.
struct ShortParts {
  Real exponent, m;
};
ZENTHAR_KERNEL ShortParts short_parts(Real x) {
#ifdef __AVX512F__
  const Real m = _mm512_maskz_getmant_pd(kAllLanes, x, _MM_MANT_NORM_p75_1p5, _MM_MANT_SIGN_zero);
  const Real e = _mm512_maskz_getexp_pd(kAllLanes, x);
  return {_mm512_mask_add_pd(e, less(m, broadcast(1.0)).lanes, e, broadcast(1.0)), m};
#else
  constexpr uint64_t kOne = uint64_t(1023) << 52, kThreeQuarters = uint64_t(0x3fe8) << 48;
  const Bits shifted = bits(x) - kThreeQuarters + kOne;
  return {to_real(shifted >> 52) - 1023.0, real(bits(x) - (shifted & (uint64_t(0x7ff) << 52)) + kOne)};
#endif
}

// The logarithm of a positive normal number, right to about 2^-32 of itself, or 2^-45.
ZENTHAR_KERNEL Real short_log(Real x) {
  const auto [e, m] = short_parts(x);
  const Bits index = (bits(m) >> 48) & 15;
  const Real r = fused(m, look_up(kShortCentres, index), -1.0);
  const Real base = fused(e, broadcast(kShortLogOfTwo), look_up(kShortLogs, index));
  return base + fused(r * r, estrin(r, kShortLogTerms), r);
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
