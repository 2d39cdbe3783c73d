// Tolerant comparison against exact arithmetic, lists against every pair, and the laws of the exact orders.
#include "zenthar/comparison.h"

#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "zenthar/memory.h"

namespace {

constexpr mreal kInfinity = std::numeric_limits<mreal>::infinity();
constexpr mreal kNaN = std::numeric_limits<mreal>::quiet_NaN();
constexpr mreal kLargest = std::numeric_limits<mreal>::max();
constexpr mreal kSmallest = std::numeric_limits<mreal>::denorm_min();

// A number of so many bits that sums, differences and scalings of doubles are exact.
class Exact {
 public:
  explicit Exact(double value = 0) {
    mpfr_init2(value_, 4400);
    mpfr_set_d(value_, value, MPFR_RNDN);
  }
  ~Exact() { mpfr_clear(value_); }
  Exact(const Exact&) = delete;
  Exact& operator=(const Exact&) = delete;
  operator mpfr_ptr() { return value_; }

 private:
  mpfr_t value_;
};

// The rule in exact arithmetic. `certain` becomes false where d is so near to f m that rounding may decide.
template <typename Real>
int32_t exact_comparison(Real t, Real a, Real b, bool& certain) {
  constexpr int kBits = std::numeric_limits<Real>::digits;
  certain = true;
  if (a == b) return 0;
  const int32_t order = a > b ? 1 : -1;
  if (a == 0 || b == 0 || (a < 0) != (b < 0) || t <= 0) return order;
  if (t >= Real(kBits)) return 0;
  if (std::isinf(a) || std::isinf(b)) return order;
  Exact x(a), y(b), d, m(std::max(std::fabs(a), std::fabs(b))), twice, bound, margin;
  mpfr_sub(d, x, y, MPFR_RNDN);
  mpfr_abs(d, d, MPFR_RNDN);
  mpfr_mul_2si(twice, d, 1, MPFR_RNDN);
  if (mpfr_cmp(twice, m) >= 0) return order;
  Exact exponent(double(t) - kBits);
  mpfr_exp2(bound, exponent, MPFR_RNDN);
  mpfr_mul(bound, bound, m, MPFR_RNDN);
  const bool below = mpfr_cmp(d, bound) < 0;
  if (std::trunc(t) != t) {
    mpfr_sub(margin, bound, d, MPFR_RNDN);
    mpfr_abs(margin, margin, MPFR_RNDN);
    // Of the factor and of d / f, which may be subnormal.
    const double magnitude = mpfr_get_d(m, MPFR_RNDN);
    const double rounding =
        std::ldexp(8, -kBits) + double(std::numeric_limits<Real>::denorm_min()) / magnitude;
    mpfr_mul_d(bound, bound, rounding, MPFR_RNDN);
    certain = mpfr_cmp(margin, bound) > 0;
  }
  return below ? 0 : order;
}

template <typename Real>
struct Functions {
  int32_t (*compare)(Real, Real, Real);
  mbool (*near)(Real, Real, Real);
};
constexpr Functions<double> kDouble{compare_double, near1_double};
constexpr Functions<float> kFloat{compare_float, near1_float};

// Returns whether the model was certain.
template <typename Real>
bool check_pair(const Functions<Real>& functions, Real t, Real a, Real b) {
  bool certain;
  const int32_t expected = exact_comparison(t, a, b, certain);
  if (!certain) return false;
  EXPECT_EQ(functions.compare(t, a, b), expected) << t << " " << a << " " << b;
  EXPECT_EQ(functions.compare(t, b, a), -expected) << t << " " << a << " " << b;
  EXPECT_EQ(functions.compare(t, -a, -b), -expected) << t << " " << a << " " << b;
  EXPECT_EQ(functions.near(t, a, b), expected == 0) << t << " " << a << " " << b;
  return true;
}

// For each binary exponent and tolerance: pairs within a few units of the last place of the boundary.
template <typename Real>
void check_boundaries(const Functions<Real>& functions, const std::vector<Real>& tolerances) {
  using Limits = std::numeric_limits<Real>;
  std::mt19937_64 random(5);
  std::uniform_real_distribution<double> significand(1, 2);
  int64_t certain = 0, pairs = 0;
  std::vector<int> exponents;
  for (int e = Limits::min_exponent - Limits::digits; e < Limits::max_exponent; ++e)
    if (e % 37 == 0 || std::abs(e) < 3 || e < Limits::min_exponent + 2 || e > Limits::max_exponent - 3)
      exponents.push_back(e);
  for (const Real t : tolerances) {
    for (const int e : exponents) {
      for (const double s : {1.0, 2.0 - double(Limits::epsilon()), significand(random)}) {
        const auto m = Real(std::ldexp(Real(s), e));
        if (m == 0 || std::isinf(m)) continue;
        auto other = Real(double(m) - double(m) * std::exp2(double(t) - Limits::digits));
        for (int k = 0; k < 3; ++k) other = std::nextafter(other, Real(0));
        for (int k = 0; k < 6; ++k, other = std::nextafter(other, Limits::infinity())) {
          certain += check_pair(functions, t, m, other);
          ++pairs;
        }
        check_pair(functions, t, m, m / 2);
        check_pair(functions, t, m, std::nextafter(m / 2, m));
        if (testing::Test::HasFailure()) return;
      }
    }
  }
  EXPECT_GT(certain, pairs / 3);
}

std::vector<mreal> whole_tolerances(int bits) {
  std::vector<mreal> tolerances = {-1};
  for (int t = 0; t <= bits + 2; ++t) tolerances.push_back(t);
  return tolerances;
}

TEST(TolerantComparison, OfDoublesIsExactAroundTheBoundary) {
  check_boundaries<double>(kDouble, whole_tolerances(53));
  check_boundaries<double>(kDouble, {0.25, 0.999, 1.5, 6.9, 7.1, 31.0625, 49.5, 51.75, 52.5, 52.999,
                                     std::nextafter(53.0, 0.0), 1e-300, kSmallest, kInfinity});
}

TEST(TolerantComparison, OfFloatsIsExactAroundTheBoundary) {
  std::vector<float> tolerances = {0.5f, 3.25f, 7.7f, 22.5f, 23.9f, 1e-30f};
  for (const mreal t : whole_tolerances(24)) tolerances.push_back(float(t));
  check_boundaries<float>(kFloat, tolerances);
}

TEST(TolerantComparison, OfSpecialValues) {
  struct Case {
    mreal t, a, b;
    int32_t order, reversed;
  };
  const Case kCases[] = {
      {7, 1.0, 1.0 + 0x1p-50, 0, 0},
      {0, 1.0, 1.0 + 0x1p-52, -1, 1},
      {7, 0.0, 1e-300, -1, 1},
      {60, 0.0, kSmallest, -1, 1},
      {60, -0.0, -kSmallest, 1, -1},
      {60, -0.0, 0.0, 0, 0},
      {7, -1.0, 1.0, -1, 1},
      {60, -kSmallest, kSmallest, -1, 1},
      {60, 1.0, 2.0, 0, 0},
      {53, kSmallest, kInfinity, 0, 0},
      {52, kLargest, kInfinity, -1, 1},
      {52.5, -kInfinity, -kLargest, -1, 1},
      {7, kInfinity, kInfinity, 0, 0},
      {7, -kInfinity, kInfinity, -1, 1},
      {7, -kLargest, kLargest, -1, 1},
      {kNaN, 1.0, 1.0 + 0x1p-52, -1, 1},
      {kNaN, 1.0, 1.0, 0, 0},
      {7, kNaN, kNaN, -1, -1},
      {7, kNaN, 1.0, -1, -1},
      {7, kNaN, -1.0, 1, -1},
      {7, -kNaN, -1.0, 1, -1},
      {7, kNaN, 0.0, 1, -1},
      {0, kNaN, -0.0, 1, -1},
      {0, kNaN, kInfinity, -1, -1},
      {53, kNaN, kNaN, 0, 0},
      {53, kNaN, 1.0, 0, 0},
      {53, kNaN, -1.0, 1, -1},
      {53, kNaN, 0.0, 1, -1},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(compare_double(c.t, c.a, c.b), c.order) << c.t << " " << c.a << " " << c.b;
    EXPECT_EQ(compare_double(c.t, c.b, c.a), c.reversed) << c.t << " " << c.a << " " << c.b;
    EXPECT_EQ(near1_double(c.t, c.a, c.b), c.order == 0) << c.t << " " << c.a << " " << c.b;
    EXPECT_EQ(near1_double(c.t, c.b, c.a), c.order == 0) << c.t << " " << c.a << " " << c.b;
  }
}

TEST(TolerantComparison, FactorsAndSettings) {
  EXPECT_EQ(ToleranceShiftFactor(0), 0x1p-53);
  EXPECT_EQ(ToleranceShiftFactor(-kInfinity), 0x1p-53);
  EXPECT_EQ(ToleranceShiftFactor(kNaN), 0x1p-53);
  for (int t = 1; t <= 53; ++t) EXPECT_EQ(ToleranceShiftFactor(t), std::ldexp(1.0, t - 53));
  EXPECT_EQ(ToleranceShiftFactor(kInfinity), 1.0);
  EXPECT_EQ(ToleranceShiftFactor(0.5), std::ldexp(std::sqrt(2.0), -53));
  EXPECT_EQ(ToleranceShiftFactor(52.5), std::sqrt(0.5));
  EXPECT_EQ(EqualTolerance, 7.0);
  EXPECT_EQ(SameQTolerance, 1.0);
  EXPECT_EQ(HashTolerance, 1.0);
  EXPECT_EQ(near1_double(EqualTolerance, 1.0, 1.0 + 0x1p-47), 1);
  EqualTolerance = 0;
  EXPECT_EQ(near1_double(EqualTolerance, 1.0, 1.0 + 0x1p-47), 0);
  EqualTolerance = 7.0;
}

// Fractional tolerances in turn on several threads: none may see the factor of another.
TEST(TolerantComparison, DoesNotDependOnOtherThreads) {
  const auto work = [](mreal first, int64_t& wrong) {
    for (int i = 0; i < 20000; ++i) {
      const mreal t = first + 10 * (i % 3);
      const mreal d = std::exp2(t - 53);
      wrong += near1_double(t, 2.0, 2.0 - 1.99 * d) != 1;
      wrong += near1_double(t, 2.0, 2.0 - 2.01 * d) != 0;
      wrong += near1_float(float(first), 1.0f, 1.0f - 0.9f * std::exp2(float(first) - 24)) != 1;
      wrong += near1_float(float(first), 1.0f, 1.0f - 1.1f * std::exp2(float(first) - 24)) != 0;
    }
  };
  int64_t wrong[4] = {};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work, 16.5 + 0.125 * i, std::ref(wrong[i]));
  for (std::thread& thread : threads) thread.join();
  for (const int64_t count : wrong) EXPECT_EQ(count, 0);
}

// ----------------------------------------------------------------------------------------- complexes

TEST(ComplexComparison, ByPartsOrByModulus) {
  struct Case {
    mreal t;
    mcomplex a, b;
    mbool near;
  };
  const Case kCases[] = {
      {7, {1, 2}, {1, 2}, 1},
      {7, {1, 0x1p-60}, {1, -0x1p-60}, 1},  // by modulus alone
      {7, {1, 0x1p-60}, {1, 0}, 1},
      {7, {0x1p-60, 1}, {0, 1 + 0x1p-48}, 1},
      {7, {1, 0x1p-46}, {1, 0}, 0},
      {7, {1, 0x1p-47}, {1, 0}, 1},
      {0, {1, 0x1p-60}, {1, 0}, 0},
      {-3, {0.0, -0.0}, {-0.0, 0.0}, 1},
      {0, {1, 1}, {1, 1 + 0x1p-52}, 0},
      {7, {0x1p-1060, 0x1p-1074}, {0x1p-1060, 0}, 0},  // the bound is below the smallest real
      {30, {0x1p-1040, 0x1p-1074}, {0x1p-1040, 0}, 1},
      {7, {0, 0}, {kSmallest, 0}, 0},
      {60, {0, 0}, {kSmallest, 0}, 0},
      {60, {1, 1}, {100, 1}, 1},
      {60, {1, 1}, {-1, 1}, 0},
      {7, {kLargest, kLargest}, {kLargest, kLargest / 2}, 0},  // moduli beyond the largest real
      {7, {kLargest, kLargest}, {kLargest, -kLargest}, 0},
      {7, {kLargest, 1}, {kLargest, -1}, 1},
      {7, {kLargest, 1e280}, {kLargest, -1e300}, 0},
      {7, {kLargest, 1e280}, {kLargest, -1e280}, 1},
      {7, {kInfinity, 1}, {kInfinity, 1}, 1},
      {7, {kInfinity, 1}, {kInfinity, 2}, 0},
      {7, {kInfinity, 0}, {1, 0}, 0},
      {7, {kNaN, 0}, {kNaN, 0}, 0},
      {7, {1, kNaN}, {1, 0}, 0},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(near1_reim_mcomplex(c.t, c.a.re, c.a.im, c.b.re, c.b.im), c.near)
        << c.t << " " << c.a.re << " " << c.a.im << " " << c.b.re << " " << c.b.im;
    EXPECT_EQ(near1_reim_mcomplex(c.t, c.b.re, c.b.im, c.a.re, c.a.im), c.near)
        << c.t << " " << c.a.re << " " << c.a.im << " " << c.b.re << " " << c.b.im;
  }
}

// --------------------------------------------------------------------------------------------- lists

template <typename Value, typename Compare, typename Near>
bool pairwise(int32_t code, const std::vector<Value>& values, Compare compare, Near near) {
  for (size_t i = 0; i < values.size(); ++i) {
    for (size_t j = i + 1; j < values.size(); ++j) {
      const bool equal = near(values[i], values[j]);
      if ((code == 1 || code == 5) && !equal) return false;
      if ((code == 2 || code == 8) && equal) return false;
    }
    if (i + 1 == values.size()) break;
    const int32_t order = compare(values[i], values[i + 1]);
    if ((code == 3 && order >= 0) || (code == 4 && order > 0) || (code == 6 && order < 0) ||
        (code == 7 && order <= 0))
      return false;
  }
  return code >= 1 && code <= 8;
}

constexpr mreal kListTolerances[] = {-1, 0, 1, 7, 20.5, 45, 50.5, 52, 52.75, 53, 60, kNaN};

// Lists in which many pairs lie near the boundary, sorted or not, with special values.
class Lists {
 public:
  explicit Lists(uint64_t seed) : random_(seed) {}

  std::vector<mreal> next(mreal t) {
    const size_t n = random_() % 24;
    const mreal base = random_() % 4 == 0 ? 0x1p-1040 : random_() % 2 == 0 ? 1.0 : -3.75;
    const mreal factor = ToleranceShiftFactor(t);
    const uint64_t spread = random_() % 4;
    std::vector<mreal> values;
    for (size_t i = 0; i < n; ++i) {
      const auto k = mreal(random_() % (spread == 0 ? 2 : spread == 1 ? 5 : 60) + (spread == 3 ? 70 * i : 0));
      mreal x = base * (1 + k * factor / 3) * (random_() % 50 == 0 ? -1 : 1);
      if (random_() % 150 == 0) x = specials_[random_() % std::size(specials_)];
      values.push_back(x);
    }
    if (random_() % 4 == 0) std::sort(values.begin(), values.end());
    if (random_() % 4 == 0) std::sort(values.begin(), values.end(), std::greater<>());
    return values;
  }

 private:
  std::mt19937_64 random_;
  static constexpr mreal specials_[] = {0.0, -0.0, kInfinity, -kInfinity, kNaN};
};

TEST(ListComparison, OfRealsAgreesWithEveryPair) {
  Lists lists(11);
  int64_t holding[10] = {};
  for (int round = 0; round < 4000; ++round) {
    for (const mreal t : kListTolerances) {
      const std::vector<mreal> values = lists.next(t);
      const auto n = mint(values.size());
      for (int32_t code = 0; code <= 9; ++code) {
        const bool expected = pairwise(
            code, values, [t](mreal a, mreal b) { return compare_double(t, a, b); },
            [t](mreal a, mreal b) { return near1_double(t, a, b) != 0; });
        ASSERT_EQ(CompareReals(code, n, t, values.data()), expected)
            << "code " << code << " t " << t << " n " << n;
        if (t == 0) {
          ASSERT_EQ(CompareRealsNoTolerance(code, n, values.data()), expected);
        }
        holding[code] += expected && n > 17;
      }
    }
  }
  for (int32_t code = 1; code <= 8; ++code) EXPECT_GT(holding[code], 0) << "no long list holds for " << code;
}

TEST(ListComparison, OfComplexesAgreesWithEveryPair) {
  Lists lists(12);
  std::mt19937_64 random(13);
  for (int round = 0; round < 1500; ++round) {
    for (const mreal t : kListTolerances) {
      const std::vector<mreal> parts = lists.next(t);
      std::vector<mcomplex> values;
      const bool real = round % 2 == 0;
      for (const mreal x : parts) values.push_back({x, real ? (random() % 2 == 0 ? 0.0 : -0.0) : x / 2});
      const bool ordered = std::all_of(values.begin(), values.end(), [](mcomplex z) { return z.im == 0; });
      const auto n = mint(values.size());
      for (int32_t code = 0; code <= 9; ++code) {
        const bool is_order = code == 3 || code == 4 || code == 6 || code == 7;
        const bool expected =
            (!is_order || ordered || n < 2) &&
            pairwise(
                code, values, [t](mcomplex a, mcomplex b) { return compare_double(t, a.re, b.re); },
                [t](mcomplex a, mcomplex b) { return near1_reim_mcomplex(t, a.re, a.im, b.re, b.im) != 0; });
        ASSERT_EQ(CompareComplexes(code, n, t, values.data()), expected) << "code " << code << " t " << t;
        if (t == 0) {
          ASSERT_EQ(CompareComplexesNoTolerance(code, n, values.data()), expected);
        }
      }
    }
  }
}

TEST(ListComparison, OfLongListsWithAndWithoutMemory) {
  std::vector<mreal> values(3000);
  for (size_t i = 0; i < values.size(); ++i) values[i] = mreal((i * 1237) % values.size());
  const auto n = mint(values.size());
  for (const uint64_t limit : {~uint64_t{0}, uint64_t{1000}}) {
    system_allocation_limit = limit;
    EXPECT_EQ(CompareReals(2, n, 7, values.data()), 1);
    std::swap(values[17], values[2900]);
    const mreal kept = std::exchange(values[17], values[2000] * (1 + 0x1p-50));
    EXPECT_EQ(CompareReals(8, n, 7, values.data()), 0);
    EXPECT_EQ(CompareReals(8, n, 0, values.data()), 1);
    values[17] = kept;
  }
  system_allocation_limit = ~uint64_t{0};
}

// -------------------------------------------------------------------------------------------- orders

TEST(ExactOrder, OfRunsIsThatOfTheFirstDifference) {
  std::mt19937_64 random(21);
  for (mint n = 0; n <= 40; ++n) {
    std::vector<mreal> a(size_t(n), 1.5);
    std::vector<mint> ia(size_t(n), -7);
    std::vector<mcomplex> ca(size_t(n), {2.0, -3.0});
    EXPECT_EQ(OrderRealData(a.data(), a.data(), n), 0);
    EXPECT_EQ(OrderIntegerData(ia.data(), ia.data(), n), 0);
    EXPECT_EQ(OrderComplexData(ca.data(), ca.data(), n), 0);
    for (size_t i = 0; i < size_t(n); ++i) {
      const bool up = random() % 2 == 0;
      const int32_t order = up ? -1 : 1;
      std::vector<mreal> b = a;
      std::vector<mint> ib = ia;
      std::vector<mcomplex> cb = ca, di = ca;
      b[i] = up ? 1.75 : -kInfinity;
      ib[i] = up ? INT64_MAX : INT64_MIN;
      cb[i] = {up ? 2.5 : 1.5, 9.0};
      di[i].im = up ? 3.0 : 2.0;  // magnitude first: 2 below -3 below 3
      if (i + 1 < size_t(n)) {    // what follows does not count
        b[i + 1] = up ? -1 : 5;
        ib[i + 1] = up ? -8 : 8;
        cb[i + 1].re = di[i + 1].re = up ? -1 : 5;
      }
      EXPECT_EQ(OrderRealData(a.data(), b.data(), n), order);
      EXPECT_EQ(OrderRealData(b.data(), a.data(), n), -order);
      EXPECT_EQ(OrderIntegerData(ia.data(), ib.data(), n), order);
      EXPECT_EQ(OrderIntegerData(ib.data(), ia.data(), n), -order);
      EXPECT_EQ(OrderComplexData(ca.data(), cb.data(), n), order);
      EXPECT_EQ(OrderComplexData(cb.data(), ca.data(), n), -order);
      EXPECT_EQ(OrderComplexData(ca.data(), di.data(), n), order);
      EXPECT_EQ(OrderComplexData(di.data(), ca.data(), n), -order);
      b[i] = kNaN;
      EXPECT_EQ(OrderRealData(a.data(), b.data(), n), -1);
      EXPECT_EQ(OrderRealData(b.data(), a.data(), n), -1);
      EXPECT_EQ(OrderRealData(b.data(), b.data(), n), -1) << "a NaN differs from itself";
      di[i].im = kNaN;
      EXPECT_EQ(OrderComplexData(ca.data(), di.data(), n), -1);
      EXPECT_EQ(OrderComplexData(di.data(), ca.data(), n), -1);
    }
  }
}

// Total orders where there is no NaN: every triple of pairs of special values.
template <typename Value, typename Order>
void check_total_order(const std::vector<Value>& runs, Order order) {
  for (const Value& a : runs) {
    EXPECT_EQ(order(a, a), 0);
    for (const Value& b : runs) {
      EXPECT_EQ(order(a, b), -order(b, a));
      for (const Value& c : runs) {
        if (order(a, b) <= 0 && order(b, c) <= 0) {
          EXPECT_EQ(order(a, c), std::min(order(a, b), order(b, c)));
        }
      }
    }
  }
}

TEST(ExactOrder, IsTotalWithoutNaN) {
  constexpr mreal kValues[] = {-kInfinity, -2, -1, -kSmallest, -0.0, 0.0, kSmallest, 1, 2, kInfinity};
  std::vector<mcomplex> runs;
  for (const mreal x : kValues)
    for (const mreal y : kValues) runs.push_back({x, y});
  check_total_order(runs, [](const mcomplex& a, const mcomplex& b) { return OrderComplexData(&a, &b, 1); });
  check_total_order(runs,
                    [](const mcomplex& a, const mcomplex& b) { return OrderRealData(&a.re, &b.re, 2); });
  const mcomplex minus_i{0, -1}, i{0, 1}, two_i{0, 2}, zero{-0.0, 0.0}, other_zero{0.0, -0.0};
  EXPECT_EQ(OrderComplexData(&minus_i, &i, 1), -1);
  EXPECT_EQ(OrderComplexData(&i, &two_i, 1), -1);
  EXPECT_EQ(OrderComplexData(&two_i, &minus_i, 1), 1);
  EXPECT_EQ(OrderComplexData(&zero, &other_zero, 1), 0);
}

// ------------------------------------------------------------------------------------ representatives

mreal representative_by_definition(mreal t, mreal x) {
  int exponent;
  const mreal significand = std::frexp(x, &exponent);
  const int kept = 53 - int(std::trunc(t));
  return std::ldexp(mreal(int64_t(std::ldexp(significand, kept))), exponent - kept);
}

TEST(Representative, IsTheTruncatedSignificand) {
  std::mt19937_64 random(31);
  for (int i = 0; i < 200000; ++i) {
    uint64_t bits = random();
    if (i % 4 == 0) bits &= ~(uint64_t{0x7ff} << 52);  // subnormal
    if (i % 8 == 0) bits >>= random() % 63;
    mreal x;
    memcpy(&x, &bits, sizeof x);
    if (!std::isfinite(x) || x == 0) continue;
    const mreal t = mreal(1 + random() % 5299) / 100;
    ASSERT_EQ(er_mreal(t, x), representative_by_definition(t, x)) << t << " " << x;
  }
  for (const mreal x : {1.0 / 3, -kSmallest, 0.0, kInfinity, -kInfinity, kLargest})
    for (const mreal t : {-1.0, 0.0, 0.5, 53.0, 100.0, kNaN}) EXPECT_EQ(er_mreal(t, x), x) << t << " " << x;
  EXPECT_TRUE(std::signbit(er_mreal(7, -0.0)));
  EXPECT_EQ(er_mreal(7, kInfinity), kInfinity);
  EXPECT_TRUE(std::isnan(er_mreal(7, kNaN)));
}

TEST(Representative, OrdersClassesTransitively) {
  std::vector<mreal> values = {-kInfinity, kInfinity, 0.0, -0.0, kSmallest, -kSmallest};
  for (int i = 0; i < 20; ++i) values.push_back(1 + i * 0x1p-47);
  for (const mreal t : {0.0, 3.5, 7.0, 50.0}) {
    check_total_order(values, [t](mreal a, mreal b) { return equivalence_compare_double(t, a, b); });
  }
  EXPECT_EQ(equivalence_compare_double(7, 1.0, 1.0 + 0x1p-46), 0);
  EXPECT_EQ(equivalence_compare_double(7, 1.0, 1.0 - 0x1p-52), 1) << "near, on both sides of a step";
  EXPECT_EQ(equivalence_compare_double(7, kNaN, kNaN), -1);
}

}  // namespace
