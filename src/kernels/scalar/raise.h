#ifndef ZENTHAR_KERNELS_SCALAR_RAISE_H
#define ZENTHAR_KERNELS_SCALAR_RAISE_H

#include <stdint.h>

namespace zenthar {

// Raises a code in the style that is set and returns it, should raising come back.
[[gnu::cold]] int32_t raise_error(int32_t code);

}  // namespace zenthar

#endif
