/**
 * @file host.h
 * @brief What an embedding host provides.
 *
 * The library calls these functions by their exported names and carries a weak default of each, so that it
 * also works with no host around it. A host that defines one of them, in its executable or in a library
 * loaded before this one, replaces the default. nomem() can be replaced the same way.
 */
#ifndef ZENTHAR_HOST_H
#define ZENTHAR_HOST_H

#include "zenthar/hashing.h"
#include "zenthar/random.h"
#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/**
 * Says whether the abort that was requested by ::watch applies to a category of work. Asked in the thread
 * that checks, by several at once when they do.
 * @param category name of the category, "Compiler" for compiled code
 * @return not 0 when it applies; the default answers 1
 */
ZENTHAR_API mbool watchhandle_c(const char* category);
/**
 * Starts the abort of the running computation because memory is exhausted. Called once for each array request
 * that fails in failure mode 2, before the request returns null or 403. The default does nothing.
 * @param bytes the size of the request, -1 when the size itself overflowed
 */
ZENTHAR_API void StartOutOfMemoryAbort(mint bytes);
/**
 * Registers an entry that has just been linked into a table with ::HASH_TABLE_WEAK. The default does nothing.
 * @param table the table
 * @param entry its new entry
 */
ZENTHAR_API void WeakHashTable_Add(HashTable table, HashEntry entry);
/**
 * Unregisters an entry of a table with ::HASH_TABLE_WEAK that has just been unlinked, before it is released.
 * The default does nothing.
 * @param table the table
 * @param entry the entry, its key and value still in place
 */
ZENTHAR_API void WeakHashTable_Remove(HashTable table, HashEntry entry);

/** @name Random generators
 * @{ */
/** @return a new generator object with a function table, both from zalloc(); the default's are zero-filled */
ZENTHAR_API RandomGenerator RandomGenerator_newGeneric(void);
/** @return a copy of a generator's array of distribution functions; the default returns its argument */
ZENTHAR_API void* RandomDistributionFunctionArray_copy(void* array);
/** Frees such an array. The default does nothing. */
ZENTHAR_API void RandomDistributionFunctionArray_delete(void* array);
/**
 * Seeds the calling thread's current generator. The default seeds with the key of this one word.
 * @param seed points to the word
 */
ZENTHAR_API void CompiledSeedRandom(mint* seed);
/**
 * The generator that the calling thread draws from.
 *
 * The default is CurrentRandomGenerator_get(). For a thread that has none it registers the library's methods,
 * under the numbers that compiled code knows them by, makes a generator of the method named
 * ::DefaultRandomGeneratorName, seeds it from the operating system, and makes it the thread's current one.
 * Workers of the pool get one of the method "ParallelGenerator", with their GetParallelGeneratorIndex() for
 * the stream.
 * @return the generator, null when there is no memory for one
 */
ZENTHAR_API RandomGenerator GetCurrentRandomGenerator(void);
/** @} */

ZENTHAR_END_DECLS

#endif
