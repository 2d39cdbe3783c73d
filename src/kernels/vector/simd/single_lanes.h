// Vectors of singles (Real32), as wide as the target's registers: what lanes.h has for reals, as overloads.
// lanes.h includes this, since its templates are for both.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_SINGLE_LANES_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_SINGLE_LANES_H

#include <immintrin.h>

#include "kernels/operations/operation.h"

namespace zenthar::ZENTHAR_TARGET {

#if defined(__AVX512F__)
inline constexpr int kSingleLanes = 16;
using SingleRegister = __m512;
using SingleBitsRegister = __m512i;
#elif defined(__AVX2__)
inline constexpr int kSingleLanes = 8;
using SingleRegister = __m256;
using SingleBitsRegister = __m256i;
#else
inline constexpr int kSingleLanes = 4;
using SingleRegister = __m128;
using SingleBitsRegister = __m128i;
#endif

using Single [[gnu::vector_size(4 * kSingleLanes)]] = float;
// The lanes' bits, or unsigned integers.
using SingleBits [[gnu::vector_size(4 * kSingleLanes)]] = uint32_t;

ZENTHAR_KERNEL SingleBits bits(Single x) { return SingleBits(x); }
ZENTHAR_KERNEL Single real(SingleBits x) { return Single(x); }

ZENTHAR_KERNEL Single broadcast(float x) { return Single{} + x; }
ZENTHAR_KERNEL SingleBits broadcast(uint32_t x) { return SingleBits{} + x; }

// One truth value a lane.
#ifdef __AVX512F__
struct SingleMask {
  __mmask16 lanes;
  ZENTHAR_KERNEL friend SingleMask operator&(SingleMask a, SingleMask b) {
    return {__mmask16(a.lanes & b.lanes)};
  }
  ZENTHAR_KERNEL friend SingleMask operator|(SingleMask a, SingleMask b) {
    return {__mmask16(a.lanes | b.lanes)};
  }
  ZENTHAR_KERNEL friend SingleMask operator!(SingleMask a) { return {__mmask16(~a.lanes)}; }
};
inline constexpr __mmask16 kAllSingleLanes = 0xffff;

ZENTHAR_KERNEL SingleMask less(Single a, Single b) { return {_mm512_cmp_ps_mask(a, b, _CMP_LT_OQ)}; }
ZENTHAR_KERNEL SingleMask less_equal(Single a, Single b) { return {_mm512_cmp_ps_mask(a, b, _CMP_LE_OQ)}; }
ZENTHAR_KERNEL SingleMask equal(Single a, Single b) { return {_mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ)}; }
// Not less: true for a NaN too.
ZENTHAR_KERNEL SingleMask not_less(Single a, Single b) { return {_mm512_cmp_ps_mask(a, b, _CMP_NLT_UQ)}; }
ZENTHAR_KERNEL SingleMask not_less_equal(Single a, Single b) {
  return {_mm512_cmp_ps_mask(a, b, _CMP_NLE_UQ)};
}
ZENTHAR_KERNEL SingleMask sign_bit(Single a) { return {_mm512_movepi32_mask(SingleBitsRegister(a))}; }
// Whether the bit of weight 2^k is set.
template <int k>
ZENTHAR_KERNEL SingleMask bit(SingleBits a) {
  return {_mm512_test_epi32_mask(SingleBitsRegister(a), SingleBitsRegister(broadcast(uint32_t(1) << k)))};
}
ZENTHAR_KERNEL Single select(SingleMask where, Single a, Single b) {
  return _mm512_mask_blend_ps(where.lanes, b, a);
}
ZENTHAR_KERNEL SingleBits select(SingleMask where, SingleBits a, SingleBits b) {
  return SingleBits(_mm512_mask_blend_epi32(where.lanes, SingleBitsRegister(b), SingleBitsRegister(a)));
}
ZENTHAR_KERNEL uint32_t lanes_of(SingleMask a) { return a.lanes; }
#else
struct SingleMask {
  SingleBits lanes;  // all ones or all zeros
  ZENTHAR_KERNEL friend SingleMask operator&(SingleMask a, SingleMask b) { return {a.lanes & b.lanes}; }
  ZENTHAR_KERNEL friend SingleMask operator|(SingleMask a, SingleMask b) { return {a.lanes | b.lanes}; }
  ZENTHAR_KERNEL friend SingleMask operator!(SingleMask a) { return {~a.lanes}; }
};

ZENTHAR_KERNEL SingleMask less(Single a, Single b) { return {SingleBits(a < b)}; }
ZENTHAR_KERNEL SingleMask less_equal(Single a, Single b) { return {SingleBits(a <= b)}; }
ZENTHAR_KERNEL SingleMask equal(Single a, Single b) { return {SingleBits(a == b)}; }
ZENTHAR_KERNEL SingleMask not_less(Single a, Single b) { return {~SingleBits(a < b)}; }
ZENTHAR_KERNEL SingleMask not_less_equal(Single a, Single b) { return {~SingleBits(a <= b)}; }
// All ones where a lane's upper bit is set.
ZENTHAR_KERNEL SingleMask upper_bit(SingleBits a) {
#ifdef __AVX2__
  return {SingleBits(_mm256_srai_epi32(SingleBitsRegister(a), 31))};
#else
  return {SingleBits(_mm_srai_epi32(SingleBitsRegister(a), 31))};
#endif
}
ZENTHAR_KERNEL SingleMask sign_bit(Single a) { return upper_bit(bits(a)); }
template <int k>
ZENTHAR_KERNEL SingleMask bit(SingleBits a) {
  return upper_bit(a << (31 - k));
}
ZENTHAR_KERNEL SingleBits select(SingleMask where, SingleBits a, SingleBits b) {
  return (where.lanes & a) | (~where.lanes & b);
}
#ifdef __AVX2__
ZENTHAR_KERNEL Single select(SingleMask where, Single a, Single b) {
  return _mm256_blendv_ps(b, a, Single(where.lanes));
}
ZENTHAR_KERNEL uint32_t lanes_of(SingleMask a) { return uint32_t(_mm256_movemask_ps(Single(a.lanes))); }
#else
ZENTHAR_KERNEL Single select(SingleMask where, Single a, Single b) {
  return real(select(where, bits(a), bits(b)));
}
ZENTHAR_KERNEL uint32_t lanes_of(SingleMask a) { return uint32_t(_mm_movemask_ps(Single(a.lanes))); }
#endif
#endif

ZENTHAR_KERNEL bool any(SingleMask a) { return lanes_of(a) != 0; }

// a b + c, rounded once where the target has an instruction for it.
ZENTHAR_KERNEL Single fused(Single a, Single b, Single c) {
#if defined(__AVX512F__)
  return _mm512_fmadd_ps(a, b, c);
#elif defined(__FMA__)
  return _mm256_fmadd_ps(a, b, c);
#else
  return a * b + c;
#endif
}
ZENTHAR_KERNEL Single fused(Single a, float b, float c) { return fused(a, broadcast(b), broadcast(c)); }
ZENTHAR_KERNEL Single fused(Single a, Single b, float c) { return fused(a, b, broadcast(c)); }
ZENTHAR_KERNEL Single fused(Single a, float b, Single c) { return fused(a, broadcast(b), c); }

// a b + c rounded once on every target, or as good as once: from the nearest real.
ZENTHAR_KERNEL Single fused_once(Single a, Single b, Single c) {
#ifdef __FMA__
  return fused(a, b, c);
#else
  const auto upper = [](Single x) { return _mm_cvtps_pd(_mm_movehl_ps(x, x)); };
  return _mm_movelh_ps(_mm_cvtpd_ps(_mm_cvtps_pd(a) * _mm_cvtps_pd(b) + _mm_cvtps_pd(c)),
                       _mm_cvtpd_ps(upper(a) * upper(b) + upper(c)));
#endif
}

// 1/x with an error of less than 2^-23 of it, for a normal x whose reciprocal is normal; and with at least 12
// right bits.
ZENTHAR_KERNEL Single rough_reciprocal(Single x) {
#ifdef __AVX512F__
  const Single r = _mm512_maskz_rcp14_ps(kAllSingleLanes, x);
  return fused(r, fused(-r, x, broadcast(1.0f)), r);
#else
  return 1.0f / x;
#endif
}
ZENTHAR_KERNEL Single rough_quotient(Single a, Single b) {
#ifdef __AVX512F__
  return a * _mm512_maskz_rcp14_ps(kAllSingleLanes, b);
#else
  return a / b;
#endif
}

#ifndef __AVX512F__
ZENTHAR_KERNEL Single square_root(Single x) {
#ifdef __AVX2__
  return _mm256_sqrt_ps(x);
#else
  return _mm_sqrt_ps(x);
#endif
}
#endif

inline constexpr uint32_t kSingleSign = uint32_t(1) << 31;

ZENTHAR_KERNEL Single magnitude(Single x) { return real(bits(x) & ~kSingleSign); }
ZENTHAR_KERNEL SingleBits sign_of(Single x) { return bits(x) & kSingleSign; }
// x with its sign bit flipped where that of `signs` is set.
ZENTHAR_KERNEL Single flip_sign(Single x, SingleBits signs) { return real(bits(x) ^ signs); }
// The magnitude of x with the sign of y.
ZENTHAR_KERNEL Single with_sign(Single x, Single y) { return real((bits(x) & ~kSingleSign) | sign_of(y)); }

// The lesser and the greater; the second argument where one is a NaN.
ZENTHAR_KERNEL Single lesser(Single a, Single b) {
#if defined(__AVX512F__)
  return _mm512_maskz_min_ps(kAllSingleLanes, a, b);
#elif defined(__AVX2__)
  return _mm256_min_ps(a, b);
#else
  return _mm_min_ps(a, b);
#endif
}
ZENTHAR_KERNEL Single greater(Single a, Single b) {
#if defined(__AVX512F__)
  return _mm512_maskz_max_ps(kAllSingleLanes, a, b);
#elif defined(__AVX2__)
  return _mm256_max_ps(a, b);
#else
  return _mm_max_ps(a, b);
#endif
}

// x held between two bounds; a NaN stays one.
ZENTHAR_KERNEL Single clamp(Single x, float least, float most) {
  return greater(broadcast(least), lesser(broadcast(most), x));
}

// A single below 2^22 by magnitude rounded to the nearest integer, ties to even: as a single, and as an
// integer in two's complement whose low 22 bits are right.
struct SingleNearest {
  Single value;
  SingleBits integer;
};
inline constexpr float kSingleRounder = 0x1.8p23f;
// Of x factor, where a rounding of the product may turn ties.
ZENTHAR_KERNEL SingleNearest nearest_multiple(Single x, float factor) {
  const Single sum = fused(x, factor, kSingleRounder);
  return {sum - kSingleRounder, bits(sum)};
}

// Element index of a table, by the low four bits.
ZENTHAR_KERNEL Single look_up(const float (&table)[16], SingleBits index) {
#if defined(__AVX512F__)
  return _mm512_maskz_permutexvar_ps(kAllSingleLanes, SingleBitsRegister(index), _mm512_loadu_ps(table));
#elif defined(__AVX2__)
  const auto at = SingleBitsRegister(index);
  const Single low = _mm256_permutevar8x32_ps(_mm256_loadu_ps(table), at);
  const Single high = _mm256_permutevar8x32_ps(_mm256_loadu_ps(table + 8), at);
  return _mm256_blendv_ps(low, high, Single(index << 28));
#else
  Single x;
  for (int k = 0; k < kSingleLanes; ++k) x[k] = table[index[k] & 15];
  return x;
#endif
}

// 2^-n for an integer n from -127 to 126.
ZENTHAR_KERNEL Single inverse_power_of_two(SingleNearest n) {
  return real(broadcast(uint32_t(127) << 23) - (n.integer << 23));
}

// x 2^n for an x between 1/2 and 2; the result, where there is no instruction for it, no subnormal.
ZENTHAR_KERNEL Single scale_normal(Single x, SingleNearest n) {
#ifdef __AVX512F__
  return _mm512_maskz_scalef_ps(kAllSingleLanes, x, n.value);
#else
  return real(bits(x) + (n.integer << 23));
#endif
}

// Sums of two singles, of which the second is little beside the first.
struct SingleSum {
  Single high, low;
};

// a + b exactly, for |a| >= |b| or a = 0.
ZENTHAR_KERNEL SingleSum fast_sum(Single a, Single b) {
  const Single sum = a + b;
  return {sum, b - (sum - a)};
}
ZENTHAR_KERNEL SingleSum select(SingleMask where, SingleSum a, SingleSum b) {
  return {select(where, a.high, b.high), select(where, a.low, b.low)};
}
// a/b rounded to a single. The second parts may be as large as a tenth of the first.
ZENTHAR_KERNEL Single divided(SingleSum a, SingleSum divisor) {
  const SingleSum b = fast_sum(divisor.high, divisor.low);
  const Single r = rough_reciprocal(b.high), q = a.high * r;
  return fused(fused(-q, b.low, fused_once(-q, b.high, a.high) + a.low), r, q);
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
