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
#define ZENTHAR_HAS_FORM(...) \
  template <>                 \
  inline constexpr bool kHasVectorForm<__VA_ARGS__> = true;

// exponential.cpp
ZENTHAR_HAS_FORM(Exp, mreal)
ZENTHAR_HAS_FORM(ExpM1, mreal)

// gudermannian.cpp
ZENTHAR_HAS_FORM(Gudermannian, mreal)
ZENTHAR_HAS_FORM(InverseGudermannian, mreal)

// hyperbolic.cpp
ZENTHAR_HAS_FORM(Sinh, mreal)
ZENTHAR_HAS_FORM(Cosh, mreal)
ZENTHAR_HAS_FORM(Tanh, mreal)
ZENTHAR_HAS_FORM(Csch, mreal)
ZENTHAR_HAS_FORM(Sech, mreal)
ZENTHAR_HAS_FORM(Coth, mreal)
ZENTHAR_HAS_FORM(Logistic, mreal)

// inverse_hyperbolic.cpp
ZENTHAR_HAS_FORM(Asinh, mreal)
ZENTHAR_HAS_FORM(Acosh, mreal)
ZENTHAR_HAS_FORM(Atanh, mreal)
ZENTHAR_HAS_FORM(Acsch, mreal)
ZENTHAR_HAS_FORM(Asech, mreal)
ZENTHAR_HAS_FORM(Acoth, mreal)

// inverse_trigonometric.cpp
ZENTHAR_HAS_FORM(Asin, mreal)
ZENTHAR_HAS_FORM(Acos, mreal)
ZENTHAR_HAS_FORM(Atan, mreal)
ZENTHAR_HAS_FORM(Atan2, mreal, mreal)
ZENTHAR_HAS_FORM(Arg, mcomplex)
ZENTHAR_HAS_FORM(Acsc, mreal)
ZENTHAR_HAS_FORM(Asec, mreal)
ZENTHAR_HAS_FORM(Acot, mreal)
ZENTHAR_HAS_FORM(InverseHaversine, mreal)

// logarithm.cpp
ZENTHAR_HAS_FORM(Log, mreal)
ZENTHAR_HAS_FORM(Log2, mreal)
ZENTHAR_HAS_FORM(Log10, mreal)
ZENTHAR_HAS_FORM(Log1P, mreal)
ZENTHAR_HAS_FORM(Log, mreal, mreal)

// power.cpp
ZENTHAR_HAS_FORM(Pow, mreal, mreal)
#ifdef __AVX2__  // two elements at once are slower than the mathematics library
ZENTHAR_HAS_FORM(Pow, mreal, mint)
#endif
ZENTHAR_HAS_FORM(Cbrt, mreal)
ZENTHAR_HAS_FORM(RSqrt, mreal)

// trigonometric.cpp
ZENTHAR_HAS_FORM(Sin, mreal)
ZENTHAR_HAS_FORM(Cos, mreal)
ZENTHAR_HAS_FORM(Tan, mreal)
ZENTHAR_HAS_FORM(Csc, mreal)
ZENTHAR_HAS_FORM(Sec, mreal)
ZENTHAR_HAS_FORM(Cot, mreal)
ZENTHAR_HAS_FORM(Sinc, mreal)
ZENTHAR_HAS_FORM(Haversine, mreal)

// special.cpp
ZENTHAR_HAS_FORM(Erf, mreal)
ZENTHAR_HAS_FORM(ErfC, mreal)
ZENTHAR_HAS_FORM(Gamma, mreal)
#ifdef __AVX2__  // two elements at once are slower than the mathematics library
ZENTHAR_HAS_FORM(LogGamma, mreal)
#endif

// complex.cpp
ZENTHAR_HAS_FORM(Exp, mcomplex)
ZENTHAR_HAS_FORM(Log, mcomplex)
ZENTHAR_HAS_FORM(Sin, mcomplex)
ZENTHAR_HAS_FORM(Cos, mcomplex)
ZENTHAR_HAS_FORM(Tan, mcomplex)
ZENTHAR_HAS_FORM(Sinh, mcomplex)
ZENTHAR_HAS_FORM(Cosh, mcomplex)
ZENTHAR_HAS_FORM(Tanh, mcomplex)
ZENTHAR_HAS_FORM(Abs, mcomplex)
ZENTHAR_HAS_FORM(Sqrt, mcomplex)

// complex_power.cpp
ZENTHAR_HAS_FORM(Pow, mcomplex, mcomplex)

// single/, by source
ZENTHAR_HAS_FORM(Exp, float)
ZENTHAR_HAS_FORM(ExpM1, float)
ZENTHAR_HAS_FORM(Sinh, float)
ZENTHAR_HAS_FORM(Cosh, float)
ZENTHAR_HAS_FORM(Tanh, float)
ZENTHAR_HAS_FORM(Logistic, float)
ZENTHAR_HAS_FORM(Log, float)
ZENTHAR_HAS_FORM(Log2, float)
ZENTHAR_HAS_FORM(Log10, float)
ZENTHAR_HAS_FORM(Log1P, float)
ZENTHAR_HAS_FORM(Asinh, float)
ZENTHAR_HAS_FORM(Acosh, float)
ZENTHAR_HAS_FORM(Atanh, float)
ZENTHAR_HAS_FORM(Sin, float)
ZENTHAR_HAS_FORM(Cos, float)
ZENTHAR_HAS_FORM(Tan, float)
ZENTHAR_HAS_FORM(Asin, float)
ZENTHAR_HAS_FORM(Acos, float)
ZENTHAR_HAS_FORM(Atan, float)
ZENTHAR_HAS_FORM(Atan2, float, float)
ZENTHAR_HAS_FORM(Pow, float, float)
ZENTHAR_HAS_FORM(Cbrt, float)
ZENTHAR_HAS_FORM(RSqrt, float)
ZENTHAR_HAS_FORM(Erf, float)

#undef ZENTHAR_HAS_FORM
#endif

}  // namespace zenthar::ZENTHAR_TARGET

#endif
