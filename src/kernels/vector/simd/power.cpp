// Powers and roots.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {

#include "kernels/vector/simd/coefficients/root.inc"

namespace {

// exp(y log|x|) with a logarithm of about 65 bits, and the sign of x where y is odd. Zeros, subnormals,
// infinities and NaNs among the arguments, exponents too large to have a parity in their low bits, and
// results near or beyond the ends of the range are left to the definition.
struct PowForm {
  ZENTHAR_KERNEL static Real compute(Real x, Real y, Mask& rare) {
    const Real base = magnitude(x);
    const Double log = log_loose(base, broadcast(1023.0));
    const Double p = product(log.high, y);
    const Real size = exp_rounded(p.high, fused(log.low, y, p.low));

    constexpr mreal kMostParity = 0x1p51;
    const Nearest n = nearest(y);
    const Real z = flip_sign(size, bits(x) & (n.integer << 63));
    rare = not_less_equal(magnitude(p.high), broadcast(708.0)) | not_less_equal(broadcast(0x1p-1022), base) |
           not_less_equal(base, broadcast(kLargest)) | not_less(magnitude(y), broadcast(kMostParity));
    return select(sign_bit(x) & !equal(n.value, y), broadcast(__builtin_nan("")), z);
  }
};

// x = 2^(3 k) m with 1/2 <= m < 4. A rough m^(-1/3) from a polynomial, one step of third order to more than
// half of the bits, and the last of them from what is left of m when the cube of the root is taken away.
struct CbrtForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask&) {
    const Real size = magnitude(x);
#ifdef __AVX512F__
    const Parts parts = parts_of(size);
#else
    const Mask small = less(size, broadcast(0x1p-1022));
    Parts parts = parts_of(select(small, size * 0x1p54, size));
    parts.exponent -= select(small, broadcast(54.0), Real{});
#endif
    const Nearest k = nearest(parts.exponent * (1.0 / 3));
    const Nearest j = nearest(fused(k.value, -3.0, parts.exponent));
    const Real m = scale_normal(parts.significand, j);
    const Real rough = look_up(kInverseCbrtOfTwo, j.integer & 7) * estrin(parts.significand, kInverseCbrt);
    const Real error = fused_from(m * rough, rough * rough, broadcast(1.0));
    const Real inverse = fused(rough * error, fused(error, 2.0 / 9, 1.0 / 3), rough);
    const Real inverse_square = inverse * inverse, root = m * inverse_square;
    const Double square = product(root, root), cube = product(square.high, root);
    const Real rest = fused_from(square.low, root, (m - cube.high) - cube.low);
    const Real y = scale_normal(fused(inverse_square * (1.0 / 3), rest, root), k);
    const Mask itself = not_less_equal(size, broadcast(kLargest)) | equal(size, Real{});
    return select(itself, x, with_sign(y, x));
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
ZENTHAR_VECTOR_FORM(Cbrt, CbrtForm, mreal)
ZENTHAR_VECTOR_FORM(RSqrt, RSqrtForm, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
