// What the hashing module offers to the rest of the library, beside its exported names.
#pragma once

#include <cstdint>

namespace zenthar {

// The start-up hook: phase 0 puts the settings and the default hash back to what they are at load.
void hashing_initialize(int32_t phase);

// The default hash of a key, of the ends of the key only where it exceeds HashByteLengthThreshold.
uint64_t hash_key_bytes(const void* data, uint64_t length);

}  // namespace zenthar
