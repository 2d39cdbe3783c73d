// The command line.
#ifndef ZCALC_OPTIONS_H
#define ZCALC_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

#include "compiled.h"
#include "host.h"

namespace zcalc {

struct Options {
  enum class Action { kCalculate, kHelp, kVersion, kFunctions } action = Action::kCalculate;
  std::string expression;
  std::string data;  ///< a file, "-" for standard input, empty for none
  bool csv = false;
  bool time = false;
  bool memory = false;
  bool leaks = false;
  bool progress = false;
  int64_t rows = 20;
  int digits = 10;
  uint64_t limit = 0;
  ErrorStyle style = kFlagStyle;
  std::optional<int64_t> seed;  ///< of random numbers; the operating system's without one
  std::string generator;        ///< their method, empty for the default
  CompileOptions compile;
};

/// Throws a Failure with status kUsage.
Options parse_options(int argc, char** argv);
std::string help_text();

/// A number of bytes: 1500, 64K, 100M, 2G, in units of 1024. Throws a Failure with status kUsage.
uint64_t parse_byte_size(const std::string& text);

}  // namespace zcalc

#endif
