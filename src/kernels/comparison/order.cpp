// Lexicographic order of runs of elements.
#include "kernels/comparison/order.h"

namespace {

using zenthar::order_elements;
using zenthar::same_element;

// Runs this long are compared without a loop, and longer ones passed over in such steps while they are equal.
constexpr mint kUnrolled = 4;

template <typename Element>
bool same_four(const Element* a, const Element* b) {
  return int(same_element(a[0], b[0])) & int(same_element(a[1], b[1])) & int(same_element(a[2], b[2])) &
         int(same_element(a[3], b[3]));
}

template <typename Element>
int32_t order_short(const Element* a, const Element* b, mint n) {
  if (n <= 0) return 0;
  int32_t order = order_elements(a[0], b[0]);
  if (order != 0 || n == 1) return order;
  order = order_elements(a[1], b[1]);
  if (order != 0 || n == 2) return order;
  order = order_elements(a[2], b[2]);
  if (order != 0 || n == 3) return order;
  return order_elements(a[3], b[3]);
}

template <typename Element>
int32_t order_runs(const Element* a, const Element* b, mint n) {
  for (; n > kUnrolled && same_four(a, b); n -= kUnrolled) {
    a += kUnrolled;
    b += kUnrolled;
  }
  return order_short(a, b, n < kUnrolled ? n : kUnrolled);
}

}  // namespace

int32_t OrderIntegerData(const mint* a, const mint* b, mint n) { return order_runs(a, b, n); }

int32_t OrderRealData(const mreal* a, const mreal* b, mint n) { return order_runs(a, b, n); }

int32_t OrderComplexData(const mcomplex* a, const mcomplex* b, mint n) { return order_runs(a, b, n); }
