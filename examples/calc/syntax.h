// The expression language: tokens, the tree of an expression, and the parser.
//
//   statements  = statement { ";" statement }            an empty statement is skipped
//   statement   = [ name "=" ] comparison                binds the result to a name
//   comparison  = sum [ ("<" | "<=" | ">" | ">=" | "==" | "!=") sum ]
//   sum         = product { ("+" | "-") product }
//   product     = signed { ("*" | "/") signed }
//   signed      = ("+" | "-") signed | power
//   power       = primary [ "^" signed ]                 so -x^2 is -(x^2) and 2^3^2 is 2^(3^2)
//   primary     = number | name | name "(" comparison { "," comparison } ")" | "(" comparison ")"
//
// A number is 12, 1.5, .5, 6.02e23, each with an i behind it for an imaginary one. A name is letters, digits,
// underscores and non-ASCII characters, not beginning with a digit, or anything in single or double quotes,
// with the quote itself written twice.
#ifndef ZCALC_SYNTAX_H
#define ZCALC_SYNTAX_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"

namespace zcalc {

enum class TokenKind {
  kEnd,
  kNumber,
  kName,
  kPlus,
  kMinus,
  kTimes,
  kDivide,
  kPower,
  kOpen,
  kClose,
  kComma,
  kSemicolon,
  kAssign,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual
};

/// A literal without its sign.
struct Literal {
  enum class Kind { kInteger, kReal, kImaginary } kind = Kind::kInteger;
  /// Of an integer: up to 2^63, so that a minus before it can make the smallest integer.
  uint64_t magnitude = 0;
  bool negative = false;
  double real = 0;
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  Span span;
  std::string name;
  Literal literal;
};

/// Throws the Failure of an integer literal that does not fit.
[[noreturn]] void too_large(Span place);

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}
  /// The next token; after the last one, kEnd for ever. Throws a Failure at what is none.
  Token next();

 private:
  Token number();
  Token quoted_name();
  Token plain_name();
  Token symbol();

  std::string_view text_;
  size_t position_ = 0;
};

/// A node of an expression. Operators are calls of the operation they stand for: a + b is plus(a, b).
struct Node {
  enum class Kind { kLiteral, kName, kCall } kind = Kind::kLiteral;
  /// What a caret points to: the literal, the name or the operator.
  Span place;
  Literal literal;
  std::string name;
  /// Of a call: indices of the arguments, in order.
  std::array<size_t, 3> arguments{};
  size_t argument_count = 0;
  /// Of a call: it was written as an operator.
  bool is_operator = false;
  /// The first node of the subtree that ends with this one.
  size_t first = 0;
};

/// `name = expression` or an expression alone. Every node stands behind its arguments and the last one is
/// the root, so a walk needs no recursion, however long the expression is.
struct Statement {
  std::string target;
  Span place;
  std::vector<Node> nodes;
};

/// Throws a Failure with the place of the first mistake. The result has one statement or more.
std::vector<Statement> parse(std::string_view text);

}  // namespace zcalc

#endif
