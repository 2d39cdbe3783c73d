// Large blocks. Their list is guarded by the owner's mutex, since other threads read its sizes and, when the
// owner has ended, unlink from it; the system's malloc and free are called outside the lock.
#include "memory/large.h"

#include <cstdlib>

#include "memory/lifecycle.h"

namespace zenthar::memory {

namespace {

char* data_of(LargeBlock* block, bool aligned) {
  return reinterpret_cast<char*>(block) + (aligned ? kAlignedLargeHeader : kLargeHeader);
}

LargeBlock*& pending_link(LargeBlock* block) { return *reinterpret_cast<LargeBlock**>(block + 1); }

void link(ThreadAllocator* owner, LargeBlock* block) {
  block->self = block;
  block->owner = owner;
  block->previous = nullptr;
  block->next = owner->large;
  if (block->next) block->next->previous = block;
  owner->large = block;
  add(owner->large_bytes, block->size);
}

void unlink(ThreadAllocator* owner, LargeBlock* block) {
  (block->previous ? block->previous->next : owner->large) = block->next;
  if (block->next) block->next->previous = block->previous;
  add(owner->large_bytes, -block->size);
}

// Unlinks the pending blocks and hands them over, chained; the owner's mutex is held.
LargeBlock* take_pending(ThreadAllocator* owner, uint64_t& bytes) {
  LargeBlock* first = owner->pending_large;
  owner->pending_large = nullptr;
  owner->large_pending.store(0, std::memory_order_relaxed);
  for (LargeBlock* block = first; block; block = pending_link(block)) {
    bytes += block->size;
    unlink(owner, block);
  }
  return first;
}

void free_chain(LargeBlock* block) {
  while (block) {
    LargeBlock* next = pending_link(block);
    std::free(block);
    block = next;
  }
}

void free_own(ThreadAllocator* owner, LargeBlock* block) {
  uint64_t bytes = block->size;
  LargeBlock* pending;
  {
    const AllocatorLock lock(owner);
    unlink(owner, block);
    pending = take_pending(owner, bytes);
  }
  add(owner->in_use, -bytes);
  std::free(block);
  free_chain(pending);
}

// Hands a block to its running owner; false when the owner has ended.
bool push_pending(LargeBlock* block) {
  ThreadAllocator* owner = block->owner;
  const AllocatorLock lock(owner);
  if (owner->orphaned.load(std::memory_order_relaxed)) return false;
  pending_link(block) = owner->pending_large;
  owner->pending_large = block;
  owner->large_pending.store(1, std::memory_order_relaxed);
  return true;
}

void free_orphaned(LargeBlock* block) {
  const ListLock list_lock;
  ThreadAllocator* owner = block->owner;
  {
    const AllocatorLock lock(owner);
    unlink(owner, block);
  }
  add(owner->in_use, -block->size);
  std::free(block);
  release_if_empty(owner);
}

}  // namespace

void* allocate_large(ThreadAllocator* allocator, uint64_t charge, bool aligned, bool zeroed) {
  if (allocator->large_pending.load(std::memory_order_relaxed))
    add(allocator->in_use, -release_pending_large(allocator));
  if (charge > system_allocation_limit) return nullptr;
  auto* block = static_cast<LargeBlock*>(zeroed ? std::calloc(1, charge) : std::malloc(charge));
  if (!block) return nullptr;
  block->size = charge;
  {
    const AllocatorLock lock(allocator);
    link(allocator, block);
  }
  char* data = data_of(block, aligned);
  if (aligned) reinterpret_cast<uint64_t*>(data)[-1] = kPaddingWord;
  return data;
}

void* resize_large(ThreadAllocator* allocator, LargeBlock* block, uint64_t charge, bool aligned) {
  if (charge > system_allocation_limit) return nullptr;
  const AllocatorLock lock(allocator);
  unlink(allocator, block);
  auto* moved = static_cast<LargeBlock*>(std::realloc(block, charge));
  if (moved) {
    moved->size = charge;
    link(allocator, moved);
    return data_of(moved, aligned);
  }
  link(allocator, block);
  return nullptr;
}

void free_large(ThreadAllocator* allocator, LargeBlock* block) {
  if (block->owner == allocator) {
    free_own(allocator, block);
  } else if (!push_pending(block)) {
    free_orphaned(block);
  }
}

uint64_t release_pending_large(ThreadAllocator* allocator) {
  uint64_t bytes = 0;
  LargeBlock* pending;
  {
    const AllocatorLock lock(allocator);
    pending = take_pending(allocator, bytes);
  }
  free_chain(pending);
  return bytes;
}

}  // namespace zenthar::memory
