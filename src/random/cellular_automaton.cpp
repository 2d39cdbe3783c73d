// The cellular automaton. zenthar/random.h gives its definition.
#include <cstring>
#include <limits>

#include "random/buffer.h"
#include "random/mersenne_twister.h"
#include "random/seeding.h"
#include "random/targets.h"
#include "zenthar/memory.h"

namespace zenthar::random {
namespace {

constexpr mint kReach = 52;  // how far the farthest neighbour is
constexpr mint kTableWords = 80;
constexpr mint kStirringTurns = 4;  // steps after seeding, per word of the register

// The table that registers of up to 80 words are seeded from: four words, then the fractional part of pi.
constexpr uint64_t kSeedTable[kTableWords] = {
#include "random/ca5_seed_table.inc"
};

using Automaton = st_CA5BufferState;

void free_automaton(void* state) {
  if (!state) return;
  auto* a = static_cast<Automaton*>(state);
  zfree(a->current);
  zfree(a->next);
  zfree(a);
}

Automaton* new_automaton(mint width, mint step, mint start) {
  if (width > std::numeric_limits<mint>::max() / 8 - kReach) return nullptr;
  auto* a = static_cast<Automaton*>(kCalloc(1, sizeof(Automaton), 0, 1));
  if (!a) return nullptr;
  const size_t bytes = size_t(width + kReach);
  a->current = static_cast<uint64_t*>(kCalloc(bytes, sizeof(uint64_t), 1, 1));
  a->next = static_cast<uint64_t*>(kCalloc(bytes, sizeof(uint64_t), 1, 1));
  a->width = width;
  a->step = step;
  a->start = start;
  if (a->current && a->next) return a;
  free_automaton(a);
  return nullptr;
}

void* copy_automaton(void* state) {
  const auto* a = static_cast<Automaton*>(state);
  Automaton* copy = new_automaton(a->width, a->step, a->start);
  if (copy) std::memcpy(copy->current, a->current, size_t(a->width) * sizeof(uint64_t));
  return copy;
}

ZENTHAR_LOOP void step_loops(uint64_t* __restrict__ old, uint64_t* __restrict__ now, int64_t width) {
  for (int64_t i = 0; i < kReach; ++i) old[width + i] = (old[i] << 1) | (old[i] >> 63);
  for (int64_t i = 0; i < width; ++i)
    now[i] = ~(old[i] ^ old[i + 5] ^ (old[i + 12] | old[i + 29] | old[i + kReach]));
}

void step_baseline(uint64_t* old, uint64_t* now, int64_t width) { step_loops(old, now, width); }
#ifdef ZENTHAR_RANDOM_X86
ZENTHAR_AVX2 void step_avx2(uint64_t* old, uint64_t* now, int64_t width) { step_loops(old, now, width); }
ZENTHAR_AVX512 void step_avx512(uint64_t* old, uint64_t* now, int64_t width) { step_loops(old, now, width); }
constexpr void (*kSteps[])(uint64_t*, uint64_t*, int64_t) = {step_baseline, step_avx2, step_avx512};
#else
constexpr void (*kSteps[])(uint64_t*, uint64_t*, int64_t) = {step_baseline};
#endif

void advance(Automaton* a) {
  kSteps[target_index()](a->current, a->next, a->width);
  uint64_t* const spent = a->current;
  a->current = a->next;
  a->next = spent;
}

}  // namespace

int32_t fill_from_automaton(uint64_t* block, mint words, void* state, int32_t* valid_bits) {
  *valid_bits = 64;
  auto* a = static_cast<Automaton*>(state);
  const mint turn = (a->width - a->start) / a->step;
  for (; words >= turn; words -= turn, block += turn) {
    advance(a);
    const uint64_t* from = a->current + a->start;
    for (mint i = 0; i < turn; ++i, from += a->step) block[i] = *from;
  }
  return 0;
}

namespace {

// The auxiliary generator's first words, last one first. Its state is made once and worked on in copies, so
// that equal keys give equal registers.
void fill_wide(uint64_t* words, mint width) {
  uint64_t state[kTwisterWords], block[kTwisterWords];
  {
    static uint64_t auxiliary[kTwisterWords];
    static bool made = false;
    const StateLock lock;
    if (!made) seed_by_word(auxiliary, kTwisterWords, uint64_t{kPublishedDefaultSeed});
    made = true;
    std::memcpy(state, auxiliary, sizeof state);
  }
  for (mint i = 0; i < width; ++i) {
    if (i % kTwisterWords == 0) twist(state, block);
    words[width - 1 - i] = block[i % kTwisterWords];
  }
}

void seed(RandomGenerator generator, const uint64_t* key, mint length) {
  RandomBuffer buffer = buffer_of(generator);
  auto* a = static_cast<Automaton*>(buffer->state);
  const mint width = a->width;
  discard(buffer);
  if (width <= kTableWords)
    std::memcpy(a->current, kSeedTable, size_t(width) * sizeof(uint64_t));
  else
    fill_wide(a->current, width);
  if (!key || length < 1 || (length == 1 && key[0] == 0)) return;
  for (mint i = 0; i < length; ++i) a->current[i % width] ^= key[length - 1 - i];
  for (mint i = 0; i < kStirringTurns * width; ++i) advance(a);
}

constexpr Algorithm kAlgorithm = {"ExtendedCA", fill_from_automaton, seed, copy_automaton, free_automaton};

}  // namespace
}  // namespace zenthar::random

using namespace zenthar::random;

mbool CA5State_checkParameters(mint width, mint step, mint start) {
  return width > 51 && step > 0 && start >= 0 && step < width - start;
}

RandomGenerator CA5BufferState_alloc(void* parameters) {
  static constexpr mint kDefaults[] = {80, 4, 0};
  const mint* p = parameters ? static_cast<const mint*>(parameters) : kDefaults;
  if (!CA5State_checkParameters(p[0], p[1], p[2])) return nullptr;
  RandomGenerator generator =
      new_generator(kAlgorithm, (p[0] - p[2]) / p[1], new_automaton(p[0], p[1], p[2]));
  if (generator) seed(generator, nullptr, 0);
  return generator;
}

RandomGenerator CA5BufferState_clone(RandomGenerator generator) {
  return clone_generator(kAlgorithm, generator);
}

void CA5BufferState_free(RandomGenerator generator) { free_generator(generator); }
