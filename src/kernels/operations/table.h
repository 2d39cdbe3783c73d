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
//  name                 class                identifier                     threshold    members
#define ZENTHAR_UNARY_OPERATIONS(X) \
  X(sin,                 Sin,                 MACHFUNC_SIN,                  kElementary, d, c) \
  X(cos,                 Cos,                 MACHFUNC_COS,                  kElementary, d, c) \
  X(tan,                 Tan,                 MACHFUNC_TAN,                  kElementary, d, c) \
  X(csc,                 Csc,                 MACHFUNC_CSC,                  kElementary, d, c) \
  X(sec,                 Sec,                 MACHFUNC_SEC,                  kElementary, d, c) \
  X(cot,                 Cot,                 MACHFUNC_COT,                  kElementary, d, c) \
  X(sinh,                Sinh,                MACHFUNC_SINH,                 kElementary, d, c) \
  X(cosh,                Cosh,                MACHFUNC_COSH,                 kElementary, d, c) \
  X(tanh,                Tanh,                MACHFUNC_TANH,                 kElementary, d, c) \
  X(csch,                Csch,                MACHFUNC_CSCH,                 kElementary, d, c) \
  X(sech,                Sech,                MACHFUNC_SECH,                 kElementary, d, c) \
  X(coth,                Coth,                MACHFUNC_COTH,                 kElementary, d, c) \
  X(asin,                Asin,                MACHFUNC_ASIN,                 kElementary, d, c) \
  X(acos,                Acos,                MACHFUNC_ACOS,                 kElementary, d, c) \
  X(atan,                Atan,                MACHFUNC_ATAN,                 kElementary, d, c) \
  X(acsc,                Acsc,                MACHFUNC_ACSC,                 kElementary, d, c) \
  X(asec,                Asec,                MACHFUNC_ASEC,                 kElementary, d, c) \
  X(acot,                Acot,                MACHFUNC_ACOT,                 kElementary, d, c) \
  X(asinh,               Asinh,               MACHFUNC_ASINH,                kElementary, d, c) \
  X(acosh,               Acosh,               MACHFUNC_ACOSH,                kElementary, d, c) \
  X(atanh,               Atanh,               MACHFUNC_ATANH,                kElementary, d, c) \
  X(acsch,               Acsch,               MACHFUNC_ACSCH,                kElementary, d, c) \
  X(asech,               Asech,               MACHFUNC_ASECH,                kElementary, d, c) \
  X(acoth,               Acoth,               MACHFUNC_ACOTH,                kElementary, d, c) \
  X(exp,                 Exp,                 MACHFUNC_EXP,                  kElementary, d, c) \
  X(expm1,               ExpM1,               MACHFUNC_EXPM1,                kElementary, d, c) \
  X(log,                 Log,                 MACHFUNC_LOG,                  kElementary, d, c) \
  X(log1p,               Log1P,               MACHFUNC_LOG1P,                kElementary, d, c) \
  X(log2,                Log2,                MACHFUNC_LOG2,                 kElementary, i, d, c) \
  X(log10,               Log10,               MACHFUNC_LOG10,                kElementary, i, d, c) \
  X(abs,                 Abs,                 MACHFUNC_ABS,                  kCheap,      i, d, c) \
  X(arg,                 Arg,                 MACHFUNC_ARG,                  kElementary, c) \
  X(conj,                Conj,                MACHFUNC_CONJ,                 kCheap,      i, d, c) \
  X(re,                  Re,                  MACHFUNC_RE,                   kCheap,      i, d, c) \
  X(im,                  Im,                  MACHFUNC_IM,                   kCheap,      i, d, c) \
  X(minus,               Minus,               MACHFUNC_MINUS,                kCheap,      i, d, c) \
  X(sign,                Sign,                MACHFUNC_SIGN,                 kCheap,      i, d, c) \
  X(pos,                 Pos,                 MACHFUNC_POS,                  kCheap,      i, d) \
  X(neg,                 Neg,                 MACHFUNC_NEG,                  kCheap,      i, d) \
  X(npos,                NPos,                MACHFUNC_NPOS,                 kCheap,      i, d) \
  X(nneg,                NNeg,                MACHFUNC_NNEG,                 kCheap,      i, d) \
  X(round,               Round,               MACHFUNC_ROUND,                kRoots,      i, d) \
  X(floor,               Floor,               MACHFUNC_FLOOR,                kRoots,      i, d) \
  X(ceiling,             Ceiling,             MACHFUNC_CEILING,              kRoots,      i, d) \
  X(fracpart,            FracPart,            MACHFUNC_FRACPART,             kRoots,      i, d, c) \
  X(intpart,             IntPart,             MACHFUNC_INTPART,              kRoots,      i, d) \
  X(evenq,               EvenQ,               MACHFUNC_EVENQ,                kCheap,      i) \
  X(oddq,                OddQ,                MACHFUNC_ODDQ,                 kCheap,      i) \
  X(square,              Square,              MACHFUNC_SQUARE,               kCheap,      i, d, c) \
  X(sqrt,                Sqrt,                MACHFUNC_SQRT,                 kRoots,      d, c) \
  X(cbrt,                Cbrt,                MACHFUNC_CBRT,                 kElementary, d) \
  X(rsqrt,               RSqrt,               MACHFUNC_RSQRT,                kRoots,      d, c) \
  X(recip,               Recip,               MACHFUNC_RECIP,                kRoots,      d, c) \
  X(bitnot,              BitNot,              MACHFUNC_BITNOT,               kCheap,      i) \
  X(bitlength,           BitLength,           MACHFUNC_BITLENGTH,            kCheap,      i) \
  X(notneg,              NotNeg,              MACHFUNC_NOTNEG,               kCheap       ) \
  X(sinc,                Sinc,                MACHFUNC_SINC,                 kElementary, d, c) \
  X(fibonacci,           Fibonacci,           MACHFUNC_FIBONACCI,            kSpecial,    i, d, c) \
  X(lucasl,              LucasL,              MACHFUNC_LUCASL,               kSpecial,    i, d, c) \
  X(gudermannian,        Gudermannian,        MACHFUNC_GUDERMANNIAN,         kSpecial,    d, c) \
  X(inversegudermannian, InverseGudermannian, MACHFUNC_INVERSEGUDERMANNIAN,  kSpecial,    d, c) \
  X(haversine,           Haversine,           MACHFUNC_HAVERSINE,            kElementary, d, c) \
  X(inversehaversine,    InverseHaversine,    MACHFUNC_INVERSEHAVERSINE,     kElementary, d, c) \
  X(erfc,                ErfC,                MACHFUNC_ERFC,                 kSpecial,    d) \
  X(erf,                 Erf,                 MACHFUNC_ERF,                  kSpecial,    d) \
  X(gamma,               Gamma,               MACHFUNC_GAMMA,                kSpecial,    i, d) \
  X(loggamma,            LogGamma,            MACHFUNC_LOGGAMMA,             kSpecial,    d) \
  X(unitize,             Unitize,             MACHFUNC_UNITIZE,              kCheap,      i, d, c) \
  X(mod1,                Mod1,                MACHFUNC_MOD1,                 kRoots,      i, d, c) \
  X(logistic,            Logistic,            MACHFUNC_LOGISTIC,             kElementary, d, c) \
  X(ramp,                Ramp,                MACHFUNC_RAMP,                 kCheap,      i, d) \
  X(abssquare,           AbsSquare,           MACHFUNC_ABSSQUARE,            kCheap,      i, d, c) \
  X(realabs,             RealAbs,             MACHFUNC_REALABS,              kCheap       ) \
  X(realsign,            RealSign,            MACHFUNC_REALSIGN,             kCheap       ) \
  X(unitbox,             UnitBox,             MACHFUNC_UNITBOX,              kCheap       ) \
  X(unittriangle,        UnitTriangle,        MACHFUNC_UNITTRIANGLE,         kCheap       )

#define ZENTHAR_BINARY_OPERATIONS(X) \
  X(plus,                Plus,                MACHFUNC_PLUS,                 kCheap,      ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(subtract,            Subtract,            MACHFUNC_SUBTRACT,             kCheap,      ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(times,               Times,               MACHFUNC_TIMES,                kCheap,      ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(div,                 Div,                 MACHFUNC_DIV,                  kRoots,      id, di, dd, ic, ci, dc, cd, cc) \
  X(mod,                 Mod,                 MACHFUNC_MOD,                  kRoots,      ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(quotient,            Quotient,            MACHFUNC_QUOTIENT,             kRoots,      ii, di, id, dd) \
  X(pow,                 Pow,                 MACHFUNC_POW,                  kElementary, ii, di, ci, id, dd, cd, ic, dc, cc) \
  X(log,                 Log,                 MACHFUNC_LOG_BASE,             kElementary, id, di, dd, ic, ci, dc, cd, cc) \
  X(atan2,               Atan2,               MACHFUNC_ATAN2,                kElementary, id, di, dd, ic, ci, dc, cd, cc) \
  X(bitand,              BitAnd,              MACHFUNC_BITAND,               kCheap,      ii) \
  X(bitor,               BitOr,               MACHFUNC_BITOR,                kCheap,      ii) \
  X(bitxor,              BitXor,              MACHFUNC_BITXOR,               kCheap,      ii) \
  X(chop,                Chop,                MACHFUNC_CHOP,                 kCheap,      dd, cd) \
  X(abserr,              AbsErr,              MACHFUNC_ABSERR,               kCheap,      ii, id, di, dd, ic, ci, dc, cd, cc) \
  X(root,                Root,                MACHFUNC_ROOT,                 kElementary, ci) \
  X(relerr,              RelErr,              MACHFUNC_RELERR,               kRoots,      id, di, dd, ic, ci, dc, cd, cc) \
  X(maxabs,              MaxAbs,              MACHFUNC_MAXABS,               kCheap,      ii, dd, cc) \
  X(unitize,             Unitize,             MACHFUNC_UNITIZE_TOLERANCE,    kCheap,      ii, dd) \
  X(bitshiftleft,        BitShiftLeft,        MACHFUNC_BITSHIFTLEFT,         kCheap,      ii, di, ci) \
  X(bitshiftright,       BitShiftRight,       MACHFUNC_BITSHIFTRIGHT,        kCheap,      ii, di, ci) \
  X(intexp,              IntExp,              MACHFUNC_INTEXP,               kRoots,      ii) \
  X(intlen,              IntLen,              MACHFUNC_INTLEN,               kRoots,      ii) \
  X(gcd,                 Gcd,                 MACHFUNC_GCD,                  kRoots,      ii) \
  X(lcm,                 Lcm,                 MACHFUNC_LCM,                  kRoots,      ii) \
  X(min,                 Min,                 MACHFUNC_MIN,                  kCheap       ) \
  X(max,                 Max,                 MACHFUNC_MAX,                  kCheap       ) \
  X(equal,               Equal,               MACHFUNC_EQUAL,                kCheap       ) \
  X(less,                Less,                MACHFUNC_LESS,                 kCheap       ) \
  X(lessequal,           LessEqual,           MACHFUNC_LESSEQUAL,            kCheap       )

#define ZENTHAR_TERNARY_OPERATIONS(X) \
  X(axpy,                Axpy,                MACHFUNC_AXPY,                 kCheap,      iii, ddd, ccc) \
  X(axmy,                Axmy,                MACHFUNC_AXMY,                 kCheap,      iii, ddd, ccc) \
  X(ymax,                Ymax,                MACHFUNC_YMAX,                 kCheap,      iii, ddd, ccc) \
  X(adxmy,               Adxmy,               MACHFUNC_ADXMY,                kRoots,      ddd, ccc) \
  X(compplus,            CompPlus,            MACHFUNC_COMPPLUS,             kCheap,      ddp, ccp)
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
