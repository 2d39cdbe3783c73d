// The process-wide settings of hashing, and the key hash that follows them.
#include "hashing/hashing.h"

#include <cstring>

#include "hashing/integer_array_keys.h"
#include "zenthar/hashing.h"

namespace {

constexpr uint64_t kNoThreshold = 0x7FFFFFFFFFFFFFFF;
constexpr mreal kGrowLoadFactor = 2.0;
constexpr mreal kShrinkLoadFactor = 0.5;

}  // namespace

ByteHashFunction default_hash_fun = murmur3_64_128_hash;
uint64_t HashByteLengthThreshold = kNoThreshold;
uint64_t HashArrayLengthThreshold = kNoThreshold;
mreal HashTableGrowLoadFactor = kGrowLoadFactor;
mreal HashTableShrinkLoadFactor = kShrinkLoadFactor;

void selectDefaultHashFunction(const char* name) {
  default_hash_fun = name && std::strcmp(name, "SIP24") == 0 ? sip24_64_hash : murmur3_64_128_hash;
}

uint64_t StringHash(const void* p) {
  auto* string = *static_cast<const char* const*>(p);
  return zenthar::hash_key_bytes(string, std::strlen(string));
}

namespace zenthar {

void hashing_initialize(int32_t phase) {
  if (phase != 0) return;
  default_hash_fun = murmur3_64_128_hash;
  HashByteLengthThreshold = kNoThreshold;
  HashArrayLengthThreshold = kNoThreshold;
  HashTableGrowLoadFactor = kGrowLoadFactor;
  HashTableShrinkLoadFactor = kShrinkLoadFactor;
  integer_array_key_length = 0;
}

uint64_t hash_key_bytes(const void* data, uint64_t length) {
  const ByteHashFunction hash = default_hash_fun;
  const uint64_t threshold = HashByteLengthThreshold;
  if (threshold >= length / 2) [[likely]]
    return hash(data, length);
  const char* last = static_cast<const char*>(data) + (length - threshold);
  return hash(data, threshold) ^ hash(last, threshold) ^ hash(&length, sizeof length);
}

}  // namespace zenthar
