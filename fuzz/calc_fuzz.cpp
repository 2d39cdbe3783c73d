// The calculator's language: every text is computed or refused with a message, to the same end in each way
// that an error can travel in, and nothing stays allocated.
#include <csignal>
#include <string>
#include <string_view>

#include "calculation.h"
#include "fuzz.h"
#include "host.h"
#include "print.h"

namespace {

// Arrays are small enough for a thousand texts a second.
constexpr uint64_t kLargestRequest = uint64_t{1} << 18;
constexpr uint64_t kMemoryLimit = uint64_t{1} << 22;

void start() {
  static zcalc::Host* host = [] {
    auto* made = new zcalc::Host(zcalc::kFlagStyle, kMemoryLimit);
    system_allocation_limit = kLargestRequest;
    std::signal(SIGINT, SIG_DFL);  // ends the fuzzer, not a calculation
    return made;
  }();
  static_cast<void>(host);
}

// What the program would print.
std::string computed(std::string_view expression, zcalc::ErrorStyle style) {
  setExceptionStyle(style);
  char* text = nullptr;
  size_t size = 0;
  std::FILE* out = open_memstream(&text, &size);
  try {
    zcalc::Calculation calculation(expression, false);
    calculation.read_data("");
    const std::vector<zcalc::Result> results = calculation.run();
    zcalc::print_tables(out, results, calculation.data(), {});
    zcalc::print_csv(out, results, calculation.data());
  } catch (const zcalc::Failure& failure) {
    const std::string message = zcalc::describe(failure, expression);
    REQUIRE(message.size() > sizeof "zcalc: \n" - 1);
    std::fputs(message.c_str(), out);
  }
  std::fclose(out);
  std::string result(text, size);
  std::free(text);
  return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  start();
  const std::string_view expression(reinterpret_cast<const char*>(data), size);
  const uint64_t in_use = MemoryInUse();
  {
    const std::string by_flag = computed(expression, zcalc::kFlagStyle);
    REQUIRE(getExceptionActive() == 0);
    REQUIRE(computed(expression, zcalc::kJumpStyle) == by_flag);
    REQUIRE(computed(expression, zcalc::kExceptionStyle) == by_flag);
  }
  REQUIRE(MemoryInUse() == in_use);
  return 0;
}
