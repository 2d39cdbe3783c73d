// The scalar functions of the records of the other element types, which have no exported ones; and the
// tables.
#include "kernels/scalar/records.h"

namespace zenthar {
namespace scalar {

extern template struct Rows<MakeScalarRecord, mint>;
extern template struct Rows<MakeScalarRecord, mreal>;
extern template struct Rows<MakeScalarRecord, mcomplex>;

}  // namespace scalar

constinit const ScalarTables kScalarTables =
    scalar::make_tables<scalar::MakeScalarRecord>(scalar::SlotTypes{});

}  // namespace zenthar
