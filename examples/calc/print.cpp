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

/// A cell and its column's alignment live in `Table`; widths are counted in characters.
class Table {
 public:
  using Row = std::vector<std::string>;

  void add(Row row) { rows_.push_back(std::move(row)); }
  void add_rule() { rows_.emplace_back(); }
  /// The first column to the left, the others to the right, except a remark behind them.
  void print(std::FILE* out, size_t right_aligned) const;

 private:
  std::vector<Row> rows_;
};

void Table::print(std::FILE* out, size_t right_aligned) const {
  std::vector<size_t> widths;
  for (const Row& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], display_width(row[i]));
  }
  for (const Row& row : rows_) {
    std::string line;
    for (size_t i = 0; i < (row.empty() ? right_aligned + 1 : row.size()); ++i) {
      if (i > 0) line += "  ";
      if (row.empty()) {
        line += std::string(widths[i], '-');
      } else {
        const std::string padding(widths[i] - display_width(row[i]), ' ');
        const bool right = i > 0 && i <= right_aligned;
        line += right ? padding + row[i] : row[i] + padding;
      }
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::fprintf(out, "%s\n", line.c_str());
  }
}

class ListPrinter {
 public:
  ListPrinter(const std::vector<const Result*>& lists, const Columns& data, const TableOptions& options)
      : lists_(lists), data_(data), options_(options), labelled_(!data.labels.empty()) {
    for (const Result* list : lists_) labelled_ = labelled_ && list->value.from_data;
  }

  void print(std::FILE* out);

 private:
  std::string row_name(mint row) const;
  void add_summaries();

  const std::vector<const Result*>& lists_;
  const Columns& data_;
  const TableOptions& options_;
  bool labelled_;
  Table table_;
};

std::string ListPrinter::row_name(mint row) const {
  if (!labelled_) return grouped(row + 1);
  return printable(first_columns(data_.labels[static_cast<size_t>(row)], kMaxLabel));
}

void ListPrinter::print(std::FILE* out) {
  const mint count = lists_.front()->value.array.size();
  const mint shown = std::min(count, options_.rows);
  if (shown > 0) {
    Table::Row titles = {labelled_ ? printable(first_columns(data_.label_name, kMaxLabel)) : "row"};
    for (const Result* list : lists_) {
      const bool cut = display_width(list->title) > kMaxTitle;
      titles.push_back(printable(first_columns(list->title, kMaxTitle)) + (cut ? "..." : ""));
    }
    table_.add(titles);
    table_.add_rule();
    for (mint row = 0; row < shown; ++row) {
      check_interrupted(row, shown, "shown");
      Table::Row cells = {row_name(row)};
      for (const Result* list : lists_)
        cells.push_back(element_text(list->value.array, row, options_.digits));
      table_.add(std::move(cells));
    }
    if (shown < count) table_.add(Table::Row{"..."});
    table_.add_rule();
  }
  add_summaries();
  table_.print(out, lists_.size());
}

void ListPrinter::add_summaries() {
  std::vector<Summary> summaries;
  for (const Result* list : lists_) summaries.push_back(summarize(list->value.array));
  const bool complex = std::any_of(lists_.begin(), lists_.end(),
                                   [](const Result* list) { return list->value.array.type() == kComplex; });
  Table::Row counts = {"count"};
  Table::Row smallest = {"smallest"};
  Table::Row largest = {"largest"};
  Table::Row means = {"mean"};
  for (size_t i = 0; i < lists_.size(); ++i) {
    const Array& array = lists_[i]->value.array;
    const Summary& s = summaries[i];
    counts.push_back(grouped(s.count));
    smallest.push_back(s.smallest < 0 ? "-" : element_text(array, s.smallest, options_.digits));
    largest.push_back(s.largest < 0 ? "-" : element_text(array, s.largest, options_.digits));
    const std::string mean = real_text(s.mean.re, options_.digits);
    means.push_back(s.count == 0               ? "-"
                    : array.type() == kComplex ? complex_text(mean, real_text(s.mean.im, options_.digits))
                                               : mean);
  }
  // Where there is one list there is room to say which rows they are.
  if (lists_.size() == 1) {
    const auto remark = [&](mint row) {
      const std::string by = complex ? "by modulus, " : "";
      return row < 0 ? std::string() : "(" + by + (labelled_ ? "" : "row ") + row_name(row) + ")";
    };
    smallest.push_back(remark(summaries[0].smallest));
    largest.push_back(remark(summaries[0].largest));
  }
  table_.add(std::move(counts));
  table_.add(std::move(smallest));
  table_.add(std::move(largest));
  table_.add(std::move(means));
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

void append_csv_element(std::string& line, const Array& array, mint row) {
  switch (array.type()) {
    case kInteger:
      line += std::to_string(array.data<mint>()[row]);
      break;
    case kReal:
      line += real_text(array.data<mreal>()[row]);
      break;
    default:
      line += real_text(array.data<mcomplex>()[row].re);
      line += ',';
      line += real_text(array.data<mcomplex>()[row].im);
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
  std::string line;
  const auto separate = [&] {
    if (!line.empty()) line += ',';
  };
  if (labelled) line = csv_field(data.label_name);
  for (const Result& result : results) {
    separate();
    if (result.value.array.type() == kComplex) {
      line += csv_field(result.title + ".re") + ',' + csv_field(result.title + ".im");
    } else {
      line += csv_field(result.title);
    }
  }
  std::fprintf(out, "%s\n", line.c_str());
  for (mint row = 0; row < rows; ++row) {
    check_interrupted(row, rows, "written");
    line.clear();
    if (labelled) line = csv_field(data.labels[static_cast<size_t>(row)]);
    for (const Result& result : results) {
      separate();
      append_csv_element(line, result.value.array, row);
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), out);
  }
}

}  // namespace zcalc
