// Scalar functions: values at the edges, and the two ways out of a failure.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <vector>

#include "zenthar/zenthar.h"

namespace {

constexpr mreal kInfinity = std::numeric_limits<mreal>::infinity();
constexpr mreal kNaN = std::numeric_limits<mreal>::quiet_NaN();
constexpr mreal kLargest = std::numeric_limits<mreal>::max();

class Scalar : public testing::Test {
 protected:
  void SetUp() override {
    setExceptionStyle(1);
    setExceptionActive(0);
  }
  void TearDown() override { setExceptionActive(0); }
};

TEST_F(Scalar, IntegersFailOrWrap) {
  struct Case {
    int32_t (*function)(mint*, mint, mint, uint32_t);
    mint a, b, wrapped;
  };
  constexpr Case kOverflows[] = {
      {s_machfunc_ii_plus, INT64_MAX, 1, INT64_MIN},
      {s_machfunc_ii_plus, INT64_MIN, -1, INT64_MAX},
      {s_machfunc_ii_subtract, INT64_MIN, 1, INT64_MAX},
      {s_machfunc_ii_subtract, 0, INT64_MIN, INT64_MIN},
      {s_machfunc_ii_times, INT64_MIN, -1, INT64_MIN},
      {s_machfunc_ii_times, mint(1) << 32, mint(1) << 31, INT64_MIN},
      {s_machfunc_ii_pow, 2, 63, INT64_MIN},
      {s_machfunc_ii_pow, 3, 40, -6289078614652622815},
      {s_machfunc_ii_pow, INT64_MIN, 2, 0},
  };
  for (const Case& c : kOverflows) {
    mint result = 77;
    EXPECT_EQ(c.function(&result, c.a, c.b, ZENTHAR_CHECK_OVERFLOW), 1) << c.a << " " << c.b;
    EXPECT_EQ(result, 77) << "nothing is written";
    EXPECT_EQ(c.function(&result, c.a, c.b, ZENTHAR_CHECK_REALS), 0);
    EXPECT_EQ(result, c.wrapped) << c.a << " " << c.b;
  }
  mint result = 77;
  EXPECT_EQ(s_machfunc_i_abs(&result, INT64_MIN, 4), 1);
  EXPECT_EQ(s_machfunc_i_minus(&result, INT64_MIN, 4), 1);
  EXPECT_EQ(result, 77);
  EXPECT_EQ(s_machfunc_i_abs(&result, INT64_MIN, 0), 0);
  EXPECT_EQ(result, INT64_MIN);
  EXPECT_EQ(s_machfunc_i_abs(&result, -5, 4), 0);
  EXPECT_EQ(result, 5);
  EXPECT_EQ(getExceptionActive(), 0) << "failures of arguments are not raised";
}

// Every base and exponent against 128-bit products.
TEST_F(Scalar, IntegerPowersOverflowExactlyWhenTheyDoNotFit) {
  for (mint base = -70; base <= 70; ++base)
    for (mint exponent = 0; exponent <= 70; ++exponent) {
      __extension__ __int128 power = 1;
      bool fits = true;
      for (mint k = 0; k < exponent && fits; ++k) {
        power *= base;
        fits = power >= INT64_MIN && power <= INT64_MAX;
      }
      mint result = 0;
      const int32_t status = s_machfunc_ii_pow(&result, base, exponent, 4);
      if (base == 0 && exponent == 0) {
        EXPECT_EQ(status, 1);
      } else if (fits) {
        EXPECT_EQ(status, 0) << base << "^" << exponent;
        EXPECT_EQ(result, mint(power)) << base << "^" << exponent;
      } else {
        EXPECT_EQ(status, 1) << base << "^" << exponent;
      }
    }
  mint result = 0;
  EXPECT_EQ(s_machfunc_ii_pow(&result, -1, -3, 4), 0);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(s_machfunc_ii_pow(&result, -1, INT64_MIN, 4), 0);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(s_machfunc_ii_pow(&result, 1, INT64_MIN, 4), 0);
  EXPECT_EQ(s_machfunc_ii_pow(&result, 2, -1, 0), 1);
  EXPECT_EQ(s_machfunc_ii_pow(&result, 0, -1, 0), 1);
  EXPECT_EQ(s_machfunc_ii_pow(&result, 2, INT64_MAX, 0), 0);
  EXPECT_EQ(result, 0);
}

TEST_F(Scalar, ComputedRealsAreRaised) {
  mreal result = 77;
  EXPECT_EQ(s_machfunc_dd_plus(&result, kLargest, kLargest, ZENTHAR_CHECK_REALS), 6);
  EXPECT_EQ(getExceptionActive(), 6);
  EXPECT_EQ(s_machfunc_dd_subtract(&result, kInfinity, kInfinity, ZENTHAR_CHECK_REALS), 9);
  EXPECT_EQ(getExceptionActive(), 9);
  EXPECT_EQ(s_machfunc_d_sqrt(&result, -1.0, ZENTHAR_CHECK_REALS), 9);
  EXPECT_EQ(s_machfunc_id_div(&result, 1, 0.0, ZENTHAR_CHECK_REALS), 6);
  EXPECT_EQ(result, 77);
  EXPECT_EQ(s_machfunc_dd_plus(&result, kLargest, kLargest, ZENTHAR_CHECK_OVERFLOW), 0);
  EXPECT_EQ(result, kInfinity);
  mcomplex z = {77, 78};
  EXPECT_EQ(s_machfunc_cc_plus(&z, kLargest, kNaN, kLargest, 0, 2), 6) << "the real part decides";
  EXPECT_EQ(s_machfunc_cc_plus(&z, 1, kInfinity, 1, 0, 2), 6);
  EXPECT_EQ(s_machfunc_cc_plus(&z, kNaN, kInfinity, 1, 0, 2), 9);
  EXPECT_EQ(z.re, 77);
  EXPECT_EQ(z.im, 78);
  setExceptionStyle(0);
  EXPECT_THROW(s_machfunc_d_log(&result, 0.0, 2), ZentharRuntimeException);
  setExceptionStyle(1);
  setExceptionActive(0);
  EXPECT_EQ(s_machfunc_dd_log(&result, -2.0, 3.0, 0), 1);
  EXPECT_EQ(s_machfunc_id_log(&result, 2, 0.0, 0), 1);
  EXPECT_EQ(getExceptionActive(), 0);
}

TEST_F(Scalar, ComplexQuotientsAndModuliNeedNoRoom) {
  const mreal scales[] = {1.0, 0x1p1020, 0x1p-1060, 0x1p500, 0x1p-500};
  for (mreal s : scales)
    for (mreal t : scales) {
      mcomplex z;
      ASSERT_EQ(s_machfunc_cc_div(&z, -5 * s, 10 * s, 3 * t, 4 * t, 0), 0);  // (1 + 2i) s/t
      EXPECT_EQ(z.re, 1.0 * s / t) << s << " " << t;
      EXPECT_EQ(z.im, 2.0 * s / t) << s << " " << t;
    }
  mreal r;
  EXPECT_EQ(s_machfunc_c_abs(&r, 3, -4, 2), 0);
  EXPECT_EQ(r, 5.0);
  EXPECT_EQ(s_machfunc_c_abs(&r, 3e307, 4e307, 2), 0);
  EXPECT_DOUBLE_EQ(r, 5e307);
  EXPECT_EQ(s_machfunc_c_abs(&r, 0, 0, 2), 0);
  EXPECT_EQ(r, 0.0);
  EXPECT_EQ(s_machfunc_c_abs(&r, kNaN, kInfinity, 2), 6);
}

TEST_F(Scalar, ComplexPowers) {
  const auto near = [](mcomplex got, std::complex<long double> want) {
    const auto error = std::abs(std::complex<long double>(got.re, got.im) - want);
    EXPECT_LE(error, 4 * 0x1p-52L * std::abs(want)) << got.re << " " << got.im;
  };
  mcomplex z;
  for (mint n : {0, 1, 2, 3, 7, 40, -1, -2, -5, -40}) {
    const std::complex<long double> base(1.25L, -0.75L);
    std::complex<long double> want = 1;
    for (mint k = 0; k < std::abs(n); ++k) want *= base;
    if (n < 0) want = 1.0L / want;
    ASSERT_EQ(s_machfunc_ci_pow(&z, 1.25, -0.75, n, 2), 0);
    near(z, want);
    ASSERT_EQ(s_machfunc_cd_pow(&z, 1.25, -0.75, mreal(n), 2), 0);
    near(z, want);
  }
  ASSERT_EQ(s_machfunc_cc_pow(&z, 2.5, 300.25, 100.5, -7.75, 2), 0);
  near(z, std::pow(std::complex<long double>(2.5L, 300.25L), std::complex<long double>(100.5L, -7.75L)));
  EXPECT_EQ(s_machfunc_ci_pow(&z, 3, 4, 2, 2), 0);
  EXPECT_EQ(z.re, -7);
  EXPECT_EQ(z.im, 24);
  EXPECT_EQ(s_machfunc_ci_pow(&z, 0, 0, -2, 2), 6);
  EXPECT_EQ(s_machfunc_ci_pow(&z, 1e200, 1e200, 2, 2), 6) << "an infinity, not a NaN, on overflow";
}

TEST_F(Scalar, RealToIntegerPowersKeepTheParityOfLongExponents) {
  mreal r;
  EXPECT_EQ(s_machfunc_di_pow(&r, -1.0, INT64_MAX, 2), 0);
  EXPECT_EQ(r, -1.0);
  EXPECT_EQ(s_machfunc_di_pow(&r, -1.0, INT64_MAX - 1, 2), 0);
  EXPECT_EQ(r, 1.0);
  EXPECT_EQ(s_machfunc_di_pow(&r, 2.0, -3, 2), 0);
  EXPECT_EQ(r, 0.125);
}

__extension__ typedef __int128 Wide;

// A binary integer operation told in 128 bits: whether the arguments are in its domain, and the exact result.
struct IntegerModel {
  const char* name;
  int32_t (*function)(mint*, mint, mint, uint32_t);
  bool (*in_domain)(Wide a, Wide b);
  Wide (*exact)(Wide a, Wide b);
  bool checked;  // by flag 4; what is not checked always fits
};

bool always(Wide, Wide) { return true; }
bool by_nonzero(Wide, Wide b) { return b != 0; }
Wide size(Wide a) { return a < 0 ? -a : a; }
Wide floored(Wide a, Wide b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }
Wide common(Wide a, Wide b) { return b == 0 ? size(a) : common(b, a % b); }
Wide power_of_two(Wide n) { return Wide(1) << n; }

const IntegerModel kIntegerModels[] = {
    {"plus", s_machfunc_ii_plus, always, [](Wide a, Wide b) { return a + b; }, true},
    {"subtract", s_machfunc_ii_subtract, always, [](Wide a, Wide b) { return a - b; }, true},
    {"times", s_machfunc_ii_times, always, [](Wide a, Wide b) { return a * b; }, true},
    {"abserr", s_machfunc_ii_abserr, always, [](Wide a, Wide b) { return size(a - b); }, true},
    {"maxabs", s_machfunc_ii_maxabs, always, [](Wide a, Wide b) { return std::max(size(a), size(b)); }, true},
    {"mod", s_machfunc_ii_mod, by_nonzero, [](Wide a, Wide b) { return a - b * floored(a, b); }, false},
    {"quotient", s_machfunc_ii_quotient,
     [](Wide a, Wide b) { return b != 0 && !(a == INT64_MIN && b == -1); }, floored, false},
    {"gcd", s_machfunc_ii_gcd, always, common, true},
    {"bitand", s_machfunc_ii_bitand, always, [](Wide a, Wide b) { return a & b; }, false},
    {"bitor", s_machfunc_ii_bitor, always, [](Wide a, Wide b) { return a | b; }, false},
    {"bitxor", s_machfunc_ii_bitxor, always, [](Wide a, Wide b) { return a ^ b; }, false},
    {"unitize", s_machfunc_ii_unitize, [](Wide, Wide b) { return b > 0; },
     [](Wide a, Wide b) { return Wide(size(a) >= b); }, false},
    {"bitshiftright by up to 63",
     [](mint* r, mint a, mint b, uint32_t f) { return s_machfunc_ii_bitshiftright(r, a, b & 63, f); }, always,
     [](Wide a, Wide b) { return (a < 0 ? -1 : 1) * (size(a) / power_of_two(b & 63)); }, false},
    {"intexp", s_machfunc_ii_intexp, [](Wide a, Wide b) { return b >= 2 && a != 0; },
     [](Wide a, Wide b) {
       Wide count = 0;
       for (; a % b == 0; a /= b) ++count;
       return count;
     },
     false},
    {"intlen", s_machfunc_ii_intlen, [](Wide, Wide b) { return b >= 2; },
     [](Wide a, Wide b) {
       Wide count = 0;
       for (; a != 0; a /= b) ++count;
       return count;
     },
     false},
};

std::vector<mint> boundary_integers() {
  std::vector<mint> values = {0,  1,  -1, 2,  -2,  3,   -3,         5,          7,         -7,
                              10, 63, 64, 65, 100, -64, 1000000007, 3037000499, 3037000500};
  for (int k : {8, 31, 32, 33, 61, 62})
    for (mint d = -1; d <= 1; ++d) {
      values.push_back((mint(1) << k) + d);
      values.push_back(-(mint(1) << k) + d);
    }
  for (mint d = 0; d < 3; ++d) {
    values.push_back(INT64_MAX - d);
    values.push_back(INT64_MIN + d);
  }
  std::mt19937_64 random(40);
  for (int k = 0; k < 60; ++k) values.push_back(mint(random()) >> (random() % 63));
  return values;
}

TEST_F(Scalar, IntegersAgreeWith128Bits) {
  const std::vector<mint> values = boundary_integers();
  for (const IntegerModel& model : kIntegerModels)
    for (mint a : values)
      for (mint b : values)
        for (uint32_t flags : {0u, 2u, 4u}) {
          mint result = 77;
          const int32_t status = model.function(&result, a, b, flags);
          const bool defined = model.in_domain(a, b);
          const Wide exact = defined ? model.exact(a, b) : 0;
          const bool fits = exact >= INT64_MIN && exact <= INT64_MAX;
          ASSERT_TRUE(fits || model.checked) << model.name;
          const bool succeeds = defined && (fits || flags != 4);
          ASSERT_EQ(status, succeeds ? 0 : 1) << model.name << " " << a << " " << b << " flags " << flags;
          ASSERT_EQ(result, succeeds ? mint(uint64_t(exact)) : 77) << model.name << " " << a << " " << b;
        }
  EXPECT_EQ(getExceptionActive(), 0);
}

TEST_F(Scalar, LeastCommonMultiplesAndFusedForms) {
  const std::vector<mint> values = boundary_integers();
  for (mint a : values)
    for (mint b : values) {
      // Products of magnitudes up to 2^126 fit 128 bits.
      const Wide multiple = a == 0 || b == 0 ? 0 : size(a) / common(a, b) * size(b);
      mint result = 77;
      EXPECT_EQ(s_machfunc_ii_lcm(&result, a, b, 4), multiple <= INT64_MAX ? 0 : 1) << a << " " << b;
      if (multiple <= INT64_MAX) {
        EXPECT_EQ(result, mint(multiple));
      }
      EXPECT_EQ(s_machfunc_ii_lcm(&result, a, b, 0), 0);
      EXPECT_EQ(result, mint(uint64_t(multiple)));
      for (mint c : {mint(0), mint(1), mint(-1), INT64_MAX, INT64_MIN}) {
        const Wide product = Wide(a) * b;
        const auto fits = [&](Wide exact) {
          return product >= INT64_MIN && product <= INT64_MAX && exact >= INT64_MIN && exact <= INT64_MAX;
        };
        struct {
          int32_t (*function)(mint*, mint, mint, mint, uint32_t);
          Wide exact;
        } const forms[] = {{s_machfunc_iii_axpy, product + c},
                           {s_machfunc_iii_axmy, product - c},
                           {s_machfunc_iii_ymax, c - product}};
        for (const auto& form : forms) {
          ASSERT_EQ(form.function(&result, a, b, c, 4), fits(form.exact) ? 0 : 1)
              << a << " " << b << " " << c;
          ASSERT_EQ(form.function(&result, a, b, c, 0), 0);
          ASSERT_EQ(result, mint(uint64_t(form.exact)));
        }
      }
    }
}

TEST_F(Scalar, LeftShiftsOfIntegers) {
  for (mint a : boundary_integers())
    for (mint count : {mint(0), mint(1), mint(5), mint(31), mint(62), mint(63), mint(64), mint(65),
                       mint(1000), INT64_MAX}) {
      mint result = 77;
      const bool fits =
          a == 0 || (count < 64 && size(a) <= (Wide(INT64_MAX) + (a < 0)) / power_of_two(count));
      EXPECT_EQ(s_machfunc_ii_bitshiftleft(&result, a, count, 4), fits ? 0 : 1) << a << " " << count;
      EXPECT_EQ(result, !fits ? 77 : a == 0 ? 0 : mint(Wide(a) * power_of_two(count))) << a << " " << count;
      EXPECT_EQ(s_machfunc_ii_bitshiftright(&result, a, -count, 4), fits ? 0 : 1);
      EXPECT_EQ(s_machfunc_ii_bitshiftleft(&result, a, count, 0), 0);
      EXPECT_EQ(result, mint(uint64_t(a) << (count % 64)));
      EXPECT_EQ(s_machfunc_ii_bitshiftleft(&result, a, -count, 4), 0);
      EXPECT_EQ(result, count > 63 ? 0 : mint((a < 0 ? -1 : 1) * (size(a) / power_of_two(count))));
    }
  mint result = 77;
  EXPECT_EQ(s_machfunc_ii_bitshiftleft(&result, -5, INT64_MIN, 4), 0);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(s_machfunc_ii_bitshiftright(&result, -5, INT64_MIN, 4), 1);
  EXPECT_EQ(s_machfunc_ii_bitshiftright(&result, -5, INT64_MIN, 0), 0);
  EXPECT_EQ(result, -5) << "2^63 modulo 64 is 0";
}

TEST_F(Scalar, ExactLogarithmsAndSequences) {
  mint result = 0;
  mint ten = 1;
  for (mint k = 0; k <= 18; ++k, ten = k <= 18 ? ten * 10 : ten) {
    EXPECT_EQ(s_machfunc_i_log10(&result, ten, 0), 0);
    EXPECT_EQ(result, k);
    EXPECT_EQ(s_machfunc_i_log10(&result, ten + 1, 0), 3);
  }
  for (mint k = 0; k <= 62; ++k) {
    EXPECT_EQ(s_machfunc_i_log2(&result, mint(1) << k, 0), 0);
    EXPECT_EQ(result, k);
    if (k > 1) {
      EXPECT_EQ(s_machfunc_i_log2(&result, (mint(1) << k) - 1, 0), 3);
    }
  }
  EXPECT_EQ(s_machfunc_i_log10(&result, INT64_MAX, 0), 3);
  EXPECT_EQ(s_machfunc_i_log10(&result, -10, 0), 1);
  for (mint n = -90; n <= 90; ++n) {  // the recurrences, across 0
    mint f[3], l[3];
    for (mint k = 0; k < 3; ++k) {
      ASSERT_EQ(s_machfunc_i_fibonacci(&f[k], n + k, 0), 0);
      if (n + 2 <= 90) {
        ASSERT_EQ(s_machfunc_i_lucasl(&l[k], n + k, 0), 0);
      }
    }
    EXPECT_EQ(f[0] + f[1], f[2]) << n;
    if (n + 2 <= 90) {
      EXPECT_EQ(l[0] + l[1], l[2]) << n;
    }
  }
  EXPECT_EQ(s_machfunc_i_fibonacci(&result, -92, 0), 0);
  EXPECT_EQ(result, -fibonacci_table[92]);
  EXPECT_EQ(uint64_t(fibonacci_table[93]), 12200160415121876738u);
  EXPECT_EQ(uint64_t(lucasl_table[91]), 10420180999117162549u);
  EXPECT_EQ(s_machfunc_i_gamma(&result, 21, 0), 0);
  EXPECT_EQ(result, 2432902008176640000);
  EXPECT_EQ(s_machfunc_i_gamma(&result, 0, 0), 1);
  EXPECT_EQ(gcd_mint(INT64_MIN, 6), 2);
  EXPECT_EQ(gcd_mint(INT64_MIN, 0), INT64_MIN);
  for (mint x : boundary_integers()) {
    EXPECT_EQ(s_machfunc_i_bitlength(&result, x, 4), 0);
    const mint bits = x < 0 ? ~x : x;
    EXPECT_TRUE(result == 0 ? bits == 0 : bits >> (result - 1) == 1) << x;
  }
}

// Special values of functions of reals; a NaN stands for any.
TEST_F(Scalar, SpecialRealValues) {
  struct ToInteger {
    int32_t (*function)(mint*, mreal, uint32_t);
    mreal x;
    uint32_t flags;
    int32_t status;
    mint want;
  };
  constexpr mreal kBelowTop = 9223372036854774784.0;
  const ToInteger integers[] = {
      {s_machfunc_d_round, 2.5, 4, 0, 2},
      {s_machfunc_d_round, 3.5, 4, 0, 4},
      {s_machfunc_d_round, -2.5, 4, 0, -2},
      {s_machfunc_d_floor, -0.5, 4, 0, -1},
      {s_machfunc_d_ceiling, -0.5, 4, 0, 0},
      {s_machfunc_d_intpart, -1.9, 4, 0, -1},
      {s_machfunc_d_round, kBelowTop, 4, 0, mint(kBelowTop)},
      {s_machfunc_d_floor, -0x1p63, 4, 0, INT64_MIN},
      {s_machfunc_d_floor, 0x1p63, 4, 1, 0},
      {s_machfunc_d_ceiling, -0x1.0000000000001p63, 4, 1, 0},
      {s_machfunc_d_round, kNaN, 4, 1, 0},
      {s_machfunc_d_round, kNaN, 2, 0, INT64_MIN},
      {s_machfunc_d_intpart, 1e300, 0, 0, INT64_MIN},
      {s_machfunc_d_sign, kNaN, 6, 0, 1},
      {s_machfunc_d_sign, -0.0, 6, 0, 0},
      {s_machfunc_d_sign, -5e-324, 6, 0, -1},
      {s_machfunc_d_unitize, kNaN, 6, 0, 1},
      {s_machfunc_d_unitize, -0.0, 6, 0, 0},
      {s_machfunc_d_nneg, kNaN, 6, 0, 0},
      {s_machfunc_d_npos, -0.0, 6, 0, 1},
  };
  for (const auto& c : integers) {
    mint result = 77;
    EXPECT_EQ(c.function(&result, c.x, c.flags), c.status) << c.x;
    EXPECT_EQ(result, c.status ? 77 : c.want) << c.x;
  }
  struct ToReal {
    int32_t (*function)(mreal*, mreal, mreal, uint32_t);
    mreal a, b, want;
  };
  const ToReal reals[] = {
      {s_machfunc_dd_mod, -1e-20, 1.0, 0.0},
      {s_machfunc_dd_mod, 1e-20, -1.0, 0.0},
      {s_machfunc_dd_mod, -7, 3, 2},
      {s_machfunc_dd_mod, 7, -3, -2},
      {s_machfunc_dd_mod, 5.5, kInfinity, 5.5},
      {s_machfunc_dd_mod, kInfinity, 2, kNaN},
      {s_machfunc_dd_maxabs, kNaN, -3, 3},
      {s_machfunc_dd_maxabs, -3, kNaN, 3},
      {s_machfunc_dd_relerr, 1, 0.0, kInfinity},
      {s_machfunc_dd_relerr, 0.0, 0.0, kNaN},
      {s_machfunc_dd_chop, -1e-3, 1e-2, 0.0},
      {s_machfunc_dd_chop, 1e-2, 1e-2, 1e-2},
      {s_machfunc_dd_chop, kNaN, 1, kNaN},
      {s_machfunc_dd_log, 2, 8, 3},
      {s_machfunc_dd_atan2, 0.0, -1.0, M_PI},
      {s_machfunc_dd_atan2, -0.0, -1.0, -M_PI},
  };
  for (const auto& c : reals) {
    mreal result = 77;
    EXPECT_EQ(c.function(&result, c.a, c.b, 0), 0);
    EXPECT_TRUE(std::isnan(c.want) ? std::isnan(result) : result == c.want)
        << c.a << " " << c.b << ": " << result;
  }
  struct Unary {
    int32_t (*function)(mreal*, mreal, uint32_t);
    mreal x, want;
  };
  const Unary unary[] = {
      {s_machfunc_d_mod1, -1e-20, 0.0},
      {s_machfunc_d_mod1, -0.25, 0.75},
      {s_machfunc_d_mod1, -3, 0.0},
      {s_machfunc_d_fracpart, -2.5, -0.5},
      {s_machfunc_d_sinc, 0.0, 1.0},
      {s_machfunc_d_ramp, kNaN, 0.0},
      {s_machfunc_d_logistic, -800, 0.0},
      {s_machfunc_d_logistic, 800, 1.0},
      {s_machfunc_d_fracpart, kInfinity, 0.0},
      {s_machfunc_d_fibonacci, 92, 7540113804746346429.0},
      {s_machfunc_d_fibonacci, -8, -21},
      {s_machfunc_d_lucasl, -3, -4},
      {s_machfunc_d_fibonacci, 0.0, 0.0},
      {s_machfunc_d_acoth, 1.0, kInfinity},
      {s_machfunc_d_asec, 0.5, kNaN},
      {s_machfunc_d_inversegudermannian, 2.0, kNaN},
  };
  for (const auto& c : unary) {
    mreal result = 77;
    EXPECT_EQ(c.function(&result, c.x, 0), 0);
    EXPECT_TRUE(std::isnan(c.want) ? std::isnan(result) : result == c.want) << c.x << ": " << result;
  }
}

TEST_F(Scalar, QuotientsAndShiftsOfReals) {
  mint n = 77;
  EXPECT_EQ(s_machfunc_dd_quotient(&n, -7.0, 2.0, 4), 0);
  EXPECT_EQ(n, -4);
  EXPECT_EQ(s_machfunc_di_quotient(&n, 1e300, 1, 4), 1);
  EXPECT_EQ(s_machfunc_id_quotient(&n, 1, -0.0, 0), 1);
  EXPECT_EQ(n, -4);
  EXPECT_EQ(s_machfunc_dd_quotient(&n, 1e300, 1, 0), 0);
  EXPECT_EQ(n, INT64_MIN);
  mreal x = 77;
  EXPECT_EQ(s_machfunc_di_bitshiftleft(&x, 5e-324, 2097, 2), 0);
  EXPECT_EQ(x, 0x1p1023);
  EXPECT_EQ(s_machfunc_di_bitshiftleft(&x, 1.0, 1024, 2), 6);
  EXPECT_EQ(s_machfunc_di_bitshiftleft(&x, 1.0, INT64_MAX, 2), 1);
  EXPECT_EQ(s_machfunc_di_bitshiftright(&x, 1.0, INT64_MIN, 2), 1);
  EXPECT_EQ(x, 0x1p1023);
  EXPECT_EQ(s_machfunc_di_bitshiftright(&x, 1.0, INT64_MIN, 0), 0);
  EXPECT_EQ(x, kInfinity);
  EXPECT_EQ(s_machfunc_di_bitshiftleft(&x, 0.0, INT64_MAX, 2), 0);
  EXPECT_EQ(x, 0.0);
  EXPECT_EQ(s_machfunc_di_bitshiftleft(&x, -1.5, -2099, 2), 0);
  EXPECT_TRUE(x == 0.0 && std::signbit(x));
  EXPECT_EQ(s_machfunc_di_bitshiftright(&x, 0x1.8p-1000, 74, 2), 0);
  EXPECT_EQ(x, 0x2p-1074) << "rounded once, to even";
  mcomplex z;
  EXPECT_EQ(s_machfunc_ci_bitshiftright(&z, 3, -5, 1, 2), 0);
  EXPECT_TRUE(z.re == 1.5 && z.im == -2.5);
}

// Signs, quotients and branches of complexes, signed zeros included.
TEST_F(Scalar, ComplexBranchesAndSigns) {
  struct Case {
    const char* name;
    int32_t (*function)(mcomplex*, mreal, mreal, uint32_t);
    mcomplex z, want;
  };
  const mreal half_pi = M_PI / 2, log2 = std::log(2 + std::sqrt(3.0));  // acosh(2)
  const Case cases[] = {
      {"sqrt", s_machfunc_c_sqrt, {-4, 0.0}, {0.0, 2}},
      {"sqrt", s_machfunc_c_sqrt, {-4, -0.0}, {0.0, -2}},
      {"sqrt", s_machfunc_c_sqrt, {0.0, -0.0}, {0.0, -0.0}},
      {"log", s_machfunc_c_log, {-1, 0.0}, {0.0, M_PI}},
      {"log", s_machfunc_c_log, {-1, -0.0}, {0.0, -M_PI}},
      {"asin", s_machfunc_c_asin, {2, 0.0}, {half_pi, log2}},
      {"asin", s_machfunc_c_asin, {2, -0.0}, {half_pi, -log2}},
      {"asin", s_machfunc_c_asin, {-0.0, 0.0}, {-0.0, 0.0}},
      {"acos", s_machfunc_c_acos, {2, 0.0}, {0.0, -log2}},
      {"acos", s_machfunc_c_acos, {-2, -0.0}, {M_PI, log2}},
      {"atan", s_machfunc_c_atan, {0.0, 2}, {half_pi, std::log(3.0) / 2}},
      {"atan", s_machfunc_c_atan, {-0.0, 2}, {-half_pi, std::log(3.0) / 2}},
      {"asinh", s_machfunc_c_asinh, {0.0, 2}, {log2, half_pi}},
      {"asinh", s_machfunc_c_asinh, {-0.0, 2}, {-log2, half_pi}},
      {"acosh", s_machfunc_c_acosh, {-2, 0.0}, {log2, M_PI}},
      {"acosh", s_machfunc_c_acosh, {0.5, -0.0}, {0.0, -std::acos(0.5)}},
      {"atanh", s_machfunc_c_atanh, {2, 0.0}, {std::log(3.0) / 2, half_pi}},
      {"atanh", s_machfunc_c_atanh, {2, -0.0}, {std::log(3.0) / 2, -half_pi}},
      {"acsc", s_machfunc_c_acsc, {0.5, 0.0}, {half_pi, -log2}},
      {"asec", s_machfunc_c_asec, {0.5, 0.0}, {0.0, log2}},
      {"acot", s_machfunc_c_acot, {0.0, 0.5}, {half_pi, -std::log(3.0) / 2}},
      {"acoth", s_machfunc_c_acoth, {0.5, 0.0}, {std::log(3.0) / 2, -half_pi}},
      {"sign", s_machfunc_c_sign, {3, 4}, {0.6, 0.8}},
      {"sign", s_machfunc_c_sign, {-2, 0.0}, {-1, 0.0}},
      {"sign", s_machfunc_c_sign, {0.0, -5e-324}, {0.0, -1}},
      {"sign", s_machfunc_c_sign, {3e307, -4e307}, {0.6, -0.8}},
      {"sign", s_machfunc_c_sign, {3e-320, 4e-320}, {3e-320 / 5e-320, 4e-320 / 5e-320}},
      {"recip", s_machfunc_c_recip, {0.0, 0x1p1000}, {0.0, -0x1p-1000}},
      {"rsqrt", s_machfunc_c_rsqrt, {0.0, 0x1p1001}, {0x1p-501, -0x1p-501}},
      {"csc", s_machfunc_c_csc, {0.0, 720}, {0.0, -2 * std::exp(-360.0) * std::exp(-360.0)}},
      {"mod1", s_machfunc_c_mod1, {-0.25, 1.5}, {0.75, 0.5}},
  };
  for (const Case& c : cases) {
    mcomplex got = {77, 77};
    EXPECT_EQ(c.function(&got, c.z.re, c.z.im, 2), 0) << c.name;
    const auto near = [](mreal x, mreal y) {
      return std::fabs(x - y) <= 4e-16 * std::fabs(y) + (y == 0 ? 0 : 1e-323) &&
             (y != 0 || std::signbit(x) == std::signbit(y));
    };
    EXPECT_TRUE(near(got.re, c.want.re) && near(got.im, c.want.im))
        << c.name << "(" << c.z.re << ", " << c.z.im << "): " << got.re << " " << got.im;
  }
  mcomplex z;
  EXPECT_EQ(s_machfunc_cc_mod(&z, 5.5, -3.25, 1, 0.0, 2), 0);
  EXPECT_TRUE(z.re == 0.5 && z.im == 0.75);
  EXPECT_EQ(s_machfunc_cc_mod(&z, 10, 5, 1, 2, 2), 0);  // (4 - 3i)(1 + 2i) exactly
  EXPECT_TRUE(z.re == 0 && z.im == 0);
  EXPECT_EQ(s_machfunc_ci_root(&z, -8, 0.0, 3, 2), 0);
  EXPECT_NEAR(z.re, 1, 1e-15);
  EXPECT_NEAR(z.im, std::sqrt(3.0), 1e-15);
  EXPECT_EQ(s_machfunc_ci_root(&z, 3, 4, -2, 2), 0);
  EXPECT_TRUE(z.re == 0.4 && z.im == -0.2);
}

TEST_F(Scalar, FusedFormsRoundEachStep) {
  mreal r;
  const mreal a = 1 + 0x1p-30, x = 1 - 0x1p-30;  // their product rounds to 1
  EXPECT_EQ(s_machfunc_ddd_axmy(&r, a, x, 1.0, 2), 0);
  EXPECT_EQ(r, 0.0);
  EXPECT_EQ(s_machfunc_ddd_adxmy(&r, 1, kInfinity, 0, 0), 0);
  EXPECT_EQ(r, 0.0);
  EXPECT_EQ(s_machfunc_ddd_adxmy(&r, 1, kInfinity, 0, 2), 6) << "the difference is checked";
  mreal sum = 77, c = 0;
  EXPECT_EQ(s_machfunc_ddd_compplus(&sum, 1.0, 0x1p-60, &c, 2), 0);
  EXPECT_TRUE(sum == 1.0 && c == 0x1p-60);
  c = 5;
  EXPECT_EQ(s_machfunc_ddd_compplus(&sum, kLargest, kLargest, &c, 2), 6);
  EXPECT_TRUE(sum == 1.0 && c == 5) << "nothing is written";
}

}  // namespace
