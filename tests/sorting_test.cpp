// Sorting and what is built on it, against the standard library and plain loops, on inputs made to be hard.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include "zenthar/zenthar.h"

namespace {

constexpr mreal kInfinity = std::numeric_limits<mreal>::infinity();
constexpr mreal kNaN = std::numeric_limits<mreal>::quiet_NaN();

// ------------------------------------------------------------------------------------------- inputs

using Random = std::mt19937_64;

// Every kind of input as 64-bit patterns, which are read as integers or as reals.
struct Pattern {
  const char* name;
  std::function<uint64_t(size_t i, size_t n, Random&)> bits;
};

const std::vector<Pattern>& patterns() {
  using std::size_t;
  static const std::vector<Pattern> all = {
      {"random bits", [](size_t, size_t, Random& r) { return r(); }},
      {"uniform reals",
       [](size_t, size_t, Random& r) { return std::bit_cast<uint64_t>(mreal(r() >> 11) * 0x1p-53); }},
      {"ascending", [](size_t i, size_t, Random&) { return std::bit_cast<uint64_t>(mreal(i)); }},
      {"descending", [](size_t i, size_t n, Random&) { return std::bit_cast<uint64_t>(mreal(n - i)); }},
      {"descending in pairs",
       [](size_t i, size_t n, Random&) { return std::bit_cast<uint64_t>(mreal((n - i) / 2)); }},
      {"organ pipe", [](size_t i, size_t n, Random&) { return uint64_t(std::min(i, n - i)); }},
      {"valley", [](size_t i, size_t n, Random&) { return uint64_t(std::max(i, n - i)); }},
      {"five teeth", [](size_t i, size_t n, Random&) { return uint64_t(i % (n / 5 + 1)); }},
      {"five teeth down", [](size_t i, size_t n, Random&) { return uint64_t(n - i % (n / 5 + 1)); }},
      {"many teeth", [](size_t i, size_t, Random&) { return std::bit_cast<uint64_t>(mreal(i % 50)); }},
      {"one out of place",
       [](size_t i, size_t n, Random&) { return i == n / 2 ? uint64_t{0} : uint64_t(i + 1); }},
      {"ordered, then random",
       [](size_t i, size_t n, Random& r) { return i < n - n / 8 ? uint64_t(i) : r() % (n + 1); }},
      {"all the same", [](size_t, size_t, Random&) { return std::bit_cast<uint64_t>(-2.5); }},
      {"two values",
       [](size_t, size_t, Random& r) { return std::bit_cast<uint64_t>(r() % 2 == 0 ? 1e300 : -1e-300); }},
      {"sixteen values", [](size_t, size_t, Random& r) { return (r() % 16) * 0x0fedcba987654321; }},
      {"a bit at each end", [](size_t, size_t, Random& r) { return (r() & 1) << 62 | (r() & 7); }},
      {"low bits of two signs",
       [](size_t, size_t, Random& r) { return (r() << 63) | uint64_t{0x3ff} << 52 | (r() & 0xfffff); }},
      {"alike in the highest 33 bits",
       [](size_t, size_t, Random& r) { return uint64_t{0x40123456} << 32 | (r() & 0x7fffffff); }},
      {"groups of a hundred",
       [](size_t i, size_t, Random& r) { return uint64_t(i * 7919 % 100) << 50 | (r() & 0xffffff); }},
      {"zeros and NaNs",
       [](size_t, size_t, Random& r) {
         constexpr mreal kSpecial[] = {0.0,   -0.0,      1.0,        -1.0,   kNaN,
                                       -kNaN, kInfinity, -kInfinity, 5e-324, -5e-324};
         return std::bit_cast<uint64_t>(kSpecial[r() % std::size(kSpecial)]);
       }},
      {"NaNs of many kinds",
       [](size_t, size_t, Random& r) { return uint64_t{0x7ff8} << 48 | r() << 63 | (r() & 0xff); }},
      {"smallest and greatest",
       [](size_t, size_t, Random& r) {
         return r() % 3 == 0 ? uint64_t{1} << 63 : r() % 2 == 0 ? ~uint64_t{0} >> 1 : ~uint64_t{0};
       }},
  };
  return all;
}

template <typename Value>
std::vector<Value> input(const Pattern& pattern, size_t n) {
  Random random(n * 31 + 7);
  std::vector<Value> values(n);
  for (size_t i = 0; i < n; ++i) values[i] = std::bit_cast<Value>(pattern.bits(i, n, random));
  return values;
}

// The order of sorting: NaN last.
bool before(mint a, mint b) { return a < b; }
bool before(mreal a, mreal b) { return std::isnan(b) ? !std::isnan(a) : a < b; }
bool before(mcomplex a, mcomplex b) {
  if (before(a.re, b.re) || before(b.re, a.re)) return before(a.re, b.re);
  const mreal ma = std::fabs(a.im), mb = std::fabs(b.im);
  if (before(ma, mb) || before(mb, ma)) return before(ma, mb);
  return before(a.im, b.im);
}

template <typename Value>
std::vector<mint> expected_permutation(const std::vector<Value>& values) {
  std::vector<mint> permutation(values.size());
  std::iota(permutation.begin(), permutation.end(), mint{0});
  std::stable_sort(permutation.begin(), permutation.end(),
                   [&](mint a, mint b) { return before(values[size_t(a)], values[size_t(b)]); });
  return permutation;
}

std::vector<mint> permutation_of(const std::vector<mint>& values) {
  std::vector<mint> permutation(values.size(), -1);
  MergeSortPermutation_mint(permutation.data(), values.data(), mint(values.size()));
  return permutation;
}
std::vector<mint> permutation_of(const std::vector<mreal>& values) {
  std::vector<mint> permutation(values.size(), -1);
  MergeSortPermutation_double(permutation.data(), values.data(), mint(values.size()));
  return permutation;
}

// --------------------------------------------------------------------------------------------- arrays

template <typename Value>
constexpr int32_t kTypeOf = std::is_same_v<Value, mint>    ? MTENSOR_TYPE_INTEGER
                            : std::is_same_v<Value, mreal> ? MTENSOR_TYPE_REAL
                                                           : MTENSOR_TYPE_COMPLEX;

// An array that is freed at the end of its test.
class Array {
 public:
  Array() = default;
  template <typename Value>
  Array(const std::vector<Value>& values, std::vector<mint> dimensions) {
    handle = MTensor_newAllocatedCommon(kTypeOf<Value>, mint(dimensions.size()), dimensions.data(), 0);
    if (!values.empty()) std::memcpy(handle->data, values.data(), values.size() * sizeof(Value));
  }
  template <typename Value>
  explicit Array(const std::vector<Value>& values) : Array(values, {mint(values.size())}) {}
  ~Array() { MTensor_delete(handle); }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  template <typename Value>
  std::vector<Value> values() const {
    EXPECT_EQ(handle->tensorType, kTypeOf<Value>);
    std::vector<Value> result(size_t(handle->flattenedLength));
    if (!result.empty()) std::memcpy(result.data(), handle->data, result.size() * sizeof(Value));
    return result;
  }
  std::vector<mint> shape() const { return {handle->dimensions, handle->dimensions + handle->rank}; }

  MTensor handle = nullptr;
};

// Equal to the bit, so that NaNs and the signs of zeros count.
template <typename Value>
bool same_bits(const std::vector<Value>& a, const std::vector<Value>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Value)) == 0);
}

template <typename Value>
std::vector<Value> taken(const std::vector<Value>& values, const std::vector<mint>& rows, size_t width = 1) {
  std::vector<Value> result;
  for (const mint row : rows)
    result.insert(result.end(), values.begin() + row * mint(width), values.begin() + (row + 1) * mint(width));
  return result;
}

class Sorting : public testing::Test {
 protected:
  void SetUp() override {
    ZentharRTL_initialize();
    setExceptionStyle(1);
    setParallelThreadNumber(2);
  }
  void TearDown() override {
    watch = 0;
    setExceptionActive(0);
    system_allocation_limit = ~uint64_t{0};
    setVectorParallelLengthThreshold(4, 8192);
    setParallelThreadNumber(1);
    DeinitializeRuntimeLibrary(0);
  }
};

template <typename Value>
void check_sorts(const Pattern& pattern, size_t n) {
  const std::vector<Value> values = input<Value>(pattern, n);
  const std::vector<mint> expected = expected_permutation(values);
  ASSERT_EQ(permutation_of(values), expected) << pattern.name << " " << n;
  const Array array(values);
  Array sorted;
  ASSERT_EQ(MTensor_Sort(&sorted.handle, array.handle), 0);
  ASSERT_TRUE(same_bits(sorted.values<Value>(), taken(values, expected))) << pattern.name << " " << n;
  mbool ordered = -1;
  ASSERT_EQ(TensorOrderedQ(&ordered, array.handle), 0);
  ASSERT_EQ(ordered, std::is_sorted(expected.begin(), expected.end())) << pattern.name << " " << n;
}

TEST_F(Sorting, EverySmallSize) {
  for (const Pattern& pattern : patterns()) {
    for (size_t n = 0; n <= 300; ++n) {
      check_sorts<mint>(pattern, n);
      check_sorts<mreal>(pattern, n);
      if (HasFatalFailure()) return;
    }
  }
}

// Around the sizes at which methods change, with one thread and with more than there are processors.
TEST_F(Sorting, SizesAroundEachChangeOfMethod) {
  for (const int32_t threads : {1, 3}) {
    setParallelThreadNumber(threads);
    for (const Pattern& pattern : patterns()) {
      for (const size_t n : {400, 401, 2049, 70001, 131071, 131072, 200003}) {
        check_sorts<mint>(pattern, n);
        check_sorts<mreal>(pattern, n);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST_F(Sorting, GoesByTheSettingsOfEachCall) {
  const Pattern& pattern = patterns()[0];
  for (const mint threshold : {mint{0}, mint{1} << 40, mint{50000}}) {
    setVectorParallelLengthThreshold(4, threshold);
    for (const int32_t threads : {0, 1, 3}) {
      setParallelThreadNumber(threads);
      check_sorts<mint>(pattern, 150000);
    }
  }
}

TEST_F(Sorting, InSeveralThreadsAndInLoopsAtOnce) {
  const auto work = [](void* data, ParallelThread) {
    const std::vector<mreal> values = input<mreal>(patterns()[1], 150000);
    if (permutation_of(values) != *static_cast<const std::vector<mint>*>(data)) ADD_FAILURE();
  };
  std::vector<mint> expected = expected_permutation(input<mreal>(patterns()[1], 150000));
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) threads.emplace_back([&] { work(&expected, nullptr); });
  EXPECT_EQ(ParallelThreads_For(&expected, nullptr, work, 0, 4, 1, nullptr), 0);
  for (std::thread& thread : threads) thread.join();
}

// ------------------------------------------------------------------------------------ rows and complexes

TEST_F(Sorting, ComplexesByPartsAndMagnitudes) {
  Random random(3);
  constexpr mreal kParts[] = {0.0, -0.0, 1, -1, 2, -2, kNaN, -kNaN, kInfinity, -kInfinity, 0x1p-1070};
  for (const size_t n : {0, 1, 5, 40, 700, 40000}) {
    std::vector<mcomplex> values(n);
    for (mcomplex& z : values) {
      z = {kParts[random() % 11], kParts[random() % 11]};
      if (random() % 3 == 0) z = {z.re, mreal(int64_t(random()))};
      if (random() % 9 == 0) z = {mreal(random()), -z.im};
    }
    const std::vector<mint> expected = expected_permutation(values);
    Array array(values), sorted;
    ASSERT_EQ(MTensor_Sort(&sorted.handle, array.handle), 0);
    EXPECT_TRUE(same_bits(sorted.values<mcomplex>(), taken(values, expected))) << n;
    ASSERT_EQ(MTensor_Sort(&array.handle, array.handle), 0) << "in place";
    EXPECT_TRUE(same_bits(array.values<mcomplex>(), taken(values, expected))) << n;
    mbool ordered = 0;
    EXPECT_EQ(TensorOrderedQ(&ordered, array.handle), 0);
    EXPECT_EQ(ordered, 1);
  }
}

template <typename Value>
void check_rows(size_t rows, size_t width, uint64_t choices, Random& random) {
  std::vector<Value> data(rows * width);
  for (Value& x : data) {
    if constexpr (std::is_same_v<Value, mcomplex>)
      x = {mreal(random() % choices), mreal(random() % choices) - mreal(choices / 2)};
    else
      x = Value(random() % choices) * Value(choices == 2 ? 1 : mint{1} << 40);
    if constexpr (std::is_same_v<Value, mreal>)
      if (random() % 9 == 0) x = random() % 2 == 0 ? kNaN : -0.0;
  }
  std::vector<mint> expected(rows);
  std::iota(expected.begin(), expected.end(), mint{0});
  std::stable_sort(expected.begin(), expected.end(), [&](mint a, mint b) {
    const auto *ra = data.data() + size_t(a) * width, *rb = data.data() + size_t(b) * width;
    return std::lexicographical_compare(ra, ra + width, rb, rb + width,
                                        [](const Value& x, const Value& y) { return before(x, y); });
  });
  const Array array(data, {mint(rows), mint(width)});
  Array sorted;
  ASSERT_EQ(MTensor_Sort(&sorted.handle, array.handle), 0);
  EXPECT_EQ(sorted.shape(), array.shape());
  ASSERT_TRUE(same_bits(sorted.values<Value>(), taken(data, expected, width))) << rows << " " << width;
}

TEST_F(Sorting, RowsLexicographically) {
  Random random(8);
  for (const size_t rows : {1, 2, 15, 17, 100, 5000})
    for (const size_t width : {0, 1, 2, 3, 7, 300})
      for (const uint64_t choices : {2, 5, 1 << 20}) {
        if (rows * width > 200000) continue;
        check_rows<mint>(rows, width, choices, random);
        check_rows<mreal>(rows, width, choices, random);
        check_rows<mcomplex>(rows, width, choices, random);
        if (HasFatalFailure()) return;
      }
}

TEST_F(Sorting, EqualRowsOfManyColumnsAndNestedGroups) {
  // Row i agrees with its followers up to column i: every column splits off one row of the group that is
  // left.
  constexpr size_t kRows = 400;
  std::vector<mint> data(kRows * kRows, 5);
  for (size_t i = 0; i < kRows; ++i) data[i * kRows + i] = 9;
  Array array(data, {mint(kRows), mint(kRows)});
  ASSERT_EQ(MTensor_Sort(&array.handle, array.handle), 0);
  const std::vector<mint> sorted = array.values<mint>();
  for (size_t i = 0; i < kRows; ++i) EXPECT_EQ(sorted[i * kRows + (kRows - 1 - i)], 9) << i;
}

// ------------------------------------------------------------------------------------------- failures

TEST_F(Sorting, WithoutMemoryPermutationsAreRightAndArraysRefused) {
  const std::vector<mreal> values = input<mreal>(patterns()[19], 20000);
  const std::vector<mint> integers = input<mint>(patterns()[14], 20000);
  const Array array(values), rows(integers, {10000, 2});
  const std::vector<mint> expected = expected_permutation(values), also = expected_permutation(integers);
  system_allocation_limit = 70000;
  EXPECT_EQ(permutation_of(values), expected);
  EXPECT_EQ(permutation_of(integers), also);
  const uint64_t in_use = MemoryInUse();
  Array result, counts;
  EXPECT_EQ(MTensor_Sort(&result.handle, array.handle), 403);
  EXPECT_EQ(MTensor_Union(&result.handle, rows.handle, 0), 403);
  EXPECT_EQ(MTensor_tally(&result.handle, &counts.handle, array.handle, 0), 403);
  system_allocation_limit = 165000;  // the permutation of the rows, not its work space or the result
  EXPECT_EQ(MTensor_Sort(&result.handle, rows.handle), 0);
  EXPECT_EQ(MTensor_Sort(&counts.handle, array.handle), 403);
  EXPECT_EQ(counts.handle, nullptr);
  MTensor_delete(result.handle);
  result.handle = nullptr;
  EXPECT_EQ(MemoryInUse(), in_use);
}

TEST_F(Sorting, StopsOnAnAbortRequest) {
  for (const int32_t threads : {1, 2}) {
    setParallelThreadNumber(threads);
    const std::vector<mint> values = input<mint>(patterns()[0], 200000);
    const Array array(values), rows(values, {100000, 2});
    const uint64_t in_use = MemoryInUse();
    watch = 1;
    std::vector<mint> identity(values.size());
    std::iota(identity.begin(), identity.end(), mint{0});
    EXPECT_EQ(permutation_of(values), identity);
    EXPECT_EQ(setExceptionActive(0), ZENTHAR_ERROR_ABORT);
    Array result, counts;
    EXPECT_EQ(MTensor_Sort(&result.handle, array.handle), 34);
    EXPECT_EQ(setExceptionActive(0), 34);
    EXPECT_EQ(MTensor_Union(&result.handle, rows.handle, 0), 34);
    EXPECT_EQ(MTensor_tally(&result.handle, &counts.handle, array.handle, 0), 34);
    const Array one(std::vector<mint>{1}, {});
    mint count = -5;
    EXPECT_EQ(TensorCount(&count, array.handle, one.handle, 0), 34);
    EXPECT_EQ(count, -5);
    EXPECT_EQ(MTensor_position(&result.handle, array.handle, one.handle, 0), 34);
    EXPECT_EQ(setExceptionActive(0), 34);
    EXPECT_EQ(result.handle, nullptr);
    EXPECT_EQ(counts.handle, nullptr);
    setExceptionStyle(0);
    EXPECT_THROW(MTensor_Sort(&result.handle, array.handle), ZentharRuntimeException);
    setExceptionStyle(1);
    watch = 0;
    EXPECT_EQ(permutation_of(values), expected_permutation(values)) << "and works again";
    EXPECT_GE(in_use + 20000, MemoryInUse()) << "more than the records of the pool";
  }
}

TEST_F(Sorting, BadArgumentsGiveTheirCodes) {
  const Array list(std::vector<mint>{3, 1}), matrix(std::vector<mreal>{1, 2, 3, 4}, {2, 2});
  const Array scalar(std::vector<mint>{3}, {}), real(std::vector<mreal>{3.0}, {}),
      row(std::vector<mreal>{1, 2, 3});
  Array bytes, out, other;
  const mint two = 2;
  bytes.handle = MNumericArray_newAllocatedCommon(MNUMERICARRAY_TYPE_UNSIGNED_INTEGER8, 1, &two, 0);
  mint count = 77;
  mbool truth = 77;
  for (const auto& [array, code] :
       {std::pair{MTensor{nullptr}, 13}, {bytes.handle, 19}, {scalar.handle, 24}}) {
    EXPECT_EQ(MTensor_Sort(&out.handle, array), code);
    EXPECT_EQ(MTensor_Union(&out.handle, array, 0), code);
    EXPECT_EQ(MTensor_tally(&out.handle, &other.handle, array, 0), code);
    EXPECT_EQ(MTensor_position(&out.handle, array, scalar.handle, 0), code);
    EXPECT_EQ(TensorCount(&count, array, scalar.handle, 0), code);
    EXPECT_EQ(TensorMemberQ(&truth, array, scalar.handle, 0), code);
    EXPECT_EQ(TensorFreeQ(&truth, array, scalar.handle, 0), code);
    EXPECT_EQ(TensorOrderedQ(&truth, array), code);
  }
  EXPECT_EQ(TensorCount(&count, list.handle, nullptr, 0), 13);
  EXPECT_EQ(TensorCount(&count, list.handle, real.handle, 0), 19);
  EXPECT_EQ(TensorCount(&count, list.handle, list.handle, 0), 24);
  EXPECT_EQ(TensorCount(&count, matrix.handle, real.handle, 0), 24);
  EXPECT_EQ(TensorCount(&count, matrix.handle, row.handle, 0), 25);
  EXPECT_EQ(MTensor_Sort(nullptr, list.handle), 13);
  EXPECT_EQ(TensorCount(nullptr, list.handle, scalar.handle, 0), 13);
  EXPECT_EQ(TensorFreeQ(nullptr, list.handle, scalar.handle, 0), 13);
  EXPECT_EQ(MTensor_tally(&out.handle, &out.handle, list.handle, 0), 13);
  EXPECT_EQ(count, 77);
  EXPECT_EQ(truth, 77);
  EXPECT_EQ(out.handle, nullptr);
  EXPECT_EQ(getExceptionActive(), 0);
}

// --------------------------------------------------------------------------------- classes and searching

// Reals with many values near one another, against plain loops over the sorted list.
TEST_F(Sorting, ClassesAndSearchesAgreeWithPlainLoops) {
  Random random(77);
  for (int round = 0; round < 300; ++round) {
    const mreal t = std::vector<mreal>{0, 1, 7, 20.5}[random() % 4];
    std::vector<mreal> values(random() % 60);
    for (mreal& x : values) x = mreal(random() % 4) * (1 + mreal(random() % 4) * ToleranceShiftFactor(t) / 3);
    if (!values.empty() && round % 3 == 0) values[0] = kNaN;
    const Array array(values);
    const std::vector<mint> order = expected_permutation(values);
    std::vector<mreal> united;
    std::vector<std::pair<mint, mint>> classes;  // lowest index, count
    for (const mint i : order) {
      const mreal x = values[size_t(i)];
      if (united.empty() || !near1_double(t, united.back(), x)) {
        united.push_back(x);
        classes.emplace_back(i, 0);
      }
      classes.back().first = std::min(classes.back().first, i);
      ++classes.back().second;
    }
    Array distinct, shown, counts;
    ASSERT_EQ(MTensor_Union(&distinct.handle, array.handle, t), 0);
    EXPECT_TRUE(same_bits(distinct.values<mreal>(), united));
    std::sort(classes.begin(), classes.end());
    std::vector<mreal> firsts;
    std::vector<mint> numbers;
    for (const auto& [first, number] : classes) {
      firsts.push_back(values[size_t(first)]);
      numbers.push_back(number);
    }
    ASSERT_EQ(MTensor_tally(&shown.handle, &counts.handle, array.handle, t), 0);
    EXPECT_TRUE(same_bits(shown.values<mreal>(), firsts));
    EXPECT_EQ(counts.values<mint>(), numbers);

    const mreal wanted = values.empty() ? 1.0 : values[random() % values.size()];
    const Array element(std::vector<mreal>{wanted}, {});
    std::vector<mint> positions;
    for (size_t i = 0; i < values.size(); ++i)
      if (near1_double(t, values[i], wanted)) positions.push_back(mint(i) + 1);
    Array found;
    mint count = -1;
    mbool member = -1, free = -1;
    ASSERT_EQ(MTensor_position(&found.handle, array.handle, element.handle, t), 0);
    EXPECT_EQ(found.values<mint>(), positions);
    ASSERT_EQ(TensorCount(&count, array.handle, element.handle, t), 0);
    EXPECT_EQ(count, mint(positions.size()));
    ASSERT_EQ(TensorMemberQ(&member, array.handle, element.handle, t), 0);
    EXPECT_EQ(member, !positions.empty());
    ASSERT_EQ(TensorFreeQ(&free, array.handle, element.handle, t), 0);
    EXPECT_EQ(free, positions.empty());
  }
}

TEST_F(Sorting, ClassesAndSearchesOfRowsIntoGivenArrays) {
  const std::vector<mint> data = {3, 1, 0, 0, 3, 1, 2, 9, 0, 0, 3, 1};
  Array matrix(data, {6, 2}), counts(std::vector<mint>{8}), values(std::vector<mreal>{1.5});
  const Array row(std::vector<mint>{3, 1});
  ASSERT_EQ(MTensor_tally(&values.handle, &counts.handle, matrix.handle, 99), 0);
  EXPECT_EQ(values.values<mint>(), (std::vector<mint>{3, 1, 0, 0, 2, 9}));
  EXPECT_EQ(values.shape(), (std::vector<mint>{3, 2}));
  EXPECT_EQ(counts.values<mint>(), (std::vector<mint>{3, 2, 1}));
  ASSERT_EQ(MTensor_position(&counts.handle, matrix.handle, row.handle, 99), 0);
  EXPECT_EQ(counts.values<mint>(), (std::vector<mint>{1, 3, 6}));
  ASSERT_EQ(MTensor_Union(&matrix.handle, matrix.handle, 99), 0) << "in place";
  EXPECT_EQ(matrix.values<mint>(), (std::vector<mint>{0, 0, 2, 9, 3, 1}));
  EXPECT_EQ(matrix.shape(), (std::vector<mint>{3, 2}));
  ASSERT_EQ(MTensor_position(&matrix.handle, matrix.handle, row.handle, 0), 0) << "in place";
  EXPECT_EQ(matrix.values<mint>(), std::vector<mint>{3});

  const std::vector<mcomplex> complexes = {{1, 0}, {1, 0x1p-60}, {2, 1}, {1, -0x1p-60}};
  const Array list(complexes), one(std::vector<mcomplex>{{1, 0}}, {});
  Array distinct;
  mint count = 0;
  ASSERT_EQ(MTensor_Union(&distinct.handle, list.handle, EqualTolerance), 0);
  EXPECT_EQ(distinct.values<mcomplex>().size(), 2u);
  ASSERT_EQ(TensorCount(&count, list.handle, one.handle, EqualTolerance), 0);
  EXPECT_EQ(count, 3);
  ASSERT_EQ(TensorCount(&count, list.handle, one.handle, 0), 0);
  EXPECT_EQ(count, 1);
}

}  // namespace
