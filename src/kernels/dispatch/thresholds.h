#ifndef ZENTHAR_KERNELS_DISPATCH_THRESHOLDS_H
#define ZENTHAR_KERNELS_DISPATCH_THRESHOLDS_H

#include <stdint.h>

namespace zenthar {

// The start-up hook of the length thresholds: their defaults in phase 0.
void vector_thresholds_initialize(int32_t phase);

}  // namespace zenthar

#endif
