// The dimension list of a header, in the steps that an allocation takes: whatever can fail comes before
// anything that changes the array.
#pragma once

#include <limits>

#include "zenthar/array.h"

namespace zenthar {

// The element count of a shape that cannot be had.
inline constexpr mint kNoCount = std::numeric_limits<mint>::max();

// Whether the header's list has room for so many dimensions.
bool list_holds(MNumericArray array, mint rank);

// Makes room; the entries stay. The list may be longer than the header's rank says. False without memory.
bool grow_list(MNumericArray array, mint rank, int32_t mode);

void free_list(MNumericArray array);

// Stores a shape in a list that has room for it; `dimensions` may lie in that list.
void store_shape(MNumericArray array, mint rank, const mint* dimensions, mint count);

// A copy of dimensions, for the time when the header's list, which they may lie in, is about to move. Its
// owner releases it by hand: between hold() and release() a host's function may leave by a jump, which must
// not pass over a destructor.
struct HeldDimensions {
  static constexpr mint kInlineRank = 16;

  const mint* list = nullptr;
  mint* heap_list = nullptr;
  mint inline_list[kInlineRank];

  bool hold(const mint* dimensions, mint rank, int32_t mode);
  void release();
};

}  // namespace zenthar
