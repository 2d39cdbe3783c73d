// Aborts at any moment: each operation that looks for abort requests is stopped at its first look, its
// second, and so on until it comes to its end, in every exception style. It gives the described code, leaves
// nothing behind and leaves the pool free.
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "zenthar/zenthar.h"

namespace {

std::atomic<int> looks_left{0};

}  // namespace

// The abort begins to apply at one of the looks; from then on it does.
mbool watchhandle_c(const char*) { return --looks_left < 0; }

namespace {

constexpr mint kLength = 140000;    // enough for a sort in parts
constexpr int32_t kStopped = 1000;  // of the draws; the others raise 34

std::vector<mreal> reals(mint n) {
  std::vector<mreal> values(n);
  for (mint i = 0; i < n; ++i) values[i] = mreal((i * 7919) % 10007) / 16;
  return values;
}

MTensor array_of(const std::vector<mreal>& values, mint columns) {
  const mint shape[] = {mint(values.size()) / columns, columns};
  MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, columns > 1 ? 2 : 1, shape, 0);
  std::copy(values.begin(), values.end(), static_cast<mreal*>(array->data));
  return array;
}

// What the operations work on. They write to `output`, and make arrays only where a result is due.
struct Material {
  std::vector<mreal> values = reals(kLength);
  std::vector<mreal> output = std::vector<mreal>(kLength);
  std::vector<mint> positions = std::vector<mint>(kLength);
  MTensor list = array_of(values, 1), rows = array_of(values, 2), few = array_of(reals(400), 1);
  MTensor element = MTensor_loadNewRank0(&values[1], MTENSOR_TYPE_REAL);
  RandomGenerator generator = MersenneTwister_alloc(nullptr);
};

Material& material() {
  static Material shared;
  return shared;
}

// Runs an operation that makes an array, and releases what it made.
template <class Operation>
int32_t made_by(Operation operation) {
  static MTensor result, second;
  result = second = nullptr;
  const int32_t status = operation(&result, &second);
  EXPECT_EQ(result != nullptr, status == 0);
  MTensor_delete(result);
  MTensor_delete(second);
  return status;
}

int32_t pending_code() { return setExceptionActive(0); }

int bodies_of_a_loop() {
  std::atomic<int> bodies{0};
  const auto count = [](void* data, ParallelThread) { ++*static_cast<std::atomic<int>*>(data); };
  EXPECT_EQ(ParallelThreads_Iterate(&bodies, count, 0), 0);
  return bodies;
}

struct Operation {
  const char* name;
  int32_t (*run)();
};

const Operation kOperations[] = {
    {"unary vector function",
     [] {
       Material& m = material();
       return MTensor_getUnaryVectorMachFunc(MACHFUNC_SIN, 3)(m.output.data(), m.values.data(), kLength, 0);
     }},
    {"binary vector function",
     [] {
       Material& m = material();
       return MTensor_getBinaryVectorMachFunc(MACHFUNC_PLUS, 3, 3)(m.output.data(), m.values.data(), 1,
                                                                   m.values.data(), 0, kLength, 2);
     }},
    {"sort", [] { return made_by([](MTensor* a, MTensor*) { return MTensor_Sort(a, material().list); }); }},
    {"sort of rows",
     [] { return made_by([](MTensor* a, MTensor*) { return MTensor_Sort(a, material().rows); }); }},
    {"union",
     [] { return made_by([](MTensor* a, MTensor*) { return MTensor_Union(a, material().rows, 0); }); }},
    {"tally",
     [] { return made_by([](MTensor* a, MTensor* b) { return MTensor_tally(a, b, material().list, 7); }); }},
    {"position",
     [] {
       return made_by(
           [](MTensor* a, MTensor*) { return MTensor_position(a, material().list, material().element, 0); });
     }},
    {"permutation",
     [] {
       Material& m = material();
       MergeSortPermutation_double(m.positions.data(), m.values.data(), kLength);
       return getExceptionActive();
     }},
    {"reals", [] { return Generic_randomMReals(material().output.data(), 300, material().generator, 0, 1); }},
    {"choices",
     [] {
       Material& m = material();
       return RandomChoicePositionsM(m.positions.data(), 900, static_cast<mreal*>(m.few->data), 400,
                                     m.generator);
     }},
    {"sample by tree",
     [] {
       return RandomSamplePositionsM(material().positions.data(), 60, material().few, material().generator);
     }},
    {"sample by choices",
     [] {
       return RandomSamplePositionsM(material().positions.data(), 20, material().few, material().generator);
     }},
};

// Runs the operation in a guard; the code that was raised or returned.
int32_t run_guarded(const Operation& operation) {
  struct Guarded {
    void (*function)(void*, void*);
    const Operation* operation;
    int32_t returned;
  } guarded = {[](void* g, void*) {
                 auto* self = static_cast<Guarded*>(g);
                 self->returned = self->operation->run();
               },
               &operation, 0};
  Guarded* frame = &guarded;
  CompilerError error = catchExceptionHandler(&guarded, &frame);
  const int32_t code = error ? error->code : guarded.returned;
  Delete_CompilerError(error);
  return code;
}

TEST(Aborts, StopEachOperationAtEachLook) {
  InitializeRuntimeLibrary();
  auto* sums = static_cast<mreal*>(material().few->data);
  for (int i = 0; i < 400; ++i) sums[i] = i + 1;
  for (const Operation& operation : kOperations) {
    for (const int32_t threads : {1, 3}) {
      setParallelThreadNumber(threads);
      ASSERT_EQ(bodies_of_a_loop(), threads);  // the pool is there
      ASSERT_EQ(run_guarded(operation), 0);
      for (const int32_t style : {1, 2, 0}) {
        setExceptionStyle(style);
        int aborts = 0;
        for (;; ++aborts) {
          SCOPED_TRACE(operation.name + std::string(" at look ") + std::to_string(aborts) + ", style " +
                       std::to_string(style) + ", threads " + std::to_string(threads));
          const uint64_t in_use = MemoryInUse();
          looks_left = aborts;
          watch = 1;
          const int32_t code = run_guarded(operation);
          watch = 0;
          EXPECT_EQ(MemoryInUse(), in_use);
          EXPECT_EQ(pending_code(), 0);
          EXPECT_EQ(bodies_of_a_loop(), threads) << "the pool stayed taken";
          if (code == 0) break;
          EXPECT_TRUE(code == 34 || code == kStopped) << code;
          ASSERT_LT(aborts, 1000);
        }
        EXPECT_GT(aborts, 0) << operation.name << " never looked";
      }
      setExceptionStyle(1);
      EXPECT_EQ(run_guarded(operation), 0);
    }
  }
  ParallelThreadsEnvironment_delete();
}

}  // namespace
