// The processor targets that the vector functions are compiled for, and the one in use.
#ifndef ZENTHAR_KERNELS_VECTOR_TARGETS_H
#define ZENTHAR_KERNELS_VECTOR_TARGETS_H

#include "kernels/dispatch/records.h"

namespace zenthar {

namespace baseline {
extern const VectorTables kVectorTables;
}

// The tables that the getters answer from.
extern const VectorTables* vector_tables;

}  // namespace zenthar

#endif
