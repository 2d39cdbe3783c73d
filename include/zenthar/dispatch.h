/**
 * @file dispatch.h
 * @brief Element-wise dispatch: the kernels of an operation for given element types.
 *
 * An operation has an identifier, below. For an identifier and the element types of the arguments the getters
 * answer with the kernels, a scalar function for one element and a vector function for a run of them, and
 * with the element type of the result. Where there is no kernel they answer with null and 0. `MNumericArray_`
 * getters take element types, `MTensor_` getters take and give machine types (boolean 1, integer 2, real 3,
 * complex 4; booleans are stored as integers).
 *
 * **Machine types.** Integer64 (7), Real64 (10) and ComplexReal64 (12) have all operations, beside each other
 * too. Integers without a form of their own are evaluated in Real64, arguments of different types without one
 * in the wider type. A kernel computes and checks as the scalar function of the same name does (scalar.h).
 *
 * **Other element types** have kernels for arguments of one type; Real16 (13) has none. Results are of that
 * type, but Integer64 where those of Integer64, Real64 and ComplexReal64 are so whatever the argument:
 * predicates, comparisons and unitize, and for reals sign, argument, rounding and quotient.
 * - Integer8 to Integer32 and the unsigned integers (1 to 6, 8) have arithmetic: plus, subtract, times, mod,
 *   quotient, minus, abs, square, sign, min, max, error measures, bits and shifts, comparisons, axpy and its
 *   like. Overflow is that of their own width (a result below 0, or above the greatest value); without the
 *   check results are taken modulo 2^bits, and so are counts of shifts to the left modulo the bits.
 * - Real32 (9) and ComplexReal32 (11) have the operations of Real64 and ComplexReal64 on equal types.
 *   Arithmetic is that of binary32, an operation a rounding; of complexes, plus, subtract and minus, while
 *   times and div are computed in Real64 and each part is rounded once. So are all other functions, except
 *   that vector functions of Real32 may be computed in binary32 (see below). The check of results looks at
 *   what is stored: a result that overflows when it is rounded fails with 6.
 *
 * **Scalar functions** take pointers to the elements and answer with a status as those of scalar.h do.
 *
 * **Vector functions** take pointers to the runs, their steps, the number of elements and the check flags. A
 * step is counted in elements and is 0 (one element for the whole run) or 1; the result is contiguous. The
 * result may be the same memory as an operand of the same element size; runs need not be aligned. When
 * elements fail, that of the lowest index decides: its code (1, 3, 6, 9 or 16) is raised once by
 * throwZentharException(), in the calling thread, and returned; the content of the result is then
 * unspecified. Long runs look for an abort request between blocks, and raise and return 34 when there is one.
 * 0 is success.
 *
 * **How exact they are.** Vector functions of integers, and arithmetic, comparison and rounding of reals and
 * complexes, give to the bit what the scalar functions give. Elementary and special functions may be computed
 * in another way than by the scalar functions, and differently on processors with different vector registers.
 * Vector results of reals are within 1 unit in the last place of the exact result, of Real32 in units of
 * that (loggamma of Real64, where the processor has no AVX2, within 3), parts of complexes within 3, the
 * modulus within 1; a power of complexes whose exponent magnifies errors beyond that is the scalar
 * function's. Scalar results are as exact as the mathematics library's. So the two differ by some units in
 * the last place at most, by up to 6 for the gamma functions. Zeros with their signs, infinities and NaNs
 * are the same. A vector result depends on the element and the processor alone: neither on the element's
 * place in the run nor on the number of threads. docs/accuracy.md lists the errors seen, by function and kind
 * of processor.
 *
 * All functions here may be called from any number of threads at once; thresholds are plain words, to be set
 * before parallel work begins.
 */
#ifndef ZENTHAR_DISPATCH_H
#define ZENTHAR_DISPATCH_H

#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** Unary operations, 1 to 86. Identifiers that are missing here have no kernels. */
enum {
  MACHFUNC_SIN = 1,
  MACHFUNC_COS = 2,
  MACHFUNC_TAN = 3,
  MACHFUNC_CSC = 5,
  MACHFUNC_SEC = 6,
  MACHFUNC_COT = 7,
  MACHFUNC_SINH = 9,
  MACHFUNC_COSH = 10,
  MACHFUNC_TANH = 11,
  MACHFUNC_CSCH = 13,
  MACHFUNC_SECH = 14,
  MACHFUNC_COTH = 15,
  MACHFUNC_ASIN = 17,
  MACHFUNC_ACOS = 18,
  MACHFUNC_ATAN = 19,
  MACHFUNC_ACSC = 21,
  MACHFUNC_ASEC = 22,
  MACHFUNC_ACOT = 23,
  MACHFUNC_ASINH = 25,
  MACHFUNC_ACOSH = 26,
  MACHFUNC_ATANH = 27,
  MACHFUNC_ACSCH = 29,
  MACHFUNC_ASECH = 30,
  MACHFUNC_ACOTH = 31,
  MACHFUNC_EXP = 32,
  MACHFUNC_EXPM1 = 33,
  MACHFUNC_LOG = 34,
  MACHFUNC_LOG1P = 35,
  MACHFUNC_LOG2 = 36,
  MACHFUNC_LOG10 = 37,
  MACHFUNC_ABS = 38,
  MACHFUNC_ARG = 39, /**< argument; for reals 0, negative ones fail with 16 under the overflow check */
  MACHFUNC_CONJ = 40,
  MACHFUNC_RE = 41,
  MACHFUNC_IM = 42,
  MACHFUNC_MINUS = 43,
  MACHFUNC_SIGN = 44,
  MACHFUNC_POS = 45,  /**< x > 0 */
  MACHFUNC_NEG = 46,  /**< x < 0 */
  MACHFUNC_NPOS = 47, /**< x <= 0 */
  MACHFUNC_NNEG = 48, /**< x >= 0 */
  MACHFUNC_ROUND = 49,
  MACHFUNC_FLOOR = 50,
  MACHFUNC_CEILING = 51,
  MACHFUNC_FRACPART = 52, /**< fractional part */
  MACHFUNC_INTPART = 53,  /**< integer part */
  MACHFUNC_EVENQ = 54,    /**< integers */
  MACHFUNC_ODDQ = 55,     /**< integers */
  MACHFUNC_SQUARE = 56,
  MACHFUNC_SQRT = 57,
  MACHFUNC_CBRT = 58,
  MACHFUNC_RSQRT = 59,
  MACHFUNC_RECIP = 60,
  MACHFUNC_BITNOT = 61,    /**< integers */
  MACHFUNC_BITLENGTH = 62, /**< integers */
  MACHFUNC_NOTNEG = 66,    /**< not (x < 0): 1 for a NaN */
  MACHFUNC_SINC = 67,
  MACHFUNC_FIBONACCI = 68,
  MACHFUNC_LUCASL = 69,
  MACHFUNC_GUDERMANNIAN = 70,
  MACHFUNC_INVERSEGUDERMANNIAN = 71,
  MACHFUNC_HAVERSINE = 72,
  MACHFUNC_INVERSEHAVERSINE = 73,
  MACHFUNC_ERFC = 74,
  MACHFUNC_ERF = 75,
  MACHFUNC_GAMMA = 76,
  MACHFUNC_LOGGAMMA = 77,
  MACHFUNC_UNITIZE = 78, /**< 1 where x is not 0 */
  MACHFUNC_MOD1 = 79,    /**< x mod 1 */
  MACHFUNC_LOGISTIC = 80,
  MACHFUNC_RAMP = 81,         /**< max(x, 0) */
  MACHFUNC_ABSSQUARE = 82,    /**< |x|^2 */
  MACHFUNC_REALABS = 83,      /**< abs of integers and reals */
  MACHFUNC_REALSIGN = 84,     /**< sign of integers and reals */
  MACHFUNC_UNITBOX = 85,      /**< 1 where not |x| > 0.5, else 0 */
  MACHFUNC_UNITTRIANGLE = 86, /**< 1 - |x| where |x| < 1, else 0 */
};

/** Binary operations, 257 to 285. */
enum {
  MACHFUNC_PLUS = 257,
  MACHFUNC_SUBTRACT = 258,
  MACHFUNC_TIMES = 259,
  MACHFUNC_DIV = 260,
  MACHFUNC_MOD = 261,
  MACHFUNC_QUOTIENT = 262,
  MACHFUNC_POW = 263,
  MACHFUNC_LOG_BASE = 264, /**< log(b)/log(a): the base comes first */
  MACHFUNC_ATAN2 = 265,    /**< the ordinate comes first */
  MACHFUNC_BITAND = 266,
  MACHFUNC_BITOR = 267,
  MACHFUNC_BITXOR = 268,
  MACHFUNC_CHOP = 269,
  MACHFUNC_ABSERR = 270,
  MACHFUNC_ROOT = 271,
  MACHFUNC_RELERR = 272,
  MACHFUNC_MAXABS = 273,
  MACHFUNC_UNITIZE_TOLERANCE = 274, /**< 1 where |a| >= b */
  MACHFUNC_BITSHIFTLEFT = 275,
  MACHFUNC_BITSHIFTRIGHT = 276,
  MACHFUNC_INTEXP = 277,
  MACHFUNC_INTLEN = 278,
  MACHFUNC_GCD = 279,
  MACHFUNC_LCM = 280,
  MACHFUNC_MIN = 281,       /**< ignores a NaN beside a number */
  MACHFUNC_MAX = 282,       /**< ignores a NaN beside a number */
  MACHFUNC_EQUAL = 283,     /**< Integer64 0 or 1 */
  MACHFUNC_LESS = 284,      /**< Integer64 0 or 1 */
  MACHFUNC_LESSEQUAL = 285, /**< Integer64 0 or 1 */
};

/** Ternary operations, 513 to 517. */
enum {
  MACHFUNC_AXPY = 513,     /**< a x + y */
  MACHFUNC_AXMY = 514,     /**< a x - y */
  MACHFUNC_YMAX = 515,     /**< y - a x */
  MACHFUNC_ADXMY = 516,    /**< a / (x - y) */
  MACHFUNC_COMPPLUS = 517, /**< a step of compensated summation; the third operand is read and replaced */
};

/** @name Kernels
 * @{ */
/** One element of a unary operation. */
typedef int32_t (*UnaryScalarFunction)(void* result, const void* a, uint32_t flags);
/** One element of a binary operation. */
typedef int32_t (*BinaryScalarFunction)(void* result, const void* a, const void* b, uint32_t flags);
/** One element of a ternary operation; `c` is written by ::MACHFUNC_COMPPLUS alone. */
typedef int32_t (*TernaryScalarFunction)(void* result, const void* a, const void* b, void* c, uint32_t flags);
/** A run of `n` elements of a unary operation. */
typedef int32_t (*UnaryVectorFunction)(void* result, const void* a, mint n, uint32_t flags);
/** A run of `n` elements of a binary operation, each operand with its step. */
typedef int32_t (*BinaryVectorFunction)(void* result, const void* a, mint a_step, const void* b, mint b_step,
                                        mint n, uint32_t flags);
/** A run of `n` elements of a ternary operation; `c` is written by ::MACHFUNC_COMPPLUS alone. */
typedef int32_t (*TernaryVectorFunction)(void* result, const void* a, mint a_step, const void* b, mint b_step,
                                         void* c, mint c_step, mint n, uint32_t flags);
/** @} */

/** @name Unary operations, 1 to 86
 * @{ */
/** @return the vector function of operation `op` for argument of the element type given, or null */
ZENTHAR_API UnaryVectorFunction MNumericArray_getUnaryVectorMachFunc(int32_t op, int32_t type);
/** @return the scalar function of operation `op` for argument of the element type given, or null */
ZENTHAR_API UnaryScalarFunction MNumericArray_getUnaryScalarMachFunc(int32_t op, int32_t type);
/** @return the element type of the result, 0 where there is no kernel */
ZENTHAR_API int32_t MNumericArray_ReturnType1(int32_t op, int32_t type);
/** @return the vector function of operation `op` for argument of the machine type given, or null */
ZENTHAR_API UnaryVectorFunction MTensor_getUnaryVectorMachFunc(int32_t op, int32_t tensor_type);
/** @return the scalar function of operation `op` for argument of the machine type given, or null */
ZENTHAR_API UnaryScalarFunction MTensor_getUnaryScalarMachFunc(int32_t op, int32_t tensor_type);
/** @return the machine type of the result, 0 where there is no kernel */
ZENTHAR_API int32_t MTensor_ReturnType1(int32_t op, int32_t tensor_type);
/** @} */

/** @name Binary operations, 257 to 285
 * @{ */
/** @return the vector function of operation `op` for arguments of the element types given, or null */
ZENTHAR_API BinaryVectorFunction MNumericArray_getBinaryVectorMachFunc(int32_t op, int32_t type1,
                                                                       int32_t type2);
/** @return the scalar function of operation `op` for arguments of the element types given, or null */
ZENTHAR_API BinaryScalarFunction MNumericArray_getBinaryScalarMachFunc(int32_t op, int32_t type1,
                                                                       int32_t type2);
/** @return the element type of the result, 0 where there is no kernel */
ZENTHAR_API int32_t MNumericArray_ReturnType2(int32_t op, int32_t type1, int32_t type2);
/** @return the vector function of operation `op` for arguments of the machine types given, or null */
ZENTHAR_API BinaryVectorFunction MTensor_getBinaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2);
/** @return the scalar function of operation `op` for arguments of the machine types given, or null */
ZENTHAR_API BinaryScalarFunction MTensor_getBinaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2);
/** @return the machine type of the result, 0 where there is no kernel */
ZENTHAR_API int32_t MTensor_ReturnType2(int32_t op, int32_t type1, int32_t type2);
/** @} */

/** @name Ternary operations, 513 to 517
 * @{ */
/** @return the vector function of operation `op` for arguments of the element types given, or null */
ZENTHAR_API TernaryVectorFunction MNumericArray_getTernaryVectorMachFunc(int32_t op, int32_t type1,
                                                                         int32_t type2, int32_t type3);
/** @return the scalar function of operation `op` for arguments of the element types given, or null */
ZENTHAR_API TernaryScalarFunction MNumericArray_getTernaryScalarMachFunc(int32_t op, int32_t type1,
                                                                         int32_t type2, int32_t type3);
/** @return the element type of the result, 0 where there is no kernel */
ZENTHAR_API int32_t MNumericArray_ReturnType3(int32_t op, int32_t type1, int32_t type2, int32_t type3);
/** @return the vector function of operation `op` for arguments of the machine types given, or null */
ZENTHAR_API TernaryVectorFunction MTensor_getTernaryVectorMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                                   int32_t type3);
/** @return the scalar function of operation `op` for arguments of the machine types given, or null */
ZENTHAR_API TernaryScalarFunction MTensor_getTernaryScalarMachFunc(int32_t op, int32_t type1, int32_t type2,
                                                                   int32_t type3);
/** @return the machine type of the result, 0 where there is no kernel */
ZENTHAR_API int32_t MTensor_ReturnType3(int32_t op, int32_t type1, int32_t type2, int32_t type3);
/** @} */

/** @name Result types by rule
 * @{ */
/**
 * The element type that results of an operation have for arguments of any element type, kernels or not: the
 * (wider) argument type, or a fixed one where the operation asks for it (Integer64 for predicates and
 * rounding; a real type for elementary functions of integers and for the modulus, argument and parts of
 * complexes).
 * @param op   an identifier; 7 (Integer64) is answered outside the unary ones
 * @param type the argument's element type
 * @param[out] flag set to 0; to 1 for ::MACHFUNC_ARG, whose result type holds for a part of the arguments
 * only
 */
ZENTHAR_API int32_t ReturnRangeType1(int32_t op, int32_t type, int32_t* flag);
/** ReturnRangeType1() for the binary identifiers; the flag is always set to 0. */
ZENTHAR_API int32_t ReturnRangeType2(int32_t op, int32_t type1, int32_t type2, int32_t* flag);
/** @} */

/** @name Length thresholds
 * Five classes, 0 to 4: cheap arithmetic and comparison; division, roots and rounding; elementary functions;
 * special functions and complex elementary functions; reductions and products. The index is not checked.
 * @{ */
/** @return the length from which vector functions of class k divide their work among threads; 8192 at first
 */
ZENTHAR_API mint getVectorParallelLengthThreshold(int32_t k);
/** Sets the length from which vector functions of class k divide their work. */
ZENTHAR_API void setVectorParallelLengthThreshold(int32_t k, mint n);
/** @return the length from which class k goes through the vendor library; 0 at first */
ZENTHAR_API mint getVectorVendorLengthThreshold(int32_t k);
/** Sets the length from which class k goes through the vendor library. */
ZENTHAR_API void setVectorVendorLengthThreshold(int32_t k, mint n);
/** @} */

/** @name Names of operations
 * @{ */
/**
 * Finds an operation by its name, that of the scalar functions ("plus", "sin"; "log" and "unitize" exist with
 * one and with two arguments).
 * @param name  may be null
 * @param arity the number of arguments, 1 to 3
 * @return the identifier, 0 when there is no such operation
 */
ZENTHAR_API int32_t MNumericArray_getMachFuncID(const char* name, int32_t arity);
/** @return the name of an operation, a static string; null for an identifier without kernels */
ZENTHAR_API const char* MNumericArray_getMachFuncName(int32_t op);
/** @} */

ZENTHAR_END_DECLS

#endif
