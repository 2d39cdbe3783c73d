// Slabs of a size class: taking and returning blocks beyond the fast path.
//
// All functions here run in the owner's thread, or under the list mutex for an orphaned allocator, except
// where one says otherwise.
#pragma once

#include "memory/structures.h"

namespace zenthar::memory {

void initialise_class(SizeClass* size_class, ThreadAllocator* owner, size_t index);

// The word before the data of a block above kLargestSmall.
inline void write_header(Block* block, const Slab* slab) {
  *reinterpret_cast<uint64_t*>(block) = reinterpret_cast<uintptr_t>(slab) | kSlabMark;
}

// Takes a block, with its header if it has one, whatever it needs: free blocks of other slabs, fresh ones, a
// new slab. Null when there is none.
Block* take_block(SizeClass* size_class);

// Gives a block back to its slab, its owner's accounts included.
void return_block(Slab* slab, Block* block);

// Puts the blocks that the class keeps at hand back on the free lists of their slabs.
void flush_recent(SizeClass* size_class);

// What follows when a slab's `used` has fallen to `wake`: a full slab has a free block again, or none is in
// use.
void wake_slab(Slab* slab);

// Queues a block for its owner; any thread. False when the owner has ended: the block is then still the
// caller's.
bool push_remote(SizeClass* size_class, Block* block);

// Takes what other threads have freed of a class.
void drain(SizeClass* size_class);
// The same on the way of a request, unless the last drain was only moments ago.
void drain_when_due(SizeClass* size_class);
// The same for all classes.
void drain_all(ThreadAllocator* allocator);

// Sets aside for the owner what other threads have freed of a class; any thread, the list mutex is held.
void set_aside(SizeClass* size_class);

// Closes the class to other threads' pushes and takes what is there; for the end of the owner.
void close_remote(SizeClass* size_class);
// Gives up all slabs without blocks in use; the blocks at hand go back to theirs first.
void release_empty_slabs(SizeClass* size_class);

}  // namespace zenthar::memory
