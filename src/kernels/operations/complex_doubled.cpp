#include "kernels/operations/complex_doubled.h"

#include "kernels/operations/doubled.h"

namespace zenthar {
namespace {

ZENTHAR_KERNEL mreal size(mreal x) { return __builtin_fabs(x); }
// False for a NaN.
ZENTHAR_KERNEL bool between(mreal least, mreal x, mreal most) { return x >= least && x <= most; }

// exp(w log z). Beyond these sizes products might overflow, or their low parts vanish.
struct Power {
  template <bool kFused>
  ZENTHAR_KERNEL static bool compute(mcomplex z, mcomplex w, mcomplex* result) {
    using D = Doubled<kFused>;
    const mreal width = size(z.re), height = size(z.im);
    if (!between(0, width, 0x1p500) || !between(0, height, 0x1p500)) return false;
    if (width < 0x1p-500 && height < 0x1p-500) return false;
    const Double norm = D::sum(D::product(z.re, z.re), D::product(z.im, z.im));
    // The logarithm of a number so near 1 has fewer digits.
    if (size((norm.high - 1.0) + norm.low) < 0x1p-30) return false;
    const Double real = D::halved(D::log(norm)), imaginary = D::angle({z.im, 0.0}, {z.re, 0.0});
    const Double exponent = D::sum(times<kFused>(real, w.re), D::negated(times<kFused>(imaginary, w.im)));
    const Double angle = D::sum(times<kFused>(imaginary, w.re), times<kFused>(real, w.im));
    if (!between(-680, exponent.high, 680) || !between(0x1p-300, size(angle.high), 0x1p13)) return false;
    const Double modulus = D::exp(exponent);
    const auto [sine, cosine] = D::sine_and_cosine(angle);
    *result = {D::product(modulus, cosine).high, D::product(modulus, sine).high};
    return true;
  }

 private:
  template <bool kFused>
  ZENTHAR_KERNEL static Double times(Double a, mreal b) {
    using D = Doubled<kFused>;
    const Double p = D::product(a.high, b);
    return D::fast_sum(p.high, D::fused(a.low, b, p.low));
  }
};

// The sine and cosine of x and the hyperbolic ones of y, of z = x + i y.
struct Waves {
  Double sine, cosine, hyperbolic_sine, hyperbolic_cosine;
};

// A function whose parts are quotients of these. Its formula sets both numerators, and gives the divisor.
template <class Formula>
struct Trigonometric {
  template <bool kFused>
  ZENTHAR_KERNEL static bool compute(mcomplex z, mcomplex* result) {
    using D = Doubled<kFused>;
    if (!between(0x1p-400, size(z.re), 0x1p15) || !between(0x1p-400, size(z.im), 300)) return false;
    const auto [sine, cosine] = D::sine_and_cosine({z.re, 0.0});
    const auto [hyperbolic_sine, hyperbolic_cosine] = D::hyperbolic({size(z.im), 0.0});
    Double re, im;
    const Double divisor = Formula::template parts<D>(
        Waves{sine, cosine, D::with_sign(hyperbolic_sine, z.im), hyperbolic_cosine}, re, im);
    const mreal inverse = 1.0 / divisor.high, re_high = re.high * inverse, im_high = im.high * inverse;
    *result = {re_high + D::rest_of_quotient(re, divisor, re_high, inverse),
               im_high + D::rest_of_quotient(im, divisor, im_high, inverse)};
    return true;
  }
};

// |sin z|^2 and |cos z|^2
template <class D>
ZENTHAR_KERNEL Double sine_norm(const Waves& w) {
  return D::sum(D::square(w.sine), D::square(w.hyperbolic_sine));
}
template <class D>
ZENTHAR_KERNEL Double cosine_norm(const Waves& w) {
  return D::sum(D::square(w.cosine), D::square(w.hyperbolic_sine));
}

struct TanFormula {
  template <class D>
  ZENTHAR_KERNEL static Double parts(const Waves& w, Double& re, Double& im) {
    re = D::product(w.sine, w.cosine);
    im = D::product(w.hyperbolic_sine, w.hyperbolic_cosine);
    return cosine_norm<D>(w);
  }
};
struct CotFormula {
  template <class D>
  ZENTHAR_KERNEL static Double parts(const Waves& w, Double& re, Double& im) {
    re = D::product(w.sine, w.cosine);
    im = D::negated(D::product(w.hyperbolic_sine, w.hyperbolic_cosine));
    return sine_norm<D>(w);
  }
};
struct SecFormula {
  template <class D>
  ZENTHAR_KERNEL static Double parts(const Waves& w, Double& re, Double& im) {
    re = D::product(w.cosine, w.hyperbolic_cosine);
    im = D::product(w.sine, w.hyperbolic_sine);
    return cosine_norm<D>(w);
  }
};
struct CscFormula {
  template <class D>
  ZENTHAR_KERNEL static Double parts(const Waves& w, Double& re, Double& im) {
    re = D::product(w.sine, w.hyperbolic_cosine);
    im = D::negated(D::product(w.cosine, w.hyperbolic_sine));
    return sine_norm<D>(w);
  }
};

ZENTHAR_KERNEL bool has_ordinary_square(mreal x) { return between(0x1p-200, size(x), 0x1p200); }

// Inverse sines and cosines by the half sum A of the distances of z from -1 and 1: their parts are the
// logarithm of A + sqrt(A^2 - 1) and the angles whose sine or cosine is x/A (T. E. Hull, T. F. Fairgrieve and
// P. T. P. Tang, Implementing the complex arcsine and arccosine functions using exception handling, ACM TOMS
// 23, 1997). Here z lies in the first quadrant.
template <bool kFused>
struct Foci {
  using D = Doubled<kFused>;
  Double logarithm;
  Double opposite;  // sqrt(A^2 - x^2)

  ZENTHAR_KERNEL Foci(mreal x, mreal y) {
    const Double height = D::product(y, y), right = D::sum(x, 1.0), left = D::sum(x, -1.0);
    const Double aside = D::with_sign(left, 0.0);
    const Double far = D::root(D::sum(D::square(right), height));
    const Double near = D::root(D::sum(D::square(aside), height));
    // The distances without what they have of the real axis, which may be nearly all.
    const Double more = D::fast_sum(near, aside);
    const Double far_excess = D::quotient(height, D::fast_sum(far, right));
    const Double near_excess = D::quotient(height, more);
    const bool outside = left.high > 0.0;
    const Double a = D::halved(D::fast_sum(far, near));
    const Double above_one = D::halved(D::sum(far_excess, outside ? more : near_excess));
    const Double above_x = D::halved(D::sum(far_excess, outside ? near_excess : more));
    opposite = D::root(D::product(D::sum(a, {x, 0.0}), above_x));
    logarithm = D::log_of_more(D::sum(above_one, D::root(D::product(above_one, D::sum(a, {1.0, 0.0})))));
  }
};

enum class Inverse { kSine, kCosine, kHyperbolicCosine };
template <Inverse kWhich>
struct InverseSine {
  template <bool kFused>
  ZENTHAR_KERNEL static bool compute(mcomplex z, mcomplex* result) {
    using D = Doubled<kFused>;
    if (!has_ordinary_square(z.re) || !has_ordinary_square(z.im)) return false;
    const Foci<kFused> foci(size(z.re), size(z.im));
    const mreal logarithm = foci.logarithm.high;
    if constexpr (kWhich == Inverse::kSine) {
      *result = {D::angle({z.re, 0.0}, foci.opposite).high, __builtin_copysign(logarithm, z.im)};
    } else {
      const mreal angle = D::angle(foci.opposite, {z.re, 0.0}).high;
      if constexpr (kWhich == Inverse::kCosine) {
        *result = {angle, __builtin_copysign(logarithm, -z.im)};
      } else {
        *result = {logarithm, __builtin_copysign(angle, z.im)};
      }
    }
    return true;
  }
};

// atan z is half the angle of 1 - |z|^2 + 2 i x, and a quarter of the logarithm of (x^2 + (1 + y)^2) / (x^2 +
// (1 - y)^2). acot z has the other sign of 1 - |z|^2 and of y.
template <bool kReciprocal>
struct InverseTangent {
  template <bool kFused>
  ZENTHAR_KERNEL static bool compute(mcomplex z, mcomplex* result) {
    using D = Doubled<kFused>;
    if (!has_ordinary_square(z.re) || !has_ordinary_square(z.im)) return false;
    const mreal y = size(z.im);
    const Double square = D::product(z.re, z.re), below = D::sum(y, -1.0);
    const Double excess = D::sum(square, D::product(below, D::sum(y, 1.0)));
    const Double angle = D::angle({2.0 * z.re, 0.0}, kReciprocal ? excess : D::negated(excess));
    const Double logarithm = D::log_of_more(D::quotient({4.0 * y, 0.0}, D::sum(square, D::square(below))));
    *result = {0.5 * angle.high, __builtin_copysign(0.25 * logarithm.high, kReciprocal ? -z.im : z.im)};
    return true;
  }
};

// One function, compiled twice.
#ifdef ZENTHAR_X86_TARGETS
template <class Function, class... A>
[[gnu::target("fma")]] bool compute_fused(A... a) {
  return Function::template compute<true>(a...);
}
#endif
template <class Function, class... A>
ZENTHAR_KERNEL bool compute(A... a) {
#ifdef ZENTHAR_X86_TARGETS
  if (__builtin_cpu_supports("fma")) [[likely]]
    return compute_fused<Function>(a...);
#endif
  return Function::template compute<false>(a...);
}

// y + i x, that is i times the conjugate, which tan takes to the same of tanh z.
mcomplex swapped(mcomplex z) { return {z.im, z.re}; }

}  // namespace

bool doubled_power(mcomplex z, mcomplex w, mcomplex* result) { return compute<Power>(z, w, result); }

bool doubled_tan(mcomplex z, mcomplex* result) { return compute<Trigonometric<TanFormula>>(z, result); }
bool doubled_cot(mcomplex z, mcomplex* result) { return compute<Trigonometric<CotFormula>>(z, result); }
bool doubled_sec(mcomplex z, mcomplex* result) { return compute<Trigonometric<SecFormula>>(z, result); }
bool doubled_csc(mcomplex z, mcomplex* result) { return compute<Trigonometric<CscFormula>>(z, result); }

bool doubled_asin(mcomplex z, mcomplex* result) { return compute<InverseSine<Inverse::kSine>>(z, result); }
bool doubled_acos(mcomplex z, mcomplex* result) { return compute<InverseSine<Inverse::kCosine>>(z, result); }
bool doubled_acosh(mcomplex z, mcomplex* result) {
  return compute<InverseSine<Inverse::kHyperbolicCosine>>(z, result);
}
bool doubled_atan(mcomplex z, mcomplex* result) { return compute<InverseTangent<false>>(z, result); }
bool doubled_acot(mcomplex z, mcomplex* result) { return compute<InverseTangent<true>>(z, result); }

bool doubled_tanh(mcomplex z, mcomplex* result) {
  if (!doubled_tan(swapped(z), result)) return false;
  *result = swapped(*result);
  return true;
}
bool doubled_coth(mcomplex z, mcomplex* result) {
  if (!doubled_cot(swapped(z), result)) return false;
  *result = {-result->im, -result->re};
  return true;
}
bool doubled_sech(mcomplex z, mcomplex* result) {
  if (!doubled_sec(swapped(z), result)) return false;
  result->im = -result->im;
  return true;
}
bool doubled_csch(mcomplex z, mcomplex* result) {
  if (!doubled_csc(swapped(z), result)) return false;
  *result = {-result->im, -result->re};
  return true;
}

}  // namespace zenthar
