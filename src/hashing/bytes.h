// Little-endian words from bytes of any alignment, and from fewer bytes than a word has.
//
// Nothing outside the given bytes is read: short tails are put together from overlapping loads instead.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace zenthar {

__extension__ typedef unsigned __int128 uint128;

static_assert(std::endian::native == std::endian::little, "words are read as they lie in memory");

inline uint32_t load32(const unsigned char* p) {
  uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

inline uint64_t load64(const unsigned char* p) {
  uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

// The `count` bytes at p, 0 to 3, zero-extended.
inline uint32_t load_below4(const unsigned char* p, uint64_t count) {
  if (count == 0) return 0;
  // First, middle and last byte: for one or two bytes some of them coincide.
  return p[0] | uint32_t{p[count / 2]} << 8 * (count / 2) | uint32_t{p[count - 1]} << 8 * (count - 1);
}

// The `count` bytes at p, 0 to 7, zero-extended.
inline uint64_t load_below8(const unsigned char* p, uint64_t count) {
  if (count < 4) return load_below4(p, count);
  return load32(p) | uint64_t{load32(p + count - 4)} << 8 * (count - 4);
}

// The last `count` bytes before `end`, 1 to 8, zero-extended, where eight bytes may be read.
inline uint64_t load_last(const unsigned char* end, uint64_t count) {
  return load64(end - 8) >> (64 - 8 * count);
}

}  // namespace zenthar
