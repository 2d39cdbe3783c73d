// The two cyclic redundancy checks, each in the forms that a processor can offer.
//
// A kernel takes bytes of any alignment and their number. All kernels of one check give the same values.
#pragma once

#include <cstdint>

namespace zenthar::crc {

using Kernel = uint64_t (*)(const void* data, uint64_t length);

// What a processor needs for a kernel, beside the baseline.
enum class Target { kBaseline, kCarrylessMultiply, kWideCarrylessMultiply };

inline constexpr Target kTargets[] = {Target::kBaseline, Target::kCarrylessMultiply,
                                      Target::kWideCarrylessMultiply};

bool supported(Target target);

// Sliced tables: any processor.
uint64_t crc32_tables(const void* data, uint64_t length);
uint64_t crc64_tables(const void* data, uint64_t length);

#if defined(__x86_64__)
// Carry-less multiplication, 16 bytes at a time: PCLMULQDQ and SSSE3.
uint64_t crc32_clmul(const void* data, uint64_t length);
uint64_t crc64_clmul(const void* data, uint64_t length);

// The same, 64 bytes at a time: VPCLMULQDQ and AVX-512 (F, BW, VL, DQ).
uint64_t crc32_wide_clmul(const void* data, uint64_t length);
uint64_t crc64_wide_clmul(const void* data, uint64_t length);
#endif

// The kernel of a target that is supported.
Kernel crc32_kernel(Target target);
Kernel crc64_kernel(Target target);

// The best target of this processor.
Target best_target();

}  // namespace zenthar::crc
