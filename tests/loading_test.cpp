// The library loaded at run time: hidden from other libraries, in several copies, never initialised, and
// closed while threads that used it are still there.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "zenthar/zenthar.h"

namespace {

// An instance of the library, by default one that nobody has used: a copy of the file is another library.
class Library {
 public:
  explicit Library(bool original = false) {
    static int copies = 0;
    path_ = LIBRARY_PATH;
    if (!original) {
      path_ =
          ::testing::TempDir() + "zenthar-copy-" + std::to_string(getpid()) + "-" + std::to_string(copies++);
      std::filesystem::copy_file(LIBRARY_PATH, path_);
    }
    open();
    if (!original) std::filesystem::remove(path_);
  }

  void open() {
    handle_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) throw std::runtime_error(dlerror());
  }
  bool close() { return dlclose(handle_) == 0; }

  // The instance's own function or variable of that name.
  template <class T>
  T* get(const char* name) const {
    void* symbol = dlsym(handle_, name);
    EXPECT_NE(symbol, nullptr) << name;
    return reinterpret_cast<T*>(symbol);
  }

 private:
  std::string path_;
  void* handle_ = nullptr;
};

#define FROM(library, name) (*(library).get<decltype(name)>(#name))

// Something of every module. The thread number is the caller's to set.
void use_every_module(const Library& library) {
  const mint shape[] = {50, 40};
  MTensor array = FROM(library, MTensor_newAllocatedCommon)(MTENSOR_TYPE_REAL, 2, shape, 1);
  ASSERT_NE(array, nullptr);
  auto* data = static_cast<mreal*>(array->data);
  std::fill_n(data, 2000, 0.5);
  const auto square = FROM(library, MTensor_getUnaryVectorMachFunc)(MACHFUNC_SQUARE, MTENSOR_TYPE_REAL);
  EXPECT_EQ(square(data, data, 2000, 0), 0);
  EXPECT_EQ(data[1999], 0.25);
  MTensor sorted = nullptr;
  EXPECT_EQ(FROM(library, MTensor_Sort)(&sorted, array), 0);
  FROM(library, MTensor_release)(sorted);
  FROM(library, MTensor_release)(array);
  const mint word = 7;
  MTensor* scratch = FROM(library, MTensor_loadSharedRank0)(&word, MTENSOR_TYPE_INTEGER, 2);
  EXPECT_EQ(*static_cast<mint*>((*scratch)->data), 7);

  IntegerArrayHashTable table =
      FROM(library, New_IntegerArrayHashTable)(2, 0, INTEGER_ARRAY_COPY_KEYS, nullptr);
  EXPECT_NE(FROM(library, IntegerArrayHashTable_Add)(table, shape), nullptr);
  EXPECT_NE(FROM(library, IntegerArrayHashTable_Get)(table, shape), nullptr);
  FROM(library, Delete_IntegerArrayHashTable)(table);

  std::atomic<int> pieces{0};
  const auto body = [](void* count, ParallelThread) { ++*static_cast<std::atomic<int>*>(count); };
  EXPECT_EQ(FROM(library, ParallelThreads_Iterate)(&pieces, body, 0), 0);
  EXPECT_EQ(pieces, std::max(FROM(library, getParallelThreadNumber)(), 1));

  mint drawn[10] = {};
  EXPECT_EQ(FROM(library, UniformRandomMIntegers)(drawn, 10, 3, 5), 0);
  EXPECT_TRUE(std::all_of(drawn, drawn + 10, [](mint n) { return n >= 3 && n <= 5; }));

  int buffer;
  FROM(library, SetJumpStack_Push)(&buffer);  // freed when the thread ends
}

TEST(Loading, WorksHiddenFromOthers) {
  Library library(true);
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "zalloc"), nullptr);
  for (int32_t phase : {0, 1, 4}) FROM(library, InitRuntimeLibrary)(phase);
  FROM(library, setParallelThreadNumber)(3);
  use_every_module(library);
  FROM(library, DeinitializeRuntimeLibrary)(1);
  EXPECT_TRUE(library.close());
}

// Nothing has to be initialised: settings have their defaults, and what a phase makes is answered for as
// absent.
TEST(Loading, WorksWithoutInitialisation) {
  Library library;
  EXPECT_EQ(FROM(library, GetAllocatorList)(), nullptr);
  mint count = 5;
  EXPECT_EQ(FROM(library, FullMemoryInformation)(&count, 0), nullptr);
  EXPECT_EQ(count, 0);
  FROM(library, CompactifyMemory)();
  FROM(library, runTensorMemoryCheck)(1);
  FROM(library, ClearParallelRandomGenerators)();
  EXPECT_EQ(FROM(library, CurrentRandomGenerator_get)(), nullptr);
  EXPECT_EQ(FROM(library, getEternalMTensor)(), nullptr);
  EXPECT_EQ(FROM(library, MNumericArrayType_fromString)("Byte"), 0);
  EXPECT_EQ(FROM(library, MRawArrayType_fromString)("Byte"), 2);
  EXPECT_EQ(FROM(library, getProcessorCount)(), 0);
  EXPECT_EQ(FROM(library, getParallelThreadNumber)(), 0);
  EXPECT_EQ(FROM(library, BITMASK)[64], 0u);
  EXPECT_GT(FROM(library, system_memory), 1u << 20);
  EXPECT_EQ(FROM(library, system_allocation_limit), ~uint64_t{0});
  EXPECT_EQ(FROM(library, HashTableGrowLoadFactor), 2.0);
  EXPECT_EQ(FROM(library, HashTableShrinkLoadFactor), 0.5);
  EXPECT_EQ(FROM(library, default_hash_fun),
            library.get<decltype(murmur3_64_128_hash)>("murmur3_64_128_hash"));
  EXPECT_EQ(FROM(library, sip24_64_hash)("abc", 3), [] {
    Library initialised;
    FROM(initialised, InitializeRuntimeLibrary)();
    return FROM(initialised, sip24_64_hash)("abc", 3);
  }()) << "the seeds are there from the start";
  EXPECT_EQ(FROM(library, EqualTolerance), 7.0);
  EXPECT_EQ(FROM(library, compare_double)(7, 1, 1 + 0x1p-50), 0);
  EXPECT_EQ(FROM(library, getVectorParallelLengthThreshold)(0), 8192);
  EXPECT_EQ(FROM(library, throwZentharException)(5), 5);
  EXPECT_EQ(FROM(library, setExceptionActive)(0), 5);
  EXPECT_EQ(FROM(library, checkAbortWatch)(), 0);
  EXPECT_EQ(FROM(library, KThread_addStartFunction)([] {}), 1);
  use_every_module(library);
  FROM(library, DeinitializeRuntimeLibrary)(0);
  use_every_module(library);
  FROM(library, DeinitializeRuntimeLibrary)(1);
}

TEST(Loading, CopiesAreLibrariesOfTheirOwn) {
  Library a, b;
  EXPECT_NE(a.get<decltype(zalloc)>("zalloc"), b.get<decltype(zalloc)>("zalloc"));
  for (int32_t phase : {0, 1, 4}) FROM(a, InitRuntimeLibrary)(phase);
  FROM(a, setParallelThreadNumber)(2);
  FROM(b, setParallelThreadNumber)(3);
  FROM(a, setExceptionStyle)(0);
  EXPECT_EQ(FROM(b, throwZentharException)(9), 9);
  EXPECT_EQ(FROM(a, getExceptionActive)(), 0);
  EXPECT_EQ(FROM(b, setExceptionActive)(0), 9);
  EXPECT_EQ(FROM(b, getEternalMTensor)(), nullptr);
  const uint64_t in_use = FROM(b, MemoryInUse)();
  void* block = FROM(a, zalloc)(1000, 0, 0);
  EXPECT_EQ(FROM(b, MemoryInUse)(), in_use);
  FROM(a, zfree)(block);
  for (int round = 0; round < 3; ++round) {
    std::thread([&] {
      use_every_module(a);
      use_every_module(b);
    }).join();
  }
  FROM(a, DeinitializeRuntimeLibrary)(1);
  use_every_module(b);
  FROM(b, DeinitializeRuntimeLibrary)(1);
}

// What a host has from a library that it closes stays good: threads that end, the workers, blocks, errors.
TEST(Loading, StaysWhenItIsClosed) {
  Library library;
  const auto free_block = library.get<decltype(zfree)>("zfree");
  const auto raise = library.get<decltype(throwZentharException)>("throwZentharException");
  const auto loop = library.get<decltype(ParallelThreads_For)>("ParallelThreads_For");
  FROM(library, ZentharRTL_initialize)();
  FROM(library, setParallelThreadNumber)(3);
  FROM(library, setExceptionStyle)(0);
  void* block = nullptr;
  std::mutex mutex;
  std::condition_variable changed;
  int state = 0;
  const auto await = [&](int wanted) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return state == wanted; });
  };
  const auto set = [&](int to) {
    const std::lock_guard lock(mutex);
    state = to;
    changed.notify_all();
  };
  std::thread user([&] {
    use_every_module(library);
    block = FROM(library, zalloc)(200000, 1, 0);
    set(1);
    await(2);
  });
  await(1);
  std::exception_ptr error;
  try {
    raise(7);
  } catch (...) {
    error = std::current_exception();
  }
  EXPECT_TRUE(library.close());
  set(2);
  user.join();
  EXPECT_STREQ(
      [&] {
        try {
          std::rethrow_exception(error);
        } catch (const std::exception& caught) {
          return caught.what();
        }
      }(),
      "floating_point_overflow");
  free_block(block);
  std::atomic<mint> covered{0};
  const auto body = [](void* sum, ParallelThread thread) {
    *static_cast<std::atomic<mint>*>(sum) += thread->task->end - thread->task->start;
  };
  EXPECT_EQ(loop(&covered, nullptr, body, 0, 1000, 1, nullptr), 0);
  EXPECT_EQ(covered, 1000);
}

}  // namespace
