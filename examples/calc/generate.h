// C for a program, as a compiler for numeric code would emit it. docs/compiling.md walks through the result.
#ifndef ZCALC_GENERATE_H
#define ZCALC_GENERATE_H

#include <string>

#include "program.h"

namespace zcalc {

enum class CodeForm {
  /// Blocks of rows: vector functions on buffers of a block, and what stands between two of them fused into
  /// one
  /// loop.
  kBlocks,
  /// One loop over the rows, with scalar functions.
  kElements
};

/// A translation unit that defines
///
///     int32_t zcalc_initialize(void);   /* 1 when all functions that it needs are there */
///     int32_t zcalc_run(MTensor result, const MTensor* arrays, mint start, mint end);
///
/// zcalc_run() computes rows from `start` up to `end` of the result, in parallel, from the program's arrays.
/// It gives 0, or a code when a row fails: which row and why, it leaves to a second look. Empty for a program
/// without rows, or with a step that has no form in C here.
std::string generate(const Program& program, CodeForm form);

}  // namespace zcalc

#endif
