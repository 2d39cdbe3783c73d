// The vector functions of reals.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const UnaryVectorRow kUnaryReal = unary_row<MakeVectorFunction, UnaryVectorRow, mreal>();

}  // namespace zenthar::ZENTHAR_TARGET
