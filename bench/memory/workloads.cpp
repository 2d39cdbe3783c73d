// The workloads. Everything random is drawn before the first turn; a loop under measurement reads a table,
// calls the allocator and writes the first word of what it got.
#include "memory/workloads.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "memory/support.h"

namespace zenthar::bench {
namespace {

constexpr size_t kPage = 4096;

inline void write_first_word(void* block, uint64_t word) { std::memcpy(block, &word, sizeof word); }

inline void touch_pages(void* block, size_t from, size_t to) {
  for (size_t at = from; at < to; at += kPage) static_cast<volatile unsigned char*>(block)[at] = 1;
}

void* checked(void* block) {
  if (block == nullptr) throw std::runtime_error("out of memory");
  return block;
}

class Pairs final : public Workload {
 public:
  Pairs(const Allocator& allocator, size_t size, size_t operations)
      : allocator_(allocator), size_(size), operations_(operations) {}

  double turn() override {
    return own_nanoseconds_per_operation(operations_, [this] {
      for (size_t i = 0; i < operations_; ++i) {
        void* block = allocator_.allocate(size_, 0, 1);
        write_first_word(block, i);
        benchmark::DoNotOptimize(block);
        allocator_.release(block);
      }
    });
  }

 private:
  const Allocator allocator_;
  const size_t size_;
  const size_t operations_;
};

class Batches final : public Workload {
 public:
  Batches(const Allocator& allocator, size_t size, size_t batch, FreeOrder order, size_t operations)
      : allocator_(allocator), size_(size), order_(order), rounds_(operations / batch), blocks_(batch) {}

  double turn() override {
    return own_nanoseconds_per_operation(rounds_ * blocks_.size(), [this] {
      for (size_t round = 0; round < rounds_; ++round) {
        for (void*& block : blocks_) {
          block = allocator_.allocate(size_, 0, 1);
          write_first_word(block, round);
        }
        release_all();
      }
    });
  }

 private:
  void release_all() {
    if (order_ == FreeOrder::kFirstInFirstOut)
      for (void* block : blocks_) allocator_.release(block);
    else
      for (size_t i = blocks_.size(); i-- > 0;) allocator_.release(blocks_[i]);
  }

  const Allocator allocator_;
  const size_t size_;
  const FreeOrder order_;
  const size_t rounds_;
  Table<void*> blocks_;
};

enum class Write { kFirstWord, kWholeBlock };

// A working set of blocks, one random member of which is replaced in each step.
template <Write kWrite = Write::kFirstWord>
class WorkingSet {
 public:
  WorkingSet(const Allocator& allocator, SizeMix mix, size_t live, uint64_t seed)
      : allocator_(allocator), blocks_(live), sizes_(live), steps_(kSteps) {
    Random random(seed);
    for (Step& step : steps_) {
      step.slot = static_cast<uint32_t>(draw_between(random, 0, live - 1));
      step.size = static_cast<uint32_t>(draw_size(random, mix));
    }
    for (uint32_t& size : sizes_) size = static_cast<uint32_t>(draw_size(random, mix));
  }

  void fill() {
    for (size_t slot = 0; slot < blocks_.size(); ++slot) blocks_[slot] = allocate(sizes_[slot], slot);
  }

  void replace(size_t count) {
    const size_t end = next_ + count;
    for (size_t step_number = next_; step_number < end; ++step_number) {
      const Step step = steps_[step_number % kSteps];
      allocator_.release(blocks_[step.slot]);
      blocks_[step.slot] = allocate(step.size, step_number);
    }
    next_ = end;
  }

  // Bytes asked for in the blocks that are live, by going over the steps again.
  size_t live_bytes() {
    for (size_t step = 0; step < next_; ++step)
      sizes_[steps_[step % kSteps].slot] = steps_[step % kSteps].size;
    size_t sum = 0;
    for (const uint32_t size : sizes_) sum += size;
    return sum;
  }

 private:
  struct Step {
    uint32_t slot;
    uint32_t size;
  };
  static constexpr size_t kSteps = size_t{1} << 20;

  void* allocate(size_t size, uint64_t word) {
    void* block = allocator_.allocate(size, 0, 1);
    if constexpr (kWrite == Write::kWholeBlock)
      std::memset(block, static_cast<int>(word), size);
    else
      write_first_word(block, word);
    return block;
  }

  const Allocator allocator_;
  Table<void*> blocks_;
  Table<uint32_t> sizes_;  // of the first filling
  Table<Step> steps_;
  size_t next_ = 0;
};

class Replacement final : public Workload {
 public:
  Replacement(const Allocator& allocator, SizeMix mix, size_t live, size_t operations)
      : operations_(operations), set_(allocator, mix, live, 1) {
    set_.fill();
    set_.replace(live);
  }
  double turn() override {
    return own_nanoseconds_per_operation(operations_, [this] { set_.replace(operations_); });
  }

 private:
  const size_t operations_;
  WorkingSet<> set_;
};

class TwoThreadReplacement final : public Workload {
 public:
  TwoThreadReplacement(const Allocator& allocator, SizeMix mix, size_t live, size_t operations)
      : operations_(operations), mine_(allocator, mix, live, 1), theirs_(allocator, mix, live, 2) {
    partner_.together([&] { prepare(theirs_, live); }, [&] { prepare(mine_, live); });
  }
  double turn() override {
    return elapsed_nanoseconds_per_operation(operations_, [this] {
      partner_.together([this] { theirs_.replace(operations_); }, [this] { mine_.replace(operations_); });
    });
  }

 private:
  static void prepare(WorkingSet<>& set, size_t live) {
    set.fill();
    set.replace(live);
  }

  const size_t operations_;  // of each thread
  WorkingSet<> mine_;
  WorkingSet<> theirs_;
  Partner partner_;
};

class ArrayGrowth final : public Workload {
 public:
  ArrayGrowth(const Allocator& allocator, Growth rule, size_t arrays)
      : allocator_(allocator), arrays_(arrays) {
    for (size_t size = rule.first; size <= rule.limit; size = size * rule.numerator / 2 + rule.step)
      sizes_.push_back(size);
    constexpr size_t kBytesPerTurn = size_t{32} << 20;
    rounds_ = std::max<size_t>(1, kBytesPerTurn / (arrays * rule.limit));
  }

  double turn() override {
    return own_nanoseconds_per_operation(rounds_ * sizes_.size() * arrays_.size(), [this] {
      for (size_t round = 0; round < rounds_; ++round) grow_and_release();
    });
  }

 private:
  void grow_and_release() {
    size_t old_size = 0;
    std::fill(arrays_.begin(), arrays_.end(), nullptr);
    for (const size_t size : sizes_) {
      for (void*& array : arrays_) {
        array = checked(allocator_.reallocate(array, size, 0, 1));
        touch_pages(array, old_size, size);
      }
      old_size = size;
    }
    for (void* array : arrays_) allocator_.release(array);
  }

  const Allocator allocator_;
  Table<void*> arrays_;
  Table<size_t> sizes_;
  size_t rounds_;
};

// Blocks on their way from one thread to another, a batch at a time, a few batches under way at most.
class BatchQueue {
 public:
  static constexpr size_t kBatch = 128;
  using Batch = std::array<void*, kBatch>;

  // The batch to fill; waits until there is room.
  Batch& to_send() {
    for (uint32_t received; sent() - (received = received_.load(std::memory_order_acquire)) == kBatches;)
      received_.wait(received);
    return batches_[sent() % kBatches];
  }
  void send() {
    sent_.fetch_add(1, std::memory_order_release);
    sent_.notify_one();
  }
  // The oldest batch under way; waits until there is one.
  Batch& to_receive() {
    const uint32_t received = received_.load(std::memory_order_relaxed);
    sent_.wait(received, std::memory_order_acquire);
    return batches_[received % kBatches];
  }
  void receive() {
    received_.fetch_add(1, std::memory_order_release);
    received_.notify_one();
  }

 private:
  static constexpr uint32_t kBatches = 8;
  uint32_t sent() const { return sent_.load(std::memory_order_relaxed); }

  std::array<Batch, kBatches> batches_{};
  alignas(64) std::atomic<uint32_t> sent_{0};
  alignas(64) std::atomic<uint32_t> received_{0};
};

class HandoverBetweenThreads final : public Workload {
 public:
  template <typename Draw>
  HandoverBetweenThreads(const Allocator& allocator, Handover direction, size_t operations, Draw&& draw)
      : allocator_(allocator),
        direction_(direction),
        rounds_(operations / BatchQueue::kBatch),
        sizes_(kSizes) {
    Random random(1);
    for (uint32_t& size : sizes_) size = static_cast<uint32_t>(draw(random));
  }

  double turn() override {
    const size_t blocks = rounds_ * BatchQueue::kBatch;
    return elapsed_nanoseconds_per_operation(direction_ == Handover::kBothWays ? 2 * blocks : blocks, [this] {
      switch (direction_) {
        case Handover::kFromMain:
          return partner_.together([this] { consume(there_); }, [this] { produce(there_); });
        case Handover::kToMain:
          return partner_.together([this] { produce(back_); }, [this] { consume(back_); });
        case Handover::kBothWays:
          return partner_.together([this] { exchange(back_, there_); }, [this] { exchange(there_, back_); });
      }
    });
  }

 private:
  static constexpr size_t kSizes = size_t{1} << 14;  // a multiple of the batch

  void produce_batch(BatchQueue& queue, size_t round) {
    const size_t first = round * BatchQueue::kBatch % kSizes;
    BatchQueue::Batch& batch = queue.to_send();
    for (size_t i = 0; i < batch.size(); ++i) {
      batch[i] = allocator_.allocate(sizes_[first + i], 0, 1);
      write_first_word(batch[i], i);
    }
    queue.send();
  }
  void consume_batch(BatchQueue& queue) {
    for (void* block : queue.to_receive()) allocator_.release(block);
    queue.receive();
  }
  void produce(BatchQueue& queue) {
    for (size_t round = 0; round < rounds_; ++round) produce_batch(queue, round);
  }
  void consume(BatchQueue& queue) {
    for (size_t round = 0; round < rounds_; ++round) consume_batch(queue);
  }
  void exchange(BatchQueue& outgoing, BatchQueue& incoming) {
    for (size_t round = 0; round < rounds_; ++round) {
      produce_batch(outgoing, round);
      consume_batch(incoming);
    }
  }

  const Allocator allocator_;
  const Handover direction_;
  const size_t rounds_;
  Table<uint32_t> sizes_;
  BatchQueue there_;
  BatchQueue back_;
  Partner partner_;
};

// Blocks of 100 KB to 4 MB, spread evenly on a logarithmic scale.
class LargeBlocks : public Workload {
 public:
  LargeBlocks(const Allocator& allocator, size_t live, Touch touch)
      : allocator_(allocator), touch_(touch), blocks_(live), sizes_(kSizes) {
    Random random(1);
    for (size_t& size : sizes_) size = draw_logarithmic(random, 100e3, 4e6);
  }

 protected:
  void* allocate_next() {
    const size_t size = sizes_[next_++ % kSizes];
    void* block = checked(allocator_.allocate(size, 0, 1));
    if (touch_ == Touch::kEveryPage) touch_pages(block, 0, size);
    return block;
  }

  const Allocator allocator_;
  const Touch touch_;
  Table<void*> blocks_;

 private:
  static constexpr size_t kSizes = 4096;
  Table<size_t> sizes_;
  size_t next_ = 0;
};

class LargeBatches final : public LargeBlocks {
 public:
  LargeBatches(const Allocator& allocator, size_t batch, Touch touch, size_t operations)
      : LargeBlocks(allocator, batch, touch), rounds_(operations / batch) {}

  double turn() override {
    return own_nanoseconds_per_operation(rounds_ * blocks_.size(), [this] {
      for (size_t round = 0; round < rounds_; ++round) {
        for (void*& block : blocks_) block = allocate_next();
        for (size_t i = blocks_.size(); i-- > 0;) allocator_.release(blocks_[i]);
      }
    });
  }

 private:
  const size_t rounds_;
};

class LargeReplacement final : public LargeBlocks {
 public:
  LargeReplacement(const Allocator& allocator, size_t live, Touch touch, size_t operations)
      : LargeBlocks(allocator, live, touch), slots_(operations) {
    Random random(2);
    for (uint32_t& slot : slots_) slot = static_cast<uint32_t>(draw_between(random, 0, live - 1));
    for (void*& block : blocks_) block = allocate_next();
  }

  double turn() override {
    return own_nanoseconds_per_operation(slots_.size(), [this] {
      for (const uint32_t slot : slots_) {
        allocator_.release(blocks_[slot]);
        blocks_[slot] = allocate_next();
      }
    });
  }

 private:
  Table<uint32_t> slots_;
};

// Private memory of this process that is resident now.
size_t resident_bytes() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  size_t total = 0, resident = 0, shared = 0;
  if (file == nullptr || std::fscanf(file, "%zu %zu %zu", &total, &resident, &shared) != 3)
    throw std::runtime_error("cannot read /proc/self/statm");
  std::fclose(file);
  return (resident - shared) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

double growth_per_byte(size_t resident_before, size_t live_bytes) {
  return (static_cast<double>(resident_bytes()) - static_cast<double>(resident_before)) /
         static_cast<double>(live_bytes);
}

class ResidenceAfterReplacement final : public Workload {
 public:
  ResidenceAfterReplacement(const Allocator& allocator, SizeMix mix, size_t live, size_t rounds)
      : replacements_(live * rounds), set_(allocator, mix, live, 1) {}

  double turn() override {
    const size_t before = resident_bytes();
    set_.fill();
    set_.replace(replacements_);
    return growth_per_byte(before, set_.live_bytes());
  }

 private:
  const size_t replacements_;
  WorkingSet<Write::kWholeBlock> set_;
};

class ResidenceOfEqualBlocks final : public Workload {
 public:
  ResidenceOfEqualBlocks(const Allocator& allocator, size_t size, size_t count)
      : allocator_(allocator), size_(size), blocks_(count) {}

  double turn() override {
    const size_t before = resident_bytes();
    for (void*& block : blocks_) std::memset(block = checked(allocator_.allocate(size_, 0, 1)), 1, size_);
    return growth_per_byte(before, size_ * blocks_.size());
  }

 private:
  const Allocator allocator_;
  const size_t size_;
  Table<void*> blocks_;
};

template <typename Kind, typename... Arguments>
WorkloadMaker maker_of(Arguments... arguments) {
  return [=](const Allocator& allocator) -> std::unique_ptr<Workload> {
    return std::make_unique<Kind>(allocator, arguments...);
  };
}

}  // namespace

WorkloadMaker pairs(size_t size, size_t operations) { return maker_of<Pairs>(size, operations); }

WorkloadMaker batches(size_t size, size_t batch, FreeOrder order, size_t operations) {
  return maker_of<Batches>(size, batch, order, operations);
}

WorkloadMaker replacement(SizeMix mix, size_t live, size_t operations) {
  return maker_of<Replacement>(mix, live, operations);
}

WorkloadMaker replacement_on_two_threads(SizeMix mix, size_t live, size_t operations) {
  return maker_of<TwoThreadReplacement>(mix, live, operations);
}

WorkloadMaker growth(Growth rule, size_t arrays) { return maker_of<ArrayGrowth>(rule, arrays); }

WorkloadMaker handover(Handover direction, size_t size, size_t operations) {
  return maker_of<HandoverBetweenThreads>(direction, operations, [size](Random&) { return size; });
}

WorkloadMaker handover(Handover direction, SizeMix mix, size_t operations) {
  return maker_of<HandoverBetweenThreads>(direction, operations,
                                          [mix](Random& random) { return draw_size(random, mix); });
}

WorkloadMaker large_batches(size_t batch, Touch touch, size_t operations) {
  return maker_of<LargeBatches>(batch, touch, operations);
}

WorkloadMaker large_replacement(size_t live, Touch touch, size_t operations) {
  return maker_of<LargeReplacement>(live, touch, operations);
}

WorkloadMaker residence_after_replacement(SizeMix mix, size_t live, size_t rounds) {
  return maker_of<ResidenceAfterReplacement>(mix, live, rounds);
}

WorkloadMaker residence_of(size_t size, size_t count) {
  return maker_of<ResidenceOfEqualBlocks>(size, count);
}

}  // namespace zenthar::bench
