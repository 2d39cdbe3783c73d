// Runs one row: every allocator in a process of its own, in turns.
#pragma once

#include <string>
#include <vector>

#include "memory/allocators.h"
#include "memory/rows.h"

namespace zenthar::bench {

// What one allocator did in one row.
struct Result {
  std::vector<double> figures;  // one a turn
  std::string failure;          // not empty: why there is no result
};

// One warm-up turn and then `repetitions` turns of each allocator, interleaved, each round beginning with the
// next allocator. Results are in the order of `allocators`.
std::vector<Result> run_row(const Row& row, const std::vector<Allocator>& allocators, int repetitions);

}  // namespace zenthar::bench
