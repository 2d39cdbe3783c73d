// A line on the terminal for work that takes long.
#ifndef ZCALC_PROGRESS_H
#define ZCALC_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace zcalc {

class Progress {
 public:
  /// A line "what: 45 %, 9 of 20 unit"; a total of 0 is unknown.
  Progress(bool enabled, std::string what, std::string unit, int64_t total);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Call as often as you like: the line appears after half a second and changes ten times a second.
  void update(int64_t done);
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  bool enabled_;
  bool shown_ = false;
  std::string what_;
  std::string unit_;
  int64_t total_;
  Clock::time_point next_;
};

}  // namespace zcalc

#endif
