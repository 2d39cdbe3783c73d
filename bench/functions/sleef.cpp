#include "functions/sleef.h"

#include <sleef.h>

#include <cstring>

#if defined(__AVX512F__)
#define SLEEF_TARGET sleef_avx512
#define SLEEF_NAME(name, bound) Sleef_##name##d8_##bound##avx512f
using Vector = __m512d;
#elif defined(__AVX2__)
#define SLEEF_TARGET sleef_avx2
#define SLEEF_NAME(name, bound) Sleef_##name##d4_##bound##avx2
using Vector = __m256d;
#else
#define SLEEF_TARGET sleef_baseline
#define SLEEF_NAME(name, bound) Sleef_##name##d2_##bound##sse2
using Vector = __m128d;
#endif

namespace SLEEF_TARGET {
namespace {

constexpr size_t kLanes = sizeof(Vector) / sizeof(double);

Vector load(const double* from) {
  Vector x;
  std::memcpy(&x, from, sizeof x);
  return x;
}

// A template argument, so that the calls are direct.
template <auto f>
void unary(double* result, const double* a, const double*, size_t n) {
  for (size_t i = 0; i < n; i += kLanes) {
    const Vector y = f(load(a + i));
    std::memcpy(result + i, &y, sizeof y);
  }
}
template <auto f>
void binary(double* result, const double* a, const double* b, size_t n) {
  for (size_t i = 0; i < n; i += kLanes) {
    const Vector y = f(load(a + i), load(b + i));
    std::memcpy(result + i, &y, sizeof y);
  }
}

struct Row {
  const char* name;
  SleefLoop loop;
};

constexpr Row kRows[] = {
    {"sin", unary<SLEEF_NAME(sin, u10)>},        {"cos", unary<SLEEF_NAME(cos, u10)>},
    {"tan", unary<SLEEF_NAME(tan, u10)>},        {"sinh", unary<SLEEF_NAME(sinh, u10)>},
    {"cosh", unary<SLEEF_NAME(cosh, u10)>},      {"tanh", unary<SLEEF_NAME(tanh, u10)>},
    {"asin", unary<SLEEF_NAME(asin, u10)>},      {"acos", unary<SLEEF_NAME(acos, u10)>},
    {"atan", unary<SLEEF_NAME(atan, u10)>},      {"asinh", unary<SLEEF_NAME(asinh, u10)>},
    {"acosh", unary<SLEEF_NAME(acosh, u10)>},    {"atanh", unary<SLEEF_NAME(atanh, u10)>},
    {"exp", unary<SLEEF_NAME(exp, u10)>},        {"expm1", unary<SLEEF_NAME(expm1, u10)>},
    {"log", unary<SLEEF_NAME(log, u10)>},        {"log1p", unary<SLEEF_NAME(log1p, u10)>},
    {"log2", unary<SLEEF_NAME(log2, u10)>},      {"log10", unary<SLEEF_NAME(log10, u10)>},
    {"cbrt", unary<SLEEF_NAME(cbrt, u10)>},      {"sqrt", unary<SLEEF_NAME(sqrt, u05)>},
    {"erf", unary<SLEEF_NAME(erf, u10)>},        {"erfc", unary<SLEEF_NAME(erfc, u15)>},
    {"gamma", unary<SLEEF_NAME(tgamma, u10)>},   {"loggamma", unary<SLEEF_NAME(lgamma, u10)>},
    {"pow(x, y)", binary<SLEEF_NAME(pow, u10)>}, {"atan2(y, x)", binary<SLEEF_NAME(atan2, u10)>},
};

}  // namespace

SleefLoop find(const char* name) {
  for (const Row& row : kRows)
    if (std::strcmp(row.name, name) == 0) return row.loop;
  return nullptr;
}

}  // namespace SLEEF_TARGET
