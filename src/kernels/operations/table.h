// The one table of operations. Exported functions, dispatch records, names and the compile-time checks of
// them are all generated from it.
//
// To add an operation:
//   1. define it in a header of this folder (operation.h says how) and include that header in all.h;
//   2. give it a row here: name, class, identifier (an enumerator of zenthar/dispatch.h), threshold class,
//   and the
//      members that are exported as s_machfunc_<letters>_<name>. Letters: i, d, c; `ddp` and `ccp` are ddd
//      and ccc with the third operand by pointer, for operations that give Compensated. A row without members
//      has records only;
//   3. declare the exported members in zenthar/scalar.h, and raise the count in scalar/members.h.
// The records follow from the forms that the class has: an operation without a form for the integers is
// evaluated in reals, mixed arguments in the wider type. Rows are sorted by identifier. One class may stand
// in several rows.
//
// This is a macro because an exported function's name must be a literal; everything behind the names is
// templates.
#ifndef ZENTHAR_KERNELS_OPERATIONS_TABLE_H
#define ZENTHAR_KERNELS_OPERATIONS_TABLE_H

#include "zenthar/dispatch.h"

// clang-format off
//                    name      class     identifier          threshold class  members
#define ZENTHAR_UNARY_OPERATIONS(X)                                                    \
  X(sin,      Sin,      MACHFUNC_SIN,       kElementary,     d, c)                     \
  X(cos,      Cos,      MACHFUNC_COS,       kElementary,     d, c)                     \
  X(exp,      Exp,      MACHFUNC_EXP,       kElementary,     d, c)                     \
  X(log,      Log,      MACHFUNC_LOG,       kElementary,     d, c)                     \
  X(abs,      Abs,      MACHFUNC_ABS,       kCheap,          i, d, c)                  \
  X(minus,    Minus,    MACHFUNC_MINUS,     kCheap,          i, d, c)                  \
  X(sqrt,     Sqrt,     MACHFUNC_SQRT,      kRoots,          d, c)

#define ZENTHAR_BINARY_OPERATIONS(X)                                                   \
  X(plus,     Plus,     MACHFUNC_PLUS,      kCheap,          ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(subtract, Subtract, MACHFUNC_SUBTRACT,  kCheap,          ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(times,    Times,    MACHFUNC_TIMES,     kCheap,          ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(div,      Div,      MACHFUNC_DIV,       kRoots,          id, di, dd, ic, ci, dc, cd, cc)     \
  X(pow,      Pow,      MACHFUNC_POW,       kElementary,     ii, di, ci, id, dd, cd, ic, dc, cc) \
  X(log,      Log,      MACHFUNC_LOG_BASE,  kElementary,     id, di, dd, ic, ci, dc, cd, cc)

#define ZENTHAR_TERNARY_OPERATIONS(X)
// clang-format on

// ZENTHAR_FOR_MEMBERS(M, name, Op, i, d, c) is M(i, name, Op) M(d, name, Op) M(c, name, Op).
#define ZENTHAR_FOR_MEMBERS(M, name, Op, ...) \
  __VA_OPT__(ZENTHAR_EXPAND(ZENTHAR_FOR_FIRST(M, name, Op, __VA_ARGS__)))
#define ZENTHAR_FOR_FIRST(M, name, Op, first, ...) \
  M(first, name, Op) __VA_OPT__(ZENTHAR_FOR_REST ZENTHAR_PARENTHESES(M, name, Op, __VA_ARGS__))
#define ZENTHAR_FOR_REST() ZENTHAR_FOR_FIRST
#define ZENTHAR_PARENTHESES ()
#define ZENTHAR_EXPAND(...) ZENTHAR_EXPAND3(ZENTHAR_EXPAND3(ZENTHAR_EXPAND3(__VA_ARGS__)))
#define ZENTHAR_EXPAND3(...) ZENTHAR_EXPAND2(ZENTHAR_EXPAND2(ZENTHAR_EXPAND2(__VA_ARGS__)))
#define ZENTHAR_EXPAND2(...) __VA_ARGS__

#endif
