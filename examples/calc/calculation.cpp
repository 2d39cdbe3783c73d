// From the text of an expression and the name of a file to results.
#include "calculation.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <set>
#include <utility>

#include "host.h"
#include "progress.h"
#include "text.h"

namespace zcalc {
namespace {

/// A file that is read to its end.
class InputFile {
 public:
  /// "-" is standard input.
  explicit InputFile(const std::string& file)
      : name_(file == "-" ? "standard input" : file),
        descriptor_(file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) throw Failure("cannot open " + printable(name_) + ": " + std::strerror(errno));
  }
  ~InputFile() {
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  const std::string& name() const { return name_; }
  /// In bytes; 0 for what has no size, such as a pipe.
  int64_t size() const {
    struct stat status;
    return fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
  }
  size_t read(char* buffer, size_t size);

 private:
  std::string name_;
  int descriptor_;
};

/// Ctrl-C is noticed also while a pipe or a terminal has nothing to read.
size_t InputFile::read(char* buffer, size_t size) {
  for (;;) {
    if (interrupted()) throw interruption("while reading " + printable(name_));
    // Not for ever: a signal may come just before.
    constexpr int kMilliseconds = 200;
    pollfd input = {descriptor_, POLLIN, 0};
    const int ready = poll(&input, 1, kMilliseconds);
    if (ready > 0) {
      const ssize_t count = ::read(descriptor_, buffer, size);
      if (count >= 0) return static_cast<size_t>(count);
    }
    if (ready != 0 && errno != EINTR) {
      throw Failure("cannot read " + printable(name_) + ": " + std::strerror(errno));
    }
  }
}

}  // namespace

Calculation::Calculation(std::string_view expression, bool progress, CompileOptions compile)
    : text_(expression), progress_(progress), compile_(std::move(compile)), statements_(parse(expression)) {}

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

/// The columns that the expression refers to. Throws a Failure where a name has no meaning.
std::vector<size_t> Calculation::wanted_columns() const {
  std::vector<size_t> wanted;
  for (const Node* node : free_names()) {
    const auto column = std::find(header_.begin(), header_.end(), node->name);
    if (column == header_.end()) {
      if (constant(node->name)) continue;
      throw Failure("unknown name " + quoted(node->name), node->place, known_names());
    }
    if (std::count(column, header_.end(), node->name) > 1) {
      throw Failure("the header has more than one column " + quoted(node->name), node->place);
    }
    const auto index = static_cast<size_t>(column - header_.begin());
    if (std::find(wanted.begin(), wanted.end(), index) == wanted.end()) wanted.push_back(index);
  }
  return wanted;
}

void Calculation::read_data(const std::string& file) {
  has_data_ = !file.empty();
  if (!has_data_) {
    wanted_columns();
    return;
  }
  InputFile input(file);
  CsvReader reader([&](char* buffer, size_t size) { return input.read(buffer, size); }, input.name());
  header_ = reader.header();
  const std::vector<size_t> wanted = wanted_columns();
  Progress progress(progress_, "reading", "bytes", input.size());
  data_ = reader.read(wanted, [&](size_t position) { progress.update(static_cast<int64_t>(position)); });
  for (size_t i = 0; i < wanted.size(); ++i) values_[header_[wanted[i]]] = {data_.arrays[i], true};
}

Value Calculation::find(const std::string& name) const {
  const auto value = values_.find(name);
  return value == values_.end() ? Value{} : value->second;
}

std::vector<Result> Calculation::run() {
  EvaluateOptions options;
  options.progress = progress_;
  if (compile_.form) {
    options.compile = [this](const Program& program) {
      const auto start = std::chrono::steady_clock::now();
      Runner runner = compile_program(program, compile_);
      compiling_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      return runner;
    };
  }
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
