// Checks that running code makes: abort requests of the host, and the class of a real.
#include <cmath>

#include "errors/errors.h"
#include "zenthar/errors.h"
#include "zenthar/host.h"

using zenthar::relaxed;

int32_t watch = 0;
int32_t watch1 = 0;

void zenthar::abort_flags_initialize(int32_t phase) {
  if (phase != 0) return;
  relaxed(watch) = 0;
  relaxed(watch1) = 0;
}

int32_t* getAbortWatchHandle(void) { return &watch; }

mbool checkAbortWatch(void) { return relaxed(watch) != 0 && watchhandle_c("Compiler") != 0; }

mbool checkAbortWatchThrow(void) {
  if (!checkAbortWatch()) return 0;
  throwZentharException(ZENTHAR_ERROR_ABORT);
  return 1;
}

void dummyFunction(void) {}

int32_t TestException(mreal x) {
  if (std::isfinite(x)) return 0;
  if (std::isnan(x)) return 1;
  return std::signbit(x) ? 3 : 2;
}
