// Random buffers, and the generator objects that draw from them.
#include "random/buffer.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "zenthar/host.h"
#include "zenthar/memory.h"

namespace zenthar::random {
namespace {

constexpr int32_t kQuiet = 1;

uint64_t buffer_bits(mint bits, RandomGenerator generator) {
  if (bits <= 0) return 0;
  return take_bits(buffer_of(generator), bits);
}

RandomGeneratorState make_state(mint method_id, RandomBuffer buffer) {
  auto* state = static_cast<RandomGeneratorState>(zalloc(sizeof(st_RandomGeneratorState), 0, kQuiet));
  if (!state || !buffer) {
    zfree(state);
    RandomBuffer_delete(buffer);
    return nullptr;
  }
  *state = {method_id, buffer, 1};
  return state;
}

RandomGeneratorState create_state(mint method_id, void* data) {
  return make_state(method_id, RandomBuffer_copy(static_cast<RandomBuffer>(data)));
}

void free_state(RandomGeneratorState state) {
  if (!state) return;
  RandomBuffer_delete(static_cast<RandomBuffer>(state->data));
  zfree(state);
}

// Takes over the buffer.
RandomGenerator wrap(const Algorithm& algorithm, RandomBuffer buffer, mint method_id) {
  RandomGeneratorState state = buffer ? make_state(method_id, buffer) : nullptr;
  RandomGenerator generator = state ? RandomGenerator_newGeneric() : nullptr;
  if (!generator || !generator->functions) {
    free_state(state);
    RandomGenerator_deleteGeneric(generator);
    return nullptr;
  }
  generator->state = state;
  generator->functions->bits = buffer_bits;
  generator->functions->seed = algorithm.seed;
  generator->functions->integers = Generic_randomMIntegers;
  generator->functions->reals = Generic_randomMReals;
  generator->create_state = create_state;
  generator->free_state = free_state;
  return generator;
}

}  // namespace

void refill(RandomBuffer buffer) {
  int32_t valid = 64;
  buffer->fill(buffer->block, buffer->words, buffer->state, &valid);
  buffer->valid_bits = valid < 1 || valid > 64 ? 64 : valid;
  buffer->next = 0;
}

void discard(RandomBuffer buffer) {
  buffer->next = buffer->words;
  buffer->left = 0;
  buffer->current = 0;
}

// Draws that are wider than the valid part of a word are pieced together from whole words, low part first.
uint64_t take_bits_slowly(RandomBuffer buffer, mint bits) {
  if (bits > 64) bits = 64;
  if (bits <= buffer->left) {  // a whole word at once, where it has not been begun
    const uint64_t taken = buffer->current & low_mask(bits);
    buffer->left -= int32_t(bits);
    buffer->current = bits == 64 ? 0 : buffer->current >> bits;
    return taken;
  }
  uint64_t taken = 0;
  for (mint have = 0; have < bits;) {
    if (buffer->next == buffer->words) refill(buffer);
    const uint64_t word = buffer->block[buffer->next++] & low_mask(buffer->valid_bits);
    const mint part = bits - have < buffer->valid_bits ? bits - have : buffer->valid_bits;
    taken |= (word & low_mask(part)) << have;
    buffer->current = part == 64 ? 0 : word >> part;
    buffer->left = int32_t(buffer->valid_bits - part);
    have += part;
  }
  return taken;
}

mint WordRun::begin(mint sure) {
  buffer_->left = 0;
  const mint block = buffer_->words;
  if (buffer_->next == block) {
    const mint length = std::min(sure, kLongest) / block * block;
    if (length > block && (buffer_->fill == fill_from_stream || buffer_->fill == fill_from_automaton)) {
      int32_t valid;
      buffer_->fill(own_, length, buffer_->state, &valid);
      words_ = own_;
      return length;
    }
    refill(buffer_);
  }
  words_ = buffer_->block + buffer_->next;
  return block - buffer_->next;
}

void WordRun::take(mint count, mint bits) {
  if (words_ != own_) buffer_->next += count;
  buffer_->left = int32_t(64 - bits);
  buffer_->current = bits == 64 ? 0 : words_[count - 1] >> bits;
}

RandomBuffer buffer_of(RandomGenerator generator) {
  return generator && generator->state ? static_cast<RandomBuffer>(generator->state->data) : nullptr;
}

RandomBuffer own_buffer(RandomGenerator generator) {
  if (bit_function(generator) != buffer_bits) return nullptr;
  RandomBuffer buffer = buffer_of(generator);
  // Before the first fill it is not known how many bits of a word are valid.
  if (buffer->next == buffer->words && buffer->left == 0) refill(buffer);
  return buffer->valid_bits == 64 ? buffer : nullptr;
}

RandomGenerator new_generator(const Algorithm& algorithm, mint words, void* state) {
  RandomBuffer buffer = state ? RandomBuffer_new(algorithm.fill, words) : nullptr;
  if (!buffer) {
    if (state) algorithm.free_state(state);
    return nullptr;
  }
  buffer->state = state;
  buffer->copy_state = algorithm.copy_state;
  buffer->free_state = algorithm.free_state;
  return wrap(algorithm, buffer, RandomGeneratorMethod_find(algorithm.method));
}

RandomGenerator clone_generator(const Algorithm& algorithm, RandomGenerator generator) {
  RandomBuffer buffer = buffer_of(generator);
  return buffer ? wrap(algorithm, RandomBuffer_copy(buffer), generator->state->method_id) : nullptr;
}

void free_generator(RandomGenerator generator) {
  if (!generator) return;
  free_state(generator->state);
  RandomGenerator_deleteGeneric(generator);
}

}  // namespace zenthar::random

using namespace zenthar::random;

RandomBuffer RandomBuffer_new(RandomFillFunction fill, mint words) {
  if (!fill || words < 1 || words > std::numeric_limits<mint>::max() / 8) return nullptr;
  auto* buffer = static_cast<RandomBuffer>(kCalloc(1, sizeof(st_RandomBuffer), 0, kQuiet));
  if (!buffer) return nullptr;
  buffer->block = static_cast<uint64_t*>(kCalloc(size_t(words), sizeof(uint64_t), 1, kQuiet));
  if (!buffer->block) {
    zfree(buffer);
    return nullptr;
  }
  buffer->words = words;
  buffer->fill = fill;
  buffer->valid_bits = 64;
  discard(buffer);
  return buffer;
}

RandomBuffer RandomBuffer_copy(RandomBuffer buffer) {
  RandomBuffer copy = buffer ? RandomBuffer_new(buffer->fill, buffer->words) : nullptr;
  if (!copy) return nullptr;
  uint64_t* block = copy->block;
  std::memcpy(block, buffer->block, size_t(buffer->words) * sizeof(uint64_t));
  *copy = *buffer;
  copy->block = block;
  if (!buffer->state || !buffer->copy_state) return copy;
  copy->state = buffer->copy_state(buffer->state);
  if (copy->state) return copy;
  RandomBuffer_delete(copy);
  return nullptr;
}

void RandomBuffer_delete(RandomBuffer buffer) {
  if (!buffer) return;
  if (buffer->state && buffer->free_state) buffer->free_state(buffer->state);
  zfree(buffer->block);
  zfree(buffer);
}
