// The calculator's compiled code against its interpreter: the same bits, the same errors in the same rows,
// and nothing left behind when compiling fails.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "calculation.h"
#include "draw.h"
#include "host.h"

namespace zcalc {
namespace {

constexpr mint kRows = 40009;  // several pieces, the last block begun
constexpr CodeForm kForms[] = {CodeForm::kBlocks, CodeForm::kElements};

struct Outcome {
  std::vector<Result> results;
  std::string failure;
};

/// The expression over n, whole numbers around 0, and r, random reals.
Outcome calculate(const std::string& text, const CompileOptions& options = {}) {
  const std::string all = "n = range(-9, " + std::to_string(kRows - 10) + "); r = random(" +
                          std::to_string(kRows) + ", -4, 4); " + text;
  if (CurrentRandomGenerator_get() == nullptr) select_generator("", 0);
  mint seed = 5;
  CompiledSeedRandom(&seed);
  Outcome outcome;
  try {
    Calculation calculation(all, false, options);
    calculation.read_data("");
    outcome.results = calculation.run();
  } catch (const Failure& failure) {
    outcome.failure = describe(failure, all);
  }
  return outcome;
}

std::string bytes_of(const Array& array) {
  return {array.data<char>(), static_cast<size_t>(array.size()) * element_size(array.type())};
}

void expect_same(const Outcome& compiled, const Outcome& interpreted, const std::string& text) {
  EXPECT_EQ(compiled.failure, interpreted.failure) << text;
  ASSERT_EQ(compiled.results.size(), interpreted.results.size()) << text;
  for (size_t i = 0; i < compiled.results.size(); ++i) {
    const Array& a = compiled.results[i].value.array;
    const Array& b = interpreted.results[i].value.array;
    ASSERT_EQ(a.type(), b.type()) << text;
    EXPECT_TRUE(bytes_of(a) == bytes_of(b)) << text << ", result " << i;
  }
}

class CompileTest : public ::testing::Test {
 protected:
  CompileTest() : threads_(setParallelThreadNumber(3)) {
    directory_ = std::filesystem::temp_directory_path() / ("zcalc-test-" + std::to_string(getpid()));
    std::filesystem::create_directory(directory_);
    setenv("TMPDIR", directory_.c_str(), 1);
  }
  ~CompileTest() override {
    // Whatever the test did, its temporary files are gone.
    EXPECT_TRUE(std::filesystem::is_empty(directory_));
    std::filesystem::remove_all(directory_);
    restoreParallelThreadNumber(threads_);
    unsetenv("TMPDIR");
  }

  Host host_{kFlagStyle, 0};
  int32_t threads_;
  std::filesystem::path directory_;
};

/// The values of the program over n and r, by compiled code alone.
void expect_compiled(const std::string& text, CodeForm form,
                     const std::function<void(const Array&, const Array&)>& same) {
  const Outcome data = calculate("n; r");
  Environment environment;
  environment.find = [&](const std::string& name) {
    return name == "n" ? data.results[0].value : data.results[1].value;
  };
  environment.evaluate = [](const Program& program) { return evaluate(program, {}); };
  for (const Statement& statement : parse(text)) {
    const Program program = compile(statement.nodes, environment);
    const Array interpreted = evaluate(program, {}).array;
    Array compiled = Array::allocate(interpreted.type(), kRows);
    const Runner runner = compile_program(program, {form});
    ASSERT_TRUE(runner) << text;
    // In two parts, neither of which ends with a block.
    ASSERT_EQ(runner(compiled.get(), 0, 30001), 0) << text;
    ASSERT_EQ(runner(compiled.get(), 30001, kRows - 30001), 0) << text;
    same(compiled, interpreted);
  }
}

void expect_same_bits(const std::string& text, CodeForm form) {
  expect_compiled(text, form, [&](const Array& compiled, const Array& interpreted) {
    EXPECT_TRUE(bytes_of(compiled) == bytes_of(interpreted)) << text;
  });
}

TEST_F(CompileTest, WhatIsWrittenOutHasTheBitsOfTheKernels) {
  for (const CodeForm form : kForms) {
    expect_same_bits(
        "3*n - (n + 7)*-n - n*n; (n < 5) + 2*(n <= -3) + 4*(n == 4) + 8*(n != 4) - 2^62 + (n - n);"
        "r*n - r/3 + n/(r + 9.) - n/7.5 + -r*(n - r) - (r - n) + (n + r);"
        "(r < n*0.5) + 2*(r <= 1.5) + 4*(r == r) + 8*(0.*r*-1 == r); -(0.*r)",
        form);
  }
}

// Fused loops between calls, columns and constants of every type, scalar steps, buffers that are used again.
TEST_F(CompileTest, CallsHaveTheBitsOfTheInterpreter) {
  expect_same_bits(
      "sin(r)^2 + cos(r)^2*(2 + 3i)/(r + 9.);"
      "max(r, 2) - min(n, r)*floor(r) + abs(sqrt(r + 4)*(exp(r) - tanh(n)) - n);"
      "axpy(n, r, 2.5) + mod(n, 7)*gcd(n, 12) - (r + 2i*n)*(1 - r); exp(r*sin(2.)^3) < quotient(n, 5) + "
      "log(3)",
      CodeForm::kBlocks);
  // Where no elementary function is called, the scalar functions have the same bits.
  expect_same_bits(
      "max(r, 2) - min(n, r)*floor(r) + abs(sqrt(r + 4)) - n; mod(n, 7)*gcd(n, 12) - (r + 2i*n)*(1 - r)*(n "
      "== n);"
      "axpy(n, r, 2.5) + quotient(n, 5)*round(r) - bitxor(n, 5) + 2^3*range(-7, 40001)",
      CodeForm::kElements);
}

// Vector functions are within 1 ulp of the exact value, 2 for reciprocal functions, and so nearly is the
// mathematics library, which the scalar functions are.
TEST_F(CompileTest, ElementaryFunctionsOfElementsAreWithinUlps) {
  const std::string text = "sin(r); exp(r); log(r + 5); atan2(r, n + 0.5); sec(r); (r + 4)^r";
  expect_compiled(text, CodeForm::kElements, [](const Array& compiled, const Array& interpreted) {
    for (mint row = 0; row < kRows; ++row) {
      const mreal value = interpreted.data<mreal>()[row];
      const mreal ulp = std::nextafter(std::fabs(value), INFINITY) - std::fabs(value);
      ASSERT_LE(std::fabs(compiled.data<mreal>()[row] - value), 4 * ulp) << "in row " << row + 1;
    }
  });
}

/// Operations of every kind on a few leaves; many fail somewhere, or have no kernel.
std::string random_expression(std::mt19937& random, int depth) {
  static constexpr const char* kLeaves[] = {"n", "r", "3", "2.5", "1i", "-4", "2^61"};
  static constexpr const char* kOperators[] = {" + ", " - ", "*", "*", " < ", " == ", "/"};
  if (depth == 0) return kLeaves[random() % (random() % 4 == 0 ? std::size(kLeaves) : 4)];
  if (random() % 8 == 0)
    return (random() % 2 ? "-(" : "floor(re(") + random_expression(random, depth - 1) + "))";
  const std::string left = random_expression(random, depth - 1);
  const int below = static_cast<int>(random() % static_cast<uint32_t>(depth));
  return "(" + left + kOperators[random() % std::size(kOperators)] + random_expression(random, below) + ")";
}

TEST_F(CompileTest, RandomExpressionsEndAsInterpreted) {
  std::mt19937 random(3);
  int good = 0, failed = 0;
  for (int round = 0; round < 400 && good + failed < 16; ++round) {
    const std::string text = random_expression(random, 2 + round % 6) + " + n";
    const Outcome interpreted = calculate(text);
    if (!interpreted.failure.empty() && interpreted.failure.find(" in row ") == std::string::npos) continue;
    ++(interpreted.failure.empty() ? good : failed);
    expect_same(calculate(text, {kForms[round % 2]}), interpreted, text);
  }
  EXPECT_GE(good, 3);
  EXPECT_GE(failed, 3);
}

TEST_F(CompileTest, ErrorsAreThoseOfTheFirstRowInEveryStyle) {
  const char* const cases[] = {
      "n*2^48",                                                 // the product is 2^63 at first
      "(n - 20000)*2^49 + 1/(n - 30000)",                       // written out, and the later row fails first
      "log(20000 - n)*r + log(2, n + 5 - 10000*(n == 25000))",  // from arguments: a domain
      "sqrt(r + 4.1)*(exp(n*0.03) + 2)",                        // a call overflows
      "r*n + (2^62 + 2^62)",                                    // a scalar
  };
  for (const char* text : cases) {
    const Outcome interpreted = calculate(text);
    EXPECT_NE(interpreted.failure, "");
    for (const ErrorStyle style : {kFlagStyle, kJumpStyle, kExceptionStyle}) {
      setExceptionStyle(style);
      expect_same(calculate(text, {kForms[style % 2]}), interpreted, text);
      EXPECT_EQ(getExceptionActive(), 0);
    }
    setExceptionStyle(kFlagStyle);
  }
}

// A product so near the limit that a block takes it for one that overflows.
TEST_F(CompileTest, TheInterpreterDecidesWhatFails) {
  const std::string text = "(2^62 - 1 + 2^62)*(n == 25000)";
  expect_same(calculate(text, {CodeForm::kBlocks}), calculate(text), text);
}

TEST_F(CompileTest, WhatCannotBeCompiledIsInterpreted) {
  for (const char* text : {"compplus(r, n, 0.5)", "range(5)", "2 + 3", "n"}) {
    expect_same(calculate(text, {CodeForm::kBlocks, "/nowhere/cc"}), calculate(text), text);
  }
}

TEST_F(CompileTest, FailuresOfTheCompilerAreTold) {
  const std::string script = directory_ / "compiler";
  std::ofstream(script) << "#!/bin/sh\necho 'first: error' >&2\necho second\nexit 3\n";
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  const struct {
    std::string compiler;
    const char* message;
  } cases[] = {
      {"/nowhere/cc", "zcalc: cannot run the C compiler \"/nowhere/cc\": No such file or directory\n"},
      {"true", "zcalc: cannot load the compiled code: "},
      {"false", "zcalc: the C compiler \"false\" failed with status 1\n"},
      {script, "failed with status 3\n  first: error\n  second\n"},
  };
  for (const auto& c : cases) {
    const std::string failure = calculate("r + 1", {CodeForm::kBlocks, c.compiler}).failure;
    EXPECT_NE(failure.find(c.message), std::string::npos) << failure;
  }
  std::filesystem::remove(script);
  setenv("TMPDIR", (directory_ / "none").c_str(), 1);
  EXPECT_NE(calculate("r + 1", {CodeForm::kBlocks}).failure.find("cannot make a directory"),
            std::string::npos);
}

}  // namespace
}  // namespace zcalc
