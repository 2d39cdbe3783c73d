// Array tracking: its four messages, what it keeps and releases, and many threads at once.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zenthar/array.h"
#include "zenthar/memory.h"

namespace {

const char kTwice[] = "MTensor already created";
const char kUnknown[] = "MTensor cannot be found";
const char kFreedTwice[] = "MTensor has already been freed";
const char kNotFreed[] = "MTensor not freed";

std::mutex messages_mutex;
std::map<std::string, int> messages;

void report(const char* message) {
  const std::lock_guard lock(messages_mutex);
  ++messages[message];
}

using Messages = std::map<std::string, int>;

Messages taken() { return std::exchange(messages, {}); }

MNumericArray new_array(mint elements) { return MNumericArray_newAllocatedCommon(10, 1, &elements, 0); }

class Tracking : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(trackTensorMemory, 0); }
};

TEST_F(Tracking, ArraysThatAreFreedGiveNoMessageAndAreReleasedByTheRun) {
  const uint64_t before = MemoryInUse();
  initializeTensorMemoryCheck(report);
  EXPECT_EQ(trackTensorMemory, 1);
  for (int i = 0; i < 500; ++i) MNumericArray_delete(new_array(100));
  EXPECT_GT(MemoryInUse(), before + 500 * 800) << "kept, so that a second deletion is recognised";
  runTensorMemoryCheck(1);
  EXPECT_EQ(taken(), Messages{});
  EXPECT_EQ(MemoryInUse(), before);
}

TEST_F(Tracking, EveryProblemIsReportedOnce) {
  const uint64_t before = MemoryInUse();
  const MTensor early = new_array(3);
  initializeTensorMemoryCheck(report);
  const MTensor twice = new_array(3), lost = new_array(3), registered = new_array(3);
  MTensor_delete(twice);
  FreeMTensor(twice);
  EXPECT_EQ(taken(), (Messages{{kFreedTwice, 1}}));
  MNumericArray_delete(early);
  EXPECT_EQ(taken(), (Messages{{kUnknown, 1}}));
  EXPECT_EQ(early->rank, 1) << "left alone";
  TensorMemory_addNew(registered);
  EXPECT_EQ(taken(), (Messages{{kTwice, 1}}));
  MTensor_release(registered);
  runTensorMemoryCheck(1);
  EXPECT_EQ(taken(), (Messages{{kNotFreed, 2}})) << "one lost, one registered twice and freed once";

  MNumericArray_getByteCount(lost);
  std::memset(lost->data, 0, 24);
  MNumericArray_delete(lost);
  MNumericArray_delete(early);
  EXPECT_EQ(taken(), Messages{});
  EXPECT_EQ(MemoryInUse(), before);
}

// Freed, registered anew and freed again: two records of one array are marked, and it is released once. Other
// arrays in between make the table grow, which turns chains around.
TEST_F(Tracking, AnArrayWithSeveralRecordsIsReleasedOnce) {
  for (int others : {0, 200}) {
    const uint64_t before = MemoryInUse();
    initializeTensorMemoryCheck(report);
    const MNumericArray array = new_array(50);
    TensorMemory_addNew(array);
    MNumericArray_delete(array);
    for (int i = 0; i < others; ++i) MNumericArray_delete(new_array(1));
    MNumericArray_delete(array);
    TensorMemory_addNew(array);
    MNumericArray_delete(array);
    runTensorMemoryCheck(1);
    taken();
    EXPECT_EQ(MemoryInUse(), before);
  }
}

TEST_F(Tracking, ArraysThatAreNotOwnedAreNeverReported) {
  initializeTensorMemoryCheck(report);
  const MNumericArray shared = new_array(3), permanent = new_array(3);
  shared->flags |= MNUMERICARRAY_FLAG_NOT_OWNED;
  permanent->flags |= MNUMERICARRAY_FLAG_PERMANENT;
  MNumericArray_delete(shared);
  MNumericArray_delete(permanent);
  runTensorMemoryCheck(1);
  EXPECT_EQ(taken(), (Messages{{kNotFreed, 1}})) << "a permanent array is owned";
  for (MNumericArray array : {shared, permanent}) {
    array->flags &= ~uint32_t{MNUMERICARRAY_FLAG_NO_FREE};
    MNumericArray_delete(array);
  }
}

TEST_F(Tracking, ARunWithoutReleaseKeepsEverythingForTheNext) {
  const uint64_t before = MemoryInUse();
  initializeTensorMemoryCheck(report);
  const MNumericArray freed = new_array(4), lost = new_array(5);
  MNumericArray_delete(freed);
  for (int run = 0; run < 2; ++run) {
    runTensorMemoryCheck(0);
    EXPECT_EQ(taken(), (Messages{{kNotFreed, 1}}));
    EXPECT_EQ(freed->flattenedLength, 4);
  }
  const uint64_t kept = MemoryInUse();
  MNumericArray_delete(new_array(6));
  EXPECT_EQ(MemoryInUse(), kept) << "creation and deletion act as ever";
  runTensorMemoryCheck(1);
  EXPECT_EQ(taken(), (Messages{{kNotFreed, 1}}));
  runTensorMemoryCheck(1);
  EXPECT_EQ(taken(), Messages{}) << "nothing is left to check";
  MNumericArray_delete(lost);
  EXPECT_EQ(MemoryInUse(), before);
}

TEST_F(Tracking, AReporterMayUseArraysAndMayBeAbsent) {
  initializeTensorMemoryCheck([](const char* message) {
    report(message);
    MNumericArray_delete(new_array(2));
  });
  const MNumericArray array = new_array(1);
  MNumericArray_delete(array);
  MNumericArray_delete(array);
  runTensorMemoryCheck(1);
  EXPECT_EQ(taken(), (Messages{{kFreedTwice, 1}}));

  initializeTensorMemoryCheck(nullptr);
  const MNumericArray lost = new_array(1);
  runTensorMemoryCheck(1);
  MNumericArray_delete(lost);
  EXPECT_EQ(taken(), Messages{});
}

TEST_F(Tracking, ManyThreadsCreateAndDeleteAtOnce) {
  constexpr int kThreads = 6, kArrays = 400;
  initializeTensorMemoryCheck(report);
  std::vector<std::vector<MNumericArray>> lost(kThreads);
  std::vector<MNumericArray> handed(kThreads);
  for (auto& array : handed) array = new_array(8);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < kArrays; ++i) {
        const MNumericArray array = new_array(i % 7);
        if (i % 10 == 0)
          lost[size_t(t)].push_back(array);
        else
          MNumericArray_delete(array);
        if (i % 20 == 1) MNumericArray_delete(array);
      }
      MNumericArray_delete(handed[size_t(t)]);
    });
  for (auto& thread : threads) thread.join();
  runTensorMemoryCheck(1);
  EXPECT_EQ(taken(),
            (Messages{{kFreedTwice, kThreads * kArrays / 20}, {kNotFreed, kThreads * kArrays / 10}}));
  for (const auto& arrays : lost)
    for (MNumericArray array : arrays) MNumericArray_delete(array);
}

}  // namespace
