// Recursive descent over the grammar of syntax.h. The depth of nesting is limited, and with it the stack.
#include <algorithm>
#include <utility>

#include "syntax.h"
#include "text.h"

namespace zcalc {
namespace {

constexpr int kMaxDepth = 200;

class Parser {
 public:
  explicit Parser(std::string_view text) : lexer_(text), token_(lexer_.next()) {}

  std::vector<Statement> statements();

 private:
  Statement statement();
  size_t comparison();
  size_t sum();
  size_t product();
  size_t signed_operand();
  size_t power();
  size_t primary();
  size_t call(const Token& name);

  size_t add_literal(const Token& token);
  size_t add_operator(std::string name, Span place, std::initializer_list<size_t> arguments);

  bool at(TokenKind kind) const { return token_.kind == kind; }
  Token take() {
    last_end_ = token_.span.end;
    return std::exchange(token_, lexer_.next());
  }
  [[noreturn]] void unexpected(const char* wanted) const;

  Lexer lexer_;
  Token token_;
  std::vector<Node> nodes_;
  size_t last_end_ = 0;
  int depth_ = 0;
};

/// Counts the nesting for as long as it lives.
class Nesting {
 public:
  Nesting(int& depth, Span place) : depth_(depth) {
    if (++depth_ > kMaxDepth) {
      --depth_;
      throw Failure("expression nested deeper than " + std::to_string(kMaxDepth) + " levels", place);
    }
  }
  ~Nesting() { --depth_; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

 private:
  int& depth_;
};

void Parser::unexpected(const char* wanted) const {
  if (at(TokenKind::kEnd))
    throw Failure(std::string("the expression ends where ") + wanted + " is expected", token_.span);
  throw Failure(std::string("expected ") + wanted, token_.span);
}

std::vector<Statement> Parser::statements() {
  std::vector<Statement> result;
  for (;;) {
    while (at(TokenKind::kSemicolon)) take();
    if (at(TokenKind::kEnd)) break;
    result.push_back(statement());
    if (!at(TokenKind::kSemicolon) && !at(TokenKind::kEnd)) {
      if (at(TokenKind::kAssign)) unexpected("a single name before \"=\"");
      if (at(TokenKind::kClose))
        throw Failure("closing parenthesis without its opening counterpart", token_.span);
      unexpected("an operator");
    }
  }
  if (result.empty()) throw Failure("the expression is empty", token_.span);
  return result;
}

Statement Parser::statement() {
  Statement result;
  result.place.begin = token_.span.begin;
  if (at(TokenKind::kName)) {
    // One token of look-ahead more than elsewhere: `name =` binds, anything else begins an expression.
    const Lexer after_name = lexer_;
    const Token name = take();
    if (at(TokenKind::kAssign)) {
      take();
      result.target = name.name;
      result.place.begin = token_.span.begin;
    } else {
      lexer_ = after_name;
      token_ = name;
    }
  }
  nodes_.clear();
  comparison();
  result.nodes = std::move(nodes_);
  result.place.end = last_end_;
  for (const Node& node : result.nodes) {
    if (!node.literal.negative && node.literal.magnitude > INT64_MAX) too_large(node.place);
  }
  return result;
}

size_t Parser::comparison() {
  size_t left = sum();
  const Token operation = token_;
  if (operation.kind < TokenKind::kEqual || operation.kind > TokenKind::kGreaterEqual) return left;
  take();
  const size_t right = sum();
  if (token_.kind >= TokenKind::kEqual && token_.kind <= TokenKind::kGreaterEqual) {
    throw Failure("comparisons cannot be chained", token_.span, "put one of them in parentheses");
  }
  switch (operation.kind) {
    case TokenKind::kLess:
      return add_operator("less", operation.span, {left, right});
    case TokenKind::kLessEqual:
      return add_operator("lessequal", operation.span, {left, right});
    case TokenKind::kGreater:
      return add_operator("less", operation.span, {right, left});
    case TokenKind::kGreaterEqual:
      return add_operator("lessequal", operation.span, {right, left});
    default:
      left = add_operator("equal", operation.span, {left, right});
      if (operation.kind == TokenKind::kEqual) return left;
      return add_operator("equal", operation.span,
                          {left, add_literal(Token{TokenKind::kNumber, operation.span, {}, {}})});
  }
}

size_t Parser::sum() {
  size_t left = product();
  while (at(TokenKind::kPlus) || at(TokenKind::kMinus)) {
    const Token operation = take();
    const size_t right = product();
    left =
        add_operator(operation.kind == TokenKind::kPlus ? "plus" : "subtract", operation.span, {left, right});
  }
  return left;
}

size_t Parser::product() {
  size_t left = signed_operand();
  while (at(TokenKind::kTimes) || at(TokenKind::kDivide)) {
    const Token operation = take();
    const size_t right = signed_operand();
    left = add_operator(operation.kind == TokenKind::kTimes ? "times" : "div", operation.span, {left, right});
  }
  return left;
}

size_t Parser::signed_operand() {
  if (!at(TokenKind::kPlus) && !at(TokenKind::kMinus)) return power();
  const Token sign = take();
  const Nesting nesting(depth_, sign.span);
  const bool literal_follows = at(TokenKind::kNumber);
  const size_t operand = signed_operand();
  if (sign.kind == TokenKind::kPlus) return operand;
  // A minus before a literal belongs to it, as the smallest integer has no positive counterpart.
  Node& node = nodes_[operand];
  if (literal_follows && node.kind == Node::Kind::kLiteral) {
    node.literal.negative = true;
    node.place.begin = sign.span.begin;
    return operand;
  }
  return add_operator("minus", sign.span, {operand});
}

size_t Parser::power() {
  const size_t base = primary();
  if (!at(TokenKind::kPower)) return base;
  const Token operation = take();
  const Nesting nesting(depth_, operation.span);
  const size_t exponent = signed_operand();
  return add_operator("pow", operation.span, {base, exponent});
}

size_t Parser::primary() {
  if (at(TokenKind::kNumber)) return add_literal(take());
  if (at(TokenKind::kName)) {
    Token name = take();
    if (at(TokenKind::kOpen)) return call(name);
    Node node;
    node.kind = Node::Kind::kName;
    node.place = name.span;
    node.name = std::move(name.name);
    node.first = nodes_.size();
    nodes_.push_back(std::move(node));
    return nodes_.size() - 1;
  }
  if (!at(TokenKind::kOpen)) unexpected("a number, a name or an opening parenthesis");
  const Token open = take();
  const Nesting nesting(depth_, open.span);
  const size_t inner = comparison();
  if (!at(TokenKind::kClose)) {
    if (at(TokenKind::kEnd)) throw Failure("parenthesis without its closing counterpart", open.span);
    unexpected("an operator or a closing parenthesis");
  }
  take();
  return inner;
}

size_t Parser::call(const Token& name) {
  const Token open = take();
  const Nesting nesting(depth_, open.span);
  Node node;
  node.kind = Node::Kind::kCall;
  node.place = name.span;
  node.name = name.name;
  node.first = nodes_.size();
  if (at(TokenKind::kClose)) unexpected("an argument");
  for (;;) {
    if (node.argument_count == node.arguments.size()) {
      throw Failure("a function takes three arguments at most", token_.span);
    }
    node.arguments[node.argument_count++] = comparison();
    if (!at(TokenKind::kComma)) break;
    take();
  }
  if (!at(TokenKind::kClose)) {
    if (at(TokenKind::kEnd)) throw Failure("parenthesis without its closing counterpart", open.span);
    unexpected("an operator, a comma or a closing parenthesis");
  }
  take();
  nodes_.push_back(std::move(node));
  return nodes_.size() - 1;
}

size_t Parser::add_literal(const Token& token) {
  Node node;
  node.place = token.span;
  node.literal = token.literal;
  node.first = nodes_.size();
  nodes_.push_back(std::move(node));
  return nodes_.size() - 1;
}

size_t Parser::add_operator(std::string name, Span place, std::initializer_list<size_t> arguments) {
  Node node;
  node.kind = Node::Kind::kCall;
  node.place = place;
  node.name = std::move(name);
  node.is_operator = true;
  node.first = nodes_.size();
  for (const size_t argument : arguments) {
    node.arguments[node.argument_count++] = argument;
    node.first = std::min(node.first, nodes_[argument].first);
  }
  nodes_.push_back(std::move(node));
  return nodes_.size() - 1;
}

}  // namespace

std::vector<Statement> parse(std::string_view text) { return Parser(text).statements(); }

}  // namespace zcalc
