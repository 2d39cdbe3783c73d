// The vector functions of three arguments, the first of them reals.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const TernaryVectorRow kTernaryReal = ternary_row<MakeVectorFunction, TernaryVectorRow, mreal>();

}  // namespace zenthar::ZENTHAR_TARGET
