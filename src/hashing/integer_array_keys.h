// The length of the keys that the callbacks of integer-array tables work on.
#pragma once

#include "zenthar/types.h"

namespace zenthar {

// Set by each operation for its own time, 0 between operations. Callbacks get a key and no table, so this is
// how they learn it; hence one thread at a time for all such tables.
extern mint integer_array_key_length;

}  // namespace zenthar
