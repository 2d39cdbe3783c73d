// The generators: published vectors, models of their recurrences, buffers, clones, and the cheap part of
// their quality.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <random>
#include <set>
#include <vector>

#include "zenthar/random.h"

namespace {

uint64_t word(RandomGenerator g) { return g->functions->bits(64, g); }

void seed(RandomGenerator g, const std::vector<uint64_t>& key) {
  g->functions->seed(g, key.data(), mint(key.size()));
}

struct Kind {
  const char* name;
  RandomGenerator (*allocate)(void*);
  RandomGenerator (*clone)(RandomGenerator);
  void (*free)(RandomGenerator);
};

constexpr Kind kKinds[] = {
    {"twister", MersenneTwister_alloc, MersenneTwister_clone, MersenneTwister_free},
    {"parallel", PMT32_alloc, PMT32_clone, PMT32_free},
    {"automaton", CA5BufferState_alloc, CA5BufferState_clone, CA5BufferState_free},
};

TEST(MersenneTwister, GivesThePublishedOutputOfAKey) {
  RandomGenerator g = MersenneTwister_alloc(nullptr);
  seed(g, {0x12345, 0x23456, 0x34567, 0x45678});
  const uint64_t published[] = {7266447313870364031u,  4946485549665804864u, 16945909448695747420u,
                                16394063075524226720u, 4873882236456199058u, 14877448043947020171u};
  for (uint64_t expected : published) EXPECT_EQ(word(g), expected);
  MersenneTwister_free(g);
}

TEST(MersenneTwister, AgreesWithTheStandardLibraryForWords) {
  RandomGenerator g = MersenneTwister_alloc(nullptr);
  std::mt19937_64 model;
  for (int i = 0; i < 2000; ++i) ASSERT_EQ(word(g), model()) << i;
  for (uint64_t s : {uint64_t{0}, uint64_t{1}, ~uint64_t{0}, uint64_t{0x123456789abcdef}}) {
    MersenneTwister_seedWord(g, s);
    model.seed(s);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(word(g), model()) << s << ' ' << i;
  }
  MersenneTwister_free(g);
}

// The published init_by_array64, written out by itself, for keys shorter, as long as and longer than the
// state.
TEST(MersenneTwister, KeysOfAnyLengthSeedAsPublished) {
  RandomGenerator g = MersenneTwister_alloc(nullptr);
  for (size_t length : {1u, 2u, 311u, 312u, 313u, 1000u}) {
    std::vector<uint64_t> key(length);
    for (size_t i = 0; i < length; ++i) key[i] = 0x9e3779b97f4a7c15 * (i + length);
    std::vector<uint64_t> mt(312);
    mt[0] = 19650218;
    for (uint64_t i = 1; i < 312; ++i) mt[i] = 6364136223846793005u * (mt[i - 1] ^ (mt[i - 1] >> 62)) + i;
    uint64_t i = 1, j = 0;
    for (uint64_t k = std::max<uint64_t>(312, length); k; --k) {
      mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 62)) * 3935559000370003845u)) + key[j] + j;
      ++i, ++j;
      if (i >= 312) mt[0] = mt[311], i = 1;
      if (j >= length) j = 0;
    }
    for (uint64_t k = 311; k; --k) {
      mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 62)) * 2862933555777941757u)) - i;
      ++i;
      if (i >= 312) mt[0] = mt[311], i = 1;
    }
    mt[0] = uint64_t{1} << 63;
    seed(g, key);
    for (size_t n = 0; n < 700; ++n) {
      const size_t at = n % 312;
      const uint64_t x = (mt[at] & 0xffffffff80000000) | (mt[(at + 1) % 312] & 0x7fffffff);
      mt[at] = mt[(at + 156) % 312] ^ (x >> 1) ^ (x & 1 ? 0xb5026f5aa96619e9 : 0);
      uint64_t y = mt[at];
      y ^= (y >> 29) & 0x5555555555555555;
      y ^= (y << 17) & 0x71d67fffeda60000;
      y ^= (y << 37) & 0xfff7eee000000000;
      y ^= y >> 43;
      ASSERT_EQ(word(g), y) << length << ' ' << n;
    }
  }
  MersenneTwister_free(g);
}

// A plain model of a stream: words in a ring, one step a draw.
struct StreamModel {
  uint32_t aaa, mask_b, mask_c;
  std::vector<uint32_t> s = std::vector<uint32_t>(17);
  size_t at = 0;

  void seed(const std::vector<uint32_t>& key) {
    s[0] = 19650218;
    for (uint32_t i = 1; i < 17; ++i) s[i] = 1812433253u * (s[i - 1] ^ (s[i - 1] >> 30)) + i;
    uint32_t i = 1, j = 0;
    for (size_t k = std::max<size_t>(17, key.size()); k; --k) {
      s[i] = (s[i] ^ ((s[i - 1] ^ (s[i - 1] >> 30)) * 1664525u)) + key[j] + j;
      if (++i >= 17) s[0] = s[16], i = 1;
      if (++j >= key.size()) j = 0;
    }
    for (int k = 16; k; --k) {
      s[i] = (s[i] ^ ((s[i - 1] ^ (s[i - 1] >> 30)) * 1566083941u)) - i;
      if (++i >= 17) s[0] = s[16], i = 1;
    }
    s[0] = 0x80000000;
    at = 0;
  }
  uint32_t next() {
    const uint32_t x = (s[at] & 0xff800000) | (s[(at + 1) % 17] & 0x7fffff);
    s[at] = s[(at + 8) % 17] ^ (x >> 1) ^ (x & 1 ? aaa : 0);
    uint32_t y = s[at];
    at = (at + 1) % 17;
    y ^= y >> 12;
    y ^= (y << 7) & mask_b;
    y ^= (y << 15) & mask_c;
    return y ^ (y >> 18);
  }
};

TEST(ParallelGenerator, StreamsFollowTheirRecurrences) {
  const struct {
    mint index;
    StreamModel model;
  } streams[] = {{0, {0x91240000, 0xe4eced00, 0xdfd08000}},
                 {1, {0x94560001, 0x76977780, 0xef648000}},
                 {1023, {0xe2e503ff, 0xecf4ed80, 0xdfd48000}}};
  for (auto [index, model] : streams) {
    RandomGenerator g = PMT32_alloc(&index);
    ASSERT_NE(g, nullptr);
    for (size_t length : {1u, 8u, 9u, 30u}) {
      std::vector<uint64_t> key(length);
      std::vector<uint32_t> halves;
      for (size_t i = 0; i < length; ++i) {
        key[i] = 0xd1342543de82ef95 * (i + 7);
        halves.push_back(uint32_t(key[i]));
        halves.push_back(uint32_t(key[i] >> 32));
      }
      seed(g, key);
      model.seed(halves);
      for (int i = 0; i < 300; ++i) {
        const uint64_t low = model.next();
        const uint64_t expected = low | uint64_t{model.next()} << 32;
        ASSERT_EQ(word(g), expected) << index << ' ' << i;
      }
    }
    PMT32_free(g);
  }
}

TEST(ParallelGenerator, TakesItsStreamsAndNoOthers) {
  EXPECT_EQ(PMT32_checkParameters(0), 1);
  EXPECT_EQ(PMT32_checkParameters(1023), 1);
  EXPECT_EQ(PMT32_checkParameters(1024), 0);
  EXPECT_EQ(PMT32_checkParameters(-1), 0);
  mint outside = 1024;
  EXPECT_EQ(PMT32_alloc(&outside), nullptr);
  std::set<uint64_t> firsts;
  for (mint i = 0; i < 1024; ++i) {
    RandomGenerator g = PMT32_alloc(&i);
    seed(g, {42});
    for (int k = 0; k < 20; ++k) word(g);
    firsts.insert(word(g));
    PMT32_free(g);
  }
  EXPECT_EQ(firsts.size(), 1024u);
  mint last = PMT32_getNextIndex();
  for (int i = 0; i < 1024; ++i) {
    const mint next = PMT32_getNextIndex();
    EXPECT_EQ(next, (last + 1) % 1024);
    last = next;
  }
}

// A model of single cells on the ring, from the words that the key 0 leaves.
struct CellModel {
  mint width;
  std::vector<uint8_t> cells;

  explicit CellModel(const std::vector<uint64_t>& words) : width(mint(words.size())) {
    cells.resize(words.size() * 64);
    for (mint j = 0; j < 64; ++j)
      for (mint i = 0; i < width; ++i) cells[size_t(i + width * j)] = words[size_t(i)] >> ((64 - j) % 64) & 1;
  }
  void step() {
    const size_t n = cells.size();
    std::vector<uint8_t> next(n);
    for (size_t c = 0; c < n; ++c) {
      const auto at = [&](size_t d) { return cells[(c + d) % n]; };
      next[c] = !(at(0) ^ at(5) ^ (at(12) | at(29) | at(52)));
    }
    cells = next;
  }
  uint64_t word(mint i) const {
    uint64_t w = 0;
    for (mint j = 0; j < 64; ++j) w |= uint64_t{cells[size_t(i + width * j)]} << ((64 - j) % 64);
    return w;
  }
};

std::vector<uint64_t> wide_register(size_t width) {
  std::mt19937_64 auxiliary;
  std::vector<uint64_t> words(width);
  for (size_t i = width; i-- > 0;) words[i] = auxiliary();
  return words;
}

TEST(CellularAutomaton, StepsTheRingOfCells) {
  for (const auto& p : {std::array<mint, 3>{81, 4, 0}, {100, 1, 0}, {130, 7, 5}, {120, 3, 40}}) {
    std::array<mint, 3> parameters = p;
    RandomGenerator g = CA5BufferState_alloc(parameters.data());
    ASSERT_NE(g, nullptr);
    for (const std::vector<uint64_t>& key : {std::vector<uint64_t>{0}, {5}, {0, 0}, {1, 2, 3}}) {
      std::vector<uint64_t> words = wide_register(size_t(p[0]));
      const bool plain = key.size() == 1 && key[0] == 0;
      for (size_t i = 0; !plain && i < key.size(); ++i) words[i % words.size()] ^= key[key.size() - 1 - i];
      CellModel model(words);
      for (mint i = 0; !plain && i < 4 * p[0]; ++i) model.step();
      seed(g, key);
      for (int round = 0; round < 3; ++round) {
        model.step();
        for (mint k = 0; k < (p[0] - p[2]) / p[1]; ++k)
          ASSERT_EQ(word(g), model.word(p[2] + k * p[1])) << p[0] << ' ' << round << ' ' << k;
      }
    }
    CA5BufferState_free(g);
  }
}

TEST(CellularAutomaton, TableBeginsAsItsFirstStepShows) {
  // Every word after one step, by a second register that is output whole.
  mint parameters[] = {80, 1, 0};
  RandomGenerator g = CA5BufferState_alloc(parameters);
  std::vector<uint64_t> next(80);
  for (uint64_t& w : next) w = word(g);
  const uint64_t old0 = 0xa888f71022e181bd, old5 = 0x13198a2e03707344, old12 = 0x9216d5d98979fb1b;
  const uint64_t determined = old0 ^ old5 ^ next[0];  // the complement of the three others' union
  EXPECT_EQ(determined & old12, 0u);
  CA5BufferState_free(g);
}

TEST(CellularAutomaton, ChecksItsParameters) {
  EXPECT_EQ(CA5State_checkParameters(80, 4, 0), 1);
  EXPECT_EQ(CA5State_checkParameters(52, 1, 50), 1);
  EXPECT_EQ(CA5State_checkParameters(51, 4, 0), 0);
  EXPECT_EQ(CA5State_checkParameters(80, 80, 0), 0);
  EXPECT_EQ(CA5State_checkParameters(80, 0, 0), 0);
  EXPECT_EQ(CA5State_checkParameters(80, 4, -1), 0);
  EXPECT_EQ(CA5State_checkParameters(80, 4, 76), 0);
  mint wrong[] = {80, 80, 0};
  EXPECT_EQ(CA5BufferState_alloc(wrong), nullptr);
  mint huge[] = {INT64_MAX, 1, 0};
  EXPECT_EQ(CA5BufferState_alloc(huge), nullptr);
}

TEST(Generators, ClonesGoOnAsTheirOriginals) {
  for (const Kind& kind : kKinds) {
    RandomGeneratorMethod method = RandomGeneratorMethod_add(kind.name, kind.allocate, kind.clone, kind.free);
    RandomGenerator g = kind.allocate(nullptr);
    g->state->method_id = method->id;
    seed(g, {99, 3});
    for (int i = 0; i < 321; ++i) g->functions->bits(i % 64 + 1, g);
    RandomGenerator by_method = kind.clone(g);
    RandomGenerator by_registry = RandomGenerator_clone(g);
    for (int i = 0; i < 1000; ++i) {
      const mint bits = i % 64 + 1;
      const uint64_t expected = g->functions->bits(bits, g);
      ASSERT_EQ(by_method->functions->bits(bits, by_method), expected);
      ASSERT_EQ(by_registry->functions->bits(bits, by_registry), expected);
    }
    EXPECT_EQ(by_registry->state->reference_count, 1);
    kind.free(g);
    RandomGenerator_refDecr(by_method);
    RandomGenerator_refDecr(by_registry);
  }
}

// Low bits first; too few left are dropped.
TEST(Generators, BitsComeFromTheLowEndOfWords) {
  RandomGenerator g = MersenneTwister_alloc(nullptr), model = MersenneTwister_alloc(nullptr);
  uint64_t current = 0;
  mint left = 0;
  for (int i = 0; i < 5000; ++i) {
    const mint bits = (i * i) % 64 + 1;
    if (left < bits) {
      current = word(model);
      left = 64;
    }
    const uint64_t mask = bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
    ASSERT_EQ(g->functions->bits(bits, g), current & mask) << i;
    current = bits == 64 ? 0 : current >> bits;
    left -= bits;
  }
  MersenneTwister_free(g);
  MersenneTwister_free(model);
}

// A buffer over a host's fill function, with words of fewer valid bits.
TEST(Generators, BuffersOfNarrowWordsArePiecedTogether) {
  RandomGenerator g = MersenneTwister_alloc(nullptr);
  RandomBuffer_delete(static_cast<RandomBuffer>(g->state->data));
  static uint64_t counter;
  counter = 0;
  g->state->data = RandomBuffer_new(
      [](uint64_t* block, mint words, void*, int32_t* valid_bits) {
        for (mint i = 0; i < words; ++i) block[i] = 0xffff000000000000 | counter++;
        *valid_bits = 32;
        return int32_t{0};
      },
      3);
  EXPECT_EQ(word(g), uint64_t{1} << 32);
  EXPECT_EQ(g->functions->bits(32, g), 2u);
  EXPECT_EQ(g->functions->bits(16, g), 3u);
  EXPECT_EQ(g->functions->bits(16, g), 0u);
  mint out[4];
  EXPECT_EQ(Generic_randomMIntegers(out, 4, 0, 65535, g), 0);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(out[3], 4);
  EXPECT_EQ(RandomBuffer_new(nullptr, 3), nullptr);
  MersenneTwister_free(g);
}

// Normal deviates beyond 6.5 come once in ten thousand million draws; the seeds are fixed.
TEST(Generators, BitsAreBalancedAndUncorrelated) {
  constexpr int kDraws = 1 << 15;
  for (const Kind& kind : kKinds) {
    RandomGenerator g = kind.allocate(nullptr);
    seed(g, {20, 24});
    std::vector<uint64_t> words(kDraws);
    for (uint64_t& w : words) w = word(g);
    std::array<double, 64> ones{};
    std::array<std::array<double, 64>, 64> pairs{};
    std::array<double, 64> serial{};
    for (size_t n = 0; n < words.size(); ++n)
      for (size_t i = 0; i < 64; ++i) {
        const uint64_t bit = words[n] >> i & 1;
        ones[i] += double(bit);
        if (n % 8 == 0)
          for (size_t j = 0; j < i; ++j) pairs[i][j] += double(bit ^ (words[n] >> j & 1));
        if (n > 0) serial[i] += double(bit ^ (words[n - 1] >> i & 1));
      }
    const auto deviates = [](double count, double n) { return std::abs(count - n / 2) / std::sqrt(n / 4); };
    for (size_t i = 0; i < 64; ++i) {
      EXPECT_LT(deviates(ones[i], kDraws), 6.5) << kind.name << " bit " << i;
      EXPECT_LT(deviates(serial[i], kDraws - 1), 6.5) << kind.name << " bit " << i;
      for (size_t j = 0; j < i; ++j)
        EXPECT_LT(deviates(pairs[i][j], kDraws / 8), 6.5) << kind.name << " bits " << i << ' ' << j;
    }
    kind.free(g);
  }
}

TEST(Generators, KeysThatDifferInABitGiveUnrelatedStreams) {
  for (const Kind& kind : kKinds) {
    RandomGenerator a = kind.allocate(nullptr), b = kind.allocate(nullptr);
    for (int bit = 0; bit < 64; ++bit) {
      seed(a, {0x5555});
      seed(b, {0x5555 ^ uint64_t{1} << bit});
      int differing = 0;
      for (int i = 0; i < 20; ++i) differing += std::popcount(word(a) ^ word(b));
      EXPECT_NEAR(differing, 640, 6.5 * std::sqrt(320)) << kind.name << ' ' << bit;
    }
    kind.free(a);
    kind.free(b);
  }
}

}  // namespace
