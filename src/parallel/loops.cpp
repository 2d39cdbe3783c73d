// The loop drivers and what they offer to bodies: For, Reduce and Iterate over the pool, and schedules.
#include <algorithm>
#include <atomic>
#include <thread>

#include "parallel/pool.h"
#include "zenthar/memory.h"

using zenthar::parallel::adjusted_chunk;
using zenthar::parallel::distance;
using zenthar::parallel::piece_count;
using zenthar::parallel::Pieces;
using zenthar::parallel::Pool;
using zenthar::parallel::PoolUse;

namespace {

constexpr int32_t kStepBelowOne = 4;
constexpr int32_t kNoPool = 4;
constexpr int32_t kMemory = 23;

enum IterateFlags : int32_t { kPoolAsItIs = 1, kOnlyOnWorkers = 2 };

// There is no memory for a pool: says so, and gives the code for a host that goes on.
int32_t out_of_memory() {
  nomem();
  return kMemory;
}

// What an init function is shown: the pool, or its face of one thread where the loop will not be divided.
ParallelThreadsEnvironment face(Pool& pool, bool alone) {
  return alone ? &pool.alone : static_cast<ParallelThreadsEnvironment>(&pool);
}

// Puts back the chunk that a schedule was handed in with.
class ChunkKeeper {
 public:
  explicit ChunkKeeper(ParallelThreadsSchedule schedule)
      : schedule_(schedule), chunk_(schedule ? schedule->chunk : 0) {}
  ~ChunkKeeper() {
    if (schedule_) schedule_->chunk = chunk_;
  }
  ChunkKeeper(const ChunkKeeper&) = delete;
  ChunkKeeper& operator=(const ChunkKeeper&) = delete;

 private:
  ParallelThreadsSchedule schedule_;
  mint chunk_;
};

bool runs_serially(const PoolUse& use, mint start, mint end, mint step, ParallelThreadsSchedule schedule) {
  if (use.pool().threads() < 2 || !use.owner()) return true;
  if (!schedule) return false;
  if (schedule->single != 0) return true;
  return schedule->chunk >= 0 && uint64_t(schedule->chunk) >= distance(start, end) / uint64_t(step);
}

// Cuts the range by the schedule, whose chunk is adjusted.
Pieces cut(const Pool& pool, mint start, mint end, mint step, ParallelThreadsSchedule schedule) {
  Pieces pieces;
  pieces.start = start;
  pieces.end = end;
  pieces.step = step;
  pieces.threads = uint64_t(pool.threads());
  if (schedule) {
    schedule->chunk = adjusted_chunk(schedule->chunk, step);
    pieces.kind = schedule->kind;
    pieces.chunk = uint64_t(schedule->chunk);
    pieces.count = piece_count(schedule->kind, schedule->chunk, distance(start, end), pool.threads());
  } else {
    pieces.count = pieces.threads;
  }
  return pieces;
}

}  // namespace

int32_t ParallelThreads_For(void* data, ParallelInit init, ParallelBody body, mint start, mint end, mint step,
                            ParallelThreadsSchedule schedule) {
  if (end <= start) return 0;
  if (step < 1) return kStepBelowOne;
  PoolUse use;
  if (!use) return out_of_memory();
  if (init) init(data, face(use.pool(), !use.owner()));
  if (runs_serially(use, start, end, step, schedule)) {
    use.run_serially(body, data, {start, end, step, body, data});
  } else {
    const ChunkKeeper keeper(schedule);
    use.pool().run_pieces(cut(use.pool(), start, end, step, schedule), body, data);
  }
  return use.finish();
}

int32_t ParallelThreads_Reduce(void* data, ParallelInit init, ParallelBody body, mint start, mint end,
                               mint step) {
  if (end <= start) return 0;
  if (step < 1) return kStepBelowOne;
  PoolUse use;
  if (!use) return out_of_memory();
  Pool& pool = use.pool();
  const mint n = pool.threads();
  const bool too_few = distance(start, end) / uint64_t(step) < uint64_t(n);
  const bool alone = n < 2 || !use.owner() || too_few;
  if (init) init(data, face(pool, alone));
  if (alone) {
    use.run_serially(body, data, {start, end, step, body, data});
  } else {
    pool.run_on_each([&](st_ParallelThreadRange& range, mint i) {
      zenthar::parallel::reduction_piece(range, i, n, start, end, step);
      range.body = body;
      range.data = data;
    });
  }
  return use.finish();
}

int32_t ParallelThreads_Iterate(void* data, ParallelBody body, int32_t flags) {
  const bool as_it_is = (flags & kPoolAsItIs) != 0;
  PoolUse use(as_it_is ? PoolUse::Which::kAsItIs : PoolUse::Which::kAsConfigured);
  if (!use) return as_it_is ? kNoPool : out_of_memory();
  if (!use.owner()) return 0;
  if (use.pool().threads() < 2) {
    if ((flags & kOnlyOnWorkers) == 0) body(data, &use.pool().caller_record);
    return 0;
  }
  use.pool().run_on_each([&](st_ParallelThreadRange& range, mint) {
    range.body = body;
    range.data = data;
  });
  return use.finish();
}

uint64_t* ParallelThreadID(mint* count) {
  *count = 0;
  PoolUse use;
  if (!use) {
    out_of_memory();
    return nullptr;
  }
  Pool& pool = use.pool();
  const mint workers = pool.threads() > 1 ? pool.threads() : 0;
  auto* ids = static_cast<uint64_t*>(zalloc(size_t(workers + 1) * sizeof(uint64_t), 0, 0));
  if (!ids) return nullptr;
  ids[0] = KThreadID();
  for (mint i = 0; i < workers; ++i) {
    std::atomic_ref<uint64_t> stored(pool.workers[i]->thread_id);
    for (int looks = 0; (ids[i + 1] = stored.load(std::memory_order_acquire)) == 0; ++looks) {
      if (looks < 100)
        std::this_thread::yield();
      else
        KThread_Sleep(1);
    }
  }
  *count = workers + 1;
  return ids;
}

mbool ParallelThreadsEnvironment_initializedQ(void) { return zenthar::parallel::pool_exists(); }

mint ParallelThreadsEnvironment_numThreads(ParallelThreadsEnvironment environment) {
  return std::atomic_ref<mint>(environment->number_of_threads).load(std::memory_order_relaxed);
}

void ParallelThreadsEnvironment_delete(void) { zenthar::parallel::drop_pool(); }

void ParallelThreads_addStartHook(ParallelStartHook hook) { zenthar::parallel::add_start_hook(hook); }

// ------------------------------------------------------------------------------------------ schedules

static ParallelThreadsSchedule new_schedule(mint kind, mint chunk, int32_t single) {
  auto* schedule =
      static_cast<ParallelThreadsSchedule>(zalloc(sizeof(struct st_ParallelThreadsSchedule), 0, 0));
  if (schedule) *schedule = {kind, std::max<mint>(chunk, 1), single};
  return schedule;
}

ParallelThreadsSchedule New_ParallelThreadsSchedule(mint kind, mint chunk) {
  return new_schedule(kind, chunk, 0);
}

ParallelThreadsSchedule New_ParallelThreadsScheduleSingle(void) { return new_schedule(1, 1, 1); }

void Delete_ParallelThreadsSchedule(ParallelThreadsSchedule schedule) { zfree(schedule); }

// ------------------------------------------------------------------------------------------ for bodies

mint ParallelThread_RangeStart(ParallelThread thread) { return thread->task->start; }

mint ParallelThread_RangeEnd(ParallelThread thread) { return thread->task->end; }

mint ParallelThread_RangeStep(ParallelThread thread) { return thread->task->step; }

mint ParallelThread_ID(ParallelThread thread) { return thread->id; }

void ParallelThread_synchronizeLock(ParallelThread thread) {
  if (thread->environment->synchronize_mutex) KMutexLock(thread->environment->synchronize_mutex);
}

void ParallelThread_synchronizeUnlock(ParallelThread thread) {
  if (thread->environment->synchronize_mutex) KMutexUnlock(thread->environment->synchronize_mutex);
}

void ParallelThread_cancel(ParallelThread thread, int32_t code) {
  ParallelThreadsEnvironment environment = thread->environment;
  KMutexLock(environment->state_mutex);
  environment->cancel_code = code;
  std::atomic_ref<int32_t>(environment->cancel).store(1, std::memory_order_release);
  KMutexUnlock(environment->state_mutex);
}

mbool ParallelThread_canceledQ(ParallelThread thread) {
  if (!thread) return 0;
  return std::atomic_ref<int32_t>(thread->environment->cancel).load(std::memory_order_acquire) != 0;
}
