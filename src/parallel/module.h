// What the runtime calls of this module when it starts and ends.
#ifndef ZENTHAR_PARALLEL_MODULE_H
#define ZENTHAR_PARALLEL_MODULE_H

#include <cstdint>

namespace zenthar {

void parallel_initialize(int32_t phase);  // phase 0: counts the processors and sets the thread number by them
void parallel_reinitialize();             // the same again
void parallel_tear_down();                // ends the workers; the next loop makes new ones

}  // namespace zenthar

#endif
