// The loop over a block of elements: the general one, and operations' own where it pays.
#ifndef ZENTHAR_KERNELS_VECTOR_BLOCK_H
#define ZENTHAR_KERNELS_VECTOR_BLOCK_H

#ifdef __AVX2__
#include <immintrin.h>
#endif

#include <utility>

#include "kernels/operations/all.h"
#include "kernels/operations/elements.h"
#include "kernels/vector/simd/forms.h"

namespace zenthar::ZENTHAR_TARGET {

// Not 0 for a NaN or an infinity: x - x is 0.0, whose bits are 0, for a finite x alone. Made of one
// subtraction and one OR, it costs a loop less than comparisons.
ZENTHAR_KERNEL int64_t probe(mreal x) { return __builtin_bit_cast(int64_t, x - x); }
ZENTHAR_KERNEL int32_t probe(float x) { return __builtin_bit_cast(int32_t, x - x); }

template <AnyReal T>
int64_t probe_run(const void* reals, mint n) {
  decltype(probe(T())) found = 0;
#pragma omp simd reduction(| : found)
  for (mint i = 0; i < n; ++i) found |= probe(load<T>(reals, i));
  return found;
}

template <class T>
ZENTHAR_KERNEL const void* from_element(const void* run, mint i) {
  return static_cast<const char*>(run) + i * mint(sizeof(T));
}
template <class T>
ZENTHAR_KERNEL void* from_element(void* run, mint i) {
  return static_cast<char*>(run) + i * mint(sizeof(T));
}

// What the failures of a loop are gathered in: integers as wide as the results.
template <class R>
using Gathered = std::conditional_t<
    sizeof(R) == 1, int8_t,
    std::conditional_t<sizeof(R) == 2, int16_t, std::conditional_t<sizeof(R) == 4, int32_t, int64_t>>>;

// The elements of an operation on arguments of the types it names. This is where an operation gets a loop of
// its own: a specialisation computes n elements and returns 0,
// or not 0 when some arguments may have failed. `kProbes` says that flag 2 has been seen to.
template <class Op, uint32_t kFlags, class... A>
struct Loop {
  using R = Result<Op, A...>;
  static constexpr bool kProbes = AnyReal<R> && kChecksResult<Op, R> && (kFlags & kCheckReals) != 0;

  static int64_t run(void* result, const void* const* operands, mint n) {
    return run(result, operands, n, std::make_integer_sequence<int, sizeof...(A)>{});
  }

  template <int... k>
  ZENTHAR_KERNEL static int64_t run(void* result, const void* const* operands, mint n,
                                    std::integer_sequence<int, k...>) {
    const void* const own[] = {operands[k]...};
    Gathered<R> failed = 0;
#pragma omp simd reduction(| : failed)
    for (mint i = 0; i < n; ++i) {
      const Outcome<R> outcome = evaluate_own<Op>(BlockChecks<kFlags>{}, load<A>(own[k], i)...);
      store(result, i, outcome.value);
      failed |= Gathered<R>(outcome.failure);
      if constexpr (kProbes) failed |= probe(outcome.value);
    }
    return failed;
  }
};

// Loops of vector forms are defined in simd/.
template <class Op, uint32_t kFlags, class... A>
requires kHasVectorForm<Op, A...>
struct Loop<Op, kFlags, A...> {
  using R = Result<Op, A...>;
  static constexpr bool kProbes = kChecksResult<Op, R> && (kFlags & kCheckReals) != 0;
  static int64_t run(void* result, const void* const* operands, mint n);
};

// Operations that do to both parts of complexes what they do to reals.
template <class Op>
inline constexpr bool kByParts = false;
template <>
inline constexpr bool kByParts<Plus> = true;
template <>
inline constexpr bool kByParts<Subtract> = true;
template <>
inline constexpr bool kByParts<Minus> = true;

// A block of an operation: the loop over its elements, and the check of its results. Not 0 when an element
// may have failed.
template <class Op, uint32_t kFlags, class... A>
struct Block {
  using R = Result<Op, A...>;

  static int64_t compute(void* result, const void* const* operands, mint n) {
    if constexpr (kByParts<Op> && (AnyComplex<A> && ...)) {
      return Block<Op, kFlags, PartOf<A>...>::compute(result, operands, 2 * n);
    } else if constexpr (kChecksResult<Op, R> && (kFlags & kCheckReals) != 0 &&
                         !Loop<Op, kFlags, A...>::kProbes) {
      return in_pieces(result, operands, n, std::make_integer_sequence<int, sizeof...(A)>{});
    } else {
      return Loop<Op, kFlags, A...>::run(result, operands, n);
    }
  }

  // Results are checked while they are still in the first-level cache.
  template <int... k>
  static int64_t in_pieces(void* result, const void* const* operands, mint n,
                           std::integer_sequence<int, k...>) {
    constexpr mint kPiece = 256;
    constexpr mint kParts = AnyComplex<R> ? 2 : 1;
    int64_t failed = 0;
    for (mint i = 0; i < n; i += kPiece) {
      const mint m = n - i < kPiece ? n - i : kPiece;
      const void* const own[] = {from_element<A>(operands[k], i)...};
      void* const to = from_element<R>(result, i);
      failed |= Loop<Op, kFlags, A...>::run(to, own, m);
      failed |= probe_run<typename RealParts<R>::Type>(to, m * kParts);
    }
    return failed;
  }
};

#ifdef __AVX2__
// Squares of complexes, part beside part as they lie in memory: compilers take them apart and put them
// together again. Each part is one product, whose factors are (re - im, 2 re) and (re + im, im).
template <uint32_t kFlags>
struct Loop<Square, kFlags, mcomplex> {
  static constexpr bool kProbes = (kFlags & kCheckReals) != 0;

  static int64_t run(void* result, const void* const* operands, mint n) {
    const void* const operand = operands[0];
    __m256i found = _mm256_setzero_si256();
    mint i = 0;
    for (; i + 2 <= n; i += 2) {
      const auto z = load<__m256d>(operand, i / 2);
      const __m256d turned = _mm256_permute_pd(z, 5);
      const __m256d left = _mm256_addsub_pd(_mm256_movedup_pd(z), turned);
      const __m256d right = _mm256_blend_pd(_mm256_add_pd(z, turned), z, 10);
      const __m256d square = _mm256_mul_pd(left, right);
      store(result, i / 2, square);
      if constexpr (kProbes)
        found = _mm256_or_si256(found, _mm256_castpd_si256(_mm256_sub_pd(square, square)));
    }
    int64_t failed = !_mm256_testz_si256(found, found);
    if (i < n) {
      const mcomplex square = Square::value(load<mcomplex>(operand, i));
      store(result, i, square);
      if constexpr (kProbes) failed |= probe(square.re) | probe(square.im);
    }
    return failed;
  }
};
#endif

// Quotients by a complex. The rare ones that are infinities or have zero divisors are left out of the loop,
// and computed once more by themselves; so results wait beside until they are right.
template <class A>
struct QuotientLoop {
  static constexpr bool kProbes = false;
  static constexpr mint kPiece = 128;

  static int64_t run(void* result, const void* const* operands, mint n) {
    for (mint i = 0; i < n; i += kPiece)
      piece(from_element<mcomplex>(result, i), from_element<A>(operands[0], i),
            from_element<mcomplex>(operands[1], i), n - i < kPiece ? n - i : kPiece);
    return 0;
  }

  static void piece(void* result, const void* a, const void* b, mint n) {
    mreal re[kPiece], im[kPiece];
    int64_t special = 0;
#pragma omp simd reduction(| : special)
    for (mint i = 0; i < n; ++i) {
      const mcomplex quotient = divide_scaled(widen<mcomplex>(load<A>(a, i)), load<mcomplex>(b, i));
      re[i] = quotient.re;
      im[i] = quotient.im;
      special |= probe(quotient.re) | probe(quotient.im);
    }
    if (special != 0) {
      for (mint i = 0; i < n; ++i) {
        const mcomplex quotient = divide(widen<mcomplex>(load<A>(a, i)), load<mcomplex>(b, i));
        re[i] = quotient.re;
        im[i] = quotient.im;
      }
    }
#pragma omp simd
    for (mint i = 0; i < n; ++i) store(result, i, mcomplex{re[i], im[i]});
  }
};
template <uint32_t kFlags>
struct Loop<Div, kFlags, mcomplex, mcomplex> : QuotientLoop<mcomplex> {};
template <uint32_t kFlags>
struct Loop<Div, kFlags, mreal, mcomplex> : QuotientLoop<mreal> {};

// Reals rounded to integers. Adding 1.5 * 2^52 rounds a real below 2^51 by magnitude to the nearest whole
// number and leaves that in the low bits of the sum; the other directions are a step from it. So rounding
// needs neither an instruction for it nor one that converts vectors, which older targets lack. A piece with
// larger elements is computed once more by the definition, so results wait beside until then.
template <class Op, uint32_t kFlags>
struct RoundingLoop {
  static constexpr bool kProbes = false;
  static constexpr mint kPiece = 256;

  static int64_t run(void* result, const void* const* operands, mint n) {
    int64_t failed = 0;
    for (mint i = 0; i < n; i += kPiece)
      failed |= piece(from_element<mint>(result, i), from_element<mreal>(operands[0], i),
                      n - i < kPiece ? n - i : kPiece);
    return failed;
  }

  static int64_t piece(void* result, const void* operand, mint n) {
    constexpr mreal kRounder = 0x1.8p52, kLimit = 0x1p51;
    mint whole[kPiece];
    int64_t large = 0;
#pragma omp simd reduction(| : large)
    for (mint i = 0; i < n; ++i) {
      const mreal x = load<mreal>(operand, i);
      const mreal sum = x + kRounder;
      const uint64_t nearest = __builtin_bit_cast(uint64_t, sum) - __builtin_bit_cast(uint64_t, kRounder);
      whole[i] = mint(stepped(nearest, sum - kRounder, x));
      large |= __builtin_fabs(x) < kLimit ? 0 : -1;
    }
    int64_t failed = 0;
    if (large != 0) {
      for (mint i = 0; i < n; ++i) {
        const Outcome<mint> outcome = Op::checked(load<mreal>(operand, i), BlockChecks<kFlags>{});
        whole[i] = outcome.value;
        failed |= int64_t(outcome.failure);
      }
    }
    __builtin_memcpy(result, whole, size_t(n) * sizeof(mint));
    return failed;
  }

  // From the nearest integer, which is also given as a real, to the one that the operation asks for.
  ZENTHAR_KERNEL static uint64_t stepped(uint64_t nearest, mreal rounded, mreal x) {
    const uint64_t above = rounded > x ? 1 : 0, below = rounded < x ? 1 : 0;
    if constexpr (std::is_same_v<Op, Floor>) return nearest - above;
    if constexpr (std::is_same_v<Op, Ceiling>) return nearest + below;
    if constexpr (std::is_same_v<Op, IntPart>) return x > 0.0 ? nearest - above : nearest + below;
    return nearest;
  }
};
#ifndef __AVX512DQ__
template <uint32_t kFlags>
struct Loop<Round, kFlags, mreal> : RoundingLoop<Round, kFlags> {};
template <uint32_t kFlags>
struct Loop<Floor, kFlags, mreal> : RoundingLoop<Floor, kFlags> {};
template <uint32_t kFlags>
struct Loop<Ceiling, kFlags, mreal> : RoundingLoop<Ceiling, kFlags> {};
#ifdef __AVX2__  // without it truncating one by one is faster
template <uint32_t kFlags>
struct Loop<IntPart, kFlags, mreal> : RoundingLoop<IntPart, kFlags> {};
#endif
#endif

#ifdef __FMA__
// Remainders of reals, by the truncated quotient q: rounding may take a / b up to the next whole number,
// never down below one, and a - q b, which one fused operation rounds, is a real itself, as is that for q
// - 1. A piece with a quotient of more digits than reals have, or none, is computed once more by the
// definition.
template <uint32_t kFlags, AnyReal T>
struct ModLoop {
  static constexpr bool kProbes = false;
  static constexpr mint kPiece = 256;

  static int64_t run(void* result, const void* const* operands, mint n) {
    int64_t failed = 0;
    for (mint i = 0; i < n; i += kPiece)
      failed |= piece(from_element<T>(result, i), from_element<T>(operands[0], i),
                      from_element<T>(operands[1], i), n - i < kPiece ? n - i : kPiece);
    return failed;
  }

  static int64_t piece(void* result, const void* dividends, const void* divisors, mint n) {
    constexpr T kLimit = sizeof(T) == 4 ? T(0x1p22) : T(0x1p51);
    T remainders[kPiece];
    Gathered<T> special = 0;
#pragma omp simd reduction(| : special)
    for (mint i = 0; i < n; ++i) {
      const T a = load<T>(dividends, i), b = load<T>(divisors, i);
      const T quotient = a / b;
      const T rest = fused(-truncated(quotient), b, a);
      const T beyond = a < T(0) ? -rest : rest;  // below 0 where the quotient was rounded up
      const T size = beyond < T(0) ? beyond + absolute(b) : beyond;
      const T r = with_sign(size, a);
      const bool other_sign = (r != T(0)) & ((r < T(0)) != (b < T(0)));
      const T sum = r + b;
      remainders[i] = other_sign ? (sum == b ? T(0) : sum) : r;
      special |= ((absolute(quotient) < kLimit) & (rest == rest)) ? 0 : -1;
    }
    int64_t failed = 0;
    if (special != 0) {
      for (mint i = 0; i < n; ++i) {
        const Outcome<T> outcome =
            Mod::checked(load<T>(dividends, i), load<T>(divisors, i), BlockChecks<kFlags>{});
        remainders[i] = outcome.value;
        failed |= int64_t(outcome.failure);
      }
    }
    __builtin_memcpy(result, remainders, size_t(n) * sizeof(T));
    return failed;
  }

  ZENTHAR_KERNEL static mreal fused(mreal a, mreal b, mreal c) { return __builtin_fma(a, b, c); }
  ZENTHAR_KERNEL static float fused(float a, float b, float c) { return __builtin_fmaf(a, b, c); }
};
template <uint32_t kFlags>
struct Loop<Mod, kFlags, mreal, mreal> : ModLoop<kFlags, mreal> {};
template <uint32_t kFlags>
struct Loop<Mod, kFlags, float, float> : ModLoop<kFlags, float> {};
#endif

// Products of the wider integers with the overflow check. Elements are mostly small: the bits that they need
// are gathered beside the products of a piece, and only where they leave room for an overflow are the
// products looked at again, one by one.
template <AnyInteger T>
requires(sizeof(T) >= 4) struct Block<Times, kCheckOverflow, T, T> {
  static int64_t compute(void* result, const void* const* operands, mint n) {
    constexpr mint kPiece = 512;
    int64_t failed = 0;
    for (mint i = 0; i < n; i += kPiece)
      failed |= piece(from_element<T>(result, i), from_element<T>(operands[0], i),
                      from_element<T>(operands[1], i), n - i < kPiece ? n - i : kPiece);
    return failed;
  }

  static int64_t piece(void* result, const void* a, const void* b, mint n) {
#ifdef __AVX2__
    if constexpr (std::is_same_v<T, mint>) {
      if (multiply_short(result, a, b, n)) return 0;
    }
#endif
    using U = Unsigned<T>;
    U a_bits = 1, b_bits = 1;
#pragma omp simd reduction(| : a_bits, b_bits)
    for (mint i = 0; i < n; ++i) {
      const U x = load<U>(a, i), y = load<U>(b, i);
      a_bits |= needed_bits(x);
      b_bits |= needed_bits(y);
      store(result, i, U(x * y));
    }
    // With p and q the topmost bits, |x| <= 2^p and |y| <= 2^q of signed elements have a product of at most
    // 2^(bits - 2); x < 2^(p + 1) and y < 2^(q + 1) of unsigned ones have one below 2^bits.
    if (leading_zeros(a_bits) + leading_zeros(b_bits) >= kBits<T>) return 0;
    int64_t failed = 0;
#pragma omp simd reduction(| : failed)
    for (mint i = 0; i < n; ++i)
      failed |= int64_t(multiply(load<T>(a, i), load<T>(b, i), BlockChecks<kCheckOverflow>{}).failure);
    return failed;
  }

#ifdef __AVX2__
  // Products of elements that all fit 32 bits take one instruction where others take several; false where
  // some do not.
  static bool multiply_short(void* result, const void* a, const void* b, mint n) {
    constexpr uint64_t kHalf = uint64_t(1) << 31;
    uint64_t shifted = 0;
#pragma omp simd reduction(| : shifted)
    for (mint i = 0; i < n; ++i) shifted |= (load<uint64_t>(a, i) + kHalf) | (load<uint64_t>(b, i) + kHalf);
    if (shifted >> 32 != 0) return false;
    mint i = 0;
    for (; i + 4 <= n; i += 4)
      store(result, i / 4, _mm256_mul_epi32(load<__m256i>(a, i / 4), load<__m256i>(b, i / 4)));
    for (; i < n; ++i) store(result, i, load<mint>(a, i) * load<mint>(b, i));
    return true;
  }
#endif

  // Its topmost bit is bit p for the least p such that -2^p <= x < 2^p, of an unsigned x < 2^(p + 1).
  ZENTHAR_KERNEL static Unsigned<T> needed_bits(Unsigned<T> x) {
    return kSigned<T> ? Unsigned<T>(x ^ (x + x)) : x;
  }
  static int leading_zeros(uint64_t bits) { return __builtin_clzll(bits) - (64 - kBits<T>); }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
