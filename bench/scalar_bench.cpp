// Nanoseconds per call of scalar functions, each beside the bare operator or the call of the mathematics
// library that it wraps. Arguments come from a short array, so neither side can be computed ahead; both
// checks are on.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <complex>
#include <numeric>
#include <random>
#include <string>

#include "zenthar/scalar.h"

namespace {

constexpr uint32_t kFlags = ZENTHAR_CHECK_REALS | ZENTHAR_CHECK_OVERFLOW;
constexpr size_t kArguments = 256;

template <class T>
std::array<T, kArguments> arguments(uint32_t seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<mreal> real(0.1, 3.0);
  std::array<T, kArguments> values;
  for (T& x : values) {
    if constexpr (std::is_same_v<T, mint>) {
      x = mint(random() % 1000) + 2;
    } else if constexpr (std::is_same_v<T, mcomplex>) {
      x = {real(random), real(random)};
    } else {
      x = real(random);
    }
  }
  return values;
}

// Runs `call(a, b)`, which gives the result, over the arguments.
template <class T, class U, class Call>
void run(benchmark::State& state, Call call) {
  const auto a = arguments<T>(1);
  const auto b = arguments<U>(2);
  size_t k = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(call(a[k], b[k]));
    k = (k + 1) % kArguments;
  }
}

template <class T, class U, class Call>
void add(const char* name, Call call) {
  benchmark::RegisterBenchmark(name, [call](benchmark::State& state) { run<T, U>(state, call); });
}

template <class R, class T, class F>
auto unary(F function) {
  return [function](const T& x, const T&) {
    R result;
    if constexpr (std::is_same_v<T, mcomplex>) {
      function(&result, x.re, x.im, kFlags);
    } else {
      function(&result, x, kFlags);
    }
    benchmark::DoNotOptimize(result);
    return 0;
  };
}

template <class R, class T, class F>
auto binary(F function) {
  return [function](const T& a, const T& b) {
    R result;
    if constexpr (std::is_same_v<T, mcomplex>) {
      function(&result, a.re, a.im, b.re, b.im, kFlags);
    } else {
      function(&result, a, b, kFlags);
    }
    benchmark::DoNotOptimize(result);
    return 0;
  };
}

std::complex<double> standard(const mcomplex& z) { return {z.re, z.im}; }

// A row and its counterpart.
template <class T, class Ours, class Theirs>
void pair(const std::string& name, Ours ours, Theirs theirs) {
  add<T, T>(name.c_str(), ours);
  add<T, T>((name + " (bare)").c_str(), theirs);
}

void register_all() {
  pair<mint>("ii_plus", binary<mint, mint>(s_machfunc_ii_plus), [](mint a, mint b) { return a + b; });
  pair<mint>("ii_times", binary<mint, mint>(s_machfunc_ii_times), [](mint a, mint b) { return a * b; });
  pair<mint>("ii_mod", binary<mint, mint>(s_machfunc_ii_mod), [](mint a, mint b) { return a % b; });
  pair<mint>("ii_quotient", binary<mint, mint>(s_machfunc_ii_quotient), [](mint a, mint b) { return a / b; });
  add<mint, mint>("ii_pow, to 7", [](mint a, mint) {
    mint result;
    s_machfunc_ii_pow(&result, a & 63, 7, kFlags);
    return result;
  });
  add<mint, mint>("ii_pow, to 7 (pow of reals)",
                  [](mint a, mint) { return mint(std::pow(mreal(a & 63), 7.0)); });
  add<mint, mint>("ii_gcd", binary<mint, mint>(s_machfunc_ii_gcd));
  add<mint, mint>("ii_gcd (std::gcd)", [](mint a, mint b) { return std::gcd(a, b); });
  pair<mreal>("dd_plus", binary<mreal, mreal>(s_machfunc_dd_plus), [](mreal a, mreal b) { return a + b; });
  pair<mreal>("dd_times", binary<mreal, mreal>(s_machfunc_dd_times), [](mreal a, mreal b) { return a * b; });
  pair<mreal>("dd_div", binary<mreal, mreal>(s_machfunc_dd_div), [](mreal a, mreal b) { return a / b; });
  pair<mreal>("dd_mod", binary<mreal, mreal>(s_machfunc_dd_mod),
              [](mreal a, mreal b) { return std::fmod(a, b); });
  pair<mreal>("dd_pow", binary<mreal, mreal>(s_machfunc_dd_pow),
              [](mreal a, mreal b) { return std::pow(a, b); });
  pair<mreal>("d_sqrt", unary<mreal, mreal>(s_machfunc_d_sqrt), [](mreal a, mreal) { return std::sqrt(a); });
  pair<mreal>("d_round", unary<mint, mreal>(s_machfunc_d_round),
              [](mreal a, mreal) { return std::llrint(a); });
  pair<mreal>("d_sin", unary<mreal, mreal>(s_machfunc_d_sin), [](mreal a, mreal) { return std::sin(a); });
  pair<mreal>("d_exp", unary<mreal, mreal>(s_machfunc_d_exp), [](mreal a, mreal) { return std::exp(a); });
  pair<mcomplex>("cc_plus", binary<mcomplex, mcomplex>(s_machfunc_cc_plus),
                 [](const mcomplex& a, const mcomplex& b) { return standard(a) + standard(b); });
  pair<mcomplex>("cc_times", binary<mcomplex, mcomplex>(s_machfunc_cc_times),
                 [](const mcomplex& a, const mcomplex& b) { return standard(a) * standard(b); });
  pair<mcomplex>("cc_div", binary<mcomplex, mcomplex>(s_machfunc_cc_div),
                 [](const mcomplex& a, const mcomplex& b) { return standard(a) / standard(b); });
  pair<mcomplex>("cc_pow", binary<mcomplex, mcomplex>(s_machfunc_cc_pow),
                 [](const mcomplex& a, const mcomplex& b) { return std::pow(standard(a), standard(b)); });
#define ZENTHAR_COMPLEX(name)                                                \
  pair<mcomplex>("c_" #name, unary<mcomplex, mcomplex>(s_machfunc_c_##name), \
                 [](const mcomplex& z, const mcomplex&) { return std::name(standard(z)); });
  ZENTHAR_COMPLEX(sqrt)
  ZENTHAR_COMPLEX(exp)
  ZENTHAR_COMPLEX(log)
  ZENTHAR_COMPLEX(sin)
  ZENTHAR_COMPLEX(tan)
  ZENTHAR_COMPLEX(tanh)
  ZENTHAR_COMPLEX(asin)
  ZENTHAR_COMPLEX(acosh)
  ZENTHAR_COMPLEX(atan)
#undef ZENTHAR_COMPLEX
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  register_all();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
