// The reader of comma-separated values: however the bytes arrive, the columns or the message are the same,
// and what is printed of them is read back to the same values.
#include <cstring>
#include <string>
#include <string_view>

#include "csv.h"
#include "fuzz.h"
#include "host.h"
#include "print.h"

namespace {

constexpr size_t kMostColumns = 8;

zcalc::Host* host() {
  static zcalc::Host* instance = new zcalc::Host(zcalc::kFlagStyle, 0);
  return instance;
}

zcalc::ByteSource pieces_of(std::string_view text, size_t piece) {
  return [text, piece, at = size_t{0}](char* buffer, size_t size) mutable {
    const size_t count = std::min({size, piece, text.size() - at});
    std::memcpy(buffer, text.data() + at, count);
    at += count;
    return count;
  };
}

// What came of reading: columns, or a failure.
struct Outcome {
  zcalc::Columns columns;
  std::string failure;
};

// Reads the columns whose bit in `wanted` is set.
Outcome read(std::string_view text, size_t piece, unsigned wanted) {
  Outcome outcome;
  try {
    zcalc::CsvReader reader(pieces_of(text, piece), "input");
    std::vector<size_t> columns;
    for (size_t i = 0; i < std::min(reader.header().size(), kMostColumns); ++i)
      if (wanted >> i & 1) columns.push_back(i);
    outcome.columns = reader.read(columns);
  } catch (const zcalc::Failure& failure) {
    outcome.failure = zcalc::describe(failure, {});
    REQUIRE(!outcome.failure.empty());
  }
  return outcome;
}

bool same_values(const zcalc::Array& a, const zcalc::Array& b) {
  return a.type() == b.type() && a.size() == b.size() &&
         (a.size() == 0 ||
          std::memcmp(a.get()->data, b.get()->data, size_t(a.size()) * zcalc::element_size(a.type())) == 0);
}

// Reals that happen to be whole numbers are read back as integers.
bool equal_numbers(const zcalc::Array& written, const zcalc::Array& read) {
  if (written.type() == read.type() && written.type() == zcalc::kInteger) return same_values(written, read);
  if (written.size() != read.size()) return false;
  for (mint i = 0; i < written.size(); ++i) {
    const mreal value = read.type() == zcalc::kReal ? read.data<mreal>()[i] : mreal(read.data<mint>()[i]);
    if (written.type() != zcalc::kReal || written.data<mreal>()[i] != value) return false;
  }
  return true;
}

void require_same(const Outcome& a, const Outcome& b) {
  REQUIRE(a.failure == b.failure);
  REQUIRE(a.columns.rows == b.columns.rows && a.columns.labels == b.columns.labels);
  REQUIRE(a.columns.arrays.size() == b.columns.arrays.size());
  for (size_t i = 0; i < a.columns.arrays.size(); ++i)
    REQUIRE(same_values(a.columns.arrays[i], b.columns.arrays[i]));
}

std::string printed(const Outcome& outcome) {
  std::vector<zcalc::Result> results;
  for (size_t i = 0; i < outcome.columns.arrays.size(); ++i)
    results.push_back({"column " + std::to_string(i), {outcome.columns.arrays[i], true}});
  char* text = nullptr;
  size_t size = 0;
  std::FILE* file = open_memstream(&text, &size);
  zcalc::print_csv(file, results, outcome.columns);
  std::fclose(file);
  std::string result(text, size);
  std::free(text);
  return result;
}

void require_read_back(const Outcome& outcome) {
  const size_t labels = outcome.columns.labels.empty() ? 0 : 1;
  const size_t count = outcome.columns.arrays.size();
  const Outcome again = read(printed(outcome), SIZE_MAX, ((1u << count) - 1) << labels);
  REQUIRE(again.failure.empty());
  REQUIRE(again.columns.rows == outcome.columns.rows);
  for (size_t i = 0; i < std::min(count, again.columns.arrays.size()); ++i)
    REQUIRE(equal_numbers(outcome.columns.arrays[i], again.columns.arrays[i]));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  host();
  if (size == 0) return 0;
  const unsigned wanted = data[0];
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const uint64_t in_use = MemoryInUse();
  {
    const Outcome whole = read(text, SIZE_MAX, wanted);
    require_same(whole, read(text, 1, wanted));
    if (whole.failure.empty() && !whole.columns.arrays.empty()) require_read_back(whole);
  }
  REQUIRE(MemoryInUse() == in_use);
  return 0;
}
