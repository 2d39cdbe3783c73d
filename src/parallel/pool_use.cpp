// The process's pool, and loops' uses of it: who owns it, who is a guest, when it is made anew.
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "parallel/pool.h"

namespace zenthar::parallel {

namespace {

// The pool whose worker the thread is. Such a thread is inside a loop, so its own loops are guests.
thread_local Pool* pool_of_worker = nullptr;

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

void enter_as_worker(Pool& pool) { pool_of_worker = &pool; }

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
    survive_forks();
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

}  // namespace zenthar::parallel
