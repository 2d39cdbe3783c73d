// Vectors of reals as wide as the target's registers, and the few operations on them that the vector forms of
// functions are written in. Arithmetic, and bit operations on Bits, are the compiler's own operators.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_LANES_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_LANES_H

#include <immintrin.h>

#include "kernels/operations/operation.h"
#include "kernels/vector/simd/single_lanes.h"

namespace zenthar::ZENTHAR_TARGET {

#if defined(__AVX512F__)
inline constexpr int kLanes = 8;
using RealRegister = __m512d;
using BitsRegister = __m512i;
#elif defined(__AVX2__)
inline constexpr int kLanes = 4;
using RealRegister = __m256d;
using BitsRegister = __m256i;
#else
inline constexpr int kLanes = 2;
using RealRegister = __m128d;
using BitsRegister = __m128i;
#endif

// Whether fused() rounds once; without the instruction it rounds twice.
#ifdef __FMA__
inline constexpr bool kFused = true;
#else
inline constexpr bool kFused = false;
#endif

using Real [[gnu::vector_size(8 * kLanes)]] = mreal;
// The lanes' bits, or unsigned integers.
using Bits [[gnu::vector_size(8 * kLanes)]] = uint64_t;

ZENTHAR_KERNEL Bits bits(Real x) { return Bits(x); }
ZENTHAR_KERNEL Real real(Bits x) { return Real(x); }

ZENTHAR_KERNEL Real broadcast(mreal x) { return Real{} + x; }
ZENTHAR_KERNEL Bits broadcast(uint64_t x) { return Bits{} + x; }

ZENTHAR_KERNEL Real load_lanes(const void* from) {
  Real x;
  __builtin_memcpy(&x, from, sizeof x);
  return x;
}
ZENTHAR_KERNEL void store_lanes(void* to, Real x) { __builtin_memcpy(to, &x, sizeof x); }

// One truth value a lane.
#ifdef __AVX512F__
struct Mask {
  __mmask8 lanes;
  ZENTHAR_KERNEL friend Mask operator&(Mask a, Mask b) { return {__mmask8(a.lanes & b.lanes)}; }
  ZENTHAR_KERNEL friend Mask operator|(Mask a, Mask b) { return {__mmask8(a.lanes | b.lanes)}; }
  ZENTHAR_KERNEL friend Mask operator^(Mask a, Mask b) { return {__mmask8(a.lanes ^ b.lanes)}; }
  ZENTHAR_KERNEL friend Mask operator!(Mask a) { return {__mmask8(~a.lanes)}; }
};

// GCC takes the operand that the plain forms of some instructions leave undefined for a use of it; forms with
// a mask of all lanes have none, and compile to the same.
inline constexpr __mmask8 kAllLanes = 0xff;

ZENTHAR_KERNEL Mask none() { return {0}; }
ZENTHAR_KERNEL Mask operator<(Mask, Mask) = delete;
ZENTHAR_KERNEL Mask less(Real a, Real b) { return {_mm512_cmp_pd_mask(a, b, _CMP_LT_OQ)}; }
ZENTHAR_KERNEL Mask less_equal(Real a, Real b) { return {_mm512_cmp_pd_mask(a, b, _CMP_LE_OQ)}; }
ZENTHAR_KERNEL Mask equal(Real a, Real b) { return {_mm512_cmp_pd_mask(a, b, _CMP_EQ_OQ)}; }
// Not less: true for a NaN too.
ZENTHAR_KERNEL Mask not_less(Real a, Real b) { return {_mm512_cmp_pd_mask(a, b, _CMP_NLT_UQ)}; }
ZENTHAR_KERNEL Mask not_less_equal(Real a, Real b) { return {_mm512_cmp_pd_mask(a, b, _CMP_NLE_UQ)}; }
ZENTHAR_KERNEL Mask is_nan(Real a) { return {_mm512_cmp_pd_mask(a, a, _CMP_UNORD_Q)}; }
ZENTHAR_KERNEL Mask sign_bit(Real a) { return {_mm512_movepi64_mask(BitsRegister(a))}; }
// Whether the bit of weight 2^k is set.
template <int k>
ZENTHAR_KERNEL Mask bit(Bits a) {
  return {_mm512_test_epi64_mask(BitsRegister(a), BitsRegister(broadcast(uint64_t(1) << k)))};
}
ZENTHAR_KERNEL Mask nonzero(Bits a) { return {_mm512_test_epi64_mask(BitsRegister(a), BitsRegister(a))}; }
ZENTHAR_KERNEL Real select(Mask where, Real a, Real b) { return _mm512_mask_blend_pd(where.lanes, b, a); }
ZENTHAR_KERNEL Bits select(Mask where, Bits a, Bits b) {
  return Bits(_mm512_mask_blend_epi64(where.lanes, BitsRegister(b), BitsRegister(a)));
}
ZENTHAR_KERNEL uint32_t lanes_of(Mask a) { return a.lanes; }
#else
struct Mask {
  Bits lanes;  // all ones or all zeros
  ZENTHAR_KERNEL friend Mask operator&(Mask a, Mask b) { return {a.lanes & b.lanes}; }
  ZENTHAR_KERNEL friend Mask operator|(Mask a, Mask b) { return {a.lanes | b.lanes}; }
  ZENTHAR_KERNEL friend Mask operator^(Mask a, Mask b) { return {a.lanes ^ b.lanes}; }
  ZENTHAR_KERNEL friend Mask operator!(Mask a) { return {~a.lanes}; }
};

ZENTHAR_KERNEL Mask none() { return {Bits{}}; }
ZENTHAR_KERNEL Mask less(Real a, Real b) { return {Bits(a < b)}; }
ZENTHAR_KERNEL Mask less_equal(Real a, Real b) { return {Bits(a <= b)}; }
ZENTHAR_KERNEL Mask equal(Real a, Real b) { return {Bits(a == b)}; }
ZENTHAR_KERNEL Mask not_less(Real a, Real b) { return {~Bits(a < b)}; }
ZENTHAR_KERNEL Mask not_less_equal(Real a, Real b) { return {~Bits(a <= b)}; }
ZENTHAR_KERNEL Mask is_nan(Real a) { return {Bits(a != a)}; }
ZENTHAR_KERNEL Mask nonzero(Bits a) { return {Bits(a != Bits{})}; }
#ifdef __AVX2__
ZENTHAR_KERNEL Real select(Mask where, Real a, Real b) { return _mm256_blendv_pd(b, a, Real(where.lanes)); }
ZENTHAR_KERNEL Bits select(Mask where, Bits a, Bits b) {
  return Bits(_mm256_blendv_pd(Real(b), Real(a), Real(where.lanes)));
}
ZENTHAR_KERNEL uint32_t lanes_of(Mask a) { return uint32_t(_mm256_movemask_pd(Real(a.lanes))); }
#else
ZENTHAR_KERNEL Bits select(Mask where, Bits a, Bits b) { return (where.lanes & a) | (~where.lanes & b); }
ZENTHAR_KERNEL Real select(Mask where, Real a, Real b) { return real(select(where, bits(a), bits(b))); }
ZENTHAR_KERNEL uint32_t lanes_of(Mask a) { return uint32_t(_mm_movemask_pd(Real(a.lanes))); }
#endif
// All ones where a 32-bit lane is negative; both halves of a 64-bit lane take the upper one's.
ZENTHAR_KERNEL Mask upper_sign(Bits a) {
#ifdef __AVX2__
  const auto signs = _mm256_srai_epi32(BitsRegister(a), 31);
  return {Bits(_mm256_shuffle_epi32(signs, 0xf5))};
#else
  const auto signs = _mm_srai_epi32(BitsRegister(a), 31);
  return {Bits(_mm_shuffle_epi32(signs, 0xf5))};
#endif
}
ZENTHAR_KERNEL Mask sign_bit(Real a) { return upper_sign(bits(a)); }
template <int k>
ZENTHAR_KERNEL Mask bit(Bits a) {
  return upper_sign(a << (63 - k));
}
#endif

// Whether an unsigned integer is less than another.
ZENTHAR_KERNEL Mask below(Bits a, uint64_t b) {
#ifdef __AVX512F__
  return {_mm512_cmplt_epu64_mask(BitsRegister(a), BitsRegister(broadcast(b)))};
#else
  return {Bits(a < broadcast(b))};
#endif
}

ZENTHAR_KERNEL bool any(Mask a) { return lanes_of(a) != 0; }

// a b + c, rounded once where kFused.
ZENTHAR_KERNEL Real fused(Real a, Real b, Real c) {
#if defined(__AVX512F__)
  return _mm512_fmadd_pd(a, b, c);
#elif defined(__FMA__)
  return _mm256_fmadd_pd(a, b, c);
#else
  return a * b + c;
#endif
}
ZENTHAR_KERNEL Real fused(Real a, mreal b, mreal c) { return fused(a, broadcast(b), broadcast(c)); }
ZENTHAR_KERNEL Real fused(Real a, Real b, mreal c) { return fused(a, b, broadcast(c)); }
ZENTHAR_KERNEL Real fused(Real a, mreal b, Real c) { return fused(a, broadcast(b), c); }

// c - a b, likewise.
ZENTHAR_KERNEL Real fused_from(Real a, Real b, Real c) {
#if defined(__AVX512F__)
  return _mm512_fnmadd_pd(a, b, c);
#elif defined(__FMA__)
  return _mm256_fnmadd_pd(a, b, c);
#else
  return c - a * b;
#endif
}

// a b - c, likewise.
ZENTHAR_KERNEL Real fused_minus(Real a, Real b, Real c) {
#if defined(__AVX512F__)
  return _mm512_fmsub_pd(a, b, c);
#elif defined(__FMA__)
  return _mm256_fmsub_pd(a, b, c);
#else
  return a * b - c;
#endif
}

// Where the mask says so a b - c, a b and -x; elsewhere c, a and x.
ZENTHAR_KERNEL Real fused_minus_where(Mask where, Real a, Real b, Real c) {
#ifdef __AVX512F__
  return _mm512_mask3_fmsub_pd(a, b, c, where.lanes);
#else
  return select(where, fused_minus(a, b, c), c);
#endif
}
ZENTHAR_KERNEL Real times_where(Mask where, Real a, Real b) {
#ifdef __AVX512F__
  return _mm512_mask_mul_pd(a, where.lanes, a, b);
#else
  return select(where, a * b, a);
#endif
}
ZENTHAR_KERNEL Real minus_where(Mask where, Real x) {
  const Bits sign = broadcast(uint64_t(1) << 63);
#ifdef __AVX512F__
  return _mm512_mask_xor_pd(x, where.lanes, x, real(sign));
#else
  return real(bits(x) ^ (where.lanes & sign));
#endif
}

// GCC 12 warns of an undefined register inside some intrinsics; with a mask of all lanes they have none, and
// are the same instruction.

// 1/x nearly: with an error of less than 2^-40 of it, for a normal x whose reciprocal is normal.
ZENTHAR_KERNEL Real rough_reciprocal(Real x) {
#ifdef __AVX512F__
  const Real r = _mm512_maskz_rcp14_pd(kAllLanes, x), e = fused_from(x, r, broadcast(1.0));
  return fused(r, fused(e, e, e), r);
#else
  return 1.0 / x;
#endif
}
// The same with at least 14 right bits.
ZENTHAR_KERNEL Real rough_inverse(Real x) {
#ifdef __AVX512F__
  return _mm512_maskz_rcp14_pd(kAllLanes, x);
#else
  return 1.0 / x;
#endif
}
// a/b with at least 12 right bits, likewise.
ZENTHAR_KERNEL Real rough_quotient(Real a, Real b) {
#ifdef __AVX512F__
  return a * _mm512_maskz_rcp14_pd(kAllLanes, b);
#else
  return a / b;
#endif
}

// 1/sqrt(x) within 3.5 % of it, and a finite number where that is infinite.
ZENTHAR_KERNEL Real rough_inverse_root(Real x) { return real(0x5fe6eb50c7b537a9 - (bits(x) >> 1)); }

ZENTHAR_KERNEL Real square_root(Real x) {
#if defined(__AVX512F__)
  return _mm512_maskz_sqrt_pd(kAllLanes, x);
#elif defined(__AVX2__)
  return _mm256_sqrt_pd(x);
#else
  return _mm_sqrt_pd(x);
#endif
}

inline constexpr uint64_t kSignBit = uint64_t(1) << 63;

ZENTHAR_KERNEL Real magnitude(Real x) { return real(bits(x) & ~kSignBit); }
ZENTHAR_KERNEL Bits sign_of(Real x) { return bits(x) & kSignBit; }
// x with its sign bit flipped where that of `signs` is set.
ZENTHAR_KERNEL Real flip_sign(Real x, Bits signs) { return real(bits(x) ^ signs); }
// The magnitude of x with the sign of y.
ZENTHAR_KERNEL Real with_sign(Real x, Real y) { return real((bits(x) & ~kSignBit) | sign_of(y)); }

// The lesser and the greater; the second argument where one is a NaN.
ZENTHAR_KERNEL Real lesser(Real a, Real b) {
#if defined(__AVX512F__)
  return _mm512_maskz_min_pd(kAllLanes, a, b);
#elif defined(__AVX2__)
  return _mm256_min_pd(a, b);
#else
  return _mm_min_pd(a, b);
#endif
}
ZENTHAR_KERNEL Real greater(Real a, Real b) {
#if defined(__AVX512F__)
  return _mm512_maskz_max_pd(kAllLanes, a, b);
#elif defined(__AVX2__)
  return _mm256_max_pd(a, b);
#else
  return _mm_max_pd(a, b);
#endif
}

// x held between two bounds; a NaN stays one.
ZENTHAR_KERNEL Real clamp(Real x, mreal least, mreal most) {
  return greater(broadcast(least), lesser(broadcast(most), x));
}

// A real below 2^51 by magnitude rounded to the nearest integer, ties to even: as a real, and as an integer
// in two's complement whose low 51 bits are right.
struct Nearest {
  Real value;
  Bits integer;
};
inline constexpr mreal kRounder = 0x1.8p52;
ZENTHAR_KERNEL Nearest nearest(Real x) {
  const Real sum = x + kRounder;
  return {sum - kRounder, bits(sum)};
}

// An integer below 2^51 by magnitude, in two's complement, as a real.
ZENTHAR_KERNEL Real to_real(Bits integer) {
  return real(integer + __builtin_bit_cast(uint64_t, kRounder)) - kRounder;
}

// 2^n for an integer n (only its low 12 bits count) from -1022 to 1023.
ZENTHAR_KERNEL Real power_of_two(Bits n) { return real((n + 1023) << 52); }

// Element index of a table, for indices below its length.
template <int n>
ZENTHAR_KERNEL Real look_up(const mreal (&table)[n], Bits index) {
#if defined(__AVX512F__)
  const auto at = BitsRegister(index);
  if constexpr (n == 8) {
    return _mm512_maskz_permutexvar_pd(kAllLanes, at, _mm512_loadu_pd(table));
  } else if constexpr (n == 16) {
    return _mm512_permutex2var_pd(_mm512_loadu_pd(table), at, _mm512_loadu_pd(table + 8));
  } else if constexpr (n == 32) {
    const Real low = _mm512_permutex2var_pd(_mm512_loadu_pd(table), at, _mm512_loadu_pd(table + 8));
    const Real high = _mm512_permutex2var_pd(_mm512_loadu_pd(table + 16), at, _mm512_loadu_pd(table + 24));
    return select(bit<4>(index), high, low);
  } else {
    return _mm512_i64gather_pd(at, table, 8);
  }
#else
  Real x;
  for (int k = 0; k < kLanes; ++k) x[k] = table[index[k]];
  return x;
#endif
}

// Tables of n = 16 or 32 reals whose bits end in 32 zeros: permutes take their upper halves alone, so that
// one register holds 16.
template <int n>
struct ShortTable {
#ifdef __AVX512F__
  alignas(64) uint32_t upper[n];
#else
  mreal value[n];
#endif
};
template <int n>
constexpr ShortTable<n> shortened(const mreal (&table)[n]) {
  ShortTable<n> t{};
  for (int k = 0; k < n; ++k) {
#ifdef __AVX512F__
    t.upper[k] = uint32_t(__builtin_bit_cast(uint64_t, table[k]) >> 32);
#else
    t.value[k] = table[k];
#endif
  }
  return t;
}

// The element whose index is in the bits from 32 on, as many as it takes.
template <int n>
ZENTHAR_KERNEL Real look_up(const ShortTable<n>& table, Bits place) {
#ifdef __AVX512F__
  constexpr __mmask16 kUpper = 0xaaaa;
  const auto at = BitsRegister(place), low = BitsRegister(_mm512_loadu_si512(table.upper));
  if constexpr (n == 16) {
    return Real(_mm512_maskz_permutexvar_epi32(kUpper, at, low));
  } else {
    return Real(_mm512_maskz_permutex2var_epi32(kUpper, low, at, _mm512_loadu_si512(table.upper + 16)));
  }
#else
  return look_up(table.value, (place >> 32) & (n - 1));
#endif
}

// x 2^n, rounded once, for an integer n given as a real between -4000 and 4000.
ZENTHAR_KERNEL Real scale(Real x, Real n) {
#ifdef __AVX512F__
  return _mm512_maskz_scalef_pd(kAllLanes, x, n);
#else
  // By two factors, of which the first is exact unless the result overflows anyway.
  const Real clamped = lesser(greater(n, broadcast(-2040.0)), broadcast(2040.0));
  const Nearest half = nearest(clamped * 0.5);
  const Real rest = clamped - half.value;
  return x * power_of_two(half.integer) * power_of_two(nearest(rest).integer);
#endif
}

// The same for n from -1022 to 1023 and a result that is no subnormal.
ZENTHAR_KERNEL Real scale_normal(Real x, Nearest n) {
#ifdef __AVX512F__
  return _mm512_maskz_scalef_pd(kAllLanes, x, n.value);
#else
  return x * power_of_two(n.integer);
#endif
}

// 2^-n; for n beyond 1000 perhaps something else below 2^-999.
ZENTHAR_KERNEL Real inverse_power_of_two(Nearest n) {
#ifdef __AVX512F__
  return _mm512_maskz_scalef_pd(kAllLanes, broadcast(1.0), -n.value);
#else
  return power_of_two(-nearest(lesser(n.value, broadcast(1000.0))).integer);
#endif
}

// A polynomial, by Horner's scheme; coefficients from the highest.
ZENTHAR_KERNEL Real polynomial(Real, mreal c) { return broadcast(c); }
template <class... Rest>
ZENTHAR_KERNEL Real horner(Real, Real sum) {
  return sum;
}
template <class... Rest>
ZENTHAR_KERNEL Real horner(Real x, Real sum, mreal next, Rest... rest) {
  return horner(x, fused(sum, x, next), rest...);
}
template <class... Rest>
ZENTHAR_KERNEL Real polynomial(Real x, mreal first, mreal second, Rest... rest) {
  return horner(x, fused(x, first, second), rest...);
}

// Coefficients from a table, from the constant on, by Estrin's scheme: shorter chains of dependent
// operations.
template <int n, class V, class T>
ZENTHAR_KERNEL V estrin(V x, const T* c) {
  if constexpr (n == 1) {
    return broadcast(c[0]);
  } else if constexpr (n == 2) {
    return fused(x, c[1], c[0]);
  } else {
    constexpr int kLow = n > 16 ? 16 : n > 8 ? 8 : n > 4 ? 4 : 2;
    V power = x * x;
    if constexpr (kLow >= 4) power = power * power;
    if constexpr (kLow >= 8) power = power * power;
    if constexpr (kLow >= 16) power = power * power;
    return fused(power, estrin<n - kLow>(x, c + kLow), estrin<kLow>(x, c));
  }
}
template <int n, class V, class T>
ZENTHAR_KERNEL V estrin(V x, const T (&c)[n]) {
  return estrin<n>(x, &c[0]);
}

// The same by two chains of every other term, which takes a square alone.
template <int n>
ZENTHAR_KERNEL Real paired(Real x, Real square, const mreal (&c)[n]) {
  Real sum = n % 2 == 0 ? fused(x, c[n - 1], c[n - 2]) : broadcast(c[n - 1]);
  for (int k = n - 4 + n % 2; k >= 0; k -= 2) sum = fused(sum, square, fused(x, c[k + 1], c[k]));
  return sum;
}

// Sums of two reals whose second part is what rounding took from the first.
struct Double {
  Real high, low;
};

// a + b exactly, for |a| >= |b| or a = 0.
ZENTHAR_KERNEL Double fast_sum(Real a, Real b) {
  const Real sum = a + b;
  return {sum, b - (sum - a)};
}
ZENTHAR_KERNEL Double fast_sum(Double a) { return fast_sum(a.high, a.low); }
// a + b exactly.
ZENTHAR_KERNEL Double sum(Real a, Real b) {
  const Real s = a + b, from_b = s - a;
  return {s, (a - (s - from_b)) + (b - from_b)};
}
// a b exactly, for products that neither overflow nor come near the subnormals; without the fused operation
// also |a|, |b| < 2^990.
ZENTHAR_KERNEL Double product(Real a, Real b) {
  const Real p = a * b;
  if constexpr (kFused) {
    return {p, fused(a, b, -p)};
  } else {
    constexpr mreal kSplitter = 0x1p27 + 1;
    const Real at = a * kSplitter, bt = b * kSplitter;
    const Real ah = at - (at - a), bh = bt - (bt - b);
    const Real al = a - ah, bl = b - bh;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
  }
}
// a - q b, rounded once, for a product near a.
ZENTHAR_KERNEL Real remainder(Real a, Real q, Real b) {
  if constexpr (kFused) {
    return fused_from(q, b, a);
  } else {
    const Double back = product(q, b);
    return (a - back.high) - back.low;
  }
}
// These lose some units of the last place of the low part.
ZENTHAR_KERNEL Double operator+(Double a, Double b) {
  const Double s = sum(a.high, b.high);
  return fast_sum(s.high, s.low + (a.low + b.low));
}
ZENTHAR_KERNEL Double operator+(Double a, Real b) {
  const Double s = sum(a.high, b);
  return fast_sum(s.high, s.low + a.low);
}
ZENTHAR_KERNEL Double operator*(Double a, Double b) {
  const Double p = product(a.high, b.high);
  return fast_sum(p.high, fused(a.high, b.low, fused(a.low, b.high, p.low)));
}
ZENTHAR_KERNEL Double operator*(Double a, Real b) {
  const Double p = product(a.high, b);
  return fast_sum(p.high, fused(a.low, b, p.low));
}
ZENTHAR_KERNEL Double operator-(Double a) { return {-a.high, -a.low}; }
// a / b
ZENTHAR_KERNEL Double quotient(Double a, Double b) {
  const Real r = 1.0 / b.high, q = a.high * r;
  return fast_sum(q, (remainder(a.high, q, b.high) + fused_from(q, b.low, a.low)) * r);
}
// a/b and 1/b rounded to a real.
ZENTHAR_KERNEL Real divided(Double a, Double b) {
  const Real r = 1.0 / b.high, q = a.high * r;
  return fused(remainder(a.high, q, b.high) + fused_from(q, b.low, a.low), r, q);
}
ZENTHAR_KERNEL Real reciprocal(Double b) {
  const Real r = 1.0 / b.high;
  return fused(fused_from(r, b.low, remainder(broadcast(1.0), r, b.high)), r, r);
}
ZENTHAR_KERNEL Double select(Mask where, Double a, Double b) {
  return {select(where, a.high, b.high), select(where, a.low, b.low)};
}

// A complex in each lane.
struct Complex {
  Real re, im;
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
