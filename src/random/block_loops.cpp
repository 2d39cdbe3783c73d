// Loops that turn blocks of random words into elements, for each processor target.
#include "random/block_loops.h"

#include "random/targets.h"

#ifdef ZENTHAR_RANDOM_X86
#include <immintrin.h>
#endif

namespace zenthar::random {
namespace {

ZENTHAR_LOOP void reals_loop(mreal* __restrict__ output, const uint64_t* __restrict__ words, int64_t count,
                             mreal base, mreal scale) {
  for (int64_t i = 0; i < count; ++i) {
    // A significand under the exponent of 2^52: the number without a conversion.
    const uint64_t pattern = (words[i] & 0xfffffffffffff) | 0x4330000000000000;
    mreal x;
    __builtin_memcpy(&x, &pattern, sizeof x);
    output[i] = base + x * scale;
  }
}

using Four = uint64_t __attribute__((vector_size(32)));

template <int kBits>
ZENTHAR_LOOP void fields_loop(mint* __restrict__ output, const uint64_t* __restrict__ words, int64_t count,
                              mint low) {
  constexpr int kFields = 64 / kBits;
  constexpr uint64_t b = kBits;
  const Four shifts = {3 * b, 2 * b, b, 0};
  const uint64_t mask = (uint64_t{1} << kBits) - 1;
  for (int64_t i = 0; i < count; ++i, output += kFields) {
#pragma GCC unroll 16
    for (int j = 0; j < kFields; j += 4) {
      const uint64_t part = words[i] >> (64 - kBits * (j + 4));
      const Four fields = ((Four{part, part, part, part} >> shifts) & mask) + uint64_t(low);
      __builtin_memcpy(output + j, &fields, sizeof fields);
    }
  }
}

ZENTHAR_LOOP void fields_of(mint* output, const uint64_t* words, int64_t count, mint bits, mint low) {
  switch (bits) {
    case 1:
      return fields_loop<1>(output, words, count, low);
    case 2:
      return fields_loop<2>(output, words, count, low);
    case 4:
      return fields_loop<4>(output, words, count, low);
    case 8:
      return fields_loop<8>(output, words, count, low);
    default:
      return fields_loop<16>(output, words, count, low);
  }
}

void reals_baseline(mreal* o, const uint64_t* w, int64_t n, mreal base, mreal scale) {
  reals_loop(o, w, n, base, scale);
}
void fields_baseline(mint* o, const uint64_t* w, int64_t n, mint bits, mint low) {
  fields_of(o, w, n, bits, low);
}
#ifdef ZENTHAR_RANDOM_X86
ZENTHAR_AVX2 void reals_avx2(mreal* o, const uint64_t* w, int64_t n, mreal base, mreal scale) {
  reals_loop(o, w, n, base, scale);
}
ZENTHAR_AVX512 void reals_avx512(mreal* o, const uint64_t* w, int64_t n, mreal base, mreal scale) {
  reals_loop(o, w, n, base, scale);
}
ZENTHAR_AVX2 void fields_avx2(mint* o, const uint64_t* w, int64_t n, mint bits, mint low) {
  fields_of(o, w, n, bits, low);
}
ZENTHAR_AVX512 void fields_avx512(mint* o, const uint64_t* w, int64_t n, mint bits, mint low) {
  fields_of(o, w, n, bits, low);
}
#endif

constexpr struct {
  void (*reals)(mreal*, const uint64_t*, int64_t, mreal, mreal);
  void (*fields)(mint*, const uint64_t*, int64_t, mint, mint);
} kLoops[] = {
    {reals_baseline, fields_baseline},
#ifdef ZENTHAR_RANDOM_X86
    {reals_avx2, fields_avx2},
    {reals_avx512, fields_avx512},
#endif
};

// Every field is written and only an accepted one kept: no branch that random bits could mislead.
template <bool kFalling = false>
ZENTHAR_LOOP mint accept_loop(mint* output, mint count, const uint64_t** words, const uint64_t* end,
                              int fields, mint bits, uint64_t range, uint64_t low) {
  const uint64_t mask = bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
  const uint64_t* w = *words;
  mint n = 0;
  for (; w < end && count - n >= fields; ++w) {
    uint64_t word = *w;
    for (int j = 0; j < fields; ++j) {
      const uint64_t value = word & mask;
      output[n] = mint(low + value);
      n += value <= (kFalling ? range - uint64_t(n) : range);
      word >>= bits & 63;
    }
  }
  *words = w;
  return n;
}

// Out of line, so that the loops keep to registers of their own.
[[gnu::noinline]] mint accept_by_words(mint* output, mint count, const uint64_t** words, const uint64_t* end,
                                       mint bits, uint64_t range, uint64_t low) {
  const auto loop = [&](int fields) {
    return accept_loop(output, count, words, end, fields, bits, range, low);
  };
  return bits > 32 ? loop(1) : bits > 21 ? loop(2) : loop(int(64 / bits));
}

#ifdef ZENTHAR_RANDOM_X86

constexpr int fields_of_eight(int bits) { return 8 * (64 / bits); }

constexpr int fields_of_eight_of_all_widths() {
  int sum = 0;
  for (int bits = 2; bits <= 64; ++bits) sum += fields_of_eight(bits);
  return sum;
}

// Where the fields of a run of words lie. Field i of the run is in word i / (64 / bits); its halves of 32
// bits and its first bit are noted, as many fields as eight words have, for widths of 2 to 64 bits.
struct FieldPlaces {
  uint16_t begin[65] = {};  // by width
  uint8_t halves[2 * fields_of_eight_of_all_widths()] = {};
  uint8_t shifts[fields_of_eight_of_all_widths()] = {};

  constexpr FieldPlaces() {
    int at = 0;
    for (int bits = 2; bits <= 64; ++bits) {
      begin[bits] = uint16_t(at);
      for (int i = 0; i < fields_of_eight(bits); ++i, ++at) {
        const int word = i / (64 / bits);
        halves[2 * at] = uint8_t(2 * word);
        halves[2 * at + 1] = uint8_t(2 * word + 1);
        shifts[at] = uint8_t(i % (64 / bits) * bits);
      }
    }
  }
};
constexpr FieldPlaces kPlaces;

constexpr __mmask16 kAllHalves = 0xffff;
constexpr __mmask8 kAllLanes = 0xff;

// How many words of a run can be taken up: their fields, in vectors of `lanes`, must not overfill the output.
ZENTHAR_LOOP int run_length(int64_t words, int64_t room, int fields, int lanes) {
  if (words >= lanes && room >= int64_t{lanes} * fields) return lanes;
  const int64_t fitting = room >= lanes ? (room - lanes + 1) / fields : 0;
  return int(words < fitting ? words : fitting);
}

ZENTHAR_AVX512 mint accept_avx512(mint* output, mint count, const uint64_t** words, const uint64_t* end,
                                  mint bits, uint64_t range, uint64_t low) {
  const int fields = int(64 / bits);
  const uint8_t* const halves = kPlaces.halves + 2 * kPlaces.begin[bits];
  const uint8_t* const shifts = kPlaces.shifts + kPlaces.begin[bits];
  const __m512i mask = _mm512_set1_epi64(int64_t(~uint64_t{0} >> (64 - bits)));
  const __m512i most = _mm512_set1_epi64(int64_t(range)), least = _mm512_set1_epi64(int64_t(low));
  const uint64_t* w = *words;
  mint n = 0;
  for (int run; (run = run_length(end - w, count - n, fields, 8)) > 0; w += run) {
    const __m512i all = _mm512_maskz_loadu_epi64(__mmask8(0xff >> (8 - run)), w);
    for (int i = 0, of = run * fields; i < of; i += 8) {
      // By a mask of all lanes: GCC 12 takes the destination of the plain forms for uninitialised.
      const __m512i half = _mm512_maskz_cvtepu8_epi32(
          kAllHalves, _mm_loadu_si128(reinterpret_cast<const __m128i*>(halves + 2 * i)));
      const __m512i shift = _mm512_maskz_cvtepu8_epi64(
          kAllLanes, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(shifts + i)));
      const __m512i field =
          _mm512_maskz_srlv_epi64(kAllLanes, _mm512_maskz_permutexvar_epi32(kAllHalves, half, all), shift);
      const __m512i value = _mm512_and_si512(field, mask);
      __mmask8 accepted = _mm512_cmple_epu64_mask(value, most);
      if (of - i < 8) accepted &= __mmask8(0xff >> (8 - (of - i)));
      _mm512_storeu_si512(output + n, _mm512_maskz_compress_epi64(accepted, _mm512_add_epi64(value, least)));
      n += __builtin_popcount(accepted);
    }
  }
  *words = w;
  return n;
}

// The halves of the lanes that a mask of four keeps, in order.
struct KeptHalves {
  uint8_t of_mask[16][8] = {};
  constexpr KeptHalves() {
    for (int m = 0; m < 16; ++m)
      for (int lane = 0, at = 0; lane < 4; ++lane)
        if (m >> lane & 1) {
          of_mask[m][at++] = uint8_t(2 * lane);
          of_mask[m][at++] = uint8_t(2 * lane + 1);
        }
  }
};
constexpr KeptHalves kKept;

ZENTHAR_AVX2 mint accept_avx2(mint* output, mint count, const uint64_t** words, const uint64_t* end,
                              mint bits, uint64_t range, uint64_t low) {
  // Comparisons are of signed numbers, so both sides of 64 bits are moved by half the range of these.
  const uint64_t half_range = bits == 64 ? uint64_t{1} << 63 : 0;
  const int fields = int(64 / bits);
  const uint8_t* const halves = kPlaces.halves + 2 * kPlaces.begin[bits];
  const uint8_t* const shifts = kPlaces.shifts + kPlaces.begin[bits];
  const __m256i mask = _mm256_set1_epi64x(int64_t(~uint64_t{0} >> (64 - bits)));
  const __m256i most = _mm256_set1_epi64x(int64_t(range ^ half_range));
  const __m256i least = _mm256_set1_epi64x(int64_t(low)), moved = _mm256_set1_epi64x(int64_t(half_range));
  const __m256i lanes = _mm256_setr_epi64x(0, 1, 2, 3);
  const uint64_t* w = *words;
  mint n = 0;
  for (int run; (run = run_length(end - w, count - n, fields, 4)) > 0; w += run) {
    const __m256i all = _mm256_maskload_epi64(reinterpret_cast<const long long*>(w),
                                              _mm256_cmpgt_epi64(_mm256_set1_epi64x(run), lanes));
    for (int i = 0, of = run * fields; i < of; i += 4) {
      const __m256i half =
          _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(halves + 2 * i)));
      const __m256i shift = _mm256_cvtepu8_epi64(_mm_loadu_si32(shifts + i));
      const __m256i value =
          _mm256_and_si256(_mm256_srlv_epi64(_mm256_permutevar8x32_epi32(all, half), shift), mask);
      const __m256i rejected = _mm256_cmpgt_epi64(_mm256_xor_si256(value, moved), most);
      int accepted = ~_mm256_movemask_pd(_mm256_castsi256_pd(rejected)) & 15;
      if (of - i < 4) accepted &= 15 >> (4 - (of - i));
      const __m256i kept =
          _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(kKept.of_mask[accepted])));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(output + n),
                          _mm256_permutevar8x32_epi32(_mm256_add_epi64(value, least), kept));
      n += __builtin_popcount(unsigned(accepted));
    }
  }
  *words = w;
  return n;
}

#endif

// What takes up runs of words by vectors, and leaves the last few to accept_by_words(). These do not call it
// themselves: around a call of a local function GCC 12 forgets to clear the upper halves of the registers,
// which slows down whatever uses SSE after it.
constexpr mint (*kAcceptRuns[])(mint*, mint, const uint64_t**, const uint64_t*, mint, uint64_t, uint64_t) = {
    nullptr,
#ifdef ZENTHAR_RANDOM_X86
    accept_avx2,
    accept_avx512,
#endif
};

}  // namespace

void words_to_reals(mreal* output, const uint64_t* words, mint count, mreal base, mreal scale) {
  kLoops[target_index()].reals(output, words, count, base, scale);
}

void words_to_fields(mint* output, const uint64_t* words, mint count, mint bits, mint low) {
  kLoops[target_index()].fields(output, words, count, bits, low);
}

mint accepted_fields(mint* output, mint count, const uint64_t** words, const uint64_t* end, mint bits,
                     uint64_t range, mint low) {
  const auto runs = kAcceptRuns[target_index()];
  const mint n = runs ? runs(output, count, words, end, bits, range, uint64_t(low)) : 0;
  return n + accept_by_words(output + n, count - n, words, end, bits, range, uint64_t(low));
}

mint falling_fields(mint* output, mint count, const uint64_t** words, const uint64_t* end, mint bits,
                    uint64_t range, mint low) {
  return accept_loop<true>(output, count, words, end, int(64 / bits), bits, range, uint64_t(low));
}

}  // namespace zenthar::random
