/**
 * @file parallel.h
 * @brief Parallel loops over an index range, run by a pool of worker threads that the library keeps.
 *
 * The nouns: the *environment* is the process's pool of *workers*; a loop driver cuts a range into *pieces*
 * (or hands each worker one) and calls the loop's *body* once a piece with the record of the worker that runs
 * it. The calling thread hands out work and waits. A *schedule* says how a range is cut.
 *
 * The pool is made by the first loop, with ::getParallelThreadNumber() workers (none for 1), made anew by the
 * first loop after that number has changed, and deleted when the runtime is shut down. A loop takes the whole
 * pool. A loop that finds it taken, because it was started inside a body or while another thread's loop runs,
 * is run in its own thread with a record of its own (ID 0, same environment), and leaves the pool alone
 * otherwise; ParallelThreads_Iterate() then does nothing. So nested loops and loops of many host threads at
 * once are right, and never wait for one another.
 *
 * Where threads cannot be made, the pool has fewer of them, down to none, and loops still cover their ranges.
 *
 * **Bodies** run at the same time in several threads and must return in the ordinary way: a body that ends
 * its thread leaves the loop waiting. A C++ exception that leaves a body on a worker is thrown on, in the
 * thread that started the loop, once all work has come back (the first one when there are several); do not
 * jump out of a body or an init function by `longjmp`, which would leave the pool taken.
 *
 * **Results** of the drivers: 0 when the loop has run; 4 when the step is below 1; 23 when there was no
 * memory for a pool; else the code given to ParallelThread_cancel().
 *
 * All functions here may be called from any thread; initializeParallelThreadSettings() and
 * ParallelThreadsEnvironment_delete() belong to start-up and shutdown. After `fork` the child has no pool;
 * its first loop makes one.
 */
#ifndef ZENTHAR_PARALLEL_H
#define ZENTHAR_PARALLEL_H

#include "zenthar/threads.h"
#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

typedef struct st_ParallelThread* ParallelThread;                         /**< record of a worker */
typedef struct st_ParallelThreadRange* ParallelThreadRange;               /**< work posted to a worker */
typedef struct st_ParallelThreadsEnvironment* ParallelThreadsEnvironment; /**< the pool */
typedef struct st_ParallelThreadsSchedule* ParallelThreadsSchedule;       /**< how a range is cut */

/** The body of a loop; reads its piece from `thread` by ParallelThread_RangeStart() and its like. */
typedef void (*ParallelBody)(void* data, ParallelThread thread);
/** Called once before a loop, in the calling thread: sizes what `data` holds per thread. */
typedef void (*ParallelInit)(void* data, ParallelThreadsEnvironment environment);
/** Called in each new worker before its first work. */
typedef void (*ParallelStartHook)(ParallelThread thread);

/** @name Records
 * @{ */

/** The work posted to one thread: a half-open range and what to call for it. */
struct st_ParallelThreadRange {
  mint start;        /**< first index */
  mint end;          /**< index behind the last */
  mint step;         /**< distance of indices, at least 1 */
  ParallelBody body; /**< what is called */
  void* data;        /**< its first argument */
};

/** One worker, or the calling thread of a loop that is not divided. */
struct st_ParallelThread {
  mint id;                                /**< 0 to n - 1; 0 in the calling thread */
  int32_t run;                            /**< 1 while the worker is to keep running */
  int32_t go;                             /**< 1 when work has been posted */
  KMutex wake_mutex;                      /**< guards `go` while the worker sleeps; null in the caller */
  KCondition wake_condition;              /**< signalled when work is posted; null in the caller */
  ParallelThreadsEnvironment environment; /**< the pool */
  ParallelThreadRange task;               /**< what was posted last */
  KThread thread;                         /**< the worker's thread; null in the caller */
  uint64_t thread_id;                     /**< KThreadID() of the worker, stored when it starts */
  ParallelThread next_idle;               /**< link of the list of idle workers */
};

/** The pool. */
struct st_ParallelThreadsEnvironment {
  mint active;               /**< workers with work; guarded by the pool mutex */
  int32_t busy;              /**< 1 while a loop owns the pool; guarded by the state mutex */
  KMutex state_mutex;        /**< guards `busy`, `cancel` and `cancel_code` */
  KMutex synchronize_mutex;  /**< of ParallelThread_synchronizeLock() */
  KMutex pool_mutex;         /**< guards `active` and `idle` */
  KCondition pool_condition; /**< signalled when a worker becomes idle */
  mint number_of_threads;    /**< at least 1 */
  ParallelThread caller;     /**< record of the calling thread */
  ParallelThread* workers;   /**< the workers by ID, null for one thread */
  ParallelThread idle;       /**< head of the list of idle workers */
  int32_t cancel;            /**< 1 when the loop was cancelled */
  int32_t cancel_code;       /**< the code it was cancelled with */
};

/** How ParallelThreads_For() cuts a range; belongs to the caller. */
struct st_ParallelThreadsSchedule {
  mint kind;  /**< 1 even with a least size, 2 by piece size, 3 by piece count, 4 guided; else one piece */
  mint chunk; /**< at least 1: least size, size, count or least size, by kind */
  int32_t single; /**< not 0: run in the calling thread */
};

ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadRange, start) == 0, "range record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadRange, end) == 8, "range record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadRange, step) == 16, "range record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadRange, body) == 24, "range record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadRange, data) == 32, "range record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_ParallelThreadRange) == 40, "range record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, id) == 0, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, run) == 8, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, go) == 12, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, wake_mutex) == 16, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, wake_condition) == 24, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, environment) == 32, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, task) == 40, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, thread) == 48, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, thread_id) == 56, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThread, next_idle) == 64, "thread record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_ParallelThread) == 72, "thread record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, active) == 0, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, busy) == 8, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, state_mutex) == 16,
                      "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, synchronize_mutex) == 24,
                      "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, pool_mutex) == 32, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, pool_condition) == 40,
                      "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, number_of_threads) == 48,
                      "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, caller) == 56, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, workers) == 64, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, idle) == 72, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, cancel) == 80, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsEnvironment, cancel_code) == 84,
                      "environment record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_ParallelThreadsEnvironment) == 88, "environment record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsSchedule, kind) == 0, "schedule record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsSchedule, chunk) == 8, "schedule record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_ParallelThreadsSchedule, single) == 16, "schedule record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_ParallelThreadsSchedule) == 24, "schedule record");
/** @} */

/** @name Settings
 * Plain words of the process, read and written without a lock; all 0 before the runtime is initialised.
 * @{ */
ZENTHAR_API int32_t getProcessorCount(void);   /**< processors of the machine */
ZENTHAR_API int32_t getHyperThreadCount(void); /**< hardware threads: the same number */
/** The number of threads that the next loop is divided among; 0 and less count as 1. */
ZENTHAR_API int32_t getParallelThreadNumber(void);
/** Sets the thread number, and tells it to the OpenMP runtime. @return the previous number */
ZENTHAR_API int32_t setParallelThreadNumber(int32_t n);
/** setParallelThreadNumber() without a result: puts back what it returned. */
ZENTHAR_API void restoreParallelThreadNumber(int32_t n);
/** Says that this process serves a parallel computation of another: initialisation keeps its thread number.
 */
ZENTHAR_API void RTL_From_SubKernel(void);
/** For compiled code: whether list-threading functions run in parallel. Initialisation in mode 0 clears it.
 */
ZENTHAR_API extern int32_t ListableCompileEvaluatingThreaded;
/**
 * Initialises the settings.
 *
 * Counting takes the processors that /proc/cpuinfo lists, and 1 where that fails.
 * @param mode 0: one processor, one thread, ::ListableCompileEvaluatingThreaded 0; 1: processors are counted
 *             and set the thread number, unless RTL_From_SubKernel() was called; otherwise nothing
 */
ZENTHAR_API void initializeParallelThreadSettings(int32_t mode);
/** @} */

/** @name The pool
 * @{ */
ZENTHAR_API mbool ParallelThreadsEnvironment_initializedQ(void); /**< 1 when there is a pool */
/** The number of threads that a loop is divided among: what an init function sizes its storage by. */
ZENTHAR_API mint ParallelThreadsEnvironment_numThreads(ParallelThreadsEnvironment environment);
/** Ends the workers and frees the pool, at once or, while a loop runs, when that is over. */
ZENTHAR_API void ParallelThreadsEnvironment_delete(void);
/**
 * The identifiers of the calling thread and of all workers, as KThreadID() gives them.
 * @param[out] count 1 for a pool of one thread, else the number of workers plus 1
 * @return an array to be freed with zfree(): the caller's, then the workers' by ID; null when memory ran out
 */
ZENTHAR_API uint64_t* ParallelThreadID(mint* count);
/** Registers a function that each new worker calls before its first work, newest function first. */
ZENTHAR_API void ParallelThreads_addStartHook(ParallelStartHook hook);
/** @} */

/** @name Schedules
 * @{ */
/**
 * A schedule for ParallelThreads_For(). Sizes are distances of indices, not iterations.
 * @param kind  1: as many pieces as threads, none smaller than `chunk`; 2: pieces of about `chunk`; 3:
 * `chunk` pieces; 4: each piece what remains over the number of threads, none smaller than `chunk`; otherwise
 * one piece
 * @param chunk values below 1 count as 1
 */
ZENTHAR_API ParallelThreadsSchedule New_ParallelThreadsSchedule(mint kind, mint chunk);
/** A schedule that makes the loop run in the calling thread. */
ZENTHAR_API ParallelThreadsSchedule New_ParallelThreadsScheduleSingle(void);
/** Frees a schedule (null is allowed). */
ZENTHAR_API void Delete_ParallelThreadsSchedule(ParallelThreadsSchedule schedule);
/** @} */

/** @name Loops
 * @{ */
/**
 * Cuts a range into contiguous pieces and hands them, in increasing order, to whichever worker is free.
 *
 * Runs in the calling thread, as one piece, when there is one thread, when the pool is taken, when the
 * schedule says so, and when the schedule's chunk is not below the number of iterations.
 * @param data     handed to `init` and `body`
 * @param init     called once before the loop unless the range is empty; may be null
 * @param body     called for each piece
 * @param start    first index
 * @param end      index behind the last; the range is empty unless it is above `start`
 * @param step     distance of indices; pieces begin a multiple of it after `start`
 * @param schedule how to cut; null for as many pieces as threads. Unchanged after the call
 * @return 0, 4, 23, or the cancel code
 */
ZENTHAR_API int32_t ParallelThreads_For(void* data, ParallelInit init, ParallelBody body, mint start,
                                        mint end, mint step, ParallelThreadsSchedule schedule);
/**
 * Gives each worker exactly one piece, so that each can gather a result of its own.
 *
 * The pieces are laid out from index 0, not from `start`: ranges should begin at 0. Each has the size
 * s + s mod `step` with s = (`end` - `start`) over the number of threads; the last one ends at `end`. Runs in
 * the calling thread, and `init` is shown one thread, when the pool is taken or there are fewer iterations
 * than threads.
 * @return 0, 4, 23, or the cancel code
 */
ZENTHAR_API int32_t ParallelThreads_Reduce(void* data, ParallelInit init, ParallelBody body, mint start,
                                           mint end, mint step);
/**
 * Calls the body exactly once on each worker (in the calling thread when there are none); the range of the
 * records means nothing. Does nothing, and returns 0, when the pool is taken.
 * @param data  handed to `body`
 * @param body  tells the workers apart by ParallelThread_ID()
 * @param flags bit 0: use the pool as it is, with its cancel state, and return 4 when there is none; bit 1:
 * do nothing when there are no workers
 * @return 0, 4, 23, or the cancel code (0 when there are no workers)
 */
ZENTHAR_API int32_t ParallelThreads_Iterate(void* data, ParallelBody body, int32_t flags);
/** @} */

/** @name For bodies
 * @{ */
ZENTHAR_API mint ParallelThread_RangeStart(ParallelThread thread); /**< first index of the piece */
ZENTHAR_API mint ParallelThread_RangeEnd(ParallelThread thread);   /**< index behind the last of the piece */
ZENTHAR_API mint ParallelThread_RangeStep(ParallelThread thread);  /**< distance of indices */
/** The worker's index, from 0 to the number of threads minus 1; 0 in the calling thread. */
ZENTHAR_API mint ParallelThread_ID(ParallelThread thread);
/** Takes the one lock that all threads of the pool share. */
ZENTHAR_API void ParallelThread_synchronizeLock(ParallelThread thread);
ZENTHAR_API void ParallelThread_synchronizeUnlock(ParallelThread thread); /**< gives it back */
/**
 * Cancels the loop: its driver will return `code`. Stops nothing by itself, and pieces not begun yet are
 * still handed out: bodies ask ParallelThread_canceledQ() and return early. Forgotten when the next loop
 * takes the pool.
 */
ZENTHAR_API void ParallelThread_cancel(ParallelThread thread, int32_t code);
/** 1 when the loop was cancelled; 0 for null. A plain read: cheap enough for an inner loop. */
ZENTHAR_API mbool ParallelThread_canceledQ(ParallelThread thread);
/** @} */

ZENTHAR_END_DECLS

#endif
