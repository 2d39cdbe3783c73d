// Printing, with checks for Ctrl-C on the way through long results.
#include "print.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "host.h"
#include "text.h"

namespace zcalc {
namespace {

constexpr mint kCheckInterval = 1 << 16;
constexpr size_t kMaxTitle = 60;
constexpr size_t kMaxLabel = 40;

__extension__ using WideInteger = __int128;

void check_interrupted(mint row, mint rows, const char* work) {
  if (row % kCheckInterval == 0 && interrupted()) {
    throw interruption(std::string(work) + " " + grouped(row) + " of " + grouped(rows) + " rows");
  }
}

double modulus(const mcomplex& z) { return std::hypot(z.re, z.im); }

std::string element_text(const Array& array, mint row, int digits) {
  switch (array.type()) {
    case kInteger:
      return std::to_string(array.data<mint>()[row]);
    case kReal:
      return real_text(array.data<mreal>()[row], digits);
    default: {
      const mcomplex z = array.data<mcomplex>()[row];
      return complex_text(real_text(z.re, digits), real_text(z.im, digits));
    }
  }
}

/// Smallest and largest by `order`, a value of each element, and the sum of what `add` takes in.
template <typename T, typename Order, typename Add>
Summary scan(const Array& array, const Order& order, const Add& add) {
  Summary summary;
  summary.count = array.size();
  const T* values = array.data<T>();
  for (mint i = 0; i < summary.count; ++i) {
    check_interrupted(i, summary.count, "summarized");
    const auto value = order(values[i]);
    add(values[i]);
    if (std::isnan(static_cast<double>(value))) continue;
    if (summary.smallest < 0 || value < order(values[summary.smallest])) summary.smallest = i;
    if (summary.largest < 0 || value > order(values[summary.largest])) summary.largest = i;
  }
  return summary;
}

/// Cells under each other: the first column to the left, as many as there are results to the right, a remark
/// behind them to the left. All rows are measured before the first is printed; none is kept.
class Layout {
 public:
  using Row = std::vector<std::string>;

  explicit Layout(size_t results) : widths_(results + 1) {}

  void measure(const Row& row);
  void print(std::FILE* out, const Row& row) const;
  void print_rule(std::FILE* out) const;

 private:
  std::vector<size_t> widths_;
};

void Layout::measure(const Row& row) {
  for (size_t i = 0; i < std::min(row.size(), widths_.size()); ++i) {
    widths_[i] = std::max(widths_[i], display_width(row[i]));
  }
}

void Layout::print(std::FILE* out, const Row& row) const {
  std::string line;
  for (size_t i = 0; i < row.size(); ++i) {
    if (i > 0) line += "  ";
    const std::string padding(i < widths_.size() ? widths_[i] - display_width(row[i]) : 0, ' ');
    line += i == 0 ? row[i] + padding : padding + row[i];
  }
  line.erase(line.find_last_not_of(' ') + 1);
  std::fprintf(out, "%s\n", line.c_str());
}

void Layout::print_rule(std::FILE* out) const {
  std::string line;
  for (const size_t width : widths_) line.append(line.empty() ? "" : "  ").append(width, '-');
  std::fprintf(out, "%s\n", line.c_str());
}

class ListPrinter {
 public:
  ListPrinter(const std::vector<const Result*>& lists, const Columns& data, const TableOptions& options)
      : lists_(lists), data_(data), options_(options), labelled_(!data.labels.empty()) {
    for (const Result* list : lists_) labelled_ = labelled_ && list->value.from_data;
  }

  void print(std::FILE* out) const;

 private:
  std::string row_name(mint row) const;
  Layout::Row titles() const;
  Layout::Row cells(mint row) const;
  std::vector<Layout::Row> summaries() const;
  std::string remark(mint row) const;

  const std::vector<const Result*>& lists_;
  const Columns& data_;
  const TableOptions& options_;
  bool labelled_;
};

std::string ListPrinter::row_name(mint row) const {
  if (!labelled_) return grouped(row + 1);
  return printable(first_columns(data_.labels[static_cast<size_t>(row)], kMaxLabel));
}

Layout::Row ListPrinter::titles() const {
  Layout::Row row = {labelled_ ? printable(first_columns(data_.label_name, kMaxLabel)) : "row"};
  for (const Result* list : lists_) {
    const bool cut = display_width(list->title) > kMaxTitle;
    row.push_back(printable(first_columns(list->title, kMaxTitle)) + (cut ? "..." : ""));
  }
  return row;
}

Layout::Row ListPrinter::cells(mint row) const {
  Layout::Row result = {row_name(row)};
  for (const Result* list : lists_) result.push_back(element_text(list->value.array, row, options_.digits));
  return result;
}

/// Which row an extreme value stands in.
std::string ListPrinter::remark(mint row) const {
  if (row < 0) return {};
  const std::string by = lists_.front()->value.array.type() == kComplex ? "by modulus, " : "";
  return "(" + by + (labelled_ ? "" : "row ") + row_name(row) + ")";
}

std::vector<Layout::Row> ListPrinter::summaries() const {
  std::vector<Layout::Row> rows = {{"count"}, {"smallest"}, {"largest"}, {"mean"}};
  for (const Result* list : lists_) {
    const Array& array = list->value.array;
    const Summary summary = summarize(array);
    const auto element = [&](mint row) { return row < 0 ? "-" : element_text(array, row, options_.digits); };
    std::string mean = real_text(summary.mean.re, options_.digits);
    if (array.type() == kComplex) mean = complex_text(mean, real_text(summary.mean.im, options_.digits));
    rows[0].push_back(grouped(summary.count));
    rows[1].push_back(element(summary.smallest));
    rows[2].push_back(element(summary.largest));
    rows[3].push_back(summary.count == 0 ? "-" : mean);
    // Where there is one list there is room for more.
    if (lists_.size() == 1) {
      rows[1].push_back(remark(summary.smallest));
      rows[2].push_back(remark(summary.largest));
    }
  }
  return rows;
}

void ListPrinter::print(std::FILE* out) const {
  const mint count = lists_.front()->value.array.size();
  const mint shown = std::min(count, options_.rows);
  const std::vector<Layout::Row> tail = summaries();
  Layout layout(lists_.size());
  for (const Layout::Row& row : tail) layout.measure(row);
  if (shown > 0) {
    layout.measure(titles());
    for (mint row = 0; row < shown; ++row) {
      check_interrupted(row, shown, "measured");
      layout.measure(cells(row));
    }
    layout.print(out, titles());
    layout.print_rule(out);
    for (mint row = 0; row < shown; ++row) {
      check_interrupted(row, shown, "shown");
      layout.print(out, cells(row));
    }
    if (shown < count) layout.print(out, {"..."});
    layout.print_rule(out);
  }
  for (const Layout::Row& row : tail) layout.print(out, row);
}

/// Text as a field of a CSV line.
std::string csv_field(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string field = "\"";
  for (const char c : text) {
    if (c == '"') field += '"';
    field += c;
  }
  return field + '"';
}

/// A real as it is read back: one that looks like a whole number of more than 64 bits is marked as a real.
std::string csv_real(double x) {
  std::string text = real_text(x);
  mint ignored;
  if (parse_integer(text, ignored) == NumberStatus::kTooLarge) text += ".0";
  return text;
}

/// A line of fields as it grows. That it is empty does not tell whether it has a field: the first may be
/// empty.
class CsvLine {
 public:
  void clear() {
    text_.clear();
    fields_ = 0;
  }
  void add(std::string_view field) {
    if (fields_++ > 0) text_ += ',';
    text_ += field;
  }
  void add_element(const Array& array, mint row);
  void write(std::FILE* out) {
    text_ += '\n';
    std::fwrite(text_.data(), 1, text_.size(), out);
  }

 private:
  std::string text_;
  size_t fields_ = 0;
};

void CsvLine::add_element(const Array& array, mint row) {
  switch (array.type()) {
    case kInteger:
      add(std::to_string(array.data<mint>()[row]));
      break;
    case kReal:
      add(csv_real(array.data<mreal>()[row]));
      break;
    default:
      add(csv_real(array.data<mcomplex>()[row].re));
      add(csv_real(array.data<mcomplex>()[row].im));
  }
}

}  // namespace

Summary summarize(const Array& array) {
  const auto count = static_cast<long double>(array.size());
  Summary summary;
  if (array.type() == kInteger) {
    WideInteger sum = 0;
    summary = scan<mint>(
        array, [](mint n) { return n; }, [&](mint n) { sum += n; });
    summary.mean.re = static_cast<mreal>(static_cast<long double>(sum) / count);
  } else if (array.type() == kReal) {
    // The extended format holds the sum of any number of reals that there is memory for.
    long double sum = 0;
    summary = scan<mreal>(
        array, [](mreal x) { return x; }, [&](mreal x) { sum += x; });
    summary.mean.re = static_cast<mreal>(sum / count);
  } else {
    long double re = 0;
    long double im = 0;
    summary = scan<mcomplex>(array, modulus, [&](const mcomplex& z) {
      re += z.re;
      im += z.im;
    });
    summary.mean = {static_cast<mreal>(re / count), static_cast<mreal>(im / count)};
  }
  return summary;
}

void print_tables(std::FILE* out, const std::vector<Result>& results, const Columns& data,
                  const TableOptions& options) {
  for (size_t i = 0; i < results.size();) {
    const Array& first = results[i].value.array;
    if (first.is_scalar()) {
      const std::string name = results.size() > 1 ? printable(results[i].title) + " = " : "";
      std::fprintf(out, "%s%s\n", name.c_str(), element_text(first, 0, options.digits).c_str());
      ++i;
      continue;
    }
    std::vector<const Result*> lists;
    for (; i < results.size() && !results[i].value.array.is_scalar() &&
           results[i].value.array.size() == first.size();
         ++i) {
      lists.push_back(&results[i]);
    }
    ListPrinter(lists, data, options).print(out);
    if (i < results.size()) std::fputc('\n', out);
  }
}

void print_csv(std::FILE* out, const std::vector<Result>& results, const Columns& data) {
  const mint rows = results.front().value.array.size();
  bool labelled = !data.labels.empty();
  for (const Result& result : results) {
    if (result.value.array.size() != rows) {
      throw Failure("results of different lengths do not fit one CSV table: " +
                    quoted(results.front().title) + " has " + grouped(rows) + " rows, " +
                    quoted(result.title) + " " + grouped(result.value.array.size()));
    }
    labelled = labelled && result.value.from_data;
  }
  CsvLine line;
  if (labelled) line.add(csv_field(data.label_name));
  for (const Result& result : results) {
    if (result.value.array.type() == kComplex) {
      line.add(csv_field(result.title + ".re"));
      line.add(csv_field(result.title + ".im"));
    } else {
      line.add(csv_field(result.title));
    }
  }
  line.write(out);
  for (mint row = 0; row < rows; ++row) {
    check_interrupted(row, rows, "written");
    line.clear();
    if (labelled) line.add(csv_field(data.labels[static_cast<size_t>(row)]));
    for (const Result& result : results) line.add_element(result.value.array, row);
    line.write(out);
  }
}

}  // namespace zcalc
