// What the random-number module offers the rest of the library, beyond its public entries.
#pragma once

#include <cstdint>
#include <mutex>

#include "zenthar/random.h"
#include "zenthar/threads.h"

namespace zenthar {

// Phase 0 builds the exported tables of masks and scales and makes the module's thread-local keys.
void random_initialize(int32_t phase);
// Clears the tables. Methods and generators stay.
void random_tear_down();

}  // namespace zenthar

namespace zenthar::random {

// Guards what threads share here: free parallel indices, workers' saved states, the registration of the
// library's own methods, the cellular automaton's auxiliary generator.
extern constinit std::recursive_mutex state_mutex;
void survive_forks();

struct StateLock : std::lock_guard<std::recursive_mutex> {
  StateLock() : lock_guard((survive_forks(), state_mutex)) {}
};

// Makes the keys of the current generator and the parallel index, unless there are any.
void make_keys();
// From now on new workers of the pool are known as such.
void mark_workers();
// Whether the calling thread is a worker of the pool.
bool is_worker();
// Registers the library's own methods, each once, under the numbers that compiled code knows them by where
// these are still free; a method of the same name that the host registered stays the one.
void register_methods();
// Puts a method on the list under this number, or under the next one where it is taken; false without memory.
bool add_method(const char* name, mint id, RandomMethodAllocate allocate, RandomMethodClone clone,
                RandomMethodFree free_generator);

// The function table's word, null also where there is no table or generator.
inline RandomBitFunction bit_function(RandomGenerator g) {
  return g && g->functions ? g->functions->bits : nullptr;
}
inline RandomMIntegerFunction integer_function(RandomGenerator g) {
  return g && g->functions ? g->functions->integers : nullptr;
}
inline RandomMRealFunction real_function(RandomGenerator g) {
  return g && g->functions ? g->functions->reals : nullptr;
}

}  // namespace zenthar::random
