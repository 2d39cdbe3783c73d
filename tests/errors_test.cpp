// Errors: the names of codes, the three styles nested in each other, the set-jump stack of threads, what
// passes through a guarded call, abort checks.
#include "zenthar/errors.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <setjmp.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "zenthar/memory.h"
#include "zenthar/runtime.h"
#include "zenthar/threads.h"

namespace {

constexpr int32_t kStyles[] = {ZENTHAR_STYLE_FLAG, ZENTHAR_STYLE_JUMP, ZENTHAR_STYLE_EXCEPTION, 77};

using Work = std::function<void()>;

void call_work(void* arg, void*) { (*static_cast<Work*>(arg))(); }
void call_work4(void* a, void*, void*, void*) { (*static_cast<Work*>(a))(); }

// The code that a guarded call caught, 0 when it caught nothing.
int32_t caught(Work work) {
  st_GuardedFunction guarded = {call_work};
  st_GuardedFrame frame = {&guarded};
  CompilerError error = catchExceptionHandler(&work, &frame);
  if (!error) return 0;
  EXPECT_EQ(error->kind, 4);
  const int32_t code = error->code;
  Delete_CompilerError(error);
  return code;
}

mbool caught_any(Work work) {
  return ZentharCompiler_CatchBase(call_work4, &work, nullptr, nullptr, nullptr);
}

class Errors : public ::testing::Test {
 protected:
  void SetUp() override { in_use_ = MemoryInUse(); }
  void TearDown() override {
    setExceptionStyle(ZENTHAR_STYLE_FLAG);
    setExceptionActive(0);
    watch = 0;
    EXPECT_EQ(SetJumpStack_Peek(), nullptr);
    EXPECT_EQ(MemoryInUse(), in_use_);
  }

  uint64_t in_use_ = 0;
};

TEST_F(Errors, EveryCodeHasItsName) {
  const std::vector<std::string> names = {"success",
                                          "integer_overflow",
                                          "indeterminate",
                                          "integer_inexact_division",
                                          "floating_point_inexact",
                                          "floating_point_invalid",
                                          "floating_point_infinite",
                                          "floating_point_overflow",
                                          "floating_point_unknown",
                                          "floating_point_nan",
                                          "floating_point_subnormal",
                                          "floating_point_environment_exception",
                                          "floating_point_environment_error",
                                          "argument",
                                          "logic",
                                          "range",
                                          "domain",
                                          "system",
                                          "divide_by_zero",
                                          "invalid_type",
                                          "invalid_range",
                                          "unknown",
                                          "unimplemented",
                                          "memory",
                                          "rankerror",
                                          "dimensionerror",
                                          "arrayparterror",
                                          "expressionconversion",
                                          "matharrayerror",
                                          "doterror",
                                          "streamnodata",
                                          "streamnospace",
                                          "streamdatanotavailable",
                                          "streamspacenotavailable",
                                          "abort",
                                          "randomnumbererror",
                                          "takeerror",
                                          "partitionerror",
                                          "reverseerror",
                                          "flattenerror",
                                          "rotateerror",
                                          "transposeerror",
                                          "sorterror",
                                          "cast",
                                          "stringextract",
                                          "zerolengtharray",
                                          "arraycreation"};
  ASSERT_EQ(names.size(), 47u);
  for (int32_t code = 0; code <= 46; ++code)
    EXPECT_EQ(ZentharRuntimeException(code).what(), names[size_t(code)]) << code;
  for (int32_t code = 47; code <= 96; ++code)
    EXPECT_EQ(ZentharRuntimeException(code).what(), "reserved_" + std::to_string(code - 46));
  for (int32_t code : {97, -1, 402, 403, std::numeric_limits<int32_t>::min()})
    EXPECT_STREQ(ZentharRuntimeException(code).what(), "error_unknown");
  EXPECT_EQ(ZENTHAR_ERROR_ARRAY_CREATION, 46);
  EXPECT_EQ(ZENTHAR_ERROR_ABORT, 34);
}

// The object as code without its class sees it: virtual table pointer, code; destructors, then what().
TEST_F(Errors, ExceptionObjectLayout) {
  auto* exception = new ZentharRuntimeException(15);
  int32_t code = 0;
  std::memcpy(&code, reinterpret_cast<const char*>(exception) + sizeof(void*), sizeof code);
  EXPECT_EQ(code, 15);
  void** table = nullptr;
  std::memcpy(&table, static_cast<const void*>(exception), sizeof table);
  const auto what = reinterpret_cast<const char* (*)(const void*)>(table[2]);
  EXPECT_STREQ(what(exception), "range");
  reinterpret_cast<void (*)(void*)>(table[1])(exception);  // the deleting destructor
}

TEST_F(Errors, FlagStyleStoresTheCodeAndReturns) {
  EXPECT_EQ(throwZentharException(5), 5);
  EXPECT_EQ(getExceptionActive(), 5);
  EXPECT_EQ(*getExceptionActiveHandle(), 5);
  EXPECT_EQ(caught([] { EXPECT_EQ(getExceptionActive(), 0); }), 0);
  EXPECT_EQ(getExceptionActive(), 5);
  EXPECT_EQ(caught([] { throwZentharException(9); }), 9);
  EXPECT_EQ(getExceptionActive(), 5);
  EXPECT_EQ(setExceptionActive(-3), 5);
  EXPECT_EQ(setExceptionActive(0), -3);
  EXPECT_EQ(throwZentharException(0), 0);
  EXPECT_EQ(caught([] { throwZentharException(0); }), 0);  // no code, no error
}

TEST_F(Errors, JumpAndExceptionStylesLeaveTheRaiser) {
  for (int32_t style : {2, 0, -5}) {
    setExceptionStyle(style);
    volatile int reached = 0;
    EXPECT_EQ(caught([&] {
                reached = 1;
                throwZentharException(16);
                reached = 2;
              }),
              16);
    EXPECT_EQ(reached, 1);
    EXPECT_EQ(getExceptionActive(), 0);
    EXPECT_EQ(caught_any([] { throwZentharException(-7); }), 1);
    EXPECT_EQ(caught_any([] {}), 0);
  }
  setExceptionStyle(ZENTHAR_STYLE_JUMP);
  EXPECT_EQ(caught([] { throwZentharException(0); }), 1);  // as longjmp has it
  setExceptionStyle(ZENTHAR_STYLE_EXCEPTION);
  st_GuardedFunction guarded = {[](void*, void*) { throwZentharException(0); }};
  st_GuardedFrame frame = {&guarded};
  CompilerError error = catchExceptionHandler(nullptr, &frame);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code, 0);
  Delete_CompilerError(error);
}

// Every style around every style around every style: each raise reaches the innermost guard alone.
TEST_F(Errors, StylesNestInEachOther) {
  for (int32_t outer : kStyles) {
    for (int32_t middle : kStyles) {
      for (int32_t inner : kStyles) {
        SCOPED_TRACE(std::to_string(outer) + ' ' + std::to_string(middle) + ' ' + std::to_string(inner));
        setExceptionStyle(outer);
        int32_t middle_code = -1, inner_code = -1;
        const int32_t outer_code = caught([&] {
          setExceptionStyle(middle);
          middle_code = caught([&] {
            setExceptionStyle(inner);
            inner_code = caught([] { throwZentharException(3); });
            setExceptionStyle(middle);
            throwZentharException(2);
          });
          setExceptionStyle(outer);
          throwZentharException(1);
        });
        EXPECT_EQ(inner_code, 3);
        EXPECT_EQ(middle_code, 2);
        EXPECT_EQ(outer_code, 1);
        EXPECT_EQ(getExceptionActive(), 0);
        EXPECT_EQ(SetJumpStack_Peek(), nullptr);
      }
    }
  }
}

TEST_F(Errors, DeepGuardsUnwindOneByOne) {
  for (int32_t style : kStyles) {
    setExceptionStyle(style);
    constexpr int kDepth = 200;
    int sum = 0;
    std::function<void(int)> descend = [&](int depth) {
      if (depth > 0) sum += caught([&] { descend(depth - 1); });
      throwZentharException(depth + 1);
    };
    EXPECT_EQ(caught([&] { descend(kDepth); }), kDepth + 1);
    EXPECT_EQ(sum, kDepth * (kDepth + 1) / 2);
  }
}

TEST_F(Errors, CallersBuffersAndGuardsShareTheStack) {
  setExceptionStyle(ZENTHAR_STYLE_JUMP);
  jmp_buf buffer;
  const int code = setjmp(buffer);
  if (code == 0) {
    SetJumpStack_Push(&buffer);
    EXPECT_EQ(caught([&] { EXPECT_NE(SetJumpStack_Peek(), static_cast<void*>(&buffer)); }), 0);
    EXPECT_EQ(SetJumpStack_Peek(), static_cast<void*>(&buffer));
    EXPECT_EQ(caught([] { throwZentharException(12); }), 12);
    EXPECT_EQ(SetJumpStack_Peek(), static_cast<void*>(&buffer));
    throwZentharException(33);
    FAIL() << "came back";
  }
  EXPECT_EQ(code, 33);
  EXPECT_EQ(SetJumpStack_Peek(), static_cast<void*>(&buffer));
  SetJumpStack_Pop();
}

TEST_F(Errors, ForeignExceptionsPass) {
  for (int32_t style : kStyles) {
    setExceptionStyle(style);
    setExceptionActive(21);
    EXPECT_THROW(caught([] { throw std::runtime_error("foreign"); }), std::runtime_error) << style;
    EXPECT_THROW(caught_any([] { throw 5; }), int) << style;
    EXPECT_EQ(SetJumpStack_Peek(), nullptr);
    EXPECT_EQ(setExceptionActive(0), 21);
  }
}

// A host catches by the exported type; a derived one is an error of this library too.
TEST_F(Errors, ExceptionsCrossTheBoundary) {
  struct Derived : ZentharRuntimeException {
    using ZentharRuntimeException::ZentharRuntimeException;
  };
  setExceptionStyle(ZENTHAR_STYLE_EXCEPTION);
  try {
    throwZentharException(34);
    FAIL() << "came back";
  } catch (const std::exception& exception) {
    EXPECT_STREQ(exception.what(), "abort");
    EXPECT_NE(dynamic_cast<const ZentharRuntimeException*>(&exception), nullptr);
  }
  EXPECT_EQ(caught([] { throw Derived(40); }), 40);
}

// Runs in threads that end by forced unwinding inside a guarded call: destructors run, nothing catches it.
TEST_F(Errors, ForcedUnwindingPasses) {
  static std::atomic<int> destroyed;
  for (int32_t style : kStyles) {
    setExceptionStyle(style);
    destroyed = 0;
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void*) -> void* {
                    caught([] {
                      struct Mark {
                        ~Mark() { ++destroyed; }
                      } mark;
                      pthread_exit(&destroyed);
                    });
                    return nullptr;
                  },
                  nullptr),
              0);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, &destroyed) << style;
    EXPECT_EQ(destroyed, 1) << style;
  }
}

// What a thread leaves on its stack is freed with it, whoever started it; the address sanitizer watches.
TEST_F(Errors, StacksBelongToThreadsAndEndWithThem) {
  static const auto leave_three = [] {
    static jmp_buf buffers[3];
    EXPECT_EQ(SetJumpStack_Peek(), nullptr);
    for (jmp_buf& buffer : buffers) SetJumpStack_Push(&buffer);
    EXPECT_EQ(SetJumpStack_Peek(), static_cast<void*>(&buffers[2]));
  };
  jmp_buf mine;
  SetJumpStack_Push(&mine);
  for (int round = 0; round < 20; ++round) {
    std::thread other(leave_three);
    KThread own = KThreadCreate([](void*) { leave_three(); }, nullptr, KTHREAD_PRIORITY_NORMAL);
    other.join();
    KThreadWaitForExit(own);
    Delete_KThread(own);
  }
  EXPECT_EQ(SetJumpStack_Peek(), static_cast<void*>(&mine));
  SetJumpStack_Pop();
}

TEST_F(Errors, ManyThreadsJumpAtOnce) {
  setExceptionStyle(ZENTHAR_STYLE_JUMP);
  std::vector<std::thread> threads;
  for (int32_t id = 1; id <= 8; ++id) {
    threads.emplace_back([id] {
      for (int round = 0; round < 500; ++round) {
        EXPECT_EQ(caught([id] {
                    EXPECT_EQ(caught([id] { throwZentharException(100 + id); }), 100 + id);
                    throwZentharException(id);
                  }),
                  id);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(Errors, GuardsHandOverTheirArguments) {
  struct Seen {
    void* words[4];
  };
  static Seen seen;
  struct Frame {
    st_GuardedFrame head;
    int payload;
  };
  st_GuardedFunction guarded = {[](void* arg, void* frame) { seen = {{arg, frame, nullptr, nullptr}}; }};
  Frame frame = {{&guarded}, 5};
  int words[4];
  for (int32_t style : kStyles) {
    setExceptionStyle(style);
    seen = {};
    EXPECT_EQ(catchExceptionHandler(&words[0], &frame), nullptr);
    EXPECT_EQ(seen.words[0], &words[0]);
    EXPECT_EQ(seen.words[1], &frame);
    EXPECT_EQ(ZentharCompiler_CatchBase(
                  [](void* a, void* b, void* c, void* d) {
                    seen = {{a, b, c, d}};
                  },
                  &words[3], &words[2], &words[1], &words[0]),
              0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(seen.words[i], &words[3 - i]);
  }
}

TEST_F(Errors, Records) {
  CompilerError error = New_CompilerError(9, -12);
  EXPECT_EQ(error->kind, 9);
  EXPECT_EQ(error->code, -12);
  Delete_CompilerError(error);
  Delete_CompilerError(CompilerError_null());
  EXPECT_EQ(CompilerError_null(), nullptr);
}

// Without a host every abort applies.
TEST_F(Errors, AbortChecks) {
  EXPECT_EQ(getAbortWatchHandle(), &watch);
  EXPECT_EQ(checkAbortWatch(), 0);
  EXPECT_EQ(checkAbortWatchThrow(), 0);
  watch = 8;
  EXPECT_EQ(checkAbortWatch(), 1);
  EXPECT_EQ(checkAbortWatchThrow(), 1);
  EXPECT_EQ(setExceptionActive(0), 34);
  EXPECT_EQ(watch, 8);
  for (int32_t style : {ZENTHAR_STYLE_JUMP, ZENTHAR_STYLE_EXCEPTION}) {
    setExceptionStyle(style);
    EXPECT_EQ(caught([] { checkAbortWatchThrow(); }), 34);
  }
  watch1 = 1;
  InitRuntimeLibrary(0);
  EXPECT_EQ(watch, 0);
  EXPECT_EQ(watch1, 0);
}

TEST_F(Errors, AbortRequestedByAnotherThread) {
  std::thread host([] { __atomic_store_n(getAbortWatchHandle(), 1, __ATOMIC_RELAXED); });
  while (!checkAbortWatch()) std::this_thread::yield();
  host.join();
}

TEST_F(Errors, ClassesOfReals) {
  const mreal infinity = std::numeric_limits<mreal>::infinity();
  const mreal nan = std::numeric_limits<mreal>::quiet_NaN();
  const struct {
    mreal x;
    int32_t answer;
  } cases[] = {
      {0.0, 0},
      {-0.0, 0},
      {1.5, 0},
      {std::numeric_limits<mreal>::max(), 0},
      {std::numeric_limits<mreal>::denorm_min(), 0},
      {nan, 1},
      {-nan, 1},
      {std::numeric_limits<mreal>::signaling_NaN(), 1},
      {infinity, 2},
      {-infinity, 3},
  };
  for (const auto& c : cases) EXPECT_EQ(TestException(c.x), c.answer) << c.x;
  dummyFunction();
}

}  // namespace
