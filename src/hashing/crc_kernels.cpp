// What this processor can do for the checks.
#include "hashing/crc_kernels.h"

namespace zenthar::crc {

bool supported(Target target) {
#if defined(__x86_64__)
  __builtin_cpu_init();
  const bool narrow = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("ssse3");
  const bool wide = narrow && __builtin_cpu_supports("vpclmulqdq") && __builtin_cpu_supports("avx512f") &&
                    __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                    __builtin_cpu_supports("avx512dq");
  if (target == Target::kCarrylessMultiply) return narrow;
  if (target == Target::kWideCarrylessMultiply) return wide;
#endif
  return target == Target::kBaseline;
}

Kernel crc32_kernel([[maybe_unused]] Target target) {
#if defined(__x86_64__)
  if (target == Target::kCarrylessMultiply) return crc32_clmul;
  if (target == Target::kWideCarrylessMultiply) return crc32_wide_clmul;
#endif
  return crc32_tables;
}

Kernel crc64_kernel([[maybe_unused]] Target target) {
#if defined(__x86_64__)
  if (target == Target::kCarrylessMultiply) return crc64_clmul;
  if (target == Target::kWideCarrylessMultiply) return crc64_wide_clmul;
#endif
  return crc64_tables;
}

Target best_target() {
  Target best = Target::kBaseline;
  for (Target target : kTargets)
    if (supported(target)) best = target;
  return best;
}

}  // namespace zenthar::crc
