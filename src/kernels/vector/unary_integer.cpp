// The vector functions of integers.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const UnaryVectorRow kUnaryInteger = unary_row<MakeVectorFunction, UnaryVectorRow, mint>();

}  // namespace zenthar::ZENTHAR_TARGET
