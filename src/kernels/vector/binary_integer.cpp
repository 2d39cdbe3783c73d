// The vector functions of two arguments, the first of them integers.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const BinaryVectorRow kBinaryInteger = binary_row<MakeVectorFunction, BinaryVectorRow, mint>();

}  // namespace zenthar::ZENTHAR_TARGET
