// Storage for a type and a shape: a new array, or an existing one made to hold it.
//
// An array that cannot be given what was asked for keeps what it had. Therefore the steps that can fail come
// first: the dimension list grows (its entries and the rank stay), then the buffer is resized, and only then
// are type and shape written.
#include <algorithm>

#include "array/element_types.h"
#include "array/shape.h"
#include "memory/allocator.h"
#include "zenthar/array.h"
#include "zenthar/errors.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"

namespace {

constexpr mint kOverflowedBytes = -1;

bool has_negative(mint rank, const mint* dimensions) {
  for (mint i = 0; i < rank; ++i)
    if (dimensions[i] < 0) return true;
  return false;
}

bool has_shape(MNumericArray array, mint rank, const mint* dimensions) {
  return array->dimensions && array->rank == rank &&
         std::equal(dimensions, dimensions + rank, array->dimensions);
}

int32_t fail_request(mint bytes, int32_t mode) {
  if (mode == 2) StartOutOfMemoryAbort(bytes);
  return ZENTHAR_ERROR_OUT_OF_MEMORY;
}

int32_t fail_element_count(int32_t mode) {
  zenthar::report_failed_request(uint64_t(kOverflowedBytes));
  if (mode == 0) nomem();
  return fail_request(kOverflowedBytes, mode);
}

// Makes the buffer hold `count` elements of a type, its bytes kept as far as they fit; none for a count of 0.
int32_t resize_buffer(MNumericArray array, int32_t type, mint count, int32_t mode) {
  if (count == 0) {
    zfree(array->data);
    array->data = nullptr;
    return ZENTHAR_ERROR_SUCCESS;
  }
  mint bytes;
  if (__builtin_mul_overflow(zenthar::element_size(type), count, &bytes)) {
    if (mode != 0) {
      zenthar::report_failed_request(uint64_t(kOverflowedBytes));
      return fail_request(kOverflowedBytes, mode);
    }
    nomem();  // should it return, the wrapped count is requested
    if (bytes == 0) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  }
  void* data = zrealloc(array->data, size_t(bytes), zenthar::is_aligned_type(type), mode);
  if (!data) return fail_request(bytes, mode);
  array->data = data;
  return ZENTHAR_ERROR_SUCCESS;
}

int32_t retype(MNumericArray array, int32_t type, int32_t mode) {
  if (array->data) {
    if (array->numericType == type) return ZENTHAR_ERROR_SUCCESS;
    const int32_t status = resize_buffer(array, type, array->flattenedLength, mode);
    if (status != 0) return status;
  }
  zenthar::assign_type(array, type);
  return ZENTHAR_ERROR_SUCCESS;
}

// The header's list has room for `dimensions`, which do not lie in a list that is about to move.
int32_t resize_and_store(MNumericArray array, int32_t type, mint rank, const mint* dimensions, mint count,
                         int32_t mode) {
  const int32_t status = resize_buffer(array, type, count, mode);
  if (status != 0) return status;
  zenthar::assign_type(array, type);
  zenthar::store_shape(array, rank, dimensions, count);
  return ZENTHAR_ERROR_SUCCESS;
}

int32_t reshape(MNumericArray array, int32_t type, mint rank, const mint* dimensions, int32_t mode) {
  const mint count = NumberOfElementsCommon(rank, dimensions, 1);
  if (count == zenthar::kNoCount) return fail_element_count(mode);
  if (zenthar::list_holds(array, rank)) return resize_and_store(array, type, rank, dimensions, count, mode);
  zenthar::HeldDimensions held;
  const bool grown = held.hold(dimensions, rank, mode) && zenthar::grow_list(array, rank, mode);
  const int32_t status = grown ? resize_and_store(array, type, rank, held.list, count, mode)
                               : fail_request(mint(sizeof(mint)) * rank, mode);
  held.release();
  if (status != 0 && array->rank == 0) zenthar::free_list(array);  // there was none before
  return status;
}

// Storage for dimensions that are known not to be negative.
int32_t give_storage(MNumericArray array, int32_t type, mint rank, const mint* dimensions, int32_t mode) {
  return has_shape(array, rank, dimensions) ? retype(array, type, mode)
                                            : reshape(array, type, rank, dimensions, mode);
}

}  // namespace

int32_t MNumericArray_allocateMemoryCommon(MNumericArray array, int32_t type, mint rank,
                                           const mint* dimensions, int32_t mode) {
  if (has_negative(rank, dimensions)) return ZENTHAR_ERROR_NEGATIVE_DIMENSION;
  return give_storage(array, type, rank, dimensions, mode);
}

int32_t MNumericArray_allocateMemoryLikeCommon(MNumericArray array, MNumericArray model, int32_t mode) {
  return MNumericArray_allocateMemoryCommon(array, model->numericType, model->rank, model->dimensions, mode);
}

int32_t MNumericArray_allocateCommon(MNumericArray* handle, int32_t type, mint rank, const mint* dimensions,
                                     int32_t mode) {
  if (has_negative(rank, dimensions)) return ZENTHAR_ERROR_NEGATIVE_DIMENSION;
  if (*handle) return give_storage(*handle, type, rank, dimensions, mode);
  const MNumericArray array = MNumericArray_new();
  if (!array) return fail_request(sizeof(st_MNumericArray), mode);
  const int32_t status = give_storage(array, type, rank, dimensions, mode);
  if (status != 0) {
    MNumericArray_delete(array);
    return status;
  }
  *handle = array;
  return ZENTHAR_ERROR_SUCCESS;
}

MNumericArray MNumericArray_newAllocatedCommon(int32_t type, mint rank, const mint* dimensions,
                                               int32_t mode) {
  MNumericArray array = nullptr;
  MNumericArray_allocateCommon(&array, type, rank, dimensions, mode);
  return array;
}

MNumericArray Runtime_CreateNumericArray(int32_t type, mint rank, const mint* dimensions) {
  return MNumericArray_newAllocatedCommon(type, rank, dimensions, 2);
}
