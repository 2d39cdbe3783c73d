// Loops over SLEEF's functions for vectors, compiled once for each processor target.
#ifndef ZENTHAR_BENCH_FUNCTIONS_SLEEF_H
#define ZENTHAR_BENCH_FUNCTIONS_SLEEF_H

#include <cstddef>

// Of doubles or of floats. The second operand counts for functions of two alone; n is a multiple of 16.
using SleefLoop = void (*)(void* result, const void* a, const void* b, size_t n);

// By the name of the operation; null where SLEEF has no such function.
namespace sleef_baseline {
SleefLoop find(const char* name, bool singles);
}
namespace sleef_avx2 {
SleefLoop find(const char* name, bool singles);
}
namespace sleef_avx512 {
SleefLoop find(const char* name, bool singles);
}

#endif
