// Functions by pieces: each lane takes the row of coefficients of the piece of the domain that it is in.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_PIECES_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_PIECES_H

#include "kernels/vector/simd/lanes.h"

namespace zenthar::ZENTHAR_TARGET {

// Permutes take columns of 16 coefficients, other targets rows.
#ifdef __AVX512F__
template <int n>
struct Pieces {
  mreal column[n][16];
};
template <int n>
constexpr Pieces<n> arranged(const mreal (&rows)[16][n]) {
  Pieces<n> pieces{};
  for (int row = 0; row < 16; ++row)
    for (int k = 0; k < n; ++k) pieces.column[k][row] = rows[row][k];
  return pieces;
}
#else
template <int n>
struct Pieces {
  mreal row[16][n];
};
template <int n>
constexpr Pieces<n> arranged(const mreal (&rows)[16][n]) {
  Pieces<n> pieces{};
  for (int row = 0; row < 16; ++row)
    for (int k = 0; k < n; ++k) pieces.row[row][k] = rows[row][k];
  return pieces;
}
#endif

// Coefficients of each lane's piece; n is a multiple of 4.
template <int n>
struct Row {
  Real term[n];
};

// The rows of pieces numbered by the low four bits.
template <int n>
ZENTHAR_KERNEL Row<n> pick(const Pieces<n>& pieces, Bits number) {
  Row<n> row;
  number &= 15;
#if defined(__AVX512F__)
  for (int k = 0; k < n; ++k) row.term[k] = look_up(pieces.column[k], number);
#elif defined(__AVX2__)
  const mreal* const from[] = {pieces.row[number[0]], pieces.row[number[1]], pieces.row[number[2]],
                               pieces.row[number[3]]};
  for (int k = 0; k < n; k += 4) {
    const Real a = load_lanes(from[0] + k), b = load_lanes(from[1] + k), c = load_lanes(from[2] + k),
               d = load_lanes(from[3] + k);
    const Real ab02 = __builtin_shufflevector(a, b, 0, 4, 2, 6),
               ab13 = __builtin_shufflevector(a, b, 1, 5, 3, 7);
    const Real cd02 = __builtin_shufflevector(c, d, 0, 4, 2, 6),
               cd13 = __builtin_shufflevector(c, d, 1, 5, 3, 7);
    row.term[k] = __builtin_shufflevector(ab02, cd02, 0, 1, 4, 5);
    row.term[k + 1] = __builtin_shufflevector(ab13, cd13, 0, 1, 4, 5);
    row.term[k + 2] = __builtin_shufflevector(ab02, cd02, 2, 3, 6, 7);
    row.term[k + 3] = __builtin_shufflevector(ab13, cd13, 2, 3, 6, 7);
  }
#else
  const mreal* const from[] = {pieces.row[number[0]], pieces.row[number[1]]};
  for (int k = 0; k < n; k += 2) {
    const Real a = load_lanes(from[0] + k), b = load_lanes(from[1] + k);
    row.term[k] = __builtin_shufflevector(a, b, 0, 2);
    row.term[k + 1] = __builtin_shufflevector(a, b, 1, 3);
  }
#endif
  return row;
}

// The polynomial of the terms from `first` to `last`, the constant first.
template <int first, int last, int n>
ZENTHAR_KERNEL Real polynomial(Real x, const Row<n>& row) {
  // Two chains of every other term.
  const Real square = x * x;
  Real a = row.term[last], b = row.term[last - 1];
  for (int k = last - 2; k >= first; k -= 2) {
    a = fused(a, square, row.term[k]);
    if (k > first) b = fused(b, square, row.term[k - 1]);
  }
  return (last - first) % 2 != 0 ? fused(a, x, b) : fused(b, x, a);
}

}  // namespace zenthar::ZENTHAR_TARGET

#endif
