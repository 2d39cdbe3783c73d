// The vector functions of the unsigned integers.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template struct Rows<MakeVectorFunction, uint8_t>;
template struct Rows<MakeVectorFunction, uint16_t>;
template struct Rows<MakeVectorFunction, uint32_t>;
template struct Rows<MakeVectorFunction, uint64_t>;

}  // namespace zenthar::ZENTHAR_TARGET
