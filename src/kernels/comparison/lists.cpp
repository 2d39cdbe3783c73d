// Comparisons over a whole list: chains such as a < b < c, equality of all, and distinctness of all.
//
// Equality under a tolerance is no equivalence, so codes 1, 2, 5 and 8 are about every pair. Still, of three
// reals x <= y <= z with x near z the middle one is near both: where that holds to the last bit, a list is
// all equal when its ends are, and distinct when its neighbours in order are.
#include <algorithm>
#include <cmath>

#include "kernels/comparison/tolerance.h"
#include "zenthar/memory.h"

namespace {

using zenthar::compare_reals;
using zenthar::near_complexes;
using zenthar::near_reals;

enum Code : int32_t {
  kEqual = 1,
  kUnequal = 2,
  kLess = 3,
  kLessEqual = 4,
  kSame = 5,
  kGreaterEqual = 6,
  kGreater = 7,
  kUnsame = 8
};

// Up to this length pairs are compared at once.
constexpr mint kFewValues = 16;
// Above this tolerance a fractional one may round a pair at the very boundary apart that holds a nearer one.
constexpr mreal kMonotone = 50;

bool is_monotone(mreal t) { return t <= kMonotone || t >= 53 || std::trunc(t) == t || std::isnan(t); }

bool has_nan(const mreal* values, mint n) {
  return std::any_of(values, values + n, [](mreal x) { return x != x; });
}

// The answer of `equal`, if it is the same for every pair i < j, is `wanted`.
template <typename Value, typename Equal>
bool every_pair(const Value* values, mint n, bool wanted, Equal equal) {
  for (mint i = 0; i + 1 < n; ++i)
    for (mint j = i + 1; j < n; ++j)
      if (equal(values[i], values[j]) != wanted) return false;
  return true;
}

bool all_near(const mreal* values, mint n, mreal t) {
  const auto near = [t](mreal a, mreal b) { return near_reals(t, a, b); };
  if (n <= kFewValues || has_nan(values, n)) return every_pair(values, n, true, near);
  const auto [least, greatest] = std::minmax_element(values, values + n);
  if (!near(*least, *greatest)) return false;
  return is_monotone(t) || every_pair(values, n, true, near);
}

// Sorted, with the NaNs left out, which equal nothing unless all bits are ignored.
bool no_neighbours_near(mreal* values, mint n, mreal t) {
  mreal* const end = std::remove_if(values, values + n, [](mreal x) { return x != x; });
  std::sort(values, end);
  return std::adjacent_find(values, end, [t](mreal a, mreal b) { return near_reals(t, a, b); }) == end;
}

bool none_near(const mreal* values, mint n, mreal t) {
  const auto near = [t](mreal a, mreal b) { return near_reals(t, a, b); };
  constexpr mint kClasses = 3;  // of reals with every bit ignored: zero and the two signs
  if (t >= 53 && n > kClasses) return false;
  if (n <= kFewValues || !is_monotone(t)) return every_pair(values, n, false, near);
  auto* const sorted = static_cast<mreal*>(RuntimeAllocate(size_t(n) * sizeof(mreal)));
  if (!sorted) return every_pair(values, n, false, near);
  std::copy_n(values, n, sorted);
  const bool none = no_neighbours_near(sorted, n, t);
  zfree(sorted);
  return none;
}

template <typename Value, typename Holds>
bool every_neighbour(const Value* values, mint n, Holds holds) {
  for (mint i = 0; i + 1 < n; ++i)
    if (!holds(values[i], values[i + 1])) return false;
  return true;
}

// Codes 3, 4, 6 and 7.
template <typename Value, typename Compare>
bool is_chain(int32_t code, const Value* values, mint n, Compare compare) {
  return every_neighbour(values, n, [&](const Value& a, const Value& b) {
    const int32_t order = compare(a, b);
    return code == kLess           ? order < 0
           : code == kLessEqual    ? order <= 0
           : code == kGreaterEqual ? order >= 0
                                   : order > 0;
  });
}

bool is_code(int32_t code) { return code >= kEqual && code <= kUnsame; }

bool all_near(const mcomplex* values, mint n, mreal t) {
  const auto near = [t](const mcomplex& a, const mcomplex& b) { return near_complexes(t, a, b); };
  if (!(t > 0)) return every_neighbour(values, n, near);
  return every_pair(values, n, true, near);
}

}  // namespace

mbool CompareReals(int32_t code, mint n, mreal tolerance, const mreal* values) {
  if (!is_code(code)) return 0;
  if (n < 2) return 1;
  if (code == kEqual || code == kSame) return all_near(values, n, tolerance);
  if (code == kUnequal || code == kUnsame) return none_near(values, n, tolerance);
  return is_chain(code, values, n, [tolerance](mreal a, mreal b) { return compare_reals(tolerance, a, b); });
}

mbool CompareRealsNoTolerance(int32_t code, mint n, const mreal* values) {
  return CompareReals(code, n, 0.0, values);
}

mbool CompareComplexes(int32_t code, mint n, mreal tolerance, const mcomplex* values) {
  if (!is_code(code)) return 0;
  if (n < 2) return 1;
  if (code == kEqual || code == kSame) return all_near(values, n, tolerance);
  if (code == kUnequal || code == kUnsame)
    return every_pair(values, n, false, [tolerance](const mcomplex& a, const mcomplex& b) {
      return near_complexes(tolerance, a, b);
    });
  if (std::any_of(values, values + n, [](const mcomplex& z) { return z.im != 0; })) return 0;
  return is_chain(code, values, n, [tolerance](const mcomplex& a, const mcomplex& b) {
    return compare_reals(tolerance, a.re, b.re);
  });
}

mbool CompareComplexesNoTolerance(int32_t code, mint n, const mcomplex* values) {
  return CompareComplexes(code, n, 0.0, values);
}
