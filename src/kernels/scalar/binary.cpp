// The exported scalar functions of two arguments, and the scalar functions of their records.
#include "kernels/scalar/members.h"
#include "kernels/scalar/records.h"

using namespace zenthar;
using namespace zenthar::scalar;

#define ZENTHAR_EXPORT_BINARY(l, m, name, Op)                                                              \
  int32_t s_machfunc_##l##m##_##name(Result<Op, ZENTHAR_TYPE_##l, ZENTHAR_TYPE_##m>* result,               \
                                     ZENTHAR_PARAMETER_##l(a), ZENTHAR_PARAMETER_##m(b), uint32_t flags) { \
    return scalar_call<Op, ZENTHAR_TYPE_##l, ZENTHAR_TYPE_##m>(result, flags, ZENTHAR_ARGUMENT_##l(a),     \
                                                               ZENTHAR_ARGUMENT_##m(b));                   \
  }
#define ZENTHAR_EXPORT_ii(name, Op) ZENTHAR_EXPORT_BINARY(i, i, name, Op)
#define ZENTHAR_EXPORT_id(name, Op) ZENTHAR_EXPORT_BINARY(i, d, name, Op)
#define ZENTHAR_EXPORT_ic(name, Op) ZENTHAR_EXPORT_BINARY(i, c, name, Op)
#define ZENTHAR_EXPORT_di(name, Op) ZENTHAR_EXPORT_BINARY(d, i, name, Op)
#define ZENTHAR_EXPORT_dd(name, Op) ZENTHAR_EXPORT_BINARY(d, d, name, Op)
#define ZENTHAR_EXPORT_dc(name, Op) ZENTHAR_EXPORT_BINARY(d, c, name, Op)
#define ZENTHAR_EXPORT_ci(name, Op) ZENTHAR_EXPORT_BINARY(c, i, name, Op)
#define ZENTHAR_EXPORT_cd(name, Op) ZENTHAR_EXPORT_BINARY(c, d, name, Op)
#define ZENTHAR_EXPORT_cc(name, Op) ZENTHAR_EXPORT_BINARY(c, c, name, Op)

#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  ZENTHAR_FOR_MEMBERS(ZENTHAR_EXPORT, name, Op __VA_OPT__(, ) __VA_ARGS__)
ZENTHAR_BINARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW

template ScalarRows<mint>::Binary ScalarRows<mint>::binary;
template ScalarRows<mreal>::Binary ScalarRows<mreal>::binary;
template ScalarRows<mcomplex>::Binary ScalarRows<mcomplex>::binary;
