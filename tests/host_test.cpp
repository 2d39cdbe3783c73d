// A host in this executable that provides what the library has weak defaults for, and a nomem() of its own.
#include "zenthar/host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zenthar/array.h"
#include "zenthar/errors.h"
#include "zenthar/memory.h"

namespace {

std::vector<std::string> categories;
mbool answer = 0;
std::vector<mint> aborts;
int nomem_calls = 0;

}  // namespace

mbool watchhandle_c(const char* category) {
  categories.emplace_back(category);
  return answer;
}

void StartOutOfMemoryAbort(mint bytes) { aborts.push_back(bytes); }

void nomem(void) { ++nomem_calls; }

namespace {

TEST(Host, SaysWhetherAnAbortApplies) {
  categories.clear();
  EXPECT_EQ(checkAbortWatch(), 0);
  EXPECT_TRUE(categories.empty());  // not asked while no abort is requested
  *getAbortWatchHandle() = 1;
  answer = 0;
  EXPECT_EQ(checkAbortWatch(), 0);
  EXPECT_EQ(checkAbortWatchThrow(), 0);
  EXPECT_EQ(getExceptionActive(), 0);
  answer = 256;  // any answer but 0
  EXPECT_EQ(checkAbortWatch(), 1);
  EXPECT_EQ(checkAbortWatchThrow(), 1);
  EXPECT_EQ(setExceptionActive(0), 34);
  EXPECT_EQ(categories, std::vector<std::string>(4, "Compiler"));
  watch = 0;
}

TEST(Host, HearsOfFailedRequests) {
  system_allocation_limit = uint64_t{1} << 32;
  const mint huge[] = {mint{1} << 50};
  EXPECT_EQ(Runtime_CreateNumericArray(MNUMERICARRAY_TYPE_REAL64, 1, huge), nullptr);
  EXPECT_EQ(aborts, std::vector<mint>{mint{1} << 53});
  EXPECT_EQ(nomem_calls, 0);
  EXPECT_EQ(MNumericArray_newAllocatedCommon(MNUMERICARRAY_TYPE_REAL64, 1, huge, 0), nullptr);
  EXPECT_EQ(nomem_calls, 1);
  EXPECT_EQ(aborts.size(), 1u);
}

}  // namespace
