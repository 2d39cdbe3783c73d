// Complex arithmetic in extended precision, for the functions whose formulas would lose digits in the
// precision of the result: eleven more bits take up what the steps lose, and the wider range what they would
// overflow.
#ifndef ZENTHAR_KERNELS_OPERATIONS_WIDE_H
#define ZENTHAR_KERNELS_OPERATIONS_WIDE_H

#include "zenthar/types.h"

namespace zenthar {

__extension__ typedef _Complex long double Wide;
__extension__ typedef _Complex double Narrow;

inline constexpr long double kPi = 3.141592653589793238462643383279502884L;
inline constexpr long double kLogTwo = 0.693147180559945309417232121458176568L;
inline constexpr long double kLogTen = 2.302585092994045684017991454684364208L;

inline long double re(Wide z) { return __real__ z; }
inline long double im(Wide z) { return __imag__ z; }

inline Wide wide(long double re, long double im) {
  Wide z;
  __real__ z = re;
  __imag__ z = im;
  return z;
}
inline Wide wide(mcomplex z) { return wide(z.re, z.im); }

inline Narrow narrow(mcomplex z) {
  Narrow w;
  __real__ w = z.re;
  __imag__ w = z.im;
  return w;
}

inline mcomplex rounded(Wide z) { return {mreal(re(z)), mreal(im(z))}; }
inline mcomplex rounded(long double re, long double im) { return {mreal(re), mreal(im)}; }
inline mcomplex machine(Narrow z) { return {__real__ z, __imag__ z}; }

// Products with a conjugate, in which no part of one meets the same part of the other's negative.
inline long double re_conjugate_product(Wide a, Wide b) { return re(a) * re(b) + im(a) * im(b); }
inline long double im_conjugate_product(Wide a, Wide b) { return re(a) * im(b) - im(a) * re(b); }

inline bool finite(mcomplex z) { return __builtin_isfinite(z.re) && __builtin_isfinite(z.im); }
inline bool is_zero(mcomplex z) { return z.re == 0.0 && z.im == 0.0; }

}  // namespace zenthar

#endif
