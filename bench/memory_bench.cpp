// Compares the library's allocator with general-purpose ones, side by side and in turns. See README.md here.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "memory/allocators.h"
#include "memory/report.h"
#include "memory/rows.h"
#include "memory/turns.h"

namespace {

using namespace zenthar::bench;

struct Options {
  std::vector<std::string> only;
  std::vector<std::string> peers;
  int repetitions = 0;
  bool quick = false;
  bool list = false;
  std::string csv;
};

bool contains_one_of(const std::string& text, const std::vector<std::string>& parts) {
  return std::any_of(parts.begin(), parts.end(),
                     [&](const std::string& part) { return text.find(part) != std::string::npos; });
}

std::vector<Row> chosen_rows(const Options& options) {
  std::vector<Row> rows = all_rows(options.quick ? 0.25 : 1);
  if (!options.only.empty())
    std::erase_if(rows, [&](const Row& row) { return !contains_one_of(row.name, options.only); });
  return rows;
}

std::vector<Allocator> chosen_allocators(const Options& options, std::vector<std::string>& notes) {
  std::vector<Allocator> allocators = load_allocators(notes);
  if (!options.peers.empty()) {
    const auto unwanted = [&](const Allocator& peer) { return !contains_one_of(peer.name, options.peers); };
    allocators.erase(std::remove_if(allocators.begin() + 1, allocators.end(), unwanted), allocators.end());
  }
  return allocators;
}

int measure(const Options& options) {
  const std::vector<Row> rows = chosen_rows(options);
  if (rows.empty()) throw std::runtime_error("no row has such a name; --list shows them");
  if (options.list) {
    for (const Row& row : rows) std::printf("%s\n", row.name.c_str());
    return EXIT_SUCCESS;
  }
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> csv(nullptr, &std::fclose);
  if (!options.csv.empty()) {
    csv.reset(std::fopen(options.csv.c_str(), "w"));
    if (!csv) throw std::runtime_error(options.csv + ": " + std::strerror(errno));
  }
  std::vector<std::string> notes;
  const std::vector<Allocator> allocators = chosen_allocators(options, notes);
  const int repetitions = options.repetitions > 0 ? options.repetitions : options.quick ? 3 : 15;
  Report report(allocators, notes, repetitions, csv.get());
  for (const Row& row : rows) report.add(row, run_row(row, allocators, repetitions));
  return report.summarise() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int run(int argc, char** argv) {
  Options options;
  CLI::App app("Compares the library's allocator with glibc, mimalloc, jemalloc and tcmalloc.");
  app.add_option("--only", options.only, "only rows whose name contains this (may be repeated)");
  app.add_option("--peers", options.peers, "only peers whose name contains this (may be repeated)");
  app.add_option("--repetitions", options.repetitions, "turns of each allocator in a row (15, quick: 3)")
      ->check(CLI::Range(1, 1000));
  app.add_flag("--quick", options.quick, "a quarter of the work a turn, fewer turns");
  app.add_flag("--list", options.list, "name the rows and stop");
  app.add_option("--csv", options.csv, "also write the figures to this file");
  CLI11_PARSE(app, argc, argv);
  std::signal(SIGPIPE, SIG_IGN);  // a player that died is noticed by its turn
  if (!options.list) ensure_loader_environment(argv);
  return measure(options);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return EXIT_FAILURE;
  }
}
