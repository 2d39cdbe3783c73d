// What each thread draws with: its current generator, those of each method, and its parallel index.
//
// The handles lie under thread-specific keys, whose values are gone when a thread's end is noticed. So the
// thread keeps a record of its own beside them, which tells its end what there is to give up.
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "OS/Unix/thread_end.h"
#include "random/random.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"
#include "zenthar/parallel.h"

namespace zenthar::random {
namespace {

// Cells outlive the threads that take them, and would keep the allocator of the first one, so they come from
// malloc.
struct IndexCell {
  mint index;
  IndexCell* next;  // the cell that was released before it, while it is free
};

struct MethodCurrent {
  RandomGeneratorMethod method;
  RandomGenerator generator;
  MethodCurrent* next;
};

// From malloc, since the allocator of a thread that ends may have gone before.
struct ThreadCurrents {
  RandomGenerator current;
  MethodCurrent* methods;
  IndexCell* cell;
};

constinit thread_local ThreadCurrents* thread_currents = nullptr;
constinit thread_local bool thread_is_worker = false;

std::atomic<KThreadLocalStorage> current_key{nullptr};
std::atomic<KThreadLocalStorage> index_key{nullptr};
mint next_index = 0;              // guarded by the state mutex
IndexCell* free_cells = nullptr;  // guarded by the state mutex

KThreadLocalStorage key_of(std::atomic<KThreadLocalStorage>& place) {
  KThreadLocalStorage key = place.load(std::memory_order_acquire);
  if (key) return key;
  KThreadLocalStorage fresh = New_KThreadLocalStorage();
  if (place.compare_exchange_strong(key, fresh)) return fresh;
  Delete_KThreadLocalStorage(fresh);
  return key;
}

void set(KThreadLocalStorage key, void* value) {
  if (key) KThreadLocalStorageSet(key, value);
}

void give_up_currents(ThreadCurrents* mine) {
  if (!mine->current) return;
  for (MethodCurrent* m = mine->methods; m; m = m->next) {
    RandomGenerator generator = m->generator;
    if (!generator) continue;
    if (generator == mine->current) {
      mine->current = nullptr;
      set(key_of(current_key), nullptr);
    }
    m->generator = nullptr;
    set(m->method->current, nullptr);
    RandomGenerator_refDecr(generator);
  }
}

// The mutex is held.
void give_back_index(ThreadCurrents* mine) {
  if (!mine->cell) return;
  mine->cell->next = free_cells;
  free_cells = mine->cell;
  mine->cell = nullptr;
  set(key_of(index_key), nullptr);
}

void end_of_thread(void* value) {
  auto* mine = static_cast<ThreadCurrents*>(value);
  give_up_currents(mine);
  {
    const StateLock lock;
    give_back_index(mine);
  }
  thread_currents = nullptr;
  while (MethodCurrent* m = mine->methods) {
    mine->methods = m->next;
    std::free(m);
  }
  std::free(mine);
}

constinit ThreadEnd thread_end(end_of_thread);

// The calling thread's record, made on first use; null without memory.
ThreadCurrents* currents() {
  if (thread_currents) return thread_currents;
  auto* mine = static_cast<ThreadCurrents*>(std::calloc(1, sizeof(ThreadCurrents)));
  if (!mine) return nullptr;
  if (!thread_end.arm(mine)) {
    std::free(mine);
    return nullptr;
  }
  return thread_currents = mine;
}

// Where the calling thread's record has its generator of a method; null when there is none to be had. For a
// generator of null none is made.
RandomGenerator* place_of(RandomGeneratorMethod method, RandomGenerator generator) {
  ThreadCurrents* mine = currents();
  if (!mine) return nullptr;
  MethodCurrent* m = mine->methods;
  while (m && m->method != method) m = m->next;
  if (!m && generator) {
    m = static_cast<MethodCurrent*>(std::malloc(sizeof(MethodCurrent)));
    if (!m) return nullptr;
    *m = {method, nullptr, mine->methods};
    mine->methods = m;
  }
  return m ? &m->generator : nullptr;
}

// Sets a key's value and, when the key has taken it, the thread's own note of it.
void set_noted(KThreadLocalStorage key, RandomGenerator* note, RandomGenerator generator) {
  if (!note) return;
  set(key, generator);
  if (KThreadLocalStorageGet(key) == generator) *note = generator;
}

IndexCell* take_index() {
  const StateLock lock;
  if (IndexCell* cell = free_cells) {
    free_cells = cell->next;
    return cell;
  }
  auto* cell = static_cast<IndexCell*>(std::malloc(sizeof(IndexCell)));
  if (cell) *cell = {next_index++, nullptr};
  return cell;
}

}  // namespace

constinit std::recursive_mutex state_mutex;

// A fork waits until nobody holds the mutex. The child, whose thread goes by another identifier and could not
// unlock it, makes it anew.
void survive_forks() {
  static const int registered = [] {
    // The mutex is held while memory is allocated, so a fork must lock it before the allocator's: handlers
    // run from the last registered to the first.
    zfree(zalloc(1, 0, 1));
    return pthread_atfork([] { state_mutex.lock(); }, [] { state_mutex.unlock(); },
                          [] { new (&state_mutex) std::recursive_mutex; });
  }();
  (void)registered;
}

void make_keys() {
  key_of(current_key);
  key_of(index_key);
}

bool is_worker() { return thread_is_worker; }

void mark_workers() {
  static const bool marked = [] {
    ParallelThreads_addStartHook([](ParallelThread) { thread_is_worker = true; });
    return true;
  }();
  (void)marked;
}

}  // namespace zenthar::random

using namespace zenthar::random;

RandomGenerator RandomGeneratorMethod_getCurrent(RandomGeneratorMethod method) {
  return static_cast<RandomGenerator>(KThreadLocalStorageGet(method->current));
}

void RandomGeneratorMethod_setCurrent(RandomGeneratorMethod method, RandomGenerator generator) {
  set_noted(method->current, place_of(method, generator), generator);
}

RandomGenerator CurrentRandomGenerator_get(void) {
  return static_cast<RandomGenerator>(KThreadLocalStorageGet(current_key.load(std::memory_order_acquire)));
}

void CurrentRandomGenerator_set(RandomGenerator generator) {
  ThreadCurrents* mine = currents();
  set_noted(key_of(current_key), mine ? &mine->current : nullptr, generator);
}

mint GetParallelGeneratorIndex(void) {
  ThreadCurrents* mine = currents();
  if (!mine) return 0;
  if (!mine->cell) {
    mine->cell = take_index();
    set(key_of(index_key), mine->cell);
  }
  return mine->cell ? mine->cell->index : 0;
}

void ClearParallelRandomGenerators(void) {
  ParallelThreads_Iterate(
      nullptr,
      [](void*, ParallelThread) {
        ThreadCurrents* mine = thread_currents;
        if (!mine) return;
        const StateLock lock;
        give_up_currents(mine);
        give_back_index(mine);
      },
      3);
}

void Runtime_SeedRandom(mint seed) { CompiledSeedRandom(&seed); }

RandomGenerator Runtime_GetCurrentRandomGenerator(void) { return GetCurrentRandomGenerator(); }
