// The hand-over of work from the owner to the workers, and the making and ending of the pool.
#include "parallel/pool.h"

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "zenthar/memory.h"

namespace zenthar::parallel {

namespace {

using namespace std::chrono_literals;

// How long the owner watches the workers at work before it blocks.
constexpr auto kFinishSpin = 5us;
// How long workers that are awake get to finish the loop before one that sleeps is woken for it: about what
// the owner spends on waking it.
constexpr auto kGrace = 2us;

int32_t usable_processors() {
  cpu_set_t usable;
  const int count = sched_getaffinity(0, sizeof usable, &usable) == 0 ? CPU_COUNT(&usable)
                                                                      : int(sysconf(_SC_NPROCESSORS_ONLN));
  return std::max(count, 1);
}

}  // namespace

// ---------------------------------------------------------------------------------------- hand-over

void Pool::push_idle(Worker& worker) {
  worker.next_idle = idle;
  idle = &worker;
  --active;
}

// Idle workers that are still awake come first, then those that sleep elsewhere than where the owner runs.
// One that is awake on the owner's own processor does not run at all: the owner does.
void Pool::bring_readiest_forward(int own_processor) {
  const auto unreadiness = [own_processor](ParallelThread record) {
    const auto* worker = static_cast<Worker*>(record);
    if (worker->place.processor() == own_processor) return 2;
    return worker->asleep.load(std::memory_order_relaxed) == 0 ? 0 : 1;
  };
  int least = unreadiness(idle);
  if (least == 0) return;
  KMutexLock(pool_mutex);
  ParallelThread before_best = nullptr;
  for (ParallelThread before = idle; least > 0 && before->next_idle; before = before->next_idle) {
    if (unreadiness(before->next_idle) >= least) continue;
    least = unreadiness(before->next_idle);
    before_best = before;
  }
  if (before_best) {
    ParallelThread best = before_best->next_idle;
    before_best->next_idle = best->next_idle;
    best->next_idle = idle;
    idle = best;
  }
  KMutexUnlock(pool_mutex);
}

Worker* Pool::pop_idle() {
  KMutexLock(pool_mutex);
  auto* head = static_cast<Worker*>(idle);
  idle = head->next_idle;
  ++active;
  KMutexUnlock(pool_mutex);
  return head;
}

bool Pool::any_returned() {
  for (mint i = 0; i < number_of_threads; ++i)
    if (worker(i).returned.load(std::memory_order_relaxed) != 0) return true;
  return false;
}

void Pool::collect_locked() {
  for (mint i = 0; i < number_of_threads; ++i) {
    Worker& candidate = worker(i);
    if (candidate.returned.load() == 0) continue;
    candidate.returned.store(0, std::memory_order_relaxed);
    push_idle(candidate);
  }
}

void Pool::collect() {
  if (!any_returned()) return;
  KMutexLock(pool_mutex);
  collect_locked();
  KMutexUnlock(pool_mutex);
}

bool Pool::post(Worker& worker, Placement& placement) {
  if (worker.asleep.load(std::memory_order_relaxed) == 0) {
    placement.note_awake(worker.place);
    shared(worker.go).store(1);
    if (worker.asleep.load() == 0) return true;
    KMutexLock(worker.wake_mutex);
  } else {
    KMutexLock(worker.wake_mutex);
    if (worker.asleep.load(std::memory_order_relaxed) != 0) placement.place(worker.place);
    shared(worker.go).store(1);
  }
  KConditionSignal(worker.wake_condition);
  KMutexUnlock(worker.wake_mutex);
  return false;
}

// Whether the workers at work finish the loop within the time that it would take to wake another one.
bool Pool::finish_soon() {
  if (!owner_may_spin()) return false;
  spin_until([this] { return any_returned(); }, kGrace);
  return feed.empty();
}

void Pool::run_pieces(const Pieces& pieces, ParallelBody body, void* data) {
  feed.open(pieces);
  takes_over = true;
  Placement placement(processors);
  bool worth_waiting = false;  // somebody who was awake is at work, and has not been given time yet
  // Once every worker is at work, they feed themselves.
  while (idle) {
    bring_readiest_forward(placement.own_processor());
    auto& first = *static_cast<Worker*>(idle);
    if (worth_waiting && first.asleep.load(std::memory_order_relaxed) != 0) {
      worth_waiting = false;
      if (finish_soon()) break;
    }
    if (!feed.next(first.range)) break;
    first.range.body = body;
    first.range.data = data;
    const bool elsewhere = first.place.processor() != placement.own_processor();
    worth_waiting |= post(*pop_idle(), placement) && elsewhere;
    collect();
  }
  await_completion();
}

void Pool::await_completion() {
  if (owner_may_spin()) {
    spin_until(
        [this] {
          collect();
          return active == 0;
        },
        kFinishSpin);
  }
  KMutexLock(pool_mutex);
  if (active > 0) {
    owner_processor.store(sched_getcpu(), std::memory_order_relaxed);
    attending.store(0);
    collect_locked();
    while (active > 0) KConditionWait(pool_condition, pool_mutex);
    attending.store(1);
  }
  std::exception_ptr thrown = std::exchange(failure, nullptr);
  KMutexUnlock(pool_mutex);
  if (thrown) std::rethrow_exception(std::move(thrown));
}

// ------------------------------------------------------------------------------ the life of the pool

Pool::Pool(void* allocation, int32_t n) : st_ParallelThreadsEnvironment{}, block(allocation) {
  requested = n;
  number_of_threads = 1;
  caller_record.run = 1;
  caller_record.environment = this;
  caller_record.task = &caller_range;
  caller = &caller_record;
}

Pool* Pool::create_with_room(int32_t n, int32_t workers) {
  const size_t size = sizeof(Pool) + size_t(workers) * (sizeof(Worker) + sizeof(ParallelThread));
  void* block = zalloc(size + kLine, 1, 1);
  if (!block) return nullptr;
  const uintptr_t aligned = (uintptr_t(block) + kLine - 1) & ~uintptr_t{kLine - 1};
  auto* pool = new (reinterpret_cast<void*>(aligned)) Pool(block, n);
  if (!pool->make_locks()) {
    pool->destroy();
    return nullptr;
  }
  if (workers > 0) pool->start_workers(workers);
  return pool;
}

Pool* Pool::create(int32_t n) {
  Pool* pool = create_with_room(n, n >= 2 ? n : 0);
  if (!pool && n >= 2) pool = create_with_room(n, 0);
  if (pool) {
    pool->alone = *pool;
    pool->alone.number_of_threads = 1;
    pool->alone.workers = nullptr;
    pool->alone.idle = nullptr;
  }
  return pool;
}

bool Pool::make_locks() {
  state_mutex = New_KMutex();
  synchronize_mutex = New_KMutex();
  pool_mutex = New_KMutex();
  pool_condition = New_KCondition();
  return state_mutex && synchronize_mutex && pool_mutex && pool_condition;
}

Worker* Pool::worker_block() { return reinterpret_cast<Worker*>(this + 1); }

void Pool::start_workers(int32_t n) {
  processors = usable_processors();
  most_spinners = n <= processors ? std::min(n, processors - 1) : 0;
  number_of_threads = n;
  workers = reinterpret_cast<ParallelThread*>(worker_block() + n);
  mint started = 0;
  while (started < n && start_worker(started)) ++started;
  if (started == n) return;
  // Too few threads to be had: go on with those there are.
  if (started == 1) {
    end_worker(worker(0));
    free_worker(worker(0));
  }
  if (started < 2) {
    workers = nullptr;
    idle = nullptr;
    started = 1;
  }
  std::atomic_ref<mint>(number_of_threads).store(started, std::memory_order_relaxed);
}

bool Pool::start_worker(mint index) {
  auto* made = new (worker_block() + index) Worker(*this, index);
  made->wake_mutex = New_KMutex();
  made->wake_condition = New_KCondition();
  if (made->wake_mutex && made->wake_condition)
    made->thread = KThreadCreate(serve_as_worker, static_cast<ParallelThread>(made), KTHREAD_PRIORITY_HIGH);
  if (!made->thread) {
    free_worker(*made);
    return false;
  }
  workers[index] = made;
  made->next_idle = idle;
  idle = made;
  return true;
}

bool Pool::end_worker(Worker& worker) {
  KMutexLock(worker.wake_mutex);
  KConditionSignal(worker.wake_condition);
  shared(worker.run).store(0, std::memory_order_relaxed);
  shared(worker.go).store(1);
  KMutexUnlock(worker.wake_mutex);
  return KThreadWaitForExit(worker.thread) != 0;
}

void Pool::free_worker(Worker& worker) {
  Delete_KMutex(worker.wake_mutex);
  Delete_KCondition(worker.wake_condition);
  Delete_KThread(worker.thread);
  worker.~Worker();
}

void Pool::release() {
  if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) destroy();
}

void Pool::destroy() {
  const mint count = workers ? number_of_threads : 0;
  bool all_ended = true;
  for (mint i = 0; i < count; ++i) all_ended &= end_worker(worker(i));
  if (!all_ended) return;  // a worker that may still run keeps what it uses
  for (mint i = 0; i < count; ++i) free_worker(worker(i));
  Delete_KMutex(state_mutex);
  Delete_KMutex(synchronize_mutex);
  Delete_KMutex(pool_mutex);
  Delete_KCondition(pool_condition);
  void* allocation = block;
  this->~Pool();
  zfree(allocation);
}

}  // namespace zenthar::parallel
