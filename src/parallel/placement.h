// Which processor a worker wakes on.
//
// A sleeping worker wakes where it last ran, or where its waker runs, as the scheduler sees fit. On a virtual
// machine it takes a halted processor for one that is not available, so after a rest all workers may end up
// on the owner's processor and take turns there until the load is balanced, milliseconds later. So the owner
// gives each worker that it wakes a processor that is not taken yet, its own one last, by narrowing the
// worker's affinity for the moment of waking; the worker puts its affinity back as soon as it runs, unless
// somebody has set another one meanwhile.
#ifndef ZENTHAR_PARALLEL_PLACEMENT_H
#define ZENTHAR_PARALLEL_PLACEMENT_H

#include <sched.h>
#include <sys/types.h>

#include <atomic>

namespace zenthar::parallel {

// A worker's place: where it last ran or was sent, and the affinity to put back after a move.
class Place {
 public:
  // By the worker.
  void settle_in();   // when it starts
  void leave_note();  // when it goes idle: where it runs
  void put_back();    // when it was woken

  int processor() const { return processor_.load(std::memory_order_relaxed); }

  // By the owner, while the worker sleeps.
  bool read_affinity();  // the worker's own, not what a move made of it
  bool allows(int processor) const { return CPU_ISSET(processor, &affinity_); }
  void move_to(int target);

 private:
  std::atomic<int> processor_{-1};
  pid_t thread_ = 0;
  bool moved_ = false;
  cpu_set_t affinity_{};
};

// The processors that one hand-over has taken.
class Placement {
 public:
  explicit Placement(int processors);

  void note_awake(const Place& place);  // a worker that needs no waking got work

  int own_processor() const { return own_; }

  // Sends a sleeping worker to a processor not taken, the owner's when no other is left.
  void place(Place& place);

 private:
  int first_free(const Place& place) const;
  void take(int processor) {
    if (processor >= 0 && processor < CPU_SETSIZE) CPU_SET(processor, &taken_);
  }
  bool taken(int processor) const {
    return processor < 0 || processor >= CPU_SETSIZE || CPU_ISSET(processor, &taken_);
  }

  cpu_set_t taken_;
  int own_;
  int left_;  // processors that no worker was sent to, the owner's among them
};

}  // namespace zenthar::parallel

#endif
