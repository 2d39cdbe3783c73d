// Accounts of an allocator: bytes in use, high-water mark, soft limit.
#pragma once

#include <algorithm>

#include "memory/structures.h"

namespace zenthar::memory {

// Takes what others freed on the owner's behalf out of the accounts.
void settle(ThreadAllocator* allocator);

inline void update_ceiling(ThreadAllocator* allocator) {
  const uint64_t limit = get(allocator->limit);
  const uint64_t mark = get(allocator->mark);
  allocator->ceiling = limit ? std::min(limit, mark) : mark;
}

inline void charge(ThreadAllocator* allocator, uint64_t bytes) {
  const uint64_t in_use = get(allocator->in_use) + bytes;
  set(allocator->in_use, in_use);
  if (in_use > get(allocator->mark)) {
    set(allocator->mark, in_use);
    update_ceiling(allocator);
  }
}

// Whether a request stays below the soft limit. If not, the interrupt function has been called.
bool within_limit(ThreadAllocator* allocator, uint64_t bytes);

}  // namespace zenthar::memory
