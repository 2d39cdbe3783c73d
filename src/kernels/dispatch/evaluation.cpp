// Operations on whole arrays. Where the operands can be read as they are, this is one call of a vector
// function; else the run is cut into blocks, and what is converted or repeated goes through buffers on the
// stack. Nothing in a guarded call has a destructor: an error may leave it by a jump.
#include "zenthar/evaluation.h"

#include <cstring>

#include "array/array.h"
#include "errors/errors.h"
#include "kernels/dispatch/choice.h"
#include "kernels/dispatch/conversion.h"
#include "kernels/dispatch/records.h"
#include "kernels/vector/targets.h"
#include "zenthar/errors.h"

namespace zenthar {
namespace {

constexpr mint kBufferBytes = 16384;
// Blocks between two looks for abort requests.
constexpr mint kBlocksPerLook = 4;

mint size_of(int32_t type) { return MNumericArray_typeSizeTable[type]; }

struct Operand {
  MNumericArray array;
  mint size;            // bytes of an element
  Conversion convert;   // null where elements are read as they are
  mint evaluated_size;  // and bytes after it
  mint repeat;          // elements of the result that each element stands beside
  bool scalar;          // stands beside all
};

// n elements of which each is repeated, beginning with the one at `from` after `first` times.
template <size_t kSize>
void repeat_each(char* to, const char* from, mint repeat, mint first, mint n) {
  for (mint i = 0, left = repeat - first; i < n; left = repeat, from += kSize) {
    const mint end = n - i < left ? n : i + left;
    for (; i < end; ++i) std::memcpy(to + i * mint(kSize), from, kSize);
  }
}

void repeat_elements(char* to, const char* from, mint size, mint repeat, mint first, mint n) {
  switch (size) {
    case 1:
      return repeat_each<1>(to, from, repeat, first, n);
    case 2:
      return repeat_each<2>(to, from, repeat, first, n);
    case 4:
      return repeat_each<4>(to, from, repeat, first, n);
    case 8:
      return repeat_each<8>(to, from, repeat, first, n);
    default:
      return repeat_each<16>(to, from, repeat, first, n);
  }
}

struct Evaluation {
  int32_t op;
  int32_t arity;
  uint32_t flags;
  Choice choice = {};
  Operand operands[3] = {};
  mint rank = 0;
  const mint* dimensions = nullptr;
  mint length = 0;
  MNumericArray result = nullptr;
  int32_t code = 0;
  bool ended = false;

  int32_t prepare(const MNumericArray* arrays);
  int32_t run();

 private:
  int32_t prepare_compensation();
  bool reads_directly() const;
  int32_t call(char* to, const void* const* data, const mint* steps, mint n) const;
  int32_t run_directly() const;
  int32_t run_in_blocks() const;
};

// Finds the record and the result's shape; a code where there is none.
int32_t Evaluation::prepare(const MNumericArray* arrays) {
  int32_t types[3];
  MNumericArray longest = arrays[0];
  for (int32_t k = 0; k < arity; ++k) {
    const MNumericArray array = arrays[k];
    if (!array || (!array->data && array->flattenedLength > 0)) return ZENTHAR_ERROR_ARGUMENT;
    types[k] = array->numericType;
    if (array->rank > longest->rank) longest = array;
  }
  choice = choose_record(op, arity, types);
  if (choice.result_type == 0) return ZENTHAR_ERROR_UNIMPLEMENTED;
  rank = longest->rank;
  dimensions = longest->dimensions;
  length = longest->flattenedLength;
  for (int32_t k = 0; k < arity; ++k) {
    const MNumericArray array = arrays[k];
    if (!MNumericArray_compatibleDimensionsQ(array, longest)) return ZENTHAR_ERROR_DIMENSION;
    const int32_t evaluated = choice.evaluated[k];
    operands[k] = {.array = array,
                   .size = size_of(types[k]),
                   .convert = types[k] == evaluated ? nullptr : conversion(types[k], evaluated),
                   .evaluated_size = size_of(evaluated),
                   .repeat = array->flattenedLength > 0 ? length / array->flattenedLength : 1,
                   .scalar = array->rank == 0};
  }
  return op == MACHFUNC_COMPPLUS ? prepare_compensation() : 0;
}

// The third operand of a compensated sum is written, so it must be what the kernel writes to.
int32_t Evaluation::prepare_compensation() {
  const Operand& c = operands[2];
  if (c.convert) return ZENTHAR_ERROR_UNIMPLEMENTED;
  if (c.array == operands[0].array || c.array == operands[1].array) return ZENTHAR_ERROR_ARGUMENT;
  return c.scalar || c.repeat == 1 ? 0 : ZENTHAR_ERROR_DIMENSION;
}

bool Evaluation::reads_directly() const {
  for (int32_t k = 0; k < arity; ++k)
    if (operands[k].convert || !(operands[k].scalar || operands[k].repeat == 1)) return false;
  return true;
}

int32_t Evaluation::call(char* to, const void* const* data, const mint* steps, mint n) const {
  const int32_t* const types = choice.evaluated;
  if (arity == 1) return vector_tables->entry(op, types[0])(to, data[0], n, flags);
  if (arity == 2)
    return vector_tables->entry(op, types[0], types[1])(to, data[0], steps[0], data[1], steps[1], n, flags);
  return vector_tables->entry(op, types[0], types[1], types[2])(
      to, data[0], steps[0], data[1], steps[1], const_cast<void*>(data[2]), steps[2], n, flags);
}

int32_t Evaluation::run_directly() const {
  const void* data[3] = {};
  mint steps[3] = {};
  for (int32_t k = 0; k < arity; ++k) {
    data[k] = operands[k].array->data;
    steps[k] = operands[k].scalar ? 0 : 1;
  }
  return call(static_cast<char*>(result->data), data, steps, length);
}

int32_t Evaluation::run_in_blocks() const {
  alignas(64) char buffers[3][kBufferBytes];
  alignas(64) char repeated[kBufferBytes];
  const void* data[3] = {};
  mint steps[3] = {};
  mint block = kBufferBytes;
  for (int32_t k = 0; k < arity; ++k) {
    const Operand& operand = operands[k];
    if (block > kBufferBytes / operand.evaluated_size) block = kBufferBytes / operand.evaluated_size;
    steps[k] = operand.scalar ? 0 : 1;
    if (!operand.scalar) continue;
    data[k] = operand.convert ? buffers[k] : operand.array->data;
    if (operand.convert && !operand.convert(buffers[k], operand.array->data, 1))
      return ZENTHAR_ERROR_INTEGER_OVERFLOW;
  }
  mint blocks = 0;
  for (mint from = 0; from < length; from += block) {
    if (++blocks % kBlocksPerLook == 0 && relaxed(*getAbortWatchHandle()) != 0 && checkAbortWatch())
      return ZENTHAR_ERROR_ABORT;
    const mint n = length - from < block ? length - from : block;
    for (int32_t k = 0; k < arity; ++k) {
      const Operand& operand = operands[k];
      if (operand.scalar) continue;
      const char* source =
          static_cast<const char*>(operand.array->data) + from / operand.repeat * operand.size;
      if (operand.repeat > 1) {
        char* const to = operand.convert ? repeated : buffers[k];
        repeat_elements(to, source, operand.size, operand.repeat, from % operand.repeat, n);
        source = to;
      }
      if (operand.convert) {
        if (!operand.convert(buffers[k], source, n)) return ZENTHAR_ERROR_INTEGER_OVERFLOW;
        source = buffers[k];
      }
      data[k] = source;
    }
    char* const to = static_cast<char*>(result->data) + from * size_of(choice.result_type);
    if (const int32_t failure = call(to, data, steps, n)) return failure;
  }
  return 0;
}

void run_guarded(void* self, void*) {
  auto& evaluation = *static_cast<Evaluation*>(self);
  evaluation.code = evaluation.run();
  evaluation.ended = true;
}

int32_t Evaluation::run() { return reads_directly() ? run_directly() : run_in_blocks(); }

// Runs it with whatever is raised caught. A code that came back counts, since the exception-active flag is
// every thread's.
int32_t run_caught(Evaluation& evaluation) {
  st_GuardedFunction function = {run_guarded};
  st_GuardedFrame frame = {&function};
  if (const CompilerError error = catchExceptionHandler(&evaluation, &frame)) {
    if (!evaluation.ended) evaluation.code = error->code;
    Delete_CompilerError(error);
  }
  return evaluation.code;
}

// Whether an operand is the result, and can be read where the result is written.
bool fits_in_place(const Evaluation& evaluation, MNumericArray array) {
  return array->rank == evaluation.rank &&
         size_of(array->numericType) == size_of(evaluation.choice.result_type);
}

int32_t apply(MNumericArray* handle, int32_t op, int32_t arity, const MNumericArray* arrays, uint32_t flags,
              int32_t mode) {
  if (!handle) return ZENTHAR_ERROR_ARGUMENT;
  Evaluation evaluation = {.op = op, .arity = arity, .flags = flags};
  if (const int32_t code = evaluation.prepare(arrays)) return code;
  MNumericArray& result = evaluation.result;
  bool apart = *handle == nullptr;
  for (int32_t k = 0; k < arity; ++k) {
    if (arrays[k] != *handle) continue;
    if (op == MACHFUNC_COMPPLUS && k == 2) return ZENTHAR_ERROR_ARGUMENT;
    apart |= !fits_in_place(evaluation, arrays[k]);
  }
  MNumericArray made = nullptr;
  const mint scalar_dimensions[] = {1};
  const mint* const dimensions = evaluation.rank == 0 ? scalar_dimensions : evaluation.dimensions;
  if (const int32_t code = MNumericArray_allocateCommon(apart ? &made : handle, evaluation.choice.result_type,
                                                        evaluation.rank, dimensions, mode))
    return code;
  result = apart ? made : *handle;
  const int32_t code = evaluation.length == 0 ? 0 : run_caught(evaluation);
  if (!made) return code;
  if (code == 0 && !*handle) {
    *handle = made;
  } else {
    if (code == 0) exchange_contents(*handle, made);
    MNumericArray_delete(made);
  }
  return code;
}

}  // namespace
}  // namespace zenthar

using namespace zenthar;

int32_t MNumericArray_applyUnaryMachFunc(MNumericArray* handle, int32_t op, MNumericArray a, uint32_t flags,
                                         int32_t mode) {
  const MNumericArray arrays[] = {a};
  return apply(handle, op, 1, arrays, flags, mode);
}

int32_t MNumericArray_applyBinaryMachFunc(MNumericArray* handle, int32_t op, MNumericArray a, MNumericArray b,
                                          uint32_t flags, int32_t mode) {
  const MNumericArray arrays[] = {a, b};
  return apply(handle, op, 2, arrays, flags, mode);
}

int32_t MNumericArray_applyTernaryMachFunc(MNumericArray* handle, int32_t op, MNumericArray a,
                                           MNumericArray b, MNumericArray c, uint32_t flags, int32_t mode) {
  const MNumericArray arrays[] = {a, b, c};
  return apply(handle, op, 3, arrays, flags, mode);
}

int32_t MTensor_applyUnaryMachFunc(MTensor* handle, int32_t op, MTensor a, uint32_t flags, int32_t mode) {
  return MNumericArray_applyUnaryMachFunc(handle, op, a, flags, mode);
}

int32_t MTensor_applyBinaryMachFunc(MTensor* handle, int32_t op, MTensor a, MTensor b, uint32_t flags,
                                    int32_t mode) {
  return MNumericArray_applyBinaryMachFunc(handle, op, a, b, flags, mode);
}

int32_t MTensor_applyTernaryMachFunc(MTensor* handle, int32_t op, MTensor a, MTensor b, MTensor c,
                                     uint32_t flags, int32_t mode) {
  return MNumericArray_applyTernaryMachFunc(handle, op, a, b, c, flags, mode);
}
