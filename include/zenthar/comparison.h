/**
 * @file comparison.h
 * @brief Constants of comparison and of the real kernels.
 */
#ifndef ZENTHAR_COMPARISON_H
#define ZENTHAR_COMPARISON_H

#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** @name Constants
 * @{ */
extern ZENTHAR_API const mreal MachineOverflow;  /**< plus infinity */
extern ZENTHAR_API const mreal MachinePrecision; /**< minus infinity: the precision tag of machine reals */
extern ZENTHAR_API const mreal dInfinity;        /**< plus infinity */
extern ZENTHAR_API const mreal logtwo;           /**< natural logarithm of 2 */
extern ZENTHAR_API const mreal logten;           /**< natural logarithm of 10 */
extern ZENTHAR_API const mreal log2ten;          /**< logarithm of 10 to base 2 */
/** @} */

ZENTHAR_END_DECLS

#endif
