// Working memory of choices and samples.
#pragma once

#include "zenthar/types.h"

namespace zenthar::random {

// Blocks from zalloc, null without memory.
mreal* new_reals(mint count);
mint* new_integers(mint count);

}  // namespace zenthar::random
