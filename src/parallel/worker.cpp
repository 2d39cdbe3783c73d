// A worker's life: waiting for work, running pieces, coming back. And the hooks of new workers.
#include <cxxabi.h>

#include <chrono>
#include <cstdlib>

#include "parallel/pool.h"
#include "zenthar/memory.h"

namespace zenthar::parallel {

namespace {

using namespace std::chrono_literals;

// As long as waking a worker, or the owner, takes on a busy virtual machine: then no spin costs more than
// twice what knowing the future would, and of two loops in a row the second finds its workers awake.
constexpr auto kIdleSpin = 50us;

// Hooks of new workers, newest first. They stay for the life of the process, longer than the allocator, so
// they come from the system's malloc.
struct StartHook {
  ParallelStartHook function;
  StartHook* older;
};
std::atomic<StartHook*> newest_hook{nullptr};

}  // namespace

void serve_as_worker(void* record) { static_cast<Worker*>(static_cast<ParallelThread>(record))->serve(); }

Worker::Worker(Pool& pool, mint index) : st_ParallelThread{} {
  id = index;
  shared(run).store(1, std::memory_order_relaxed);
  environment = &pool;
  task = &range;
}

Pool& Worker::pool() const { return *static_cast<Pool*>(environment); }

void Worker::serve() {
  std::atomic_ref<uint64_t>(thread_id).store(KThreadID(), std::memory_order_release);
  enter_as_worker(pool());
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
