/**
 * @file random.h
 * @brief Random numbers: methods and current generators, the three generators, variates, choices and samples.
 *
 * The nouns: a *method* is an algorithm with its functions, registered once under a name and a number; a
 * *generator* is an object that draws by a method, made by its allocation function; its *state* counts the
 * references to it and holds a *buffer*, a block of 64-bit words that the algorithm refills. Every thread has
 * a *current generator*, and one of each method; the functions that fill arrays ask the host for the calling
 * thread's by GetCurrentRandomGenerator().
 *
 * **Bits.** The bit function of the library's generators hands out the low bits of the current word first;
 * when fewer bits are left than are asked for, they are dropped and the next word is begun. So draws of 64
 * bits are the generator's own words in order. A function that fills an array gives the same values whether
 * it takes the words from the buffer or every draw from a bit function of the host's.
 *
 * **Ownership.** The current generator of a method holds one reference. The current generator of a thread is
 * a second pointer to one of these. ClearParallelRandomGenerators() gives them up on the workers of the pool,
 * and so does the end of a thread, whoever started it, which also gives back its parallel index.
 *
 * **Codes** of the functions that fill arrays: 0; 3 (weights of another length); 11 (the generator lacks the
 * function that is needed); -1 (invalid weights, too few positions, or no integer function in choices and
 * samples); 403 (no memory for a working buffer); 1000 (aborted, see checkAbortWatch()); 1001 (a range or a
 * total that is not finite). What was written before a failure stays. A count of 0 or less gives 0; choices
 * and samples of none look at nothing else.
 *
 * **Threads.** A generator is used by one thread at a time, and reference counts are plain words. The list of
 * methods should be complete before threads draw. After a `fork` the child's thread goes on with the same
 * numbers as its parent: one of them should seed anew.
 */
#ifndef ZENTHAR_RANDOM_H
#define ZENTHAR_RANDOM_H

#include "zenthar/array.h"
#include "zenthar/hashing.h"
#include "zenthar/threads.h"
#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

typedef struct st_RandomGeneratorMethod* RandomGeneratorMethod; /**< an algorithm */
typedef struct st_RandomGenerator* RandomGenerator;             /**< what draws */
typedef struct st_RandomStateEntry* RandomStateEntry;           /**< a generator in a saved state */
typedef struct st_RandomState* RandomState;                     /**< saved generators */
typedef struct st_RandomBuffer* RandomBuffer;                   /**< a block of random words */

/** Makes a generator. @param parameters as the method has them, null for its defaults */
typedef RandomGenerator (*RandomMethodAllocate)(void* parameters);
/** @return a new generator that goes on as the given one would, or null */
typedef RandomGenerator (*RandomMethodClone)(RandomGenerator generator);
/** Frees the generator with whatever it still has. */
typedef void (*RandomMethodFree)(RandomGenerator generator);
/** @return a word whose low `bits` bits (1 to 64) are random; the others may be anything */
typedef uint64_t (*RandomBitFunction)(mint bits, RandomGenerator generator);
/** Fills with integers of [low, high]. @return 0 or a code */
typedef int32_t (*RandomMIntegerFunction)(mint* output, mint count, mint low, mint high,
                                          RandomGenerator generator);
/** Fills with reals of [low, high). @return 0 or a code */
typedef int32_t (*RandomMRealFunction)(mreal* output, mint count, RandomGenerator generator, mreal low,
                                       mreal high);
/** Seeds the generator with a key of `length` words. */
typedef void (*RandomSeedFunction)(RandomGenerator generator, const uint64_t* key, mint length);
/**
 * Fills a block.
 * @param[out] block      `words` words
 * @param words           its length, that of the buffer
 * @param state           the algorithm's own state
 * @param[out] valid_bits how many low bits of each word are random, 1 to 64
 * @return 0
 */
typedef int32_t (*RandomFillFunction)(uint64_t* block, mint words, void* state, int32_t* valid_bits);

/** @name Records
 * @{ */

/** A method. */
struct st_RandomGeneratorMethod {
  char* name;                      /**< owned; may be null */
  mint id;                         /**< 1, 2, 3, ... in order of registration; 0 before */
  RandomMethodAllocate allocate;   /**< makes generators */
  RandomMethodClone clone;         /**< called by RandomGenerator_clone() */
  RandomMethodFree free_generator; /**< called by RandomGenerator_refDecr() */
  RandomGeneratorMethod next;      /**< next older on the list */
  void* reserved[3];               /**< 0 */
  KThreadLocalStorage current;     /**< each thread's current generator of this method */
};

/** A generator's state: what its references share. */
struct st_RandomGeneratorState {
  mint method_id;       /**< the method's number, 0 for one that is not registered */
  void* data;           /**< handed to the state-creation function when the generator is cloned */
  mint reference_count; /**< a negative count means that references are not counted */
};
typedef struct st_RandomGeneratorState* RandomGeneratorState; /**< handle of a state */

/** The functions of a generator. */
struct st_RandomGeneratorFunctions {
  RandomBitFunction bits;          /**< draws bits */
  RandomSeedFunction seed;         /**< seeds; the library's generators have it, a host's may keep another */
  RandomMIntegerFunction integers; /**< fills with integers, usually Generic_randomMIntegers() */
  RandomMRealFunction reals;       /**< fills with reals, usually Generic_randomMReals() */
  void* host[2];                   /**< the host's */
  void* distributions;             /**< the host's array of distribution functions */
};

/** A generator. */
struct st_RandomGenerator {
  RandomGeneratorState state;                                       /**< null when there is none */
  struct st_RandomGeneratorFunctions* functions;                    /**< seven words */
  void* copied;                                                     /**< the host's; a copy has the same */
  void* cleared;                                                    /**< the host's; a copy has 0 */
  RandomGeneratorState (*create_state)(mint method_id, void* data); /**< makes a state, for a clone */
  void (*free_state)(RandomGeneratorState state); /**< called when the last reference goes */
};

/** A generator in a random state. */
struct st_RandomStateEntry {
  int32_t tag;               /**< the host's */
  RandomGenerator generator; /**< the generator */
  RandomStateEntry next;     /**< the entry after it */
  RandomStateEntry previous; /**< the entry before it */
};

/** A saved random state: generators of this thread and, by a key, those of the workers. */
struct st_RandomState {
  RandomStateEntry entries;    /**< the first entry */
  KThreadLocalStorage workers; /**< each worker's own ::RandomState; null for none */
  int32_t counted;             /**< 1 while references are held on the entries' generators */
};

/** A block of random words, refilled by the algorithm whose state it holds. */
struct st_RandomBuffer {
  uint64_t* block;                  /**< `words` words */
  mint words;                       /**< length of the block */
  RandomFillFunction fill;          /**< refills the block */
  void* state;                      /**< the algorithm's own state, handed to `fill` */
  void* (*copy_state)(void* state); /**< copies the state; null: a copy of the buffer has the same */
  void (*free_state)(void* state);  /**< frees the state; null: it is somebody else's */
  mint next;                        /**< first word of the block that has not been begun */
  uint64_t current;                 /**< what is left of the current word, in its low bits */
  int32_t left;                     /**< how many bits that is */
  int32_t valid_bits;               /**< random bits per word, as the last fill said */
};

/** State of the parallel generator: one stream's recurrence. */
struct st_PMT32State {
  uint32_t aaa;    /**< matrix word; its low 16 bits are the stream's index */
  uint32_t mm;     /**< 8: distance of the recurrence's middle word */
  uint32_t nn;     /**< 17: words of state */
  uint32_t rr;     /**< 23: low bits taken from the second word */
  uint32_t ww;     /**< 32: bits of a word */
  uint32_t wmask;  /**< 0xffffffff */
  uint32_t umask;  /**< 0xff800000 */
  uint32_t lmask;  /**< 0x007fffff */
  uint32_t shift0; /**< 12: first tempering shift */
  uint32_t shift1; /**< 18: last tempering shift */
  uint32_t shiftB; /**< 7 */
  uint32_t shiftC; /**< 15 */
  uint32_t maskB;  /**< tempering mask */
  uint32_t maskC;  /**< tempering mask */
  uint32_t* state; /**< `nn` words */
};

/** State of the cellular automaton. */
struct st_CA5BufferState {
  uint64_t* current; /**< the register: `width` words, and 52 more as they were at the last step */
  uint64_t* next;    /**< room for the next one */
  mint width;        /**< words of the register */
  mint step;         /**< every how-many-th word is output */
  mint start;        /**< the first word that is output */
};

ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, name) == 0, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, id) == 8, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, allocate) == 16, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, clone) == 24, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, free_generator) == 32, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, next) == 40, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, reserved) == 48, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorMethod, current) == 72, "method record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_RandomGeneratorMethod) == 80, "method record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorState, method_id) == 0, "state record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorState, data) == 8, "state record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorState, reference_count) == 16, "state record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_RandomGeneratorState) == 24, "state record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorFunctions, bits) == 0, "function table");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorFunctions, seed) == 8, "function table");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorFunctions, integers) == 16, "function table");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorFunctions, reals) == 24, "function table");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorFunctions, host) == 32, "function table");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGeneratorFunctions, distributions) == 48, "function table");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_RandomGeneratorFunctions) == 56, "function table");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGenerator, state) == 0, "generator record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGenerator, functions) == 8, "generator record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGenerator, copied) == 16, "generator record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGenerator, cleared) == 24, "generator record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGenerator, create_state) == 32, "generator record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomGenerator, free_state) == 40, "generator record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_RandomGenerator) == 48, "generator record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomStateEntry, tag) == 0, "state entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomStateEntry, generator) == 8, "state entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomStateEntry, next) == 16, "state entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomStateEntry, previous) == 24, "state entry record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_RandomStateEntry) == 32, "state entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomState, entries) == 0, "random state record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomState, workers) == 8, "random state record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_RandomState, counted) == 16, "random state record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_RandomState) == 24, "random state record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_PMT32State, aaa) == 0, "parallel generator state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_PMT32State, maskB) == 48, "parallel generator state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_PMT32State, maskC) == 52, "parallel generator state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_PMT32State, state) == 56, "parallel generator state");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_PMT32State) == 64, "parallel generator state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_CA5BufferState, current) == 0, "cellular automaton state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_CA5BufferState, next) == 8, "cellular automaton state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_CA5BufferState, width) == 16, "cellular automaton state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_CA5BufferState, step) == 24, "cellular automaton state");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_CA5BufferState, start) == 32, "cellular automaton state");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_CA5BufferState) == 40, "cellular automaton state");
/** @} */

/** @name Methods
 * @{ */

/** The methods, newest first. */
extern ZENTHAR_API RandomGeneratorMethod RandomGeneratorMethodList;
/** Numbers that compiled code knows methods by: 1, 2, 3, 4, 0, 1. */
extern ZENTHAR_API const mint CompilerRandomGeneratorMethodID[6];
/** Their names: "ExtendedCA", "MKL", "MersenneTwister", "ParallelGenerator", "Automatic", "Default". */
extern ZENTHAR_API const char* const CompilerRandomGeneratorMethodList[6];
/** The name of the default method: "ExtendedCA". */
extern ZENTHAR_API const char* DefaultRandomGeneratorName;

/** @param name copied; may be null. @return a new method, not yet on the list; null without memory */
ZENTHAR_API RandomGeneratorMethod RandomGeneratorMethod_new(const char* name);
/** Gives a method the next number and puts it at the front of the list, for good. */
ZENTHAR_API void RandomGeneratorMethod_addToMethodList(RandomGeneratorMethod method);
/**
 * Makes a method, with copies of the name and its functions (any may be null), and puts it on the list. Null
 * without memory: the list is as it was then.
 */
ZENTHAR_API RandomGeneratorMethod RandomGeneratorMethod_add(const char* name, RandomMethodAllocate allocate,
                                                            RandomMethodClone clone,
                                                            RandomMethodFree free_generator);
/** @return the number of the newest method of that name; 0 when there is none */
ZENTHAR_API mint RandomGeneratorMethod_find(const char* name);
/** @return the newest method of that number, or null */
ZENTHAR_API RandomGeneratorMethod RandomGeneratorMethod_get(mint id);
/** @return the name that compiled code knows a method's number by, "ExtendedCA" for 1; null for any other */
ZENTHAR_API const char* CompiledGetRandomGeneratorName(mint id);
/** @} */

/** @name Current generators
 * They belong to the calling thread; setting one neither takes nor gives up a reference. Where there is no
 * memory to keep one, setting it changes nothing.
 * @{ */
ZENTHAR_API RandomGenerator RandomGeneratorMethod_getCurrent(RandomGeneratorMethod method); /**< or null */
/** Sets the current generator of a method, which takes over one reference from the caller; null for none. */
ZENTHAR_API void RandomGeneratorMethod_setCurrent(RandomGeneratorMethod method, RandomGenerator generator);
ZENTHAR_API RandomGenerator CurrentRandomGenerator_get(void); /**< the current generator, or null */
/** Sets the current generator, usually one that is also its method's; null for none. */
ZENTHAR_API void CurrentRandomGenerator_set(RandomGenerator generator);
/**
 * The thread's number among those that draw in parallel, from 0: its own until it ends or
 * ClearParallelRandomGenerators() takes it back, and then given to the next thread that asks. 0 when there is
 * no memory for one of its own.
 */
ZENTHAR_API mint GetParallelGeneratorIndex(void);
/**
 * Gives up what the workers of the pool draw with. A worker with a current generator gives up its references
 * on those of all methods; every worker gives back its parallel index. Nothing is done without a pool.
 */
ZENTHAR_API void ClearParallelRandomGenerators(void);
/** Seeds by CompiledSeedRandom(). */
ZENTHAR_API void Runtime_SeedRandom(mint seed);
/** GetCurrentRandomGenerator(). */
ZENTHAR_API RandomGenerator Runtime_GetCurrentRandomGenerator(void);
/** @} */

/** @name Generators
 * @{ */

/** Takes one more reference, where they are counted. */
ZENTHAR_API void RandomGenerator_refIncr(RandomGenerator generator);
/**
 * Gives up a reference, where they are counted. With the last one the state is freed by the generator's
 * function, and then the generator by its method's; one whose method is not registered stays, without state.
 */
ZENTHAR_API void RandomGenerator_refDecr(RandomGenerator generator);
/**
 * A generator of the same method with a state of its own, made by the state-creation function of the one
 * given from its data.
 * @return null when the method has no clone function, or that or the state-creation function fails
 */
ZENTHAR_API RandomGenerator RandomGenerator_clone(RandomGenerator generator);
/** A new generator with a copy of the function table, the distributions and the third word, without state. */
ZENTHAR_API RandomGenerator RandomGenerator_copyGeneric(RandomGenerator generator);
/** Frees distributions, function table and generator, not its state. Null is allowed. */
ZENTHAR_API void RandomGenerator_deleteGeneric(RandomGenerator generator);
/** @return word 0 of the function table, a ::RandomBitFunction, or null */
ZENTHAR_API void* Runtime_RandomGenerator_getBitFunction(RandomGenerator generator);
/** @return word 2 of the function table, a ::RandomMIntegerFunction, or null */
ZENTHAR_API void* Runtime_RandomGenerator_getMIntegerFunction(RandomGenerator generator);
/** @return word 3 of the function table, a ::RandomMRealFunction, or null */
ZENTHAR_API void* Runtime_RandomGenerator_getMRealFunction(RandomGenerator generator);
/** @} */

/** @name Random states
 * @{ */
ZENTHAR_API RandomStateEntry RandomStateEntry_new(void); /**< an empty entry */
/**
 * A new entry with a generator.
 * @param previous  the entry it is linked after, or null
 * @param generator what the entry holds
 */
ZENTHAR_API RandomStateEntry RandomStateEntry_add(RandomStateEntry previous, RandomGenerator generator);
ZENTHAR_API RandomState RandomState_new(void); /**< an empty state */
/** Takes a reference on every entry's generator, and on the workers' states, unless that was done before. */
ZENTHAR_API void RandomState_count(RandomState state);
/** Gives up counted references and frees the state, its entries and the workers' states. Null is allowed. */
ZENTHAR_API void RandomState_delete(RandomState state);
/** @} */

/** @name Buffers
 * @{ */
/**
 * @param fill  refills the block
 * @param words length of the block, at least 1
 * @return a buffer with an empty block and no state, or null when there is no memory or an argument is wrong
 */
ZENTHAR_API RandomBuffer RandomBuffer_new(RandomFillFunction fill, mint words);
/** @return a copy that goes on as the buffer would, or null */
ZENTHAR_API RandomBuffer RandomBuffer_copy(RandomBuffer buffer);
/** Frees the block, the state and the buffer. Null is allowed. */
ZENTHAR_API void RandomBuffer_delete(RandomBuffer buffer);
/** @} */

/** @name The generators of the library
 * Word 1 of their function tables is the seeding function. A key of no words seeds as the allocation does.
 * The data of their states is a ::RandomBuffer, so a clone goes on as its original would.
 * @{ */

/**
 * The 64-bit Mersenne Twister, MT19937-64 (Nishimura, Tables of 64-bit Mersenne twisters, 2000): period
 * 2^19937 - 1. A key seeds it by the published init_by_array64; it begins as MersenneTwister_seedWord() with
 * the published default, 5489, leaves it.
 */
ZENTHAR_API RandomGenerator MersenneTwister_alloc(void* unused);
/** Seeds a generator of MersenneTwister_alloc() with one word, by the published init_genrand64. */
ZENTHAR_API void MersenneTwister_seedWord(RandomGenerator generator, uint64_t seed);
ZENTHAR_API RandomGenerator MersenneTwister_clone(RandomGenerator generator); /**< clone function */
ZENTHAR_API void MersenneTwister_free(RandomGenerator generator);             /**< free function */

/**
 * One of 1024 streams of 32-bit Mersenne Twisters over 17 words, with parameters of their own as dynamic
 * creation (Matsumoto and Nishimura, 1998) gives them. A key seeds it by the published 32-bit init_by_array
 * over 17 words, each word of the key as its low and its high half; it begins as the published init_genrand
 * with 5489 leaves it. The words of a block are two halves each, earlier half low.
 *
 * Each stream has a recurrence of its own, linear over GF(2) with 521 bits of state. The characteristic
 * polynomials of twelve of the streams are irreducible: these have period 2^521 - 1. The others fall into
 * factors of lower degrees, which tools/pmt32-factors lists, and have the period of those factors in which
 * the seed has a part: the least common multiple of divisors of 2^degree - 1.
 *
 * Streams that are seeded alike begin alike, and need some 34 words to part. Give each a key of its own: the
 * seed and the index of the stream, say.
 * @param stream_index points to a ::mint, 0 to 1023; null for 0
 * @return null for any other index
 */
ZENTHAR_API RandomGenerator PMT32_alloc(void* stream_index);
ZENTHAR_API mbool PMT32_checkParameters(mint index); /**< 1 when the index is one of 0 to 1023 */
/** The process's stream counter, advanced: 1 at first, 0 after 1023. */
ZENTHAR_API mint PMT32_getNextIndex(void);
ZENTHAR_API RandomGenerator PMT32_clone(RandomGenerator generator); /**< clone function */
ZENTHAR_API void PMT32_free(RandomGenerator generator);             /**< free function */

/**
 * A cellular automaton on a ring of 64 w cells, w the width. Word i of the register, i from 0 to w - 1, holds
 * the cells i + w j, j from 0 to 63, cell i + w j in bit 64 - j, modulo 64. A step takes cell c to
 *
 *     not (c xor (c + 5) xor ((c + 12) or (c + 29) or (c + 52)))
 *
 * where c + d stands for the cell that many places on around the ring. So 64 cells are stepped at once: words
 * after the last one are those at the beginning, rotated left by one bit, and every bit of a word meets its
 * neighbours around the ring. After each step every s-th word from word t on is output.
 *
 * Seeding sets the register to the first w of 80 table words for w up to 80, and for wider ones to the first
 * w words of the 64-bit Mersenne Twister with its published default seed, last one first. The words of the
 * key, last one first, are then combined with the register by exclusive or, around it as often as needed,
 * and the automaton is stepped 4 w times, until every cell has heard of every word of the key. A key of the
 * single word 0 leaves the table words as they are, and so does the allocation.
 * @param parameters points to three ::mint {w, s, t}; null for {80, 4, 0}
 * @return null for parameters that CA5State_checkParameters() rejects, and without memory
 */
ZENTHAR_API RandomGenerator CA5BufferState_alloc(void* parameters);
/** @return 1 when width > 51, step > 0, start >= 0 and step < width - start, else 0 */
ZENTHAR_API mbool CA5State_checkParameters(mint width, mint step, mint start);
ZENTHAR_API RandomGenerator CA5BufferState_clone(RandomGenerator generator); /**< clone function */
ZENTHAR_API void CA5BufferState_free(RandomGenerator generator);             /**< free function */
/** @} */

/** @name Uniform variates
 * @{ */

extern ZENTHAR_API uint64_t BITMASK[65];      /**< 2^k - 1, k from 0 to 64; 0 outside initialisation */
extern ZENTHAR_API mreal BITSHIFTFACTOR[129]; /**< 2^k, k from -64 to 64; 0 outside initialisation */

/** Fills with integers between a and b, both included, in either order. @return 0, 11, or a code */
ZENTHAR_API int32_t UniformRandomMIntegers(mint* output, mint count, mint a, mint b);
/** Fills with reals of [low, high). @return 0, 11, or a code of the generator's real function */
ZENTHAR_API int32_t UniformRandomMReals(mreal* output, mint count, mreal low, mreal high);
/**
 * Fills with complexes of a rectangle: all real parts are drawn first, then all imaginary parts.
 * @param output what is filled
 * @param count  the number of complexes
 * @param lower the corner with the least parts
 * @param upper the opposite corner, excluded
 * @return 0, 11, 403, or a code of the real function: of the first call with nothing written, of the second
 * with 0 in the imaginary parts
 */
ZENTHAR_API int32_t UniformRandomMComplexes(mcomplex* output, mint count, mcomplex lower, mcomplex upper);
ZENTHAR_API int32_t Runtime_UniformRandomMIntegers(mint* output, mint count, mint a,
                                                   mint b); /**< UniformRandomMIntegers() */
ZENTHAR_API int32_t Runtime_UniformRandomMReals(mreal* output, mint count, mreal low,
                                                mreal high); /**< UniformRandomMReals() */
ZENTHAR_API int32_t Runtime_UniformRandomMComplexes(mcomplex* output, mint count, mcomplex lower,
                                                    mcomplex upper); /**< UniformRandomMComplexes() */

/**
 * Fills with integers of [low, high] from the generator's bit function.
 *
 * With b the bit length of r = high - low (modulo 2^64): for r = 0 nothing is drawn. For r = 2^b - 1 with b
 * one of 1, 2, 4, 8 and 16, draws of 64 bits give 64 / b elements each, the lowest b bits the last of them;
 * elements left over take b bits each. In all other cases b bits are drawn for each element until they are r
 * at most.
 * @return 0, or 11 without a bit function
 */
ZENTHAR_API int32_t Generic_randomMIntegers(mint* output, mint count, mint low, mint high,
                                            RandomGenerator generator);
/**
 * Fills with reals of [low, high) from the generator's bit function: with u of 52 random bits and
 * d = 2 (high - low), (high - d) + (u + 2^52) (2^-53 d), on a grid of 2^52 steps. After each element an abort
 * ends it.
 * @return 0; 11 without a bit function; 1001 when d or high - d is not finite; 1000 when aborted
 */
ZENTHAR_API int32_t Generic_randomMReals(mreal* output, mint count, RandomGenerator generator, mreal low,
                                         mreal high);
/** @} */

/** @name Choices and samples
 * Positions count from 1. Weights are real or integer arrays of rank 1; no position of weight 0 is drawn.
 * @{ */

/**
 * The running sums of weights.
 * @param[in,out] output handle of the result, null for a new array; the caller's also after a failure
 * @param weights what is added up
 * @return 0; -1 when a weight is negative (at once) or the total is 0; 1001 when it is not finite; 403
 */
ZENTHAR_API int32_t AccumulateWeightMTensor(MTensor* output, MTensor weights);
/**
 * Chooses k positions with replacement: for reals x of [0, total), the first whose running sum reaches x.
 * @param[out] output k positions
 * @param k           how many
 * @param cumulative  running sums of the weights
 * @param m           their number
 * @param generator   draws
 * @return 0, 11, 403, or a code of the real function
 */
ZENTHAR_API int32_t RandomChoicePositionsM(mint* output, mint k, const mreal* cumulative, mint m,
                                           RandomGenerator generator);
/**
 * Chooses k positions of 1 to n with replacement, by the current generator.
 * @param[out] output k positions
 * @param k           how many
 * @param n           the number of positions
 * @param weights     their weights; null for equal ones
 * @return 0, 3, -1, 11, 403, 1000 or 1001
 */
ZENTHAR_API int32_t RandomChoices(mint* output, mint k, mint n, MTensor weights);
/**
 * Draws k different positions of 1 to n. More than n / 10 are drawn by exchanging from the end of a list
 * (Fisher and Yates), fewer by drawing again what was drawn before.
 * @return 0, -1, 403, or a code of the integer function; -1 also when k > n, once all n are written
 */
ZENTHAR_API int32_t SimpleRandomSamplePositionsM(mint* output, mint k, mint n, RandomGenerator generator);
/**
 * Draws k different positions, each by the weights of those that remain.
 * @param[out] output k positions
 * @param k           how many
 * @param cumulative  running sums of the weights
 * @param generator   draws
 * @return 0, 11, 403, 1000, or a code of the real function; -1 when fewer than k positions have a weight,
 * once all of them are written
 */
ZENTHAR_API int32_t RandomSamplePositionsM(mint* output, mint k, MTensor cumulative,
                                           RandomGenerator generator);
/** SimpleRandomSamplePositionsM() by the current generator, or RandomSamplePositionsM() by weights. */
ZENTHAR_API int32_t RandomSamples(mint* output, mint k, mint n, MTensor weights);
/** @return a hash table for a set of k positions, which are its key words, with 2 k + 1 buckets prepared */
ZENTHAR_API HashTable PositionHashTable_new(mint k);
/** @} */

ZENTHAR_END_DECLS

#endif
