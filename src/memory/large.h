// Large blocks: straight from malloc, listed by their owner.
#pragma once

#include "memory/structures.h"

namespace zenthar::memory {

// @param charge bytes to take from malloc, the header (and padding word when `aligned`) included
void* allocate_large(ThreadAllocator* allocator, uint64_t charge, bool aligned, bool zeroed);
// Gives a large block of the calling thread another size, moving it by the system's means.
void* resize_large(ThreadAllocator* allocator, LargeBlock* block, uint64_t charge, bool aligned);
// Frees a large block of any thread. `allocator` is the calling thread's, or null when it has none.
void free_large(ThreadAllocator* allocator, LargeBlock* block);
// Releases what other threads have freed. @return the bytes
uint64_t release_pending_large(ThreadAllocator* allocator);

}  // namespace zenthar::memory
