// Predicates, thresholds and comparisons.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ORDER_H
#define ZENTHAR_KERNELS_OPERATIONS_ORDER_H

#include "kernels/operations/integers.h"

namespace zenthar::ZENTHAR_TARGET {

struct Pos {
  ZENTHAR_KERNEL static mint value(mint x) { return x > 0; }
  ZENTHAR_KERNEL static mint value(mreal x) { return x > 0.0; }
};
struct Neg {
  ZENTHAR_KERNEL static mint value(mint x) { return x < 0; }
  ZENTHAR_KERNEL static mint value(mreal x) { return x < 0.0; }
};
struct NPos {
  ZENTHAR_KERNEL static mint value(mint x) { return x <= 0; }
  ZENTHAR_KERNEL static mint value(mreal x) { return x <= 0.0; }
};
struct NNeg {
  ZENTHAR_KERNEL static mint value(mint x) { return x >= 0; }
  ZENTHAR_KERNEL static mint value(mreal x) { return x >= 0.0; }
};
struct NotNeg {
  ZENTHAR_KERNEL static mint value(mreal x) { return !(x < 0.0); }
};

struct Unitize {
  ZENTHAR_KERNEL static mint value(mint x) { return x != 0; }
  ZENTHAR_KERNEL static mint value(mreal x) { return x != 0.0; }
  ZENTHAR_KERNEL static mint value(mcomplex z) { return (z.re != 0.0) | (z.im != 0.0); }

  // With a tolerance.
  template <class C>
  ZENTHAR_KERNEL static Outcome<mint> checked(mint n, mint tolerance, C) {
    return {unsigned_magnitude(n) >= uint64_t(tolerance), fail_if(tolerance <= 0, Failure::kDomain)};
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
ZENTHAR_KERNEL mreal larger(mreal a, mreal b) { return ((a > b) | (b != b)) ? a : b; }
ZENTHAR_KERNEL mreal smaller(mreal a, mreal b) { return ((a < b) | (b != b)) ? a : b; }

struct Min {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a < b ? a : b; }
  ZENTHAR_KERNEL static mreal value(mreal a, mreal b) { return smaller(a, b); }
};
struct Max {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a > b ? a : b; }
  ZENTHAR_KERNEL static mreal value(mreal a, mreal b) { return larger(a, b); }
};

struct Equal {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a == b; }
  ZENTHAR_KERNEL static mint value(mreal a, mreal b) { return a == b; }
  ZENTHAR_KERNEL static mint value(mcomplex a, mcomplex b) { return (a.re == b.re) & (a.im == b.im); }
};
struct Less {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a < b; }
  ZENTHAR_KERNEL static mint value(mreal a, mreal b) { return a < b; }
};
struct LessEqual {
  ZENTHAR_KERNEL static mint value(mint a, mint b) { return a <= b; }
  ZENTHAR_KERNEL static mint value(mreal a, mreal b) { return a <= b; }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
