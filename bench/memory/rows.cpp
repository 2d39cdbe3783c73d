// What the report consists of. A row that is added here needs nothing else.
#include "memory/rows.h"

#include <algorithm>
#include <utility>

namespace zenthar::bench {
namespace {

constexpr size_t kSizes[] = {8, 16, 24, 64, 256, 1000};
constexpr size_t kSmallBatch = 100;    // stays in the first- or second-level cache
constexpr size_t kLargeBatch = 50000;  // leaves the first-level cache, and from 64 bytes on the second
constexpr size_t kWorkingSets[] = {10000, 100000, 1000000};
constexpr std::pair<const char*, SizeMix> kMixes[] = {{"to-1K", SizeMix::kSmall}, {"to-32K", SizeMix::kWide}};

struct RowList {
  double effort;
  std::vector<Row> rows;

  size_t operations(size_t usual) const { return static_cast<size_t>(effort * static_cast<double>(usual)); }
  void timed(std::string name, WorkloadMaker make) {
    rows.push_back({std::move(name), "ns", false, std::move(make)});
  }
  void residence(std::string name, WorkloadMaker make) {
    rows.push_back({std::move(name), "B/B", true, std::move(make)});
  }
};

std::string name_of(const std::string& kind, const std::string& variant, size_t number) {
  return kind + " " + variant + " " + std::to_string(number);
}

void add_fixed_sizes(RowList& list) {
  constexpr std::pair<const char*, FreeOrder> kOrders[] = {{"lifo", FreeOrder::kLastInFirstOut},
                                                           {"fifo", FreeOrder::kFirstInFirstOut}};
  for (const size_t size : kSizes)
    list.timed(name_of("pair", "x1", size), pairs(size, list.operations(1000000)));
  for (const size_t batch : {kSmallBatch, kLargeBatch}) {
    const std::string count = std::string("x").append(std::to_string(batch));
    const size_t operations = std::max(batch, list.operations(400000));
    for (const auto& [kind, order] : kOrders)
      for (const size_t size : kSizes)
        list.timed(name_of(kind, count, size), batches(size, batch, order, operations));
  }
}

void add_mixed_sizes(RowList& list) {
  for (const auto& [mix_name, mix] : kMixes)
    for (const size_t live : kWorkingSets)
      list.timed(name_of("mixed", mix_name, live), replacement(mix, live, list.operations(200000)));
}

void add_growth(RowList& list) {
  constexpr size_t kKiB = 1024, kMiB = 1024 * kKiB;
  list.timed("grow doubling to-4M", growth({.numerator = 4, .step = 0, .first = 16, .limit = 4 * kMiB}, 8));
  list.timed("grow by-half to-4M", growth({.numerator = 3, .step = 0, .first = 16, .limit = 4 * kMiB}, 8));
  list.timed("grow by-64 to-16K", growth({.numerator = 2, .step = 64, .first = 64, .limit = 16 * kKiB}, 8));
  list.timed("grow by-16K to-2M",
             growth({.numerator = 2, .step = 16 * kKiB, .first = 16 * kKiB, .limit = 2 * kMiB}, 4));
}

void add_large_blocks(RowList& list) {
  constexpr std::pair<const char*, Touch> kTouches[] = {{"untouched", Touch::kNothing},
                                                        {"touched", Touch::kEveryPage}};
  for (const auto& [touch_name, touch] : kTouches) {
    const size_t operations = list.operations(touch == Touch::kNothing ? 4000 : 800);
    list.timed(name_of("large-lifo", touch_name, 8), large_batches(8, touch, operations));
    list.timed(name_of("large-random", touch_name, 32), large_replacement(32, touch, operations));
  }
}

void add_two_threads(RowList& list) {
  constexpr std::pair<const char*, Handover> kDirections[] = {
      {"from-main", Handover::kFromMain}, {"to-main", Handover::kToMain}, {"both-ways", Handover::kBothWays}};
  const size_t operations = list.operations(200000);
  for (const auto& [direction_name, direction] : kDirections) {
    list.timed(name_of("handover", direction_name, 64), handover(direction, 64, operations));
    list.timed(std::string("handover ") + direction_name + " to-1K",
               handover(direction, SizeMix::kSmall, operations));
  }
  for (const auto& [mix_name, mix] : kMixes)
    for (const size_t live : {size_t{10000}, size_t{100000}})
      list.timed(name_of("two-threads", mix_name, live), replacement_on_two_threads(mix, live, operations));
}

void add_residence(RowList& list) {
  for (const auto& [mix_name, mix] : kMixes)
    list.residence(name_of("resident", mix_name, 200000), residence_after_replacement(mix, 200000, 10));
  list.residence("resident 8 1000000", residence_of(8, 1000000));
}

}  // namespace

std::vector<Row> all_rows(double effort) {
  RowList list{effort, {}};
  add_fixed_sizes(list);
  add_mixed_sizes(list);
  add_growth(list);
  add_large_blocks(list);
  add_two_threads(list);
  add_residence(list);
  return std::move(list.rows);
}

}  // namespace zenthar::bench
