// The constant tables behind the getters.
//
// A record is a scalar function and a result type, which are made once, and a vector function, which is made
// for each processor target. Tables are indexed by the slots of the argument types, then by operation.
#ifndef ZENTHAR_KERNELS_DISPATCH_RECORDS_H
#define ZENTHAR_KERNELS_DISPATCH_RECORDS_H

#include "zenthar/dispatch.h"

namespace zenthar {

// Element types with kernels: Integer64, Real64, ComplexReal64, in slots 0, 1, 2.
inline constexpr int kSlots = 3;
inline constexpr int32_t kTypeOfSlot[kSlots] = {7, 10, 12};

// The identifiers of the operations of one arity.
struct OperationRange {
  int32_t first;
  int32_t count;
};
inline constexpr OperationRange kUnary = {1, 86};
inline constexpr OperationRange kBinary = {257, 29};
inline constexpr OperationRange kTernary = {513, 5};

// The index of an operation in its tables, or -1.
constexpr int32_t operation_index(OperationRange range, int32_t op) {
  const auto index = uint32_t(op) - uint32_t(range.first);
  return index < uint32_t(range.count) ? int32_t(index) : -1;
}

template <class F>
struct ScalarRecord {
  F function = nullptr;
  int32_t result_type = 0;
};

template <class T>
struct UnaryRow {
  T at[kUnary.count] = {};
};
template <class T>
struct BinaryRow {
  T at[kSlots][kBinary.count] = {};  // by the second argument's slot
};
template <class T>
struct TernaryRow {
  T at[kSlots][kSlots][kTernary.count] = {};  // by the second and third arguments' slots
};

using UnaryScalarRow = UnaryRow<ScalarRecord<UnaryScalarFunction>>;
using BinaryScalarRow = BinaryRow<ScalarRecord<BinaryScalarFunction>>;
using TernaryScalarRow = TernaryRow<ScalarRecord<TernaryScalarFunction>>;

extern const UnaryScalarRow kUnaryScalar[kSlots];
extern const BinaryScalarRow kBinaryScalar[kSlots];
extern const TernaryScalarRow kTernaryScalar[kSlots];

using UnaryVectorRow = UnaryRow<UnaryVectorFunction>;
using BinaryVectorRow = BinaryRow<BinaryVectorFunction>;
using TernaryVectorRow = TernaryRow<TernaryVectorFunction>;

// The vector functions of one target, by the first argument's slot.
struct VectorTables {
  const UnaryVectorRow* unary[kSlots];
  const BinaryVectorRow* binary[kSlots];
  const TernaryVectorRow* ternary[kSlots];
};

// What operations have in common whatever the types.
struct OperationEntry {
  int32_t id;
  int32_t arity;
  const char* name;
};

}  // namespace zenthar

#endif
