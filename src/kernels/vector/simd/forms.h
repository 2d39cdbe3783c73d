// Operations whose loops have a vector form: branch-free code for as many elements at once as a register of
// the target holds, with the scalar definition for the rare arguments that it leaves out. Results can differ
// from the scalar function's in the last place, by as much as zenthar/dispatch.h says.
//
// To add one, say so here and define its loops in a source of this folder with ZENTHAR_VECTOR_FORM (loop.h).
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_FORMS_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_FORMS_H

#include "kernels/operations/all.h"

namespace zenthar::ZENTHAR_TARGET {

template <class Op, class... A>
inline constexpr bool kHasVectorForm = false;

// Vectors are those of x86.
#ifdef __SSE2__
// exponential.cpp
template <>
inline constexpr bool kHasVectorForm<Exp, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<ExpM1, mreal> = true;
// hyperbolic.cpp
template <>
inline constexpr bool kHasVectorForm<Sinh, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Cosh, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Tanh, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Csch, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Sech, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Coth, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Logistic, mreal> = true;
// inverse_hyperbolic.cpp
template <>
inline constexpr bool kHasVectorForm<Asinh, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Acosh, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Atanh, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Acsch, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Asech, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Acoth, mreal> = true;
// logarithm.cpp
template <>
inline constexpr bool kHasVectorForm<Log, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Log2, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Log10, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Log1P, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Log, mreal, mreal> = true;
// trigonometric.cpp
template <>
inline constexpr bool kHasVectorForm<Sin, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Cos, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Tan, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Csc, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Sec, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Cot, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Sinc, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Haversine, mreal> = true;
// power.cpp
template <>
inline constexpr bool kHasVectorForm<Pow, mreal, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Cbrt, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<RSqrt, mreal> = true;
// inverse_trigonometric.cpp
template <>
inline constexpr bool kHasVectorForm<Asin, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Acos, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Atan, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Atan2, mreal, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Acsc, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Asec, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Acot, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<InverseHaversine, mreal> = true;
// gudermannian.cpp
template <>
inline constexpr bool kHasVectorForm<Gudermannian, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<InverseGudermannian, mreal> = true;
inline constexpr bool kHasVectorForm<Log, mreal, mreal> = true;
// special.cpp
template <>
inline constexpr bool kHasVectorForm<Erf, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<ErfC, mreal> = true;
template <>
inline constexpr bool kHasVectorForm<Gamma, mreal> = true;
#ifdef __AVX2__  // two elements at once are slower than the mathematics library
template <>
inline constexpr bool kHasVectorForm<LogGamma, mreal> = true;
#endif
// complex.cpp
template <>
inline constexpr bool kHasVectorForm<Exp, mcomplex> = true;
template <>
inline constexpr bool kHasVectorForm<Sin, mcomplex> = true;
template <>
inline constexpr bool kHasVectorForm<Cos, mcomplex> = true;
template <>
inline constexpr bool kHasVectorForm<Abs, mcomplex> = true;
template <>
inline constexpr bool kHasVectorForm<Sqrt, mcomplex> = true;
#endif

}  // namespace zenthar::ZENTHAR_TARGET

#endif
