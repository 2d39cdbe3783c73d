// The typed form of an expression: a straight line of kernel calls on registers.
//
// Compiling an expression finds, for every operation, its number by name, the machine types of its operands,
// the kernel for them and the type of the result, all from the library's dispatch. What comes out is what a
// compiler for numeric code would generate, with the library's vector functions in place of loops.
#ifndef ZCALC_PROGRAM_H
#define ZCALC_PROGRAM_H

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "array.h"
#include "syntax.h"

namespace zcalc {

/// Where a step finds an operand.
struct Operand {
  enum class Kind {
    kRegister,  ///< a register: the result of an earlier step
    kArray      ///< an array that was there before: a column, a bound name, or a scalar
  } kind = Kind::kRegister;
  size_t index = 0;
  int32_t type = 0;
  /// One value for all rows: handed to the kernel with step 0.
  bool scalar = false;
};

struct Step {
  enum class Kind {
    kUnary,
    kBinary,
    kTernary,
    kCount,  ///< fills the result with first + row: range()
    kCopy    ///< copies the operand, a scalar to every row
  } kind = Kind::kUnary;
  int32_t operation = 0;
  UnaryVectorFunction unary = nullptr;
  BinaryVectorFunction binary = nullptr;
  TernaryVectorFunction ternary = nullptr;
  std::array<Operand, 3> operands;
  size_t operand_count = 0;
  /// The kernel writes its third operand: a compensated sum does.
  bool writes_third = false;
  /// Of kCount.
  mint first = 0;
  Operand result;
  std::string name;
  Span place;
};

/// An array with what is known of its rows.
struct Value {
  Array array;
  /// Its rows are those of the data file.
  bool from_data = false;
};

struct Program {
  std::vector<Step> steps;
  std::vector<Array> arrays;
  /// The registers are arrays that the steps allocate anew each time, reusing what they hold.
  size_t register_count = 0;
  /// The value of the expression; when there are no steps, one of the arrays as it is.
  Operand result;
  /// Rows to compute, 1 for a scalar.
  mint rows = 1;
  bool from_data = false;
};

/// What an expression may refer to, and how the scalar arguments of a generator are computed.
struct Environment {
  /// The value of a name, with an empty array when there is no such name.
  std::function<Value(const std::string& name)> find;
  /// Words for the failure of a name that is not found.
  std::function<std::string()> known_names;
  std::function<Value(const Program&)> evaluate;
};

/// pi and e, which data and bound names of these names hide; an empty array for every other name.
Array constant(const std::string& name);

/// Throws a Failure with the place of what has no meaning or no kernel.
Program compile(const std::vector<Node>& nodes, const Environment& environment);

}  // namespace zcalc

#endif
