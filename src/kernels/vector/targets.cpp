#include "kernels/vector/targets.h"

namespace zenthar {

constinit const VectorTables* vector_tables = &baseline::kVectorTables;

}  // namespace zenthar
