// The array module's start and end, and the permanent array.
#include <limits>

#include "array/array.h"
#include "array/element_types.h"
#include "zenthar/array.h"

namespace {

MTensor permanent_array = nullptr;

void permanent_array_tear_down() {
  if (!permanent_array) return;
  permanent_array->flags &= ~uint32_t{MNUMERICARRAY_FLAG_NO_FREE};
  MTensor_delete(permanent_array);
  permanent_array = nullptr;
}

}  // namespace

namespace zenthar {

void array_initialize(int32_t phase) {
  element_type_names_initialize(phase);
  scratch_arrays_initialize(phase);
}

void permanent_array_initialize(int32_t phase) {
  if (phase != 4 || permanent_array) return;
  permanent_array = MTensor_new();
  if (!permanent_array) return;
  permanent_array->refCount = std::numeric_limits<mint>::max();
  permanent_array->flags |= MNUMERICARRAY_FLAG_PERMANENT;
}

void array_tear_down() {
  scratch_arrays_tear_down();
  permanent_array_tear_down();
  element_type_names_tear_down();
}

}  // namespace zenthar

MTensor getEternalMTensor(void) { return permanent_array; }
