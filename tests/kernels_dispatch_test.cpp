// The getters: which records there are, of what result types; names; thresholds.
#include <gtest/gtest.h>

#include <set>

#include "kernel_records.h"
#include "zenthar/zenthar.h"

namespace {

using namespace kernel_records;

TEST(Dispatch, GapsAndForeignTypesHaveNoRecord) {
  for (int32_t op : {4, 8, 12, 16, 20, 24, 28, 63, 64, 65, 0, 87, -1, INT32_MIN, INT32_MAX, 257})
    for (int32_t type = -1; type <= 14; ++type) {
      EXPECT_EQ(MNumericArray_getUnaryVectorMachFunc(op, type), nullptr);
      EXPECT_EQ(MNumericArray_getUnaryScalarMachFunc(op, type), nullptr);
      EXPECT_EQ(MNumericArray_ReturnType1(op, type), 0);
      EXPECT_EQ(MTensor_ReturnType1(op, type), 0);
    }
  for (int32_t op : {256, 286, 1, -1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(MNumericArray_getBinaryScalarMachFunc(op, kReal, kReal), nullptr);
    EXPECT_EQ(MNumericArray_getTernaryScalarMachFunc(op, kReal, kReal, kReal), nullptr);
  }
  for (int32_t type : {-1, 0, 13, 14, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(MNumericArray_getUnaryScalarMachFunc(MACHFUNC_ABS, type), nullptr);
    EXPECT_EQ(MNumericArray_getBinaryScalarMachFunc(MACHFUNC_PLUS, type, type), nullptr);
    EXPECT_EQ(MNumericArray_getTernaryScalarMachFunc(MACHFUNC_AXPY, type, type, type), nullptr);
    EXPECT_EQ(MTensor_getUnaryVectorMachFunc(MACHFUNC_ABS, type), nullptr);
  }
  EXPECT_EQ(MTensor_getUnaryVectorMachFunc(MACHFUNC_ABS, 5), nullptr);
  // Types other than the machine types stand beside themselves alone.
  for (int32_t a : kAllTypes)
    for (int32_t b : kAllTypes) {
      const bool machine = MNumericArrayToMTensorType[a] != 0 && MNumericArrayToMTensorType[b] != 0;
      EXPECT_EQ(MNumericArray_getBinaryVectorMachFunc(MACHFUNC_PLUS, a, b) != nullptr, machine || a == b);
      EXPECT_EQ(MNumericArray_getTernaryVectorMachFunc(MACHFUNC_AXPY, a, b, b) != nullptr, machine || a == b);
      EXPECT_EQ(MNumericArray_getTernaryVectorMachFunc(MACHFUNC_AXPY, a, a, b) != nullptr, machine || a == b);
    }
  for (int32_t op : {MACHFUNC_DIV, MACHFUNC_LOG_BASE, MACHFUNC_ATAN2, MACHFUNC_CHOP, MACHFUNC_ROOT}) {
    EXPECT_EQ(MNumericArray_getBinaryVectorMachFunc(op, kInteger, kInteger), nullptr);
    EXPECT_EQ(MNumericArray_ReturnType2(op, kInteger, kInteger), 0);
  }
}

TEST(Dispatch, ResultTypes) {
  EXPECT_EQ(MNumericArray_ReturnType1(MACHFUNC_ABS, kInteger), kInteger);
  EXPECT_EQ(MNumericArray_ReturnType1(MACHFUNC_ABS, kComplex), kReal);
  EXPECT_EQ(MNumericArray_ReturnType1(MACHFUNC_SIN, kInteger), kReal);
  EXPECT_EQ(MNumericArray_ReturnType1(MACHFUNC_SQRT, kComplex), kComplex);
  EXPECT_EQ(MTensor_ReturnType1(MACHFUNC_ABS, 4), 3);
  EXPECT_EQ(MTensor_ReturnType1(MACHFUNC_SIN, 1), 3);  // booleans are integers
  const int32_t widest[3][3] = {{7, 10, 12}, {10, 10, 12}, {12, 12, 12}};
  for (int a = 0; a < 3; ++a)
    for (int b = 0; b < 3; ++b) {
      for (int32_t op : {MACHFUNC_PLUS, MACHFUNC_SUBTRACT, MACHFUNC_TIMES, MACHFUNC_POW})
        EXPECT_EQ(MNumericArray_ReturnType2(op, kTypes[a], kTypes[b]), widest[a][b]) << op;
      if (a + b == 0) continue;
      EXPECT_EQ(MNumericArray_ReturnType2(MACHFUNC_DIV, kTypes[a], kTypes[b]), widest[a][b]);
    }
  EXPECT_EQ(MTensor_ReturnType2(MACHFUNC_TIMES, 2, 4), 4);
}

TEST(Dispatch, ScalarAndVectorFunctionsComeTogether) {
  for (const Record& record : all_records()) {
    EXPECT_TRUE(record.scalar1 || record.scalar2 || record.scalar3) << record.name();
    EXPECT_TRUE(record.result_type == kInteger || record.result_type == record.type[0] ||
                (record.type[0] == kComplex32 && record.result_type == kReal32) ||
                MNumericArrayToMTensorType[record.type[0]] != 0)
        << record.name();
  }
  EXPECT_EQ(MTensor_getUnaryScalarMachFunc(MACHFUNC_ABS, 2),
            MNumericArray_getUnaryScalarMachFunc(MACHFUNC_ABS, 7));
  EXPECT_EQ(MTensor_getBinaryVectorMachFunc(MACHFUNC_PLUS, 1, 3),
            MNumericArray_getBinaryVectorMachFunc(MACHFUNC_PLUS, 7, 10));
}

TEST(Dispatch, ResultTypesByRule) {
  int32_t flag = 5;
  for (int32_t op : {0, 87, -3}) {
    EXPECT_EQ(ReturnRangeType1(op, kReal, &flag), 7);
    EXPECT_EQ(flag, 0);
    flag = 5;
  }
  EXPECT_EQ(ReturnRangeType2(256, kReal, kReal, &flag), 7);
  EXPECT_EQ(ReturnRangeType2(286, kReal, kReal, &flag), 7);
  EXPECT_EQ(ReturnRangeType1(MACHFUNC_ABS, 1, &flag), 1);   // Integer8 stays
  EXPECT_EQ(ReturnRangeType1(MACHFUNC_ABS, 11, &flag), 9);  // ComplexReal32 to Real32
  EXPECT_EQ(ReturnRangeType1(MACHFUNC_SIN, 5, &flag), 10);  // Integer32 to Real64
  EXPECT_EQ(ReturnRangeType1(MACHFUNC_SIN, 9, &flag), 9);
  EXPECT_EQ(ReturnRangeType2(MACHFUNC_PLUS, 1, 9, &flag), 9);
  EXPECT_EQ(ReturnRangeType2(MACHFUNC_DIV, 7, 7, &flag), 10);
  EXPECT_EQ(flag, 0);
}

TEST(Dispatch, NamesLeadToOperationsAndBack) {
  EXPECT_EQ(MNumericArray_getMachFuncID("sin", 1), MACHFUNC_SIN);
  EXPECT_EQ(MNumericArray_getMachFuncID("log", 1), MACHFUNC_LOG);
  EXPECT_EQ(MNumericArray_getMachFuncID("log", 2), MACHFUNC_LOG_BASE);
  EXPECT_EQ(MNumericArray_getMachFuncID("plus", 1), 0);
  EXPECT_EQ(MNumericArray_getMachFuncID("plus", 2), MACHFUNC_PLUS);
  EXPECT_EQ(MNumericArray_getMachFuncID("no such operation", 1), 0);
  EXPECT_EQ(MNumericArray_getMachFuncID(nullptr, 1), 0);
  EXPECT_EQ(MNumericArray_getMachFuncID("sin", 0), 0);
  EXPECT_EQ(MNumericArray_getMachFuncID("sin", 4), 0);
  EXPECT_EQ(MNumericArray_getMachFuncName(4), nullptr);
  for (const Record& record : all_records())
    EXPECT_EQ(MNumericArray_getMachFuncID(MNumericArray_getMachFuncName(record.op), record.arity), record.op);
}

TEST(Dispatch, ThresholdsStartAt8192) {
  InitializeRuntimeLibrary();
  for (int32_t k = 0; k < 5; ++k) {
    EXPECT_EQ(getVectorParallelLengthThreshold(k), 8192);
    EXPECT_EQ(getVectorVendorLengthThreshold(k), 0);
    setVectorParallelLengthThreshold(k, 100 + k);
    setVectorVendorLengthThreshold(k, 200 + k);
  }
  for (int32_t k = 0; k < 5; ++k) {
    EXPECT_EQ(getVectorParallelLengthThreshold(k), 100 + k);
    EXPECT_EQ(getVectorVendorLengthThreshold(k), 200 + k);
    setVectorVendorLengthThreshold(k, 0);
  }
  InitializeRuntimeLibrary();
  EXPECT_EQ(getVectorParallelLengthThreshold(4), 8192);
}

}  // namespace
