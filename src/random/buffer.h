// Random buffers, and the generator objects that draw from them.
#pragma once

#include "random/random.h"

namespace zenthar::random {

constexpr uint64_t low_mask(mint bits) { return bits >= 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1; }

// Refills an empty block.
void refill(RandomBuffer buffer);
// Makes the buffer forget what it holds, as after seeding.
void discard(RandomBuffer buffer);
// `bits` from 1 to 64 bits of a buffer whose words have 64 valid ones, or slowly of any other.
uint64_t take_bits_slowly(RandomBuffer buffer, mint bits);

inline uint64_t take_bits(RandomBuffer buffer, mint bits) {
  if (bits <= buffer->left && bits < 64) [[likely]] {
    const uint64_t taken = buffer->current & low_mask(bits);
    buffer->current >>= bits;
    buffer->left -= int32_t(bits);
    return taken;
  }
  return take_bits_slowly(buffer, bits);
}

// The buffer of a generator whose bit function is the library's own, with whole words of random bits; null
// for any other, whose bit function has to be called.
RandomBuffer own_buffer(RandomGenerator generator);

// Fill functions of generators with short blocks. They fill several blocks in one call as well.
int32_t fill_from_stream(uint64_t* block, mint words, void* state, int32_t* valid_bits);
int32_t fill_from_automaton(uint64_t* block, mint words, void* state, int32_t* valid_bits);

// Whole words of an own_buffer(), a run at a time: what is left of its block, or where more words are sure to
// be taken than a short block has, several blocks made at once beside it.
class WordRun {
 public:
  explicit WordRun(RandomBuffer buffer) : buffer_(buffer) {}

  // Drops the word under way and begins a run. Words that are `sure` must be taken before the next one
  // begins.
  // @return its length, at least 1
  mint begin(mint sure);
  const uint64_t* words() const { return words_; }
  // Takes words of the run, at least one, and of the last one only the low `bits`.
  void take(mint count, mint bits);

 private:
  static constexpr mint kLongest = 320;
  RandomBuffer buffer_;
  const uint64_t* words_ = nullptr;
  uint64_t own_[kLongest];
};

// What an algorithm brings to a generator object.
struct Algorithm {
  const char* method;
  RandomFillFunction fill;
  RandomSeedFunction seed;
  void* (*copy_state)(void*);  // null without memory
  void (*free_state)(void*);
};

// A generator with a buffer of so many words over the algorithm's state, which it owns. Null without memory
// or state; the state is freed then.
RandomGenerator new_generator(const Algorithm& algorithm, mint words, void* state);
RandomGenerator clone_generator(const Algorithm& algorithm, RandomGenerator generator);
// Frees the state, if there still is one, and the generator.
void free_generator(RandomGenerator generator);
// The algorithm's state of a generator of the library, null when it has none.
RandomBuffer buffer_of(RandomGenerator generator);

}  // namespace zenthar::random
