// The nouns of the allocator.
//
//   region     4 MiB of address space, aligned to its size: 64 chunks. Chunk 0 holds the region's own
//              record, with one slab descriptor per chunk, so that the descriptor of an address follows by
//              arithmetic.
//   chunk      64 KiB. A run of neighbouring chunks makes the memory of one slab.
//   slab       blocks of one size class, owned by one thread's allocator.
//   block      what a request gets. While free it holds the link to the next free block of its slab.
//   size class of one allocator: its slabs with free blocks, and the blocks that other threads have freed.
//   allocator  of one thread: the size classes, the large blocks, the accounts.
//
// Who may touch what: an allocator's classes, slabs and accounts belong to its thread; other threads push
// freed blocks on a class's `remote` list without a lock. An allocator whose thread has ended while blocks
// were alive is orphaned: it then belongs to whoever holds the list mutex. Accounts are read by other
// threads, so they are atomic words that only their owner writes, with plain moves.
//
// Lock order: list mutex, then an allocator's mutex, then the region mutex.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "memory/size_classes.h"
#include "zenthar/memory.h"

namespace zenthar::memory {

using ThreadAllocator = ::st_ThreadAllocator;
struct SizeClass;

struct Block {
  Block* next;
};

// A chain of blocks and their number in one word, so that one atomic operation changes both. The number stops
// at its largest value, which then means that or more.
class Chain {
 public:
  static constexpr uint64_t kMany = 0xffff;

  constexpr Chain() = default;
  explicit constexpr Chain(uint64_t word) : word_(word) {}
  Chain(Block* first, uint64_t count)
      : word_(reinterpret_cast<uintptr_t>(first) | (count < kMany ? count : kMany) << 48) {}

  Block* first() const { return reinterpret_cast<Block*>(word_ & 0xffffffffffff); }
  uint64_t count() const { return word_ >> 48; }
  constexpr uint64_t word() const { return word_; }

 private:
  uint64_t word_ = 0;
};

struct Slab {
  Block* free;    // free blocks, most recently freed first
  uint32_t used;  // blocks handed out and not yet back on `free`
  uint32_t wake;  // freeing calls the slow path when `used` falls to this: 0, or blocks - 1 for a full slab
  SizeClass* size_class;
  Slab* next;  // ring of the class's slabs with free blocks
  Slab* previous;
  char* base;
  uint32_t carved;  // blocks that have been on `free` at least once
  uint32_t blocks;
  uint32_t stride;  // from block to block
  uint32_t chunks;
};
static_assert(sizeof(Slab) == kDescriptorSize);

extern Slab no_slab;  // stands for none: it never has a free block

// The word before a block of a class above kLargestSmall is its slab's address plus 1; before a large block
// it is the block's size. Either may be followed by a padding word.
inline constexpr uint64_t kSlabMark = 1;
inline constexpr uint64_t kPaddingMark = 2;
inline constexpr uint64_t kPaddingWord = 8 | kPaddingMark;

// A class's first cache line is its owner's alone; what other threads look at and push on is in the second.
struct alignas(128) SizeClass {
  Block* recent;  // blocks freed last by the owner: the first to be handed out again, still in the caches
  uint32_t recent_count;
  uint32_t recent_limit;
  Slab* available = &no_slab;  // ring of slabs with free blocks
  Slab* cached;                // the slab that was empty last: kept while it stays so
  uint32_t block_size;
  uint32_t slabs;       // owned
  Chain returned;       // freed by other threads and taken over as they were: at hand behind `recent`
  uint64_t drained_at;  // time stamp of the last drain

  // A Chain freed by other threads; closed when the owner has ended.
  alignas(64) std::atomic<uint64_t> remote;
  ThreadAllocator* owner;
  KMutex mutex;          // the owner's mutex; guards `aside`
  Block* aside;          // taken off `remote` by CompactifyMemory(), waiting for the owner
  uint32_t index;        // of the class
  uint32_t slab_chunks;  // a slab's memory, in chunks
};
static_assert(offsetof(SizeClass, remote) == 64);

struct LargeBlock {
  LargeBlock* self;
  LargeBlock* previous;  // not used: null
  LargeBlock* next;      // while pending, the next of the pending blocks
  ThreadAllocator* owner;
  uint64_t size;  // charged bytes, header included
};
static_assert(sizeof(LargeBlock) == kLargeHeader);

// Freed large blocks that their owner keeps at hand, in bins of capacity, four to a doubling. While kept, a
// block's `size` is its capacity and `next` the block of the bin that was freed before it.
struct KeptBlocks {
  static constexpr uint32_t kBins = 48;

  uint64_t filled;  // a bit for each bin that is not empty
  uint64_t bytes;   // of all capacities
  uint32_t evict;   // the bin that gives up its last block next
  LargeBlock* bins[kBins];
};

using Account = std::atomic<uint64_t>;

inline uint64_t get(const Account& account) { return account.load(std::memory_order_relaxed); }
inline void set(Account& account, uint64_t value) { account.store(value, std::memory_order_relaxed); }
inline void add(Account& account, uint64_t value) { set(account, get(account) + value); }

}  // namespace zenthar::memory

// One thread's allocator, in the global list.
struct st_ThreadAllocator {
  zenthar::memory::SizeClass classes[zenthar::memory::kClassCount + 1];
  st_ThreadAllocator* previous;
  st_ThreadAllocator* next;
  zenthar::memory::LargeBlock* pending_large;  // freed by other threads; guarded by `mutex`
  const uint8_t* class_of_size;
  KMutex mutex;
  uint64_t largest_class;
  zenthar::memory::Account slab_bytes;  // capacity of all slabs; what of it is not in use is held free
  zenthar::memory::Account in_use;
  zenthar::memory::Account mark;   // high-water mark, brought up to date when `in_use` falls
  zenthar::memory::Account limit;  // 0 for none
  uint64_t ceiling;                // the fast path stops to think above this: the limit, or all ones
  uint64_t class_count;
  uint64_t thread;
  uint8_t main;
  std::atomic<uint8_t> orphaned;
  std::atomic<uint8_t> large_pending;  // a hint that `pending_large` is not empty
  uint64_t slabs;                      // owned, of all classes
  uint64_t large_blocks;               // alive, and the bytes they are charged
  zenthar::memory::Account large_bytes;
  zenthar::memory::Account interrupt_bytes;  // of the request that the interrupt function is called about
  // What CompactifyMemory() freed on the owner's behalf and the owner has not yet taken out of `in_use`.
  zenthar::memory::Account aside_bytes;        // in the `aside` lists
  zenthar::memory::Account aside_large_bytes;  // of large blocks
  zenthar::memory::Account aside_large_blocks;
  zenthar::memory::KeptBlocks kept;
  // Per class: not 0 when `remote` or `aside` wants the owner's attention.
  alignas(64) std::atomic<uint8_t> remote_pending[zenthar::memory::kClassCount + 1];
};
