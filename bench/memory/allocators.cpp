// Finding the peers, and proof that a pointer obtained for an allocator really leads to that allocator: a
// peer that quietly handed its requests to glibc would make the comparison worthless.
#include "memory/allocators.h"

#include <dlfcn.h>
#include <link.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "zenthar/zenthar.h"

namespace zenthar::bench {
namespace {

struct Peer {
  const char* name;
  const char* soname;
  const char* package;
};

constexpr Peer kPeers[] = {
    {"glibc", "libc.so.6", "libc6"},
    {"mimalloc", "libmimalloc.so.2", "libmimalloc2.0"},
    {"jemalloc", "libjemalloc.so.2", "libjemalloc2"},
    {"tcmalloc", "libtcmalloc_minimal.so.4", "libtcmalloc-minimal4"},
};

// The shared object that holds `address`, or an empty name.
Dl_info object_of(const void* address) {
  Dl_info info{};
  if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) info.dli_fname = "";
  return info;
}

template <typename Function>
const void* address_of(Function* function) {
  return reinterpret_cast<const void*>(function);
}

// All three functions lie in the object loaded at `base`.
bool lies_in(const Allocator& allocator, const void* base) {
  for (const void* address :
       {address_of(allocator.allocate), address_of(allocator.release), address_of(allocator.reallocate)})
    if (object_of(address).dli_fbase != base) return false;
  return true;
}

size_t glibc_bytes_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// Asks for blocks of several sizes, grows each, checks the contents and frees them all.
// Returns how far glibc's bytes in use rose at the peak, or -1 when a block was wrong.
int64_t glibc_growth_during_use(const Allocator& allocator) {
  constexpr size_t kSizes[] = {16, 1000, 20000, 300000};
  constexpr size_t kBlocks = 16;
  constexpr size_t kCount = std::size(kSizes) * kBlocks;
  unsigned char* blocks[kCount];
  const size_t before = glibc_bytes_in_use();
  for (size_t i = 0; i < kCount; ++i) {
    const size_t size = kSizes[i / kBlocks];
    blocks[i] = static_cast<unsigned char*>(allocator.allocate(size, 0, 1));
    if (blocks[i] == nullptr) return -1;
    std::memset(blocks[i], static_cast<int>(i), size);
  }
  bool intact = true;
  for (size_t i = 0; i < kCount; ++i) {
    const size_t size = kSizes[i / kBlocks];
    blocks[i] = static_cast<unsigned char*>(allocator.reallocate(blocks[i], 3 * size, 0, 1));
    if (blocks[i] == nullptr) return -1;
    intact = intact && blocks[i][0] == i % 256 && blocks[i][size - 1] == i % 256;
  }
  const size_t peak = glibc_bytes_in_use();
  for (unsigned char* block : blocks) allocator.release(block);
  return intact ? static_cast<int64_t>(peak > before ? peak - before : 0) : -1;
}

// Whether the allocator gives usable blocks and, for a peer, serves them from its own memory. Tried out in a
// child, so that the parent's heaps stay untouched. An empty text means yes, else the reason.
std::string find_fault(const Allocator& allocator, bool may_use_glibc) {
  enum Verdict { kSound, kWrongBlock, kUsesGlibc };
  const pid_t child = fork();
  if (child < 0) return "no process to try it in";
  if (child == 0) {
    const int64_t growth = glibc_growth_during_use(allocator);
    // Some bytes for the peer's own strings are no concern; the blocks themselves add up to 15 million.
    _exit(growth < 0 ? kWrongBlock : growth > 65536 && !may_use_glibc ? kUsesGlibc : kSound);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) return "lost the process that tried it";
  if (WIFSIGNALED(status)) return "ended by signal " + std::to_string(WTERMSIG(status)) + " on first use";
  switch (WEXITSTATUS(status)) {
    case kSound:
      return "";
    case kUsesGlibc:
      return "its requests end up in glibc's heap";
    default:
      return "gave a wrong block";
  }
}

Allocator load_library() {
  Allocator library{"zenthar", object_of(address_of(&zalloc)).dli_fname, &zalloc, &zfree, &zrealloc};
  if (library.file.find("libZentharRTL") == std::string::npos ||
      !lies_in(library, object_of(address_of(&GetAllocatorList)).dli_fbase))
    throw std::runtime_error("zalloc, zfree and zrealloc do not come from the library but from " +
                             library.file);
  const std::string fault = find_fault(library, true);
  if (!fault.empty()) throw std::runtime_error("the library's allocator: " + fault);
  return library;
}

// Loads one peer; an empty text means `allocator` is filled in, else the reason why it is left out.
std::string load_peer(const Peer& peer, Allocator& allocator) {
  void* handle = dlopen(peer.soname, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
  if (handle == nullptr) return std::string(dlerror()) + " (package " + peer.package + ")";
  link_map* object = nullptr;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &object) != 0) return dlerror();
  allocator.name = peer.name;
  allocator.file = object->l_name;
  allocator.allocate = reinterpret_cast<decltype(allocator.allocate)>(dlsym(handle, "malloc"));
  allocator.release = reinterpret_cast<decltype(allocator.release)>(dlsym(handle, "free"));
  allocator.reallocate = reinterpret_cast<decltype(allocator.reallocate)>(dlsym(handle, "realloc"));
  if (allocator.allocate == nullptr || allocator.release == nullptr || allocator.reallocate == nullptr)
    return "has no malloc, free or realloc";
  if (!lies_in(allocator, object_of(object->l_ld).dli_fbase))
    return "its malloc, free and realloc come from another object";
  return find_fault(allocator, allocator.file.find("libc.so") != std::string::npos);
}

// Adds `setting` to a variable that is a list; true when it was not there.
bool add_to_environment(const char* variable, const std::string& setting, char separator) {
  const char* present = std::getenv(variable);
  if (present != nullptr && std::strstr(present, setting.c_str()) != nullptr) return false;
  const std::string value = present == nullptr ? setting : std::string(present) + separator + setting;
  setenv(variable, value.c_str(), 1);
  return true;
}

}  // namespace

void ensure_loader_environment(char** arguments) {
  const bool room_was_missing =
      add_to_environment("GLIBC_TUNABLES", "glibc.rtld.optional_static_tls=32768", ':');
  const bool break_was_shared = std::getenv("TCMALLOC_SKIP_SBRK") == nullptr;
  if (!room_was_missing && !break_was_shared) return;
  setenv("TCMALLOC_SKIP_SBRK", "1", 1);
  execv("/proc/self/exe", arguments);
  throw std::runtime_error("cannot start the program anew with room for the peers' thread-local data");
}

std::vector<Allocator> load_allocators(std::vector<std::string>& notes) {
  std::vector<Allocator> allocators{load_library()};
  for (const Peer& peer : kPeers) {
    Allocator allocator{};
    const std::string reason = load_peer(peer, allocator);
    if (reason.empty())
      allocators.push_back(std::move(allocator));
    else
      notes.push_back(std::string(peer.name) + " is left out: " + reason);
  }
  return allocators;
}

}  // namespace zenthar::bench
