// Elements in memory, which need not be aligned.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ELEMENTS_H
#define ZENTHAR_KERNELS_OPERATIONS_ELEMENTS_H

#include "kernels/operations/operation.h"

namespace zenthar::ZENTHAR_TARGET {

template <class T>
ZENTHAR_KERNEL T load(const void* from) {
  if constexpr (std::is_same_v<T, mcomplex>) {  // part by part, as loops vectorise it
    return {load<mreal>(from), load<mreal>(static_cast<const char*>(from) + sizeof(mreal))};
  } else {
    T x;
    __builtin_memcpy(&x, from, sizeof(T));
    return x;
  }
}

template <class T>
ZENTHAR_KERNEL void store(void* to, T x) {
  if constexpr (std::is_same_v<T, mcomplex>) {
    store(to, x.re);
    store(static_cast<char*>(to) + sizeof(mreal), x.im);
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
