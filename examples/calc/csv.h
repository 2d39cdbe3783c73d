// Reads columns of numbers from comma-separated values with a header line (RFC 4180) into arrays.
//
// Lines end with LF, CR LF or CR; a byte-order mark is skipped; empty lines are skipped; a field in double
// quotes may hold commas, line ends and, written twice, quotes. Only the columns that are asked for must hold
// numbers, so a file may carry any other text.
#ifndef ZCALC_CSV_H
#define ZCALC_CSV_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "array.h"
#include "failure.h"

namespace zcalc {

/// Reads up to so many bytes into the buffer and returns their number, 0 at the end; throws when it cannot.
using ByteSource = std::function<size_t(char* buffer, size_t size)>;

struct Field {
  std::string text;
  size_t line = 0;
};

/// Splits bytes into records of fields. Mistakes are Failures with file and line.
class RecordReader {
 public:
  RecordReader(ByteSource source, std::string file);

  /// The fields of the next record that is not an empty line; false at the end.
  bool next(std::vector<Field>& fields);
  /// The line that the last record began in, counted from 1.
  size_t line() const { return record_line_; }
  /// Bytes read so far.
  size_t position() const { return consumed_; }
  [[noreturn]] void fail(size_t line, const std::string& message) const;

 private:
  static constexpr int kEnd = -1;
  int peek();
  int get();
  bool fill();
  void append(Field& field, int c);
  void read_quoted(Field& field);
  void read_plain(Field& field);

  ByteSource source_;
  std::string file_;
  std::string buffer_;
  size_t at_ = 0;
  size_t consumed_ = 0;
  size_t line_ = 1;
  size_t record_line_ = 0;
};

/// The columns of a file that were asked for.
struct Columns {
  mint rows = 0;
  /// In the order asked for: mint where every field is a whole number, else mreal.
  std::vector<Array> arrays;
  /// The first column that holds text in the first row, if there is one: a name for each row.
  std::string label_name;
  std::vector<std::string> labels;
};

class CsvReader {
 public:
  /// Reads the header.
  CsvReader(ByteSource source, const std::string& file);

  const std::vector<std::string>& header() const { return header_; }
  /// Reads the rest. `watch` is called now and then with the bytes read so far and may throw.
  Columns read(const std::vector<size_t>& wanted, const std::function<void(size_t)>& watch = {});

 private:
  RecordReader records_;
  std::vector<std::string> header_;
};

}  // namespace zcalc

#endif
