// Programs as compiled code: C from the generator, made a shared object by the system's compiler and loaded.
#ifndef ZCALC_COMPILED_H
#define ZCALC_COMPILED_H

#include <optional>
#include <string>

#include "evaluate.h"
#include "generate.h"

namespace zcalc {

struct CompileOptions {
  /// Nothing is compiled without one.
  std::optional<CodeForm> form;
  /// The C compiler, a command that is looked for in the path.
  std::string compiler = "cc";
  /// Shows the code on standard error.
  bool show = false;
};

/// Compiles and loads the program; no runner when it is one to be interpreted, see generate(). Nothing stays
/// behind in the file system. Throws a Failure where there is no compiler, or it fails.
Runner compile_program(const Program& program, const CompileOptions& options);

}  // namespace zcalc

#endif
