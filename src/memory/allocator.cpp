// Memory over malloc: every block carries its charge in a header.
#include "zenthar/memory.h"

#include <cstdlib>
#include <cstring>

uint64_t system_memory = 0;
uint64_t system_allocation_limit = ~uint64_t{0};

namespace {
constexpr size_t kHeader = 16;
thread_local uint64_t in_use = 64;
size_t& charge_of(void* p) { return *reinterpret_cast<size_t*>(static_cast<char*>(p) - kHeader); }
}  // namespace

void nomem(void) { std::exit(1); }
size_t zalloc_round(size_t size, int32_t aligned) {
  return aligned ? (size + 15) & ~size_t{15} : (size + 7) & ~size_t{7};
}
void* zalloc(size_t size, int32_t, int32_t failmode) {
  if (size == 0) return nullptr;
  char* p = size > system_allocation_limit || size + kHeader < size
                ? nullptr
                : static_cast<char*>(std::malloc(size + kHeader));
  if (!p) {
    if (failmode == 0) nomem();
    return nullptr;
  }
  charge_of(p + kHeader) = size;
  in_use += size;
  return p + kHeader;
}
void zfree(void* p) {
  if (!p) return;
  in_use -= charge_of(p);
  std::free(static_cast<char*>(p) - kHeader);
}
void* zrealloc(void* p, size_t size, int32_t aligned, int32_t failmode) {
  if (size == 0) return nullptr;
  void* moved = zalloc(size, aligned, failmode);
  if (moved && p) {
    std::memcpy(moved, p, size < charge_of(p) ? size : charge_of(p));
    zfree(p);
  }
  return moved;
}
void* kCalloc(size_t count, size_t size, int32_t aligned, int32_t failmode) {
  void* p = zalloc(count * size, aligned, failmode);
  return p ? std::memset(p, 0, count * size) : p;
}
void* Malloc_fun(size_t size) { return zalloc(size, 0, 0); }
void Free_fun(void* p) { zfree(p); }
void* RuntimeAllocate(size_t size) { return zalloc(size, 0, 1); }
void RuntimeFree(void* p) { zfree(p); }
uint64_t MemoryInUse(void) { return in_use; }
uint64_t MCinuse(void) { return in_use; }
int32_t InitializeMemory(void) { return 1; }
AllocatorList GetAllocatorList(void) { return nullptr; }
