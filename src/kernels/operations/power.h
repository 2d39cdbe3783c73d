// Pow.
#ifndef ZENTHAR_KERNELS_OPERATIONS_POWER_H
#define ZENTHAR_KERNELS_OPERATIONS_POWER_H

#include "kernels/operations/functions.h"
#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

// base^exponent for |base| >= 2 and exponent >= 0, by squaring from the lowest bit. The square is formed only
// while a higher bit needs it, so the result overflows exactly when some factor does.
template <class C>
inline Outcome<mint> power_by_squaring(mint base, mint exponent, C checks) {
  mint power = 1;
  bool overflow = false;
  for (auto bits = uint64_t(exponent);;) {
    if (bits & 1) {
      const bool lost = __builtin_mul_overflow(power, base, &power);
      overflow |= lost;
    }
    bits >>= 1;
    if (bits == 0) break;
    const bool lost = __builtin_mul_overflow(base, base, &base);
    overflow |= lost;
  }
  return {power, fail_if(overflow && checks.overflow(), Failure::kOverflow)};
}

template <class C>
ZENTHAR_KERNEL Outcome<mint> integer_power(mint base, mint exponent, C checks) {
  if (base == 1) return {1, Failure::kNone};
  if (base == -1) return {exponent & 1 ? -1 : 1, Failure::kNone};
  if (base == 0) return {0, fail_if(exponent <= 0, Failure::kDomain)};
  if (exponent < 0) return {0, Failure::kDomain};
  return power_by_squaring(base, exponent, checks);
}

// x^n; pow itself rounds an exponent beyond 2^53, where the rest and the parity still count.
ZENTHAR_KERNEL mreal real_to_integer_power(mreal x, mint n) {
  const auto exponent = mreal(n);
  if (__builtin_expect(n <= (mint(1) << 53) && n >= -(mint(1) << 53), 1)) return __builtin_pow(x, exponent);
  const bool top = exponent >= 9223372036854775808.0;
  const mint rest = top ? n - 9223372036854775807 - 1 : n - mint(exponent);
  const mreal magnitude = __builtin_fabs(x);
  const mreal power = __builtin_pow(magnitude, exponent) * __builtin_pow(magnitude, mreal(rest));
  return __builtin_signbit(x) && (n & 1) ? -power : power;
}

ZENTHAR_KERNEL mcomplex rounded(long double re, long double im) { return {mreal(re), mreal(im)}; }

inline mcomplex power_of_zero(mcomplex w) {
  const mreal infinity = __builtin_inf();
  if (w.re == 0.0 && w.im == 0.0) return {1.0, 0.0};
  if (w.re > 0.0) return {0.0, 0.0};
  if (w.re < 0.0) return {infinity, w.im == 0.0 ? 0.0 : __builtin_nan("")};
  return {__builtin_nan(""), __builtin_nan("")};
}

// z^n and z^-n by squaring in extended precision: exact for small Gaussian integers. Where the extended range
// does not hold the steps, the logarithm's does.
inline mcomplex power_by_squaring(mcomplex z, uint64_t n, bool inverse) {
  long double re = 1.0L, im = 0.0L;
  long double base_re = z.re, base_im = z.im;
  for (uint64_t bits = n;;) {
    if (bits & 1) {
      const long double next = re * base_re - im * base_im;
      im = re * base_im + im * base_re;
      re = next;
    }
    bits >>= 1;
    if (bits == 0) break;
    const long double next = (base_re - base_im) * (base_re + base_im);
    base_im = 2.0L * base_re * base_im;
    base_re = next;
  }
  constexpr long double kSafe = 0x1p8000L;
  const long double norm = re * re + im * im;
  if (!(norm < kSafe && norm > 1.0L / kSafe))
    return complex_power_by_logarithm(z, {inverse ? -mreal(n) : mreal(n), 0.0});
  return inverse ? rounded(re / norm, -im / norm) : rounded(re, im);
}

inline mcomplex complex_to_integer_power(mcomplex z, mint n) {
  constexpr mint kLongestBySquaring = 1024;
  if (z.re == 0.0 && z.im == 0.0) return power_of_zero({mreal(n), 0.0});
  if (n > kLongestBySquaring || n < -kLongestBySquaring)
    return complex_power_by_logarithm(z, {mreal(n), 0.0});
  return power_by_squaring(z, uint64_t(n < 0 ? -n : n), n < 0);
}

inline mcomplex complex_power(mcomplex z, mcomplex w) {
  constexpr mreal kLargestInteger = 1024.0;
  if (z.re == 0.0 && z.im == 0.0) return power_of_zero(w);
  if (w.im == 0.0) {
    if (z.im == 0.0 && z.re > 0.0) return {__builtin_pow(z.re, w.re), 0.0};
    if (__builtin_fabs(w.re) <= kLargestInteger && w.re == mreal(mint(w.re)))
      return complex_to_integer_power(z, mint(w.re));
  }
  return complex_power_by_logarithm(z, w);
}

struct Pow {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint base, mint exponent, C checks) {
    return integer_power(base, exponent, checks);
  }
  ZENTHAR_KERNEL static mreal value(mreal x, mreal y) { return __builtin_pow(x, y); }
  ZENTHAR_KERNEL static mreal value(mreal x, mint n) { return real_to_integer_power(x, n); }
  static mcomplex value(mcomplex z, mint n) { return complex_to_integer_power(z, n); }
  static mcomplex value(mcomplex z, mcomplex w) { return complex_power(z, w); }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
