// Exponentials.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {
namespace {

struct ExpForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
#ifdef __AVX512F__
    static_cast<void>(rare);
    return exp_rounded(clamp(x, -750.0, 715.0));
#else
    rare = not_less_equal(magnitude(x), broadcast(708.0));
    return exp_rounded(x);
#endif
  }
};

// 2^e (t + rest - 2^-e)
struct ExpM1Form {
  ZENTHAR_KERNEL static Real compute(Real given, Mask& rare) {
#ifdef __AVX512F__
    static_cast<void>(rare);
#else
    rare = not_less_equal(given, broadcast(700.0));
#endif
    const Real x = clamp(given, -50.0, 715.0);
    const ExpParts y = exp_parts<Low::kLarge>(reduce_for_exp(x));
    const Double e = whole(y, sum(y.t, -inverse_power_of_two(y.exponent)));
    return with_sign(scale_normal(e.high + e.low, y.exponent), given);
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Exp, ExpForm, mreal)
ZENTHAR_VECTOR_FORM(ExpM1, ExpM1Form, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
