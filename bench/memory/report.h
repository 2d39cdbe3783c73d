// The report: a table for readers, a CSV file for programs.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "memory/rows.h"
#include "memory/turns.h"

namespace zenthar::bench {

class Report {
 public:
  // Prints what is measured, on what, when, and the heading of the table. The library is the first allocator.
  // `csv` may be null.
  Report(const std::vector<Allocator>& allocators, const std::vector<std::string>& notes, int repetitions,
         std::FILE* csv);
  // Prints one line of the table, and its figures to the CSV file.
  void add(const Row& row, const std::vector<Result>& results);
  // Prints the rows in which the library is behind. False when some figure is missing.
  bool summarise() const;

 private:
  struct Standing {
    std::string row;
    double by_median;  // the fastest peer's figure over the library's
    double by_minimum;
    std::string leader;
  };

  std::vector<std::string> names_;
  std::vector<Standing> standings_;
  std::vector<std::string> failures_;
  std::FILE* csv_;
};

}  // namespace zenthar::bench
