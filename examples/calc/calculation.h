// One run of the calculator: the statements of an expression over the columns of a file.
#ifndef ZCALC_CALCULATION_H
#define ZCALC_CALCULATION_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "compiled.h"
#include "csv.h"
#include "evaluate.h"
#include "program.h"
#include "syntax.h"

namespace zcalc {

struct Result {
  /// The name it is bound to, or the text of the expression.
  std::string title;
  Value value;
};

class Calculation {
 public:
  Calculation(std::string_view expression, bool progress, CompileOptions compile = {});

  /// Reads the columns that the expression refers to. "-" is standard input, an empty name no file.
  void read_data(const std::string& file);
  /// Computes all statements. What is to be shown are the results of those that bind no name, and of the
  /// last one.
  std::vector<Result> run();

  const Columns& data() const { return data_; }
  /// Seconds of run() that went into compiling.
  double compiling() const { return compiling_; }

 private:
  std::vector<const Node*> free_names() const;
  std::vector<size_t> wanted_columns() const;
  std::string known_names() const;
  Value find(const std::string& name) const;

  std::string_view text_;
  bool progress_;
  CompileOptions compile_;
  double compiling_ = 0;
  std::vector<Statement> statements_;
  Columns data_;
  std::vector<std::string> header_;
  bool has_data_ = false;
  std::map<std::string, Value> values_;
};

}  // namespace zcalc

#endif
