// The weak defaults of a host's random generators: plain generator objects, and a current generator for every
// thread that needs one.
#include <random>

#include "random/random.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"

#define ZENTHAR_HOST_DEFAULT __attribute__((weak))

namespace {

// Distinct for every call: words of the operating system's generator.
void seed_from_system(RandomGenerator generator) {
  if (!generator->functions || !generator->functions->seed) return;
  std::random_device system;
  uint64_t key[4];
  for (uint64_t& word : key) word = uint64_t{system()} << 32 | system();
  generator->functions->seed(generator, key, 4);
}

RandomGeneratorMethod method_named(const char* name) {
  return RandomGeneratorMethod_get(RandomGeneratorMethod_find(name));
}

// Workers of the pool draw from streams of their own, by their parallel index; all others, and workers beyond
// the last stream, by the default method.
RandomGenerator make_generator(RandomGeneratorMethod* method) {
  if (zenthar::random::is_worker()) {
    mint index = GetParallelGeneratorIndex();
    *method = method_named("ParallelGenerator");
    if (RandomGenerator generator = *method && (*method)->allocate ? (*method)->allocate(&index) : nullptr)
      return generator;
  }
  *method = method_named(DefaultRandomGeneratorName);
  if (!*method || !(*method)->allocate) *method = method_named("ExtendedCA");
  return *method && (*method)->allocate ? (*method)->allocate(nullptr) : nullptr;
}

}  // namespace

ZENTHAR_HOST_DEFAULT RandomGenerator RandomGenerator_newGeneric(void) {
  auto* generator = static_cast<RandomGenerator>(kCalloc(1, sizeof(st_RandomGenerator), 0, 0));
  if (!generator) return nullptr;
  generator->functions =
      static_cast<st_RandomGeneratorFunctions*>(kCalloc(1, sizeof(st_RandomGeneratorFunctions), 0, 0));
  if (generator->functions) return generator;
  zfree(generator);
  return nullptr;
}

ZENTHAR_HOST_DEFAULT void* RandomDistributionFunctionArray_copy(void* array) { return array; }
ZENTHAR_HOST_DEFAULT void RandomDistributionFunctionArray_delete(void*) {}

ZENTHAR_HOST_DEFAULT RandomGenerator GetCurrentRandomGenerator(void) {
  if (RandomGenerator current = CurrentRandomGenerator_get()) return current;
  zenthar::random::register_methods();
  RandomGeneratorMethod method = nullptr;
  RandomGenerator generator = make_generator(&method);
  if (!generator) return nullptr;
  seed_from_system(generator);
  RandomGeneratorMethod_setCurrent(method, generator);
  CurrentRandomGenerator_set(generator);
  if (CurrentRandomGenerator_get() == generator && RandomGeneratorMethod_getCurrent(method) == generator)
    return generator;
  // There was no memory to take note of it, so nobody would release it.
  CurrentRandomGenerator_set(nullptr);
  RandomGeneratorMethod_setCurrent(method, nullptr);
  RandomGenerator_refDecr(generator);
  return nullptr;
}

ZENTHAR_HOST_DEFAULT void CompiledSeedRandom(mint* seed) {
  RandomGenerator generator = GetCurrentRandomGenerator();
  if (!generator || !generator->functions || !generator->functions->seed) return;
  const uint64_t key[] = {uint64_t(*seed)};
  generator->functions->seed(generator, key, 1);
}
