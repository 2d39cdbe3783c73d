// The processor targets that the vector functions are compiled for, and the one in use.
#ifndef ZENTHAR_KERNELS_VECTOR_TARGETS_H
#define ZENTHAR_KERNELS_VECTOR_TARGETS_H

#include "kernels/dispatch/records.h"

namespace zenthar {

enum class Target {
  kBaseline,  // what every processor of the architecture has
  kAvx2,      // AVX2 and FMA
  kAvx512,    // AVX-512 F, DQ, BW and VL
};
inline constexpr int kTargets = 3;

// Whether this processor runs code of a target, and the target was compiled.
bool runs(Target target);

// The tables that the getters answer from: those of the last target that the processor runs, from when the
// library is loaded.
extern const VectorTables* vector_tables;

// Answers from another target's tables, one that runs(). For tests: functions handed out before stay as they
// are.
void use_target(Target target);

}  // namespace zenthar

#endif
