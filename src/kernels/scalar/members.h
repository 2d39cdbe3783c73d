// The bodies behind the members' letters: ZENTHAR_EXPORT_<letters>(name, Op) defines
// s_machfunc_<letters>_<name>.
#ifndef ZENTHAR_KERNELS_SCALAR_MEMBERS_H
#define ZENTHAR_KERNELS_SCALAR_MEMBERS_H

#include "kernels/operations/table.h"
#include "kernels/scalar/scalar_call.h"
#include "zenthar/scalar.h"

// Argument lists and arguments, by letter.
#define ZENTHAR_PARAMETER_i(x) mint x
#define ZENTHAR_PARAMETER_d(x) mreal x
#define ZENTHAR_PARAMETER_c(x) mreal x##_re, mreal x##_im
#define ZENTHAR_ARGUMENT_i(x) x
#define ZENTHAR_ARGUMENT_d(x) x
#define ZENTHAR_ARGUMENT_c(x) \
  mcomplex { x##_re, x##_im }
#define ZENTHAR_TYPE_i mint
#define ZENTHAR_TYPE_d mreal
#define ZENTHAR_TYPE_c mcomplex

#define ZENTHAR_EXPORT(letters, name, Op) ZENTHAR_EXPORT_##letters(name, Op)
#define ZENTHAR_ONE_MORE(letters, name, Op) +1

namespace zenthar::ZENTHAR_TARGET {
// How many functions the library exports under s_machfunc_ names.
inline constexpr int kScalarFunctions = 0
#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  ZENTHAR_FOR_MEMBERS(ZENTHAR_ONE_MORE, name, Op __VA_OPT__(, ) __VA_ARGS__)
    ZENTHAR_UNARY_OPERATIONS(ZENTHAR_ROW) ZENTHAR_BINARY_OPERATIONS(ZENTHAR_ROW)
        ZENTHAR_TERNARY_OPERATIONS(ZENTHAR_ROW);
#undef ZENTHAR_ROW
static_assert(kScalarFunctions == 272, "the exported scalar functions are counted");
}  // namespace zenthar::ZENTHAR_TARGET

#endif
