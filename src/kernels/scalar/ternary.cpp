// The exported scalar functions of three arguments, and the scalar functions of their records.
#include "kernels/scalar/members.h"
#include "kernels/scalar/records.h"

using namespace zenthar;
using namespace zenthar::scalar;

#define ZENTHAR_EXPORT_TERNARY(l, name, Op)                                                               \
  int32_t s_machfunc_##l##l##l##_##name(                                                                  \
      Result<Op, ZENTHAR_TYPE_##l, ZENTHAR_TYPE_##l, ZENTHAR_TYPE_##l>* result, ZENTHAR_PARAMETER_##l(a), \
      ZENTHAR_PARAMETER_##l(x), ZENTHAR_PARAMETER_##l(y), uint32_t flags) {                               \
    return scalar_call<Op, ZENTHAR_TYPE_##l, ZENTHAR_TYPE_##l, ZENTHAR_TYPE_##l>(                         \
        result, flags, ZENTHAR_ARGUMENT_##l(a), ZENTHAR_ARGUMENT_##l(x), ZENTHAR_ARGUMENT_##l(y));        \
  }
#define ZENTHAR_EXPORT_COMPENSATED(l, name, Op)                                                          \
  int32_t s_machfunc_##l##l##l##_##name(ZENTHAR_TYPE_##l* result, ZENTHAR_PARAMETER_##l(a),              \
                                        ZENTHAR_PARAMETER_##l(b), ZENTHAR_TYPE_##l* c, uint32_t flags) { \
    return compensated_call<Op, ZENTHAR_TYPE_##l>(result, flags, ZENTHAR_ARGUMENT_##l(a),                \
                                                  ZENTHAR_ARGUMENT_##l(b), c);                           \
  }
#define ZENTHAR_EXPORT_iii(name, Op) ZENTHAR_EXPORT_TERNARY(i, name, Op)
#define ZENTHAR_EXPORT_ddd(name, Op) ZENTHAR_EXPORT_TERNARY(d, name, Op)
#define ZENTHAR_EXPORT_ccc(name, Op) ZENTHAR_EXPORT_TERNARY(c, name, Op)
#define ZENTHAR_EXPORT_ddp(name, Op) ZENTHAR_EXPORT_COMPENSATED(d, name, Op)
#define ZENTHAR_EXPORT_ccp(name, Op) ZENTHAR_EXPORT_COMPENSATED(c, name, Op)

#define ZENTHAR_ROW(name, Op, id, threshold_class, ...) \
  ZENTHAR_FOR_MEMBERS(ZENTHAR_EXPORT, name, Op __VA_OPT__(, ) __VA_ARGS__)
ZENTHAR_TERNARY_OPERATIONS(ZENTHAR_ROW)
#undef ZENTHAR_ROW

template ScalarRows<mint>::Ternary ScalarRows<mint>::ternary;
template ScalarRows<mreal>::Ternary ScalarRows<mreal>::ternary;
template ScalarRows<mcomplex>::Ternary ScalarRows<mcomplex>::ternary;
