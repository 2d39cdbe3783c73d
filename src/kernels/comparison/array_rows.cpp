#include "kernels/comparison/array_rows.h"

#include <cstring>

namespace zenthar {
namespace {

constexpr int32_t kQuietly = 1;  // the failure mode of results

template <typename Element>
void copy_elements(void* to, const void* from, const mint* rows, mint count) {
  auto* const out = static_cast<Element*>(to);
  const auto* const in = static_cast<const Element*>(from);
  for (mint k = 0; k < count; ++k) out[k] = in[rows[k]];
}

void copy_rows(void* to, const void* from, const mint* rows, mint count, size_t bytes) {
  if (bytes == sizeof(mint)) return copy_elements<mint>(to, from, rows, count);
  if (bytes == sizeof(mcomplex)) return copy_elements<mcomplex>(to, from, rows, count);
  if (bytes == 0) return;
  for (mint k = 0; k < count; ++k)
    std::memcpy(static_cast<char*>(to) + size_t(k) * bytes,
                static_cast<const char*>(from) + size_t(rows[k]) * bytes, bytes);
}

}  // namespace

int32_t gather_rows(MTensor* result, MTensor array, const mint* rows, mint count) {
  const WorkSpace<mint> dimensions(array->rank);
  if (!dimensions) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  std::copy_n(array->dimensions, array->rank, dimensions.get());
  dimensions[0] = count;
  const size_t bytes = size_t(row_elements(array) * MNumericArray_typeSizeTable[array->numericType]);
  // Rows do not move within their own array: they are gathered beside it first.
  const bool in_place = *result == array;
  MTensor beside = nullptr;
  MTensor* const handle = in_place ? &beside : result;
  int32_t status = MTensor_allocateCommon(handle, array->tensorType, array->rank, dimensions.get(), kQuietly);
  if (status != 0) return status;
  copy_rows((*handle)->data, array->data, rows, count, bytes);
  if (!in_place) return status;
  status = MTensor_allocateMemoryCommon(array, array->tensorType, array->rank, dimensions.get(), kQuietly);
  if (status == 0 && bytes != 0 && count != 0) std::memcpy(array->data, beside->data, size_t(count) * bytes);
  MTensor_delete(beside);
  return status;
}

}  // namespace zenthar
