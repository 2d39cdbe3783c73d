/**
 * @file threads.h
 * @brief Threads, recursive mutexes, condition variables, thread-local keys and the process priority.
 *
 * A thin layer over POSIX threads. A handle points to a small cell from the system's `malloc` that holds the
 * POSIX object, since this layer stands below the library's own allocator. Errors of the POSIX calls are not
 * reported except where a function says so.
 *
 * A thread made by KThreadCreate() runs every start function before its own function and every stop function,
 * in reverse order, after it. Threads made by other means work with the rest of the library too; they just do
 * not run these functions.
 */
#ifndef ZENTHAR_THREADS_H
#define ZENTHAR_THREADS_H

#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

typedef struct st_KThread* KThread;                         /**< a thread */
typedef struct st_KMutex* KMutex;                           /**< a mutex, always recursive */
typedef struct st_KCondition* KCondition;                   /**< a condition variable */
typedef struct st_KThreadLocalStorage* KThreadLocalStorage; /**< a thread-specific key without destructor */

typedef void* ThreadArg;               /**< what a thread function is given */
typedef void (*ThreadFunc)(ThreadArg); /**< a thread function */
typedef void (*KThreadHook)(void);     /**< a start or stop function */

/** Bits of the flags of KThreadCreate(). One of the three priorities is required; low takes precedence. */
enum {
  KTHREAD_PRIORITY_HIGH = 1,   /**< scheduling priority plus 1 */
  KTHREAD_PRIORITY_NORMAL = 2, /**< scheduling priority as it is */
  KTHREAD_PRIORITY_LOW = 4,    /**< scheduling priority minus 1 */
  KTHREAD_DETACHED = 8         /**< detached: must not be waited for */
};

/**
 * Starts a thread that runs `function(argument)` between the start and the stop functions.
 *
 * When the scheduling policy does not allow the priority that the flags ask for (the default policy allows
 * only the normal one), the thread is created with default attributes: of the default priority, and joinable
 * whatever KTHREAD_DETACHED says.
 * @param function what the thread runs
 * @param argument handed to `function`
 * @param flags    KTHREAD_PRIORITY_HIGH, _NORMAL or _LOW, and KTHREAD_DETACHED if wanted; without a priority
 * an assertion ends the process
 * @return a new handle, or null when the thread cannot be created
 */
ZENTHAR_API KThread KThreadCreate(ThreadFunc function, ThreadArg argument, int32_t flags);
/** Waits for the end of a joinable thread. The handle stays to be freed by Delete_KThread(). @return 1 */
ZENTHAR_API mbool KThreadWaitForExit(KThread thread);
/** Frees the handle (null is allowed); neither joins nor detaches the thread. */
ZENTHAR_API void Delete_KThread(KThread thread);
/** Ends the calling thread at once. Stop functions are not run. */
ZENTHAR_API void KThreadRawExit(void);
/** @return the identifier of the calling thread, as `pthread_self` gives it */
ZENTHAR_API uint64_t KThreadID(void);
/** Suspends the calling thread for so many milliseconds, or until a signal is handled. */
ZENTHAR_API void KThread_Sleep(int32_t milliseconds);

/** @return a new recursive mutex, or null when memory is exhausted */
ZENTHAR_API KMutex New_KMutex(void);
/** Destroys and frees an unlocked mutex (null is allowed). */
ZENTHAR_API void Delete_KMutex(KMutex mutex);
/** Locks; a thread that holds the mutex already may lock it again. */
ZENTHAR_API void KMutexLock(KMutex mutex);
/** Undoes one KMutexLock() or successful KMutexTryLock() of the calling thread. */
ZENTHAR_API void KMutexUnlock(KMutex mutex);
/** Locks unless another thread holds the mutex. @return 1 when locked, else 0 */
ZENTHAR_API mbool KMutexTryLock(KMutex mutex);

/** @return a new condition variable with default attributes, or null when memory is exhausted */
ZENTHAR_API KCondition New_KCondition(void);
/** Destroys and frees a condition variable nobody waits for (null is allowed). */
ZENTHAR_API void Delete_KCondition(KCondition condition);
/** Releases the mutex (held once), waits for a signal, takes the mutex again. May wake without a signal. */
ZENTHAR_API void KConditionWait(KCondition condition, KMutex mutex);
/**
 * KConditionWait() with a limit, measured by the real-time clock.
 * @param condition    what is waited for
 * @param mutex        held once by the caller
 * @param milliseconds the longest wait
 * @return 1 when the time ran out, else 0
 */
ZENTHAR_API mbool KConditionTimedWait(KCondition condition, KMutex mutex, int64_t milliseconds);
/** Wakes one waiting thread, if any. */
ZENTHAR_API void KConditionSignal(KCondition condition);

/** @return a new thread-specific key, null in every thread, or null when no key is left */
ZENTHAR_API KThreadLocalStorage New_KThreadLocalStorage(void);
/** Deletes the key (null is allowed). The values that threads stored are not touched. */
ZENTHAR_API void Delete_KThreadLocalStorage(KThreadLocalStorage key);
/** Stores the calling thread's value. */
ZENTHAR_API void KThreadLocalStorageSet(KThreadLocalStorage key, void* value);
/** @return the calling thread's value; null for a null key and where nothing was stored */
ZENTHAR_API void* KThreadLocalStorageGet(KThreadLocalStorage key);

/**
 * The priority class of the process, from its nice value: -2 for 19 and above, -1 for 1 to 18, 0 for 0, 1 for
 * -9 to -1, 2 for -10 and below.
 */
ZENTHAR_API int32_t getProcessPriorityClass(void);
/**
 * Sets the nice value of the process to that of a class: 19, 4, 0, -4, -10 for -2, -1, 0, 1, 2. Any other
 * class ends the process by an assertion.
 * @return 1 on success, 0 when the system refuses
 */
ZENTHAR_API mbool setProcessPriorityClass(int32_t priority_class);
/** @return 0: the process does not run under binary translation */
ZENTHAR_API mbool RosettaQ(void);

/**
 * Makes the lists of start and stop functions anew, both empty.
 *
 * The lists are not locked: fill them before threads are created.
 */
ZENTHAR_API void KThread_initStartStopFunctions(void);
/** Appends a start function. @return its number, counted from 1; 0 when memory is exhausted */
ZENTHAR_API int32_t KThread_addStartFunction(KThreadHook function);
/** Appends a stop function. @return its number, counted from 1; 0 when memory is exhausted */
ZENTHAR_API int32_t KThread_addStopFunction(KThreadHook function);
/** Calls the stop function of that number in the calling thread; a number not given out does nothing. */
ZENTHAR_API void KThread_callStopFunction(int32_t number);
/** Runs all start functions in order of addition. */
ZENTHAR_API void KThread_runStartFunctions(void);
/** Runs all stop functions in reverse order of addition. */
ZENTHAR_API void KThread_runStopFunctions(void);
/** Frees both lists. */
ZENTHAR_API void KThread_freeStartStopFunctions(void);

ZENTHAR_END_DECLS

#endif
