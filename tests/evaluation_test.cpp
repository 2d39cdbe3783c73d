// Operations on whole arrays, against a model that looks the record up and computes element by element.
#include <gtest/gtest.h>

#include <algorithm>

#include "kernel_records.h"
#include "zenthar/zenthar.h"

namespace {

using namespace kernel_records;

using Shape = std::vector<mint>;

class Evaluation : public testing::Test {
 protected:
  void SetUp() override {
    InitializeRuntimeLibrary();
    setExceptionStyle(1);
  }
  void TearDown() override {
    for (MNumericArray array : arrays_) MNumericArray_delete(array);
    setExceptionStyle(1);
    setExceptionActive(0);
    watch = 0;
  }

  MNumericArray keep(MNumericArray array) {
    if (std::find(arrays_.begin(), arrays_.end(), array) == arrays_.end()) arrays_.push_back(array);
    return array;
  }

  // An array of small whole numbers from 1 on, which every type holds.
  MNumericArray array(int32_t type, const Shape& shape) {
    MNumericArray a = keep(MNumericArray_newAllocatedCommon(type, mint(shape.size()), shape.data(), 1));
    const auto size = size_t(MNumericArray_typeSizeTable[type]);
    for (mint i = 0; i < a->flattenedLength; ++i) {
      const mint x = i % 5 + 1;
      char* const to = static_cast<char*>(a->data) + size_t(i) * size;
      if (type == MNUMERICARRAY_TYPE_REAL16) {
        const uint16_t halves[] = {0x3c00, 0x4000, 0x4200, 0x4400, 0x4500};  // 1, 2, 3, 4, 5
        std::memcpy(to, &halves[x - 1], 2);
      } else {
        put(to, type, x, mreal(x), 0.0);
      }
    }
    return a;
  }

  template <class T>
  MNumericArray list(int32_t type, const std::vector<T>& values) {
    const mint n = mint(values.size());
    MNumericArray a = keep(MNumericArray_newAllocatedCommon(type, 1, &n, 1));
    std::memcpy(a->data, values.data(), values.size() * sizeof(T));
    return a;
  }

  template <class T>
  static std::vector<T> elements(MNumericArray a) {
    const T* const data = static_cast<const T*>(a->data);
    return {data, data + a->flattenedLength};
  }

 private:
  std::vector<MNumericArray> arrays_;
};

mreal real_part(MNumericArray a, mint i) {
  switch (a->numericType) {
    case 7:
      return mreal(static_cast<mint*>(a->data)[i]);
    case 8:
      return mreal(static_cast<uint64_t*>(a->data)[i]);
    case kReal:
      return static_cast<mreal*>(a->data)[i];
    case kComplex:
      return static_cast<mcomplex*>(a->data)[i].re;
    case kReal32:
      return static_cast<float*>(a->data)[i];
    case kComplex32:
      return static_cast<float*>(a->data)[2 * i];
    default: {
      const auto size = size_t(MNumericArray_typeSizeTable[a->numericType]);
      mint x = 0;  // small and positive
      std::memcpy(&x, static_cast<char*>(a->data) + size_t(i) * size, size);
      return mreal(x);
    }
  }
}

// Every pair of types, in every arrangement of shapes: a + b b, in two operations of which one reuses.
TEST_F(Evaluation, TakesArraysOfAllTypesAndFittingShapes) {
  const std::vector<std::pair<Shape, Shape>> shapes = {{{4}, {4}},      {{}, {4}},           {{4}, {}},
                                                       {{}, {}},        {{2, 3}, {2, 3, 4}}, {{2, 700}, {2}},
                                                       {{3}, {3, 997}}, {{5000}, {5000}},    {{0}, {0, 3}}};
  MNumericArray result = nullptr;
  for (int32_t s = 1; s <= 13; ++s)
    for (int32_t t = 1; t <= 13; ++t)
      for (const auto& [shape_a, shape_b] : shapes) {
        const MNumericArray a = array(s, shape_a), b = array(t, shape_b);
        ASSERT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, a, b, 6, 1), 0) << s << " " << t;
        int32_t flag;
        const int32_t s_read = s == 13 ? kReal32 : s, t_read = t == 13 ? kReal32 : t;
        ASSERT_EQ(result->numericType, ReturnRangeType2(MACHFUNC_PLUS, s_read, t_read, &flag))
            << s << " " << t;
        const Shape& shape = shape_a.size() > shape_b.size() ? shape_a : shape_b;
        ASSERT_EQ(Shape(result->dimensions, result->dimensions + result->rank), shape);
        const mint n = result->flattenedLength;
        for (mint i = 0; i < n; ++i) {
          const mint j = i / (n / a->flattenedLength), k = i / (n / b->flattenedLength);
          ASSERT_EQ(real_part(result, i), mreal(j % 5 + 1 + k % 5 + 1)) << s << " " << t << " at " << i;
        }
        ASSERT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_LESS, a, a, 6, 1),
                  is_complex(s) ? 22 : 0);
        if (is_complex(s)) continue;
        ASSERT_EQ(result->numericType, kInteger);
      }
  MNumericArray_delete(result);
}

TEST_F(Evaluation, FindsARecordByTheRules) {
  struct Case {
    int32_t op, type1, type2, result;
  };
  for (const Case& c : std::vector<Case>{{MACHFUNC_PLUS, 1, 2, 3},
                                         {MACHFUNC_PLUS, 4, 5, 5},
                                         {MACHFUNC_PLUS, 6, 5, 7},
                                         {MACHFUNC_PLUS, 8, 1, 7},
                                         {MACHFUNC_PLUS, 8, 6, 8},
                                         {MACHFUNC_PLUS, 4, 9, 9},
                                         {MACHFUNC_PLUS, 5, 9, 10},
                                         {MACHFUNC_PLUS, 11, 10, 12},
                                         {MACHFUNC_PLUS, 2, 11, 11},
                                         {MACHFUNC_DIV, 1, 1, 10},  // integers meet in reals
                                         {MACHFUNC_DIV, 3, 9, 9},
                                         {MACHFUNC_GCD, 2, 1, 7},
                                         {MACHFUNC_BITSHIFTLEFT, 9, 1, 10},
                                         {MACHFUNC_POW, 10, 2, 10},
                                         {MACHFUNC_CHOP, 11, 9, 12},
                                         {MACHFUNC_EQUAL, 11, 1, 7},
                                         {MACHFUNC_LESS, 11, 1, 0},
                                         {MACHFUNC_BITAND, 9, 9, 0}}) {
    MNumericArray result = nullptr;
    const MNumericArray a = array(c.type1, {3}), b = array(c.type2, {});
    ASSERT_EQ(MNumericArray_applyBinaryMachFunc(&result, c.op, a, b, 6, 1), c.result == 0 ? 22 : 0) << c.op;
    if (c.result == 0) {
      EXPECT_EQ(result, nullptr);
      continue;
    }
    EXPECT_EQ(result->numericType, c.result) << c.op << " of " << c.type1 << " and " << c.type2;
    int32_t flag;
    EXPECT_EQ(ReturnRangeType2(c.op, c.type1, c.type2, &flag), c.result);
    MNumericArray_delete(result);
  }
  MNumericArray result = nullptr;
  const MNumericArray bytes = list<uint8_t>(2, {0, 1, 4, 255});
  EXPECT_EQ(MNumericArray_applyUnaryMachFunc(&result, MACHFUNC_SQRT, bytes, 6, 1), 0);
  EXPECT_EQ(elements<mreal>(result), (std::vector<mreal>{0.0, 1.0, 2.0, std::sqrt(255.0)}));
  const MNumericArray halves =
      list<uint16_t>(13, {0x3c00, 0xc000, 0x0001, 0x8000, 0x7bff, 0x7c00, 0x03ff, 0x3555});
  EXPECT_EQ(MNumericArray_applyUnaryMachFunc(&result, MACHFUNC_RE, halves, 0, 1), 0);
  EXPECT_EQ(elements<float>(result), (std::vector<float>{1.0f, -2.0f, 0x1p-24f, -0.0f, 65504.0f, INFINITY,
                                                         0x1.ff8p-15f, 0x1.554p-2f}));
  MNumericArray_delete(result);
}

TEST_F(Evaluation, ResultMayBeAnOperand) {
  // In place: the same size; apart: another size, or the shorter operand.
  MNumericArray a = list<mint>(7, {1, 4, 9});
  EXPECT_EQ(MTensor_applyUnaryMachFunc(&a, MACHFUNC_SQRT, a, 6, 1), 0);
  EXPECT_EQ(elements<mreal>(a), (std::vector<mreal>{1, 2, 3}));
  EXPECT_EQ(MTensor_applyBinaryMachFunc(&a, MACHFUNC_TIMES, a, a, 6, 1), 0);
  EXPECT_EQ(elements<mreal>(a), (std::vector<mreal>{1, 4, 9}));
  MNumericArray b = list<int16_t>(3, {1, 4, 9});
  const MNumericArray identity = b;
  EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&b, MACHFUNC_DIV, b, a, 6, 1), 0);
  EXPECT_EQ(b, identity);
  EXPECT_EQ(b->refCount, 1);
  EXPECT_EQ(elements<mreal>(b), (std::vector<mreal>{1, 1, 1}));
  const MNumericArray wide = array(kReal, {3, 2});
  EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&a, MACHFUNC_PLUS, a, wide, 6, 1), 0);
  EXPECT_EQ(elements<mreal>(a), (std::vector<mreal>{2, 3, 7, 8, 14, 10}));
  EXPECT_EQ(a->rank, 2);
  MNumericArray scalar = array(5, {});
  EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&scalar, MACHFUNC_SUBTRACT, wide, scalar, 6, 1), 0);
  EXPECT_EQ(elements<mreal>(scalar), (std::vector<mreal>{0, 1, 2, 3, 4, 0}));
}

TEST_F(Evaluation, TellsFailuresByCodeInEveryStyle) {
  const MNumericArray a = list<int8_t>(1, {100, 27}), b = list<int8_t>(1, {27, 101}), three = array(1, {3});
  const MNumericArray most = list<uint64_t>(8, {uint64_t(1) << 63, 1}), signs = list<int8_t>(1, {-1, 1});
  const MNumericArray empty = keep(MNumericArray_new());
  for (int32_t style : {0, 1, 2}) {
    setExceptionStyle(style);
    setExceptionActive(77);
    MNumericArray result = nullptr;
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, a, b, 4, 1), 1);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(nullptr, MACHFUNC_PLUS, a, b, 4, 1), 13);
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, nullptr, b, 4, 1), 13);
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, a, nullptr, 4, 1), 13);
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, a, empty, 4, 1), 22);
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, a, three, 4, 1), 25);
    EXPECT_EQ(MNumericArray_applyUnaryMachFunc(&result, 4, a, 4, 1), 22);
    EXPECT_EQ(MNumericArray_applyUnaryMachFunc(&result, MACHFUNC_PLUS, a, 4, 1), 22);
    EXPECT_EQ(MNumericArray_applyTernaryMachFunc(&result, MACHFUNC_AXPY, a, b, three, 4, 1), 25);
    // Without checks too: a common type does not hold the element.
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_LESS, most, signs, 0, 1), 1);
    EXPECT_EQ(result, nullptr);
    result = list<mreal>(kReal, {5.0});
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, a, b, 4, 1), 1);
    EXPECT_EQ(result->numericType, 1);
    EXPECT_EQ(result->flattenedLength, 2);
    // An operand that the result would not fit in stays as it was.
    MNumericArray zero = list<int8_t>(1, {0, 1});
    EXPECT_EQ(MNumericArray_applyUnaryMachFunc(&zero, MACHFUNC_RECIP, zero, 2, 1), 6);
    EXPECT_EQ(elements<int8_t>(zero), (std::vector<int8_t>{0, 1}));
    watch = 1;
    const MNumericArray bytes = array(2, {50000}), reals = array(kReal, {50000});
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, bytes, reals, 0, 1), 34);
    EXPECT_EQ(MNumericArray_applyBinaryMachFunc(&result, MACHFUNC_PLUS, reals, reals, 0, 1), 34);
    watch = 0;
    EXPECT_EQ(getExceptionActive(), 77);
  }
}

TEST_F(Evaluation, FailsWithoutMemoryAsAllocationDoes) {
  MNumericArray result = nullptr;
  const MNumericArray a = array(kReal, {1000, 100});
  MCsetlimit(MemoryInUse() + 1000);
  EXPECT_EQ(MNumericArray_applyUnaryMachFunc(&result, MACHFUNC_SIN, a, 0, 1), 403);
  MCsetlimit(0);
  EXPECT_EQ(result, nullptr);
}

TEST_F(Evaluation, CompensatedSumsReplaceTheirThirdOperand) {
  MNumericArray sum = nullptr;
  const MNumericArray a = list<mreal>(kReal, {1e16, 1.0, 1.0}), zero = list<mint>(7, {0, 0, 0});
  MNumericArray carried = keep(MNumericArray_loadNewRank0(nullptr, kReal));
  *static_cast<mreal*>(carried->data) = 0.5;
  EXPECT_EQ(MNumericArray_applyTernaryMachFunc(&sum, MACHFUNC_COMPPLUS, a, zero, carried, 0, 1), 0);
  const auto step = MNumericArray_getTernaryScalarMachFunc(MACHFUNC_COMPPLUS, kReal, kReal, kReal);
  mreal wanted, nothing = 0.0, compensation = 0.5;
  for (mint i = 0; i < 3; ++i) {
    ASSERT_EQ(step(&wanted, static_cast<mreal*>(a->data) + i, &nothing, &compensation, 0), 0);
    EXPECT_EQ(elements<mreal>(sum)[size_t(i)], wanted);
  }
  EXPECT_EQ(*static_cast<mreal*>(carried->data), compensation);
  EXPECT_EQ(MNumericArray_applyTernaryMachFunc(&sum, MACHFUNC_COMPPLUS, a, a, zero, 0, 1), 22);
  EXPECT_EQ(MNumericArray_applyTernaryMachFunc(&sum, MACHFUNC_COMPPLUS, a, zero, a, 0, 1), 13);
  EXPECT_EQ(MNumericArray_applyTernaryMachFunc(&sum, MACHFUNC_COMPPLUS, a, a, sum, 0, 1), 13);
  MNumericArray_delete(sum);
}

}  // namespace
