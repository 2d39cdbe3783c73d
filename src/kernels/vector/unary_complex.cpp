// The vector functions of complexes, of both precisions: the lower one mostly goes through the loops of the
// higher.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mcomplex>::Unary VectorRows<mcomplex>::unary;
template VectorRows<complex32>::Unary VectorRows<complex32>::unary;

}  // namespace zenthar::ZENTHAR_TARGET
