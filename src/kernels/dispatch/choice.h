// Which record evaluates an operation for arguments of any element types.
#ifndef ZENTHAR_KERNELS_DISPATCH_CHOICE_H
#define ZENTHAR_KERNELS_DISPATCH_CHOICE_H

#include <stdint.h>

namespace zenthar {

// The least element type that holds the values of both: a wider signed integer for integers of either sign
// (Integer64 beside UnsignedInteger64 too), binary32 for integers up to 16 bits beside reals of 32, else
// binary64; a complex one beside a complex. Real16 counts as Real32. Both are from 1 to 13.
int32_t common_type(int32_t type1, int32_t type2);

// The types that an operation evaluates its arguments in, and that of its result; 0 where it takes no such
// arguments.
struct Choice {
  int32_t evaluated[3];
  int32_t result_type;
};

// The first of these that has a record: the types themselves, their common type, machine types that are wide
// enough for each, the narrowest together first.
Choice choose_record(int32_t op, int32_t arity, const int32_t* types);

}  // namespace zenthar

#endif
