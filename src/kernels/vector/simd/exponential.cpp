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
  ZENTHAR_KERNEL static Real held(Real x) { return clamp(x, -50.0, 715.0); }
  ZENTHAR_KERNEL static ExpArgument prepare(Real x) { return reduce_for_exp(held(x)); }
  ZENTHAR_KERNEL static Real finish(const ExpArgument& a, Real x, Mask& rare) {
#ifdef __AVX512F__
    static_cast<void>(rare);
#else
    rare = not_less_equal(x, broadcast(700.0));
#endif
    const ExpParts y = exp_parts<Low::kLarge>(a);
    const Mask left = sign_bit(x);  // where 2^-e is the greater
    const Real t = y.t, w = -inverse_power_of_two(y.exponent);
    const Double e = whole(y, fast_sum(select(left, w, t), select(left, t, w)));
    return with_sign(scale_normal(e.high + e.low, y.exponent), x);
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Exp, ExpForm, mreal)
ZENTHAR_VECTOR_FORM(ExpM1, ExpM1Form, mreal)

}  // namespace zenthar::ZENTHAR_TARGET
