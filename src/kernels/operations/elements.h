// Elements in memory, which need not be aligned.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ELEMENTS_H
#define ZENTHAR_KERNELS_OPERATIONS_ELEMENTS_H

#include "kernels/operations/operation.h"

namespace zenthar::ZENTHAR_TARGET {

template <class T>
ZENTHAR_KERNEL T load(const void* from) {
  if constexpr (AnyComplex<T>) {  // part by part, as loops vectorise it
    using P = PartOf<T>;
    return {load<P>(from), load<P>(static_cast<const char*>(from) + sizeof(P))};
  } else {
    T x;
    __builtin_memcpy(&x, from, sizeof(T));
    return x;
  }
}

template <class T>
ZENTHAR_KERNEL void store(void* to, T x) {
  if constexpr (AnyComplex<T>) {
    store(to, x.re);
    store(static_cast<char*>(to) + sizeof(x.re), x.im);
  } else {
    __builtin_memcpy(to, &x, sizeof(T));
  }
}

// Element i of a run.
template <class T>
ZENTHAR_KERNEL T load(const void* run, mint i) {
  return load<T>(static_cast<const char*>(run) + i * mint(sizeof(T)));
}
template <class T>
ZENTHAR_KERNEL void store(void* run, mint i, T x) {
  store(static_cast<char*>(run) + i * mint(sizeof(T)), x);
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
