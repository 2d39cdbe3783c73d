/**
 * @file runtime.h
 * @brief Start and end of the library, and the range predicates of compiled code.
 *
 * Initialisation runs the start-up hook of every module with a phase number; a hook acts only in the phases
 * it has work for:
 *
 * - 0: defaults of a fresh process: hashing, dispatch thresholds, processors and thread number, the tables of
 *   masks and scales; the names of element types are cleared; ::watch and ::watch1 are 0;
 * - 1: ::system_memory and ::system_allocation_limit; the names of element types can be looked up from now
 * on; the key of the rank-0 scratch arrays;
 * - 4: the permanent array, see getEternalMTensor(), unless it exists.
 *
 * A host runs 0, 1 and 4 in this order, but any order will do, and each may be repeated. Initialisation and
 * deinitialisation are called on one thread, before or after all other use of the library, and may alternate
 * as often as one likes; a second deinitialisation in a row finds nothing to do.
 *
 * **Without any of it** the library works: settings have their defaults from the start, and allocators,
 * thread keys and the pool are made on first use. What a phase provides is then absent: the permanent array
 * is null, names of element types give 0 (the raw-array view's are always known), the processor counts and
 * the thread number are 0, which loops take for 1, and the tables BITMASK and BITSHIFTFACTOR hold 0. The same
 * holds after DeinitializeRuntimeLibrary(), but for settings and the thread number, which stay as they are.
 */
#ifndef ZENTHAR_RUNTIME_H
#define ZENTHAR_RUNTIME_H

#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** @name Start and end
 * @{ */

/** Runs the start-up hooks of all modules with a phase number, see above; a phase without work does nothing.
 */
ZENTHAR_API void InitRuntimeLibrary(int32_t phase);
/** Phase 0 of InitRuntimeLibrary(). */
ZENTHAR_API void InitializeRuntimeLibrary(void);
/** Counts the processors again and sets the thread number by them; nothing else changes. */
ZENTHAR_API void ReinitializeRuntimeLibrary(void);
/**
 * Runs the tear-down hooks: the permanent array and every thread's rank-0 scratch arrays are freed, the names
 * of element types cleared, and the workers of the pool ended. Whatever the host still holds stays valid.
 * @param full not 0 to release also the thread layer's start and stop functions and, when no block of any
 *             thread is left, the allocator's global state
 */
ZENTHAR_API void DeinitializeRuntimeLibrary(int32_t full);
/** InitializeRuntimeLibrary(): the entry point that loaded libraries call. */
ZENTHAR_API void ZentharRTL_initialize(void);
/** @} */

/** @name Predicates
 * Pure functions, callable from any thread.
 * @{ */

/** @return 1 when a part is NaN or its magnitude exceeds the largest finite double, else 0 */
ZENTHAR_API mbool cTESTFPOV(mreal re, mreal im);
/** @return 1 when a part's magnitude is below the smallest normal double (zero counts), else 0 */
ZENTHAR_API mbool MComplexUnderflowQ(mreal re, mreal im);
/** @return 1 when a part that is not zero has a magnitude below the smallest normal double, else 0 */
ZENTHAR_API mbool MComplexUnderflow0Q(mreal re, mreal im);
/** @return 1 when -2147483647 <= n <= 2147483647 (not -2147483648), else 0 */
ZENTHAR_API mbool MInt32Q(mint n);
/** Stores the low 32 bits of `n`. @return 1 when n fits (-2147483648 does), else 0 */
ZENTHAR_API mbool IntFromMint(int32_t* out, mint n);
/**
 * Narrows an array, from the first element to the last. `out` and `in` may start at the same address.
 * @param[out] out   the narrowed elements, up to and with the first that does not fit (truncated)
 * @param      in    the elements
 * @param      count number of elements
 * @return 1 when all fit, 0 at the first that does not
 */
ZENTHAR_API mbool IntFromMintArray(int32_t* out, const mint* in, mint count);
/**
 * Widens an array, from the last element to the first. `out` and `in` may start at the same address.
 * @param[out] out   the widened elements
 * @param      in    the elements
 * @param      count number of elements
 */
ZENTHAR_API void MintFromIntArray(mint* out, const int32_t* in, mint count);
/** @} */

ZENTHAR_END_DECLS

#endif
