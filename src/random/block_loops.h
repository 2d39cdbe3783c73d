// Loops that turn blocks of random words into elements.
#pragma once

#include "zenthar/types.h"

namespace zenthar::random {

// output[i] = base + (2^52 + the low 52 bits of words[i]) * scale.
void words_to_reals(mreal* output, const uint64_t* words, mint count, mreal base, mreal scale);

// Cuts each word into 64 / bits fields, the lowest the last of the word's elements. `bits` is 1, 2, 4, 8
// or 16.
void words_to_fields(mint* output, const uint64_t* words, mint count, mint bits, mint low);

// Takes fields of `bits` bits, 2 to 64 of them, lowest first, that are `range` at most, each plus `low`, from
// as many whole words as cannot overfill the output. Moves *words on. @return the elements written
mint accepted_fields(mint* output, mint count, const uint64_t** words, const uint64_t* end, mint bits,
                     uint64_t range, mint low);
// The same, where each element takes 1 from the range of those after it, and fields may have a single bit.
mint falling_fields(mint* output, mint count, const uint64_t** words, const uint64_t* end, mint bits,
                    uint64_t range, mint low);

}  // namespace zenthar::random
