/**
 * @file comparison.h
 * @brief Tolerant comparison of reals and complexes, comparison of whole lists, exact ordering, sorting.
 *
 * **Tolerance.** A tolerance t counts bits of the significand: two reals are equal when their difference is
 * below 2^(t-53) of the larger magnitude (2^(t-24) for binary32). With t = 7, the default of
 * ::EqualTolerance, that is 2^-46. It need not be an integer.
 * - t <= 0, and a t that is NaN, compare exactly;
 * - t >= 53 (24 for binary32) makes all reals of one sign equal, infinities too;
 * - a difference of half the larger magnitude or more is unequal for every t below that;
 * - zero equals only zero (of either sign), and reals of different signs are unequal, whatever t.
 *
 * A NaN equals nothing for t < 53; for larger t it equals NaNs and positive reals. A three-way comparison of
 * unequal values of which one is a NaN gives -1, except 1 for a NaN followed by 0.0 or a negative real.
 *
 * Tolerant equality is not transitive. Every function here may be called from any number of threads at once;
 * a result depends on the arguments alone.
 */
#ifndef ZENTHAR_COMPARISON_H
#define ZENTHAR_COMPARISON_H

#include "zenthar/array.h"
#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** @name Constants
 * @{ */
extern ZENTHAR_API const mreal MachineOverflow;  /**< plus infinity */
extern ZENTHAR_API const mreal MachinePrecision; /**< minus infinity: the precision tag of machine reals */
extern ZENTHAR_API const mreal dInfinity;        /**< plus infinity */
extern ZENTHAR_API const mreal logtwo;           /**< natural logarithm of 2 */
extern ZENTHAR_API const mreal logten;           /**< natural logarithm of 10 */
extern ZENTHAR_API const mreal log2ten;          /**< logarithm of 10 to base 2 */
/** @} */

/** @name Settings
 * Tolerances, in bits, for callers to pass on: the functions below take theirs as an argument. Plain words
 * that the host sets before use.
 * @{ */
extern ZENTHAR_API mreal EqualTolerance; /**< of equality tests; 7.0 at load */
extern ZENTHAR_API mreal SameQTolerance; /**< of identity tests; 1.0 at load */
extern ZENTHAR_API mreal HashTolerance;  /**< of reals when they are hashed; 1.0 at load */
/** @} */

/** @name Tolerant comparison
 * `tolerance` in bits, see the top of this file.
 * @{ */

/** Compares two reals. @return -1 (a below b), 0 (equal) or 1 (a above b) */
ZENTHAR_API int32_t compare_double(mreal tolerance, mreal a, mreal b);
/** Compares two binary32 reals, whose significand has 24 bits. @return -1, 0 or 1 */
ZENTHAR_API int32_t compare_float(float tolerance, float a, float b);
/** @return 1 when compare_double() gives 0, else 0 */
ZENTHAR_API mbool near1_double(mreal tolerance, mreal a, mreal b);
/** @return 1 when compare_float() gives 0, else 0 */
ZENTHAR_API mbool near1_float(float tolerance, float a, float b);
/**
 * Compares two complex values: equal when both parts are, or when the modulus of the difference is below
 * ToleranceShiftFactor() of the larger modulus, so that a part that is small beside the other does not
 * decide.
 * @return 1 when equal, else 0
 */
ZENTHAR_API mbool near1_reim_mcomplex(mreal tolerance, mreal a_re, mreal a_im, mreal b_re, mreal b_im);
/** @return 2^(tolerance-53) for 0 < tolerance < 53, 1.0 from there on, 2^-53 for 0 and below (and NaN) */
ZENTHAR_API mreal ToleranceShiftFactor(mreal tolerance);
/**
 * The representative of a real: x with all but its leading 53 - trunc(tolerance) bits cleared. Reals that are
 * equal under the tolerance usually share it, though some that are equal lie on both sides of a step.
 * @return the representative; x itself when `tolerance` is not between 0 and 53, and for 0, infinities and
 * NaN
 */
ZENTHAR_API mreal er_mreal(mreal tolerance, mreal x);
/**
 * Compares the representatives of two reals exactly: the order of the classes that er_mreal() makes.
 * Transitive, unlike compare_double().
 * @return -1, 0 or 1
 */
ZENTHAR_API int32_t equivalence_compare_double(mreal tolerance, mreal a, mreal b);
/** @} */

/** @name Comparison of lists
 * By comparison code, with `n` values. A list of fewer than two is true for every code from 1 to 8, and any
 * other code is false:
 *
 * | code | true when                                        |
 * |------|--------------------------------------------------|
 * | 1, 5 | every pair is equal                              |
 * | 2, 8 | no pair is equal                                 |
 * | 3    | each value is below the next                     |
 * | 4    | none is above the next                           |
 * | 6    | none is below the next                           |
 * | 7    | each value is above the next                     |
 *
 * Lists of reals take time n, or n log n for codes 2 and 8 (with n reals of work space; the square of n where
 * there is no memory for that, or the tolerance is a fraction above 50). Codes 2 and 8 of complexes, and 1
 * and 5 with a tolerance, compare up to n (n - 1) / 2 pairs.
 * @{ */

/** Compares a list of reals by compare_double(). @return 1 true, 0 false */
ZENTHAR_API mbool CompareReals(int32_t code, mint n, mreal tolerance, const mreal* values);
/** CompareReals() with tolerance 0. */
ZENTHAR_API mbool CompareRealsNoTolerance(int32_t code, mint n, const mreal* values);
/**
 * Compares a list of complex values: codes 1, 2, 5 and 8 by near1_reim_mcomplex(); the others are false
 * unless every imaginary part is 0.0, and then compare the real parts.
 * @return 1 true, 0 false
 */
ZENTHAR_API mbool CompareComplexes(int32_t code, mint n, mreal tolerance, const mcomplex* values);
/** CompareComplexes() with tolerance 0. */
ZENTHAR_API mbool CompareComplexesNoTolerance(int32_t code, mint n, const mcomplex* values);
/** @} */

/** @name Exact order of runs
 * Two runs of `n` elements, lexicographically: the first position at which they differ decides; `n` of 0 or
 * less gives 0. Without NaN these are total orders in which -0.0 equals 0.0. A NaN differs from everything,
 * itself included, and whatever it meets gives -1, in both directions.
 * @{ */

/** Orders two runs of integers. @return -1, 0 or 1 */
ZENTHAR_API int32_t OrderIntegerData(const mint* a, const mint* b, mint n);
/** Orders two runs of reals. @return -1, 0 or 1 */
ZENTHAR_API int32_t OrderRealData(const mreal* a, const mreal* b, mint n);
/**
 * Orders two runs of complex values, each by its real part, then by the magnitude of its imaginary part, then
 * by that part's value: -i, i, 2i.
 * @return -1, 0 or 1
 */
ZENTHAR_API int32_t OrderComplexData(const mcomplex* a, const mcomplex* b, mint n);
/** @} */

/** @name Sorting permutations
 * Stable and ascending: `permutation[k]` is the 0-based index of the value that comes k-th, and equal values
 * keep their order. NaNs come after every number, as equals; so do -0.0 and 0.0 among themselves.
 *
 * Time is proportional to n for values that are sorted, reversed or few runs of either, and nearly so
 * otherwise: a radix sort by the highest 33 bits that vary, then of what agrees in those. Work space is 16 n
 * bytes of the calling thread's allocator, taken quietly; without it the permutation is sorted in place in
 * time n log n. From getVectorParallelLengthThreshold() of class 4 on, and of 131072 elements, sorts are
 * divided among the pool's threads.
 *
 * An abort request ends a long sort: the permutation is the identity then and ::ZENTHAR_ERROR_ABORT is
 * raised.
 * @{ */

/**
 * Sorts the indices of integers by their values.
 * @param[out] permutation n indices; may not overlap the values
 * @param      values      n integers
 * @param      n           their number; nothing is written for 0 or less
 */
ZENTHAR_API void MergeSortPermutation_mint(mint* permutation, const mint* values, mint n);
/** MergeSortPermutation_mint() of reals. */
ZENTHAR_API void MergeSortPermutation_double(mint* permutation, const mreal* values, mint n);
/** @} */

/** @name Arrays
 * Of integers, reals and complex values. An array of rank 1 is a list of its elements, one of higher rank a
 * list of its rows: the sub-arrays that its first index selects.
 *
 * **Order.** Elements are ordered as OrderIntegerData(), OrderRealData() and OrderComplexData() order them,
 * except that a NaN, as a real, a real part or an imaginary part, comes after every number and is level with
 * another NaN. Rows are ordered lexicographically by their data.
 *
 * **Equality** is that of `tolerance`, as in near1_double() and near1_reim_mcomplex(); rows are equal when
 * all their elements are. Integers are compared exactly. A NaN equals nothing (see the top of this file), so
 * it is found nowhere and is counted as a class of its own.
 *
 * **Results.** An array is given through a handle as MTensor_allocateCommon() gives it: a new one where the
 * handle is null, else the one that is there, which may be the argument `array`.
 *
 * **Codes.** All return 0; 13 for a null pointer (or two results in one array); 19 for an array that is none
 * of these types, or an element of another type than the array; 24 for an array of rank 0, or an element
 * whose rank is not one less than the array's; 25 for an element of another shape than the rows; 402 and 403
 * as MTensor_allocateCommon() does in failure mode 1; and 34, which is also raised, when the host requests an
 * abort. After any code but 0 a handle that was null is null, and nothing is stored through other pointers.
 * After 403 the content of an array that was handed in to take a result is unspecified; otherwise it stays.
 *
 * Sorting takes 16 bytes of work space for each element of a list of integers or reals, else 24 for each row
 * (56 for MTensor_tally()), from the calling thread's allocator; without it the code is 403. Time, threads
 * and abort requests are as for the sorting permutations.
 * @{ */

/**
 * Sorts a list in ascending order; equal elements keep their order, so zeros keep their signs and rows that
 * are level stay as they stand.
 * @param[in,out] result the sorted list, of the same type and shape
 * @param         array  the list
 * @return 0, 13, 19, 24, 34 or 403
 */
ZENTHAR_API int32_t MTensor_Sort(MTensor* result, MTensor array);
/**
 * The distinct elements of a list, in ascending order. From the sorted list each element is kept that does
 * not equal the one that was kept last.
 *
 * Under a tolerance, rows and complex values that are equal may stand apart in the order, and are kept both
 * then.
 * @param[in,out] result    the list of what is kept, an array of the same type and rank
 * @param         array     the list
 * @param         tolerance in bits
 * @return 0, 13, 19, 24, 34 or 403
 */
ZENTHAR_API int32_t MTensor_Union(MTensor* result, MTensor array, mreal tolerance);
/**
 * The distinct elements of a list with their numbers, by first appearance. The classes of equal elements are
 * those of MTensor_Union(); each is shown by its element of lowest index.
 * @param[in,out] values    one element for each class; may be `array`
 * @param[in,out] counts    how many elements each class has, a list of integers; an array of its own
 * @param         array     the list
 * @param         tolerance in bits
 * @return 0, 13, 19, 24, 34 or 403
 */
ZENTHAR_API int32_t MTensor_tally(MTensor* values, MTensor* counts, MTensor array, mreal tolerance);
/**
 * Where an element is in a list.
 * @param[in,out] result    the positions, counted from 1, in ascending order: a list of integers
 * @param         array     the list
 * @param         element   a scalar array for a list of rank 1, else an array shaped as the rows
 * @param         tolerance in bits
 * @return 0, 13, 19, 24, 25, 34 or 403
 */
ZENTHAR_API int32_t MTensor_position(MTensor* result, MTensor array, MTensor element, mreal tolerance);
/**
 * How often an element is in a list.
 * @param[out] count     the number of elements that equal it
 * @param      array     the list
 * @param      element   as for MTensor_position()
 * @param      tolerance in bits
 * @return 0, 13, 19, 24, 25 or 34
 */
ZENTHAR_API int32_t TensorCount(mint* count, MTensor array, MTensor element, mreal tolerance);
/** Whether an element is in a list, as TensorCount() counts. @return 0, 13, 19, 24, 25 or 34 */
ZENTHAR_API int32_t TensorMemberQ(mbool* member, MTensor array, MTensor element, mreal tolerance);
/** Whether an element is in no place of a list. @return 0, 13, 19, 24, 25 or 34 */
ZENTHAR_API int32_t TensorFreeQ(mbool* free, MTensor array, MTensor element, mreal tolerance);
/**
 * Whether a list is in ascending order, equal neighbours allowed: whether MTensor_Sort() would change
 * nothing.
 * @return 0, 13, 19 or 24
 */
ZENTHAR_API int32_t TensorOrderedQ(mbool* ordered, MTensor array);
/** @} */

ZENTHAR_END_DECLS

#endif
