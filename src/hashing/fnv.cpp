// FNV-1a with seeds, sign-extended bytes and the length mixed in at the end.
//
// Each byte waits for the product of the one before: the loops run at the latency of a multiplication.
#include "zenthar/hashing.h"

namespace {

constexpr uint32_t kBasis32 = 0x811C9DC5, kPrime32 = 0x01000193, kSeed32 = 0x8686E159;
constexpr uint64_t kBasis64 = 0xCBF29CE484222325, kPrime64 = 0x100000001B3, kSeed64 = 0x09AAE5A4F5727A42;

template <class Word>
Word mix_bytes(Word h, Word prime, const void* data, uint64_t length) {
  auto* p = static_cast<const signed char*>(data);
  for (const signed char* const end = p + length; p != end; ++p) h = (h ^ Word(*p)) * prime;
  return h;
}

}  // namespace

uint64_t fnv_32_hash(const void* data, uint64_t length) {
  const uint32_t h = mix_bytes((kSeed32 ^ kBasis32) * kPrime32, kPrime32, data, length);
  const uint32_t folded_length = uint32_t(length >> 32) ^ uint32_t(length);
  return (folded_length * kPrime32 ^ h) * kPrime32;
}

uint64_t fnv_64_hash(const void* data, uint64_t length) {
  const uint64_t h = mix_bytes((kSeed64 ^ kBasis64) * kPrime64, kPrime64, data, length);
  return (h ^ length) * kPrime64;
}
