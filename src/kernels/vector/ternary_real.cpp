// The vector functions of three arguments, the first of them reals, of both precisions: the lower one mostly
// goes through the loops of the higher.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mreal>::Ternary VectorRows<mreal>::ternary;
template VectorRows<float>::Ternary VectorRows<float>::ternary;

}  // namespace zenthar::ZENTHAR_TARGET
