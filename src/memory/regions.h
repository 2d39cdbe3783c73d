// Regions: where slabs live, and how the slab of an address is found.
#pragma once

#include <cstddef>
#include <cstdint>

#include "memory/structures.h"

namespace zenthar::memory {

inline constexpr size_t kRegionShift = 22;
inline constexpr size_t kRegionSize = size_t{1} << kRegionShift;
inline constexpr size_t kChunkShift = 16;
inline constexpr size_t kChunksPerRegion = kRegionSize / kChunkSize;
inline constexpr size_t kAddressBits =
    47;  // user addresses of x86-64 Linux, unless larger ones are asked for

// The record in chunk 0 of a region. Chunks of slabs of small blocks name their class here, all others null:
// a thread that frees another's block reads only this table, not the slab that its owner is working on.
struct Region {
  SizeClass* small_class[kChunksPerRegion];
  Slab slabs[kChunksPerRegion];  // descriptor of the slab that begins in the chunk
  uint64_t free_chunks;          // bit per chunk
  uint64_t dirty_chunks;         // free chunks that hold memory of the system
  Region* next;                  // of the regions with free chunks
  Region* previous;
  bool listed;
};
static_assert(sizeof(Region) <= kChunkSize && kChunksPerRegion == 64);

// Which addresses lie in regions: a bit per region-sized piece of the address space.
extern uint64_t region_map[(size_t{1} << (kAddressBits - kRegionShift)) / 64];

inline bool in_region(const void* p) {
  const auto address = reinterpret_cast<uintptr_t>(p);
  const uint64_t word = __atomic_load_n(&region_map[address >> (kRegionShift + 6)], __ATOMIC_RELAXED);
  return (word >> ((address >> kRegionShift) & 63)) & 1;
}

inline Region* region_of(const void* p) {
  return reinterpret_cast<Region*>(reinterpret_cast<uintptr_t>(p) & ~(kRegionSize - 1));
}

inline size_t chunk_of(const void* p) {
  return (reinterpret_cast<uintptr_t>(p) >> kChunkShift) & (kChunksPerRegion - 1);
}

// Takes a run of neighbouring chunks. @return their slab's descriptor with base and chunks set, or null.
Slab* take_chunks(uint32_t count);
// Gives a slab's chunks back.
void give_chunks(Slab* slab);
// Enters a slab of small blocks in the table of its region and in the page map; false when the map cannot
// grow.
bool enter_slab(Slab* slab);
// Gives the memory of free chunks back to the system.
void purge_chunks();
// Unmaps every region and frees the page map. No slab may be left.
void release_regions();

// Around fork(), so that the child finds the regions whole.
void lock_regions();
void unlock_regions();

}  // namespace zenthar::memory
