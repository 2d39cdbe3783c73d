/**
 * @file runtime.h
 * @brief Start and end of the library, and the range predicates of compiled code.
 *
 * Initialisation runs the start-up hook of every module with a phase number; a hook acts only in the phases
 * it has work for:
 *
 * | phase | what happens |
 * |-------|--------------------------------------------------------------------------------------------------|
 * | 0     | defaults of a fresh process; the names of element types are cleared; ::watch and ::watch1 are 0 |
 * | 1     | ::system_memory and ::system_allocation_limit are set; the names of element types can be looked
 * up; the key of the rank-0 scratch arrays is made | | 4     | the permanent array, see getEternalMTensor(),
 * is made unless it exists                            |
 *
 * A host runs 0, 1 and 4 in this order. Initialisation and deinitialisation are called on one thread, before
 * or after all other use of the library, and may alternate as often as one likes.
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
/** Takes the host's processor setting over again. */
ZENTHAR_API void ReinitializeRuntimeLibrary(void);
/**
 * Runs the tear-down hooks: the permanent array and every thread's rank-0 scratch arrays are freed, and the
 * names of element types cleared.
 * @param full not 0 to release also the thread layer's start and stop functions and the allocator's global
 *             state
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
