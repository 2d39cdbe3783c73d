// Failing array requests under a host that replaces nomem() by one that comes back, and is told to start
// aborts.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "zenthar/array.h"
#include "zenthar/errors.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"
#include "zenthar/runtime.h"

namespace {

int nomem_calls = 0;
std::vector<mint> aborts;

constexpr mint kMax = std::numeric_limits<mint>::max();

}  // namespace

void nomem(void) { ++nomem_calls; }
void StartOutOfMemoryAbort(mint bytes) { aborts.push_back(bytes); }

namespace {

// Requests above this are refused, whoever asks.
class ArrayFailure : public ::testing::Test {
 protected:
  static constexpr mint kLimit = 100000;

  void SetUp() override {
    system_allocation_limit = uint64_t(kLimit);
    nomem_calls = 0;
    aborts.clear();
  }
  void TearDown() override { system_allocation_limit = ~uint64_t{0}; }
};

struct FailureCase {
  const char* what;
  int32_t type;
  std::vector<mint> dimensions;
  int nomem_calls;  // in mode 0
  mint abort;       // in mode 2
};

const std::vector<FailureCase>& failure_cases() {
  static const std::vector<FailureCase> cases = {
      {"refused buffer", 10, {20000}, 1, 160000},
      {"refused buffer, many elements", 1, {1 << 25}, 1, 1 << 25},
      {"overflowed byte count, nothing left of it", 12, {mint{1} << 60}, 1, -1},
      {"overflowed byte count, wrapped one refused", 10, {(mint{1} << 61) + 20000}, 2, -1},
      {"overflowed element count", 1, {mint{1} << 32, mint{1} << 32}, 1, -1},
      {"element count that means overflow", 1, {kMax}, 1, -1},
      {"refused dimension list", 10, std::vector<mint>(20000, 1), 1, 160000},
  };
  return cases;
}

TEST_F(ArrayFailure, EachWayInEachModeOnAnArrayThatKeepsWhatItHad) {
  const mint shape[] = {2, 3};
  MNumericArray array = MNumericArray_newAllocatedCommon(10, 2, shape, 1);
  auto* data = static_cast<mreal*>(array->data);
  for (int i = 0; i < 6; ++i) data[i] = i;
  const st_MNumericArray before = *array;
  for (const FailureCase& c : failure_cases()) {
    for (int32_t mode : {0, 1, 2, 3, -1}) {
      SCOPED_TRACE(c.what + std::string(", mode ") + std::to_string(mode));
      nomem_calls = 0;
      aborts.clear();
      EXPECT_EQ(MNumericArray_allocateMemoryCommon(array, c.type, mint(c.dimensions.size()),
                                                   c.dimensions.data(), mode),
                403);
      EXPECT_EQ(nomem_calls, mode == 0 ? c.nomem_calls : 0);
      EXPECT_EQ(aborts, mode == 2 ? std::vector<mint>{c.abort} : std::vector<mint>{});
      EXPECT_EQ(array->data, before.data);
      EXPECT_EQ(array->numericType, 10);
      EXPECT_EQ(array->flags, before.flags);
      EXPECT_EQ(array->precision, before.precision);
      EXPECT_EQ(array->rank, 2);
      EXPECT_EQ(array->dimensions[0], 2);
      EXPECT_EQ(array->dimensions[1], 3);
      EXPECT_EQ(array->flattenedLength, 6);
      for (int i = 0; i < 6; ++i) EXPECT_EQ(data[i], i);
    }
  }
  MNumericArray_delete(array);
}

TEST_F(ArrayFailure, EachWayInEachModeOnANewArrayLeavesNothing) {
  const uint64_t in_use = MemoryInUse();
  for (const FailureCase& c : failure_cases()) {
    for (int32_t mode : {0, 1, 2}) {
      SCOPED_TRACE(c.what + std::string(", mode ") + std::to_string(mode));
      const mint rank = mint(c.dimensions.size());
      nomem_calls = 0;
      aborts.clear();
      MNumericArray handle = nullptr;
      EXPECT_EQ(MNumericArray_allocateCommon(&handle, c.type, rank, c.dimensions.data(), mode), 403);
      EXPECT_EQ(handle, nullptr);
      EXPECT_EQ(MNumericArray_newAllocatedCommon(c.type, rank, c.dimensions.data(), mode), nullptr);
      EXPECT_EQ(nomem_calls, mode == 0 ? 2 * c.nomem_calls : 0);
      EXPECT_EQ(aborts.size(), mode == 2 ? 2u : 0u);
      MTensor empty = MTensor_new();
      EXPECT_EQ(MNumericArray_allocateMemoryCommon(empty, c.type, rank, c.dimensions.data(), mode), 403);
      EXPECT_EQ(empty->dimensions, nullptr);
      EXPECT_EQ(empty->flattenedLength, 0);
      MTensor_delete(empty);
    }
    aborts.clear();
    EXPECT_EQ(Runtime_CreateNumericArray(c.type, mint(c.dimensions.size()), c.dimensions.data()), nullptr);
    EXPECT_EQ(aborts, std::vector<mint>{c.abort});
  }
  EXPECT_EQ(MemoryInUse(), in_use);
}

// A byte count that overflows is requested as what is left of it when nomem() comes back.
TEST_F(ArrayFailure, WrappedByteCountGoesOnInModeZero) {
  const mint count = (mint{1} << 60) + 3;
  MNumericArray array = nullptr;
  ASSERT_EQ(MNumericArray_allocateCommon(&array, 12, 1, &count, 0), 0);
  EXPECT_EQ(nomem_calls, 1);
  EXPECT_EQ(array->flattenedLength, count);
  EXPECT_EQ(MNumericArray_getByteCount(array),
            mint(zalloc_round(64, 0) + zalloc_round(8, 0) + zalloc_round(48, 1)));
  MNumericArray_delete(array);
}

TEST_F(ArrayFailure, RetypingFailsWithTheOldElements) {
  const mint shape[] = {90000};
  MNumericArray array = MNumericArray_newAllocatedCommon(1, 1, shape, 1);
  ASSERT_NE(array, nullptr);
  std::memset(array->data, 7, 90000);
  EXPECT_EQ(MNumericArray_allocateMemoryCommon(array, 10, 1, shape, 2), 403);
  EXPECT_EQ(aborts, std::vector<mint>{720000});
  EXPECT_EQ(array->numericType, 1);
  for (int i = 0; i < 90000; ++i) ASSERT_EQ(static_cast<int8_t*>(array->data)[i], 7);
  MNumericArray_delete(array);
}

TEST_F(ArrayFailure, NegativeDimensionsComeFirstAndStartNothing) {
  const uint64_t in_use = MemoryInUse();
  const mint shape[] = {kMax, kMax, -1};
  MNumericArray array = MNumericArray_new();
  MNumericArray handle = nullptr;
  for (int32_t mode : {0, 1, 2}) {
    EXPECT_EQ(MNumericArray_allocateMemoryCommon(array, 12, 3, shape, mode), 402);
    EXPECT_EQ(MNumericArray_allocateCommon(&handle, 12, 3, shape, mode), 402);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(MNumericArray_newAllocatedCommon(12, 3, shape, mode), nullptr);
  }
  EXPECT_EQ(nomem_calls, 0);
  EXPECT_TRUE(aborts.empty());
  MNumericArray_delete(array);
  EXPECT_EQ(MemoryInUse(), in_use);
}

TEST_F(ArrayFailure, CountingInReportingModeSkipsWhatDoesNotFit) {
  const mint two32 = mint{1} << 32;
  const struct {
    std::vector<mint> dimensions;
    mint count;
    int nomem_calls;
  } cases[] = {
      {{two32, two32}, two32, 1},
      {{two32, two32, 2, -5, two32, 3}, 6 * two32, 3},
      {{-1}, 1, 1},
      {{kMax, kMax, 0}, 0, 1},
      {{0, kMax, kMax}, 0, 0},
  };
  for (const auto& c : cases) {
    nomem_calls = 0;
    EXPECT_EQ(NumberOfElementsCommon(mint(c.dimensions.size()), c.dimensions.data(), 0), c.count);
    EXPECT_EQ(nomem_calls, c.nomem_calls);
  }
}

TEST_F(ArrayFailure, StoringDimensionsOnlyAnswers403) {
  const std::vector<mint> ones(20000, 1);
  const mint shape[] = {2, 3};
  MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 2, shape, 1);
  for (int32_t mode : {0, 1, 2}) {
    nomem_calls = 0;
    EXPECT_EQ(MNumericArray_setDimensionsCommon(array, 20000, ones.data(), 1, mode), 403);
    EXPECT_EQ(nomem_calls, mode == 0 ? 1 : 0);
    EXPECT_EQ(array->rank, 2);
    EXPECT_EQ(array->dimensions[1], 3);
    EXPECT_EQ(array->flattenedLength, 6);
  }
  EXPECT_TRUE(aborts.empty());
  MTensor_delete(array);
}

}  // namespace
