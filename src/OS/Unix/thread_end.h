// What a module keeps per thread goes when the thread ends, whoever started the thread.
//
// The keys of the public thread layer have no destructor, and stop functions run only in threads made by
// KThreadCreate; a POSIX key with a destructor sees the end of every thread. The order in which modules see
// it is open, so a function must bear that another has run before it: what it frees may belong to an
// allocator that has ended, and what it allocates makes a new one, which ends in the next round of
// destructors.
#pragma once

#include <pthread.h>

#include <atomic>

namespace zenthar {

// Runs a function on a value when the thread that armed it with that value ends. The function may be armed
// again while it runs. The library is never unmapped, so the key stays for the life of the process.
class ThreadEnd {
 public:
  constexpr explicit ThreadEnd(void (*function)(void*)) : function_(function) {}
  ThreadEnd(const ThreadEnd&) = delete;
  ThreadEnd& operator=(const ThreadEnd&) = delete;

  // Null disarms. False when the system has no key or memory left: the value is not released then.
  bool arm(const void* value) { return prepare() && pthread_setspecific(key_, value) == 0; }

  // Makes the key, which arming does by itself when there is none.
  bool prepare() {
    if (key_.load(std::memory_order_acquire) != kNone) return true;
    pthread_key_t fresh, none = kNone;
    if (pthread_key_create(&fresh, function_) != 0) return false;
    if (!key_.compare_exchange_strong(none, fresh)) pthread_key_delete(fresh);  // another thread was first
    return true;
  }

 private:
  static constexpr pthread_key_t kNone = ~pthread_key_t{0};

  void (*function_)(void*);
  std::atomic<pthread_key_t> key_{kNone};
};

}  // namespace zenthar
