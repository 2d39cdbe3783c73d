// The calculator's draws, and the generator they come from.
#include "draw.h"

#include <algorithm>
#include <random>

#include "host.h"
#include "text.h"

namespace zcalc {
namespace {

constexpr int32_t kInvalidWeights = -1;
constexpr int32_t kAborted = 1000;
constexpr int32_t kNotFinite = 1001;

/// Turns the code of a draw into a Failure.
void check(int32_t code, Span place) {
  if (interrupted() || code == kAborted) throw interruption("while drawing random numbers");
  switch (code) {
    case 0:
      return;
    case ZENTHAR_ERROR_OUT_OF_MEMORY:
      throw allocation_failure(code);
    case kInvalidWeights:
      throw Failure("a weight is negative, or too few positions have a weight", place);
    case kNotFinite:
      throw Failure("the interval, or the sum of the weights, is too large", place);
    default:
      throw Failure("the random generator failed with code " + std::to_string(code), place);
  }
}

uint64_t system_seed() {
  std::random_device system;
  return uint64_t{system()} << 32 | system();
}

}  // namespace

void select_generator(const std::string& method, std::optional<mint> seed) {
  // Asking for a generator registers the library's methods, whichever is wanted.
  if (GetCurrentRandomGenerator() == nullptr) throw Failure("no memory for a random generator");
  if (!method.empty()) {
    const RandomGeneratorMethod found = RandomGeneratorMethod_get(RandomGeneratorMethod_find(method.c_str()));
    if (found == nullptr) {
      throw Failure("--generator takes ExtendedCA, MersenneTwister or ParallelGenerator, not " +
                        quoted(method) + "\nTry 'zcalc --help'.",
                    kUsage);
    }
    RandomGenerator generator = RandomGeneratorMethod_getCurrent(found);
    if (generator == nullptr) {
      generator = found->allocate(nullptr);
      if (generator == nullptr) throw Failure("no memory for a random generator");
      RandomGeneratorMethod_setCurrent(found, generator);
    }
    CurrentRandomGenerator_set(generator);
  }
  mint word = seed ? *seed : static_cast<mint>(system_seed());
  CompiledSeedRandom(&word);
}

Array random_reals(mint count, mreal low, mreal high, Span place) {
  Array result = Array::allocate(kReal, count);
  check(UniformRandomMReals(result.data<mreal>(), count, low, high), place);
  return result;
}

Array random_integers(mint count, mint low, mint high, Span place) {
  Array result = Array::allocate(kInteger, count);
  check(UniformRandomMIntegers(result.data<mint>(), count, low, high), place);
  return result;
}

Array random_positions(mint count, const Array& positions, bool repeat, Span place) {
  const mint n = positions.is_scalar() ? *positions.data<mint>() : positions.size();
  if (count > 0 && n < 1) throw Failure("there is no position to draw", place);
  if (!repeat && count > n)
    throw Failure("only " + grouped(n) + " positions can be drawn without repetition", place);
  Array result = Array::allocate(kInteger, count);
  MTensor weights = positions.is_scalar() ? nullptr : positions.get();
  check(repeat ? RandomChoices(result.data<mint>(), count, n, weights)
               : RandomSamples(result.data<mint>(), count, n, weights),
        place);
  return result;
}

}  // namespace zcalc
