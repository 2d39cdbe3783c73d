// What the allocator offers to the other modules beyond the public header.
#pragma once

#include <cstdint>

namespace zenthar {

// Reports a request that cannot be met: while the figure of it would pass the soft limit, the bytes in use
// are raised by it (saturating) and the interrupt function is called.
void report_failed_request(uint64_t size);

// The module's part in initialisation: phase 1 sets the memory statistics.
void memory_initialize(int32_t phase);

// Ends the calling thread's allocator and, when no block of any thread is left, the global state. What is
// still in use stays valid and can be freed later.
void memory_tear_down();

}  // namespace zenthar
