// The tolerances that hosts set, and the constants of comparison to the bit.
#include <limits>

#include "zenthar/comparison.h"

mreal EqualTolerance = 7.0;
mreal SameQTolerance = 1.0;
mreal HashTolerance = 1.0;

const mreal MachineOverflow = std::numeric_limits<mreal>::infinity();
const mreal MachinePrecision = -std::numeric_limits<mreal>::infinity();
const mreal dInfinity = std::numeric_limits<mreal>::infinity();
const mreal logtwo = 0.6931471805599453;
const mreal logten = 2.302585092994046;
const mreal log2ten = 3.321928094887362;
