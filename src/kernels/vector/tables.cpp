// The table of a target's vector functions.
#include "kernels/vector/loops.h"

namespace zenthar::ZENTHAR_TARGET {

constinit const VectorTables kVectorTables = {
    {&kUnaryInteger, &kUnaryReal, &kUnaryComplex},
    {&kBinaryInteger, &kBinaryReal, &kBinaryComplex},
    {&kTernaryInteger, &kTernaryReal, &kTernaryComplex},
};

}  // namespace zenthar::ZENTHAR_TARGET
