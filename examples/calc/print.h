// Results as a table for people and as CSV for programs.
#ifndef ZCALC_PRINT_H
#define ZCALC_PRINT_H

#include <cstdio>
#include <vector>

#include "calculation.h"

namespace zcalc {

struct TableOptions {
  /// How many rows to show.
  int64_t rows = 20;
  /// Significant digits of reals.
  int digits = 10;
};

/// Scalars as a line each; lists as tables, neighbours of one length side by side, with their first rows
/// and below them the count, the smallest, the largest and the mean value (of complex numbers, the smallest
/// and largest by modulus).
void print_tables(std::FILE* out, const std::vector<Result>& results, const Columns& data,
                  const TableOptions& options);

/// One table with all rows. A complex result becomes two columns, real and imaginary part. Throws a Failure
/// when the results differ in length.
void print_csv(std::FILE* out, const std::vector<Result>& results, const Columns& data);

/// What a list holds, NaNs left out of smallest and largest.
struct Summary {
  mint count = 0;
  /// Rows, counted from 0; -1 where there is none.
  mint smallest = -1;
  mint largest = -1;
  mcomplex mean = {0, 0};
};
Summary summarize(const Array& array);

}  // namespace zcalc

#endif
