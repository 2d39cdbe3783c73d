// The vector functions of three arguments, the first of them complexes.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const TernaryVectorRow kTernaryComplex =
    ternary_row<MakeVectorFunction, TernaryVectorRow, mcomplex>();

}  // namespace zenthar::ZENTHAR_TARGET
