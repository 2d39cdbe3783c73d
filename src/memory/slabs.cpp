// Slabs: carving blocks, the ring of slabs with free blocks, empty slabs, and blocks freed by other threads.
#include "memory/slabs.h"

#include <x86intrin.h>

#include <algorithm>
#include <utility>

#include "memory/guard.h"
#include "memory/lifecycle.h"
#include "memory/regions.h"

namespace zenthar::memory {

namespace {

constexpr uint32_t kCarveBytes = 4096;     // so much is carved into free blocks at a time
constexpr uint64_t kDrainInterval = 5000;  // time stamp ticks between drains on the way of requests

// The value of `remote` once the owner has ended.
Block* closed_list() { return reinterpret_cast<Block*>(uintptr_t{1}); }

void link_slab(Slab* slab) {
  SizeClass* size_class = slab->size_class;
  Slab* head = size_class->available;
  if (head == &no_slab) {
    slab->next = slab->previous = slab;
    size_class->available = slab;
    return;
  }
  // At the far end: its free blocks gather while the slabs before it are used up.
  slab->next = head;
  slab->previous = head->previous;
  head->previous->next = slab;
  head->previous = slab;
}

void unlink_slab(Slab* slab) {
  SizeClass* size_class = slab->size_class;
  if (slab->next == slab) {
    size_class->available = &no_slab;
    return;
  }
  slab->previous->next = slab->next;
  slab->next->previous = slab->previous;
  if (size_class->available == slab) size_class->available = slab->next;
}

Slab* new_slab(SizeClass* size_class) {
  const auto stride = uint32_t(size_class->block_size + guard::zone());
  const uint32_t bytes = std::max(size_class->slab_bytes, stride * 4);
  Slab* slab = take_chunks((bytes + uint32_t(kChunkSize) - 1) / uint32_t(kChunkSize));
  if (!slab) return nullptr;
  slab->free = nullptr;
  slab->used = slab->carved = 0;
  slab->stride = stride;
  slab->blocks = guard::zone() ? bytes / stride : size_class->blocks_per_slab;
  slab->wake = 0;
  slab->size_class = size_class;
  if (size_class->block_size <= kLargestSmall && !enter_slab(slab)) {
    give_chunks(slab);
    return nullptr;
  }
  ThreadAllocator* owner = size_class->owner;
  add(owner->slab_bytes, uint64_t{slab->blocks} * size_class->block_size);
  ++owner->slabs;
  ++size_class->slabs;
  link_slab(slab);
  return slab;
}

// Gives up a slab that is in the ring and has no block in use.
void release_slab(Slab* slab) {
  SizeClass* size_class = slab->size_class;
  ThreadAllocator* owner = size_class->owner;
  unlink_slab(slab);
  if (size_class->cached == slab) size_class->cached = nullptr;
  add(owner->slab_bytes, -(uint64_t{slab->blocks} * size_class->block_size));
  --owner->slabs;
  --size_class->slabs;
  give_chunks(slab);
}

// Makes the next few blocks of a slab free, in the order of their addresses.
bool carve(Slab* slab) {
  const uint32_t count = std::min(slab->blocks - slab->carved, std::max(kCarveBytes / slab->stride, 1u));
  if (count == 0) return false;
  char* first = slab->base + size_t{slab->carved} * slab->stride;
  Block* next = nullptr;
  for (char* at = first + size_t{count - 1} * slab->stride;; at -= slab->stride) {
    auto* block = reinterpret_cast<Block*>(at);
    guard::open(block, sizeof(Block));
    block->next = next;
    guard::close(block, sizeof(Block));
    next = block;
    if (at == first) break;
  }
  slab->carved += count;
  slab->free = next;
  return true;
}

Block* pop(Slab* slab) {
  Block* block = slab->free;
  guard::open(block, sizeof(Block));
  slab->free = block->next;
  guard::close(block, sizeof(Block));
  ++slab->used;
  return block;
}

void push(Slab* slab, Block* block) {
  guard::open(block, sizeof(Block));
  block->next = slab->free;
  guard::close(block, sizeof(Block));
  slab->free = block;
}

// The link of a queued block. It leaves the header of a block that has one in place, by which its slab is
// found.
Block* queued(const SizeClass* size_class, Block* block) {
  return size_class->block_size <= kLargestSmall ? block : block + 1;
}

Block* next_queued(Block* link) {
  guard::open(link, sizeof(Block));
  Block* next = link->next;
  guard::close(link, sizeof(Block));
  return next;
}

void set_next_queued(Block* link, Block* next) {
  guard::open(link, sizeof(Block));
  link->next = next;
  guard::close(link, sizeof(Block));
}

void return_queued(const SizeClass* size_class, Block* link) {
  if (size_class->block_size <= kLargestSmall) {
    return_block(&region_of(link)->slabs[chunk_of(link)], link);
    return;
  }
  Block* block = link - 1;
  guard::open(block, sizeof(Block));
  const auto header = reinterpret_cast<uintptr_t>(block->next);
  return_block(reinterpret_cast<Slab*>(header - kSlabMark), block);
}

void return_all_queued(const SizeClass* size_class, Block* link) {
  while (link) {
    Block* next = next_queued(link);
    return_queued(size_class, link);
    link = next;
  }
}

// What CompactifyMemory() set aside has left the figures already: it enters them again as it is returned.
Block* take_aside(SizeClass* size_class) {
  ThreadAllocator* owner = size_class->owner;
  if (!get(owner->aside_bytes)) return nullptr;
  const AllocatorLock lock(owner);
  uint64_t bytes = 0;
  for (Block* link = size_class->aside; link; link = next_queued(link)) bytes += size_class->block_size;
  owner->aside_bytes.fetch_sub(bytes, std::memory_order_relaxed);
  return std::exchange(size_class->aside, nullptr);
}

}  // namespace

void initialise_class(SizeClass* size_class, ThreadAllocator* owner, size_t index) {
  const size_t size = index == 0 ? kDescriptorSize : kClassSizes[index];
  const size_t blocks = std::max<size_t>(4, kChunkSize / size) - (index == 0);
  const size_t bytes = size <= kLargestSmall ? kChunkSize : size * blocks;
  size_class->owner = owner;
  size_class->mutex = owner->mutex;
  size_class->available = &no_slab;
  size_class->block_size = uint32_t(size);
  size_class->slab_bytes = uint32_t(bytes);
  size_class->slab_pages = uint32_t((bytes + (1u << kPageShift) - 1) >> kPageShift);
  size_class->blocks_per_slab = uint32_t(blocks);
}

Block* take_block(SizeClass* size_class) {
  if (size_class->available->free) return pop(size_class->available);
  if (size_class->remote_pending.load(std::memory_order_relaxed)) drain(size_class);
  for (;;) {
    Slab* slab = size_class->available;
    if (slab == &no_slab) {
      slab = new_slab(size_class);
      if (!slab) return nullptr;
    }
    if (slab->free || carve(slab)) return pop(slab);
    slab->wake = slab->blocks - 1;
    unlink_slab(slab);
  }
}

void return_block(Slab* slab, Block* block) {
  push(slab, block);
  Account& in_use = slab->size_class->owner->in_use;
  set(in_use, get(in_use) - slab->size_class->block_size);
  if (--slab->used == slab->wake) wake_slab(slab);
}

void wake_slab(Slab* slab) {
  SizeClass* size_class = slab->size_class;
  if (slab->wake) {
    slab->wake = 0;
    link_slab(slab);
    if (slab->used) return;
  }
  if (size_class->owner->orphaned.load(std::memory_order_relaxed)) {
    release_slab(slab);
  } else if (Slab* cached = size_class->cached; cached && cached != slab && cached->used == 0) {
    release_slab(slab);
  } else {
    size_class->cached = slab;
  }
}

bool push_remote(SizeClass* size_class, Block* block) {
  Block* link = queued(size_class, block);
  Block* head = size_class->remote.load(std::memory_order_relaxed);
  do {
    if (head == closed_list()) return false;
    set_next_queued(link, head);
  } while (!size_class->remote.compare_exchange_weak(head, link, std::memory_order_acq_rel));
  // The owner may have taken the block and ended by now; allocators are recycled, so the word is still one.
  if (!size_class->remote_pending.load(std::memory_order_relaxed))
    size_class->remote_pending.store(1, std::memory_order_relaxed);
  return true;
}

void drain(SizeClass* size_class) {
  size_class->remote_pending.store(0, std::memory_order_relaxed);
  Block* freed = size_class->remote.exchange(nullptr, std::memory_order_acq_rel);
  return_all_queued(size_class, take_aside(size_class));
  return_all_queued(size_class, freed);
}

void drain_when_due(SizeClass* size_class) {
  const uint64_t now = __rdtsc();
  if (now - size_class->drained_at < kDrainInterval) return;
  drain(size_class);
  size_class->drained_at = now;
}

void drain_all(ThreadAllocator* allocator) {
  for (SizeClass& size_class : allocator->classes)
    if (size_class.remote_pending.load(std::memory_order_relaxed)) drain(&size_class);
}

void set_aside(SizeClass* size_class) {
  Block* freed = size_class->remote.exchange(nullptr, std::memory_order_acq_rel);
  if (!freed) return;
  ThreadAllocator* owner = size_class->owner;
  const AllocatorLock lock(owner);
  uint64_t bytes = size_class->block_size;
  Block* last = freed;
  while (Block* next = next_queued(last)) {
    last = next;
    bytes += size_class->block_size;
  }
  set_next_queued(last, size_class->aside);
  size_class->aside = freed;
  owner->aside_bytes.fetch_add(bytes, std::memory_order_relaxed);
  size_class->remote_pending.store(1, std::memory_order_relaxed);
}

void close_remote(SizeClass* size_class) {
  Block* freed = size_class->remote.exchange(closed_list(), std::memory_order_acq_rel);
  return_all_queued(size_class, take_aside(size_class));
  return_all_queued(size_class, freed);
}

void release_empty_slabs(SizeClass* size_class) {
  Slab* slab = size_class->available;
  for (uint32_t left = size_class->slabs; left > 0 && size_class->available != &no_slab; --left) {
    Slab* next = slab->next;
    if (slab->used == 0) release_slab(slab);
    slab = next;
  }
}

}  // namespace zenthar::memory
