// Special functions that are more than a call of the mathematics library, and inverse functions of reals
// whose plain formulas lose their digits near an end.
#include <math.h>

#include "kernels/operations/functions.h"
#include "kernels/operations/numbers.h"
#include "kernels/operations/wide.h"

namespace zenthar {
namespace {

constexpr long double kLogPhi = 0.481211825059603447497758913424368423L;  // of the golden ratio
constexpr long double kSqrtFive = 2.236067977499789696409173668731276235L;

// Exponents and imaginary parts beyond these give no finite double; larger ones would only overflow on the
// way, and leave a NaN where an infinity belongs.
constexpr long double kLargestExponent = 11000;
constexpr mreal kLargestImaginary = 2000;

long double held(long double exponent) { return exponent < kLargestExponent ? exponent : kLargestExponent; }
mreal held_imaginary(mreal y) {
  return __builtin_fabs(y) < kLargestImaginary ? y : __builtin_copysign(kLargestImaginary, y);
}

// The cosine and sine of pi x, exact where they are 0, 1 or -1.
struct Turn {
  long double cosine, sine;
};
Turn turn(mreal x) {
  const mreal reduced = __builtin_fmod(x, 2.0);
  const mreal quarters = __builtin_rint(2.0 * reduced);
  const long double angle = kPi * (reduced - quarters / 2);
  const long double c = __builtin_cosl(angle), s = __builtin_sinl(angle);
  switch (int(quarters) & 3) {
    case 0:
      return {c, s};
    case 1:
      return {-s, c};
    case 2:
      return {-c, -s};
    default:
      return {s, -c};
  }
}

// phi^-z cos(pi z). Far from the real axis one exponential of the cosine is all there is to it, and is taken
// together with the power, as the parts of their product may be finite though those of the factors are not.
Wide fading_term(mcomplex z) {
  const long double x = z.re, y = z.im;
  if (__builtin_fabs(z.im) > 20.0) {
    const long double turned = kPi * __builtin_fmod(z.re, 2.0);
    const Wide power = __builtin_cexpl(wide(-x * kLogPhi + kPi * __builtin_fabsl(y),
                                            -y * kLogPhi - __builtin_copysignl(turned, z.re * z.im)));
    return wide(re(power) / 2, im(power) / 2);
  }
  const Turn t = turn(z.re);
  const Wide cosine = wide(t.cosine * __builtin_coshl(kPi * y), -t.sine * __builtin_sinhl(kPi * y));
  return cosine * __builtin_cexpl(wide(held(-x * kLogPhi), -y * kLogPhi));
}

// Near 0 the two terms nearly cancel, in the sum or in a part of it; cos(pi z) = 1 - 2 sin(pi z / 2)^2 then
// takes the hyperbolic function of phi's logarithm out of them.
bool near_zero(mcomplex z) { return __builtin_fabs(z.re) < 0.5 && __builtin_fabs(z.im) < 0.5; }
Wide exponent(mcomplex z) { return wide(z.re * kLogPhi, z.im * kLogPhi); }
Wide fading_excess(mcomplex z) {
  const Wide sine = __builtin_csinl(wide(z.re * (kPi / 2), z.im * (kPi / 2)));
  return 2 * sine * sine * __builtin_cexpl(-exponent(z));
}

Wide growing_term(mcomplex z) { return __builtin_cexpl(wide(held(z.re * kLogPhi), z.im * kLogPhi)); }

}  // namespace

// (phi^x - cos(pi x) phi^-x) / sqrt(5)
mreal real_fibonacci(mreal x) {
  const long double power = __builtin_expl(x * kLogPhi);
  if (__builtin_fabs(x) < 0.5) {
    const long double sine = __builtin_sinl(kPi / 2 * x);
    return mreal((2 * __builtin_sinhl(x * kLogPhi) + 2 * sine * sine / power) / kSqrtFive);
  }
  if (!__builtin_isfinite(x)) return x > 0 ? x : __builtin_nan("");
  return mreal((power - turn(x).cosine / power) / kSqrtFive);
}

mreal real_lucasl(mreal x) {
  if (!__builtin_isfinite(x)) return x > 0 ? x : __builtin_nan("");
  const long double power = __builtin_expl(x * kLogPhi);
  return mreal(power + turn(x).cosine / power);
}

mcomplex complex_fibonacci(mcomplex z) {
  if (!finite(z)) return {__builtin_nan(""), __builtin_nan("")};
  if (near_zero(z)) {
    const Wide sum = 2 * __builtin_csinhl(exponent(z)) + fading_excess(z);
    return rounded(re(sum) / kSqrtFive, im(sum) / kSqrtFive);
  }
  const Wide growing = growing_term(z), fading = fading_term(z);
  return rounded((re(growing) - re(fading)) / kSqrtFive, (im(growing) - im(fading)) / kSqrtFive);
}

mcomplex complex_lucasl(mcomplex z) {
  if (!finite(z)) return {__builtin_nan(""), __builtin_nan("")};
  if (near_zero(z)) return rounded(2 * __builtin_ccoshl(exponent(z)) - fading_excess(z));
  return rounded(growing_term(z) + fading_term(z));
}

// sin(z)/z; near 0, where the imaginary part of the quotient cancels, by the series.
mcomplex complex_sinc(mcomplex z) {
  if (!finite(z)) return scalar::divide(machine(__builtin_csin(narrow(z))), z);
  const Wide w = wide(z);
  if (!(__builtin_fabs(z.re) < 1.0 && __builtin_fabs(z.im) < 1.0))
    return rounded(__builtin_csinl(wide(z.re, held_imaginary(z.im))) / w);
  const Wide square = w * w;
  Wide sum = wide(1, 0);
  for (int k = 24; k >= 2; k -= 2) sum = wide(1, 0) - square * sum / static_cast<long double>(k * (k + 1));
  return rounded(sum);
}

// 2 atan(tanh(z/2)) = (atan2(sinh x, cos y), atanh(sin y / cosh x))
mcomplex complex_gudermannian(mcomplex z) {
  if (!finite(z)) {
    const Narrow half = __builtin_catan(__builtin_ctanh(narrow({z.re / 2, z.im / 2})));
    return {2 * __real__ half, 2 * __imag__ half};
  }
  const long double x = z.re, y = z.im;
  const long double sine = __builtin_sinl(y), cosine = __builtin_cosl(y);
  const long double hyperbolic_sine = __builtin_sinhl(x), hyperbolic_cosine = __builtin_coshl(x);
  const long double size = __builtin_fabsl(sine);
  // cosh x - |sin y| = (sinh^2 x + cos^2 y) / (cosh x + |sin y|), which cancels nothing
  const long double gap =
      hyperbolic_cosine > 2 * size
          ? hyperbolic_cosine - size
          : (hyperbolic_sine * hyperbolic_sine + cosine * cosine) / (hyperbolic_cosine + size);
  return rounded(__builtin_atan2l(hyperbolic_sine, cosine),
                 __builtin_copysignl(__builtin_log1pl(2 * size / gap) / 2, sine));
}

// -i gd(i z)
mcomplex complex_inversegudermannian(mcomplex z) {
  const mcomplex turned = complex_gudermannian({-z.im, z.re});
  return {turned.im, -turned.re};
}

mcomplex complex_haversine(mcomplex z) {
  // Away from the real axis (1 - cos z)/2, whose parts lose nothing where those of the sine are nearly equal.
  if (finite(z) && __builtin_fabs(z.im) > 1.0) {
    const Wide cosine = __builtin_ccosl(wide(z.re, held_imaginary(z.im)));
    return rounded((1.0L - re(cosine)) / 2, -im(cosine) / 2);
  }
  const Wide sine = __builtin_csinl(wide(z.re / 2.0L, held_imaginary(z.im) / 2.0L));
  return rounded((re(sine) - im(sine)) * (re(sine) + im(sine)), 2 * re(sine) * im(sine));
}

// 2 asin(sqrt(z)) = acos(1 - 2 z) by Kahan's formula, with the roots of 1 - (1 - 2 z) and 1 + (1 - 2 z).
mcomplex complex_inversehaversine(mcomplex z) {
  if (!finite(z)) {
    const Narrow half = __builtin_casin(narrow(complex_sqrt(z)));
    return {2 * __real__ half, 2 * __imag__ half};
  }
  const Wide root = __builtin_csqrtl(wide(z));
  const Wide other = __builtin_csqrtl(wide(1.0L - z.re, -z.im));
  return rounded(2 * __builtin_atan2l(re(root), re(other)),
                 __builtin_asinhl(2 * im_conjugate_product(other, root)));
}

// 1/(1 + e^-z), or e^z/(e^z + 1), whichever does not overflow.
mcomplex complex_logistic(mcomplex z) {
  const bool right = z.re > 0.0;
  const Wide power = __builtin_cexpl(right ? -wide(z) : wide(z));
  const Wide sum = wide(1 + re(power), im(power));
  return rounded(right ? 1.0L / sum : power / sum);
}

// Inverse functions of 1/x where 1/x is near 1 and would lose what sets it apart from 1.

mreal real_asec(mreal x) {
  if (!(__builtin_fabs(x) >= 1.0 && __builtin_fabs(x) < 2.0)) return __builtin_acos(1.0 / x);
  // The product is -0 for -1, which would turn the angle's sign.
  const long double tangent = __builtin_sqrtl(__builtin_fabsl((x - 1.0L) * (x + 1.0L)));
  return mreal(__builtin_atan2l(tangent, x < 0 ? -1.0L : 1.0L));
}

mreal real_acsc(mreal x) {
  if (!(__builtin_fabs(x) >= 1.0 && __builtin_fabs(x) < 2.0)) return __builtin_asin(1.0 / x);
  const long double cotangent = __builtin_sqrtl((x - 1.0L) * (x + 1.0L));
  return mreal(__builtin_atan2l(x < 0 ? -1.0L : 1.0L, cotangent));
}

mreal real_asech(mreal x) {
  if (x > 0.5 && x <= 1.0) {  // acosh(1 + t) = log1p(t + sqrt(t (2 + t)))
    const long double t = (1.0L - x) / x;
    return mreal(__builtin_log1pl(t + __builtin_sqrtl(t * (2 + t))));
  }
  if (x > 0.0 && x < 1e-300) return mreal(kLogTwo - __builtin_logl(x));  // 1/x may overflow
  return __builtin_acosh(1.0 / x);
}

mreal real_acsch(mreal x) {
  const mreal size = __builtin_fabs(x);
  if (size > 0.0 && size < 1e-300) return __builtin_copysign(mreal(kLogTwo - __builtin_logl(size)), x);
  return __builtin_asinh(1.0 / x);
}

mreal real_acoth(mreal x) {
  const mreal size = __builtin_fabs(x);
  if (!(size >= 1.0 && size < 2.0)) return __builtin_atanh(1.0 / x);
  return __builtin_copysign(mreal(__builtin_log1pl(2 / (size - 1.0L)) / 2), x);
}

// lgamma itself writes the sign of gamma to a word that all threads share.
mreal real_loggamma(mreal x) {
  int sign;
  return ::lgamma_r(x, &sign);
}

mreal wide_csc(mreal x) { return mreal(1.0L / __builtin_sinl(x)); }
mreal wide_cot(mreal x) { return mreal(1.0L / __builtin_tanl(x)); }
mreal wide_sinc(mreal x) { return x == 0.0 ? 1.0 : mreal(__builtin_sinl(x) / x); }

mreal wide_inversegudermannian(mreal x) {
  return __builtin_cosl(x) >= 0.0L ? mreal(__builtin_asinhl(__builtin_tanl(x))) : __builtin_nan("");
}

}  // namespace zenthar
