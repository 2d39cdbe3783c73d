// Moving sleeping workers to processors of their own. See placement.h for why.
#include "parallel/placement.h"

#include <unistd.h>

namespace zenthar::parallel {

void Place::settle_in() {
  thread_ = gettid();
  leave_note();
}

void Place::leave_note() {
  const int here = sched_getcpu();
  if (here != processor()) processor_.store(here, std::memory_order_relaxed);
}

void Place::put_back() {
  if (!moved_) return;
  moved_ = false;
  sched_setaffinity(0, sizeof affinity_, &affinity_);
}

bool Place::read_affinity() {
  return moved_ || sched_getaffinity(thread_, sizeof affinity_, &affinity_) == 0;
}

void Place::move_to(int target) {
  if (moved_ && processor() == target) return;
  cpu_set_t only;
  CPU_ZERO(&only);
  CPU_SET(target, &only);
  if (sched_setaffinity(thread_, sizeof only, &only) != 0) return;
  moved_ = true;
  // A worker that has not come to run by the next loop keeps its turn there.
  processor_.store(target, std::memory_order_relaxed);
}

Placement::Placement(int processors) : own_(sched_getcpu()), left_(processors) {
  CPU_ZERO(&taken_);
  if (own_ < 0 || own_ >= CPU_SETSIZE) left_ = 0;
  take(own_);
}

void Placement::note_awake(const Place& place) {
  --left_;
  take(place.processor());
}

void Placement::place(Place& place) {
  if (left_ <= 0) return;  // more workers than processors: the scheduler's affair
  const bool own_is_left = --left_ == 0;
  const int there = place.processor();
  if (own_is_left && there == own_) return;
  if (!place.read_affinity()) return;
  const int target = own_is_left ? own_ : taken(there) ? first_free(place) : there;
  if (target >= CPU_SETSIZE || !place.allows(target)) return;
  place.move_to(target);
  take(target);
}

int Placement::first_free(const Place& place) const {
  int processor = 0;
  while (processor < CPU_SETSIZE && (taken(processor) || !place.allows(processor))) ++processor;
  return processor;
}

}  // namespace zenthar::parallel
