// Stable ordering permutations of rows.
#pragma once

#include "kernels/comparison/sort_keys.h"

namespace zenthar {

// Writes the 0-based permutation that puts n rows in ascending order, equal ones as they stand. Work space is
// two words a row; without it the sort goes on in place, more slowly. False when the host requested an abort:
// the permutation is the identity then.
bool sorting_permutation(mint* permutation, const IntegerRows& rows, mint n);
bool sorting_permutation(mint* permutation, const RealRows& rows, mint n);
bool sorting_permutation(mint* permutation, const ComplexRows& rows, mint n);

}  // namespace zenthar
