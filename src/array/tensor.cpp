// The tensor view of compiled code: entries that map the machine type and forward.
#include "array/element_types.h"
#include "zenthar/array.h"

using zenthar::element_type_of;

MTensor MTensor_new(void) { return MNumericArray_new(); }

void MTensor_delete(MTensor array) { MNumericArray_delete(array); }

void MTensor_freeMemory(MTensor array) { MNumericArray_freeMemory(array); }

mint MTensor_getByteCount(MTensor array) { return MNumericArray_getByteCount(array); }

MTensor MTensor_loadNewRank0(const void* value, int32_t tensor_type) {
  return MNumericArray_loadNewRank0(value, element_type_of(tensor_type));
}

MTensor* MTensor_loadSharedRank0(const void* value, int32_t tensor_type, mint slot) {
  return MNumericArray_loadSharedRank0(value, element_type_of(tensor_type), slot);
}

int32_t MTensor_allocateCommon(MTensor* handle, int32_t tensor_type, mint rank, const mint* dimensions,
                               int32_t mode) {
  return MNumericArray_allocateCommon(handle, element_type_of(tensor_type), rank, dimensions, mode);
}

int32_t MTensor_allocateMemoryCommon(MTensor array, int32_t tensor_type, mint rank, const mint* dimensions,
                                     int32_t mode) {
  return MNumericArray_allocateMemoryCommon(array, element_type_of(tensor_type), rank, dimensions, mode);
}

int32_t MTensor_allocateMemoryLikeCommon(MTensor array, MTensor model, int32_t mode) {
  return MNumericArray_allocateMemoryLikeCommon(array, model, mode);
}

MTensor MTensor_newAllocatedCommon(int32_t tensor_type, mint rank, const mint* dimensions, int32_t mode) {
  return MNumericArray_newAllocatedCommon(element_type_of(tensor_type), rank, dimensions, mode);
}

int32_t MTensor_resetDimensions(MTensor array, mint rank, const mint* dimensions, mint count, int32_t mode) {
  return MNumericArray_resetDimensionsCommon(array, rank, dimensions, count, mode);
}

mbool MTensor_compatibleDimensionsQ(MTensor a, MTensor b) {
  return MNumericArray_compatibleDimensionsQ(a, b);
}

mbool MTensor_maxCompatibleDimensions(MTensor a, MTensor b, mint* rank_out, const mint** dimensions_out) {
  return MNumericArray_maxCompatibleDimensions(a, b, rank_out, dimensions_out);
}
