// The byte hashes once more, as plainly as they can be said: a byte or a word at a time, straight from their
// definitions. The tests compare with these, the benchmarks measure against them.
#ifndef REFERENCE_HASHES_H
#define REFERENCE_HASHES_H

#include <cstdint>
#include <cstring>

namespace reference {

inline uint64_t crc_32(const void* data, uint64_t length) {
  static const auto table = [] {
    struct {
      uint32_t entries[256];
    } t;
    for (uint32_t i = 0; i < 256; ++i) {
      t.entries[i] = i;
      for (int bit = 0; bit < 8; ++bit)
        t.entries[i] = (t.entries[i] >> 1) ^ ((t.entries[i] & 1) ? 0xEDB88320u : 0u);
    }
    return t;
  }();
  uint32_t h = ~0u;
  for (uint64_t i = 0; i < length; ++i)
    h = table.entries[(h ^ static_cast<const uint8_t*>(data)[i]) & 255] ^ (h >> 8);
  return uint32_t(~h);
}

inline uint64_t crc_64(const void* data, uint64_t length) {
  static const auto table = [] {
    struct {
      uint64_t entries[256];
    } t;
    for (uint64_t i = 0; i < 256; ++i) {
      t.entries[i] = i << 56;
      for (int bit = 0; bit < 8; ++bit)
        t.entries[i] = (t.entries[i] << 1) ^ ((t.entries[i] >> 63) ? 0x42F0E1EBA9EA3693u : 0u);
    }
    return t;
  }();
  uint64_t h = 0;
  for (uint64_t i = 0; i < length; ++i)
    h = table.entries[(h >> 56) ^ static_cast<const uint8_t*>(data)[i]] ^ (h << 8);
  return h;
}

inline uint64_t fnv_32(const void* data, uint64_t length) {
  uint32_t h = (0x8686E159u ^ 0x811C9DC5u) * 0x01000193u;
  for (uint64_t i = 0; i < length; ++i) {
    const uint8_t byte = static_cast<const uint8_t*>(data)[i];
    h = (h ^ (byte < 128 ? uint32_t{byte} : uint32_t{byte} - 256u)) * 0x01000193u;
  }
  const uint32_t mixed = (uint32_t(length >> 32) ^ uint32_t(length & 0xFFFFFFFFu)) * 0x01000193u;
  return (mixed ^ h) * 0x01000193u;
}

inline uint64_t fnv_64(const void* data, uint64_t length) {
  uint64_t h = (0x09AAE5A4F5727A42u ^ 0xCBF29CE484222325u) * 0x100000001B3u;
  for (uint64_t i = 0; i < length; ++i) {
    const uint8_t byte = static_cast<const uint8_t*>(data)[i];
    h = (h ^ (byte < 128 ? uint64_t{byte} : uint64_t{byte} - 256u)) * 0x100000001B3u;
  }
  return (h ^ length) * 0x100000001B3u;
}

template <class Word>
Word rotate(Word x, int n) {
  return Word((x << n) | (x >> (8 * int(sizeof(Word)) - n)));
}

// The `count` bytes at p as a little-endian word.
template <class Word>
Word word_at(const uint8_t* p, uint64_t count = sizeof(Word)) {
  Word word = 0;
  for (uint64_t i = 0; i < count; ++i) word |= Word(Word(p[i]) << (8 * i));
  return word;
}

inline uint32_t fmix(uint32_t h) {
  h ^= h >> 16;
  h *= 0x85EBCA6Bu;
  h ^= h >> 13;
  h *= 0xC2B2AE35u;
  h ^= h >> 16;
  return h;
}

inline uint64_t fmix(uint64_t k) {
  k ^= k >> 33;
  k *= 0xFF51AFD7ED558CCDu;
  k ^= k >> 33;
  k *= 0xC4CEB9FE1A85EC53u;
  k ^= k >> 33;
  return k;
}

inline uint32_t murmur3_x86_32(const void* data, uint64_t length, uint32_t seed) {
  auto* p = static_cast<const uint8_t*>(data);
  const uint32_t c1 = 0xCC9E2D51u, c2 = 0x1B873593u;
  uint32_t h = seed;
  uint64_t i = 0;
  for (; i + 4 <= length; i += 4) {
    h ^= rotate(word_at<uint32_t>(p + i) * c1, 15) * c2;
    h = rotate(h, 13);
    h = h * 5 + 0xE6546B64u;
  }
  if (i < length) h ^= rotate(word_at<uint32_t>(p + i, length - i) * c1, 15) * c2;
  h ^= uint32_t(length);
  return fmix(h);
}

// The rest of a block: word number i of it, as far as it has bytes.
template <class Word>
Word rest_word(const uint8_t* p, uint64_t rest, uint64_t i) {
  const uint64_t from = i * sizeof(Word);
  if (rest <= from) return 0;
  return word_at<Word>(p + from, rest - from < sizeof(Word) ? rest - from : sizeof(Word));
}

inline void murmur3_x86_128(const void* data, uint64_t length, uint32_t seed, uint32_t (&h)[4]) {
  auto* p = static_cast<const uint8_t*>(data);
  const uint32_t c[4] = {0x239B961Bu, 0xAB0E9789u, 0x38B34AE5u, 0xA1E38B93u};
  const int k_rotation[4] = {15, 16, 17, 18}, h_rotation[4] = {19, 17, 15, 13};
  const uint32_t n[4] = {0x561CCD1Bu, 0x0BCAA747u, 0x96CD1C35u, 0x32AC3B17u};
  for (auto& lane : h) lane = seed;
  for (; length - (p - static_cast<const uint8_t*>(data)) >= 16; p += 16)
    for (int i = 0; i < 4; ++i) {
      h[i] ^= rotate(word_at<uint32_t>(p + 4 * i) * c[i], k_rotation[i]) * c[(i + 1) % 4];
      h[i] = rotate(h[i], h_rotation[i]);
      h[i] += h[(i + 1) % 4];
      h[i] = h[i] * 5 + n[i];
    }
  for (int i = 3; i >= 0; --i)
    h[i] ^= rotate(rest_word<uint32_t>(p, length % 16, i) * c[i], k_rotation[i]) * c[(i + 1) % 4];
  for (auto& lane : h) lane ^= uint32_t(length);
  for (int pass = 0; pass < 2; ++pass) {
    for (int i = 1; i < 4; ++i) h[0] += h[i];
    for (int i = 1; i < 4; ++i) h[i] += h[0];
    if (pass == 0)
      for (auto& lane : h) lane = fmix(lane);
  }
}

inline void murmur3_x64_128(const void* data, uint64_t length, uint64_t seed, uint64_t (&h)[2]) {
  auto* p = static_cast<const uint8_t*>(data);
  const uint64_t c1 = 0x87C37B91114253D5u, c2 = 0x4CF5AD432745937Fu;
  h[0] = h[1] = seed;
  for (; length - (p - static_cast<const uint8_t*>(data)) >= 16; p += 16) {
    h[0] ^= rotate(word_at<uint64_t>(p) * c1, 31) * c2;
    h[0] = (rotate(h[0], 27) + h[1]) * 5 + 0x52DCE729u;
    h[1] ^= rotate(word_at<uint64_t>(p + 8) * c2, 33) * c1;
    h[1] = (rotate(h[1], 31) + h[0]) * 5 + 0x38495AB5u;
  }
  h[1] ^= rotate(rest_word<uint64_t>(p, length % 16, 1) * c2, 33) * c1;
  h[0] ^= rotate(rest_word<uint64_t>(p, length % 16, 0) * c1, 31) * c2;
  h[0] ^= length;
  h[1] ^= length;
  h[0] += h[1];
  h[1] += h[0];
  h[0] = fmix(h[0]);
  h[1] = fmix(h[1]);
  h[0] += h[1];
  h[1] += h[0];
}

inline uint64_t murmur3_32_32(const void* data, uint64_t length) {
  return murmur3_x86_32(data, length, 0x4370DD55u);
}

inline uint64_t murmur3_32_128(const void* data, uint64_t length) {
  uint32_t h[4];
  murmur3_x86_128(data, length, 0xFC7560E0u, h);
  return h[0] ^ h[1] ^ h[2] ^ h[3];
}

inline uint64_t murmur3_64_128(const void* data, uint64_t length) {
  uint64_t h[2];
  murmur3_x64_128(data, length, 0x6641F5B030CFFB2Cu, h);
  return h[0] ^ h[1];
}

inline uint64_t murmur3_32(const void* data, uint64_t length) {
  return length <= 127 ? murmur3_32_32(data, length) : murmur3_32_128(data, length);
}

inline uint64_t siphash_2_4(const void* data, uint64_t length, uint64_t k0, uint64_t k1) {
  uint64_t v0 = k0 ^ 0x736F6D6570736575u, v1 = k1 ^ 0x646F72616E646F6Du;
  uint64_t v2 = k0 ^ 0x6C7967656E657261u, v3 = k1 ^ 0x7465646279746573u;
  const auto rounds = [&](int count) {
    while (count-- > 0) {
      v0 += v1, v1 = rotate(v1, 13), v1 ^= v0, v0 = rotate(v0, 32);
      v2 += v3, v3 = rotate(v3, 16), v3 ^= v2;
      v0 += v3, v3 = rotate(v3, 21), v3 ^= v0;
      v2 += v1, v1 = rotate(v1, 17), v1 ^= v2, v2 = rotate(v2, 32);
    }
  };
  auto* p = static_cast<const uint8_t*>(data);
  for (uint64_t i = 0; i <= length / 8; ++i) {
    uint64_t m = i < length / 8 ? word_at<uint64_t>(p + 8 * i) : word_at<uint64_t>(p + 8 * i, length % 8);
    if (i == length / 8) m |= length << 56;
    v3 ^= m;
    rounds(2);
    v0 ^= m;
  }
  v2 ^= 0xFF;
  rounds(4);
  return v0 ^ v1 ^ v2 ^ v3;
}

// `a` and `b` are what the first two words of the state start from; the published function has 0 for both.
inline uint32_t half_siphash_2_4(const void* data, uint64_t length, uint32_t k0, uint32_t k1, uint32_t a,
                                 uint32_t b) {
  uint32_t v0 = k0 ^ a, v1 = k1 ^ b, v2 = k0 ^ 0x6C796765u, v3 = k1 ^ 0x74656462u;
  const auto rounds = [&](int count) {
    while (count-- > 0) {
      v0 += v1, v1 = rotate(v1, 5), v1 ^= v0, v0 = rotate(v0, 16);
      v2 += v3, v3 = rotate(v3, 8), v3 ^= v2;
      v0 += v3, v3 = rotate(v3, 7), v3 ^= v0;
      v2 += v1, v1 = rotate(v1, 13), v1 ^= v2, v2 = rotate(v2, 16);
    }
  };
  auto* p = static_cast<const uint8_t*>(data);
  for (uint64_t i = 0; i <= length / 4; ++i) {
    uint32_t m = i < length / 4 ? word_at<uint32_t>(p + 4 * i) : word_at<uint32_t>(p + 4 * i, length % 4);
    if (i == length / 4) m |= uint32_t(length) << 24;
    v3 ^= m;
    rounds(2);
    v0 ^= m;
  }
  v2 ^= 0xFF;
  rounds(4);
  return v1 ^ v3;
}

inline uint64_t sip24_32(const void* data, uint64_t length) {
  return half_siphash_2_4(data, length, 0x792942C2u, 0xAB89D633u, 0x736F6D65u, 0x646F7261u);
}

inline uint64_t sip24_64(const void* data, uint64_t length) {
  return siphash_2_4(data, length, 0x6F98EF7F39DE1521u, 0xAE3F68FE7126BBF7u);
}

}  // namespace reference

#endif
