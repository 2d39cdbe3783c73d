// Merging two neighbouring ascending runs of words.
#pragma once

#include <algorithm>
#include <cstdint>

#include "zenthar/types.h"

namespace zenthar {

// Merges [a, a_end) and [b, b_end) to `out`; on equal words those of a come first.
inline void merge_runs_to(const uint64_t* a, const uint64_t* a_end, const uint64_t* b, const uint64_t* b_end,
                          uint64_t* out) {
  while (a != a_end && b != b_end) {
    const bool second = *b < *a;
    *out++ = second ? *b : *a;
    a += !second;
    b += second;
  }
  out = std::copy(a, a_end, out);
  std::copy(b, b_end, out);
}

// How many of the first `count` words of the merge come from the first run.
inline mint merge_split(const uint64_t* first, const uint64_t* middle, const uint64_t* end, mint count) {
  const mint of_first = middle - first, of_second = end - middle;
  mint low = std::max(mint{0}, count - of_second), high = std::min(count, of_first);
  while (low < high) {
    const mint taken = low + (high - low) / 2;
    if (middle[count - taken - 1] < first[taken])
      high = taken;
    else
      low = taken + 1;
  }
  return low;
}

// Writes words [from, to) of the merge of [first, middle) and [middle, end), which begins at `out`.
inline void merge_share(const uint64_t* first, const uint64_t* middle, const uint64_t* end, uint64_t* out,
                        mint from, mint to) {
  const mint a = merge_split(first, middle, end, from), a_end = merge_split(first, middle, end, to);
  merge_runs_to(first + a, first + a_end, middle + (from - a), middle + (to - a_end), out + from);
}

inline void merge_words(const uint64_t* first, const uint64_t* middle, const uint64_t* end, uint64_t* out) {
  if (first == middle || middle == end || middle[-1] <= *middle)
    std::copy(first, end, out);
  else
    merge_runs_to(first, middle, middle, end, out);
}

}  // namespace zenthar
