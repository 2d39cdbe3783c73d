// Random numbers beside the C++ standard library's: the 64-bit Mersenne Twister under its uniform
// distributions, std::discrete_distribution, std::sample and std::shuffle.
//
// Rows are named what/generator/elements; items_per_second counts elements. Ours are drawn by the exported
// functions from the named generator, theirs one by one from std::mt19937_64.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "zenthar/zenthar.h"

namespace {

constexpr mint kCount = 100000;

struct Generator {
  const char* name;
  RandomGenerator generator;
};

std::vector<Generator>& generators() {
  static std::vector<Generator> all = {{"twister", MersenneTwister_alloc(nullptr)},
                                       {"parallel", PMT32_alloc(nullptr)},
                                       {"automaton", CA5BufferState_alloc(nullptr)}};
  return all;
}

template <class T, class Body>
void row(const std::string& name, mint count, Body body) {
  benchmark::RegisterBenchmark((name + "/" + std::to_string(count)).c_str(),
                               [=](benchmark::State& state) mutable {
                                 std::vector<T> output(static_cast<size_t>(count));
                                 for (auto _ : state) {
                                   body(output.data(), count);
                                   benchmark::DoNotOptimize(output.data());
                                   benchmark::ClobberMemory();
                                 }
                                 state.SetItemsProcessed(state.iterations() * count);
                               });
}

template <class T, class Body>
void rows(const std::string& name, mint count, Body body) {
  for (const Generator& g : generators())
    row<T>(name + "/" + g.name, count, [=](T* output, mint n) {
      if (body(output, n, g.generator) != 0) std::abort();
    });
}

template <class T, class Distribution>
void standard_row(const std::string& name, mint count, Distribution distribution) {
  row<T>(name + "/std", count, [=, engine = std::mt19937_64{}](T* output, mint n) mutable {
    for (mint i = 0; i < n; ++i) output[i] = T(distribution(engine));
  });
}

void add_uniform_rows() {
  rows<uint64_t>("words", kCount, [](uint64_t* output, mint n, RandomGenerator g) {
    return Generic_randomMIntegers(reinterpret_cast<mint*>(output), n, INT64_MIN, INT64_MAX, g);
  });
  row<uint64_t>("words/std", kCount, [engine = std::mt19937_64{}](uint64_t* output, mint n) mutable {
    for (mint i = 0; i < n; ++i) output[i] = engine();
  });
  rows<mreal>("reals", kCount, [](mreal* output, mint n, RandomGenerator g) {
    return Generic_randomMReals(output, n, g, 0, 1);
  });
  standard_row<mreal>("reals", kCount, std::uniform_real_distribution<mreal>(0, 1));
  for (mint high : {mint{255}, mint{6}, mint{1000000000}}) {
    const std::string name = "integers_0_" + std::to_string(high);
    rows<mint>(name, kCount, [=](mint* output, mint n, RandomGenerator g) {
      return Generic_randomMIntegers(output, n, 0, high, g);
    });
    standard_row<mint>(name, kCount, std::uniform_int_distribution<mint>(0, high));
  }
}

constexpr mint kWeights = 1000;

std::vector<mreal> some_weights() {
  std::vector<mreal> weights(kWeights);
  for (size_t i = 0; i < weights.size(); ++i) weights[i] = mreal(i * 7919 % 1000 + 1);
  return weights;
}

void add_choice_rows() {
  const std::vector<mreal> weights = some_weights();
  std::vector<mreal> sums(kWeights);
  std::partial_sum(weights.begin(), weights.end(), sums.begin());
  rows<mint>("choices_of_1000", kCount, [](mint* output, mint n, RandomGenerator g) {
    return Generic_randomMIntegers(output, n, 1, kWeights, g);
  });
  standard_row<mint>("choices_of_1000", kCount, std::uniform_int_distribution<mint>(1, kWeights));
  rows<mint>("weighted_choices_of_1000", kCount, [=](mint* output, mint n, RandomGenerator g) {
    return RandomChoicePositionsM(output, n, sums.data(), kWeights, g);
  });
  standard_row<mint>("weighted_choices_of_1000", kCount,
                     std::discrete_distribution<mint>(weights.begin(), weights.end()));
}

void add_sample_rows() {
  for (mint k : {mint{1000}, mint{20000}, mint{200000}}) {
    constexpr mint kPositions = 200000;
    const std::string name = "samples_of_200000";
    rows<mint>(name, k, [](mint* output, mint n, RandomGenerator g) {
      return SimpleRandomSamplePositionsM(output, n, kPositions, g);
    });
    row<mint>(name + "/std", k, [engine = std::mt19937_64{}](mint* output, mint n) mutable {
      static const std::vector<mint> positions = [] {
        std::vector<mint> all(kPositions);
        std::iota(all.begin(), all.end(), 1);
        return all;
      }();
      std::sample(positions.begin(), positions.end(), output, n, engine);
    });
  }
  constexpr mint kPermuted = 200000;
  rows<mint>("permutations", kPermuted, [](mint* output, mint n, RandomGenerator g) {
    return SimpleRandomSamplePositionsM(output, n, n, g);
  });
  row<mint>("permutations/std", kPermuted, [engine = std::mt19937_64{}](mint* output, mint n) mutable {
    std::iota(output, output + n, 1);
    std::shuffle(output, output + n, engine);
  });
  const std::vector<mreal> weights = some_weights();
  MTensor tensor = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 1, &kWeights, 0);
  std::copy(weights.begin(), weights.end(), static_cast<mreal*>(tensor->data));
  for (mint k : {mint{50}, mint{500}})
    rows<mint>("weighted_samples_of_1000", k, [tensor](mint* output, mint n, RandomGenerator g) {
      CurrentRandomGenerator_set(g);
      return RandomSamples(output, n, kWeights, tensor);
    });
}

}  // namespace

int main(int argc, char** argv) {
  ZentharRTL_initialize();
  add_uniform_rows();
  add_choice_rows();
  add_sample_rows();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
