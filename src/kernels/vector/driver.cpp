#include "kernels/vector/driver.h"

#include <atomic>
#include <cstring>

#include "errors/errors.h"
#include "kernels/scalar/raise.h"
#include "zenthar/dispatch.h"
#include "zenthar/errors.h"
#include "zenthar/parallel.h"

namespace zenthar {
namespace {

// Elements of a block whose operands are read where they are, and bytes of an operand's buffer otherwise.
// Abort requests are looked for between blocks.
constexpr mint kDirectBlock = 4096;
constexpr mint kBufferBytes = 8192;

// Runs too short to be worth an alignment.
constexpr mint kShortRun = 128;

// The least elements, by threshold class, that make up for handing a piece of a run to a thread: some
// microseconds of work each.
constexpr mint kLeastPiece[] = {32768, 8192, 2048, 512, 8192};
// Pieces for each thread, so that one that is held up holds up little.
constexpr mint kPiecesPerThread = 4;

constexpr int32_t kAbort = 34;

using Buffer = char[kBufferBytes];

// How the operands of a run are read, block by block. Made before anything is written and shared by the
// threads.
class Plan {
 public:
  Plan(const VectorKernel& kernel, void* result, const VectorOperand* operands, mint n, uint32_t flags)
      : kernel_(kernel), result_(static_cast<char*>(result)), flags_(flags) {
    const bool checked = flags & kernel.check;
    function_ = checked ? kernel.checked : kernel.plain;
    const bool looks = checked ? kernel.checked_looks : kernel.plain_looks;
    checks_narrowed_ = checked && kernel.checks_result;
    result_size_ = kernel.narrowed.narrow ? kernel.narrowed.size : kernel.result_size;
    if (kernel.narrowed.narrow) block_ = kBufferBytes / kernel.result_size;
    for (int k = 0; k < kernel.arity; ++k) {
      Source& source = sources_[k];
      source.data = static_cast<const char*>(operands[k].data);
      const bool overwritten = looks && overlaps(source.data, n * kernel.operand_size[k], n * result_size_);
      source.way = operands[k].step == 0          ? Way::kRepeat
                   : kernel.convert[k] != nullptr ? Way::kConvert
                   : overwritten                  ? Way::kKeep
                                                  : Way::kDirect;
      if (source.way == Way::kDirect) continue;
      const mint most = kBufferBytes / kernel.evaluated_size[k];
      if (block_ > most) block_ = most;
    }
    for (int k = 0; k < kernel.arity; ++k)
      if (sources_[k].way == Way::kRepeat) repeat(k, n < block_ ? n : block_);
  }

  mint block() const { return block_; }

  // The length of the first block of a piece. It is cut so that the others' results begin with a cache line,
  // since vectors that straddle two take twice the time.
  mint first_block(mint from) const {
    constexpr uintptr_t kLine = 64;
    const uintptr_t before = -reinterpret_cast<uintptr_t>(result_ + from * result_size_) % kLine;
    return before != 0 && before % uintptr_t(result_size_) == 0 ? mint(before) / result_size_ : block_;
  }

  // Computes elements [from, from + n), at most a block of them, with buffers for the operands of this block.
  FirstFailure compute(mint from, mint n, Buffer* buffers) const {
    const void* operands[3];
    for (int k = 0; k < kernel_.arity; ++k) operands[k] = operand(k, from, n, buffers[k]);
    char* const result = result_ + from * result_size_;
    if (kernel_.narrowed.narrow) return compute_narrowed(result, from, operands, n);
    if (function_(result, operands, n) == 0) [[likely]]
      return {-1, 0};
    return located(result, from, operands, n);
  }

 private:
  enum class Way { kDirect, kRepeat, kConvert, kKeep };
  struct Source {
    const char* data;
    Way way;
  };

  FirstFailure compute_narrowed(char* to, mint from, const void* const* operands, mint n) const {
    alignas(64) Buffer results;
    int64_t failed = function_(results, operands, n);
    const int64_t not_finite = kernel_.narrowed.narrow(to, results, n);
    if (checks_narrowed_) failed |= not_finite;
    if (failed == 0) [[likely]]
      return {-1, 0};
    kernel_.narrowed.widen(results, to, n);  // results are judged as they are stored
    return located(results, from, operands, n);
  }

  FirstFailure located(const void* results, mint from, const void* const* operands, mint n) const {
    FirstFailure failure = kernel_.locate(results, operands, n, flags_);
    if (failure.index >= 0) failure.index += from;
    return failure;
  }

  bool overlaps(const char* data, mint bytes, mint result_bytes) const {
    const auto a = reinterpret_cast<uintptr_t>(data), r = reinterpret_cast<uintptr_t>(result_);
    return a < r + uintptr_t(result_bytes) && r < a + uintptr_t(bytes);
  }

  // Fills an operand's buffer with its only element.
  void repeat(int k, mint n) {
    mint size = kernel_.evaluated_size[k];  // 1, 2, 4, 8 or 16
    char* const buffer = repeated_[k];
    if (kernel_.convert[k]) {
      kernel_.convert[k](buffer, sources_[k].data, 1);
    } else {
      std::memcpy(buffer, sources_[k].data, size_t(size));
    }
    if (size < 8) {  // words of equal elements
      uint64_t word = 0;
      std::memcpy(&word, buffer, size_t(size));
      for (mint bits = 8 * size; bits < 64; bits *= 2) word |= word << bits;
      std::memcpy(buffer, &word, sizeof word);
      n = (n * size + 7) / 8;
      size = 8;
    }
    // A few by hand, since short runs should not wait for calls; then by doubling.
    constexpr mint kByHand = 16;
    mint filled = n < kByHand ? n : kByHand;
    for (mint i = 1; i < filled; ++i) {
      std::memcpy(buffer + i * size, buffer, 8);
      if (size == 16) std::memcpy(buffer + i * size + 8, buffer + 8, 8);
    }
    while (filled < n) {
      const mint more = filled < n - filled ? filled : n - filled;
      std::memcpy(buffer + filled * size, buffer, size_t(more * size));
      filled += more;
    }
  }

  const void* operand(int k, mint from, mint n, char* buffer) const {
    const Source& source = sources_[k];
    const char* const data = source.data + from * kernel_.operand_size[k];
    switch (source.way) {
      case Way::kDirect:
        return data;
      case Way::kRepeat:
        return repeated_[k];
      case Way::kConvert:
        kernel_.convert[k](buffer, data, n);
        return buffer;
      case Way::kKeep:
        std::memcpy(buffer, data, size_t(n * kernel_.evaluated_size[k]));
        return buffer;
    }
    __builtin_unreachable();
  }

  const VectorKernel& kernel_;
  char* result_;
  uint32_t flags_;
  BlockFunction function_;
  bool checks_narrowed_;
  mint result_size_;
  mint block_ = kDirectBlock;
  Source sources_[3];
  alignas(64) Buffer repeated_[3];
};

// A run under way in one or several threads, and what became of it.
struct Run {
  const Plan& plan;
  // Of the failing element of the lowest index so far: the index, and the code in the low byte.
  std::atomic<uint64_t> first_failure{UINT64_MAX};
  std::atomic<bool> aborted{false};

  bool passed_by(mint from) const {
    return uint64_t(from) > first_failure.load(std::memory_order_relaxed) >> 8 ||
           aborted.load(std::memory_order_relaxed);
  }

  void record(FirstFailure failure) {
    const uint64_t found = uint64_t(failure.index) << 8 | uint64_t(failure.code);
    uint64_t known = first_failure.load(std::memory_order_relaxed);
    while (found < known && !first_failure.compare_exchange_weak(known, found, std::memory_order_relaxed)) {
    }
  }

  // Raises what is to be raised.
  int32_t finish() const {
    const uint64_t failure = first_failure.load(std::memory_order_relaxed);
    if (failure != UINT64_MAX) return raise_error(int32_t(failure & 0xff));
    return aborted.load(std::memory_order_relaxed) ? raise_error(kAbort) : 0;
  }
};

// Whether the host wants an end. It is asked by one thread at a time.
bool abort_requested(ParallelThread thread) {
  if (relaxed(*getAbortWatchHandle()) == 0) return false;
  if (!thread) return checkAbortWatch();
  ParallelThread_synchronizeLock(thread);
  const bool requested = checkAbortWatch();
  ParallelThread_synchronizeUnlock(thread);
  return requested;
}

// Computes the piece [from, end), until an element of it fails or the rest is no longer wanted.
void compute_piece(Run& run, mint from, mint end, ParallelThread thread) {
  alignas(64) Buffer buffers[3];
  const Plan& plan = run.plan;
  const mint start = from;
  mint block = end - from < kShortRun ? end - from : plan.first_block(from);
  for (; from < end; from += block, block = plan.block()) {
    if (run.passed_by(from)) return;
    if (from - start >= plan.block() && abort_requested(thread)) {
      run.aborted.store(true, std::memory_order_relaxed);
      return;
    }
    const FirstFailure failure = plan.compute(from, end - from < block ? end - from : block, buffers);
    if (failure.index >= 0) return run.record(failure);
  }
}

void piece_body(void* run, ParallelThread thread) {
  compute_piece(*static_cast<Run*>(run), ParallelThread_RangeStart(thread), ParallelThread_RangeEnd(thread),
                thread);
}

// Whether a run was divided among the pool's threads.
bool divided(Run& run, int32_t threshold_class, mint n) {
  const mint threads = getParallelThreadNumber();
  const mint least = kLeastPiece[threshold_class];
  if (threads <= 1 || n < getVectorParallelLengthThreshold(threshold_class) || n < 2 * least) return false;
  const mint even = n / (threads * kPiecesPerThread);
  st_ParallelThreadsSchedule schedule = {2, even > least ? even : least, 0};
  constexpr int32_t kNoMemory = 23;  // for a pool: nothing has run
  return ParallelThreads_For(&run, nullptr, piece_body, 0, n, 1, &schedule) != kNoMemory;
}

}  // namespace

int32_t run_vector(const VectorKernel& kernel, void* result, const VectorOperand* operands, mint n,
                   uint32_t flags) {
  if (n <= 0) return 0;
  const Plan plan(kernel, result, operands, n, flags);
  Run run{plan};
  if (!divided(run, kernel.threshold_class, n)) compute_piece(run, 0, n, nullptr);
  return run.finish();
}

int32_t run_replacing(ReplacingStep step, mint element_size, void* result, const VectorOperand* operands,
                      void* c, mint c_step, mint n, uint32_t flags) {
  const auto* a = static_cast<const char*>(operands[0].data);
  const auto* b = static_cast<const char*>(operands[1].data);
  for (mint i = 0; i < n; ++i) {
    if (i > 0 && i % kDirectBlock == 0 && checkAbortWatch()) return raise_error(kAbort);
    const int32_t code = step(
        static_cast<char*>(result) + i * element_size, a + i * operands[0].step * element_size,
        b + i * operands[1].step * element_size, static_cast<char*>(c) + i * c_step * element_size, flags);
    if (code != 0) return raise_error(code);
  }
  return 0;
}

}  // namespace zenthar
