// Every vector function of every processor target against the scalar function of its record.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "kernel_records.h"
#include "kernels/vector/targets.h"
#include "zenthar/zenthar.h"

#if defined(__SANITIZE_ADDRESS__)
// The kernels are linked into this program besides the library, to choose their target, and so are their
// tables.
extern "C" const char* __asan_default_options() { return "detect_odr_violation=0"; }
#endif

namespace {

using namespace kernel_records;

// What the scalar function makes of a run: results up to the first failure, and its status.
struct Expected {
  Elements results;
  mint count;
  int32_t status;
};

Expected expected(const Record& record, std::vector<Elements>& operands, const mint* steps, mint n,
                  uint32_t flags) {
  Expected expected{Elements(record.result_type, n), 0, 0};
  for (; expected.count < n; ++expected.count) {
    const void* elements[3];
    for (int32_t k = 0; k < record.arity; ++k)
      elements[k] = operands[size_t(k)].at(expected.count * steps[k]);
    expected.status = record.scalar(expected.results.at(expected.count), elements, flags);
    if (expected.status != 0) break;
  }
  return expected;
}

class VectorFunctions : public testing::TestWithParam<zenthar::Target> {
 protected:
  void SetUp() override {
    if (!zenthar::runs(GetParam())) GTEST_SKIP() << "this processor does not run the target";
    zenthar::use_target(GetParam());
    setExceptionStyle(1);
  }
  void TearDown() override { setExceptionActive(0); }

  // Runs a record and compares. `result_in`: the operand whose memory takes the result, or -1.
  void check(const Record& record, const std::vector<Elements>& operands, const mint* steps, mint n,
             uint32_t flags, int result_in = -1) {
    std::vector<Elements> given = operands, wanted_operands = operands;
    const Expected wanted = expected(record, wanted_operands, steps, n, flags);
    Elements separate(record.result_type, n);
    Elements& result = result_in < 0 ? separate : given[size_t(result_in)];
    const void* data[3] = {};
    for (size_t k = 0; k < given.size(); ++k) data[k] = given[k].data();
    setExceptionActive(0);
    const int32_t code = record.vector(result.data(), data, steps, n, flags);
    const std::string where = record.name() + " n " + std::to_string(n) + " flags " + std::to_string(flags) +
                              " steps " + std::to_string(steps[0]) + std::to_string(steps[1]) +
                              std::to_string(steps[2]) + " in place " + std::to_string(result_in);
    ASSERT_EQ(code, getExceptionActive()) << where;
    if (wanted.status == 1) {  // found from the arguments: raised only here
      ASSERT_TRUE(code == 1 || code == 16) << where << ": " << code;
      return;
    }
    ASSERT_EQ(code, wanted.status) << where << " element " << wanted.count;
    if (code != 0) return;
    const bool complex = std::count(record.type, record.type + record.arity, kComplex) != 0;
    const uint64_t units = complex ? complex_tolerance(record.op) : tolerance(record.op);
    for (mint i = 0; i < n; ++i)
      ASSERT_TRUE(close(record.result_type, result.at(i), wanted.results.at(i), units))
          << where << " element " << i;
    if (result_in < 0 && record.arity == 3) {
      for (mint i = 0; i < n * steps[2]; ++i)
        ASSERT_TRUE(same(record.type[2], given[2].at(i), wanted_operands[2].at(i)))
            << where << " third operand " << i;
    }
  }
};

std::vector<Elements> runs(const Record& record, Elements (*make)(int32_t, mint, uint32_t), mint n,
                           uint32_t seed) {
  std::vector<Elements> operands;
  for (int32_t k = 0; k < record.arity; ++k)
    operands.push_back(make(record.type[k], n, seed + uint32_t(k) * 7));
  return operands;
}

constexpr mint kSteps[][3] = {{1, 1, 1}, {0, 1, 1}, {1, 0, 1}, {1, 1, 0}, {0, 0, 1}, {0, 0, 0}};

size_t step_patterns(int32_t arity) { return arity == 1 ? 1 : arity == 2 ? 3 : 6; }

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSlow = true;  // every access is checked: fewer lengths and places
#else
constexpr bool kSlow = false;
#endif

TEST_P(VectorFunctions, AgreeWithTheScalarFunctions) {
  const std::vector<mint> lengths =
      kSlow ? std::vector<mint>{0, 1, 3, 8, 17, 65, 1025}
            : std::vector<mint>{0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 65, 512, 1025, 4097};
  for (const Record& record : all_records())
    for (mint n : lengths)
      for (size_t pattern = 0; pattern < step_patterns(record.arity); ++pattern)
        for (uint32_t flags : {0u, 6u}) {
          if (n > 100 && pattern != (record.arity > 1 ? size_t(n % 2) : 0))
            continue;  // long ones: one pattern
          check(record, runs(record, tame, n + 1, uint32_t(n)), kSteps[pattern], n, flags);
          check(record, runs(record, wild, n + 1, uint32_t(n) + 1), kSteps[pattern], n, flags);
          if (HasFatalFailure()) return;
        }
}

TEST_P(VectorFunctions, WorkInPlace) {
  for (const Record& record : all_records())
    for (int32_t k = 0; k < record.arity; ++k) {
      if (size_of(record.type[k]) != size_of(record.result_type)) continue;
      if (record.op == MACHFUNC_COMPPLUS && k == 2) continue;  // both are written
      for (mint n : kSlow ? std::vector<mint>{5, 1100} : std::vector<mint>{5, 1100, 4100})
        for (uint32_t flags : {0u, 6u}) {
          check(record, runs(record, tame, n, 11), kSteps[0], n, flags, k);
          check(record, runs(record, wild, n, 12), kSteps[0], n, flags, k);
          if (HasFatalFailure()) return;
        }
      // The result begins where a repeated operand lies.
      if (record.arity > 1 && record.op != MACHFUNC_COMPPLUS) {
        mint steps[3] = {1, 1, 1};
        steps[k] = 0;
        check(record, runs(record, tame, 1500, 13), steps, 1500, 6, k);
        if (HasFatalFailure()) return;
      }
    }
}

// Puts failing elements among ordinary ones: the first decides, wherever it lies in a block.
TEST_P(VectorFunctions, ReportTheFirstFailingElement) {
  constexpr mint kLength = kSlow ? 1100 : 4200;
  const std::vector<mint> places = kSlow ? std::vector<mint>{0, 7, 1024, kLength - 1}
                                         : std::vector<mint>{0, 7, 1024, 4095, 4096, kLength - 1};
  for (const Record& record : all_records())
    for (uint32_t flags : {0u, 6u}) {
      // Two sets of arguments with different failures, where there are.
      std::vector<std::vector<Elements>> failing;
      std::vector<int32_t> codes;
      for (size_t number = 0; number < 900 && failing.size() < 2; ++number) {
        std::vector<Elements> elements;
        const void* data[3] = {};
        for (int32_t k = 0; k < record.arity; ++k) {
          elements.emplace_back(record.type[k], 1);
          special(elements.back().data(), record.type[k], number * (size_t(k) + 1) + number / 26);
        }
        for (int32_t k = 0; k < record.arity; ++k) data[k] = elements[size_t(k)].data();
        Elements result(record.result_type, 1);
        const int32_t status = record.scalar(result.data(), data, flags);
        if (status == 0 || (!codes.empty() && codes[0] == status)) continue;
        failing.push_back(elements);
        codes.push_back(status);
      }
      for (mint place : places) {
        std::vector<Elements> operands = runs(record, tame, kLength, 21);
        for (size_t f = 0; f < failing.size(); ++f) {
          const mint later = place + mint(f) * 3;
          if (later >= kLength) break;
          for (size_t k = 0; k < operands.size(); ++k) operands[k].set(later, failing[f][k].data());
        }
        check(record, operands, kSteps[0], kLength, flags);
        if (size_of(record.type[0]) == size_of(record.result_type))
          check(record, operands, kSteps[0], kLength, flags, 0);
        if (HasFatalFailure()) return;
        if (failing.empty()) break;
      }
    }
}

// Eighths, and what lies about the reals above which all are whole: a long run of each, so that no other
// element decides how they are rounded.
TEST_P(VectorFunctions, RoundAsTheScalarFunctionsDo) {
  std::vector<std::vector<mreal>> sets(2);
  for (int k = -2000; k <= 2000; ++k) sets[0].push_back(k / 8.0);
  for (mreal end : {0x1p51, 0x1p52, 0x1p53, 0x1p63})
    for (mreal offset : {-2.0, -1.5, -1.0, -0.75, -0.5, -0.25, 0.0, 0.5, 1.0})
      for (mreal sign : {-1.0, 1.0}) {
        sets[1].push_back(sign * (end + offset));
        if (end == 0x1p51 && offset < 0) sets[0].push_back(sign * (end + offset));
      }
  for (int32_t op : {MACHFUNC_ROUND, MACHFUNC_FLOOR, MACHFUNC_CEILING, MACHFUNC_INTPART, MACHFUNC_FRACPART})
    for (const std::vector<mreal>& set : sets) {
      const auto n = mint(set.size());
      std::vector<mint> results(set.size());
      ASSERT_EQ(MNumericArray_getUnaryVectorMachFunc(op, kReal)(results.data(), set.data(), n, 0), 0);
      for (size_t i = 0; i < set.size(); ++i) {
        mint wanted = 0;
        MNumericArray_getUnaryScalarMachFunc(op, kReal)(&wanted, &set[i], 0);
        ASSERT_EQ(results[i], wanted) << op << " of " << set[i];
      }
    }
}

// Dividends about multiples of the divisor, where a rounded quotient is off by one.
template <class T>
void check_remainders(int32_t type) {
  std::mt19937_64 random(17);
  std::vector<T> a, b;
  for (int k = 0; k < 20000; ++k) {
    const T divisor = T(std::ldexp(T(int64_t(random()) >> 12), int(random() % 40) - 60));
    const T multiple = divisor * T(int64_t(random()) >> (44 + random() % 19));
    const T dividend = k % 3 == 0 ? multiple : std::nextafter(multiple, k % 3 == 1 ? T(-1e30) : T(1e30));
    b.push_back(divisor == T(0) ? T(1) : divisor);
    a.push_back(dividend);
  }
  const auto n = mint(a.size());
  std::vector<T> results(a.size());
  ASSERT_EQ(MNumericArray_getBinaryVectorMachFunc(MACHFUNC_MOD, type, type)(results.data(), a.data(), 1,
                                                                            b.data(), 1, n, 0),
            0);
  for (size_t i = 0; i < a.size(); ++i) {
    T wanted = 0;
    MNumericArray_getBinaryScalarMachFunc(MACHFUNC_MOD, type, type)(&wanted, &a[i], &b[i], 0);
    ASSERT_TRUE(same(type, &results[i], &wanted)) << a[i] << " mod " << b[i] << ": " << results[i];
  }
}

TEST_P(VectorFunctions, LeaveExactRemainders) {
  check_remainders<mreal>(kReal);
  check_remainders<float>(kReal32);
}

TEST_P(VectorFunctions, RaiseInTheStyleThatIsSet) {
  const mint a[] = {1, INT64_MAX}, b[] = {1, 1};
  mint sum[2];
  const auto plus = MNumericArray_getBinaryVectorMachFunc(MACHFUNC_PLUS, kInteger, kInteger);
  setExceptionStyle(0);
  try {
    plus(sum, a, 1, b, 1, 2, ZENTHAR_CHECK_OVERFLOW);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const ZentharRuntimeException& exception) {
    EXPECT_STREQ(exception.what(), "integer_overflow");
  }
  setExceptionStyle(1);
  EXPECT_EQ(plus(sum, a, 1, b, 1, 2, 0), 0);
  EXPECT_EQ(sum[1], INT64_MIN);
}

TEST_P(VectorFunctions, LookForAbortRequestsInLongRuns) {
  const mint n = 100000;
  std::vector<mint> a(n, 1), b(n, 2), sum(n);
  const auto plus = MNumericArray_getBinaryVectorMachFunc(MACHFUNC_PLUS, kInteger, kInteger);
  watch = 1;
  EXPECT_EQ(plus(sum.data(), a.data(), 1, b.data(), 1, n, 0), 34);
  EXPECT_EQ(getExceptionActive(), 34);
  watch = 0;
  EXPECT_EQ(plus(sum.data(), a.data(), 1, b.data(), 1, n, 0), 0);
}

// Runs long enough for the pool: the same results and the same failure as in one thread.
class DividedRuns : public testing::Test {
 protected:
  void SetUp() override {
    setExceptionStyle(1);
    previous_ = setParallelThreadNumber(3);
  }
  void TearDown() override {
    restoreParallelThreadNumber(previous_);
    setExceptionActive(0);
    watch = 0;
  }

  static constexpr mint kLength = 300007;

 private:
  int32_t previous_ = 0;
};

TEST_F(DividedRuns, GiveTheResultsOfOneThread) {
  const auto sum = MNumericArray_getBinaryVectorMachFunc(MACHFUNC_PLUS, kInteger, kReal);
  const Elements a = tame(kInteger, kLength, 1);
  Elements b = tame(kReal, kLength, 2), divided(kReal, kLength), whole(kReal, kLength);
  for (mint step : {1, 0}) {
    ASSERT_EQ(sum(divided.data(), a.data(), 1, b.data(), step, kLength, 6), 0);
    setParallelThreadNumber(1);
    ASSERT_EQ(sum(whole.data(), a.data(), 1, b.data(), step, kLength, 6), 0);
    setParallelThreadNumber(3);
    EXPECT_EQ(std::memcmp(divided.data(), whole.data(), kLength * 8), 0);
  }
  // A repeated operand that the result overwrites is read once, before that.
  ASSERT_EQ(sum(b.data(), a.data(), 1, b.data(), 0, kLength, 6), 0);
  EXPECT_EQ(std::memcmp(b.data(), whole.data(), kLength * 8), 0);
}

TEST_F(DividedRuns, ReportTheFirstFailureOfAllThreads) {
  const auto log = MNumericArray_getBinaryVectorMachFunc(MACHFUNC_LOG_BASE, kReal, kReal);
  std::mt19937_64 random(5);
  for (int round = 0; round < 30; ++round) {
    std::vector<mreal> base(kLength, 2.0), x(kLength, 8.0), result(kLength);
    mint first = kLength;
    int32_t wanted = 0;
    for (int k = 0; k < 6; ++k) {
      const mint place = mint(random() % uint64_t(kLength));
      const int kind = int(random() % 3);
      x[size_t(place)] = kind == 0 ? -1.0 : kind == 1 ? std::nan("") : std::numeric_limits<mreal>::infinity();
      if (place <= first) {
        first = place;
        wanted = kind == 0 ? 16 : kind == 1 ? 9 : 6;
      }
    }
    mreal* const to = round % 2 ? x.data() : result.data();
    setExceptionActive(0);
    ASSERT_EQ(log(to, base.data(), 1, x.data(), 1, kLength, 2), wanted) << first;
    ASSERT_EQ(getExceptionActive(), wanted);
  }
}

TEST_F(DividedRuns, RaiseInTheCallingThread) {
  std::vector<mint> a(kLength, 1), b(kLength, INT64_MAX), sum(kLength);
  const auto plus = MNumericArray_getBinaryVectorMachFunc(MACHFUNC_PLUS, kInteger, kInteger);
  setExceptionStyle(0);
  EXPECT_THROW(plus(sum.data(), a.data(), 1, b.data(), 1, kLength, 4), ZentharRuntimeException);
  setExceptionStyle(1);
  EXPECT_EQ(plus(sum.data(), a.data(), 1, b.data(), 1, kLength, 0), 0);
  watch = 1;
  EXPECT_EQ(plus(sum.data(), a.data(), 1, b.data(), 1, kLength, 0), 34);
}

TEST_F(DividedRuns, StartedFromManyThreadsAtOnce) {
  const auto plus = MNumericArray_getBinaryVectorMachFunc(MACHFUNC_PLUS, kInteger, kInteger);
  std::vector<std::thread> hosts;
  std::atomic<int> wrong{0};
  for (mint host = 0; host < 4; ++host)
    hosts.emplace_back([&, host] {
      std::vector<mint> a(kLength, host), sum(kLength);
      for (int round = 0; round < 20; ++round) {
        if (plus(sum.data(), a.data(), 1, a.data(), 1, kLength, 4) != 0) ++wrong;
        for (mint x : sum) wrong += x != 2 * host;
      }
    });
  for (std::thread& host : hosts) host.join();
  EXPECT_EQ(wrong, 0);
}

constexpr const char* kTargetNames[zenthar::kTargets] = {"Baseline", "Avx2", "Avx512"};

INSTANTIATE_TEST_SUITE_P(Targets, VectorFunctions,
                         testing::Values(zenthar::Target::kBaseline, zenthar::Target::kAvx2,
                                         zenthar::Target::kAvx512),
                         [](const auto& target) { return kTargetNames[int(target.param)]; });

}  // namespace
