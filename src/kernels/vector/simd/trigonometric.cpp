// Trigonometric functions.
#include "kernels/vector/simd/trigonometric.h"

namespace zenthar::ZENTHAR_TARGET {

namespace {

// x = quadrant pi/2 + (rest - over), as Angle has it; of an x without quadrants `over` is +0.
struct Turn {
  Bits quadrant;
  Real rest, over;
};

// The largest magnitude that near_turn() takes.
inline constexpr mreal kMostNear = kFused ? 0x1p20 : kMostReduced;

// With `ahead` more quadrants.
template <int ahead>
ZENTHAR_KERNEL Turn near_turn(Real x) {
  if constexpr (kFused) {
    const Real rounded = fused(x, kTwoOverPi, kRounder + ahead);
    const Real n = rounded - (kRounder + ahead);
    const Real first = fused_from(n, broadcast(kHalfPiNear[0]), x);  // exact, as is the product
    const Real second = n * kHalfPiNear[1], rest = first - second;
    return {bits(rounded), rest, fused(n, kHalfPiNear[2], second - (first - rest))};
  } else {
    const Angle angle = reduce(x);
    return {angle.quadrant + uint64_t(ahead), angle.rest.high, -angle.rest.low};
  }
}

// Lanes of numbers from 2^20 on in quadrants, and what is left of one: the product with as many bits of
// 1/(2 pi) as neither give whole turns nor vanish (M. H. Payne and R. N. Hanek, Radian reduction for
// trigonometric functions, ACM SIGNUM Newsletter 18, 1983). The error of the rest is less than 2^-124, of
// what is never less than 2^-62.
struct FarLanes {
  alignas(64) mreal size[kLanes];
  alignas(64) uint64_t quadrant[kLanes];
  // (high + 2^-63 low) unit
  alignas(64) mreal high[kLanes], low[kLanes], unit[kLanes];
};
ZENTHAR_KERNEL void reduce_far(FarLanes& lanes, int lane) {
  __extension__ using Wide = unsigned __int128;
  const uint64_t number = __builtin_bit_cast(uint64_t, lanes.size[lane]);
  // size = m 2^(8 byte - 32)
  const uint64_t place = (number >> 52) - 1075 + 32;
  const uint64_t m = ((number & (~uint64_t(0) >> 12)) | uint64_t(1) << 52) << (place & 7);
  const unsigned char* const from = kTurnBytes + (place >> 3);
  const auto word = [from](int k) __attribute__((always_inline)) {
    uint64_t w;
    __builtin_memcpy(&w, from + 8 * k, sizeof w);
    return __builtin_bswap64(w);
  };
  const Wide turn = (Wide(m * word(0)) << 64) + Wide(m) * word(1) + uint64_t(Wide(m) * word(2) >> 64);
  // From the middle of a quadrant on it is what lacks to the next one.
  const Wide part = turn << 2;
  const uint64_t beyond = uint64_t(part >> 127), mask = -beyond;
  const uint64_t upper = uint64_t(part >> 64) ^ mask, lower = uint64_t(part) ^ mask;
  const int zeros = __builtin_clzll(upper | 1);
  const uint64_t digits = (upper << zeros) | (lower >> 1 >> (63 - zeros)), more = lower << zeros;
  lanes.quadrant[lane] = uint64_t(turn >> 126) + beyond;
  lanes.high[lane] = mreal(int64_t(digits >> 11));
  lanes.low[lane] = mreal(int64_t((digits << 53 | more >> 11) >> 1));
  lanes.unit[lane] = __builtin_bit_cast(mreal, (uint64_t(1023 - 53 - zeros) << 52) | beyond << 63);
}
// Hot, although its callers are not.
[[gnu::noinline, gnu::hot]] void reduce_far(FarLanes& lanes) {
  for (int lane = 0; lane < kLanes; ++lane) reduce_far(lanes, lane);
}

// The turn of any number, where near_turn() does not give it.
template <int ahead>
ZENTHAR_KERNEL Turn far_turn(Real x) {
  const Angle angle = reduce(x);
  const Turn turn = {angle.quadrant + uint64_t(ahead), angle.rest.high, -angle.rest.low};
  const Real size = magnitude(x);
  const Mask far = not_less_equal(size, broadcast(kMostReduced));
  if (!any(far)) return turn;

  FarLanes lanes;
  store_lanes(lanes.size, greater(broadcast(0x1p20), lesser(size, broadcast(kLargest))));
  reduce_far(lanes);
  const Real unit = flip_sign(load_lanes(lanes.unit), sign_of(x));
  const Double fraction = {load_lanes(lanes.high) * unit, load_lanes(lanes.low) * 0x1p-63 * unit};
  const Double rest = fraction * Double{broadcast(kHalfPi[0]), broadcast(kHalfPi[1])};
  const Bits quadrant = bits(load_lanes(lanes.quadrant));
  const Real high = select(less_equal(size, broadcast(kLargest)), rest.high, broadcast(__builtin_nan("")));
  return {select(far, select(sign_bit(x), -quadrant, quadrant) + uint64_t(ahead), turn.quadrant),
          select(far, high, turn.rest), select(far, -rest.low, turn.over)};
}

// Coefficients of a multiple.
template <int n>
struct Terms {
  mreal term[n];
};
template <int n>
constexpr Terms<n> times(mreal factor, const mreal (&terms)[n]) {
  Terms<n> product{};
  for (int k = 0; k < n; ++k) product.term[k] = factor * terms[k];
  return product;
}
constexpr auto kMinusSin = times(-1, kSinTerms);
constexpr auto kMinusTwiceTanAbove = times(-2, kTanAboveTerms);
constexpr auto kMinusTwiceTanBelow = times(-2, kTanBelowTerms);

// base - less, with |less| < 0.3 |base|
struct Difference {
  Real base, less;
};
[[maybe_unused]] ZENTHAR_KERNEL Difference select(Mask where, Difference a, Difference b) {
  return {select(where, a.base, b.base), select(where, a.less, b.less)};
}
ZENTHAR_KERNEL Real rounded(Difference d) { return d.base - d.less; }
ZENTHAR_KERNEL Double exactly(Difference d) {
  const Real high = d.base - d.less;
  return {high, (d.base - high) - d.less};
}

// Of each lane the cosine or the sine of the rest.
ZENTHAR_KERNEL Difference cosine_or_sine(Mask cosine, const Turn& t) {
  const Real r = t.rest;
  if constexpr (kFused) {
    const Real square = r * r;
    const Real less =
        fused(square * select(cosine, square, r), blended(cosine, square, kCosTerms, kMinusSin.term),
              times_where(cosine, t.over, r));
    return {select(cosine, broadcast(1.0), r), fused_minus_where(cosine, 0.5 * r, r, less)};
  } else {
    const Wave w = wave({r, -t.over});
    const Real terms = w.square * blended(cosine, w.square, kCosTerms, kSinTerms);
    const Real small =
        select(cosine, fused_from(r, w.rest.low, w.complement.low), w.rest.low * w.complement.high);
    return {select(cosine, w.complement.high, r), -fused(select(cosine, w.square, r), terms, small)};
  }
}

// The tangent of the rest, where `turned` its inverse: the quotient of two numbers that have shorter
// polynomials than sine and cosine.
ZENTHAR_KERNEL Real tangent(Mask turned, const Turn& t) {
  if constexpr (kFused) {
    // Twice the two numbers as differences.
    const Real r = t.rest, square = r * r;
    const Difference s = {r + r,
                          fused(square * r, estrin(square, kMinusTwiceTanAbove.term), t.over + t.over)};
    const Real whole = fused_from(r, r, broadcast(2.0));
    const Real part = fused_from(r, t.over, fused(r, r, whole - 2.0));
    const Difference c = {whole, fused(square * square, estrin(square, kMinusTwiceTanBelow.term), part)};
    const Difference a = select(turned, c, s), b = select(turned, s, c);
    const Real divisor = rounded(b), q = rounded(a) / divisor;
    const Real excess = fused_minus(q, b.base, a.base) + fused_from(q, b.less, a.less);
    return fused_from(excess, rough_inverse(divisor), q);
  } else {
    const Wave w = wave({t.rest, -t.over});
    const Double s = fast_sum(sine(w, kTanAboveTerms)), c = fast_sum(cosine(w, kTanBelowTerms));
    return divided(select(turned, c, s), select(turned, s, c));
  }
}

// Bits of a quadrant as signs.
ZENTHAR_KERNEL Bits upper_half(Bits quadrant) { return (quadrant << 62) & kSignBit; }

// Of odd functions without the fused operation the turn of the magnitude is taken, so that zeros keep their
// signs; with it they do anyway.
ZENTHAR_KERNEL Real folded(Real x) { return kFused ? x : magnitude(x); }
ZENTHAR_KERNEL Bits fold(Real x) { return kFused ? Bits{} : sign_of(x); }

// Makes a form of a function's value for an argument and its turn.
template <class Function>
struct TrigonometricForm : Function {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Real size = magnitude(x);
    rare = not_less_equal(size, broadcast(kMostNear));
    if constexpr (Function::kLeast > 0) rare = rare | less(size, broadcast(Function::kLeast));
    return Function::value(x, near_turn<Function::kAhead>(Function::kOdd ? folded(x) : x));
  }
  ZENTHAR_KERNEL static Real compute_rare(Real x, Mask& rare) {
    const Real size = magnitude(x);
    if constexpr (Function::kLeast > 0) rare = less(size, broadcast(Function::kLeast));
    if constexpr (Function::kMost < kLargest) rare = rare | less(broadcast(Function::kMost), size);
    return Function::value(x, far_turn<Function::kAhead>(Function::kOdd ? folded(x) : x));
  }
};

// The turns are those of x + ahead pi/2. What is less than kLeast by magnitude, where the reciprocal may
// overflow, and what is larger than kMost have to be computed by definition.
template <int ahead, bool odd>
struct Traits {
  static constexpr int kAhead = ahead;
  static constexpr bool kOdd = odd;
  static constexpr mreal kLeast = 0, kMost = kLargest;
};

struct Sine : Traits<0, true> {
  ZENTHAR_KERNEL static Real value(Real x, const Turn& t) {
    const Real y = rounded(cosine_or_sine(bit<0>(t.quadrant), t));
    return flip_sign(y, upper_half(t.quadrant) ^ fold(x));
  }
};
struct Cosine : Traits<1, false> {
  ZENTHAR_KERNEL static Real value(Real, const Turn& t) {
    return flip_sign(rounded(cosine_or_sine(bit<0>(t.quadrant), t)), upper_half(t.quadrant));
  }
};
struct Cosecant : Traits<0, false> {
  ZENTHAR_KERNEL static Real value(Real, const Turn& t) {
    return flip_sign(reciprocal(exactly(cosine_or_sine(bit<0>(t.quadrant), t))), upper_half(t.quadrant));
  }
  static constexpr mreal kLeast = 0x1p-960;
  static mreal rare(mreal x) { return wide_csc(x); }
};
struct Secant : Traits<1, false> {
  ZENTHAR_KERNEL static Real value(Real, const Turn& t) {
    return flip_sign(reciprocal(exactly(cosine_or_sine(bit<0>(t.quadrant), t))), upper_half(t.quadrant));
  }
};

// In odd quadrants tangents are negative cotangents of the rest and the other way round.
struct Tangent : Traits<0, true> {
  ZENTHAR_KERNEL static Real value(Real x, const Turn& t) {
    const Mask odd = bit<0>(t.quadrant);
    return flip_sign(minus_where(odd, tangent(odd, t)), fold(x));
  }
};
struct Cotangent : Traits<0, false> {
  ZENTHAR_KERNEL static Real value(Real, const Turn& t) {
    const Mask odd = bit<0>(t.quadrant);
    return minus_where(odd, tangent(!odd, t));
  }
  static constexpr mreal kLeast = 0x1p-960;
  static mreal rare(mreal x) { return wide_cot(x); }
};

// sin(x)/x
struct SineOverArgument : Traits<0, false> {
  ZENTHAR_KERNEL static Real value(Real x, const Turn& t) {
    const Double s = exactly(cosine_or_sine(bit<0>(t.quadrant), t));
    const Real y = flip_sign(divided(s, {x, Real{}}), upper_half(t.quadrant));
    return select(less(magnitude(x), broadcast(0x1p-27)), broadcast(1.0), y);
  }
  static constexpr mreal kMost = 0x1p900;  // the quotient must not come near the subnormals
  static mreal rare(mreal x) { return wide_sinc(x); }
};

// sin(x/2)^2 = (1 - cos(x))/2, and in terms of the rest, by quadrants, (1 - cos)/2, (1 + sin)/2,
// 1 - (1 - cos)/2 and (1 - sin)/2.
struct SquareOfHalfSine : Traits<0, false> {
  ZENTHAR_KERNEL static Real value(Real x, const Turn& t) {
    const Wave w = wave({t.rest, -t.over});
    const Mask turned = bit<0>(t.quadrant);
    const Real half = 0.5 * w.rest.high;
    const Double quarter = product(half, half);
    const Real terms = w.square * blended(turned, w.square, kSinTerms, kCosTerms);
    const Double own = {select(turned, half, quarter.high),
                        select(turned, fused(half, terms, 0.5 * w.rest.low * w.complement.high),
                               fused_from(0.5 * w.square, terms, fused(half, w.rest.low, quarter.low)))};
    const Bits falling = upper_half(t.quadrant);
    const Real whole = flip_sign(own.high, falling), part = flip_sign(own.low, falling);
    const Real base = select(turned, broadcast(0.5), select(bit<1>(t.quadrant), broadcast(1.0), Real{}));
    const Double y = sum(base, whole);
    // Where the square is near the subnormals, its second part is not exact.
    return select(less(magnitude(x), broadcast(0x1p-27)), half * half, y.high + (y.low + part));
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Sin, TrigonometricForm<Sine>, mreal)
ZENTHAR_VECTOR_FORM(Cos, TrigonometricForm<Cosine>, mreal)
ZENTHAR_VECTOR_FORM(Tan, TrigonometricForm<Tangent>, mreal)
ZENTHAR_VECTOR_FORM(Csc, TrigonometricForm<Cosecant>, mreal)
ZENTHAR_VECTOR_FORM(Sec, TrigonometricForm<Secant>, mreal)
ZENTHAR_VECTOR_FORM(Cot, TrigonometricForm<Cotangent>, mreal)
ZENTHAR_VECTOR_FORM(Sinc, TrigonometricForm<SineOverArgument>, mreal)
ZENTHAR_VECTOR_FORM(Haversine, TrigonometricForm<SquareOfHalfSine>, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
