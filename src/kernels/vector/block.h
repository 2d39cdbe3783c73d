// The loop over a block of elements: the general one, and operations' own where it pays.
#ifndef ZENTHAR_KERNELS_VECTOR_BLOCK_H
#define ZENTHAR_KERNELS_VECTOR_BLOCK_H

#include <utility>

#include "kernels/operations/all.h"
#include "kernels/operations/elements.h"

namespace zenthar::ZENTHAR_TARGET {

// Not 0 for a NaN or an infinity: x - x is 0.0, whose bits are 0, for a finite x alone. Made of one
// subtraction and one OR, it costs a loop less than comparisons.
ZENTHAR_KERNEL int64_t probe(mreal x) { return __builtin_bit_cast(int64_t, x - x); }
ZENTHAR_KERNEL int64_t probe(mcomplex z) { return probe(z.re) | probe(z.im); }

// Computes a block of an operation on arguments of the types it names. A specialisation gives an operation a
// loop of its own; it may report a failure where there is none, but none that is may go unreported.
template <class Op, uint32_t kFlags, class... A>
struct Block {
  using R = Result<Op, A...>;

  static int64_t compute(void* result, const void* const* operands, mint n) {
    return loop(result, operands, n, std::make_integer_sequence<int, sizeof...(A)>{});
  }

  template <int... k>
  ZENTHAR_KERNEL static int64_t loop(void* result, const void* const* operands, mint n,
                                     std::integer_sequence<int, k...>) {
    const void* const own[] = {operands[k]...};
    int64_t failed = 0;
#pragma omp simd reduction(| : failed)
    for (mint i = 0; i < n; ++i) {
      const Outcome<R> outcome = evaluate_own<Op>(BlockChecks<kFlags>{}, load<A>(own[k], i)...);
      store(result, i, outcome.value);
      failed |= int64_t(outcome.failure);
      if constexpr ((kFlags & kCheckReals) != 0 && kChecksResult<Op, R>) failed |= probe(outcome.value);
    }
    return failed;
  }
};

// Products with the overflow check. Elements are mostly small: the bits that they need are gathered beside
// the products of a piece, and only where they leave room for an overflow are the products looked at again,
// one by one.
template <>
struct Block<Times, kCheckOverflow, mint, mint> {
  static int64_t compute(void* result, const void* const* operands, mint n) {
    constexpr mint kPiece = 512;
    int64_t failed = 0;
    for (mint i = 0; i < n; i += kPiece)
      failed |= piece(static_cast<char*>(result) + i * mint(sizeof(mint)), at(operands[0], i),
                      at(operands[1], i), n - i < kPiece ? n - i : kPiece);
    return failed;
  }

  static const void* at(const void* run, mint i) {
    return static_cast<const char*>(run) + i * mint(sizeof(mint));
  }

  static int64_t piece(void* result, const void* a, const void* b, mint n) {
    // The topmost bit of x ^ 2x is bit p for the least p such that -2^p <= x < 2^p.
    uint64_t a_bits = 1, b_bits = 1;
#pragma omp simd reduction(| : a_bits, b_bits)
    for (mint i = 0; i < n; ++i) {
      const auto x = load<uint64_t>(a, i), y = load<uint64_t>(b, i);
      a_bits |= x ^ (x + x);
      b_bits |= y ^ (y + y);
      store(result, i, x * y);
    }
    if (__builtin_clzll(a_bits) + __builtin_clzll(b_bits) >= 64) return 0;  // |x y| <= 2^62
    int64_t failed = 0;
#pragma omp simd reduction(| : failed)
    for (mint i = 0; i < n; ++i)
      failed |= int64_t(multiply(load<mint>(a, i), load<mint>(b, i), BlockChecks<kCheckOverflow>{}).failure);
    return failed;
  }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
