// Every request for memory, threads, keys or pipes that a use of the library makes is made to fail in turn:
// first the request alone, then it and all after it. Whatever fails, the use comes to the described result,
// leaves nothing behind, and succeeds when it is repeated.
//
// A use is one function below: it returns whether it got everything, and checks and releases what it got. Its
// host's nomem() comes back. Each failure is tried in a process of its own, where nothing that is made on
// first use exists yet.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <vector>

#include "failing_requests.h"
#include "zenthar/zenthar.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

int nomem_calls = 0;
int aborts_started = 0;

}  // namespace

void nomem(void) { ++nomem_calls; }
void StartOutOfMemoryAbort(mint) { ++aborts_started; }

namespace {

bool wrong = false;

// EXPECT_ would ask for memory of its own.
#define CHECK(condition)                                                           \
  do {                                                                             \
    if (!(condition)) {                                                            \
      wrong = true;                                                                \
      std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
    }                                                                              \
  } while (false)

// ---- Uses.

bool thread() {
  static int runs = 0;
  const int before = runs;
  KThread made = KThreadCreate([](void*) { ++runs; }, nullptr, KTHREAD_PRIORITY_NORMAL);
  if (!made) return false;
  KThreadWaitForExit(made);
  Delete_KThread(made);
  CHECK(runs == before + 1);
  return true;
}

bool locks_and_keys() {
  KMutex mutex = New_KMutex();
  KCondition condition = New_KCondition();
  KThreadLocalStorage key = New_KThreadLocalStorage();
  const bool all = mutex && condition && key;
  if (mutex) KMutexLock(mutex), KMutexUnlock(mutex);
  if (condition) KConditionSignal(condition);
  if (key) KThreadLocalStorageSet(key, &mutex);
  CHECK(!key || !KThreadLocalStorageGet(key) || KThreadLocalStorageGet(key) == &mutex);
  Delete_KMutex(mutex);
  Delete_KCondition(condition);
  Delete_KThreadLocalStorage(key);
  return all;
}

bool stop_functions() {
  static int calls;
  calls = 0;
  KThread_initStartStopFunctions();
  int32_t added = 0;
  for (int i = 0; i < 20; ++i) {
    const int32_t number = KThread_addStopFunction([] { ++calls; });
    CHECK(number == 0 || number == added + 1);
    added += number != 0;
  }
  KThread_runStopFunctions();
  CHECK(calls == added);
  KThread_freeStartStopFunctions();
  return added == 20;
}

// Blocks of a small, a medium and a large class, grown and shrunk, in each mode.
bool blocks() {
  bool all = true;
  for (int32_t mode : {0, 1, 2}) {
    for (size_t size : {24, 5000, 200000}) {
      nomem_calls = 0;
      auto* p = static_cast<unsigned char*>(zalloc(size, 1, mode));
      int missing = !p;
      if (p) std::memset(p, 7, size);
      for (size_t wanted : {10 * size, size}) {
        auto* moved = static_cast<unsigned char*>(zrealloc(p, wanted, 1, mode));
        missing += !moved;
        if (!moved) continue;
        CHECK(!p || (moved[0] == 7 && moved[size - 1] == 7));
        if (!p) std::memset(moved, 7, size);
        p = moved;
      }
      zfree(p);
      auto* zeros = static_cast<unsigned char*>(kCalloc(size, 3, 0, mode));
      missing += !zeros;
      CHECK(!zeros || std::count(zeros, zeros + 3 * size, 0) == mint(3 * size));
      zfree(zeros);
      CHECK(nomem_calls == (mode == 0 ? missing : 0));
      all = all && missing == 0;
    }
  }
  return all;
}

// Blocks of an allocator that has none yet, so that it must ask for slabs.
bool blocks_of_a_fresh_thread() {
  bool all = false;
  KThread made = KThreadCreate(
      [](void* result) {
        void* small = RuntimeAllocate(40);
        void* medium = RuntimeAllocate(3000);
        *static_cast<bool*>(result) = small && medium;
        zfree(small);
        zfree(medium);
      },
      &all, KTHREAD_PRIORITY_NORMAL);
  if (!made) return false;
  KThreadWaitForExit(made);
  Delete_KThread(made);
  CompactifyMemory();  // the empty region goes back, to be asked for again
  return all;
}

bool statistics() {
  MaxMemoryList marks = nullptr;
  MaxMemoryListPush(&marks);
  const bool pushed = MaxMemoryListLength(&marks) == 1;
  MaxMemoryListPop(&marks);
  CHECK(MaxMemoryListLength(&marks) == 0);
  mint count = -1;
  uint64_t* figures = FullMemoryInformation(&count, 0);
  CHECK(figures ? count >= 1 : count == 0);
  const bool all = pushed && figures;
  std::free(figures);
  return all;
}

struct Raised {
  void (*function)(void*, void*);
};

bool guarded_calls() {
  bool all = true;
  Raised raise_seven = {[](void*, void*) { throwZentharException(7); }};
  Raised* frame = &raise_seven;
  for (int32_t style : {1, 2, 0}) {
    setExceptionStyle(style);
    CompilerError error = catchExceptionHandler(nullptr, &frame);
    CHECK(error && error->kind == 4 && (error->code == 7 || (style == 2 && error->code == 23)));
    all = all && error && error->code == 7;
    Delete_CompilerError(error);
    CHECK(ZentharCompiler_CatchBase([](void*, void*, void*, void*) { throwZentharException(7); }, nullptr,
                                    nullptr, nullptr, nullptr) == 1);
    CHECK(getExceptionActive() == 0 && !SetJumpStack_Peek());
  }
  setExceptionStyle(1);
  CompilerError error = New_CompilerError(4, 9);
  all = all && error;
  Delete_CompilerError(error);
  return all;
}

// Guards by hand pop what they pushed, whether or not there was memory for it.
bool guards_by_hand() {
  int a, b;
  SetJumpStack_Push(&a);
  const bool first = SetJumpStack_Peek() == &a;
  CHECK(first || !SetJumpStack_Peek());
  SetJumpStack_Push(&b);
  const bool second = SetJumpStack_Peek() == &b;
  SetJumpStack_Pop();
  CHECK(SetJumpStack_Peek() == (first ? &a : nullptr));
  SetJumpStack_Pop();
  CHECK(!SetJumpStack_Peek());
  return first && second;
}

// Each way of getting an array and giving it another shape.
bool arrays() {
  bool all = true;
  const mint shape[] = {3, 4}, larger[] = {30, 40, 50},
             ones[20] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
  for (int32_t mode : {0, 1, 2}) {
    nomem_calls = aborts_started = 0;
    MNumericArray array = nullptr;
    int failures = 0;
    const auto came_to = [&](int32_t status) {
      CHECK(status == 0 || status == 403);
      failures += status != 0;
    };
    came_to(MNumericArray_allocateCommon(&array, 10, 2, shape, mode));
    CHECK((array == nullptr) == (failures == 1));
    if (array) {
      std::fill_n(static_cast<mreal*>(array->data), 12, 2.5);
      const st_MNumericArray old = *array;
      const int before = failures;
      came_to(MNumericArray_allocateMemoryCommon(array, 12, 3, larger, mode));
      if (failures > before) {
        CHECK(array->rank == old.rank && array->flattenedLength == 12 && array->numericType == 10);
        CHECK(array->data == old.data && array->dimensions[0] == 3 && array->dimensions[1] == 4);
        CHECK(static_cast<mreal*>(array->data)[11] == 2.5);
      } else {
        CHECK(array->rank == 3 && array->flattenedLength == 60000 && array->numericType == 12);
      }
      came_to(MNumericArray_setDimensionsCommon(array, 20, ones, 1, mode));
      CHECK(array->rank == 20 || array->flattenedLength > 1);
      MNumericArray like = MNumericArray_new();
      failures += !like;
      if (like) came_to(MNumericArray_allocateMemoryLikeCommon(like, array, mode));
      MNumericArray_delete(like);
    }
    MNumericArray_delete(array);
    CHECK(aborts_started == 0 || mode == 2);
    CHECK(failures > 0 || (nomem_calls == 0 && aborts_started == 0));
    CHECK(mode != 0 || (nomem_calls > 0) == (failures > 0));
    MTensor tensor = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 2, shape, mode);
    failures += !tensor;
    MTensor_delete(tensor);
    all = all && failures == 0;
  }
  MNumericArray made = Runtime_CreateNumericArray(3, 2, shape);
  MTensor scalar = MTensor_loadNewRank0(shape, MTENSOR_TYPE_INTEGER);
  CHECK(!scalar || *static_cast<mint*>(scalar->data) == 3);
  all = all && made && scalar;
  MNumericArray_delete(made);
  MTensor_delete(scalar);
  return all;
}

bool scratch_arrays() {
  const mreal value = 4.5;
  MTensor* shared = MTensor_loadSharedRank0(&value, MTENSOR_TYPE_REAL, 2);
  CHECK(!shared || *static_cast<mreal*>((*shared)->data) == 4.5);
  const bool got = shared;
  DeinitializeRuntimeLibrary(0);
  return got;
}

bool tracked_arrays() {
  static int messages;
  messages = 0;
  initializeTensorMemoryCheck([](const char*) { ++messages; });
  const bool tracking = trackTensorMemory;
  MTensor array = MTensor_new();
  if (array) MTensor_delete(array);
  const int unknown = messages;  // there was no memory to take note of it
  runTensorMemoryCheck(1);
  CHECK(trackTensorMemory == 0 && messages == unknown && unknown <= 1);
  CHECK(tracking || unknown == 0);
  if (array && unknown) MTensor_delete(array);
  return tracking && array && unknown == 0;
}

bool hash_tables() {
  HashTable table =
      New_HashTable(0, StringHash, SetHashString, EqualHashString, HashEntry_NewGeneral, FreeString);
  if (!table) return false;
  char key[] = "a";
  mint count = 0;
  for (int i = 0; i < 40; ++i, ++key[0]) {
    int32_t added = 9;
    HashEntry entry = i % 2 ? HashTable_GetOrAdd(table, key, &added) : HashTable_AddValue(table, key, table);
    CHECK(!entry || std::strcmp(static_cast<char*>(entry->key), key) == 0);
    CHECK(i % 2 == 0 || added == (entry != nullptr));
    count += entry != nullptr;
    CHECK(table->count == count && HashTable_GetUsingFunction(table, key) == entry);
  }
  const bool grown = table->capacity > 7;
  FreeOrEmpty_HashTable(table, 0);
  CHECK(table->count == 0);
  const bool shrunk = table->capacity == 7;
  FreeOrEmpty_HashTable(table, 1);
  return count == 40 && grown && shrunk;
}

bool integer_array_tables() {
  bool all = true;
  for (int32_t flags : {0, int32_t{INTEGER_ARRAY_COPY_KEYS}}) {
    IntegerArrayHashTable table = New_IntegerArrayHashTable(2, 0, flags, nullptr);
    if (!table) {
      all = false;
      continue;
    }
    const mint keys[] = {3, 4, 5};
    HashEntry entry = IntegerArrayHashTable_Add(table, keys);
    int32_t added = 9;
    HashEntry other = IntegerArrayHashTable_GetOrAdd(table, keys + 1, &added);
    CHECK(added == (other != nullptr));
    CHECK(IntegerArrayHashTable_Get(table, keys) == entry);
    CHECK(IntegerArrayHashTable_Get(table, keys + 1) == other);
    CHECK(IntegerArrayHashTable_Length(table) == (entry != nullptr) + (other != nullptr));
    all = all && entry && other;
    Delete_IntegerArrayHashTable(table);
  }
  return all;
}

// A loop covers its range with as many threads as there are.
bool loops() {
  setParallelThreadNumber(3);
  std::atomic<mint> covered{0};
  auto body = [](void* data, ParallelThread worker) {
    *static_cast<std::atomic<mint>*>(data) +=
        ParallelThread_RangeEnd(worker) - ParallelThread_RangeStart(worker);
  };
  int32_t status = ParallelThreads_For(&covered, nullptr, body, 0, 1000, 1, nullptr);
  CHECK(status == 0 ? covered == 1000 : status == 23 && covered == 0);
  bool all = status == 0;
  covered = 0;
  status = ParallelThreads_Reduce(&covered, nullptr, body, 0, 900, 1);
  CHECK(status == 0 ? covered == 900 : status == 23 && covered == 0);
  mint count = -1;
  uint64_t* ids = ParallelThreadID(&count);
  CHECK(ids ? ids[0] == KThreadID() : count == 0);
  all = all && status == 0 && count == 4;
  zfree(ids);
  ParallelThreadsSchedule schedule = New_ParallelThreadsSchedule(2, 5);
  ParallelThreadsSchedule single = New_ParallelThreadsScheduleSingle();
  all = all && schedule && single;
  Delete_ParallelThreadsSchedule(schedule);
  Delete_ParallelThreadsSchedule(single);
  ParallelThreadsEnvironment_delete();
  CHECK(!ParallelThreadsEnvironment_initializedQ());
  return all;
}

// Vector functions need no memory: without a pool they run in the caller.
bool vector_functions() {
  static const std::vector<mreal> operand(100000, 0.25);
  static std::vector<mreal> result(operand.size());
  setParallelThreadNumber(3);
  std::fill(result.begin(), result.end(), 0.0);
  const BinaryVectorFunction times = MTensor_getBinaryVectorMachFunc(MACHFUNC_TIMES, 3, 3);
  CHECK(times(result.data(), operand.data(), 1, operand.data(), 1, mint(operand.size()), 0) == 0);
  CHECK(std::count(result.begin(), result.end(), 0.0625) == mint(operand.size()));
  ParallelThreadsEnvironment_delete();
  return true;
}

bool runtime() {
  for (int32_t phase : {0, 1, 4}) InitRuntimeLibrary(phase);
  CHECK(getParallelThreadNumber() >= 1 && getProcessorCount() >= 1);
  CHECK(MNumericArrayType_fromString("Byte") == 2);
  const bool permanent = getEternalMTensor();
  DeinitializeRuntimeLibrary(0);
  CHECK(!getEternalMTensor());
  return permanent;
}

// A generator, its clone and its copy; the clone goes on as the original.
bool generator_of(RandomGenerator made, RandomMethodClone clone_of, RandomMethodFree free_of) {
  if (!made) return false;
  RandomGenerator clone = clone_of(made);
  mint a[40], b[40];
  CHECK(Generic_randomMIntegers(a, 40, 0, 1000, made) == 0);
  if (clone) {
    CHECK(Generic_randomMIntegers(b, 40, 0, 1000, clone) == 0);
    CHECK(std::equal(a, a + 40, b));
    free_of(clone);
  }
  RandomGenerator copy = RandomGenerator_copyGeneric(made);
  const bool copied = copy;
  RandomGenerator_deleteGeneric(copy);
  free_of(made);
  return clone && copied;
}

bool generators() {
  mint stream = 5, wide[] = {100, 4, 0};
  const bool twister =
      generator_of(MersenneTwister_alloc(nullptr), MersenneTwister_clone, MersenneTwister_free);
  const bool parallel = generator_of(PMT32_alloc(&stream), PMT32_clone, PMT32_free);
  const bool automaton = generator_of(CA5BufferState_alloc(wide), CA5BufferState_clone, CA5BufferState_free);
  return twister && parallel && automaton;
}

bool saved_states() {
  RandomState state = RandomState_new();
  if (!state) return false;
  RandomStateEntry first = RandomStateEntry_add(nullptr, nullptr);
  RandomStateEntry second = first ? RandomStateEntry_add(first, nullptr) : nullptr;
  CHECK(!second || (first->next == second && second->previous == first));
  state->entries = first;
  RandomState_count(state);
  RandomState_delete(state);
  return first && second;
}

bool methods() {
  const mint before = RandomGeneratorMethod_find("of a test");
  RandomGeneratorMethod made = RandomGeneratorMethod_add("of a test", nullptr, nullptr, nullptr);
  const mint id = RandomGeneratorMethod_find("of a test");
  CHECK(made ? made->name && made->current && made->id == id : id == before);
  return made;
}

// What a thread that draws gets: numbers or a code, and nothing is left of it when it ends.
bool draws_of_a_thread() {
  static bool all;
  all = false;
  pthread_t made;
  const auto draw = [](void*) -> void* {
    mint integers[100];
    mreal reals[100];
    const int32_t first = UniformRandomMIntegers(integers, 100, 1, 6);
    const int32_t second = UniformRandomMReals(reals, 100, 0, 1);
    CHECK(first == 0 || first == 11);
    CHECK(second == 0 || second == 11);
    CHECK(first != 0 || (*std::min_element(integers, integers + 100) >= 1 && integers[99] <= 6));
    const mint index = GetParallelGeneratorIndex();
    CHECK(index >= 0 && GetParallelGeneratorIndex() == index);
    RandomGenerator clone = RandomGenerator_clone(CurrentRandomGenerator_get());
    CHECK(!clone ||
          UniformRandomMIntegers(integers, 100, 1, 6) == Generic_randomMIntegers(integers, 100, 1, 6, clone));
    all = first == 0 && second == 0 && clone;
    RandomGenerator_refDecr(clone);
    return nullptr;
  };
  if (pthread_create(&made, nullptr, draw, nullptr) != 0) return false;
  pthread_join(made, nullptr);
  return all;
}

// Choices and samples with a generator that is there, and memory of their own that may not be.
bool variates() {
  mint positions[2000];
  mcomplex complexes[50];
  const mint n = 2000;
  MTensor weights = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 1, &n, 1);
  if (!weights) return false;
  std::fill_n(static_cast<mreal*>(weights->data), n, 0.5);
  MTensor sums = nullptr;
  const int32_t codes[] = {
      UniformRandomMComplexes(complexes, 50, {0, 0}, {1, 1}),
      AccumulateWeightMTensor(&sums, weights),
      RandomChoices(positions, 50, n, nullptr),
      RandomChoices(positions, 2000, n, weights),
      RandomSamples(positions, 1000, n, nullptr),
      RandomSamples(positions, 20, n, nullptr),
      RandomSamples(positions, 1000, n, weights),
      RandomSamples(positions, 20, n, weights),
  };
  bool all = true;
  for (const int32_t code : codes) {
    CHECK(code == 0 || code == 403 || code == 11 || code == -1);
    all = all && code == 0;
  }
  HashTable table = PositionHashTable_new(10);
  all = all && table;
  FreeOrEmpty_HashTable(table, 1);
  MTensor_delete(sums);
  MTensor_delete(weights);
  return all;
}

// Sorting and searching. Those that need no result array come to their answer without memory.
bool sorted_arrays() {
  const mint shape[] = {50, 4}, row[] = {4};
  MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_INTEGER, 2, shape, 1);
  MTensor list = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 1, shape, 1);
  MTensor wanted = MTensor_newAllocatedCommon(MTENSOR_TYPE_INTEGER, 1, row, 1);
  bool all = array && list && wanted;
  if (all) {
    auto* values = static_cast<mint*>(array->data);
    for (mint i = 0; i < 200; ++i) values[i] = i * 7919 % 40 / 4;
    for (mint i = 0; i < 50; ++i) static_cast<mreal*>(list->data)[i] = mreal(i * 31 % 50);
    std::copy_n(values, 4, static_cast<mint*>(wanted->data));
    MTensor results[5] = {};
    const int32_t codes[] = {MTensor_Sort(&results[0], array), MTensor_Sort(&results[1], list),
                             MTensor_Union(&results[2], array, 0),
                             MTensor_tally(&results[3], &results[4], array, 0)};
    for (size_t i = 0; i < 4; ++i) {
      CHECK(codes[i] == 0 || codes[i] == 403);
      CHECK((results[i] != nullptr) == (codes[i] == 0));
      all = all && codes[i] == 0;
    }
    CHECK((results[4] != nullptr) == (results[3] != nullptr));
    MTensor positions = nullptr;
    const int32_t found = MTensor_position(&positions, array, wanted, 0);
    CHECK(found == 0 ? positions != nullptr : found == 403 && !positions);
    mint permutation[50];
    MergeSortPermutation_double(permutation, static_cast<mreal*>(list->data), 50);
    for (mint i = 1; i < 50; ++i)
      CHECK(static_cast<mreal*>(list->data)[permutation[i - 1]] <
            static_cast<mreal*>(list->data)[permutation[i]]);
    all = all && found == 0;
    for (MTensor result : results) MTensor_delete(result);
    MTensor_delete(positions);
  }
  MTensor_delete(array);
  MTensor_delete(list);
  MTensor_delete(wanted);
  return all;
}

// A sort that is divided among threads where there are any.
bool divided_sorts() {
  static std::vector<mint> values(140000), permutation(values.size());
  for (size_t i = 0; i < values.size(); ++i) values[i] = mint(i * 7919 % 100003);
  setParallelThreadNumber(2);
  MergeSortPermutation_mint(permutation.data(), values.data(), mint(values.size()));
  CHECK(getExceptionActive() == 0);
  CHECK(std::is_sorted(permutation.begin(), permutation.end(),
                       [](mint a, mint b) { return values[size_t(a)] < values[size_t(b)]; }));
  ParallelThreadsEnvironment_delete();
  return true;
}

bool start_hooks() {
  nomem_calls = 0;
  ParallelThreads_addStartHook([](ParallelThread) {});
  return nomem_calls == 0;
}

struct Use {
  const char* name;
  bool (*run)();
  bool grows = false;  // it adds to what the library keeps for good
};

constexpr Use kUses[] = {
    {"Thread", thread},
    {"LocksAndKeys", locks_and_keys},
    {"StopFunctions", stop_functions},
    {"Blocks", blocks},
    {"BlocksOfAFreshThread", blocks_of_a_fresh_thread},
    {"Statistics", statistics},
    {"GuardedCalls", guarded_calls},
    {"GuardsByHand", guards_by_hand},
    {"Arrays", arrays},
    {"ScratchArrays", scratch_arrays},
    {"TrackedArrays", tracked_arrays},
    {"HashTables", hash_tables},
    {"IntegerArrayTables", integer_array_tables},
    {"Loops", loops},
    {"StartHooks", start_hooks, true},
    {"VectorFunctions", vector_functions},
    {"Runtime", runtime},
    {"Generators", generators},
    {"SavedStates", saved_states},
    {"Methods", methods, true},
    {"DrawsOfAThread", draws_of_a_thread},
    {"Variates", variates},
    {"SortedArrays", sorted_arrays},
    {"DividedSorts", divided_sorts},
};

// ---- The trial of one failure, in a process of its own.

struct Accounts {
  uint64_t in_use;
  int64_t blocks;  // of malloc, without the tables that the page map never gives up
  bool operator==(const Accounts& other) const { return in_use == other.in_use && blocks == other.blocks; }
};

Accounts settled_accounts() {
  constexpr uint64_t kPageMapTable = 32768;
  CompactifyMemory();
  return {MemoryInUse(),
          failing_requests::live_blocks() - int64_t(GetAllocatorList()->bookkeeping_bytes / kPageMapTable)};
}

enum Outcome { kFaultMet = 1, kWrong = 2 };  // bits of the process's exit status

// A thread without an allocator of its own cannot even say that memory is exhausted, and stops the process.
// There is one for this thread and one that waits for another.
void make_allocators() {
  zfree(zalloc(8, 0, 0));
  pthread_t other;
  const auto allocate = [](void*) -> void* { return zfree(zalloc(8, 0, 0)), nullptr; };
  pthread_create(&other, nullptr, allocate, nullptr);
  pthread_join(other, nullptr);
}

int try_failure(const Use& use, int64_t n, failing_requests::Which which) {
  make_allocators();
  failing_requests::start(n, which);
  const bool cold = use.run();
  const bool met = failing_requests::stop();
  CHECK(met || cold);
  // The failure has left the library whole. What it keeps for good is made now, and the rest settles.
  CHECK(use.run());
  CHECK(use.run());
  if (!use.grows) {
    const Accounts before = settled_accounts();
    failing_requests::start(n, which);
    use.run();
    failing_requests::stop();
    const Accounts after = settled_accounts();
    CHECK(after == before);
    if (!(after == before))
      std::fprintf(stderr, "bytes in use %+ld, blocks of malloc %+ld\n", long(after.in_use - before.in_use),
                   long(after.blocks - before.blocks));
  }
#if defined(__SANITIZE_ADDRESS__)
  if (!met) CHECK(__lsan_do_recoverable_leak_check() == 0);
#endif
  return (met ? kFaultMet : 0) | (wrong ? kWrong : 0);
}

std::ostream& operator<<(std::ostream& out, const Use& use) { return out << use.name; }

class Faults : public ::testing::TestWithParam<Use> {};

TEST_P(Faults, ComeToTheDescribedResult) {
  for (const auto which : {failing_requests::Which::kOne, failing_requests::Which::kAllFrom}) {
    for (int64_t n = 0;; ++n) {
      SCOPED_TRACE("request " + std::to_string(n) +
                   (which == failing_requests::Which::kOne ? "" : " and all after it"));
      const pid_t child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) _exit(try_failure(GetParam(), n, which));
      int status = 0;
      waitpid(child, &status, 0);
      ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
      EXPECT_FALSE(WEXITSTATUS(status) & kWrong);
      if (!(WEXITSTATUS(status) & kFaultMet)) break;
    }
  }
}

// The same under limits: a soft one of the thread, and one for single requests.
TEST_P(Faults, UnderLimitsComeToTheDescribedResult) {
  const auto run = [] {
    const Use& use = GetParam();
    make_allocators();
    CHECK(use.run());
    CHECK(use.run());
    for (const uint64_t room : {1, 64, 512, 4096, 20000, 70000, 300000, 1000000}) {
      Accounts before = settled_accounts();
      MCsetlimit(before.in_use + room);
      use.run();
      MCsetlimit(0);
      system_allocation_limit = room;
      use.run();
      system_allocation_limit = ~uint64_t{0};
      if (use.grows) before = settled_accounts();
      CHECK(settled_accounts() == before);
    }
    CHECK(use.run());
    _exit(wrong);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Uses, Faults, ::testing::ValuesIn(kUses),
                         [](const auto& use) { return std::string(use.param.name); });

// Without an allocator of its own a thread cannot say that memory is exhausted: it stops the process at once.
TEST(FirstRequestDeathTest, StopsTheProcessWithoutMemory) {
  for (const int64_t n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}) {
    const auto run = [n] {
      failing_requests::start(n, failing_requests::Which::kAllFrom);
      zalloc(8, 0, 1);
      _exit(1);
    };
    EXPECT_EXIT(run(), ::testing::KilledBySignal(SIGILL), "") << n;
  }
}

// A large block that cannot grow in the memory that is left gets that of the blocks that the thread keeps.
TEST(KeptBlocksDeathTest, GiveWayToOneThatGrows) {
  const auto run = [] {
    void* growing = zalloc(300000, 0, 1);
    zfree(zalloc(100000, 0, 1));
    failing_requests::start(1, failing_requests::Which::kOne);  // 0 is zrealloc itself
    growing = zrealloc(growing, 900000, 0, 1);
    CHECK(failing_requests::stop() && growing && MemoryInUse() > 900000);
    _exit(wrong);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
