// The progress line.
#include "progress.h"

#include <cstdio>
#include <utility>

#include "text.h"

namespace zcalc {

Progress::Progress(bool enabled, std::string what, std::string unit, int64_t total)
    : enabled_(enabled),
      what_(std::move(what)),
      unit_(std::move(unit)),
      total_(total),
      next_(Clock::now() + std::chrono::milliseconds(500)) {}

void Progress::update(int64_t done) {
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + std::chrono::milliseconds(100);
  std::string line = what_ + ": ";
  if (total_ > 0) {
    line +=
        std::to_string(static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total_))) +
        " %, ";
  }
  line += grouped(done);
  if (total_ > 0) line += " of " + grouped(total_);
  // Back to the start of the line, and erase what an earlier, longer text left behind the new one.
  std::fprintf(stderr, "\r%s %s\033[K", line.c_str(), unit_.c_str());
  std::fflush(stderr);
  shown_ = true;
}

void Progress::clear() {
  if (!shown_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  shown_ = false;
}

}  // namespace zcalc
