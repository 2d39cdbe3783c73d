// Arrays: the tables of types and names, header words and flag bits, storage reused and retyped with its
// contents against a model, shapes, failures without a host, and scratch arrays of threads that end.
#include "zenthar/array.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "zenthar/comparison.h"
#include "zenthar/memory.h"
#include "zenthar/runtime.h"
#include "zenthar/threads.h"

namespace {

constexpr mreal kIntegerPrecision = 9007199254740992.0;
constexpr mint kMax = std::numeric_limits<mint>::max();

struct TypeRow {
  int32_t type;
  const char* name;
  mint size;
  int32_t tensor_type;
  uint32_t flags;
  bool is_integer;
  std::vector<const char*> synonyms;
};

const std::vector<TypeRow>& type_rows() {
  static const std::vector<TypeRow> rows = {
      {1, "Integer8", 1, 0, 0x83, true, {"SignedInteger8", "signed char"}},
      {2, "UnsignedInteger8", 1, 0, 0x83, true, {"Byte", "Character8", "char", "unsigned char", "UBIT8"}},
      {3, "Integer16", 2, 0, 0x83, true, {"SignedInteger16", "signed short"}},
      {4,
       "UnsignedInteger16",
       2,
       0,
       0x83,
       true,
       {"Bit16", "Character16", "Short", "short", "unsigned short", "UBIT16"}},
      {5, "Integer32", 4, 0, 0x83, true, {"SignedInteger32", "int"}},
      {6, "UnsignedInteger32", 4, 0, 0x83, true, {"Character32"}},
      {7, "Integer64", 8, 2, 0x83, true, {"SignedInteger64", "MachineInteger"}},
      {8, "UnsignedInteger64", 8, 0, 0x83, true, {"Character64", "UnsignedMachineInteger"}},
      {9, "Real32", 4, 0, 0x83, false, {"Float", "float"}},
      {10, "Real64", 8, 3, 0x83, false, {"Double", "double", "MachineReal"}},
      {11, "ComplexReal32", 8, 0, 0x8b, false, {"Complex64", "complexreal32"}},
      {12, "ComplexReal64", 16, 4, 0x8b, false, {"Complex128", "complexreal64", "MachineComplexReal"}},
      {13, "Real16", 2, 0, 0x83, false, {"Half", "half"}},
  };
  return rows;
}

// The header as the interface describes it: bytes at offsets.
template <class T>
T word(MNumericArray array, size_t offset) {
  T value;
  std::memcpy(&value, reinterpret_cast<const char*>(array) + offset, sizeof value);
  return value;
}

void expect_type_words(MNumericArray array, const TypeRow& row, uint32_t other_flags = 0) {
  const uint64_t precision_bits = row.is_integer ? 0x4340000000000000u : 0xfff0000000000000u;
  EXPECT_EQ(word<uint64_t>(array, 0), precision_bits) << row.name;
  EXPECT_EQ(word<int32_t>(array, 24), row.tensor_type) << row.name;
  EXPECT_EQ(word<uint64_t>(array, 24) >> 32, row.flags | other_flags) << row.name;
  EXPECT_EQ(word<int32_t>(array, 32), row.type);
}

class Array : public ::testing::Test {
 protected:
  void SetUp() override {
    DeinitializeRuntimeLibrary(0);
    for (int32_t phase : {0, 1, 4}) InitRuntimeLibrary(phase);
    system_allocation_limit = uint64_t{1} << 32;  // what fails does so before malloc is asked
  }
};

using Names = Array;

TEST_F(Names, EveryRowOfBothTables) {
  for (const TypeRow& row : type_rows()) {
    EXPECT_STREQ(MNumericArrayTypeString(row.type), row.name);
    EXPECT_EQ(MNumericArrayType_fromString(row.name), row.type);
    for (const char* name : row.synonyms) EXPECT_EQ(MNumericArrayType_fromString(name), row.type) << name;
    EXPECT_EQ(MNumericArray_typeSizeTable[row.type], row.size);
    EXPECT_EQ(MNumericArrayToMTensorType[row.type], row.tensor_type);
  }
  EXPECT_EQ(MNumericArray_typeSizeTable[0], 0);
  EXPECT_EQ(MNumericArrayToMTensorType[0], 0);
  for (int32_t type : {0, 14, -1, 0x7fffffff}) EXPECT_EQ(MNumericArrayTypeString(type), nullptr) << type;
  for (const char* name : {"", "Integer", "Real", "Complex", "integer8", "Integer8 ", "Integer6", "Real128"})
    EXPECT_EQ(MNumericArrayType_fromString(name), 0) << name;
  EXPECT_EQ(MNumericArrayType_fromString(nullptr), 0);

  const std::vector<std::vector<const char*>> raw_rows = {
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
  };
  for (size_t row = 0; row < raw_rows.size(); ++row) {
    EXPECT_STREQ(MRawArrayTypeString(int32_t(row + 1)), raw_rows[row][0]);
    for (const char* name : raw_rows[row])
      EXPECT_EQ(MRawArrayType_fromString(name), int32_t(row + 1)) << name;
  }
  EXPECT_EQ(MRawArrayTypeString(13), nullptr);
  for (const char* name : {"Half", "half", "Real16", "MachineInteger", "UnsignedMachineInteger",
                           "MachineReal", "MachineComplexReal", ""})
    EXPECT_EQ(MRawArrayType_fromString(name), 0) << name;

  const int32_t tensor_types[] = {0, 7, 7, 10, 12};
  const mint compiler_sizes[] = {0, 4, 8, 8, 16, 8};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(MTensorToMNumericArrayType[i], tensor_types[i]);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(CompilerTypeSizeTable[i], compiler_sizes[i]);
}

TEST_F(Names, KnownFromPhaseOneToPhaseZero) {
  EXPECT_EQ(MNumericArrayType_fromString("Real64"), 10);
  InitRuntimeLibrary(0);
  EXPECT_EQ(MNumericArrayType_fromString("Real64"), 0);
  EXPECT_EQ(MRawArrayType_fromString("Real64"), 10);
  EXPECT_STREQ(MNumericArrayTypeString(10), "Real64");
  InitRuntimeLibrary(4);
  EXPECT_EQ(MNumericArrayType_fromString("Real64"), 0);
  InitRuntimeLibrary(1);
  EXPECT_EQ(MNumericArrayType_fromString("Real64"), 10);
}

TEST_F(Array, EmptyHeaderByteByByte) {
  MTensor array = MTensor_new();
  EXPECT_EQ(word<uint64_t>(array, 0), 0x4340000000000000u);
  for (size_t offset : {8, 16, 24, 40, 48}) EXPECT_EQ(word<uint64_t>(array, offset), 0u) << offset;
  EXPECT_EQ(word<int32_t>(array, 32), 0);
  EXPECT_EQ(word<mint>(array, 56), 1);
  const mint dimensions[] = {2, 2};
  ASSERT_EQ(MTensor_allocateMemoryCommon(array, MTENSOR_TYPE_COMPLEX, 2, dimensions, 1), 0);
  array->flags |= 0x00010004;
  array->refCount = 7;
  MTensor_freeMemory(array);
  EXPECT_EQ(word<uint64_t>(array, 0), 0x4340000000000000u);
  for (size_t offset : {8, 16, 24, 40, 48}) EXPECT_EQ(word<uint64_t>(array, offset), 0u) << offset;
  EXPECT_EQ(word<int32_t>(array, 32), 0);
  EXPECT_EQ(array->refCount, 7);
  MTensor_delete(array);
}

TEST_F(Array, EveryTypeSetsItsWordsAndKeepsOtherFlags) {
  const mint dimensions[] = {3, 4};
  MNumericArray array = MNumericArray_new();
  array->flags = 0x7d7fff74;  // every bit but those of the type and the no-free mask
  for (int round = 0; round < 2; ++round) {
    for (const TypeRow& row : type_rows()) {
      ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, row.type, 2, dimensions, 1), 0);
      expect_type_words(array, row, 0x7d7fff74);
      EXPECT_EQ(array->flattenedLength, 12);
      EXPECT_EQ(uintptr_t(array->data) % (row.is_integer ? 8 : 16), 0u);
      EXPECT_EQ(MNumericArray_getByteCount(array),
                mint(zalloc_round(64, 0) + zalloc_round(16, 0) +
                     zalloc_round(size_t(12 * row.size), !row.is_integer)));
    }
  }
  // Without elements any type can be assigned: an undefined one is not numeric, and precision stays for what
  // is no identifier at all.
  const mint none[] = {0};
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 12, 1, none, 1), 0);
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 99, 1, none, 1), 0);
  EXPECT_EQ(array->precision, MachinePrecision);
  EXPECT_EQ(array->numericType, 99);
  EXPECT_EQ(array->flags, 0x7d7fff74u);
  EXPECT_EQ(array->tensorType, 0);
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 0, 1, none, 1), 0);
  EXPECT_EQ(array->precision, kIntegerPrecision);
  EXPECT_EQ(array->flags, 0x7d7fff74u);
  EXPECT_EQ(MNumericArray_getByteCount(array), mint(zalloc_round(64, 0) + zalloc_round(8, 0)));
  // With elements it cannot: there is no size to allocate.
  for (int32_t type : {0, 14, -1, 1 << 30})
    EXPECT_EQ(MNumericArray_allocateMemoryCommon(array, type, 2, dimensions, 1), 403) << type;
  MNumericArray_delete(array);
}

TEST_F(Array, TensorEntriesMapTheirTypes) {
  const mint dimensions[] = {2};
  const int32_t element_types[] = {7, 7, 10, 12};
  for (int32_t tensor_type = 1; tensor_type <= 4; ++tensor_type) {
    MTensor handle = nullptr;
    ASSERT_EQ(MTensor_allocateCommon(&handle, tensor_type, 1, dimensions, 1), 0);
    MTensor made = MTensor_newAllocatedCommon(tensor_type, 1, dimensions, 1);
    MTensor like = MTensor_new();
    ASSERT_EQ(MTensor_allocateMemoryLikeCommon(like, made, 1), 0);
    const mcomplex value = {1.5, 2.5};
    MTensor scalar = MTensor_loadNewRank0(&value, tensor_type);
    for (MTensor array : {handle, made, like, scalar}) {
      expect_type_words(array, type_rows()[size_t(element_types[tensor_type - 1]) - 1]);
      EXPECT_EQ(MTensor_getByteCount(array), MNumericArray_getByteCount(array));
    }
    EXPECT_EQ(
        std::memcmp(scalar->data, &value, size_t(CompilerTypeSizeTable[tensor_type == 1 ? 2 : tensor_type])),
        0);
    for (MTensor array : {handle, made, like, scalar}) MTensor_delete(array);
  }
  for (int32_t tensor_type : {0, 5, -1}) {
    EXPECT_EQ(MTensor_newAllocatedCommon(tensor_type, 1, dimensions, 1), nullptr);
    EXPECT_EQ(MTensor_loadSharedRank0(nullptr, tensor_type, 0), nullptr);
  }
}

TEST_F(Array, CountsFreeOnlyOnRelease) {
  const uint64_t before = MemoryInUse();
  MTensor array = MTensor_new();
  MTensor_RefCountIncrement(array);
  MNumericArray_RefCountIncrement(array);
  EXPECT_EQ(array->refCount, 3);
  MTensor_RefCountDecrement(array);
  for (int i = 0; i < 3; ++i) MNumericArray_RefCountDecrement(array);
  EXPECT_EQ(array->refCount, -1);
  array->refCount = 2;
  MTensor_release(array);
  EXPECT_EQ(array->refCount, 1);
  MTensor_release(array);
  EXPECT_EQ(MemoryInUse(), before);
}

TEST_F(Array, NoFreeBitsKeepAnArray) {
  const mint dimensions[] = {5};
  for (uint32_t bit : {0x00800000u, 0x02000000u, 0x02800000u}) {
    MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 1, dimensions, 1);
    array->flags |= bit;
    EXPECT_NE(word<uint64_t>(array, 24) & 0x0280000000000000u, 0u);
    const uint64_t in_use = MemoryInUse();
    MTensor_delete(array);
    MNumericArray_delete(array);
    FreeMTensor(array);
    FreeMNumericArray(array);
    MTensor_release(array);
    EXPECT_EQ(MemoryInUse(), in_use);
    EXPECT_EQ(array->flattenedLength, 5);
    array->flags &= ~bit;
    FreeMTensor(array);
    EXPECT_LT(MemoryInUse(), in_use);
  }
  MTensor_delete(nullptr);
  MNumericArray_delete(nullptr);
  FreeMTensor(nullptr);
  FreeMNumericArray(nullptr);
}

TEST_F(Array, ElementCounts) {
  const mint two32 = mint{1} << 32;
  const struct {
    std::vector<mint> dimensions;
    mint count;
  } cases[] = {
      {{}, 1},
      {{7}, 7},
      {{3, 0, 5}, 0},
      {{0, kMax, kMax}, 0},
      {{two32, two32, 0}, kMax},
      {{two32, two32}, kMax},
      {{two32, two32 / 2}, kMax},
      {{two32 - 1, two32 / 2}, (two32 - 1) * (two32 / 2)},
      {{kMax}, kMax},
      {{3, -1}, kMax},
      {{0, -1}, kMax},
      {{std::numeric_limits<mint>::min()}, kMax},
  };
  for (const auto& c : cases)
    EXPECT_EQ(NumberOfElementsCommon(mint(c.dimensions.size()), c.dimensions.data(), 1), c.count);
  EXPECT_EQ(NumberOfElementsCommon(-3, nullptr, 0), 1);
}

// An array and what it must hold, driven by random requests.
class Model {
 public:
  explicit Model(uint32_t seed) : random_(seed) {}
  ~Model() { MNumericArray_delete(array_); }

  void step() {
    switch (pick(10)) {
      case 0:
        return expect_unchanged(402, pick(14), {2, -1, 3});
      case 1:
        return expect_unchanged(403, 1 + pick(13), {mint{1} << 40, mint{1} << 40});
      case 2:
        return expect_unchanged(403, 10 + pick(3), {mint{1} << 61});
      case 3:
        return expect_unchanged(403, 1 + pick(13), {1, 1, 1, 1, 1, mint{1} << 45});  // more than there is
      case 4:
        return allocate(1 + pick(13), dimensions_);
      case 5:
        return inside_own_list();
      default:
        return allocate(1 + pick(13), random_shape());
    }
  }

 private:
  int32_t pick(int32_t n) { return int32_t(random_() % uint32_t(n)); }

  std::vector<mint> random_shape() {
    std::vector<mint> shape(size_t(pick(pick(8) == 0 ? 40 : 5)));
    mint budget = 4000;
    for (mint& d : shape) {
      d = pick(12) == 0 ? 0 : 1 + pick(int32_t(std::min<mint>(budget, 20)));
      if (d > 0) budget = std::max<mint>(1, budget / d);
    }
    return shape;
  }

  int32_t request(int32_t type, mint rank, const mint* dimensions) {
    switch (pick(3)) {
      case 0:
        return MNumericArray_allocateCommon(&array_, type, rank, dimensions, 1 + pick(2));
      case 1:
        return MNumericArray_allocateMemoryCommon(array_, type, rank, dimensions, 1 + pick(2));
      default: {
        MNumericArray_allocateCommon(&array_, type, rank, dimensions, 1);
        return MNumericArray_allocateMemoryLikeCommon(array_, array_, 1);
      }
    }
  }

  void allocate(int32_t type, const std::vector<mint>& shape) {
    const bool untouched = array_->data && shape == dimensions_ && type == type_ && !shape.empty();
    const void* data = array_->data;
    ASSERT_EQ(request(type, mint(shape.size()), shape.data()), 0);
    ASSERT_TRUE(!untouched || array_->data == data);
    type_ = type;
    dimensions_ = shape;
    settle();
  }

  // A shape read from the list that holds the present one, perhaps after it moved.
  void inside_own_list() {
    if (dimensions_.size() < 2) return;
    const size_t first = size_t(pick(int32_t(dimensions_.size())));
    const size_t rank = size_t(pick(int32_t(dimensions_.size() - first) + 1));
    const std::vector<mint> shape(dimensions_.begin() + ptrdiff_t(first),
                                  dimensions_.begin() + ptrdiff_t(first + rank));
    type_ = 1 + pick(13);
    ASSERT_EQ(MNumericArray_allocateMemoryCommon(array_, type_, mint(rank), array_->dimensions + first, 1),
              0);
    dimensions_ = shape;
    settle();
  }

  void expect_unchanged(int32_t status, int32_t type, const std::vector<mint>& shape) {
    const st_MNumericArray before = *array_;
    // A list that had to grow may have moved; its entries and everything else stay.
    ASSERT_EQ(MNumericArray_allocateMemoryCommon(array_, type, mint(shape.size()), shape.data(), 1 + pick(2)),
              status);
    EXPECT_EQ(array_->data, before.data);
    EXPECT_EQ(array_->numericType, before.numericType);
    check();
  }

  // After a request that was met: what was in the buffer is still there as far as it fits.
  void settle() {
    mint count = 1;
    for (mint d : dimensions_) count *= d;
    const size_t bytes = size_t(count * MNumericArray_typeSizeTable[type_]);
    if (count == 0) contents_.clear();
    contents_.resize(std::min(contents_.size(), bytes));
    check();
    contents_.resize(bytes);
    for (uint8_t& byte : contents_) byte = uint8_t(random_());
    if (bytes != 0) std::memcpy(array_->data, contents_.data(), bytes);
  }

  void check() {
    mint count = 1;
    for (mint d : dimensions_) count *= d;
    ASSERT_EQ(array_->rank, mint(dimensions_.size()));
    ASSERT_EQ(array_->dimensions == nullptr, array_->rank == 0);
    for (size_t i = 0; i < dimensions_.size(); ++i) ASSERT_EQ(array_->dimensions[i], dimensions_[i]);
    ASSERT_EQ(array_->flattenedLength, type_ == 0 ? 0 : count);
    ASSERT_EQ(array_->data == nullptr, type_ == 0 || count == 0);
    ASSERT_EQ(array_->refCount, 1);
    if (type_ != 0) expect_type_words(array_, type_rows()[size_t(type_) - 1]);
    ASSERT_TRUE(contents_.empty() || std::memcmp(array_->data, contents_.data(), contents_.size()) == 0);
  }

  std::mt19937 random_;
  MNumericArray array_ = MNumericArray_new();
  int32_t type_ = 0;
  std::vector<mint> dimensions_;
  std::vector<uint8_t> contents_;
};

TEST_F(Array, LongRandomSequencesAgainstAModel) {
  const uint64_t before = MemoryInUse();
  for (uint32_t seed = 1; seed <= 20; ++seed) {
    Model model(seed);
    for (int step = 0; step < 1000 && !HasFailure(); ++step) model.step();
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
  }
  EXPECT_EQ(MemoryInUse(), before);
}

TEST_F(Array, SameShapeIsFreeAndKeepsElements) {
  const mint shape[] = {2, 3}, transposed[] = {3, 2};
  MNumericArray array = MNumericArray_newAllocatedCommon(10, 2, shape, 1);
  auto* data = static_cast<mreal*>(array->data);
  for (int i = 0; i < 6; ++i) data[i] = i + 0.5;
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 10, 2, transposed, 1), 0);
  EXPECT_EQ(array->dimensions[0], 3);
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 10, 2, shape, 1), 0);
  data = static_cast<mreal*>(array->data);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(data[i], i + 0.5);
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 7, 2, shape, 1), 0);
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 9, 2, shape, 1), 0);
  EXPECT_EQ(MNumericArray_getByteCount(array),
            mint(zalloc_round(64, 0) + zalloc_round(16, 0) + zalloc_round(24, 1)));
  MNumericArray_delete(array);
}

TEST_F(Array, ZeroElementsAndScalars) {
  const mint shape[] = {4, 0, 2};
  MNumericArray array = MNumericArray_newAllocatedCommon(10, 3, shape, 1);
  EXPECT_EQ(array->data, nullptr);
  EXPECT_EQ(array->flattenedLength, 0);
  EXPECT_EQ(array->rank, 3);
  EXPECT_EQ(array->dimensions[0], 4);
  EXPECT_EQ(array->dimensions[2], 2);
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 12, 3, shape, 1), 0);
  EXPECT_EQ(array->data, nullptr);
  expect_type_words(array, type_rows()[11]);
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 7, 0, nullptr, 1), 0);
  EXPECT_EQ(array->dimensions, nullptr);
  EXPECT_EQ(array->flattenedLength, 1);
  ASSERT_NE(array->data, nullptr);
  *static_cast<mint*>(array->data) = -42;
  ASSERT_EQ(MNumericArray_allocateMemoryCommon(array, 7, 0, nullptr, 1), 0);
  EXPECT_EQ(*static_cast<mint*>(array->data), -42);
  MNumericArray_delete(array);
}

TEST_F(Array, StoringDimensions) {
  MTensor array = MTensor_new();
  const mint three[] = {5, 6, 7};
  ASSERT_EQ(MNumericArray_setDimensionsCommon(array, 3, three, 11, 1), 0);
  EXPECT_EQ(array->flattenedLength, 11);  // as the caller says
  mint* list = array->dimensions;
  // A shorter shape from inside the list, overlapping its new place, keeps the longer list.
  ASSERT_EQ(MNumericArray_setDimensionsCommon(array, 2, list + 1, 42, 1), 0);
  EXPECT_EQ(array->dimensions, list);
  EXPECT_EQ(list[0], 6);
  EXPECT_EQ(list[1], 7);
  EXPECT_EQ(list[2], 7);
  // A longer one from inside the list, which counts as too short by its rank.
  ASSERT_EQ(MNumericArray_setDimensionsCommon(array, 3, array->dimensions, 294, 1), 0);
  EXPECT_EQ(array->dimensions[0], 6);
  EXPECT_EQ(array->dimensions[2], 7);
  // The very list with its rank changes nothing, not even the count.
  ASSERT_EQ(MTensor_resetDimensions(array, 3, array->dimensions, 1, 1), 0);
  EXPECT_EQ(array->flattenedLength, 294);
  ASSERT_EQ(MTensor_resetDimensions(array, 2, array->dimensions, 42, 1), 0);
  EXPECT_EQ(array->flattenedLength, 42);
  ASSERT_EQ(MNumericArray_setDimensionsCommon(array, 0, nullptr, 99, 1), 0);
  EXPECT_EQ(array->dimensions, nullptr);
  EXPECT_EQ(array->flattenedLength, 1);
  MTensor_delete(array);
}

// The list of 60 entries shrinks when it "grows" from rank 1 to 20, while the new shape lies in its far end.
TEST_F(Array, GrowingListThatHoldsTheNewShape) {
  std::vector<mint> ones(60, 1);
  for (size_t i = 0; i < ones.size(); ++i) ones[i] = 1 + mint(i == 45);
  for (mint rank : {2, 20}) {
    MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 60, ones.data(), 1);
    const mint shape[] = {3};
    ASSERT_EQ(MTensor_allocateMemoryCommon(array, MTENSOR_TYPE_REAL, 1, shape, 1), 0);
    ASSERT_EQ(MTensor_allocateMemoryCommon(array, MTENSOR_TYPE_INTEGER, rank, array->dimensions + 40, 1), 0);
    EXPECT_EQ(array->rank, rank);
    for (mint i = 0; i < rank; ++i) EXPECT_EQ(array->dimensions[i], ones[size_t(40 + i)]) << i;
    EXPECT_EQ(array->flattenedLength, rank > 5 ? 2 : 1);
    MTensor_delete(array);
  }
}

TEST_F(Array, CompatibleShapes) {
  const std::vector<std::vector<mint>> shapes = {{}, {2}, {3}, {2, 3}, {2, 3, 4}, {2, 4, 4}};
  std::vector<MTensor> arrays;
  for (const auto& shape : shapes)
    arrays.push_back(MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, mint(shape.size()), shape.data(), 1));
  for (size_t a = 0; a < shapes.size(); ++a) {
    for (size_t b = 0; b < shapes.size(); ++b) {
      const size_t common = std::min(shapes[a].size(), shapes[b].size());
      const bool expected =
          std::equal(shapes[a].begin(), shapes[a].begin() + ptrdiff_t(common), shapes[b].begin());
      EXPECT_EQ(MTensor_compatibleDimensionsQ(arrays[a], arrays[b]), expected) << a << ' ' << b;
      const mint nothing = -1;
      mint rank = -1;
      const mint* dimensions = &nothing;
      EXPECT_EQ(MTensor_maxCompatibleDimensions(arrays[a], arrays[b], &rank, &dimensions), expected);
      const MTensor longer = shapes[b].size() > shapes[a].size() ? arrays[b] : arrays[a];
      EXPECT_EQ(rank, expected ? longer->rank : -1);
      EXPECT_EQ(dimensions, expected ? longer->dimensions : &nothing);
    }
  }
  for (MTensor array : arrays) MTensor_delete(array);
}

// Without a host a failure is a null or a status; nothing is left behind.
TEST_F(Array, FailuresWithoutAHost) {
  const uint64_t before = MemoryInUse();
  const mint negative[] = {4, -1}, overflowing[] = {mint{1} << 60}, uncountable[] = {kMax, 2};
  for (int32_t mode : {1, 2}) {
    MNumericArray handle = nullptr;
    EXPECT_EQ(MNumericArray_allocateCommon(&handle, 10, 2, negative, mode), 402);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(MNumericArray_allocateCommon(&handle, 12, 1, overflowing, mode), 403);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(MNumericArray_allocateCommon(&handle, 1, 2, uncountable, mode), 403);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(MNumericArray_newAllocatedCommon(12, 1, overflowing, mode), nullptr);
  }
  EXPECT_EQ(MNumericArray_newAllocatedCommon(10, 2, negative, 0), nullptr);  // in mode 0 too
  EXPECT_EQ(Runtime_CreateNumericArray(10, 2, negative), nullptr);
  EXPECT_EQ(MemoryInUse(), before);
  const mint shape[] = {3, 4};
  MNumericArray array = Runtime_CreateNumericArray(10, 2, shape);
  ASSERT_NE(array, nullptr);
  EXPECT_EQ(array->flattenedLength, 12);
  FreeMNumericArray(array);
}

TEST_F(Array, ScratchArraysAreTheThreadsOwn) {
  std::vector<MNumericArray*> handles;
  for (const TypeRow& row : type_rows()) {
    for (mint slot = 0; slot < 3; ++slot) {
      uint8_t value[16];
      for (uint8_t& byte : value) byte = uint8_t(row.type * 3 + slot);
      MNumericArray* handle = MNumericArray_loadSharedRank0(value, row.type, slot);
      ASSERT_NE(handle, nullptr);
      handles.push_back(handle);
      expect_type_words(*handle, row);
      EXPECT_EQ((*handle)->rank, 0);
      EXPECT_EQ((*handle)->flattenedLength, 1);
    }
  }
  // All live at once, values intact, and the handles lie in groups of three.
  size_t next = 0;
  for (const TypeRow& row : type_rows()) {
    for (mint slot = 0; slot < 3; ++slot, ++next) {
      EXPECT_EQ(MNumericArray_loadSharedRank0(nullptr, row.type, slot), handles[next]);
      EXPECT_EQ(handles[next], handles[0] + next);
      const auto* bytes = static_cast<const uint8_t*>((*handles[next])->data);
      for (mint i = 0; i < row.size; ++i) EXPECT_EQ(bytes[i], uint8_t(row.type * 3 + slot));
    }
  }
  EXPECT_EQ(MTensor_loadSharedRank0(nullptr, MTENSOR_TYPE_REAL, 2), handles[9 * 3 + 2]);
  for (int32_t type : {0, 14, -1}) EXPECT_EQ(MNumericArray_loadSharedRank0(nullptr, type, 0), nullptr);
  for (mint slot : {mint{-1}, mint{3}, kMax})
    EXPECT_EQ(MNumericArray_loadSharedRank0(nullptr, 7, slot), nullptr);
  std::thread([&] { EXPECT_NE(MNumericArray_loadSharedRank0(nullptr, 1, 0), handles[0]); }).join();
}

// Threads of every kind end with scratch arrays; under the address sanitizer nothing may leak. A destructor
// of another key calls in again while the thread is ending.
TEST_F(Array, ScratchArraysEndWithTheirThread) {
  static pthread_key_t late_key;
  ASSERT_EQ(pthread_key_create(&late_key,
                               [](void*) {
                                 const mreal value = 2.5;
                                 MNumericArray* handle = MNumericArray_loadSharedRank0(&value, 10, 0);
                                 EXPECT_EQ(*static_cast<mreal*>((*handle)->data), 2.5);
                               }),
            0);
  static const auto use = [] {
    const mreal value = 1.5;
    MNumericArray* handle = MNumericArray_loadSharedRank0(&value, 10, 1);
    EXPECT_EQ(*static_cast<mreal*>((*handle)->data), 1.5);
    pthread_setspecific(late_key, &late_key);
  };
  for (int round = 0; round < 20; ++round) {
    KThread ended = KThreadCreate([](void*) { use(); }, nullptr, KTHREAD_PRIORITY_NORMAL);
    KThread exited = KThreadCreate(
        [](void*) {
          use();
          KThreadRawExit();
        },
        nullptr, KTHREAD_PRIORITY_NORMAL);
    std::thread other(use);
    for (KThread thread : {ended, exited}) {
      KThreadWaitForExit(thread);
      Delete_KThread(thread);
    }
    other.join();
  }
  pthread_key_delete(late_key);
}

// A child forked while other threads begin and end has the forking thread's arrays and can make and free its
// own.
TEST_F(Array, ScratchArraysAfterFork) {
  mint value = 11;
  MNumericArray* mine = MNumericArray_loadSharedRank0(&value, 7, 0);
  std::atomic<bool> stop{false};
  std::thread busy([&] {
    while (!stop) std::thread([] { MNumericArray_loadSharedRank0(nullptr, 7, 0); }).join();
  });
  for (int round = 0; round < 20; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      bool right = *static_cast<mint*>((*mine)->data) == 11;
      DeinitializeRuntimeLibrary(0);
      value = 12;
      MNumericArray* again = MNumericArray_loadSharedRank0(&value, 7, 1);
      right = right && again && *static_cast<mint*>((*again)->data) == 12;
      _exit(right ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  stop = true;
  busy.join();
}

// A tear-down frees the arrays of threads that still run; they get new ones when they ask again.
TEST_F(Array, TearDownUnderWaitingThreads) {
  std::atomic<int> stage{0};
  std::thread other([&] {
    mint value = 1;
    MNumericArray_loadSharedRank0(&value, 7, 0);
    stage = 1;
    while (stage != 2) std::this_thread::yield();
    value = 2;
    MNumericArray* handle = MNumericArray_loadSharedRank0(&value, 7, 0);
    EXPECT_EQ(*static_cast<mint*>((*handle)->data), 2);
  });
  while (stage != 1) std::this_thread::yield();
  mint value = 3;
  MNumericArray_loadSharedRank0(&value, 7, 0);
  DeinitializeRuntimeLibrary(0);
  for (int32_t phase : {0, 1, 4}) InitRuntimeLibrary(phase);
  MNumericArray* handle = MNumericArray_loadSharedRank0(&value, 7, 2);
  EXPECT_EQ(*static_cast<mint*>((*handle)->data), 3);
  stage = 2;
  other.join();
}

}  // namespace
