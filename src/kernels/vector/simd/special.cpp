// Error and gamma functions.
#include "kernels/vector/simd/exp_of_sum.h"
#include "kernels/vector/simd/loop.h"
#include "kernels/vector/simd/pieces.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/special.inc"

namespace {

constexpr auto kErf = arranged(kErfRows);
constexpr auto kErfc = arranged(kErfcRows);
constexpr auto kLogGamma = arranged(kLogGammaRows);

// A row's function at a distance t from the middle of its piece: the value there, the slope, and the terms
// from the second degree on, which alone are rounded.
template <int last, int n>
ZENTHAR_KERNEL Double value_of(const Row<n>& row, Real t) {
  const Double slope = product(t, row.term[2]);
  const Double y = fast_sum(row.term[0], slope.high);
  return {y.high, y.low + fused(t * t, polynomial<3, last>(t, row), row.term[1] + slope.low)};
}

// By pieces that are as wide as a step and lie around its multiples.
struct ErfForm {
  ZENTHAR_KERNEL static Real compute(Real given, Mask& rare) {
    const Real x = lesser(broadcast(5.93), magnitude(given));
    // Without the fused operation the parts of products vanish for the smallest.
    if constexpr (!kFused) rare = less(x, broadcast(0x1p-900)) & less(broadcast(0.0), x);
    const Nearest n = nearest(x * (1 / kErfStep));
    const Real t = fused(n.value, -kErfStep, x);  // exact
    const Double y = value_of<14>(pick(kErf, n.integer), t);
    return with_sign(y.high + y.low, given);
  }
};

// exp(-x^2) times a function by pieces, of which there are four between powers of 2 of x + 2. Of negative
// arguments it is what the positive one leaves from 2.
struct ErfcForm {
  ZENTHAR_KERNEL static Real compute(Real given, Mask&) {
    const Mask negative = sign_bit(given);
    const Real x = lesser(select(negative, broadcast(6.5), broadcast(28.0)), magnitude(given));
    const Bits piece = bits(x + 2.0) >> 50;
    const Real middle = real((piece << 50) + (uint64_t(1) << 49)) - 2.0;
    const Double factor = value_of<16>(pick(kErfc, piece), x - middle);
    const Double square = product(x, x);
    const Power power = exp_of_sum(-square);
    const Double y = whole_product(power.significand, factor);
    const Double below = fast_sum(broadcast(2.0), -scale_normal(y.high, power.exponent));
    return select(negative, below.high + (below.low - scale_normal(y.low, power.exponent)),
                  scale(y.high, power.exponent.value));
  }
};

// The logarithm of gamma for positive x below 2^1000 to about 2^-57 of itself: from 8 on by Stirling's
// series, below by (x - 1) (x - 2) times a function by pieces, for small arguments at x + 1, from which
// log(x) leads back.
ZENTHAR_KERNEL Double log_gamma(Real x) {
  const Mask small = less(x, broadcast(0.625)), large = less_equal(broadcast(8.0), x);
  const Real zero{};
  const Real inverse = 1.0 / x;
  const Real shift = select(small, broadcast(1.0), zero);
  const Bits piece = (bits(x + shift) >> 50) - (uint64_t(1022) << 2);
  const Real middle = real((bits(x + shift) & ~((uint64_t(1) << 50) - 1)) | (uint64_t(1) << 49));
  const auto row = pick(kLogGamma, select(large, Bits{}, piece));
  const Double function = value_of<14>(row, select(large, inverse * inverse, x - (middle - shift)));
  const Double last = fast_sum(shift - 2.0, x);
  const Real first = x - (1.0 - shift);
  Double factor = product(first, last.high);
  factor.low = fused(first, last.low, factor.low);
  factor = select(large, Double{inverse, zero}, factor);
  const Double log = log_double(x);
  const Real times = select(large, x - 0.5, select(small, broadcast(-1.0), zero));
  const Double less_one = fast_sum(log.high, select(large, broadcast(-1.0), zero));
  // What rounding took from x - 1/2 counts where x has more than 52 bits.
  const Real rest = select(large, (x - times) - 0.5, zero);
  Double first_term = Double{less_one.high, less_one.low + log.low} * times;
  first_term.low = fused(rest, less_one.high, first_term.low);
  Double second_term = product(factor.high, function.high);
  second_term.low += fused(factor.high, function.low, factor.low * function.high);
  const Double constant = {select(large, broadcast(kStirlingHigh), zero),
                           select(large, broadcast(kStirlingLow), zero)};
  const Double s = fast_sum(first_term.high, constant.high), y = fast_sum(s.high, second_term.high);
  return fast_sum(y.high, y.low + (s.low + (second_term.low + (first_term.low + constant.low))));
}

// Arguments that are not positive fail.
struct LogGammaForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    rare = not_less_equal(broadcast(0x1p-1022), x) | not_less_equal(x, broadcast(0x1p1000));
    return log_gamma(x).high;
  }
};

// Of negative arguments -y it is -pi/(sin(pi y) y gamma(y)). Poles, numbers so near to 0 that the steps would
// overflow, and negative ones that give zeros are left out.
struct GammaForm {
  ZENTHAR_KERNEL static Real compute(Real given, Mask& rare) {
    const Real x = lesser(broadcast(185.0), magnitude(given));
    rare = less(x, broadcast(0x1p-400));
    Double log = log_gamma(x);
    const Mask negative = less(given, Real{});
    if (any(negative)) log = select(negative, -log, log);
    const Power power = exp_of_sum(log);
    Real y = power.significand.high + power.significand.low;
    if (any(negative)) {
      const Nearest n = nearest(x);
      const Real r = x - n.value;
      rare = rare | (negative & (equal(r, Real{}) | not_less(x, broadcast(184.5))));
      const Double square = product(r, r), first = square * broadcast(kSinPiFirst);
      Double sine = fast_sum(broadcast(1.0), first.high);
      sine.low += fused(square.high * square.high, estrin(square.high, kSinPiTerms), first.low);
      const Double p = fast_sum(power.significand.high, power.significand.low);
      const Real q = quotient(p, product(x, r) * sine).high;
      y = select(negative, flip_sign(q, (n.integer << 63) ^ kSignBit), y);
    }
    return scale(y, power.exponent.value);
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Erf, ErfForm, mreal)
ZENTHAR_VECTOR_FORM(ErfC, ErfcForm, mreal)
#ifdef __AVX2__
ZENTHAR_VECTOR_FORM(LogGamma, LogGammaForm, mreal)
#endif
ZENTHAR_VECTOR_FORM(Gamma, GammaForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
