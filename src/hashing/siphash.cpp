// SipHash-2-4 and its half-width sibling: two rounds a word of input, four at the end.
#include <bit>

#include "hashing/bytes.h"
#include "zenthar/hashing.h"

namespace zenthar {
namespace {

constexpr uint64_t kConstants[4] = {0x736F6D6570736575, 0x646F72616E646F6D, 0x6C7967656E657261,
                                    0x7465646279746573};

// The full width, on words of 64 bits.
struct Full {
  using Word = uint64_t;
  static constexpr Word kKey[2] = {0x6F98EF7F39DE1521, 0xAE3F68FE7126BBF7};
  static constexpr int kRotations[5] = {13, 32, 16, 21, 17};
  static constexpr Word start(int i) { return kConstants[i]; }
  static Word load(const unsigned char* p) { return load64(p); }
  static Word load_rest(const unsigned char* p, uint64_t count) { return load_below8(p, count); }
  static Word result(const Word (&v)[4]) { return v[0] ^ v[1] ^ v[2] ^ v[3]; }
};

// Half the width, with 32 bits of output; the state starts from the upper halves of all four constants.
struct Half {
  using Word = uint32_t;
  static constexpr Word kKey[2] = {0x792942C2, 0xAB89D633};
  static constexpr int kRotations[5] = {5, 16, 8, 7, 13};
  static constexpr Word start(int i) { return Word(kConstants[i] >> 32); }
  static Word load(const unsigned char* p) { return load32(p); }
  static Word load_rest(const unsigned char* p, uint64_t count) { return load_below4(p, count); }
  static Word result(const Word (&v)[4]) { return v[1] ^ v[3]; }
};

template <class Width>
inline void round(typename Width::Word (&v)[4]) {
  constexpr auto& r = Width::kRotations;
  constexpr int half_word = 4 * sizeof(typename Width::Word);
  static_assert(r[1] == half_word);
  v[0] += v[1];
  v[1] = std::rotl(v[1], r[0]) ^ v[0];
  v[0] = std::rotl(v[0], half_word);
  v[2] += v[3];
  v[3] = std::rotl(v[3], r[2]) ^ v[2];
  v[0] += v[3];
  v[3] = std::rotl(v[3], r[3]) ^ v[0];
  v[2] += v[1];
  v[1] = std::rotl(v[1], r[4]) ^ v[2];
  v[2] = std::rotl(v[2], half_word);
}

template <class Width>
inline uint64_t siphash(const void* data, uint64_t length) {
  using Word = typename Width::Word;
  constexpr auto& key = Width::kKey;
  Word v[4] = {key[0] ^ Width::start(0), key[1] ^ Width::start(1), key[0] ^ Width::start(2),
               key[1] ^ Width::start(3)};
  const auto absorb = [&v](Word word) {
    v[3] ^= word;
    round<Width>(v);
    round<Width>(v);
    v[0] ^= word;
  };
  auto* p = static_cast<const unsigned char*>(data);
  const uint64_t rest = length % sizeof(Word);
  for (const unsigned char* const end = p + (length - rest); p != end; p += sizeof(Word))
    absorb(Width::load(p));
  absorb(Width::load_rest(p, rest) | Word(length) << (8 * sizeof(Word) - 8));
  v[2] ^= 0xFF;
  for (int i = 0; i < 4; ++i) round<Width>(v);
  return Width::result(v);
}

}  // namespace
}  // namespace zenthar

uint64_t sip24_32_hash(const void* data, uint64_t length) {
  return zenthar::siphash<zenthar::Half>(data, length);
}

uint64_t sip24_64_hash(const void* data, uint64_t length) {
  return zenthar::siphash<zenthar::Full>(data, length);
}
