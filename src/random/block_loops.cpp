// Loops that turn blocks of random words into elements, for each processor target.
#include "random/block_loops.h"

#include "random/targets.h"

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
      n += value <= range;
      word >>= bits & 63;
    }
  }
  *words = w;
  return n;
}

}  // namespace

void words_to_reals(mreal* output, const uint64_t* words, mint count, mreal base, mreal scale) {
  kLoops[target_index()].reals(output, words, count, base, scale);
}

void words_to_fields(mint* output, const uint64_t* words, mint count, mint bits, mint low) {
  kLoops[target_index()].fields(output, words, count, bits, low);
}

mint accepted_fields(mint* output, mint count, const uint64_t** words, const uint64_t* end, mint bits,
                     uint64_t range, mint low) {
  const auto loop = [&](int fields) {
    return accept_loop(output, count, words, end, fields, bits, range, uint64_t(low));
  };
  return bits > 32 ? loop(1) : bits > 21 ? loop(2) : loop(int(64 / bits));
}

}  // namespace zenthar::random
