#include "kernels/vector/driver.h"

#include <cstring>

#include "kernels/scalar/raise.h"
#include "zenthar/errors.h"

namespace zenthar {
namespace {

// Elements of a block whose operands are read where they are, and bytes of an operand's buffer otherwise.
// Abort requests are looked for between blocks.
constexpr mint kDirectBlock = 4096;
constexpr mint kBufferBytes = 8192;

// Runs too short to be worth an alignment.
constexpr mint kShortRun = 128;

constexpr int32_t kAbort = 34;

// A run under way: where each operand's next block comes from.
class Run {
 public:
  Run(const VectorKernel& kernel, void* result, const VectorOperand* operands, mint n, uint32_t flags)
      : kernel_(kernel), result_(static_cast<char*>(result)), flags_(flags) {
    const bool checked = flags & kernel.check;
    function_ = checked ? kernel.checked : kernel.plain;
    const bool looks = checked ? kernel.checked_looks : kernel.plain_looks;
    for (int k = 0; k < kernel.arity; ++k) {
      Source& source = sources_[k];
      source.data = static_cast<const char*>(operands[k].data);
      const bool repeated = operands[k].step == 0;
      const bool overwritten =
          looks && overlaps(source.data, n * kernel.operand_size[k], n * kernel.result_size);
      source.way = repeated                       ? Way::kRepeat
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

  // The length of the first block. It is cut so that the others' results begin with a cache line: of vectors
  // as long as a line, every one would otherwise straddle two.
  mint first_block() const {
    constexpr uintptr_t kLine = 64;
    const uintptr_t before = -reinterpret_cast<uintptr_t>(result_) % kLine;
    return before != 0 && before % kernel_.result_size == 0 ? mint(before / kernel_.result_size) : block_;
  }

  // Computes elements [from, from + n), at most a block of them.
  FirstFailure compute(mint from, mint n) {
    const void* operands[3];
    for (int k = 0; k < kernel_.arity; ++k) operands[k] = operand(k, from, n);
    char* const result = result_ + from * kernel_.result_size;
    if (function_(result, operands, n) == 0) [[likely]]
      return {-1, 0};
    FirstFailure failure = kernel_.locate(result, operands, n, flags_);
    if (failure.index >= 0) failure.index += from;
    return failure;
  }

 private:
  enum class Way { kDirect, kRepeat, kConvert, kKeep };
  struct Source {
    const char* data;
    Way way;
  };

  bool overlaps(const char* data, mint bytes, mint result_bytes) const {
    const auto a = reinterpret_cast<uintptr_t>(data), r = reinterpret_cast<uintptr_t>(result_);
    return a < r + uintptr_t(result_bytes) && r < a + uintptr_t(bytes);
  }

  // Fills an operand's buffer with its only element, which is read before anything is written.
  void repeat(int k, mint n) {
    const mint size = kernel_.evaluated_size[k];
    char* const buffer = buffers_[k];
    if (kernel_.convert[k]) {
      kernel_.convert[k](buffer, sources_[k].data, 1);
    } else {
      std::memcpy(buffer, sources_[k].data, size_t(size));
    }
    for (mint filled = 1; filled < n;) {
      const mint more = filled < n - filled ? filled : n - filled;
      std::memcpy(buffer + filled * size, buffer, size_t(more * size));
      filled += more;
    }
  }

  const void* operand(int k, mint from, mint n) {
    const Source& source = sources_[k];
    const char* const data = source.data + from * kernel_.operand_size[k];
    switch (source.way) {
      case Way::kDirect:
        return data;
      case Way::kRepeat:
        break;
      case Way::kConvert:
        kernel_.convert[k](buffers_[k], data, n);
        break;
      case Way::kKeep:
        std::memcpy(buffers_[k], data, size_t(n * kernel_.evaluated_size[k]));
        break;
    }
    return buffers_[k];
  }

  const VectorKernel& kernel_;
  char* result_;
  uint32_t flags_;
  BlockFunction function_;
  mint block_ = kDirectBlock;
  Source sources_[3];
  alignas(64) char buffers_[3][kBufferBytes];
};

}  // namespace

int32_t run_vector(const VectorKernel& kernel, void* result, const VectorOperand* operands, mint n,
                   uint32_t flags) {
  if (n <= 0) return 0;
  Run run(kernel, result, operands, n, flags);
  mint block = n < kShortRun ? n : run.first_block();
  for (mint from = 0; from < n; from += block, block = run.block()) {
    if (from >= run.block() && checkAbortWatch()) return raise_error(kAbort);
    const mint rest = n - from;
    const FirstFailure failure = run.compute(from, rest < block ? rest : block);
    if (failure.index >= 0) return raise_error(failure.code);
  }
  return 0;
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
