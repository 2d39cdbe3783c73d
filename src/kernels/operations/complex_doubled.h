// Complex functions by formulas in sums of two reals, which take ordinary arguments: each returns whether it
// has written the result. What they leave out is for the formulas in extended precision.
#ifndef ZENTHAR_KERNELS_OPERATIONS_COMPLEX_DOUBLED_H
#define ZENTHAR_KERNELS_OPERATIONS_COMPLEX_DOUBLED_H

#include "zenthar/types.h"

namespace zenthar {

bool doubled_power(mcomplex z, mcomplex w, mcomplex* result);

bool doubled_tan(mcomplex z, mcomplex* result);
bool doubled_cot(mcomplex z, mcomplex* result);
bool doubled_sec(mcomplex z, mcomplex* result);
bool doubled_csc(mcomplex z, mcomplex* result);
bool doubled_tanh(mcomplex z, mcomplex* result);
bool doubled_coth(mcomplex z, mcomplex* result);
bool doubled_sech(mcomplex z, mcomplex* result);
bool doubled_csch(mcomplex z, mcomplex* result);

bool doubled_asin(mcomplex z, mcomplex* result);
bool doubled_acos(mcomplex z, mcomplex* result);
bool doubled_acosh(mcomplex z, mcomplex* result);
bool doubled_atan(mcomplex z, mcomplex* result);
bool doubled_acot(mcomplex z, mcomplex* result);

}  // namespace zenthar

#endif
