// Arrays as lists: the elements of a list, the rows of what has more dimensions.
#pragma once

#include <algorithm>

#include "kernels/comparison/sort_keys.h"
#include "kernels/comparison/tolerance.h"
#include "zenthar/array.h"
#include "zenthar/errors.h"
#include "zenthar/memory.h"

namespace zenthar {

// Work space that is given back at the end of a block. Nothing in that block may leave by a jump.
template <typename Element>
class WorkSpace {
 public:
  explicit WorkSpace(mint n) {
    size_t bytes;
    if (!__builtin_mul_overflow(size_t(std::max<mint>(n, 1)), sizeof(Element), &bytes))
      data_ = static_cast<Element*>(RuntimeAllocate(bytes));
  }
  ~WorkSpace() { zfree(data_); }
  WorkSpace(const WorkSpace&) = delete;
  WorkSpace& operator=(const WorkSpace&) = delete;
  explicit operator bool() const { return data_ != nullptr; }
  Element* get() const { return data_; }
  Element& operator[](mint i) const { return data_[i]; }

 private:
  Element* data_ = nullptr;
};

// 0, or the code for what is no array of rows: 13 null, 19 another element type, 24 a scalar.
inline int32_t check_list(MTensor array) {
  if (!array) return ZENTHAR_ERROR_ARGUMENT;
  if (array->tensorType < MTENSOR_TYPE_INTEGER || array->tensorType > MTENSOR_TYPE_COMPLEX)
    return ZENTHAR_ERROR_INVALID_TYPE;
  return array->rank < 1 ? ZENTHAR_ERROR_RANK : ZENTHAR_ERROR_SUCCESS;
}

inline mint row_count(MTensor array) { return array->dimensions[0]; }

inline mint row_elements(MTensor array) {
  mint elements = 1;
  for (mint i = 1; i < array->rank; ++i) elements *= array->dimensions[i];
  return elements;
}

// Calls f with the rows of a checked array as the sorts see them.
template <typename F>
auto with_rows(MTensor array, F f) {
  const mint elements = row_elements(array);
  switch (array->tensorType) {
    case MTENSOR_TYPE_INTEGER:
      return f(IntegerRows{static_cast<const mint*>(array->data), elements});
    case MTENSOR_TYPE_REAL:
      return f(RealRows{static_cast<const mreal*>(array->data), elements});
    default:
      return f(ComplexRows{static_cast<const mreal*>(array->data), 2 * elements});
  }
}

// Whether the data of two rows are equal, element by element, under a tolerance.
inline bool near_rows(const IntegerRows& rows, const mint* a, const mint* b, mreal) {
  return std::equal(a, a + rows.columns, b);
}
inline bool near_rows(const RealRows& rows, const mreal* a, const mreal* b, mreal t) {
  for (mint i = 0; i < rows.columns; ++i)
    if (!near_reals(t, a[i], b[i])) return false;
  return true;
}
inline bool near_rows(const ComplexRows& rows, const mreal* a, const mreal* b, mreal t) {
  for (mint i = 0; i < rows.columns; i += 2)
    if (!near_complexes(t, {a[i], a[i + 1]}, {b[i], b[i + 1]})) return false;
  return true;
}
template <typename Rows>
bool near_rows(const Rows& rows, mint a, mint b, mreal t) {
  return near_rows(rows, rows.data + a * rows.columns, rows.data + b * rows.columns, t);
}

// Makes *result an array of `count` rows shaped as those of a list, row k being that at rows[k].
int32_t gather_rows(MTensor* result, MTensor array, const mint* rows, mint count);

}  // namespace zenthar
