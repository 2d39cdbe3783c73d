// The thread layer over POSIX threads.
//
// It stands below the allocator, so its cells come from malloc. Each kind of handle is a cell with one
// pointer to (or, for threads and keys, a copy of) the POSIX object; New_ and Delete_ pair up per kind.
#include "zenthar/threads.h"

#undef NDEBUG  // the assertions of this layer hold in every build
#include <assert.h>
#include <errno.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <time.h>

#include <cstdlib>
#include <cstring>
#include <new>

struct st_KThread {
  pthread_t thread;
};
struct st_KMutex {
  pthread_mutex_t* mutex;
};
struct st_KCondition {
  pthread_cond_t* condition;
};
struct st_KThreadLocalStorage {
  pthread_key_t* key;
};

namespace {

// The place that the assertions of this layer name: they are part of what its users see.
constexpr const char* kUnit = "OS/Unix/os-thread";

template <class T>
T* new_cell() {
  return static_cast<T*>(std::calloc(1, sizeof(T)));
}

// A growing list of functions, run forwards at the start of a thread and backwards at its end.
struct HookList {
  static constexpr int32_t kFirstCapacity = 8;

  KThreadHook* functions = nullptr;
  int32_t capacity = 0;
  int32_t count = 0;

  void create() {
    release();
    functions = static_cast<KThreadHook*>(std::calloc(kFirstCapacity, sizeof(KThreadHook)));
    capacity = functions ? kFirstCapacity : 0;
  }

  void release() {
    std::free(functions);
    *this = HookList{};
  }

  int32_t add(KThreadHook function) {
    if (!functions) create();
    if (!functions) return 0;
    if (count == capacity) {
      auto* grown = static_cast<KThreadHook*>(std::calloc(2 * size_t(capacity), sizeof(KThreadHook)));
      if (!grown) return 0;
      std::memcpy(grown, functions, size_t(count) * sizeof(KThreadHook));
      std::free(functions);
      functions = grown;
      capacity *= 2;
    }
    functions[count] = function;
    return ++count;
  }
};

HookList start_functions;
HookList stop_functions;

struct StartRecord {
  ThreadFunc function;
  ThreadArg argument;
};

void* trampoline(void* record) {
  const StartRecord start = *static_cast<StartRecord*>(record);
  std::free(record);
  KThread_runStartFunctions();
  start.function(start.argument);
  KThread_runStopFunctions();
  return nullptr;
}

// Prepares attributes with the priority offset and the detached state; false when the system refuses a step.
bool prepare_attributes(pthread_attr_t* attributes, int priority_offset, bool detached) {
  sched_param parameters;
  if (pthread_attr_getschedparam(attributes, &parameters) != 0) return false;
  parameters.sched_priority += priority_offset;
  if (pthread_attr_setschedparam(attributes, &parameters) != 0) return false;
  return !detached || pthread_attr_setdetachstate(attributes, PTHREAD_CREATE_DETACHED) == 0;
}

int priority_offset_of(int32_t flags) {
  if (flags & KTHREAD_PRIORITY_LOW) return -1;
  if (flags & KTHREAD_PRIORITY_HIGH) return 1;
  if (!(flags & KTHREAD_PRIORITY_NORMAL))
    __assert_fail("flags & KTHREAD_PRIORITY_NORMAL", kUnit, 174,
                  "st_KThread* KThreadCreate(ThreadFunc, ThreadArg, int)");
  return 0;
}

}  // namespace

KThread KThreadCreate(ThreadFunc function, ThreadArg argument, int32_t flags) {
  const int offset = priority_offset_of(flags);
  auto* record = new_cell<StartRecord>();
  auto* handle = new_cell<st_KThread>();
  int status = ENOMEM;
  if (record && handle) {
    *record = {function, argument};
    pthread_attr_t attributes;
    const bool initialised = pthread_attr_init(&attributes) == 0;
    const bool usable = initialised && prepare_attributes(&attributes, offset, flags & KTHREAD_DETACHED);
    status = pthread_create(&handle->thread, usable ? &attributes : nullptr, trampoline, record);
    if (initialised) pthread_attr_destroy(&attributes);
  }
  if (status == 0) return handle;
  std::free(record);
  std::free(handle);
  return nullptr;
}

mbool KThreadWaitForExit(KThread thread) {
  pthread_join(thread->thread, nullptr);
  return 1;
}

void Delete_KThread(KThread thread) { std::free(thread); }

void KThreadRawExit(void) { pthread_exit(nullptr); }

uint64_t KThreadID(void) { return uint64_t(pthread_self()); }

void KThread_Sleep(int32_t milliseconds) {
  const timespec duration = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
  nanosleep(&duration, nullptr);
}

KMutex New_KMutex(void) {
  auto* handle = new_cell<st_KMutex>();
  auto* mutex = new_cell<pthread_mutex_t>();
  if (!handle || !mutex) {
    std::free(handle);
    std::free(mutex);
    return nullptr;
  }
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  handle->mutex = mutex;
  return handle;
}

void Delete_KMutex(KMutex mutex) {
  if (!mutex) return;
  pthread_mutex_destroy(mutex->mutex);
  std::free(mutex->mutex);
  std::free(mutex);
}

void KMutexLock(KMutex mutex) { pthread_mutex_lock(mutex->mutex); }

void KMutexUnlock(KMutex mutex) { pthread_mutex_unlock(mutex->mutex); }

mbool KMutexTryLock(KMutex mutex) { return pthread_mutex_trylock(mutex->mutex) == 0; }

KCondition New_KCondition(void) {
  auto* handle = new_cell<st_KCondition>();
  auto* condition = new_cell<pthread_cond_t>();
  if (!handle || !condition) {
    std::free(handle);
    std::free(condition);
    return nullptr;
  }
  pthread_cond_init(condition, nullptr);
  handle->condition = condition;
  return handle;
}

void Delete_KCondition(KCondition condition) {
  if (!condition) return;
  pthread_cond_destroy(condition->condition);
  std::free(condition->condition);
  std::free(condition);
}

void KConditionWait(KCondition condition, KMutex mutex) {
  pthread_cond_wait(condition->condition, mutex->mutex);
}

mbool KConditionTimedWait(KCondition condition, KMutex mutex, int64_t milliseconds) {
  timeval now;
  gettimeofday(&now, nullptr);
  timespec deadline;
  deadline.tv_sec = now.tv_sec + milliseconds / 1000;
  deadline.tv_nsec = (milliseconds % 1000) * 1000000 + now.tv_usec * 1000;
  if (deadline.tv_nsec > 999999999) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= 1000000000;
  } else if (deadline.tv_nsec < 0) {  // a negative wait has run out already
    deadline.tv_sec -= 1;
    deadline.tv_nsec += 1000000000;
  }
  return pthread_cond_timedwait(condition->condition, mutex->mutex, &deadline) == ETIMEDOUT;
}

void KConditionSignal(KCondition condition) { pthread_cond_signal(condition->condition); }

KThreadLocalStorage New_KThreadLocalStorage(void) {
  auto* handle = new_cell<st_KThreadLocalStorage>();
  auto* key = new_cell<pthread_key_t>();
  if (!handle || !key || pthread_key_create(key, nullptr) != 0) {
    std::free(handle);
    std::free(key);
    return nullptr;
  }
  handle->key = key;
  return handle;
}

void Delete_KThreadLocalStorage(KThreadLocalStorage key) {
  if (!key) return;
  pthread_key_delete(*key->key);
  std::free(key->key);
  std::free(key);
}

void KThreadLocalStorageSet(KThreadLocalStorage key, void* value) { pthread_setspecific(*key->key, value); }

void* KThreadLocalStorageGet(KThreadLocalStorage key) {
  return key ? pthread_getspecific(*key->key) : nullptr;
}

int32_t getProcessPriorityClass(void) {
  errno = 0;
  const int nice = getpriority(PRIO_PROCESS, 0);
  if (errno != 0) __assert_fail("errno == 0", kUnit, 396, "int getProcessPriorityClass()");
  if (nice >= 19) return -2;
  if (nice >= 1) return -1;
  if (nice == 0) return 0;
  return nice >= -9 ? 1 : 2;
}

mbool setProcessPriorityClass(int32_t priority_class) {
  constexpr int kNice[5] = {19, 4, 0, -4, -10};
  if (priority_class < -2 || priority_class > 2)
    __assert_fail("FALSE", kUnit, 436, "mbool setProcessPriorityClass(int)");
  return setpriority(PRIO_PROCESS, 0, kNice[priority_class + 2]) == 0;
}

mbool RosettaQ(void) { return 0; }

void KThread_initStartStopFunctions(void) {
  start_functions.create();
  stop_functions.create();
}

int32_t KThread_addStartFunction(KThreadHook function) { return start_functions.add(function); }

int32_t KThread_addStopFunction(KThreadHook function) { return stop_functions.add(function); }

void KThread_callStopFunction(int32_t number) {
  if (number >= 1 && number <= stop_functions.count) stop_functions.functions[number - 1]();
}

void KThread_runStartFunctions(void) {
  for (int32_t i = 0; i < start_functions.count; ++i) start_functions.functions[i]();
}

void KThread_runStopFunctions(void) {
  for (int32_t i = stop_functions.count; i > 0; --i) stop_functions.functions[i - 1]();
}

void KThread_freeStartStopFunctions(void) {
  start_functions.release();
  stop_functions.release();
}
