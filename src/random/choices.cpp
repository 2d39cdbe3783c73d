// Weighted choices with replacement.
//
// A draw's position is the first whose running sum reaches it. For many draws a table of equal slices of the
// total tells where the search of each slice begins and ends, which is next to nothing for most weights and a
// binary search within the slice for the rest: the positions are those of a search of the whole.
#include <algorithm>
#include <cmath>
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
constexpr int32_t kNotFinite = 1001;
constexpr mint kChunk = 512;  // draws at a time
constexpr mint kLargestTable = mint{1} << 24;

// Finds positions by running sums.
class Finder {
 public:
  // A table pays when there are several draws for each weight to be sorted in.
  Finder(const mreal* sums, mint m, mint k) : sums_(sums), m_(m) {
    if (m < 8 || m > kLargestTable || k < m / 2) return;
    slices_ = mint(std::bit_ceil(uint64_t(m))) << (k / 4 >= m);
    per_unit_ = mreal(slices_) / sums[m - 1];
    if (!std::isfinite(per_unit_)) return;
    begin_ = static_cast<int32_t*>(zalloc(size_t(slices_ + 1) * sizeof(int32_t), 0, 1));
    if (begin_) tabulate();
  }
  ~Finder() { zfree(begin_); }
  Finder(const Finder&) = delete;
  Finder& operator=(const Finder&) = delete;

  // The first position, from 1, whose sum reaches x and is not 0.
  mint operator()(mreal x) const {
    x = x > 0 ? x : std::numeric_limits<mreal>::denorm_min();
    mint lo = 0, hi = m_ - 1;
    if (begin_) {
      const int32_t* const slice = begin_ + slice_of(x);
      lo = slice[0];
      hi = slice[1];
      // Few slices have more than two sums, so mostly no branch depends on x from here on.
      lo += int(lo < hi) & int(sums_[lo] < x);
      lo += int(lo < hi) & int(sums_[lo] < x);
      if (!(int(lo < hi) & int(sums_[lo] < x))) [[likely]]
        return lo + 1;
    }
    while (lo < hi) {
      const mint mid = (lo + hi) >> 1;
      if (sums_[mid] < x)
        lo = mid + 1;
      else
        hi = mid;
    }
    return lo + 1;
  }

 private:
  // Does not fall where x grows, which is all that the table rests on.
  mint slice_of(mreal x) const {
    const mreal slice = x * per_unit_;
    return slice < mreal(slices_ - 1) ? mint(slice) : slices_ - 1;
  }

  // begin_[s] is the first position whose sum lies in slice s or beyond.
  void tabulate() {
    mint slice = 0;
    for (mint i = 0; i < m_; ++i)
      for (const mint of_sum = slice_of(sums_[i]); slice <= of_sum; ++slice) begin_[slice] = int32_t(i);
    for (; slice <= slices_; ++slice) begin_[slice] = int32_t(m_ - 1);
  }

  const mreal* sums_;
  mint m_;
  mint slices_ = 0;
  mreal per_unit_ = 0;
  int32_t* begin_ = nullptr;
};

// Draws and finds a chunk at a time, which the library's own real function gives the same values for.
int32_t choose_in_chunks(mint* output, mint k, mreal* draws, mreal total, RandomGenerator generator,
                         const Finder& find) {
  for (mint done = 0; done < k;) {
    const mint chunk = std::min(kChunk, k - done);
    mint drawn;
    const int32_t code = draw_reals(draws, chunk, generator, 0.0, total, &drawn);
    for (mint i = 0; i < drawn; ++i) output[done + i] = find(draws[i]);
    if (code != 0) return code;
    done += chunk;
  }
  return 0;
}

// One call for all. A function that fails leaves what it did not draw as it was.
int32_t choose_at_once(mint* output, mint k, mreal* draws, mreal total, RandomMRealFunction reals,
                       RandomGenerator generator, const Finder& find) {
  std::fill_n(draws, k, std::numeric_limits<mreal>::quiet_NaN());
  const int32_t code = reals(draws, k, generator, 0.0, total);
  for (mint i = 0; i < k && !std::isnan(draws[i]); ++i) output[i] = find(draws[i]);
  return code;
}

}  // namespace

mreal* new_reals(mint count) {
  if (uint64_t(count) > SIZE_MAX / sizeof(mreal)) return nullptr;
  return static_cast<mreal*>(zalloc(size_t(count) * sizeof(mreal), 1, 1));
}

mint* new_integers(mint count) {
  if (uint64_t(count) > SIZE_MAX / sizeof(mint)) return nullptr;
  return static_cast<mint*>(zalloc(size_t(count) * sizeof(mint), 1, 1));
}

}  // namespace zenthar::random

using namespace zenthar::random;

int32_t AccumulateWeightMTensor(MTensor* output, MTensor weights) {
  const mint n = weights ? weights->flattenedLength : 0;
  const int32_t type = weights ? weights->numericType : MNUMERICARRAY_TYPE_REAL64;
  if (type != MNUMERICARRAY_TYPE_REAL64 && type != MNUMERICARRAY_TYPE_INTEGER64 && n > 0) return kInvalid;
  const int32_t code = MTensor_allocateCommon(output, MTENSOR_TYPE_REAL, 1, &n, 1);
  if (code != 0) return code;
  auto* sums = static_cast<mreal*>((*output)->data);
  mreal total = 0;
  for (mint i = 0; i < n; ++i) {
    const mreal weight = type == MNUMERICARRAY_TYPE_REAL64
                             ? static_cast<const mreal*>(weights->data)[i]
                             : mreal(static_cast<const mint*>(weights->data)[i]);
    if (weight < 0) return kInvalid;
    sums[i] = total += weight;
  }
  if (total == 0) return kInvalid;
  return std::isfinite(total) ? 0 : kNotFinite;
}

int32_t RandomChoicePositionsM(mint* output, mint k, const mreal* cumulative, mint m,
                               RandomGenerator generator) {
  if (k <= 0) return 0;
  RandomMRealFunction reals = real_function(generator);
  if (!reals) return kNoFunction;
  if (m < 1) return kInvalid;
  const mreal total = cumulative[m - 1];
  mreal* draws = new_reals(k);
  if (!draws) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  int32_t code;
  {
    const Finder find(cumulative, m, k);
    code = reals == Generic_randomMReals && own_buffer(generator)
               ? choose_in_chunks(output, k, draws, total, generator, find)
               : choose_at_once(output, k, draws, total, reals, generator, find);
  }
  zfree(draws);
  return code;
}

int32_t RandomChoices(mint* output, mint k, mint n, MTensor weights) {
  if (k <= 0) return 0;
  RandomGenerator generator = GetCurrentRandomGenerator();
  if (!weights) {
    RandomMIntegerFunction integers = integer_function(generator);
    return integers && n >= 1 ? integers(output, k, 1, n, generator) : kInvalid;
  }
  if (weights->flattenedLength != n) return ZENTHAR_ERROR_INTEGER_INEXACT_DIVISION;
  MTensor sums = nullptr;
  int32_t code = AccumulateWeightMTensor(&sums, weights);
  if (code == 0) code = RandomChoicePositionsM(output, k, static_cast<mreal*>(sums->data), n, generator);
  FreeMTensor(sums);
  return code;
}
