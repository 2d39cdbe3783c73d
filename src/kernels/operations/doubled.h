// Elementary functions to some 60 bits, as sums of two reals, for complex functions whose parts are to come
// out with little more error than their rounding. Extended precision gives as much, by slow instructions.
//
// kFused says that the processor has the fused operation; everything here is inlined into a function compiled
// for that. The ranges of arguments are the callers' business.
#ifndef ZENTHAR_KERNELS_OPERATIONS_DOUBLED_H
#define ZENTHAR_KERNELS_OPERATIONS_DOUBLED_H

#include "kernels/operations/operation.h"

namespace zenthar {

#include "kernels/coefficients/arc.inc"
#include "kernels/coefficients/doubled.inc"

// The second part is what rounding took from the first.
struct Double {
  mreal high, low;
};

// Sines of the multiples of pi/64 all around, from those of a quadrant.
struct SineTable {
  Double sine[128];
};
constexpr SineTable all_around() {
  SineTable table{};
  for (int k = 0; k < 128; ++k) {
    const int half = k % 64, place = half <= 32 ? half : 64 - half;
    const Double s = {kSineHigh[place], kSineLow[place]};
    table.sine[k] = k < 64 ? s : Double{0.0 - s.high, 0.0 - s.low};
  }
  return table;
}
inline constexpr SineTable kSines = all_around();

template <bool kFused>
struct Doubled {
  // a b + c, rounded once or twice.
  ZENTHAR_KERNEL static mreal fused(mreal a, mreal b, mreal c) {
    if constexpr (kFused) return __builtin_fma(a, b, c);
    return a * b + c;
  }
  // a + b exactly: of which the former is the larger or 0, or of any.
  ZENTHAR_KERNEL static Double fast_sum(mreal a, mreal b) {
    const mreal sum = a + b;
    return {sum, b - (sum - a)};
  }
  ZENTHAR_KERNEL static Double sum(mreal a, mreal b) {
    const mreal s = a + b, from_b = s - a;
    return {s, (a - (s - from_b)) + (b - from_b)};
  }
  // a b, of factors below 2^990 with a product far from the subnormals (T. J. Dekker, A floating-point
  // technique for extending the available precision, Numerische Mathematik 18, 1971).
  ZENTHAR_KERNEL static Double product(mreal a, mreal b) {
    const mreal p = a * b;
    if constexpr (kFused) {
      return {p, __builtin_fma(a, b, -p)};
    } else {
      constexpr mreal kSplitter = 0x1p27 + 1;
      const mreal at = a * kSplitter, bt = b * kSplitter;
      const mreal ah = at - (at - a), bh = bt - (bt - b);
      const mreal al = a - ah, bl = b - bh;
      return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
    }
  }
  ZENTHAR_KERNEL static Double product(Double a, Double b) {
    const Double p = product(a.high, b.high);
    return fast_sum(p.high, p.low + fused(a.high, b.low, a.low * b.high));
  }
  ZENTHAR_KERNEL static Double square(Double a) { return product(a, a); }
  // a + b of which the former is the larger
  ZENTHAR_KERNEL static Double fast_sum(Double a, Double b) {
    const Double s = fast_sum(a.high, b.high);
    return fast_sum(s.high, s.low + (a.low + b.low));
  }
  ZENTHAR_KERNEL static Double sum(Double a, Double b) {
    const Double s = sum(a.high, b.high);
    return fast_sum(s.high, s.low + (a.low + b.low));
  }
  ZENTHAR_KERNEL static Double negated(Double a) { return {-a.high, -a.low}; }
  ZENTHAR_KERNEL static Double halved(Double a) { return {0.5 * a.high, 0.5 * a.low}; }

  // The part of a / b that q, a real near it, leaves.
  ZENTHAR_KERNEL static mreal rest_of_quotient(Double a, Double b, mreal q, mreal inverse) {
    const Double p = product(q, b.high);
    return (((a.high - p.high) - p.low) + fused(-q, b.low, a.low)) * inverse;
  }
  ZENTHAR_KERNEL static Double quotient(Double a, Double b) {
    const mreal inverse = 1.0 / b.high, q = a.high * inverse;
    return fast_sum(q, rest_of_quotient(a, b, q, inverse));
  }
  ZENTHAR_KERNEL static Double root(Double a) {
    const mreal r = __builtin_sqrt(a.high);
    const Double back = product(r, r);
    return fast_sum(r, (((a.high - back.high) - back.low) + a.low) / (r + r));
  }

  struct Nearest {
    mreal value;
    int64_t integer;  // its low 51 bits are right
  };
  ZENTHAR_KERNEL static Nearest nearest(mreal x) {
    constexpr mreal kRounder = 0x1.8p52;
    const mreal sum = x + kRounder;
    return {sum - kRounder, __builtin_bit_cast(int64_t, sum)};
  }
  // 2^n for n from -1022 to 1023.
  ZENTHAR_KERNEL static mreal power_of_two(int64_t n) {
    return __builtin_bit_cast(mreal, uint64_t(n + 1023) << 52);
  }

  // Functions of the sum of a number of a table and a small r.
  struct Pair {
    Double sine, cosine;
  };
  // a (1 + versine) + b (r + excess), of which a is 0 or more than b r.
  ZENTHAR_KERNEL static Double added(Double a, Double b, Double r, mreal versine, mreal excess) {
    const Double p = product(b.high, r.high), s = fast_sum(a.high, p.high);
    const mreal small = fused(a.high, versine, b.high * excess);
    return fast_sum(s.high, s.low + (p.low + (a.low + (fused(b.low, r.high, b.high * r.low) + small))));
  }

  // Sine and cosine for |x| < 2^15.
  ZENTHAR_KERNEL static Pair sine_and_cosine(Double x) {
    const Nearest n = nearest(x.high * kSineScale);
    const Double first = sum(x.high - n.value * kSineSteps[0], -(n.value * kSineSteps[1]));
    const Double second = sum(first.high, -(n.value * kSineSteps[2]));
    const Double r = sum(second.high, ((first.low + second.low) - n.value * kSineSteps[3]) + x.low);
    const Double a = kSines.sine[n.integer & 127], b = kSines.sine[(n.integer + 32) & 127];
    const mreal t = r.high * r.high;
    const mreal excess = r.high * (t * fused(t, fused(t, -1.0 / 5040, 1.0 / 120), -1.0 / 6));
    const mreal versine = t * fused(t, fused(t, fused(t, 1.0 / 40320, -1.0 / 720), 1.0 / 24), -0.5);
    return {added(a, b, r, versine, excess), added(b, negated(a), r, versine, excess)};
  }

  // x = n log(2)/16 + r
  struct PowerArgument {
    Nearest n;
    Double r;
  };
  ZENTHAR_KERNEL static PowerArgument reduced(Double x) {
    const Nearest n = nearest(x.high * kPowerScale);
    const Double s = sum(x.high - n.value * kPowerStepHigh, -(n.value * kPowerStepLow));
    return {n, fast_sum(s.high, s.low + x.low)};
  }
  // 2^(n/16)
  ZENTHAR_KERNEL static Double power_by_sixteenths(int64_t n) {
    const mreal scale = power_of_two(int64_t(uint64_t(n) << 13) >> 17);
    return {kPowerHigh[n & 15] * scale, kPowerLow[n & 15] * scale};
  }

  // exp(x) for |x| <= 700
  ZENTHAR_KERNEL static Double exp(Double x) {
    const auto [n, r] = reduced(x);
    const mreal t = r.high * r.high;
    const mreal tail = fused(
        t,
        fused(r.high,
              fused(r.high,
                    fused(r.high, fused(r.high, fused(r.high, 1.0 / 5040, 1.0 / 720), 1.0 / 120), 1.0 / 24),
                    1.0 / 6),
              0.5),
        r.low);
    const Double power = power_by_sixteenths(n.integer);
    const Double p = product(power.high, r.high), s = fast_sum(power.high, p.high);
    return fast_sum(s.high, s.low + (p.low + fused(power.high, tail, fused(power.low, r.high, power.low))));
  }

  // Hyperbolic sine and cosine for 0 <= x <= 700.
  ZENTHAR_KERNEL static Pair hyperbolic(Double x) {
    const auto [n, r] = reduced(x);
    const Double up = halved(power_by_sixteenths(n.integer)), down = halved(power_by_sixteenths(-n.integer));
    const Double a = fast_sum(up, negated(down)), b = fast_sum(up, down);
    const mreal t = r.high * r.high;
    const mreal excess = r.high * (t * fused(t, fused(t, 1.0 / 5040, 1.0 / 120), 1.0 / 6));
    const mreal versine = t * fused(t, fused(t, fused(t, 1.0 / 40320, 1.0 / 720), 1.0 / 24), 0.5);
    return {added(a, b, r, versine, excess), added(b, a, r, versine, excess)};
  }

  // log(x) for a normal x (P. T. P. Tang, Table-driven implementation of the logarithm function in IEEE
  // floating-point arithmetic, ACM TOMS 16, 1990).
  ZENTHAR_KERNEL static Double log(Double x) {
    constexpr uint64_t kHalf = uint64_t(1) << 46, kExponents = uint64_t(0x7ff) << 52;
    const auto bits = __builtin_bit_cast(uint64_t, x.high), z = bits + kHalf;
    const auto e = mreal(int(z >> 52) - 1023);
    const auto m = __builtin_bit_cast(mreal, bits - (z & kExponents) + (uint64_t(1023) << 52));
    const int index = int(z >> 47) & 31;
    const mreal c = kCentres[index];
    // m c - 1 is exact: c has few bits, and is near 1/m.
    const auto upper = __builtin_bit_cast(mreal, __builtin_bit_cast(uint64_t, m) & ~uint64_t(0x7ffffff));
    const mreal r = (upper * c - 1.0) + (m - upper) * c;
    const mreal high = e * kTwoLogHigh + kCentreLogHigh[index];  // exact
    const mreal rest = fused(e, kTwoLogLow, kCentreLogLow[index]);
    const Double s = fast_sum(high, r), half_square = product(r, -0.5 * r);
    const Double t = fast_sum(s.high, half_square.high);
    const mreal* const k = kCentreTerms;
    const mreal square = r * r, fourth = square * square;
    const mreal terms =
        fused(fourth, fused(fourth, k[8], fused(square, fused(r, k[7], k[6]), fused(r, k[5], k[4]))),
              fused(square, fused(r, k[3], k[2]), fused(r, k[1], k[0])));
    const mreal tail = fused(r * square, terms, rest + half_square.low);
    return fast_sum(t.high, t.low + (s.low + (tail + x.low / x.high)));
  }

  // log(1 + x) for x from 2^-900 to 2^900.
  ZENTHAR_KERNEL static Double log_of_more(Double x) {
    if (x.high < 0x1p-40) return fast_sum(x.high, fused(-0.5 * x.high, x.high, x.low));
    return log(sum(x, {1.0, 0.0}));
  }

  // The angle of (x, y), of which the larger is between 2^-500 and 2^500.
  ZENTHAR_KERNEL static Double angle(Double y, Double x) {
    const Double width = with_sign(x, 0.0), height = with_sign(y, 0.0);
    const bool steep = width.high < height.high;
    const Double a = steep ? width : height, b = steep ? height : width;
    const mreal inverse = 1.0 / b.high;
    const mreal size = 16.0 * (a.high * inverse);
    const Nearest n = nearest(size < 15.0 ? size : 15.0);
    const mreal c = 0.0625 * n.value;
    // atan(a/b) = atan(c) + atan((a - c b)/(b + c a))
    const Double cb = product(c, b.high), ca = product(c, a.high);
    const Double difference = sum(a.high, -cb.high), whole = fast_sum(b.high, ca.high);
    const Double above = fast_sum(difference.high, (difference.low - cb.low) + fused(-c, b.low, a.low));
    const Double below = {whole.high, whole.low + (ca.low + fused(c, a.low, b.low))};
    const Double t = quotient(above, below);
    const mreal square = t.high * t.high;
    const mreal* const k = kArcTerms;
    const mreal excess =
        t.high * (square * fused(square * square, fused(square, fused(square, k[4], k[3]), k[2]),
                                 fused(square, k[1], k[0])));
    const int64_t index = n.integer & 15;
    const Double s = fast_sum(kArcHigh[index], t.high);
    const Double arc = fast_sum(s.high, s.low + (t.low + (kArcLow[index] + excess)));
    // What the axis nearest to it adds.
    const bool left = __builtin_signbit(x.high);
    const mreal quarters = steep ? 1.0 : left ? 2.0 : 0.0;
    const Double from = steep != left ? negated(arc) : arc;
    const Double turn = fast_sum(Double{quarters * kQuarterHigh, quarters * kQuarterLow}, from);
    return with_sign(turn, y.high);
  }

  // A sum whose sign is that of `sign`.
  ZENTHAR_KERNEL static Double with_sign(Double x, mreal sign) {
    return __builtin_signbit(x.high) == __builtin_signbit(sign) ? x : negated(x);
  }
};

}  // namespace zenthar

#endif
