// Every scalar function by its name: that it is there, agrees with the record of its operation, and keeps to
// the two ways out of a failure in all styles of exceptions.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "kernel_records.h"
#include "zenthar/zenthar.h"

namespace {

using namespace kernel_records;

// An operation, then the letters of its members.
constexpr const char kMembers[] = R"(
abs i d c
conj i d c
arg c
abssquare i d c
exp d c
expm1 d c
log d c id di dd ic ci dc cd cc
log1p d c
log2 i d c
log10 i d c
minus i d c
re i d c
im i d c
recip d c
sqrt d c
cbrt d
rsqrt d c
square i d c
round i d
floor i d
ceiling i d
mod1 i d c
fracpart i d c
intpart i d
sign i d c
sin d c
cos d c
tan d c
csc d c
sec d c
cot d c
sinh d c
cosh d c
tanh d c
csch d c
sech d c
coth d c
asin d c
acos d c
atan d c
acsc d c
asec d c
acot d c
asinh d c
acosh d c
atanh d c
acsch d c
asech d c
acoth d c
pos i d
neg i d
npos i d
nneg i d
evenq i
oddq i
bitlength i
bitnot i
ramp i d
unitize i d c ii dd
sinc d c
fibonacci i d c
lucasl i d c
erf d
erfc d
gamma i d
loggamma d
gudermannian d c
inversegudermannian d c
haversine d c
inversehaversine d c
logistic d c
plus ii id di dd ic ci dc cd cc
subtract ii id di dd ic ci dc cd cc
times ii id di dd ic ci dc cd cc
div id di dd ic ci dc cd cc
abserr ii id di dd ic ci dc cd cc
maxabs ii dd cc
relerr id di dd ic ci dc cd cc
atan2 id di dd ic ci dc cd cc
mod ii id di dd ic ci dc cd cc
pow ii di ci id dd cd ic dc cc
quotient ii di id dd
root ci
bitand ii
bitor ii
bitxor ii
bitshiftleft ii di ci
bitshiftright ii di ci
intexp ii
intlen ii
chop dd cd
gcd ii
lcm ii
axpy iii ddd ccc
axmy iii ddd ccc
ymax iii ddd ccc
adxmy ddd ccc
compplus ddd ccc
)";

// An argument of any type, as its letter says.
struct Value {
  mint integer;
  mreal re, im;
};

int32_t type_of(char letter) { return letter == 'i' ? kInteger : letter == 'd' ? kReal : kComplex; }

// Calls a function with a result of 16 bytes, the arguments spelled out by the letters that are left.
template <class... Given>
int32_t call(void* function, const char* letters, const Value* values, void* result, uint32_t flags,
             Given... given) {
  if constexpr (sizeof...(Given) < 6) {
    switch (*letters) {
      case 'i':
        return call(function, letters + 1, values + 1, result, flags, given..., values->integer);
      case 'd':
        return call(function, letters + 1, values + 1, result, flags, given..., values->re);
      case 'c':
        if constexpr (sizeof...(Given) < 5)
          return call(function, letters + 1, values + 1, result, flags, given..., values->re, values->im);
    }
  }
  return reinterpret_cast<int32_t (*)(void*, Given..., uint32_t)>(function)(result, given..., flags);
}

struct Member {
  std::string name, operation, letters;
  void* function;
  bool compensated() const { return operation == "compplus"; }
  int32_t operator()(void* result, const Value* values, void* third, uint32_t flags) const {
    if (!compensated()) return call(function, letters.c_str(), values, result, flags);
    if (letters == "ddd")
      return reinterpret_cast<decltype(&s_machfunc_ddd_compplus)>(function)(
          static_cast<mreal*>(result), values[0].re, values[1].re, static_cast<mreal*>(third), flags);
    return reinterpret_cast<decltype(&s_machfunc_ccc_compplus)>(function)(
        static_cast<mcomplex*>(result), values[0].re, values[0].im, values[1].re, values[1].im,
        static_cast<mcomplex*>(third), flags);
  }
};

std::vector<Member> members() {
  std::vector<Member> all;
  std::istringstream text(kMembers);
  for (std::string line; std::getline(text, line);) {
    std::istringstream words(line);
    std::string operation, letters;
    words >> operation;
    while (words >> letters) {
      const std::string name = "s_machfunc_" + letters + "_" + operation;
      all.push_back({name, operation, letters, dlsym(RTLD_DEFAULT, name.c_str())});
    }
  }
  return all;
}

TEST(Members, AllAreExported) {
  std::set<void*> functions;
  for (const Member& member : members()) {
    EXPECT_NE(member.function, nullptr) << member.name;
    functions.insert(member.function);
  }
  EXPECT_EQ(functions.size(), 272u);
}

Record record_of(const Member& member) {
  const auto arity = int32_t(member.letters.size());
  const int32_t op = MNumericArray_getMachFuncID(member.operation.c_str(), arity);
  Record record{op, arity, {}, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
  for (int32_t k = 0; k < arity; ++k) record.type[k] = type_of(member.letters[size_t(k)]);
  const int32_t* const t = record.type;
  if (arity == 1) {
    record.result_type = MNumericArray_ReturnType1(op, t[0]);
    record.scalar1 = MNumericArray_getUnaryScalarMachFunc(op, t[0]);
  } else if (arity == 2) {
    record.result_type = MNumericArray_ReturnType2(op, t[0], t[1]);
    record.scalar2 = MNumericArray_getBinaryScalarMachFunc(op, t[0], t[1]);
  } else {
    record.result_type = MNumericArray_ReturnType3(op, t[0], t[1], t[2]);
    record.scalar3 = MNumericArray_getTernaryScalarMachFunc(op, t[0], t[1], t[2]);
  }
  return record;
}

Value special_value(size_t number) {
  const auto& reals = special_reals();
  const auto& integers = special_integers();
  return {integers[number % integers.size()], reals[number % reals.size()],
          reals[number / reals.size() % reals.size()]};
}

constexpr unsigned char kUntouched = 0xa5;

// Whether the bytes from `from` on are as they were.
bool untouched(const unsigned char* bytes, size_t from) {
  for (size_t k = from; k < 16; ++k)
    if (bytes[k] != kUntouched) return false;
  return true;
}

TEST(Members, KeepToTheirRecordsAndTheWaysOutOfFailures) {
  setExceptionStyle(1);
  std::mt19937_64 random(30);
  for (const Member& member : members()) {
    ASSERT_NE(member.function, nullptr) << member.name;
    const Record record = record_of(member);
    ASSERT_NE(record.result_type, 0) << member.name;
    for (int turn = 0; turn < 1500; ++turn) {
      Value values[3] = {special_value(random()), special_value(random()), special_value(random())};
      const uint32_t flags = uint32_t(random() % 4) * 2 + (random() % 2) * 8 + random() % 2;
      const std::string where = member.name + " " + std::to_string(values[0].integer) + " " +
                                std::to_string(values[0].re) + " " + std::to_string(values[0].im) + " " +
                                std::to_string(values[1].integer) + " " + std::to_string(values[1].re) +
                                " flags " + std::to_string(flags);
      alignas(16) unsigned char result[16], third[16], of_record[16], third_of_record[16];
      std::memset(result, kUntouched, 16);
      std::memset(of_record, kUntouched, 16);
      put(third, type_of(member.letters.back()), values[2].integer, values[2].re, values[2].im);
      std::memcpy(third_of_record, third, 16);
      setExceptionActive(0);
      const int32_t status = member(result, values, third, flags);
      const int32_t active = getExceptionActive();

      const bool squares = member.name == "s_machfunc_i_square" || member.name == "s_machfunc_i_abssquare";
      if (status > 1 || (status == 1 && squares)) {
        ASSERT_EQ(active, status) << where;
      } else {
        ASSERT_EQ(active, 0) << where;
      }
      ASSERT_TRUE(untouched(result, status == 0 ? size_of(record.result_type) : 0)) << where;
      // What is raised: computed reals under flag 2, inexact integer logarithms, overflow of integer squares.
      if (active == 6 || active == 9) {
        ASSERT_TRUE(flags & 2) << where;
        ASSERT_NE(member.operation, "relerr") << where;
      } else if (active == 3) {
        ASSERT_TRUE(member.name == "s_machfunc_i_log2" || member.name == "s_machfunc_i_log10") << where;
      }
      // A real that passed the check is one.
      if (status == 0 && (flags & 2) && record.result_type != kInteger && member.operation != "relerr")
        for (size_t part = 0; part < size_of(record.result_type); part += 8) {
          mreal x;
          std::memcpy(&x, result + part, 8);
          ASSERT_TRUE(std::isfinite(x)) << where;
        }

      unsigned char operands[3][16];
      const void* pointers[3] = {operands[0], operands[1],
                                 member.compensated() ? third_of_record : operands[2]};
      for (int32_t k = 0; k < record.arity; ++k)
        put(operands[k], record.type[k], values[k].integer, values[k].re, values[k].im);
      ASSERT_EQ(record.scalar(of_record, pointers, flags), status) << where;
      if (status == 0) {
        ASSERT_TRUE(same(record.result_type, result, of_record)) << where;
      }
      if (member.compensated()) {
        ASSERT_TRUE(same(record.type[2], third, third_of_record)) << where;
      }
    }
  }
  setExceptionActive(0);
}

// One failure of each kind: its status, and what is raised.
struct Failing {
  const char* name;
  Value a, b;
  uint32_t flags;
  int32_t status, raised;
};
constexpr Failing kFailing[] = {
    {"ii_plus", {INT64_MAX, 0, 0}, {1, 0, 0}, 4, 1, 0},
    {"ii_mod", {5, 0, 0}, {0, 0, 0}, 0, 1, 0},
    {"dd_mod", {0, 5, 0}, {0, 0, 0}, 0, 1, 0},
    {"dd_chop", {0, 5, 0}, {0, -1, 0}, 0, 1, 0},
    {"ii_unitize", {5, 0, 0}, {0, 0, 0}, 0, 1, 0},
    {"dd_log", {0, 0, 0}, {0, 5, 0}, 2, 1, 0},
    {"d_loggamma", {0, 0, 0}, {}, 2, 1, 0},
    {"ci_root", {0, 1, 1}, {0, 0, 0}, 0, 1, 0},
    {"cc_mod", {0, 1, 1}, {0, 0, 0}, 0, 1, 0},
    {"i_fibonacci", {93, 0, 0}, {}, 0, 1, 0},
    {"i_lucasl", {-91, 0, 0}, {}, 0, 1, 0},
    {"i_gamma", {22, 0, 0}, {}, 0, 1, 0},
    {"d_round", {0, 1e19, 0}, {}, 4, 1, 0},
    {"di_bitshiftleft", {0, 1, 0}, {2098, 0, 0}, 2, 1, 0},
    {"i_log2", {0, 0, 0}, {}, 0, 1, 0},
    {"i_log2", {6, 0, 0}, {}, 0, 3, 3},
    {"i_log10", {11, 0, 0}, {}, 0, 3, 3},
    {"i_square", {3037000500, 0, 0}, {}, 4, 1, 1},
    {"i_abssquare", {-3037000500, 0, 0}, {}, 4, 1, 1},
    {"d_exp", {0, 1000, 0}, {}, 2, 6, 6},
    {"dd_div", {0, 0, 0}, {0, 0, 0}, 2, 9, 9},
    {"c_recip", {0, 0, 0}, {}, 2, 6, 6},
};

TEST(Members, FailInAllStyles) {
  for (const Failing& failing : kFailing) {
    const std::string name = std::string("s_machfunc_") + failing.name;
    const std::string letters = name.substr(11, name.find('_', 11) - 11);
    void* const function = dlsym(RTLD_DEFAULT, name.c_str());
    ASSERT_NE(function, nullptr) << name;
    const Value values[] = {failing.a, failing.b};
    unsigned char result[16];
    std::memset(result, kUntouched, 16);
    setExceptionStyle(1);
    setExceptionActive(0);
    EXPECT_EQ(call(function, letters.c_str(), values, result, failing.flags), failing.status) << name;
    EXPECT_EQ(getExceptionActive(), failing.raised) << name;
    setExceptionActive(0);

    // Of the styles that leave the raiser, one throws; in both an argument's failure only returns.
    setExceptionStyle(0);
    int32_t thrown = 0;
    try {
      EXPECT_EQ(call(function, letters.c_str(), values, result, failing.flags), 1) << name;
    } catch (const ZentharRuntimeException& exception) {
      thrown = exception.code();
    }
    EXPECT_EQ(thrown, failing.raised) << name;

    setExceptionStyle(2);
    struct Call {
      void* function;
      const char* letters;
      const Value* values;
      void* result;
      uint32_t flags;
      bool came_back;
    } guarded = {function, letters.c_str(), values, result, failing.flags, false};
    const mbool caught = ZentharCompiler_CatchBase(
        [](void* arg, void*, void*, void*) {
          auto* const c = static_cast<Call*>(arg);
          call(c->function, c->letters, c->values, c->result, c->flags);
          c->came_back = true;
        },
        &guarded, nullptr, nullptr, nullptr);
    EXPECT_EQ(guarded.came_back, failing.raised == 0) << name;
    EXPECT_EQ(caught, failing.raised != 0) << name;
    setExceptionStyle(1);
    setExceptionActive(0);
    EXPECT_TRUE(untouched(result, 0)) << name;
  }
}

}  // namespace
