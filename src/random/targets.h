// One loop, compiled for several processors in one translation unit.
//
// A loop is a function template over the target, marked ZENTHAR_LOOP, that names nothing but built-in
// operations; it is inlined into a function for each target, and the table of these is chosen from once, at
// load.
#pragma once

#define ZENTHAR_LOOP [[gnu::always_inline]] static inline

#if defined(__x86_64__)
#define ZENTHAR_RANDOM_X86 1
#define ZENTHAR_AVX2 __attribute__((target("avx2,popcnt")))
#ifdef __clang__
#define ZENTHAR_AVX512 __attribute__((target("avx2,popcnt,avx512f,avx512dq,avx512bw,avx512vl")))
#else
#define ZENTHAR_AVX512 \
  __attribute__((target("avx2,popcnt,avx512f,avx512dq,avx512bw,avx512vl,prefer-vector-width=256")))
#endif
#endif

namespace zenthar::random {

// The place in a table of {baseline, AVX2, AVX-512} of what this processor runs best.
inline int best_target() {
#ifdef ZENTHAR_RANDOM_X86
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("popcnt")) return 0;
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                 __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl")
             ? 2
             : 1;
#else
  return 0;
#endif
}

// The one in use. Tests set it, to reach the others.
inline int& target_index() {
  static int index = best_target();
  return index;
}

}  // namespace zenthar::random
