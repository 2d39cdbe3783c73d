// The 64-bit Mersenne Twister, MT19937-64.
#include "random/mersenne_twister.h"

#include <cstring>

#include "random/buffer.h"
#include "random/seeding.h"
#include "random/targets.h"
#include "zenthar/memory.h"

namespace zenthar::random {
namespace {

constexpr int64_t kMiddle = 156;
constexpr uint64_t kMatrix = 0xb5026f5aa96619e9;
constexpr uint64_t kUpper = 0xffffffff80000000;
constexpr uint64_t kLower = 0x7fffffff;

ZENTHAR_LOOP uint64_t next_word(uint64_t upper, uint64_t lower, uint64_t middle) {
  const uint64_t x = (upper & kUpper) | (lower & kLower);
  return middle ^ (x >> 1) ^ (kMatrix & -(x & 1));
}

ZENTHAR_LOOP uint64_t temper(uint64_t x) {
  x ^= (x >> 29) & 0x5555555555555555;
  x ^= (x << 17) & 0x71d67fffeda60000;
  x ^= (x << 37) & 0xfff7eee000000000;
  return x ^ (x >> 43);
}

// Every word of a half depends on words of the old state and of the other half alone, so each loop may run in
// vectors of any length.
ZENTHAR_LOOP void twist_loops(uint64_t* __restrict__ s, uint64_t* __restrict__ out) {
  for (int64_t k = 0; k < kTwisterWords - kMiddle; ++k) {
    s[k] = next_word(s[k], s[k + 1], s[k + kMiddle]);
    out[k] = temper(s[k]);
  }
  for (int64_t k = kTwisterWords - kMiddle; k < kTwisterWords - 1; ++k) {
    s[k] = next_word(s[k], s[k + 1], s[k + kMiddle - kTwisterWords]);
    out[k] = temper(s[k]);
  }
  constexpr int64_t last = kTwisterWords - 1;
  s[last] = next_word(s[last], s[0], s[kMiddle - 1]);
  out[last] = temper(s[last]);
}

void twist_baseline(uint64_t* s, uint64_t* out) { twist_loops(s, out); }
#ifdef ZENTHAR_RANDOM_X86
ZENTHAR_AVX2 void twist_avx2(uint64_t* s, uint64_t* out) { twist_loops(s, out); }
ZENTHAR_AVX512 void twist_avx512(uint64_t* s, uint64_t* out) { twist_loops(s, out); }
constexpr void (*kTwists[])(uint64_t*, uint64_t*) = {twist_baseline, twist_avx2, twist_avx512};
#else
constexpr void (*kTwists[])(uint64_t*, uint64_t*) = {twist_baseline};
#endif

// The holder of the state.
struct Twister {
  uint64_t* words;
};

void free_twister(void* state) {
  if (!state) return;
  zfree(static_cast<Twister*>(state)->words);
  zfree(state);
}

Twister* new_twister() {
  auto* twister = static_cast<Twister*>(kCalloc(1, sizeof(Twister), 0, 1));
  if (!twister) return nullptr;
  twister->words = static_cast<uint64_t*>(zalloc(kTwisterWords * sizeof(uint64_t), 1, 1));
  if (twister->words) return twister;
  free_twister(twister);
  return nullptr;
}

void* copy_twister(void* state) {
  Twister* copy = new_twister();
  if (copy) std::memcpy(copy->words, static_cast<Twister*>(state)->words, kTwisterWords * sizeof(uint64_t));
  return copy;
}

int32_t fill(uint64_t* block, mint words, void* state, int32_t* valid_bits) {
  *valid_bits = 64;
  for (; words >= kTwisterWords; words -= kTwisterWords, block += kTwisterWords)
    twist(static_cast<Twister*>(state)->words, block);
  return 0;
}

void seed(RandomGenerator generator, const uint64_t* key, mint length) {
  RandomBuffer buffer = buffer_of(generator);
  uint64_t* words = static_cast<Twister*>(buffer->state)->words;
  if (key && length > 0)
    seed_by_array(
        words, kTwisterWords, [key](mint j) { return key[j]; }, length);
  else
    seed_by_word(words, kTwisterWords, uint64_t{kPublishedDefaultSeed});
  discard(buffer);
}

constexpr Algorithm kAlgorithm = {"MersenneTwister", fill, seed, copy_twister, free_twister};

}  // namespace

void twist(uint64_t* state, uint64_t* tempered) { kTwists[target_index()](state, tempered); }

}  // namespace zenthar::random

using namespace zenthar::random;

RandomGenerator MersenneTwister_alloc(void*) {
  RandomGenerator generator = new_generator(kAlgorithm, kTwisterWords, new_twister());
  if (generator) seed(generator, nullptr, 0);
  return generator;
}

void MersenneTwister_seedWord(RandomGenerator generator, uint64_t seed_word) {
  RandomBuffer buffer = buffer_of(generator);
  if (!buffer) return;
  seed_by_word(static_cast<Twister*>(buffer->state)->words, kTwisterWords, seed_word);
  discard(buffer);
}

RandomGenerator MersenneTwister_clone(RandomGenerator generator) {
  return clone_generator(kAlgorithm, generator);
}

void MersenneTwister_free(RandomGenerator generator) { free_generator(generator); }
