// The names of the error codes, and the exception that carries a code.
#include <array>
#include <cstddef>

#include "zenthar/errors.h"

namespace {

constexpr int32_t kReservedBase = 46;  // code 46 + n is "reserved_n"
constexpr int32_t kReservedCount = 50;

constexpr std::array<const char*, kReservedBase + 1> kNames = {
    "success",
    "integer_overflow",
    "indeterminate",
    "integer_inexact_division",
    "floating_point_inexact",
    "floating_point_invalid",
    "floating_point_infinite",
    "floating_point_overflow",
    "floating_point_unknown",
    "floating_point_nan",
    "floating_point_subnormal",
    "floating_point_environment_exception",
    "floating_point_environment_error",
    "argument",
    "logic",
    "range",
    "domain",
    "system",
    "divide_by_zero",
    "invalid_type",
    "invalid_range",
    "unknown",
    "unimplemented",
    "memory",
    "rankerror",
    "dimensionerror",
    "arrayparterror",
    "expressionconversion",
    "matharrayerror",
    "doterror",
    "streamnodata",
    "streamnospace",
    "streamdatanotavailable",
    "streamspacenotavailable",
    "abort",
    "randomnumbererror",
    "takeerror",
    "partitionerror",
    "reverseerror",
    "flattenerror",
    "rotateerror",
    "transposeerror",
    "sorterror",
    "cast",
    "stringextract",
    "zerolengtharray",
    "arraycreation",
};

using ReservedName = std::array<char, sizeof("reserved_50")>;

constexpr std::array<ReservedName, kReservedCount> kReservedNames = [] {
  std::array<ReservedName, kReservedCount> names{};
  for (int n = 1; n <= kReservedCount; ++n) {
    size_t length = 0;
    for (const char* p = "reserved_"; *p; ++p) names[n - 1][length++] = *p;
    if (n >= 10) names[n - 1][length++] = char('0' + n / 10);
    names[n - 1][length] = char('0' + n % 10);
  }
  return names;
}();

}  // namespace

ZentharRuntimeException::~ZentharRuntimeException() = default;

const char* ZentharRuntimeException::what() const noexcept {
  if (code_ < 0 || code_ > kReservedBase + kReservedCount) return "error_unknown";
  return code_ <= kReservedBase ? kNames[code_] : kReservedNames[code_ - kReservedBase - 1].data();
}
