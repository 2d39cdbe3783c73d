// How far the vector functions of Real32 that have forms of their own are from the exact results, on every
// processor target, and whether a result depends on its element alone. ZENTHAR_POINTS in the environment sets
// the number of arguments of a row.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "exact.h"
#include "kernel_records.h"
#include "kernels/vector/targets.h"
#include "zenthar/zenthar.h"

#if defined(__SANITIZE_ADDRESS__)
// The kernels are linked into this program besides the library, to choose their target, and so are their
// tables.
extern "C" const char* __asan_default_options() { return "detect_odr_violation=0"; }
#endif

namespace {

using namespace exact;
using kernel_records::kReal32;

using Reference = std::function<Exact(const std::vector<Exact>& operands)>;

struct Interval {
  float low, high;
};

struct Row {
  int32_t op;
  Reference reference;
  mreal bound;                      // in units in the last place
  std::vector<Interval> intervals;  // one an operand, where it is looked for besides the whole range
  std::vector<float> hard = {};     // further arguments, for each operand
};

Reference of(Exact::Real f) {
  return [f](const std::vector<Exact>& x) { return Exact::apply(f, x[0]); };
}
Reference of(Exact::BinaryReal f) {
  return [f](const std::vector<Exact>& x) { return Exact::apply(f, x[0], x[1]); };
}

// Next to multiples of pi/2, and ends of what is reduced in vectors.
const std::vector<float> kHardAngles = {0x1.921fb6p0f,  -0x1.921fb4p0f, 0x1.921fb6p1f,  0x1.2d97c8p2f,
                                        0x1.921fb6p-1f, 0x1.921fb4p-1f, 0x1.6c6cbcp14f, 0x1p17f,
                                        0x1.000002p17f, 0x1p21f,        0x1.000002p21f, 1e10f,
                                        0x1.fffffep127f};
const std::vector<float> kHardArcs = {0.5f,          -0x1.000002p-1f, 1.0f,  -0x1.fffffep-1f,
                                      0x1.000002p0f, 0.0625f,         8.0f,  0.1875f,
                                      0x1p-126f,     0x1p-149f,       1e30f, -2.0f};
constexpr Interval kAngles = {-1e4f, 1e4f};

const std::vector<Row>& rows() {
  static const std::vector<Row> rows = {
      {MACHFUNC_EXP,
       of(mpfr_exp),
       0.95,
       {{-104, 89}},
       {-0x1.5d589ep6f, 0x1.62e42ep6f, -0x1.9fe368p6f, 87, -87}},
      {MACHFUNC_EXPM1, of(mpfr_expm1), 0.52, {{-18, 89}}, {0x1.62e42ep6f, -0.3466f, 0.3466f, -17.4f}},
      {MACHFUNC_SINH, of(mpfr_sinh), 0.95, {{-90, 90}}, {0x1.65a9f8p6f, 0.3466f}},
      {MACHFUNC_COSH, of(mpfr_cosh), 0.95, {{-90, 90}}, {0x1.65a9f8p6f, 0.3466f}},
      {MACHFUNC_TANH, of(mpfr_tanh), 0.52, {{-10, 10}}, {0.1733f, 9.01f, 0x1p-126f}},
      {MACHFUNC_LOGISTIC,
       [](const std::vector<Exact>& x) { return Exact(1) / (Exact(1) + exp(Exact(0) - x[0])); },
       0.52,
       {{-104, 20}},
       {-103.9f, -88, 17.4f}},
      {MACHFUNC_ASINH, of(mpfr_asinh), 0.52, {{-9, 9}}, {0x1p-9f, 0x1p-10f, 0x1p64f}},
      {MACHFUNC_ACOSH, of(mpfr_acosh), 0.52, {{1, 3}}, {0x1.000002p0f, 0x1p64f}},
      {MACHFUNC_ATANH, of(mpfr_atanh), 0.52, {{-1, 1}}, {0x1.fffffep-1f, 0x1p-8f, 0x1p-9f}},
      {MACHFUNC_LOG, of(mpfr_log), 0.95, {{0, 2}}, {0x1.fffffep-1f, 0x1.000002p0f, 0x1p-126f, 0x1p-149f}},
      {MACHFUNC_LOG2, of(mpfr_log2), 0.95, {{0, 2}}, {0x1.fffffep-1f, 0x1.000002p0f, 0x1p-126f, 0x1p-149f}},
      {MACHFUNC_LOG10, of(mpfr_log10), 0.95, {{0, 2}}, {0x1.fffffep-1f, 0x1.000002p0f, 1000, 1e10f}},
      {MACHFUNC_LOG1P, of(mpfr_log1p), 0.98, {{-1, 2}}, {-0x1.fffffep-1f, 0x1p-18f, -0x1p-19f, 0x1p-149f}},
      {MACHFUNC_SIN, of(mpfr_sin), 0.95, {kAngles}, kHardAngles},
      {MACHFUNC_COS, of(mpfr_cos), 0.95, {kAngles}, kHardAngles},
      {MACHFUNC_TAN, of(mpfr_tan), 1, {kAngles}, kHardAngles},
      {MACHFUNC_ASIN, of(mpfr_asin), 0.8, {{-1, 1}}, kHardArcs},
      {MACHFUNC_ACOS, of(mpfr_acos), 0.8, {{-1, 1}}, kHardArcs},
      {MACHFUNC_ATAN, of(mpfr_atan), 0.95, {{-20, 20}}, kHardArcs},
      {MACHFUNC_ATAN2, of(mpfr_atan2), 0.95, {{-2, 2}, {-2, 2}}, kHardArcs},
      {MACHFUNC_POW,
       of(mpfr_pow),
       0.6,
       {{0, 20}, {-50, 50}},
       {-3, -2, 0x1.fffffep-1f, 0x1.000002p0f, 0x1p30f}},
      {MACHFUNC_CBRT, of(mpfr_cbrt), 0.51, {{-30, 30}}, {0x1p-149f, 0x1.fffffep2f, 0x1p-126f}},
      {MACHFUNC_RSQRT, of(mpfr_rec_sqrt), 0.51, {{0, 9}}, {0x1p-149f, 0x1.fffffep-1f}},
      {MACHFUNC_ERF,
       of(mpfr_erf),
       0.52,
       {{-4, 4}},
       {3.875f, 0x1.f5a888p1f, 0x1.f5a88ap1f, 0.125f, 0x1p-149f}},
  };
  return rows;
}

// Uniform or with a uniform exponent in the interval, any single at all, or a special one.
class Arguments {
 public:
  explicit Arguments(uint32_t seed) : random_(seed) {}

  float next(const Row& row, size_t operand) {
    const auto [low, high] = row.intervals[operand];
    const auto& special = kernel_records::special_reals();
    switch (random_() % 8) {
      case 0:
        return std::bit_cast<float>(uint32_t(random_()));
      case 1:
        return float(special[random_() % special.size()]);
      case 2:
        if (!row.hard.empty()) return row.hard[random_() % row.hard.size()];
        [[fallthrough]];
      case 3: {
        const float most = std::max(std::fabs(low), std::fabs(high));
        const float x = std::ldexp(most, -int(random_() % 40)) * uniform(0.5f, 1);
        const float y = random_() % 2 ? -x : x;
        if (y >= low && y <= high) return y;
        [[fallthrough]];
      }
      default:
        return uniform(low, high);
    }
  }

 private:
  float uniform(float low, float high) { return std::uniform_real_distribution<float>(low, high)(random_); }
  std::mt19937 random_;
};

// Arguments of a row with the exact results, shared by the targets.
struct Cases {
  std::vector<float> operands[2];
  std::vector<float> scalar;  // the scalar function's results
  std::vector<Exact> exact;
};

const Cases& cases_of(size_t number) {
  static std::vector<Cases> all(rows().size());
  Cases& cases = all[number];
  if (!cases.exact.empty()) return cases;
  const Row& row = rows()[number];
  const char* const wanted = std::getenv("ZENTHAR_POINTS");
  const int points = wanted ? std::atoi(wanted) : 4000;
  Arguments arguments(uint32_t(row.op) * 977);
  for (int k = 0; k < points; ++k) {
    std::vector<Exact> exact;
    float x[2] = {};
    for (size_t a = 0; a < row.intervals.size(); ++a) {
      x[a] = arguments.next(row, a);
      exact.emplace_back(x[a]);
      cases.operands[a].push_back(x[a]);
    }
    float scalar = 0;
    const int32_t status =
        row.intervals.size() == 1
            ? MNumericArray_getUnaryScalarMachFunc(row.op, kReal32)(&scalar, &x[0], 0)
            : MNumericArray_getBinaryScalarMachFunc(row.op, kReal32, kReal32)(&scalar, &x[0], &x[1], 0);
    EXPECT_EQ(status, 0);  // none of these functions fails
    cases.scalar.push_back(scalar);
    cases.exact.push_back(row.reference(exact));
  }
  return cases;
}

int32_t run(const Row& row, float* results, const float* a, const float* b, size_t n, uint32_t flags) {
  return row.intervals.size() == 1
             ? MNumericArray_getUnaryVectorMachFunc(row.op, kReal32)(results, a, mint(n), flags)
             : MNumericArray_getBinaryVectorMachFunc(row.op, kReal32, kReal32)(results, a, 1, b, 1, mint(n),
                                                                               flags);
}

class SingleForms : public testing::TestWithParam<zenthar::Target> {
 protected:
  void SetUp() override {
    if (!zenthar::runs(GetParam())) GTEST_SKIP() << "this processor does not run the target";
    zenthar::use_target(GetParam());
    setExceptionStyle(1);
  }
};

// Results that are zeros, infinities or NaNs in the scalar function are the same here; all others lie within
// the row's bound of the exact ones.
TEST_P(SingleForms, AreAccurate) {
  for (size_t number = 0; number < rows().size(); ++number) {
    const Row& row = rows()[number];
    const Cases& cases = cases_of(number);
    const size_t n = cases.exact.size();
    std::vector<float> results(n);
    ASSERT_EQ(run(row, results.data(), cases.operands[0].data(), cases.operands[1].data(), n, 0), 0);
    const std::string name = MNumericArray_getMachFuncName(row.op) + std::string(" of Real32");
    mreal worst = 0;
    size_t where = 0;
    for (size_t i = 0; i < n; ++i) {
      const float scalar = cases.scalar[i], got = results[i];
      if (!std::isfinite(scalar) || scalar == 0) {
        ASSERT_TRUE(kernel_records::same(kReal32, &scalar, &got))
            << name << " of " << cases.operands[0][i] << " is " << got << ", not " << scalar;
        continue;
      }
      const mreal error = ulps(got, cases.exact[i].re());
      if (error > worst) worst = error, where = i;
    }
    std::string at;
    for (size_t a = 0; a < row.intervals.size(); ++a) {
      char text[64];
      std::snprintf(text, sizeof text, " %a", mreal(cases.operands[a][where]));
      at += text;
    }
    std::printf("%-28s %5.3f ulp at%s\n", name.c_str(), worst, at.c_str());
    RecordProperty(name, std::to_string(worst));
    EXPECT_LE(worst, row.bound) << name << at;
  }
}

// An element has the same result at every place of a run, and beside all others.
TEST_P(SingleForms, DependOnTheElementAlone) {
  for (size_t number = 0; number < rows().size(); ++number) {
    const Row& row = rows()[number];
    const Cases& cases = cases_of(number);
    constexpr size_t kElements = 150;
    const float* const a = cases.operands[0].data();
    const float* const b = cases.operands[1].data();
    float whole[kElements], part[kElements];
    ASSERT_EQ(run(row, whole, a, b, kElements, 0), 0);
    for (size_t from = 0; from < 20; ++from) {
      for (size_t n : {size_t(1), size_t(3), size_t(17), kElements - from}) {
        ASSERT_EQ(run(row, part, a + from, b + from, n, 0), 0);
        for (size_t i = 0; i < n; ++i)
          ASSERT_TRUE(kernel_records::same(kReal32, &part[i], &whole[from + i]))
              << MNumericArray_getMachFuncName(row.op) << " of " << a[from + i];
      }
    }
  }
}

// With the check of results the first that is no number or infinite decides.
TEST_P(SingleForms, FailAtTheFirstResultThatIsNotFinite) {
  for (size_t number = 0; number < rows().size(); ++number) {
    const Row& row = rows()[number];
    const Cases& cases = cases_of(number);
    const size_t n = cases.exact.size();
    std::vector<float> results(n);
    for (size_t from = 0; from < n; from += n / 7) {
      int32_t wanted = 0;
      for (size_t i = from; i < n && wanted == 0; ++i)
        wanted = std::isnan(cases.scalar[i]) ? 9 : std::isinf(cases.scalar[i]) ? 6 : 0;
      EXPECT_EQ(run(row, results.data(), cases.operands[0].data() + from, cases.operands[1].data() + from,
                    n - from, 2),
                wanted)
          << MNumericArray_getMachFuncName(row.op);
      setExceptionActive(0);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, SingleForms,
                         testing::Values(zenthar::Target::kBaseline, zenthar::Target::kAvx2,
                                         zenthar::Target::kAvx512),
                         [](const auto& target) {
                           return std::string(target.param == zenthar::Target::kBaseline ? "Baseline"
                                              : target.param == zenthar::Target::kAvx2   ? "Avx2"
                                                                                         : "Avx512");
                         });

}  // namespace
