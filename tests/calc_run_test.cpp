// The calculator as its users run it: results, messages, exit statuses, interruption.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;

struct Outcome {
  /// The exit status, or 1000 plus the signal that ended the process.
  int status = -1;
  std::string out;
  std::string err;
};

/// A run of the calculator, read while it goes on.
class Process {
 public:
  /// Where standard error goes.
  enum class Error { kPipe, kTerminal };

  explicit Process(const Arguments& arguments, const std::string& input = {}, bool keep_open = false,
                   Error error = Error::kPipe) {
    int in[2], out[2], err[2];
    EXPECT_EQ(pipe2(in, O_CLOEXEC) | pipe2(out, O_CLOEXEC), 0);
    EXPECT_EQ(
        error == Error::kPipe ? pipe2(err, O_CLOEXEC) : openpty(&err[0], &err[1], nullptr, nullptr, nullptr),
        0);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(in[0], STDIN_FILENO);
      dup2(out[1], STDOUT_FILENO);
      dup2(err[1], STDERR_FILENO);
      std::vector<char*> argv = {const_cast<char*>("zcalc")};
      for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      execv(ZCALC_PATH, argv.data());
      _exit(127);
    }
    // Inputs here are shorter than what a pipe holds, and the reader's end is open until they are written.
    EXPECT_EQ(write(in[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    close(in[0]);
    close(out[1]);
    close(err[1]);
    if (!keep_open) close(in[1]);
    input_ = keep_open ? in[1] : -1;
    ends_ = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
  }

  /// Reads until the text appears in standard error.
  void wait_for(const std::string& text) {
    while (outcome_.err.find(text) == std::string::npos) {
      if (!read_some()) break;
    }
    EXPECT_NE(outcome_.err.find(text), std::string::npos) << outcome_.err;
  }

  void interrupt() { kill(pid_, SIGINT); }

  Outcome finish() {
    while (read_some()) continue;
    if (input_ >= 0) close(input_);
    int status = 0;
    waitpid(pid_, &status, 0);
    outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    return outcome_;
  }

 private:
  bool read_some() {
    if (ends_[0].fd < 0 && ends_[1].fd < 0) return false;
    poll(ends_.data(), ends_.size(), -1);
    for (size_t i = 0; i < ends_.size(); ++i) {
      if (ends_[i].fd < 0 || ends_[i].revents == 0) continue;
      char buffer[4096];
      const ssize_t count = read(ends_[i].fd, buffer, sizeof buffer);
      if (count > 0) {
        (i == 0 ? outcome_.out : outcome_.err).append(buffer, static_cast<size_t>(count));
      } else {
        close(ends_[i].fd);
        ends_[i].fd = -1;
      }
    }
    return true;
  }

  pid_t pid_;
  int input_;
  std::vector<pollfd> ends_;
  Outcome outcome_;
};

Outcome run(const Arguments& arguments, const std::string& input = {}) {
  return Process(arguments, input).finish();
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> result;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) result.push_back(line);
  return result;
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

const char* const kStyles[] = {"flag", "jump", "exception"};
const std::string kPlanets = ZCALC_DATA "/planets.csv";

TEST(Zcalc, KeplersThirdLaw) {
  const Outcome outcome = run({"period^2 / axis^3", "--data", kPlanets, "--csv"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  const std::vector<std::string> rows = lines(outcome.out);
  ASSERT_EQ(rows.size(), 14u);
  EXPECT_EQ(rows[0], "name,period^2 / axis^3");
  EXPECT_EQ(rows[3].substr(0, 6), "Earth,");
  // (2 pi / k)^2 with the Gaussian constant k, less up to a thousandth for a planet's own mass, plus what
  // mean elements leave.
  for (size_t i = 1; i < rows.size(); ++i) {
    EXPECT_NEAR(std::strtod(rows[i].substr(rows[i].find(',') + 1).c_str(), nullptr), 133407.0, 200.0)
        << rows[i];
  }
}

// Radii and masses give mean densities known to be between those of ice and of iron, and gas for Saturn.
TEST(Zcalc, PlanetsAreNeitherTooLightNorTooHeavy) {
  const Outcome outcome = run({"mass / (4/3*pi*(1000*radius)^3)", "--data", kPlanets, "--csv"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const std::vector<std::string> rows = lines(outcome.out);
  for (size_t i = 1; i < rows.size(); ++i) {
    const double density = std::strtod(rows[i].substr(rows[i].find(',') + 1).c_str(), nullptr);
    EXPECT_GT(density, 680) << rows[i];
    EXPECT_LT(density, 5530) << rows[i];
  }
}

TEST(Zcalc, TableOfLists) {
  const Outcome outcome =
      run({"2*n; n/'x y'", "--data", "-", "--rows", "2"}, "who,n,x y\nÄnn,1,4\nBob,3,2\nC,-2,8\n");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out,
            "who               2*n  n/'x y'\n"
            "--------  -----------  -------\n"
            "Änn                 2     0.25\n"
            "Bob                 6      1.5\n"
            "...\n"
            "--------  -----------  -------\n"
            "count               3        3\n"
            "smallest           -4    -0.25\n"
            "largest             6      1.5\n"
            "mean      1.333333333      0.5\n");
}

TEST(Zcalc, Values) {
  const struct {
    const char* expression;
    const char* printed;
  } cases[] = {
      {"2+3*4", "14"},
      {"-2^2", "-4"},
      {"2^3^2", "512"},
      {"7/2", "3.5"},
      {"6/3", "2"},
      {"2^62 + (2^62 - 1)", "9223372036854775807"},
      {"-9223372036854775808", "-9223372036854775808"},
      {"0.1+0.2", "0.3"},
      {"2i*2i", "-4 + 0i"},
      {"(1+2i)*(3-1i)", "5 + 5i"},
      {"abs(3+4i)", "5"},
      {"sqrt(16)", "4"},
      {"sin(0) + cos(0)", "1"},
      {"log(e)", "1"},
      {"minus(3)", "-3"},
      {"a = 3; b = a^2; b - a", "6"},
      {"plus(1, 2)", "3"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run({"--", c.expression});
    EXPECT_EQ(outcome.out, std::string(c.printed) + "\n") << c.expression << ": " << outcome.err;
    EXPECT_EQ(outcome.status, 0) << c.expression;
  }
}

// Comparisons are there when the library has kernels for them, and are refused otherwise.
TEST(Zcalc, Comparisons) {
  const bool have_kernels = contains(run({"--functions"}).out, "  lessequal ");
  const std::pair<const char*, const char*> cases[] = {{"1 < 2", "1"},    {"2 <= 1", "0"},   {"3 > 2", "1"},
                                                       {"3 >= 4", "0"},   {"1 == 1.0", "1"}, {"1 != 1", "0"},
                                                       {"2.5 != 2", "1"}, {"2i == 2", "0"}};
  for (const auto& [expression, value] : cases) {
    const Outcome outcome = run({expression});
    if (have_kernels) {
      EXPECT_EQ(outcome.out, std::string(value) + "\n") << expression << outcome.err;
    } else {
      EXPECT_EQ(outcome.status, 1);
      EXPECT_TRUE(contains(outcome.err, "this operator needs the operation")) << outcome.err;
    }
  }
}

TEST(Zcalc, SeveralResults) {
  EXPECT_EQ(run({"1+1; x = 3; 2.5"}).out, "1+1 = 2\n2.5 = 2.5\n");
  // The last one is shown also when it is bound.
  EXPECT_EQ(run({"x = 3; y = x+1"}).out, "4\n");
  EXPECT_EQ(run({"range(3); range(2, 4)*0.5", "--csv"}).out,
            "range(3),\"range(2, 4)*0.5\"\n1,1\n2,1.5\n3,2\n");
  const Outcome mixed = run({"range(3); range(4)", "--csv"});
  EXPECT_EQ(mixed.status, 1);
  EXPECT_TRUE(contains(mixed.err, "different lengths")) << mixed.err;
}

TEST(Zcalc, CsvHoldsEveryDigit) {
  EXPECT_EQ(run({"x/3", "--data", "-", "--csv"}, "x,\"la,bel\"\n1,\"a \"\"b\"\"\"\n1e300,c\n").out,
            "\"la,bel\",x/3\n\"a \"\"b\"\"\",0.3333333333333333\nc,3.3333333333333335e+299\n");
  EXPECT_EQ(run({"x*(1+2i)", "--data", "-", "--csv"}, "x\n1\n-3\n").out,
            "x*(1+2i).re,x*(1+2i).im\n1,2\n-3,-6\n");
  // What is written can be read: an empty label is a field, a large whole real is no integer.
  EXPECT_EQ(run({"x*1.0", "--data", "-", "--csv"}, ",x\na,7\n,18446744073709551616.0\n").out,
            ",x*1.0\na,7\n,18446744073709551616.0\n");
}

TEST(Zcalc, NothingAtAll) {
  const Outcome empty = run({"x^2 + 1", "--data", "-"}, "x\n");
  EXPECT_EQ(empty.status, 0) << empty.err;
  EXPECT_EQ(empty.out, "count     0\nsmallest  -\nlargest   -\nmean      -\n");
  EXPECT_EQ(run({"sqrt(range(0))", "--csv"}).out, "sqrt(range(0))\n");
  EXPECT_EQ(run({"1/x", "--data", "-", "--csv"}, "x\n").out, "1/x\n");
}

TEST(Zcalc, ErrorsNameTheRowInEveryStyle) {
  const struct {
    const char* expression;
    const char* message;
  } cases[] = {
      {"n * 9000000000000000000",
       "integer_overflow (error 1) in row 3 (C): times(2, 9000000000000000000)\n"
       "  n * 9000000000000000000\n    ^\n"},
      {"1 / (n - 1)", "floating_point_infinite (error 6) in row 2 (B): div(1, 0)\n  1 / (n - 1)\n    ^\n"},
      {"sqrt(n - 1.5)", "floating_point_nan (error 9) in row 1 (A): sqrt(-1.5)\n  sqrt(n - 1.5)\n  ^~~~\n"},
      {"n + 2^64", "integer_overflow (error 1): pow(2, 64)\n  n + 2^64\n       ^\n"},
  };
  for (const auto& c : cases) {
    for (const char* style : kStyles) {
      const Outcome outcome = run({c.expression, "--data", "-", "--style", style}, "n,k\n0,A\n1,B\n2,C\n");
      EXPECT_EQ(outcome.status, 1) << style;
      EXPECT_EQ(outcome.out, "") << style;
      EXPECT_EQ(outcome.err, std::string("zcalc: ") + c.message) << style;
    }
  }
}

// The row is found behind many chunks, and it is the first one, whichever step fails in it.
TEST(Zcalc, ErrorsNameTheFirstRowOfMany) {
  for (const char* style : kStyles) {
    const Outcome outcome = run({"x = range(10^6); (x-800000)*2^45 + 1/(x - 765432)", "--style", style});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(outcome.err, "integer_overflow (error 1) in row 1: times(-799999, 35184372088832)"))
        << outcome.err;
    const Outcome later = run({"x = range(10^6); (x-700000)*2^45 + 1/(x - 765432)", "--style", style});
    EXPECT_TRUE(contains(later.err, "integer_overflow (error 1) in row 1:")) << later.err;
    const Outcome division = run({"x = range(10^6); x*2^40 + 1/(x - 765432)", "--style", style});
    EXPECT_TRUE(contains(division.err, "floating_point_infinite (error 6) in row 765,432: div(1, 0)"))
        << division.err;
  }
}

TEST(Zcalc, MistakesAreToldWithTheirPlace) {
  const std::string data = "n,who\n1,A\nx,B\n";
  const struct {
    Arguments arguments;
    int status;
    const char* message;
  } cases[] = {
      {{"1 + + * 2"},
       1,
       "zcalc: expected a number, a name or an opening parenthesis\n  1 + + * 2\n        ^\n"},
      {{"axos + 1"}, 1, "zcalc: unknown name \"axos\"\n  axos + 1\n  ^~~~\n  no data file is given\n"},
      {{"1 + nn", "--data", "-"}, 1, "zcalc: unknown name \"nn\"\n  1 + nn\n      ^~\n  columns: n, who\n"},
      {{"n", "--data", "-"}, 1, "zcalc: standard input:3: column \"n\": not a number: \"x\"\n"},
      {{"1 + who", "--data", "-"}, 1, "zcalc: standard input:2: column \"who\": not a number: \"A\"\n"},
      {{"1", "--data", "/nowhere.csv"}, 1, "zcalc: cannot open /nowhere.csv: No such file or directory\n"},
      {{"1", "--data", "/"}, 1, "zcalc: cannot read /: Is a directory\n"},
      {{"foo(1)"}, 1, "zcalc: unknown function \"foo\"\n  foo(1)\n  ^~~\n  zcalc --functions lists them\n"},
      {{"sin(1, 2)"}, 1, "zcalc: sin does not take 2 arguments\n  sin(1, 2)\n  ^~~\n  it takes 1\n"},
      {{"range(2.5)"}, 1, "zcalc: range takes whole numbers\n  range(2.5)\n        ^~~\n"},
      {{"range(3) + range(4)"},
       1,
       "zcalc: lengths differ: range has 4 rows, range 3\n  range(3) + range(4)\n             ^~~~~\n"},
      {{"random(range(3))"}, 1, "zcalc: random takes whole numbers\n  random(range(3))\n         ^~~~~\n"},
      {{"random(2, 1)"}, 1, "zcalc: random takes one or three arguments\n  random(2, 1)\n  ^~~~~~\n"},
      {{"randomint(-1, 1, 6)"},
       1,
       "zcalc: randomint cannot draw -1 numbers\n  randomint(-1, 1, 6)\n  ^~~~~~~~~\n"},
      {{"random(1, -10.^308, 10.^308)"},
       1,
       "zcalc: the interval, or the sum of the weights, is too large\n  random(1, -10.^308, 10.^308)\n  "
       "^~~~~~\n"},
      {{"sample(3, 2)"},
       1,
       "zcalc: only 2 positions can be drawn without repetition\n  sample(3, 2)\n  ^~~~~~\n"},
      {{"sample(3, range(3) - 1)"},
       1,
       "zcalc: a weight is negative, or too few positions have a weight\n  sample(3, range(3) - 1)\n  "
       "^~~~~~\n"},
      {{"choice(2, 1i*range(2))"},
       1,
       "zcalc: weights are real numbers\n  choice(2, 1i*range(2))\n              ^\n"},
      {{"1", "--generator", "MKL"},
       2,
       "zcalc: --generator takes ExtendedCA, MersenneTwister or ParallelGenerator, not \"MKL\"\n"
       "Try 'zcalc --help'.\n"},
      {{"1", "--seed", "x"}, 2, nullptr},
      {{"1", "--compile=rows"}, 2, nullptr},
      {{"range(3)*2", "--compile", "--compiler", "/nowhere/cc"},
       1,
       "zcalc: cannot run the C compiler \"/nowhere/cc\": No such file or directory\n"},
      {{}, 2, "zcalc: no expression is given\nTry 'zcalc --help'.\n"},
      {{"1", "2"},
       2,
       "zcalc: one expression is expected, 2 are given (is it in quotes?)\nTry 'zcalc --help'.\n"},
      {{"1", "--style", "x"},
       2,
       "zcalc: --style takes flag, jump or exception, not \"x\"\nTry 'zcalc --help'.\n"},
      {{"1", "--rows", "-1"}, 2, nullptr},
      {{"1", "--limit", "1X"}, 2, nullptr},
      {{"1", "--nonsense"}, 2, nullptr},
      {{"1", "--data"}, 2, nullptr},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run(c.arguments, data);
    EXPECT_EQ(outcome.status, c.status) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    if (c.message != nullptr) {
      EXPECT_EQ(outcome.err, c.message);
    } else {
      EXPECT_TRUE(contains(outcome.err, "Try 'zcalc --help'.")) << outcome.err;
    }
  }
}

TEST(Zcalc, EveryListedFunctionIsAccepted) {
  const Outcome list = run({"--functions"});
  ASSERT_EQ(list.status, 0);
  int count = 0;
  for (const std::string& line : lines(list.out)) {
    // "  name    dd>d ...": the letters before the mark are the arguments.
    std::istringstream words(line);
    std::string name, form;
    if (line.compare(0, 2, "  ") != 0 || !(words >> name >> form) || !contains(form, ">")) continue;
    ++count;
    std::string call = name + "(";
    for (size_t i = 0; form[i] != '>'; ++i) {
      call += i == 0 ? "" : ",";
      call += form[i] == 'i' ? "2" : form[i] == 'd' ? "0.5" : "0.5i";
    }
    const Outcome outcome = run({call + ")"});
    // A value may lie outside the domain; the function itself is known.
    EXPECT_TRUE(outcome.status == 0 || contains(outcome.err, "(error ")) << call << ": " << outcome.err;
  }
  EXPECT_GE(count, 12);
}

/// Some ten thousand million sines: no machine is done with them before it is interrupted.
std::string endless_expression() {
  std::string text = "range(10^8)*0.5";
  for (int i = 0; i < 100; ++i) text.insert(0, "sin(").append(")");
  return text;
}

TEST(Zcalc, ControlCStopsInEveryStyle) {
  for (const char* style : kStyles) {
    Process process({endless_expression(), "--progress", "--style", style, "--rows", "0"});
    process.wait_for("computing");
    process.interrupt();
    const Outcome outcome = process.finish();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_TRUE(contains(outcome.err, "zcalc: abort (error 34): interrupted, ")) << outcome.err;
    EXPECT_TRUE(contains(outcome.err, " of 100,000,000 rows done")) << outcome.err;
    EXPECT_EQ(outcome.out, "");
  }
}

TEST(Zcalc, CompiledCodeIsShownRunsAndStops) {
  const Outcome outcome = run({"x = range(5)/2; x^2 - 1", "--compile", "--show-code", "--time", "--csv"});
  EXPECT_EQ(outcome.out, "x^2 - 1\n-0.75\n0\n1.25\n3\n5.25\n");
  EXPECT_TRUE(contains(outcome.err, "int32_t zcalc_run(MTensor result")) << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "compiling ")) << outcome.err;
  Process process({endless_expression(), "--compile", "--progress", "--rows", "0"});
  process.wait_for("computing");
  process.interrupt();
  const Outcome stopped = process.finish();
  EXPECT_EQ(stopped.status, 130);
  EXPECT_TRUE(contains(stopped.err, "zcalc: abort (error 34): interrupted, ")) << stopped.err;
}

TEST(Zcalc, ControlCStopsWaitingForInput) {
  Process process({"x", "--data", "-"}, "x\n1\n", true);
  // The run gives no sign that it waits, and an interrupt before its handler is there ends it as any program.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  process.interrupt();
  const Outcome outcome = process.finish();
  EXPECT_TRUE(outcome.status == 130 || outcome.status == 1000 + SIGINT) << outcome.status;
  if (outcome.status == 130) {
    EXPECT_EQ(outcome.err, "zcalc: abort (error 34): interrupted, while reading standard input\n");
  }
}

TEST(Zcalc, ProgressIsForTerminals) {
  Process process({endless_expression()}, "", false, Process::Error::kTerminal);
  process.wait_for("computing: ");
  process.wait_for(" of 100,000,000 rows");
  process.interrupt();
  EXPECT_EQ(process.finish().status, 130);

  const Outcome piped = run({"sin(range(10^6))", "--rows", "0"});
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(piped.err, "");
}

TEST(Zcalc, MemoryLimit) {
  for (const char* style : kStyles) {
    const Outcome refused = run({"range(10^6)*2", "--limit", "4M", "--style", style});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_TRUE(contains(refused.err, "zcalc: memory limit of 4.0 MiB reached: ")) << refused.err;
  }
  const Outcome enough = run({"range(10^6)*2", "--limit", "16M", "--memory", "--rows", "0"});
  EXPECT_EQ(enough.status, 0) << enough.err;
  EXPECT_TRUE(contains(enough.err, "limit 16,777,216")) << enough.err;
  std::string data = "x\n";
  for (int i = 0; i < 20000; ++i) data += "1\n";
  EXPECT_EQ(run({"x", "--data", "-", "--limit", "64K"}, data).status, 1);
}

TEST(Zcalc, MoreThanTheMachineHas) {
  for (const char* expression :
       {"range(10^14)", "range(10^18) + 1i", "range(-9223372036854775808, 9223372036854775807)"}) {
    const Outcome outcome = run({expression});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(outcome.err, "out of memory") || contains(outcome.err, "can be counted"))
        << outcome.err;
  }
}

TEST(Zcalc, MemoryReportCountsTheResult) {
  const Outcome outcome = run({"range(10^6)", "--memory", "--rows", "0"});
  unsigned long long use = 0, most = 0;
  std::string plain;
  for (size_t i = 0; i < outcome.err.size(); ++i) {
    const bool separator = outcome.err[i] == ',' && i + 1 < outcome.err.size() && outcome.err[i + 1] != ' ';
    if (!separator) plain += outcome.err[i];
  }
  ASSERT_EQ(std::sscanf(plain.c_str(), "memory: %llu bytes in use, %llu at most, limit none", &use, &most), 2)
      << outcome.err;
  EXPECT_GE(use, 8000000u);
  EXPECT_LT(use, 9000000u);
  EXPECT_GE(most, use);
}

TEST(Zcalc, SeedsGiveNumbersAgain) {
  const auto draw = [](const Arguments& options) {
    Arguments arguments = {"random(5); choice(5, 2^62)", "--csv"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run(arguments).out;
  };
  const std::string seeded = draw({"--seed", "1"});
  EXPECT_EQ(lines(seeded).size(), 6u);
  EXPECT_EQ(draw({"--seed", "1", "--generator", "ExtendedCA"}), seeded);
  EXPECT_NE(draw({"--seed", "2"}), seeded);
  EXPECT_NE(draw({"--seed", "1", "--generator", "MersenneTwister"}), seeded);
  EXPECT_NE(draw({}), draw({}));
  EXPECT_NE(draw({"--generator", "MersenneTwister"}), draw({"--generator", "MersenneTwister"}));
}

// Whichever way out a calculation takes, no array stays behind and none is freed twice.
TEST(Zcalc, EveryArrayIsFreedOnce) {
  const char* const expressions[] = {"x = range(100000); y = x/3; y^2 - x; y + 2i",
                                     "1 / (n - 1)",
                                     "n * 2^62",
                                     "n + nn",
                                     "range(range(3))",
                                     "random(9) + choice(9, range(3))",
                                     "sample(3, range(3) - 1)",
                                     "range(10^14)"};
  for (const char* expression : expressions) {
    for (const char* style : kStyles) {
      const Outcome outcome =
          run({expression, "--data", "-", "--style", style, "--leaks"}, "n,k\n0,A\n1,B\n2,C\n");
      EXPECT_TRUE(contains(outcome.err, "arrays: each was freed once\n"))
          << expression << ": " << outcome.err;
    }
  }
}

TEST(Zcalc, AFullDiskIsAnError) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(full, STDOUT_FILENO);
    dup2(full, STDERR_FILENO);
    execl(ZCALC_PATH, "zcalc", "range(100000)", "--csv", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(full);
  int status = 0;
  waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST(Zcalc, HostileInputIsRefused) {
  std::string deep(100000, '(');
  EXPECT_EQ(run({deep}).status, 1);
  std::string sum = "1";
  for (int i = 0; i < 20000; ++i) sum += "+1";
  EXPECT_EQ(run({sum}).out, "20001\n");
  EXPECT_EQ(run({"1", "--data", "-"}, std::string(60000, '\0')).status, 1);
  EXPECT_EQ(run({"a", "--data", "-"}, "a\n\"" + std::string(60000, '"')).status, 1);
  EXPECT_EQ(run({"1", "--data", "/dev/zero"}).status, 1);
}

}  // namespace
