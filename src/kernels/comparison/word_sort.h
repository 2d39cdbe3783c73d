// Sorting 64-bit words: the engine under every sort of the library. Elements become words whose unsigned
// order is theirs; a sort that is to tell where elements came from keeps their positions in the low bits.
#pragma once

#include <cstdint>

#include "zenthar/types.h"

namespace zenthar {

// Sorts n words in ascending order, with room for as many in `spare`.
//
// The lowest `positions` bits ascend with the index among words that agree above them, so a sort that keeps
// equals in order need not look at them.
//
// Looks for an abort request from time to time; returns the sorted words, which are at `words` or at `spare`,
// or null when there was one (the words are unspecified then). Long sorts are divided among the threads of
// the pool.
uint64_t* sort_words(uint64_t* words, uint64_t* spare, mint n, int positions);

// The same in the calling thread.
uint64_t* sort_words_serially(uint64_t* words, uint64_t* spare, mint n, int positions);

}  // namespace zenthar
