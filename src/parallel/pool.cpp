// Making and ending the pool, the workers' life, and the hand-over. See pool.h for how it works.
#include "parallel/pool.h"

#include <cxxabi.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

#include "zenthar/memory.h"

namespace zenthar::parallel {

namespace {

using namespace std::chrono_literals;

// As long as waking a worker, or the owner, takes on a busy virtual machine: then no spin costs more than
// twice what knowing the future would, and of two loops in a row the second finds its workers awake.
constexpr auto kIdleSpin = 50us;
// How long the owner watches the workers at work before it blocks.
constexpr auto kFinishSpin = 5us;
// How long workers that are awake get to finish the loop before one that sleeps is woken for it. Waking takes
// about this long.
constexpr auto kGrace = 2us;

std::atomic_ref<int32_t> shared(int32_t& word) { return std::atomic_ref<int32_t>(word); }

int32_t usable_processors() {
  cpu_set_t usable;
  const int count = sched_getaffinity(0, sizeof usable, &usable) == 0 ? CPU_COUNT(&usable)
                                                                      : int(sysconf(_SC_NPROCESSORS_ONLN));
  return std::max(count, 1);
}

// The pool whose worker the thread is. Such a thread is inside a loop, so its own loops are guests.
thread_local Pool* pool_of_worker = nullptr;

void worker_main(void* record) { static_cast<Worker*>(static_cast<ParallelThread>(record))->serve(); }

// Hooks of new workers, newest first. They stay for the life of the process, longer than the allocator, so
// they come from the system's malloc.
struct StartHook {
  ParallelStartHook function;
  StartHook* older;
};
std::atomic<StartHook*> newest_hook{nullptr};

// The process's pool. The guard is held for a few instructions only, and nobody else's code runs under it.
std::atomic<Pool*> the_pool{nullptr};
std::mutex guard;

// A forked child has none of the workers; what is left of the pool is given up.
void survive_forks() {
  static const int registered = pthread_atfork([] { guard.lock(); }, [] { guard.unlock(); },
                                               [] {
                                                 the_pool = nullptr;
                                                 pool_of_worker = nullptr;
                                                 guard.unlock();
                                               });
  static_cast<void>(registered);
}

}  // namespace

// ---------------------------------------------------------------------------------------------- workers

Worker::Worker(Pool& pool, mint index) : st_ParallelThread{} {
  id = index;
  shared(run).store(1, std::memory_order_relaxed);
  environment = &pool;
  task = &range;
}

Pool& Worker::pool() const { return *static_cast<Pool*>(environment); }

void Worker::serve() {
  std::atomic_ref<uint64_t>(thread_id).store(KThreadID(), std::memory_order_release);
  pool_of_worker = &pool();
  place.settle_in();
  call_start_hooks(this);
  while (await_work()) {
    do run_body();
    while (pool().feed.next(range) || take_over());
    place.leave_note();
    come_back();
  }
}

bool Worker::await_work() {
  while (!spin_for_work() && !sleep_for_work()) {
  }
  return shared(run).load(std::memory_order_relaxed) != 0;
}

bool Worker::take_go() {
  if (shared(go).load() == 0) return false;
  __builtin_prefetch(&range);
  pool().feed.fetch();
  return shared(go).exchange(0) != 0;
}

// A sleeping owner may wake on the processor where it fell asleep, so nobody spins there.
bool Worker::is_in_the_way() const {
  return pool().attending.load() == 0 &&
         place.processor() == pool().owner_processor.load(std::memory_order_relaxed);
}

bool Worker::spin_for_work() {
  if (is_in_the_way()) return false;
  std::atomic<int32_t>& spinners = pool().spinners;
  bool found = false;
  if (spinners.fetch_add(1, std::memory_order_relaxed) < pool().most_spinners)
    found = spin_until([this] { return take_go(); }, kIdleSpin);
  spinners.fetch_sub(1, std::memory_order_relaxed);
  return found;
}

// Sleeps until it is woken; false when it was for a piece that somebody else has taken by then. The worker is
// awake now, and may as well spin a while for the next.
bool Worker::sleep_for_work() {
  KMutexLock(wake_mutex);
  asleep.store(1);
  bool found = take_go();
  if (!found) {
    KConditionWait(wake_condition, wake_mutex);
    found = take_go();
  }
  asleep.store(0);
  place.put_back();
  place.leave_note();
  KMutexUnlock(wake_mutex);
  return found;
}

void Worker::run_body() {
  try {
    range.body(range.data, this);
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    KMutexLock(pool().pool_mutex);
    if (!pool().failure) pool().failure = std::current_exception();
    KMutexUnlock(pool().pool_mutex);
  }
}

bool Worker::take_over() {
  Pool& home = pool();
  if (!home.takes_over) return false;
  for (mint i = 0; i < home.number_of_threads; ++i) {
    Worker& other = home.worker(i);
    if (!other.take_go()) continue;
    range = other.range;
    other.come_back();
    return true;
  }
  return false;
}

void Worker::come_back() {
  Pool& home = pool();
  returned.store(1);
  if (home.attending.load() != 0) return;
  KMutexLock(home.pool_mutex);
  if (returned.load(std::memory_order_relaxed) != 0) {
    returned.store(0, std::memory_order_relaxed);
    home.push_idle(*this);
    if (home.active == 0) KConditionSignal(home.pool_condition);
  }
  KMutexUnlock(home.pool_mutex);
}

// ------------------------------------------------------------------------------------------- hand-over

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

// ------------------------------------------------------------------------------- the life of the pool

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
  survive_forks();
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
    made->thread = KThreadCreate(worker_main, static_cast<ParallelThread>(made), KTHREAD_PRIORITY_HIGH);
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

// ------------------------------------------------------------------------------------- uses of the pool

// Takes the process's pool, putting the fresh one in its place when there is none. A free pool that was made
// for another thread number is unlinked and handed back to be released.
Pool* PoolUse::claim(int32_t n, Which which, Pool*& fresh, Pool*& unfit) {
  const std::lock_guard held(guard);
  Pool* pool = the_pool;
  if (!pool) {
    if (!fresh) return nullptr;
    pool = std::exchange(fresh, nullptr);
    the_pool = pool;
  }
  pool->feed.fetch();
  KMutexLock(pool->state_mutex);
  const bool taken = pool->busy != 0;
  const bool fits = which == Which::kAsItIs || pool->requested == n;
  if (!taken && fits) {
    pool->busy = 1;
    if (which == Which::kAsConfigured) {
      shared(pool->cancel).store(0, std::memory_order_relaxed);
      pool->cancel_code = 0;
    }
  }
  KMutexUnlock(pool->state_mutex);
  if (!taken && !fits) {
    the_pool = nullptr;
    unfit = pool;
    return nullptr;
  }
  pool->references.fetch_add(1, std::memory_order_relaxed);
  referenced_ = true;
  owner_ = !taken;
  return pool;
}

PoolUse::PoolUse(Which which) : pool_(pool_of_worker) {
  if (pool_) return;  // the loop that this thread works for holds a reference, and longer
  const int32_t n = std::max(getParallelThreadNumber(), 1);
  Pool* fresh = nullptr;
  for (;;) {
    Pool* unfit = nullptr;
    pool_ = claim(n, which, fresh, unfit);
    if (unfit) unfit->release();
    if (pool_ || which == Which::kAsItIs) break;
    if (!fresh) fresh = Pool::create(n);
    if (!fresh) break;
  }
  if (fresh) fresh->release();
}

PoolUse::~PoolUse() {
  if (owner_) finish();
  if (referenced_) pool_->release();
}

int32_t PoolUse::finish() {
  KMutexLock(pool_->state_mutex);
  const int32_t code = pool_->cancel != 0 ? pool_->cancel_code : 0;
  if (owner_) pool_->busy = 0;
  KMutexUnlock(pool_->state_mutex);
  owner_ = false;
  return code;
}

void PoolUse::run_serially(ParallelBody body, void* data, const st_ParallelThreadRange& range) {
  if (owner_) {
    pool_->caller_range = range;
    body(data, &pool_->caller_record);
    return;
  }
  st_ParallelThreadRange own_range = range;
  st_ParallelThread own{};
  own.run = 1;
  own.environment = pool_;
  own.task = &own_range;
  body(data, &own);
}

void drop_pool() {
  Pool* pool;
  {
    const std::lock_guard held(guard);
    pool = the_pool.exchange(nullptr);
  }
  if (pool) pool->release();
}

bool pool_exists() { return the_pool.load() != nullptr; }

// ---------------------------------------------------------------------------------------------- hooks

void add_start_hook(ParallelStartHook function) {
  auto* hook = static_cast<StartHook*>(std::malloc(sizeof(StartHook)));
  if (!hook) {
    nomem();
    return;
  }
  hook->function = function;
  hook->older = newest_hook.load();
  while (!newest_hook.compare_exchange_weak(hook->older, hook)) {
  }
}

void call_start_hooks(ParallelThread thread) {
  for (StartHook* hook = newest_hook.load(); hook; hook = hook->older) hook->function(thread);
}

}  // namespace zenthar::parallel
