// Complex roots, logarithms, reciprocal functions and their inverses, in extended precision.
#include "kernels/operations/functions.h"
#include "kernels/operations/numbers.h"
#include "kernels/operations/wide.h"

namespace zenthar {
namespace {

mcomplex reciprocal(mcomplex z) { return scalar::divide({1.0, 0.0}, z); }

// The square root of a finite number that is not 0, and its modulus. The square of no double overflows here.
struct RootAndModulus {
  long double re, im, modulus;
};
RootAndModulus root_and_modulus(mcomplex z) {
  const long double x = z.re, y = z.im;
  const long double modulus = __builtin_sqrtl(x * x + y * y);
  const long double larger = __builtin_sqrtl((modulus + __builtin_fabsl(x)) / 2);
  const long double smaller = __builtin_fabsl(y) / (2 * larger);
  return {x < 0 ? smaller : larger, __builtin_copysignl(x < 0 ? larger : smaller, y), modulus};
}

}  // namespace

mcomplex complex_sqrt(mcomplex z) {
  if (!finite(z)) return machine(__builtin_csqrt(narrow(z)));
  if (is_zero(z)) return {0.0, z.im};
  const RootAndModulus root = root_and_modulus(z);
  return rounded(root.re, root.im);
}

mcomplex complex_rsqrt(mcomplex z) {
  if (!finite(z) || is_zero(z)) return reciprocal(complex_sqrt(z));
  const RootAndModulus root = root_and_modulus(z);
  return rounded(root.re / root.modulus, -root.im / root.modulus);
}

// e^x cos y - 1 = (e^x - 1) cos y - 2 sin(y/2)^2.
mcomplex complex_expm1(mcomplex z) {
  if (!finite(z)) {
    const mcomplex power = machine(__builtin_cexp(narrow(z)));
    return {power.re - 1.0, power.im};
  }
  const long double x = z.re, y = z.im;
  const long double half_sine = __builtin_sinl(y / 2);
  const long double real = __builtin_expm1l(x) * __builtin_cosl(y) - 2 * half_sine * half_sine;
  return rounded(real, z.im == 0.0 ? y : __builtin_expl(x) * __builtin_sinl(y));
}

// log|1 + z| = log1p(2x + x^2 + y^2) / 2, where the sum may cancel: it is formed in quadruple precision,
// which holds the squares exactly.
mcomplex complex_log1p(mcomplex z) {
  if (!finite(z)) return machine(__builtin_clog(narrow({1.0 + z.re, z.im})));
  __extension__ typedef __float128 Quad;
  const long double x = z.re, y = z.im;
  long double excess = x * (2 + x) + y * y;
  if (x < 0 && __builtin_fabsl(excess) < -x / 16)
    excess = static_cast<long double>(Quad(z.re) * (2 + Quad(z.re)) + Quad(z.im) * Quad(z.im));
  const long double angle = __builtin_atan2l(y, 1 + x);
  if (excess > -0.5L) return rounded(__builtin_log1pl(excess) / 2, angle);
  return rounded(__builtin_logl((1 + x) * (1 + x) + y * y) / 2, angle);
}

mcomplex complex_log2(mcomplex z) {
  const Wide logarithm = __builtin_clogl(wide(z));
  return rounded(re(logarithm) / kLogTwo, im(logarithm) / kLogTwo);
}

mcomplex complex_log10(mcomplex z) {
  const Wide logarithm = __builtin_clogl(wide(z));
  return rounded(re(logarithm) / kLogTen, im(logarithm) / kLogTen);
}

mcomplex complex_log(mcomplex base, mcomplex z) {
  return rounded(__builtin_clogl(wide(z)) / __builtin_clogl(wide(base)));
}

// The reciprocals of extended results also cover where the function itself is beyond the doubles.
mcomplex complex_csc(mcomplex z) { return rounded(1.0L / __builtin_csinl(wide(z))); }
mcomplex complex_sec(mcomplex z) { return rounded(1.0L / __builtin_ccosl(wide(z))); }
mcomplex complex_cot(mcomplex z) { return rounded(1.0L / __builtin_ctanl(wide(z))); }
mcomplex complex_csch(mcomplex z) { return rounded(1.0L / __builtin_csinhl(wide(z))); }
mcomplex complex_sech(mcomplex z) { return rounded(1.0L / __builtin_ccoshl(wide(z))); }
mcomplex complex_coth(mcomplex z) { return rounded(1.0L / __builtin_ctanhl(wide(z))); }

// The inverse functions of w = 1/z take 1 - w and 1 + w, which are formed from z without rounding w first:
// near the branch points +1 and -1 they are all that counts. The formulas are Kahan's (W. Kahan, Branch cuts
// for complex elementary functions, or much ado about nothing's sign bit, 1987).
namespace {

struct AroundReciprocal {
  Wide one_less, one_more;  // 1 - w and 1 + w
  long double re;           // of w
};
AroundReciprocal around_reciprocal(mcomplex z) {
  const long double x = z.re, y = z.im;
  const long double norm = x * x + y * y;
  return {wide((x * (x - 1) + y * y) / norm, y / norm), wide((x * (x + 1) + y * y) / norm, -y / norm),
          x / norm};
}

bool has_reciprocal(mcomplex z) { return finite(z) && !is_zero(z); }

}  // namespace

mcomplex complex_acsc(mcomplex z) {
  if (!has_reciprocal(z)) return machine(__builtin_casin(narrow(reciprocal(z))));
  const AroundReciprocal w = around_reciprocal(z);
  const Wide less = __builtin_csqrtl(w.one_less), more = __builtin_csqrtl(w.one_more);
  return rounded(__builtin_atan2l(w.re, re(less) * re(more) - im(less) * im(more)),
                 __builtin_asinhl(im_conjugate_product(less, more)));
}

mcomplex complex_asec(mcomplex z) {
  if (!has_reciprocal(z)) return machine(__builtin_cacos(narrow(reciprocal(z))));
  const AroundReciprocal w = around_reciprocal(z);
  const Wide less = __builtin_csqrtl(w.one_less), more = __builtin_csqrtl(w.one_more);
  return rounded(2 * __builtin_atan2l(re(less), re(more)),
                 __builtin_asinhl(im_conjugate_product(more, less)));
}

mcomplex complex_asech(mcomplex z) {
  if (!has_reciprocal(z)) return machine(__builtin_cacosh(narrow(reciprocal(z))));
  const AroundReciprocal w = around_reciprocal(z);
  const Wide less = __builtin_csqrtl(-w.one_less), more = __builtin_csqrtl(w.one_more);
  return rounded(__builtin_asinhl(re_conjugate_product(less, more)),
                 2 * __builtin_atan2l(im(less), re(more)));
}

// asinh(1/z) = i asin(1/(i z))
mcomplex complex_acsch(mcomplex z) {
  if (!has_reciprocal(z)) return machine(__builtin_casinh(narrow(reciprocal(z))));
  const mcomplex turned = complex_acsc({-z.im, z.re});
  return {-turned.im, turned.re};
}

// atan(1/z), with |1/z| cleared of both logarithms' arguments.
mcomplex complex_acot(mcomplex z) {
  if (!finite(z)) return machine(__builtin_catan(narrow(reciprocal(z))));
  const long double x = z.re, y = __builtin_fabsl(z.im);
  const long double angle = __builtin_atan2l(2 * x, x * x + (y - 1) * (y + 1)) / 2;
  const long double logarithm = __builtin_log1pl(4 * y / (x * x + (y - 1) * (y - 1))) / 4;
  return rounded(angle, __builtin_copysignl(logarithm, -z.im));
}

// atanh(1/z) = -i atan(1/(-i z))
mcomplex complex_acoth(mcomplex z) {
  const mcomplex turned = complex_acot({z.im, -z.re});
  return {turned.im, -turned.re};
}

// -i log((x + i y) / sqrt(x^2 + y^2)): atan(y/x), and half a turn away where x / sqrt(x^2 + y^2) is on the
// left.
mcomplex complex_atan2(mcomplex y, mcomplex x) {
  if (y.im == 0.0 && x.im == 0.0) return {__builtin_atan2(y.re, x.re), 0.0};
  if (is_zero(x)) {
    const bool positive = y.re != 0.0 ? y.re > 0.0 : y.im > 0.0;
    return {mreal(positive ? kPi / 2 : -kPi / 2), 0.0};
  }
  const Wide abscissa = wide(x), ordinate = wide(y);
  const Wide turned = wide(-im(ordinate), re(ordinate));
  const Wide angle = __builtin_catanl(ordinate / abscissa);
  const Wide radius = __builtin_csqrtl((abscissa + turned) * (abscissa - turned));
  if (!(re(abscissa / radius) < 0)) return rounded(angle);
  return rounded(re(angle) + (__builtin_signbit(re(angle)) ? kPi : -kPi), im(angle));
}

mcomplex complex_root(mcomplex z, mint n) {
  if (n == 1) return z;
  if (n == -1) return reciprocal(z);
  if (n == 2) return complex_sqrt(z);
  if (n == -2) return complex_rsqrt(z);
  if (is_zero(z)) return n > 0 ? mcomplex{0.0, z.im} : reciprocal(z);
  const auto index = static_cast<long double>(n);
  const long double modulus = __builtin_expl(__builtin_logl(__builtin_hypotl(z.re, z.im)) / index);
  const long double angle = __builtin_atan2l(z.im, z.re) / index;
  return rounded(modulus * __builtin_cosl(angle), angle == 0 ? angle : modulus * __builtin_sinl(angle));
}

// a - b n for the Gaussian integer n whose parts are those of a/b rounded down. The quotient comes out in
// extended precision, where it may be off by 1; the remainder in quadruple precision tells whether it is.
mcomplex complex_mod(mcomplex a, mcomplex b) {
  __extension__ typedef __float128 Quad;
  const Wide quotient = wide(a) / wide(b);
  const long double n_re = __builtin_floorl(re(quotient)), n_im = __builtin_floorl(im(quotient));
  const Quad b_re = b.re, b_im = b.im;
  Quad remainder_re = a.re - (b_re * n_re - b_im * n_im);
  Quad remainder_im = a.im - (b_re * n_im + b_im * n_re);
  const Quad norm = b_re * b_re + b_im * b_im;
  const Quad along = remainder_re * b_re + remainder_im * b_im;
  const Quad across = remainder_im * b_re - remainder_re * b_im;
  const int more_re = along < 0 ? -1 : along >= norm ? 1 : 0;
  const int more_im = across < 0 ? -1 : across >= norm ? 1 : 0;
  remainder_re -= b_re * more_re - b_im * more_im;
  remainder_im -= b_re * more_im + b_im * more_re;
  return {mreal(remainder_re), mreal(remainder_im)};
}

}  // namespace zenthar
