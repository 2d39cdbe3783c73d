// Every operation's definition.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ALL_H
#define ZENTHAR_KERNELS_OPERATIONS_ALL_H

#include "kernels/operations/arithmetic.h"
#include "kernels/operations/elementary.h"
#include "kernels/operations/power.h"

#endif
