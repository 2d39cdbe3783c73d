// The length thresholds of vector functions: plain words, one per class.
#include "kernels/dispatch/thresholds.h"

#include "zenthar/dispatch.h"

namespace zenthar {
namespace {

constexpr int kClasses = 5;
constexpr mint kParallelLength = 8192;

mint parallel_length[kClasses] = {kParallelLength, kParallelLength, kParallelLength, kParallelLength,
                                  kParallelLength};
mint vendor_length[kClasses] = {};

}  // namespace

void vector_thresholds_initialize(int32_t phase) {
  if (phase != 0) return;
  for (mint& length : parallel_length) length = kParallelLength;
}

}  // namespace zenthar

using namespace zenthar;

mint getVectorParallelLengthThreshold(int32_t k) { return parallel_length[k]; }
void setVectorParallelLengthThreshold(int32_t k, mint n) { parallel_length[k] = n; }
mint getVectorVendorLengthThreshold(int32_t k) { return vendor_length[k]; }
void setVectorVendorLengthThreshold(int32_t k, mint n) { vendor_length[k] = n; }
