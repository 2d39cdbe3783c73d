// Vector functions, without and with checks, beside the loop that one would write in C.
//
// Rows are named operation/type/way/elements, where the way is that loop (c) or a processor target, with
// checks or without, divided among all processors or not; items_per_second counts elements. 8192 elements
// stay in the caches of a core, 4 million come from memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "kernels/vector/targets.h"
#include "zenthar/zenthar.h"

namespace {

constexpr const char* kTargetNames[zenthar::kTargets] = {"baseline", "avx2", "avx512"};
constexpr mint kShort = 8192, kLong = mint(1) << 22;

template <class T>
struct Type;
template <>
struct Type<int8_t> {
  static constexpr int32_t kId = 1;
  static constexpr const char* kName = "integer8";
};
template <>
struct Type<uint8_t> {
  static constexpr int32_t kId = 2;
  static constexpr const char* kName = "unsigned8";
};
template <>
struct Type<int16_t> {
  static constexpr int32_t kId = 3;
  static constexpr const char* kName = "integer16";
};
template <>
struct Type<uint16_t> {
  static constexpr int32_t kId = 4;
  static constexpr const char* kName = "unsigned16";
};
template <>
struct Type<int32_t> {
  static constexpr int32_t kId = 5;
  static constexpr const char* kName = "integer32";
};
template <>
struct Type<mint> {
  static constexpr int32_t kId = 7;
  static constexpr const char* kName = "integer";
};
template <>
struct Type<float> {
  static constexpr int32_t kId = 9;
  static constexpr const char* kName = "real32";
};
template <>
struct Type<mreal> {
  static constexpr int32_t kId = 10;
  static constexpr const char* kName = "real";
};

// Memory as a host's arrays have it: of the library's allocator, which asks for huge pages for large blocks.
// So does numpy.
template <class T>
struct OfLibrary {
  using value_type = T;
  OfLibrary() = default;
  template <class U>
  OfLibrary(const OfLibrary<U>&) {}
  T* allocate(size_t n) { return static_cast<T*>(zalloc(n * sizeof(T), 1, 0)); }
  void deallocate(T* p, size_t) { zfree(p); }
  friend bool operator==(OfLibrary, OfLibrary) { return true; }
};
template <class T>
using Run = std::vector<T, OfLibrary<T>>;

// Elements of both signs where there are, never 0, whose products and differences (from the first run) fit.
template <class T>
Run<T> operand(mint n, int seed) {
  constexpr int kBits = std::min(19, int(4 * sizeof(T)) - 1);
  Run<T> run(static_cast<size_t>(n));
  uint64_t state = uint64_t(seed) * 0x9E3779B97F4A7C15u;
  for (T& x : run) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    const auto value = int64_t(state >> (64 - kBits));
    const int64_t half = int64_t(1) << (kBits - 1);
    if (std::is_unsigned_v<T>) {
      x = T(seed == 1 ? half + value / 2 : value / 2);
    } else {
      x = T(value - half);
    }
    if (x == T(0)) x = T(1);
  }
  return run;
}

// Keeps the compiler from seeing through the loop, not from vectorising it.
template <class T, class F>
[[gnu::noinline]] void c_loop(T* result, const T* a, const T* b, mint n, F f) {
  for (mint i = 0; i < n; ++i) result[i] = f(a[i], b[i]);
}

template <class T, class F>
void add_rows(const std::string& name, int32_t op, F f, bool unary, bool positive = false) {
  constexpr int32_t type = Type<T>::kId;
  for (mint n : {kShort, kLong}) {
    const auto row = [&](const std::string& way, auto body) {
      const std::string title = name + "/" + Type<T>::kName + "/" + way + "/" + std::to_string(n);
      const auto registered = benchmark::RegisterBenchmark(title.c_str(), [=](benchmark::State& state) {
        auto a = operand<T>(n, 1), b = operand<T>(n, 2);
        if (positive)
          for (T& x : a) x = T(x < T(0) ? T(0) - x : x);
        Run<T> result(static_cast<size_t>(n));
        for (auto _ : state) {
          body(result.data(), a.data(), b.data(), n);
          benchmark::DoNotOptimize(result.data());
          benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * n);
      });
      if (n == kLong) registered->UseRealTime();
    };
    row("c", [=](T* r, const T* a, const T* b, mint m) { c_loop(r, a, b, m, f); });
    for (int target = 0; target < zenthar::kTargets; ++target) {
      if (!zenthar::runs(zenthar::Target(target))) continue;
      zenthar::use_target(zenthar::Target(target));
      const auto unary_function = MNumericArray_getUnaryVectorMachFunc(op, type);
      const auto binary_function = MNumericArray_getBinaryVectorMachFunc(op, type, type);
      const auto run = [=](T* r, const T* a, const T* b, mint m, uint32_t flags) {
        const int32_t code =
            unary ? unary_function(r, a, m, flags) : binary_function(r, a, 1, b, 1, m, flags);
        if (code != 0) std::abort();
      };
      for (uint32_t flags : {0u, 6u})
        row(std::string(kTargetNames[target]) + (flags ? "_checked" : ""),
            [=](T* r, const T* a, const T* b, mint m) { run(r, a, b, m, flags); });
      if (n == kShort) continue;
      row(std::string(kTargetNames[target]) + "_checked_divided", [=](T* r, const T* a, const T* b, mint m) {
        setParallelThreadNumber(int32_t(std::thread::hardware_concurrency()));
        run(r, a, b, m, 6);
        setParallelThreadNumber(1);
      });
    }
  }
}

template <class T>
void add_common_rows() {
  add_rows<T>(
      "plus", MACHFUNC_PLUS, [](T a, T b) { return T(a + b); }, false);
  add_rows<T>(
      "subtract", MACHFUNC_SUBTRACT, [](T a, T b) { return T(a - b); }, false);
  add_rows<T>(
      "times", MACHFUNC_TIMES, [](T a, T b) { return T(a * b); }, false);
  add_rows<T>(
      "abs", MACHFUNC_ABS, [](T a, T) { return T(a < T(0) ? T(0) - a : a); }, true);
  add_rows<T>(
      "max", MACHFUNC_MAX, [](T a, T b) { return a > b ? a : b; }, false);
  if (!std::is_unsigned_v<T>)
    add_rows<T>(
        "minus", MACHFUNC_MINUS, [](T a, T) { return T(-a); }, true);
}

template <class T>
void add_real_rows() {
  add_rows<T>(
      "div", MACHFUNC_DIV, [](T a, T b) { return a / b; }, false);
  add_rows<T>(
      "sqrt", MACHFUNC_SQRT, [](T a, T) { return std::sqrt(a); }, true, true);
  add_rows<T>(
      "sin", MACHFUNC_SIN, [](T a, T) { return std::sin(a); }, true);
}

template <class T>
void add_integer_rows() {
  const auto modulo = [](T a, T b) {
    const T r = T(a % b);
    return T(r != 0 && (r < 0) != (b < 0) ? r + b : r);
  };
  const auto quotient = [](T a, T b) { return T(a / b - (a % b != 0 && (a < 0) != (b < 0))); };
  add_rows<T>("mod", MACHFUNC_MOD, modulo, false);
  add_rows<T>("quotient", MACHFUNC_QUOTIENT, quotient, false);
}

}  // namespace

int main(int argc, char** argv) {
  InitializeRuntimeLibrary();
  setParallelThreadNumber(1);
  add_common_rows<mint>();
  add_common_rows<mreal>();
  add_common_rows<float>();
  add_common_rows<int8_t>();
  add_common_rows<uint8_t>();
  add_common_rows<int16_t>();
  add_common_rows<uint16_t>();
  add_common_rows<int32_t>();
  add_real_rows<mreal>();
  add_real_rows<float>();
  add_integer_rows<mint>();
  add_integer_rows<int8_t>();
  add_integer_rows<uint8_t>();
  add_integer_rows<int16_t>();
  add_integer_rows<int32_t>();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
