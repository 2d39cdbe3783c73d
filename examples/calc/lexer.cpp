// From characters to tokens.
#include <algorithm>

#include "syntax.h"
#include "text.h"

namespace zcalc {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_name_start(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}
bool is_name_part(char c) { return is_name_start(c) || is_digit(c); }

}  // namespace

void too_large(Span place) {
  throw Failure("integer literal does not fit 64 bits", place,
                "with a decimal point at its end it is a real number");
}

Token Lexer::next() {
  while (position_ < text_.size() &&
         std::string_view(" \t\r\n").find(text_[position_]) != std::string_view::npos) {
    ++position_;
  }
  if (position_ == text_.size()) return Token{TokenKind::kEnd, {position_, position_}, {}, {}};
  const char c = text_[position_];
  if (is_digit(c) || c == '.') return number();
  if (c == '\'' || c == '"') return quoted_name();
  if (is_name_start(c)) return plain_name();
  return symbol();
}

Token Lexer::number() {
  const size_t begin = position_;
  size_t end = begin;
  // All that could be meant as one number is taken, so that 1.2.3 and 12abc are pointed at as a whole.
  while (end < text_.size() && (is_name_part(text_[end]) || text_[end] == '.')) {
    const bool exponent = text_[end] == 'e' || text_[end] == 'E';
    ++end;
    if (exponent && end + 1 < text_.size() && (text_[end] == '+' || text_[end] == '-') &&
        is_digit(text_[end + 1])) {
      ++end;
    }
  }
  position_ = end;
  Token token{TokenKind::kNumber, {begin, end}, {}, {}};
  std::string_view digits = text_.substr(begin, end - begin);
  const bool imaginary = digits.back() == 'i';
  if (imaginary) digits.remove_suffix(1);

  Literal& literal = token.literal;
  const auto is_integer = !imaginary && std::all_of(digits.begin(), digits.end(), is_digit);
  if (is_integer) {
    for (const char digit : digits) {
      const auto value = static_cast<uint64_t>(digit - '0');
      if (__builtin_mul_overflow(literal.magnitude, uint64_t{10}, &literal.magnitude) ||
          __builtin_add_overflow(literal.magnitude, value, &literal.magnitude) ||
          literal.magnitude > uint64_t{1} << 63) {
        too_large(token.span);
      }
    }
    return token;
  }
  literal.kind = imaginary ? Literal::Kind::kImaginary : Literal::Kind::kReal;
  switch (parse_real(digits, literal.real)) {
    case NumberStatus::kGood:
      return token;
    case NumberStatus::kTooLarge:
      throw Failure("number exceeds the largest real, 1.7976931348623157e308", token.span);
    case NumberStatus::kMalformed:
      break;
  }
  throw Failure("malformed number " + quoted(text_.substr(begin, end - begin)), token.span);
}

Token Lexer::quoted_name() {
  const size_t begin = position_;
  const char quote = text_[begin];
  Token token{TokenKind::kName, {}, {}, {}};
  for (size_t i = begin + 1; i < text_.size(); ++i) {
    if (text_[i] != quote) {
      token.name += text_[i];
    } else if (i + 1 < text_.size() && text_[i + 1] == quote) {
      token.name += text_[i++];
    } else {
      position_ = i + 1;
      token.span = {begin, position_};
      if (token.name.empty()) throw Failure("empty name", token.span);
      return token;
    }
  }
  throw Failure("quoted name without its closing quote", Span{begin, begin + 1});
}

Token Lexer::plain_name() {
  const size_t begin = position_;
  while (position_ < text_.size() && is_name_part(text_[position_])) ++position_;
  return Token{TokenKind::kName, {begin, position_}, std::string(text_.substr(begin, position_ - begin)), {}};
}

Token Lexer::symbol() {
  struct Symbol {
    std::string_view text;
    TokenKind kind;
  };
  // Of two that begin alike, the longer one comes first.
  static constexpr Symbol kSymbols[] = {
      {"==", TokenKind::kEqual},        {"!=", TokenKind::kNotEqual}, {"<=", TokenKind::kLessEqual},
      {">=", TokenKind::kGreaterEqual}, {"=", TokenKind::kAssign},    {"<", TokenKind::kLess},
      {">", TokenKind::kGreater},       {"+", TokenKind::kPlus},      {"-", TokenKind::kMinus},
      {"*", TokenKind::kTimes},         {"/", TokenKind::kDivide},    {"^", TokenKind::kPower},
      {"(", TokenKind::kOpen},          {")", TokenKind::kClose},     {",", TokenKind::kComma},
      {";", TokenKind::kSemicolon}};
  for (const Symbol& symbol : kSymbols) {
    if (text_.substr(position_, symbol.text.size()) == symbol.text) {
      const size_t begin = position_;
      position_ += symbol.text.size();
      return Token{symbol.kind, {begin, position_}, {}, {}};
    }
  }
  throw Failure("unexpected character " + quoted(text_.substr(position_, 1)), Span{position_, position_ + 1});
}

}  // namespace zcalc
