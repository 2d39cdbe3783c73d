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

/** @name plus
 * a + b.
 * @{ */
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
 * a - b.
 * @{ */
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
 * a b. Complex products are the plain formula, (re re - im im) + (re im + im re) i.
 * @{ */
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
 * a / b. Division by 0 gives what IEEE 754 has for it, which flag 2 reports. Complex quotients neither
 * overflow nor underflow unless the quotient itself does.
 * @{ */
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

/** @name pow
 * a to the power b. Integers: 0 to a power of 0 or below, and any base but 1 and -1 to a negative power,
 * fail; the power overflows exactly when it does not fit. Complex: the principal value; formed in extended
 * precision.
 * @{ */
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
 * -x. Integers overflow for -2^63 alone.
 * @{ */
ZENTHAR_API int32_t s_machfunc_i_minus(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_minus(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_minus(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name abs
 * The magnitude of x; of a complex the modulus, which is an mreal, M sqrt(1 + (s/M)^2) for the larger and
 * smaller part. Integers overflow for -2^63 alone.
 * @{ */
ZENTHAR_API int32_t s_machfunc_i_abs(mint* result, mint x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_d_abs(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_abs(mreal* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name sqrt
 * The square root; of a complex the principal one, with the real part not negative.
 * @{ */
ZENTHAR_API int32_t s_machfunc_d_sqrt(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sqrt(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name exp
 * The exponential function.
 * @{ */
ZENTHAR_API int32_t s_machfunc_d_exp(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_exp(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name log
 * The natural logarithm; with two arguments log(b) / log(a), the base first. For reals (and integers) a base
 * or argument that is 0 or negative fails; with a complex among them the principal values are taken.
 * @{ */
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

/** @name sin
 * The sine, of an angle in radians.
 * @{ */
ZENTHAR_API int32_t s_machfunc_d_sin(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_sin(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

/** @name cos
 * The cosine, of an angle in radians.
 * @{ */
ZENTHAR_API int32_t s_machfunc_d_cos(mreal* result, mreal x, uint32_t flags);
ZENTHAR_API int32_t s_machfunc_c_cos(mcomplex* result, mreal x_re, mreal x_im, uint32_t flags);
/** @} */

ZENTHAR_END_DECLS

#endif
