// The vector functions of two arguments, the first of them complexes.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const BinaryVectorRow kBinaryComplex = binary_row<MakeVectorFunction, BinaryVectorRow, mcomplex>();

}  // namespace zenthar::ZENTHAR_TARGET
