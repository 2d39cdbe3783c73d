// Runs a vector function over its blocks: what all vector functions of all targets have in common.
//
// A vector function of a target is a VectorKernel, loops over one block without and with checks, and a thin
// function of its own that hands it to run_vector(). The driver cuts the run into blocks, converts operands
// of narrower types and repeats scalar ones in buffers, rounds results that are stored in a narrower type,
// keeps operands that the result overwrites until they are no longer needed, and when a block reports a
// failure asks the kernel which element it was.
#ifndef ZENTHAR_KERNELS_VECTOR_DRIVER_H
#define ZENTHAR_KERNELS_VECTOR_DRIVER_H

#include "zenthar/types.h"

namespace zenthar {

// The first failing element of a block: its index and code; index -1 where none fails.
struct FirstFailure {
  mint index;
  int32_t code;
};

// Computes elements 0 to n - 1; not 0 when some element may have failed.
using BlockFunction = int64_t (*)(void* result, const void* const* operands, mint n);
// Finds the first failing element of a block that has been computed.
using LocateFunction = FirstFailure (*)(const void* result, const void* const* operands, mint n,
                                        uint32_t flags);
// Converts n elements; both runs are contiguous.
using ConvertFunction = void (*)(void* to, const void* from, mint n);
// Rounds n results to a narrower type; not 0 where one of them is no finite number then.
using NarrowFunction = int64_t (*)(void* to, const void* from, mint n);

// How the results of a kernel are stored that computes them in a wider type; empty where it does not.
struct NarrowedResults {
  NarrowFunction narrow = nullptr;
  ConvertFunction widen = nullptr;
  uint8_t size = 0;  // of an element as stored
};

struct VectorKernel {
  BlockFunction plain;
  BlockFunction checked;
  LocateFunction locate;
  ConvertFunction convert[3];  // null where the operand has the type it is evaluated in
  NarrowedResults narrowed;
  uint8_t operand_size[3];    // bytes of an element as given
  uint8_t evaluated_size[3];  // and as evaluated
  uint8_t result_size;        // as evaluated
  uint8_t arity;
  uint8_t threshold_class;
  uint8_t check;       // the flag that asks for `checked`
  bool plain_looks;    // whether finding a failure needs the operands, without checks
  bool checked_looks;  // and with them
  bool checks_result;  // whether checks look at the results
};

struct VectorOperand {
  const void* data;
  mint step;  // 0 or 1
};

// Returns 0, or the code that it has raised.
int32_t run_vector(const VectorKernel& kernel, void* result, const VectorOperand* operands, mint n,
                   uint32_t flags);

// One step of an operation that replaces its third operand: the failure's code, or 0 with everything written.
using ReplacingStep = int32_t (*)(void* result, const void* a, const void* b, void* c, uint32_t flags);
// Runs it over n elements in order; a third operand of step 0 is carried from element to element.
int32_t run_replacing(ReplacingStep step, mint element_size, void* result, const VectorOperand* operands,
                      void* c, mint c_step, mint n, uint32_t flags);

}  // namespace zenthar

#endif
