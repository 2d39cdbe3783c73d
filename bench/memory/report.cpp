// How the figures are printed, and what is said of the machine that they come from.
#include "memory/report.h"

#include <gnu/libc-version.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fstream>

namespace zenthar::bench {
namespace {

constexpr double kWanted = 1.0;
constexpr double kFloor = 0.8;

double median_of(std::vector<double> figures) {
  std::sort(figures.begin(), figures.end());
  const size_t middle = figures.size() / 2;
  return figures.size() % 2 == 1 ? figures[middle] : (figures[middle - 1] + figures[middle]) / 2;
}

double minimum_of(const std::vector<double>& figures) {
  return *std::min_element(figures.begin(), figures.end());
}

std::string now_in_words() {
  char text[64];
  const std::time_t now = std::time(nullptr);
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %Z", std::localtime(&now));
  return text;
}

std::string processor_model() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);)
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  return "unknown processor";
}

std::string first_line_of(const char* path) {
  std::string line;
  std::ifstream file(path);
  return std::getline(file, line) ? line : "unknown";
}

void print_machine() {
  utsname system{};
  uname(&system);
  double load[1] = {0};
  if (getloadavg(load, 1) != 1) load[0] = -1;
  std::printf("date       %s\n", now_in_words().c_str());
  std::printf("processor  %s, %ld online, load %.2f\n", processor_model().c_str(),
              sysconf(_SC_NPROCESSORS_ONLN), load[0]);
  std::printf("system     %s %s, glibc %s, transparent huge pages %s\n", system.sysname, system.release,
              gnu_get_libc_version(), first_line_of("/sys/kernel/mm/transparent_hugepage/enabled").c_str());
}

std::string cell_of(const Result& result) {
  if (!result.failure.empty()) return "failed";
  char text[64];
  const double median = median_of(result.figures);
  std::snprintf(text, sizeof text, median < 100 ? "%.2f %.2f" : "%.0f %.0f", median,
                minimum_of(result.figures));
  return text;
}

// The smallest figure of the peers; `leader` is set to whose it is.
template <typename Figure>
double best_peer(const std::vector<Result>& results, Figure&& figure_of, size_t& leader) {
  double best = INFINITY;
  for (size_t i = 1; i < results.size(); ++i)
    if (results[i].failure.empty() && figure_of(results[i].figures) < best) {
      best = figure_of(results[i].figures);
      leader = i;
    }
  return best;
}

}  // namespace

Report::Report(const std::vector<Allocator>& allocators, const std::vector<std::string>& notes,
               int repetitions, std::FILE* csv)
    : csv_(csv) {
  print_machine();
  for (const Allocator& allocator : allocators) {
    std::printf("%-10s %s\n", allocator.name.c_str(), allocator.file.c_str());
    names_.push_back(allocator.name);
  }
  for (const std::string& note : notes) std::printf("%s\n", note.c_str());
#ifndef __OPTIMIZE__
  std::printf("BUILT WITHOUT OPTIMISATION: these figures say nothing\n");
#endif
  std::printf("\nMedian and minimum of %d turns; ns per operation or resident bytes per live byte (B/B).\n",
              repetitions);
  std::printf("Ratio: best peer over %s, of the medians and of the minima; 1 or more: ahead or level.\n\n",
              names_[0].c_str());
  std::printf("%-26s%-5s", "row", "unit");
  for (const std::string& name : names_) std::printf("%16s", name.c_str());
  std::printf("%14s  best peer\n", "ratio");
  if (csv_ != nullptr) std::fprintf(csv_, "row,unit,allocator,median,minimum,turns\n");
}

void Report::add(const Row& row, const std::vector<Result>& results) {
  std::printf("%-26s%-5s", row.name.c_str(), row.unit);
  for (size_t i = 0; i < results.size(); ++i) {
    std::printf("%16s", cell_of(results[i]).c_str());
    if (!results[i].failure.empty())
      failures_.push_back(row.name + ", " + names_[i] + ": " + results[i].failure);
    else if (csv_ != nullptr)
      std::fprintf(csv_, "%s,%s,%s,%.6g,%.6g,%zu\n", row.name.c_str(), row.unit, names_[i].c_str(),
                   median_of(results[i].figures), minimum_of(results[i].figures), results[i].figures.size());
  }
  size_t leader = 0, leader_by_minimum = 0;
  const double peer_median = best_peer(results, median_of, leader);
  const double peer_minimum = best_peer(results, minimum_of, leader_by_minimum);
  if (leader != 0 && results[0].failure.empty()) {
    standings_.push_back({row.name, peer_median / median_of(results[0].figures),
                          peer_minimum / minimum_of(results[0].figures), names_[leader]});
    std::printf("%8.2f %5.2f  %s", standings_.back().by_median, standings_.back().by_minimum,
                names_[leader].c_str());
  }
  std::printf("\n");
  std::fflush(stdout);
}

bool Report::summarise() const {
  double logarithms = 0;
  std::vector<Standing> behind;
  for (const Standing& standing : standings_) {
    logarithms += std::log(standing.by_median);
    if (standing.by_median < kWanted) behind.push_back(standing);
  }
  std::sort(behind.begin(), behind.end(),
            [](const auto& a, const auto& b) { return a.by_median < b.by_median; });
  const auto below_floor = std::count_if(behind.begin(), behind.end(),
                                         [](const auto& standing) { return standing.by_median < kFloor; });
  if (!standings_.empty())
    std::printf("\n%zu rows with a ratio, geometric mean %.2f; %zu below %.1f, %td of them below %.1f (*):\n",
                standings_.size(), std::exp(logarithms / static_cast<double>(standings_.size())),
                behind.size(), kWanted, below_floor, kFloor);
  for (const Standing& standing : behind)
    std::printf("  %c %-26s %.2f (minima %.2f) behind %s\n", standing.by_median < kFloor ? '*' : ' ',
                standing.row.c_str(), standing.by_median, standing.by_minimum, standing.leader.c_str());
  for (const std::string& failure : failures_) std::printf("  no figure: %s\n", failure.c_str());
  return failures_.empty();
}

}  // namespace zenthar::bench
