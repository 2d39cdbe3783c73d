// The vector functions of three arguments, the first of them integers.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const TernaryVectorRow kTernaryInteger = ternary_row<MakeVectorFunction, TernaryVectorRow, mint>();

}  // namespace zenthar::ZENTHAR_TARGET
