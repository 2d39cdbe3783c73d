// What ends a calculation: a message, and where it can be told, the place in the expression.
//
// Everything below main throws a Failure and nothing else; main prints it and exits with its status.
#ifndef ZCALC_FAILURE_H
#define ZCALC_FAILURE_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zcalc {

enum ExitStatus { kSuccess = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

/// A range of bytes in the text of the expression.
struct Span {
  size_t begin = 0;
  size_t end = 0;
};

class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message, ExitStatus status = kFailed)
      : std::runtime_error(message), status_(status) {}
  /// A failure at a place in the expression; the note follows below the caret.
  Failure(const std::string& message, Span place, std::string note = {})
      : std::runtime_error(message), status_(kFailed), place_(place), note_(std::move(note)) {}

  ExitStatus status() const { return status_; }
  const std::optional<Span>& place() const { return place_; }
  const std::string& note() const { return note_; }

 private:
  ExitStatus status_;
  std::optional<Span> place_;
  std::string note_;
};

/// The whole message as it is printed: with the line of the expression and a caret under the place.
std::string describe(const Failure& failure, std::string_view expression);

}  // namespace zcalc

#endif
