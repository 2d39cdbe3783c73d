// Fills the rows of the constant tables from the table of operations: Make::template unary<Op, A>(class) and
// so on give the entry of one operation for one combination of types.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ROWS_H
#define ZENTHAR_KERNELS_OPERATIONS_ROWS_H

#include "kernels/dispatch/records.h"
#include "kernels/operations/all.h"
#include "kernels/operations/table.h"

namespace zenthar::ZENTHAR_TARGET {

// Threshold classes.
enum ThresholdClass : int32_t {
  kCheap,       // arithmetic and comparison
  kRoots,       // division, roots and rounding
  kElementary,  // elementary functions
  kSpecial,     // special functions and complex elementary functions
  kProducts,    // reductions and products
};

// Elementary functions of complexes stand with the special functions.
template <class... A>
constexpr ThresholdClass class_for(ThresholdClass named) {
  return named == kElementary && widest(kWidth<A>...) == 2 ? kSpecial : named;
}

template <class T>
inline constexpr int32_t kTypeId = kTypeOfSlot[kWidth<T>];
template <class T>
inline constexpr int32_t kTypeId<Compensated<T>> = kTypeId<T>;

template <class R>
inline constexpr bool kIsCompensated = false;
template <class R>
inline constexpr bool kIsCompensated<Compensated<R>> = true;

template <class Make, class Row, class A>
constexpr Row unary_row() {
  Row row;
#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  if constexpr (has_record<Op, A>())                    \
    row.at[id - kUnary.first] = Make::template unary<Op, class_for<A>(threshold_class), A>();
  ZENTHAR_UNARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW
  return row;
}

template <class Make, class Row, class A, class B>
constexpr void fill_binary(Row& row) {
#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  if constexpr (has_record<Op, A, B>())                 \
    row.at[kWidth<B>][id - kBinary.first] =             \
        Make::template binary<Op, class_for<A, B>(threshold_class), A, B>();
  ZENTHAR_BINARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW
}

template <class Make, class Row, class A>
constexpr Row binary_row() {
  Row row;
  fill_binary<Make, Row, A, mint>(row);
  fill_binary<Make, Row, A, mreal>(row);
  fill_binary<Make, Row, A, mcomplex>(row);
  return row;
}

// An operation that replaces its third argument takes the types it names alone.
template <class Op, class A, class B, class C>
constexpr bool has_ternary_record() {
  if constexpr (has_record<Op, A, B, C>()) {
    return kAllSame<A, B, C> || !kIsCompensated<Result<Op, A, B, C>>;
  } else {
    return false;
  }
}

template <class Make, class Row, class A, class B, class C>
constexpr void fill_ternary([[maybe_unused]] Row& row) {
#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  if constexpr (has_ternary_record<Op, A, B, C>())      \
    row.at[kWidth<B>][kWidth<C>][id - kTernary.first] = \
        Make::template ternary<Op, class_for<A, B, C>(threshold_class), A, B, C>();
  ZENTHAR_TERNARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW
}

template <class Make, class Row, class A, class B>
constexpr void fill_ternary_with(Row& row) {
  fill_ternary<Make, Row, A, B, mint>(row);
  fill_ternary<Make, Row, A, B, mreal>(row);
  fill_ternary<Make, Row, A, B, mcomplex>(row);
}

template <class Make, class Row, class A>
constexpr Row ternary_row() {
  Row row;
  fill_ternary_with<Make, Row, A, mint>(row);
  fill_ternary_with<Make, Row, A, mreal>(row);
  fill_ternary_with<Make, Row, A, mcomplex>(row);
  return row;
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
