// The size classes: block sizes, and the way from a rounded request to its class.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zenthar::memory {

inline constexpr size_t kPageShift = 12;
inline constexpr size_t kChunkSize = 65536;        // what slabs are carved from
inline constexpr size_t kClassCount = 160;         // classes for requests, numbered from 1
inline constexpr size_t kLargestSmall = 1024;      // blocks up to here carry no header
inline constexpr size_t kLargestClass = 65536;     // requests beyond are large blocks
inline constexpr size_t kDescriptorSize = 64;      // block size of class 0, the slab descriptors
inline constexpr size_t kLargeHeader = 40;         // before the data of a large block
inline constexpr size_t kAlignedLargeHeader = 48;  // the same with a padding word

// Steps of 8 up to 256, then 16 classes per doubling: the waste stays below 1/16.
constexpr std::array<uint32_t, kClassCount + 1> make_class_sizes() {
  std::array<uint32_t, kClassCount + 1> sizes{};
  uint32_t size = 0;
  for (size_t i = 1; i <= kClassCount; ++i) {
    uint32_t step = 8;
    while (step * 32 <= size) step *= 2;
    size += step;
    sizes[i] = size;
  }
  return sizes;
}

inline constexpr auto kClassSizes = make_class_sizes();

// Class of a rounded request, indexed by its size over 8.
constexpr std::array<uint8_t, kLargestClass / 8 + 1> make_class_table() {
  std::array<uint8_t, kLargestClass / 8 + 1> table{};
  size_t index = 0;
  for (size_t i = 0; i <= kLargestClass / 8; ++i) {
    if (i * 8 > kClassSizes[index]) ++index;
    table[i] = uint8_t(index);
  }
  return table;
}

inline constexpr auto kClassOfSize = make_class_table();

static_assert(kClassSizes[32] == 256 && kClassSizes[48] == 512 && kClassSizes[64] == 1024);
static_assert(kClassSizes[kClassCount] == kLargestClass && kClassOfSize[kLargestClass / 8] == kClassCount);

inline constexpr size_t kSmallClasses = kClassOfSize[kLargestSmall / 8];  // 1 .. this one have no header

// Chunks of a slab of a class: the fewest that hold four blocks and leave no more than 1/16 unused.
constexpr size_t slab_chunks(size_t block_size) {
  size_t best = 0;
  size_t best_waste = kChunkSize;
  for (size_t chunks = 1; chunks <= 8; ++chunks) {
    const size_t bytes = chunks * kChunkSize;
    if (bytes / block_size < 4) continue;
    const size_t waste = bytes % block_size / chunks;  // per chunk
    if (waste <= kChunkSize / 16) return chunks;
    if (waste < best_waste) {
      best = chunks;
      best_waste = waste;
    }
  }
  return best;
}

constexpr size_t round_up_8(size_t size) { return (((size - 1) ^ 7) + 8) & ~size_t{7}; }
constexpr size_t round_up_16(size_t size) { return (size + 15) & ~size_t{15}; }

}  // namespace zenthar::memory
