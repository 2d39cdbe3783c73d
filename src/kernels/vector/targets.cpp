#include "kernels/vector/targets.h"

namespace zenthar {

namespace baseline {
extern const VectorTables kVectorTables;
}
#ifdef ZENTHAR_X86_TARGETS
namespace avx2 {
extern const VectorTables kVectorTables;
}
namespace avx512 {
extern const VectorTables kVectorTables;
}
#endif

// Right from the start, so that functions asked for before this file's constructor ran work too.
constinit const VectorTables* vector_tables = &baseline::kVectorTables;

bool runs(Target target) {
  switch (target) {
    case Target::kBaseline:
      return true;
#ifdef ZENTHAR_X86_TARGETS
    case Target::kAvx2:
      return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    case Target::kAvx512:
      return runs(Target::kAvx2) && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
             __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
#endif
    default:
      return false;
  }
}

void use_target(Target target) {
  switch (target) {
#ifdef ZENTHAR_X86_TARGETS
    case Target::kAvx2:
      vector_tables = &avx2::kVectorTables;
      break;
    case Target::kAvx512:
      vector_tables = &avx512::kVectorTables;
      break;
#endif
    default:
      vector_tables = &baseline::kVectorTables;
  }
}

namespace {

[[gnu::constructor]] void choose_target() {
#ifdef ZENTHAR_X86_TARGETS
  __builtin_cpu_init();
#endif
  for (int target = kTargets - 1; target >= 0; --target)
    if (runs(Target(target))) return use_target(Target(target));
}

}  // namespace

}  // namespace zenthar
