// A host of its own random generators: it replaces what makes generator objects, what keeps their
// distributions, what seeds, and the current generator.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <tuple>
#include <vector>

#include "zenthar/host.h"
#include "zenthar/memory.h"
#include "zenthar/random.h"

namespace {

// The host's generators have a field behind those that the library knows.
struct HostGenerator {
  st_RandomGenerator base;
  uint64_t drawn;
};

std::multiset<void*> distributions;  // one entry a reference
void* const kDistributions = &distributions;
bool out_of_memory = false, out_of_tables = false;
RandomGenerator current = nullptr;
std::vector<mint> seeds;

// Counts up from 1.
uint64_t counted_bits(mint, RandomGenerator generator) {
  return ++reinterpret_cast<HostGenerator*>(generator)->drawn;
}

}  // namespace

RandomGenerator RandomGenerator_newGeneric(void) {
  if (out_of_memory) return nullptr;
  auto* generator = static_cast<HostGenerator*>(kCalloc(1, sizeof(HostGenerator), 0, 0));
  if (out_of_tables) return &generator->base;
  auto* functions =
      static_cast<st_RandomGeneratorFunctions*>(kCalloc(1, sizeof(st_RandomGeneratorFunctions), 0, 0));
  functions->host[0] = &seeds;
  generator->base.functions = functions;
  return &generator->base;
}

void* RandomDistributionFunctionArray_copy(void* array) {
  if (array) distributions.insert(array);
  return array;
}

void RandomDistributionFunctionArray_delete(void* array) {
  if (array) distributions.erase(distributions.find(array));
}

RandomGenerator GetCurrentRandomGenerator(void) { return current; }

void CompiledSeedRandom(mint* seed) { seeds.push_back(*seed); }

namespace {

TEST(RandomHost, MakesTheObjectsOfTheLibrarysGenerators) {
  for (const auto& [allocate, clone, release] :
       {std::tuple(&MersenneTwister_alloc, &MersenneTwister_clone, &MersenneTwister_free),
        std::tuple(&PMT32_alloc, &PMT32_clone, &PMT32_free),
        std::tuple(&CA5BufferState_alloc, &CA5BufferState_clone, &CA5BufferState_free)}) {
    const uint64_t before = MemoryInUse();
    RandomGenerator generator = allocate(nullptr);
    ASSERT_NE(generator, nullptr);
    EXPECT_EQ(generator->functions->host[0], &seeds);  // the host's words stay
    EXPECT_EQ(generator->functions->integers, Generic_randomMIntegers);
    RandomGenerator twin = clone(generator);
    EXPECT_EQ(twin->functions->bits(64, twin), generator->functions->bits(64, generator));
    release(twin);
    release(generator);
    // Without objects, or with some that have no table, there are no generators and nothing is left.
    for (bool* failure : {&out_of_memory, &out_of_tables}) {
      *failure = true;
      EXPECT_EQ(allocate(nullptr), nullptr);
      *failure = false;
    }
    EXPECT_EQ(MemoryInUse(), before);
  }
}

TEST(RandomHost, CopiesHaveDistributionsOfTheirOwn) {
  RandomGenerator generator = MersenneTwister_alloc(nullptr);
  generator->functions->distributions = RandomDistributionFunctionArray_copy(kDistributions);
  RandomGenerator copy = RandomGenerator_copyGeneric(generator);
  EXPECT_EQ(copy->functions->distributions, kDistributions);
  EXPECT_EQ(distributions.count(kDistributions), 2u);
  RandomGenerator_deleteGeneric(copy);
  MersenneTwister_free(generator);
  EXPECT_TRUE(distributions.empty());
}

TEST(RandomHost, DrawsFromItsCurrentGenerator) {
  current = RandomGenerator_newGeneric();
  current->functions->bits = counted_bits;
  current->functions->integers = Generic_randomMIntegers;
  current->functions->reals = Generic_randomMReals;
  EXPECT_EQ(Runtime_GetCurrentRandomGenerator(), current);
  mint integers[4];
  EXPECT_EQ(UniformRandomMIntegers(integers, 4, 15, 10), 0);  // 6 and 7 of the three bits are rejected
  EXPECT_EQ(std::vector<mint>(integers, integers + 4), (std::vector<mint>{11, 12, 13, 14}));
  mreal reals[2];
  EXPECT_EQ(Runtime_UniformRandomMReals(reals, 2, 0, 0x1p52), 0);
  EXPECT_EQ(std::vector<mreal>(reals, reals + 2), (std::vector<mreal>{5, 6}));
  EXPECT_EQ(RandomSamples(integers, 4, 4, nullptr), 0);
  EXPECT_EQ(std::set<mint>(integers, integers + 4), (std::set<mint>{1, 2, 3, 4}));

  current->functions->reals = nullptr;
  EXPECT_EQ(UniformRandomMReals(reals, 2, 0, 1), 11);
  current->functions->integers = nullptr;
  EXPECT_EQ(UniformRandomMIntegers(integers, 2, 0, 1), 11);
  EXPECT_EQ(RandomSamples(integers, 2, 2, nullptr), -1);
  RandomGenerator_deleteGeneric(current);
  current = nullptr;
  EXPECT_EQ(UniformRandomMIntegers(integers, 2, 0, 1), 11);
  EXPECT_EQ(UniformRandomMReals(reals, 2, 0, 1), 11);
  EXPECT_EQ(RandomChoices(integers, 2, 2, nullptr), -1);
}

TEST(RandomHost, Seeds) {
  Runtime_SeedRandom(-5);
  Runtime_SeedRandom(7);
  EXPECT_EQ(seeds, (std::vector<mint>{-5, 7}));
}

}  // namespace
