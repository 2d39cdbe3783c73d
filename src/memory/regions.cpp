// Regions of 4 MiB from the system, their chunks, and the page map.
//
// Free chunks are taken from the region that has had some for the longest time, so that the youngest regions
// fall empty and go back to the system. Some empty regions are kept: a program that frees everything and
// starts anew would otherwise pay for fresh pages each time.
#include "memory/regions.h"

#include <pthread.h>
#include <sys/mman.h>

#include <bit>
#include <cstdlib>
#include <cstring>

#include "memory/guard.h"
#include "memory/lifecycle.h"

namespace zenthar::memory {

uint64_t region_map[(size_t{1} << (kAddressBits - kRegionShift)) / 64];

namespace {

constexpr uint64_t kAllChunks = ~uint64_t{1};  // chunk 0 is the region's own
constexpr size_t kSmallPages = 4;              // so many first regions get by without huge pages
constexpr size_t kKeptRegions = 16;            // empty regions that are kept, beside half of all

pthread_mutex_t region_mutex = PTHREAD_MUTEX_INITIALIZER;
Region* partly_free = nullptr;  // ring of the regions with free chunks, oldest first
size_t region_count = 0;
size_t empty_count = 0;
char* next_hint = nullptr;

struct RegionLock {
  RegionLock() { lock_regions(); }
  ~RegionLock() { unlock_regions(); }
  RegionLock(const RegionLock&) = delete;
  RegionLock& operator=(const RegionLock&) = delete;
};

void mark_region(Region* region, bool mapped) {
  const auto address = reinterpret_cast<uintptr_t>(region);
  uint64_t* word = &region_map[address >> (kRegionShift + 6)];
  const uint64_t bit = uint64_t{1} << ((address >> kRegionShift) & 63);
  __atomic_store_n(word, mapped ? *word | bit : *word & ~bit, __ATOMIC_RELAXED);
}

void list_region(Region* region) {
  if (region->listed) return;
  region->listed = true;
  if (partly_free) {
    region->next = partly_free;
    region->previous = partly_free->previous;
    region->previous->next = region;
    partly_free->previous = region;
  } else {
    partly_free = region->next = region->previous = region;
  }
}

void unlist_region(Region* region) {
  if (!region->listed) return;
  region->listed = false;
  if (region->next == region) {
    partly_free = nullptr;
  } else {
    region->previous->next = region->next;
    region->next->previous = region->previous;
    if (partly_free == region) partly_free = region->next;
  }
}

char* map(char* hint, size_t size) {
  void* p = mmap(hint, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return p == MAP_FAILED ? nullptr : static_cast<char*>(p);
}

bool aligned(const char* p) { return reinterpret_cast<uintptr_t>(p) % kRegionSize == 0; }

// Maps region-aligned memory: beside the last region if that is free, else by cutting a larger piece to size.
char* map_aligned() {
  if (next_hint) {
    char* p = map(next_hint, kRegionSize);
    if (!p) return nullptr;
    if (aligned(p)) return p;
    munmap(p, kRegionSize);
  }
  char* p = map(nullptr, 2 * kRegionSize);
  if (!p) return nullptr;
  const size_t before = (kRegionSize - reinterpret_cast<uintptr_t>(p) % kRegionSize) % kRegionSize;
  if (before) munmap(p, before);
  munmap(p + before + kRegionSize, kRegionSize - before);
  return p + before;
}

Region* new_region() {
  char* memory = map_aligned();
  if (!memory) return nullptr;
  if (reinterpret_cast<uintptr_t>(memory) >> kAddressBits) {
    munmap(memory, kRegionSize);
    return nullptr;
  }
  next_hint = memory - kRegionSize;
  // Many objects spread over many pages: huge ones save most of the misses of the address translation.
  if (region_count >= kSmallPages && !guard::watching()) madvise(memory, kRegionSize, MADV_HUGEPAGE);
  auto* region = reinterpret_cast<Region*>(memory);
  region->free_chunks = kAllChunks;
  guard::map_region(memory, kRegionSize);
  guard::close(memory + sizeof(Region), kRegionSize - sizeof(Region));
  mark_region(region, true);
  list_region(region);
  ++region_count;
  ++empty_count;
  return region;
}

void delete_region(Region* region) {
  if (region->free_chunks == kAllChunks) --empty_count;
  unlist_region(region);
  mark_region(region, false);
  --region_count;
  guard::unmap_region(region, kRegionSize);
  munmap(region, kRegionSize);
}

// Bits at which a run of `count` set bits begins.
uint64_t runs_of(uint64_t bits, uint32_t count) {
  for (uint32_t i = 1; i < count && bits; ++i) bits &= bits >> 1;
  return bits;
}

uint64_t run_mask(size_t first, uint32_t count) { return ((uint64_t{1} << count) - 1) << first; }

Region* region_with_run(uint32_t count) {
  if (Region* region = partly_free) {
    do {
      if (runs_of(region->free_chunks, count)) return region;
      region = region->next;
    } while (region != partly_free);
  }
  return new_region();
}

// The way down the page map to the word of a page; makes the tables that are missing.
void** page_entry(const char* page) {
  constexpr size_t kEntries = 4096;
  AllocatorList list = allocator_list.load(std::memory_order_relaxed);
  const uintptr_t number = reinterpret_cast<uintptr_t>(page) >> kPageShift;
  void*** middle = list->page_map[number >> 24];
  if (!middle) {
    middle = static_cast<void***>(std::calloc(kEntries, sizeof(void**)));
    if (!middle) return nullptr;
    list->page_map[number >> 24] = middle;
    list->bookkeeping_bytes += kEntries * sizeof(void**);
  }
  void** leaf = middle[(number >> 12) & (kEntries - 1)];
  if (!leaf) {
    leaf = static_cast<void**>(std::calloc(kEntries, sizeof(void*)));
    if (!leaf) return nullptr;
    middle[(number >> 12) & (kEntries - 1)] = leaf;
    list->bookkeeping_bytes += kEntries * sizeof(void*);
  }
  return &leaf[number & (kEntries - 1)];
}

// A chunk never straddles two leaves of the map, so its pages' words are neighbours.
bool write_page_map(const Slab* slab, void* value) {
  void** entry = page_entry(slab->base);
  if (!entry) return false;
  for (size_t i = 0; i < kChunkSize >> kPageShift; ++i) entry[i] = value;
  return true;
}

void purge_region(Region* region) {
  while (region->dirty_chunks) {
    const int first = std::countr_zero(region->dirty_chunks);
    const int count = std::countr_one(region->dirty_chunks >> first);
    madvise(reinterpret_cast<char*>(region) + size_t(first) * kChunkSize, size_t(count) * kChunkSize,
            MADV_DONTNEED);
    region->dirty_chunks &= ~run_mask(size_t(first), uint32_t(count));
  }
}

}  // namespace

void lock_regions() { pthread_mutex_lock(&region_mutex); }
void unlock_regions() { pthread_mutex_unlock(&region_mutex); }

Slab* take_chunks(uint32_t count) {
  const RegionLock lock;
  Region* region = region_with_run(count);
  if (!region) return nullptr;
  const uint64_t candidates = runs_of(region->free_chunks, count);
  const size_t first = size_t(std::countr_zero(candidates));
  if (region->free_chunks == kAllChunks) --empty_count;
  region->free_chunks &= ~run_mask(first, count);
  region->dirty_chunks &= ~run_mask(first, count);
  if (!region->free_chunks) unlist_region(region);
  Slab* slab = &region->slabs[first];
  slab->base = reinterpret_cast<char*>(region) + first * kChunkSize;
  slab->chunks = count;
  return slab;
}

void give_chunks(Slab* slab) {
  const RegionLock lock;
  Region* region = region_of(slab);
  const size_t first = chunk_of(slab->base);
  if (region->small_class[first]) {
    region->small_class[first] = nullptr;
    write_page_map(slab, nullptr);
  }
  guard::close(slab->base, slab->chunks * kChunkSize);
  region->free_chunks |= run_mask(first, slab->chunks);
  region->dirty_chunks |= run_mask(first, slab->chunks);
  list_region(region);
  if (region->free_chunks == kAllChunks && ++empty_count > kKeptRegions + region_count / 2)
    delete_region(region);
}

bool enter_slab(Slab* slab) {
  const RegionLock lock;
  if (!write_page_map(slab, slab)) return false;
  region_of(slab)->small_class[chunk_of(slab->base)] = slab->size_class;
  return true;
}

void purge_chunks() {
  const RegionLock lock;
  if (!partly_free) return;
  size_t count = 1;
  for (const Region* region = partly_free; region->next != partly_free; region = region->next) ++count;
  for (Region* region = partly_free; count > 0; --count) {
    Region* next = region->next;
    if (region->free_chunks == kAllChunks) {
      delete_region(region);
    } else {
      purge_region(region);
    }
    region = next;
  }
}

void release_regions() {
  const RegionLock lock;
  while (partly_free) delete_region(partly_free);
  next_hint = nullptr;
  AllocatorList list = allocator_list.load(std::memory_order_relaxed);
  constexpr size_t kRootEntries = size_t{1} << (24 - kPageShift);
  for (size_t i = 0; i < kRootEntries; ++i) {
    void*** middle = list->page_map[i];
    for (size_t j = 0; middle && j < 4096; ++j) std::free(middle[j]);
    std::free(middle);
  }
}

}  // namespace zenthar::memory
