// What a module keeps per thread goes when the thread ends, whoever started the thread.
//
// The keys of the public thread layer have no destructor, and stop functions run only in threads made by
// KThreadCreate; a POSIX key with a destructor sees the end of every thread.
#pragma once

#include <pthread.h>

#include <atomic>

namespace zenthar {

// Runs a function on a value when the thread that armed it with that value ends. The function may be armed
// again while it runs. Meant for function-local statics: made on first use, gone when the library is
// unloaded, after which no destructor of unmapped code is called.
class ThreadEnd {
 public:
  explicit ThreadEnd(void (*function)(void*)) : usable_(pthread_key_create(&key_, function) == 0) {}
  ~ThreadEnd() {
    if (usable_.exchange(false)) pthread_key_delete(key_);
  }
  ThreadEnd(const ThreadEnd&) = delete;
  ThreadEnd& operator=(const ThreadEnd&) = delete;

  // A value of null disarms. False when the system has no key or memory left: the value is not released then.
  bool arm(const void* value) { return usable_ && pthread_setspecific(key_, value) == 0; }

 private:
  pthread_key_t key_ = 0;
  std::atomic<bool> usable_;
};

}  // namespace zenthar
