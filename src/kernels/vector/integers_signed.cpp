// The vector functions of Integer8, Integer16 and Integer32.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

template struct Rows<MakeVectorFunction, int8_t>;
template struct Rows<MakeVectorFunction, int16_t>;
template struct Rows<MakeVectorFunction, int32_t>;

}  // namespace zenthar::ZENTHAR_TARGET
