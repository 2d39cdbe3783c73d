// The vector functions of reals, of both precisions: the lower one mostly goes through the loops of the
// higher.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mreal>::Unary VectorRows<mreal>::unary;
template VectorRows<float>::Unary VectorRows<float>::unary;

}  // namespace zenthar::ZENTHAR_TARGET
