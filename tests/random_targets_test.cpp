// Every processor target of the random room's loops gives the same numbers and leaves the generators alike.
// The sources of the loops are built into this test, to reach the targets that the processor would not
// choose; the other tests hold the chosen one against models.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "random/random.h"
#include "random/targets.h"
#include "zenthar/random.h"

// What those sources take from the rest of the room.
namespace zenthar::random {
constinit std::recursive_mutex state_mutex;
void survive_forks() {}
}  // namespace zenthar::random

namespace {

using zenthar::random::best_target;
using zenthar::random::target_index;

class Record {
 public:
  explicit Record(RandomGenerator generator) : generator_(generator) {}

  // The draws of one kind, a guard behind them, and a few bits that tell where the generator stands.
  template <class Draw>
  void draw(mint count, const Draw& into) {
    std::vector<mint> output(static_cast<size_t>(count + 1), kGuard);
    ASSERT_EQ(into(output.data(), count, generator_), 0);
    ASSERT_EQ(output.back(), kGuard);
    numbers.insert(numbers.end(), output.begin(), output.end());
    const mint bits = count % 13 + 1;
    numbers.push_back(mint(generator_->functions->bits(bits, generator_)));
  }

  std::vector<mint> numbers;

 private:
  static constexpr mint kGuard = 0x5a5a5a5a;
  RandomGenerator generator_;
};

constexpr mint kLow = -123456789;

void integers(Record& record) {
  for (int bits = 1; bits <= 64; ++bits) {
    const uint64_t half = uint64_t{1} << (bits - 1);
    // The most and the fewest rejections of so many bits, and some.
    for (uint64_t range : {half, half + half / 3, 2 * half - 1})
      for (mint count : {1, 5, 22, 64, 333, 900})
        record.draw(count, [=](mint* output, mint n, RandomGenerator g) {
          return Generic_randomMIntegers(output, n, kLow, mint(uint64_t(kLow) + range), g);
        });
  }
}

void reals(Record& record) {
  for (mint count : {1, 9, 100, 2000})
    record.draw(count, [](mint* output, mint n, RandomGenerator g) {
      std::vector<mreal> x(static_cast<size_t>(n));
      const int32_t code = Generic_randomMReals(x.data(), n, g, -1, 2);
      std::memcpy(output, x.data(), x.size() * sizeof(mreal));
      return code;
    });
}

void samples(Record& record) {
  for (mint of : {1, 2, 17, 300, 5000})
    for (mint count : {of / 20, of / 3, of})
      record.draw(count, [of](mint* output, mint n, RandomGenerator g) {
        return SimpleRandomSamplePositionsM(output, n, of, g);
      });
}

TEST(Targets, GiveTheSameNumbers) {
  constexpr struct {
    RandomGenerator (*allocate)(void*);
    void (*free)(RandomGenerator);
  } kKinds[] = {{MersenneTwister_alloc, MersenneTwister_free},
                {PMT32_alloc, PMT32_free},
                {CA5BufferState_alloc, CA5BufferState_free}};
  for (const auto& [allocate, free] : kKinds) {
    std::vector<mint> baseline;
    for (int target = 0; target <= best_target(); ++target) {
      target_index() = target;
      RandomGenerator generator = allocate(nullptr);
      Record record(generator);
      integers(record);
      reals(record);
      samples(record);
      free(generator);
      if (target == 0) baseline = record.numbers;
      ASSERT_TRUE(record.numbers == baseline) << "target " << target;
    }
  }
  target_index() = best_target();
}

}  // namespace
