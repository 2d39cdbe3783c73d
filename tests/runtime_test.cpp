// Start and end of the library, and the range predicates.
#include "zenthar/runtime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "zenthar/zenthar.h"

namespace {

constexpr mint kMax = std::numeric_limits<mint>::max();
constexpr mint kMin = std::numeric_limits<mint>::min();

TEST(Phases, MemoryStatisticsArePhaseOnesAlone) {
  system_memory = 12;
  system_allocation_limit = uint64_t{1} << 40;
  for (int32_t phase : {0, 2, 3, 4, 5, -1}) InitRuntimeLibrary(phase);
  InitializeRuntimeLibrary();
  ZentharRTL_initialize();
  EXPECT_EQ(system_memory, 12u);
  EXPECT_EQ(system_allocation_limit, uint64_t{1} << 40);
  InitRuntimeLibrary(1);
  EXPECT_GT(system_memory, 1u << 20);
  EXPECT_EQ(system_allocation_limit, ~uint64_t{0});
  DeinitializeRuntimeLibrary(0);
}

TEST(Phases, AbortFlagsArePhaseZeros) {
  for (int32_t phase : {1, 4, 7}) {
    watch = watch1 = 1;
    InitRuntimeLibrary(phase);
    EXPECT_EQ(watch, 1);
    EXPECT_EQ(watch1, 1);
  }
  ZentharRTL_initialize();
  EXPECT_EQ(watch, 0);
  EXPECT_EQ(watch1, 0);
  DeinitializeRuntimeLibrary(0);
}

TEST(Phases, PermanentArrayIsMadeOnceAndNeverFreed) {
  for (int32_t phase : {0, 1, 2}) InitRuntimeLibrary(phase);
  EXPECT_EQ(getEternalMTensor(), nullptr);
  InitRuntimeLibrary(4);
  MTensor array = getEternalMTensor();
  ASSERT_NE(array, nullptr);
  EXPECT_EQ(array->refCount, kMax);
  EXPECT_EQ(array->flags, 0x02000000u);
  EXPECT_EQ(array->numericType, 0);
  EXPECT_EQ(array->rank, 0);
  EXPECT_EQ(array->data, nullptr);
  FreeMTensor(array);
  MTensor_RefCountIncrement(array);  // wraps, and comes back
  MTensor_release(array);
  InitRuntimeLibrary(4);
  EXPECT_EQ(getEternalMTensor(), array);
  EXPECT_EQ(array->refCount, kMax);
  DeinitializeRuntimeLibrary(0);
  EXPECT_EQ(getEternalMTensor(), nullptr);
}

TEST(Phases, TearDownAndStartAgain) {
  uint64_t in_use_after_first = 0;
  for (int round = 0; round < 6; ++round) {
    for (int32_t phase : {0, 1, 4}) InitRuntimeLibrary(phase);
    ReinitializeRuntimeLibrary();
    EXPECT_EQ(MNumericArrayType_fromString("Byte"), 2);
    ASSERT_NE(getEternalMTensor(), nullptr);
    const mreal value = round;
    EXPECT_EQ(*static_cast<mreal*>((*MTensor_loadSharedRank0(&value, MTENSOR_TYPE_REAL, 0))->data), value);
    const mint shape[] = {30, 40};
    MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 2, shape, 1);
    ASSERT_NE(array, nullptr);
    FreeMTensor(array);
    KThread thread = KThreadCreate(
        [](void*) {
          const mint n = 5;
          EXPECT_EQ(*static_cast<mint*>((*MTensor_loadSharedRank0(&n, MTENSOR_TYPE_INTEGER, 1))->data), 5);
        },
        nullptr, KTHREAD_PRIORITY_NORMAL);
    ASSERT_NE(thread, nullptr);
    KThreadWaitForExit(thread);
    Delete_KThread(thread);
    DeinitializeRuntimeLibrary(round % 2);
    EXPECT_EQ(MNumericArrayType_fromString("Byte"), 0);
    EXPECT_EQ(getEternalMTensor(), nullptr);
    if (round == 0) in_use_after_first = MemoryInUse();
    EXPECT_TRUE(round % 2 != 0 || MemoryInUse() == in_use_after_first) << round;
  }
  DeinitializeRuntimeLibrary(1);  // once more, with nothing to do
  DeinitializeRuntimeLibrary(0);
}

// A look at every module, which works whatever has been called before. Leaves the thread number at 2.
void use_every_module() {
  const mint shape[] = {50, 40};
  MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 2, shape, 1);
  ASSERT_NE(array, nullptr);
  auto* data = static_cast<mreal*>(array->data);
  std::fill_n(data, 2000, 0.5);
  const auto square = MTensor_getUnaryVectorMachFunc(MACHFUNC_SQUARE, MTENSOR_TYPE_REAL);
  EXPECT_EQ(square(data, data, 2000, 0), 0);
  EXPECT_EQ(data[1999], 0.25);
  MTensor_release(array);
  const mint word = 7;
  EXPECT_EQ(*static_cast<mint*>((*MTensor_loadSharedRank0(&word, MTENSOR_TYPE_INTEGER, 2))->data), 7);

  HashTable table =
      New_HashTable(0, StringHash, SetHashString, EqualHashString, HashEntry_NewGeneral, FreeString);
  char key[] = "key";
  HashTable_AddValue(table, key, key);
  EXPECT_EQ(HashTable_GetValue(table, key), key);
  FreeOrEmpty_HashTable(table, 1);

  setParallelThreadNumber(2);
  std::atomic<mint> covered{0};
  const auto body = [](void* sum, ParallelThread thread) {
    MTensor_loadSharedRank0(nullptr, MTENSOR_TYPE_REAL, 0);
    *static_cast<std::atomic<mint>*>(sum) +=
        ParallelThread_RangeEnd(thread) - ParallelThread_RangeStart(thread);
  };
  EXPECT_EQ(ParallelThreads_For(&covered, nullptr, body, 0, 100, 1, nullptr), 0);
  EXPECT_EQ(covered, 100);

  mint drawn[10] = {};
  EXPECT_EQ(UniformRandomMIntegers(drawn, 10, 3, 5), 0);
  EXPECT_TRUE(std::all_of(drawn, drawn + 10, [](mint n) { return n >= 3 && n <= 5; }));
}

// Every order in which a host may start, restart and end the library, against a model of what it sets.
TEST(Phases, AnyOrderLeavesAWorkingLibrary) {
  enum { kInit0, kInit1, kInit4, kOtherPhase, kInitialize, kReinitialize, kEnd, kFullEnd, kSteps };
  DeinitializeRuntimeLibrary(0);
  bool names = false, permanent = false, tables = false;
  std::minstd_rand random(1);
  for (int i = 0; i < 300; ++i) {
    use_every_module();
    watch = watch1 = 1;
    HashTableGrowLoadFactor = 3;
    default_hash_fun = fnv_64_hash;
    system_allocation_limit = uint64_t{1} << 40;
    setVectorParallelLengthThreshold(2, 5);
    setExceptionActive(35);
    const auto step = int(random() % kSteps);
    SCOPED_TRACE("step " + std::to_string(i) + " is " + std::to_string(step));
    switch (step) {
      case kInit0:
        InitRuntimeLibrary(0);
        break;
      case kInit1:
        InitRuntimeLibrary(1);
        break;
      case kInit4:
        InitRuntimeLibrary(4);
        break;
      case kOtherPhase:
        for (int32_t phase : {-1, 2, 3, 5}) InitRuntimeLibrary(phase);
        break;
      case kInitialize:
        ZentharRTL_initialize();
        break;
      case kReinitialize:
        ReinitializeRuntimeLibrary();
        break;
      default:
        DeinitializeRuntimeLibrary(step == kFullEnd);
    }
    const bool starts = step == kInit0 || step == kInitialize, ends = step == kEnd || step == kFullEnd;
    names = (names && !starts && !ends) || step == kInit1;
    permanent = (permanent && !ends) || step == kInit4;
    tables = (tables && !ends) || starts;
    EXPECT_EQ(MNumericArrayType_fromString("Byte"), names ? 2 : 0);
    EXPECT_EQ(getEternalMTensor() != nullptr, permanent);
    EXPECT_EQ(BITMASK[3], tables ? 7u : 0u);
    EXPECT_EQ(watch + watch1, starts ? 0 : 2);
    EXPECT_EQ(HashTableGrowLoadFactor, starts ? 2.0 : 3.0);
    EXPECT_EQ(default_hash_fun, starts ? murmur3_64_128_hash : fnv_64_hash);
    EXPECT_EQ(system_allocation_limit, step == kInit1 ? ~uint64_t{0} : uint64_t{1} << 40);
    EXPECT_EQ(getVectorParallelLengthThreshold(2), starts ? 8192 : 5);
    EXPECT_EQ(getParallelThreadNumber(), starts || step == kReinitialize ? getProcessorCount() : 2);
    EXPECT_EQ(ParallelThreadsEnvironment_initializedQ(), !ends);
    EXPECT_EQ(setExceptionActive(0), 35);
    watch = watch1 = 0;
    system_allocation_limit = ~uint64_t{0};
  }
  InitRuntimeLibrary(0);
  DeinitializeRuntimeLibrary(1);
}

// The number under which the allocator's stop function is known counts anew with the thread layer's lists.
TEST(Phases, TheAllocatorsStopFunctionIsRegisteredAnewAfterAFullEnd) {
  void* survivor = zalloc(100, 0, 0);
  EXPECT_GE(InitializeMemory(), 1);
  DeinitializeRuntimeLibrary(1);
  EXPECT_EQ(KThread_addStopFunction([] {}), 1);
  EXPECT_EQ(InitializeMemory(), 2);
  EXPECT_EQ(InitializeMemory(), 2);
  zfree(survivor);
  zfree(zalloc(70000, 0, 0));
  KThread_callStopFunction(2);
  EXPECT_EQ(MaxMemoryUsed(), 0u) << "the thread has an allocator of its own anew";
  DeinitializeRuntimeLibrary(1);
}

TEST(Predicates, Reals) {
  const mreal largest = std::numeric_limits<mreal>::max(), smallest = std::numeric_limits<mreal>::min();
  const mreal infinity = std::numeric_limits<mreal>::infinity(), nan = std::nan("");
  const mreal subnormal = std::nextafter(smallest, 0.0), least = std::numeric_limits<mreal>::denorm_min();
  const struct {
    mreal x;
    mbool overflow, underflow, underflow0;
  } cases[] = {
      {1.0, 0, 0, 0},       {largest, 0, 0, 0},    {-largest, 0, 0, 0}, {infinity, 1, 0, 0},
      {-infinity, 1, 0, 0}, {nan, 1, 0, 0},        {smallest, 0, 0, 0}, {-smallest, 0, 0, 0},
      {subnormal, 0, 1, 1}, {-subnormal, 0, 1, 1}, {least, 0, 1, 1},    {0.0, 0, 1, 0},
      {-0.0, 0, 1, 0},
  };
  for (const auto& a : cases) {
    for (const auto& b : cases) {
      EXPECT_EQ(cTESTFPOV(a.x, b.x), a.overflow | b.overflow) << a.x << ' ' << b.x;
      EXPECT_EQ(MComplexUnderflowQ(a.x, b.x), a.underflow | b.underflow) << a.x << ' ' << b.x;
      EXPECT_EQ(MComplexUnderflow0Q(a.x, b.x), a.underflow0 | b.underflow0) << a.x << ' ' << b.x;
    }
  }
}

TEST(Predicates, ThirtyTwoBits) {
  const mint two31 = mint{1} << 31;
  const struct {
    mint n;
    mbool fits, converts;
    int32_t low;
  } cases[] = {
      {0, 1, 1, 0},
      {two31 - 1, 1, 1, 0x7fffffff},
      {two31, 0, 0, -0x7fffffff - 1},
      {-two31 + 1, 1, 1, -0x7fffffff},
      {-two31, 0, 1, -0x7fffffff - 1},
      {-two31 - 1, 0, 0, 0x7fffffff},
      {kMax, 0, 0, -1},
      {kMin, 0, 0, 0},
      {(mint{1} << 32) + 5, 0, 0, 5},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(MInt32Q(c.n), c.fits) << c.n;
    int32_t low = 99;
    EXPECT_EQ(IntFromMint(&low, c.n), c.converts) << c.n;
    EXPECT_EQ(low, c.low) << c.n;
  }
}

// Every length about the block sizes of vectorised code, and the first misfit at every place.
TEST(Predicates, ArraysNarrowUpToTheFirstMisfit) {
  for (size_t length = 0; length <= 70; ++length) {
    std::vector<mint> in(length);
    std::iota(in.begin(), in.end(), -3);
    std::vector<int32_t> out(length + 1, 77);
    EXPECT_EQ(IntFromMintArray(out.data(), in.data(), mint(length)), 1);
    for (size_t i = 0; i < length; ++i) EXPECT_EQ(out[i], in[i]);
    EXPECT_EQ(out[length], 77);
    for (size_t misfit = 0; misfit < length; ++misfit) {
      std::vector<mint> bad = in;
      bad[misfit] = (mint{1} << 32) + 9;
      out.assign(length + 1, 77);
      EXPECT_EQ(IntFromMintArray(out.data(), bad.data(), mint(length)), 0);
      for (size_t i = 0; i <= length; ++i) ASSERT_EQ(out[i], i < misfit ? in[i] : i == misfit ? 9 : 77);
    }
  }
  int32_t out = 5;
  EXPECT_EQ(IntFromMintArray(&out, nullptr, 0), 1);
  EXPECT_EQ(out, 5);
}

TEST(Predicates, ArraysConvertInPlace) {
  for (size_t length = 0; length <= 70; ++length) {
    std::vector<mint> buffer(length + 1, 123);
    auto* narrow = reinterpret_cast<char*>(buffer.data());
    for (size_t i = 0; i < length; ++i) {
      const int32_t value = int32_t(i * 0x9e3779b9u);
      std::memcpy(narrow + 4 * i, &value, sizeof value);
    }
    void* start = buffer.data();
    MintFromIntArray(static_cast<mint*>(start), static_cast<const int32_t*>(start), mint(length));
    for (size_t i = 0; i < length; ++i) ASSERT_EQ(buffer[i], int32_t(i * 0x9e3779b9u));
    EXPECT_EQ(IntFromMintArray(static_cast<int32_t*>(start), static_cast<const mint*>(start), mint(length)),
              1);
    for (size_t i = 0; i < length; ++i) {
      int32_t value;
      std::memcpy(&value, narrow + 4 * i, sizeof value);
      ASSERT_EQ(value, int32_t(i * 0x9e3779b9u));
    }
  }
}

}  // namespace
