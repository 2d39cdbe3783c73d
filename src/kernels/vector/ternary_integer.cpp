// The vector functions of three arguments, the first of them integers.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template VectorRows<mint>::Ternary VectorRows<mint>::ternary;

}  // namespace zenthar::ZENTHAR_TARGET
