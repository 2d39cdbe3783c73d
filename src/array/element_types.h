// What is fixed by an element type: its size, its alignment, and the words of the header that follow it.
#pragma once

#include "zenthar/array.h"

namespace zenthar {

inline constexpr int32_t kElementTypes = 14;  // identifiers 0 to 13, 0 being undefined
inline constexpr int32_t kTensorTypes = 5;
inline constexpr mreal kIntegerPrecision = 9007199254740992.0;  // 2^53

inline bool is_defined_type(int32_t type) { return type >= 1 && type < kElementTypes; }

// 0 for what is no element type.
inline mint element_size(int32_t type) {
  return is_defined_type(type) ? MNumericArray_typeSizeTable[type] : 0;
}

// Whether buffers of the type are requested with 16-byte alignment.
inline int32_t is_aligned_type(int32_t type) { return type < 1 || type > 8; }

inline int32_t element_type_of(int32_t tensor_type) {
  return tensor_type >= 0 && tensor_type < kTensorTypes ? MTensorToMNumericArrayType[tensor_type]
                                                        : int32_t{MNUMERICARRAY_TYPE_UNDEFINED};
}

void assign_type(MNumericArray array, int32_t type);

void element_type_names_initialize(int32_t phase);
void element_type_names_tear_down();
void scratch_arrays_initialize(int32_t phase);
void scratch_arrays_tear_down();

}  // namespace zenthar
