// Requests of the library that fail on demand.
//
// The executable defines the system's and the allocator's entry points in front of the real ones, so that it
// hears of each request that the library or a test makes: for memory (malloc and its kind, mmap, zalloc and
// its kind), for threads, for keys and their values, for a pipe. What other libraries ask for themselves is
// passed on and not counted.
#pragma once

#include <cstdint>

namespace failing_requests {

enum class Which { kOne, kAllFrom };

// From now on the request number n fails, counted from 0, or it and all after it.
void start(int64_t n, Which which);
// No more. Says whether a request has failed.
bool stop();

// Blocks that the library has from malloc and has not freed.
int64_t live_blocks();

}  // namespace failing_requests
