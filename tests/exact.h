// Complex numbers of MPC, to compare results with, and the distance between the two.
#ifndef ZENTHAR_TESTS_EXACT_H
#define ZENTHAR_TESTS_EXACT_H

#include <mpc.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "zenthar/types.h"

namespace exact {

inline constexpr mpfr_prec_t kPrecision = 320;

// A complex number of MPC with the operations that the references are written in.
class Exact {
 public:
  Exact(mreal re, mreal im = 0.0) : Exact() { mpc_set_d_d(z_, re, im, MPC_RNDNN); }
  Exact(const Exact& other) : Exact() { mpc_set(z_, other.z_, MPC_RNDNN); }
  Exact& operator=(const Exact& other) {
    mpc_set(z_, other.z_, MPC_RNDNN);
    return *this;
  }
  ~Exact() { mpc_clear(z_); }

  mpfr_srcptr re() const { return mpc_realref(z_); }
  mpfr_srcptr im() const { return mpc_imagref(z_); }

  using Unary = int (*)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
  using Binary = int (*)(mpc_ptr, mpc_srcptr, mpc_srcptr, mpc_rnd_t);
  using Real = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
  static Exact apply(Unary f, const Exact& a) {
    Exact result;
    f(result.z_, a.z_, MPC_RNDNN);
    return result;
  }
  static Exact apply(Binary f, const Exact& a, const Exact& b) {
    Exact result;
    f(result.z_, a.z_, b.z_, MPC_RNDNN);
    return result;
  }
  static Exact apply(Real f, const Exact& a) {
    Exact result(0.0);
    f(mpc_realref(result.z_), a.re(), MPFR_RNDN);
    return result;
  }
  using BinaryReal = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);
  static Exact apply(BinaryReal f, const Exact& a, const Exact& b) {
    Exact result(0.0);
    f(mpc_realref(result.z_), a.re(), b.re(), MPFR_RNDN);
    return result;
  }
  friend Exact operator+(const Exact& a, const Exact& b) { return apply(mpc_add, a, b); }
  friend Exact operator-(const Exact& a, const Exact& b) { return apply(mpc_sub, a, b); }
  friend Exact operator*(const Exact& a, const Exact& b) { return apply(mpc_mul, a, b); }
  friend Exact operator/(const Exact& a, const Exact& b) { return apply(mpc_div, a, b); }

  Exact imaginary() const {
    Exact result(0.0);
    mpfr_set(mpc_realref(result.z_), im(), MPFR_RNDN);
    return result;
  }
  static Exact pi() {
    Exact result(0.0);
    mpfr_const_pi(mpc_realref(result.z_), MPFR_RNDN);
    return result;
  }

 private:
  Exact() { mpc_init2(z_, kPrecision); }
  mpc_t z_;
};

inline Exact sqrt(const Exact& z) { return Exact::apply(mpc_sqrt, z); }
inline Exact exp(const Exact& z) { return Exact::apply(mpc_exp, z); }
inline Exact log(const Exact& z) { return Exact::apply(mpc_log, z); }
inline Exact cos(const Exact& z) { return Exact::apply(mpc_cos, z); }
inline Exact sin(const Exact& z) { return Exact::apply(mpc_sin, z); }

// The distance from the exact value in units in the last place of that, or of `least` where it is smaller.
inline mreal ulps(mreal got, mpfr_srcptr want, mreal least = 0) {
  const mreal nearest = mpfr_get_d(want, MPFR_RNDN);
  if (std::isnan(got) || std::isnan(nearest))
    return std::isnan(got) == std::isnan(nearest) ? 0.0 : std::numeric_limits<mreal>::infinity();
  if (std::isinf(got) || std::isinf(nearest))
    return got == nearest ? 0.0 : std::numeric_limits<mreal>::infinity();
  const mreal size = std::max({std::fabs(nearest), least, std::numeric_limits<mreal>::min()});
  const int exponent = std::ilogb(size) - 52;
  mpfr_t error;
  mpfr_init2(error, kPrecision);
  mpfr_d_sub(error, got, want, MPFR_RNDN);
  mpfr_mul_2si(error, error, -exponent, MPFR_RNDN);
  const mreal distance = std::fabs(mpfr_get_d(error, MPFR_RNDN));
  mpfr_clear(error);
  return distance;
}

// The same in units in the last place of a Real32.
inline mreal ulps(float got, mpfr_srcptr want) {
  const float nearest = mpfr_get_flt(want, MPFR_RNDN);
  if (!std::isfinite(got) || !std::isfinite(nearest)) {
    const bool same = got == nearest || (std::isnan(got) && std::isnan(nearest));
    return same ? 0.0 : std::numeric_limits<mreal>::infinity();
  }
  const float size = std::max(std::fabs(nearest), std::numeric_limits<float>::min());
  mpfr_t error;
  mpfr_init2(error, kPrecision);
  mpfr_d_sub(error, mreal(got), want, MPFR_RNDN);
  mpfr_mul_2si(error, error, 23 - std::ilogb(size), MPFR_RNDN);
  const mreal distance = std::fabs(mpfr_get_d(error, MPFR_RNDN));
  mpfr_clear(error);
  return distance;
}

}  // namespace exact

#endif
