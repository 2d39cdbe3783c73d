// Samples without replacement: k different positions of n, with equal chances or by weights.
#include <algorithm>
#include <bit>
#include <limits>

#include "random/draws.h"
#include "random/weights.h"
#include "zenthar/errors.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"

namespace zenthar::random {
namespace {

constexpr int32_t kNoFunction = 11;
constexpr int32_t kInvalid = -1;
constexpr int32_t kAborted = 1000;
constexpr mint kBitsWorthATableEntry = 128;

// A set of positions from 1 to n, for up to k of them: a bit each where that takes no more memory than a hash
// table, which is an open one with a load of a half at most.
class PositionSet {
 public:
  PositionSet(mint k, mint n) : bitmap_(n / kBitsWorthATableEntry <= k) {
    if (!bitmap_) mask_ = std::bit_ceil(2 * uint64_t(k)) - 1;
    const uint64_t words = bitmap_ ? uint64_t(n) / 64 + 1 : mask_ + 1;
    if (words <= SIZE_MAX / 16) words_ = static_cast<uint64_t*>(kCalloc(words, sizeof(uint64_t), 0, 1));
  }
  ~PositionSet() { zfree(words_); }
  PositionSet(const PositionSet&) = delete;
  PositionSet& operator=(const PositionSet&) = delete;

  explicit operator bool() const { return words_ != nullptr; }

  // Whether the position was not in the set before.
  bool insert(mint position) {
    const uint64_t p = uint64_t(position);
    if (bitmap_) {
      const uint64_t bit = uint64_t{1} << (p % 64), old = words_[p / 64];
      words_[p / 64] = old | bit;
      return !(old & bit);
    }
    uint64_t at = (p * 0x9e3779b97f4a7c15) >> 32 & mask_;
    for (; words_[at] != 0; at = (at + 1) & mask_)
      if (words_[at] == p) return false;
    words_[at] = p;
    return true;
  }

 private:
  bool bitmap_;
  uint64_t mask_ = 0;
  uint64_t* words_ = nullptr;
};

// Writes the positions that are new, in order; a repeated one is overwritten by the next. Positions of 0 were
// not drawn. @return how many the output holds now
mint keep_new(mint* output, mint filled, const mint* drawn, mint count, PositionSet& seen) {
  for (mint i = 0; i < count && drawn[i] != 0; ++i) {
    output[filled] = drawn[i];
    filled += seen.insert(drawn[i]);
  }
  return filled;
}

// Where the positions of an exchange come from, a chunk at a time: element i from 0 to last - i.
struct FromBuffer {
  RandomBuffer buffer;
  int32_t operator()(mint* draws, mint count, mint last) const {
    draw_falling(buffer, draws, count, last);
    return 0;
  }
};

struct FromFunction {
  RandomMIntegerFunction integers;
  RandomGenerator generator;
  int32_t operator()(mint* draws, mint count, mint last) const {
    int32_t code = 0;
    for (mint i = 0; i < count && code == 0; ++i) {
      draws[i] = 0;
      code = integers(draws + i, 1, 0, last - i, generator);
    }
    return code;
  }
};

// Fisher and Yates, from the end.
template <mint kChunk, class Position, class Draw>
int32_t exchange_from_end(mint* output, mint k, Position* positions, mint n, const Draw& draw) {
  for (mint i = 0; i < n; ++i) positions[i] = Position(i + 1);
  mint draws[kChunk];
  for (mint done = 0; done < k; done += kChunk) {
    const mint count = std::min(kChunk, k - done), last = n - 1 - done;
    const int32_t code = draw(draws, count, last);
    if (code != 0) return code;
    for (mint i = 0; i < count; ++i) {
      output[done + i] = positions[draws[i]];
      positions[draws[i]] = positions[last - i];
    }
  }
  return 0;
}

template <class Position>
int32_t sample_by_exchange_of(mint* output, mint k, mint n, RandomMIntegerFunction integers,
                              RandomGenerator generator) {
  if (uint64_t(n) > SIZE_MAX / sizeof(Position)) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  auto* positions = static_cast<Position*>(zalloc(size_t(n) * sizeof(Position), 1, 1));
  if (!positions) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  int32_t code;
  RandomBuffer own = integers == Generic_randomMIntegers ? own_buffer(generator) : nullptr;
  if (own)
    code = exchange_from_end<512>(output, k, positions, n, FromBuffer{own});
  else  // so that what was drawn before a failure is written
    code = exchange_from_end<1>(output, k, positions, n, FromFunction{integers, generator});
  zfree(positions);
  return code;
}

int32_t sample_by_exchange(mint* output, mint k, mint n, RandomMIntegerFunction integers,
                           RandomGenerator generator) {
  return n <= mint{std::numeric_limits<uint32_t>::max()}
             ? sample_by_exchange_of<uint32_t>(output, k, n, integers, generator)
             : sample_by_exchange_of<mint>(output, k, n, integers, generator);
}

int32_t sample_by_repetition(mint* output, mint k, mint n, RandomMIntegerFunction integers,
                             RandomGenerator generator) {
  mint* drawn = new_integers(k);
  PositionSet seen(k, n);
  int32_t code = drawn && seen ? 0 : ZENTHAR_ERROR_OUT_OF_MEMORY;
  for (mint filled = 0; code == 0 && filled < k;) {
    const mint count = k - filled;
    code = integers(drawn, count, 1, n, generator);
    if (code == 0) filled = keep_new(output, filled, drawn, count, seen);
  }
  zfree(drawn);
  return code;
}

// The weights that remain, summed by pairs: a complete binary tree in an array, node i above nodes 2 i and
// 2 i + 1, the leaves in order of positions.
class SumTree {
 public:
  SumTree(const mreal* sums, mint m) : leaves_(mint(std::bit_ceil(uint64_t(m)))) {
    if (m > std::numeric_limits<mint>::max() / 64) return;
    nodes_ = static_cast<mreal*>(kCalloc(2 * size_t(leaves_), sizeof(mreal), 1, 1));
    if (!nodes_) return;
    for (mint i = 0; i < m; ++i) nodes_[leaves_ + i] = sums[i] - (i > 0 ? sums[i - 1] : 0.0);
    for (mint i = leaves_ - 1; i > 0; --i) nodes_[i] = nodes_[2 * i] + nodes_[2 * i + 1];
  }
  ~SumTree() { zfree(nodes_); }
  SumTree(const SumTree&) = delete;
  SumTree& operator=(const SumTree&) = delete;

  explicit operator bool() const { return nodes_ != nullptr; }
  mreal total() const { return nodes_[1]; }

  // Takes out the position where x of the total falls; rounding never leads to one without weight.
  mint take(mreal x) {
    mint i = 1;
    while (i < leaves_) {
      i *= 2;
      const bool right = nodes_[i] == 0 || (x > nodes_[i] && nodes_[i + 1] > 0);
      x -= right ? nodes_[i] : 0.0;
      i += right;
    }
    const mint position = i - leaves_ + 1;
    nodes_[i] = 0;
    for (i /= 2; i > 0; i /= 2) nodes_[i] = nodes_[2 * i] + nodes_[2 * i + 1];
    return position;
  }

 private:
  mint leaves_;
  mreal* nodes_ = nullptr;
};

int32_t sample_by_tree(mint* output, mint k, const mreal* sums, mint m, RandomMRealFunction reals,
                       RandomGenerator generator) {
  mreal* draws = new_reals(k);
  if (!draws) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  std::fill_n(draws, k, std::numeric_limits<mreal>::quiet_NaN());
  int32_t code = reals(draws, k, generator, 0.0, 1.0);
  SumTree tree(sums, m);
  if (!tree) code = ZENTHAR_ERROR_OUT_OF_MEMORY;
  for (mint i = 0; tree && i < k && draws[i] == draws[i]; ++i) {
    if (tree.total() == 0) {
      code = kInvalid;
      break;
    }
    if (checkAbortWatch()) {
      code = kAborted;
      break;
    }
    output[i] = tree.take(draws[i] * tree.total());
  }
  zfree(draws);
  return code;
}

mint positions_with_weight(const mreal* sums, mint m) {
  mint count = 0;
  for (mint i = 0; i < m; ++i) count += sums[i] > (i > 0 ? sums[i - 1] : 0.0);
  return count;
}

int32_t sample_by_choices(mint* output, mint k, const mreal* sums, mint m, RandomGenerator generator) {
  const mint wanted = std::min(k, positions_with_weight(sums, m));
  mint* drawn = new_integers(k);
  PositionSet seen(k, m);
  int32_t code = drawn && seen ? 0 : ZENTHAR_ERROR_OUT_OF_MEMORY;
  for (mint filled = 0; code == 0 && filled < wanted;) {
    if (checkAbortWatch()) {
      code = kAborted;
      break;
    }
    const mint count = wanted - filled;
    std::fill_n(drawn, count, 0);
    code = RandomChoicePositionsM(drawn, count, sums, m, generator);
    filled = keep_new(output, filled, drawn, count, seen);
  }
  zfree(drawn);
  return code == 0 && wanted < k ? kInvalid : code;
}

}  // namespace
}  // namespace zenthar::random

using namespace zenthar::random;

HashTable PositionHashTable_new(mint k) {
  return New_HashTable(2 * k + 1, nullptr, nullptr, nullptr, HashEntry_NewGeneral, nullptr);
}

int32_t SimpleRandomSamplePositionsM(mint* output, mint k, mint n, RandomGenerator generator) {
  if (k <= 0) return 0;
  RandomMIntegerFunction integers = integer_function(generator);
  if (!integers || n < 1) return kInvalid;
  if (k <= n / 10) return sample_by_repetition(output, k, n, integers, generator);
  const int32_t code = sample_by_exchange(output, std::min(k, n), n, integers, generator);
  return code == 0 && k > n ? kInvalid : code;
}

int32_t RandomSamplePositionsM(mint* output, mint k, MTensor cumulative, RandomGenerator generator) {
  if (k <= 0) return 0;
  RandomMRealFunction reals = real_function(generator);
  if (!reals) return kNoFunction;
  const mint m = cumulative->flattenedLength;
  if (m < 1) return kInvalid;
  const auto* sums = static_cast<const mreal*>(cumulative->data);
  return k > m / 10 ? sample_by_tree(output, k, sums, m, reals, generator)
                    : sample_by_choices(output, k, sums, m, generator);
}

int32_t RandomSamples(mint* output, mint k, mint n, MTensor weights) {
  if (k <= 0) return 0;
  RandomGenerator generator = GetCurrentRandomGenerator();
  if (!weights) return SimpleRandomSamplePositionsM(output, k, n, generator);
  MTensor sums = nullptr;
  int32_t code = AccumulateWeightMTensor(&sums, weights);
  if (code == 0) code = RandomSamplePositionsM(output, k, sums, generator);
  FreeMTensor(sums);
  return code;
}
