// The records of the element types beside the machine types, against models of their own: integers against
// 128-bit arithmetic, Real32 and ComplexReal32 against the compiler's and against the records of Real64.
// (That vector functions do what these scalar functions do is kernels_vector_test's business.)
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "kernel_records.h"
#include "zenthar/zenthar.h"

namespace {

using namespace kernel_records;
__extension__ typedef __int128 Wide;

// What a record should answer: a value, or a failure. Flag 4 decides about values that do not fit.
struct Answer {
  std::optional<Wide> value;  // nothing: fails with code 16 whatever the flags
  bool fixed = false;         // whether it is an Integer64, not of the arguments' type
};

template <class T>
struct Model {
  static constexpr int kBits = 8 * int(sizeof(T));
  static constexpr bool kSigned = std::is_signed_v<T>;

  static Wide floored(Wide a, Wide b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }
  // Modulo 2^128, which no product of two elements that fits its type needs.
  static Wide times(Wide a, Wide b) {
    __extension__ typedef unsigned __int128 Modulo;
    return Wide(Modulo(a) * Modulo(b));
  }
  static Wide magnitude(Wide a) { return a < 0 ? -a : a; }
  static Wide shifted(Wide a, Wide by) {  // of sign and magnitude; to the right, what is left of it
    if (by >= kBits) return a == 0 ? 0 : Wide(1) << 100;  // more than fits any type
    if (by > 0) return a * (Wide(1) << by);
    const Wide size = -by > kBits ? 0 : magnitude(a) >> -by;
    return a < 0 ? -size : size;
  }

  static Answer unary(int32_t op, Wide a) {
    switch (op) {
      case MACHFUNC_ABS:
      case MACHFUNC_REALABS:
        return {magnitude(a)};
      case MACHFUNC_MINUS:
        return {-a};
      case MACHFUNC_SQUARE:
      case MACHFUNC_ABSSQUARE:
        return {times(a, a)};
      case MACHFUNC_SIGN:
      case MACHFUNC_REALSIGN:
        return {(a > 0) - (a < 0)};
      case MACHFUNC_CONJ:
      case MACHFUNC_RE:
      case MACHFUNC_ROUND:
      case MACHFUNC_FLOOR:
      case MACHFUNC_CEILING:
      case MACHFUNC_INTPART:
        return {a};
      case MACHFUNC_IM:
      case MACHFUNC_FRACPART:
      case MACHFUNC_MOD1:
        return {0};
      case MACHFUNC_RAMP:
        return {a > 0 ? a : 0};
      case MACHFUNC_BITNOT:
        return {kSigned ? -1 - a : Wide(std::numeric_limits<T>::max()) - a};
      case MACHFUNC_BITLENGTH: {
        Wide length = 0;
        for (Wide rest = a < 0 ? -1 - a : a; rest != 0; rest >>= 1) ++length;
        return {length};
      }
      case MACHFUNC_POS:
        return {a > 0, true};
      case MACHFUNC_NEG:
        return {a < 0, true};
      case MACHFUNC_NPOS:
        return {a <= 0, true};
      case MACHFUNC_NNEG:
        return {a >= 0, true};
      case MACHFUNC_EVENQ:
        return {a % 2 == 0, true};
      case MACHFUNC_ODDQ:
        return {a % 2 != 0, true};
      case MACHFUNC_UNITIZE:
        return {a != 0, true};
      default:
        ADD_FAILURE() << "a record without a model: " << op;
        return {};
    }
  }

  static Answer binary(int32_t op, Wide a, Wide b) {
    switch (op) {
      case MACHFUNC_PLUS:
        return {a + b};
      case MACHFUNC_SUBTRACT:
        return {a - b};
      case MACHFUNC_TIMES:
        return {times(a, b)};
      case MACHFUNC_MOD:
        return b == 0 ? Answer{} : Answer{a - floored(a, b) * b};
      case MACHFUNC_QUOTIENT:
        if (b == 0 || floored(a, b) > Wide(std::numeric_limits<T>::max())) return {};
        return {floored(a, b)};
      case MACHFUNC_BITAND:
        return {a & b};
      case MACHFUNC_BITOR:
        return {a | b};
      case MACHFUNC_BITXOR:
        return {a ^ b};
      case MACHFUNC_ABSERR:
        return {magnitude(a - b)};
      case MACHFUNC_MAXABS:
        return {std::max(magnitude(a), magnitude(b))};
      case MACHFUNC_MIN:
        return {std::min(a, b)};
      case MACHFUNC_MAX:
        return {std::max(a, b)};
      case MACHFUNC_BITSHIFTLEFT:
        return {shifted(a, b)};
      case MACHFUNC_BITSHIFTRIGHT:
        return {shifted(a, -b)};
      case MACHFUNC_EQUAL:
        return {a == b, true};
      case MACHFUNC_LESS:
        return {a < b, true};
      case MACHFUNC_LESSEQUAL:
        return {a <= b, true};
      case MACHFUNC_UNITIZE_TOLERANCE:
        return b <= 0 ? Answer{} : Answer{magnitude(a) >= b, true};
      default:
        ADD_FAILURE() << "a record without a model: " << op;
        return {};
    }
  }

  static Answer ternary(int32_t op, Wide a, Wide x, Wide y) {
    const Wide product = times(a, x);
    const bool product_fits = product == Wide(T(product));
    switch (op) {
      case MACHFUNC_AXPY:
        return {product_fits ? product + y : Wide(T(product)) + y + (Wide(1) << 100)};
      case MACHFUNC_AXMY:
        return {product_fits ? product - y : Wide(T(product)) - y + (Wide(1) << 100)};
      case MACHFUNC_YMAX:
        return {product_fits ? y - product : y - Wide(T(product)) + (Wide(1) << 100)};
      default:
        ADD_FAILURE() << "a record without a model: " << op;
        return {};
    }
  }
};

// Every value of a type of 8 bits; of the others what lies about the powers of two and about 0.
template <class T>
std::vector<T> values() {
  std::vector<T> all;
  if constexpr (sizeof(T) == 1) {
    for (int k = 0; k < 256; ++k) all.push_back(T(k));
  } else {
    for (int bit = 0; bit <= 8 * int(sizeof(T)); ++bit)
      for (int offset : {-1, 0, 1})
        for (int sign : {-1, 1}) all.push_back(T(sign * ((Wide(1) << bit) + offset)));
    for (int64_t root :
         std::initializer_list<int64_t>{181, 182, 46340, 46341, 65535, 3037000499, 3037000500, 4294967295})
      all.push_back(T(root));
    for (int k = -9; k < 10; ++k) all.push_back(T(k));
  }
  return all;
}

template <class T>
class IntegerRecords : public testing::Test {
 protected:
  static constexpr int32_t kType = 2 * (sizeof(T) == 1   ? 1
                                        : sizeof(T) == 2 ? 2
                                        : sizeof(T) == 4 ? 3
                                                         : 4) -
                                   std::is_signed_v<T>;

  void SetUp() override { setExceptionStyle(1); }
  void TearDown() override { setExceptionActive(0); }

  static bool raises(int32_t op) { return op == MACHFUNC_SQUARE || op == MACHFUNC_ABSSQUARE; }

  // A shift to the left without checks takes its count modulo the bits: the models do not say so.
  static bool counts_modulo(int32_t op, Wide by) {
    constexpr int kBits = 8 * int(sizeof(T));
    return (op == MACHFUNC_BITSHIFTLEFT && by >= kBits) || (op == MACHFUNC_BITSHIFTRIGHT && by <= -kBits);
  }

  template <class Call>
  static void check(const Record& record, const Answer& answer, bool no_wrapping, Call call) {
    for (uint32_t flags : {0u, 2u, 4u, 6u}) {
      union {
        T own;
        mint fixed;
      } result = {};
      setExceptionActive(0);
      const int32_t status = call(&result, flags);
      const int32_t raised = getExceptionActive();
      const bool fits = answer.value && (answer.fixed || *answer.value == Wide(T(*answer.value)));
      if (!answer.value || (!fits && (flags & 4))) {
        ASSERT_EQ(status, 1);
        ASSERT_EQ(raised, answer.value && raises(record.op) ? 1 : 0);
        continue;
      }
      ASSERT_EQ(status, 0);
      if (!fits && no_wrapping) continue;
      ASSERT_EQ(record.result_type, answer.fixed ? kInteger : kType);
      ASSERT_EQ(answer.fixed ? Wide(result.fixed) : Wide(result.own),
                answer.fixed ? *answer.value : Wide(T(*answer.value)));
    }
  }
};

using IntegerTypes = testing::Types<int8_t, uint8_t, int16_t, uint16_t, int32_t, uint32_t, uint64_t>;
TYPED_TEST_SUITE(IntegerRecords, IntegerTypes);

TYPED_TEST(IntegerRecords, AreArithmeticOfTheirWidth) {
  using T = TypeParam;
  using M = Model<T>;
  const std::vector<T> all = values<T>();
  int found = 0;
  for (const Record& record : all_records()) {
    if (record.type[0] != this->kType) continue;
    ++found;
    for (T a : all) {
      if (record.arity == 1) {
        this->check(record, M::unary(record.op, a), false,
                    [&](void* to, uint32_t flags) { return record.scalar1(to, &a, flags); });
      } else {
        for (T b : all) {
          if (record.arity == 2) {
            this->check(record, M::binary(record.op, a, b), this->counts_modulo(record.op, b),
                        [&](void* to, uint32_t flags) { return record.scalar2(to, &a, &b, flags); });
          } else {
            T c = T(a ^ T(uint64_t(b) * 5 + 3));
            this->check(record, M::ternary(record.op, a, b, c), false,
                        [&](void* to, uint32_t flags) { return record.scalar3(to, &a, &b, &c, flags); });
          }
          if (this->HasFatalFailure()) FAIL() << record.name() << " of " << mint(a) << ", " << mint(b);
        }
      }
      if (this->HasFatalFailure()) FAIL() << record.name() << " of " << mint(a);
    }
  }
  EXPECT_EQ(found, 26 + 18 + 3);
  // The least, and counts beyond the width.
  T result, one = 1, count = 8 * sizeof(T) + 1;
  const auto left = MNumericArray_getBinaryScalarMachFunc(MACHFUNC_BITSHIFTLEFT, this->kType, this->kType);
  ASSERT_EQ(left(&result, &one, &count, 0), 0);
  EXPECT_EQ(result, T(2));
}

// Reals of binary32 that try rounding: near the ends of the range, below the normal ones, halves, and any.
std::vector<float> reals() {
  std::vector<float> all;
  for (mreal x : special_reals()) all.push_back(float(x));
  for (float x : {std::numeric_limits<float>::max(), std::numeric_limits<float>::min(),
                  std::numeric_limits<float>::denorm_min()})
    for (float sign : {-1.0f, 1.0f}) all.push_back(sign * x);
  std::mt19937 random(9);
  for (int k = 0; k < 400; ++k) {
    const auto bits = uint32_t(random());
    float x;
    std::memcpy(&x, &bits, sizeof x);
    all.push_back(k % 2 ? x : std::ldexp(float(int32_t(bits)), -30));
  }
  return all;
}

class Real32Records : public testing::Test {
 protected:
  void SetUp() override { setExceptionStyle(1); }
  void TearDown() override { setExceptionActive(0); }
};

// A failure by flag 2 of a Real32 result.
int32_t code_of(float x) { return std::isnan(x) ? 9 : std::isinf(x) ? 6 : 0; }

TEST_F(Real32Records, ArithmeticIsThatOfTheCompiler) {
  const auto check = [](int32_t op, float a, float b, float wanted) {
    const auto f = MNumericArray_getBinaryScalarMachFunc(op, kReal32, kReal32);
    float result = 0.0f;
    setExceptionActive(0);
    ASSERT_EQ(f(&result, &a, &b, 0), 0);
    ASSERT_TRUE(same(kReal32, &result, &wanted))
        << op << " of " << a << ", " << b << ": " << result << " not " << wanted;
    ASSERT_EQ(f(&result, &a, &b, 2), code_of(wanted));
  };
  const std::vector<float> all = reals();
  for (float a : all) {
    for (float b : all) {
      check(MACHFUNC_PLUS, a, b, a + b);
      check(MACHFUNC_SUBTRACT, a, b, a - b);
      check(MACHFUNC_TIMES, a, b, a * b);
      check(MACHFUNC_DIV, a, b, a / b);
      check(MACHFUNC_MIN, a, b, std::isnan(b) || a < b ? a : b);
      check(MACHFUNC_ABSERR, a, b, std::fabs(a - b));
      if (HasFatalFailure()) return;
    }
    float result = 0.0f;
    ASSERT_EQ(MNumericArray_getUnaryScalarMachFunc(MACHFUNC_SQRT, kReal32)(&result, &a, 0), 0);
    const float root = std::sqrt(a);
    ASSERT_TRUE(same(kReal32, &result, &root)) << a;
  }
  // The remainder of something tiny and negative is 0, not the divisor.
  float tiny = -1e-20f, one = 1.0f, result = 2.0f;
  EXPECT_EQ(MNumericArray_getBinaryScalarMachFunc(MACHFUNC_MOD, kReal32, kReal32)(&result, &tiny, &one, 0),
            0);
  EXPECT_EQ(result, 0.0f);
  tiny = -1e-10f;
  EXPECT_EQ(MNumericArray_getUnaryScalarMachFunc(MACHFUNC_MOD1, kReal32)(&result, &tiny, 0), 0);
  EXPECT_EQ(result, 0.0f);
}

// The rest is Real64, rounded once: operations for which that would be wrong are left out.
TEST_F(Real32Records, AreThoseOfReal64Rounded) {
  const std::vector<float> all = reals();
  int found = 0;
  for (const Record& record : all_records()) {
    if (record.type[0] != kReal32 && record.type[0] != kComplex32) continue;
    if (record.arity == 3 || record.op == MACHFUNC_MOD1 || record.op == MACHFUNC_MOD ||
        record.op == MACHFUNC_RELERR)
      continue;
    ++found;
    const bool complex = record.type[0] == kComplex32;
    const int32_t wide = complex ? kComplex : kReal;
    const int32_t wide_result = record.arity == 1 ? MNumericArray_ReturnType1(record.op, wide)
                                                  : MNumericArray_ReturnType2(record.op, wide, wide);
    ASSERT_EQ(record.result_type, wide_result == kReal      ? kReal32
                                  : wide_result == kComplex ? kComplex32
                                                            : wide_result)
        << record.name();
    for (size_t i = 0; i < 600; ++i) {
      float given[2][2], narrow[2] = {};
      mreal doubled[2][2], result[2] = {};
      for (size_t k = 0; k < 4; ++k)
        doubled[k / 2][k % 2] = given[k / 2][k % 2] = all[(i * (k + 1) + k * 77 + i / 37) % all.size()];
      for (uint32_t flags : {0u, 6u}) {
        const void* narrow_operands[3] = {given[0], given[1]};
        const void* operands[3] = {doubled[0], doubled[1]};
        setExceptionActive(0);
        const int32_t status = record.scalar(narrow, narrow_operands, flags);
        setExceptionActive(0);
        int32_t wanted = record.arity == 1 ? MNumericArray_getUnaryScalarMachFunc(record.op, wide)(
                                                 result, operands[0], flags)
                                           : MNumericArray_getBinaryScalarMachFunc(record.op, wide, wide)(
                                                 result, operands[0], operands[1], flags);
        float rounded[2] = {float(result[0]), float(result[1])};
        if (wanted == 0 && record.result_type != kInteger && (flags & 2)) {
          wanted = code_of(rounded[0]);
          if (wanted == 0 && record.result_type == kComplex32) wanted = code_of(rounded[1]);
        }
        ASSERT_EQ(status, wanted) << record.name() << " of " << given[0][0] << ", " << given[0][1] << " and "
                                  << given[1][0] << ", " << given[1][1] << " flags " << flags;
        if (status != 0) continue;
        const bool equal = record.result_type == kInteger ? same(kInteger, narrow, result)
                                                          : same(record.result_type, narrow, rounded);
        ASSERT_TRUE(equal) << record.name() << " of " << given[0][0] << ", " << given[0][1] << " and "
                           << given[1][0] << ", " << given[1][1] << ": " << narrow[0] << ", " << narrow[1]
                           << " not " << rounded[0] << ", " << rounded[1];
      }
    }
  }
  EXPECT_GT(found, 120);
}

}  // namespace
