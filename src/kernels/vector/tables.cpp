// The table of a target's vector functions.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

extern template struct Rows<MakeVectorFunction, mint>;
extern template struct Rows<MakeVectorFunction, mreal>;
extern template struct Rows<MakeVectorFunction, mcomplex>;
extern template struct Rows<MakeVectorFunction, int8_t>;
extern template struct Rows<MakeVectorFunction, uint8_t>;
extern template struct Rows<MakeVectorFunction, int16_t>;
extern template struct Rows<MakeVectorFunction, uint16_t>;
extern template struct Rows<MakeVectorFunction, int32_t>;
extern template struct Rows<MakeVectorFunction, uint32_t>;
extern template struct Rows<MakeVectorFunction, uint64_t>;
extern template struct Rows<MakeVectorFunction, float>;
extern template struct Rows<MakeVectorFunction, complex32>;

constinit const VectorTables kVectorTables = make_tables<MakeVectorFunction>(SlotTypes{});

}  // namespace zenthar::ZENTHAR_TARGET
