// Keys: words whose unsigned order is the order in which elements are sorted. NaNs come after every number
// and are equal there, as are the two zeros.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "zenthar/types.h"

namespace zenthar {

inline constexpr uint64_t kSignBit = uint64_t{1} << 63;
inline constexpr uint64_t kNaNKey = ~uint64_t{0};

inline uint64_t sort_key(mint x) { return uint64_t(x) ^ kSignBit; }
inline mint integer_of_key(uint64_t key) { return mint(key ^ kSignBit); }

// Of a number: negative ones turned round, the others above them.
inline uint64_t number_key(mreal x) {
  const auto bits = std::bit_cast<uint64_t>(x + 0.0);  // no negative zero
  return bits ^ (uint64_t(int64_t(bits) >> 63) | kSignBit);
}
inline mreal number_of_key(uint64_t key) {
  return std::bit_cast<mreal>(key ^ (~uint64_t(int64_t(key) >> 63) | kSignBit));
}
inline uint64_t sort_key(mreal x) { return x == x ? number_key(x) : kNaNKey; }

// Of an imaginary part: by magnitude, then the negative one of two.
inline uint64_t imaginary_sort_key(mreal x) {
  if (x != x) return kNaNKey;
  const auto bits = std::bit_cast<uint64_t>(x + 0.0);
  return bits << 1 | uint64_t((bits & kSignBit) == 0);
}

// Rows of an array's data as the sorts see them: so many columns of keys each.
struct IntegerRows {
  const mint* data;
  mint columns;
  uint64_t key(mint row, mint column) const { return sort_key(data[row * columns + column]); }
};
struct RealRows {
  const mreal* data;
  mint columns;
  uint64_t key(mint row, mint column) const { return sort_key(data[row * columns + column]); }
};
// Two columns for each element.
struct ComplexRows {
  const mreal* data;
  mint columns;
  uint64_t key(mint row, mint column) const {
    const mreal part = data[row * columns + column];
    return column % 2 == 0 ? sort_key(part) : imaginary_sort_key(part);
  }
};

// The order of two rows that agree before a column.
template <typename Rows>
int32_t order_rows(const Rows& rows, mint a, mint b, mint column = 0) {
  for (; column < rows.columns; ++column) {
    const uint64_t key_a = rows.key(a, column), key_b = rows.key(b, column);
    if (key_a != key_b) return key_a < key_b ? -1 : 1;
  }
  return 0;
}

}  // namespace zenthar
