// Methods, current generators, references, saved states, and the host's default side of them.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "zenthar/host.h"
#include "zenthar/memory.h"
#include "zenthar/parallel.h"
#include "zenthar/random.h"
#include "zenthar/runtime.h"

namespace {

// What the methods of these tests were asked to do, in order.
std::vector<std::string> calls;
std::mutex calls_mutex;

void note(const std::string& call) {
  const std::lock_guard lock(calls_mutex);
  calls.push_back(call);
}

// A generator of a host, counted here and freed by nobody.
struct Fake {
  st_RandomGeneratorState state{};
  st_RandomGeneratorFunctions functions{};
  st_RandomGenerator generator{};

  explicit Fake(mint method, mint count = 1) {
    state = {method, this, count};
    generator.state = &state;
    generator.functions = &functions;
    generator.free_state = [](RandomGeneratorState) { note("state"); };
  }
};

mint fake_method() {
  static const mint id = RandomGeneratorMethod_add("fake", nullptr, nullptr, [](RandomGenerator g) {
                           EXPECT_EQ(g->state, nullptr);
                           note("generator");
                         })->id;
  return id;
}

TEST(Methods, AreNumberedAndFoundNewestFirst) {
  const mint first = fake_method();
  RandomGeneratorMethod nameless = RandomGeneratorMethod_new(nullptr);
  EXPECT_EQ(nameless->id, 0);
  EXPECT_EQ(nameless->name, nullptr);
  EXPECT_NE(nameless->current, nullptr);
  RandomGeneratorMethod_addToMethodList(nameless);
  EXPECT_EQ(RandomGeneratorMethodList, nameless);
  char name[] = "twice";
  RandomGeneratorMethod old = RandomGeneratorMethod_add(name, nullptr, nullptr, nullptr);
  RandomGeneratorMethod recent = RandomGeneratorMethod_add("twice", nullptr, nullptr, nullptr);
  name[0] = 'x';  // the record has a copy
  EXPECT_EQ(nameless->id + 1, old->id);
  EXPECT_EQ(old->id + 1, recent->id);
  EXPECT_EQ(recent->next, old);
  EXPECT_EQ(RandomGeneratorMethod_find("twice"), recent->id);
  EXPECT_EQ(RandomGeneratorMethod_find("fake"), first);
  EXPECT_EQ(RandomGeneratorMethod_find("none"), 0);
  EXPECT_EQ(RandomGeneratorMethod_get(old->id), old);
  EXPECT_EQ(RandomGeneratorMethod_get(0), nullptr);
}

TEST(Methods, CompilerNamesAreTheFirstMatch) {
  const char* const names[] = {"Automatic", "ExtendedCA", "MKL", "MersenneTwister", "ParallelGenerator"};
  for (mint id = 0; id < 5; ++id) EXPECT_STREQ(CompiledGetRandomGeneratorName(id), names[id]);
  EXPECT_EQ(CompiledGetRandomGeneratorName(5), nullptr);
  EXPECT_EQ(CompiledGetRandomGeneratorName(-1), nullptr);
  EXPECT_STREQ(DefaultRandomGeneratorName, "ExtendedCA");
  EXPECT_STREQ(CompilerRandomGeneratorMethodList[5], "Default");
  EXPECT_EQ(CompilerRandomGeneratorMethodID[5], 1);
}

TEST(References, LastOneFreesStateThenGenerator) {
  calls.clear();
  Fake fake(fake_method());
  RandomGenerator_refIncr(&fake.generator);
  EXPECT_EQ(fake.state.reference_count, 2);
  RandomGenerator_refDecr(&fake.generator);
  EXPECT_TRUE(calls.empty());
  RandomGenerator_refDecr(&fake.generator);
  EXPECT_EQ(calls, (std::vector<std::string>{"state", "generator"}));
  RandomGenerator_refDecr(&fake.generator);  // without state: nothing
  RandomGenerator_refIncr(&fake.generator);
  Fake uncounted(fake_method(), -1);
  RandomGenerator_refIncr(&uncounted.generator);
  RandomGenerator_refDecr(&uncounted.generator);
  EXPECT_EQ(uncounted.state.reference_count, -1);
  EXPECT_EQ(calls.size(), 2u);
}

TEST(References, CloneReplacesTheStateOfTheClone) {
  static Fake made(0), original(0);
  static st_RandomGeneratorState fresh;
  calls.clear();
  RandomGeneratorMethod method = RandomGeneratorMethod_add(
      "cloning", nullptr, [](RandomGenerator) { return &made.generator; }, nullptr);
  original.state.method_id = method->id;
  original.generator.create_state = [](mint id, void* data) {
    EXPECT_EQ(data, &original);
    fresh.method_id = id;
    return &fresh;
  };
  EXPECT_EQ(RandomGenerator_clone(&original.generator), &made.generator);
  EXPECT_EQ(made.generator.state, &fresh);
  EXPECT_EQ(fresh.method_id, method->id);
  EXPECT_EQ(calls, std::vector<std::string>{"state"});
  Fake without(fake_method());
  EXPECT_EQ(RandomGenerator_clone(&without.generator), nullptr);
}

TEST(References, GenericCopyHasTableAndThirdWord) {
  Fake fake(1);
  int a, b;
  fake.generator.copied = &a;
  fake.generator.cleared = &b;
  fake.functions.host[1] = &a;
  fake.functions.distributions = &b;
  fake.functions.reals = Generic_randomMReals;
  RandomGenerator copy = RandomGenerator_copyGeneric(&fake.generator);
  EXPECT_EQ(std::memcmp(copy->functions, &fake.functions, sizeof fake.functions), 0);
  EXPECT_NE(copy->functions, &fake.functions);
  EXPECT_EQ(copy->copied, &a);
  EXPECT_EQ(copy->cleared, nullptr);
  EXPECT_EQ(copy->state, nullptr);
  EXPECT_EQ(Runtime_RandomGenerator_getMRealFunction(copy), reinterpret_cast<void*>(Generic_randomMReals));
  EXPECT_EQ(Runtime_RandomGenerator_getBitFunction(copy), nullptr);
  EXPECT_EQ(Runtime_RandomGenerator_getMIntegerFunction(copy), nullptr);
  RandomGenerator_deleteGeneric(copy);
}

TEST(States, EntriesAreLinkedAndCountedOnce) {
  Fake a(fake_method()), b(fake_method());
  RandomState state = RandomState_new();
  state->entries = RandomStateEntry_add(nullptr, &a.generator);
  RandomStateEntry second = RandomStateEntry_add(state->entries, &b.generator);
  EXPECT_EQ(state->entries->next, second);
  EXPECT_EQ(second->previous, state->entries);
  RandomState_count(state);
  RandomState_count(state);
  EXPECT_EQ(a.state.reference_count, 2);
  EXPECT_EQ(b.state.reference_count, 2);
  RandomState_delete(state);
  EXPECT_EQ(a.state.reference_count, 1);
  EXPECT_EQ(b.state.reference_count, 1);
  RandomState_delete(nullptr);
}

// Each worker saves a state of its own under the key.
TEST(States, WorkersStatesAreCountedAndDeleted) {
  InitializeRuntimeLibrary();
  const int32_t before = setParallelThreadNumber(3);
  Fake a(fake_method());
  std::vector<Fake> of_workers(3, Fake(fake_method()));
  for (Fake& fake : of_workers) fake.generator.state = &fake.state;
  struct Context {
    RandomState state;
    std::vector<Fake>* fakes;
  } context{RandomState_new(), &of_workers};
  context.state->entries = RandomStateEntry_add(nullptr, &a.generator);
  context.state->workers = New_KThreadLocalStorage();
  ParallelThreads_Iterate(
      &context,
      [](void* data, ParallelThread thread) {
        auto* c = static_cast<Context*>(data);
        RandomState own = RandomState_new();
        own->entries =
            RandomStateEntry_add(nullptr, &(*c->fakes)[size_t(ParallelThread_ID(thread))].generator);
        KThreadLocalStorageSet(c->state->workers, own);
      },
      0);
  RandomState_count(context.state);
  for (const Fake& fake : of_workers) EXPECT_EQ(fake.state.reference_count, 2);
  RandomState_delete(context.state);
  EXPECT_EQ(a.state.reference_count, 1);
  for (const Fake& fake : of_workers) EXPECT_EQ(fake.state.reference_count, 1);
  restoreParallelThreadNumber(before);
}

TEST(Currents, BelongToTheThreadAndGoWithIt) {
  calls.clear();
  RandomGeneratorMethod method = RandomGeneratorMethod_get(fake_method());
  Fake mine(method->id), theirs(method->id), kept(method->id, 2);
  RandomGeneratorMethod_setCurrent(method, &mine.generator);
  CurrentRandomGenerator_set(&mine.generator);
  RandomGeneratorMethod other = RandomGeneratorMethod_add("other", nullptr, nullptr, nullptr);
  std::thread([&] {
    EXPECT_EQ(CurrentRandomGenerator_get(), nullptr);
    EXPECT_EQ(RandomGeneratorMethod_getCurrent(method), nullptr);
    RandomGeneratorMethod_setCurrent(method, &theirs.generator);
    RandomGeneratorMethod_setCurrent(other, &kept.generator);
    CurrentRandomGenerator_set(&theirs.generator);
    EXPECT_EQ(CurrentRandomGenerator_get(), &theirs.generator);
  }).join();
  EXPECT_EQ(calls, (std::vector<std::string>{"state", "generator"}));
  EXPECT_EQ(kept.state.reference_count, 1);
  EXPECT_EQ(CurrentRandomGenerator_get(), &mine.generator);
  EXPECT_EQ(RandomGeneratorMethod_getCurrent(method), &mine.generator);
  RandomGeneratorMethod_setCurrent(method, nullptr);
  CurrentRandomGenerator_set(nullptr);
}

struct Seen {
  std::mutex mutex;
  std::set<mint> indices;
  std::set<uint64_t> words;
  std::set<mint> methods;
};

void draw_on_each_worker(Seen* seen) {
  ParallelThreads_Iterate(
      seen,
      [](void* data, ParallelThread) {
        auto* s = static_cast<Seen*>(data);
        const mint index = GetParallelGeneratorIndex();
        EXPECT_EQ(GetParallelGeneratorIndex(), index);
        RandomGenerator generator = GetCurrentRandomGenerator();
        EXPECT_EQ(GetCurrentRandomGenerator(), generator);
        const std::lock_guard lock(s->mutex);
        s->indices.insert(index);
        s->words.insert(generator->functions->bits(64, generator));
        s->methods.insert(generator->state->method_id);
      },
      0);
}

TEST(Currents, WorkersHaveIndicesThatClearingGivesBack) {
  InitializeRuntimeLibrary();
  const int32_t before = setParallelThreadNumber(4);
  Seen first, second;
  draw_on_each_worker(&first);
  EXPECT_EQ(first.indices.size(), 4u);
  EXPECT_EQ(first.words.size(), 4u);
  EXPECT_EQ(first.methods, std::set<mint>{RandomGeneratorMethod_find("ParallelGenerator")});
  ClearParallelRandomGenerators();
  ParallelThreads_Iterate(
      nullptr, [](void*, ParallelThread) { EXPECT_EQ(CurrentRandomGenerator_get(), nullptr); }, 0);
  draw_on_each_worker(&second);
  EXPECT_EQ(second.indices, first.indices);
  EXPECT_EQ(second.words.size(), 4u);
  // New workers take over what those that end give back.
  setParallelThreadNumber(3);
  Seen third;
  draw_on_each_worker(&third);
  for (mint index : third.indices) EXPECT_TRUE(first.indices.contains(index));
  ParallelThreadsEnvironment_delete();
  restoreParallelThreadNumber(before);
}

TEST(DefaultHost, ThreadsHaveGeneratorsOfTheirOwn) {
  RandomGenerator mine = GetCurrentRandomGenerator();
  ASSERT_NE(mine, nullptr);
  EXPECT_EQ(Runtime_GetCurrentRandomGenerator(), mine);
  EXPECT_EQ(mine->state->method_id, RandomGeneratorMethod_find("ExtendedCA"));
  EXPECT_EQ(RandomGeneratorMethod_getCurrent(RandomGeneratorMethod_get(mine->state->method_id)), mine);
  std::set<uint64_t> words;
  for (int i = 0; i < 20; ++i)
    std::thread([&] {
      RandomGenerator g = GetCurrentRandomGenerator();
      words.insert(g->functions->bits(64, g));
    }).join();
  EXPECT_EQ(words.size(), 20u);
  mint a[50], b[50];
  Runtime_SeedRandom(17);
  EXPECT_EQ(UniformRandomMIntegers(a, 50, 0, 1000000), 0);
  Runtime_SeedRandom(17);
  EXPECT_EQ(Runtime_UniformRandomMIntegers(b, 50, 1000000, 0), 0);
  EXPECT_EQ(std::memcmp(a, b, sizeof a), 0);
}

// Threads that drew leave nothing in use behind.
TEST(DefaultHost, ThreadsThatEndLeaveNothing) {
  GetCurrentRandomGenerator();
  const auto draw = [] {
    for (int i = 0; i < 8; ++i)
      std::thread([] {
        mreal x[100];
        EXPECT_EQ(UniformRandomMReals(x, 100, 0, 1), 0);
        GetParallelGeneratorIndex();
      }).join();
  };
  const auto in_use = [] {
    CompactifyMemory();
    mint count;
    uint64_t* figures = FullMemoryInformation(&count, 0);
    uint64_t sum = 0;
    for (mint i = 0; i < count; ++i) sum += figures[i];
    free(figures);
    return sum;
  };
  draw();
  const uint64_t before = in_use();
  draw();
  EXPECT_EQ(in_use(), before);
}

// The sanitizers' own allocators do not survive a fork in the midst of threads.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kThreadsFork = false;
#else
constexpr bool kThreadsFork = true;
#endif

// Parent and child go on with the same numbers, and the child draws in threads of its own, though others took
// and gave back indices when it was forked.
TEST(DefaultHost, ForkedChildrenDraw) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "a child makes mutexes anew that were locked for the fork, which the sanitizer reports";
#endif
  RandomGenerator mine = GetCurrentRandomGenerator();
  std::atomic<bool> stop{false};
  std::vector<std::thread> busy;
  for (int i = 0; kThreadsFork && i < 2; ++i)
    busy.emplace_back([&] {
      while (!stop) std::thread(GetParallelGeneratorIndex).join();
    });
  int status = 0;
  for (int round = 0; round < 100 && status == 0; ++round) {
    int words[2];
    EXPECT_EQ(pipe(words), 0);
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      uint64_t word = mine->functions->bits(64, mine);
      const auto draw_otherwise = [&] {
        GetParallelGeneratorIndex();
        RandomGenerator own = GetCurrentRandomGenerator();
        if (own == mine || own->functions->bits(64, own) == word) word = 0;
      };
      if (kThreadsFork) std::thread(draw_otherwise).join();
      GetParallelGeneratorIndex();
      _exit(write(words[1], &word, sizeof word) == sizeof word ? 0 : 1);
    }
    close(words[1]);
    uint64_t word = 0;
    EXPECT_EQ(read(words[0], &word, sizeof word), ssize_t{sizeof word});
    EXPECT_EQ(word, mine->functions->bits(64, mine));
    close(words[0]);
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  stop = true;
  for (std::thread& thread : busy) thread.join();
}

TEST(Tables, AreThereWhileTheRuntimeIs) {
  InitializeRuntimeLibrary();
  EXPECT_EQ(BITMASK[0], 0u);
  EXPECT_EQ(BITMASK[5], 31u);
  EXPECT_EQ(BITMASK[64], ~uint64_t{0});
  EXPECT_EQ(BITSHIFTFACTOR[0], 0x1p-64);
  EXPECT_EQ(BITSHIFTFACTOR[64], 1.0);
  EXPECT_EQ(BITSHIFTFACTOR[128], 0x1p64);
  DeinitializeRuntimeLibrary(0);
  EXPECT_EQ(BITMASK[64], 0u);
  EXPECT_EQ(BITSHIFTFACTOR[64], 0.0);
  InitializeRuntimeLibrary();
}

}  // namespace
