// The life of an array header: made empty, counted, measured, emptied and released.
#include "array/array.h"
#include "array/element_types.h"
#include "zenthar/array.h"
#include "zenthar/memory.h"

int32_t trackTensorMemory = 0;

namespace {

bool is_never_freed(MNumericArray array) { return array->flags & MNUMERICARRAY_FLAG_NO_FREE; }

// Counts wrap rather than overflow: the permanent array's is the largest there is.
void add_to_count(MNumericArray array, uint64_t amount) {
  array->refCount = mint(uint64_t(array->refCount) + amount);
}

}  // namespace

void zenthar::exchange_contents(MNumericArray a, MNumericArray b) {
  const auto give = [](MNumericArray to, const st_MNumericArray& from) {
    const st_MNumericArray old = *to;
    *to = from;
    to->flags = (old.flags & ~uint32_t{MNUMERICARRAY_FLAG_TYPE}) | (from.flags & MNUMERICARRAY_FLAG_TYPE);
    to->refCount = old.refCount;
  };
  const st_MNumericArray before = *a;
  give(a, *b);
  give(b, before);
}

MNumericArray MNumericArray_new(void) {
  auto* array = static_cast<MNumericArray>(zalloc(sizeof(st_MNumericArray), 0, 0));
  if (!array) return nullptr;
  *array = {};
  array->precision = zenthar::kIntegerPrecision;
  array->refCount = 1;
  if (trackTensorMemory) [[unlikely]]
    TensorMemory_addNew(array);
  return array;
}

void MNumericArray_delete(MNumericArray array) {
  if (!array || is_never_freed(array)) return;
  if (trackTensorMemory) [[unlikely]]
    return TensorMemory_free(array);
  MNumericArray_freeMemory(array);
  zfree(array);
}

void FreeMNumericArray(MNumericArray array) {
  if (array && !is_never_freed(array)) MNumericArray_delete(array);
}

void FreeMTensor(MTensor array) {
  if (array && !is_never_freed(array)) MTensor_delete(array);
}

void MNumericArray_freeMemory(MNumericArray array) {
  zfree(array->data);
  zfree(array->dimensions);
  const mint count = array->refCount;
  *array = {};
  array->precision = zenthar::kIntegerPrecision;
  array->refCount = count;
}

void MNumericArray_RefCountIncrement(MNumericArray array) { add_to_count(array, 1); }

void MNumericArray_RefCountDecrement(MNumericArray array) { add_to_count(array, ~uint64_t{0}); }

void MTensor_RefCountIncrement(MTensor array) { add_to_count(array, 1); }

void MTensor_RefCountDecrement(MTensor array) { add_to_count(array, ~uint64_t{0}); }

void MTensor_release(MTensor array) {
  add_to_count(array, ~uint64_t{0});
  if (array->refCount == 0) MTensor_delete(array);
}

mint MNumericArray_getByteCount(MNumericArray array) {
  uint64_t bytes = zalloc_round(sizeof(st_MNumericArray), 0);
  if (array->rank != 0) bytes += zalloc_round(sizeof(mint) * uint64_t(array->rank), 0);
  if (array->data)
    bytes +=
        zalloc_round(uint64_t(zenthar::element_size(array->numericType)) * uint64_t(array->flattenedLength),
                     zenthar::is_aligned_type(array->numericType));
  return mint(bytes);
}
