// The vector functions of two arguments, the first of them integers.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mint>::Binary VectorRows<mint>::binary;

}  // namespace zenthar::ZENTHAR_TARGET
