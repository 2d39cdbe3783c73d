// Arithmetic that the definitions are written with: integers with their overflow, conversions, complex
// numbers. The mathematics library is called by the compiler's names for its functions (__builtin_sin is
// sin), since <cmath> would bring in functions that targets share.
#ifndef ZENTHAR_KERNELS_OPERATIONS_NUMBERS_H
#define ZENTHAR_KERNELS_OPERATIONS_NUMBERS_H

#include "kernels/operations/operation.h"

namespace zenthar::ZENTHAR_TARGET {

inline constexpr mint kMostNegative = -9223372036854775807 - 1;

template <AnyInteger T>
using Unsigned = std::make_unsigned_t<T>;
template <AnyInteger T>
using Signed = std::make_signed_t<T>;
template <AnyInteger T>
inline constexpr int kBits = 8 * int(sizeof(T));
template <AnyInteger T>
inline constexpr bool kSigned = std::is_signed_v<T>;
// Twice as wide as T, or as wide as there is.
template <AnyInteger T>
using Wider = std::conditional_t<
    kSigned<T>,
    std::conditional_t<sizeof(T) == 1, int16_t, std::conditional_t<sizeof(T) == 2, int32_t, int64_t>>,
    std::conditional_t<sizeof(T) == 1, uint16_t, std::conditional_t<sizeof(T) == 2, uint32_t, uint64_t>>>;

template <AnyInteger T>
inline constexpr T kGreatest = T(Unsigned<T>(-1) >> (kSigned<T> ? 1 : 0));
template <AnyInteger T>
inline constexpr T kLeast = T(~kGreatest<T>);

template <AnyInteger T>
ZENTHAR_KERNEL bool is_negative(T a) {
  if constexpr (kSigned<T>) {
    return a < 0;
  } else {
    return false;
  }
}

// a b modulo 2^bits.
template <AnyInteger T>
ZENTHAR_KERNEL T wrapped_product(T a, T b) {
  using U = std::conditional_t<sizeof(T) < 4, uint32_t, Unsigned<T>>;  // what narrower ones are promoted to
  return T(U(a) * U(b));
}

// A failure where the topmost bit of x is set, for loops: narrow elements compare, the others shift.
template <AnyInteger T>
ZENTHAR_KERNEL Failure failure_by_sign(T x) {
  if constexpr (sizeof(T) == 8) {
    return Failure(uint64_t(x) >> 63);
  } else {
    return Failure(Signed<T>(x) >> (kBits<T> - 1));
  }
}

// Sums, differences and products of integers modulo 2^bits, failing with kOverflow while the check is on.
// Single calls take the processor's overflow flag, loops compare topmost bits: those of a sum's addends
// differ from its own where it overflows, and of unsigned ones tell the carry.
template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> add(T a, T b, C checks) {
  if constexpr (C::kBlock) {
    const auto sum = T(Unsigned<T>(a) + Unsigned<T>(b));
    const auto lost = kSigned<T> ? T((a ^ sum) & (b ^ sum)) : T((a & b) | ((a | b) & ~sum));
    return {sum, C::overflow() ? failure_by_sign(lost) : Failure::kNone};
  } else {
    T sum;
    const bool overflow = __builtin_add_overflow(a, b, &sum);
    return {sum, fail_if(overflow && checks.overflow(), Failure::kOverflow)};
  }
}

template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> subtract(T a, T b, C checks) {
  if constexpr (C::kBlock) {
    const auto difference = T(Unsigned<T>(a) - Unsigned<T>(b));
    const auto lost = kSigned<T> ? T((a ^ b) & (a ^ difference)) : T((~a & b) | ((~a | b) & difference));
    return {difference, C::overflow() ? failure_by_sign(lost) : Failure::kNone};
  } else {
    T difference;
    const bool overflow = __builtin_sub_overflow(a, b, &difference);
    return {difference, fail_if(overflow && checks.overflow(), Failure::kOverflow)};
  }
}

// Whether a b is not `wrapped`, its value modulo 2^64. They differ by multiples of 2^64, while the product of
// the nearest reals is off by a part in 2^51 at most, so a difference of 2^62 tells the cases apart without
// fail.
ZENTHAR_KERNEL bool product_wrapped(mint a, mint b, mint wrapped) {
  return !(__builtin_fabs(mreal(a) * mreal(b) - mreal(wrapped)) < 0x1p62);
}

// The product of narrow integers, with a failure where the upper half of the whole one is more than the lower
// half's sign.
template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> multiply_narrow(T a, T b, C) {
  const auto whole = Wider<T>(Wider<T>(a) * Wider<T>(b));
  const auto product = T(whole);
  if constexpr (!C::overflow()) return {product, Failure::kNone};
  const auto upper = T(whole >> kBits<T>);
  return {product, Failure(T(upper ^ (kSigned<T> ? T(product >> (kBits<T> - 1)) : T(0))))};
}

template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> multiply(T a, T b, C checks) {
  if constexpr (C::kBlock && sizeof(T) < 8) {
    return multiply_narrow(a, b, checks);
  } else if constexpr (C::kBlock) {
    const T wrapped = wrapped_product(a, b);
    if constexpr (!C::overflow()) return {wrapped, Failure::kNone};
#ifdef __AVX512DQ__  // which converts integers by the vector; elsewhere the overflow flag is faster
    if constexpr (kSigned<T>) return {wrapped, fail_if(product_wrapped(a, b, wrapped), Failure::kOverflow)};
#endif
  }
  T product;
  const bool overflow = __builtin_mul_overflow(a, b, &product);
  return {product, fail_if(overflow && checks.overflow(), Failure::kOverflow)};
}

template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> negate(T a, C checks) {
  const auto negated = T(-Unsigned<T>(a));
  if constexpr (!kSigned<T>) {  // below 0 but for 0 itself
    return {negated, fail_if(checks.overflow() && a != 0, Failure::kOverflow)};
  } else if constexpr (C::kBlock) {  // the least alone has its own sign's bit in common with its negative
    return {negated, C::overflow() ? failure_by_sign(T(a & negated)) : Failure::kNone};
  } else {
    return {negated, fail_if(checks.overflow() && a == kLeast<T>, Failure::kOverflow)};
  }
}

template <AnyInteger T, class C>
ZENTHAR_KERNEL Outcome<T> magnitude(T a, C checks) {
  if constexpr (!kSigned<T>) {
    return {a, Failure::kNone};
  } else {
    const auto positive = T(a < 0 ? -Unsigned<T>(a) : Unsigned<T>(a));
    if constexpr (C::kBlock) {
      return {positive, C::overflow() ? failure_by_sign(positive) : Failure::kNone};
    } else {
      return {positive, fail_if(checks.overflow() && a == kLeast<T>, Failure::kOverflow)};
    }
  }
}

// The mathematics library's names for both kinds of reals.
ZENTHAR_KERNEL mreal square_root(mreal x) { return __builtin_sqrt(x); }
ZENTHAR_KERNEL float square_root(float x) { return __builtin_sqrtf(x); }
ZENTHAR_KERNEL mreal truncated(mreal x) { return __builtin_trunc(x); }
ZENTHAR_KERNEL float truncated(float x) { return __builtin_truncf(x); }
ZENTHAR_KERNEL mreal with_sign(mreal x, mreal sign) { return __builtin_copysign(x, sign); }
ZENTHAR_KERNEL float with_sign(float x, float sign) { return __builtin_copysignf(x, sign); }

// Conversion with truncation; NaN and what is out of range give -2^63, as the processor has it.
ZENTHAR_KERNEL mint to_mint(mreal x) {
  return x >= -9223372036854775808.0 && x < 9223372036854775808.0 ? mint(x) : kMostNegative;
}

ZENTHAR_KERNEL bool in_mint_range(mreal x) {
  return x >= -9223372036854775808.0 && x < 9223372036854775808.0;
}

// Complex numbers of the mathematics library. `_Complex double` and mcomplex have the same layout.
__extension__ typedef _Complex double NativeComplex;
__extension__ typedef _Complex long double NativeLongComplex;

ZENTHAR_KERNEL NativeComplex native(mcomplex z) {
  NativeComplex w;
  __real__ w = z.re;
  __imag__ w = z.im;
  return w;
}
ZENTHAR_KERNEL mcomplex machine(NativeComplex w) { return {__real__ w, __imag__ w}; }

// a b, rounded before it goes into a sum. The loops of GCC 12 turn the alternating differences and sums of
// complex products into fused operations even where contraction is switched off; a barrier keeps every
// target's bits the same.
ZENTHAR_KERNEL mreal product(mreal a, mreal b) {
#if defined(__has_builtin) && __has_builtin(__builtin_assoc_barrier)
  return __builtin_assoc_barrier(a * b);
#else
  return a * b;
#endif
}

ZENTHAR_KERNEL mcomplex multiply(mcomplex a, mcomplex b) {
  return {product(a.re, b.re) - product(a.im, b.im), product(a.re, b.im) + product(a.im, b.re)};
}

// |z| = M sqrt(1 + (s/M)^2) with M the larger and s the smaller magnitude: neither overflows nor underflows
// where the modulus itself does not. An infinite part makes it infinite, even beside a NaN.
ZENTHAR_KERNEL mreal modulus(mcomplex z) {
  const mreal x = __builtin_fabs(z.re);
  const mreal y = __builtin_fabs(z.im);
  const mreal large = x > y ? x : y;
  const mreal small = x > y ? y : x;
  const mreal ratio = small / (large == 0.0 ? 1.0 : large);
  const mreal scaled = large * __builtin_sqrt(1.0 + ratio * ratio);
  return ((x > kLargest) | (y > kLargest)) ? __builtin_inf() : scaled;
}

ZENTHAR_KERNEL mreal larger_magnitude(mcomplex z) {
  const mreal x = __builtin_fabs(z.re);
  const mreal y = __builtin_fabs(z.im);
  return x > y ? x : y;
}

// The exponent field of the larger part of z, kept to the range in which a power of two and its inverse are
// normal numbers.
ZENTHAR_KERNEL uint64_t exponent_field(mcomplex z) {
  constexpr mreal kLeast = 0x1p-1022, kMost = 0x1p1022;
  const mreal large = larger_magnitude(z);
  const mreal raised = large > kLeast ? large : kLeast;
  return __builtin_bit_cast(uint64_t, raised < kMost ? raised : kMost) & uint64_t(0x7ff) << 52;
}

ZENTHAR_KERNEL mreal power_of_two(uint64_t exponent) { return __builtin_bit_cast(mreal, exponent); }

// a / b by the quotient formula on operands scaled near 1 by powers of two, which is exact. The power that
// undoes both scalings may be no number itself, so it is applied in halves: the first keeps all bits where
// the quotient does, so that it is rounded once, and neither overflows where the quotient does not.
ZENTHAR_KERNEL mcomplex divide_scaled(mcomplex a, mcomplex b) {
  constexpr uint64_t kTwiceBias = uint64_t(2046) << 52, kField = uint64_t(0x7ff) << 52;
  const uint64_t a_exponent = exponent_field(a), b_exponent = exponent_field(b);
  const mreal a_scale = power_of_two(kTwiceBias - a_exponent),
              b_scale = power_of_two(kTwiceBias - b_exponent);
  const mreal a_re = a.re * a_scale, a_im = a.im * a_scale;
  const mreal b_re = b.re * b_scale, b_im = b.im * b_scale;
  const mreal norm = product(b_re, b_re) + product(b_im, b_im);
  const mreal re = (product(a_re, b_re) + product(a_im, b_im)) / norm;
  const mreal im = (product(a_im, b_re) - product(a_re, b_im)) / norm;
  const uint64_t both = a_exponent - b_exponent + kTwiceBias;
  const uint64_t half = both >> 1 & kField;
  const mreal first = power_of_two(half), second = power_of_two(both - half);
  return {re * first * second, im * first * second};
}

// The quotient where the formula gives no number: infinities and zero divisors as C99 Annex G has them.
inline mcomplex divide_special(mcomplex a, mcomplex b, mcomplex quotient) {
  const mreal infinity = __builtin_inf();
  const auto boxed = [](mreal x) { return __builtin_copysign(__builtin_fabs(x) > kLargest ? 1.0 : 0.0, x); };
  if (b.re == 0.0 && b.im == 0.0 && (a.re == a.re || a.im == a.im)) {
    const mreal big = __builtin_copysign(infinity, b.re);
    return {big * a.re, big * a.im};
  }
  if ((__builtin_fabs(a.re) > kLargest || __builtin_fabs(a.im) > kLargest) && is_finite(b)) {
    const mreal x = boxed(a.re), y = boxed(a.im);
    return {infinity * (x * b.re + y * b.im), infinity * (y * b.re - x * b.im)};
  }
  if ((__builtin_fabs(b.re) > kLargest || __builtin_fabs(b.im) > kLargest) && is_finite(a)) {
    const mreal x = boxed(b.re), y = boxed(b.im);
    return {0.0 * (a.re * x + a.im * y), 0.0 * (a.im * x - a.re * y)};
  }
  return quotient;
}

ZENTHAR_KERNEL mcomplex divide(mcomplex a, mcomplex b) {
  const mcomplex quotient = divide_scaled(a, b);
  if (__builtin_expect((quotient.re != quotient.re) & (quotient.im != quotient.im), 0))
    return divide_special(a, b, quotient);
  return quotient;
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
