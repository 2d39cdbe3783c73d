// Element types: the tables by identifier, the two tables of names, and what a type sets in a header.
#include "array/element_types.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string_view>

#include "array/array.h"
#include "zenthar/comparison.h"

const mint MNumericArray_typeSizeTable[14] = {0, 1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 8, 16, 2};
const int32_t MTensorToMNumericArrayType[5] = {0, 7, 7, 10, 12};
const int32_t MNumericArrayToMTensorType[14] = {0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 3, 0, 4, 0};
const mint CompilerTypeSizeTable[6] = {0, 4, 8, 8, 16, 8};

namespace {

constexpr int kNamesPerType = 8;

// Row t - 1 holds the names of type t, the canonical one first, unused slots null.
using NameTable = std::array<std::array<const char*, kNamesPerType>, zenthar::kElementTypes - 1>;

constexpr NameTable kArrayNames = {{
    {"Integer8", "SignedInteger8", "signed char"},
    {"UnsignedInteger8", "Byte", "Character8", "char", "unsigned char", "UBIT8"},
    {"Integer16", "SignedInteger16", "signed short"},
    {"UnsignedInteger16", "Bit16", "Character16", "Short", "short", "unsigned short", "UBIT16"},
    {"Integer32", "SignedInteger32", "int"},
    {"UnsignedInteger32", "Character32"},
    {"Integer64", "SignedInteger64", "MachineInteger"},
    {"UnsignedInteger64", "Character64", "UnsignedMachineInteger"},
    {"Real32", "Float", "float"},
    {"Real64", "Double", "double", "MachineReal"},
    {"ComplexReal32", "Complex64", "complexreal32"},
    {"ComplexReal64", "Complex128", "complexreal64", "MachineComplexReal"},
    {"Real16", "Half", "half"},
}};

// The raw-array view: other synonyms on purpose, and no name for type 13.
constexpr NameTable kRawArrayNames = {{
    {"Integer8", "SignedInteger8", "signed char"},
    {"UnsignedInteger8", "Byte", "Character8", "char", "unsigned char", "UBIT8"},
    {"Integer16", "SignedInteger16", "signed short"},
    {"UnsignedInteger16", "Bit16", "Character16", "Short", "short", "unsigned short", "UBIT16"},
    {"Integer32", "SignedInteger32", "Integer", "int"},
    {"UnsignedInteger32", "Character32"},
    {"Integer64", "SignedInteger64"},
    {"UnsignedInteger64", "Character64"},
    {"Real32", "Float", "float"},
    {"Real64", "Real", "Double", "double"},
    {"Complex64", "ComplexReal32", "complexreal32"},
    {"Complex128", "ComplexReal64", "complexreal64", "Complex", "mcomplex"},
    {},
}};

struct NamedType {
  std::string_view name;
  int32_t type;
};

// The names of a table in order, each with its type; of equal names the one of the lowest type comes first.
template <const NameTable& table>
constexpr auto sorted_names() {
  constexpr size_t count = [] {
    size_t names = 0;
    for (const auto& row : table)
      for (const char* name : row) names += name != nullptr;
    return names;
  }();
  std::array<NamedType, count> sorted{};
  size_t filled = 0;
  for (size_t row = 0; row < table.size(); ++row)
    for (const char* name : table[row])
      if (name) sorted[filled++] = {name, int32_t(row + 1)};
  std::sort(sorted.begin(), sorted.end(), [](const NamedType& a, const NamedType& b) {
    return a.name != b.name ? a.name < b.name : a.type < b.type;
  });
  return sorted;
}

constexpr auto kSortedArrayNames = sorted_names<kArrayNames>();
constexpr auto kSortedRawArrayNames = sorted_names<kRawArrayNames>();

template <size_t count>
int32_t find_type(const std::array<NamedType, count>& names, std::string_view name) {
  const auto found =
      std::lower_bound(names.begin(), names.end(), name,
                       [](const NamedType& entry, std::string_view key) { return entry.name < key; });
  return found != names.end() && found->name == name ? found->type : 0;
}

const char* canonical_name(const NameTable& table, int32_t type) {
  return zenthar::is_defined_type(type) ? table[type - 1][0] : nullptr;
}

// The names of the general view can be looked up from initialisation phase 1 to the next phase 0.
std::atomic<bool> array_names_known = false;

uint32_t type_flags(int32_t type) {
  if (!zenthar::is_defined_type(type)) return 0;
  const bool is_complex =
      type == MNUMERICARRAY_TYPE_COMPLEX_REAL32 || type == MNUMERICARRAY_TYPE_COMPLEX_REAL64;
  return is_complex ? MNUMERICARRAY_FLAG_NUMERIC | MNUMERICARRAY_FLAG_COMPLEX : MNUMERICARRAY_FLAG_NUMERIC;
}

}  // namespace

namespace zenthar {

void assign_type(MNumericArray array, int32_t type) {
  const bool in_table = type >= 0 && type < kElementTypes;
  array->numericType = type;
  array->tensorType = in_table ? MNumericArrayToMTensorType[type] : 0;
  array->flags = (array->flags & ~uint32_t{MNUMERICARRAY_FLAG_TYPE}) | type_flags(type);
  if (in_table) array->precision = type >= MNUMERICARRAY_TYPE_REAL32 ? MachinePrecision : kIntegerPrecision;
}

void element_type_names_initialize(int32_t phase) {
  if (phase == 0) array_names_known = false;
  if (phase == 1) array_names_known = true;
}

void element_type_names_tear_down() { array_names_known = false; }

}  // namespace zenthar

int32_t MNumericArrayType_fromString(const char* name) {
  return name && array_names_known ? find_type(kSortedArrayNames, name) : 0;
}

const char* MNumericArrayTypeString(int32_t type) { return canonical_name(kArrayNames, type); }

int32_t MRawArrayType_fromString(const char* name) {
  return name ? find_type(kSortedRawArrayNames, name) : 0;
}

const char* MRawArrayTypeString(int32_t type) { return canonical_name(kRawArrayNames, type); }
