// The names of operations, and compile-time checks of the table of operations.
#include <cstring>

#include "kernels/dispatch/records.h"
#include "kernels/operations/table.h"

namespace zenthar {
namespace {

struct OperationName {
  int32_t id;
  const char* name;
};

#define ZENTHAR_ROW(name, Op, id, ...) {id, #name},
constexpr OperationName kNames[] = {ZENTHAR_UNARY_OPERATIONS(ZENTHAR_ROW) ZENTHAR_BINARY_OPERATIONS(
    ZENTHAR_ROW) ZENTHAR_TERNARY_OPERATIONS(ZENTHAR_ROW)};
#undef ZENTHAR_ROW

constexpr OperationRange kRangeOfArity[] = {kUnary, kBinary, kTernary};

constexpr bool rising_and_in_range() {
  int32_t last = 0;
  for (const OperationName& entry : kNames) {
    bool known = false;
    for (const OperationRange& range : kRangeOfArity) known |= operation_index(range, entry.id) >= 0;
    if (!known || entry.id <= last) return false;
    last = entry.id;
  }
  return true;
}
static_assert(rising_and_in_range(),
              "rows are sorted by identifier, each its own, within the range of the arity");

}  // namespace
}  // namespace zenthar

using namespace zenthar;

int32_t MNumericArray_getMachFuncID(const char* name, int32_t arity) {
  if (!name || arity < 1 || arity > 3) return 0;
  for (const OperationName& entry : kNames)
    if (operation_index(kRangeOfArity[arity - 1], entry.id) >= 0 && std::strcmp(entry.name, name) == 0)
      return entry.id;
  return 0;
}

const char* MNumericArray_getMachFuncName(int32_t op) {
  for (const OperationName& entry : kNames)
    if (entry.id == op) return entry.name;
  return nullptr;
}
