// Saved random states: chains of generators, one of the thread that saved them and one for each worker.
#include "random/random.h"
#include "zenthar/memory.h"
#include "zenthar/parallel.h"

using zenthar::random::StateLock;

namespace {

constexpr int32_t kNothingWithoutWorkers = 2;

// Runs `action` on each worker that has a state under the key.
template <void (*action)(RandomState state, KThreadLocalStorage key)>
void for_each_worker(RandomState state) {
  if (!state->workers) return;
  ParallelThreads_Iterate(
      state->workers,
      [](void* data, ParallelThread) {
        auto* key = static_cast<KThreadLocalStorage>(data);
        const StateLock lock;
        if (auto* own = static_cast<RandomState>(KThreadLocalStorageGet(key))) action(own, key);
      },
      kNothingWithoutWorkers);
}

void count_worker(RandomState own, KThreadLocalStorage) { RandomState_count(own); }

void delete_worker(RandomState own, KThreadLocalStorage key) {
  RandomState_delete(own);
  KThreadLocalStorageSet(key, nullptr);
}

}  // namespace

RandomStateEntry RandomStateEntry_new(void) {
  return static_cast<RandomStateEntry>(kCalloc(1, sizeof(st_RandomStateEntry), 0, 0));
}

RandomStateEntry RandomStateEntry_add(RandomStateEntry previous, RandomGenerator generator) {
  RandomStateEntry entry = RandomStateEntry_new();
  if (!entry) return nullptr;
  entry->generator = generator;
  if (!previous) return entry;
  entry->previous = previous;
  entry->next = previous->next;
  if (entry->next) entry->next->previous = entry;
  previous->next = entry;
  return entry;
}

RandomState RandomState_new(void) {
  return static_cast<RandomState>(kCalloc(1, sizeof(st_RandomState), 0, 0));
}

void RandomState_count(RandomState state) {
  if (!state || state->counted) return;
  for (RandomStateEntry e = state->entries; e; e = e->next) RandomGenerator_refIncr(e->generator);
  for_each_worker<count_worker>(state);
  state->counted = 1;
}

void RandomState_delete(RandomState state) {
  if (!state) return;
  if (state->counted) {
    for (RandomStateEntry e = state->entries; e; e = e->next) RandomGenerator_refDecr(e->generator);
    // A worker's state gives up its references when it is deleted; one that came uncounted is counted first.
    for_each_worker<count_worker>(state);
    state->counted = 0;
  }
  while (RandomStateEntry entry = state->entries) {
    state->entries = entry->next;
    zfree(entry);
  }
  if (state->workers) {
    for_each_worker<delete_worker>(state);
    Delete_KThreadLocalStorage(state->workers);
  }
  zfree(state);
}
