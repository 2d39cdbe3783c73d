// Slabs: carving blocks, the ring of slabs with free blocks, empty slabs, and blocks freed by other threads.
#include "memory/slabs.h"

#include <x86intrin.h>

#include <algorithm>
#include <utility>

#include "memory/accounting.h"
#include "memory/guard.h"
#include "memory/lifecycle.h"
#include "memory/regions.h"

namespace zenthar::memory {

namespace {

constexpr uint32_t kCarveBytes = 4096;  // so much is carved into free blocks at a time
constexpr size_t kRecentBytes =
    65536;  // so much of a class is kept at hand at most, of a small one twice as much
constexpr uint32_t kCarveBlocks = 16;         // or so many, of the larger of the small blocks
constexpr uint64_t kDrainInterval = 5000;     // time stamp ticks between drains on the way of requests
constexpr uint64_t kTakenOverBytes = 262144;  // chains up to here are kept at hand as they are
constexpr uint32_t kNeverWakes = ~uint32_t{0};

// The value of `remote` once the owner has ended.
constexpr uint64_t kClosed = 1;

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
  Slab* slab = take_chunks(size_class->slab_chunks);
  if (!slab) return nullptr;
  slab->free = nullptr;
  slab->used = slab->carved = 0;
  slab->stride = stride;
  slab->blocks = uint32_t(size_class->slab_chunks * kChunkSize / stride);
  slab->wake = 0;
  slab->size_class = size_class;
  if (size_class->index <= kSmallClasses && !enter_slab(slab)) {
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
  const uint32_t wanted =
      slab->stride > kLargestSmall + guard::zone() ? 1 : std::max(kCarveBytes / slab->stride, kCarveBlocks);
  const uint32_t count = std::min(slab->blocks - slab->carved, wanted);
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
  if (slab->size_class->index > kSmallClasses) write_header(block, slab);
  guard::close(block, sizeof(Block));
  ++slab->used;
  return block;
}

void put_back(Slab* slab, Block* block) {
  guard::open(block, sizeof(Block));
  block->next = slab->free;
  guard::close(block, sizeof(Block));
  slab->free = block;
  if (--slab->used == slab->wake) wake_slab(slab);
}

std::atomic<uint8_t>& pending(const SizeClass* size_class) {
  return size_class->owner->remote_pending[size_class->index];
}

// The link of a queued block. It leaves the header of a block that has one in place, by which its slab is
// found.
Block* queued(const SizeClass* size_class, Block* block) {
  return size_class->index <= kSmallClasses ? block : block + 1;
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

// The block of a link, and its slab: a small one by its address, another by its header.
struct Place {
  Slab* slab;
  Block* block;
};

Place place_of(const SizeClass* size_class, Block* link) {
  if (size_class->index <= kSmallClasses) return {&region_of(link)->slabs[chunk_of(link)], link};
  Block* block = link - 1;
  guard::open(block, sizeof(Block));
  const auto header = reinterpret_cast<uintptr_t>(block->next);
  return {reinterpret_cast<Slab*>(header - kSlabMark), block};
}

void return_all_queued(const SizeClass* size_class, Block* link) {
  while (link) {
    Block* next = next_queued(link);
    const Place place = place_of(size_class, link);
    return_block(place.slab, place.block);
    link = next;
  }
}

void put_back_all(const SizeClass* size_class, Block* link) {
  while (link) {
    Block* next = next_queued(link);
    const Place place = place_of(size_class, link);
    put_back(place.slab, place.block);
    link = next;
  }
}

// Makes what other threads have freed the blocks at hand when there are none.
void hand_on_returned(SizeClass* size_class) {
  if (size_class->recent) return;
  const Chain chain = std::exchange(size_class->returned, Chain());
  size_class->recent = chain.first();
  size_class->recent_count = uint32_t(chain.count());
}

Block* take_recent(SizeClass* size_class) {
  hand_on_returned(size_class);
  Block* link = size_class->recent;
  if (!link) return nullptr;
  size_class->recent = link->next;
  --size_class->recent_count;
  return size_class->index <= kSmallClasses ? link : link - 1;
}

// Keeps a chain that other threads have freed at hand without a look at its blocks, which are in the caches
// of others, unless it is long or the one before has not been used up: then its blocks go back to their
// slabs.
void take_over(SizeClass* size_class, Chain freed) {
  hand_on_returned(size_class);
  if (size_class->returned.first() || guard::watching() || freed.count() == Chain::kMany ||
      freed.count() * size_class->block_size > kTakenOverBytes) {
    return_all_queued(size_class, freed.first());
    return;
  }
  discharge(size_class->owner, freed.count() * size_class->block_size);
  size_class->returned = freed;
  hand_on_returned(size_class);
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
  const size_t chunks = slab_chunks(size);
  size_class->index = uint32_t(index);
  size_class->owner = owner;
  size_class->mutex = owner->mutex;
  size_class->available = &no_slab;
  size_class->block_size = uint32_t(size);
  size_class->recent_limit =
      uint32_t(std::clamp<size_t>(kRecentBytes * (index <= kSmallClasses ? 2 : 1) / size, 2, 256));
  size_class->slab_chunks = uint32_t(chunks);
  owner->remote_pending[index].store(0, std::memory_order_relaxed);
  size_class->remote.store(0, std::memory_order_relaxed);
}

Block* take_block(SizeClass* size_class) {
  if (Block* block = take_recent(size_class)) return block;
  if (size_class->available->free) return pop(size_class->available);
  if (pending(size_class).load(std::memory_order_relaxed)) {
    drain(size_class);
    if (Block* block = take_recent(size_class)) return block;
  }
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
  discharge(slab->size_class->owner, slab->size_class->block_size);
  put_back(slab, block);
}

void flush_recent(SizeClass* size_class) {
  size_class->recent_count = 0;
  put_back_all(size_class, std::exchange(size_class->recent, nullptr));
  put_back_all(size_class, std::exchange(size_class->returned, Chain()).first());
}

void wake_slab(Slab* slab) {
  SizeClass* size_class = slab->size_class;
  if (slab->wake) {  // it was full
    slab->wake = 0;
    link_slab(slab);
    if (slab->used) return;
  }
  Slab* cached = size_class->cached;
  if (size_class->owner->orphaned.load(std::memory_order_relaxed) ||
      (cached && cached != slab && cached->used == 0)) {
    release_slab(slab);
    return;
  }
  // One empty slab is kept, and from now on it does not call when it falls empty.
  if (cached && cached->wake == kNeverWakes) cached->wake = 0;
  size_class->cached = slab;
  slab->wake = kNeverWakes;
}

bool push_remote(SizeClass* size_class, Block* block) {
  Block* link = queued(size_class, block);
  uint64_t head = size_class->remote.load(std::memory_order_relaxed);
  uint64_t longer;
  do {
    if (head == kClosed) return false;
    set_next_queued(link, Chain(head).first());
    longer = Chain(link, Chain(head).count() + 1).word();
  } while (!size_class->remote.compare_exchange_weak(head, longer, std::memory_order_acq_rel));
  // The owner may have taken the block and ended by now; allocators are recycled, so the word is still one.
  if (!pending(size_class).load(std::memory_order_relaxed))
    pending(size_class).store(1, std::memory_order_relaxed);
  return true;
}

void drain(SizeClass* size_class) {
  pending(size_class).store(0, std::memory_order_relaxed);
  const Chain freed(size_class->remote.exchange(0, std::memory_order_acq_rel));
  return_all_queued(size_class, take_aside(size_class));
  take_over(size_class, freed);
}

void drain_when_due(SizeClass* size_class) {
  const uint64_t now = __rdtsc();
  if (now - size_class->drained_at < kDrainInterval) return;
  drain(size_class);
  size_class->drained_at = now;
}

void drain_all(ThreadAllocator* allocator) {
  for (SizeClass& size_class : allocator->classes)
    if (pending(&size_class).load(std::memory_order_relaxed)) drain(&size_class);
}

void set_aside(SizeClass* size_class) {
  Block* freed = Chain(size_class->remote.exchange(0, std::memory_order_acq_rel)).first();
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
  pending(size_class).store(1, std::memory_order_relaxed);
}

void close_remote(SizeClass* size_class) {
  const Chain freed(size_class->remote.exchange(kClosed, std::memory_order_acq_rel));
  return_all_queued(size_class, take_aside(size_class));
  return_all_queued(size_class, freed.first());
}

void release_empty_slabs(SizeClass* size_class) {
  flush_recent(size_class);
  if (Slab* cached = std::exchange(size_class->cached, nullptr); cached && cached->wake == kNeverWakes)
    cached->wake = 0;
  Slab* slab = size_class->available;
  for (uint32_t left = size_class->slabs; left > 0 && size_class->available != &no_slab; --left) {
    Slab* next = slab->next;
    if (slab->used == 0) release_slab(slab);
    slab = next;
  }
}

}  // namespace zenthar::memory
