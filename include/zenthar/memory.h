/**
 * @file memory.h
 * @brief Memory: one allocator per thread, with accounting, a nested high-water mark, a soft limit, and three
 * ways to fail.
 *
 * Requests up to about 64 KiB come from size classes (slabs), larger ones from the system's `malloc`. Each
 * thread has its own allocator, made on its first request, so allocating and freeing one's own blocks takes
 * no lock; any thread may free any block. All functions here may be called from any thread at any time, at
 * process exit and in start and stop functions of threads too.
 *
 * Every block is aligned to 8 bytes, and to 16 where `aligned` is not 0. An 8-byte block costs 8 bytes.
 *
 * **Failure modes** of a request that cannot be met (memory exhausted, the size wraps around, or it exceeds
 * ::system_allocation_limit):
 * - 0: nomem() is called, which ends the process;
 * - 1: the result is null, and nothing is said;
 * - 2: the size is reported to the interrupt function when it passes the soft limit, then the result is null.
 */
#ifndef ZENTHAR_MEMORY_H
#define ZENTHAR_MEMORY_H

#include "zenthar/threads.h"
#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** @name Core
 * `aligned` not 0 asks for a 16-byte-aligned block; `failmode` is 0, 1 or 2, see above.
 * @{ */

/**
 * Allocates a block; its content is not initialised.
 * @param size     bytes; 0 gives null and touches nothing
 * @param aligned  not 0 for 16-byte alignment
 * @param failmode what happens when the request cannot be met
 * @return the block, or null
 */
ZENTHAR_API void* zalloc(size_t size, int32_t aligned, int32_t failmode);
/** Frees a block of any thread. Null is ignored. */
ZENTHAR_API void zfree(void* p);
/**
 * Gives a block another size and keeps the content up to the smaller of both.
 *
 * The block stays where it is when it can hold `size` and is not larger than twice `size`, unless `aligned`
 * asks for an alignment it does not have; otherwise it moves.
 * @param p        a block, or null for a new one
 * @param size     bytes; 0 gives null and leaves `p` valid
 * @param aligned  not 0 for 16-byte alignment
 * @param failmode what happens when the request cannot be met
 * @return the block, or null, which leaves `p` valid
 */
ZENTHAR_API void* zrealloc(void* p, size_t size, int32_t aligned, int32_t failmode);
/**
 * Allocates `count * size` bytes set to zero. The product is not checked for overflow: callers check their
 * counts.
 */
ZENTHAR_API void* kCalloc(size_t count, size_t size, int32_t aligned, int32_t failmode);
/**
 * The bytes that a request is charged with: its size class, or the size with its header for a large block. A
 * request of 65528 bytes without alignment is reported as large (65568), though it is served from a class.
 */
ZENTHAR_API size_t zalloc_round(size_t size, int32_t aligned);
/** @} */

/** @name Entry points that end the process when memory runs out (failure mode 0)
 * The `_gmp` forms have the signatures of memory functions that pass old sizes, which are ignored.
 * @{ */
ZENTHAR_API void* Malloc_fun(size_t size);                      /**< zalloc(), 8-byte aligned */
ZENTHAR_API void* MallocAligned_fun(size_t size);               /**< zalloc(), 16-byte aligned */
ZENTHAR_API void* MallocAlign16_fun(size_t size);               /**< zalloc(), 16-byte aligned */
ZENTHAR_API void* Calloc_fun(size_t count, size_t size);        /**< kCalloc(), 8-byte aligned */
ZENTHAR_API void* CallocAligned_fun(size_t count, size_t size); /**< kCalloc(), 16-byte aligned */
ZENTHAR_API void* CallocAlign16_fun(size_t count, size_t size); /**< kCalloc(), 16-byte aligned */
ZENTHAR_API void* Realloc_fun(void* p, size_t size);            /**< zrealloc(), 8-byte aligned */
ZENTHAR_API void* ReallocAligned_fun(void* p, size_t size);     /**< zrealloc(), 16-byte aligned */
ZENTHAR_API void Free_fun(void* p);                             /**< zfree() */
ZENTHAR_API void* Malloc_fun_for_gmp(size_t size);              /**< zalloc() */
ZENTHAR_API void* Realloc_fun_for_gmp(void* p, size_t old_size, size_t new_size); /**< zrealloc() */
ZENTHAR_API void Free_fun_for_gmp(void* p, size_t size);                          /**< zfree() */
/** @} */

/** @name Entry points that return null when memory runs out (failure mode 1), for compiled code
 * With a soft limit set, a request that passes it also calls the interrupt function and returns null.
 * @{ */
ZENTHAR_API void* RuntimeAllocate(size_t size);                       /**< zalloc(), 8-byte aligned */
ZENTHAR_API void* RuntimeAllocateAligned(size_t size);                /**< zalloc(), 16-byte aligned */
ZENTHAR_API void* RuntimeCallocate(size_t count, size_t size);        /**< kCalloc(), 8-byte aligned */
ZENTHAR_API void* RuntimeCallocateAligned(size_t count, size_t size); /**< kCalloc(), 16-byte aligned */
ZENTHAR_API void* RuntimeReallocate(void* p, size_t size);            /**< zrealloc(), 8-byte aligned */
ZENTHAR_API void* RuntimeReallocateAligned(void* p, size_t size);     /**< zrealloc(), 16-byte aligned */
ZENTHAR_API void RuntimeFree(void* p);                                /**< zfree() */
/** @} */

/** @name Accounting
 * All figures are bytes and belong to the calling thread's allocator, which is made when there is none yet.
 * What counts is what requests are charged (zalloc_round()) and the allocator's own record. A block that
 * another thread frees counts until its owner's next request of the same class (of requests that follow each
 * other within microseconds not every one looks), or until CompactifyMemory().
 * @{ */

/** A saved high-water mark; a list of them nests measurements. */
typedef struct st_MaxMemoryNode* MaxMemoryList;

ZENTHAR_API uint64_t MemoryInUse(void); /**< bytes in use */
ZENTHAR_API uint64_t MCinuse(void);     /**< bytes in use */
/** The high-water mark of the bytes in use; 0 until the thread's first request. */
ZENTHAR_API uint64_t MaxMemoryUsed(void);
ZENTHAR_API uint64_t MCliminuse(void); /**< the soft limit, 0 when there is none */
/**
 * Sets the soft limit; 0 removes it. A request that would pass it calls the interrupt function, during which
 * the bytes in use show the raised figure. In failure mode 1 the request then fails; in modes 0 and 2 it goes
 * on.
 */
ZENTHAR_API void MCsetlimit(uint64_t limit);
/**
 * Begins a measurement: saves the high-water mark in a node at the head of `*list` and lowers the mark to the
 * bytes in use.
 * @param list a caller-owned list head, null at first
 */
ZENTHAR_API void MaxMemoryListPush(MaxMemoryList* list);
/**
 * Ends the innermost measurement: the saved mark comes back unless the present one is higher.
 * @return the highest bytes in use since the matching push
 */
ZENTHAR_API uint64_t MaxMemoryListPop(MaxMemoryList* list);
/** @return the number of measurements under way on `*list` */
ZENTHAR_API mint MaxMemoryListLength(MaxMemoryList* list);
/**
 * One figure of every thread allocator, in the order of the allocator list (newest first).
 * @param[out] count the number of figures
 * @param kind 0 bytes in use, 1 high-water mark, 2 bytes held free in slabs, 3 bytes in large blocks, any
 * other value: the owning thread's identifier
 * @return an array from the system's `malloc`, to be freed with `free`; null with count 0 when there is no
 *         allocator or no memory
 */
ZENTHAR_API uint64_t* FullMemoryInformation(mint* count, int32_t kind);
/**
 * Collects what threads freed of each other's blocks, and gives memory that is free back to the system:
 * slabs, and the large blocks, up to 128 MiB a thread, that the calling thread has freed and kept at hand.
 */
ZENTHAR_API void CompactifyMemory(void);
/** Sets the function that is called when a request passes the soft limit (process-wide; null for none). */
ZENTHAR_API void MC_set_interrupt_fun(void (*interrupt)(void));
/** @} */

/** @name State
 * @{ */

/** The page sizes that the allocator works with. */
struct st_AllocatorPageInformation {
  uint64_t page_size;       /**< of the system */
  uint64_t page_mask;       /**< page size minus one */
  uint64_t chunk_size;      /**< of a slab chunk: 65536 */
  uint64_t pages_per_chunk; /**< chunk size over page size */
  int32_t page_shift;       /**< log2 of the page size, -1 for 0 */
};

/** The process's list of thread allocators. */
struct st_AllocatorList {
  struct st_ThreadAllocator* head;           /**< newest allocator, linked in both directions */
  KThreadLocalStorage key;                   /**< under which each thread keeps its allocator */
  KMutex mutex;                              /**< guards the list */
  void* reserve;                             /**< 4096 bytes that nomem() gives up */
  struct st_AllocatorPageInformation* pages; /**< page sizes */
  void**** page_map; /**< from page number (bits 24 and up, 12 to 23, 0 to 11) to the slab of small blocks */
  uint64_t bookkeeping_bytes; /**< spent on the page map */
  void (*interrupt)(void);    /**< see MC_set_interrupt_fun() */
};
typedef struct st_AllocatorList* AllocatorList; /**< handle of the list */

ZENTHAR_STATIC_ASSERT(sizeof(struct st_AllocatorPageInformation) == 40, "page information record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorPageInformation, page_shift) == 32,
                      "page information record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_AllocatorList) == 64, "allocator list record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorList, key) == 8, "allocator list record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorList, mutex) == 16, "allocator list record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorList, reserve) == 24, "allocator list record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorList, pages) == 32, "allocator list record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorList, page_map) == 40, "allocator list record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorList, bookkeeping_bytes) == 48, "allocator list record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_AllocatorList, interrupt) == 56, "allocator list record");

/** @return the allocator list, null before the first allocation or InitializeMemory() */
ZENTHAR_API AllocatorList GetAllocatorList(void);
/**
 * Makes the allocator list and the calling thread's allocator (the main one), which the first allocation
 * would do too, and registers the release of a thread's allocator as a stop function of the thread layer,
 * once.
 * @return the number of that stop function
 */
ZENTHAR_API int32_t InitializeMemory(void);
/**
 * The end of the process for want of memory: frees the reserve, prints the message, waits three seconds,
 * exits with status 1. A host may replace it; should its version return, the request that failed gives null.
 */
ZENTHAR_API void nomem(void);
/** Physical memory in bytes; set when the library is loaded and in initialisation phase 1. */
extern ZENTHAR_API uint64_t system_memory;
/** The largest request passed on to `malloc`; all ones (no limit) until the host sets it. */
extern ZENTHAR_API uint64_t system_allocation_limit;
/** @} */

ZENTHAR_END_DECLS

#endif
