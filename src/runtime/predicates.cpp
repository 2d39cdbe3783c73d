// Range predicates and conversions between machine integers and 32-bit ones.
#include <cmath>
#include <cstring>
#include <limits>

#include "zenthar/runtime.h"

namespace {

constexpr mreal kLargest = std::numeric_limits<mreal>::max();
constexpr mreal kSmallestNormal = std::numeric_limits<mreal>::min();

bool is_beyond_range(mreal x) { return !(std::fabs(x) <= kLargest); }
bool is_below_normal(mreal x) { return std::fabs(x) < kSmallestNormal; }
bool is_subnormal(mreal x) { return is_below_normal(x) && x != 0.0; }

}  // namespace

mbool cTESTFPOV(mreal re, mreal im) { return is_beyond_range(re) || is_beyond_range(im); }

mbool MComplexUnderflowQ(mreal re, mreal im) { return is_below_normal(re) || is_below_normal(im); }

mbool MComplexUnderflow0Q(mreal re, mreal im) { return is_subnormal(re) || is_subnormal(im); }

mbool MInt32Q(mint n) { return uint64_t(n) + 2147483647u <= 4294967294u; }

mbool IntFromMint(int32_t* out, mint n) {
  *out = int32_t(n);
  return *out == n;
}

// In the array forms both types of element may lie in one buffer, so they are read and written as bytes.
mbool IntFromMintArray(int32_t* out, const mint* in, mint count) {
  for (mint i = 0; i < count; ++i) {
    mint wide;
    std::memcpy(&wide, in + i, sizeof wide);
    const auto narrow = int32_t(wide);
    std::memcpy(out + i, &narrow, sizeof narrow);
    if (narrow != wide) return 0;
  }
  return 1;
}

void MintFromIntArray(mint* out, const int32_t* in, mint count) {
  for (mint i = count - 1; i >= 0; --i) {
    int32_t narrow;
    std::memcpy(&narrow, in + i, sizeof narrow);
    const mint wide = narrow;
    std::memcpy(out + i, &wide, sizeof wide);
  }
}
