// The table of rows.
#pragma once

#include <string>
#include <vector>

#include "memory/workloads.h"

namespace zenthar::bench {

struct Row {
  std::string name;
  const char* unit;  // "ns" an operation, or "B/B": resident bytes per live byte
  bool once;         // the figure does not vary: one turn is enough
  WorkloadMaker make;
};

// All rows, in the order of the report. `effort` (1 is usual) scales the work of a turn.
std::vector<Row> all_rows(double effort);

}  // namespace zenthar::bench
