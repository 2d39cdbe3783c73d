// Predicates, thresholds and comparisons.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ORDER_H
#define ZENTHAR_KERNELS_OPERATIONS_ORDER_H

#include "kernels/operations/integers.h"

namespace zenthar::ZENTHAR_TARGET {

struct Pos {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T x) {
    return x > T(0);
  }
};
struct Neg {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T x) {
    return x < T(0);
  }
};
struct NPos {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T x) {
    return x <= T(0);
  }
};
struct NNeg {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T x) {
    return x >= T(0);
  }
};
struct NotNeg {
  ZENTHAR_KERNEL static mint value(mreal x) { return !(x < 0.0); }
};

struct Unitize {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T x) {
    return x != T(0);
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static mint value(Z z) {
    return (z.re != 0) | (z.im != 0);
  }

  // With a tolerance.
  template <AnyInteger T, class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(T n, T tolerance, C) {
    return {unsigned_magnitude(n) >= Unsigned<T>(tolerance), fail_if(tolerance <= T(0), Failure::kDomain)};
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mreal x, mreal tolerance, C) {
    return {__builtin_fabs(x) >= tolerance, fail_if(tolerance <= 0.0, Failure::kDomain)};
  }
};

struct Chop {
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal x, mreal tolerance, C) {
    return {chopped(x, tolerance), fail_if(tolerance < 0.0, Failure::kDomain)};
  }
  template <class C>
  ZENTHAR_KERNEL static Outcome<mcomplex> checked(mcomplex z, mreal tolerance, C) {
    return {{chopped(z.re, tolerance), chopped(z.im, tolerance)}, fail_if(tolerance < 0.0, Failure::kDomain)};
  }

 private:
  ZENTHAR_KERNEL static mreal chopped(mreal x, mreal tolerance) {
    return __builtin_fabs(x) < tolerance ? 0.0 : x;
  }
};

// A NaN gives way to the other operand.
template <AnyNumber T>
ZENTHAR_KERNEL bool is_nan(T x) {
  if constexpr (AnyReal<T>) {
    return x != x;
  } else {
    return false;
  }
}
template <AnyNumber T>
ZENTHAR_KERNEL T larger(T a, T b) {
  return ((a > b) | is_nan(b)) ? a : b;
}
template <AnyNumber T>
ZENTHAR_KERNEL T smaller(T a, T b) {
  return ((a < b) | is_nan(b)) ? a : b;
}

struct Min {
  template <AnyNumber T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return smaller(a, b);
  }
};
struct Max {
  template <AnyNumber T>
  ZENTHAR_KERNEL static T value(T a, T b) {
    return larger(a, b);
  }
};

struct Equal {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T a, T b) {
    return a == b;
  }
  template <AnyComplex Z>
  ZENTHAR_KERNEL static mint value(Z a, Z b) {
    return (a.re == b.re) & (a.im == b.im);
  }
};
struct Less {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T a, T b) {
    return a < b;
  }
};
struct LessEqual {
  template <AnyNumber T>
  ZENTHAR_KERNEL static mint value(T a, T b) {
    return a <= b;
  }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
