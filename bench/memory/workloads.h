// What is measured: each workload does a fixed amount of work with one allocator per turn and tells its
// figure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "memory/allocators.h"

namespace zenthar::bench {

class Workload {
 public:
  virtual ~Workload() = default;
  // One turn. The figure is nanoseconds per operation, or resident bytes per live byte.
  virtual double turn() = 0;
};

using WorkloadMaker = std::function<std::unique_ptr<Workload>(const Allocator&)>;

enum class FreeOrder { kLastInFirstOut, kFirstInFirstOut };

// How sizes are spread. kSmall: 8 to 1024 bytes, most of them below 64. kWide: the same with three in a
// hundred spread evenly on a logarithmic scale from 1 to 32 KiB, which then hold most of the bytes.
enum class SizeMix { kSmall, kWide };

enum class Touch { kNothing, kEveryPage };

// Which thread allocates and which frees.
enum class Handover { kFromMain, kToMain, kBothWays };

// How an array grows: to `numerator / 2` times its size, then by `step` bytes.
struct Growth {
  size_t numerator;
  size_t step;
  size_t first;
  size_t limit;
};

// In all of these `operations` is roughly what one turn does. One operation is an allocation with its free,
// except in growth, where it is one reallocation.
WorkloadMaker pairs(size_t size, size_t operations);
WorkloadMaker batches(size_t size, size_t batch, FreeOrder order, size_t operations);
WorkloadMaker replacement(SizeMix mix, size_t live, size_t operations);
WorkloadMaker replacement_on_two_threads(SizeMix mix, size_t live, size_t operations);
WorkloadMaker growth(Growth rule, size_t arrays);
WorkloadMaker handover(Handover direction, size_t size, size_t operations);
WorkloadMaker handover(Handover direction, SizeMix mix, size_t operations);
WorkloadMaker large_batches(size_t batch, Touch touch, size_t operations);
WorkloadMaker large_replacement(size_t live, Touch touch, size_t operations);
// Resident bytes per live byte after `rounds` replacements of each block on average.
WorkloadMaker residence_after_replacement(SizeMix mix, size_t live, size_t rounds);
WorkloadMaker residence_of(size_t size, size_t count);

}  // namespace zenthar::bench
