// What --functions prints.
#include "functions.h"

#include <zenthar/zenthar.h>

#include <algorithm>
#include <string_view>

#include "array.h"

namespace zcalc {
namespace {

constexpr std::string_view kLetters = "?!idc";

/// "dd>d": the letters of a signature, in the kernels' own manner.
std::string signature(std::initializer_list<int32_t> types, int32_t result) {
  std::string text = " ";
  for (const int32_t type : types) text += kLetters[static_cast<size_t>(type)];
  return text + ">" + kLetters[static_cast<size_t>(result)];
}

std::string signatures(int32_t operation, int arity) {
  std::string text;
  for (int32_t a = kInteger; a <= kComplex; ++a) {
    if (arity == 1) {
      const int32_t result = MTensor_ReturnType1(operation, a);
      if (result != 0) text += signature({a}, result);
      continue;
    }
    for (int32_t b = kInteger; b <= kComplex; ++b) {
      if (arity == 2) {
        const int32_t result = MTensor_ReturnType2(operation, a, b);
        if (result != 0) text += signature({a, b}, result);
        continue;
      }
      for (int32_t c = kInteger; c <= kComplex; ++c) {
        const int32_t result = MTensor_ReturnType3(operation, a, b, c);
        if (result != 0) text += signature({a, b, c}, result);
      }
    }
  }
  return text;
}

}  // namespace

std::string function_list() {
  struct Family {
    const char* title;
    int arity;
    int32_t first;
    int32_t last;
  };
  static constexpr Family kFamilies[] = {
      {"One argument", 1, 1, 86}, {"Two arguments", 2, 257, 285}, {"Three arguments", 3, 513, 517}};
  std::string text =
      "Functions, with the types of their arguments > of their result: i integer, d real, c complex.\n"
      "Where there is no form for integers, or for reals, they are widened.\n";
  for (const Family& family : kFamilies) {
    std::string functions;
    for (int32_t operation = family.first; operation <= family.last; ++operation) {
      const char* name = MNumericArray_getMachFuncName(operation);
      const std::string forms = signatures(operation, family.arity);
      if (name == nullptr || forms.empty()) continue;
      std::string padded = name;
      padded.resize(std::max<size_t>(padded.size(), 22), ' ');
      functions.append("  ").append(padded).append(forms).append("\n");
    }
    if (!functions.empty()) text.append("\n").append(family.title).append("\n").append(functions);
  }
  return text + R"(
Made here
  range(n)                1 to n
  range(a, b)             a to b
  random(n)               n random reals from 0, included, to 1, excluded
  random(n, a, b)         n random reals from a, included, to b, excluded
  randomint(n, a, b)      n random integers from a to b
  choice(n, m)            n random positions of 1 to m, or, m being a list, by these weights
  sample(n, m)            the same without repetition
)";
}

}  // namespace zcalc
