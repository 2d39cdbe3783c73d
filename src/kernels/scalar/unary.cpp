// The exported scalar functions of one argument, and the scalar functions of their records.
#include "kernels/scalar/members.h"
#include "kernels/scalar/records.h"

using namespace zenthar;
using namespace zenthar::scalar;

#define ZENTHAR_EXPORT_UNARY(l, name, Op)                                                         \
  int32_t s_machfunc_##l##_##name(Result<Op, ZENTHAR_TYPE_##l>* result, ZENTHAR_PARAMETER_##l(x), \
                                  uint32_t flags) {                                               \
    return scalar_call<Op, ZENTHAR_TYPE_##l>(result, flags, ZENTHAR_ARGUMENT_##l(x));             \
  }
#define ZENTHAR_EXPORT_i(name, Op) ZENTHAR_EXPORT_UNARY(i, name, Op)
#define ZENTHAR_EXPORT_d(name, Op) ZENTHAR_EXPORT_UNARY(d, name, Op)
#define ZENTHAR_EXPORT_c(name, Op) ZENTHAR_EXPORT_UNARY(c, name, Op)

#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  ZENTHAR_FOR_MEMBERS(ZENTHAR_EXPORT, name, Op __VA_OPT__(, ) __VA_ARGS__)
ZENTHAR_UNARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW

template ScalarRows<mint>::Unary ScalarRows<mint>::unary;
template ScalarRows<mreal>::Unary ScalarRows<mreal>::unary;
template ScalarRows<mcomplex>::Unary ScalarRows<mcomplex>::unary;
