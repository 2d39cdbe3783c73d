// Looking for an element among the elements of a list, or for a row among rows.
#include <algorithm>

#include "kernels/comparison/array_rows.h"
#include "kernels/scalar/raise.h"
#include "zenthar/comparison.h"

namespace zenthar {
namespace {

constexpr int32_t kQuietly = 1;
constexpr mint kPollBlock = 65536;  // elements compared between two looks for an abort request

// 0, or what is wrong with looking for `element` in `array`.
int32_t check_search(MTensor array, MTensor element) {
  const int32_t status = check_list(array);
  if (status != 0) return status;
  if (!element) return ZENTHAR_ERROR_ARGUMENT;
  if (element->tensorType != array->tensorType) return ZENTHAR_ERROR_INVALID_TYPE;
  if (element->rank != array->rank - 1) return ZENTHAR_ERROR_RANK;
  const bool same_shape =
      element->rank == 0 ||
      std::equal(element->dimensions, element->dimensions + element->rank, array->dimensions + 1);
  return same_shape ? ZENTHAR_ERROR_SUCCESS : ZENTHAR_ERROR_DIMENSION;
}

// Calls found(row) for the rows that equal the element, in order, until it returns false; 0 or 34.
template <typename Found>
int32_t search(MTensor array, MTensor element, mreal tolerance, Found found) {
  const mint n = row_count(array);
  const mint block = std::max<mint>(kPollBlock / std::max<mint>(row_elements(array), 1), 1);
  return with_rows(array, [&](const auto& rows) -> int32_t {
    const auto* const wanted = static_cast<decltype(rows.data)>(element->data);
    for (mint from = 0; from < n; from += block) {
      if (from > 0 && checkAbortWatch()) return ZENTHAR_ERROR_ABORT;
      for (mint i = from; i < std::min(n, from + block); ++i)
        if (near_rows(rows, rows.data + i * rows.columns, wanted, tolerance) && !found(i))
          return ZENTHAR_ERROR_SUCCESS;
    }
    return ZENTHAR_ERROR_SUCCESS;
  });
}

int32_t count(mint* result, MTensor array, MTensor element, mreal tolerance) {
  if (!result) return ZENTHAR_ERROR_ARGUMENT;
  int32_t status = check_search(array, element);
  if (status != 0) return status;
  mint matches = 0;
  status = search(array, element, tolerance, [&](mint) {
    ++matches;
    return true;
  });
  if (status == 0) *result = matches;
  return status;
}

int32_t positions(MTensor* result, MTensor array, MTensor element, mreal tolerance) {
  if (!result || (*result && *result == element)) return ZENTHAR_ERROR_ARGUMENT;
  mint matches;
  int32_t status = count(&matches, array, element, tolerance);
  if (status != 0) return status;
  MTensor beside = nullptr;  // since the result may be the array itself
  status = MTensor_allocateCommon(&beside, MTENSOR_TYPE_INTEGER, 1, &matches, kQuietly);
  if (status != 0) return status;
  auto* next = static_cast<mint*>(beside->data);
  status = search(array, element, tolerance, [&](mint row) {
    *next++ = row + 1;
    return true;
  });
  if (status == 0 && !*result) {
    *result = beside;
    return status;
  }
  if (status == 0) status = MTensor_allocateCommon(result, MTENSOR_TYPE_INTEGER, 1, &matches, kQuietly);
  if (status == 0)
    std::copy_n(static_cast<const mint*>(beside->data), matches, static_cast<mint*>((*result)->data));
  MTensor_delete(beside);
  return status;
}

int32_t is_member(mbool* result, MTensor array, MTensor element, mreal tolerance) {
  if (!result) return ZENTHAR_ERROR_ARGUMENT;
  int32_t status = check_search(array, element);
  if (status != 0) return status;
  mbool member = 0;
  status = search(array, element, tolerance, [&](mint) {
    member = 1;
    return false;
  });
  if (status == 0) *result = member;
  return status;
}

int32_t raise_abort(int32_t status) { return status == ZENTHAR_ERROR_ABORT ? raise_error(status) : status; }

}  // namespace
}  // namespace zenthar

int32_t MTensor_position(MTensor* result, MTensor array, MTensor element, mreal tolerance) {
  return zenthar::raise_abort(zenthar::positions(result, array, element, tolerance));
}

int32_t TensorCount(mint* count, MTensor array, MTensor element, mreal tolerance) {
  return zenthar::raise_abort(zenthar::count(count, array, element, tolerance));
}

int32_t TensorMemberQ(mbool* member, MTensor array, MTensor element, mreal tolerance) {
  return zenthar::raise_abort(zenthar::is_member(member, array, element, tolerance));
}

int32_t TensorFreeQ(mbool* free, MTensor array, MTensor element, mreal tolerance) {
  mbool member;
  const int32_t status =
      free ? zenthar::is_member(&member, array, element, tolerance) : ZENTHAR_ERROR_ARGUMENT;
  if (status == 0) *free = !member;
  return zenthar::raise_abort(status);
}
