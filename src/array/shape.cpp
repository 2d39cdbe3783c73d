// Shapes: counting elements, the dimension list of a header, and which shapes go together.
#include "array/shape.h"

#include <algorithm>
#include <cstring>

#include "zenthar/array.h"
#include "zenthar/errors.h"
#include "zenthar/memory.h"

namespace zenthar {

bool list_holds(MNumericArray array, mint rank) {
  return rank <= 0 || (array->dimensions && rank <= array->rank);
}

bool grow_list(MNumericArray array, mint rank, int32_t mode) {
  auto* list = static_cast<mint*>(zrealloc(array->dimensions, sizeof(mint) * size_t(rank), 0, mode));
  if (list) array->dimensions = list;
  return list != nullptr;
}

void free_list(MNumericArray array) {
  zfree(array->dimensions);
  array->dimensions = nullptr;
}

void store_shape(MNumericArray array, mint rank, const mint* dimensions, mint count) {
  if (rank <= 0) {
    free_list(array);
    array->rank = 0;
    array->flattenedLength = 1;
    return;
  }
  std::memmove(array->dimensions, dimensions, sizeof(mint) * size_t(rank));
  array->rank = rank;
  array->flattenedLength = count;
}

bool HeldDimensions::hold(const mint* dimensions, mint rank, int32_t mode) {
  mint* copy = inline_list;
  if (rank > kInlineRank) copy = heap_list = static_cast<mint*>(zalloc(sizeof(mint) * size_t(rank), 0, mode));
  if (!copy) return false;
  std::copy_n(dimensions, rank, copy);
  list = copy;
  return true;
}

void HeldDimensions::release() {
  zfree(heap_list);
  heap_list = nullptr;
}

}  // namespace zenthar

mint NumberOfElementsCommon(mint rank, const mint* dimensions, int32_t mode) {
  mint count = 1;
  for (mint i = 0; i < rank; ++i) {
    mint product;
    if (dimensions[i] >= 0 && !__builtin_mul_overflow(count, dimensions[i], &product))
      count = product;
    else if (mode != 0)
      return zenthar::kNoCount;
    else
      nomem();
  }
  return count;
}

int32_t MNumericArray_setDimensionsCommon(MNumericArray array, mint rank, const mint* dimensions, mint count,
                                          int32_t mode) {
  if (zenthar::list_holds(array, rank)) {
    zenthar::store_shape(array, rank, dimensions, count);
    return ZENTHAR_ERROR_SUCCESS;
  }
  zenthar::HeldDimensions held;
  const bool grown = held.hold(dimensions, rank, mode) && zenthar::grow_list(array, rank, mode);
  if (grown) zenthar::store_shape(array, rank, held.list, count);
  held.release();
  return grown ? ZENTHAR_ERROR_SUCCESS : ZENTHAR_ERROR_OUT_OF_MEMORY;
}

int32_t MNumericArray_resetDimensionsCommon(MNumericArray array, mint rank, const mint* dimensions,
                                            mint count, int32_t mode) {
  if (dimensions == array->dimensions && rank == array->rank) return ZENTHAR_ERROR_SUCCESS;
  return MNumericArray_setDimensionsCommon(array, rank, dimensions, count, mode);
}

mbool MNumericArray_compatibleDimensionsQ(MNumericArray a, MNumericArray b) {
  const mint common = std::min(a->rank, b->rank);
  return common <= 0 || std::memcmp(a->dimensions, b->dimensions, sizeof(mint) * size_t(common)) == 0;
}

mbool MNumericArray_maxCompatibleDimensions(MNumericArray a, MNumericArray b, mint* rank_out,
                                            const mint** dimensions_out) {
  if (!MNumericArray_compatibleDimensionsQ(a, b)) return 0;
  const MNumericArray longer = b->rank > a->rank ? b : a;
  *rank_out = longer->rank;
  *dimensions_out = longer->dimensions;
  return 1;
}
