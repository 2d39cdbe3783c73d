// The constant tables behind the getters.
//
// A record is a scalar function and a result type, which are made once, and a vector function, which is made
// for each processor target. Tables are indexed by the slots of the argument types, then by operation.
#ifndef ZENTHAR_KERNELS_DISPATCH_RECORDS_H
#define ZENTHAR_KERNELS_DISPATCH_RECORDS_H

#include "zenthar/dispatch.h"

namespace zenthar {

// Element types with kernels, by slot. The machine types come first; they stand beside each other in all
// ways, every other type beside itself alone.
inline constexpr int kMachineSlots = 3;
inline constexpr int kSlots = 12;
inline constexpr int32_t kTypeOfSlot[kSlots] = {7, 10, 12, 1, 2, 3, 4, 5, 6, 8, 9, 11};

// The slot of an element type, or -1.
constexpr int slot_of(int32_t type) {
  constexpr int8_t kSlotOfType[14] = {-1, 3, 4, 5, 6, 7, 8, 0, 9, 10, 1, 11, 2, -1};
  return uint32_t(type) < 14 ? kSlotOfType[type] : -1;
}

// Which of the rows of its first argument's type a list of arguments has, or -1.
constexpr int row_of(int slot1, int slot2) {
  if ((slot1 | slot2) < 0) return -1;
  if (slot1 < kMachineSlots && slot2 < kMachineSlots) return slot2;
  return slot1 == slot2 ? 0 : -1;
}
constexpr int row_of(int slot1, int slot2, int slot3) {
  const int second = row_of(slot1, slot2), third = row_of(slot1, slot3);
  if ((second | third) < 0) return -1;
  return slot1 < kMachineSlots ? second * kMachineSlots + third : 0;
}

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

// The entries of the operations of one arity, for one combination of argument types.
template <class T, OperationRange kRange>
struct Row {
  T at[kRange.count] = {};
};

// Rows by the first argument's slot; row_of() tells which of them.
template <class Unary, class Binary, class Ternary>
struct Tables {
  using UnaryRow = Row<Unary, kUnary>;
  using BinaryRow = Row<Binary, kBinary>;
  using TernaryRow = Row<Ternary, kTernary>;

  const UnaryRow* unary[kSlots];
  const BinaryRow* binary[kSlots];
  const TernaryRow* ternary[kSlots];

  // The entry of an operation for argument types; an empty one where there is none.
  Unary entry(int32_t op, int32_t type) const {
    const int32_t index = operation_index(kUnary, op);
    const int slot = slot_of(type);
    return (index | slot) < 0 ? Unary{} : unary[slot]->at[index];
  }
  Binary entry(int32_t op, int32_t type1, int32_t type2) const {
    const int32_t index = operation_index(kBinary, op);
    const int slot = slot_of(type1), row = row_of(slot, slot_of(type2));
    return (index | row) < 0 ? Binary{} : binary[slot][row].at[index];
  }
  Ternary entry(int32_t op, int32_t type1, int32_t type2, int32_t type3) const {
    const int32_t index = operation_index(kTernary, op);
    const int slot = slot_of(type1), row = row_of(slot, slot_of(type2), slot_of(type3));
    return (index | row) < 0 ? Ternary{} : ternary[slot][row].at[index];
  }
};

using ScalarTables = Tables<ScalarRecord<UnaryScalarFunction>, ScalarRecord<BinaryScalarFunction>,
                            ScalarRecord<TernaryScalarFunction>>;
extern const ScalarTables kScalarTables;

// The vector functions of one target.
using VectorTables = Tables<UnaryVectorFunction, BinaryVectorFunction, TernaryVectorFunction>;

}  // namespace zenthar

#endif
