// A scalar function made of an operation: computes, checks, and lets a failure out by its channel.
#ifndef ZENTHAR_KERNELS_SCALAR_SCALAR_CALL_H
#define ZENTHAR_KERNELS_SCALAR_SCALAR_CALL_H

#include "kernels/operations/all.h"
#include "kernels/operations/elements.h"
#include "kernels/scalar/raise.h"

namespace zenthar::ZENTHAR_TARGET {

ZENTHAR_KERNEL int32_t status_of(Failure failure) {
  return int64_t(failure) & int64_t(Failure::kRaised) ? raise_error(code_of(failure)) : 1;
}

// As functions of their own, which take the parts in registers, so that the way through needs no stack.
[[gnu::cold, gnu::noinline]] inline int32_t raise_parts(mreal re, mreal im) {
  return raise_error(code_of(failure_of(mcomplex{re, im})));
}
ZENTHAR_KERNEL int32_t raise_result(mreal x) { return raise_parts(x, 0.0); }
template <AnyComplex Z>
ZENTHAR_KERNEL int32_t raise_result(Z z) {
  return raise_parts(z.re, z.im);
}

template <class Op, class... A>
ZENTHAR_KERNEL int32_t scalar_call(void* result, uint32_t flags, A... a) {
  const auto outcome = evaluate<Op>(CallChecks{flags}, a...);
  if (outcome.failure != Failure::kNone) [[unlikely]]
    return status_of(outcome.failure);
  if constexpr (kChecksResult<Op, Result<Op, A...>>) {
    if ((flags & kCheckReals) && !is_finite(outcome.value)) [[unlikely]]
      return raise_result(outcome.value);
  }
  store(result, outcome.value);
  return 0;
}

// The same for operations that replace their last argument.
template <class Op, class T>
ZENTHAR_KERNEL int32_t compensated_call(void* result, uint32_t flags, T a, T b, void* compensation) {
  const auto outcome = evaluate<Op>(CallChecks{flags}, a, b, load<T>(compensation));
  if (outcome.failure != Failure::kNone) [[unlikely]]
    return status_of(outcome.failure);
  if (flags & kCheckReals) {
    if (!is_finite(outcome.value.sum)) [[unlikely]]
      return raise_result(outcome.value.sum);
    if (!is_finite(outcome.value.compensation)) [[unlikely]]
      return raise_result(outcome.value.compensation);
  }
  store(result, outcome.value.sum);
  store(compensation, outcome.value.compensation);
  return 0;
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
