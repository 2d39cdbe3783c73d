// Accounts of an allocator: bytes in use, high-water mark, soft limit.
#pragma once

#include "memory/structures.h"

namespace zenthar::memory {

// Takes what others freed on the owner's behalf out of the accounts.
void settle(ThreadAllocator* allocator);

// The mark rises when the bytes in use are about to fall, which is when they were highest; until then the
// bytes in use themselves may be higher. So taking a block need not look at it.
inline void charge(ThreadAllocator* allocator, uint64_t bytes) { add(allocator->in_use, bytes); }

[[gnu::always_inline]] inline void discharge(ThreadAllocator* allocator, uint64_t bytes) {
  const uint64_t in_use = get(allocator->in_use);
  if (in_use > get(allocator->mark)) [[unlikely]]
    set(allocator->mark, in_use);
  set(allocator->in_use, in_use - bytes);
}

// Whether a request stays below the soft limit. If not, the interrupt function has been called.
bool within_limit(ThreadAllocator* allocator, uint64_t bytes);

}  // namespace zenthar::memory
