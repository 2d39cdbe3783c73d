// Compiled code ends its landing pads by the library's own entry for going on with the unwinding. The linker
// turns this program's own landing pads into that (--wrap=_Unwind_Resume).
#include <gtest/gtest.h>

#include "zenthar/errors.h"

namespace {
int resumed = 0;
}

// Under the thread sanitizer every function has a landing pad; this one must not.
extern "C" [[noreturn]] void __wrap__Unwind_Resume(void* exception);
extern "C" __attribute__((no_sanitize("thread"))) void __wrap__Unwind_Resume(void* exception) {
  ++resumed;
  Unwind_Resume_Zenthar(exception);
  __builtin_unreachable();
}

namespace {

int destroyed = 0;

struct Mark {
  ~Mark() { ++destroyed; }
};

[[gnu::noinline]] void raise_under_a_mark(int depth) {
  Mark mark;
  if (depth > 0) return raise_under_a_mark(depth - 1);
  throwZentharException(18);
}

TEST(UnwindResume, GoesOnToTheHandler) {
  setExceptionStyle(ZENTHAR_STYLE_EXCEPTION);
  try {
    raise_under_a_mark(4);
    FAIL() << "came back";
  } catch (const ZentharRuntimeException& exception) {
    EXPECT_EQ(exception.code(), 18);
  }
  EXPECT_EQ(destroyed, 5);
  EXPECT_GE(resumed, 5);
  EXPECT_EQ(ZentharCompiler_CatchBase([](void*, void*, void*, void*) { raise_under_a_mark(0); }, nullptr,
                                      nullptr, nullptr, nullptr),
            1);
  EXPECT_EQ(destroyed, 6);
}

}  // namespace
