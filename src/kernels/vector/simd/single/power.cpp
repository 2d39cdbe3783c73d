// Powers and roots of singles.
#include "kernels/vector/simd/single/halves.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/coefficients/single.inc"

namespace {

// The binary logarithm of a positive normal number, right to about 2^-39 of itself.
ZENTHAR_KERNEL Real short_log2(Real x) {
  const auto [e, m] = short_parts(x);
  const Bits index = (bits(m) >> 48) & 15;
  const Real r = fused(m, look_up(kShortCentres, index), -1.0);
  return fused(r, estrin(r, kShortLog2Terms), e + look_up(kShortLogs2, index));
}

// 2^(y log2|x|), and the sign of x where y is odd. Zeros, infinities and NaNs among the arguments and
// exponents too large to have a parity in their low bits are left to the definition.
struct ShortPow {
  static constexpr float kMostParity = 0x1p50f;
  ZENTHAR_KERNEL static SingleMask left_out(Single x, Single y) {
    return not_finite(x) | equal(x, Single{}) | not_less(magnitude(y), broadcast(kMostParity));
  }
  ZENTHAR_KERNEL static Real of(Real x, Real y) {
    const Real exponent = clamp(short_log2(magnitude(x)) * y, -200.0, 200.0);
    const Nearest n = nearest(exponent), whole = nearest(y);
    const Real f = exponent - n.value;
    const Real size = scale_normal(fused(f, estrin(f, kShortExp2Terms), broadcast(1.0)), n);
    const Real z = flip_sign(size, bits(x) & (whole.integer << 63));
    return select(sign_bit(x) & !equal(whole.value, y), broadcast(__builtin_nan("")), z);
  }
};

// x = 2^(3 k) m with 1/2 <= m < 4. A rough m^(-1/3) from a polynomial, one step of third order, and the last
// bits of the root from what is left of m when its cube is taken away.
struct SingleCbrtForm {
  ZENTHAR_KERNEL static Single compute(Single x, SingleMask&) {
    const Single size = magnitude(x);
#ifdef __AVX512F__
    const Single exponent = _mm512_maskz_getexp_ps(kAllSingleLanes, size);
    const Single significand =
        _mm512_maskz_getmant_ps(kAllSingleLanes, size, _MM_MANT_NORM_1_2, _MM_MANT_SIGN_zero);
#else
    const SingleMask small = less(size, broadcast(0x1p-126f));
    const SingleBits scaled = bits(select(small, size * 0x1p24f, size));
    const Single exponent = real((scaled >> 23) | bits(broadcast(0x1p23f))) -
                            select(small, broadcast(0x1p23f + 151.0f), broadcast(0x1p23f + 127.0f));
    const Single significand = real((scaled & 0x7fffff) | bits(broadcast(1.0f)));
#endif
    const SingleNearest k = nearest_multiple(exponent, 1.0f / 3);
    const SingleNearest j = nearest_multiple(fused(k.value, -3.0f, exponent), 1.0f);
    const Single m = scale_normal(significand, j);
    const Single rough =
        look_up(kSingleInverseCbrtOfTwo, j.integer) * estrin(significand, kSingleInverseCbrt);
    const Single error = fused(-m * rough, rough * rough, broadcast(1.0f));
    const Single inverse = fused(rough * error, fused(error, 2.0f / 9, 1.0f / 3), rough);
    const Single inverse_square = inverse * inverse, root = m * inverse_square;
    const Single square = root * root, square_low = fused_once(root, root, -square);
    const Single cube = square * root, cube_low = fused_once(square, root, -cube);
    const Single rest = fused(-square_low, root, (m - cube) - cube_low);
    const Single y = scale_normal(fused(inverse_square * (1.0f / 3), rest, root), k);
    return select(not_finite(size) | equal(size, Single{}), x, with_sign(y, x));
  }
};

struct ShortRSqrt {
  ZENTHAR_KERNEL static SingleMask left_out(Single x) { return not_less(Single{}, x) | not_finite(x); }
  ZENTHAR_KERNEL static Real of(Real x) { return short_inverse_root(x); }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Pow, ByHalves<ShortPow>, float, float)
ZENTHAR_VECTOR_FORM(Cbrt, SingleCbrtForm, float)
ZENTHAR_VECTOR_FORM(RSqrt, ByHalves<ShortRSqrt>, float)

}  // namespace zenthar::ZENTHAR_TARGET
