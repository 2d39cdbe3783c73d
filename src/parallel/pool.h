// The pool of workers, and the hand-over of work between the thread that runs a loop and its workers.
//
// The nouns. A *use* is one loop's hold on the pool: as its *owner*, which hands out work, or as a *guest*, a
// loop that found the pool taken and runs serially. The *feed* holds the pieces of the loop under way: the
// owner posts one to each idle worker, and a worker that has finished its piece takes the next by itself
// until the feed is empty; only then does it *return*.
//
// A piece that was posted to a worker which has not begun yet may be taken over by one that has nothing left
// to do, so that a loop never waits for a worker to be given a processor. (Reductions and iterations give
// each worker its own.) Whoever sets `go` from 1 to 0 has the piece.
//
// The hand-over has two paths. The records' mutexes and conditions are the one that blocks. In front of it
// lie three words: a worker that is still spinning sees `go` without being woken; one that returns only sets
// `returned` while the owner is *attending*, that is, awake, and the owner itself puts it back on the idle
// list; and `asleep` tells the owner which worker has to be woken. Each pair of words is written and then
// read crosswise, in sequential consistency, so that one side always sees the other.
//
// Who may spin. A spinner must not sit on a processor that somebody needs who has work: nobody spins when
// there are more threads than processors, at most all processors but one hold idle spinning workers (the one
// is the owner's), none of them where the owner sleeps, and the owner spins only while fewer workers are at
// work than there are processors.
#ifndef ZENTHAR_PARALLEL_POOL_H
#define ZENTHAR_PARALLEL_POOL_H

#include <atomic>
#include <exception>

#include "parallel/pieces.h"
#include "parallel/placement.h"
#include "parallel/spin.h"
#include "zenthar/parallel.h"

namespace zenthar::parallel {

inline constexpr size_t kLine =
    64;  // of the caches: words that different threads write lie in lines of their own

struct Pool;

// A word of a record, which is plain C to its readers, as one that several threads write.
inline std::atomic_ref<int32_t> shared(int32_t& word) { return std::atomic_ref<int32_t>(word); }

struct alignas(kLine) Worker : st_ParallelThread {
  alignas(kLine) st_ParallelThreadRange range{};
  alignas(kLine) std::atomic<int32_t> returned{
      0};                          // finished, not on the idle list yet; cleared under the pool mutex
  std::atomic<int32_t> asleep{0};  // blocked, or about to be
  alignas(kLine) Place place;

  Worker(Pool& pool, mint index);
  Pool& pool() const;

  void serve();  // the worker's life, on its own thread

 private:
  bool await_work();  // false: the worker is to end
  bool spin_for_work();
  bool sleep_for_work();
  bool take_go();
  bool is_in_the_way() const;
  void run_body();
  bool take_over();
  void come_back();
};

// The pieces of a loop, for whoever is ready for one.
class alignas(kLine) Feed {
 public:
  // By the owner, while no worker is at work.
  void open(const Pieces& pieces) {
    pieces_ = pieces;
    open_.store(!pieces.empty(), std::memory_order_relaxed);
  }

  bool empty() const { return !open_.load(std::memory_order_relaxed); }

  void fetch() const { __builtin_prefetch(this, 1); }  // soon to be written

  bool next(st_ParallelThreadRange& range) {
    if (empty()) return false;
    lock_.lock();
    const bool found = !pieces_.empty();
    if (found) pieces_.take(range);
    if (pieces_.empty()) open_.store(false, std::memory_order_relaxed);
    lock_.unlock();
    return found;
  }

 private:
  BriefLock lock_;
  std::atomic<bool> open_{false};
  Pieces pieces_;
};

struct alignas(kLine) Pool : st_ParallelThreadsEnvironment {
  std::atomic<int32_t> references{1};  // the process's and one per use
  int32_t requested = 1;               // the thread number it was made for; it may have got fewer

  // Read by all, written seldom.
  alignas(kLine) std::atomic<int32_t> attending{1};  // the owner is awake and looks after returned workers
  std::atomic<int32_t> owner_processor{-1};          // where the owner fell asleep
  int32_t processors = 1;                            // that the process may use
  int32_t most_spinners = 0;                         // idle workers that may spin at once

  Feed feed;
  alignas(kLine) std::atomic<int32_t> spinners{0};

  bool takes_over = false;     // posted pieces may be taken over; written while no worker is at work
  std::exception_ptr failure;  // first exception to leave a body of this loop; guarded by the pool mutex
  st_ParallelThread caller_record{};
  st_ParallelThreadRange caller_range{};
  st_ParallelThreadsEnvironment alone{};  // the face of the pool for loops that run serially: one thread
  void* block = nullptr;                  // the allocation this lies in, the workers behind it

  // Makes a pool for n threads, with fewer where threads or memory run out; null when not even a pool without
  // workers can be had.
  static Pool* create(int32_t n);
  void release();  // gives up a reference; the last one ends the workers and frees the pool

  mint threads() const { return number_of_threads; }

  // Runs of the owner; each comes back when all work has, and throws what a body threw on a worker.
  void run_pieces(const Pieces& pieces, ParallelBody body, void* data);
  template <class Assign>
  void run_on_each(Assign assign);  // assign(range, i) for the i-th worker taken

 private:
  friend struct Worker;
  explicit Pool(void* allocation, int32_t n);
  static Pool* create_with_room(int32_t n, int32_t workers);
  bool make_locks();
  void start_workers(int32_t n);
  bool start_worker(mint index);
  void destroy();
  bool end_worker(Worker& worker);
  void free_worker(Worker& worker);

  Worker* worker_block();
  Worker& worker(mint i) { return *static_cast<Worker*>(workers[i]); }
  bool owner_may_spin() const { return most_spinners > 0 && active < processors; }
  void push_idle(Worker& worker);  // under the pool mutex
  void bring_readiest_forward(int own_processor);
  Worker* pop_idle();
  bool any_returned();
  void collect();
  void collect_locked();
  bool post(Worker& worker, Placement& placement);  // says whether it was awake
  bool finish_soon();
  void await_completion();
};

// One loop's use of the pool.
class PoolUse {
 public:
  enum class Which { kAsConfigured, kAsItIs };  // kAsItIs: no pool is made, and the cancel state stays

  explicit PoolUse(Which which = Which::kAsConfigured);
  ~PoolUse();
  PoolUse(const PoolUse&) = delete;
  PoolUse& operator=(const PoolUse&) = delete;

  explicit operator bool() const { return pool_ != nullptr; }
  Pool& pool() const { return *pool_; }
  bool owner() const { return owner_; }
  int32_t finish();  // gives the pool back; the cancel code, or 0
  void run_serially(ParallelBody body, void* data, const st_ParallelThreadRange& range);

 private:
  Pool* claim(int32_t n, Which which, Pool*& fresh, Pool*& unfit);

  Pool* pool_ = nullptr;
  bool owner_ = false;
  bool referenced_ = false;
};

bool pool_exists();
void drop_pool();  // unlinks the process's pool; the workers end with the last use of it

void add_start_hook(ParallelStartHook function);
void call_start_hooks(ParallelThread thread);

void serve_as_worker(void* record);  // what a worker's thread runs
void enter_as_worker(Pool& pool);    // loops of this thread are guests of that pool from now on

template <class Assign>
void Pool::run_on_each(Assign assign) {
  KMutexLock(pool_mutex);
  ParallelThread next = idle;
  active = number_of_threads;
  idle = nullptr;
  KMutexUnlock(pool_mutex);
  takes_over = false;
  Placement placement(processors);
  for (mint i = 0; next; ++i) {
    Worker& taken = *static_cast<Worker*>(next);
    next = taken.next_idle;
    assign(taken.range, i);
    post(taken, placement);
  }
  await_completion();
}

}  // namespace zenthar::parallel

#endif
