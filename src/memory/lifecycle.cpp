// The global list, the allocators of threads from their first request to their end, fork, and tear-down.
//
// A thread's end is noticed by a stop function of the thread layer, once InitializeMemory() has registered
// it, and in any case by a ThreadEnd, so that threads of every origin end alike.
// Allocators that have ended are recycled and never freed before tear-down: a thread that has just handed a
// block to its owner may look at the owner once more.
#include "memory/lifecycle.h"

#include <pthread.h>
#include <unistd.h>

#include <bit>
#include <cstdlib>
#include <new>

#include "OS/Unix/thread_end.h"
#include "memory/accounting.h"
#include "memory/allocator.h"
#include "memory/guard.h"
#include "memory/large.h"
#include "memory/regions.h"
#include "memory/slabs.h"

namespace zenthar::memory {

constinit std::atomic<AllocatorList> allocator_list{nullptr};
constinit Slab no_slab{};
constinit ThreadAllocator no_allocator{};
constinit thread_local ThreadAllocator* current_allocator = nullptr;
constinit thread_local ThreadAllocator* fast_allocator = &no_allocator;

namespace {

constexpr size_t kReserve = 4096;

pthread_mutex_t list_creation = PTHREAD_MUTEX_INITIALIZER;
constinit ThreadEnd thread_end([](void*) { release_this_allocator(); });
ThreadAllocator* recycled = nullptr;  // linked by `next`, guarded by the list mutex
bool main_exists = false;
int32_t stop_function = 0;  // the number it was registered under, 0 before

uint64_t page_size() { return uint64_t(sysconf(_SC_PAGESIZE)); }

void before_fork() {
  if (AllocatorList list = allocator_list.load()) KMutexLock(list->mutex);
  lock_regions();
}

void after_fork_in_parent() {
  unlock_regions();
  if (AllocatorList list = allocator_list.load()) KMutexUnlock(list->mutex);
}

// The child has one thread. Mutexes that others may have held are made anew, and so is the list's, which the
// child's thread cannot unlock because it goes by another identifier now.
void after_fork_in_child() {
  unlock_regions();
  AllocatorList list = allocator_list.load();
  if (!list) return;
  Delete_KMutex(list->mutex);
  list->mutex = New_KMutex();
  for (ThreadAllocator* a = list->head; a; a = a->next) {
    Delete_KMutex(a->mutex);
    a->mutex = New_KMutex();
    for (SizeClass& size_class : a->classes) size_class.mutex = a->mutex;
  }
}

template <class T>
T* must_have(T* p) {
  if (!p) __builtin_trap();  // without its own records the library cannot even say that memory is exhausted
  return p;
}

void set_up_pages(st_AllocatorPageInformation* pages) {
  pages->page_size = page_size();
  pages->page_mask = pages->page_size - 1;
  pages->chunk_size = kChunkSize;
  pages->pages_per_chunk = pages->page_size ? kChunkSize / pages->page_size : 0;
  pages->page_shift = pages->page_size ? std::countr_zero(pages->page_size) : -1;
}

AllocatorList create_list() {
  static const bool fork_handled =
      pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child) == 0;
  (void)fork_handled;
  auto* list = must_have(static_cast<AllocatorList>(std::calloc(1, sizeof(st_AllocatorList))));
  list->pages = must_have(static_cast<st_AllocatorPageInformation*>(std::calloc(1, sizeof *list->pages)));
  set_up_pages(list->pages);
  const size_t root_bytes = size_t{8} << (24 - kPageShift);
  list->page_map = must_have(static_cast<void****>(std::calloc(1, root_bytes)));
  list->bookkeeping_bytes = root_bytes;
  list->reserve = std::malloc(kReserve);
  list->mutex = must_have(New_KMutex());
  list->key = must_have(New_KThreadLocalStorage());
  return list;
}

void initialise(ThreadAllocator* allocator) {
  for (size_t i = 0; i <= kClassCount; ++i) initialise_class(&allocator->classes[i], allocator, i);
  allocator->class_of_size = kClassOfSize.data();
  allocator->largest_class = kLargestClass;
  allocator->class_count = kClassCount;
  set(allocator->in_use, sizeof(ThreadAllocator));
  set(allocator->mark, 0);
  set(allocator->limit, 0);
  set(allocator->interrupt_bytes, 0);
  allocator->ceiling = ~uint64_t{0};
  allocator->thread = KThreadID();
  allocator->main = 0;
  allocator->orphaned.store(0, std::memory_order_relaxed);
}

ThreadAllocator* fresh_allocator() {
  if (ThreadAllocator* allocator = recycled) {
    recycled = allocator->next;
    return allocator;
  }
  void* memory = must_have(std::aligned_alloc(alignof(ThreadAllocator), sizeof(ThreadAllocator)));
  auto* allocator = new (memory) ThreadAllocator{};
  allocator->mutex = must_have(New_KMutex());
  return allocator;
}

void destroy_list(AllocatorList list) {
  while (ThreadAllocator* allocator = recycled) {
    recycled = allocator->next;
    Delete_KMutex(allocator->mutex);
    std::free(allocator);
  }
  release_regions();
  Delete_KThreadLocalStorage(list->key);
  Delete_KMutex(list->mutex);
  std::free(list->page_map);
  std::free(list->reserve);
  std::free(list->pages);
  allocator_list.store(nullptr, std::memory_order_release);
  std::free(list);
  main_exists = false;
}

}  // namespace

AllocatorList make_list() {
  if (AllocatorList list = allocator_list.load(std::memory_order_acquire)) return list;
  pthread_mutex_lock(&list_creation);
  AllocatorList list = allocator_list.load(std::memory_order_relaxed);
  if (!list) {
    list = create_list();
    allocator_list.store(list, std::memory_order_release);
  }
  pthread_mutex_unlock(&list_creation);
  return list;
}

ThreadAllocator* make_allocator() {
  AllocatorList list = make_list();
  const ListLock lock;
  ThreadAllocator* allocator = fresh_allocator();
  initialise(allocator);
  allocator->main = !main_exists;
  main_exists = true;
  allocator->previous = nullptr;
  allocator->next = list->head;
  if (allocator->next) allocator->next->previous = allocator;
  list->head = allocator;
  KThreadLocalStorageSet(list->key, allocator);
  thread_end.arm(allocator);
  current_allocator = allocator;
  if (!guard::watching()) fast_allocator = allocator;
  return allocator;
}

void release_this_allocator() {
  ThreadAllocator* allocator = current_allocator;
  if (!allocator) return;
  current_allocator = nullptr;
  fast_allocator = &no_allocator;
  KThreadLocalStorageSet(allocator_list.load(std::memory_order_relaxed)->key, nullptr);
  thread_end.arm(nullptr);

  const ListLock lock;
  {
    const AllocatorLock allocator_lock(allocator);
    allocator->orphaned.store(1, std::memory_order_relaxed);
  }
  for (SizeClass& size_class : allocator->classes) {
    close_remote(&size_class);
    release_empty_slabs(&size_class);
  }
  release_pending_large(allocator);
  settle_large(allocator);
  release_kept(allocator);
  release_if_empty(allocator);
}

void give_up_spares(ThreadAllocator* allocator) {
  drain_all(allocator);
  for (SizeClass& size_class : allocator->classes) release_empty_slabs(&size_class);
  release_pending_large(allocator);
  release_kept(allocator);
}

void release_if_empty(ThreadAllocator* allocator) {
  if (allocator->slabs || allocator->large_blocks) return;
  AllocatorList list = allocator_list.load(std::memory_order_relaxed);
  (allocator->previous ? allocator->previous->next : list->head) = allocator->next;
  if (allocator->next) allocator->next->previous = allocator->previous;
  allocator->next = recycled;
  recycled = allocator;
}

}  // namespace zenthar::memory

namespace memory = zenthar::memory;

void zenthar::memory_tear_down() {
  memory::release_this_allocator();
  memory::stop_function = 0;  // the thread layer has given up its lists
  AllocatorList list = memory::allocator_list.load(std::memory_order_acquire);
  if (!list) return;
  {
    const memory::ListLock lock;
    if (list->head) return;
  }
  memory::destroy_list(list);
}

AllocatorList GetAllocatorList(void) { return memory::allocator_list.load(std::memory_order_acquire); }

int32_t InitializeMemory(void) {
  memory::make_list();
  memory::this_allocator();
  if (!memory::stop_function) memory::stop_function = KThread_addStopFunction(memory::release_this_allocator);
  return memory::stop_function;
}
