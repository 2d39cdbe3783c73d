// The entry points, with the fast paths in sight.
//
// Taking a small block pops the free list of the first slab of its class; freeing one of one's own pushes it
// on the list of its slab, which the address gives away. Both keep the bytes in use. Everything else (an
// empty list, a limit, blocks that other threads have freed, other threads' blocks, large blocks, memory
// checkers) is a separate function out of line.
#include "memory/allocator.h"

#include <algorithm>
#include <cstring>

#include "memory/accounting.h"
#include "memory/guard.h"
#include "memory/large.h"
#include "memory/lifecycle.h"
#include "memory/regions.h"
#include "memory/slabs.h"
#include "zenthar/memory.h"

namespace zenthar::memory {

namespace {

#define ZENTHAR_INLINE [[gnu::always_inline]] inline
#define ZENTHAR_NOINLINE [[gnu::noinline]]

void* fail(size_t size, int32_t failmode) {
  if (failmode == 0) nomem();
  if (failmode == 2) report_failed_request(size);
  return nullptr;
}

// What a request comes to: its rounded size, with header and padding where there are any.
struct Request {
  uint64_t rounded;
  bool large;
  bool wraps;
};

Request round_request(size_t size, bool aligned) {
  if (size <= kLargestSmall) return {aligned ? round_up_16(size) : round_up_8(size), false, false};
  uint64_t rounded = round_up_8(size) + (aligned ? 16 : 8);
  const bool large = rounded > kLargestClass;
  if (large) rounded += 32;
  return {rounded, large, rounded < size};
}

uint64_t* word_before(void* p) { return static_cast<uint64_t*>(p) - 1; }

// Where the data of a block above kLargestSmall begins, after its header and, when aligned, a padding word:
// such blocks are 16-aligned themselves, so the data after one word is not.
ZENTHAR_INLINE void* data_after_header(Block* block, bool aligned) {
  auto* words = reinterpret_cast<uint64_t*>(block);
  if (!aligned) return words + 1;
  words[1] = kPaddingWord;
  return words + 2;
}

// Takes a block that is at hand, or from the front slab of the class; null when something wants a second
// thought. A block with a header is linked through the word after it.
template <bool kHeader>
ZENTHAR_INLINE Block* take_fast(ThreadAllocator* allocator, size_t index) {
  SizeClass* size_class = &allocator->classes[index];
  const uint64_t in_use = get(allocator->in_use) + size_class->block_size;
  if (in_use > allocator->ceiling || allocator->remote_pending[index].load(std::memory_order_relaxed))
      [[unlikely]]
    return nullptr;
  if (Block* recent = size_class->recent) {
    set(allocator->in_use, in_use);
    size_class->recent = recent->next;
    --size_class->recent_count;
    return kHeader ? recent - 1 : recent;
  }
  Slab* slab = size_class->available;
  Block* block = slab->free;
  if (!block) [[unlikely]]
    return nullptr;
  set(allocator->in_use, in_use);
  slab->free = block->next;
  ++slab->used;
  if (kHeader) write_header(block, slab);
  return block;
}

ZENTHAR_NOINLINE void* allocate_slow(size_t size, bool aligned, int32_t failmode, bool zeroed) {
  if (size == 0) return nullptr;
  const Request request = round_request(size, aligned);
  if (request.wraps) return fail(size, failmode);
  ThreadAllocator* allocator = this_allocator();
  if (!within_limit(allocator, request.rounded) && failmode == 1) return nullptr;
  if (request.large) {
    void* data = allocate_large(allocator, request.rounded, aligned, zeroed);
    if (!data) return fail(size, failmode);
    charge(allocator, request.rounded);
    return data;
  }
  SizeClass* size_class = &allocator->classes[kClassOfSize[request.rounded / 8]];
  if (allocator->remote_pending[size_class->index].load(std::memory_order_relaxed))
    drain_when_due(size_class);
  Block* block = take_block(size_class);
  if (!block) {
    give_up_spares(allocator);
    block = take_block(size_class);
  }
  if (!block) return fail(size, failmode);
  charge(allocator, size_class->block_size);
  void* data = block;
  if (size > kLargestSmall) {
    guard::open(block, 16);
    data = data_after_header(block, aligned);
    guard::close(block, 16);
  }
  guard::hand_out(data, size);
  return data;
}

// Blocks with a header, above kLargestSmall.
ZENTHAR_NOINLINE void* allocate_medium(size_t size, bool aligned, int32_t failmode) {
  const uint64_t rounded = round_up_8(size) + (aligned ? 16 : 8);
  if (rounded <= kLargestClass && size - 1 < kLargestClass) {
    if (Block* block = take_fast<true>(fast_allocator, kClassOfSize[rounded / 8])) [[likely]]
      return data_after_header(block, aligned);
  }
  return allocate_slow(size, aligned, failmode, false);
}

ZENTHAR_INLINE void* allocate(size_t size, int32_t aligned, int32_t failmode) {
  if (size - 1 >= kLargestSmall) [[unlikely]]
    return allocate_medium(size, aligned != 0, failmode);
  const size_t eighths = aligned ? (size + 15) / 16 * 2 : (size + 7) / 8;
  if (Block* block = take_fast<false>(fast_allocator, kClassOfSize[eighths])) [[likely]]
    return block;
  return allocate_slow(size, aligned != 0, failmode, false);
}

// Keeps a block of the calling thread at hand, or puts it on the free list of its slab.
template <bool kHeader>
ZENTHAR_INLINE void free_fast(ThreadAllocator* allocator, SizeClass* size_class, Slab* slab, Block* block) {
  discharge(allocator, size_class->block_size);
  if (size_class->recent_count < size_class->recent_limit) [[likely]] {
    Block* link = kHeader ? block + 1 : block;
    link->next = size_class->recent;
    size_class->recent = link;
    ++size_class->recent_count;
    return;
  }
  block->next = slab->free;
  slab->free = block;
  if (--slab->used == slab->wake) [[unlikely]]
    wake_slab(slab);
}

ZENTHAR_INLINE bool owns(const ThreadAllocator* allocator, const SizeClass* size_class) {
  return reinterpret_cast<uintptr_t>(size_class) - reinterpret_cast<uintptr_t>(allocator->classes) <
         sizeof allocator->classes;
}

void free_orphaned(Slab* slab, Block* block) {
  const ListLock lock;
  ThreadAllocator* owner = slab->size_class->owner;
  return_block(slab, block);
  release_if_empty(owner);
}

// What a pointer leads to: a block of a class, or a large block.
struct Found {
  SizeClass* size_class;
  Slab* slab;
  Block* block;
  LargeBlock* large;
  size_t capacity;
};

// A block with a header, or a large one.
Found find_by_header(void* p) {
  uint64_t* word = word_before(p);
  guard::open(word, sizeof *word);
  const bool padded = *word & kPaddingMark;
  if (padded) guard::open(--word, sizeof *word);
  if (*word & kSlabMark) {
    auto* slab = reinterpret_cast<Slab*>(*word - kSlabMark);
    const size_t header = padded ? 16 : 8;
    guard::close(word, header);
    return {slab->size_class, slab, reinterpret_cast<Block*>(word), nullptr,
            slab->size_class->block_size - header};
  }
  auto* large = reinterpret_cast<LargeBlock*>(word + 1) - 1;
  return {nullptr, nullptr, nullptr, large, large->size - (padded ? kAlignedLargeHeader : kLargeHeader)};
}

Found find(void* p) {
  if (in_region(p)) {
    Region* region = region_of(p);
    if (SizeClass* size_class = region->small_class[chunk_of(p)])
      return {size_class, &region->slabs[chunk_of(p)], static_cast<Block*>(p), nullptr,
              kClassSizes[size_class->index]};
  }
  return find_by_header(p);
}

ZENTHAR_NOINLINE void free_slow(void* p) {
  if (!p) return;
  guard::touch(p);
  const Found found = find(p);
  if (found.large) {
    free_large(current_allocator, found.large);
    return;
  }
  guard::take_back(p);
  if (guard::watching()) guard::close(found.block, found.slab->stride);
  if (found.size_class->owner == current_allocator) {
    return_block(found.slab, found.block);
  } else if (!push_remote(found.size_class, found.block)) {
    free_orphaned(found.slab, found.block);
  }
}

ZENTHAR_NOINLINE void free_medium(void* p) {
  if (p && !guard::watching()) {
    const Found found = find_by_header(p);
    if (found.size_class && owns(fast_allocator, found.size_class)) [[likely]] {
      free_fast<true>(fast_allocator, found.size_class, found.slab, found.block);
      return;
    }
  }
  free_slow(p);
}

ZENTHAR_INLINE void free_block(void* p) {
  if (in_region(p)) [[likely]] {
    Region* region = region_of(p);
    const size_t chunk = chunk_of(p);
    SizeClass* size_class = region->small_class[chunk];
    ThreadAllocator* allocator = fast_allocator;
    if (owns(allocator, size_class)) [[likely]] {
      free_fast<false>(allocator, size_class, &region->slabs[chunk], static_cast<Block*>(p));
      return;
    }
    if (size_class) {
      free_slow(p);
      return;
    }
  }
  free_medium(p);
}

void* allocate_zeroed(size_t size, int32_t aligned, int32_t failmode) {
  if (size > kLargestClass) return allocate_slow(size, aligned != 0, failmode, true);
  void* p = allocate(size, aligned, failmode);
  return p ? std::memset(p, 0, size) : p;
}

bool misaligned(const void* p) { return reinterpret_cast<uintptr_t>(p) % 16 != 0; }

// Grows or shrinks a large block by the system's means, which can move pages instead of copying. The accounts
// see what a new block beside the old one would have shown them.
void* reallocate_large(LargeBlock* block, const Request& request, size_t size, bool aligned,
                       int32_t failmode) {
  ThreadAllocator* allocator = current_allocator;
  if (!within_limit(allocator, request.rounded) && failmode == 1) return nullptr;
  const uint64_t old_size = block->size;
  void* moved = resize_large(allocator, block, request.rounded, aligned);
  if (!moved) return fail(size, failmode);
  charge(allocator, request.rounded);
  discharge(allocator, old_size);
  return moved;
}

void* reallocate(void* p, size_t size, int32_t aligned, int32_t failmode) {
  if (!p) return allocate(size, aligned, failmode);
  if (size == 0) return nullptr;
  const Found found = find(p);
  const bool realign = aligned && misaligned(p);
  if (size <= found.capacity && found.capacity - size <= size && !realign) {
    if (!found.large) guard::resize(p, found.capacity, size);
    return p;
  }
  const Request request = round_request(size, aligned != 0);
  if (found.large && request.large && !request.wraps && found.large->owner == current_allocator &&
      !misaligned(p) == (aligned != 0))
    return reallocate_large(found.large, request, size, aligned != 0, failmode);
  void* moved = allocate(size, aligned, failmode);
  if (!moved) return nullptr;
  if (!found.large) guard::open(p, found.capacity);
  std::memcpy(moved, p, std::min(size, found.capacity));
  free_block(p);
  return moved;
}

}  // namespace

}  // namespace zenthar::memory

namespace memory = zenthar::memory;

void* zalloc(size_t size, int32_t aligned, int32_t failmode) {
  return memory::allocate(size, aligned, failmode);
}
void zfree(void* p) { memory::free_block(p); }
void* zrealloc(void* p, size_t size, int32_t aligned, int32_t failmode) {
  return memory::reallocate(p, size, aligned, failmode);
}
void* kCalloc(size_t count, size_t size, int32_t aligned, int32_t failmode) {
  return memory::allocate_zeroed(count * size, aligned, failmode);
}

size_t zalloc_round(size_t size, int32_t aligned) {
  if (size == 0) return 0;
  const size_t rounded = memory::round_up_8(size);
  if (rounded >= memory::kLargestClass - 8)
    return rounded + (aligned ? memory::kAlignedLargeHeader : memory::kLargeHeader);
  const size_t request = rounded > memory::kLargestSmall ? rounded + (aligned ? 16 : 8)
                         : aligned                       ? memory::round_up_16(rounded)
                                                         : rounded;
  return memory::kClassSizes[memory::kClassOfSize[request / 8]];
}

void* Malloc_fun(size_t size) { return memory::allocate(size, 0, 0); }
void* MallocAligned_fun(size_t size) { return memory::allocate(size, 1, 0); }
void* MallocAlign16_fun(size_t size) { return memory::allocate(size, 1, 0); }
void* Calloc_fun(size_t count, size_t size) { return memory::allocate_zeroed(count * size, 0, 0); }
void* CallocAligned_fun(size_t count, size_t size) { return memory::allocate_zeroed(count * size, 1, 0); }
void* CallocAlign16_fun(size_t count, size_t size) { return memory::allocate_zeroed(count * size, 1, 0); }
void* Realloc_fun(void* p, size_t size) { return memory::reallocate(p, size, 0, 0); }
void* ReallocAligned_fun(void* p, size_t size) { return memory::reallocate(p, size, 1, 0); }
void Free_fun(void* p) { memory::free_block(p); }
void* Malloc_fun_for_gmp(size_t size) { return memory::allocate(size, 0, 0); }
void* Realloc_fun_for_gmp(void* p, size_t, size_t new_size) { return memory::reallocate(p, new_size, 0, 0); }
void Free_fun_for_gmp(void* p, size_t) { memory::free_block(p); }
void* RuntimeAllocate(size_t size) { return memory::allocate(size, 0, 1); }
void* RuntimeAllocateAligned(size_t size) { return memory::allocate(size, 1, 1); }
void* RuntimeCallocate(size_t count, size_t size) { return memory::allocate_zeroed(count * size, 0, 1); }
void* RuntimeCallocateAligned(size_t count, size_t size) {
  return memory::allocate_zeroed(count * size, 1, 1);
}
void* RuntimeReallocate(void* p, size_t size) { return memory::reallocate(p, size, 0, 1); }
void* RuntimeReallocateAligned(void* p, size_t size) { return memory::reallocate(p, size, 1, 1); }
void RuntimeFree(void* p) { memory::free_block(p); }
