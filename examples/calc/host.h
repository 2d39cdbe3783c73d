// What a host gives the library and takes from it: initialisation and its end, the style in which errors
// travel, the abort flag behind Ctrl-C, and the memory limit with its interrupt function.
#ifndef ZCALC_HOST_H
#define ZCALC_HOST_H

#include <cstdint>
#include <string>
#include <vector>

#include "failure.h"

namespace zcalc {

/// How a raised error reaches its handler; the values are those of setExceptionStyle.
enum ErrorStyle : int32_t { kExceptionStyle = 0, kFlagStyle = 1, kJumpStyle = 2 };

/// The library in use, from the constructor to the destructor; one at a time.
class Host {
 public:
  /// A limit of 0 is none. With `track_arrays` the library watches over every array, at the price that their
  /// memory is kept to the end.
  Host(ErrorStyle style, uint64_t memory_limit, bool track_arrays = false);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// Ends the tracking, when all arrays should be gone: the problems that were found, as the library names
  /// them.
  std::vector<std::string> end_tracking();
};

/// An error of the library as "integer_overflow".
std::string error_name(int32_t code);
/// The failure of an array request that came back with this status.
Failure allocation_failure(int32_t status);
/// True after Ctrl-C.
bool interrupted();
/// The failure that Ctrl-C leads to; `done` says how far the work had come.
Failure interruption(const std::string& done);

}  // namespace zcalc

#endif
