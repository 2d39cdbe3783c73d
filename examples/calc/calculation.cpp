// From the text of an expression and the name of a file to results.
#include "calculation.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <set>

#include "host.h"
#include "progress.h"
#include "text.h"

namespace zcalc {
namespace {

/// Zero for what has no size, such as a pipe.
int64_t file_size(const std::string& file) {
  struct stat status;
  return stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
}

}  // namespace

Calculation::Calculation(std::string_view expression, bool progress)
    : text_(expression), progress_(progress), statements_(parse(expression)) {}

/// The names that stand for no earlier statement's result.
std::vector<const Node*> Calculation::free_names() const {
  std::vector<const Node*> result;
  std::set<std::string_view> bound;
  for (const Statement& statement : statements_) {
    for (const Node& node : statement.nodes) {
      if (node.kind == Node::Kind::kName && !bound.contains(node.name)) result.push_back(&node);
    }
    if (!statement.target.empty()) bound.insert(statement.target);
  }
  return result;
}

std::string Calculation::known_names() const {
  if (!has_data_) return "no data file is given";
  std::string text = "columns:";
  constexpr size_t kShown = 20;
  for (size_t i = 0; i < std::min(header_.size(), kShown); ++i)
    text += (i == 0 ? " " : ", ") + printable(first_columns(header_[i], 40));
  return header_.size() > kShown ? text + " and " + std::to_string(header_.size() - kShown) + " more" : text;
}

void Calculation::read_data(const std::string& file) {
  std::ifstream stream;
  const bool standard_input = file == "-";
  has_data_ = !file.empty();
  if (has_data_ && !standard_input) {
    stream.open(file, std::ios::binary);
    if (!stream) throw Failure("cannot open " + printable(file) + ": " + std::strerror(errno));
  }
  std::istream empty(nullptr);
  std::istream& input = !has_data_ ? empty : standard_input ? std::cin : stream;
  const std::string name = standard_input ? "standard input" : file;

  std::vector<size_t> wanted;
  std::optional<CsvReader> reader;
  if (has_data_) header_ = reader.emplace(input, name).header();
  for (const Node* node : free_names()) {
    const auto column = std::find(header_.begin(), header_.end(), node->name);
    if (column == header_.end()) {
      if (constant(node->name)) continue;
      throw Failure("unknown name " + quoted(node->name), node->place, known_names());
    }
    if (std::count(header_.begin(), header_.end(), node->name) > 1) {
      throw Failure("the header has more than one column " + quoted(node->name), node->place);
    }
    const auto index = static_cast<size_t>(column - header_.begin());
    if (std::find(wanted.begin(), wanted.end(), index) == wanted.end()) wanted.push_back(index);
  }
  if (!has_data_) return;

  Progress progress(progress_, "reading", "bytes", standard_input ? 0 : file_size(file));
  data_ = reader->read(wanted, [&](size_t position) {
    if (interrupted())
      throw interruption(grouped(static_cast<uint64_t>(position)) + " bytes of " + printable(name) + " read");
    progress.update(static_cast<int64_t>(position));
  });
  for (size_t i = 0; i < wanted.size(); ++i) values_[header_[wanted[i]]] = {data_.arrays[i], true};
}

Value Calculation::find(const std::string& name) const {
  const auto value = values_.find(name);
  return value == values_.end() ? Value{} : value->second;
}

std::vector<Result> Calculation::run() {
  EvaluateOptions options;
  options.progress = progress_;
  options.row_label = [this](mint row) {
    return data_.labels.empty()
               ? std::string()
               : " (" + printable(first_columns(data_.labels[static_cast<size_t>(row)], 40)) + ")";
  };
  Environment environment;
  environment.find = [this](const std::string& name) { return find(name); };
  environment.known_names = [this] { return known_names(); };
  environment.evaluate = [&](const Program& program) { return evaluate(program, options); };

  std::vector<Result> results;
  for (const Statement& statement : statements_) {
    Value value = evaluate(compile(statement.nodes, environment), options);
    const bool last = &statement == &statements_.back();
    if (statement.target.empty() || last) {
      const Span place = statement.place;
      results.push_back({statement.target.empty()
                             ? std::string(text_.substr(place.begin, place.end - place.begin))
                             : statement.target,
                         value});
    }
    if (!statement.target.empty()) values_[statement.target] = std::move(value);
  }
  return results;
}

}  // namespace zcalc
