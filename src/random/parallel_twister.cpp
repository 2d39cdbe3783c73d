// The parallel generator: 1024 streams of 32-bit Mersenne Twisters over 17 words.
#include <atomic>
#include <cstring>

#include "random/buffer.h"
#include "random/seeding.h"
#include "random/targets.h"
#include "zenthar/memory.h"

namespace zenthar::random {
namespace {

constexpr mint kStreams = 1024;
constexpr int kWords = 17;
constexpr int kMiddle = 8;

struct Parameters {
  uint32_t aaa, mask_b, mask_c;
};

constexpr Parameters kParameters[kStreams] = {
#include "random/pmt32_parameters.inc"
};

std::atomic<mint> stream_counter{0};

using Stream = st_PMT32State;

void free_stream(void* state) {
  if (!state) return;
  zfree(static_cast<Stream*>(state)->state);
  zfree(state);
}

Stream* new_stream(mint index) {
  auto* stream = static_cast<Stream*>(zalloc(sizeof(Stream), 0, 1));
  if (!stream) return nullptr;
  const Parameters& p = kParameters[index];
  *stream = {p.aaa, kMiddle, kWords, 23, 32,       0xffffffff, 0xff800000, 0x007fffff,
             12,    18,      7,      15, p.mask_b, p.mask_c,   nullptr};
  stream->state = static_cast<uint32_t*>(zalloc(kWords * sizeof(uint32_t), 0, 1));
  if (stream->state) return stream;
  free_stream(stream);
  return nullptr;
}

void* copy_stream(void* state) {
  const auto* stream = static_cast<Stream*>(state);
  Stream* copy = new_stream(stream->aaa & 0xffff);
  if (copy) std::memcpy(copy->state, stream->state, kWords * sizeof(uint32_t));
  return copy;
}

// Vectors of words, and those that begin at `a`'s second and at `a`'s last word and go on into `b`.
template <int kLanes>
struct Vector;
template <>
struct Vector<4> {
  using Words = uint32_t __attribute__((vector_size(16)));
  // Two shuffles each, which is as few as SSE2 can.
  ZENTHAR_LOOP void from_second(Words& r, const Words& a, const Words& b) {
    r = __builtin_shufflevector(a, __builtin_shufflevector(a, b, 3, 3, 4, 4), 1, 2, 4, 6);
  }
  ZENTHAR_LOOP void from_last(Words& r, const Words& a, const Words& b) {
    r = __builtin_shufflevector(__builtin_shufflevector(a, b, 3, 3, 4, 4), b, 0, 2, 5, 6);
  }
};
template <>
struct Vector<8> {
  using Words = uint32_t __attribute__((vector_size(32)));
  ZENTHAR_LOOP void from_second(Words& r, const Words& a, const Words& b) {
    r = __builtin_shufflevector(a, b, 1, 2, 3, 4, 5, 6, 7, 8);
  }
  ZENTHAR_LOOP void from_last(Words& r, const Words& a, const Words& b) {
    r = __builtin_shufflevector(a, b, 7, 8, 9, 10, 11, 12, 13, 14);
  }
};

// Fills blocks: two turns of the recurrence over the whole state each, and its tempered words.
//
// A word depends on those 17, 16 and 9 before it, so no more than nine can be computed at once, and vectors
// are of eight words at most. Let x[0] be the first word of the state and v the length of a vector: the words
// from x[v j + 17] on come from those from x[v j], x[v j + 1] and x[v j + 8] on. Vectors from x[v j] on and
// from x[v j + 1] on are both kept in registers, and what binds one step to the next is a shuffle and an
// exclusive or. Of a block's last step two words are used.
template <int kLanes>
ZENTHAR_LOOP void generate(const Stream& stream, uint64_t* __restrict__ block, int64_t blocks) {
  using V = Vector<kLanes>;
  using Words = typename V::Words;
  constexpr int kState = 16 / kLanes, kSteps = 32 / kLanes + 1;
  const uint32_t upper = stream.umask, lower = stream.lmask, matrix = stream.aaa;
  const uint32_t mask_b = stream.maskB, mask_c = stream.maskC;
  uint32_t* const state = stream.state;
  Words even[kState + kSteps], odd[kState + kSteps];  // from x[v j], and from x[v j + 1] on
  for (int j = 0; j < kState; ++j) __builtin_memcpy(&even[j], state + kLanes * j, sizeof *even);
  Words last = {state[16]};
  for (; blocks > 0; --blocks, block += kWords) {
#pragma GCC unroll 4
    for (int j = 0; j < kState; ++j) V::from_second(odd[j], even[j], j + 1 < kState ? even[j + 1] : last);
#pragma GCC unroll 9
    for (int j = 0; j < kSteps; ++j) {
      const Words x = (even[j] & upper) | (odd[j] & lower);
      Words y = even[j + kState / 2] ^ (x >> 1) ^ (-(x & 1) & matrix);
      odd[j + kState] = y;
      V::from_last(even[j + kState], odd[j + kState - 1], y);
      y ^= y >> 12;
      y ^= (y << 7) & mask_b;
      y ^= (y << 15) & mask_c;
      y ^= y >> 18;
      __builtin_memcpy(block + kLanes / 2 * j, &y, j < kSteps - 1 ? sizeof y : sizeof *block);
    }
#pragma GCC unroll 4
    for (int j = 0; j < kState; ++j) V::from_second(even[j], odd[kSteps - 1 + j], odd[kSteps + j]);
    last = Words{odd[kSteps + kState - 1][1]};
  }
  for (int j = 0; j < kState; ++j) __builtin_memcpy(state + kLanes * j, &even[j], sizeof *even);
  state[16] = last[0];
}

void generate_baseline(const Stream& s, uint64_t* block, int64_t blocks) { generate<4>(s, block, blocks); }
#ifdef ZENTHAR_RANDOM_X86
ZENTHAR_AVX2 void generate_avx2(const Stream& s, uint64_t* block, int64_t blocks) {
  generate<8>(s, block, blocks);
}
ZENTHAR_AVX512 void generate_avx512(const Stream& s, uint64_t* block, int64_t blocks) {
  generate<8>(s, block, blocks);
}
constexpr void (*kGenerators[])(const Stream&, uint64_t*, int64_t) = {generate_baseline, generate_avx2,
                                                                      generate_avx512};
#else
constexpr void (*kGenerators[])(const Stream&, uint64_t*, int64_t) = {generate_baseline};
#endif

}  // namespace

int32_t fill_from_stream(uint64_t* block, mint words, void* state, int32_t* valid_bits) {
  *valid_bits = 64;
  kGenerators[target_index()](*static_cast<Stream*>(state), block, words / kWords);
  return 0;
}

namespace {

void seed(RandomGenerator generator, const uint64_t* key, mint length) {
  RandomBuffer buffer = buffer_of(generator);
  uint32_t* words = static_cast<Stream*>(buffer->state)->state;
  const auto half = [key](mint j) { return uint32_t(key[j / 2] >> (j % 2 ? 32 : 0)); };
  if (key && length > 0)
    seed_by_array(words, kWords, half, 2 * length);
  else
    seed_by_word(words, kWords, kPublishedDefaultSeed);
  discard(buffer);
}

constexpr Algorithm kAlgorithm = {"ParallelGenerator", fill_from_stream, seed, copy_stream, free_stream};

}  // namespace
}  // namespace zenthar::random

using namespace zenthar::random;

mbool PMT32_checkParameters(mint index) { return uint64_t(index) < kStreams; }

mint PMT32_getNextIndex(void) {
  mint index = stream_counter.load(std::memory_order_relaxed);
  mint next;
  do next = index + 1 < kStreams ? index + 1 : 0;
  while (!stream_counter.compare_exchange_weak(index, next, std::memory_order_relaxed));
  return next;
}

RandomGenerator PMT32_alloc(void* stream_index) {
  const mint index = stream_index ? *static_cast<const mint*>(stream_index) : 0;
  if (!PMT32_checkParameters(index)) return nullptr;
  RandomGenerator generator = new_generator(kAlgorithm, kWords, new_stream(index));
  if (generator) seed(generator, nullptr, 0);
  return generator;
}

RandomGenerator PMT32_clone(RandomGenerator generator) { return clone_generator(kAlgorithm, generator); }

void PMT32_free(RandomGenerator generator) { free_generator(generator); }
