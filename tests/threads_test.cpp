// The thread layer: start and stop functions, flags, timed waits, priority classes.
#include "zenthar/threads.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <vector>

namespace {

std::string trace;

void run_and_join(ThreadFunc function, void* argument, int32_t flags) {
  KThread thread = KThreadCreate(function, argument, flags);
  ASSERT_NE(thread, nullptr);
  EXPECT_EQ(KThreadWaitForExit(thread), 1);
  Delete_KThread(thread);
}

TEST(Threads, HooksRunInOrderAndBackwardsAroundTheFunction) {
  KThread_initStartStopFunctions();
  EXPECT_EQ(KThread_addStartFunction([] { trace += 'a'; }), 1);
  EXPECT_EQ(KThread_addStartFunction([] { trace += 'b'; }), 2);
  // More stop functions than the first capacity, so that the list grows.
  for (int i = 0; i < 9; ++i) EXPECT_EQ(KThread_addStopFunction([] { trace += '.'; }), i + 1);
  EXPECT_EQ(KThread_addStopFunction([] { trace += 'z'; }), 10);
  trace.clear();
  run_and_join([](void*) { trace += 'F'; }, nullptr, KTHREAD_PRIORITY_NORMAL);
  EXPECT_EQ(trace, "abFz.........");

  trace.clear();
  KThread_callStopFunction(10);
  KThread_callStopFunction(0);
  KThread_callStopFunction(11);
  EXPECT_EQ(trace, "z");
  KThread_freeStartStopFunctions();
  trace.clear();
  run_and_join([](void*) { trace += 'F'; }, nullptr, KTHREAD_PRIORITY_NORMAL);
  EXPECT_EQ(trace, "F");
}

TEST(Threads, EveryPriorityStartsAThread) {
  for (int32_t flags : {1, 2, 4, 5, 7}) {
    std::atomic<uint64_t> id{0};
    run_and_join([](void* out) { *static_cast<std::atomic<uint64_t>*>(out) = KThreadID(); }, &id, flags);
    EXPECT_NE(id.load(), 0u);
    EXPECT_NE(id.load(), KThreadID());
  }
}

TEST(Threads, DetachedThreadIsDetached) {
  std::atomic<int> state{-1};
  KThread thread = KThreadCreate(
      [](void* out) {
        pthread_attr_t attributes;
        int detach_state = -2;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getdetachstate(&attributes, &detach_state);
        pthread_attr_destroy(&attributes);
        *static_cast<std::atomic<int>*>(out) = detach_state;
      },
      &state, KTHREAD_PRIORITY_NORMAL | KTHREAD_DETACHED);
  ASSERT_NE(thread, nullptr);
  while (state == -1) KThread_Sleep(1);
  EXPECT_EQ(state, PTHREAD_CREATE_DETACHED);
  Delete_KThread(thread);
}

TEST(Threads, RawExitSkipsTheRest) {
  static std::atomic<int> reached;
  reached = 0;
  run_and_join(
      [](void*) {
        reached = 1;
        KThreadRawExit();
        reached = 2;
      },
      nullptr, KTHREAD_PRIORITY_NORMAL);
  EXPECT_EQ(reached, 1);
}

TEST(Threads, MutexIsRecursiveAndExcludesOthers) {
  struct Shared {
    KMutex mutex = New_KMutex();
    int32_t taken = -1;
  } shared;
  auto attempt = [](void* p) {
    auto* s = static_cast<Shared*>(p);
    s->taken = KMutexTryLock(s->mutex);
    if (s->taken) KMutexUnlock(s->mutex);
  };
  KMutexLock(shared.mutex);
  EXPECT_EQ(KMutexTryLock(shared.mutex), 1);
  KMutexUnlock(shared.mutex);
  run_and_join(attempt, &shared, KTHREAD_PRIORITY_NORMAL);
  EXPECT_EQ(shared.taken, 0) << "one unlock of two was enough";
  KMutexUnlock(shared.mutex);
  run_and_join(attempt, &shared, KTHREAD_PRIORITY_NORMAL);
  EXPECT_EQ(shared.taken, 1);
  Delete_KMutex(shared.mutex);
  Delete_KMutex(nullptr);
}

TEST(Threads, ConditionWakesAndTimesOut) {
  struct Shared {
    KMutex mutex = New_KMutex();
    KCondition condition = New_KCondition();
    int ready = 0;
  } shared;
  KMutexLock(shared.mutex);
  EXPECT_EQ(KConditionTimedWait(shared.condition, shared.mutex, 0), 1);
  EXPECT_EQ(KConditionTimedWait(shared.condition, shared.mutex, 999),
            1);  // carries a second more often than not
  EXPECT_EQ(KConditionTimedWait(shared.condition, shared.mutex, -1500), 1);
  KThread thread = KThreadCreate(
      [](void* p) {
        auto* s = static_cast<Shared*>(p);
        KMutexLock(s->mutex);
        s->ready = 1;
        KConditionSignal(s->condition);
        KMutexUnlock(s->mutex);
      },
      &shared, KTHREAD_PRIORITY_NORMAL);
  mbool timed_out = 0;
  while (!shared.ready && !timed_out) timed_out = KConditionTimedWait(shared.condition, shared.mutex, 60000);
  EXPECT_EQ(timed_out, 0);
  EXPECT_EQ(shared.ready, 1);
  KMutexUnlock(shared.mutex);
  KThreadWaitForExit(thread);
  Delete_KThread(thread);
  Delete_KCondition(shared.condition);
  Delete_KMutex(shared.mutex);
}

TEST(Threads, LocalStorageBelongsToTheThread) {
  struct Shared {
    KThreadLocalStorage key = New_KThreadLocalStorage();
    void* seen = &key;
  } shared;
  int mine = 0;
  EXPECT_EQ(KThreadLocalStorageGet(nullptr), nullptr);
  KThreadLocalStorageSet(shared.key, &mine);
  run_and_join(
      [](void* p) {
        auto* s = static_cast<Shared*>(p);
        s->seen = KThreadLocalStorageGet(s->key);
        KThreadLocalStorageSet(s->key, s);
      },
      &shared, KTHREAD_PRIORITY_NORMAL);
  EXPECT_EQ(shared.seen, nullptr);
  EXPECT_EQ(KThreadLocalStorageGet(shared.key), &mine);
  Delete_KThreadLocalStorage(shared.key);
}

// The nice value is the process's, so each class is tried in a child.
int class_at_nice(int nice) {
  const pid_t child = fork();
  if (child == 0) _exit(setpriority(PRIO_PROCESS, 0, nice) == 0 ? getProcessPriorityClass() + 10 : 99);
  int status = 0;
  waitpid(child, &status, 0);
  return WEXITSTATUS(status) == 99 ? 99 : WEXITSTATUS(status) - 10;
}

TEST(Threads, PriorityClassesFollowTheNiceValue) {
  const std::vector<std::pair<int, int>> lowering = {{0, 0}, {1, -1}, {10, -1}, {18, -1}, {19, -2}};
  for (auto [nice, expected] : lowering) EXPECT_EQ(class_at_nice(nice), expected) << nice;
  if (class_at_nice(-1) == 99) GTEST_SKIP() << "raising the priority is not permitted here";
  const std::vector<std::pair<int, int>> raising = {{-1, 1}, {-9, 1}, {-10, 2}, {-20, 2}};
  for (auto [nice, expected] : raising) EXPECT_EQ(class_at_nice(nice), expected) << nice;
  const int nices[5] = {19, 4, 0, -4, -10};
  for (int32_t k = -2; k <= 2; ++k) {
    const pid_t child = fork();
    if (child == 0)
      _exit(setProcessPriorityClass(k) == 1 && getpriority(PRIO_PROCESS, 0) == nices[k + 2] ? 0 : 1);
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << k;
  }
}

TEST(ThreadsDeathTest, AssertionsNameTheirPlace) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto nothing = [](void*) {};
  EXPECT_DEATH(KThreadCreate(nothing, nullptr, 0), "OS/Unix/os-thread:174.*flags & KTHREAD_PRIORITY_NORMAL");
  EXPECT_DEATH(KThreadCreate(nothing, nullptr, KTHREAD_DETACHED), "flags & KTHREAD_PRIORITY_NORMAL");
  EXPECT_DEATH(setProcessPriorityClass(3), "OS/Unix/os-thread:436.*FALSE");
  EXPECT_DEATH(setProcessPriorityClass(-3), "FALSE");
}

}  // namespace
