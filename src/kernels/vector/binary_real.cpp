// The vector functions of two arguments, the first of them reals, of both precisions: the lower one mostly
// goes through the loops of the higher.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mreal>::Binary VectorRows<mreal>::binary;
template VectorRows<float>::Binary VectorRows<float>::binary;

}  // namespace zenthar::ZENTHAR_TARGET
