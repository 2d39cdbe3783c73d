// MurmurHash3 in its three forms, each with the seed that is built in and its result folded to one word.
//
// The loops are bound by the chain through the lanes; what depends on the input alone (the premultiplied
// words) runs beside it.
#include <bit>

#include "hashing/bytes.h"
#include "zenthar/hashing.h"

namespace zenthar {
namespace {

constexpr uint32_t kSeed32x32 = 0x4370DD55;
constexpr uint32_t kSeed32x128 = 0xFC7560E0;
constexpr uint64_t kSeed64x128 = 0x6641F5B030CFFB2C;

// Lengths from here on are worth the wider of the two 32-bit forms.
constexpr uint64_t kWideFrom = 128;

inline uint32_t mix_final(uint32_t h) {
  h = (h ^ h >> 16) * 0x85EBCA6B;
  h = (h ^ h >> 13) * 0xC2B2AE35;
  return h ^ h >> 16;
}

inline uint64_t mix_final(uint64_t h) {
  h = (h ^ h >> 33) * 0xFF51AFD7ED558CCD;
  h = (h ^ h >> 33) * 0xC4CEB9FE1A85EC53;
  return h ^ h >> 33;
}

// x86_32: one lane of 32 bits.
struct OneLane {
  static uint32_t premix(uint32_t k) { return std::rotl(k * 0xCC9E2D51, 15) * 0x1B873593; }
};

// x86_128: four lanes of 32 bits.
struct FourLanes {
  uint32_t h1, h2, h3, h4;

  static uint32_t premix1(uint32_t k) { return std::rotl(k * 0x239B961B, 15) * 0xAB0E9789; }
  static uint32_t premix2(uint32_t k) { return std::rotl(k * 0xAB0E9789, 16) * 0x38B34AE5; }
  static uint32_t premix3(uint32_t k) { return std::rotl(k * 0x38B34AE5, 17) * 0xA1E38B93; }
  static uint32_t premix4(uint32_t k) { return std::rotl(k * 0xA1E38B93, 18) * 0x239B961B; }

  void block(const unsigned char* p) {
    h1 = (std::rotl(h1 ^ premix1(load32(p)), 19) + h2) * 5 + 0x561CCD1B;
    h2 = (std::rotl(h2 ^ premix2(load32(p + 4)), 17) + h3) * 5 + 0x0BCAA747;
    h3 = (std::rotl(h3 ^ premix3(load32(p + 8)), 15) + h4) * 5 + 0x96CD1C35;
    h4 = (std::rotl(h4 ^ premix4(load32(p + 12)), 13) + h1) * 5 + 0x32AC3B17;
  }

  void sum() {
    h1 += h2 + h3 + h4;
    h2 += h1;
    h3 += h1;
    h4 += h1;
  }

  // An absent word is 0, and so is its premix: the last block needs no case for each length.
  uint32_t finish(uint64_t low, uint64_t high, uint64_t length) {
    h1 ^= premix1(uint32_t(low)) ^ uint32_t(length);
    h2 ^= premix2(uint32_t(low >> 32)) ^ uint32_t(length);
    h3 ^= premix3(uint32_t(high)) ^ uint32_t(length);
    h4 ^= premix4(uint32_t(high >> 32)) ^ uint32_t(length);
    sum();
    h1 = mix_final(h1);
    h2 = mix_final(h2);
    h3 = mix_final(h3);
    h4 = mix_final(h4);
    sum();
    return h1 ^ h2 ^ h3 ^ h4;
  }
};

// x64_128: two lanes of 64 bits.
struct TwoLanes {
  uint64_t h1, h2;

  static uint64_t premix1(uint64_t k) { return std::rotl(k * 0x87C37B91114253D5, 31) * 0x4CF5AD432745937F; }
  static uint64_t premix2(uint64_t k) { return std::rotl(k * 0x4CF5AD432745937F, 33) * 0x87C37B91114253D5; }

  void block(const unsigned char* p) {
    h1 = (std::rotl(h1 ^ premix1(load64(p)), 27) + h2) * 5 + 0x52DCE729;
    h2 = (std::rotl(h2 ^ premix2(load64(p + 8)), 31) + h1) * 5 + 0x38495AB5;
  }

  uint64_t finish(uint64_t low, uint64_t high, uint64_t length) {
    h1 ^= premix1(low) ^ length;
    h2 ^= premix2(high) ^ length;
    h1 += h2;
    h2 += h1;
    h1 = mix_final(h1);
    h2 = mix_final(h2);
    h1 += h2;
    h2 += h1;
    return h1 ^ h2;
  }
};

// Feeds whole blocks of 16 bytes and then the rest, 0 to 15 bytes as two words, to the lanes.
template <class Lanes>
inline auto hash_blocks(Lanes lanes, const void* data, uint64_t length) {
  auto* p = static_cast<const unsigned char*>(data);
  const uint64_t rest = length % 16;
  const unsigned char* const blocks_end = p + (length - rest);
  for (; p != blocks_end; p += 16) lanes.block(p);
  uint64_t low = 0, high = 0;
  if (length >= 16) {  // the eight bytes before the end are there to read, whatever the rest
    const unsigned char* const end = p + rest;
    if (rest > 8) {
      low = load64(p);
      high = load_last(end, rest - 8);
    } else if (rest > 0) {
      low = load_last(end, rest);
    }
  } else if (rest >= 8) {
    low = load64(p);
    high = load_below8(p + 8, rest - 8);
  } else {
    low = load_below8(p, rest);
  }
  return lanes.finish(low, high, length);
}

}  // namespace
}  // namespace zenthar

using namespace zenthar;

uint64_t murmur3_32_32_hash(const void* data, uint64_t length) {
  auto* p = static_cast<const unsigned char*>(data);
  const uint64_t rest = length % 4;
  const unsigned char* const words_end = p + (length - rest);
  uint32_t h = kSeed32x32;
  for (; p != words_end; p += 4) h = std::rotl(h ^ OneLane::premix(load32(p)), 13) * 5 + 0xE6546B64;
  h ^= OneLane::premix(load_below4(p, rest));
  return mix_final(h ^ uint32_t(length));
}

uint64_t murmur3_32_128_hash(const void* data, uint64_t length) {
  return hash_blocks(FourLanes{kSeed32x128, kSeed32x128, kSeed32x128, kSeed32x128}, data, length);
}

uint64_t murmur3_64_128_hash(const void* data, uint64_t length) {
  return hash_blocks(TwoLanes{kSeed64x128, kSeed64x128}, data, length);
}

uint64_t murmur3_32_hash(const void* data, uint64_t length) {
  return length < kWideFrom ? murmur3_32_32_hash(data, length) : murmur3_32_128_hash(data, length);
}
