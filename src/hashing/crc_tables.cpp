// The checks by sliced tables: several bytes a step, one table for each of their places.
#include <array>
#include <bit>

#include "hashing/bytes.h"
#include "hashing/crc_kernels.h"
#include "hashing/crc_polynomial.h"

namespace zenthar::crc {
namespace {

constexpr int kSlices = 16;

template <class Word>
using Tables = std::array<std::array<Word, 256>, kSlices>;

// tables[k][b]: what byte b, followed by k bytes of 0, adds to the remainder. Reflected words shift right.
constexpr Tables<uint32_t> crc32_slices() {
  Tables<uint32_t> tables{};
  constexpr uint32_t polynomial = reflect(kCrc32Polynomial.low);
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t h = byte;
    for (int bit = 0; bit < 8; ++bit) h = h >> 1 ^ (h & 1 ? polynomial : 0);
    tables[0][byte] = h;
  }
  for (int k = 1; k < kSlices; ++k)
    for (uint32_t byte = 0; byte < 256; ++byte) {
      const uint32_t h = tables[k - 1][byte];
      tables[k][byte] = tables[0][h & 255] ^ h >> 8;
    }
  return tables;
}

constexpr Tables<uint64_t> crc64_slices() {
  Tables<uint64_t> tables{};
  for (uint64_t byte = 0; byte < 256; ++byte) {
    uint64_t h = byte << 56;
    for (int bit = 0; bit < 8; ++bit) h = kCrc64Polynomial.times_x(h);
    tables[0][byte] = h;
  }
  for (int k = 1; k < kSlices; ++k)
    for (uint64_t byte = 0; byte < 256; ++byte) {
      const uint64_t h = tables[k - 1][byte];
      tables[k][byte] = tables[0][h >> 56] ^ h << 8;
    }
  return tables;
}

constexpr Tables<uint32_t> kCrc32Slices = crc32_slices();
constexpr Tables<uint64_t> kCrc64Slices = crc64_slices();

static_assert(kCrc32Slices[0][1] == 0x77073096);
static_assert(kCrc64Slices[0][1] == 0x42F0E1EBA9EA3693);

// The eight bytes of a word, the first in memory followed by `after` + 7 more of the step.
template <class Word>
inline Word look_up(const Tables<Word>& tables, uint64_t word, int after) {
  Word sum = 0;
  for (int i = 0; i < 8; ++i) sum ^= tables[after + 7 - i][word >> 8 * i & 255];
  return sum;
}

}  // namespace

uint64_t crc32_tables(const void* data, uint64_t length) {
  auto* p = static_cast<const unsigned char*>(data);
  uint32_t h = ~uint32_t{0};
  for (; length >= 16; p += 16, length -= 16)
    h = look_up(kCrc32Slices, load64(p) ^ h, 8) ^ look_up(kCrc32Slices, load64(p + 8), 0);
  for (; length > 0; ++p, --length) h = kCrc32Slices[0][(h ^ *p) & 255] ^ h >> 8;
  return uint32_t(~h);
}

uint64_t crc64_tables(const void* data, uint64_t length) {
  auto* p = static_cast<const unsigned char*>(data);
  uint64_t h = 0;
  for (; length >= 16; p += 16, length -= 16)
    h = look_up(kCrc64Slices, load64(p) ^ __builtin_bswap64(h), 8) ^ look_up(kCrc64Slices, load64(p + 8), 0);
  for (; length > 0; ++p, --length) h = kCrc64Slices[0][h >> 56 ^ *p] ^ h << 8;
  return h;
}

}  // namespace zenthar::crc
