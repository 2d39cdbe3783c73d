// Sorting arrays: the values of a list of integers or reals as words, everything else by a permutation.
#include <cstring>

#include "kernels/comparison/array_rows.h"
#include "kernels/comparison/permutation.h"
#include "kernels/comparison/word_sort.h"
#include "kernels/scalar/raise.h"
#include "zenthar/comparison.h"

namespace zenthar {
namespace {

constexpr int32_t kQuietly = 1;

// The result of a list of n values, written by `write` to its data; the shape is the list's own.
template <typename Write>
int32_t write_like(MTensor* result, MTensor array, Write write) {
  const int32_t status =
      MTensor_allocateCommon(result, array->tensorType, array->rank, array->dimensions, kQuietly);
  if (status == 0) write((*result)->data);
  return status;
}

int32_t sort_integers(MTensor* result, MTensor array) {
  const mint n = row_count(array);
  const auto* const values = static_cast<const mint*>(array->data);
  const WorkSpace<uint64_t> words(2 * n);
  if (!words) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  for (mint i = 0; i < n; ++i) words[i] = sort_key(values[i]);
  const uint64_t* const sorted = sort_words(words.get(), words.get() + n, n, 0);
  if (!sorted) return ZENTHAR_ERROR_ABORT;
  return write_like(result, array, [=](void* data) {
    auto* const out = static_cast<mint*>(data);
    for (mint i = 0; i < n; ++i) out[i] = integer_of_key(sorted[i]);
  });
}

// What the keys of reals do not carry: which NaNs there were, and the signs of the zeros, in their order.
// They are written to the work space that the sorted words left free.
int32_t sort_reals(MTensor* result, MTensor array) {
  const mint n = row_count(array);
  const auto* const values = static_cast<const mreal*>(array->data);
  const WorkSpace<uint64_t> words(2 * n);
  if (!words) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  mint numbers = 0, negative_zeros = 0;
  for (mint i = 0; i < n; ++i) {
    words[numbers] = number_key(values[i]);
    numbers += values[i] == values[i];
    negative_zeros += std::bit_cast<uint64_t>(values[i]) == kSignBit;
  }
  uint64_t* const sorted = sort_words(words.get(), words.get() + n, numbers, 0);
  if (!sorted) return ZENTHAR_ERROR_ABORT;
  auto* const special = reinterpret_cast<mreal*>(sorted == words.get() ? words.get() + n : words.get());
  mint nans = 0, zeros = 0;
  if (numbers < n)
    for (mint i = 0; i < n; ++i)
      if (std::isnan(values[i])) special[nans++] = values[i];
  if (negative_zeros > 0)
    for (mint i = 0; i < n; ++i)
      if (values[i] == 0) special[nans + zeros++] = values[i];
  return write_like(result, array, [=](void* data) {
    auto* const out = static_cast<mreal*>(data);
    for (mint i = 0; i < numbers; ++i) out[i] = number_of_key(sorted[i]);
    std::copy_n(special, nans, out + numbers);
    if (zeros == 0) return;
    mreal* const first = std::lower_bound(out, out + numbers, 0.0);
    std::copy_n(special + nans, zeros, first);
  });
}

int32_t sort_by_rows(MTensor* result, MTensor array) {
  const mint n = row_count(array);
  const WorkSpace<mint> permutation(n);
  if (!permutation) return ZENTHAR_ERROR_OUT_OF_MEMORY;
  if (!with_rows(array, [&](const auto& rows) { return sorting_permutation(permutation.get(), rows, n); }))
    return ZENTHAR_ERROR_ABORT;
  return gather_rows(result, array, permutation.get(), n);
}

int32_t sort(MTensor* result, MTensor array) {
  if (!result) return ZENTHAR_ERROR_ARGUMENT;
  const int32_t status = check_list(array);
  if (status != 0) return status;
  if (array->rank == 1 && array->tensorType == MTENSOR_TYPE_INTEGER) return sort_integers(result, array);
  if (array->rank == 1 && array->tensorType == MTENSOR_TYPE_REAL) return sort_reals(result, array);
  return sort_by_rows(result, array);
}

}  // namespace
}  // namespace zenthar

// The work space is released before an abort is raised, which may not come back.
int32_t MTensor_Sort(MTensor* result, MTensor array) {
  const int32_t status = zenthar::sort(result, array);
  return status == ZENTHAR_ERROR_ABORT ? zenthar::raise_error(status) : status;
}

int32_t TensorOrderedQ(mbool* ordered, MTensor array) {
  if (!ordered) return ZENTHAR_ERROR_ARGUMENT;
  const int32_t status = zenthar::check_list(array);
  if (status != 0) return status;
  *ordered = zenthar::with_rows(array, [n = zenthar::row_count(array)](const auto& rows) {
    for (mint i = 1; i < n; ++i)
      if (zenthar::order_rows(rows, i - 1, i) > 0) return mbool{0};
    return mbool{1};
  });
  return status;
}
