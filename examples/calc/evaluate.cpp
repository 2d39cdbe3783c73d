// The evaluator.
//
// All steps run on a chunk of rows before the next chunk begins: the registers stay in the cache, memory is
// needed for the result alone, and between two steps there is a check for Ctrl-C. An error does not tell its
// row, so the chunk is then computed again row by row: the first row that fails is the one to name, and it
// does not depend on the size of the chunks or the number of threads.
#include "evaluate.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "host.h"
#include "progress.h"
#include "text.h"

namespace zcalc {
namespace {

// Reals that are no numbers, and integers that overflow, are errors.
constexpr uint32_t kChecks = ZENTHAR_CHECK_REALS | ZENTHAR_CHECK_OVERFLOW;

struct Outcome {
  /// 0, an error that was raised, or the status of an allocation.
  int32_t code = 0;
  bool allocation = false;
};

class Machine {
 public:
  Machine(const Program& program, MTensor result)
      : program_(program), registers_(program.register_count), result_(result) {}

  /// Runs all steps on so many rows.
  Outcome run(mint start, mint count);
  /// After a run of one row that failed: the step, as a call with its operands.
  const Step& failed_step() const { return program_.steps[step_]; }
  std::string failed_call() const;

 private:
  static void run_guarded(void* machine, void* frame);
  void run_steps();
  void* destination(const Step& step, mint count);
  void* source(const Operand& operand);
  MTensor whole(const Operand& operand) const;
  void save_operands(const Step& step);
  void run_on_arrays(const Step& step);
  int32_t run_step(const Step& step, void* result, mint count);

  const Program& program_;
  std::vector<Array> registers_;
  MTensor result_;
  mint start_ = 0;
  mint count_ = 0;
  size_t step_ = 0;
  int32_t status_ = 0;
  bool allocation_failed_ = false;
  /// The operands of the last step of a run of one row, as they were before it.
  std::array<mcomplex, 3> operands_{};
};

Outcome Machine::run(mint start, mint count) {
  start_ = start;
  count_ = count;
  status_ = 0;
  allocation_failed_ = false;
  // The library runs the function that the frame leads to, and gives back what it raised, in every style.
  st_GuardedFunction function = {run_guarded};
  st_GuardedFrame frame = {&function};
  Outcome outcome{0, false};
  if (const CompilerError error = catchExceptionHandler(this, &frame)) {
    outcome.code = error->code;
    Delete_CompilerError(error);
  } else {
    outcome = {status_, allocation_failed_};
  }
  return outcome;
}

void Machine::run_guarded(void* machine, void*) { static_cast<Machine*>(machine)->run_steps(); }

/// An error may leave this function, and those it calls, by a jump: none of them has anything to destroy.
void Machine::run_steps() {
  for (step_ = 0; step_ < program_.steps.size(); ++step_) {
    if (checkAbortWatchThrow()) return;
    const Step& step = program_.steps[step_];
    if (step.result.scalar && step.operation != 0 && !step.writes_third) {
      run_on_arrays(step);
    } else {
      const mint count = step.result.scalar ? 1 : count_;
      void* result = destination(step, count);
      if (result == nullptr) return;
      save_operands(step);
      status_ = run_step(step, result, count);
    }
    if (status_ != 0) return;
  }
}

void Machine::save_operands(const Step& step) {
  if (count_ != 1) return;
  for (size_t i = 0; i < step.operand_count; ++i) {
    std::memcpy(&operands_[i], source(step.operands[i]), element_size(step.operands[i].type));
  }
}

/// Steps of scalars alone need no part of an array: the library finds the kernel and makes the result.
void Machine::run_on_arrays(const Step& step) {
  save_operands(step);
  const bool last = step_ + 1 == program_.steps.size();
  MTensor* const result = last ? &result_ : registers_[step.result.index].handle();
  const MTensor a = whole(step.operands[0]);
  switch (step.kind) {
    case Step::Kind::kUnary:
      status_ = MTensor_applyUnaryMachFunc(result, step.operation, a, kChecks, 1);
      break;
    case Step::Kind::kBinary:
      status_ = MTensor_applyBinaryMachFunc(result, step.operation, a, whole(step.operands[1]), kChecks, 1);
      break;
    default:
      status_ = MTensor_applyTernaryMachFunc(result, step.operation, a, whole(step.operands[1]),
                                             whole(step.operands[2]), kChecks, 1);
  }
  allocation_failed_ = status_ == ZENTHAR_ERROR_NEGATIVE_DIMENSION || status_ == ZENTHAR_ERROR_OUT_OF_MEMORY;
}

MTensor Machine::whole(const Operand& operand) const {
  const bool in_register = operand.kind == Operand::Kind::kRegister;
  return (in_register ? registers_ : program_.arrays)[operand.index].get();
}

/// Where the step writes: the last one into the result itself, the others into their registers.
void* Machine::destination(const Step& step, mint count) {
  const int32_t type = step.result.type;
  if (step_ + 1 == program_.steps.size()) {
    const mint offset = step.result.scalar ? 0 : start_;
    return static_cast<char*>(result_->data) + static_cast<size_t>(offset) * element_size(type);
  }
  // The register may hold an operand of this step: retyping it keeps the content.
  MTensor* handle = registers_[step.result.index].handle();
  status_ = MTensor_allocateCommon(handle, type, 1, &count, 1);
  allocation_failed_ = status_ != 0;
  return allocation_failed_ ? nullptr : (*handle)->data;
}

void* Machine::source(const Operand& operand) {
  if (operand.kind == Operand::Kind::kRegister) return registers_[operand.index].get()->data;
  const mint offset = operand.scalar || program_.arrays[operand.index].is_scalar() ? 0 : start_;
  return static_cast<char*>(program_.arrays[operand.index].get()->data) +
         static_cast<size_t>(offset) * element_size(operand.type);
}

int32_t Machine::run_step(const Step& step, void* result, mint count) {
  std::array<void*, 3> data{};
  std::array<mint, 3> steps{};
  for (size_t i = 0; i < step.operand_count; ++i) {
    data[i] = source(step.operands[i]);
    steps[i] = step.operands[i].scalar ? 0 : 1;
  }
  switch (step.kind) {
    case Step::Kind::kUnary:
      return step.unary(result, data[0], count, kChecks);
    case Step::Kind::kBinary:
      return step.binary(result, data[0], steps[0], data[1], steps[1], count, kChecks);
    case Step::Kind::kTernary:
      return step.ternary(result, data[0], steps[0], data[1], steps[1], data[2], steps[2], count, kChecks);
    case Step::Kind::kCount: {
      auto* values = static_cast<mint*>(result);
      for (mint i = 0; i < count; ++i) values[i] = step.first + start_ + i;
      return 0;
    }
    case Step::Kind::kCopy: {
      const size_t size = element_size(step.result.type);
      for (mint i = 0; i < count; ++i) {
        std::memcpy(static_cast<char*>(result) + static_cast<size_t>(i) * size,
                    static_cast<char*>(data[0]) + static_cast<size_t>(i * steps[0]) * size, size);
      }
      return 0;
    }
  }
  return 0;
}

std::string Machine::failed_call() const {
  const Step& step = failed_step();
  std::string text = step.name + "(";
  for (size_t i = 0; i < step.operand_count; ++i) {
    if (i > 0) text += ", ";
    if (step.operands[i].type == kInteger) {
      mint value;
      std::memcpy(&value, &operands_[i], sizeof value);
      text += std::to_string(value);
    } else if (step.operands[i].type == kReal) {
      text += real_text(operands_[i].re);
    } else {
      text += complex_text(real_text(operands_[i].re), real_text(operands_[i].im));
    }
  }
  return text + ")";
}

std::string progress_text(mint done, mint rows) {
  return grouped(done) + " of " + grouped(rows) + " rows done";
}

/// Finds the row of an error that a chunk of rows came back with, and tells it.
[[noreturn]] void fail(Machine& machine, const Program& program, mint start, mint count, Outcome outcome,
                       const EvaluateOptions& options) {
  if (outcome.allocation) throw allocation_failure(outcome.code);
  if (outcome.code == ZENTHAR_ERROR_ABORT) throw interruption(progress_text(start, program.rows));
  const auto message = [&] {
    return error_name(outcome.code) + " (error " + std::to_string(outcome.code) + ")";
  };
  for (mint row = start; row < start + count; ++row) {
    const Outcome again = machine.run(row, 1);
    if (again.code == 0) continue;
    if (again.allocation) throw allocation_failure(again.code);
    if (again.code == ZENTHAR_ERROR_ABORT) throw interruption(progress_text(start, program.rows));
    outcome = again;
    std::string where;
    if (!machine.failed_step().result.scalar) {
      where = " in row " + grouped(row + 1);
      if (program.from_data && options.row_label) where += options.row_label(row);
    }
    throw Failure(message() + where + ": " + machine.failed_call(), machine.failed_step().place);
  }
  throw Failure(message() + " in rows " + grouped(start + 1) + " to " + grouped(start + count));
}

/// Returns the first row that compiled code has left: with an error it ends, and the evaluator looks again.
mint run_compiled(const Runner& runner, MTensor result, mint rows, Progress& progress) {
  constexpr mint kRows = 8 * kChunkRows;  // its registers need no care
  mint start = 0;
  while (runner && start < rows) {
    const mint count = std::min(kRows, rows - start);
    if (runner(result, start, count) != 0) break;
    start += count;
    progress.update(start);
  }
  return start;
}

}  // namespace

Value evaluate(const Program& program, const EvaluateOptions& options) {
  if (program.steps.empty()) return {program.arrays[program.result.index], program.from_data};
  Array result = Array::allocate(program.result.type, program.rows, program.result.scalar ? 0 : 1);
  Machine machine(program, result.get());
  Progress progress(options.progress, "computing", "rows", program.rows);
  mint start =
      options.compile ? run_compiled(options.compile(program), result.get(), program.rows, progress) : 0;
  for (; start < program.rows; start += kChunkRows) {
    const mint count = std::min(kChunkRows, program.rows - start);
    const Outcome outcome = machine.run(start, count);
    if (outcome.code != 0) {
      progress.clear();
      fail(machine, program, start, count, outcome, options);
    }
    progress.update(start + count);
  }
  return {std::move(result), program.from_data};
}

}  // namespace zcalc
