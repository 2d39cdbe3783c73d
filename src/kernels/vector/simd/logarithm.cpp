// Logarithms.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {
namespace {

template <class Base>
struct LogForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) { return finish_log(log_of<Base>(x), x, rare); }
};

// 1 + x with what rounding took from it. The sign is that of x, also of a zero.
struct Log1PForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Double a = sum(broadcast(1.0), x);
    return with_sign(finish_log(log_of(a, Real{}), a.high, rare), x);
  }
};

// The base comes first. Where a logarithm is 0 or none, the definition knows what follows.
struct LogBaseForm {
  ZENTHAR_KERNEL static Real compute(Real base, Real x, Mask& rare) {
    rare = is_special(base) | is_special(x);
    const Double y = quotient(log_double(x), log_double(base));
    return y.high;
  }
  ZENTHAR_KERNEL static Mask is_special(Real x) {
    return not_less_equal(broadcast(0x1p-1074), x) | not_less_equal(x, broadcast(kLargest)) |
           equal(x, broadcast(1.0));
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Log, LogForm<Natural>, mreal)
ZENTHAR_VECTOR_FORM(Log2, LogForm<Binary>, mreal)
ZENTHAR_VECTOR_FORM(Log10, LogForm<Decimal>, mreal)
ZENTHAR_VECTOR_FORM(Log1P, Log1PForm, mreal)
ZENTHAR_VECTOR_FORM(Log, LogBaseForm, mreal, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
