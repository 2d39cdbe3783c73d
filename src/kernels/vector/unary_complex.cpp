// The vector functions of complexes.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const UnaryVectorRow kUnaryComplex = unary_row<MakeVectorFunction, UnaryVectorRow, mcomplex>();

}  // namespace zenthar::ZENTHAR_TARGET
