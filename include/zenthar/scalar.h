/**
 * @file scalar.h
 * @brief Scalar machine functions: one element of an operation, with checks.
 *
 * A function is named `s_machfunc_`, one letter per argument type (`i` ::mint, `d` ::mreal, `c` ::mcomplex),
 * `_` and the operation. It takes a pointer to the result, the arguments by value (a complex one as its two
 * parts), and the check flags, and returns a status:
 *
 * - 0: the result has been written;
 * - 1: the arguments allow no result: an integer overflow, a domain failure. Nothing was raised;
 * - an error code: it has been raised by throwZentharException() (in the styles that leave the raiser, the
 * function does not return).
 *
 * The result is written on success only.
 *
 * **Check flags.** ::ZENTHAR_CHECK_REALS tests a computed real or complex result, part by part: a NaN raises
 * code 9, an infinity code 6. ::ZENTHAR_CHECK_OVERFLOW makes an integer result that does not fit a mint fail;
 * without it integers wrap modulo 2^64. Other bits are ignored.
 *
 * **Types.** An integer beside a real or complex argument counts as a real; a real one beside a complex
 * argument has no imaginary part. Unless said otherwise the result has the wider type of the arguments.
 *
 * The functions keep no state and may be called from any number of threads at once.
 */
#ifndef ZENTHAR_SCALAR_H
#define ZENTHAR_SCALAR_H

#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** Bits of the check-flags word. */
enum {
  ZENTHAR_CHECK_REALS = 2,   /**< test computed reals: codes 9 and 6 */
  ZENTHAR_CHECK_OVERFLOW = 4 /**< test for integer overflow: status 1 */
};

/** @name Pairs, divisors and tables
 * @{ */
/** Computes the sine and the cosine of one angle in radians. */
ZENTHAR_API void SinCos(mreal x, mreal* sine, mreal* cosine);
/** Computes the hyperbolic sine and cosine of one number. */
ZENTHAR_API void SinhCosh(mreal x, mreal* hyperbolic_sine, mreal* hyperbolic_cosine);
/** The greatest common divisor of |a| and |b| by the binary algorithm (J. Stein, J. Comput. Phys. 1 (1967)
 * 397); gcd(a, 0) is |a|. 2^63, the one result that is no mint, comes out as -2^63. */
ZENTHAR_API mint gcd_mint(mint a, mint b);
/** The Fibonacci numbers F(0) = 0, F(1) = 1 to F(93), the last one modulo 2^64. */
extern ZENTHAR_API const mint fibonacci_table[94];
/** The Lucas numbers L(0) = 2, L(1) = 1 to L(92), the last two modulo 2^64. */
extern ZENTHAR_API const mint lucasl_table[93];
/** @} */

/** @name plus
 * @{ */
/** a + b. */
ZENTHAR_API int32_t s_machfunc_ii_plus(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_plus(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_plus(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_plus(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_plus(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_plus(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_plus(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_plus(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_plus(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                       uint32_t flags);
/** @} */

/** @name subtract
 * @{ */
/** a - b. */
ZENTHAR_API int32_t s_machfunc_ii_subtract(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_subtract(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_subtract(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_subtract(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_subtract(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_subtract(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_subtract(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_subtract(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_subtract(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                           uint32_t flags);
/** @} */

/** @name times
 * @{ */
/** a b. Complex products are the plain formula, (re re - im im) + (re im + im re) i. */
ZENTHAR_API int32_t s_machfunc_ii_times(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_times(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_times(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_times(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_times(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_times(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_times(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_times(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_times(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                        uint32_t flags);
/** @} */

/** @name div
 * @{ */
/**
 * a / b. Division by 0 gives what IEEE 754 has for it, which flag 2 reports. Complex quotients neither
 * overflow nor underflow unless the quotient itself does.
 */
ZENTHAR_API int32_t s_machfunc_id_div(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_div(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_div(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_div(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_div(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_div(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_div(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_div(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                      uint32_t flags);
/** @} */

/** @name mod
 * @{ */
/**
 * The remainder of a / b with the quotient rounded down, a - b floor(a/b): it has the sign of b.
 * Integers: -2^63 mod -1 is 0. Reals: the exact remainder; a tiny one of the other sign than b, which
 * would round to b, is 0.0. Complex: a - b n for the Gaussian integer n whose parts are those of a/b
 * rounded down, exact while these are below 2^60. Status 1 when b is 0 (domain), whatever the flags.
 */
ZENTHAR_API int32_t s_machfunc_ii_mod(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_mod(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_mod(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_mod(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_mod(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_mod(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_mod(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_mod(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_mod(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                      uint32_t flags);
/** @} */

/** @name quotient
 * @{ */
/**
 * floor(a/b), always an integer. Integers: exact; status 1 when b is 0 and for -2^63 / -1 (domain),
 * whatever the flags. With a real argument the quotient is rounded to a real first; status 1 when b is 0
 * (domain), and, under flag 4, when the result does not fit or is NaN; without flag 4 it is then -2^63.
 */
ZENTHAR_API int32_t s_machfunc_ii_quotient(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_quotient(mint* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_quotient(mint* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_quotient(mint* result, mreal a, mreal b, uint32_t flags);
/** @} */

/** @name pow
 * @{ */
/**
 * a to the power b. Integers: 0 to a power of 0 or below, and any base but 1 and -1 to a negative power,
 * fail with status 1 (domain), whatever the flags; the power overflows exactly when it does not fit. Real
 * to an integer power: as pow, the parity of integers beyond 2^53 included. Complex: the principal value
 * exp(b log a), formed with ten bits more than reals have, by squaring for integer powers up to 1024 in
 * size; 0 to the power 0 is 1.
 */
ZENTHAR_API int32_t s_machfunc_ii_pow(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_pow(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_pow(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_pow(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_pow(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_pow(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_pow(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_pow(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_pow(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                      uint32_t flags);
/** @} */

/** @name minus
 * @{ */
/** -x. Integers overflow for -2^63 alone. */
ZENTHAR_API int32_t s_machfunc_i_minus(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_minus(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_minus(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name square
 * @{ */
/**
 * x^2. Unlike that of other operations, the overflow of the integer form (under flag 4) is raised, as
 * code 1.
 */
ZENTHAR_API int32_t s_machfunc_i_square(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_square(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_square(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name abssquare
 * @{ */
/**
 * |x|^2, of a complex an mreal. Unlike that of other operations, the overflow of the integer form (under
 * flag 4) is raised, as code 1.
 */
ZENTHAR_API int32_t s_machfunc_i_abssquare(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_abssquare(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_abssquare(mreal* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name recip
 * @{ */
/** 1 / x. */
ZENTHAR_API int32_t s_machfunc_d_recip(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_recip(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name abs
 * @{ */
/**
 * The magnitude of x; of a complex the modulus, which is an mreal, M sqrt(1 + (s/M)^2) for the larger and
 * smaller part. Integers overflow for -2^63 alone.
 */
ZENTHAR_API int32_t s_machfunc_i_abs(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_abs(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_abs(mreal* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name arg
 * @{ */
/** The argument of a complex, an mreal in [-pi, pi]: atan2(im, re). */
ZENTHAR_API int32_t s_machfunc_c_arg(mreal* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name conj
 * @{ */
/** The complex conjugate; integers and reals are returned as they are. */
ZENTHAR_API int32_t s_machfunc_i_conj(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_conj(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_conj(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name re
 * @{ */
/** The real part; of a complex an mreal, integers and reals are returned as they are. */
ZENTHAR_API int32_t s_machfunc_i_re(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_re(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_re(mreal* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name im
 * @{ */
/** The imaginary part; of a complex an mreal, of integers and reals 0. */
ZENTHAR_API int32_t s_machfunc_i_im(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_im(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_im(mreal* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name sign
 * @{ */
/**
 * Integers and reals: the mint -1, 0 or 1; 0 for -0.0, 1 for a NaN. Complex: z/|z|, formed without
 * overflow or underflow; (+-1, 0) and (0, +-1) exactly where a part is 0, and 0 for 0.
 */
ZENTHAR_API int32_t s_machfunc_i_sign(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_sign(mint* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sign(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name round
 * @{ */
/**
 * The nearest integer, ties to even, as a mint. Under flag 4, status 1 for reals below -2^63 or above
 * 2^63 - 1024 and for NaN; without it these give -2^63. Integers are returned as they are.
 */
ZENTHAR_API int32_t s_machfunc_i_round(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_round(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name floor
 * @{ */
/** The next integer below or at x, as a mint; out of range as in round. */
ZENTHAR_API int32_t s_machfunc_i_floor(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_floor(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name ceiling
 * @{ */
/** The next integer above or at x, as a mint; out of range as in round. */
ZENTHAR_API int32_t s_machfunc_i_ceiling(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_ceiling(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name intpart
 * @{ */
/** The integer part, rounded toward 0, as a mint; out of range as in round. */
ZENTHAR_API int32_t s_machfunc_i_intpart(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_intpart(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name fracpart
 * @{ */
/**
 * The fractional part with the sign of x, as modf has it (0 for infinities); of a complex that of both
 * parts, of integers 0.
 */
ZENTHAR_API int32_t s_machfunc_i_fracpart(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_fracpart(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_fracpart(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name mod1
 * @{ */
/**
 * x mod 1 in [0, 1): the fractional part, plus 1 when x is negative and it is not 0; where that sum would
 * round to 1.0, and for negative integers, 0.0. Of a complex that of both parts, of integers 0.
 */
ZENTHAR_API int32_t s_machfunc_i_mod1(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_mod1(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_mod1(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name pos
 * @{ */
/** The mint 1 when x > 0, else 0. */
ZENTHAR_API int32_t s_machfunc_i_pos(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_pos(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name neg
 * @{ */
/** The mint 1 when x < 0, else 0. */
ZENTHAR_API int32_t s_machfunc_i_neg(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_neg(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name npos
 * @{ */
/** The mint 1 when x <= 0, else 0. */
ZENTHAR_API int32_t s_machfunc_i_npos(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_npos(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name nneg
 * @{ */
/** The mint 1 when x >= 0, else 0. */
ZENTHAR_API int32_t s_machfunc_i_nneg(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_nneg(mint* result, mreal x, uint32_t flags);
/** @} */

/** @name evenq
 * @{ */
/** 1 when x is even, else 0. */
ZENTHAR_API int32_t s_machfunc_i_evenq(mint* result, mint x, uint32_t flags);
/** @} */

/** @name oddq
 * @{ */
/** 1 when x is odd, else 0. */
ZENTHAR_API int32_t s_machfunc_i_oddq(mint* result, mint x, uint32_t flags);
/** @} */

/** @name ramp
 * @{ */
/** max(x, 0); 0.0 for a NaN. */
ZENTHAR_API int32_t s_machfunc_i_ramp(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_ramp(mreal* result, mreal x, uint32_t flags);
/** @} */

/** @name unitize
 * @{ */
/**
 * The mint 0 when x is 0 (both parts of a complex), else 1; 1 for a NaN. With a tolerance b: 1 when |a|
 * >= b, else 0; status 1 when b <= 0 (domain).
 */
ZENTHAR_API int32_t s_machfunc_i_unitize(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_unitize(mint* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_unitize(mint* result, mreal x_re, mreal x_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ii_unitize(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_unitize(mint* result, mreal a, mreal b, uint32_t flags);
/** @} */

/** @name chop
 * @{ */
/** 0.0 when |a| < b, else a; of a complex this for each part. Status 1 when b < 0 (domain). */
ZENTHAR_API int32_t s_machfunc_dd_chop(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_chop(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
/** @} */

/** @name bitand
 * @{ */
/** The bitwise and. */
ZENTHAR_API int32_t s_machfunc_ii_bitand(mint* result, mint a, mint b, uint32_t flags);
/** @} */

/** @name bitor
 * @{ */
/** The bitwise or. */
ZENTHAR_API int32_t s_machfunc_ii_bitor(mint* result, mint a, mint b, uint32_t flags);
/** @} */

/** @name bitxor
 * @{ */
/** The bitwise exclusive or. */
ZENTHAR_API int32_t s_machfunc_ii_bitxor(mint* result, mint a, mint b, uint32_t flags);
/** @} */

/** @name bitnot
 * @{ */
/** The bitwise complement. */
ZENTHAR_API int32_t s_machfunc_i_bitnot(mint* result, mint x, uint32_t flags);
/** @} */

/** @name bitlength
 * @{ */
/** The number of significant bits of x, 0 for 0; of a negative x that of its complement. */
ZENTHAR_API int32_t s_machfunc_i_bitlength(mint* result, mint x, uint32_t flags);
/** @} */

/** @name bitshiftleft
 * @{ */
/**
 * a 2^b by shifting. Integers are shifted by sign and magnitude: under flag 4, status 1 (overflow) when a
 * 2^b does not fit; without it the count is taken modulo 64. A negative count shifts right. Reals, and
 * both parts of a complex, are scaled exactly, rounded once where they become subnormal: 0.0 stays;
 * counts below -2098 give a zero of the sign of a; under flag 2, status 1 (domain) for counts above 2097,
 * and codes 9 and 6 for what is no finite number after scaling.
 */
ZENTHAR_API int32_t s_machfunc_ii_bitshiftleft(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_bitshiftleft(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_bitshiftleft(mcomplex* result, mreal a_re, mreal a_im, mint b,
                                               uint32_t flags);
/** @} */

/** @name bitshiftright
 * @{ */
/**
 * a 2^-b by shifting. Integers are shifted by sign and magnitude, thus rounded toward 0 (-5 by 1 gives
 * -2); counts of 64 and more give 0. A negative count is a left shift, with its checks. Reals and
 * complexes as in bitshiftleft, with the limits mirrored.
 */
ZENTHAR_API int32_t s_machfunc_ii_bitshiftright(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_bitshiftright(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_bitshiftright(mcomplex* result, mreal a_re, mreal a_im, mint b,
                                                uint32_t flags);
/** @} */

/** @name gcd
 * @{ */
/**
 * The greatest common divisor of |a| and |b|, never negative, by gcd_mint(): gcd(a, 0) = |a|. Its one
 * overflow, 2^63, fails under flag 4 and wraps without it.
 */
ZENTHAR_API int32_t s_machfunc_ii_gcd(mint* result, mint a, mint b, uint32_t flags);
/** @} */

/** @name lcm
 * @{ */
/**
 * The least common multiple of |a| and |b|; 0 when either is 0. Under flag 4, status 1 (overflow) when it
 * does not fit.
 */
ZENTHAR_API int32_t s_machfunc_ii_lcm(mint* result, mint a, mint b, uint32_t flags);
/** @} */

/** @name intexp
 * @{ */
/** The exponent of the highest power of b that divides |a|. Status 1 when b < 2 or a is 0 (domain). */
ZENTHAR_API int32_t s_machfunc_ii_intexp(mint* result, mint a, mint b, uint32_t flags);
/** @} */

/** @name intlen
 * @{ */
/** The number of digits of |a| in base b; 0 for 0. Status 1 when b < 2 (domain). */
ZENTHAR_API int32_t s_machfunc_ii_intlen(mint* result, mint a, mint b, uint32_t flags);
/** @} */

/** @name sqrt
 * @{ */
/** The square root; of a complex the principal one, with the real part not negative. */
ZENTHAR_API int32_t s_machfunc_d_sqrt(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sqrt(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name cbrt
 * @{ */
/** The real cube root. */
ZENTHAR_API int32_t s_machfunc_d_cbrt(mreal* result, mreal x, uint32_t flags);
/** @} */

/** @name rsqrt
 * @{ */
/** 1 / sqrt(x); of a complex conj(sqrt(x)) / |x|, which neither overflows nor underflows. */
ZENTHAR_API int32_t s_machfunc_d_rsqrt(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_rsqrt(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name root
 * @{ */
/**
 * The principal root of a of integer index b, exp(log(a) / b): 1 gives a, -1 gives 1/a, -2 1/sqrt(a).
 * Status 1 when b is 0 (domain).
 */
ZENTHAR_API int32_t s_machfunc_ci_root(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
/** @} */

/** @name exp
 * @{ */
/** The exponential function. */
ZENTHAR_API int32_t s_machfunc_d_exp(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_exp(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name expm1
 * @{ */
/**
 * exp(x) - 1, without cancellation near 0; complex: expm1(re) cos(im) - 2 sin(im/2)^2 and exp(re)
 * sin(im).
 */
ZENTHAR_API int32_t s_machfunc_d_expm1(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_expm1(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name log
 * @{ */
/**
 * The natural logarithm; with two arguments log(b) / log(a), the base first. With two reals (or integers)
 * status 1 when either is 0 or negative (domain); with a complex among them the principal values are
 * taken.
 */
ZENTHAR_API int32_t s_machfunc_d_log(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_log(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_log(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_log(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_log(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_log(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_log(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_log(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_log(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_log(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                      uint32_t flags);
/** @} */

/** @name log1p
 * @{ */
/** log(1 + x), without cancellation near 0 and near the unit circle about -1. */
ZENTHAR_API int32_t s_machfunc_d_log1p(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_log1p(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name log2
 * @{ */
/**
 * The logarithm to base 2. Of an integer defined only where it is an integer: other positive integers
 * raise code 3 (evaluate in reals), and status 1 is returned for 0 and below (domain).
 */
ZENTHAR_API int32_t s_machfunc_i_log2(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_log2(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_log2(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name log10
 * @{ */
/** The logarithm to base 10; integers as in log2. */
ZENTHAR_API int32_t s_machfunc_i_log10(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_log10(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_log10(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name sin
 * @{ */
/** The sine, of an angle in radians. */
ZENTHAR_API int32_t s_machfunc_d_sin(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sin(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name cos
 * @{ */
/** The cosine, of an angle in radians. */
ZENTHAR_API int32_t s_machfunc_d_cos(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_cos(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name tan
 * @{ */
/** The tangent, of an angle in radians. */
ZENTHAR_API int32_t s_machfunc_d_tan(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_tan(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name csc
 * @{ */
/** 1 / sin(x). */
ZENTHAR_API int32_t s_machfunc_d_csc(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_csc(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name sec
 * @{ */
/** 1 / cos(x). */
ZENTHAR_API int32_t s_machfunc_d_sec(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sec(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name cot
 * @{ */
/** 1 / tan(x). */
ZENTHAR_API int32_t s_machfunc_d_cot(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_cot(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name sinh
 * @{ */
/** The hyperbolic sine. */
ZENTHAR_API int32_t s_machfunc_d_sinh(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sinh(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name cosh
 * @{ */
/** The hyperbolic cosine. */
ZENTHAR_API int32_t s_machfunc_d_cosh(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_cosh(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name tanh
 * @{ */
/** The hyperbolic tangent. */
ZENTHAR_API int32_t s_machfunc_d_tanh(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_tanh(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name csch
 * @{ */
/** 1 / sinh(x). */
ZENTHAR_API int32_t s_machfunc_d_csch(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_csch(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name sech
 * @{ */
/** 1 / cosh(x). */
ZENTHAR_API int32_t s_machfunc_d_sech(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sech(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name coth
 * @{ */
/** 1 / tanh(x). */
ZENTHAR_API int32_t s_machfunc_d_coth(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_coth(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name asin
 * @{ */
/**
 * The inverse sine. Real: NaN outside [-1, 1]. Complex: the principal branch, cut along the real axis
 * outside [-1, 1]; the sign of a zero part says on which side of a cut an argument lies, as in Annex G of
 * C99.
 */
ZENTHAR_API int32_t s_machfunc_d_asin(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_asin(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name acos
 * @{ */
/** The inverse cosine. Real: NaN outside [-1, 1]. Complex: as asin. */
ZENTHAR_API int32_t s_machfunc_d_acos(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_acos(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name atan
 * @{ */
/** The inverse tangent. Complex: the principal branch, cut along the imaginary axis outside [-i, i]. */
ZENTHAR_API int32_t s_machfunc_d_atan(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_atan(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name acsc
 * @{ */
/**
 * asin(1/x), from x - 1 and x + 1 where |x| is near 1. Complex: cut along the real axis in [-1, 1]. (W.
 * Kahan, Branch cuts for complex elementary functions, 1987.)
 */
ZENTHAR_API int32_t s_machfunc_d_acsc(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_acsc(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name asec
 * @{ */
/** acos(1/x), from x - 1 and x + 1 where |x| is near 1. Complex: cut along the real axis in [-1, 1]. */
ZENTHAR_API int32_t s_machfunc_d_asec(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_asec(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name acot
 * @{ */
/** atan(1/x). Complex: cut along the imaginary axis in [-i, i]. */
ZENTHAR_API int32_t s_machfunc_d_acot(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_acot(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name atan2
 * @{ */
/** The angle of the point (b, a), the ordinate first. Complex: -i log((b + i a) / sqrt(a^2 + b^2)). */
ZENTHAR_API int32_t s_machfunc_id_atan2(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_atan2(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_atan2(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_atan2(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_atan2(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_atan2(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_atan2(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_atan2(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                        uint32_t flags);
/** @} */

/** @name asinh
 * @{ */
/** The inverse hyperbolic sine. Complex: cut along the imaginary axis outside [-i, i]. */
ZENTHAR_API int32_t s_machfunc_d_asinh(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_asinh(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name acosh
 * @{ */
/** The inverse hyperbolic cosine. Real: NaN below 1. Complex: cut along the real axis below 1. */
ZENTHAR_API int32_t s_machfunc_d_acosh(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_acosh(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name atanh
 * @{ */
/**
 * The inverse hyperbolic tangent. Real: NaN outside [-1, 1]. Complex: cut along the real axis outside
 * [-1, 1].
 */
ZENTHAR_API int32_t s_machfunc_d_atanh(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_atanh(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name acsch
 * @{ */
/** asinh(1/x). Complex: cut along the imaginary axis in [-i, i]. */
ZENTHAR_API int32_t s_machfunc_d_acsch(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_acsch(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name asech
 * @{ */
/** acosh(1/x), from 1 - x where x is near 1. Complex: cut along the real axis below 0 and above 1. */
ZENTHAR_API int32_t s_machfunc_d_asech(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_asech(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name acoth
 * @{ */
/** atanh(1/x), from |x| - 1 where |x| is near 1. Complex: cut along the real axis in [-1, 1]. */
ZENTHAR_API int32_t s_machfunc_d_acoth(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_acoth(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name sinc
 * @{ */
/** sin(x) / x, and 1 at 0. */
ZENTHAR_API int32_t s_machfunc_d_sinc(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sinc(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name fibonacci
 * @{ */
/**
 * The Fibonacci number F(x), (phi^x - cos(pi x) phi^-x) / sqrt(5) with the golden ratio phi, in extended
 * precision; of an integer from ::fibonacci_table with F(-n) = (-1)^(n+1) F(n), status 1 (overflow)
 * outside -92 to 92, whatever the flags.
 */
ZENTHAR_API int32_t s_machfunc_i_fibonacci(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_fibonacci(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_fibonacci(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name lucasl
 * @{ */
/**
 * The Lucas number L(x), phi^x + cos(pi x) phi^-x, in extended precision; of an integer from
 * ::lucasl_table with L(-n) = (-1)^n L(n), status 1 (overflow) outside -90 to 90, whatever the flags.
 */
ZENTHAR_API int32_t s_machfunc_i_lucasl(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_lucasl(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_lucasl(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name erf
 * @{ */
/** The error function. */
ZENTHAR_API int32_t s_machfunc_d_erf(mreal* result, mreal x, uint32_t flags);
/** @} */

/** @name erfc
 * @{ */
/** The complementary error function, 1 - erf(x). */
ZENTHAR_API int32_t s_machfunc_d_erfc(mreal* result, mreal x, uint32_t flags);
/** @} */

/** @name gamma
 * @{ */
/** The gamma function; of an integer (x - 1)!, status 1 (overflow) outside 1 to 21, whatever the flags. */
ZENTHAR_API int32_t s_machfunc_i_gamma(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_gamma(mreal* result, mreal x, uint32_t flags);
/** @} */

/** @name loggamma
 * @{ */
/** log|gamma(x)|. Status 1 when x <= 0 (domain). */
ZENTHAR_API int32_t s_machfunc_d_loggamma(mreal* result, mreal x, uint32_t flags);
/** @} */

/** @name gudermannian
 * @{ */
/** 2 atan(tanh(x/2)); complex: atan2(sinh re, cos im) + atanh(sin im / cosh re) i. */
ZENTHAR_API int32_t s_machfunc_d_gudermannian(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_gudermannian(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name inversegudermannian
 * @{ */
/** 2 atanh(tan(x/2)), as asinh(tan x); NaN for reals with a negative cosine. */
ZENTHAR_API int32_t s_machfunc_d_inversegudermannian(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_inversegudermannian(mcomplex* result, mreal x_re, mreal x_im,
                                                     uint32_t flags);
/** @} */

/** @name haversine
 * @{ */
/** sin(x/2)^2. */
ZENTHAR_API int32_t s_machfunc_d_haversine(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_haversine(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name inversehaversine
 * @{ */
/** 2 asin(sqrt(x)); NaN for reals outside [0, 1]. */
ZENTHAR_API int32_t s_machfunc_d_inversehaversine(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_inversehaversine(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name logistic
 * @{ */
/** 1 / (1 + exp(-x)), in the form that does not overflow. */
ZENTHAR_API int32_t s_machfunc_d_logistic(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_logistic(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name abserr
 * @{ */
/**
 * |a - b|; with a complex argument a complex whose real part is the modulus. Integers overflow when it
 * does not fit.
 */
ZENTHAR_API int32_t s_machfunc_ii_abserr(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_id_abserr(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_abserr(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_abserr(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_abserr(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_abserr(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_abserr(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_abserr(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_abserr(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                         uint32_t flags);
/** @} */

/** @name relerr
 * @{ */
/**
 * |(a - b) / b|, with a complex argument a complex whose real part is the modulus. Never checked: an
 * infinity or a NaN is a result here.
 */
ZENTHAR_API int32_t s_machfunc_id_relerr(mreal* result, mint a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_di_relerr(mreal* result, mreal a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_relerr(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ic_relerr(mcomplex* result, mint a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ci_relerr(mcomplex* result, mreal a_re, mreal a_im, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dc_relerr(mcomplex* result, mreal a, mreal b_re, mreal b_im, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cd_relerr(mcomplex* result, mreal a_re, mreal a_im, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_relerr(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                         uint32_t flags);
/** @} */

/** @name maxabs
 * @{ */
/**
 * max(|a|, |b|), a NaN giving way to the other; of complexes a complex whose real part is the larger
 * modulus. Integers overflow for -2^63 alone.
 */
ZENTHAR_API int32_t s_machfunc_ii_maxabs(mint* result, mint a, mint b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_dd_maxabs(mreal* result, mreal a, mreal b, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_cc_maxabs(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                         uint32_t flags);
/** @} */

/** @name axpy
 * @{ */
/** a x + y; the product is rounded before the sum. Integers: product and sum are checked, each. */
ZENTHAR_API int32_t s_machfunc_iii_axpy(mint* result, mint a, mint x, mint y, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ddd_axpy(mreal* result, mreal a, mreal x, mreal y, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ccc_axpy(mcomplex* result, mreal a_re, mreal a_im, mreal x_re, mreal x_im,
                                        mreal y_re, mreal y_im, uint32_t flags);
/** @} */

/** @name axmy
 * @{ */
/** a x - y; as axpy. */
ZENTHAR_API int32_t s_machfunc_iii_axmy(mint* result, mint a, mint x, mint y, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ddd_axmy(mreal* result, mreal a, mreal x, mreal y, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ccc_axmy(mcomplex* result, mreal a_re, mreal a_im, mreal x_re, mreal x_im,
                                        mreal y_re, mreal y_im, uint32_t flags);
/** @} */

/** @name ymax
 * @{ */
/** y - a x; as axpy. */
ZENTHAR_API int32_t s_machfunc_iii_ymax(mint* result, mint a, mint x, mint y, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ddd_ymax(mreal* result, mreal a, mreal x, mreal y, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ccc_ymax(mcomplex* result, mreal a_re, mreal a_im, mreal x_re, mreal x_im,
                                        mreal y_re, mreal y_im, uint32_t flags);
/** @} */

/** @name adxmy
 * @{ */
/** a / (x - y). Under flag 2 the difference is checked first, then the quotient. */
ZENTHAR_API int32_t s_machfunc_ddd_adxmy(mreal* result, mreal a, mreal x, mreal y, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ccc_adxmy(mcomplex* result, mreal a_re, mreal a_im, mreal x_re, mreal x_im,
                                         mreal y_re, mreal y_im, uint32_t flags);
/** @} */

/** @name compplus
 * @{ */
/**
 * One step of compensated summation: with t = b + *c the result is the sum s = t + a, and *c becomes (a -
 * s) + t. Under flag 2 the sum is checked first, then the new compensation; on failure neither is
 * written. (W. Kahan, Further remarks on reducing truncation errors, Comm. ACM 8 (1965) 40.)
 */
ZENTHAR_API int32_t s_machfunc_ddd_compplus(mreal* result, mreal a, mreal b, mreal* c, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_ccc_compplus(mcomplex* result, mreal a_re, mreal a_im, mreal b_re, mreal b_im,
                                            mcomplex* c, uint32_t flags);
/** @} */

ZENTHAR_END_DECLS

#endif
