// Arrays: sequences of requests for types and shapes, held against a model of what a header says and keeps
// after each, with memory that runs out, counts that overflow, a host whose nomem() comes back, and shapes
// that lie in the array's own list.
#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "fuzz.h"
#include "zenthar/zenthar.h"

namespace {

constexpr uint64_t kLargestRequest = uint64_t{1} << 20;  // more than this is refused
constexpr int32_t kOutOfMemory = 403;
constexpr int32_t kNegativeDimension = 402;
constexpr mint kNoCount = INT64_MAX;

int nomem_calls = 0;
std::vector<mint> aborts;

}  // namespace

extern "C" {
void nomem() { ++nomem_calls; }
void StartOutOfMemoryAbort(mint bytes) { aborts.push_back(bytes); }
}

namespace {

using Shape = std::vector<mint>;
__extension__ using Wide = __int128;

mint size_of(int32_t type) { return type >= 1 && type <= 13 ? MNumericArray_typeSizeTable[type] : 0; }
bool aligned(int32_t type) { return type < 1 || type > 8; }

mint element_count(const Shape& shape, bool reporting) {
  mint count = 1;
  for (const mint dimension : shape) {
    const Wide product = Wide{count} * dimension;
    if (dimension >= 0 && product <= INT64_MAX) {
      count = mint(product);
    } else if (!reporting) {
      return kNoCount;
    }
  }
  return count;
}

// What is known of an array beside its header.
struct Model {
  MNumericArray array = nullptr;
  int32_t type = 0;
  Shape shape;
  mint count = 0;
  uint64_t bytes = 0;  // that the buffer has at least
  uint32_t own_flags = 0;
  mint references = 1;
  std::array<uint8_t, 32> content{};  // the first bytes of the buffer

  size_t kept() const { return std::min<size_t>(bytes, content.size()); }
};

class Sequence {
 public:
  explicit Sequence(FuzzedDataProvider& input) : input_(input) {}

  void run() {
    for (int i = 0; i < 200 && input_.remaining_bytes() > 0; ++i) step();
    MCsetlimit(0);
    for (Model& model : models_) drop(model);
  }

 private:
  void step();
  void request(Model& model);
  void request_new(Model& model);
  void store_dimensions(Model& model);
  void compare_shapes(const Model& a, const Model& b);
  void count_elements();
  void load_scalar();
  void change_references(Model& model);
  void drop(Model& model);

  int32_t expect(const Model& model, int32_t type, const Shape& shape, int32_t mode, Model& after);
  int32_t expect_buffer(const Model& model, int32_t type, mint count, int32_t mode, Model& after);
  void settle(Model& model, const Model& after, int32_t wanted, int32_t status);
  void write(Model& model);
  void check(const Model& model) const;

  mint dimension();
  Shape shape();
  int32_t type() { return input_.ConsumeIntegralInRange<int32_t>(-1, 15); }
  int32_t mode() { return input_.ConsumeIntegralInRange<int32_t>(0, 2); }

  FuzzedDataProvider& input_;
  std::array<Model, 3> models_;
  bool limited_ = false;    // there is a soft limit, by which requests in mode 1 may fail
  bool uncertain_ = false;  // so near the largest request that either answer is right
  int wanted_nomem_ = 0;
  std::vector<mint> wanted_aborts_;
  uint8_t fill_ = 0;
};

mint Sequence::dimension() {
  static constexpr mint kNotable[] = {-1,
                                      INT64_MIN,
                                      mint{1} << 16,
                                      mint{1} << 20,
                                      mint{1} << 31,
                                      (mint{1} << 32) - 1,
                                      mint{1} << 32,
                                      mint{1} << 59,
                                      mint{1} << 60,
                                      mint{1} << 62,
                                      INT64_MAX - 1,
                                      INT64_MAX};
  const auto choice = input_.ConsumeIntegralInRange<size_t>(0, 39);
  return choice < std::size(kNotable) ? kNotable[choice] : mint(choice - std::size(kNotable));
}

Shape Sequence::shape() {
  // Beyond 16 dimensions a list is held elsewhere while it moves.
  Shape result(input_.ConsumeBool() ? input_.ConsumeIntegralInRange<size_t>(0, 4)
                                    : input_.ConsumeIntegralInRange<size_t>(0, 40));
  for (size_t i = 0; i < result.size(); ++i) result[i] = result.size() > 8 && i % 8 != 0 ? 1 : dimension();
  return result;
}

// Where a buffer of so many elements comes from and what a failure does, with the list already in place.
int32_t Sequence::expect_buffer(const Model& model, int32_t type, mint count, int32_t mode, Model& after) {
  after = model;
  after.type = type;
  if (count == 0) {
    after.bytes = 0;
    return 0;
  }
  const Wide exact = Wide{size_of(type)} * count;
  const auto bytes = uint64_t(exact);
  if (exact > INT64_MAX) {
    if (mode == 2) wanted_aborts_.push_back(-1);
    if (mode != 0) return kOutOfMemory;
    ++wanted_nomem_;
    if (bytes == 0) return kOutOfMemory;
  }
  const uint64_t charge = zalloc_round(bytes, aligned(type));
  uncertain_ = charge > kLargestRequest && bytes <= kLargestRequest + 256;
  if (bytes != 0 && charge >= bytes && charge <= kLargestRequest) {
    after.bytes = bytes;
    return 0;
  }
  if (mode == 2) wanted_aborts_.push_back(mint(bytes));
  if (mode == 0 && bytes != 0) ++wanted_nomem_;
  after.bytes = bytes;
  return kOutOfMemory;
}

int32_t Sequence::expect(const Model& model, int32_t type, const Shape& shape, int32_t mode, Model& after) {
  after = model;
  uncertain_ = false;
  if (std::any_of(shape.begin(), shape.end(), [](mint d) { return d < 0; })) return kNegativeDimension;
  if (!shape.empty() && shape == model.shape) {
    if (model.bytes == 0) {
      after.type = type;
      return 0;
    }
    return type == model.type ? 0 : expect_buffer(model, type, model.count, mode, after);
  }
  const mint count = element_count(shape, false);
  if (count == kNoCount) {
    if (mode == 0) ++wanted_nomem_;
    if (mode == 2) wanted_aborts_.push_back(-1);
    return kOutOfMemory;
  }
  const int32_t status = expect_buffer(model, type, count, mode, after);
  after.shape = shape;
  after.count = count;
  return status;
}

// The answer must be the expected one, and the array as it is after that, or as it was.
void Sequence::settle(Model& model, const Model& after, int32_t wanted, int32_t status) {
  const bool may_fail = limited_ || uncertain_;
  REQUIRE(status == wanted || (may_fail && (status == 0 || status == kOutOfMemory)));
  if (!may_fail) {
    REQUIRE(nomem_calls == wanted_nomem_);
    REQUIRE(aborts == wanted_aborts_);
  }
  if (status != 0) return check(model);
  const MNumericArray array = model.array;
  const size_t kept = std::min(model.kept(), after.kept());
  model = after;
  model.array = array;
  if (model.bytes != 0) REQUIRE(std::memcmp(array->data, model.content.data(), kept) == 0);
  write(model);
  check(model);
}

// Fills the ends of the buffer, so that the address sanitizer sees that they are there.
void Sequence::write(Model& model) {
  if (model.bytes == 0) return;
  auto* data = static_cast<uint8_t*>(model.array->data);
  REQUIRE(data != nullptr);
  data[model.bytes - 1] = 0;
  for (size_t i = 0; i < model.kept(); ++i) data[i] = model.content[i] = ++fill_;
}

void Sequence::check(const Model& model) const {
  const MNumericArray array = model.array;
  if (!array) return;
  REQUIRE(array->numericType == model.type);
  const bool known = model.type >= 0 && model.type <= 13;
  REQUIRE(array->tensorType == (known ? MNumericArrayToMTensorType[model.type] : 0));
  const bool complex = model.type == 11 || model.type == 12;
  const uint32_t type_flags = size_of(model.type) == 0 ? 0u : complex ? 0x8bu : 0x83u;
  REQUIRE(array->flags == (type_flags | model.own_flags));
  if (known) REQUIRE(array->precision == (model.type < 9 ? 9007199254740992.0 : MachinePrecision));
  REQUIRE(array->rank == mint(model.shape.size()));
  REQUIRE(model.shape.empty() == (array->dimensions == nullptr));
  REQUIRE(std::equal(model.shape.begin(), model.shape.end(), array->dimensions));
  REQUIRE(array->flattenedLength == model.count);
  REQUIRE((array->data != nullptr) == (model.bytes != 0));
  REQUIRE(array->refCount == model.references);
  if (model.bytes != 0) {
    REQUIRE(reinterpret_cast<uintptr_t>(array->data) % (aligned(model.type) ? 16 : 8) == 0);
    REQUIRE(std::memcmp(array->data, model.content.data(), model.kept()) == 0);
  }
  uint64_t charged = zalloc_round(64, 0) + zalloc_round(8 * model.shape.size(), 0);
  if (model.bytes != 0)
    charged += zalloc_round(uint64_t(size_of(model.type)) * uint64_t(model.count), aligned(model.type));
  REQUIRE(uint64_t(MNumericArray_getByteCount(array)) == charged);
}

// A type and shape for an array that there is: given, taken from another array, or from its own list.
void Sequence::request(Model& model) {
  const int32_t wanted_type = type();
  const int32_t wanted_mode = mode();
  Shape wanted = shape();
  const mint* list = wanted.data();
  Model after;
  const int choice = input_.ConsumeIntegralInRange(0, 3);
  if (choice == 0) {
    const Model& other = models_[input_.ConsumeIntegralInRange<size_t>(0, models_.size() - 1)];
    if (!other.array) return;
    const int32_t status = expect(model, other.type, other.shape, wanted_mode, after);
    return settle(model, after, status,
                  MNumericArray_allocateMemoryLikeCommon(model.array, other.array, wanted_mode));
  }
  if (choice == 1 && !model.shape.empty()) {
    const auto first = input_.ConsumeIntegralInRange<size_t>(0, model.shape.size() - 1);
    wanted.assign(model.shape.begin() + ptrdiff_t(first), model.shape.end());
    list = model.array->dimensions + first;
  }
  const int32_t status = expect(model, wanted_type, wanted, wanted_mode, after);
  const auto rank = mint(wanted.size());
  settle(model, after, status,
         choice == 2 ? MNumericArray_allocateCommon(&model.array, wanted_type, rank, list, wanted_mode)
                     : MNumericArray_allocateMemoryCommon(model.array, wanted_type, rank, list, wanted_mode));
}

void Sequence::request_new(Model& model) {
  const int32_t wanted_type = type();
  const Shape wanted = shape();
  const auto rank = mint(wanted.size());
  const auto way = input_.ConsumeIntegralInRange(0, 4);
  const int32_t wanted_mode = way == 2 ? 2 : mode();
  const bool tensor = way == 3 && wanted_type >= 0 && wanted_type <= 4;
  if (way == 4) {
    model = {};
    model.array = MNumericArray_new();
    return check(model);
  }
  Model after;
  int32_t status =
      expect({}, tensor ? MTensorToMNumericArrayType[wanted_type] : wanted_type, wanted, wanted_mode, after);
  const uint64_t in_use = MemoryInUse();
  model = {};
  int32_t answer = 0;
  if (way == 0)
    answer = MNumericArray_allocateCommon(&model.array, wanted_type, rank, wanted.data(), wanted_mode);
  else if (way == 2)
    model.array = Runtime_CreateNumericArray(wanted_type, rank, wanted.data());
  else if (tensor)
    model.array = MTensor_newAllocatedCommon(wanted_type, rank, wanted.data(), wanted_mode);
  else
    model.array = MNumericArray_newAllocatedCommon(wanted_type, rank, wanted.data(), wanted_mode);
  if (way != 0) answer = model.array ? 0 : status ? status : kOutOfMemory;
  REQUIRE((answer == 0) == (model.array != nullptr));
  settle(model, after, status, answer);
  const uint64_t held = model.array ? uint64_t(MNumericArray_getByteCount(model.array)) : 0;
  // A byte count that has wrapped is the buffer's, not the elements'.
  REQUIRE(MemoryInUse() == in_use + held);
}

void Sequence::store_dimensions(Model& model) {
  const bool reset = input_.ConsumeBool();
  const int32_t wanted_mode = mode();
  Shape wanted = shape();
  const mint* list = wanted.data();
  if (input_.ConsumeBool() && !model.shape.empty()) {
    const auto first = input_.ConsumeIntegralInRange<size_t>(0, model.shape.size() - 1);
    wanted.assign(model.shape.begin() + ptrdiff_t(first), model.shape.end());
    list = model.array->dimensions + first;
  }
  const mint count = element_count(wanted, false);
  // Callers store shapes that the buffer has elements for.
  const mint size = size_of(model.type);
  const bool fits = size != 0 && count != kNoCount && Wide{count} * size <= Wide{model.bytes};
  const bool keeps_buffer = (count == 0) == (model.bytes == 0);
  if (!fits || !keeps_buffer || std::any_of(wanted.begin(), wanted.end(), [](mint d) { return d < 0; }))
    return;
  Model after = model;
  after.shape = wanted;
  after.count = count;
  uncertain_ = false;
  const auto rank = mint(wanted.size());
  settle(model, after, 0,
         reset ? MNumericArray_resetDimensionsCommon(model.array, rank, list, count, wanted_mode)
               : MNumericArray_setDimensionsCommon(model.array, rank, list, count, wanted_mode));
}

void Sequence::compare_shapes(const Model& a, const Model& b) {
  const size_t common = std::min(a.shape.size(), b.shape.size());
  const bool compatible = std::equal(a.shape.begin(), a.shape.begin() + ptrdiff_t(common), b.shape.begin());
  REQUIRE(MNumericArray_compatibleDimensionsQ(a.array, b.array) == compatible);
  mint rank = -7;
  const mint* dimensions = nullptr;
  REQUIRE(MTensor_maxCompatibleDimensions(a.array, b.array, &rank, &dimensions) == compatible);
  const Model& longer = b.shape.size() > a.shape.size() ? b : a;
  REQUIRE(rank == (compatible ? mint(longer.shape.size()) : -7));
  REQUIRE(dimensions == (compatible ? longer.array->dimensions : nullptr));
}

void Sequence::count_elements() {
  const Shape list = shape();
  REQUIRE(NumberOfElementsCommon(mint(list.size()), list.data(), 1) == element_count(list, false));
  REQUIRE(NumberOfElementsCommon(mint(list.size()), list.data(), 0) == element_count(list, true));
  REQUIRE(NumberOfElementsCommon(-mint(list.size()), list.data(), 2) == 1);
}

void Sequence::load_scalar() {
  std::array<uint8_t, 16> value{};
  for (uint8_t& byte : value) byte = ++fill_;
  const int32_t wanted = type();
  const auto slot = input_.ConsumeIntegralInRange<mint>(-1, 3);
  MNumericArray* shared = MNumericArray_loadSharedRank0(value.data(), wanted, slot);
  REQUIRE((shared != nullptr) == (size_of(wanted) != 0 && slot >= 0 && slot < 3));
  if (!shared) return;
  REQUIRE(shared == MNumericArray_loadSharedRank0(nullptr, wanted, slot));
  REQUIRE((*shared)->numericType == wanted && (*shared)->rank == 0 && (*shared)->flattenedLength == 1);
  REQUIRE(std::memcmp((*shared)->data, value.data(), size_t(size_of(wanted))) == 0);
}

void Sequence::change_references(Model& model) {
  switch (input_.ConsumeIntegralInRange(0, 4)) {
    case 0:
      MTensor_RefCountIncrement(model.array);
      ++model.references;
      break;
    case 1:
      MNumericArray_RefCountDecrement(model.array);
      --model.references;
      break;
    case 2:
      if (model.references == 1 && model.own_flags == 0) return drop(model);
      MTensor_release(model.array);
      --model.references;
      break;
    case 3:  // an array that is never freed, for a while
      model.own_flags ^= input_.ConsumeBool() ? 0x00800000u : 0x02000000u;
      model.array->flags ^= (model.array->flags ^ model.own_flags) & 0x02800000u;
      FreeMTensor(model.own_flags ? model.array : nullptr);
      break;
    default: {
      MTensor_freeMemory(model.array);
      Model after;
      after.array = model.array;
      after.references = model.references;
      model = after;
    }
  }
  check(model);
}

void Sequence::drop(Model& model) {
  if (!model.array) return;
  model.array->flags &= ~0x02800000u;
  if (model.references == 1)
    MTensor_release(model.array);
  else
    FreeMNumericArray(model.array);
  model = {};
}

void Sequence::step() {
  nomem_calls = wanted_nomem_ = 0;
  aborts.clear();
  wanted_aborts_.clear();
  Model& model = models_[input_.ConsumeIntegralInRange<size_t>(0, models_.size() - 1)];
  const Model& other = models_[input_.ConsumeIntegralInRange<size_t>(0, models_.size() - 1)];
  const int choice = input_.ConsumeIntegralInRange(0, 11);
  if (choice == 0) return count_elements();
  if (choice == 1) return load_scalar();
  if (choice == 2) {
    limited_ = input_.ConsumeBool();
    return MCsetlimit(limited_ ? MemoryInUse() + input_.ConsumeIntegralInRange<uint64_t>(0, 4096) : 0);
  }
  if (!model.array) return request_new(model);
  if (choice == 3) return drop(model);
  if (choice == 4) return change_references(model);
  if (choice == 5) return store_dimensions(model);
  if (choice == 6 && other.array) return compare_shapes(model, other);
  request(model);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool started = [] {
    InitRuntimeLibrary(0);
    InitRuntimeLibrary(1);
    system_allocation_limit = kLargestRequest;
    return MNumericArray_loadSharedRank0(nullptr, 1, 0) != nullptr;
  }();
  REQUIRE(started);
  const uint64_t in_use = MemoryInUse();
  FuzzedDataProvider input(data, size);
  Sequence(input).run();
  REQUIRE(MemoryInUse() == in_use);
  return 0;
}
