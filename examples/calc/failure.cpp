// The message of a failure, with the line of the expression it points into.
#include "failure.h"

#include <algorithm>

#include "text.h"

namespace zcalc {
namespace {

// Columns shown on either side of the place; the rest of a long line is cut off.
constexpr size_t kContext = 48;

std::string point_at(std::string_view expression, Span place) {
  const size_t begin = std::min(place.begin, expression.size());
  const size_t end = std::clamp(place.end, begin, expression.size());
  size_t from = expression.substr(0, begin).find_last_of("\r\n");
  from = from == std::string_view::npos ? 0 : from + 1;
  const size_t to = std::min(expression.find_first_of("\r\n", begin), expression.size());

  // Escaped text may be wider than the original, so each part is measured as it is shown.
  std::string before = printable(expression.substr(from, begin - from));
  std::string at = printable(expression.substr(begin, std::min(end, to) - begin));
  std::string after = printable(expression.substr(std::min(end, to), to - std::min(end, to)));
  if (display_width(before) > kContext) before = "..." + last_columns(before, kContext);
  if (display_width(at) > kContext) at = first_columns(at, kContext);
  if (display_width(after) > kContext) after = first_columns(after, kContext) + "...";
  const size_t width = display_width(at);
  return "  " + before + at + after + "\n  " + std::string(display_width(before), ' ') + "^" +
         std::string(width > 1 ? width - 1 : 0, '~') + "\n";
}

}  // namespace

std::string describe(const Failure& failure, std::string_view expression) {
  std::string message = "zcalc: " + std::string(failure.what()) + "\n";
  if (failure.place()) message += point_at(expression, *failure.place());
  if (!failure.note().empty()) message += "  " + failure.note() + "\n";
  return message;
}

}  // namespace zcalc
