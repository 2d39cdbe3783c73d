// Loops over SLEEF's functions for vectors, compiled once for each processor target.
#ifndef ZENTHAR_BENCH_FUNCTIONS_SLEEF_H
#define ZENTHAR_BENCH_FUNCTIONS_SLEEF_H

#include <cstddef>

// The second operand counts for functions of two alone; n is a multiple of 8.
using SleefLoop = void (*)(double* result, const double* a, const double* b, size_t n);

// By the name of the operation; null where SLEEF has no such function.
namespace sleef_baseline {
SleefLoop find(const char* name);
}
namespace sleef_avx2 {
SleefLoop find(const char* name);
}
namespace sleef_avx512 {
SleefLoop find(const char* name);
}

#endif
