// How a range is cut: the arithmetic of the pieces, apart from the threads that run them.
//
// Distances are unsigned: from the lowest to the highest index is a distance that no signed word holds.
#ifndef ZENTHAR_PARALLEL_PIECES_H
#define ZENTHAR_PARALLEL_PIECES_H

#include <algorithm>
#include <cstdint>
#include <limits>

#include "zenthar/parallel.h"

namespace zenthar::parallel {

inline uint64_t distance(mint start, mint end) { return uint64_t(end) - uint64_t(start); }

// Rounds a size up to a multiple of the step; one that would not fit is as large as can be, past every end.
inline uint64_t round_up(uint64_t size, uint64_t step) {
  if (step == 1) return size;
  const uint64_t over = size % step;
  if (over == 0) return size;
  const uint64_t missing = step - over;
  return size > std::numeric_limits<uint64_t>::max() - missing ? std::numeric_limits<uint64_t>::max()
                                                               : size + missing;
}

// The pieces of one range in increasing order: what the schedule leaves to do of [start, end).
struct Pieces {
  mint start = 0;
  mint end = 0;
  mint step = 1;
  uint64_t count = 0;  // how many more pieces the remaining range is divided into; 0: none are left
  mint kind = 0;       // of the schedule; 0 for none
  uint64_t chunk = 0;
  uint64_t threads = 1;

  bool empty() const { return count == 0; }

  // Takes the first piece off; there must be one.
  void take(st_ParallelThreadRange& range) {
    const uint64_t left = distance(start, end);
    uint64_t size;
    if (kind == 4) {
      size = std::max(chunk, share_of(left, threads));
    } else {
      size = share_of(left, count--);
      if (kind == 1) size = std::max(size, chunk);
    }
    range.start = start;
    range.step = step;
    if (size >= left) {
      range.end = end;
      count = 0;
    } else {
      range.end = start = mint(uint64_t(start) + size);
    }
  }

 private:
  uint64_t share_of(uint64_t left, uint64_t parts) const {
    return round_up(std::max<uint64_t>(left / parts, 1), uint64_t(step));
  }
};

// The chunk that a schedule goes by: no smaller than the step, and a multiple of it where it is larger.
inline mint adjusted_chunk(mint chunk, mint step) { return chunk < step ? step : chunk - chunk % step; }

// How many pieces a schedule asks for; `chunk` is adjusted.
inline uint64_t piece_count(mint kind, mint chunk, uint64_t span, mint threads) {
  switch (kind) {
    case 1:
      return uint64_t(threads);
    case 2:
      return std::max<uint64_t>(span / uint64_t(chunk), 1);
    case 3:
      return uint64_t(chunk);
    default:
      return 1;
  }
}

// Worker i's piece of a reduction, which is laid out from 0 on whatever the start is. Wraps rather than
// overflows where the range is wider than half of all indices.
inline void reduction_piece(st_ParallelThreadRange& range, mint i, mint threads, mint start, mint end,
                            mint step) {
  const uint64_t size = std::max<uint64_t>(distance(start, end) / uint64_t(threads), 1);
  const uint64_t piece = size + size % uint64_t(step);
  range.start = mint(piece * uint64_t(i));
  range.end = i == threads - 1 ? end : mint(piece * uint64_t(i + 1));
  range.step = step;
}

}  // namespace zenthar::parallel

#endif
