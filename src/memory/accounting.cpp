// The accounts: figures for the owner and for everybody, nested high-water marks, the soft limit, the end of
// memory.
#include "memory/accounting.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "memory/allocator.h"
#include "memory/large.h"
#include "memory/lifecycle.h"
#include "memory/regions.h"
#include "memory/slabs.h"

namespace memory = zenthar::memory;
using memory::get;
using memory::ThreadAllocator;

namespace {

uint64_t physical_memory() { return uint64_t(sysconf(_SC_PHYS_PAGES)) * uint64_t(sysconf(_SC_PAGESIZE)); }

// Bytes in use as they are after what has been freed on the owner's behalf.
uint64_t figure_in_use(const ThreadAllocator* a) {
  return get(a->in_use) + get(a->interrupt_bytes) - get(a->aside_bytes) - get(a->aside_large_bytes);
}

uint64_t figure_mark(const ThreadAllocator* a) {
  const uint64_t mark = get(a->mark);
  const uint64_t in_use = get(a->in_use);
  const bool untouched =
      mark == 0 && in_use == sizeof(ThreadAllocator);  // the mark begins with the first request
  return untouched ? 0 : std::max(mark, in_use);
}

uint64_t figure_large(const ThreadAllocator* a) { return get(a->large_bytes) - get(a->aside_large_bytes); }

// What the slabs hold beyond the blocks in use. The accounts are read one after the other while the owner may
// be at work, so the difference can be off by what changed between, and below 0.
uint64_t figure_free_in_slabs(const ThreadAllocator* a) {
  const uint64_t in_blocks =
      figure_in_use(a) - get(a->interrupt_bytes) - sizeof(ThreadAllocator) - figure_large(a);
  const auto free_bytes = int64_t(get(a->slab_bytes) - in_blocks);
  return free_bytes > 0 ? uint64_t(free_bytes) : 0;
}

uint64_t figure(const ThreadAllocator* a, int32_t kind) {
  switch (kind) {
    case 0:
      return figure_in_use(a);
    case 1:
      return figure_mark(a);
    case 2:
      return figure_free_in_slabs(a);
    case 3:
      return figure_large(a);
    default:
      return a->thread;
  }
}

// The calling thread's allocator with its accounts up to date.
ThreadAllocator* settled() {
  ThreadAllocator* a = memory::this_allocator();
  memory::settle(a);
  return a;
}

// Calls the interrupt function while the bytes in use show a request on top. It may allocate and free itself.
void interrupt_with(ThreadAllocator* a, uint64_t bytes) {
  auto* interrupt = GetAllocatorList()->interrupt;
  if (!interrupt) return;
  memory::add(a->interrupt_bytes, bytes);
  interrupt();
  memory::add(a->interrupt_bytes, -bytes);
}

}  // namespace

uint64_t system_memory = physical_memory();
uint64_t system_allocation_limit = ~uint64_t{0};

void zenthar::memory::settle(ThreadAllocator* allocator) {
  if (get(allocator->aside_bytes)) drain_all(allocator);
  if (get(allocator->aside_large_bytes)) settle_large(allocator);
}

bool zenthar::memory::within_limit(ThreadAllocator* allocator, uint64_t bytes) {
  const uint64_t limit = get(allocator->limit);
  if (!limit) return true;
  settle(allocator);
  uint64_t raised;
  if (!__builtin_add_overflow(figure_in_use(allocator), bytes, &raised) && raised <= limit) return true;
  interrupt_with(allocator, bytes);
  return false;
}

void zenthar::report_failed_request(uint64_t size) {
  ThreadAllocator* a = settled();
  const uint64_t limit = get(a->limit);
  if (!limit) return;
  const uint64_t in_use = figure_in_use(a);
  const uint64_t raised = in_use + size < in_use ? ~uint64_t{0} : in_use + size;
  if (raised > limit) interrupt_with(a, raised - in_use);
}

void zenthar::memory_initialize(int32_t phase) {
  if (phase != 1) return;
  system_memory = physical_memory();
  system_allocation_limit = ~uint64_t{0};
}

uint64_t MemoryInUse(void) { return figure_in_use(settled()); }

uint64_t MCinuse(void) { return MemoryInUse(); }

uint64_t MaxMemoryUsed(void) { return figure_mark(memory::this_allocator()); }

uint64_t MCliminuse(void) { return get(memory::this_allocator()->limit); }

void MCsetlimit(uint64_t limit) {
  ThreadAllocator* a = memory::this_allocator();
  memory::set(a->limit, limit);
  a->ceiling = limit ? limit : ~uint64_t{0};
}

struct st_MaxMemoryNode {
  uint64_t saved_mark;
  MaxMemoryList next;
};
static_assert(sizeof(st_MaxMemoryNode) == 16);

void MaxMemoryListPush(MaxMemoryList* list) {
  auto* node = static_cast<MaxMemoryList>(zalloc(sizeof(st_MaxMemoryNode), 0, 0));
  if (!node) return;
  ThreadAllocator* a = settled();
  *node = {figure_mark(a), *list};
  *list = node;
  memory::set(a->mark, get(a->in_use));
}

uint64_t MaxMemoryListPop(MaxMemoryList* list) {
  ThreadAllocator* a = memory::this_allocator();
  const uint64_t mark = figure_mark(a);
  MaxMemoryList node = *list;
  if (!node) return mark;
  memory::set(a->mark, std::max(mark, node->saved_mark));
  *list = node->next;
  zfree(node);
  return mark;
}

mint MaxMemoryListLength(MaxMemoryList* list) {
  mint length = 0;
  for (MaxMemoryList node = *list; node; node = node->next) ++length;
  return length;
}

uint64_t* FullMemoryInformation(mint* count, int32_t kind) {
  *count = 0;
  AllocatorList list = GetAllocatorList();
  if (!list) return nullptr;
  const memory::ListLock lock;
  mint allocators = 0;
  for (const ThreadAllocator* a = list->head; a; a = a->next) ++allocators;
  auto* figures =
      static_cast<uint64_t*>(std::malloc(std::max<size_t>(size_t(allocators), 1) * sizeof(uint64_t)));
  if (!figures) return nullptr;
  for (const ThreadAllocator* a = list->head; a; a = a->next) figures[(*count)++] = figure(a, kind);
  return figures;
}

void CompactifyMemory(void) {
  AllocatorList list = GetAllocatorList();
  if (!list) return;
  const memory::ListLock lock;
  for (ThreadAllocator* a = list->head; a; a = a->next) {
    if (a->orphaned.load(std::memory_order_relaxed)) continue;  // nothing ever waits for an orphan
    if (a == memory::current_allocator) {
      memory::give_up_spares(a);
      memory::settle(a);
    } else {
      for (memory::SizeClass& size_class : a->classes) memory::set_aside(&size_class);
      memory::set_aside_large(a);
    }
  }
  memory::purge_chunks();
}

void MC_set_interrupt_fun(void (*interrupt)(void)) { memory::make_list()->interrupt = interrupt; }

void nomem(void) {
  if (AllocatorList list = GetAllocatorList()) {
    std::free(list->reserve);
    list->reserve = nullptr;
  }
  std::puts(
      "\nNo more memory available.\nQuantivorex kernel has shut down.\nTry quitting other applications and "
      "then "
      "retry.");
  KThread_Sleep(3000);
  std::exit(1);
}
