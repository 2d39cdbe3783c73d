// The error function of singles.
#include "kernels/vector/simd/loop.h"
#include "kernels/vector/simd/pieces.h"
#include "kernels/vector/simd/single/halves.h"

namespace zenthar::ZENTHAR_TARGET {
namespace {

constexpr auto kErf = arranged(kShortErfRows);

// By pieces of a quarter around its multiples. From 3.92 on the nearest single is 1.
struct ShortErf {
  ZENTHAR_KERNEL static Real of(Real x) {
    const Real size = lesser(broadcast(3.87), magnitude(x));
    const Nearest n = nearest(size * 4.0);
    const Real t = fused(n.value, -0.25, size);
    const Real y = polynomial<0, 7>(t, pick(kErf, n.integer));
    return with_sign(select(less(broadcast(3.9192059), magnitude(x)), broadcast(1.0), y), x);
  }
};

}  // namespace

ZENTHAR_VECTOR_FORM(Erf, ByHalves<ShortErf>, float)

}  // namespace zenthar::ZENTHAR_TARGET
