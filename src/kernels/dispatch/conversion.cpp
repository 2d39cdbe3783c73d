#include "kernels/dispatch/conversion.h"

#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>

namespace zenthar {
namespace {

struct Half {
  uint16_t bits;
};
template <class T>
struct Complex {
  T re, im;
};

template <class T>
constexpr bool kIsComplex = false;
template <class T>
constexpr bool kIsComplex<Complex<T>> = true;

// The fields of a half moved to their places in a float give its value but for the difference of the biases,
// which a product makes good, below the normal numbers too; infinities and NaNs have an exponent of their
// own.
float value(Half half) {
  const float scaled = std::bit_cast<float>(uint32_t(half.bits & 0x7fff) << 13) * 0x1p112f;
  uint32_t bits = std::bit_cast<uint32_t>(scaled);
  if (scaled >= 0x1p16f) bits |= 0x7f800000;
  return std::bit_cast<float>(bits | uint32_t(half.bits & 0x8000) << 16);
}
template <class T>
T value(T x) {
  return x;
}

template <class To, class From>
To converted(From x) {
  if constexpr (kIsComplex<To> && kIsComplex<From>) {
    return {x.re, x.im};
  } else if constexpr (kIsComplex<To>) {
    return {converted<decltype(To::re)>(x), 0};
  } else {
    return To(value(x));
  }
}

template <class To, class From>
constexpr bool kIsNeeded = [] {
  if constexpr (std::is_same_v<To, Half> || std::is_same_v<To, From>) return false;
  if constexpr (kIsComplex<From>) return kIsComplex<To> && sizeof(To) > sizeof(From);
  if constexpr (kIsComplex<To>)
    return kIsNeeded<decltype(To::re), From> || std::is_same_v<decltype(To::re), From>;
  if constexpr (std::is_floating_point_v<To>)
    return std::is_same_v<From, Half> || std::is_integral_v<From> || sizeof(To) > sizeof(From);
  return std::is_integral_v<From> && (sizeof(To) > sizeof(From) || (sizeof(To) == 8 && std::is_signed_v<To>));
}();

template <class To, class From>
bool convert(void* to, const void* from, mint n) {
  constexpr bool kMayNotFit = std::is_same_v<To, mint> && std::is_same_v<From, uint64_t>;
  From lost = {};
  for (mint i = 0; i < n; ++i) {
    From x;
    std::memcpy(&x, static_cast<const char*>(from) + i * mint(sizeof x), sizeof x);
    if constexpr (kMayNotFit) lost |= x;
    const auto y = converted<To>(x);
    std::memcpy(static_cast<char*>(to) + i * mint(sizeof y), &y, sizeof y);
  }
  if constexpr (kMayNotFit) return lost <= uint64_t(std::numeric_limits<mint>::max());
  return true;
}

template <class From, class To>
constexpr Conversion conversion_if_needed() {
  if constexpr (kIsNeeded<To, From>) {
    return convert<To, From>;
  } else {
    return nullptr;
  }
}

struct Row {
  Conversion to[14];
};

// By element type.
template <class... Types>
struct Table {
  template <class From>
  static constexpr Row row() {
    return {{nullptr, conversion_if_needed<From, Types>()...}};
  }
  static constexpr Row kRows[14] = {{}, row<Types>()...};
};
using Conversions = Table<int8_t, uint8_t, int16_t, uint16_t, int32_t, uint32_t, int64_t, uint64_t, float,
                          double, Complex<float>, Complex<double>, Half>;

}  // namespace

Conversion conversion(int32_t from, int32_t to) { return Conversions::kRows[from].to[to]; }

}  // namespace zenthar
