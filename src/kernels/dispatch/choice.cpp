#include "kernels/dispatch/choice.h"

#include "kernels/dispatch/records.h"
#include "zenthar/array.h"

namespace zenthar {
namespace {

constexpr bool is_type(int32_t type) { return type >= 1 && type <= 13; }
constexpr bool is_integer(int32_t type) { return type <= 8; }
constexpr bool is_signed(int32_t type) { return type % 2 != 0; }
constexpr bool is_complex(int32_t type) {
  return type == MNUMERICARRAY_TYPE_COMPLEX_REAL32 || type == MNUMERICARRAY_TYPE_COMPLEX_REAL64;
}

// Whether binary32 does not hold all values of a type.
constexpr bool needs_double(int32_t type) {
  return (type >= MNUMERICARRAY_TYPE_INTEGER32 && type <= MNUMERICARRAY_TYPE_UNSIGNED_INTEGER64) ||
         type == MNUMERICARRAY_TYPE_REAL64 || type == MNUMERICARRAY_TYPE_COMPLEX_REAL64;
}

constexpr int32_t common_integer(int32_t type1, int32_t type2) {
  if (is_signed(type1) == is_signed(type2)) return type1 > type2 ? type1 : type2;
  const int32_t with_sign = is_signed(type1) ? type1 : type2;
  const int32_t above = (is_signed(type1) ? type2 : type1) + 1;  // the signed type of twice the width
  const int32_t wider = with_sign > above ? with_sign : above;
  return wider > MNUMERICARRAY_TYPE_INTEGER64 ? MNUMERICARRAY_TYPE_INTEGER64 : wider;
}
static_assert(common_integer(2, 1) == 3 && common_integer(3, 4) == 5 && common_integer(6, 1) == 7 &&
              common_integer(8, 7) == 7 && common_integer(2, 7) == 7);

// The slot of the machine type of a type's kind; machine types widen in the order of slots.
constexpr int machine_slot(int32_t type) { return is_integer(type) ? 0 : is_complex(type) ? 2 : 1; }

int32_t result_type(int32_t op, int32_t arity, const int32_t* types) {
  if (arity == 1) return kScalarTables.entry(op, types[0]).result_type;
  if (arity == 2) return kScalarTables.entry(op, types[0], types[1]).result_type;
  return kScalarTables.entry(op, types[0], types[1], types[2]).result_type;
}

}  // namespace

int32_t common_type(int32_t type1, int32_t type2) {
  if (is_integer(type1) && is_integer(type2)) return common_integer(type1, type2);
  const bool wide = needs_double(type1) || needs_double(type2);
  if (is_complex(type1) || is_complex(type2))
    return wide ? MNUMERICARRAY_TYPE_COMPLEX_REAL64 : MNUMERICARRAY_TYPE_COMPLEX_REAL32;
  return wide ? MNUMERICARRAY_TYPE_REAL64 : MNUMERICARRAY_TYPE_REAL32;
}

Choice choose_record(int32_t op, int32_t arity, const int32_t* types) {
  Choice choice = {};
  int32_t common = 0;
  for (int32_t k = 0; k < arity; ++k) {
    if (!is_type(types[k])) return {};
    common = k == 0 ? types[0] : common_type(common, types[k]);
  }
  if (common == MNUMERICARRAY_TYPE_REAL16) common = MNUMERICARRAY_TYPE_REAL32;
  const auto found = [&](auto type_of) {
    for (int32_t k = 0; k < arity; ++k) choice.evaluated[k] = type_of(k);
    choice.result_type = result_type(op, arity, choice.evaluated);
    return choice.result_type != 0;
  };
  if (found([=](int32_t k) { return types[k]; }) || found([=](int32_t) { return common; })) return choice;
  // How far each is widened, as digits of a number, by their sum.
  constexpr int kPlaces[] = {1, kMachineSlots, kMachineSlots * kMachineSlots,
                             kMachineSlots * kMachineSlots * kMachineSlots};
  for (int sum = 0; sum <= 2 * arity; ++sum)
    for (int digits = 0; digits < kPlaces[arity]; ++digits) {
      int slots[3] = {}, steps = 0;
      bool fits = true;
      for (int32_t k = 0; k < arity; ++k) {
        const int step = digits / kPlaces[arity - 1 - k] % kMachineSlots;
        slots[k] = machine_slot(types[k]) + step;
        steps += step;
        fits &= slots[k] < kMachineSlots;
      }
      if (fits && steps == sum && found([&](int32_t k) { return kTypeOfSlot[slots[k]]; })) return choice;
    }
  return {};
}

}  // namespace zenthar
