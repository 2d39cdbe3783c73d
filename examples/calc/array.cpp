// Allocation of arrays, with its failures told.
#include "array.h"

#include "host.h"

namespace zcalc {
namespace {

// Quietly: a request that fails, or passes the limit, comes back with a status.
constexpr int32_t kFailWithStatus = 1;

}  // namespace

const char* type_name(int32_t type) {
  switch (type) {
    case kInteger:
      return "integer";
    case kReal:
      return "real";
    case kComplex:
      return "complex";
    default:
      return "unknown";
  }
}

size_t element_size(int32_t type) {
  return static_cast<size_t>(MNumericArray_typeSizeTable[MTensorToMNumericArrayType[type]]);
}

Array Array::allocate(int32_t type, mint length, mint rank) {
  Array array;
  const int32_t status = MTensor_allocateCommon(&array.handle_, type, rank, &length, kFailWithStatus);
  if (status != 0) throw allocation_failure(status);
  return array;
}

void Array::reshape(int32_t type, mint length) {
  const int32_t status = MTensor_allocateCommon(&handle_, type, 1, &length, kFailWithStatus);
  if (status != 0) throw allocation_failure(status);
}

}  // namespace zcalc
