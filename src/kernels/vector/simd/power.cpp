// Powers and roots.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/root.inc"

namespace {

constexpr ShortTable<16> kInverseCbrt[] = {shortened(kInverseCbrt0), shortened(kInverseCbrt1),
                                           shortened(kInverseCbrt2)};

// exp(y log|x|) with a logarithm of about 65 bits, and the sign of x where y is odd. Zeros, subnormals,
// infinities and NaNs among the bases, negative ones with exponents too large to have a parity in their low
// bits, and results near or beyond the ends of the range are left to the definition.
struct PowForm {
  // y log|x|
  ZENTHAR_KERNEL static Double prepare(Real x, Real y) {
    const Double log = fast_sum(log_loose(magnitude(x), broadcast(1023.0)));
    const Double p = product(log.high, y);
    return {p.high, fused(log.low, y, p.low)};
  }
  // |x|^y from that.
  ZENTHAR_KERNEL static Real size(Double power, Real x, Mask& rare) {
    rare = not_less_equal(magnitude(power.high), broadcast(708.0)) | irregular(x);
    return exp_significand(power.high, power.low).normal();
  }
  ZENTHAR_KERNEL static Real finish(Double power, Real x, Real y, Mask& rare) {
    const Real size = PowForm::size(power, x, rare);
    const Mask negative = sign_bit(x);
    constexpr mreal kMostParity = 0x1p51;
    // Products of exponents that large are not exact without the fused operation, not even those with 0.
    if constexpr (!kFused) rare = rare | not_less(magnitude(y), broadcast(kMostParity));
    if (__builtin_expect(!any(negative), 1)) return size;

    const Nearest n = nearest(y);
    rare = rare | (negative & not_less(magnitude(y), broadcast(kMostParity)));
    const Real z = flip_sign(size, bits(x) & (n.integer << 63));
    return select(negative & !equal(n.value, y), broadcast(__builtin_nan("")), z);
  }
  // Zeros, subnormals, infinities and NaNs.
  ZENTHAR_KERNEL static Mask irregular(Real x) {
#ifdef __AVX512F__
    return {_mm512_fpclass_pd_mask(x, 0xbf)};
#else
    const Real size = magnitude(x);
    return not_less_equal(broadcast(0x1p-1022), size) | not_less_equal(size, broadcast(kLargest));
#endif
  }
};

#ifdef __AVX2__
// Powers whose exponents are integers. Small ones are products in two parts, the others are those of PowForm.
// Which way an element goes depends on its own exponent alone; what the exponents of a run have in common
// only spares it the rest.
constexpr uint64_t kSmall = 32;  // -kSmall <= n < kSmall
ZENTHAR_KERNEL bool is_small(uint64_t n) { return n + kSmall < 2 * kSmall; }

// The power y of x. Zeros, infinities and NaNs are their own powers, or those of their inverses, with the
// sign of `signed_x`; products too near the ends of the range to have low parts are `outside`.
ZENTHAR_KERNEL Real finish_products(Real y, Real power, Real signed_x, Mask negative, Mask& outside) {
  const Real size = magnitude(power);
  outside = not_less_equal(broadcast(0x1p-960), size) | not_less_equal(size, broadcast(0x1p960));
  if (__builtin_expect(!any(outside), 1)) return y;
  const Real x_size = magnitude(signed_x);
  const Mask special = equal(x_size, Real{}) | not_less_equal(x_size, broadcast(kLargest));
  outside = outside & !special;
  return select(special, select(negative, 1.0 / signed_x, signed_x), y);
}

// x^n for a number n of the whole vector, and for one of each lane, in the same steps.
ZENTHAR_KERNEL Real by_products(Real x, mint n, Mask& outside) {
  if (n == 0) return broadcast(1.0);
  if (n == 1) return x;
  if (n == 2) return x * x;
  if (n == -1) return 1.0 / x;
  auto rest = uint64_t(n < 0 ? -n : n);
  Double base = {x, Real{}};
  for (; !(rest & 1); rest >>= 1) base = base * base;
  Double power = base;
  while (rest >>= 1) {
    base = base * base;
    if (rest & 1) power = power * base;
  }
  const Real y = n < 0 ? reciprocal(power) : power.high;
  return finish_products(y, power.high, n & 1 ? x : magnitude(x), n < 0 ? !none() : none(), outside);
}
ZENTHAR_KERNEL Real by_products(Real x, Bits n, Mask& outside) {
  const Real exponent = to_real(n);
  const Mask negative = sign_bit(exponent);
  Double base = {x, Real{}}, power = {broadcast(1.0), Real{}};
  for (Bits rest = select(negative, -n, n);;) {
    power = select(bit<0>(rest), power * base, power);
    rest >>= 1;
    if (!any(nonzero(rest))) break;
    base = base * base;
  }
  const Real product = select(negative, reciprocal(power), power.high);
  const Real y = finish_products(product, power.high, select(bit<0>(n), x, magnitude(x)), negative, outside);
  const Mask zero = equal(exponent, Real{}), one = equal(exponent, broadcast(1.0)),
             two = equal(exponent, broadcast(2.0)), inverse = equal(exponent, broadcast(-1.0));
  outside = outside & !(zero | one | two | inverse);
  return select(zero, broadcast(1.0), select(one, x, select(two, x * x, select(inverse, 1.0 / x, y))));
}

// Small exponents, all of them equal.
struct EqualPowerForm {
  ZENTHAR_KERNEL static Real compute(Real x, Bits n, Mask& rare) { return by_products(x, mint(n[0]), rare); }
};

struct LargePowerForm {
  ZENTHAR_KERNEL static Double prepare(Real x, Bits n) { return PowForm::prepare(x, to_real(n)); }
  ZENTHAR_KERNEL static Real finish(Double power, Real x, Bits n, Mask& rare) {
    const Real size = PowForm::size(power, x, rare);
    rare = rare | nonzero((n + (uint64_t(1) << 51)) >> 52);  // what to_real() does not take
    return flip_sign(size, bits(x) & (n << 63));
  }
};

struct IntegerPowerForm {
  ZENTHAR_KERNEL static Real compute(Real x, Bits n, Mask& rare) {
    const Mask large = nonzero((n + kSmall) / (2 * kSmall));
    if (!any(large)) return by_products(x, n, rare);

    Mask outside = none();
    const Real small = by_products(x, select(large, Bits{}, n), outside);
    const Real y = LargePowerForm::finish(LargePowerForm::prepare(x, n), x, n, rare);
    rare = (rare & large) | outside;
    return select(large, y, small);
  }
};

template <uint32_t kFlags>
int64_t integer_powers(void* result, const void* const* operands, mint n) {
  const auto first = load<uint64_t>(operands[1], 0);
  uint64_t different = 0, small = 0;
#pragma omp simd reduction(| : different, small)
  for (mint i = 0; i < n; ++i) {
    const auto exponent = load<uint64_t>(operands[1], i);
    different |= exponent ^ first;
    small |= is_small(exponent) ? 1 : 0;
  }
  if (different == 0 && first == 2) return Loop<Square, kFlags, mreal>::run(result, operands, n);
  if (different == 0 && small != 0)
    return VectorLoop<Pow, EqualPowerForm, kFlags, mreal, mint>::run(result, operands, n);
  if (small == 0) return VectorLoop<Pow, LargePowerForm, kFlags, mreal, mint>::run(result, operands, n);
  return VectorLoop<Pow, IntegerPowerForm, kFlags, mreal, mint>::run(result, operands, n);
}
#endif

// x = 2^(3 k) m with 1/2 <= m < 4, where m is 2^j times a significand from 1 to 2. A rough m^(-1/3) by
// pieces, one step to twice its bits, and the last of them from what is left of m when the cube of the root
// is taken away.
struct CbrtForm {
  struct Half {
    Real m, inverse;  // m^(-1/3), nearly
    Nearest k;
  };
  ZENTHAR_KERNEL static Half prepare(Real x) {
    const Real size = magnitude(x);
#ifdef __AVX512F__
    const Real exponent = _mm512_maskz_getexp_pd(kAllLanes, size);
    const Real significand = _mm512_maskz_getmant_pd(kAllLanes, size, _MM_MANT_NORM_1_2, _MM_MANT_SIGN_zero);
#else
    constexpr uint64_t kFraction = (uint64_t(1) << 52) - 1, kOne = uint64_t(1023) << 52;
    const Mask small = less(size, broadcast(0x1p-1022));
    const Bits from = bits(select(small, size * 0x1p54, size));
    const Real exponent = to_real(from >> 52) - select(small, broadcast(1023.0 + 54.0), broadcast(1023.0));
    const Real significand = real((from & kFraction) | kOne);
#endif
    const Nearest k = nearest(exponent * (1.0 / 3));
    const Nearest j = nearest(fused(k.value, -3.0, exponent));
    const Bits place = bits(significand) >> 16;
    const Real c = look_up(kInverseCbrt[0], place), b = look_up(kInverseCbrt[1], place),
               a = look_up(kInverseCbrt[2], place);
    const Real of_significand = fused(fused(a, significand, b), significand, c);
    return {scale_normal(significand, j), look_up(kInverseCbrtOfTwo, j.integer & 7) * of_significand, k};
  }
  ZENTHAR_KERNEL static Real finish(const Half& half, Real x, Mask&) {
    const Real m = half.m, inverse_square = half.inverse * half.inverse, rough = m * inverse_square;
    const Real error = fused_from(rough, half.inverse, broadcast(1.0));
    const Real root = fused(rough * error, 2.0 / 3, rough);
    const Double square = product(root, root);
    const Real rest = fused_from(square.low, root, remainder(m, square.high, root));
    const Real y = with_sign(scale_normal(fused(inverse_square * (1.0 / 3), rest, root), half.k), x);
#ifdef __AVX512F__
    // By class of x, from the lowest digit: NaNs stay, and so do 0 and infinities.
    return _mm512_fixupimm_pd(y, x, _mm512_set1_epi64(0x00110122), 0);
#else
    const Real size = magnitude(x);
    return select(not_less_equal(size, broadcast(kLargest)) | equal(size, Real{}), x, y);
#endif
  }
};

// A number and its inverse root, or without the fused operation, whose products do not reach up to the
// largest numbers, what stands for them there.
struct Reached {
  Real number, inverse_root;
};
ZENTHAR_KERNEL Reached within_reach(Real x, Real y) {
  if constexpr (kFused) {
    return {x, y};
  } else {
    const Mask large = less(broadcast(0x1p900), x);
    return {select(large, x * 0x1p-200, x), select(large, y * 0x1p100, y)};
  }
}

// 1/sqrt(x) and a correction by how far x times its square is from 1.
struct RSqrtForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
#ifdef __AVX512F__
    const Real rough = _mm512_maskz_rsqrt14_pd(kAllLanes, x);
    const Real error = fused_from(x * rough, rough, broadcast(1.0));
    const Real y = fused(rough * error, fused(error, 0.375, 0.5), rough);
#else
    const Real rough = 1.0 / square_root(x), y = rough;
#endif
    const auto [square, root] = within_reach(x, y);
    const Double p = product(square, root), one = product(p.high, root);
    const Real rest = fused_from(p.low, root, (1.0 - one.high) - one.low);
    const Real z = fused(0.5 * y, rest, y);
    return select(is_nan(z), rough, z);  // of zeros and infinities, and of no number
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Pow, PowForm, mreal, mreal)
#ifdef __AVX2__
template <>
int64_t Loop<Pow, 0, mreal, mint>::run(void* result, const void* const* operands, mint n) {
  return integer_powers<0>(result, operands, n);
}
template <>
int64_t Loop<Pow, kCheckReals, mreal, mint>::run(void* result, const void* const* operands, mint n) {
  return integer_powers<kCheckReals>(result, operands, n);
}
#endif
ZENTHAR_VECTOR_FORM(Cbrt, CbrtForm, mreal)
ZENTHAR_VECTOR_FORM(RSqrt, RSqrtForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
