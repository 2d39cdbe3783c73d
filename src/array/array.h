// What the array module offers the rest of the library, beyond its public entries.
#pragma once

#include <cstdint>

#include "zenthar/array.h"

namespace zenthar {

// Exchanges type, shape and elements of two arrays; each keeps its count and the flags that do not follow the
// type.
void exchange_contents(MNumericArray a, MNumericArray b);

// Phase 0 clears the names of element types, phase 1 makes them known and the rank-0 scratch key.
void array_initialize(int32_t phase);

// Phase 4 makes the permanent array, once.
void permanent_array_initialize(int32_t phase);

// Frees every thread's rank-0 scratch arrays and the permanent array, and clears the names.
void array_tear_down();

}  // namespace zenthar
