// The recurrence of the 64-bit Mersenne Twister, for the generator and for whoever else needs its words.
#pragma once

#include <cstdint>

namespace zenthar::random {

constexpr int64_t kTwisterWords = 312;

// Advances the state by as many words as it has, and writes the tempered ones.
void twist(uint64_t* state, uint64_t* tempered);

}  // namespace zenthar::random
