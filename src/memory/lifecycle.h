// Allocators of threads: how they come, are found, and go.
#pragma once

#include "memory/structures.h"

namespace zenthar::memory {

extern std::atomic<AllocatorList> allocator_list;  // null before the first allocation

// The calling thread's allocator, null while it has none; and the same for the fast paths, which see
// `no_allocator` (its classes are forever dry) instead of null and while a memory checker watches, so that
// they need no test for either.
extern constinit thread_local ThreadAllocator* current_allocator;
extern constinit thread_local ThreadAllocator* fast_allocator;
extern ThreadAllocator no_allocator;

// Makes the global list unless it exists.
AllocatorList make_list();
// Makes the calling thread's allocator.
ThreadAllocator* make_allocator();
inline ThreadAllocator* this_allocator() { return current_allocator ? current_allocator : make_allocator(); }

// Gives up what the calling thread's allocator keeps for requests to come: empty slabs and large blocks.
void give_up_spares(ThreadAllocator* allocator);
// Ends the calling thread's allocator: what it still has in use stays valid.
void release_this_allocator();
// Unlinks an orphan that has nothing left. The list mutex is held.
void release_if_empty(ThreadAllocator* allocator);

class ListLock {
 public:
  ListLock() : mutex_(allocator_list.load(std::memory_order_acquire)->mutex) { KMutexLock(mutex_); }
  ~ListLock() { KMutexUnlock(mutex_); }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;

 private:
  KMutex mutex_;
};

class AllocatorLock {
 public:
  explicit AllocatorLock(const ThreadAllocator* allocator) : mutex_(allocator->mutex) { KMutexLock(mutex_); }
  ~AllocatorLock() { KMutexUnlock(mutex_); }
  AllocatorLock(const AllocatorLock&) = delete;
  AllocatorLock& operator=(const AllocatorLock&) = delete;

 private:
  KMutex mutex_;
};

}  // namespace zenthar::memory
