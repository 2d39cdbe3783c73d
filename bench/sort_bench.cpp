// Sorting beside the standard library: ordering permutations against std::stable_sort of indices, values
// against std::sort, for inputs of several shapes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "zenthar/zenthar.h"

namespace {

enum Shape { kRandom, kSorted, kReversed, kFewDistinct, kSawTooth, kShapes };
constexpr const char* kShapeNames[] = {"random", "sorted", "reversed", "few-distinct", "saw-tooth"};

template <typename Value>
std::vector<Value> input(Shape shape, mint n) {
  std::mt19937_64 random(1);
  std::normal_distribution<double> normal;
  const auto number = [&]() -> Value {
    if constexpr (std::is_same_v<Value, mint>)
      return mint(random());
    else
      return normal(random);
  };
  std::vector<Value> values(static_cast<size_t>(n));
  std::vector<Value> pool(16);
  for (Value& x : pool) x = number();
  for (Value& x : values) x = shape == kFewDistinct ? pool[random() % pool.size()] : number();
  if (shape == kSorted) std::sort(values.begin(), values.end());
  if (shape == kReversed) std::sort(values.begin(), values.end(), std::greater<>());
  if (shape == kSawTooth)
    for (mint i = 0; i < n; ++i) values[size_t(i)] = Value(i % 1000) / Value(4);
  return values;
}

void sort_permutation(mint* permutation, const std::vector<mint>& values) {
  MergeSortPermutation_mint(permutation, values.data(), mint(values.size()));
}
void sort_permutation(mint* permutation, const std::vector<mreal>& values) {
  MergeSortPermutation_double(permutation, values.data(), mint(values.size()));
}

template <typename Value>
void permutation(benchmark::State& state, Shape shape, int32_t threads) {
  const auto values = input<Value>(shape, state.range(0));
  std::vector<mint> result(values.size());
  setParallelThreadNumber(threads);
  for (auto _ : state) {
    sort_permutation(result.data(), values);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Value>
void standard_permutation(benchmark::State& state, Shape shape) {
  const auto values = input<Value>(shape, state.range(0));
  std::vector<mint> result(values.size());
  for (auto _ : state) {
    std::iota(result.begin(), result.end(), mint{0});
    std::stable_sort(result.begin(), result.end(),
                     [&](mint a, mint b) { return values[size_t(a)] < values[size_t(b)]; });
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Value>
void sort_values(benchmark::State& state, Shape shape, int32_t threads) {
  const auto values = input<Value>(shape, state.range(0));
  const mint n = mint(values.size());
  const int32_t type = std::is_same_v<Value, mint> ? MTENSOR_TYPE_INTEGER : MTENSOR_TYPE_REAL;
  MTensor array = MTensor_newAllocatedCommon(type, 1, &n, 0), result = nullptr;
  std::copy(values.begin(), values.end(), static_cast<Value*>(array->data));
  setParallelThreadNumber(threads);
  for (auto _ : state) {
    if (MTensor_Sort(&result, array) != 0) state.SkipWithError("MTensor_Sort failed");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  MTensor_delete(array);
  MTensor_delete(result);
}

template <typename Value>
void standard_sort(benchmark::State& state, Shape shape) {
  const auto values = input<Value>(shape, state.range(0));
  std::vector<Value> result(values.size());
  for (auto _ : state) {
    std::copy(values.begin(), values.end(), result.begin());
    std::sort(result.begin(), result.end());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Neighbours differ in their last bits, so that the whole rule is gone through.
void compare_neighbours(benchmark::State& state, mreal tolerance) {
  std::mt19937_64 random(1);
  std::vector<mreal> values(1000);
  for (mreal& x : values) x = 1.5 + mreal(random() % 256) * 0x1p-52;
  for (auto _ : state) {
    int64_t equal = 0;
    for (size_t i = 1; i < values.size(); ++i)
      equal += compare_double(tolerance, values[i - 1], values[i]) == 0;
    benchmark::DoNotOptimize(equal);
  }
  state.SetItemsProcessed(state.iterations() * int64_t(values.size() - 1));
}

template <typename Value>
void register_type(const std::string& type) {
  for (int s = 0; s < kShapes; ++s) {
    const auto shape = Shape(s);
    const auto add = [&](const std::string& who, auto function, auto... arguments) {
      benchmark::RegisterBenchmark((type + "/" + kShapeNames[s] + "/" + who).c_str(), function, shape,
                                   arguments...)
          ->Arg(1000000)
          ->Unit(benchmark::kMillisecond)
          ->MeasureProcessCPUTime()
          ->UseRealTime();
    };
    add("permutation", permutation<Value>, 1);
    add("permutation-2-threads", permutation<Value>, 2);
    add("std-stable_sort-indices", standard_permutation<Value>);
    add("values", sort_values<Value>, 1);
    add("values-2-threads", sort_values<Value>, 2);
    add("std-sort-values", standard_sort<Value>);
  }
}

}  // namespace

int main(int argc, char** argv) {
  ZentharRTL_initialize();
  InitRuntimeLibrary(1);
  register_type<mint>("integers");
  register_type<mreal>("reals");
  for (const mreal tolerance : {0.0, 7.0, 7.5})
    benchmark::RegisterBenchmark(
        ("compare_double/tolerance:" + std::to_string(tolerance).substr(0, 3)).c_str(), compare_neighbours,
        tolerance);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  DeinitializeRuntimeLibrary(1);
  return 0;
}
