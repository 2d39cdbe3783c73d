// A counted reference to an array of the library.
//
// The arrays here are scalars (rank 0) and lists (rank 1) of the three machine types: mint, mreal, mcomplex.
#ifndef ZCALC_ARRAY_H
#define ZCALC_ARRAY_H

#include <zenthar/zenthar.h>

#include <string>
#include <utility>

namespace zcalc {

/// Machine types as the library numbers them.
enum MachineType : int32_t { kInteger = 2, kReal = 3, kComplex = 4 };
const char* type_name(int32_t type);
size_t element_size(int32_t type);

class Array {
 public:
  Array() = default;
  Array(const Array& other) : handle_(other.handle_) {
    if (handle_ != nullptr) MTensor_RefCountIncrement(handle_);
  }
  Array(Array&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Array& operator=(Array other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Array() {
    if (handle_ != nullptr) MTensor_release(handle_);
  }

  static Array scalar(mint value) { return Array(MTensor_loadNewRank0(&value, kInteger)); }
  static Array scalar(mreal value) { return Array(MTensor_loadNewRank0(&value, kReal)); }
  static Array scalar(mcomplex value) { return Array(MTensor_loadNewRank0(&value, kComplex)); }
  /// A list of so many elements, or with `rank` 0 a scalar; the elements are not initialised. Throws a
  /// Failure where memory or its limit does not suffice.
  static Array allocate(int32_t type, mint length, mint rank = 1);
  /// Gives the array another type or length, in place where possible; what fits of the content stays.
  void reshape(int32_t type, mint length);

  /// The array itself, for the entries of the library that allocate into a handle.
  MTensor* handle() { return &handle_; }
  MTensor get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

  int32_t type() const { return handle_->tensorType; }
  bool is_scalar() const { return handle_->rank == 0; }
  mint size() const { return handle_->flattenedLength; }
  template <typename T>
  T* data() {
    return static_cast<T*>(handle_->data);
  }
  template <typename T>
  const T* data() const {
    return static_cast<const T*>(handle_->data);
  }

 private:
  explicit Array(MTensor handle) : handle_(handle) {}

  MTensor handle_ = nullptr;
};

}  // namespace zcalc

#endif
