// The word sort: natural runs are merged where there are few, other words are distributed by their digits.
//
// A least-significant-digit radix sort moves all words once for each digit of 11 bits, so it is given only
// the three highest digits that vary; words that agree in those are few in most inputs and are sorted in a
// last pass over the groups. A group that is not small is sorted in the same way by the bits that are left.
#include "kernels/comparison/word_sort.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "kernels/comparison/merge.h"
#include "zenthar/dispatch.h"
#include "zenthar/errors.h"
#include "zenthar/parallel.h"

namespace zenthar {
namespace {

constexpr int kDigitBits = 11;
constexpr int kDigits = 3;
constexpr mint kBuckets = mint{1} << kDigitBits;
constexpr mint kInsertion = 20;              // words up to which insertion is fastest
constexpr mint kMergeSort = 400;             // words from which distribution pays
constexpr mint kMaxRuns = 8;                 // natural runs that are merged rather than distributed
constexpr mint kPollBlock = mint{1} << 20;   // words moved between two looks for an abort request
constexpr mint kLeastShare = mint{1} << 16;  // words for which another thread is woken

void insertion_sort(uint64_t* words, mint n) {
  for (mint i = 1; i < n; ++i) {
    const uint64_t word = words[i];
    mint j = i;
    for (; j > 0 && word < words[j - 1]; --j) words[j] = words[j - 1];
    words[j] = word;
  }
}

uint64_t* merge_sort(uint64_t* words, uint64_t* spare, mint n) {
  for (mint i = 0; i < n; i += kInsertion) insertion_sort(words + i, std::min(kInsertion, n - i));
  for (mint run = kInsertion; run < n; run *= 2) {
    for (mint i = 0; i < n; i += 2 * run) {
      const mint middle = std::min(i + run, n), end = std::min(i + 2 * run, n);
      merge_words(words + i, words + middle, words + end, spare + i);
    }
    std::swap(words, spare);
  }
  return words;
}

// ------------------------------------------------------------------------------------------ natural runs

// Where maximal ascending runs begin, descending ones having been turned round; count 0 when there are too
// many.
struct Runs {
  mint count = 0;
  mint start[kMaxRuns + 1];
};

// Where words carry positions, no two of a descending run agree above them, so turning it keeps equals in
// order.
Runs find_runs(uint64_t* words, mint n) {
  Runs runs;
  mint i = 0;
  while (i < n) {
    if (runs.count == kMaxRuns) return {};
    runs.start[runs.count++] = i;
    mint end = i + 1;
    if (end < n && words[end] < words[i]) {
      while (end < n && words[end] < words[end - 1]) ++end;
      std::reverse(words + i, words + end);
    } else {
      while (end < n && words[end] >= words[end - 1]) ++end;
    }
    i = end;
  }
  runs.start[runs.count] = n;
  return runs;
}

uint64_t* merge_runs(uint64_t* words, uint64_t* spare, Runs& runs) {
  while (runs.count > 1) {
    if (checkAbortWatch()) return nullptr;
    mint merged = 0;
    for (mint r = 0; r < runs.count; r += 2) {
      const mint first = runs.start[r], middle = runs.start[r + 1];
      const mint end = runs.start[std::min(r + 2, runs.count)];
      merge_words(words + first, words + middle, words + end, spare + first);
      runs.start[merged++] = first;
    }
    runs.start[merged] = runs.start[runs.count];
    runs.count = merged;
    std::swap(words, spare);
  }
  return words;
}

// ------------------------------------------------------------------------------------------ distribution

// The digits a distribution goes by: `count` of `bits` bits each, the lowest one at `shift`.
struct Digits {
  int shift;
  int bits;
  int count;

  // The highest of the bits that vary.
  static Digits highest(uint64_t varying) {
    const int top = int(std::bit_width(varying));
    const int span = std::min(top - int(std::countr_zero(varying)), kDigitBits * kDigits);
    const int count = (span + kDigitBits - 1) / kDigitBits;
    const int bits = (span + count - 1) / count;
    return {std::max(top - bits * count, 0), bits, count};
  }
  uint64_t of(uint64_t word, int k) const { return word >> (shift + k * bits) & ((uint64_t{1} << bits) - 1); }
};

using Counts = uint32_t[kDigits][kBuckets];

bool count_digits(const uint64_t* words, mint n, const Digits& digits, Counts& counts) {
  std::memset(counts, 0, sizeof counts);
  for (mint from = 0; from < n; from += kPollBlock) {
    if (from > 0 && checkAbortWatch()) return false;
    const mint end = std::min(from + kPollBlock, n);
    for (mint i = from; i < end; ++i)
      for (int k = 0; k < kDigits; ++k)
        if (k < digits.count) ++counts[k][digits.of(words[i], k)];
  }
  return true;
}

// Counts become the places where the words of each bucket begin; false when one bucket has them all.
bool place_buckets(uint32_t* counts, mint buckets, mint n) {
  uint32_t next = 0;
  for (mint b = 0; b < buckets; ++b) {
    const uint32_t count = counts[b];
    if (count == uint32_t(n)) return false;
    counts[b] = next;
    next += count;
  }
  return true;
}

bool distribute(const uint64_t* words, uint64_t* out, mint n, const Digits& digits, int k, uint32_t* places) {
  const int shift = digits.shift + k * digits.bits;
  const uint64_t mask = (uint64_t{1} << digits.bits) - 1;
  for (mint from = 0; from < n; from += kPollBlock) {
    if (from > 0 && checkAbortWatch()) return false;
    const mint end = std::min(from + kPollBlock, n);
    for (mint i = from; i < end; ++i) out[places[words[i] >> shift & mask]++] = words[i];
  }
  return true;
}

// Words stand in order by their bits from `shift` up: sorts each group that agrees there.
bool sort_groups(uint64_t* words, uint64_t* spare, mint n, int shift, int positions) {
  for (mint i = 1; i < n; ++i) {
    if (words[i] >= words[i - 1]) [[likely]]
      continue;
    const uint64_t group = words[i] >> shift;
    mint start = i - 1, end = i + 1;
    while (start > 0 && words[start - 1] >> shift == group) --start;
    while (end < n && words[end] >> shift == group) ++end;
    if (end - start <= kInsertion) {
      insertion_sort(words + start, end - start);
    } else {
      const uint64_t* const sorted =
          sort_words_serially(words + start, spare + start, end - start, positions);
      if (!sorted) return false;
      if (sorted != words + start) std::copy_n(sorted, end - start, words + start);
    }
    i = end - 1;
  }
  return true;
}

uint64_t differing_bits(const uint64_t* words, mint n) {
  uint64_t varying = 0;
  for (mint i = 1; i < n; ++i) varying |= words[i] ^ words[0];
  return varying;
}

uint64_t* radix_sort(uint64_t* words, uint64_t* spare, mint n, int positions) {
  const uint64_t varying = differing_bits(words, n) >> positions << positions;
  if (varying == 0) return words;
  const Digits digits = Digits::highest(varying);
  Counts counts;
  if (!count_digits(words, n, digits, counts)) return nullptr;
  for (int k = 0; k < digits.count; ++k) {
    if (!place_buckets(counts[k], mint{1} << digits.bits, n)) continue;
    if (checkAbortWatch() || !distribute(words, spare, n, digits, k, counts[k])) return nullptr;
    std::swap(words, spare);
  }
  if (digits.shift > int(std::countr_zero(varying)) && !sort_groups(words, spare, n, digits.shift, positions))
    return nullptr;
  return words;
}

// Counts are 32 bits wide: what has more words is sorted in parts.
constexpr mint kMostCounted = mint{1} << 31;

uint64_t* sort_halves(uint64_t* words, uint64_t* spare, mint n, int positions) {
  const mint half = n / 2;
  for (const mint from : {mint{0}, half}) {
    const mint count = from == 0 ? half : n - half;
    uint64_t* const sorted = sort_words_serially(words + from, spare + from, count, positions);
    if (!sorted) return nullptr;
    if (sorted != words + from) std::copy_n(sorted, count, words + from);
  }
  merge_words(words, words + half, words + n, spare);
  return spare;
}

}  // namespace

uint64_t* sort_words_serially(uint64_t* words, uint64_t* spare, mint n, int positions) {
  if (n <= kInsertion) {
    insertion_sort(words, n);
    return words;
  }
  if (Runs runs = find_runs(words, n); runs.count > 0) return merge_runs(words, spare, runs);
  if (n <= kMergeSort) return merge_sort(words, spare, n);
  if (n > kMostCounted) return sort_halves(words, spare, n, positions);
  return radix_sort(words, spare, n, positions);
}

// ------------------------------------------------------------------------------------------ threads

namespace {

// A sort of equal parts, and rounds in which neighbouring parts are merged; each step is a loop of the pool.
struct SharedSort {
  uint64_t* words;
  uint64_t* spare;
  mint n;
  int positions;
  mint parts;
  mint width;  // parts that are in order together

  mint start(mint part) const { return mint(__int128(n) * std::min(part, parts) / parts); }
};

void sort_part(void* data, ParallelThread thread) {
  const auto& sort = *static_cast<const SharedSort*>(data);
  for (mint part = ParallelThread_RangeStart(thread); part < ParallelThread_RangeEnd(thread); ++part) {
    const mint from = sort.start(part), count = sort.start(part + 1) - from;
    const uint64_t* const sorted =
        sort_words_serially(sort.words + from, sort.spare + from, count, sort.positions);
    if (!sorted) return ParallelThread_cancel(thread, ZENTHAR_ERROR_ABORT);
    if (sorted != sort.words + from) std::copy_n(sorted, count, sort.words + from);
  }
}

// Writes part `part` of the output: its share of the merge of the two runs that it lies in.
void merge_part(void* data, ParallelThread thread) {
  const auto& sort = *static_cast<const SharedSort*>(data);
  for (mint part = ParallelThread_RangeStart(thread); part < ParallelThread_RangeEnd(thread); ++part) {
    if (checkAbortWatch()) return ParallelThread_cancel(thread, ZENTHAR_ERROR_ABORT);
    const mint pair = part - part % (2 * sort.width);
    const mint first = sort.start(pair), middle = sort.start(pair + sort.width);
    const mint end = sort.start(pair + 2 * sort.width);
    merge_share(sort.words + first, sort.words + middle, sort.words + end, sort.spare + first,
                sort.start(part) - first, sort.start(part + 1) - first);
  }
}

uint64_t* sort_shared(SharedSort sort) {
  int32_t status = ParallelThreads_For(&sort, nullptr, sort_part, 0, sort.parts, 1, nullptr);
  for (sort.width = 1; status == 0 && sort.width < sort.parts; sort.width *= 2) {
    status = ParallelThreads_For(&sort, nullptr, merge_part, 0, sort.parts, 1, nullptr);
    if (status == 0) std::swap(sort.words, sort.spare);
  }
  if (status == 0) return sort.words;
  if (status == ZENTHAR_ERROR_ABORT) return nullptr;
  return sort_words_serially(sort.words, sort.spare, sort.n, sort.positions);  // no memory for a pool
}

}  // namespace

uint64_t* sort_words(uint64_t* words, uint64_t* spare, mint n, int positions) {
  if (n >= 2 * kLeastShare && n >= getVectorParallelLengthThreshold(4)) {
    if (Runs runs = find_runs(words, n); runs.count > 0) return merge_runs(words, spare, runs);
    const mint threads = getParallelThreadNumber();
    const mint parts = std::min(threads, n / kLeastShare);
    if (parts > 1) return sort_shared({words, spare, n, positions, parts, 1});
  }
  return sort_words_serially(words, spare, n, positions);
}

}  // namespace zenthar
