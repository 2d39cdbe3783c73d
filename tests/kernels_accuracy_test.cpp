// How far the scalar functions of reals and complexes are from the exact results, which MPFR and MPC give.
// Each function stands with its bound, in units in the last place of the part that is furthest off. The
// largest error seen is recorded as a property of the test (--gtest_output=xml).
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "exact.h"
#include "zenthar/zenthar.h"

namespace {

using exact::cos, exact::Exact, exact::exp, exact::log, exact::sin, exact::sqrt, exact::ulps;

using ComplexFunction = int32_t (*)(mcomplex*, mreal, mreal, uint32_t);
using RealFunction = int32_t (*)(mreal*, mreal, uint32_t);
using Reference = std::function<Exact(const Exact&)>;

// Points all over the plane: of ordinary size, of any size, and close to the ends and branch points of the
// inverse functions.
class Points {
 public:
  explicit Points(mreal most) : most_(most) {}
  mcomplex next() {
    switch (random_() % 4) {
      case 0:
        return {4 * part(), 4 * part()};
      case 1:
        return {part() * std::pow(most_, part()), part() * std::pow(most_, part())};
      case 2:
        return {std::fmod(part() * std::pow(10, 6 * part()), most_),
                std::fmod(part() * std::pow(10, 6 * part()), most_)};
      default: {
        const mreal ends[][2] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {0, 0}, {1, 1}};
        const auto& end = ends[random_() % 6];
        return {end[0] + small(), end[1] + small()};
      }
    }
  }

 private:
  mreal part() { return std::uniform_real_distribution<mreal>(-1, 1)(random_); }
  mreal small() { return part() * std::pow(10.0, -17 * std::fabs(part())); }
  std::mt19937_64 random_{20};
  mreal most_;
};

struct ComplexRow {
  const char* name;
  ComplexFunction function;
  Reference reference;
  mreal bound;
  mreal most;  // magnitude of the parts of the points
  // A part smaller than this beside the other has come about by cancellation, and is measured by the larger
  // one.
  mreal cancelled = 0;
};

Exact real(Exact::Real f, const Exact& x) { return Exact::apply(f, x); }
Exact one() { return {1.0}; }
Exact two() { return {2.0}; }
Exact of(Exact::Unary f, const Exact& z) { return Exact::apply(f, z); }
Reference library(Exact::Unary f) {
  return [f](const Exact& z) { return of(f, z); };
}
Reference reciprocal(Exact::Unary f) {
  return [f](const Exact& z) { return one() / of(f, z); };
}
Reference of_reciprocal(Exact::Unary f) {
  return [f](const Exact& z) { return of(f, one() / z); };
}
Exact power_of_phi(const Exact& z) { return exp(z * log((one() + sqrt({5.0})) / two())); }
Exact fading(const Exact& z) { return cos(Exact::pi() * z) / power_of_phi(z); }

const ComplexRow kComplex[] = {
    {"sqrt", s_machfunc_c_sqrt, library(mpc_sqrt), 0.6, 1e300},
    {"rsqrt", s_machfunc_c_rsqrt, [](const Exact& z) { return one() / sqrt(z); }, 0.6, 1e300},
    {"recip", s_machfunc_c_recip, [](const Exact& z) { return one() / z; }, 3, 1e300},
    {"square", s_machfunc_c_square, [](const Exact& z) { return z * z; }, 3, 1e100},
    {"exp", s_machfunc_c_exp, library(mpc_exp), 3, 700},
    {"expm1", s_machfunc_c_expm1, [](const Exact& z) { return exp(z) - one(); }, 0.6, 700},
    {"log", s_machfunc_c_log, library(mpc_log), 3, 1e300},
    {"log1p", s_machfunc_c_log1p, [](const Exact& z) { return log(one() + z); }, 0.6, 1e30},
    {"log2", s_machfunc_c_log2, [](const Exact& z) { return log(z) / log(two()); }, 0.6, 1e300},
    {"log10", s_machfunc_c_log10, library(mpc_log10), 0.6, 1e300},
    {"sin", s_machfunc_c_sin, library(mpc_sin), 3, 700},
    {"cos", s_machfunc_c_cos, library(mpc_cos), 3, 700},
    {"tan", s_machfunc_c_tan, library(mpc_tan), 0.6, 30},
    {"csc", s_machfunc_c_csc, reciprocal(mpc_sin), 0.6, 700},
    {"sec", s_machfunc_c_sec, reciprocal(mpc_cos), 0.6, 700},
    {"cot", s_machfunc_c_cot, reciprocal(mpc_tan), 0.6, 30},
    {"sinh", s_machfunc_c_sinh, library(mpc_sinh), 3, 700},
    {"cosh", s_machfunc_c_cosh, library(mpc_cosh), 3, 700},
    {"tanh", s_machfunc_c_tanh, library(mpc_tanh), 0.6, 30},
    {"csch", s_machfunc_c_csch, reciprocal(mpc_sinh), 0.6, 700},
    {"sech", s_machfunc_c_sech, reciprocal(mpc_cosh), 0.6, 700},
    {"coth", s_machfunc_c_coth, reciprocal(mpc_tanh), 0.6, 30},
    {"asin", s_machfunc_c_asin, library(mpc_asin), 0.6, 1e50},
    {"acos", s_machfunc_c_acos, library(mpc_acos), 0.6, 1e50},
    {"atan", s_machfunc_c_atan, library(mpc_atan), 0.6, 1e50},
    {"acsc", s_machfunc_c_acsc, of_reciprocal(mpc_asin), 0.6, 1e50},
    {"asec", s_machfunc_c_asec, of_reciprocal(mpc_acos), 0.6, 1e50},
    {"acot", s_machfunc_c_acot, of_reciprocal(mpc_atan), 0.6, 1e50},
    {"asinh", s_machfunc_c_asinh, library(mpc_asinh), 0.6, 1e50},
    {"acosh", s_machfunc_c_acosh, library(mpc_acosh), 0.6, 1e50},
    {"atanh", s_machfunc_c_atanh, library(mpc_atanh), 0.6, 1e50},
    {"acsch", s_machfunc_c_acsch, of_reciprocal(mpc_asinh), 0.6, 1e50},
    {"asech", s_machfunc_c_asech, of_reciprocal(mpc_acosh), 0.6, 1e50},
    {"acoth", s_machfunc_c_acoth, of_reciprocal(mpc_atanh), 0.6, 1e50},
    {"sinc", s_machfunc_c_sinc, [](const Exact& z) { return sin(z) / z; }, 0.6, 300},
    {"fibonacci", s_machfunc_c_fibonacci,
     [](const Exact& z) { return (power_of_phi(z) - fading(z)) / sqrt({5.0}); }, 2, 100, 0x1p-9},
    {"lucasl", s_machfunc_c_lucasl, [](const Exact& z) { return power_of_phi(z) + fading(z); }, 2, 100,
     0x1p-9},
    {"gudermannian", s_machfunc_c_gudermannian,
     [](const Exact& z) { return two() * of(mpc_atan, of(mpc_tanh, z / two())); }, 0.6, 30},
    {"inversegudermannian", s_machfunc_c_inversegudermannian,
     [](const Exact& z) { return two() * of(mpc_atanh, of(mpc_tan, z / two())); }, 0.6, 30},
    {"haversine", s_machfunc_c_haversine,
     [](const Exact& z) {
       const Exact sine = sin(z / two());
       return sine * sine;
     },
     0.6, 300},
    {"inversehaversine", s_machfunc_c_inversehaversine,
     [](const Exact& z) { return two() * of(mpc_asin, sqrt(z)); }, 0.6, 1e50},
    {"logistic", s_machfunc_c_logistic, [](const Exact& z) { return one() / (one() + exp(Exact(0.0) - z)); },
     1, 300},
};

TEST(Accuracy, ComplexFunctions) {
  constexpr int kPoints = 1000;
  for (const ComplexRow& row : kComplex) {
    Points points(row.most);
    mreal worst = 0;
    mcomplex where{};
    for (int k = 0; k < kPoints; ++k) {
      const mcomplex z = points.next();
      mcomplex got;
      ASSERT_EQ(row.function(&got, z.re, z.im, 0), 0);
      const Exact want = row.reference({z.re, z.im});
      const mreal least = row.cancelled * std::hypot(got.re, got.im);
      const mreal error = std::max(ulps(got.re, want.re(), least), ulps(got.im, want.im(), least));
      if (error > worst) worst = error, where = z;
    }
    RecordProperty(row.name, std::to_string(worst));
    EXPECT_LE(worst, row.bound) << row.name << " at " << where.re << " " << where.im;
  }
}

struct RealRow {
  const char* name;
  RealFunction function;
  Reference reference;
  mreal bound;
  mreal low, high;
};

const RealRow kReal[] = {
    {"sqrt", s_machfunc_d_sqrt, library(mpc_sqrt), 0.5, 0, 1e300},
    {"rsqrt", s_machfunc_d_rsqrt, [](const Exact& x) { return one() / sqrt(x); }, 2, 1e-9, 1e9},
    {"cbrt", s_machfunc_d_cbrt, [](const Exact& x) { return real(mpfr_cbrt, x); }, 4, -1e9, 1e9},
    {"exp", s_machfunc_d_exp, library(mpc_exp), 1, -700, 700},
    {"expm1", s_machfunc_d_expm1, [](const Exact& x) { return exp(x) - one(); }, 2, -5, 5},
    {"log", s_machfunc_d_log, library(mpc_log), 1, 1e-9, 1e9},
    {"log1p", s_machfunc_d_log1p, [](const Exact& x) { return log(one() + x); }, 2, -0.99, 5},
    {"log2", s_machfunc_d_log2, [](const Exact& x) { return real(mpfr_log2, x); }, 2, 1e-3, 1e3},
    {"log10", s_machfunc_d_log10, [](const Exact& x) { return real(mpfr_log10, x); }, 3, 1e-3, 1e3},
    {"sin", s_machfunc_d_sin, library(mpc_sin), 1, -1e5, 1e5},
    {"cos", s_machfunc_d_cos, library(mpc_cos), 1, -1e5, 1e5},
    {"tan", s_machfunc_d_tan, library(mpc_tan), 1, -1e5, 1e5},
    {"csc", s_machfunc_d_csc, reciprocal(mpc_sin), 2, -1e5, 1e5},
    {"sec", s_machfunc_d_sec, reciprocal(mpc_cos), 2, -1e5, 1e5},
    {"cot", s_machfunc_d_cot, reciprocal(mpc_tan), 2, -1e5, 1e5},
    {"sinh", s_machfunc_d_sinh, library(mpc_sinh), 3, -700, 700},
    {"cosh", s_machfunc_d_cosh, library(mpc_cosh), 3, -700, 700},
    {"tanh", s_machfunc_d_tanh, library(mpc_tanh), 3, -20, 20},
    {"csch", s_machfunc_d_csch, reciprocal(mpc_sinh), 4, -700, 700},
    {"sech", s_machfunc_d_sech, reciprocal(mpc_cosh), 4, -700, 700},
    {"coth", s_machfunc_d_coth, reciprocal(mpc_tanh), 4, -20, 20},
    {"asin", s_machfunc_d_asin, library(mpc_asin), 1, -1, 1},
    {"acos", s_machfunc_d_acos, library(mpc_acos), 1, -1, 1},
    {"atan", s_machfunc_d_atan, library(mpc_atan), 1, -9, 9},
    {"acsc", s_machfunc_d_acsc, of_reciprocal(mpc_asin), 2, 1, 9},
    {"acsc near 1", s_machfunc_d_acsc, of_reciprocal(mpc_asin), 1, 1, 1 + 1e-9},
    {"asec", s_machfunc_d_asec, of_reciprocal(mpc_acos), 2, 1, 9},
    {"asec near 1", s_machfunc_d_asec, of_reciprocal(mpc_acos), 1, 1, 1 + 1e-9},
    {"asec near -1", s_machfunc_d_asec, of_reciprocal(mpc_acos), 1, -1 - 1e-9, -1},
    {"acot", s_machfunc_d_acot, of_reciprocal(mpc_atan), 2, -9, 9},
    {"asinh", s_machfunc_d_asinh, library(mpc_asinh), 3, -9, 9},
    {"acosh", s_machfunc_d_acosh, library(mpc_acosh), 3, 1, 9},
    {"atanh", s_machfunc_d_atanh, library(mpc_atanh), 3, -1, 1},
    {"acsch", s_machfunc_d_acsch, of_reciprocal(mpc_asinh), 3, -9, 9},
    {"acsch of the smallest", s_machfunc_d_acsch, of_reciprocal(mpc_asinh), 1, 5e-324, 1e-308},
    {"asech", s_machfunc_d_asech, of_reciprocal(mpc_acosh), 3, 1e-9, 1},
    {"asech near 1", s_machfunc_d_asech, of_reciprocal(mpc_acosh), 1, 1 - 1e-9, 1},
    {"acoth", s_machfunc_d_acoth, of_reciprocal(mpc_atanh), 3, 1, 9},
    {"acoth near 1", s_machfunc_d_acoth, of_reciprocal(mpc_atanh), 1, 1, 1 + 1e-9},
    {"erf", s_machfunc_d_erf, [](const Exact& x) { return real(mpfr_erf, x); }, 2, -6, 6},
    {"erfc", s_machfunc_d_erfc, [](const Exact& x) { return real(mpfr_erfc, x); }, 5, -6, 26},
    {"gamma", s_machfunc_d_gamma, [](const Exact& x) { return real(mpfr_gamma, x); }, 10, 0.1, 170},
    {"loggamma", s_machfunc_d_loggamma, [](const Exact& x) { return real(mpfr_lngamma, x); }, 5, 2.5, 1e6},
    {"sinc", s_machfunc_d_sinc, [](const Exact& x) { return sin(x) / x; }, 2, -30, 30},
    {"fibonacci", s_machfunc_d_fibonacci,
     [](const Exact& x) { return (power_of_phi(x) - fading(x)) / sqrt({5.0}); }, 1, 0, 1400},
    {"fibonacci near 0", s_machfunc_d_fibonacci,
     [](const Exact& x) { return (power_of_phi(x) - fading(x)) / sqrt({5.0}); }, 1, -1e-9, 1e-9},
    {"lucasl", s_machfunc_d_lucasl, [](const Exact& x) { return power_of_phi(x) + fading(x); }, 1, -0.4,
     1400},
    {"gudermannian", s_machfunc_d_gudermannian,
     [](const Exact& x) { return two() * of(mpc_atan, of(mpc_tanh, x / two())); }, 4, -9, 9},
    {"inversegudermannian", s_machfunc_d_inversegudermannian,
     [](const Exact& x) { return two() * of(mpc_atanh, of(mpc_tan, x / two())); }, 4, -1.57, 1.57},
    {"inversegudermannian near the end", s_machfunc_d_inversegudermannian,
     [](const Exact& x) { return two() * of(mpc_atanh, of(mpc_tan, x / two())); }, 2, 1.5707963,
     1.5707963267948966},
    {"haversine", s_machfunc_d_haversine, [](const Exact& x) { return sin(x / two()) * sin(x / two()); }, 3,
     -30, 30},
    {"inversehaversine", s_machfunc_d_inversehaversine,
     [](const Exact& x) { return two() * of(mpc_asin, sqrt(x)); }, 3, 0, 1},
    {"inversehaversine near 1", s_machfunc_d_inversehaversine,
     [](const Exact& x) { return two() * of(mpc_asin, sqrt(x)); }, 1, 1 - 1e-12, 1},
    {"logistic", s_machfunc_d_logistic, [](const Exact& x) { return one() / (one() + exp(Exact(0.0) - x)); },
     2, -700, 700},
};

TEST(Accuracy, RealFunctions) {
  constexpr int kPoints = 1000;
  for (const RealRow& row : kReal) {
    std::mt19937_64 random(21);
    mreal worst = 0, where = 0;
    for (int k = 0; k < kPoints; ++k) {
      const mreal x = k == 0 ? row.low : std::uniform_real_distribution<mreal>(row.low, row.high)(random);
      mreal got;
      ASSERT_EQ(row.function(&got, x, 0), 0);
      const mreal error = ulps(got, row.reference({x}).re());
      if (error > worst) worst = error, where = x;
    }
    RecordProperty(row.name, std::to_string(worst));
    EXPECT_LE(worst, row.bound) << row.name << " at " << where;
  }
}

// Powers, roots and remainders against MPC.
TEST(Accuracy, ComplexPowersRootsAndRemainders) {
  std::mt19937_64 random(22);
  std::uniform_real_distribution<mreal> part(-9, 9);
  mreal worst_power = 0, worst_root = 0, worst_log = 0, worst_atan2 = 0;
  for (int k = 0; k < 200; ++k) {
    const mcomplex z = {part(random), part(random)}, w = {part(random), part(random)};
    const Exact exact_z(z.re, z.im), exact_w(w.re, w.im);
    const auto error = [](mcomplex got, const Exact& want) {
      return std::max(ulps(got.re, want.re()), ulps(got.im, want.im()));
    };
    mcomplex got;
    ASSERT_EQ(s_machfunc_cc_pow(&got, z.re, z.im, w.re, w.im, 2), 0);
    // By the whole number: a part that is small beside the other takes its error from the angle.
    const Exact power = exp(exact_w * log(exact_z)), difference = (Exact(got.re, got.im) - power) / power;
    worst_power = std::max(
        worst_power,
        std::hypot(mpfr_get_d(difference.re(), MPFR_RNDN), mpfr_get_d(difference.im(), MPFR_RNDN)) / 0x1p-53);
    mint index = mint(random() % 41) - 20;
    index += index == 0;
    ASSERT_EQ(s_machfunc_ci_root(&got, z.re, z.im, index, 2), 0);
    worst_root = std::max(worst_root, error(got, exp(log(exact_z) / mreal(index))));
    ASSERT_EQ(s_machfunc_cc_log(&got, z.re, z.im, w.re, w.im, 2), 0);
    worst_log = std::max(worst_log, error(got, log(exact_w) / log(exact_z)));
    ASSERT_EQ(s_machfunc_cc_atan2(&got, z.re, z.im, w.re, w.im, 2), 0);
    const Exact i(0.0, 1.0), square = exact_z * exact_z + exact_w * exact_w;
    worst_atan2 =
        std::max(worst_atan2, error(got, Exact(0.0, -1.0) * log((exact_w + i * exact_z) / sqrt(square))));
    // The remainder differs from the dividend by a Gaussian multiple of the divisor, and its quotient lies in
    // the unit square.
    ASSERT_EQ(s_machfunc_cc_mod(&got, z.re, z.im, w.re, w.im, 2), 0);
    const Exact multiple = (exact_z - Exact(got.re, got.im)) / exact_w;
    const mreal n_re = mpfr_get_d(multiple.re(), MPFR_RNDN), n_im = mpfr_get_d(multiple.im(), MPFR_RNDN);
    EXPECT_NEAR(n_re, std::rint(n_re), 1e-14);
    EXPECT_NEAR(n_im, std::rint(n_im), 1e-14);
    const Exact rest = Exact(got.re, got.im) / exact_w;
    EXPECT_TRUE(mpfr_get_d(rest.re(), MPFR_RNDN) >= 0 && mpfr_get_d(rest.re(), MPFR_RNDN) <= 1);
    EXPECT_TRUE(mpfr_get_d(rest.im(), MPFR_RNDN) >= 0 && mpfr_get_d(rest.im(), MPFR_RNDN) <= 1);
  }
  RecordProperty("pow", std::to_string(worst_power));
  RecordProperty("root", std::to_string(worst_root));
  RecordProperty("log", std::to_string(worst_log));
  RecordProperty("atan2", std::to_string(worst_atan2));
  EXPECT_LE(worst_power, 1);
  EXPECT_LE(worst_root, 2);
  EXPECT_LE(worst_log, 1);
  EXPECT_LE(worst_atan2, 0.6);
}

}  // namespace
