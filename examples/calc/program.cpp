// From the tree of an expression to its program.
#include "program.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <string_view>

#include "draw.h"
#include "text.h"

namespace zcalc {
namespace {

using Types = std::array<int32_t, 3>;

/// The ways to widen the operands of an operation, the narrowest first.
std::vector<Types> widenings(const Types& types, size_t count) {
  std::vector<Types> result;
  for (int32_t a = types[0]; a <= kComplex; ++a) {
    for (int32_t b = types[1]; b <= (count > 1 ? kComplex : types[1]); ++b) {
      for (int32_t c = types[2]; c <= (count > 2 ? kComplex : types[2]); ++c) result.push_back({a, b, c});
    }
  }
  const auto width = [](const Types& t) { return t[0] + t[1] + t[2]; };
  std::stable_sort(result.begin(), result.end(),
                   [&](const Types& x, const Types& y) { return width(x) < width(y); });
  return result;
}

/// Finds the vector function of the step for these operand types. Returns the type of the result, 0 when
/// there is none.
int32_t find_kernel(Step& step, int32_t operation, const Types& t) {
  step.operation = operation;
  switch (step.operand_count) {
    case 1:
      step.kind = Step::Kind::kUnary;
      step.unary = MTensor_getUnaryVectorMachFunc(operation, t[0]);
      return step.unary == nullptr ? 0 : MTensor_ReturnType1(operation, t[0]);
    case 2:
      step.kind = Step::Kind::kBinary;
      step.binary = MTensor_getBinaryVectorMachFunc(operation, t[0], t[1]);
      return step.binary == nullptr ? 0 : MTensor_ReturnType2(operation, t[0], t[1]);
    default:
      step.kind = Step::Kind::kTernary;
      step.ternary = MTensor_getTernaryVectorMachFunc(operation, t[0], t[1], t[2]);
      return step.ternary == nullptr ? 0 : MTensor_ReturnType3(operation, t[0], t[1], t[2]);
  }
}

/// A call that makes rows instead of computing with them.
bool is_generator(const Node& node) {
  static constexpr std::string_view kNames[] = {"range", "random", "randomint", "choice", "sample"};
  return node.kind == Node::Kind::kCall && std::ranges::find(kNames, node.name) != std::end(kNames);
}

class Compiler {
 public:
  Compiler(const std::vector<Node>& nodes, const Environment& environment)
      : nodes_(nodes), environment_(environment) {}

  Program run();

 private:
  Operand literal(const Node& node);
  Operand name(const Node& node);
  Operand call(const Node& node);
  Operand range(const Node& node);
  Operand drawn(const Node& node);
  Array argument(const Node& node, size_t number);
  mint whole(const Array& value, const Node& node, size_t number) const;
  mint whole_argument(const Node& node, size_t number) { return whole(argument(node, number), node, number); }
  mreal real_argument(const Node& node, size_t number);
  Operand widened(const Operand& operand, int32_t type, Span place);
  Operand copied(const Operand& operand, bool scalar, Span place);

  Operand add_array(Array array);
  Operand add_step(Step step, int32_t type);
  size_t take_register(const Step& step, int32_t type, bool scalar);
  void set_rows(mint rows, const std::string& what, Span place);

  const std::vector<Node>& nodes_;
  const Environment& environment_;
  Program program_;
  std::vector<Operand> values_;
  struct Register {
    size_t element_size;
    bool scalar;
    bool free;
  };
  std::vector<Register> registers_;
  /// What first fixed the number of rows.
  std::string rows_from_;
};

Program Compiler::run() {
  values_.resize(nodes_.size());
  // The arguments of a generator are programs of their own, so their nodes are not steps of this one.
  std::vector<bool> elsewhere(nodes_.size(), false);
  for (size_t i = 0; i < nodes_.size(); ++i) {
    if (!is_generator(nodes_[i])) continue;
    std::fill(elsewhere.begin() + static_cast<ptrdiff_t>(nodes_[i].first),
              elsewhere.begin() + static_cast<ptrdiff_t>(i), true);
  }
  for (size_t i = 0; i < nodes_.size(); ++i) {
    if (elsewhere[i]) continue;
    const Node& node = nodes_[i];
    switch (node.kind) {
      case Node::Kind::kLiteral:
        values_[i] = literal(node);
        break;
      case Node::Kind::kName:
        values_[i] = name(node);
        break;
      case Node::Kind::kCall:
        values_[i] = !is_generator(node) ? call(node) : node.name == "range" ? range(node) : drawn(node);
        break;
    }
  }
  program_.result = values_.back();
  if (program_.result.scalar) program_.rows = 1;
  program_.register_count = registers_.size();
  return std::move(program_);
}

Operand Compiler::add_array(Array array) {
  Operand operand{Operand::Kind::kArray, program_.arrays.size(), array.type(), array.is_scalar()};
  program_.arrays.push_back(std::move(array));
  return operand;
}

Operand Compiler::literal(const Node& node) {
  const Literal& literal = node.literal;
  const double real = literal.negative ? -literal.real : literal.real;
  switch (literal.kind) {
    case Literal::Kind::kInteger: {
      const uint64_t value = literal.negative ? uint64_t{0} - literal.magnitude : literal.magnitude;
      return add_array(Array::scalar(static_cast<mint>(value)));
    }
    case Literal::Kind::kReal:
      return add_array(Array::scalar(real));
    default:
      return add_array(Array::scalar(mcomplex{0.0, real}));
  }
}

Operand Compiler::name(const Node& node) {
  const Value value = environment_.find(node.name);
  program_.from_data = program_.from_data || value.from_data;
  Array array = value.array;
  if (!array) array = constant(node.name);
  if (!array) throw Failure("unknown name " + quoted(node.name), node.place, environment_.known_names());
  if (!array.is_scalar()) set_rows(array.size(), quoted(node.name), node.place);
  return add_array(std::move(array));
}

void Compiler::set_rows(mint rows, const std::string& what, Span place) {
  if (rows_from_.empty()) {
    rows_from_ = what;
    program_.rows = rows;
  }
  if (rows != program_.rows) {
    throw Failure("lengths differ: " + what + " has " + grouped(rows) + " rows, " + rows_from_ + " " +
                      grouped(program_.rows),
                  place);
  }
}

/// The value of a generator's argument, an expression of its own.
Array Compiler::argument(const Node& node, size_t number) {
  const size_t index = node.arguments[number];
  const size_t first = nodes_[index].first;
  std::vector<Node> nodes(nodes_.begin() + static_cast<ptrdiff_t>(first),
                          nodes_.begin() + static_cast<ptrdiff_t>(index) + 1);
  for (Node& each : nodes) {
    each.first -= first;
    for (size_t i = 0; i < each.argument_count; ++i) each.arguments[i] -= first;
  }
  return environment_.evaluate(compile(nodes, environment_)).array;
}

/// The value of an argument that has to be one whole number.
mint Compiler::whole(const Array& value, const Node& node, size_t number) const {
  if (value.is_scalar() && value.type() == kInteger) return *value.data<mint>();
  if (value.is_scalar() && value.type() == kReal) {
    const mreal real = *value.data<mreal>();
    if (real == std::floor(real) && std::fabs(real) < 0x1p63) return static_cast<mint>(real);
  }
  throw Failure(node.name + " takes whole numbers", nodes_[node.arguments[number]].place);
}

mreal Compiler::real_argument(const Node& node, size_t number) {
  const Array value = argument(node, number);
  if (value.is_scalar() && value.type() == kInteger) return static_cast<mreal>(*value.data<mint>());
  if (value.is_scalar() && value.type() == kReal) return *value.data<mreal>();
  throw Failure(node.name + " takes real numbers", nodes_[node.arguments[number]].place);
}

/// random, randomint, choice and sample: the rows are drawn here, and the program finds them as an array.
Operand Compiler::drawn(const Node& node) {
  const size_t count = node.argument_count;
  const bool real = node.name == "random", integer = node.name == "randomint";
  if (real && count != 1 && count != 3) throw Failure("random takes one or three arguments", node.place);
  if (!real && count != (integer ? 3 : 2)) {
    throw Failure(node.name + " takes " + (integer ? "three" : "two") + " arguments", node.place);
  }
  const mint rows = whole_argument(node, 0);
  if (rows < 0) throw Failure(node.name + " cannot draw " + grouped(rows) + " numbers", node.place);
  set_rows(rows, node.name, node.place);
  if (real) {
    const mreal low = count == 1 ? 0.0 : real_argument(node, 1);
    const mreal high = count == 1 ? 1.0 : real_argument(node, 2);
    return add_array(random_reals(rows, low, high, node.place));
  }
  if (integer) {
    const mint low = whole_argument(node, 1);
    return add_array(random_integers(rows, low, whole_argument(node, 2), node.place));
  }
  Array positions = argument(node, 1);
  if (positions.is_scalar()) positions = Array::scalar(whole(positions, node, 1));
  if (positions.type() == kComplex)
    throw Failure("weights are real numbers", nodes_[node.arguments[1]].place);
  return add_array(random_positions(rows, positions, node.name == "choice", node.place));
}

Operand Compiler::range(const Node& node) {
  if (node.argument_count > 2) throw Failure("range takes one or two arguments", node.place);
  const mint first = node.argument_count == 1 ? 1 : whole_argument(node, 0);
  const mint last = whole_argument(node, node.argument_count - 1);
  mint rows = 0;
  if (last >= first &&
      (__builtin_sub_overflow(last, first, &rows) || __builtin_add_overflow(rows, mint{1}, &rows))) {
    throw Failure("range has more elements than can be counted", node.place);
  }
  set_rows(rows, "range", node.place);
  Step step;
  step.kind = Step::Kind::kCount;
  step.first = first;
  step.name = "range";
  step.place = node.place;
  return add_step(std::move(step), kInteger);
}

[[noreturn]] void fail_unknown(const Node& node) {
  if (node.is_operator) {
    throw Failure(
        "this operator needs the operation " + quoted(node.name) + ", which the library does not have",
        node.place);
  }
  std::string arities;
  for (const int32_t arity : {1, 2, 3}) {
    if (MNumericArray_getMachFuncID(node.name.c_str(), arity) == 0) continue;
    arities += (arities.empty() ? "it takes " : " or ") + std::to_string(arity);
  }
  if (arities.empty()) {
    throw Failure("unknown function " + quoted(node.name), node.place, "zcalc --functions lists them");
  }
  throw Failure(node.name + " does not take " + std::to_string(node.argument_count) +
                    (node.argument_count == 1 ? " argument" : " arguments"),
                node.place, arities);
}

Operand Compiler::call(const Node& node) {
  const auto arity = static_cast<int32_t>(node.argument_count);
  const int32_t operation = MNumericArray_getMachFuncID(node.name.c_str(), arity);
  if (operation == 0) fail_unknown(node);

  Step step;
  step.name = node.name;
  step.place = node.place;
  step.operand_count = node.argument_count;
  Types types{};
  for (size_t i = 0; i < node.argument_count; ++i) {
    step.operands[i] = values_[node.arguments[i]];
    types[i] = step.operands[i].type;
  }
  // An operation without a kernel for these types, division of integers say, is done in wider ones.
  for (const Types& wider : widenings(types, node.argument_count)) {
    const int32_t type = find_kernel(step, operation, wider);
    if (type == 0) continue;
    for (size_t i = 0; i < node.argument_count; ++i) {
      step.operands[i] = widened(step.operands[i], wider[i], node.place);
    }
    step.writes_third = node.name == "compplus";
    if (step.writes_third) {
      // What is written is a copy, with as many rows as the result.
      const bool scalar =
          std::all_of(step.operands.begin(), step.operands.end(), [](const Operand& o) { return o.scalar; });
      step.operands[2] = copied(step.operands[2], scalar, node.place);
    }
    return add_step(std::move(step), type);
  }
  std::string operands;
  for (size_t i = 0; i < node.argument_count; ++i) {
    operands.append(i == 0 ? "" : ", ").append(type_name(types[i]));
  }
  throw Failure("no kernel for " + node.name + "(" + operands + ")", node.place);
}

/// The operand as a wider type. Adding the negative zero changes no value, be it an integer or -0.0.
Operand Compiler::widened(const Operand& operand, int32_t type, Span place) {
  if (operand.type == type) return operand;
  Step step;
  step.operand_count = 2;
  step.operands[0] = operand;
  step.operands[1] = add_array(type == kReal ? Array::scalar(-0.0) : Array::scalar(mcomplex{-0.0, 0.0}));
  step.name = "plus";
  step.place = place;
  const int32_t plus = MNumericArray_getMachFuncID("plus", 2);
  const int32_t result = find_kernel(step, plus, {operand.type, type, 0});
  if (result != type) {
    throw Failure(std::string("cannot turn ") + type_name(operand.type) + " into " + type_name(type), place);
  }
  return add_step(std::move(step), type);
}

/// The operand in a register, spread over the rows unless `scalar` is wanted.
Operand Compiler::copied(const Operand& operand, bool scalar, Span place) {
  if (operand.kind == Operand::Kind::kRegister && operand.scalar == scalar) return operand;
  Step step;
  step.kind = Step::Kind::kCopy;
  step.operand_count = 1;
  step.operands[0] = operand;
  step.name = "copy";
  step.place = place;
  step.result.scalar = scalar;
  return add_step(std::move(step), operand.type);
}

Operand Compiler::add_step(Step step, int32_t type) {
  bool scalar = step.kind != Step::Kind::kCount;
  for (size_t i = 0; i < step.operand_count; ++i) scalar = scalar && step.operands[i].scalar;
  if (step.kind == Step::Kind::kCopy) scalar = step.result.scalar;
  step.result = {Operand::Kind::kRegister, take_register(step, type, scalar), type, scalar};
  program_.steps.push_back(std::move(step));
  return program_.steps.back().result;
}

/// A register for the result of the step, whose operands are used here for the last time: in a tree every
/// value is used once. A kernel may write over an operand of the same element size.
size_t Compiler::take_register(const Step& step, int32_t type, bool scalar) {
  const size_t size = element_size(type);
  const auto fits = [&](const Register& r) { return r.element_size == size && r.scalar == scalar; };
  std::optional<size_t> result;
  for (size_t i = 0; i < step.operand_count; ++i) {
    const Operand& operand = step.operands[i];
    if (operand.kind != Operand::Kind::kRegister) continue;
    const bool written = step.writes_third && i == 2;
    if (!result && !written && fits(registers_[operand.index])) result = operand.index;
  }
  for (size_t i = 0; i < registers_.size() && !result; ++i) {
    if (registers_[i].free && fits(registers_[i])) result = i;
  }
  if (!result) {
    result = registers_.size();
    registers_.push_back({size, scalar, false});
  }
  for (size_t i = 0; i < step.operand_count; ++i) {
    const Operand& operand = step.operands[i];
    if (operand.kind == Operand::Kind::kRegister) registers_[operand.index].free = true;
  }
  registers_[*result].free = false;
  return *result;
}

}  // namespace

Array constant(const std::string& name) {
  if (name == "pi") return Array::scalar(std::numbers::pi);
  if (name == "e") return Array::scalar(std::numbers::e);
  return {};
}

Program compile(const std::vector<Node>& nodes, const Environment& environment) {
  return Compiler(nodes, environment).run();
}

}  // namespace zcalc
