// Moving sleeping workers to processors of their own. See placement.h for why.
#include "parallel/placement.h"

#include <unistd.h>

namespace zenthar::parallel {

namespace {

cpu_set_t only(int processor) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(processor, &set);
  return set;
}

}  // namespace

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
  if (read_affinity() && moved_) sched_setaffinity(thread_, sizeof affinity_, &affinity_);
  moved_ = false;
}

bool Place::read_affinity() {
  cpu_set_t now;
  if (sched_getaffinity(thread_, sizeof now, &now) != 0) return false;
  if (moved_) {
    const cpu_set_t left = only(processor());
    if (CPU_EQUAL(&now, &left)) return true;
  }
  affinity_ = now;
  moved_ = false;
  return true;
}

void Place::move_to(int target) {
  if (moved_ && processor() == target) return;
  const cpu_set_t narrowed = only(target);
  if (sched_setaffinity(thread_, sizeof narrowed, &narrowed) != 0) return;
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
