// The getters: from identifiers and types to the constant tables.
#include "kernels/dispatch/choice.h"
#include "kernels/dispatch/records.h"
#include "kernels/vector/targets.h"
#include "zenthar/array.h"

using namespace zenthar;

namespace {

int32_t element_type(int32_t tensor_type) {
  return tensor_type >= 0 && tensor_type <= 4 ? MTensorToMNumericArrayType[tensor_type] : 0;
}

int32_t tensor_type(int32_t result_type) { return MNumericArrayToMTensorType[result_type]; }

}  // namespace

UnaryVectorFunction MNumericArray_getUnaryVectorMachFunc(int32_t op, int32_t type) {
  return vector_tables->entry(op, type);
}
UnaryScalarFunction MNumericArray_getUnaryScalarMachFunc(int32_t op, int32_t type) {
  return kScalarTables.entry(op, type).function;
}
int32_t MNumericArray_ReturnType1(int32_t op, int32_t type) {
  return kScalarTables.entry(op, type).result_type;
}

UnaryVectorFunction MTensor_getUnaryVectorMachFunc(int32_t op, int32_t tensor_type) {
  return vector_tables->entry(op, element_type(tensor_type));
}
UnaryScalarFunction MTensor_getUnaryScalarMachFunc(int32_t op, int32_t tensor_type) {
  return kScalarTables.entry(op, element_type(tensor_type)).function;
}
int32_t MTensor_ReturnType1(int32_t op, int32_t type) {
  return tensor_type(kScalarTables.entry(op, element_type(type)).result_type);
}

BinaryVectorFunction MNumericArray_getBinaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return vector_tables->entry(op, type1, type2);
}
BinaryScalarFunction MNumericArray_getBinaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return kScalarTables.entry(op, type1, type2).function;
}
int32_t MNumericArray_ReturnType2(int32_t op, int32_t type1, int32_t type2) {
  return kScalarTables.entry(op, type1, type2).result_type;
}

BinaryVectorFunction MTensor_getBinaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return vector_tables->entry(op, element_type(type1), element_type(type2));
}
BinaryScalarFunction MTensor_getBinaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2) {
  return kScalarTables.entry(op, element_type(type1), element_type(type2)).function;
}
int32_t MTensor_ReturnType2(int32_t op, int32_t type1, int32_t type2) {
  return tensor_type(kScalarTables.entry(op, element_type(type1), element_type(type2)).result_type);
}

TernaryVectorFunction MNumericArray_getTernaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                             int32_t type3) {
  return vector_tables->entry(op, type1, type2, type3);
}
TernaryScalarFunction MNumericArray_getTernaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                             int32_t type3) {
  return kScalarTables.entry(op, type1, type2, type3).function;
}
int32_t MNumericArray_ReturnType3(int32_t op, int32_t type1, int32_t type2, int32_t type3) {
  return kScalarTables.entry(op, type1, type2, type3).result_type;
}

TernaryVectorFunction MTensor_getTernaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                       int32_t type3) {
  return vector_tables->entry(op, element_type(type1), element_type(type2), element_type(type3));
}
TernaryScalarFunction MTensor_getTernaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                       int32_t type3) {
  return kScalarTables.entry(op, element_type(type1), element_type(type2), element_type(type3)).function;
}
int32_t MTensor_ReturnType3(int32_t op, int32_t type1, int32_t type2, int32_t type3) {
  return tensor_type(
      kScalarTables.entry(op, element_type(type1), element_type(type2), element_type(type3)).result_type);
}

int32_t ReturnRangeType1(int32_t op, int32_t type, int32_t* flag) {
  *flag = 0;
  if (operation_index(kUnary, op) < 0) return 7;
  if (op == MACHFUNC_ARG) *flag = 1;
  const int32_t result = choose_record(op, 1, &type).result_type;
  return result != 0 ? result : type;
}

int32_t ReturnRangeType2(int32_t op, int32_t type1, int32_t type2, int32_t* flag) {
  *flag = 0;
  if (operation_index(kBinary, op) < 0) return 7;
  const int32_t types[] = {type1, type2};
  const int32_t result = choose_record(op, 2, types).result_type;
  if (result != 0) return result;
  const bool known = type1 >= 1 && type1 <= 13 && type2 >= 1 && type2 <= 13;
  return known ? common_type(type1, type2) : type1 > type2 ? type1 : type2;
}
