// The exported checks: each call goes through a pointer to the kernel of this processor.
//
// The pointer starts at a function that chooses, so a call from another library's constructor, before ours
// has run, works too.
#include <atomic>

#include "hashing/crc_kernels.h"
#include "zenthar/hashing.h"

namespace zenthar::crc {
namespace {

uint64_t choose_crc32(const void* data, uint64_t length);
uint64_t choose_crc64(const void* data, uint64_t length);

// Relaxed is enough: whichever value a thread reads, it is a function that works.
constinit std::atomic<Kernel> chosen_crc32{choose_crc32};
constinit std::atomic<Kernel> chosen_crc64{choose_crc64};

[[gnu::constructor]] void choose() {
  const Target target = best_target();
  chosen_crc32.store(crc32_kernel(target), std::memory_order_relaxed);
  chosen_crc64.store(crc64_kernel(target), std::memory_order_relaxed);
}

uint64_t choose_crc32(const void* data, uint64_t length) {
  choose();
  return chosen_crc32.load(std::memory_order_relaxed)(data, length);
}

uint64_t choose_crc64(const void* data, uint64_t length) {
  choose();
  return chosen_crc64.load(std::memory_order_relaxed)(data, length);
}

}  // namespace
}  // namespace zenthar::crc

uint64_t crc_32_hash(const void* data, uint64_t length) {
  return zenthar::crc::chosen_crc32.load(std::memory_order_relaxed)(data, length);
}

uint64_t crc_64_hash(const void* data, uint64_t length) {
  return zenthar::crc::chosen_crc64.load(std::memory_order_relaxed)(data, length);
}
