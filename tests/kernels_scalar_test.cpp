// Scalar functions: values at the edges, and the two ways out of a failure.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>

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

}  // namespace
