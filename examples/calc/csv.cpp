// The CSV reader: bytes to records, records to arrays.
#include "csv.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "text.h"

namespace zcalc {
namespace {

// A file that is no table of numbers, a binary one say, is told so before it fills the memory.
constexpr size_t kMaxField = size_t{1} << 20;
constexpr size_t kMaxFields = size_t{1} << 16;
constexpr size_t kBufferSize = size_t{1} << 16;
constexpr mint kFirstCapacity = 1024;
constexpr mint kWatchInterval = 4096;

std::string_view trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

/// The array of a column as it grows: integers as long as all fields are whole numbers.
class ColumnBuilder {
 public:
  void append(const Field& field, const RecordReader& records, const std::string& name);
  Array finish(const RecordReader& records, const std::string& name);

 private:
  void make_room();
  void turn_real();

  Array array_ = Array::allocate(kInteger, kFirstCapacity);
  mint count_ = 0;
  bool whole_ = true;
  /// The line of the first whole number that needs more than 64 bits.
  std::optional<size_t> too_large_;
};

void ColumnBuilder::make_room() {
  if (count_ < array_.size()) return;
  array_.reshape(array_.type(), 2 * array_.size());
}

void ColumnBuilder::turn_real() {
  if (array_.type() == kReal) return;
  // The elements have one size, so the array is retyped where it lies and each element turned in turn.
  array_.reshape(kReal, array_.size());
  for (mint i = 0; i < count_; ++i) {
    mint value;
    std::memcpy(&value, array_.data<mreal>() + i, sizeof value);
    array_.data<mreal>()[i] = static_cast<mreal>(value);
  }
}

void ColumnBuilder::append(const Field& field, const RecordReader& records, const std::string& name) {
  const std::string_view text = trimmed(field.text);
  const auto fail = [&](const std::string& message) {
    records.fail(field.line, "column " + quoted(name) + ": " + message);
  };
  if (text.empty()) fail("empty field where a number is expected");
  make_room();

  mint whole;
  mreal real;
  const NumberStatus as_integer = parse_integer(text, whole);
  if (as_integer == NumberStatus::kGood && array_.type() == kInteger) {
    array_.data<mint>()[count_++] = whole;
    return;
  }
  const NumberStatus as_real = parse_real(text, real);
  if (as_real == NumberStatus::kMalformed) fail("not a number: " + quoted(text));
  if (as_real == NumberStatus::kTooLarge) fail("number exceeds the largest real: " + quoted(text));
  if (as_integer == NumberStatus::kMalformed) whole_ = false;
  if (as_integer == NumberStatus::kTooLarge && !too_large_) too_large_ = field.line;
  turn_real();
  array_.data<mreal>()[count_++] = real;
}

Array ColumnBuilder::finish(const RecordReader& records, const std::string& name) {
  // A column of whole numbers is exact or refused, never rounded in silence.
  if (whole_ && too_large_) {
    records.fail(*too_large_, "column " + quoted(name) +
                                  ": whole number does not fit 64 bits (with a decimal point in one of its "
                                  "fields the column is read as reals)");
  }
  array_.reshape(array_.type(), count_);
  return std::move(array_);
}

/// The first column that is no number in this record, an empty field aside.
std::optional<size_t> find_label_column(const std::vector<Field>& fields) {
  for (size_t i = 0; i < fields.size(); ++i) {
    const std::string_view text = trimmed(fields[i].text);
    double ignored;
    if (!text.empty() && parse_real(text, ignored) == NumberStatus::kMalformed) return i;
  }
  return std::nullopt;
}

}  // namespace

RecordReader::RecordReader(ByteSource source, std::string file)
    : source_(std::move(source)), file_(std::move(file)) {
  // A pipe may give the mark in pieces.
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  std::string start;
  while (start.size() < kByteOrderMark.size() && fill()) start += buffer_;
  if (start.starts_with(kByteOrderMark)) at_ = kByteOrderMark.size();
  buffer_ = std::move(start);
  consumed_ = 0;
}

void RecordReader::fail(size_t line, const std::string& message) const {
  throw Failure(printable(file_) + ":" + std::to_string(line) + ": " + message);
}

bool RecordReader::fill() {
  consumed_ += buffer_.size();
  buffer_.resize(kBufferSize);
  buffer_.resize(source_(buffer_.data(), buffer_.size()));
  at_ = 0;
  return !buffer_.empty();
}

int RecordReader::peek() {
  if (at_ == buffer_.size() && !fill()) return kEnd;
  return static_cast<unsigned char>(buffer_[at_]);
}

/// The next byte, with every line end as a single '\n'.
int RecordReader::get() {
  int c = peek();
  if (c == kEnd) return c;
  ++at_;
  if (c == '\r') {
    if (peek() == '\n') ++at_;
    c = '\n';
  }
  if (c == '\n') ++line_;
  if (c == '\0') fail(line_, "NUL byte: this is not a text file");
  return c;
}

void RecordReader::append(Field& field, int c) {
  if (field.text.size() == kMaxField) fail(field.line, "field longer than 1 MiB");
  field.text += static_cast<char>(c);
}

void RecordReader::read_quoted(Field& field) {
  get();
  for (;;) {
    const int c = get();
    if (c == kEnd) fail(field.line, "quoted field without its closing quote");
    if (c != '"') {
      append(field, c);
    } else if (peek() == '"') {
      append(field, get());
    } else {
      break;
    }
  }
  const int c = peek();
  if (c != ',' && c != '\n' && c != '\r' && c != kEnd) fail(line_, "text after the closing quote of a field");
}

void RecordReader::read_plain(Field& field) {
  for (int c = peek(); c != ',' && c != '\n' && c != '\r' && c != kEnd; c = peek()) append(field, get());
}

bool RecordReader::next(std::vector<Field>& fields) {
  while (peek() == '\n' || peek() == '\r') get();
  if (peek() == kEnd) return false;
  record_line_ = line_;
  for (size_t count = 0;;) {
    if (count == kMaxFields) fail(line_, "more than " + std::to_string(kMaxFields) + " fields in a line");
    // Fields of the record before are used again, with the memory they hold.
    if (count == fields.size()) fields.emplace_back();
    Field& field = fields[count++];
    field.text.clear();
    field.line = line_;
    if (peek() == '"') {
      read_quoted(field);
    } else {
      read_plain(field);
    }
    if (get() != ',') {
      fields.resize(count);
      return true;
    }
  }
}

CsvReader::CsvReader(ByteSource source, const std::string& file) : records_(std::move(source), file) {
  std::vector<Field> fields;
  if (!records_.next(fields)) throw Failure(printable(file) + ": no header line, the file is empty");
  for (Field& field : fields) header_.emplace_back(trimmed(field.text));
}

Columns CsvReader::read(const std::vector<size_t>& wanted, const std::function<void(size_t)>& watch) {
  Columns result;
  std::vector<ColumnBuilder> builders(wanted.size());
  std::optional<size_t> label;
  std::vector<Field> fields;
  for (; records_.next(fields); ++result.rows) {
    if (fields.size() != header_.size()) {
      records_.fail(records_.line(), "the header has " + std::to_string(header_.size()) +
                                         " fields, this line " + std::to_string(fields.size()));
    }
    if (result.rows == 0) label = find_label_column(fields);
    for (size_t i = 0; i < wanted.size(); ++i) {
      builders[i].append(fields[wanted[i]], records_, header_[wanted[i]]);
    }
    if (label) result.labels.push_back(fields[*label].text);
    if (watch && result.rows % kWatchInterval == 0) watch(records_.position());
  }
  if (label) result.label_name = header_[*label];
  for (size_t i = 0; i < wanted.size(); ++i) {
    result.arrays.push_back(builders[i].finish(records_, header_[wanted[i]]));
  }
  return result;
}

}  // namespace zcalc
