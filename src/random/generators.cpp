// Generator objects: references, clones, copies, and the functions that compiled code asks for.
#include "random/random.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"

using namespace zenthar::random;

void RandomGenerator_refIncr(RandomGenerator generator) {
  if (generator && generator->state && generator->state->reference_count >= 0)
    ++generator->state->reference_count;
}

void RandomGenerator_refDecr(RandomGenerator generator) {
  if (!generator || !generator->state) return;
  RandomGeneratorState state = generator->state;
  if (state->reference_count <= 0 || --state->reference_count > 0) return;
  RandomGeneratorMethod method = RandomGeneratorMethod_get(state->method_id);
  if (generator->free_state) generator->free_state(state);
  generator->state = nullptr;
  if (method && method->free_generator) method->free_generator(generator);
}

RandomGenerator RandomGenerator_clone(RandomGenerator generator) {
  if (!generator || !generator->state) return nullptr;
  RandomGeneratorMethod method = RandomGeneratorMethod_get(generator->state->method_id);
  RandomGenerator clone = method && method->clone ? method->clone(generator) : nullptr;
  if (!clone || !generator->create_state) return clone;
  RandomGeneratorState replaced = clone->state;
  clone->state = generator->create_state(generator->state->method_id, generator->state->data);
  // A clone function may have handed on the original's state, which is not the clone's to free.
  if (replaced && replaced != generator->state && replaced != clone->state && clone->free_state)
    clone->free_state(replaced);
  if (clone->state) return clone;
  if (method->free_generator) method->free_generator(clone);
  return nullptr;
}

RandomGenerator RandomGenerator_copyGeneric(RandomGenerator generator) {
  RandomGenerator copy = RandomGenerator_newGeneric();
  if (!copy) return nullptr;
  if (copy->functions && generator->functions) {
    *copy->functions = *generator->functions;
    copy->functions->distributions =
        RandomDistributionFunctionArray_copy(generator->functions->distributions);
  }
  copy->copied = generator->copied;
  copy->cleared = nullptr;
  return copy;
}

void RandomGenerator_deleteGeneric(RandomGenerator generator) {
  if (!generator) return;
  if (generator->functions) RandomDistributionFunctionArray_delete(generator->functions->distributions);
  zfree(generator->functions);
  zfree(generator);
}

void* Runtime_RandomGenerator_getBitFunction(RandomGenerator generator) {
  return reinterpret_cast<void*>(bit_function(generator));
}

void* Runtime_RandomGenerator_getMIntegerFunction(RandomGenerator generator) {
  return reinterpret_cast<void*>(integer_function(generator));
}

void* Runtime_RandomGenerator_getMRealFunction(RandomGenerator generator) {
  return reinterpret_cast<void*>(real_function(generator));
}
