// The vector functions of integers.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mint>::Unary VectorRows<mint>::unary;

}  // namespace zenthar::ZENTHAR_TARGET
