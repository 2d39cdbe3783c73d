// The scalar functions of the records, which take pointers to elements, aligned or not.
#ifndef ZENTHAR_KERNELS_SCALAR_RECORDS_H
#define ZENTHAR_KERNELS_SCALAR_RECORDS_H

#include "kernels/operations/rows.h"
#include "kernels/scalar/scalar_call.h"

namespace zenthar::ZENTHAR_TARGET {

template <class Op, class A>
int32_t unary_record(void* result, const void* a, uint32_t flags) {
  return scalar_call<Op>(result, flags, load<A>(a));
}

template <class Op, class A, class B>
int32_t binary_record(void* result, const void* a, const void* b, uint32_t flags) {
  return scalar_call<Op>(result, flags, load<A>(a), load<B>(b));
}

template <class Op, class A, class B, class C>
int32_t ternary_record(void* result, const void* a, const void* b, void* c, uint32_t flags) {
  if constexpr (kIsCompensated<Result<Op, A, B, C>>) {
    return compensated_call<Op>(result, flags, load<A>(a), load<A>(b), c);
  } else {
    return scalar_call<Op>(result, flags, load<A>(a), load<B>(b), load<C>(c));
  }
}

struct MakeScalarRecord {
  using Tables = ScalarTables;
  template <class Op, ThresholdClass, class A>
  static constexpr ScalarRecord<UnaryScalarFunction> unary() {
    return {unary_record<Op, A>, kTypeId<Result<Op, A>>};
  }
  template <class Op, ThresholdClass, class A, class B>
  static constexpr ScalarRecord<BinaryScalarFunction> binary() {
    return {binary_record<Op, A, B>, kTypeId<Result<Op, A, B>>};
  }
  template <class Op, ThresholdClass, class A, class B, class C>
  static constexpr ScalarRecord<TernaryScalarFunction> ternary() {
    return {ternary_record<Op, A, B, C>, kTypeId<Result<Op, A, B, C>>};
  }
};

template <class A>
using ScalarRows = Rows<MakeScalarRecord, A>;

}  // namespace zenthar::ZENTHAR_TARGET

#endif
