// What the address sanitizer and valgrind are told about blocks.
//
// Memory of a slab that is free or was never handed out is closed to everybody; handing a block out opens
// exactly the bytes asked for. Both tools then report a use after free or an overflow of a library block like
// one of malloc's. While one of them watches, blocks stand apart by a closed zone, and every request takes
// the slow paths, so that the fast ones carry none of this.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define ZENTHAR_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZENTHAR_ASAN 1
#endif
#endif

#ifdef ZENTHAR_ASAN
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#endif
#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define ZENTHAR_VALGRIND 1
#endif

namespace zenthar::memory::guard {

#if defined(ZENTHAR_ASAN)

inline bool watching() { return true; }
inline void map_region(void* p, size_t size) { __lsan_register_root_region(p, size); }
inline void unmap_region(void* p, size_t size) {
  __lsan_unregister_root_region(p, size);
  ASAN_UNPOISON_MEMORY_REGION(p, size);
}
inline void close(void* p, size_t size) { ASAN_POISON_MEMORY_REGION(p, size); }
inline void open(void* p, size_t size) { ASAN_UNPOISON_MEMORY_REGION(p, size); }
inline void hand_out(void* p, size_t size) { ASAN_UNPOISON_MEMORY_REGION(p, size); }
inline void take_back(void*) {}

#elif defined(ZENTHAR_VALGRIND)

inline bool watching() {
  static const bool on_valgrind = RUNNING_ON_VALGRIND;
  return on_valgrind;
}
inline void map_region(void*, size_t) {}
inline void unmap_region(void*, size_t) {}
inline void close(void* p, size_t size) {
  if (watching()) (void)VALGRIND_MAKE_MEM_NOACCESS(p, size);
}
inline void open(void* p, size_t size) {
  if (watching()) (void)VALGRIND_MAKE_MEM_DEFINED(p, size);
}
inline void hand_out(void* p, size_t size) {
  if (watching()) VALGRIND_MALLOCLIKE_BLOCK(p, size, 0, 0);
}
inline void take_back(void* p) {
  if (watching()) VALGRIND_FREELIKE_BLOCK(p, 0);
}

#else

inline bool watching() { return false; }
inline void map_region(void*, size_t) {}
inline void unmap_region(void*, size_t) {}
inline void close(void*, size_t) {}
inline void open(void*, size_t) {}
inline void hand_out(void*, size_t) {}
inline void take_back(void*) {}

#endif

// Changes the bytes that are open in a block of some capacity.
inline void resize(void* p, size_t capacity, size_t size) {
  close(p, capacity);
  open(p, size);
}

// Touches a block that is about to be freed, so that a second free is reported.
inline void touch(void* p) {
  if (watching()) (void)*static_cast<volatile char*>(p);
}

// The closed zone after each block while a tool watches.
inline size_t zone() { return watching() ? 16 : 0; }

}  // namespace zenthar::memory::guard
