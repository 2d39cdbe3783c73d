// Ordering permutations, column by column.
//
// The rows of a group are sorted by one column as words: the key's highest varying bits, and below them the
// row's place in the group. Words that agree in all their key bits make the groups that are sorted next, by
// the rest of the key where a word had no room for it, else by the next column. The places ascend, so equal
// rows never change their order.
#include "kernels/comparison/permutation.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <type_traits>

#include "kernels/comparison/word_sort.h"
#include "kernels/scalar/raise.h"
#include "zenthar/comparison.h"
#include "zenthar/errors.h"
#include "zenthar/memory.h"

namespace zenthar {
namespace {

constexpr mint kFewRows = 16;     // rows that are sorted by comparing them
constexpr int kMostNested = 100;  // groups within groups, before the stack would grow too deep

template <typename Rows>
class PermutationSort {
 public:
  // Three arrays of a word for each row.
  PermutationSort(const Rows& rows, mint* permutation, uint64_t* words, uint64_t* spare)
      : rows_(rows), permutation_(permutation), words_(words), spare_(spare) {}

  // False when aborted.
  bool sort(mint n) { return sort_group(0, n, 0, 0, /*identity=*/true); }

 private:
  mint row_at(mint i, bool identity) const { return identity ? i : permutation_[i]; }

  // Sorts the rows at [from, to) of the permutation, which agree before the column and ascend.
  bool sort_group(mint from, mint to, mint column, int nested, bool identity) {
    uint64_t varying = 0;
    for (; column < rows_.columns; ++column)
      if ((varying = varying_bits(from, to, column, identity)) != 0) break;
    if (varying == 0 || to - from <= kFewRows || nested == kMostNested) {
      if (identity) std::iota(permutation_ + from, permutation_ + to, from);
      if (varying != 0) compare_and_sort(from, to, column);
      return true;
    }
    const int place_bits = int(std::bit_width(uint64_t(to - from - 1)));
    const int highest = int(std::countl_zero(varying));  // leading bits in which no keys differ
    // `varying` is not 0, so `highest` is below 64.
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
    const bool whole = (varying << highest & places(place_bits)) == 0;
    fill_words(from, to, column, highest, place_bits, identity);
    uint64_t* const sorted = sort_words(words_ + from, spare_ + from, to - from, place_bits);
    if (!sorted) return false;
    uint64_t* const other = sorted == words_ + from ? spare_ + from : words_ + from;
    take_rows(from, to, sorted, other, place_bits, identity);
    const mint next = column + mint(whole);
    return next == rows_.columns || sort_equals(from, to, sorted, next, nested, place_bits);
  }

  static uint64_t places(int bits) { return (uint64_t{1} << bits) - 1; }

  uint64_t varying_bits(mint from, mint to, mint column, bool identity) const {
    uint64_t varying = 0;
    const uint64_t first = rows_.key(row_at(from, identity), column);
    if (identity)
      for (mint i = from; i < to; ++i) varying |= rows_.key(i, column) ^ first;
    else
      for (mint i = from; i < to; ++i) varying |= rows_.key(permutation_[i], column) ^ first;
    return varying;
  }

  void fill_words(mint from, mint to, mint column, int highest, int place_bits, bool identity) {
    const uint64_t keys = ~places(place_bits);
    uint64_t* const words = words_ + from;
    if (identity)
      for (mint i = from; i < to; ++i)
        words[i - from] = (rows_.key(i, column) << highest & keys) | uint64_t(i - from);
    else
      for (mint i = from; i < to; ++i)
        words[i - from] = (rows_.key(permutation_[i], column) << highest & keys) | uint64_t(i - from);
  }

  // Puts the rows of the group in the order of the words.
  void take_rows(mint from, mint to, const uint64_t* sorted, uint64_t* other, int place_bits, bool identity) {
    const uint64_t mask = places(place_bits);
    mint* const rows = permutation_ + from;
    if (identity) {
      for (mint i = 0; i < to - from; ++i) rows[i] = from + mint(sorted[i] & mask);
      return;
    }
    for (mint i = 0; i < to - from; ++i) other[i] = uint64_t(rows[sorted[i] & mask]);
    for (mint i = 0; i < to - from; ++i) rows[i] = mint(other[i]);
  }

  // Sorts each run of rows whose words agree but for the places. The words of a run may be overwritten then.
  bool sort_equals(mint from, mint to, const uint64_t* sorted, mint column, int nested, int place_bits) {
    const mint n = to - from;
    for (mint i = 1; i < n;) {
      if ((sorted[i] ^ sorted[i - 1]) >> place_bits != 0) {
        ++i;
        continue;
      }
      const mint start = i - 1;
      const uint64_t key = sorted[start] >> place_bits;
      while (i < n && sorted[i] >> place_bits == key) ++i;
      if (!sort_group(from + start, from + i, column, nested + 1, false)) return false;
      ++i;
    }
    return true;
  }

  void compare_and_sort(mint from, mint to, mint column) {
    const auto before = [&](mint a, mint b) {
      const int32_t order = order_rows(rows_, a, b, column);
      return order != 0 ? order < 0 : a < b;
    };
    mint* const rows = permutation_;
    if (to - from > kFewRows) return std::sort(rows + from, rows + to, before);
    for (mint i = from + 1; i < to; ++i) {
      const mint row = rows[i];
      mint j = i;
      for (; j > from && order_rows(rows_, row, rows[j - 1], column) < 0; --j) rows[j] = rows[j - 1];
      rows[j] = row;
    }
  }

  const Rows& rows_;
  mint* permutation_;
  uint64_t* words_;
  uint64_t* spare_;
};

// Whether each value of a list stands to its predecessor in a relation; looks at blocks, without a branch for
// each.
template <typename Value, typename Holds>
bool all_neighbours(const Value* values, mint n, Holds holds) {
  constexpr mint kBlock = 512;
  for (mint from = 1; from < n; from += kBlock) {
    const mint end = std::min(from + kBlock, n);
    int64_t failures = 0;
    for (mint i = from; i < end; ++i) failures |= int64_t(!holds(values[i - 1], values[i]));
    if (failures != 0) return false;
  }
  return true;
}

// What one look at the rows can tell: ascending, or each below the one before. Values are looked at as they
// are; only where that fails can a NaN have been the reason.
template <typename Rows>
bool ascends(const Rows& rows, mint n) {
  if constexpr (!std::is_same_v<Rows, ComplexRows>)
    if (rows.columns == 1 && all_neighbours(rows.data, n, [](auto a, auto b) { return a <= b; })) return true;
  for (mint i = 1; i < n; ++i)
    if (order_rows(rows, i - 1, i) > 0) return false;
  return true;
}

template <typename Rows>
bool descends(const Rows& rows, mint n) {
  if constexpr (!std::is_same_v<Rows, ComplexRows>)
    if (rows.columns == 1 && all_neighbours(rows.data, n, [](auto a, auto b) { return a > b; })) return true;
  for (mint i = 1; i < n; ++i)
    if (order_rows(rows, i - 1, i) <= 0) return false;
  return true;
}

template <typename Rows>
void sort_in_place(mint* permutation, const Rows& rows, mint n) {
  std::iota(permutation, permutation + n, mint{0});
  std::sort(permutation, permutation + n, [&](mint a, mint b) {
    const int32_t order = order_rows(rows, a, b);
    return order != 0 ? order < 0 : a < b;
  });
}

template <typename Rows>
bool sort_rows(mint* permutation, const Rows& rows, mint n) {
  if (n <= 0) return true;
  if (ascends(rows, n)) {
    std::iota(permutation, permutation + n, mint{0});
    return true;
  }
  if (descends(rows, n)) {
    for (mint i = 0; i < n; ++i) permutation[i] = n - 1 - i;
    return true;
  }
  if (n <= kFewRows) return PermutationSort<Rows>(rows, permutation, nullptr, nullptr).sort(n);
  auto* const words = static_cast<uint64_t*>(RuntimeAllocate(2 * size_t(n) * sizeof(uint64_t)));
  if (!words) {
    sort_in_place(permutation, rows, n);
    return true;
  }
  const bool sorted = PermutationSort<Rows>(rows, permutation, words, words + n).sort(n);
  zfree(words);
  if (!sorted) std::iota(permutation, permutation + n, mint{0});
  return sorted;
}

}  // namespace

bool sorting_permutation(mint* permutation, const IntegerRows& rows, mint n) {
  return sort_rows(permutation, rows, n);
}
bool sorting_permutation(mint* permutation, const RealRows& rows, mint n) {
  return sort_rows(permutation, rows, n);
}
bool sorting_permutation(mint* permutation, const ComplexRows& rows, mint n) {
  return sort_rows(permutation, rows, n);
}

}  // namespace zenthar

void MergeSortPermutation_mint(mint* permutation, const mint* values, mint n) {
  if (!zenthar::sorting_permutation(permutation, zenthar::IntegerRows{values, 1}, n))
    zenthar::raise_error(ZENTHAR_ERROR_ABORT);
}

void MergeSortPermutation_double(mint* permutation, const mreal* values, mint n) {
  if (!zenthar::sorting_permutation(permutation, zenthar::RealRows{values, 1}, n))
    zenthar::raise_error(ZENTHAR_ERROR_ABORT);
}
