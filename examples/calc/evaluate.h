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

struct EvaluateOptions {
  bool progress = false;
  /// What to call a row, counted from 0, of a program whose rows are those of the data file: " (Earth)".
  std::function<std::string(mint row)> row_label;
};

/// The value of the program. A kernel's error becomes a Failure with its name, the row and the operands.
Value evaluate(const Program& program, const EvaluateOptions& options);

}  // namespace zcalc

#endif
