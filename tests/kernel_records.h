// The records of dispatch seen alike for every arity, and elements to try them on.
#ifndef ZENTHAR_TESTS_KERNEL_RECORDS_H
#define ZENTHAR_TESTS_KERNEL_RECORDS_H

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "zenthar/array.h"
#include "zenthar/dispatch.h"

namespace kernel_records {

inline constexpr int32_t kInteger = 7, kReal = 10, kComplex = 12, kReal32 = 9, kComplex32 = 11;
inline constexpr int32_t kTypes[] = {kInteger, kReal, kComplex};
inline constexpr int32_t kAllTypes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

inline size_t size_of(int32_t type) { return size_t(MNumericArray_typeSizeTable[type]); }
inline bool is_integer(int32_t type) { return type <= 8; }
inline bool is_complex(int32_t type) { return type == kComplex || type == kComplex32; }

struct Record {
  int32_t op;
  int32_t arity;
  int32_t type[3];
  int32_t result_type;
  UnaryScalarFunction scalar1;
  BinaryScalarFunction scalar2;
  TernaryScalarFunction scalar3;
  UnaryVectorFunction vector1;
  BinaryVectorFunction vector2;
  TernaryVectorFunction vector3;

  std::string name() const {
    std::string text = std::string(MNumericArray_getMachFuncName(op)) + "(";
    for (int32_t k = 0; k < arity; ++k) text += (k ? ", " : "") + std::to_string(type[k]);
    return text + ")";
  }

  int32_t scalar(void* result, const void* const* operands, uint32_t flags) const {
    if (arity == 1) return scalar1(result, operands[0], flags);
    if (arity == 2) return scalar2(result, operands[0], operands[1], flags);
    return scalar3(result, operands[0], operands[1], const_cast<void*>(operands[2]), flags);
  }

  int32_t vector(void* result, const void* const* operands, const mint* steps, mint n, uint32_t flags) const {
    if (arity == 1) return vector1(result, operands[0], n, flags);
    if (arity == 2) return vector2(result, operands[0], steps[0], operands[1], steps[1], n, flags);
    return vector3(result, operands[0], steps[0], operands[1], steps[1], const_cast<void*>(operands[2]),
                   steps[2], n, flags);
  }
};

// Every record that the getters give.
inline std::vector<Record> all_records() {
  std::vector<Record> records;
  for (int32_t a : kAllTypes) {
    for (int32_t op = 1; op <= 86; ++op)
      if (auto f = MNumericArray_getUnaryVectorMachFunc(op, a))
        records.push_back({op,
                           1,
                           {a, 0, 0},
                           MNumericArray_ReturnType1(op, a),
                           MNumericArray_getUnaryScalarMachFunc(op, a),
                           nullptr,
                           nullptr,
                           f,
                           nullptr,
                           nullptr});
    for (int32_t b : kAllTypes) {
      for (int32_t op = 257; op <= 285; ++op)
        if (auto f = MNumericArray_getBinaryVectorMachFunc(op, a, b))
          records.push_back({op,
                             2,
                             {a, b, 0},
                             MNumericArray_ReturnType2(op, a, b),
                             nullptr,
                             MNumericArray_getBinaryScalarMachFunc(op, a, b),
                             nullptr,
                             nullptr,
                             f,
                             nullptr});
      for (int32_t c : kAllTypes)
        for (int32_t op = 513; op <= 517; ++op)
          if (auto f = MNumericArray_getTernaryVectorMachFunc(op, a, b, c))
            records.push_back({op,
                               3,
                               {a, b, c},
                               MNumericArray_ReturnType3(op, a, b, c),
                               nullptr,
                               nullptr,
                               MNumericArray_getTernaryScalarMachFunc(op, a, b, c),
                               nullptr,
                               nullptr,
                               f});
    }
  }
  return records;
}

// A run of elements of one type, at an address that is a multiple of nothing.
class Elements {
 public:
  Elements(int32_t type, mint n) : size_(size_of(type)), bytes_(size_t(n) * size_ + 1) {}
  char* data() { return bytes_.data() + 1; }
  const char* data() const { return bytes_.data() + 1; }
  char* at(mint i) { return data() + size_t(i) * size_; }
  const char* at(mint i) const { return data() + size_t(i) * size_; }
  void set(mint i, const void* element) { std::memcpy(at(i), element, size_); }

 private:
  size_t size_;
  std::vector<char> bytes_;
};

// Stores a value as an element: the low bytes of the integer, or the reals in the type's precision.
inline void put(void* to, int32_t type, mint integer, mreal re, mreal im) {
  const auto part = [&](size_t place, mreal x) {
    const auto narrow = float(x);
    const bool wide = type == kReal || type == kComplex;
    const size_t size = wide ? sizeof x : sizeof narrow;
    std::memcpy(static_cast<char*>(to) + place * size, wide ? static_cast<const void*>(&x) : &narrow, size);
  };
  if (is_integer(type)) return void(std::memcpy(to, &integer, size_of(type)));
  part(0, re);
  if (is_complex(type)) part(1, im);
}

// Elements of ordinary size, for which few operations fail.
inline Elements tame(int32_t type, mint n, uint32_t seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<mreal> real(0.25, 3.0);
  Elements run(type, n);
  for (mint i = 0; i < n; ++i) put(run.at(i), type, mint(random() % 7) + 1, real(random), real(random));
  return run;
}

inline const std::vector<mint>& special_integers() {
  static const std::vector<mint> values = {0,
                                           1,
                                           -1,
                                           2,
                                           -2,
                                           3,
                                           -3,
                                           7,
                                           8,
                                           10,
                                           -7,
                                           62,
                                           63,
                                           64,
                                           -64,
                                           92,
                                           -93,
                                           1000,
                                           3037000499,
                                           3037000500,
                                           INT32_MAX,
                                           INT32_MIN,
                                           UINT32_MAX,
                                           127,
                                           -128,
                                           255,
                                           11,
                                           INT16_MAX,
                                           INT16_MIN,
                                           UINT16_MAX,
                                           181,
                                           46341,
                                           mint(1) << 32,
                                           mint(1) << 62,
                                           INT64_MAX,
                                           INT64_MIN,
                                           INT64_MIN + 1};
  return values;
}
inline const std::vector<mreal>& special_reals() {
  constexpr mreal kInfinity = std::numeric_limits<mreal>::infinity();
  static const std::vector<mreal> values = {
      0.0,    -0.0,   1.0,     -1.0,   0.5,     -0.5,   2.0,     -2.5,      3.0,        -7.0,
      1e-308, 5e-324, -5e-324, 1e308,  -1e308,  1e16,   1e300,   1e-300,    709.9,      -745.5,
      1e5,    9.3e18, -9.3e18, 0x1p63, -0x1p63, 0x1p52, 1.7e308, kInfinity, -kInfinity, std::nan(""),
      3e38,   -3e38,  1e-45,   -1e-38, 0x1p23,  0x1p24, 88.7,    -103.9,    1e20,       -1e-10};
  return values;
}

// Special values of a type, by number; the numbers go round.
inline void special(void* to, int32_t type, size_t number) {
  const auto& reals = special_reals();
  const auto& integers = special_integers();
  put(to, type, integers[number % integers.size()], reals[number % reals.size()],
      reals[number / reals.size() % reals.size()]);
}

// Ordinary and special elements at random.
inline Elements wild(int32_t type, mint n, uint32_t seed) {
  std::mt19937_64 random(seed);
  Elements run = tame(type, n, seed + 1);
  for (mint i = 0; i < n; ++i)
    if (random() % 2) special(run.at(i), type, random());
  return run;
}

// The bytes of a real part of an element, and its value.
inline size_t part_size(int32_t type) { return type == kReal || type == kComplex ? 8 : 4; }
inline mreal part_value(int32_t type, const void* from) {
  mreal x;
  float narrow;
  std::memcpy(part_size(type) == 8 ? static_cast<void*>(&x) : &narrow, from, part_size(type));
  return part_size(type) == 8 ? x : mreal(narrow);
}

// Whether two elements are the same: bit by bit, any NaN like any other.
inline bool same(int32_t type, const void* a, const void* b) {
  if (is_integer(type)) return std::memcmp(a, b, size_of(type)) == 0;
  for (size_t part = 0; part < size_of(type); part += part_size(type)) {
    const char* const x = static_cast<const char*>(a) + part;
    const char* const y = static_cast<const char*>(b) + part;
    if (std::isnan(part_value(type, x)) && std::isnan(part_value(type, y))) continue;
    if (std::memcmp(x, y, part_size(type)) != 0) return false;
  }
  return true;
}

// By how many units in the last place a vector function may differ from the scalar one: both are so near the
// exact value. Arithmetic does not differ at all.
inline uint64_t tolerance(int32_t op) {
  switch (op) {
    case MACHFUNC_EXP:
    case MACHFUNC_EXPM1:
    case MACHFUNC_LOG:
    case MACHFUNC_LOG2:
    case MACHFUNC_LOG10:
    case MACHFUNC_LOG1P:
    case MACHFUNC_LOGISTIC:
    case MACHFUNC_SIN:
    case MACHFUNC_COS:
    case MACHFUNC_TAN:
    case MACHFUNC_ASIN:
    case MACHFUNC_ACOS:
    case MACHFUNC_ATAN:
    case MACHFUNC_ATAN2:
    case MACHFUNC_ACSC:
    case MACHFUNC_ASEC:
    case MACHFUNC_ACOT:
    case MACHFUNC_RSQRT:
    case MACHFUNC_POW:
      return 2;
    case MACHFUNC_CSC:
    case MACHFUNC_SEC:
    case MACHFUNC_COT:
    case MACHFUNC_SINH:
    case MACHFUNC_COSH:
    case MACHFUNC_TANH:
    case MACHFUNC_CSCH:
    case MACHFUNC_SECH:
    case MACHFUNC_COTH:
    case MACHFUNC_ASINH:
    case MACHFUNC_ACOSH:
    case MACHFUNC_ATANH:
    case MACHFUNC_ACSCH:
    case MACHFUNC_ASECH:
    case MACHFUNC_ACOTH:
    case MACHFUNC_LOG_BASE:
    case MACHFUNC_SINC:
    case MACHFUNC_HAVERSINE:
    case MACHFUNC_INVERSEHAVERSINE:
      return 3;
    case MACHFUNC_CBRT:
    case MACHFUNC_GUDERMANNIAN:
    case MACHFUNC_INVERSEGUDERMANNIAN:
      return 4;
    case MACHFUNC_ERF:
    case MACHFUNC_ERFC:
    case MACHFUNC_GAMMA:
    case MACHFUNC_LOGGAMMA:
      return 6;  // of which the mathematics library accounts for 5
    default:
      return 0;
  }
}

// The same for an operation with a complex operand.
inline uint64_t complex_tolerance(int32_t op) {
  switch (op) {
    case MACHFUNC_SQRT:
      return 1;
    case MACHFUNC_ABS:
    case MACHFUNC_ARG:
      return 2;
    case MACHFUNC_LOG:
    case MACHFUNC_POW:
    case MACHFUNC_TAN:
    case MACHFUNC_TANH:
      return 3;
    case MACHFUNC_EXP:
    case MACHFUNC_SIN:
    case MACHFUNC_COS:
    case MACHFUNC_SINH:
    case MACHFUNC_COSH:
      return 4;  // of which the mathematics library accounts for 3
    default:
      return 0;
  }
}

// The place of a real among all reals in order.
inline int64_t place(mreal x) {
  int64_t bits;
  std::memcpy(&bits, &x, 8);
  return bits < 0 ? std::numeric_limits<int64_t>::min() - bits : bits;
}

// Whether two elements are the same but for `units` in the last place of each part.
inline bool close(int32_t type, const void* a, const void* b, uint64_t units) {
  if (units == 0 || is_integer(type)) return same(type, a, b);
  for (size_t part = 0; part < size_of(type); part += part_size(type)) {
    const mreal x = part_value(type, static_cast<const char*>(a) + part);
    const mreal y = part_value(type, static_cast<const char*>(b) + part);
    if (std::isnan(x) != std::isnan(y)) return false;
    if (std::isnan(x)) continue;
    // Of shorter reals rounding leaves at most the next one.
    if (part_size(type) == 4 && (x == y || std::nextafter(float(x), float(y)) == float(y))) continue;
    const int64_t p = place(x), q = place(y);
    if ((p > q ? uint64_t(p) - uint64_t(q) : uint64_t(q) - uint64_t(p)) > units) return false;
  }
  return true;
}

}  // namespace kernel_records

#endif
