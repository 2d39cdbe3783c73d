// Large blocks. They come from malloc and are counted by their owner; the header names it.
//
// The pages of a fresh block cost more than most things that are done with it, so an owner keeps some of the
// blocks it has freed, and blocks that grow get room to grow on.
#include "memory/large.h"

#include <malloc.h>
#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "memory/accounting.h"
#include "memory/guard.h"
#include "memory/lifecycle.h"

namespace zenthar::memory {

namespace {

constexpr uint64_t kKeptBytes = uint64_t{128} << 20;  // kept by one thread at most
constexpr uint64_t kHugePage = uint64_t{2} << 20;
constexpr uint64_t kHugeFrom = 2 * kHugePage;  // blocks from here on ask for huge pages

char* data_of(LargeBlock* block, bool aligned) {
  return reinterpret_cast<char*>(block) + (aligned ? kAlignedLargeHeader : kLargeHeader);
}

void account(ThreadAllocator* owner, int64_t blocks, uint64_t bytes) {
  owner->large_blocks += uint64_t(blocks);
  add(owner->large_bytes, bytes);
}

uint64_t capacity_of(LargeBlock* block) { return malloc_usable_size(block); }

void ask_for_huge_pages(const void* memory, uint64_t size) {
  if (size < kHugeFrom || guard::watching()) return;
  const uintptr_t begin = (reinterpret_cast<uintptr_t>(memory) + kHugePage - 1) & ~uintptr_t(kHugePage - 1);
  const uintptr_t end = (reinterpret_cast<uintptr_t>(memory) + size) & ~uintptr_t(kHugePage - 1);
  if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

uint32_t bin_of(uint64_t size) {
  const int doublings = std::bit_width(size) - std::bit_width(uint64_t{kLargestClass});
  return uint32_t(doublings) * 4 | (uint32_t(size >> (doublings + 14)) & 3);
}

// Removes the block that a link of a bin leads to.
LargeBlock* remove_kept(KeptBlocks& kept, uint32_t bin, LargeBlock** link) {
  LargeBlock* block = *link;
  *link = block->next;
  kept.bytes -= block->size;
  if (!kept.bins[bin]) kept.filled &= ~(uint64_t{1} << bin);
  return block;
}

// Gives up one kept block, from one bin after the other.
void evict_one(KeptBlocks& kept) {
  const uint64_t later = kept.filled >> kept.evict << kept.evict;
  const auto bin = uint32_t(std::countr_zero(later ? later : kept.filled));
  kept.evict = (bin + 1) % KeptBlocks::kBins;
  std::free(remove_kept(kept, bin, &kept.bins[bin]));
}

// Frees a block of the calling thread, or keeps it and gives up others to make room.
void keep(ThreadAllocator* owner, LargeBlock* block) {
  KeptBlocks& kept = owner->kept;
  const uint64_t capacity = guard::watching() ? ~uint64_t{0} : capacity_of(block);
  if (capacity >= kKeptBytes) {
    std::free(block);
    return;
  }
  while (kept.bytes + capacity > kKeptBytes) evict_one(kept);
  const uint32_t bin = bin_of(capacity);
  block->size = capacity;
  block->next = kept.bins[bin];
  kept.bins[bin] = block;
  kept.filled |= uint64_t{1} << bin;
  kept.bytes += capacity;
}

// A kept block that fits and wastes little: one of the last few of its own bin, or the last of a bin just
// above.
LargeBlock* take_kept(ThreadAllocator* owner, uint64_t charge) {
  KeptBlocks& kept = owner->kept;
  if (charge >= kKeptBytes || !kept.filled) return nullptr;
  const uint32_t own = bin_of(charge);
  LargeBlock** link = &kept.bins[own];
  for (int tries = 4; *link && tries > 0; --tries, link = &(*link)->next)
    if ((*link)->size >= charge) return remove_kept(kept, own, link);
  const uint64_t above = kept.filled >> own >> 1;
  const uint32_t bin = own + 1 + uint32_t(std::countr_zero(above));
  if (!above || bin > own + 2) return nullptr;
  return remove_kept(kept, bin, &kept.bins[bin]);
}

// What malloc may be asked for.
bool obtainable(uint64_t charge) {
  return charge <= system_allocation_limit && charge <= uint64_t{PTRDIFF_MAX};
}

LargeBlock* fresh_block(ThreadAllocator* owner, uint64_t charge, bool zeroed) {
  void* memory = zeroed ? std::calloc(1, charge) : std::malloc(charge);
  if (!memory && owner->kept.filled) {
    release_kept(owner);
    memory = zeroed ? std::calloc(1, charge) : std::malloc(charge);
  }
  if (memory) ask_for_huge_pages(memory, charge);
  return static_cast<LargeBlock*>(memory);
}

void* enter(ThreadAllocator* owner, LargeBlock* block, uint64_t charge, bool aligned) {
  *block = {block, nullptr, nullptr, owner, charge};
  account(owner, 1, charge);
  char* data = data_of(block, aligned);
  if (aligned) reinterpret_cast<uint64_t*>(data)[-1] = kPaddingWord;
  return data;
}

LargeBlock* take_pending(ThreadAllocator* owner) {
  const AllocatorLock lock(owner);
  owner->large_pending.store(0, std::memory_order_relaxed);
  return std::exchange(owner->pending_large, nullptr);
}

// Hands a block to its running owner; false when the owner has ended.
bool push_pending(LargeBlock* block) {
  ThreadAllocator* owner = block->owner;
  const AllocatorLock lock(owner);
  if (owner->orphaned.load(std::memory_order_relaxed)) return false;
  block->next = owner->pending_large;
  owner->pending_large = block;
  owner->large_pending.store(1, std::memory_order_relaxed);
  return true;
}

void free_orphaned(LargeBlock* block) {
  const ListLock lock;
  ThreadAllocator* owner = block->owner;
  account(owner, -1, -block->size);
  discharge(owner, block->size);
  std::free(block);
  release_if_empty(owner);
}

}  // namespace

void* allocate_large(ThreadAllocator* allocator, uint64_t charge, bool aligned, bool zeroed) {
  if (allocator->large_pending.load(std::memory_order_relaxed)) release_pending_large(allocator);
  if (!obtainable(charge)) return nullptr;
  LargeBlock* block = take_kept(allocator, charge);
  if (block && zeroed) {
    std::memset(static_cast<void*>(block), 0, charge);
  } else if (!block) {
    block = fresh_block(allocator, charge, zeroed);
  }
  return block ? enter(allocator, block, charge, aligned) : nullptr;
}

void* resize_large(ThreadAllocator* allocator, LargeBlock* block, uint64_t charge, bool aligned) {
  if (!obtainable(charge)) return nullptr;
  const uint64_t old_charge = block->size;
  LargeBlock* resized = block;
  if (charge > old_charge && !guard::watching() && capacity_of(block) >= charge) {
    // It was given room when it grew before.
  } else if (LargeBlock* kept = take_kept(allocator, charge)) {
    std::memcpy(static_cast<void*>(kept), block, std::min(charge, old_charge));
    keep(allocator, block);
    resized = kept;
  } else {
    const uint64_t room = charge > old_charge && !guard::watching() ? charge / 8 : 0;
    void* moved = std::realloc(block, charge + room);
    if (!moved) {
      release_kept(allocator);
      moved = std::realloc(block, charge);
    }
    if (!moved) return nullptr;
    ask_for_huge_pages(moved, charge);
    resized = static_cast<LargeBlock*>(moved);
  }
  account(allocator, -1, -old_charge);
  return enter(allocator, resized, charge, aligned);
}

void free_large(ThreadAllocator* allocator, LargeBlock* block) {
  if (block->owner == allocator) {
    account(allocator, -1, -block->size);
    discharge(allocator, block->size);
    keep(allocator, block);
    if (allocator->large_pending.load(std::memory_order_relaxed)) release_pending_large(allocator);
  } else if (!push_pending(block)) {
    free_orphaned(block);
  }
}

void release_pending_large(ThreadAllocator* allocator) {
  for (LargeBlock* block = take_pending(allocator); block;) {
    LargeBlock* next = block->next;
    account(allocator, -1, -block->size);
    discharge(allocator, block->size);
    keep(allocator, block);
    block = next;
  }
}

void set_aside_large(ThreadAllocator* allocator) {
  for (LargeBlock* block = take_pending(allocator); block;) {
    LargeBlock* next = block->next;
    allocator->aside_large_bytes.fetch_add(block->size, std::memory_order_relaxed);
    allocator->aside_large_blocks.fetch_add(1, std::memory_order_relaxed);
    std::free(block);
    block = next;
  }
}

void settle_large(ThreadAllocator* allocator) {
  const uint64_t bytes = allocator->aside_large_bytes.exchange(0, std::memory_order_relaxed);
  const uint64_t blocks = allocator->aside_large_blocks.exchange(0, std::memory_order_relaxed);
  account(allocator, -int64_t(blocks), -bytes);
  discharge(allocator, bytes);
}

void release_kept(ThreadAllocator* allocator) {
  while (allocator->kept.filled) evict_one(allocator->kept);
}

}  // namespace zenthar::memory
