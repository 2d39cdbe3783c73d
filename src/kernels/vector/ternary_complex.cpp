// The vector functions of three arguments, the first of them complexes, of both precisions: the lower one
// mostly goes through the loops of the higher.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mcomplex>::Ternary VectorRows<mcomplex>::ternary;
template VectorRows<complex32>::Ternary VectorRows<complex32>::ternary;

}  // namespace zenthar::ZENTHAR_TARGET
