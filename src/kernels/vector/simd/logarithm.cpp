// Logarithms.
#include "kernels/vector/simd/exp_log.h"

namespace zenthar::ZENTHAR_TARGET {
namespace {

template <class Base>
struct LogForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) { return finish_log(log_of<Base>(x), x, rare); }
};

// log(1 + x) by 1 + x and what rounding took from it. The sign is that of x, also of a zero.
struct PlainLog1PForm {
  ZENTHAR_KERNEL static Real compute(Real x, Mask& rare) {
    const Double a = sum(broadcast(1.0), x);
    return with_sign(finish_log(log_of(a, Real{}), a.high, rare), x);
  }
};

// The same where products can be fused: m c - 1 for 1 + x = 2^e m comes from x itself, in two parts.
struct FusedLog1PForm {
  struct Half {
    Real a;  // 1 + x
    Double r, whole;
  };
  ZENTHAR_KERNEL static Half prepare(Real x) {
    const Real a = 1.0 + x;
    const Parts parts(a);
    const Real c = parts.scaled(look_up(kCentres, place_of(parts.significand)));
    // The sum with c - 1 is exact: of opposite sign, and neither twice as large as the other.
    const Real share = x * c, below = c - 1.0, sum = share + below;
    const Real r = fused(x, c, below);
    return {a, {r, fused(x, c, -share) - (r - sum)}, whole_log<Natural>(parts.exponent, parts.significand)};
  }
  ZENTHAR_KERNEL static Real finish(const Half& half, Real x, Mask& rare) {
    const Double r = half.r, s = fast_sum(half.whole.high, r.high);
    const Real square = r.high * r.high;
    const Real y =
        s.high + (s.low + fused(square, paired(r.high, square, kLogTerms), half.whole.low + r.low));
    return with_sign(finish_log(y, half.a, rare, 0x1p1020), x);
  }
};

using Log1PForm = std::conditional_t<kFused, FusedLog1PForm, PlainLog1PForm>;

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
