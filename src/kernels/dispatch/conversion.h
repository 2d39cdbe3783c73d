// Conversions of runs of elements to the types that they are evaluated in.
#ifndef ZENTHAR_KERNELS_DISPATCH_CONVERSION_H
#define ZENTHAR_KERNELS_DISPATCH_CONVERSION_H

#include "zenthar/types.h"

namespace zenthar {

// Converts n elements; false where one does not fit, which is one of UnsignedInteger64 that is no Integer64.
using Conversion = bool (*)(void* to, const void* from, mint n);

// The conversion between two element types, null where one is not needed by common_type() or machine types:
// integers to wider integers, integers to reals, anything to complexes, Real16 to all but integers.
Conversion conversion(int32_t from, int32_t to);

}  // namespace zenthar

#endif
