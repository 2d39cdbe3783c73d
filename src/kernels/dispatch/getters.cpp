// The getters: from identifiers and types to the constant tables.
#include "kernels/dispatch/records.h"
#include "kernels/vector/targets.h"
#include "zenthar/array.h"

using namespace zenthar;

namespace {

// The slot of an element type, or -1.
constexpr int slot_of(int32_t type) {
  switch (type) {
    case kTypeOfSlot[0]:
      return 0;
    case kTypeOfSlot[1]:
      return 1;
    case kTypeOfSlot[2]:
      return 2;
    default:
      return -1;
  }
}

int32_t element_type(int32_t tensor_type) {
  return tensor_type >= 0 && tensor_type <= 4 ? MTensorToMNumericArrayType[tensor_type] : 0;
}

// Looks into tables by slots and operation; T{} for what they do not hold.
template <class T, class Rows>
T unary_entry(const Rows& rows, int32_t op, int32_t type) {
  const int32_t index = operation_index(kUnary, op);
  const int slot = slot_of(type);
  return (index | slot) < 0 ? T{} : rows(slot).at[index];
}

template <class T, class Rows>
T binary_entry(const Rows& rows, int32_t op, int32_t type1, int32_t type2) {
  const int32_t index = operation_index(kBinary, op);
  const int slot1 = slot_of(type1), slot2 = slot_of(type2);
  return (index | slot1 | slot2) < 0 ? T{} : rows(slot1).at[slot2][index];
}

template <class T, class Rows>
T ternary_entry(const Rows& rows, int32_t op, int32_t type1, int32_t type2, int32_t type3) {
  const int32_t index = operation_index(kTernary, op);
  const int slot1 = slot_of(type1), slot2 = slot_of(type2), slot3 = slot_of(type3);
  return (index | slot1 | slot2 | slot3) < 0 ? T{} : rows(slot1).at[slot2][slot3][index];
}

constexpr auto unary_scalar = [](int slot) -> const UnaryScalarRow& { return kUnaryScalar[slot]; };
constexpr auto binary_scalar = [](int slot) -> const BinaryScalarRow& { return kBinaryScalar[slot]; };
constexpr auto ternary_scalar = [](int slot) -> const TernaryScalarRow& { return kTernaryScalar[slot]; };
constexpr auto unary_vector = [](int slot) -> const UnaryVectorRow& { return *vector_tables->unary[slot]; };
constexpr auto binary_vector = [](int slot) -> const BinaryVectorRow& {
  return *vector_tables->binary[slot];
};
constexpr auto ternary_vector = [](int slot) -> const TernaryVectorRow& {
  return *vector_tables->ternary[slot];
};

ScalarRecord<UnaryScalarFunction> record1(int32_t op, int32_t type) {
  return unary_entry<ScalarRecord<UnaryScalarFunction>>(unary_scalar, op, type);
}
ScalarRecord<BinaryScalarFunction> record2(int32_t op, int32_t type1, int32_t type2) {
  return binary_entry<ScalarRecord<BinaryScalarFunction>>(binary_scalar, op, type1, type2);
}
ScalarRecord<TernaryScalarFunction> record3(int32_t op, int32_t type1, int32_t type2, int32_t type3) {
  return ternary_entry<ScalarRecord<TernaryScalarFunction>>(ternary_scalar, op, type1, type2, type3);
}

// Result types are Integer64, Real64, ComplexReal64 or none.
int32_t tensor_type(int32_t result_type) { return MNumericArrayToMTensorType[result_type]; }

// The kernel type that stands for an element type in the rules of result types.
int32_t representative(int32_t type) { return type <= 8 ? 7 : type == 11 || type == 12 ? 12 : 10; }

// A kernel's result type for arguments of an element type of the same kind.
int32_t result_by_rule(int32_t result, int32_t type) {
  if (result == 0 || result == representative(type)) return type;
  return result == 10 && type == 11 ? 9 : result;
}

}  // namespace

UnaryVectorFunction MNumericArray_getUnaryVectorMachFunc(int32_t op, int32_t type) {
  return unary_entry<UnaryVectorFunction>(unary_vector, op, type);
}
UnaryScalarFunction MNumericArray_getUnaryScalarMachFunc(int32_t op, int32_t type) {
  return record1(op, type).function;
}
int32_t MNumericArray_ReturnType1(int32_t op, int32_t type) { return record1(op, type).result_type; }

UnaryVectorFunction MTensor_getUnaryVectorMachFunc(int32_t op, int32_t tensor_type) {
  return unary_entry<UnaryVectorFunction>(unary_vector, op, element_type(tensor_type));
}
UnaryScalarFunction MTensor_getUnaryScalarMachFunc(int32_t op, int32_t tensor_type) {
  return record1(op, element_type(tensor_type)).function;
}
int32_t MTensor_ReturnType1(int32_t op, int32_t type) {
  return tensor_type(record1(op, element_type(type)).result_type);
}

BinaryVectorFunction MNumericArray_getBinaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return binary_entry<BinaryVectorFunction>(binary_vector, op, type1, type2);
}
BinaryScalarFunction MNumericArray_getBinaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return record2(op, type1, type2).function;
}
int32_t MNumericArray_ReturnType2(int32_t op, int32_t type1, int32_t type2) {
  return record2(op, type1, type2).result_type;
}

BinaryVectorFunction MTensor_getBinaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return binary_entry<BinaryVectorFunction>(binary_vector, op, element_type(type1), element_type(type2));
}
BinaryScalarFunction MTensor_getBinaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return record2(op, element_type(type1), element_type(type2)).function;
}
int32_t MTensor_ReturnType2(int32_t op, int32_t type1, int32_t type2) {
  return tensor_type(record2(op, element_type(type1), element_type(type2)).result_type);
}

TernaryVectorFunction MNumericArray_getTernaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                             int32_t type3) {
  return ternary_entry<TernaryVectorFunction>(ternary_vector, op, type1, type2, type3);
}
TernaryScalarFunction MNumericArray_getTernaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                             int32_t type3) {
  return record3(op, type1, type2, type3).function;
}
int32_t MNumericArray_ReturnType3(int32_t op, int32_t type1, int32_t type2, int32_t type3) {
  return record3(op, type1, type2, type3).result_type;
}

TernaryVectorFunction MTensor_getTernaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                       int32_t type3) {
  return ternary_entry<TernaryVectorFunction>(ternary_vector, op, element_type(type1), element_type(type2),
                                              element_type(type3));
}
TernaryScalarFunction MTensor_getTernaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                       int32_t type3) {
  return record3(op, element_type(type1), element_type(type2), element_type(type3)).function;
}
int32_t MTensor_ReturnType3(int32_t op, int32_t type1, int32_t type2, int32_t type3) {
  return tensor_type(record3(op, element_type(type1), element_type(type2), element_type(type3)).result_type);
}

int32_t ReturnRangeType1(int32_t op, int32_t type, int32_t* flag) {
  *flag = 0;
  if (operation_index(kUnary, op) < 0) return 7;
  if (op == MACHFUNC_ARG) *flag = 1;
  return result_by_rule(record1(op, representative(type)).result_type, type);
}

int32_t ReturnRangeType2(int32_t op, int32_t type1, int32_t type2, int32_t* flag) {
  *flag = 0;
  if (operation_index(kBinary, op) < 0) return 7;
  const int32_t kind1 = representative(type1), kind2 = representative(type2);
  const int32_t wider = kind1 > kind2 || (kind1 == kind2 && type1 > type2) ? type1 : type2;
  const int32_t result = record2(op, kind1, kind2).result_type;
  // Two integers without a kernel of their own (div, log, atan2) meet in reals.
  return result_by_rule(result != 0 ? result : record2(op, 10, 10).result_type, wider);
}
