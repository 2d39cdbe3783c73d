// The vector functions of two arguments, the first of them reals.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const BinaryVectorRow kBinaryReal = binary_row<MakeVectorFunction, BinaryVectorRow, mreal>();

}  // namespace zenthar::ZENTHAR_TARGET
