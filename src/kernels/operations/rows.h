// Fills the rows of the constant tables from the table of operations: Make::template unary<Op, class, A>()
// and so on give the entry of one operation for one combination of types, Make::Tables says what tables they
// are for.
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
  return named == kElementary && (AnyComplex<A> || ...) ? kSpecial : named;
}

template <class T>
inline constexpr int32_t kTypeId = 0;
template <class T>
inline constexpr int32_t kTypeId<Compensated<T>> = kTypeId<T>;
template <>
inline constexpr int32_t kTypeId<int8_t> = 1;
template <>
inline constexpr int32_t kTypeId<uint8_t> = 2;
template <>
inline constexpr int32_t kTypeId<int16_t> = 3;
template <>
inline constexpr int32_t kTypeId<uint16_t> = 4;
template <>
inline constexpr int32_t kTypeId<int32_t> = 5;
template <>
inline constexpr int32_t kTypeId<uint32_t> = 6;
template <>
inline constexpr int32_t kTypeId<int64_t> = 7;
template <>
inline constexpr int32_t kTypeId<uint64_t> = 8;
template <>
inline constexpr int32_t kTypeId<float> = 9;
template <>
inline constexpr int32_t kTypeId<mreal> = 10;
template <>
inline constexpr int32_t kTypeId<complex32> = 11;
template <>
inline constexpr int32_t kTypeId<mcomplex> = 12;

template <class R>
inline constexpr bool kIsCompensated = false;
template <class R>
inline constexpr bool kIsCompensated<Compensated<R>> = true;

template <class Make, class A>
constexpr auto unary_row() {
  typename Make::Tables::UnaryRow row;
#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  if constexpr (has_record<Op, A>())                    \
    row.at[id - kUnary.first] = Make::template unary<Op, class_for<A>(threshold_class), A>();
  ZENTHAR_UNARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW
  return row;
}

template <class Make, class A, class B>
constexpr auto binary_row() {
  typename Make::Tables::BinaryRow row;
#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  if constexpr (has_record<Op, A, B>())                 \
    row.at[id - kBinary.first] = Make::template binary<Op, class_for<A, B>(threshold_class), A, B>();
  ZENTHAR_BINARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW
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

template <class Make, class A, class B, class C>
constexpr auto ternary_row() {
  typename Make::Tables::TernaryRow row;
#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  if constexpr (has_ternary_record<Op, A, B, C>())      \
    row.at[id - kTernary.first] = Make::template ternary<Op, class_for<A, B, C>(threshold_class), A, B, C>();
  ZENTHAR_TERNARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW
  return row;
}

// The rows of one type as first argument, in the order of row_of(). They are made where their members are
// instantiated: a file for some of them, as each takes its time to compile.
template <class Row, int kCount>
struct RowList {
  Row row[kCount];
};

template <class Make, class A>
constexpr auto binary_rows() {
  using Row = typename Make::Tables::BinaryRow;
  if constexpr (MachineType<A>) {
    return RowList<Row, 3>{
        {binary_row<Make, A, mint>(), binary_row<Make, A, mreal>(), binary_row<Make, A, mcomplex>()}};
  } else {
    return RowList<Row, 1>{{binary_row<Make, A, A>()}};
  }
}

template <class Make, class A>
constexpr auto ternary_rows() {
  using Row = typename Make::Tables::TernaryRow;
  if constexpr (MachineType<A>) {
    return RowList<Row, 9>{{ternary_row<Make, A, mint, mint>(), ternary_row<Make, A, mint, mreal>(),
                            ternary_row<Make, A, mint, mcomplex>(), ternary_row<Make, A, mreal, mint>(),
                            ternary_row<Make, A, mreal, mreal>(), ternary_row<Make, A, mreal, mcomplex>(),
                            ternary_row<Make, A, mcomplex, mint>(), ternary_row<Make, A, mcomplex, mreal>(),
                            ternary_row<Make, A, mcomplex, mcomplex>()}};
  } else {
    return RowList<Row, 1>{{ternary_row<Make, A, A, A>()}};
  }
}

template <class Make, class A>
struct Rows {
  using Tables = typename Make::Tables;
  using Unary = const RowList<typename Tables::UnaryRow, 1>;
  using Binary = const RowList<typename Tables::BinaryRow, MachineType<A> ? 3 : 1>;
  using Ternary = const RowList<typename Tables::TernaryRow, MachineType<A> ? 9 : 1>;
  static Unary unary;
  static Binary binary;
  static Ternary ternary;
};
template <class Make, class A>
constinit typename Rows<Make, A>::Unary Rows<Make, A>::unary = {{unary_row<Make, A>()}};
template <class Make, class A>
constinit typename Rows<Make, A>::Binary Rows<Make, A>::binary = binary_rows<Make, A>();
template <class Make, class A>
constinit typename Rows<Make, A>::Ternary Rows<Make, A>::ternary = ternary_rows<Make, A>();

// The element types by slot.
using SlotTypes = Types<mint, mreal, mcomplex, int8_t, uint8_t, int16_t, uint16_t, int32_t, uint32_t,
                        uint64_t, float, complex32>;

template <class... A>
constexpr bool in_slot_order(Types<A...>) {
  int slot = 0;
  return ((kTypeOfSlot[slot] == kTypeId<A> && slot_of(kTypeId<A>) == slot++) && ...);
}
static_assert(in_slot_order(SlotTypes{}));

// The tables of rows that are instantiated elsewhere.
template <class Make, class... A>
constexpr typename Make::Tables make_tables(Types<A...>) {
  return {{Rows<Make, A>::unary.row...}, {Rows<Make, A>::binary.row...}, {Rows<Make, A>::ternary.row...}};
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
