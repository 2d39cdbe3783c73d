// Text in and out: numbers read strictly, numbers and foreign text shown safely.
//
// Nothing here depends on the locale.
#ifndef ZCALC_TEXT_H
#define ZCALC_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zcalc {

enum class NumberStatus { kGood, kMalformed, kTooLarge };

/// Reads all of the text, decimal digits with an optional sign, as a 64-bit integer.
NumberStatus parse_integer(std::string_view text, int64_t& value);
/// Reads all of the text, [sign] digits [. digits] [e [sign] digits], as the nearest binary64. What is too
/// small becomes the nearest subnormal or 0; infinities and NaN have no spelling.
NumberStatus parse_real(std::string_view text, double& value);

/// The text with control characters and broken UTF-8 escaped, so that it cannot disturb a terminal.
std::string printable(std::string_view text);
/// printable() in double quotes, cut after so many columns.
std::string quoted(std::string_view text, size_t columns = 60);
/// The columns that UTF-8 text takes on a terminal, counting a character as one.
size_t display_width(std::string_view text);
std::string first_columns(std::string_view text, size_t columns);
std::string last_columns(std::string_view text, size_t columns);

/// 1234567 as "1,234,567".
std::string grouped(int64_t n);
std::string grouped(uint64_t n);
/// Bytes with a unit of 1024: "80.0 MiB".
std::string byte_size(uint64_t bytes);
/// The shortest text that reads back as the same number, or one with so many significant digits.
std::string real_text(double x);
std::string real_text(double x, int digits);
/// "1.5 - 2i" of the texts of its parts.
std::string complex_text(const std::string& re, const std::string& im);

}  // namespace zcalc

#endif
