// The list of functions, as the library's dispatch knows them.
#ifndef ZCALC_FUNCTIONS_H
#define ZCALC_FUNCTIONS_H

#include <string>

namespace zcalc {

/// Every operation that has a kernel, with the types of its arguments and results.
std::string function_list();

}  // namespace zcalc

#endif
