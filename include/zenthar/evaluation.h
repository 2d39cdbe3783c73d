/**
 * @file evaluation.h
 * @brief Element-wise operations on whole arrays, for hosts that generate no loops.
 *
 * An operation of dispatch.h is applied to arrays of any element types: the record is looked up, operands are
 * converted where they must be, the result array is made or used again, and the vector function is run.
 *
 * **Types.** The operation is evaluated in the first of these for which it has a kernel: the types of the
 * operands; their common type; Integer64, Real64 and ComplexReal64 for each as its values ask for, widened
 * as little as there is a kernel for. The common type holds the values of both: a wider signed integer where
 * signs differ, Real32 for integers of up to 16 bits beside Real32, else Real64, and a complex type beside a
 * complex. UnsignedInteger64 beside a signed integer becomes Integer64, and fails with 1, whatever the flags,
 * where an element does not fit. Real16 is read as Real32. ReturnRangeType1() and ReturnRangeType2() tell the
 * type of the result beforehand.
 *
 * **Shapes.** A scalar (rank 0) stands beside every shape. Other operands fit when one's shape begins with
 * the other's (MNumericArray_compatibleDimensionsQ()): the result has the longer shape, and each element of
 * the shorter operand stands beside all the elements of the longer one that its indices lead to. {2, 3} and
 * {2, 3, 4} give {2, 3, 4}.
 *
 * **Result.** `*handle` is null or an array, which then gets the result's type and shape, at no cost when it
 * has them (MNumericArray_allocateCommon(); `mode` is its failure mode). It may be an operand too.
 *
 * **Failures** are told by the code that is returned, in every exception style; nothing is raised, and an
 * exception that is pending stays so.
 * - 13 (argument): the handle or an operand is null, or an operand has no buffer for its elements;
 * - 22 (unimplemented): the operation has no kernel for such types;
 * - 25 (dimensionerror): the shapes do not fit;
 * - 402, 403: the result cannot be allocated.
 *
 * So far `*handle` is as it was. A failure of an element gives the code of the failing element of the lowest
 * index (1, 3, 6, 9 or 16), a request to abort 34; then the array in `*handle`, if it is not as it was, has
 * the result's type and shape and unspecified elements. A new array that `*handle` got is deleted again, and
 * `*handle` null.
 *
 * **Threads.** Different threads may evaluate at once when none of the arrays that one writes is used by
 * another. Long runs on operands that need neither conversion nor repetition are divided among the pool's
 * threads, see dispatch.h.
 */
#ifndef ZENTHAR_EVALUATION_H
#define ZENTHAR_EVALUATION_H

#include "zenthar/array.h"
#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/**
 * Applies a unary operation to the elements of an array.
 * @param[in,out] handle the result's handle; where it holds null it gets a new array
 * @param op    the operation, 1 to 86
 * @param a     the operand
 * @param flags check flags, as vector functions take them
 * @param mode  failure mode of the allocation, see array.h
 * @return 0, or the code of the failure
 */
ZENTHAR_API int32_t MNumericArray_applyUnaryMachFunc(MNumericArray* handle, int32_t op, MNumericArray a,
                                                     uint32_t flags, int32_t mode);
/**
 * Applies a binary operation to the elements of two arrays.
 * @param[in,out] handle the result's handle; where it holds null it gets a new array
 * @param op    the operation, 257 to 285
 * @param a     the first operand
 * @param b     the second operand
 * @param flags check flags, as vector functions take them
 * @param mode  failure mode of the allocation, see array.h
 * @return 0, or the code of the failure
 */
ZENTHAR_API int32_t MNumericArray_applyBinaryMachFunc(MNumericArray* handle, int32_t op, MNumericArray a,
                                                      MNumericArray b, uint32_t flags, int32_t mode);
/**
 * Applies a ternary operation to the elements of three arrays. ::MACHFUNC_COMPPLUS replaces its third
 * operand, which must have the type of the others then, be no other array of the call, and have the result's
 * shape or be a scalar, in which the compensation is carried from element to element; else the call fails
 * with 22, 13 or 25.
 * @param[in,out] handle the result's handle; where it holds null it gets a new array
 * @param op    the operation, 513 to 517
 * @param a     the first operand
 * @param b     the second operand
 * @param c     the third operand
 * @param flags check flags, as vector functions take them
 * @param mode  failure mode of the allocation, see array.h
 * @return 0, or the code of the failure
 */
ZENTHAR_API int32_t MNumericArray_applyTernaryMachFunc(MNumericArray* handle, int32_t op, MNumericArray a,
                                                       MNumericArray b, MNumericArray c, uint32_t flags,
                                                       int32_t mode);
/** MNumericArray_applyUnaryMachFunc(). @return 0, or the code of the failure */
ZENTHAR_API int32_t MTensor_applyUnaryMachFunc(MTensor* handle, int32_t op, MTensor a, uint32_t flags,
                                               int32_t mode);
/** MNumericArray_applyBinaryMachFunc(). @return 0, or the code of the failure */
ZENTHAR_API int32_t MTensor_applyBinaryMachFunc(MTensor* handle, int32_t op, MTensor a, MTensor b,
                                                uint32_t flags, int32_t mode);
/** MNumericArray_applyTernaryMachFunc(). @return 0, or the code of the failure */
ZENTHAR_API int32_t MTensor_applyTernaryMachFunc(MTensor* handle, int32_t op, MTensor a, MTensor b, MTensor c,
                                                 uint32_t flags, int32_t mode);

ZENTHAR_END_DECLS

#endif
