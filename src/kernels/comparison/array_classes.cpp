// The classes of equal rows of an array: one of each, and how many there are.
//
// The rows are put in order, and a class begins with each row that does not equal the first row of the class
// before it. That is a partition whatever the tolerance, and takes no more time than sorting.
#include <algorithm>

#include "kernels/comparison/array_rows.h"
#include "kernels/comparison/permutation.h"
#include "kernels/scalar/raise.h"
#include "zenthar/comparison.h"

namespace zenthar {
namespace {

constexpr int32_t kQuietly = 1;

struct RowClass {
  mint first;  // the least row; the earliest of those that are equally low
  mint seen;   // the lowest index of its rows
  mint count;
};

// Calls class_of(first, seen, count) for each class in order.
template <typename Rows, typename Visit>
void visit_classes(const Rows& rows, const mint* permutation, mint n, mreal tolerance, Visit visit) {
  for (mint i = 0; i < n;) {
    RowClass current{permutation[i], permutation[i], 1};
    for (++i; i < n && near_rows(rows, current.first, permutation[i], tolerance); ++i) {
      current.seen = std::min(current.seen, permutation[i]);
      ++current.count;
    }
    visit(current);
  }
}

// Puts the rows of a checked array in order; 0 or 34.
int32_t order(mint* permutation, MTensor array) {
  const bool sorted = with_rows(
      array, [&](const auto& rows) { return sorting_permutation(permutation, rows, row_count(array)); });
  return sorted ? ZENTHAR_ERROR_SUCCESS : ZENTHAR_ERROR_ABORT;
}

int32_t unite(MTensor* result, MTensor array, mreal tolerance) {
  if (!result) return ZENTHAR_ERROR_ARGUMENT;
  int32_t status = check_list(array);
  if (status != 0) return status;
  const mint n = row_count(array);
  const WorkSpace<mint> permutation(n);
  if (!permutation) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  if ((status = order(permutation.get(), array)) != 0) return status;
  mint classes = 0;  // their first rows overwrite the part of the permutation that was passed
  with_rows(array, [&](const auto& rows) {
    visit_classes(rows, permutation.get(), n, tolerance,
                  [&](const RowClass& c) { permutation[classes++] = c.first; });
  });
  return gather_rows(result, array, permutation.get(), classes);
}

int32_t tally(MTensor* values, MTensor* counts, MTensor array, mreal tolerance) {
  if (!values || !counts || values == counts || (*counts && (*counts == array || *counts == *values)))
    return ZENTHAR_ERROR_ARGUMENT;
  int32_t status = check_list(array);
  if (status != 0) return status;
  const mint n = row_count(array);
  const WorkSpace<mint> permutation(n);
  const WorkSpace<RowClass> classes(n);
  if (!permutation || !classes) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  if ((status = order(permutation.get(), array)) != 0) return status;
  mint found = 0;
  with_rows(array, [&](const auto& rows) {
    visit_classes(rows, permutation.get(), n, tolerance, [&](const RowClass& c) { classes[found++] = c; });
  });
  std::sort(classes.get(), classes.get() + found,
            [](const RowClass& a, const RowClass& b) { return a.seen < b.seen; });
  const bool new_counts = *counts == nullptr;
  if ((status = MTensor_allocateCommon(counts, MTENSOR_TYPE_INTEGER, 1, &found, kQuietly)) != 0)
    return status;
  for (mint k = 0; k < found; ++k) {
    static_cast<mint*>((*counts)->data)[k] = classes[k].count;
    permutation[k] = classes[k].seen;
  }
  status = gather_rows(values, array, permutation.get(), found);
  if (status != 0 && new_counts) {
    MTensor_delete(*counts);
    *counts = nullptr;
  }
  return status;
}

}  // namespace
}  // namespace zenthar

int32_t MTensor_Union(MTensor* result, MTensor array, mreal tolerance) {
  const int32_t status = zenthar::unite(result, array, tolerance);
  return status == ZENTHAR_ERROR_ABORT ? zenthar::raise_error(status) : status;
}

int32_t MTensor_tally(MTensor* values, MTensor* counts, MTensor array, mreal tolerance) {
  const int32_t status = zenthar::tally(values, counts, array, tolerance);
  return status == ZENTHAR_ERROR_ABORT ? zenthar::raise_error(status) : status;
}
