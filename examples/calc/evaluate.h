// Runs programs: chunk by chunk, every chunk in one guarded call.
#ifndef ZCALC_EVALUATE_H
#define ZCALC_EVALUATE_H

#include <functional>
#include <string>

#include "program.h"

namespace zcalc {

/// Rows that are computed at a time: few enough for registers of them to stay in a cache, many enough to be
/// worth dividing among threads.
inline constexpr mint kChunkRows = 131072;

/// Compiled code: computes rows of a program's result in place of the evaluator, and gives 0 or an error
/// code.
using Runner = std::function<int32_t(MTensor result, mint start, mint count)>;

struct EvaluateOptions {
  bool progress = false;
  /// Where there is one, compiles programs; those without a runner are interpreted.
  std::function<Runner(const Program&)> compile;
  /// What to call a row, counted from 0, of a program whose rows are those of the data file: " (Earth)".
  std::function<std::string(mint row)> row_label;
};

/// The value of the program. A kernel's error becomes a Failure with its name, the row and the operands.
Value evaluate(const Program& program, const EvaluateOptions& options);

}  // namespace zcalc

#endif
