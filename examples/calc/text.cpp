// Numbers and foreign text.
#include "text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace zcalc {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

/// Drops a leading plus sign, which the standard's conversions do not take.
std::string_view without_plus(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  return text;
}

/// The length of the well-formed UTF-8 sequence at the start, 0 when there is none.
size_t utf8_length(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  size_t length = 0;
  if (lead < 0x80) return 1;
  if (lead >= 0xc2 && lead <= 0xdf) length = 2;
  if (lead >= 0xe0 && lead <= 0xef) length = 3;
  if (lead >= 0xf0 && lead <= 0xf4) length = 4;
  if (length == 0 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
  }
  // Overlong forms, surrogates, and what lies beyond the last code point.
  if ((lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xed && byte(1) > 0x9f)) return 0;
  if ((lead == 0xf0 && byte(1) < 0x90) || (lead == 0xf4 && byte(1) > 0x8f)) return 0;
  return length;
}

bool starts_character(char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }

}  // namespace

NumberStatus parse_integer(std::string_view text, int64_t& value) {
  text = without_plus(text);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
    return NumberStatus::kMalformed;
  }
  return error == std::errc() ? NumberStatus::kGood : NumberStatus::kTooLarge;
}

NumberStatus parse_real(std::string_view text, double& value) {
  text = without_plus(text);
  // "inf" and "nan" are words here, not numbers.
  const size_t first = text.find_first_not_of("+-.");
  if (first == std::string_view::npos || !is_digit(text[first])) return NumberStatus::kMalformed;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
    return NumberStatus::kMalformed;
  }
  if (error == std::errc()) return NumberStatus::kGood;
  // Out of range says neither in which direction nor gives the value; strtod does both.
  value = std::strtod(std::string(text).c_str(), nullptr);
  return std::isinf(value) ? NumberStatus::kTooLarge : NumberStatus::kGood;
}

std::string printable(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const size_t length = utf8_length(text);
    const auto byte = static_cast<unsigned char>(text[0]);
    // U+0080 to U+009F are control characters too.
    const bool control = byte < 0x20 || byte == 0x7f ||
                         (length == 2 && byte == 0xc2 && static_cast<unsigned char>(text[1]) < 0xa0);
    if (byte == '\t') {
      result += ' ';
    } else if (length == 0 || control) {
      result += {'\\', 'x', kHex[byte >> 4], kHex[byte & 15]};
    } else {
      result += text.substr(0, length);
    }
    // The second byte of a control character follows as a broken sequence, escaped as well.
    text.remove_prefix(control || length == 0 ? 1 : length);
  }
  return result;
}

std::string quoted(std::string_view text, size_t columns) {
  // No character shrinks when it is made printable, so four bytes a column are enough to look at.
  const bool cut = text.size() > 4 * columns;
  std::string shown = printable(text.substr(0, 4 * columns));
  if (cut || display_width(shown) > columns) shown = first_columns(shown, columns) + "...";
  return '"' + shown + '"';
}

size_t display_width(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), starts_character));
}

std::string first_columns(std::string_view text, size_t columns) {
  size_t i = 0;
  for (; i < text.size(); ++i) {
    if (starts_character(text[i]) && columns-- == 0) break;
  }
  return std::string(text.substr(0, i));
}

std::string last_columns(std::string_view text, size_t columns) {
  const size_t width = display_width(text);
  if (width <= columns) return std::string(text);
  return std::string(text.substr(first_columns(text, width - columns).size()));
}

std::string grouped(uint64_t n) {
  std::string digits = std::to_string(n);
  for (size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, 1, ',');
  return digits;
}

std::string grouped(int64_t n) {
  if (n >= 0) return grouped(static_cast<uint64_t>(n));
  return grouped(uint64_t{0} - static_cast<uint64_t>(n)).insert(0, 1, '-');
}

std::string byte_size(uint64_t bytes) {
  static constexpr std::array<const char*, 6> kUnits = {"bytes", "KiB", "MiB", "GiB", "TiB", "PiB"};
  if (bytes < 1024) return std::to_string(bytes) + " bytes";
  double size = static_cast<double>(bytes);
  size_t unit = 0;
  for (; size >= 1024 && unit + 1 < kUnits.size(); ++unit) size /= 1024;
  std::array<char, 400> buffer;
  const auto [end, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), size, std::chars_format::fixed, 1);
  return std::string(buffer.data(), end) + " " + kUnits[unit];
}

std::string real_text(double x) {
  std::array<char, 32> buffer;
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), x);
  return std::string(buffer.data(), end);
}

std::string real_text(double x, int digits) {
  std::array<char, 32> buffer;
  const auto [end, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), x, std::chars_format::general, digits);
  return std::string(buffer.data(), end);
}

std::string complex_text(const std::string& re, const std::string& im) {
  return im[0] == '-' ? re + " - " + im.substr(1) + "i" : re + " + " + im + "i";
}

}  // namespace zcalc
