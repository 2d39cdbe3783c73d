#include "functions/sleef.h"

#include <sleef.h>

#include <cstring>

#if defined(__AVX512F__)
#define SLEEF_TARGET sleef_avx512
#define SLEEF_NAME(name, bound) Sleef_##name##d8_##bound##avx512f
#define SLEEF_SINGLE(name, bound) Sleef_##name##f16_##bound##avx512f
using Vector = __m512d;
using Singles = __m512;
#elif defined(__AVX2__)
#define SLEEF_TARGET sleef_avx2
#define SLEEF_NAME(name, bound) Sleef_##name##d4_##bound##avx2
#define SLEEF_SINGLE(name, bound) Sleef_##name##f8_##bound##avx2
using Vector = __m256d;
using Singles = __m256;
#else
#define SLEEF_TARGET sleef_baseline
#define SLEEF_NAME(name, bound) Sleef_##name##d2_##bound##sse2
#define SLEEF_SINGLE(name, bound) Sleef_##name##f4_##bound##sse2
using Vector = __m128d;
using Singles = __m128;
#endif

namespace SLEEF_TARGET {
namespace {

template <class V>
V load(const void* from, size_t byte) {
  V x;
  std::memcpy(&x, static_cast<const char*>(from) + byte, sizeof x);
  return x;
}

// The functions are template arguments, so that the calls are direct.
template <class T, class V, auto f>
void unary(void* result, const void* a, const void*, size_t n) {
  for (size_t at = 0; at < n * sizeof(T); at += sizeof(V)) {
    const V y = f(load<V>(a, at));
    std::memcpy(static_cast<char*>(result) + at, &y, sizeof y);
  }
}
template <class T, class V, auto f>
void binary(void* result, const void* a, const void* b, size_t n) {
  for (size_t at = 0; at < n * sizeof(T); at += sizeof(V)) {
    const V y = f(load<V>(a, at), load<V>(b, at));
    std::memcpy(static_cast<char*>(result) + at, &y, sizeof y);
  }
}

struct Row {
  const char* name;
  SleefLoop loop, of_singles;
};

#define UNARY(name, function, bound)                          \
  {                                                           \
    name, unary<double, Vector, SLEEF_NAME(function, bound)>, \
        unary<float, Singles, SLEEF_SINGLE(function, bound)>  \
  }
#define BINARY(name, function, bound)                          \
  {                                                            \
    name, binary<double, Vector, SLEEF_NAME(function, bound)>, \
        binary<float, Singles, SLEEF_SINGLE(function, bound)>  \
  }

constexpr Row kRows[] = {
    UNARY("sin", sin, u10),        UNARY("cos", cos, u10),
    UNARY("tan", tan, u10),        UNARY("sinh", sinh, u10),
    UNARY("cosh", cosh, u10),      UNARY("tanh", tanh, u10),
    UNARY("asin", asin, u10),      UNARY("acos", acos, u10),
    UNARY("atan", atan, u10),      UNARY("asinh", asinh, u10),
    UNARY("acosh", acosh, u10),    UNARY("atanh", atanh, u10),
    UNARY("exp", exp, u10),        UNARY("expm1", expm1, u10),
    UNARY("log", log, u10),        UNARY("log1p", log1p, u10),
    UNARY("log2", log2, u10),      UNARY("log10", log10, u10),
    UNARY("cbrt", cbrt, u10),      UNARY("sqrt", sqrt, u05),
    UNARY("erf", erf, u10),        UNARY("erfc", erfc, u15),
    UNARY("gamma", tgamma, u10),   UNARY("loggamma", lgamma, u10),
    BINARY("pow(x, y)", pow, u10), BINARY("atan2(y, x)", atan2, u10),
};

}  // namespace

SleefLoop find(const char* name, bool singles) {
  for (const Row& row : kRows)
    if (std::strcmp(row.name, name) == 0) return singles ? row.of_singles : row.loop;
  return nullptr;
}

}  // namespace SLEEF_TARGET
