// Complex powers, roots, logarithms, trigonometric functions and their inverses, in extended precision or, of
// ordinary arguments, in sums of two reals.
#include "kernels/operations/complex_doubled.h"
#include "kernels/operations/functions.h"
#include "kernels/operations/numbers.h"
#include "kernels/operations/wide.h"

namespace zenthar {
namespace {

mcomplex reciprocal(mcomplex z) { return scalar::divide({1.0, 0.0}, z); }

// By a formula in sums of two reals where it takes z, else by another.
template <bool (*doubled)(mcomplex z, mcomplex* result), class Other>
[[gnu::always_inline]] inline mcomplex doubled_or(mcomplex z, Other other) {
  mcomplex y;
  return doubled(z, &y) ? y : other(z);
}

// The square root and the modulus of what a double or a few times it can be; squares of those do not overflow
// here.
struct RootAndModulus {
  Wide root;
  long double modulus;
};
RootAndModulus root_and_modulus(Wide z) {
  const long double x = re(z), y = im(z);
  const long double modulus = __builtin_sqrtl(x * x + y * y);
  const long double larger = __builtin_sqrtl((modulus + __builtin_fabsl(x)) / 2);
  if (larger == 0) return {wide(0, y), modulus};
  const long double smaller = __builtin_fabsl(y) / (2 * larger);
  const bool left = x < 0;
  return {wide(left ? smaller : larger, __builtin_copysignl(left ? larger : smaller, y)), modulus};
}
Wide root(Wide z) { return root_and_modulus(z).root; }

}  // namespace

mcomplex complex_sqrt(mcomplex z) {
  return finite(z) ? rounded(root(wide(z))) : machine(__builtin_csqrt(narrow(z)));
}

mcomplex complex_rsqrt(mcomplex z) {
  if (!finite(z) || is_zero(z)) return reciprocal(complex_sqrt(z));
  const RootAndModulus of = root_and_modulus(wide(z));
  return rounded(re(of.root) / of.modulus, -im(of.root) / of.modulus);
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

// exp(w log z). In extended precision its eleven more bits take up the error that the product of the
// logarithm and the exponent magnifies.
mcomplex complex_power_by_logarithm(mcomplex z, mcomplex w) {
  mcomplex power;
  if (doubled_power(z, w, &power)) return power;
  const Wide logarithm = __builtin_clogl(wide(z));
  const long double a = re(logarithm), b = im(logarithm);
  // A part of w that is 0 contributes nothing, also beside an infinite logarithm.
  const long double exponent = (w.re == 0.0 ? 0.0L : w.re * a) - (w.im == 0.0 ? 0.0L : w.im * b);
  const long double angle = (w.re == 0.0 ? 0.0L : w.re * b) + (w.im == 0.0 ? 0.0L : w.im * a);
  return rounded(__builtin_cexpl(wide(exponent, angle)));
}

// Tangents are the least exact of the mathematics library's functions of doubles. The reciprocals of extended
// results also cover where the function itself is beyond the doubles.
mcomplex complex_tan(mcomplex z) {
  return doubled_or<doubled_tan>(z, [](mcomplex w) { return rounded(__builtin_ctanl(wide(w))); });
}
mcomplex complex_tanh(mcomplex z) {
  return doubled_or<doubled_tanh>(z, [](mcomplex w) { return rounded(__builtin_ctanhl(wide(w))); });
}
mcomplex complex_csc(mcomplex z) {
  return doubled_or<doubled_csc>(z, [](mcomplex w) { return rounded(1.0L / __builtin_csinl(wide(w))); });
}
mcomplex complex_sec(mcomplex z) {
  return doubled_or<doubled_sec>(z, [](mcomplex w) { return rounded(1.0L / __builtin_ccosl(wide(w))); });
}
mcomplex complex_cot(mcomplex z) {
  return doubled_or<doubled_cot>(z, [](mcomplex w) { return rounded(1.0L / __builtin_ctanl(wide(w))); });
}
mcomplex complex_csch(mcomplex z) {
  return doubled_or<doubled_csch>(z, [](mcomplex w) { return rounded(1.0L / __builtin_csinhl(wide(w))); });
}
mcomplex complex_sech(mcomplex z) {
  return doubled_or<doubled_sech>(z, [](mcomplex w) { return rounded(1.0L / __builtin_ccoshl(wide(w))); });
}
mcomplex complex_coth(mcomplex z) {
  return doubled_or<doubled_coth>(z, [](mcomplex w) { return rounded(1.0L / __builtin_ctanhl(wide(w))); });
}

// The inverse functions, of z and of 1/z alike. Inverse sines and cosines of w take the square roots of 1 - w
// and 1 + w, which are all that counts near the branch points; those of w = 1/z are formed from z, without
// rounding w first. The formulas are Kahan's (W. Kahan, Branch cuts for complex elementary functions, or much
// ado about nothing's sign bit, in: The State of the Art in Numerical Analysis, 1987).
namespace {

struct Around {
  long double re;           // of w
  Wide one_less, one_more;  // 1 - w and 1 + w
};

Around around(mcomplex z) {
  const long double x = z.re, y = z.im;
  return {x, wide(1 - x, -y), wide(1 + x, y)};
}

Around around_reciprocal(mcomplex z) {
  const long double x = z.re, y = z.im;
  const long double norm = x * x + y * y;
  return {x / norm, wide((x * (x - 1) + y * y) / norm, y / norm),
          wide((x * (x + 1) + y * y) / norm, -y / norm)};
}

bool has_reciprocal(mcomplex z) { return finite(z) && !is_zero(z); }

mcomplex inverse_sine(const Around& w) {
  const Wide less = root(w.one_less), more = root(w.one_more);
  return rounded(__builtin_atan2l(w.re, re(less) * re(more) - im(less) * im(more)),
                 __builtin_asinhl(im_conjugate_product(less, more)));
}

mcomplex inverse_cosine(const Around& w) {
  const Wide less = root(w.one_less), more = root(w.one_more);
  return rounded(2 * __builtin_atan2l(re(less), re(more)),
                 __builtin_asinhl(im_conjugate_product(more, less)));
}

mcomplex inverse_hyperbolic_cosine(const Around& w) {
  const Wide less = root(-w.one_less), more = root(w.one_more);
  return rounded(__builtin_asinhl(re_conjugate_product(less, more)),
                 2 * __builtin_atan2l(im(less), re(more)));
}

// The parts of atan z for x and y >= 0, in which the logarithm's argument is formed from the distance to the
// branch point. Of 1/z the second argument of atan2 has the other sign, and the imaginary part.
struct InverseTangent {
  long double norm_excess;  // |z|^2 - 1
  long double logarithm;
};
InverseTangent inverse_tangent(mcomplex z) {
  const long double x = z.re, y = __builtin_fabsl(z.im);
  return {x * x + (y - 1) * (y + 1), __builtin_log1pl(4 * y / (x * x + (y - 1) * (y - 1))) / 4};
}

// i z and -i z
mcomplex turned_left(mcomplex z) { return {-z.im, z.re}; }
mcomplex turned_right(mcomplex z) { return {z.im, -z.re}; }

}  // namespace

mcomplex complex_asin(mcomplex z) {
  return doubled_or<doubled_asin>(z, [](mcomplex w) {
    return finite(w) ? inverse_sine(around(w)) : machine(__builtin_casin(narrow(w)));
  });
}

mcomplex complex_acos(mcomplex z) {
  return doubled_or<doubled_acos>(z, [](mcomplex w) {
    return finite(w) ? inverse_cosine(around(w)) : machine(__builtin_cacos(narrow(w)));
  });
}

mcomplex complex_acosh(mcomplex z) {
  return doubled_or<doubled_acosh>(z, [](mcomplex w) {
    return finite(w) ? inverse_hyperbolic_cosine(around(w)) : machine(__builtin_cacosh(narrow(w)));
  });
}

mcomplex complex_atan(mcomplex z) {
  return doubled_or<doubled_atan>(z, [](mcomplex w) {
    if (!finite(w)) return machine(__builtin_catan(narrow(w)));
    const InverseTangent parts = inverse_tangent(w);
    return rounded(__builtin_atan2l(2.0L * w.re, -parts.norm_excess) / 2,
                   __builtin_copysignl(parts.logarithm, w.im));
  });
}

mcomplex complex_acsc(mcomplex z) {
  return has_reciprocal(z) ? inverse_sine(around_reciprocal(z)) : complex_asin(reciprocal(z));
}

mcomplex complex_asec(mcomplex z) {
  return has_reciprocal(z) ? inverse_cosine(around_reciprocal(z)) : complex_acos(reciprocal(z));
}

mcomplex complex_asech(mcomplex z) {
  return has_reciprocal(z) ? inverse_hyperbolic_cosine(around_reciprocal(z)) : complex_acosh(reciprocal(z));
}

mcomplex complex_acot(mcomplex z) {
  return doubled_or<doubled_acot>(z, [](mcomplex w) {
    if (!finite(w)) return complex_atan(reciprocal(w));
    const InverseTangent parts = inverse_tangent(w);
    return rounded(__builtin_atan2l(2.0L * w.re, parts.norm_excess) / 2,
                   __builtin_copysignl(parts.logarithm, -w.im));
  });
}

// asinh(z) = i asin(-i z), atanh(z) = i atan(-i z); and -i/z = 1/(i z)
mcomplex complex_asinh(mcomplex z) { return turned_left(complex_asin(turned_right(z))); }
mcomplex complex_atanh(mcomplex z) { return turned_left(complex_atan(turned_right(z))); }
mcomplex complex_acsch(mcomplex z) { return turned_left(complex_acsc(turned_left(z))); }
mcomplex complex_acoth(mcomplex z) { return turned_left(complex_acot(turned_left(z))); }

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
