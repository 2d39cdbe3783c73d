// Large blocks: straight from malloc; some that were freed are kept at hand.
#pragma once

#include "memory/structures.h"

namespace zenthar::memory {

// @param charge bytes to take from malloc, the header (and padding word when `aligned`) included
void* allocate_large(ThreadAllocator* allocator, uint64_t charge, bool aligned, bool zeroed);
// Gives a large block of the calling thread another size; the block moves if it must. Null leaves it as it
// is.
void* resize_large(ThreadAllocator* allocator, LargeBlock* block, uint64_t charge, bool aligned);
// Frees a large block of any thread. `allocator` is the calling thread's, or null when it has none.
void free_large(ThreadAllocator* allocator, LargeBlock* block);
// Frees what other threads have freed, if the calling thread owns the allocator, and takes it out of the
// accounts.
void release_pending_large(ThreadAllocator* allocator);
// The same on behalf of a running owner; any thread.
void set_aside_large(ThreadAllocator* allocator);
// Takes out of the accounts what was freed on the owner's behalf.
void settle_large(ThreadAllocator* allocator);
// Gives the blocks kept at hand back to the system.
void release_kept(ThreadAllocator* allocator);

}  // namespace zenthar::memory
