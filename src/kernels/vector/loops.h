// The loops of the vector functions, made from the operations' definitions for one target.
#ifndef ZENTHAR_KERNELS_VECTOR_LOOPS_H
#define ZENTHAR_KERNELS_VECTOR_LOOPS_H

#include <utility>

#include "kernels/operations/elements.h"
#include "kernels/operations/rows.h"
#include "kernels/vector/driver.h"

namespace zenthar::ZENTHAR_TARGET {

// Not 0 for a NaN or an infinity: x - x is 0.0, whose bits are 0, for a finite x alone. Made of one
// subtraction and one OR, it costs a loop less than comparisons.
ZENTHAR_KERNEL int64_t probe(mreal x) { return __builtin_bit_cast(int64_t, x - x); }
ZENTHAR_KERNEL int64_t probe(mcomplex z) { return probe(z.re) | probe(z.im); }

// Computes a block of an operation on arguments of the types it names. A specialisation gives an operation a
// loop of its own; it may report a failure where there is none, but none that is may go unreported.
template <class Op, uint32_t kFlags, class... A>
struct Block {
  using R = Result<Op, A...>;

  static int64_t compute(void* result, const void* const* operands, mint n) {
    return loop(result, operands, n, std::make_integer_sequence<int, sizeof...(A)>{});
  }

  template <int... k>
  ZENTHAR_KERNEL static int64_t loop(void* result, const void* const* operands, mint n,
                                     std::integer_sequence<int, k...>) {
    const void* const own[] = {operands[k]...};
    int64_t failed = 0;
#pragma omp simd reduction(| : failed)
    for (mint i = 0; i < n; ++i) {
      const Outcome<R> outcome = evaluate_own<Op>(BlockChecks<kFlags>{}, load<A>(own[k], i)...);
      store(result, i, outcome.value);
      failed |= int64_t(outcome.failure);
      if constexpr ((kFlags & kCheckReals) != 0 && kChecksResult<Op, R>) failed |= probe(outcome.value);
    }
    return failed;
  }
};

// Looks at the elements of a computed block one by one. Whether the arguments failed is found by computing
// again, but a result is judged as it was stored.
template <class Op, class... A>
struct Locate {
  using R = Result<Op, A...>;

  static FirstFailure first(const void* result, const void* const* operands, mint n, uint32_t flags) {
    return first(result, operands, n, flags, std::make_integer_sequence<int, sizeof...(A)>{});
  }

  template <int... k>
  static FirstFailure first(const void* result, const void* const* operands, mint n, uint32_t flags,
                            std::integer_sequence<int, k...>) {
    for (mint i = 0; i < n; ++i) {
      Failure failure = Failure::kNone;
      if constexpr (HasChecked<Op, A...>)
        failure = evaluate_own<Op>(CallChecks{flags}, load<A>(operands[k], i)...).failure;
      if constexpr (kChecksResult<Op, R>) {
        if (failure == Failure::kNone && (flags & kCheckReals)) failure = failure_of(load<R>(result, i));
      }
      if (failure != Failure::kNone) return {i, code_of(failure)};
    }
    return {-1, 0};
  }
};

template <class To, class From>
void convert(void* to, const void* from, mint n) {
#pragma omp simd
  for (mint i = 0; i < n; ++i) store(to, i, widen<To>(load<From>(from, i)));
}

template <class To, class From>
constexpr ConvertFunction converter() {
  if constexpr (std::is_same_v<To, From>) {
    return nullptr;
  } else {
    return convert<To, From>;
  }
}

// The kernel of an operation for arguments of types A, evaluated in types E.
template <class Op, class... A, class... E>
constexpr VectorKernel make_kernel(ThresholdClass threshold_class, Types<E...>) {
  using R = Result<Op, E...>;
  // A real result is checked under flag 2, an integer one under flag 4.
  constexpr uint32_t kCheck = std::is_same_v<R, mint> ? kCheckOverflow : kCheckReals;
  constexpr bool kLooks = HasChecked<Op, E...>;
  return {
      .plain = Block<Op, 0, E...>::compute,
      .checked = Block<Op, kCheck, E...>::compute,
      .locate = Locate<Op, E...>::first,
      .convert = {converter<E, A>()...},
      .operand_size = {sizeof(A)...},
      .evaluated_size = {sizeof(E)...},
      .result_size = sizeof(R),
      .arity = sizeof...(A),
      .threshold_class = uint8_t(threshold_class),
      .check = kCheck,
      .plain_looks = kLooks && !FailsOnlyChecked<Op>,
      .checked_looks = kLooks,
  };
}

template <class Op, ThresholdClass kClass, class... A>
inline constexpr VectorKernel kKernel = make_kernel<Op, A...>(kClass, Resolved<Op, A...>{});

template <class Op, ThresholdClass kClass, class A>
int32_t unary_vector(void* result, const void* a, mint n, uint32_t flags) {
  const VectorOperand operands[] = {{a, 1}};
  return run_vector(kKernel<Op, kClass, A>, result, operands, n, flags);
}

template <class Op, ThresholdClass kClass, class A, class B>
int32_t binary_vector(void* result, const void* a, mint a_step, const void* b, mint b_step, mint n,
                      uint32_t flags) {
  const VectorOperand operands[] = {{a, a_step}, {b, b_step}};
  return run_vector(kKernel<Op, kClass, A, B>, result, operands, n, flags);
}

template <class Op, class T>
int32_t replacing_step(void* result, const void* a, const void* b, void* c, uint32_t flags) {
  const auto outcome = evaluate<Op>(CallChecks{flags}, load<T>(a), load<T>(b), load<T>(c));
  Failure failure = outcome.failure;
  if (flags & kCheckReals)
    failure = either(failure, either(failure_of(outcome.value.sum), failure_of(outcome.value.compensation)));
  if (failure != Failure::kNone) return code_of(failure);
  store(result, outcome.value.sum);
  store(c, outcome.value.compensation);
  return 0;
}

template <class Op, ThresholdClass kClass, class A, class B, class C>
int32_t ternary_vector(void* result, const void* a, mint a_step, const void* b, mint b_step, void* c,
                       mint c_step, mint n, uint32_t flags) {
  const VectorOperand operands[] = {{a, a_step}, {b, b_step}, {c, c_step}};
  if constexpr (kIsCompensated<Result<Op, A, B, C>>) {
    return run_replacing(replacing_step<Op, A>, sizeof(A), result, operands, c, c_step, n, flags);
  } else {
    return run_vector(kKernel<Op, kClass, A, B, C>, result, operands, n, flags);
  }
}

struct MakeVectorFunction {
  template <class Op, ThresholdClass kClass, class A>
  static constexpr UnaryVectorFunction unary() {
    return unary_vector<Op, kClass, A>;
  }
  template <class Op, ThresholdClass kClass, class A, class B>
  static constexpr BinaryVectorFunction binary() {
    return binary_vector<Op, kClass, A, B>;
  }
  template <class Op, ThresholdClass kClass, class A, class B, class C>
  static constexpr TernaryVectorFunction ternary() {
    return ternary_vector<Op, kClass, A, B, C>;
  }
};

extern const VectorTables kVectorTables;
extern const UnaryVectorRow kUnaryInteger, kUnaryReal, kUnaryComplex;
extern const BinaryVectorRow kBinaryInteger, kBinaryReal, kBinaryComplex;
extern const TernaryVectorRow kTernaryInteger, kTernaryReal, kTernaryComplex;

}  // namespace zenthar::ZENTHAR_TARGET

#endif
