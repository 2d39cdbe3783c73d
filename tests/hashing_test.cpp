// The byte hashes: published values, plain reference code over all lengths and alignments, every kernel of
// the checks, the settings and the split of long keys.
#include "zenthar/hashing.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <random>
#include <string>
#include <vector>

#include "hashing/crc_kernels.h"
#include "reference_hashes.h"

namespace {

struct Hash {
  const char* name;
  ByteHashFunction function;
  ByteHashFunction plain;
};

const Hash kHashes[] = {
    {"crc_32", crc_32_hash, reference::crc_32},
    {"crc_64", crc_64_hash, reference::crc_64},
    {"fnv_32", fnv_32_hash, reference::fnv_32},
    {"fnv_64", fnv_64_hash, reference::fnv_64},
    {"murmur3_32_32", murmur3_32_32_hash, reference::murmur3_32_32},
    {"murmur3_32_128", murmur3_32_128_hash, reference::murmur3_32_128},
    {"murmur3_64_128", murmur3_64_128_hash, reference::murmur3_64_128},
    {"murmur3_32", murmur3_32_hash, reference::murmur3_32},
    {"sip24_32", sip24_32_hash, reference::sip24_32},
    {"sip24_64", sip24_64_hash, reference::sip24_64},
};

std::vector<uint8_t> random_bytes(size_t count) {
  std::mt19937_64 random(count);
  std::vector<uint8_t> bytes(count);
  for (auto& byte : bytes) byte = uint8_t(random());
  return bytes;
}

// Compares at all lengths up to `longest`. Each input is a block of its own, with the alignment asked for and
// ending where the block ends, so that the address sanitizer sees a read outside it on either side.
void expect_same_values(ByteHashFunction function, ByteHashFunction plain, size_t longest,
                        size_t alignments) {
  const auto bytes = random_bytes(longest);
  for (size_t length = 0; length <= longest; ++length)
    for (size_t offset = 0; offset < (length ? alignments : 1); ++offset) {
      std::vector<uint8_t> block(offset + length);
      std::copy_n(bytes.begin(), length, block.begin() + ptrdiff_t(offset));
      ASSERT_EQ(function(block.data() + offset, length), plain(bytes.data(), length))
          << "length " << length << " at alignment " << offset;
    }
}

uint64_t of(ByteHashFunction function, const std::string& text) { return function(text.data(), text.size()); }

TEST(Hashing, ReferencesGiveThePublishedValues) {
  EXPECT_EQ(of(reference::crc_32, "123456789"), 0xCBF43926u);
  EXPECT_EQ(of(reference::crc_64, "123456789"), 0x6C40DF5F0B497347u);

  const std::string fox = "The quick brown fox jumps over the lazy dog";
  EXPECT_EQ(reference::murmur3_x86_32(nullptr, 0, 1), 0x514E28B7u);
  EXPECT_EQ(reference::murmur3_x86_32("test", 4, 0x9747B28C), 0x704B81DCu);
  EXPECT_EQ(reference::murmur3_x86_32(fox.data(), fox.size(), 0x9747B28C), 0x2FA826CDu);
  uint64_t wide[2];
  reference::murmur3_x64_128(fox.data(), fox.size(), 0, wide);
  EXPECT_EQ(wide[0], 0xE34BBC7BBC071B6Cu);
  EXPECT_EQ(wide[1], 0x7A433CA9C49A9347u);

  uint8_t key_order[64];
  for (int i = 0; i < 64; ++i) key_order[i] = uint8_t(i);
  const uint64_t k0 = 0x0706050403020100, k1 = 0x0F0E0D0C0B0A0908;
  EXPECT_EQ(reference::siphash_2_4(key_order, 0, k0, k1), 0x726FDB47DD0E0E31u);
  EXPECT_EQ(reference::siphash_2_4(key_order, 15, k0, k1), 0xA129CA6149BE45E5u);
  // The published half-width function differs in what two words of the state start from.
  EXPECT_EQ(reference::half_siphash_2_4(key_order, 0, 0x03020100, 0x07060504, 0, 0), 0x5B9F35A9u);
  EXPECT_EQ(reference::half_siphash_2_4(key_order, 1, 0x03020100, 0x07060504, 0, 0), 0xB85A4727u);
}

// The verification value that accompanies the published MurmurHash3: keys {0}, {0, 1}, ... hashed with seeds
// 256, 255, ..., and the hash of these hashes.
TEST(Hashing, ReferenceMurmurGivesThePublishedVerificationValues) {
  uint8_t key[256];
  std::vector<uint8_t> narrow, wide32, wide64;
  const auto append = [](std::vector<uint8_t>& to, const void* words, size_t bytes) {
    to.insert(to.end(), static_cast<const uint8_t*>(words), static_cast<const uint8_t*>(words) + bytes);
  };
  uint32_t h32[4];
  uint64_t h64[2];
  for (uint32_t i = 0; i < 256; ++i) {
    key[i] = uint8_t(i);
    const uint32_t one = reference::murmur3_x86_32(key, i, 256 - i);
    append(narrow, &one, 4);
    reference::murmur3_x86_128(key, i, 256 - i, h32);
    append(wide32, h32, 16);
    reference::murmur3_x64_128(key, i, 256 - i, h64);
    append(wide64, h64, 16);
  }
  EXPECT_EQ(reference::murmur3_x86_32(narrow.data(), narrow.size(), 0), 0xB0F57EE3u);
  reference::murmur3_x86_128(wide32.data(), wide32.size(), 0, h32);
  EXPECT_EQ(h32[0], 0xB3ECE62Au);
  reference::murmur3_x64_128(wide64.data(), wide64.size(), 0, h64);
  EXPECT_EQ(uint32_t(h64[0]), 0x6384BA69u);
}

TEST(Hashing, EveryHashAgreesWithPlainCode) {
  for (const Hash& hash : kHashes) {
    SCOPED_TRACE(hash.name);
    expect_same_values(hash.function, hash.plain, 300, 16);
    EXPECT_EQ(hash.function(nullptr, 0), hash.plain(nullptr, 0));
    const auto large = random_bytes(100003);
    EXPECT_EQ(hash.function(large.data(), large.size()), hash.plain(large.data(), large.size()));
  }
}

TEST(Hashing, EveryKernelOfTheChecksAgreesWithPlainCode) {
  using namespace zenthar::crc;
  for (Target target : kTargets) {
    if (!supported(target)) continue;
    SCOPED_TRACE(int(target));
    expect_same_values(crc32_kernel(target), reference::crc_32, 1200, 3);
    expect_same_values(crc64_kernel(target), reference::crc_64, 1200, 3);
  }
}

TEST(Hashing, KnownValues) {
  EXPECT_EQ(of(crc_32_hash, "123456789"), 0xCBF43926u);
  EXPECT_EQ(of(crc_64_hash, "123456789"), 0x6C40DF5F0B497347u);
  EXPECT_EQ(crc_32_hash(nullptr, 0), 0u);
  EXPECT_EQ(crc_64_hash(nullptr, 0), 0u);
  // Bytes above 127 act as negative numbers.
  const uint32_t h = ((0x8686E159u ^ 0x811C9DC5u) * 0x01000193u ^ 0xFFFFFF80u) * 0x01000193u;
  EXPECT_EQ(of(fnv_32_hash, "\x80"), (h ^ 0x01000193u) * 0x01000193u);
  const auto bytes = random_bytes(128);
  EXPECT_EQ(murmur3_32_hash(bytes.data(), 127), murmur3_32_32_hash(bytes.data(), 127));
  EXPECT_EQ(murmur3_32_hash(bytes.data(), 128), murmur3_32_128_hash(bytes.data(), 128));
}

class KeyHash : public ::testing::Test {
 protected:
  ~KeyHash() override {
    selectDefaultHashFunction("Murmur3");
    HashByteLengthThreshold = 0x7FFFFFFFFFFFFFFF;
  }
  static uint64_t string_hash(const std::string& text) {
    const char* p = text.c_str();
    return StringHash(&p);
  }
};

TEST_F(KeyHash, SettingsHoldTheirDefaultsFromTheStart) {
  EXPECT_EQ(default_hash_fun, &murmur3_64_128_hash);
  EXPECT_EQ(HashByteLengthThreshold, 0x7FFFFFFFFFFFFFFFu);
  EXPECT_EQ(HashArrayLengthThreshold, 0x7FFFFFFFFFFFFFFFu);
  EXPECT_EQ(HashTableGrowLoadFactor, 2.0);
  EXPECT_EQ(HashTableShrinkLoadFactor, 0.5);
}

TEST_F(KeyHash, TheDefaultIsSelectedByName) {
  EXPECT_EQ(string_hash("array"), of(murmur3_64_128_hash, "array"));
  selectDefaultHashFunction("SIP24");
  EXPECT_EQ(string_hash("array"), of(sip24_64_hash, "array"));
  for (const char* other : {"Murmur3", "sip24", "", static_cast<const char*>(nullptr)}) {
    selectDefaultHashFunction("SIP24");
    selectDefaultHashFunction(other);
    EXPECT_EQ(default_hash_fun, &murmur3_64_128_hash);
  }
}

TEST_F(KeyHash, LongKeysAreSplit) {
  const auto f = [](const std::string& text) { return of(murmur3_64_128_hash, text); };
  const auto length = [](uint64_t n) { return murmur3_64_128_hash(&n, 8); };
  HashByteLengthThreshold = 4;
  EXPECT_EQ(string_hash("abcdefghij"), f("abcd") ^ f("ghij") ^ length(10));
  EXPECT_EQ(string_hash("abcdefghi"), f("abcdefghi"));
  EXPECT_EQ(string_hash("abcdefgh"), f("abcdefgh"));
  HashByteLengthThreshold = 0;
  EXPECT_EQ(string_hash("ab"), length(2));
  EXPECT_EQ(string_hash("a"), f("a"));
  EXPECT_EQ(string_hash(""), f(""));
}

}  // namespace
