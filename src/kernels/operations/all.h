// Every operation's definition.
#ifndef ZENTHAR_KERNELS_OPERATIONS_ALL_H
#define ZENTHAR_KERNELS_OPERATIONS_ALL_H

#include "kernels/operations/arithmetic.h"
#include "kernels/operations/division.h"
#include "kernels/operations/elementary.h"
#include "kernels/operations/fused.h"
#include "kernels/operations/integers.h"
#include "kernels/operations/order.h"
#include "kernels/operations/power.h"
#include "kernels/operations/rounding.h"
#include "kernels/operations/special.h"

#endif
