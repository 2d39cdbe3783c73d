// Parallel loops: how ranges are cut, who runs what, cancellation, the pool's life, and loops under stress.
#include "zenthar/parallel.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <fstream>
#include <limits>
#include <mutex>
#include <ostream>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "parallel/placement.h"
#include "zenthar/memory.h"

extern "C" int omp_get_max_threads();

// Two functions that the library calls are replaced here, so that they can be made to fail.
namespace {
std::atomic<int> threads_left{-1};  // how many more threads may be made; below 0: any number
std::atomic<int> pipes_closed{0};
std::atomic<bool> pipes_are_empty{false};

template <class Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
}  // namespace

extern "C" {
KThread KThreadCreate(ThreadFunc function, ThreadArg argument, int32_t flags) {
  if (threads_left >= 0 && threads_left-- <= 0) return nullptr;
  return original<decltype(KThreadCreate)>("KThreadCreate")(function, argument, flags);
}
FILE* popen(const char* command, const char* mode) {
  return original<FILE*(const char*, const char*)>("popen")(pipes_are_empty ? "true" : command, mode);
}
int pclose(FILE* pipe) {
  ++pipes_closed;
  return original<int(FILE*)>("pclose")(pipe);
}
}

namespace {

constexpr mint kLeast = std::numeric_limits<mint>::min();
constexpr mint kMost = std::numeric_limits<mint>::max();

struct Piece {
  mint start, end, step;
  auto operator<=>(const Piece&) const = default;
};
void PrintTo(const Piece& p, std::ostream* out) {
  *out << '[' << p.start << ", " << p.end << ") by " << p.step;
}

// What the bodies of one loop saw.
struct Log {
  std::mutex mutex;
  std::vector<Piece> pieces;
  std::vector<mint> ids;
  std::vector<uint64_t> threads;
  mint init_threads = -1;

  static void init(void* data, ParallelThreadsEnvironment environment) {
    static_cast<Log*>(data)->init_threads = ParallelThreadsEnvironment_numThreads(environment);
  }
  static void body(void* data, ParallelThread thread) {
    auto* log = static_cast<Log*>(data);
    const std::lock_guard held(log->mutex);
    log->pieces.push_back({ParallelThread_RangeStart(thread), ParallelThread_RangeEnd(thread),
                           ParallelThread_RangeStep(thread)});
    log->ids.push_back(ParallelThread_ID(thread));
    log->threads.push_back(KThreadID());
  }
  std::vector<Piece> sorted() {
    std::sort(pieces.begin(), pieces.end());
    return pieces;
  }
  bool ran_serially() const { return pieces.size() == 1 && ids[0] == 0 && threads[0] == KThreadID(); }
};

// The rules of cutting, in exact integers.
std::vector<Piece> model(mint start, mint end, mint step, mint n, bool scheduled, mint kind, mint chunk_in) {
  __extension__ typedef __int128 Wide;
  const Wide span = Wide(end) - start;
  Wide chunk = chunk_in;
  Wide c = n;
  if (scheduled) {
    if (chunk >= span / step) return {{start, end, step}};
    if (chunk < step) chunk = step;
    while (chunk % step != 0) --chunk;
    c = kind == 1 ? Wide(n) : kind == 2 ? std::max<Wide>(span / chunk, 1) : kind == 3 ? chunk : Wide(1);
  } else {
    kind = 0;
  }
  const auto share = [&](Wide left, Wide parts) {
    return (std::max<Wide>(left / parts, 1) + step - 1) / step * step;
  };
  std::vector<Piece> pieces;
  for (Wide s = start; c > 0;) {
    Wide piece = share(end - s, c);
    if (kind == 1) piece = std::max(piece, chunk);
    if (kind == 4)
      piece = std::max(chunk, share(end - s, n));
    else
      --c;
    const Wide e = std::min<Wide>(s + piece, end);
    pieces.push_back({mint(s), mint(e), step});
    if (e == end) break;
    s = e;
  }
  return pieces;
}

class Parallel : public ::testing::Test {
 protected:
  void TearDown() override {
    threads_left = -1;
    ParallelThreadsEnvironment_delete();
    setParallelThreadNumber(1);
  }
};

TEST_F(Parallel, RangesAreCutByTheRules) {
  struct Case {
    mint start, end, step;
    int32_t n;
    std::vector<Piece> pieces;
  };
  const std::vector<Case> cases = {
      {0, 10, 1, 4, {{0, 2, 1}, {2, 4, 1}, {4, 7, 1}, {7, 10, 1}}},
      {0, 3, 1, 4, {{0, 1, 1}, {1, 2, 1}, {2, 3, 1}}},
      {-5, 5, 3, 2, {{-5, 1, 3}, {1, 5, 3}}},
      {kLeast, kMost, 1, 2, {{kLeast, -1, 1}, {-1, kMost, 1}}},
      {kLeast, kMost, kMost, 3, {{kLeast, -1, kMost}, {-1, kMost - 1, kMost}, {kMost - 1, kMost, kMost}}},
      {kMost - 1, kMost, kMost, 2, {{kMost - 1, kMost, kMost}}},
  };
  for (const Case& c : cases) {
    setParallelThreadNumber(c.n);
    Log log;
    EXPECT_EQ(ParallelThreads_For(&log, Log::init, Log::body, c.start, c.end, c.step, nullptr), 0);
    EXPECT_EQ(log.sorted(), c.pieces);
    EXPECT_EQ(log.init_threads, c.n);
  }
}

TEST_F(Parallel, EverySchedulesPiecesAreTheModels) {
  std::mt19937_64 random(7);
  for (int32_t n : {2, 3, 5}) {
    setParallelThreadNumber(n);
    for (int round = 0; round < 150; ++round) {
      const bool wide = round % 5 == 0;
      const mint start = wide ? mint(random()) >> 1 : mint(random() % 100) - 50;
      const mint length = wide ? mint(random() % (uint64_t{1} << 61)) : mint(random() % 400);
      const mint end = start + length;
      const mint step = wide ? mint(random() % (uint64_t{1} << 58)) + 1 : mint(random() % 7) + 1;
      if (length == 0) continue;
      for (mint kind = -1; kind <= 5; ++kind) {
        const mint chunk =
            wide && kind != 3 ? std::max<mint>(length / mint(random() % 50 + 1), 1) : mint(random() % 30) + 1;
        // A wide range by piece count has no fewer pieces than its adjusted chunk, which is at least the
        // step.
        if (wide && kind == 3) continue;
        auto schedule = New_ParallelThreadsSchedule(kind, chunk);
        const bool scheduled = kind != -1;
        Log log;
        EXPECT_EQ(
            ParallelThreads_For(&log, nullptr, Log::body, start, end, step, scheduled ? schedule : nullptr),
            0);
        EXPECT_EQ(log.sorted(), model(start, end, step, n, scheduled, kind, chunk))
            << start << ' ' << end << ' ' << step << " kind " << kind << " chunk " << chunk << " n " << n;
        EXPECT_EQ(schedule->chunk, chunk);
        Delete_ParallelThreadsSchedule(schedule);
      }
    }
  }
}

TEST_F(Parallel, SerialRunsStayInTheCaller) {
  auto single = New_ParallelThreadsScheduleSingle();
  auto coarse = New_ParallelThreadsSchedule(2, 50);
  auto clamped = New_ParallelThreadsSchedule(9, -3);
  EXPECT_EQ(std::tuple(single->kind, single->chunk, single->single), std::tuple(mint{1}, mint{1}, 1));
  EXPECT_EQ(std::tuple(clamped->kind, clamped->chunk, clamped->single), std::tuple(mint{9}, mint{1}, 0));
  const std::vector<std::tuple<int32_t, ParallelThreadsSchedule, mint>> cases = {
      {1, nullptr, 1}, {0, nullptr, 1}, {-4, nullptr, 1}, {3, single, 1}, {3, coarse, 2}};
  for (auto [n, schedule, step] : cases) {
    setParallelThreadNumber(n);
    Log log;
    EXPECT_EQ(ParallelThreads_For(&log, nullptr, Log::body, 0, 100, step, schedule), 0);
    EXPECT_TRUE(log.ran_serially()) << n;
    EXPECT_EQ(log.pieces, (std::vector<Piece>{{0, 100, step}}));
  }
  // The chunk is adjusted to the step while the loop runs, and only then.
  setParallelThreadNumber(2);
  auto odd = New_ParallelThreadsSchedule(2, 7);
  static std::atomic<mint> seen;
  static ParallelThreadsSchedule observed;
  observed = odd;
  ParallelThreads_For(
      nullptr, nullptr, [](void*, ParallelThread) { seen = observed->chunk; }, 0, 100, 3, odd);
  EXPECT_EQ(seen, 6);
  EXPECT_EQ(odd->chunk, 7);
  for (auto schedule : {single, coarse, clamped, odd}) Delete_ParallelThreadsSchedule(schedule);
}

TEST_F(Parallel, EmptyRangesAndStepsBelowOne) {
  setParallelThreadNumber(2);
  Log log;
  for (mint step : {1, 0}) {
    EXPECT_EQ(ParallelThreads_For(&log, Log::init, Log::body, 5, 5, step, nullptr), 0);
    EXPECT_EQ(ParallelThreads_For(&log, Log::init, Log::body, kMost, kLeast, step, nullptr), 0);
    EXPECT_EQ(ParallelThreads_Reduce(&log, Log::init, Log::body, 5, 4, step), 0);
  }
  EXPECT_EQ(ParallelThreads_For(&log, Log::init, Log::body, 0, 9, 0, nullptr), 4);
  EXPECT_EQ(ParallelThreads_Reduce(&log, Log::init, Log::body, 0, 9, kLeast), 4);
  EXPECT_EQ(log.init_threads, -1);
  EXPECT_TRUE(log.pieces.empty());
  EXPECT_EQ(ParallelThreadsEnvironment_initializedQ(), 0) << "a pool was made for nothing";
}

TEST_F(Parallel, ReduceGivesEachWorkerOnePiece) {
  setParallelThreadNumber(4);
  const std::vector<std::tuple<mint, mint, mint, std::vector<Piece>>> cases = {
      {5, 105, 1, {{0, 25, 1}, {25, 50, 1}, {50, 75, 1}, {75, 105, 1}}},
      {0, 42, 3, {{0, 11, 3}, {11, 22, 3}, {22, 33, 3}, {33, 42, 3}}},
      {0, 60, 4, {{0, 18, 4}, {18, 36, 4}, {36, 54, 4}, {54, 60, 4}}},
  };
  for (const auto& [start, end, step, pieces] : cases) {
    Log log;
    EXPECT_EQ(ParallelThreads_Reduce(&log, Log::init, Log::body, start, end, step), 0);
    EXPECT_EQ(log.sorted(), pieces);
    EXPECT_EQ(log.init_threads, 4);
    std::sort(log.ids.begin(), log.ids.end());
    EXPECT_EQ(log.ids, (std::vector<mint>{0, 1, 2, 3}));
  }
  // Nothing is said of what wraps but that it is defined and every worker gets its turn.
  Log widest;
  EXPECT_EQ(ParallelThreads_Reduce(&widest, nullptr, Log::body, kLeast, kMost, 3), 0);
  EXPECT_EQ(widest.pieces.size(), 4u);

  setParallelThreadNumber(16);
  Log few;
  EXPECT_EQ(ParallelThreads_Reduce(&few, Log::init, Log::body, 0, 10, 1), 0);
  EXPECT_TRUE(few.ran_serially());
  EXPECT_EQ(few.init_threads, 1);
}

TEST_F(Parallel, IterateRunsOnceOnEachWorker) {
  Log log;
  EXPECT_EQ(ParallelThreads_Iterate(&log, Log::body, 1), 4);
  setParallelThreadNumber(5);
  EXPECT_EQ(ParallelThreads_Iterate(&log, Log::body, 0), 0);
  mint count = 0;
  uint64_t* ids = ParallelThreadID(&count);
  ASSERT_EQ(count, 6);
  EXPECT_EQ(ids[0], KThreadID());
  ASSERT_EQ(log.ids.size(), 5u);
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(log.threads[i], ids[log.ids[i] + 1]);
  EXPECT_EQ(std::set<uint64_t>(ids, ids + 6).size(), 6u);
  zfree(ids);

  setParallelThreadNumber(3);
  Log as_it_is;
  EXPECT_EQ(ParallelThreads_Iterate(&as_it_is, Log::body, 1), 0);
  EXPECT_EQ(as_it_is.ids.size(), 5u) << "the pool was made anew";

  setParallelThreadNumber(1);
  Log alone;
  EXPECT_EQ(ParallelThreads_Iterate(&alone, Log::body, 2), 0);
  EXPECT_TRUE(alone.ids.empty());
  EXPECT_EQ(ParallelThreads_Iterate(&alone, Log::body, 0), 0);
  EXPECT_TRUE(alone.ran_serially());
  ids = ParallelThreadID(&count);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(ids[0], KThreadID());
  zfree(ids);
}

TEST_F(Parallel, AFreshPoolIsLaidOutAsDescribed) {
  setParallelThreadNumber(3);
  auto init = [](void*, ParallelThreadsEnvironment environment) {
    EXPECT_EQ(environment->busy, 1);
    EXPECT_EQ(environment->active, 0);
    EXPECT_EQ(environment->caller->id, 0);
    EXPECT_EQ(environment->caller->run, 1);
    EXPECT_EQ(environment->caller->wake_mutex, nullptr);
    EXPECT_EQ(environment->caller->thread, nullptr);
    mint expected = 2;
    for (ParallelThread worker = environment->idle; worker; worker = worker->next_idle, --expected) {
      EXPECT_EQ(worker->id, expected);
      EXPECT_EQ(worker, environment->workers[expected]);
      EXPECT_EQ(worker->environment, environment);
      EXPECT_NE(worker->thread, nullptr);
    }
    EXPECT_EQ(expected, -1);
  };
  Log log;
  EXPECT_EQ(ParallelThreads_For(&log, init, Log::body, 0, 100, 1, nullptr), 0);
}

TEST_F(Parallel, LoopsInsideBodiesRunSeriallyWithTheirOwnRecord) {
  setParallelThreadNumber(3);
  struct Outer {
    std::atomic<int> bodies{0}, faults{0};
  } outer;
  auto body = [](void* data, ParallelThread thread) {
    auto* o = static_cast<Outer*>(data);
    ++o->bodies;
    const mint start = ParallelThread_RangeStart(thread);
    setParallelThreadNumber(2 + o->bodies % 2);  // must not touch the pool under the loop
    Log inner, reduced, iterated;
    auto schedule = New_ParallelThreadsSchedule(2, 3);
    bool good = ParallelThreads_For(&inner, Log::init, Log::body, 7, 30, 2, schedule) == 0 &&
                ParallelThreads_Reduce(&reduced, Log::init, Log::body, 3, 50, 1) == 0 &&
                ParallelThreads_Iterate(&iterated, Log::body, 0) == 0;
    Delete_ParallelThreadsSchedule(schedule);
    good = good && inner.ran_serially() && inner.pieces[0] == Piece{7, 30, 2} && inner.init_threads == 1;
    good =
        good && reduced.ran_serially() && reduced.pieces[0] == Piece{3, 50, 1} && reduced.init_threads == 1;
    good = good && iterated.pieces.empty();
    good = good && ParallelThreadsEnvironment_numThreads(thread->environment) == 3;
    good = good && ParallelThread_RangeStart(thread) == start && thread->environment->busy == 1;
    if (!good) ++o->faults;
  };
  auto schedule = New_ParallelThreadsSchedule(2, 5);
  EXPECT_EQ(ParallelThreads_For(&outer, nullptr, body, 0, 200, 1, schedule), 0);
  Delete_ParallelThreadsSchedule(schedule);
  EXPECT_EQ(outer.bodies, 40);
  EXPECT_EQ(outer.faults, 0);

  // The same when the outer loop is itself a serial one that holds the pool.
  setParallelThreadNumber(3);
  auto single = New_ParallelThreadsScheduleSingle();
  EXPECT_EQ(ParallelThreads_For(&outer, nullptr, body, 0, 10, 1, single), 0);
  Delete_ParallelThreadsSchedule(single);
  EXPECT_EQ(outer.faults, 0);
}

TEST_F(Parallel, CancellationGivesItsCodeAndIsForgotten) {
  EXPECT_EQ(ParallelThread_canceledQ(nullptr), 0);
  struct State {
    std::atomic<int> pieces{0}, seen_early{0};
  };
  auto body = [](void* data, ParallelThread thread) {
    auto* s = static_cast<State*>(data);
    if (s->pieces++ == 0) {
      s->seen_early += ParallelThread_canceledQ(thread);
      ParallelThread_cancel(thread, 34);
    }
    if (!ParallelThread_canceledQ(thread)) KThread_Sleep(1);
  };
  for (int32_t n : {1, 2, 4}) {
    setParallelThreadNumber(n);
    State forward, reduced, iterated;
    auto schedule = New_ParallelThreadsSchedule(3, 10);
    EXPECT_EQ(ParallelThreads_For(&forward, nullptr, body, 0, 1000, 1, schedule), 34);
    Delete_ParallelThreadsSchedule(schedule);
    EXPECT_EQ(forward.pieces, n == 1 ? 1 : 10) << "pieces are handed out all the same";
    EXPECT_EQ(ParallelThreads_Reduce(&reduced, nullptr, body, 0, 1000, 1), 34);
    EXPECT_EQ(ParallelThreads_Iterate(&iterated, body, 0), n == 1 ? 0 : 34);
    EXPECT_EQ(forward.seen_early + reduced.seen_early + iterated.seen_early, 0);
    Log kept, forgotten;
    EXPECT_EQ(ParallelThreads_Iterate(&kept, Log::body, 1), n == 1 ? 0 : 34);
    EXPECT_EQ(ParallelThreads_For(&forgotten, nullptr, Log::body, 0, 9, 1, nullptr), 0);
  }
}

TEST_F(Parallel, PiecesMayWaitForOneAnother) {
  setParallelThreadNumber(6);
  std::barrier together(6);
  auto body = [](void* data, ParallelThread) { static_cast<std::barrier<>*>(data)->arrive_and_wait(); };
  for (int round = 0; round < 50; ++round) {
    EXPECT_EQ(ParallelThreads_For(&together, nullptr, body, 0, 6, 1, nullptr), 0);
    EXPECT_EQ(ParallelThreads_Reduce(&together, nullptr, body, 0, 6, 1), 0);
    EXPECT_EQ(ParallelThreads_Iterate(&together, body, 0), 0);
  }
}

TEST_F(Parallel, TheSynchronizeLockExcludes) {
  setParallelThreadNumber(4);
  mint count = 0;
  auto body = [](void* data, ParallelThread thread) {
    ParallelThread_synchronizeLock(thread);
    ++*static_cast<mint*>(data);
    ParallelThread_synchronizeUnlock(thread);
  };
  auto schedule = New_ParallelThreadsSchedule(3, 5000);
  EXPECT_EQ(ParallelThreads_For(&count, nullptr, body, 0, 1000000, 1, schedule), 0);
  Delete_ParallelThreadsSchedule(schedule);
  EXPECT_EQ(count, 5000);
}

TEST_F(Parallel, ExceptionsOfBodiesReachTheCaller) {
  struct Fault : std::runtime_error {
    using runtime_error::runtime_error;
  };
  for (int32_t n : {1, 3}) {
    setParallelThreadNumber(n);
    auto body = [](void*, ParallelThread thread) {
      if (ParallelThread_RangeEnd(thread) == 90) throw Fault("last piece");
    };
    auto schedule = New_ParallelThreadsSchedule(2, 7);
    EXPECT_THROW(ParallelThreads_For(nullptr, nullptr, body, 0, 90, 1, schedule), Fault);
    EXPECT_EQ(schedule->chunk, 7);
    Delete_ParallelThreadsSchedule(schedule);
    auto init = [](void*, ParallelThreadsEnvironment) { throw Fault("init"); };
    EXPECT_THROW(ParallelThreads_Reduce(nullptr, init, body, 0, 90, 1), Fault);
    Log log;
    EXPECT_EQ(ParallelThreads_For(&log, nullptr, Log::body, 0, 90, 1, nullptr), 0);
    EXPECT_EQ(log.pieces.size(), size_t(n)) << "the pool stayed taken";
  }
}

TEST_F(Parallel, HooksRunInEachNewWorkerNewestFirst) {
  static std::mutex mutex;
  static std::vector<std::pair<mint, char>> calls;
  ParallelThreads_addStartHook([](ParallelThread thread) {
    const std::lock_guard held(mutex);
    calls.emplace_back(ParallelThread_ID(thread), thread->thread_id == KThreadID() ? 'a' : '?');
  });
  ParallelThreads_addStartHook([](ParallelThread thread) {
    const std::lock_guard held(mutex);
    calls.emplace_back(ParallelThread_ID(thread), 'b');
  });
  setParallelThreadNumber(3);
  Log log;
  EXPECT_EQ(ParallelThreads_Iterate(&log, Log::body, 0), 0);
  std::stable_sort(calls.begin(), calls.end(),
                   [](const auto& x, const auto& y) { return x.first < y.first; });
  EXPECT_EQ(calls,
            (std::vector<std::pair<mint, char>>{{0, 'b'}, {0, 'a'}, {1, 'b'}, {1, 'a'}, {2, 'b'}, {2, 'a'}}));
}

TEST_F(Parallel, FewerThreadsWhereTheyCannotBeMade) {
  for (int allowed : {3, 2, 1, 0}) {
    setParallelThreadNumber(4);
    threads_left = allowed;
    const mint got = allowed < 2 ? 1 : allowed;
    for (int round = 0; round < 3; ++round) {
      Log log, reduced, iterated;
      EXPECT_EQ(ParallelThreads_For(&log, Log::init, Log::body, 0, 1000, 1, nullptr), 0);
      EXPECT_EQ(log.sorted(), model(0, 1000, 1, got, false, 0, 0));
      EXPECT_EQ(log.init_threads, got);
      EXPECT_EQ(ParallelThreads_Reduce(&reduced, nullptr, Log::body, 0, 1000, 1), 0);
      EXPECT_EQ(reduced.pieces.size(), size_t(got));
      EXPECT_EQ(ParallelThreads_Iterate(&iterated, Log::body, 0), 0);
      EXPECT_EQ(iterated.pieces.size(), size_t(got));
    }
    mint count = 0;
    zfree(ParallelThreadID(&count));
    EXPECT_EQ(count, got > 1 ? got + 1 : 1);
    threads_left = -1;
    ParallelThreadsEnvironment_delete();
  }
}

TEST_F(Parallel, ThePoolGivesItsMemoryBack) {
  setParallelThreadNumber(8);
  Log log;
  const uint64_t before = MemoryInUse();
  for (int round = 0; round < 3; ++round) {
    ParallelThreads_For(&log, nullptr, Log::body, 0, 8, 1, nullptr);
    EXPECT_EQ(ParallelThreadsEnvironment_initializedQ(), 1);
    EXPECT_GT(MemoryInUse(), before);
    ParallelThreadsEnvironment_delete();
    EXPECT_EQ(ParallelThreadsEnvironment_initializedQ(), 0);
    EXPECT_EQ(MemoryInUse(), before);
  }
  ParallelThreadsEnvironment_delete();
}

TEST_F(Parallel, DeletingThePoolUnderALoopWaitsForTheLoop) {
  setParallelThreadNumber(3);
  Log log;
  auto body = [](void* data, ParallelThread thread) {
    ParallelThreadsEnvironment_delete();
    EXPECT_EQ(ParallelThread_canceledQ(thread), 0);
    Log::body(data, thread);
  };
  EXPECT_EQ(ParallelThreads_For(&log, nullptr, body, 0, 10, 1, nullptr), 0);
  EXPECT_EQ(log.pieces.size(), 3u);
  EXPECT_EQ(ParallelThreadsEnvironment_initializedQ(), 0);
}

TEST_F(Parallel, AForkedChildMakesItsOwnPool) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a child of a threaded process starts no threads here";
#endif
  setParallelThreadNumber(2);
  Log log;
  ParallelThreads_For(&log, nullptr, Log::body, 0, 10, 1, nullptr);
  const pid_t child = fork();
  if (child == 0) {
    alarm(20);
    Log in_child;
    const bool none = ParallelThreadsEnvironment_initializedQ() == 0;
    const int32_t code = ParallelThreads_For(&in_child, nullptr, Log::body, 0, 10, 1, nullptr);
    _exit(none && code == 0 && in_child.pieces.size() == 2 ? 0 : 1);
  }
  int status = 1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(Parallel, TenThousandLoopsInARow) {
  std::vector<int32_t> touched(64);
  auto body = [](void* data, ParallelThread thread) {
    auto& cells = *static_cast<std::vector<int32_t>*>(data);
    for (mint i = ParallelThread_RangeStart(thread); i < ParallelThread_RangeEnd(thread);
         i += ParallelThread_RangeStep(thread))
      ++cells[size_t(i)];
  };
  for (int32_t n : {2, 4}) {
    setParallelThreadNumber(n);
    std::fill(touched.begin(), touched.end(), 0);
    auto schedule = New_ParallelThreadsSchedule(2, 3);
    for (int i = 0; i < 5000; ++i) {
      if (i % 1000 == 0) KThread_Sleep(2);  // let the workers fall asleep
      ParallelThreads_For(&touched, nullptr, body, 0, 64, 1, i % 2 ? schedule : nullptr);
      if (i % 4 == 0) ParallelThreads_Reduce(&touched, nullptr, body, 0, 64, 1);
    }
    Delete_ParallelThreadsSchedule(schedule);
    EXPECT_EQ(touched, std::vector<int32_t>(64, 6250));
  }
}

TEST_F(Parallel, LoopsOfManyHostThreadsWithChangingNumbers) {
  constexpr int kHosts = 4;
  std::atomic<int> faults{0};
  auto host = [&faults](unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < 400; ++i) {
      std::vector<int32_t> cells(200, 0);
      auto body = [](void* data, ParallelThread thread) {
        for (mint k = ParallelThread_RangeStart(thread); k < ParallelThread_RangeEnd(thread); ++k)
          ++(*static_cast<std::vector<int32_t>*>(data))[size_t(k)];
        if (ParallelThread_RangeStart(thread) == 0) ParallelThread_cancel(thread, 77);
      };
      const unsigned what = random() % 8;
      if (what == 0) setParallelThreadNumber(int32_t(random() % 4));
      if (what == 1) {
        mint count = 0;
        zfree(ParallelThreadID(&count));
        if (count < 1) ++faults;
      }
      if (what == 2 && random() % 4 == 0) ParallelThreadsEnvironment_delete();
      const int32_t code = what % 2 ? ParallelThreads_For(&cells, nullptr, body, 0, 200, 1, nullptr)
                                    : ParallelThreads_Reduce(&cells, nullptr, body, 0, 200, 1);
      // A guest shares the cancel state of the loop that owns the pool, which may be over and forgotten.
      if ((code != 77 && code != 0) || cells != std::vector<int32_t>(200, 1)) ++faults;
    }
  };
  std::vector<std::thread> hosts;
  for (int i = 0; i < kHosts; ++i) hosts.emplace_back(host, unsigned(i));
  for (std::thread& thread : hosts) thread.join();
  EXPECT_EQ(faults, 0);
}

int count_processors() {
  std::ifstream cpuinfo("/proc/cpuinfo");
  std::set<std::string> processors;
  for (std::string line; std::getline(cpuinfo, line);)
    if (line.rfind("processor", 0) == 0) processors.insert(line);
  return std::max(int(processors.size()), 1);
}

TEST_F(Parallel, SettingsFollowTheProcessors) {
  initializeParallelThreadSettings(1);
  EXPECT_EQ(getProcessorCount(), count_processors());
  EXPECT_EQ(getHyperThreadCount(), count_processors());
  EXPECT_EQ(getParallelThreadNumber(), count_processors());
  EXPECT_EQ(omp_get_max_threads(), count_processors());
  EXPECT_GE(pipes_closed, 1);

  EXPECT_EQ(setParallelThreadNumber(3), count_processors());
  EXPECT_EQ(omp_get_max_threads(), 3);
  Log log;
  EXPECT_EQ(ParallelThreads_Iterate(&log, Log::body, 0), 0);
  EXPECT_EQ(log.ids.size(), 3u);
  restoreParallelThreadNumber(5);
  EXPECT_EQ(getParallelThreadNumber(), 5);
  EXPECT_EQ(omp_get_max_threads(), 5);

  initializeParallelThreadSettings(2);
  EXPECT_EQ(getParallelThreadNumber(), 5);
  ListableCompileEvaluatingThreaded = 1;
  initializeParallelThreadSettings(0);
  EXPECT_EQ(ListableCompileEvaluatingThreaded, 0);
  EXPECT_EQ(std::tuple(getProcessorCount(), getHyperThreadCount(), getParallelThreadNumber()),
            std::tuple(1, 1, 1));
  EXPECT_EQ(omp_get_max_threads(), 5) << "the single-threaded mode tells the OpenMP runtime nothing";

  pipes_are_empty = true;
  const int closed = pipes_closed;
  initializeParallelThreadSettings(1);
  pipes_are_empty = false;
  EXPECT_EQ(getProcessorCount(), 1);
  EXPECT_EQ(getParallelThreadNumber(), 1);
  EXPECT_EQ(pipes_closed, closed);
}

TEST_F(Parallel, AMovedWorkersAffinityIsPutBackUnlessSomebodySetAnother) {
  const auto affinity_is = [](const cpu_set_t& expected) {
    cpu_set_t now;
    return sched_getaffinity(0, sizeof now, &now) == 0 && CPU_EQUAL(&now, &expected);
  };
  const auto set_affinity = [](const cpu_set_t& set) {
    EXPECT_EQ(sched_setaffinity(0, sizeof set, &set), 0);
  };
  cpu_set_t all, second;
  ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
  std::vector<int> processors;
  for (int i = 0; i < CPU_SETSIZE; ++i)
    if (CPU_ISSET(i, &all)) processors.push_back(i);
  if (processors.size() < 2) GTEST_SKIP() << "one processor";
  CPU_ZERO(&second);
  CPU_SET(processors[1], &second);

  zenthar::parallel::Place place;  // of this thread
  place.settle_in();
  ASSERT_TRUE(place.read_affinity());
  place.move_to(processors[0]);
  ASSERT_TRUE(place.read_affinity());
  place.move_to(processors[1]);  // before it has run
  EXPECT_TRUE(affinity_is(second));
  place.put_back();
  EXPECT_TRUE(affinity_is(all));

  place.move_to(processors[0]);
  set_affinity(second);
  place.put_back();
  EXPECT_TRUE(affinity_is(second));

  set_affinity(all);
  ASSERT_TRUE(place.read_affinity());
  place.move_to(processors[0]);
  set_affinity(second);
  ASSERT_TRUE(place.read_affinity());
  EXPECT_FALSE(place.allows(processors[0]));
  set_affinity(all);
}

TEST_F(Parallel, ASubKernelKeepsItsThreadNumber) {
  const pid_t child = fork();
  if (child == 0) {
    setParallelThreadNumber(7);
    RTL_From_SubKernel();
    initializeParallelThreadSettings(1);
    _exit(getParallelThreadNumber() == 7 && getProcessorCount() == count_processors() ? 0 : 1);
  }
  int status = 1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
