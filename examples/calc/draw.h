// Random rows, drawn by the library's current generator.
//
// What is drawn is drawn at once, before the program that uses it runs: so the values depend on the seed and
// the order of the calls alone, not on how rows are cut into chunks, and a row that is computed again has the
// same ones.
#ifndef ZCALC_DRAW_H
#define ZCALC_DRAW_H

#include <optional>
#include <string>

#include "array.h"
#include "failure.h"

namespace zcalc {

/// From now on the calling thread draws by this method of the library; where the name is empty, as before, by
/// the default method at first. Without a seed the operating system gives one. Throws a Failure with status
/// kUsage for a name that no method has.
void select_generator(const std::string& method, std::optional<mint> seed);

// Lists of `count` random numbers. A Failure has the place of the call.

/// Reals from `low`, included, to `high`, excluded.
Array random_reals(mint count, mreal low, mreal high, Span place);
/// Integers from `low` to `high`, both included.
Array random_integers(mint count, mint low, mint high, Span place);
/// Positions from 1 on, with or without repetition. Of `positions`, a whole number says how many there are, a
/// list their weights.
Array random_positions(mint count, const Array& positions, bool repeat, Span place);

}  // namespace zcalc

#endif
