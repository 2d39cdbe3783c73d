#include "failing_requests.h"

#include <dlfcn.h>
#include <errno.h>
#include <link.h>
#include <pthread.h>
#include <stdio.h>
#include <sys/mman.h>

#include <atomic>
#include <cstring>
#include <limits>

#include "zenthar/memory.h"

// This file is compiled without sanitizers, since it is called before they are ready; malloc's own entry
// points are theirs where there are any.
extern "C" {
#ifdef SANITIZER_HAS_MALLOC
void* __interceptor_malloc(size_t size);
void* __interceptor_calloc(size_t count, size_t size);
void* __interceptor_realloc(void* p, size_t size);
void* __interceptor_aligned_alloc(size_t alignment, size_t size);
void __interceptor_free(void* p);
#define REAL(name) __interceptor_##name
#else
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* p, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* p);
#define __libc_aligned_alloc __libc_memalign
#define REAL(name) __libc_##name
#endif
}

namespace {

constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

std::atomic<int64_t> requests{0};
std::atomic<int64_t> first_failing{kNever};
std::atomic<int64_t> last_failing{kNever};
std::atomic<bool> failed{false};

// The blocks that the library has from malloc. Who frees one cannot be told by the caller, since functions of
// other libraries end in jumps to free() too. An open hash table, without a request of its own.
class LiveBlocks {
 public:
  void add(const void* p) {
    const Lock lock(busy_);
    size_t at = home(p);
    while (slots_[at]) at = (at + 1) % kSlots;
    slots_[at] = p;
    if (++count_ > int64_t{kSlots / 2}) __builtin_trap();
  }

  void remove(const void* p) {
    const Lock lock(busy_);
    size_t at = home(p);
    while (slots_[at] != p) {
      if (!slots_[at]) return;
      at = (at + 1) % kSlots;
    }
    --count_;
    // What stands behind moves up unless it would come to stand before its home.
    for (size_t next = (at + 1) % kSlots; slots_[next]; next = (next + 1) % kSlots) {
      const size_t distance = (next - home(slots_[next])) % kSlots;
      if (distance < (next - at) % kSlots) continue;
      slots_[at] = slots_[next];
      at = next;
    }
    slots_[at] = nullptr;
  }

  int64_t count() const { return count_; }

 private:
  static constexpr size_t kSlots = 1 << 14;
  struct Lock {
    explicit Lock(std::atomic_flag& flag) : flag_(flag) {
      while (flag_.test_and_set(std::memory_order_acquire)) {
      }
    }
    ~Lock() { flag_.clear(std::memory_order_release); }
    std::atomic_flag& flag_;
  };
  static size_t home(const void* p) {
    return reinterpret_cast<uintptr_t>(p) * 0x9e3779b97f4a7c15 >> 32 & (kSlots - 1);
  }

  std::atomic_flag busy_ = ATOMIC_FLAG_INIT;
  const void* slots_[kSlots] = {};
  std::atomic<int64_t> count_{0};
};
constinit LiveBlocks live;

struct Range {
  uintptr_t begin, end;
  bool holds(const void* p) const { return reinterpret_cast<uintptr_t>(p) - begin < end - begin; }
};
Range library, program;

// The objects whose requests count: the library, and the program, since a function of the library may end in
// a jump to the allocator, which then seems to have been called by the test.
[[gnu::constructor]] void find_objects() {
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void*) {
        const bool is_program = info->dlpi_name[0] == '\0';
        if (!is_program && !std::strstr(info->dlpi_name, "libZentharRTL")) return 0;
        Range& range = is_program ? program : library;
        if (range.end) return 0;
        range.begin = std::numeric_limits<uintptr_t>::max();
        for (int i = 0; i < info->dlpi_phnum; ++i) {
          if (info->dlpi_phdr[i].p_type != PT_LOAD) continue;
          const uintptr_t at = info->dlpi_addr + info->dlpi_phdr[i].p_vaddr;
          if (at < range.begin) range.begin = at;
          if (at + info->dlpi_phdr[i].p_memsz > range.end) range.end = at + info->dlpi_phdr[i].p_memsz;
        }
        return 0;
      },
      nullptr);
}

bool counts(const void* caller) { return library.holds(caller) || program.holds(caller); }

// Whether this request is to fail.
bool fails(const void* caller) {
  if (first_failing.load(std::memory_order_relaxed) == kNever || !counts(caller)) return false;
  const int64_t number = requests.fetch_add(1);
  if (number < first_failing || number > last_failing) return false;
  failed = true;
  return true;
}

void* counted(void* p, const void* caller) {
  if (p && counts(caller)) live.add(p);
  return p;
}

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void* refuse(int32_t failmode) {
  if (failmode == 0) nomem();
  return nullptr;
}

}  // namespace

#define CALLER __builtin_return_address(0)

extern "C" {

void* malloc(size_t size) { return fails(CALLER) ? nullptr : counted(REAL(malloc)(size), CALLER); }
void* calloc(size_t count, size_t size) {
  return fails(CALLER) ? nullptr : counted(REAL(calloc)(count, size), CALLER);
}
void* aligned_alloc(size_t alignment, size_t size) {
  return fails(CALLER) ? nullptr : counted(REAL(aligned_alloc)(alignment, size), CALLER);
}
void* realloc(void* p, size_t size) {
  if (fails(CALLER)) return nullptr;
  void* moved = REAL(realloc)(p, size);
  if (moved && p) live.remove(p);
  return counted(moved, CALLER);
}
void free(void* p) {
  if (p) live.remove(p);
  REAL(free)(p);
}

void* mmap(void* address, size_t size, int protection, int flags, int file, off_t offset) noexcept {
  static const auto real = next<decltype(mmap)>("mmap");
  return fails(CALLER) ? MAP_FAILED : real(address, size, protection, flags, file, offset);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument) noexcept {
  static const auto real = next<decltype(pthread_create)>("pthread_create");
  return fails(CALLER) ? EAGAIN : real(thread, attributes, function, argument);
}
int pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) noexcept {
  static const auto real = next<decltype(pthread_key_create)>("pthread_key_create");
  return fails(CALLER) ? EAGAIN : real(key, destructor);
}
int pthread_setspecific(pthread_key_t key, const void* value) noexcept {
  static const auto real = next<decltype(pthread_setspecific)>("pthread_setspecific");
  return value && fails(CALLER) ? ENOMEM : real(key, value);
}
FILE* popen(const char* command, const char* mode) {
  static const auto real = next<decltype(popen)>("popen");
  return fails(CALLER) ? nullptr : real(command, mode);
}

void* zalloc(size_t size, int32_t aligned, int32_t failmode) {
  static const auto real = next<decltype(zalloc)>("zalloc");
  return size && fails(CALLER) ? refuse(failmode) : real(size, aligned, failmode);
}
void* kCalloc(size_t count, size_t size, int32_t aligned, int32_t failmode) {
  static const auto real = next<decltype(kCalloc)>("kCalloc");
  return fails(CALLER) ? refuse(failmode) : real(count, size, aligned, failmode);
}
void* zrealloc(void* p, size_t size, int32_t aligned, int32_t failmode) {
  static const auto real = next<decltype(zrealloc)>("zrealloc");
  return size && fails(CALLER) ? refuse(failmode) : real(p, size, aligned, failmode);
}
void* RuntimeAllocate(size_t size) {
  static const auto real = next<decltype(RuntimeAllocate)>("RuntimeAllocate");
  return fails(CALLER) ? nullptr : real(size);
}

}  // extern "C"

namespace failing_requests {

void start(int64_t n, Which which) {
  failed = false;
  requests = 0;
  last_failing = which == Which::kOne ? n : kNever;
  first_failing = n;
}

bool stop() {
  first_failing = kNever;
  return failed;
}

int64_t live_blocks() { return live.count(); }

}  // namespace failing_requests
