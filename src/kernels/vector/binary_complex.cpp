// The vector functions of two arguments, the first of them complexes, of both precisions: the lower one
// mostly goes through the loops of the higher.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mcomplex>::Binary VectorRows<mcomplex>::binary;
template VectorRows<complex32>::Binary VectorRows<complex32>::binary;

}  // namespace zenthar::ZENTHAR_TARGET
