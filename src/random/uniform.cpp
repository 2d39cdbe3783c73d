// Uniform integers, reals and complexes.
//
// From a buffer of the library's own, whole words are turned into elements a block at a time; what is left
// over at either end, and every draw from a host's bit function, is taken element by element. Both give the
// same values and leave the generator in the same place.
#include <algorithm>
#include <atomic>
#include <cmath>

#include "random/block_loops.h"
#include "random/draws.h"
#include "zenthar/errors.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"

namespace zenthar::random {
namespace {

constexpr int32_t kNoFunction = 11;
constexpr int32_t kAborted = 1000;
constexpr int32_t kNotFinite = 1001;
constexpr mint kRealBits = 52;

// Whether ranges of so many bits, all of them 1, are cut from draws of 64 bits.
bool is_packed(uint64_t range, mint bits) { return bits <= 31 && range == low_mask(bits) && 64 % bits == 0; }

// Packed elements of whole groups.
void packed_groups(const OwnBits& own, mint* output, mint groups, mint bits, mint low) {
  WordRun run(own.buffer);
  while (groups > 0) {
    const mint words = std::min(run.begin(groups), groups);
    words_to_fields(output, run.words(), words, bits, low);
    run.take(words, 64);
    output += words * (64 / bits);
    groups -= words;
  }
}

void packed_groups(const ForeignBits& foreign, mint* output, mint groups, mint bits, mint low) {
  for (; groups > 0; --groups, output += 64 / bits) {
    const uint64_t word = foreign(64);
    words_to_fields(output, &word, 1, bits, low);
  }
}

// How the range of an element follows from that of the one before it.
enum class Range { kFixed, kFalling };

// Elements from what is left of the word under way. Without a branch for the rejected, as in the block loops.
template <uint64_t kFall>
mint accepted_in_word(RandomBuffer buffer, mint* output, mint count, mint bits, uint64_t range, mint low) {
  const uint64_t mask = low_mask(bits);
  uint64_t word = buffer->current;
  int32_t left = buffer->left;
  mint n = 0;
  for (; n < count && left >= bits; left -= int32_t(bits), word >>= bits) {
    const uint64_t value = word & mask;
    output[n] = mint(uint64_t(low) + value);
    n += value <= range - kFall * uint64_t(n);
  }
  buffer->current = word;
  buffer->left = left;
  return n;
}

// Elements by rejection.
template <Range kKind = Range::kFixed>
void draw_accepted(const OwnBits& own, mint* output, mint count, mint bits, uint64_t range, mint low) {
  constexpr uint64_t kFall = kKind == Range::kFalling;
  constexpr auto kFields = kFall ? falling_fields : accepted_fields;
  const mint per = 64 / bits;
  mint n = bits < 64 ? accepted_in_word<kFall>(own.buffer, output, count, bits, range, low) : 0;
  WordRun run(own.buffer);
  while (n < count) {
    const uint64_t range_now = range - kFall * uint64_t(n);
    if (count - n >= per) {
      // No word gives more elements than it has fields.
      const mint available = run.begin((count - n) / per);
      const uint64_t* word = run.words();
      n += kFields(output + n, count - n, &word, word + available, bits, range_now, low);
      run.take(word - run.words(), per * bits);
    } else {
      run.begin(1);
      run.take(1, 0);
      n += accepted_in_word<kFall>(own.buffer, output + n, count - n, bits, range_now, low);
    }
  }
}

void draw_accepted(const ForeignBits& foreign, mint* output, mint count, mint bits, uint64_t range,
                   mint low) {
  for (mint n = 0; n < count; ++n) output[n] = mint(uint64_t(low) + below_or_at(foreign, bits, range));
}

template <class Bits>
void draw_integers(const Bits& bits_of, mint* output, mint count, mint low, uint64_t range) {
  const mint bits = bit_length(range);
  if (!is_packed(range, bits)) return draw_accepted(bits_of, output, count, bits, range, low);
  const mint per = 64 / bits, groups = count / per;
  packed_groups(bits_of, output, groups, bits, low);
  for (mint n = groups * per; n < count; ++n) output[n] = mint(uint64_t(low) + bits_of(bits));
}

struct Grid {
  mreal base, scale;
  mreal operator()(uint64_t u) const { return base + (mreal(u) + 0x1p52) * scale; }
};

// One by one, asking for an abort after each.
template <class Bits>
int32_t reals_one_by_one(const Bits& bits_of, mreal* output, mint count, const Grid& grid, mint* written) {
  for (mint i = 0; i < count; ++i) {
    output[i] = grid(bits_of(kRealBits));
    ++*written;
    if (checkAbortWatch()) return kAborted;
  }
  return 0;
}

bool abort_requested() { return std::atomic_ref(watch).load(std::memory_order_relaxed) != 0; }

// A word an element. An abort flag that comes up is seen before the next block is begun; while it is up, its
// handler is asked after each element.
int32_t reals_by_block(const OwnBits& own, mreal* output, mint count, const Grid& grid, mint* written) {
  mint n = 0;
  if (count > 0 && own.buffer->left >= kRealBits && !abort_requested()) output[n++] = grid(own(kRealBits));
  WordRun run(own.buffer);
  while (n < count) {
    if (abort_requested()) {
      *written = n;
      return reals_one_by_one(own, output + n, count - n, grid, written);
    }
    const mint words = std::min(run.begin(count - n), count - n);
    words_to_reals(output + n, run.words(), words, grid.base, grid.scale);
    run.take(words, kRealBits);
    n += words;
  }
  *written = n;
  return count > 0 && checkAbortWatch() ? kAborted : 0;
}

}  // namespace

void draw_falling(RandomBuffer own, mint* output, mint count, mint last) {
  const OwnBits bits_of{own};
  while (count > 0 && last > 0) {
    const mint bits = bit_length(uint64_t(last));
    const mint alike = std::min(count, last - (mint{1} << (bits - 1)) + 1);  // elements of so many bits
    draw_accepted<Range::kFalling>(bits_of, output, alike, bits, uint64_t(last), 0);
    output += alike;
    count -= alike;
    last -= alike;
  }
  std::fill_n(output, count, 0);
}

int32_t draw_reals(mreal* output, mint count, RandomGenerator generator, mreal low, mreal high,
                   mint* written) {
  *written = 0;
  RandomBitFunction bits = bit_function(generator);
  if (!bits) return kNoFunction;
  const mreal twice = 2 * (high - low);
  const mreal base = high - twice;
  if (!std::isfinite(twice) || !std::isfinite(base)) return kNotFinite;
  const Grid grid = {base, twice * 0x1p-53};
  if (count <= 0) return 0;
  if (RandomBuffer own = own_buffer(generator))
    return reals_by_block(OwnBits{own}, output, count, grid, written);
  return reals_one_by_one(ForeignBits{bits, generator}, output, count, grid, written);
}

}  // namespace zenthar::random

using namespace zenthar::random;

int32_t Generic_randomMIntegers(mint* output, mint count, mint low, mint high, RandomGenerator generator) {
  RandomBitFunction bits = bit_function(generator);
  if (!bits) return kNoFunction;
  if (count <= 0) return 0;
  const uint64_t range = uint64_t(high) - uint64_t(low);
  if (range == 0)
    std::fill_n(output, count, low);
  else if (RandomBuffer own = own_buffer(generator))
    draw_integers(OwnBits{own}, output, count, low, range);
  else
    draw_integers(ForeignBits{bits, generator}, output, count, low, range);
  return 0;
}

int32_t Generic_randomMReals(mreal* output, mint count, RandomGenerator generator, mreal low, mreal high) {
  mint written;
  return draw_reals(output, count, generator, low, high, &written);
}

int32_t UniformRandomMIntegers(mint* output, mint count, mint a, mint b) {
  RandomGenerator generator = GetCurrentRandomGenerator();
  RandomMIntegerFunction integers = integer_function(generator);
  if (!integers) return kNoFunction;
  return integers(output, count, std::min(a, b), std::max(a, b), generator);
}

int32_t UniformRandomMReals(mreal* output, mint count, mreal low, mreal high) {
  RandomGenerator generator = GetCurrentRandomGenerator();
  RandomMRealFunction reals = real_function(generator);
  return reals ? reals(output, count, generator, low, high) : kNoFunction;
}

int32_t UniformRandomMComplexes(mcomplex* output, mint count, mcomplex lower, mcomplex upper) {
  RandomGenerator generator = GetCurrentRandomGenerator();
  RandomMRealFunction reals = real_function(generator);
  if (!reals) return kNoFunction;
  if (count <= 0) return 0;
  auto* parts = uint64_t(count) <= SIZE_MAX / sizeof(mreal)
                    ? static_cast<mreal*>(zalloc(size_t(count) * sizeof(mreal), 1, 1))
                    : nullptr;
  if (!parts) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  int32_t code = reals(parts, count, generator, lower.re, upper.re);
  if (code == 0) {
    for (mint i = 0; i < count; ++i) output[i] = {parts[i], 0.0};
    code = reals(parts, count, generator, lower.im, upper.im);
    if (code == 0)
      for (mint i = 0; i < count; ++i) output[i].im = parts[i];
  }
  zfree(parts);
  return code;
}

int32_t Runtime_UniformRandomMIntegers(mint* output, mint count, mint a, mint b) {
  return UniformRandomMIntegers(output, count, a, b);
}

int32_t Runtime_UniformRandomMReals(mreal* output, mint count, mreal low, mreal high) {
  return UniformRandomMReals(output, count, low, high);
}

int32_t Runtime_UniformRandomMComplexes(mcomplex* output, mint count, mcomplex lower, mcomplex upper) {
  return UniformRandomMComplexes(output, count, lower, upper);
}
