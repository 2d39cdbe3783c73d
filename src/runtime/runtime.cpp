// Start and end of the library: the one place that knows every module.
//
// Each module offers hooks in its internal header; the tables below give their order. A module that has
// nothing to do at a step has no line there.
#include "zenthar/runtime.h"

#include "array/array.h"
#include "errors/errors.h"
#include "hashing/hashing.h"
#include "kernels/dispatch/thresholds.h"
#include "memory/allocator.h"
#include "parallel/module.h"
#include "random/random.h"
#include "zenthar/threads.h"

namespace {

using StartHook = void (*)(int32_t phase);
using EndHook = void (*)();

// Run with every phase, in this order.
constexpr StartHook kStartHooks[] = {
    zenthar::memory_initialize,          zenthar::hashing_initialize,
    zenthar::array_initialize,           zenthar::random_initialize,
    zenthar::parallel_initialize,        zenthar::vector_thresholds_initialize,
    zenthar::permanent_array_initialize, zenthar::abort_flags_initialize,
};

// Run at every tear-down.
constexpr EndHook kEndHooks[] = {
    zenthar::array_tear_down,
    zenthar::parallel_tear_down,
    zenthar::random_tear_down,
};

// Run after these at a full tear-down: the foundations.
constexpr EndHook kFullEndHooks[] = {
    KThread_freeStartStopFunctions,
    zenthar::memory_tear_down,
};

}  // namespace

void InitRuntimeLibrary(int32_t phase) {
  for (StartHook hook : kStartHooks) hook(phase);
}

void InitializeRuntimeLibrary(void) { InitRuntimeLibrary(0); }

void ZentharRTL_initialize(void) { InitializeRuntimeLibrary(); }

void ReinitializeRuntimeLibrary(void) { zenthar::parallel_reinitialize(); }

void DeinitializeRuntimeLibrary(int32_t full) {
  for (EndHook hook : kEndHooks) hook();
  if (full == 0) return;
  for (EndHook hook : kFullEndHooks) hook();
}
