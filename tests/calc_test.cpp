// The calculator's parts: what parser and CSV reader make of good input, where they see the mistake in bad,
// and the values that programs give.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "calculation.h"
#include "csv.h"
#include "draw.h"
#include "options.h"
#include "print.h"
#include "syntax.h"
#include "text.h"

namespace zcalc {
namespace {

std::string literal_text(const Literal& literal) {
  const std::string sign = literal.negative ? "-" : "";
  if (literal.kind == Literal::Kind::kInteger) return sign + std::to_string(literal.magnitude);
  return sign + real_text(literal.real) + (literal.kind == Literal::Kind::kReal ? "r" : "i");
}

std::string tree_text(const std::vector<Node>& nodes, size_t index) {
  const Node& node = nodes[index];
  if (node.kind == Node::Kind::kLiteral) return literal_text(node.literal);
  if (node.kind == Node::Kind::kName) return node.name;
  std::string text = node.name + "(";
  for (size_t i = 0; i < node.argument_count; ++i) {
    text += (i == 0 ? "" : ",") + tree_text(nodes, node.arguments[i]);
  }
  return text + ")";
}

std::string parsed(const std::string& expression) {
  std::string text;
  for (const Statement& statement : parse(expression)) {
    if (!text.empty()) text += "; ";
    if (!statement.target.empty()) text += statement.target + "=";
    text += tree_text(statement.nodes, statement.nodes.size() - 1);
  }
  return text;
}

TEST(Parser, Grammar) {
  const struct {
    const char* expression;
    const char* tree;
  } cases[] = {
      {"1+2*3", "plus(1,times(2,3))"},
      {"1-2-3", "subtract(subtract(1,2),3)"},
      {"8/4/2", "div(div(8,4),2)"},
      {"2^3^2", "pow(2,pow(3,2))"},
      {"-2^2", "minus(pow(2,2))"},
      {"2^-1", "pow(2,-1)"},
      {"-x^-y", "minus(pow(x,minus(y)))"},
      {"- -3", "minus(-3)"},
      {"+3 - +x", "subtract(3,x)"},
      {"(1+2)*3", "times(plus(1,2),3)"},
      {"-(3)", "minus(3)"},
      {"a<b", "less(a,b)"},
      {"a>b+1", "less(plus(b,1),a)"},
      {"a<=b", "lessequal(a,b)"},
      {"a>=b", "lessequal(b,a)"},
      {"a==b", "equal(a,b)"},
      {"a!=b", "equal(equal(a,b),0)"},
      {"(a<b)==(c<d)", "equal(less(a,b),less(c,d))"},
      {"log(2, axpy(a, x, y))", "log(2,axpy(a,x,y))"},
      {"'mean radius' + \"it\"\"s\"", "plus(mean radius,it\"s)"},
      {"größe*_x1", "times(größe,_x1)"},
      {"a = 1; b=a ==2;; a*b;", "a=1; b=equal(a,2); times(a,b)"},
      {"'x y'=3", "x y=3"},
      {"\t1\n+\r\n2 ", "plus(1,2)"},
      {"9223372036854775807", "9223372036854775807"},
      {"-9223372036854775808", "-9223372036854775808"},
      {"1.5 + .5 + 5. + 1e3 + 2.5E-3 + 1e+2",
       "plus(plus(plus(plus(plus(1.5r,0.5r),5r),1000r),0.0025r),100r)"},
      {"2i*-1.5e2i", "times(2i,-150i)"},
      {"9223372036854775808. + 1e-400", "plus(9223372036854775808r,0r)"},
  };
  for (const auto& c : cases) EXPECT_EQ(parsed(c.expression), c.tree) << c.expression;
}

TEST(Parser, MistakesAreShownWhereTheyAre) {
  const struct {
    const char* expression;
    size_t begin;
    size_t end;
    const char* words;
  } cases[] = {
      {"", 0, 0, "empty"},
      {" ; ", 3, 3, "empty"},
      {"1+", 2, 2, "ends where"},
      {"1+*2", 2, 3, "expected a number"},
      {"(1+2", 0, 1, "without its closing"},
      {"sin(1", 3, 4, "without its closing"},
      {"1+2)", 3, 4, "without its opening"},
      {"2 x", 2, 3, "operator"},
      {"sin()", 4, 5, "argument"},
      {"f(1,2,3,4)", 8, 9, "three arguments"},
      {"f(1 2)", 4, 5, "operator, a comma"},
      {"1 < 2 < 3", 6, 7, "chained"},
      {"1 = 2", 2, 3, "single name"},
      {"a = ", 4, 4, "ends where"},
      {"1.2.3 + 1", 0, 5, "malformed number"},
      {"1 + 12abc", 4, 9, "malformed number"},
      {"1e", 0, 2, "malformed number"},
      {"1e+", 0, 2, "malformed number"},
      {".", 0, 1, "malformed number"},
      {"i + 2ii", 4, 7, "malformed number"},
      {"0x10", 0, 4, "malformed number"},
      {"1e999", 0, 5, "largest real"},
      {"x + 9223372036854775808", 4, 23, "64 bits"},
      {"-9223372036854775809", 1, 20, "64 bits"},
      {"-(9223372036854775808)", 2, 21, "64 bits"},
      {"a $ b", 2, 3, "unexpected character \"$\""},
      {"a + 'b", 4, 5, "closing quote"},
      {"''", 0, 2, "empty name"},
      {"a ! b", 2, 3, "unexpected character"},
  };
  for (const auto& c : cases) {
    try {
      parse(c.expression);
      ADD_FAILURE() << c.expression;
    } catch (const Failure& failure) {
      ASSERT_TRUE(failure.place()) << c.expression;
      EXPECT_EQ(failure.place()->begin, c.begin) << c.expression;
      EXPECT_EQ(failure.place()->end, c.end) << c.expression;
      EXPECT_NE(std::string(failure.what()).find(c.words), std::string::npos)
          << c.expression << ": " << failure.what();
    }
  }
}

TEST(Parser, DepthIsLimitedAndLengthIsNot) {
  for (const char* piece : {"(", "-", "2^", "f(", "f(1,"}) {
    std::string text;
    for (int i = 0; i < 100000; ++i) text += piece;
    EXPECT_THROW(parse(text + "1"), Failure) << piece;
  }
  std::string sum = "1";
  for (int i = 0; i < 100000; ++i) sum += "+x";
  const std::vector<Statement> statements = parse(sum);
  EXPECT_EQ(statements[0].nodes.size(), 200001u);
  // Nesting that was closed again does not count.
  std::string flat = "0";
  for (int i = 0; i < 1000; ++i) flat += "+(((1)))^2";
  EXPECT_NO_THROW(parse(flat));
}

TEST(Parser, NodesStandBehindTheirArguments) {
  const std::vector<Statement> statements = parse("f(a > b, -(c+1)^2) != g(x)/3 ");
  const Span place = statements[0].place;
  EXPECT_EQ(place.begin, 0u);
  EXPECT_EQ(place.end, 28u);
  const std::vector<Node>& nodes = statements[0].nodes;
  for (size_t i = 0; i < nodes.size(); ++i) {
    size_t nodes_below = 0;
    EXPECT_LE(nodes[i].first, i);
    for (size_t k = 0; k < nodes[i].argument_count; ++k) {
      const size_t argument = nodes[i].arguments[k];
      ASSERT_LT(argument, i);
      EXPECT_GE(nodes[argument].first, nodes[i].first);
      nodes_below += argument - nodes[argument].first + 1;
    }
    EXPECT_EQ(nodes_below, i - nodes[i].first) << "the subtree of node " << i << " is contiguous";
  }
  EXPECT_EQ(nodes.back().first, 0u);
}

// Random text made of the language's own pieces: it parses or is refused, and nothing else happens.
TEST(Parser, RandomInput) {
  static constexpr const char* kPieces[] = {"1",  "2.5", "3i", "x", "'a b'", "sin", "(",  ")", ",", "+",
                                            "-",  "*",   "/",  "^", "<",     "==",  "!=", "=", ";", " ",
                                            "1e", "\"",  "'",  ".", "\x80",  "\t",  "é",  "\1"};
  std::mt19937 random(1);
  int good = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (auto n = random() % 12; n > 0; --n) text += kPieces[random() % std::size(kPieces)];
    if (random() % 8 == 0) text += '\0';
    try {
      parse(text);
      ++good;
    } catch (const Failure& failure) {
      ASSERT_TRUE(failure.place());
      ASSERT_LE(failure.place()->begin, failure.place()->end);
      ASSERT_LE(failure.place()->end, text.size());
      const std::string message = describe(failure, text);
      for (const char c : message) ASSERT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << message;
    }
  }
  EXPECT_GT(good, 500);
}

TEST(Describe, CaretsStandUnderThePlace) {
  EXPECT_EQ(describe(Failure("bad", Span{4, 7}, "a note"), "1 + abc"),
            "zcalc: bad\n  1 + abc\n      ^~~\n  a note\n");
  EXPECT_EQ(describe(Failure("bad", Span{5, 6}), "ä + b"), "zcalc: bad\n  ä + b\n      ^\n");
  EXPECT_EQ(describe(Failure("bad", Span{8, 8}), "one\ntwo+"), "zcalc: bad\n  two+\n      ^\n");
  EXPECT_EQ(describe(Failure("bad", Span{2, 3}), "\x1b+\x7f"), "zcalc: bad\n  \\x1b+\\x7f\n       ^~~~\n");
  // Of a long line only the neighbourhood is shown.
  const std::string line(500, 'x');
  const std::string message = describe(Failure("bad", Span{250, 251}), line);
  EXPECT_LT(message.size(), 250u);
  EXPECT_NE(message.find("..."), std::string::npos);
}

std::string elements(const Array& array) {
  std::string text = array.type() == kInteger ? "i" : "r";
  for (mint i = 0; i < array.size(); ++i) {
    text += ' ';
    text +=
        array.type() == kInteger ? std::to_string(array.data<mint>()[i]) : real_text(array.data<mreal>()[i]);
  }
  return text;
}

struct Reading {
  Columns columns;
  std::vector<std::string> header;
};

/// Hands the text out in pieces, as a pipe does.
ByteSource source_of(const std::string& text) {
  return [text, at = size_t{0}](char* buffer, size_t size) mutable {
    const size_t count = text.copy(buffer, std::min<size_t>(size, 1 + text.size() / 5), at);
    at += count;
    return count;
  };
}

Reading read_csv(const std::string& text, const std::vector<size_t>& wanted) {
  CsvReader reader(source_of(text), "t.csv");
  Reading result;
  result.columns = reader.read(wanted);
  result.header = reader.header();
  return result;
}

class CsvTest : public ::testing::Test {
 protected:
  Host host_{kFlagStyle, 0};
};

TEST_F(CsvTest, ColumnsAndLabels) {
  const auto [columns, header] = read_csv(
      "\xef\xbb\xbf"
      "n, mean radius ,name,z\r\n"
      "1,2.5,\"Alpha, \"\"A\"\"\",+7\r\n"
      "\r\n"
      "-9223372036854775808, 3 ,\"two\nlines\",8\r\n"
      "\"9223372036854775807\",-1e-3,,9",
      {0, 1, 3});
  EXPECT_EQ(header, (std::vector<std::string>{"n", "mean radius", "name", "z"}));
  EXPECT_EQ(columns.rows, 3);
  EXPECT_EQ(elements(columns.arrays[0]), "i 1 -9223372036854775808 9223372036854775807");
  EXPECT_EQ(elements(columns.arrays[1]), "r 2.5 3 -0.001");
  EXPECT_EQ(elements(columns.arrays[2]), "i 7 8 9");
  EXPECT_EQ(columns.label_name, "name");
  EXPECT_EQ(columns.labels, (std::vector<std::string>{"Alpha, \"A\"", "two\nlines", ""}));
}

TEST_F(CsvTest, LineEndsEmptyTablesAndUnwantedText) {
  EXPECT_EQ(read_csv("\xef\xbb\xbfn\n", {}).header, std::vector<std::string>{"n"})
      << "a byte-order mark that does not come in one piece";
  EXPECT_EQ(read_csv("\xef\xbb", {}).header, std::vector<std::string>{"\xef\xbb"});
  EXPECT_EQ(elements(read_csv("a\r1\r2\r", {0}).columns.arrays[0]), "i 1 2");
  EXPECT_EQ(elements(read_csv("a\n\n\n1\n\n2\n\n", {0}).columns.arrays[0]), "i 1 2");
  const Columns empty = read_csv("a,b", {0, 1}).columns;
  EXPECT_EQ(empty.rows, 0);
  EXPECT_EQ(empty.arrays[1].size(), 0);
  // What is not asked for may be anything.
  EXPECT_EQ(elements(read_csv("a,b\n1,x\n2,\n3,1.2.3\n", {0}).columns.arrays[0]), "i 1 2 3");
}

TEST_F(CsvTest, WholeNumbersStayExactOrAreRefused) {
  EXPECT_EQ(elements(read_csv("a\n9007199254740993\n0.5\n-9223372036854775808\n", {0}).columns.arrays[0]),
            "r 9007199254740992 0.5 -9223372036854775808");
  EXPECT_EQ(elements(read_csv("a\n9223372036854775808\n1\n2.0\n", {0}).columns.arrays[0]),
            "r 9223372036854775808 1 2");
}

TEST_F(CsvTest, MistakesNameFileLineAndColumn) {
  const std::string long_field(size_t{1} << 21, '1');
  const struct {
    std::string text;
    const char* message;
  } cases[] = {
      {"", "t.csv: no header line"},
      {"a,b\n1,2\n3\n", "t.csv:3: the header has 2 fields, this line 1"},
      {"a,b\n1,2,3\n", "t.csv:2: the header has 2 fields, this line 3"},
      {"a\n1\nx\n", "t.csv:3: column \"a\": not a number: \"x\""},
      {"a\n1\n1.2.3\n", "t.csv:3: column \"a\": not a number: \"1.2.3\""},
      {"a\nnan\n", "t.csv:2: column \"a\": not a number"},
      {"a\n0x1p3\n", "t.csv:2: column \"a\": not a number"},
      {"a\n+-1\n", "t.csv:2: column \"a\": not a number"},
      {"a\n1 2\n", "t.csv:2: column \"a\": not a number"},
      {"a,b\n1,2\n,2\n", "t.csv:3: column \"a\": empty field"},
      {"a\n1e999\n", "t.csv:2: column \"a\": number exceeds"},
      {"a\n1\n9223372036854775808\n", "t.csv:3: column \"a\": whole number does not fit 64 bits"},
      {"a,b\n1,\"x\n\ny\n", "t.csv:2: quoted field without its closing quote"},
      {"a\n\"1\"2\n", "t.csv:2: text after the closing quote"},
      {std::string("a\n1\n\0", 5), "t.csv:3: NUL byte"},
      {"a\n" + long_field, "t.csv:2: field longer than 1 MiB"},
      {"a\n" + std::string(100000, ',') + "\n", "t.csv:2: more than 65536 fields"},
      {"\x1b[31m\n\x1b[0m\n", "t.csv:2: column \"\\x1b[31m\": not a number: \"\\x1b[0m\""},
  };
  for (const auto& c : cases) {
    try {
      read_csv(c.text, {0});
      ADD_FAILURE() << c.message;
    } catch (const Failure& failure) {
      EXPECT_EQ(std::string(failure.what()).substr(0, std::string(c.message).size()), c.message);
    }
  }
}

// Fields of random bytes, written by the rules of quoting, come back as they were.
TEST_F(CsvTest, RandomFieldsComeBack) {
  std::mt19937 random(2);
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> fields(1 + random() % 5);
    std::string line;
    for (std::string& field : fields) {
      for (auto n = random() % 6; n > 0; --n) field += std::string(",\"\nab é")[random() % 8];
      if (!line.empty()) line += ',';
      line += '"';
      for (const char c : field) line.append(c == '"' ? 2 : 1, c);
      line += '"';
    }
    RecordReader reader(source_of(line + "\r\n" + line), "t.csv");
    std::vector<Field> read;
    for (int i = 0; i < 2; ++i) {
      ASSERT_TRUE(reader.next(read));
      ASSERT_EQ(read.size(), fields.size());
      for (size_t k = 0; k < fields.size(); ++k) EXPECT_EQ(read[k].text, fields[k]);
    }
    EXPECT_FALSE(reader.next(read));
  }
}

TEST_F(CsvTest, LongColumnsAreWhole) {
  std::string text = "a,b\n";
  for (int i = 0; i < 50000; ++i)
    text += std::to_string(i) + "," + (i == 49999 ? "0.5" : std::to_string(-i)) + "\n";
  const Columns columns = read_csv(text, {0, 1}).columns;
  ASSERT_EQ(columns.rows, 50000);
  for (mint i = 0; i < 49999; ++i) {
    ASSERT_EQ(columns.arrays[0].data<mint>()[i], i);
    ASSERT_EQ(columns.arrays[1].data<mreal>()[i], static_cast<mreal>(-i));
  }
  EXPECT_EQ(columns.arrays[1].data<mreal>()[49999], 0.5);
}

// Random expressions over integers, reals and complexes, on more rows than a chunk has, against plain
// arithmetic. All values are small multiples of a half, so that both sides are exact: what differs is a
// register taken twice, an operand overwritten, a type or an offset gone wrong.
class RandomExpression {
 public:
  static constexpr mint kRows = 2 * kChunkRows + 1000;
  static std::string prelude() {
    return "n = range(" + std::to_string(kRows) + ") - 9; r = n*0.5; z = r + 2i*n; ";
  }

  explicit RandomExpression(uint32_t seed) : random_(seed) {}

  struct Term {
    std::string text;
    int32_t type;
    std::function<std::complex<double>(mint row)> value;
  };

  Term term(int depth) {
    const auto choice = depth == 0 ? random_() % 6 : 6 + random_() % 5;
    const auto number = static_cast<double>(random_() % 7);
    const auto n = [](mint row) { return static_cast<double>(row - 8); };
    switch (choice) {
      case 0:
        return {"n", kInteger, [=](mint row) { return n(row); }};
      case 1:
        return {"r", kReal, [=](mint row) { return 0.5 * n(row); }};
      case 2:
        return {"z", kComplex, [=](mint row) { return std::complex<double>(0.5 * n(row), 2 * n(row)); }};
      case 3:
        return {real_text(number), kInteger, [=](mint) { return number; }};
      case 4:
        return {real_text(number) + ".5", kReal, [=](mint) { return number + 0.5; }};
      case 5:
        return {"range(-7, " + std::to_string(kRows - 8) + ")", kInteger,
                [=](mint row) { return n(row) + 1; }};
      case 6: {
        const Term a = term(depth - 1);
        return {"(-(" + a.text + "))", a.type, [=](mint row) { return -a.value(row); }};
      }
      case 7: {
        const Term a = term(depth - 1);
        return {"(" + a.text + ")*2", a.type, [=](mint row) { return 2.0 * a.value(row); }};
      }
      default: {
        const Term a = term(random_() % static_cast<uint32_t>(depth));
        const Term b = term(depth - 1);
        const double sign = choice == 8 ? 1.0 : -1.0;
        return {"(" + a.text + (choice == 8 ? " + " : " - ") + b.text + ")", std::max(a.type, b.type),
                [=](mint row) { return a.value(row) + sign * b.value(row); }};
      }
    }
  }

 private:
  std::mt19937 random_;
};

std::complex<double> element(const Array& array, mint row) {
  if (array.type() == kInteger) return static_cast<double>(array.data<mint>()[row]);
  if (array.type() == kReal) return array.data<mreal>()[row];
  const mcomplex z = array.data<mcomplex>()[row];
  return {z.re, z.im};
}

TEST(Evaluate, RandomExpressionsAgainstPlainArithmetic) {
  const Host host(kFlagStyle, 0);
  for (uint32_t seed = 0; seed < 300; ++seed) {
    const RandomExpression::Term term = RandomExpression(seed).term(1 + static_cast<int>(seed % 8));
    const std::string text = RandomExpression::prelude() + term.text;
    Calculation calculation(text, false);
    calculation.read_data("");
    const std::vector<Result> results = calculation.run();
    const Array& array = results.back().value.array;
    ASSERT_EQ(array.type(), term.type) << text;
    if (array.is_scalar()) {
      ASSERT_EQ(element(array, 0), term.value(0)) << text;
      continue;
    }
    ASSERT_EQ(array.size(), RandomExpression::kRows) << text;
    for (mint chunk = 0; chunk < RandomExpression::kRows; chunk += kChunkRows) {
      for (const mint row : {chunk, chunk + 1, std::min(chunk + kChunkRows, RandomExpression::kRows) - 1}) {
        ASSERT_EQ(element(array, row), term.value(row)) << text << " in row " << row;
      }
    }
  }
}

std::vector<double> values(const std::string& text) {
  Calculation calculation(text, false);
  calculation.read_data("");
  const Array array = calculation.run().back().value.array;
  std::vector<double> result;
  for (mint i = 0; i < array.size(); ++i) result.push_back(element(array, i).real());
  return result;
}

// What is drawn are the library's own draws in the order of the calls, however rows are cut and shared out;
// and a row that is computed again to name its error has the numbers that it had.
TEST(Evaluate, RandomRowsAreTheLibrarysDraws) {
  const Host host(kFlagStyle, 0);
  constexpr mint kRows = 2 * kChunkRows + 77;
  const std::string rows = std::to_string(kRows);
  std::vector<mint> dice(kRows);
  std::vector<mreal> reals(kRows);
  for (const char* method : {"ExtendedCA", "MersenneTwister", "ParallelGenerator"}) {
    select_generator(method, 7);
    UniformRandomMIntegers(dice.data(), kRows, 1, 6);
    UniformRandomMReals(reals.data(), kRows, -1, 3);
    for (const int32_t threads : {1, 3}) {
      const int32_t before = setParallelThreadNumber(threads);
      select_generator(method, 7);
      const std::vector<double> drawn =
          values("randomint(" + rows + ", 1, 6) + 8*random(" + rows + ", -1, 3)");
      for (size_t i = 0; i < drawn.size(); ++i)
        ASSERT_EQ(drawn[i], static_cast<double>(dice[i]) + 8 * reals[i]) << method << " in row " << i;
      restoreParallelThreadNumber(before);
    }
  }
  select_generator("ExtendedCA", 8);
  UniformRandomMIntegers(dice.data(), kRows, 0, 100000);
  const auto zero = std::find(dice.begin(), dice.end(), 0) - dice.begin() + 1;
  ASSERT_TRUE(zero > kChunkRows && zero <= kRows);  // so the seed was chosen
  select_generator("ExtendedCA", 8);
  try {
    values("1 / randomint(" + rows + ", 0, 100000)");
    ADD_FAILURE();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.what(), "floating_point_infinite (error 6) in row " + grouped(zero) + ": div(1, 0)");
  }
}

TEST(Evaluate, RandomPositions) {
  const Host host(kFlagStyle, 0);
  std::vector<double> sample = values("sample(1000, 1000)");
  std::sort(sample.begin(), sample.end());
  EXPECT_EQ(sample, values("range(1000)"));
  for (const double position : values("choice(1000, (range(5) - 1) * (4 - range(5))^2)"))
    EXPECT_TRUE(position == 2 || position == 3 || position == 5) << position;
  EXPECT_TRUE(values("choice(0, 0)").empty());
  EXPECT_THROW(select_generator("MKL", 1), Failure);
}

// Of constants and data of one name the data wins, and a bound name hides both.
TEST(Evaluate, NamesHideEachOther) {
  const Host host(kFlagStyle, 0);
  const auto value = [](const std::string& text) {
    Calculation calculation(text, false);
    calculation.read_data("");
    return element(calculation.run().back().value.array, 0).real();
  };
  EXPECT_EQ(value("e = 2; e = e + 1; e * pi / pi"), 3.0);
  EXPECT_EQ(value("pi = 4; pi^2"), 16.0);
}

TEST(Summary, OfEveryType) {
  const Host host(kFlagStyle, 0);
  Array integers = Array::allocate(kInteger, 3);
  const mint whole[] = {INT64_MAX, INT64_MAX, INT64_MAX - 3};
  std::copy(std::begin(whole), std::end(whole), integers.data<mint>());
  Summary summary = summarize(integers);
  EXPECT_EQ(summary.smallest, 2);
  EXPECT_EQ(summary.largest, 0);
  EXPECT_EQ(summary.mean.re, 0x1p63);

  Array reals = Array::allocate(kReal, 4);
  const mreal real[] = {NAN, 1.5e308, 1.5e308, -1.0};
  std::copy(std::begin(real), std::end(real), reals.data<mreal>());
  summary = summarize(reals);
  EXPECT_EQ(summary.smallest, 3);
  EXPECT_EQ(summary.largest, 1);
  EXPECT_TRUE(std::isnan(summary.mean.re));
  reals.data<mreal>()[0] = 1.5e308;
  EXPECT_EQ(summarize(reals).mean.re, 1.125e308);

  Array complexes = Array::allocate(kComplex, 3);
  const mcomplex complex[] = {{3, -4}, {0, 1}, {-3, 3}};
  std::copy(std::begin(complex), std::end(complex), complexes.data<mcomplex>());
  summary = summarize(complexes);
  EXPECT_EQ(summary.smallest, 1);
  EXPECT_EQ(summary.largest, 0);
  EXPECT_EQ(summary.mean.re, 0.0);
  EXPECT_EQ(summary.mean.im, 0.0);
}

TEST(Text, ForeignBytesAreMadePrintable) {
  EXPECT_EQ(printable("a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"), "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
  // Broken, overlong and surrogate sequences, and both kinds of control characters.
  EXPECT_EQ(printable("\xff\xc3(\xe0\x80\x80\xed\xa0\x80"), "\\xff\\xc3(\\xe0\\x80\\x80\\xed\\xa0\\x80");
  EXPECT_EQ(printable("\x1b\n\xc2\x9b"), "\\x1b\\x0a\\xc2\\x9b");
  EXPECT_EQ(quoted(std::string(100, 'x'), 5), "\"xxxxx...\"");
  EXPECT_EQ(grouped(int64_t{-9223372036854775807 - 1}), "-9,223,372,036,854,775,808");
  EXPECT_EQ(grouped(uint64_t{999}), "999");
}

TEST(Options, ByteSizes) {
  EXPECT_EQ(parse_byte_size("1500"), 1500u);
  EXPECT_EQ(parse_byte_size("64K"), 65536u);
  EXPECT_EQ(parse_byte_size("100m"), 104857600u);
  EXPECT_EQ(parse_byte_size("2G"), 2147483648u);
  for (const char* bad : {"", "K", "-1", "1T", "1.5G", "0", "99999999999999999999", "99999999999G", "1 K"}) {
    EXPECT_THROW(parse_byte_size(bad), Failure) << bad;
  }
}

}  // namespace
}  // namespace zcalc
