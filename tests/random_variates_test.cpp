// Uniform variates, choices and samples: scripted generators that fix every draw, models of packing,
// rejection and grid, block-wise against element-wise drawing, codes, and frequencies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <set>
#include <vector>

#include "zenthar/errors.h"
#include "zenthar/hashing.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"
#include "zenthar/random.h"
#include "zenthar/runtime.h"

namespace {

// A host's generator that hands out prepared words, notes how many bits were asked for, and can raise the
// abort flag at a draw.
struct Script {
  st_RandomGenerator generator{};
  st_RandomGeneratorFunctions functions{};
  std::vector<uint64_t> words;
  std::vector<mint> asked;
  size_t abort_at = SIZE_MAX;

  explicit Script(std::vector<uint64_t> w = {}) : words(std::move(w)) {
    generator.functions = &functions;
    generator.copied = this;
    functions.integers = Generic_randomMIntegers;
    functions.reals = Generic_randomMReals;
    functions.bits = [](mint bits, RandomGenerator g) {
      auto* self = static_cast<Script*>(g->copied);
      self->asked.push_back(bits);
      if (self->asked.size() == self->abort_at) *getAbortWatchHandle() = 1;
      return self->words[(self->asked.size() - 1) % self->words.size()];
    };
  }
  operator RandomGenerator() { return &generator; }
};

// A generator whose bits are another's, drawn one element at a time.
struct Forward : Script {
  RandomGenerator source;
  explicit Forward(RandomGenerator s) : source(s) {
    functions.bits = [](mint bits, RandomGenerator g) {
      auto* self = static_cast<Forward*>(static_cast<Script*>(g->copied));
      const uint64_t garbage = bits == 64 ? 0 : ~uint64_t{0} << bits;
      return self->source->functions->bits(bits, self->source) | garbage;
    };
  }
};

class Current {
 public:
  explicit Current(RandomGenerator g) : before_(CurrentRandomGenerator_get()) {
    CurrentRandomGenerator_set(g);
  }
  ~Current() { CurrentRandomGenerator_set(before_); }

 private:
  RandomGenerator before_;
};

MTensor reals_tensor(const std::vector<mreal>& values) {
  const mint n = mint(values.size());
  MTensor t = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 1, &n, 0);
  std::copy(values.begin(), values.end(), static_cast<mreal*>(t->data));
  return t;
}

TEST(Integers, PackedFieldsRunFromTheLastElementOfAGroup) {
  Script g({0x0123456789abcdef, 0xfedcba9876543210, 0x77, 0x1ff});
  std::vector<mint> out(18);
  EXPECT_EQ(Generic_randomMIntegers(out.data(), 18, -1, 254, g), 0);
  const std::vector<mint> expected = {0x00, 0x22, 0x44, 0x66, 0x88, 0xaa, 0xcc, 0xee, 0xfd,
                                      0xdb, 0xb9, 0x97, 0x75, 0x53, 0x31, 0x0f, 0x76, 0xfe};
  EXPECT_EQ(out, expected);
  EXPECT_EQ(g.asked, (std::vector<mint>{64, 64, 8, 8}));
}

TEST(Integers, OtherRangesRejectTheirBits) {
  Script g({7, 15, 3, 0, 6});  // low three bits: 7 twice rejected
  mint out[3];
  EXPECT_EQ(Generic_randomMIntegers(out, 3, 10, 16, g), 0);
  EXPECT_EQ(out[0], 13);
  EXPECT_EQ(out[1], 10);
  EXPECT_EQ(out[2], 16);
  EXPECT_EQ(g.asked, std::vector<mint>(5, 3));
  Script wide({5, uint64_t(-1)});
  EXPECT_EQ(Generic_randomMIntegers(out, 2, INT64_MIN, INT64_MAX, wide), 0);
  EXPECT_EQ(out[0], INT64_MIN + 5);
  EXPECT_EQ(out[1], INT64_MAX);
  EXPECT_EQ(wide.asked, std::vector<mint>(2, 64));
  Script word32({0x1ffffffff});  // 2^32 - 1 is no packed range
  EXPECT_EQ(Generic_randomMIntegers(out, 2, 0, 0xffffffff, word32), 0);
  EXPECT_EQ(word32.asked, std::vector<mint>(2, 32));
  EXPECT_EQ(out[1], 0xffffffff);
}

TEST(Integers, EqualEndsDrawNothing) {
  Script g({1});
  mint out[] = {0, 0, 77};
  EXPECT_EQ(Generic_randomMIntegers(out, 2, 9, 9, g), 0);
  EXPECT_EQ(out[1], 9);
  EXPECT_EQ(out[2], 77);
  EXPECT_TRUE(g.asked.empty());
  g.functions.bits = nullptr;
  EXPECT_EQ(Generic_randomMIntegers(out, 2, 0, 9, g), 11);
}

TEST(Integers, UniformTakesItsEndsInEitherOrder) {
  Script g({1, 2, 3});
  const Current current(g);
  mint out[3];
  EXPECT_EQ(UniformRandomMIntegers(out, 3, 7, 3), 0);
  EXPECT_EQ((std::vector<mint>(out, out + 3)), (std::vector<mint>{4, 5, 6}));
  g.functions.integers = nullptr;
  EXPECT_EQ(UniformRandomMIntegers(out, 3, 7, 3), 11);
  EXPECT_EQ(RandomChoices(out, 3, 5, nullptr), -1);
  EXPECT_EQ(RandomSamples(out, 3, 5, nullptr), -1);
}

TEST(Reals, LieOnTheGrid) {
  const std::vector<uint64_t> draws = {0, 1, (uint64_t{1} << 52) - 1, 0xfff0000000000003, 0x8000000000000};
  const std::pair<mreal, mreal> ranges[] = {{0, 1}, {-3, 5}, {2, -7}, {1e300, 1.5e300}, {0, 0}};
  for (auto [low, high] : ranges) {
    Script g(draws);
    std::vector<mreal> out(draws.size());
    EXPECT_EQ(Generic_randomMReals(out.data(), mint(out.size()), g, low, high), 0);
    const mreal d = 2 * (high - low), base = high - d, scale = d * 0x1p-53;
    for (size_t i = 0; i < draws.size(); ++i) {
      const mreal product = (mreal(draws[i] & 0xfffffffffffff) + 0x1p52) * scale;
      EXPECT_EQ(out[i], base + product);
    }
    EXPECT_EQ(out[0], low);
    EXPECT_EQ(g.asked, std::vector<mint>(draws.size(), 52));
  }
}

TEST(Reals, RangesMustBeFinite) {
  constexpr mreal kMax = std::numeric_limits<mreal>::max(), kNaN = std::numeric_limits<mreal>::quiet_NaN();
  const std::pair<mreal, mreal> ranges[] = {
      {0, kMax}, {-kMax, kMax}, {0, kNaN}, {HUGE_VAL, 0}, {-kMax, -kMax / 3}};
  for (auto [low, high] : ranges) {
    Script g({1});
    mreal out = 5;
    EXPECT_EQ(Generic_randomMReals(&out, 1, g, low, high), 1001) << low << ' ' << high;
    EXPECT_EQ(out, 5);
    EXPECT_TRUE(g.asked.empty());
  }
  Script g;
  g.functions.bits = nullptr;
  mreal out;
  EXPECT_EQ(Generic_randomMReals(&out, 1, g, 0, kNaN), 11);
  g.functions.reals = nullptr;
  const Current current(g);
  EXPECT_EQ(UniformRandomMReals(&out, 1, 0, 1), 11);
}

TEST(Reals, AnAbortStopsAfterTheElement) {
  Script g({1});
  g.abort_at = 3;
  mreal out[5] = {9, 9, 9, 9, 9};
  EXPECT_EQ(Generic_randomMReals(out, 5, g, 0, 1), 1000);
  EXPECT_EQ(g.asked.size(), 3u);
  EXPECT_NE(out[2], 9);
  EXPECT_EQ(out[3], 9);
  // The library's own generators stop in the same place and go on from it.
  RandomGenerator own = MersenneTwister_alloc(nullptr), model = MersenneTwister_alloc(nullptr);
  mreal a[2] = {9, 9}, b[2];
  EXPECT_EQ(Generic_randomMReals(a, 2, own, 0, 1), 1000);
  EXPECT_EQ(a[1], 9);
  watch = 0;
  EXPECT_EQ(Generic_randomMReals(b, 2, model, 0, 1), 0);
  EXPECT_EQ(a[0], b[0]);
  EXPECT_EQ(Generic_randomMReals(a, 1, own, 0, 1), 0);
  EXPECT_EQ(a[0], b[1]);
  MersenneTwister_free(own);
  MersenneTwister_free(model);
}

TEST(Complexes, AreDrawnPartByPart) {
  Script g({0, uint64_t{1} << 51, 0, uint64_t{1} << 51});
  const Current current(g);
  mcomplex z[2];
  EXPECT_EQ(UniformRandomMComplexes(z, 2, {1, 10}, {3, 20}), 0);
  EXPECT_EQ(z[0].re, 1);
  EXPECT_EQ(z[1].re, 2);
  EXPECT_EQ(z[0].im, 10);
  EXPECT_EQ(z[1].im, 15);
  const mcomplex far{3, HUGE_VAL};
  EXPECT_EQ(UniformRandomMComplexes(z, 2, {1, 10}, far), 1001);  // the second call fails
  EXPECT_EQ(z[0].re, 1);
  EXPECT_EQ(z[0].im, 0);
  z[0] = {7, 7};
  EXPECT_EQ(UniformRandomMComplexes(z, 2, {HUGE_VAL, 10}, {3, 20}), 1001);
  EXPECT_EQ(z[0].im, 7);
  EXPECT_EQ(UniformRandomMComplexes(z, INT64_MAX / 8, {0, 0}, {1, 1}), 403);
}

// Every mixture of functions, in every place of a word and a block, gives what single draws give.
TEST(Blocks, GiveTheValuesOfSingleDraws) {
  RandomGenerator (*const kinds[])(void*) = {MersenneTwister_alloc, PMT32_alloc, CA5BufferState_alloc};
  for (auto allocate : kinds) {
    RandomGenerator own = allocate(nullptr), behind = allocate(nullptr);
    Forward single(behind);
    const uint64_t ranges[] = {
        1,           2,     3,          6,          15,         100,         255,
        256,         65535, 1000000000, 0x7fffffff, 0xffffffff, 0x100000000, uint64_t{1} << 62,
        ~uint64_t{0}};
    const mint counts[] = {1, 2, 5, 21, 64, 333, 1000, 2047};
    std::vector<mint> a(2048), b(2048);
    std::vector<mreal> x(2048), y(2048);
    for (int round = 0; round < 4; ++round)
      for (uint64_t range : ranges)
        for (mint count : counts) {
          a[size_t(count)] = b[size_t(count)] = -1;
          const mint low = -123456789, high = mint(uint64_t(low) + range);
          ASSERT_EQ(Generic_randomMIntegers(a.data(), count, low, high, own), 0);
          ASSERT_EQ(Generic_randomMIntegers(b.data(), count, low, high, single), 0);
          ASSERT_EQ(std::memcmp(a.data(), b.data(), size_t(count + 1) * 8), 0) << range << ' ' << count;
          if ((round + count) % 3 == 0) {
            ASSERT_EQ(Generic_randomMReals(x.data(), count, own, -1, 2), 0);
            ASSERT_EQ(Generic_randomMReals(y.data(), count, single, -1, 2), 0);
            ASSERT_EQ(std::memcmp(x.data(), y.data(), size_t(count) * 8), 0) << range << ' ' << count;
          }
          const mint bits = count % 13 + 1;
          ASSERT_EQ(own->functions->bits(bits, own), behind->functions->bits(bits, behind));
        }
    // Choices and samples, too, in chunks and at once.
    std::vector<mreal> weights(150), many(3000);
    for (size_t i = 0; i < weights.size(); ++i) weights[i] = i % 7 == 0 ? 0 : std::exp(mreal(i % 31) - 15);
    for (size_t i = 0; i < many.size(); ++i) many[i] = mreal(i % 11);
    for (const std::vector<mreal>& w : {weights, many}) {
      MTensor t = reals_tensor(w), sums = nullptr;
      ASSERT_EQ(AccumulateWeightMTensor(&sums, t), 0);
      const mint m = mint(w.size());
      for (mint k : {mint{1}, mint{10}, mint{90}, mint{2000}}) {
        ASSERT_EQ(RandomChoicePositionsM(a.data(), k, static_cast<mreal*>(sums->data), m, own), 0);
        ASSERT_EQ(RandomChoicePositionsM(b.data(), k, static_cast<mreal*>(sums->data), m, single), 0);
        ASSERT_EQ(std::memcmp(a.data(), b.data(), size_t(k) * 8), 0) << k;
        if (k > m) continue;
        ASSERT_EQ(RandomSamplePositionsM(a.data(), k, sums, own), 0);
        ASSERT_EQ(RandomSamplePositionsM(b.data(), k, sums, single), 0);
        ASSERT_EQ(std::memcmp(a.data(), b.data(), size_t(k) * 8), 0) << k;
        ASSERT_EQ(SimpleRandomSamplePositionsM(a.data(), k, m, own), 0);
        ASSERT_EQ(SimpleRandomSamplePositionsM(b.data(), k, m, single), 0);
        ASSERT_EQ(std::memcmp(a.data(), b.data(), size_t(k) * 8), 0) << k;
      }
      FreeMTensor(t);
      FreeMTensor(sums);
    }
    MersenneTwister_free(own);
    MersenneTwister_free(behind);
  }
}

TEST(Weights, AreSummedOrRefused) {
  const struct {
    std::vector<mreal> weights;
    int32_t code;
  } cases[] = {{{1, 0, 3}, 0},   {{0, 0}, -1},          {{}, -1}, {{1, -0.5}, -1}, {{1, HUGE_VAL}, 1001},
               {{1, NAN}, 1001}, {{1e308, 1e308}, 1001}};
  for (const auto& c : cases) {
    MTensor t = reals_tensor(c.weights), sums = nullptr;
    EXPECT_EQ(AccumulateWeightMTensor(&sums, t), c.code);
    EXPECT_EQ(sums->flattenedLength, mint(c.weights.size()));
    if (c.code == 0) {
      EXPECT_EQ(static_cast<mreal*>(sums->data)[2], 4);
    }
    FreeMTensor(sums);
    FreeMTensor(t);
  }
}

TEST(Choices, TakeTheFirstPositionThatReachesTheDraw) {
  constexpr uint64_t kOne = uint64_t{1} << 52;
  const mreal sums[] = {0, 1, 1, 4};
  Script g({0, kOne / 4, kOne / 4 + 1, kOne - 1, 1});
  mint out[5];
  EXPECT_EQ(RandomChoicePositionsM(out, 5, sums, 4, g), 0);
  EXPECT_EQ((std::vector<mint>(out, out + 5)), (std::vector<mint>{2, 2, 4, 4, 2}));
  EXPECT_EQ(RandomChoicePositionsM(out, INT64_MAX / 8, sums, 4, g), 403);
  g.functions.reals = nullptr;
  EXPECT_EQ(RandomChoicePositionsM(out, 5, sums, 4, g), 11);
  EXPECT_EQ(RandomChoicePositionsM(out, 0, sums, 4, g), 0);
}

// With tables of either size and without one, for weights that put none, one, two or hundreds of sums in a
// slice.
TEST(Choices, TablesFindWhatASearchFinds) {
  RandomGenerator g = MersenneTwister_alloc(nullptr), same = MersenneTwister_alloc(nullptr);
  mreal (*const shapes[])(size_t) = {[](size_t) { return 1.0; },
                                     [](size_t i) { return mreal(i * 7919 % 1000); },
                                     [](size_t i) { return i % 3 == 0 ? std::exp(mreal(i % 61) - 30) : 0; },
                                     [](size_t i) { return 1 / mreal((i + 1) * (i + 1)); }};
  for (auto shape : shapes)
    for (mint m : {7, 8, 150, 1024, 3000}) {
      std::vector<mreal> sums(static_cast<size_t>(m));
      for (size_t i = 0; i < sums.size(); ++i) sums[i] = shape(i) + (i > 0 ? sums[i - 1] : 0);
      for (mint k : {m / 2 - 1, m, 4 * m}) {
        std::vector<mint> positions(static_cast<size_t>(k));
        std::vector<mreal> draws(positions.size());
        ASSERT_EQ(RandomChoicePositionsM(positions.data(), k, sums.data(), m, g), 0);
        ASSERT_EQ(Generic_randomMReals(draws.data(), k, same, 0, sums.back()), 0);
        for (size_t i = 0; i < draws.size(); ++i)
          ASSERT_EQ(positions[i], std::lower_bound(sums.begin(), sums.end(), draws[i]) - sums.begin() + 1);
      }
    }
  MersenneTwister_free(g);
  MersenneTwister_free(same);
}

TEST(Choices, KeepWhatWasDrawnBeforeAFailure) {
  Script g({0});
  g.abort_at = 2;
  const mreal sums[] = {1, 2};
  mint out[] = {7, 7, 7};
  EXPECT_EQ(RandomChoicePositionsM(out, 3, sums, 2, g), 1000);
  watch = 0;
  EXPECT_EQ((std::vector<mint>(out, out + 3)), (std::vector<mint>{1, 1, 7}));
}

TEST(Choices, CheckTheirArguments) {
  Script g({5});
  const Current current(g);
  MTensor w = reals_tensor({1, 0, 3}), zero = reals_tensor({0, 0}), negative = reals_tensor({1, -0.5});
  mint out[4] = {};
  EXPECT_EQ(RandomChoices(out, 4, 4, w), 3);
  EXPECT_EQ(RandomChoices(out, 4, 2, zero), -1);
  EXPECT_EQ(RandomChoices(out, 4, 2, negative), -1);
  EXPECT_EQ(RandomChoices(out, 0, 2, w), 0);
  EXPECT_EQ(RandomSamples(out, 1, 2, zero), -1);
  EXPECT_EQ(RandomChoices(out, 4, 0, nullptr), -1);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(RandomSamples(out, 3, 3, w), -1);  // two positions have a weight
  EXPECT_EQ((std::set<mint>{out[0], out[1]}), (std::set<mint>{1, 3}));
  EXPECT_EQ(out[2], 0);
  for (MTensor t : {w, zero, negative}) FreeMTensor(t);
}

TEST(Samples, ExchangeFromTheEnd) {
  Script g({2, 0, 3, 1, 0});  // of 0..4, 0..3, (3 rejected) 0..2, 0..1; the last needs no bits
  mint out[5];
  EXPECT_EQ(SimpleRandomSamplePositionsM(out, 5, 5, g), 0);
  EXPECT_EQ((std::vector<mint>(out, out + 5)), (std::vector<mint>{3, 1, 2, 4, 5}));
  EXPECT_EQ(g.asked, (std::vector<mint>{3, 2, 2, 2, 1}));
}

TEST(Samples, DrawAgainWhatWasDrawnBefore) {
  Script g({4, 4, 8, 8, 4, 0});
  mint out[3];
  EXPECT_EQ(SimpleRandomSamplePositionsM(out, 3, 1000, g), 0);
  EXPECT_EQ((std::vector<mint>(out, out + 3)), (std::vector<mint>{5, 9, 1}));
  EXPECT_EQ(g.asked.size(), 6u);
}

TEST(Samples, WeightedOnesAreDifferentAndHaveWeight) {
  RandomGenerator g = MersenneTwister_alloc(nullptr);
  std::vector<mreal> weights(500);
  for (size_t i = 0; i < weights.size(); ++i) weights[i] = i % 3 == 0 ? 0 : std::exp(mreal(i % 20) - 10);
  const mint positive = mint(std::count_if(weights.begin(), weights.end(), [](mreal w) { return w > 0; }));
  MTensor t = reals_tensor(weights), sums = nullptr;
  ASSERT_EQ(AccumulateWeightMTensor(&sums, t), 0);
  for (mint k : {mint{3}, mint{40}, mint{200}, positive}) {
    std::vector<mint> out(size_t(k), 0);
    ASSERT_EQ(RandomSamplePositionsM(out.data(), k, sums, g), 0) << k;
    EXPECT_EQ(std::set<mint>(out.begin(), out.end()).size(), size_t(k));
    for (mint p : out) EXPECT_GT(weights.at(size_t(p - 1)), 0);
  }
  std::vector<mint> out(500, 0);
  EXPECT_EQ(RandomSamplePositionsM(out.data(), 500, sums, g), -1);
  EXPECT_EQ(std::count(out.begin(), out.end(), 0), 500 - positive);
  // By drawing again, with fewer weights than positions wanted.
  std::vector<mreal> few(100, 0.0);
  few[10] = few[20] = 1;
  MTensor f = reals_tensor(few), few_sums = nullptr;
  ASSERT_EQ(AccumulateWeightMTensor(&few_sums, f), 0);
  out.assign(500, 0);
  EXPECT_EQ(RandomSamplePositionsM(out.data(), 5, few_sums, g), -1);
  EXPECT_EQ((std::set<mint>{out[0], out[1]}), (std::set<mint>{11, 21}));
  EXPECT_EQ(out[2], 0);
  watch = 1;
  for (mint k : {mint{2}, mint{50}}) EXPECT_EQ(RandomSamplePositionsM(out.data(), k, few_sums, g), 1000);
  watch = 0;
  for (MTensor tensor : {t, sums, f, few_sums}) FreeMTensor(tensor);
  MersenneTwister_free(g);
}

TEST(Samples, MoreThanThereAreGivesAll) {
  RandomGenerator g = MersenneTwister_alloc(nullptr);
  mint out[6] = {};
  EXPECT_EQ(SimpleRandomSamplePositionsM(out, 6, 4, g), -1);
  EXPECT_EQ((std::set<mint>(out, out + 4)), (std::set<mint>{1, 2, 3, 4}));
  EXPECT_EQ(out[4], 0);
  MersenneTwister_free(g);
}

// The bound of chi-square that is passed less than once in a million runs (Wilson and Hilferty).
double chi_square_bound(double df) {
  const double z = 5.0, t = 1 - 2 / (9 * df) + z * std::sqrt(2 / (9 * df));
  return df * t * t * t;
}

void expect_frequencies(const std::vector<double>& counts, const std::vector<double>& expected) {
  double chi_square = 0;
  int df = -1;
  for (size_t i = 0; i < counts.size(); ++i) {
    if (expected[i] == 0) {
      EXPECT_EQ(counts[i], 0) << i;
      continue;
    }
    chi_square += (counts[i] - expected[i]) * (counts[i] - expected[i]) / expected[i];
    ++df;
  }
  EXPECT_LT(chi_square, chi_square_bound(df));
}

TEST(Frequencies, FollowTheWeights) {
  RandomGenerator g = MersenneTwister_alloc(nullptr);
  const std::vector<mreal> weights = {1, 0, 3, 0.5, 0, 2.25, 7, 0.25, 0, 4};
  const double total = std::accumulate(weights.begin(), weights.end(), 0.0);
  MTensor t = reals_tensor(weights), sums = nullptr;
  ASSERT_EQ(AccumulateWeightMTensor(&sums, t), 0);
  constexpr mint kDraws = 200000;
  std::vector<mint> out(kDraws);
  ASSERT_EQ(RandomChoicePositionsM(out.data(), kDraws, static_cast<mreal*>(sums->data), 10, g), 0);
  std::vector<double> counts(10), expected(10), pairs(100), expected_pairs(100);
  for (mint p : out) ++counts[size_t(p - 1)];
  for (size_t i = 0; i < 10; ++i) expected[i] = kDraws * weights[i] / total;
  expect_frequencies(counts, expected);
  // Two without replacement, both ways of sampling: the second by what the first leaves.
  for (int round = 0; round < 100000; ++round) {
    mint two[2];
    ASSERT_EQ(RandomSamplePositionsM(two, 2, sums, g), 0);
    ++pairs[size_t((two[0] - 1) * 10 + two[1] - 1)];
  }
  for (size_t i = 0; i < 10; ++i)
    for (size_t j = 0; j < 10; ++j)
      if (i != j)
        expected_pairs[i * 10 + j] = 100000 * weights[i] / total * weights[j] / (total - weights[i]);
  expect_frequencies(pairs, expected_pairs);
  FreeMTensor(t);
  FreeMTensor(sums);
  MersenneTwister_free(g);
}

TEST(Frequencies, OfIntegersAndPermutationsAreEqual) {
  RandomGenerator g = CA5BufferState_alloc(nullptr);
  for (mint n : {mint{2}, mint{7}, mint{16}, mint{100}, mint{256}}) {
    std::vector<mint> out(100000);
    ASSERT_EQ(Generic_randomMIntegers(out.data(), 100000, 0, n - 1, g), 0);
    std::vector<double> counts(size_t(n), 0);
    for (mint v : out) ++counts.at(size_t(v));
    expect_frequencies(counts, std::vector<double>(size_t(n), 100000.0 / double(n)));
  }
  std::vector<double> permutations(24, 0);
  for (int round = 0; round < 48000; ++round) {
    mint p[4];
    ASSERT_EQ(SimpleRandomSamplePositionsM(p, 4, 4, g), 0);
    size_t rank = 0;
    for (int i = 0; i < 4; ++i)
      rank = rank * size_t(4 - i) + size_t(std::count_if(p + i + 1, p + 4, [&](mint q) { return q < p[i]; }));
    ++permutations.at(rank);
  }
  expect_frequencies(permutations, std::vector<double>(24, 2000));
  CA5BufferState_free(g);
}

TEST(PositionTables, ArePreparedForTheirPositions) {
  HashTable table = PositionHashTable_new(50);
  EXPECT_EQ(table->capacity, 127);
  int32_t added = 0;
  for (mint p : {mint{3}, mint{700}}) {
    HashTable_GetOrAdd(table, reinterpret_cast<void*>(p), &added);
    EXPECT_EQ(added, 1);
  }
  HashTable_GetOrAdd(table, reinterpret_cast<void*>(mint{3}), &added);
  EXPECT_EQ(added, 0);
  FreeOrEmpty_HashTable(table, 1);
}

}  // namespace
