// The checks by carry-less multiplication.
//
// The message is a polynomial over GF(2). A register holds a remainder of 128 bits, not fully reduced;
// multiplying its halves by constants moves it past the bytes that follow ("folding"; Gopal and others, "Fast
// CRC Computation for Generic Polynomials Using PCLMULQDQ Instruction"), and one Barrett reduction ends it.
// Several registers side by side hide the latency of the multiplication.
//
// CRC-32 is reflected: the first bit of the message is the lowest of the first byte, so bytes go into
// registers as they are, bit m of 128 standing for x^(127-m), and a product of two such halves stands one
// place too high, which the constants make up for. CRC-64 is not: bytes are reversed on loading, and bit m
// stands for x^m.
#include "hashing/crc_kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>

#include "hashing/bytes.h"
#include "hashing/crc_polynomial.h"

#define ZENTHAR_CLMUL [[gnu::target("pclmul,ssse3,sse2"), gnu::always_inline]] static inline
#define ZENTHAR_WIDE_CLMUL \
  [[gnu::target("pclmul,vpclmulqdq,avx512f,avx512bw,avx512vl,avx512dq"), gnu::always_inline]] static inline

namespace zenthar::crc {
namespace {

// Multipliers of the low and the high half of a register.
struct Multipliers {
  uint64_t low, high;
};

// A window into these bytes, as an index of a byte shuffle, shifts a register by whole bytes.
alignas(16) constexpr unsigned char kShift[48] = {
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,  //
    0,   1,   2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,  13,  14,  15,   //
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128};

ZENTHAR_CLMUL __m128i load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
ZENTHAR_CLMUL __m128i shift_up(__m128i v, uint64_t bytes) {
  return _mm_shuffle_epi8(v, load(kShift + 16 - bytes));
}
ZENTHAR_CLMUL __m128i shift_down(__m128i v, uint64_t bytes) {
  return _mm_shuffle_epi8(v, load(kShift + 16 + bytes));
}
ZENTHAR_CLMUL __m128i pair(uint64_t low, uint64_t high) {
  return _mm_set_epi64x(int64_t(high), int64_t(low));
}
ZENTHAR_CLMUL uint64_t low_half(__m128i v) { return uint64_t(_mm_cvtsi128_si64(v)); }
ZENTHAR_CLMUL uint64_t high_half(__m128i v) { return low_half(_mm_unpackhi_epi64(v, v)); }

struct Crc32 {
  static constexpr Polynomial<uint32_t> kPolynomial = kCrc32Polynomial;

  // As a half of a register, where bit j stands for x^(63-j).
  static constexpr uint64_t half(uint32_t polynomial) { return reflect(uint64_t{polynomial}); }

  static constexpr Multipliers fold_by(int bits) {
    return {half(kPolynomial.power_of_x(bits + 63)), half(kPolynomial.power_of_x(bits - 1))};
  }

  ZENTHAR_CLMUL __m128i in_order(__m128i v) { return v; }
  ZENTHAR_CLMUL __m128i start(__m128i v) { return _mm_xor_si128(v, _mm_cvtsi32_si128(-1)); }
  // What of a register precedes its last n bytes, moved to the end; and those last bytes, moved to the front.
  ZENTHAR_CLMUL __m128i leading(__m128i v, uint64_t trailing_bytes) { return shift_up(v, trailing_bytes); }
  ZENTHAR_CLMUL __m128i trailing(__m128i v, uint64_t leading_bytes) { return shift_down(v, leading_bytes); }

  // The remainder of v x^32: A x^64 + B becomes W = A (x^96 mod P) + B x^32, of 96 bits, whose quotient by P
  // is had from its upper 64 bits and floor(x^95 / P).
  ZENTHAR_CLMUL uint32_t remainder(__m128i v) {
    constexpr uint64_t kPower = half(kPolynomial.power_of_x(95));
    constexpr uint64_t kQuotient = reflect(kPolynomial.quotient_of_power(95));
    const __m128i constants = pair(kPower, kQuotient);
    const __m128i b = _mm_slli_si128(_mm_srli_si128(v, 8), 4);
    const __m128i w = _mm_xor_si128(_mm_clmulepi64_si128(v, constants, 0x00), b);
    const __m128i upper = _mm_srli_si128(w, 4);
    const __m128i quotient = _mm_clmulepi64_si128(upper, constants, 0x10);
    const __m128i product = _mm_clmulepi64_si128(quotient, pair(half(kPolynomial.low), 0), 0x00);
    return uint32_t(high_half(w) >> 32) ^ uint32_t(high_half(product) >> 31);
  }

  // Fewer than 16 bytes.
  ZENTHAR_CLMUL uint64_t of_short(const unsigned char* p, uint64_t length) {
    if (length == 0) return 0;
    const uint64_t first = length >= 8 ? load64(p) : load_below8(p, length);
    uint128 message = first ^ uint32_t(-1);
    if (length >= 8) message ^= uint128(load_last(p + length, 8) >> 1 >> (127 - 8 * length)) << 64;
    // The bits of the initial value that lie past the end of the message go by without a reduction.
    const uint32_t beyond = length < 4 ? uint32_t(-1) >> 8 * length : 0;
    message <<= 8 * (16 - length);
    return uint32_t(~(remainder(pair(uint64_t(message), uint64_t(message >> 64))) ^ beyond));
  }

  ZENTHAR_CLMUL uint64_t finish(__m128i v) { return uint32_t(~remainder(v)); }
};

struct Crc64 {
  static constexpr Polynomial<uint64_t> kPolynomial = kCrc64Polynomial;

  static constexpr Multipliers fold_by(int bits) {
    return {kPolynomial.power_of_x(bits), kPolynomial.power_of_x(bits + 64)};
  }

  ZENTHAR_CLMUL __m128i in_order(__m128i v) {
    return _mm_shuffle_epi8(v, _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
  }
  ZENTHAR_CLMUL __m128i start(__m128i v) { return v; }
  ZENTHAR_CLMUL __m128i leading(__m128i v, uint64_t trailing_bytes) { return shift_down(v, trailing_bytes); }
  ZENTHAR_CLMUL __m128i trailing(__m128i v, uint64_t leading_bytes) { return shift_up(v, leading_bytes); }

  // The remainder of v x^64: A x^64 + B becomes W = A (x^128 mod P) + B x^64, whose quotient by P is had from
  // its upper 64 bits and floor(x^128 / P) = x^64 + the constant.
  ZENTHAR_CLMUL uint64_t finish(__m128i v) {
    constexpr uint64_t kPower = kPolynomial.power_of_x(128);
    constexpr uint64_t kQuotient = kPolynomial.quotient_of_power(128);
    const __m128i constants = pair(kPower, kQuotient);
    const __m128i w = _mm_xor_si128(_mm_clmulepi64_si128(v, constants, 0x01), _mm_slli_si128(v, 8));
    const __m128i quotient = _mm_xor_si128(_mm_clmulepi64_si128(w, constants, 0x11), w);
    const __m128i product = _mm_clmulepi64_si128(quotient, pair(kPolynomial.low, 0), 0x01);
    return low_half(_mm_xor_si128(w, product));
  }

  // Fewer than 16 bytes.
  ZENTHAR_CLMUL uint64_t of_short(const unsigned char* p, uint64_t length) {
    if (length == 0) return 0;
    if (length < 8) {
      const uint64_t message = __builtin_bswap64(load_below8(p, length)) >> (64 - 8 * length);
      return finish(pair(message, 0));
    }
    const uint64_t last = __builtin_bswap64(load64(p + length - 8));
    return finish(pair(last, __builtin_bswap64(load64(p)) >> 1 >> (127 - 8 * length)));
  }
};

template <class Crc, int kBits>
ZENTHAR_CLMUL __m128i fold(__m128i v, __m128i following) {
  constexpr Multipliers multipliers = Crc::fold_by(kBits);
  const __m128i constants = pair(multipliers.low, multipliers.high);
  const __m128i low = _mm_clmulepi64_si128(v, constants, 0x00);
  const __m128i high = _mm_clmulepi64_si128(v, constants, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), following);
}

template <class Crc>
ZENTHAR_CLMUL __m128i load_message(const unsigned char* p) {
  return Crc::in_order(load(p));
}

// Takes what is left after `v`, less than a few blocks, at p, where 16 bytes before its end may be read.
template <class Crc>
ZENTHAR_CLMUL uint64_t finish_from(__m128i v, const unsigned char* p, uint64_t length) {
  for (; length >= 16; p += 16, length -= 16) v = fold<Crc, 128>(v, load_message<Crc>(p));
  if (length > 0) {
    // The register and the rest are 16 + length bytes: the first `length` of them are folded past the others.
    const __m128i rest = load_message<Crc>(p + length - 16);
    const __m128i last = Crc::leading(Crc::trailing(rest, 16 - length), 16 - length);
    v = fold<Crc, 128>(Crc::leading(v, 16 - length), _mm_xor_si128(Crc::trailing(v, length), last));
  }
  return Crc::finish(v);
}

template <class Crc>
ZENTHAR_CLMUL uint64_t crc_clmul(const void* data, uint64_t length) {
  auto* p = static_cast<const unsigned char*>(data);
  if (length < 16) return Crc::of_short(p, length);
  __m128i v = Crc::start(load_message<Crc>(p));
  p += 16;
  length -= 16;
  if (length >= 112) {
    __m128i v1 = load_message<Crc>(p), v2 = load_message<Crc>(p + 16), v3 = load_message<Crc>(p + 32);
    p += 48;
    length -= 48;
    for (; length >= 64; p += 64, length -= 64) {
      v = fold<Crc, 512>(v, load_message<Crc>(p));
      v1 = fold<Crc, 512>(v1, load_message<Crc>(p + 16));
      v2 = fold<Crc, 512>(v2, load_message<Crc>(p + 32));
      v3 = fold<Crc, 512>(v3, load_message<Crc>(p + 48));
    }
    v = fold<Crc, 128>(fold<Crc, 128>(fold<Crc, 128>(v, v1), v2), v3);
  }
  return finish_from<Crc>(v, p, length);
}

// A mask that leaves nothing out: some compilers warn of the forms without one.
constexpr int kAllLanes = -1;

template <class Crc>
ZENTHAR_WIDE_CLMUL __m512i load_wide(const unsigned char* p) {
  const __m512i v = _mm512_loadu_si512(p);
  if constexpr (sizeof(Crc::kPolynomial.low) == 4) return v;
  return _mm512_shuffle_epi8(
      v, _mm512_maskz_broadcast_i32x4(kAllLanes,
                                      _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)));
}

ZENTHAR_WIDE_CLMUL __m512i fold_lanes(__m512i v, __m512i constants, __m512i following) {
  const __m512i low = _mm512_clmulepi64_epi128(v, constants, 0x00);
  const __m512i high = _mm512_clmulepi64_epi128(v, constants, 0x11);
  return _mm512_ternarylogic_epi64(low, high, following, 0x96);
}

template <class Crc, int kBits>
ZENTHAR_WIDE_CLMUL __m512i fold_wide(__m512i v, __m512i following) {
  constexpr Multipliers multipliers = Crc::fold_by(kBits);
  return fold_lanes(v, _mm512_maskz_broadcast_i32x4(kAllLanes, pair(multipliers.low, multipliers.high)),
                    following);
}

template <int kLane>
ZENTHAR_WIDE_CLMUL __m128i lane(__m512i v) {
  return _mm512_maskz_extracti32x4_epi32(kAllLanes, v, kLane);
}

// The four lanes, each folded past those after it.
template <class Crc>
ZENTHAR_WIDE_CLMUL __m128i join_lanes(__m512i v) {
  constexpr Multipliers by1 = Crc::fold_by(128), by2 = Crc::fold_by(256), by3 = Crc::fold_by(384);
  const __m512i constants = _mm512_set_epi64(0, 0, int64_t(by1.high), int64_t(by1.low), int64_t(by2.high),
                                             int64_t(by2.low), int64_t(by3.high), int64_t(by3.low));
  const __m512i folded = fold_lanes(v, constants, _mm512_setzero_si512());
  const __m128i front = _mm_xor_si128(lane<0>(folded), lane<1>(folded));
  return _mm_xor_si128(_mm_xor_si128(front, lane<2>(folded)), lane<3>(v));
}

template <class Crc>
ZENTHAR_WIDE_CLMUL uint64_t crc_wide_clmul(const void* data, uint64_t length) {
  if (length < 128) return crc_clmul<Crc>(data, length);
  auto* p = static_cast<const unsigned char*>(data);
  // Only the first register takes the initial value: the others' lanes stay as they are under 0.
  __m512i v = _mm512_xor_si512(load_wide<Crc>(p), _mm512_zextsi128_si512(Crc::start(_mm_setzero_si128())));
  p += 64;
  length -= 64;
  if (length >= 448) {
    __m512i v1 = load_wide<Crc>(p), v2 = load_wide<Crc>(p + 64), v3 = load_wide<Crc>(p + 128);
    p += 192;
    length -= 192;
    for (; length >= 256; p += 256, length -= 256) {
      v = fold_wide<Crc, 2048>(v, load_wide<Crc>(p));
      v1 = fold_wide<Crc, 2048>(v1, load_wide<Crc>(p + 64));
      v2 = fold_wide<Crc, 2048>(v2, load_wide<Crc>(p + 128));
      v3 = fold_wide<Crc, 2048>(v3, load_wide<Crc>(p + 192));
    }
    v = fold_wide<Crc, 512>(fold_wide<Crc, 512>(fold_wide<Crc, 512>(v, v1), v2), v3);
  }
  for (; length >= 64; p += 64, length -= 64) v = fold_wide<Crc, 512>(v, load_wide<Crc>(p));
  return finish_from<Crc>(join_lanes<Crc>(v), p, length);
}

}  // namespace

[[gnu::target("pclmul,ssse3,sse2")]] uint64_t crc32_clmul(const void* data, uint64_t length) {
  return crc_clmul<Crc32>(data, length);
}
[[gnu::target("pclmul,ssse3,sse2")]] uint64_t crc64_clmul(const void* data, uint64_t length) {
  return crc_clmul<Crc64>(data, length);
}
[[gnu::target("pclmul,vpclmulqdq,avx512f,avx512bw,avx512vl,avx512dq")]] uint64_t crc32_wide_clmul(
    const void* data, uint64_t length) {
  return crc_wide_clmul<Crc32>(data, length);
}
[[gnu::target("pclmul,vpclmulqdq,avx512f,avx512bw,avx512vl,avx512dq")]] uint64_t crc64_wide_clmul(
    const void* data, uint64_t length) {
  return crc_wide_clmul<Crc64>(data, length);
}

}  // namespace zenthar::crc
#endif
