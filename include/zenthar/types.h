/**
 * @file types.h
 * @brief The machine types of compiled code, and the marks every other header uses.
 */
#ifndef ZENTHAR_TYPES_H
#define ZENTHAR_TYPES_H

#include <stddef.h>
#include <stdint.h>

/** Marks what the shared library exports; everything else in it is hidden. */
#if defined(__GNUC__)
#define ZENTHAR_API __attribute__((visibility("default")))
#else
#define ZENTHAR_API
#endif

/**
 * @def ZENTHAR_BEGIN_DECLS
 * Opens a block of declarations with C linkage.
 * @def ZENTHAR_END_DECLS
 * Closes such a block.
 */
#ifdef __cplusplus
#define ZENTHAR_BEGIN_DECLS extern "C" {
#define ZENTHAR_END_DECLS }
#else
#define ZENTHAR_BEGIN_DECLS
#define ZENTHAR_END_DECLS
#endif

/** A compile-time check that reads the same in C11 and C++. */
#ifdef __cplusplus
#define ZENTHAR_STATIC_ASSERT(condition, message) static_assert(condition, message)
#else
#define ZENTHAR_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#endif

/** Machine integer: counts, ranks, dimensions, indices and integer elements. */
typedef int64_t mint;
/** Machine real: IEEE 754 binary64. */
typedef double mreal;
/** Machine complex: real part, then imaginary part. */
typedef struct st_mcomplex {
  mreal re; /**< real part */
  mreal im; /**< imaginary part */
} mcomplex;
/** Truth value at the boundary: 0 or 1. */
typedef int32_t mbool;

ZENTHAR_STATIC_ASSERT(sizeof(mcomplex) == 16, "mcomplex is two binary64 values");
ZENTHAR_STATIC_ASSERT(offsetof(mcomplex, im) == 8, "the real part comes first");

#endif
