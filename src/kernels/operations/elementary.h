// Sqrt, exp, log (of one argument, and with a base), sin, cos.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ELEMENTARY_H
#define ZENTHAR_KERNELS_OPERATIONS_ELEMENTARY_H

#include "kernels/operations/numbers.h"

namespace zenthar::ZENTHAR_TARGET {

struct Sqrt {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_sqrt(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_csqrt(native(z))); }
};

struct Exp {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_exp(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_cexp(native(z))); }
};

struct Sin {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_sin(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_csin(native(z))); }
};

struct Cos {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_cos(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_ccos(native(z))); }
};

struct Log {
  ZENTHAR_KERNEL static mreal value(mreal x) { return __builtin_log(x); }
  ZENTHAR_KERNEL static mcomplex value(mcomplex z) { return machine(__builtin_clog(native(z))); }

  // The base comes first.
  template <class C>
  ZENTHAR_KERNEL static Outcome<mreal> checked(mreal base, mreal x, C) {
    return {__builtin_log(x) / __builtin_log(base), fail_if((base <= 0.0) | (x <= 0.0), Failure::kDomain)};
  }
  ZENTHAR_KERNEL static mcomplex value(mcomplex base, mcomplex z) { return divide(value(z), value(base)); }
};

}  // namespace zenthar::ZENTHAR_TARGET

#endif
