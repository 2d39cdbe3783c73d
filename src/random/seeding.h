// The published seeding of Mersenne Twisters by arrays, for either width of words.
//
// Matsumoto and Nishimura, mt19937ar.c (2002) and mt19937-64.c (2004): init_genrand and init_by_array.
#pragma once

#include <cstdint>

namespace zenthar::random {

template <class Word>
struct SeedingConstants;
template <>
struct SeedingConstants<uint32_t> {
  static constexpr uint32_t kFill = 1812433253, kMix = 1664525, kFinish = 1566083941;
  static constexpr int kShift = 30;
};
template <>
struct SeedingConstants<uint64_t> {
  static constexpr uint64_t kFill = 6364136223846793005, kMix = 3935559000370003845,
                            kFinish = 2862933555777941757;
  static constexpr int kShift = 62;
};

constexpr uint32_t kPublishedDefaultSeed = 5489;

template <class Word>
void seed_by_word(Word* state, int64_t n, Word seed) {
  using C = SeedingConstants<Word>;
  state[0] = seed;
  for (int64_t i = 1; i < n; ++i)
    state[i] = C::kFill * (state[i - 1] ^ (state[i - 1] >> C::kShift)) + Word(i);
}

// `key_word(j)` is word j of a key of `length` words, at least 1.
template <class Word, class KeyWord>
void seed_by_array(Word* state, int64_t n, const KeyWord& key_word, int64_t length) {
  using C = SeedingConstants<Word>;
  seed_by_word(state, n, Word(19650218));
  int64_t i = 1;
  const auto mixed = [&](Word multiplier) {
    return state[i] ^ ((state[i - 1] ^ (state[i - 1] >> C::kShift)) * multiplier);
  };
  const auto advance = [&] {
    if (++i < n) return;
    state[0] = state[n - 1];
    i = 1;
  };
  for (int64_t k = n > length ? n : length, j = 0; k > 0; --k) {
    state[i] = mixed(C::kMix) + key_word(j) + Word(j);
    advance();
    if (++j == length) j = 0;
  }
  for (int64_t k = n - 1; k > 0; --k) {
    state[i] = mixed(C::kFinish) - Word(i);
    advance();
  }
  state[0] = Word{1} << (8 * sizeof(Word) - 1);
}

}  // namespace zenthar::random
