// What an operation is: the vocabulary that the definitions in this folder are written in.
//
// An operation is a class without state that says, per argument types, how one element is computed and what
// can fail. It has one or both of these forms, as static overloads with the exact argument types:
//
//   static R value(A... a)                                      for arguments that cannot fail;
//   template <class C> static Outcome<R> checked(A... a, C c)   otherwise; `c` says which checks are on.
//
// A form for every type of a kind is a template whose first parameter is the type of all arguments:
//
//   template <AnyReal T> static T value(T a, T b)
//   template <AnyInteger T, class C> static Outcome<T> checked(T a, T b, C c)
//
// Types an operation does not name are found by widening. Of the machine types, integers are widened to
// reals, else all to the widest type. Real32 and ComplexReal32 are evaluated in Real64 and ComplexReal64, and
// a real result is rounded back: for a single operation that gives the bits of one in Real32, since two
// roundings from 53 bits to 24 are as good as one. The other integer types have records only where an
// operation names them.
//
// The checks of computed reals (flag 2) are not an operation's business; they are added to every real and
// complex result unless the class says `static constexpr bool kResultUnchecked = true`. An operation whose
// `checked` forms can fail only while the check of its results is on says `static constexpr bool
// kFailsOnlyChecked = true`, which spares in-place vector calls a copy.
//
// The scalar functions, the kernels of the records and the vector loops are generated from this. The loops
// are compiled once per processor target, so everything here lives in a namespace named by the target, and
// nothing here may instantiate functions of the standard library: they would be shared between targets. All
// targets give the same bits: products of complexes go through multiply() or product() of numbers.h, see
// there.
#ifndef ZENTHAR_KERNELS_OPERATIONS_OPERATION_H
#define ZENTHAR_KERNELS_OPERATIONS_OPERATION_H

#include <type_traits>

#include "zenthar/types.h"

#ifndef ZENTHAR_TARGET
#define ZENTHAR_TARGET scalar
#endif

// Part of an element's computation: inlined into every loop and function made of it.
#define ZENTHAR_KERNEL [[gnu::always_inline]] inline

namespace zenthar::ZENTHAR_TARGET {

// Two binary32 values: an element of ComplexReal32.
struct complex32 {
  float re, im;
};

template <class T, class... Others>
inline constexpr bool kIsOneOf = (std::is_same_v<T, Others> || ...);

// The kinds of element types, which the forms of operations are written for.
template <class T>
concept AnyInteger = kIsOneOf<T, int8_t, uint8_t, int16_t, uint16_t, int32_t, uint32_t, int64_t, uint64_t>;
template <class T>
concept AnyReal = kIsOneOf<T, float, mreal>;
template <class T>
concept AnyComplex = kIsOneOf<T, complex32, mcomplex>;
template <class T>
concept AnyNumber = AnyInteger<T> || AnyReal<T>;
template <class T>
concept MachineType = kIsOneOf<T, mint, mreal, mcomplex>;

template <AnyComplex Z>
using PartOf = decltype(Z::re);
template <class R>
struct RealParts {
  using Type = R;
};
template <AnyComplex Z>
struct RealParts<Z> {
  using Type = PartOf<Z>;
};

// How an element failed: the error code, and kRaised where the scalar function raises it. The other
// failures are found from the arguments, and the scalar function answers them with status 1. A loop's
// failures add up in integers as wide as its results, to stay in the registers those are in: whatever stands
// for a failure has a bit set among as many low ones as a result has.
enum class Failure : int64_t {
  kNone = 0,
  kOverflow = 1,
  kDomain = 16,
  kRaised = 0x100,
  kRaisedOverflow = kRaised | 1,
  kInexact = kRaised | 3,
  kInfinite = kRaised | 6,
  kNaN = kRaised | 9,
};

constexpr int32_t code_of(Failure failure) { return int32_t(failure) & 0xff; }

template <class R>
struct Outcome {
  R value;
  Failure failure;
};

// The new sum and the new compensation of one step of compensated summation: the compensation goes back to
// where the third operand came from.
template <class R>
struct Compensated {
  R sum;
  R compensation;
};

ZENTHAR_KERNEL Failure fail_if(bool condition, Failure failure) {
  return condition ? failure : Failure::kNone;
}

ZENTHAR_KERNEL Failure either(Failure a, Failure b) { return a != Failure::kNone ? a : b; }

inline constexpr uint32_t kCheckReals = 2;
inline constexpr uint32_t kCheckOverflow = 4;

// The checks of one call, known when it runs.
struct CallChecks {
  static constexpr bool kBlock = false;
  uint32_t flags = 0;
  bool reals() const { return flags & kCheckReals; }
  bool overflow() const { return flags & kCheckOverflow; }
};

// The checks of a loop over a block, known when it is compiled. In a loop an operation need only make sure
// that some failure comes out where an element fails, in whatever way vectorises best: which one it was is
// found by a second look with CallChecks.
template <uint32_t kFlags>
struct BlockChecks {
  static constexpr bool kBlock = true;
  static constexpr bool reals() { return kFlags & kCheckReals; }
  static constexpr bool overflow() { return kFlags & kCheckOverflow; }
};

// An argument that converts to one type alone, to ask which overloads exist.
template <class T>
struct Exactly {
  template <class U>
  requires std::is_same_v<U, T>
  operator U() const;
};

// Whether an operation has a form of its own: one that names the types, or one for every type of a kind.
template <class First, class...>
struct FirstType {
  using Type = First;
};
template <class... A>
using FirstOf = typename FirstType<A...>::Type;
template <class... A>
inline constexpr bool kAllSame = (std::is_same_v<A, FirstOf<A...>> && ...);
template <class Op, class... A>
concept NamesValue = requires(Exactly<A>... a) {
  Op::value(a...);
};
template <class Op, class... A>
concept NamesChecked = requires(Exactly<A>... a) {
  Op::checked(a..., CallChecks{});
};
template <class Op, class... A>
concept HasValue = NamesValue<Op, A...> ||
    (kAllSame<A...>&& requires(A... a) { Op::template value<FirstOf<A...>>(a...); });
template <class Op, class... A>
concept HasChecked = NamesChecked<Op, A...> ||
    (kAllSame<A...>&& requires(A... a) { Op::template checked<FirstOf<A...>>(a..., CallChecks{}); });
template <class Op, class... A>
concept HasForm = HasValue<Op, A...> || HasChecked<Op, A...>;

// The type that elements are evaluated in where an operation has no form for theirs.
template <class T>
using Doubled = std::conditional_t<std::is_same_v<T, float>, mreal,
                                   std::conditional_t<std::is_same_v<T, complex32>, mcomplex, T>>;
template <class Op, class... A>
concept Defined = HasForm<Op, A...> || HasForm<Op, Doubled<A>...>;
template <class Op, class... A>
concept CanFail = HasChecked<Op, A...> ||(!HasForm<Op, A...> && HasChecked<Op, Doubled<A>...>);

// The machine types by width.
template <MachineType T>
inline constexpr int kWidth = std::is_same_v<T, mint>    ? 0
                              : std::is_same_v<T, mreal> ? 1
                                                         : 2;
template <int kRank>
using OfWidth = std::conditional_t<kRank == 0, mint, std::conditional_t<kRank == 1, mreal, mcomplex>>;

constexpr int widest() { return 0; }
template <class... Rest>
constexpr int widest(int first, Rest... rest) {
  const int other = widest(rest...);
  return first > other ? first : other;
}
template <class... A>
using Widest = OfWidth<widest(kWidth<A>...)>;
template <class T>
using Promoted = std::conditional_t<std::is_same_v<T, mint>, mreal, T>;

template <class... A>
struct Types {};

// The types that an operation evaluates arguments in; void where it does not take them.
template <class Op, class... A>
constexpr auto resolve() {
  if constexpr (Defined<Op, A...>) {
    return Types<A...>{};
  } else if constexpr (Defined<Op, Promoted<A>...>) {
    return Types<Promoted<A>...>{};
  } else if constexpr (sizeof...(A) > 1 && (MachineType<A> && ...)) {
    using W = Widest<A...>;
    if constexpr (Defined<Op, std::enable_if_t<sizeof(A) != 0, W>...>)
      return Types<std::enable_if_t<sizeof(A) != 0, W>...>{};
  }
}
template <class Op, class... A>
using Resolved = decltype(resolve<Op, A...>());

// Whether dispatch has a record: for arguments that the operation names, for one integer where it names the
// real, and for arguments of different types where it names the wider.
template <class Op, class... A>
constexpr bool has_record() {
  if constexpr (Defined<Op, A...>) {
    return true;
  } else if constexpr (sizeof...(A) == 1) {
    return Defined<Op, Promoted<A>...>;
  } else if constexpr (!(MachineType<A> && ...)) {
    return false;
  } else if constexpr (!kAllSame<A...>) {
    using W = Widest<A...>;
    return Defined<Op, std::enable_if_t<sizeof(A) != 0, W>...>;
  } else {
    return false;
  }
}

template <class To, class From>
ZENTHAR_KERNEL To widen(From x) {
  if constexpr (std::is_same_v<To, From>) {
    return x;
  } else if constexpr (std::is_same_v<From, complex32>) {
    return To{x.re, x.im};
  } else if constexpr (std::is_same_v<To, mcomplex>) {
    return mcomplex{mreal(x), 0.0};
  } else {
    return To(x);
  }
}

// A result computed in the doubled type, as the arguments' types have it.
template <class R>
ZENTHAR_KERNEL auto narrowed(R x) {
  if constexpr (std::is_same_v<R, mreal>) {
    return float(x);
  } else if constexpr (std::is_same_v<R, mcomplex>) {
    return complex32{float(x.re), float(x.im)};
  } else {
    return x;
  }
}

template <class Op, class C, class... A>
ZENTHAR_KERNEL auto evaluate_own(C checks, A... a) {
  if constexpr (HasChecked<Op, A...>) {
    return Op::checked(a..., checks);
  } else if constexpr (HasValue<Op, A...>) {
    return Outcome<decltype(Op::value(a...))>{Op::value(a...), Failure::kNone};
  } else {
    const auto doubled = evaluate_own<Op>(checks, widen<Doubled<A>>(a)...);
    return Outcome<decltype(narrowed(doubled.value))>{narrowed(doubled.value), doubled.failure};
  }
}

template <class Op, class C, class... A, class... E>
ZENTHAR_KERNEL auto evaluate_in(Types<E...>, C checks, A... a) {
  return evaluate_own<Op>(checks, widen<E>(a)...);
}

// One element of an operation, its arguments widened where it asks for that.
template <class Op, class C, class... A>
ZENTHAR_KERNEL auto evaluate(C checks, A... a) {
  return evaluate_in<Op>(Resolved<Op, A...>{}, checks, a...);
}

template <class Op, class... A>
using Result = decltype(evaluate<Op>(CallChecks{}, A{}...).value);

template <class Op>
concept ResultUnchecked = bool(requires { Op::kResultUnchecked; });
template <class Op>
concept FailsOnlyChecked = bool(requires { Op::kFailsOnlyChecked; });

// Whether flag 2 looks at the result.
template <class Op, class R>
inline constexpr bool kChecksResult = !ResultUnchecked<Op> && (AnyReal<R> || AnyComplex<R>);

inline constexpr mreal kLargest = 1.7976931348623157e308;
template <AnyReal T>
inline constexpr T kLargestOf = T(kLargest);
template <>
inline constexpr float kLargestOf<float> = 3.4028234663852886e38f;

ZENTHAR_KERNEL mreal absolute(mreal x) { return __builtin_fabs(x); }
ZENTHAR_KERNEL float absolute(float x) { return __builtin_fabsf(x); }

template <AnyReal T>
ZENTHAR_KERNEL bool is_finite(T x) {
  return absolute(x) <= kLargestOf<T>;
}
template <AnyComplex Z>
ZENTHAR_KERNEL bool is_finite(Z z) {
  return is_finite(z.re) && is_finite(z.im);
}

template <AnyReal T>
ZENTHAR_KERNEL Failure failure_of(T x) {
  if (x != x) return Failure::kNaN;
  return fail_if(!is_finite(x), Failure::kInfinite);
}
template <AnyComplex Z>
ZENTHAR_KERNEL Failure failure_of(Z z) {
  return either(failure_of(z.re), failure_of(z.im));
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
