// How far the vector functions that have forms of their own are from the exact results, on every processor
// target. Each row stands with its bound in units in the last place; what was seen is printed, and recorded
// as a property of the test. ZENTHAR_POINTS in the environment sets the number of arguments of a row.
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
using kernel_records::kComplex, kernel_records::kInteger, kernel_records::kReal;

using Reference = std::function<Exact(const std::vector<Exact>& operands)>;

// Where an operand (of a complex, each part) is looked for besides the whole range.
struct Interval {
  mreal low, high;
};

struct Row {
  int32_t op;
  std::vector<int32_t> types;
  Reference reference;
  mreal bound;
  std::vector<Interval> intervals;  // one an operand
  std::vector<mreal> hard = {};     // further arguments, for each operand
  // Whether arguments can magnify the error of the scalar function too, beyond any bound. Results that are
  // its own to the bit are no matter of this test then.
  bool ill_conditioned = false;
};

Reference of(Exact::Real f) {
  return [f](const std::vector<Exact>& x) { return Exact::apply(f, x[0]); };
}
[[maybe_unused]] Reference of(Exact::Unary f) {
  return [f](const std::vector<Exact>& z) { return Exact::apply(f, z[0]); };
}

// Arguments whose sine, cosine or tangent is nearly 0 or an infinity (J.-M. Muller, Elementary Functions;
// W. Kahan), and ends of what is reduced in vectors.
const std::vector<mreal> kHardAngles = {0x1.6ac5b262ca1ffp+849,
                                        -0x1.6ac5b262ca1ffp+849,
                                        0x1.13a5ccd87c9bbp+1008,
                                        0x1.f9be6e1ea0b76p+27,
                                        0x1.921fb54442d18p+0,
                                        -0x1.921fb54442d18p+1,
                                        0x1.2d97c7f3321d2p+2,
                                        0x1.921fb54442d18p-1,
                                        0x1.ab0aea9e73b3cp+5,
                                        0x1.46ac372243536p+7,
                                        -0x1.7ffffffffffffp-1,
                                        0x1.fffffffffffffp19,
                                        -0x1.0000000000001p20,
                                        0x1p30,
                                        0x1.0000000000001p30,
                                        -0x1p45,
                                        0x1.0000000000001p45,
                                        -0x1.fffffffffffffp1023,
                                        1e5,
                                        1e9,
                                        1e22};
constexpr Interval kAngles = {-1e5, 1e5};
Reference of_reciprocal(Exact::Real f) {
  return [f](const std::vector<Exact>& x) { return Exact::apply(f, Exact(1) / x[0]); };
}
Exact power(const std::vector<Exact>& x) {
  return Exact::apply(
      [](mpc_ptr z, mpc_srcptr a, mpc_srcptr b, mpc_rnd_t) {
        return mpfr_pow(mpc_realref(z), mpc_realref(a), mpc_realref(b), MPFR_RNDN);
      },
      x[0], x[1]);
}

// MPC takes long to find that tangents are next to i, and hyperbolic ones next to 1, far away.
bool is_far(mpfr_srcptr x) { return mpfr_number_p(x) && mpfr_cmpabs_ui(x, 400) > 0; }
Exact tangent(const std::vector<Exact>& z) {
  return is_far(z[0].im()) ? Exact(0, mpfr_sgn(z[0].im())) : Exact::apply(mpc_tan, z[0]);
}
Exact hyperbolic_tangent(const std::vector<Exact>& z) {
  return is_far(z[0].re()) ? Exact(mpfr_sgn(z[0].re())) : Exact::apply(mpc_tanh, z[0]);
}

// exp(w log z); no number where MPC would need a great many digits, for an angle next to nothing or huge
// exponents. Such results have to be the scalar function's.
Exact complex_power(const std::vector<Exact>& x) {
  const Exact exponent = x[1] * log(x[0]);
  const auto is_small = [](mpfr_srcptr part) { return mpfr_zero_p(part) || mpfr_get_exp(part) < -300; };
  const auto is_large = [](mpfr_srcptr part) {
    return !mpfr_number_p(part) || (!mpfr_zero_p(part) && mpfr_get_exp(part) > 30);
  };
  if (is_large(exponent.re()) || is_large(exponent.im()) || is_small(exponent.im())) return {std::nan("")};
  return exp(is_small(exponent.re()) ? Exact(0.0, 1.0) * exponent.imaginary() : exponent);
}

// About the ends of ranges that have formulas of their own, and of the domains.
const std::vector<mreal> kHardArcs = {0.5,
                                      -0x1.0000000000001p-1,
                                      1.0,
                                      -0x1.fffffffffffffp-1,
                                      0x1.0000000000001p0,
                                      0.25,
                                      0.75,
                                      -2.0,
                                      0x1.fffffffffffffp0,
                                      -8.0,
                                      0x1.fffffffffffffp2,
                                      0.125,
                                      0x1p-27,
                                      -0x1p-500,
                                      1e60,
                                      0x1.fffffffffffffp-4,
                                      1.5,
                                      -0x1p960,
                                      0x1p-1060};

const std::vector<Row>& rows() {
  static const std::vector<Row> rows = {
      {MACHFUNC_EXP,
       {kReal},
       of(mpfr_exp),
       0.75,
       {{-745, 710}},
       {-0x1.74910d52d3053p+9, 0x1.62e42fefa39efp+9}},
      {MACHFUNC_EXPM1, {kReal}, of(mpfr_expm1), 0.7, {{-40, 710}}, {-0.03, 0.03, 0.0216, -0.0216}},
      {MACHFUNC_SINH, {kReal}, of(mpfr_sinh), 0.52, {{-711, 711}}, {0.03, 710.4758, 0x1p-27}},
      {MACHFUNC_COSH, {kReal}, of(mpfr_cosh), 0.9, {{-711, 711}}, {0.03, 710.4758, 0x1p-27}},
      {MACHFUNC_TANH, {kReal}, of(mpfr_tanh), 0.52, {{-20, 20}}, {0.03, 18.7, 19.0619, 0x1p-27}},
      {MACHFUNC_CSCH,
       {kReal},
       of(mpfr_csch),
       0.76,
       {{-750, 750}},
       {0.03, 710.4758, 0x1p-900, 0x1p-1000, 0x1p-1022}},
      {MACHFUNC_SECH, {kReal}, of(mpfr_sech), 0.76, {{-750, 750}}, {0.03, 710.4758, 0x1p-1000}},
      {MACHFUNC_COTH, {kReal}, of(mpfr_coth), 0.52, {{-20, 20}}, {0.03, 18.7, 0x1p-900, 0x1p-1022}},
      {MACHFUNC_LOGISTIC,
       {kReal},
       [](const std::vector<Exact>& x) { return Exact(1) / (Exact(1) + exp(Exact(0) - x[0])); },
       0.76,
       {{-750, 40}},
       {-0.03, 36.7, -708.4}},
      {MACHFUNC_ASINH, {kReal}, of(mpfr_asinh), 0.6, {{-9, 9}}, {0x1p-28, 0x1p-27, 0x1p30, 0x1p1023}},
      {MACHFUNC_ACOSH, {kReal}, of(mpfr_acosh), 0.52, {{1, 3}}, {0x1.0000000000001p+0, 0x1p30, 0x1p1023}},
      {MACHFUNC_ATANH, {kReal}, of(mpfr_atanh), 0.6, {{-1, 1}}, {0x1.fffffffffffffp-1, 0x1p-28}},
      {MACHFUNC_ACSCH, {kReal}, of_reciprocal(mpfr_asinh), 0.53, {{-9, 9}}, {0x1p28, 0x1p-1022, 0x1p-1074}},
      {MACHFUNC_ASECH, {kReal}, of_reciprocal(mpfr_acosh), 0.53, {{0, 1}}, {0x1.fffffffffffffp-1, 0x1p-1074}},
      {MACHFUNC_ACOTH, {kReal}, of_reciprocal(mpfr_atanh), 0.55, {{1, 9}}, {0x1.0000000000001p+0, 0x1p28}},
      {MACHFUNC_LOG, {kReal}, of(mpfr_log), 0.56, {{0, 2}}, {0x1.fffffffffffffp-1, 0x1.0000000000001p+0}},
      {MACHFUNC_LOG2, {kReal}, of(mpfr_log2), 0.57, {{0, 2}}, {0x1.fffffffffffffp-1, 0x1.0000000000001p+0}},
      {MACHFUNC_LOG10, {kReal}, of(mpfr_log10), 0.56, {{0, 1000}}, {1000, 1e22, 0x1.0000000000001p+0}},
      {MACHFUNC_LOG1P, {kReal}, of(mpfr_log1p), 0.8, {{-1, 2}}, {-0x1.fffffffffffffp-1, 0x1p-54, -0x1p-54}},
      // Where the argument of the series is largest beside the result, and where its rounding is.
      {MACHFUNC_LOG1P, {kReal}, of(mpfr_log1p), 0.8, {{0.06, 0.07}}},
      {MACHFUNC_LOG1P, {kReal}, of(mpfr_log1p), 0.8, {{-1, -0.9999}}},
      {MACHFUNC_LOG_BASE,
       {kReal, kReal},
       [](const std::vector<Exact>& x) {
         return Exact::apply(mpfr_log, x[1]) / Exact::apply(mpfr_log, x[0]);
       },
       0.51,
       {{0, 20}, {0, 3}},
       {0x1.fffffffffffffp-1, 10, 1000}},
      {MACHFUNC_SIN, {kReal}, of(mpfr_sin), 0.85, {kAngles}, kHardAngles},
      {MACHFUNC_COS, {kReal}, of(mpfr_cos), 0.87, {kAngles}, kHardAngles},
      {MACHFUNC_TAN, {kReal}, of(mpfr_tan), 0.97, {kAngles}, kHardAngles},
      {MACHFUNC_CSC, {kReal}, of(mpfr_csc), 0.85, {kAngles}, kHardAngles},
      {MACHFUNC_SEC, {kReal}, of(mpfr_sec), 0.87, {kAngles}, kHardAngles},
      {MACHFUNC_COT, {kReal}, of(mpfr_cot), 0.97, {kAngles}, kHardAngles},
      {MACHFUNC_SINC,
       {kReal},
       [](const auto& x) { return mpfr_zero_p(x[0].re()) ? Exact(1.0) : of(mpfr_sin)(x) / x[0]; },
       0.9,
       {kAngles},
       kHardAngles},
      {MACHFUNC_HAVERSINE,
       {kReal},
       [](const auto& x) {
         const Exact sine = of(mpfr_sin)({x[0] / Exact(2.0)});
         return sine * sine;
       },
       0.98,
       {kAngles},
       kHardAngles},
      {MACHFUNC_POW, {kReal, kReal}, power, 0.6, {{0, 20}, {-200, 200}}, {-3, -2, 0x1.fffffffffffffp-1}},
      // Large exponents of bases near 1, and integers.
      {MACHFUNC_POW, {kReal, kReal}, power, 0.6, {{0.9, 1.1}, {-7000, 7000}}, {1, -1, 1e308}},
      {MACHFUNC_POW,
       {kReal, kInteger},
       power,
       0.6,
       {{-2, 2}, {-40, 40}},
       {-3, -2, -1, 2, 31, 32, -32, -33, 0x1p51, -0x1p51, 0x1p53, 0x1p62, 0x1.fffffffffffffp-1}},
      {MACHFUNC_POW, {kReal, kInteger}, power, 0.6, {{-1.5, 1.5}, {-1000, 1000}}},
      {MACHFUNC_CBRT, {kReal}, of(mpfr_cbrt), 0.65, {{-30, 30}}, {0x1p-1074, 0x1.fffffffffffffp+2}},
      {MACHFUNC_RSQRT, {kReal}, of(mpfr_rec_sqrt), 0.52, {{0, 9}}, {0x1p-1074, 0x1.fffffffffffffp-1}},
      {MACHFUNC_ASIN, {kReal}, of(mpfr_asin), 0.7, {{-1, 1}}, kHardArcs},
      {MACHFUNC_ACOS, {kReal}, of(mpfr_acos), 0.7, {{-1, 1}}, kHardArcs},
      {MACHFUNC_ATAN, {kReal}, of(mpfr_atan), 0.85, {{-20, 20}}, kHardArcs},
      {MACHFUNC_ACSC, {kReal}, of_reciprocal(mpfr_asin), 0.8, {{-4, 4}}, kHardArcs},
      {MACHFUNC_ASEC, {kReal}, of_reciprocal(mpfr_acos), 0.75, {{-4, 4}}, kHardArcs},
      {MACHFUNC_ACOT, {kReal}, of_reciprocal(mpfr_atan), 0.87, {{-20, 20}}, kHardArcs},
      {MACHFUNC_INVERSEHAVERSINE,
       {kReal},
       [](const auto& x) { return Exact(2.0) * of(mpfr_asin)({of(mpfr_sqrt)(x)}); },
       0.85,
       {{0, 1}},
       kHardArcs},
      {MACHFUNC_GUDERMANNIAN,
       {kReal},
       [](const auto& x) { return of(mpfr_atan)({of(mpfr_sinh)(x)}); },
       1,
       {{-45, 45}},
       {0.25, -0.5, 0x1.fffffffffffffp-3, 0x1.4p5, -0x1.2aeb3f26cc5b2p+1}},
      {MACHFUNC_INVERSEGUDERMANNIAN,
       {kReal},
       [](const auto& x) {
         const Exact cosine = of(mpfr_cos)(x);
         return mpfr_sgn(cosine.re()) < 0 ? Exact(std::nan("")) : of(mpfr_asinh)({of(mpfr_tan)(x)});
       },
       0.9,
       {{-4, 4}},
       kHardAngles},
      {MACHFUNC_ATAN2,
       {kReal, kReal},
       [](const auto& v) { return Exact::apply(mpfr_atan2, v[0], v[1]); },
       0.8,
       {{-2, 2}, {-2, 2}},
       kHardArcs},
      {MACHFUNC_ERF, {kReal}, of(mpfr_erf), 0.85, {{-6, 6}}},
      {MACHFUNC_ERFC, {kReal}, of(mpfr_erfc), 0.8, {{-6, 27.5}}, {26.5, 0x1.b39dc41e48bfcp+4}},
      {MACHFUNC_GAMMA,
       {kReal},
       of(mpfr_gamma),
       0.9,
       {{-180, 172}},
       {1, 2, 8, 23, -170.5, -178.9, 0x1.573fae561f647p+7}},
      {MACHFUNC_LOGGAMMA, {kReal}, of(mpfr_lngamma), 2.5, {{0, 200}}, {0x1p-52, 1, 2, 8}},
      {MACHFUNC_EXP, {kComplex}, of(mpc_exp), 3, {{-720, 720}}},
      {MACHFUNC_SIN, {kComplex}, of(mpc_sin), 3, {{-720, 720}}},
      {MACHFUNC_COS, {kComplex}, of(mpc_cos), 3, {{-720, 720}}},
      {MACHFUNC_SINH, {kComplex}, of(mpc_sinh), 3, {{-720, 720}}},
      {MACHFUNC_COSH, {kComplex}, of(mpc_cosh), 3, {{-720, 720}}},
      {MACHFUNC_TAN, {kComplex}, tangent, 1.4, {{-40, 40}}},
      {MACHFUNC_TANH, {kComplex}, hyperbolic_tangent, 1.4, {{-40, 40}}},
      {MACHFUNC_LOG, {kComplex}, of(mpc_log), 3, {{-2, 2}}, {0.6, 0.8, 1, 0x1p-20, 0x1p-30}},
      {MACHFUNC_ARG,
       {kComplex},
       [](const std::vector<Exact>& z) { return Exact::apply(mpfr_atan2, z[0].imaginary(), z[0]); },
       0.8,
       {{-2, 2}}},
      {MACHFUNC_POW,
       {kComplex, kComplex},
       complex_power,
       1,
       {{-9, 9}, {-9, 9}},
       {0.6, 0.8, -1, 2.5, 0x1p-20, 0x1.fffffffffffffp-1},
       true},
      {MACHFUNC_SQRT, {kComplex}, of(mpc_sqrt), 0.55, {{-9, 9}}},
      {MACHFUNC_ABS,
       {kComplex},
       of(+[](mpc_ptr modulus, mpc_srcptr z, mpc_rnd_t) {
         mpfr_set_zero(mpc_imagref(modulus), 1);
         return mpc_abs(mpc_realref(modulus), z, MPFR_RNDN);
       }),
       1,
       {{-9, 9}}},
  };
  return rows;
}

class Arguments {
 public:
  explicit Arguments(uint64_t seed) : random_(seed) {}

  // Uniform or with a uniform exponent in the interval, any number at all, or a special one.
  mreal next(const Row& row, size_t operand) {
    const auto [low, high] = row.intervals[operand];
    const auto& special = kernel_records::special_reals();
    switch (random_() % 8) {
      case 0:
        return std::bit_cast<mreal>(random_());
      case 1:
        return special[random_() % special.size()];
      case 2:
        if (!row.hard.empty()) return row.hard[random_() % row.hard.size()];
        [[fallthrough]];
      case 3:
      case 4: {
        const mreal most = std::max(std::fabs(low), std::fabs(high));
        const mreal x = std::ldexp(most, -int(random_() % 60)) * uniform(0.5, 1);
        const mreal y = random_() % 2 ? -x : x;
        if (y >= low && y <= high) return y;
        [[fallthrough]];
      }
      default:
        return uniform(low, high);
    }
  }

 private:
  mreal uniform(mreal low, mreal high) { return std::uniform_real_distribution<mreal>(low, high)(random_); }
  std::mt19937_64 random_;
};

// Arguments of a row with the exact results, shared by the targets.
struct Cases {
  std::vector<std::vector<mreal>> operands;  // parts beside each other
  std::vector<mreal> scalar;                 // the scalar function's results
  std::vector<Exact> exact;
};

size_t parts_of(int32_t type) { return type == kComplex ? 2 : 1; }

// An integer, which operands hold as the bits of a real.
mreal integer_near(mreal x) {
  constexpr mreal kMost = 0x1p62;
  return std::bit_cast<mreal>(std::isnan(x) ? 0 : mint(std::nearbyint(std::clamp(x, -kMost, kMost))));
}
mreal value_of(int32_t type, mreal x) { return type == kInteger ? mreal(std::bit_cast<mint>(x)) : x; }

int32_t result_type(const Row& row) {
  return row.types.size() == 1 ? MNumericArray_ReturnType1(row.op, row.types[0])
                               : MNumericArray_ReturnType2(row.op, row.types[0], row.types[1]);
}

Cases make_cases(const Row& row) {
  const char* const wanted = std::getenv("ZENTHAR_POINTS");
  const int points = wanted ? std::atoi(wanted) : 2500;
  const size_t arity = row.types.size(), result_parts = parts_of(result_type(row));
  Arguments arguments(uint64_t(row.op) * 977);
  Cases cases;
  cases.operands.resize(arity);
  for (int k = 0; k < points; ++k) {
    std::vector<Exact> exact;
    const void* data[2] = {};
    mreal z[2][2];
    for (size_t a = 0; a < arity; ++a) {
      z[a][1] = 0;
      for (size_t part = 0; part < parts_of(row.types[a]); ++part) z[a][part] = arguments.next(row, a);
      if (row.types[a] == kInteger) z[a][0] = integer_near(z[a][0]);
      exact.emplace_back(value_of(row.types[a], z[a][0]), z[a][1]);
      data[a] = z[a];
    }
    mreal scalar[2];
    const int32_t status =
        arity == 1 ? MNumericArray_getUnaryScalarMachFunc(row.op, row.types[0])(scalar, data[0], 0)
                   : MNumericArray_getBinaryScalarMachFunc(row.op, row.types[0], row.types[1])(
                         scalar, data[0], data[1], 0);
    setExceptionActive(0);
    if (status != 0) continue;  // failures are the business of other tests
    for (size_t a = 0; a < arity; ++a)
      cases.operands[a].insert(cases.operands[a].end(), z[a], z[a] + parts_of(row.types[a]));
    cases.scalar.insert(cases.scalar.end(), scalar, scalar + result_parts);
    cases.exact.push_back(row.reference(exact));
  }
  return cases;
}

const Cases& cases_of(size_t row) {
  static std::vector<Cases> all(rows().size());
  if (all[row].exact.empty()) all[row] = make_cases(rows()[row]);
  return all[row];
}

class VectorForms : public testing::TestWithParam<zenthar::Target> {
 protected:
  void SetUp() override {
    if (!zenthar::runs(GetParam())) GTEST_SKIP() << "this processor does not run the target";
    zenthar::use_target(GetParam());
    setExceptionStyle(1);
  }
};

// Results that are zeros, infinities or NaNs in the scalar function are the same here; all others lie within
// the row's bound of the exact ones.
TEST_P(VectorForms, AreAccurate) {
  for (size_t number = 0; number < rows().size(); ++number) {
    const Row& row = rows()[number];
    const Cases& cases = cases_of(number);
    const size_t n = cases.exact.size(), parts = parts_of(result_type(row));
    ASSERT_GT(n, 100u);
    std::vector<mreal> results(n * parts);
    const int32_t code =
        row.types.size() == 1
            ? MNumericArray_getUnaryVectorMachFunc(row.op, row.types[0])(results.data(),
                                                                         cases.operands[0].data(), mint(n), 0)
            : MNumericArray_getBinaryVectorMachFunc(row.op, row.types[0], row.types[1])(
                  results.data(), cases.operands[0].data(), 1, cases.operands[1].data(), 1, mint(n), 0);
    ASSERT_EQ(code, 0);
    mreal worst = 0;
    size_t where = 0, own = 0;
    for (size_t i = 0; i < n * parts; ++i) {
      if (row.ill_conditioned && std::memcmp(&cases.scalar[i], &results[i], sizeof(mreal)) == 0) continue;
      ++own;
      const mreal scalar = cases.scalar[i], got = results[i];
      const Exact& exact = cases.exact[i / parts];
      const bool plain = std::isfinite(scalar) && scalar != 0;
      const mreal error = plain || !kernel_records::same(kReal, &scalar, &got)
                              ? ulps(got, i % parts ? exact.im() : exact.re())
                              : 0.0;
      if (!plain && scalar == 0 && got == 0) {
        ASSERT_EQ(std::signbit(scalar), std::signbit(got))
            << MNumericArray_getMachFuncName(row.op) << " of element " << i / parts << " has the wrong sign";
      }
      if (error > worst || std::isnan(error)) worst = error, where = i / parts;
    }
    ASSERT_GT(own, n / 128);
    std::string at;
    for (size_t a = 0; a < row.types.size(); ++a)
      for (size_t part = 0; part < parts_of(row.types[a]); ++part) {
        char text[64];
        std::snprintf(text, sizeof text, " %a",
                      value_of(row.types[a], cases.operands[a][where * parts_of(row.types[a]) + part]));
        at += text;
      }
    const std::string name =
        MNumericArray_getMachFuncName(row.op) + std::string(row.types[0] == kComplex       ? " of complexes"
                                                            : row.op == MACHFUNC_LOG_BASE  ? " to a base"
                                                            : row.types.back() == kInteger ? " to integers"
                                                                                           : "");
    std::printf("%-28s %5.3f ulp at%s\n", name.c_str(), worst, at.c_str());
    RecordProperty(name, std::to_string(worst));
    EXPECT_LE(worst, row.bound) << name << at;
  }
}

// Powers to integers go several ways, by the exponents that a run has together; which of them must not show.
TEST_P(VectorForms, PowersToIntegersDependOnTheirElementAlone) {
  const auto power = MNumericArray_getBinaryVectorMachFunc(MACHFUNC_POW, kReal, kInteger);
  std::mt19937_64 random(7);
  for (const mint most : {1, 5, 31, 40, 1000}) {
    std::vector<mreal> x(61), together(x.size());
    std::vector<mint> n(x.size());
    for (size_t i = 0; i < x.size(); ++i) {
      x[i] =
          i % 5 == 0 ? std::bit_cast<mreal>(random()) : std::uniform_real_distribution<mreal>(-2, 2)(random);
      n[i] = std::uniform_int_distribution<mint>(-most - 1, most)(random);
    }
    for (const mreal special : {0.0, -0.0, 1.0, -1.0, HUGE_VAL, -HUGE_VAL, std::nan("")})
      x[random() % x.size()] = special;
    ASSERT_EQ(power(together.data(), x.data(), 1, n.data(), 1, mint(x.size()), 0), 0);
    for (size_t i = 0; i < x.size(); ++i) {
      std::vector<mreal> alone(x.size());
      ASSERT_EQ(power(alone.data(), &x[i], 0, &n[i], 0, mint(x.size()), 0), 0);
      EXPECT_TRUE(kernel_records::same(kReal, &together[i], &alone[i])) << x[i] << " ^ " << n[i];
      EXPECT_TRUE(kernel_records::same(kReal, &alone.back(), &alone[i])) << x[i] << " ^ " << n[i];
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, VectorForms,
                         testing::Values(zenthar::Target::kBaseline, zenthar::Target::kAvx2,
                                         zenthar::Target::kAvx512),
                         [](const auto& target) {
                           return std::string(target.param == zenthar::Target::kBaseline ? "Baseline"
                                              : target.param == zenthar::Target::kAvx2   ? "Avx2"
                                                                                         : "Avx512");
                         });

}  // namespace
