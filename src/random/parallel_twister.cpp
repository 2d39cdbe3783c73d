// The parallel generator: 1024 streams of 32-bit Mersenne Twisters over 17 words.
#include <atomic>
#include <cstring>

#include "random/buffer.h"
#include "random/seeding.h"
#include "zenthar/memory.h"

namespace zenthar::random {
namespace {

constexpr mint kStreams = 1024;
constexpr int kWords = 17;
constexpr int kMiddle = 8;

struct Parameters {
  uint32_t aaa, mask_b, mask_c;
};

constexpr Parameters kParameters[kStreams] = {
#include "random/pmt32_parameters.inc"
};

std::atomic<mint> stream_counter{0};

using Stream = st_PMT32State;

void free_stream(void* state) {
  if (!state) return;
  zfree(static_cast<Stream*>(state)->state);
  zfree(state);
}

Stream* new_stream(mint index) {
  auto* stream = static_cast<Stream*>(zalloc(sizeof(Stream), 0, 1));
  if (!stream) return nullptr;
  const Parameters& p = kParameters[index];
  *stream = {p.aaa, kMiddle, kWords, 23, 32,       0xffffffff, 0xff800000, 0x007fffff,
             12,    18,      7,      15, p.mask_b, p.mask_c,   nullptr};
  stream->state = static_cast<uint32_t*>(zalloc(kWords * sizeof(uint32_t), 0, 1));
  if (stream->state) return stream;
  free_stream(stream);
  return nullptr;
}

void* copy_stream(void* state) {
  const auto* stream = static_cast<Stream*>(state);
  Stream* copy = new_stream(stream->aaa & 0xffff);
  if (copy) std::memcpy(copy->state, stream->state, kWords * sizeof(uint32_t));
  return copy;
}

// One turn of the recurrence over the whole state, and its tempered words. The state is worked on in a local
// array with its first word repeated at the end, so that the loops vectorise.
void generate(const Stream& stream, uint32_t* s, uint32_t* out) {
  const uint32_t upper = stream.umask, lower = stream.lmask, matrix = stream.aaa;
  const auto next = [&](int k, uint32_t middle) {
    const uint32_t x = (s[k] & upper) | (s[k + 1] & lower);
    return middle ^ (x >> 1) ^ (matrix & -(x & 1));
  };
  for (int k = 0; k < kWords - kMiddle; ++k) s[k] = next(k, s[k + kMiddle]);
  s[kWords] = s[0];
  for (int k = kWords - kMiddle; k < kWords; ++k) s[k] = next(k, s[k + kMiddle - kWords]);
  const uint32_t mask_b = stream.maskB, mask_c = stream.maskC;
  for (int k = 0; k < kWords; ++k) {
    uint32_t y = s[k];
    y ^= y >> 12;
    y ^= (y << 7) & mask_b;
    y ^= (y << 15) & mask_c;
    out[k] = y ^ (y >> 18);
  }
}

int32_t fill(uint64_t* block, mint words, void* state, int32_t* valid_bits) {
  *valid_bits = 64;
  const Stream& stream = *static_cast<Stream*>(state);
  uint32_t s[kWords + 1];
  std::memcpy(s, stream.state, kWords * sizeof(uint32_t));
  for (; words >= kWords; words -= kWords, block += kWords) {
    uint32_t out[2 * kWords];
    generate(stream, s, out);
    generate(stream, s, out + kWords);
    std::memcpy(block, out, sizeof out);
  }
  std::memcpy(stream.state, s, kWords * sizeof(uint32_t));
  return 0;
}

void seed(RandomGenerator generator, const uint64_t* key, mint length) {
  RandomBuffer buffer = buffer_of(generator);
  uint32_t* words = static_cast<Stream*>(buffer->state)->state;
  const auto half = [key](mint j) { return uint32_t(key[j / 2] >> (j % 2 ? 32 : 0)); };
  if (key && length > 0)
    seed_by_array(words, kWords, half, 2 * length);
  else
    seed_by_word(words, kWords, kPublishedDefaultSeed);
  discard(buffer);
}

constexpr Algorithm kAlgorithm = {"ParallelGenerator", fill, seed, copy_stream, free_stream};

}  // namespace
}  // namespace zenthar::random

using namespace zenthar::random;

mbool PMT32_checkParameters(mint index) { return uint64_t(index) < kStreams; }

mint PMT32_getNextIndex(void) {
  mint index = stream_counter.load(std::memory_order_relaxed);
  mint next;
  do next = index + 1 < kStreams ? index + 1 : 0;
  while (!stream_counter.compare_exchange_weak(index, next, std::memory_order_relaxed));
  return next;
}

RandomGenerator PMT32_alloc(void* stream_index) {
  const mint index = stream_index ? *static_cast<const mint*>(stream_index) : 0;
  if (!PMT32_checkParameters(index)) return nullptr;
  RandomGenerator generator = new_generator(kAlgorithm, kWords, new_stream(index));
  if (generator) seed(generator, nullptr, 0);
  return generator;
}

RandomGenerator PMT32_clone(RandomGenerator generator) { return clone_generator(kAlgorithm, generator); }

void PMT32_free(RandomGenerator generator) { free_generator(generator); }
