// The loops of the vector functions, made from the operations' definitions for one target.
#ifndef ZENTHAR_KERNELS_VECTOR_LOOPS_H
#define ZENTHAR_KERNELS_VECTOR_LOOPS_H

#include <utility>

#include "kernels/operations/elements.h"
#include "kernels/operations/rows.h"
#include "kernels/vector/block.h"
#include "kernels/vector/driver.h"

namespace zenthar::ZENTHAR_TARGET {

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
      if constexpr (CanFail<Op, A...>)
        failure = evaluate_own<Op>(CallChecks{flags}, load<A>(operands[k], i)...).failure;
      if constexpr (kChecksResult<Op, R>) {
        if (failure == Failure::kNone && (flags & kCheckReals)) failure = failure_of(load<R>(result, i));
      }
      if (failure != Failure::kNone) return {i, code_of(failure)};
    }
    return {-1, 0};
  }
};

// The nearest real, by two halves that are exact, where the target has no instruction for vectors of them:
// 2^84 + 2^63 + the upper half and 2^52 + the lower half are put together as bits, and one sum rounds.
ZENTHAR_KERNEL mreal nearest_real(mint x) {
#ifdef __AVX512DQ__
  return mreal(x);
#else
  const auto bits = uint64_t(x);
  const auto upper = __builtin_bit_cast(mreal, bits >> 32 ^ 0x4530000080000000);
  const auto lower = __builtin_bit_cast(mreal, (bits & 0xffffffff) | 0x4330000000000000);
  return (upper - (0x1p84 + 0x1p63 + 0x1p52)) + lower;
#endif
}

template <class To, class From>
void convert(void* to, const void* from, mint n) {
  if constexpr (std::is_same_v<From, complex32>) {
    convert<mreal, float>(to, from, 2 * n);
  } else {
#pragma omp simd
    for (mint i = 0; i < n; ++i) {
      if constexpr (std::is_same_v<From, mint>) {
        store(to, i, widen<To>(nearest_real(load<mint>(from, i))));
      } else {
        store(to, i, widen<To>(load<From>(from, i)));
      }
    }
  }
}

// Rounds n reals; not 0 where one of them is no finite number then.
inline int64_t narrow_reals(void* to, const void* from, mint n) {
  int32_t failed = 0;
#pragma omp simd reduction(| : failed)
  for (mint i = 0; i < n; ++i) {
    const auto x = float(load<mreal>(from, i));
    store(to, i, x);
    failed |= probe(x);
  }
  return failed;
}
inline int64_t narrow_complexes(void* to, const void* from, mint n) { return narrow_reals(to, from, 2 * n); }

template <class To, class From>
constexpr ConvertFunction converter() {
  if constexpr (std::is_same_v<To, From>) {
    return nullptr;
  } else {
    return convert<To, From>;
  }
}

// The results of a kernel that is evaluated in doubled types.
template <class R, class Evaluated>
constexpr NarrowedResults narrowed_results() {
  if constexpr (std::is_same_v<R, Evaluated> || kIsCompensated<R>) {
    return {};
  } else if constexpr (AnyReal<R>) {
    return {narrow_reals, convert<Evaluated, R>, sizeof(R)};
  } else {
    return {narrow_complexes, convert<Evaluated, R>, sizeof(R)};
  }
}

// The kernel of an operation for arguments of types A, evaluated in types E.
template <class Op, class... A, class... E>
constexpr VectorKernel make_kernel(ThresholdClass threshold_class, Types<E...>) {
  using R = Result<Op, E...>;
  // A real result is checked under flag 2, an integer one under flag 4.
  constexpr uint32_t kCheck = AnyInteger<R> ? kCheckOverflow : kCheckReals;
  constexpr bool kLooks = CanFail<Op, E...>;
  constexpr uint32_t kChecked = kLooks || kChecksResult<Op, R> ? kCheck : 0;  // at 0 one loop is enough
  return {
      .plain = Block<Op, 0, E...>::compute,
      .checked = Block<Op, kChecked, E...>::compute,
      .locate = Locate<Op, E...>::first,
      .convert = {converter<E, A>()...},
      .narrowed = narrowed_results<Result<Op, A...>, R>(),
      .operand_size = {sizeof(A)...},
      .evaluated_size = {sizeof(E)...},
      .result_size = sizeof(R),
      .arity = sizeof...(A),
      .threshold_class = uint8_t(threshold_class),
      .check = kCheck,
      .plain_looks = kLooks && !FailsOnlyChecked<Op>,
      .checked_looks = kLooks,
      .checks_result = kChecksResult<Op, R>,
  };
}

// The types that loops evaluate arguments in: the operation's own, or what it is doubled to where there is no
// vector form for those.
template <class Op, class... E>
constexpr auto evaluated_in(Types<E...>) {
  if constexpr (HasForm<Op, E...> || kHasVectorForm<Op, E...>) {
    return Types<E...>{};
  } else {
    return Types<Doubled<E>...>{};
  }
}

template <class Op, ThresholdClass kClass, class... A>
inline constexpr VectorKernel kKernel = make_kernel<Op, A...>(kClass, evaluated_in<Op>(Resolved<Op, A...>{}));

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
  using Tables = VectorTables;
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

template <class A>
using VectorRows = Rows<MakeVectorFunction, A>;

extern const VectorTables kVectorTables;

}  // namespace zenthar::ZENTHAR_TARGET

#endif
