// The exact ordering of elements that runs, sorting and the predicates of arrays share.
#pragma once

#include <cmath>

#include "zenthar/comparison.h"

namespace zenthar {

// -1, 0 or 1; a NaN is below whatever it meets.
inline int32_t order_elements(mreal a, mreal b) { return a == b ? 0 : a > b ? 1 : -1; }

inline int32_t order_elements(mint a, mint b) { return (a > b) - (a < b); }

// Imaginary parts: by magnitude, x and -x by value.
inline int32_t order_imaginary(mreal a, mreal b) {
  const mreal magnitude_a = std::fabs(a), magnitude_b = std::fabs(b);
  return magnitude_a == magnitude_b ? order_elements(a, b) : order_elements(magnitude_a, magnitude_b);
}

inline int32_t order_elements(const mcomplex& a, const mcomplex& b) {
  const int32_t order = order_elements(a.re, b.re);
  return order != 0 ? order : order_imaginary(a.im, b.im);
}

inline bool same_element(mint a, mint b) { return a == b; }
inline bool same_element(mreal a, mreal b) { return a == b; }
inline bool same_element(const mcomplex& a, const mcomplex& b) {
  return int(a.re == b.re) & int(a.im == b.im);
}

}  // namespace zenthar
