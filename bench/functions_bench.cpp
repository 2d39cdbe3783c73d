// Vector functions of reals and complexes beside numpy's ufuncs, SLEEF's functions and calls of the
// mathematics library, element by element. See README.md here.
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <complex>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "functions/sleef.h"
#include "kernels/vector/targets.h"
#include "zenthar/zenthar.h"

namespace {

using Clock = std::chrono::steady_clock;
using Complex = std::complex<double>;
using zenthar::kTargets;

constexpr size_t kElements = 8192;
constexpr int32_t kReal32 = 9, kReal = 10, kComplex = 12;
constexpr const char* kTargetNames[kTargets] = {"baseline", "avx2", "avx512"};

// Computes a run into `result`; the element by element calls of the mathematics library.
using Run = std::function<void(void* result, const void* a, const void* b)>;

template <class R, class T, class F>
Run calls(F f) {
  return [f](void* result, const void* a, const void*) {
    for (size_t i = 0; i < kElements; ++i) static_cast<R*>(result)[i] = f(static_cast<const T*>(a)[i]);
  };
}
template <class T, class F>
Run calls2(F f) {
  return [f](void* result, const void* a, const void* b) {
    for (size_t i = 0; i < kElements; ++i)
      static_cast<T*>(result)[i] = f(static_cast<const T*>(a)[i], static_cast<const T*>(b)[i]);
  };
}

struct Interval {
  double low, high;
};

struct Row {
  std::string name;
  int32_t op;
  int32_t type;  // of each operand
  std::vector<Interval> operands;
  const char* ufunc;  // null where numpy has none
  Run library;
};

template <class F>
Row real(const char* name, int32_t op, Interval x, const char* ufunc, F f) {
  return {name, op, kReal, {x}, ufunc, calls<double, double>(f)};
}
template <class F>
Row single(const char* name, int32_t op, Interval x, const char* ufunc, F f) {
  return {name, op, kReal32, {x}, ufunc, calls<float, float>(f)};
}
template <class F>
Row single2(const char* name, int32_t op, Interval a, Interval b, const char* ufunc, F f) {
  return {name, op, kReal32, {a, b}, ufunc, calls2<float>(f)};
}
template <class F>
Row real2(const char* name, int32_t op, Interval a, Interval b, const char* ufunc, F f) {
  return {name, op, kReal, {a, b}, ufunc, calls2<double>(f)};
}
template <class R = Complex, class F>
Row complex(const char* name, int32_t op, Interval part, const char* ufunc, F f) {
  return {name, op, kComplex, {part}, ufunc, calls<R, Complex>(f)};
}
template <class F>
Row complex2(const char* name, int32_t op, Interval part, const char* ufunc, F f) {
  return {name, op, kComplex, {part, part}, ufunc, calls2<Complex>(f)};
}

// The loops of the mathematics library's calls take functions by lambdas, so that the calls are direct.
#define CALL(f) [](auto... x) { return f(x...); }

std::vector<Row> make_rows() {
  return {
      real("exp", MACHFUNC_EXP, {-700, 700}, "exp", CALL(std::exp)),
      real("expm1", MACHFUNC_EXPM1, {-5, 5}, "expm1", CALL(std::expm1)),
      real("log", MACHFUNC_LOG, {1e-9, 1e9}, "log", CALL(std::log)),
      real("log1p", MACHFUNC_LOG1P, {-0.9, 9}, "log1p", CALL(std::log1p)),
      real("log2", MACHFUNC_LOG2, {1e-9, 1e9}, "log2", CALL(std::log2)),
      real("log10", MACHFUNC_LOG10, {1e-9, 1e9}, "log10", CALL(std::log10)),
      real("sin", MACHFUNC_SIN, {-10, 10}, "sin", CALL(std::sin)),
      real("cos", MACHFUNC_COS, {-10, 10}, "cos", CALL(std::cos)),
      real("tan", MACHFUNC_TAN, {-10, 10}, "tan", CALL(std::tan)),
      real("csc", MACHFUNC_CSC, {-10, 10}, nullptr, [](double x) { return 1 / std::sin(x); }),
      real("sec", MACHFUNC_SEC, {-10, 10}, nullptr, [](double x) { return 1 / std::cos(x); }),
      real("cot", MACHFUNC_COT, {-10, 10}, nullptr, [](double x) { return 1 / std::tan(x); }),
      real("asin", MACHFUNC_ASIN, {-1, 1}, "arcsin", CALL(std::asin)),
      real("acos", MACHFUNC_ACOS, {-1, 1}, "arccos", CALL(std::acos)),
      real("atan", MACHFUNC_ATAN, {-9, 9}, "arctan", CALL(std::atan)),
      real("acsc", MACHFUNC_ACSC, {1, 9}, nullptr, [](double x) { return std::asin(1 / x); }),
      real("asec", MACHFUNC_ASEC, {1, 9}, nullptr, [](double x) { return std::acos(1 / x); }),
      real("acot", MACHFUNC_ACOT, {-9, 9}, nullptr, [](double x) { return std::atan(1 / x); }),
      real("sinh", MACHFUNC_SINH, {-9, 9}, "sinh", CALL(std::sinh)),
      real("cosh", MACHFUNC_COSH, {-9, 9}, "cosh", CALL(std::cosh)),
      real("tanh", MACHFUNC_TANH, {-9, 9}, "tanh", CALL(std::tanh)),
      real("csch", MACHFUNC_CSCH, {-9, 9}, nullptr, [](double x) { return 1 / std::sinh(x); }),
      real("sech", MACHFUNC_SECH, {-9, 9}, nullptr, [](double x) { return 1 / std::cosh(x); }),
      real("coth", MACHFUNC_COTH, {-9, 9}, nullptr, [](double x) { return 1 / std::tanh(x); }),
      real("asinh", MACHFUNC_ASINH, {-9, 9}, "arcsinh", CALL(std::asinh)),
      real("acosh", MACHFUNC_ACOSH, {1, 9}, "arccosh", CALL(std::acosh)),
      real("atanh", MACHFUNC_ATANH, {-1, 1}, "arctanh", CALL(std::atanh)),
      real("acsch", MACHFUNC_ACSCH, {-9, 9}, nullptr, [](double x) { return std::asinh(1 / x); }),
      real("asech", MACHFUNC_ASECH, {1e-3, 1}, nullptr, [](double x) { return std::acosh(1 / x); }),
      real("acoth", MACHFUNC_ACOTH, {1, 9}, nullptr, [](double x) { return std::atanh(1 / x); }),
      real("sqrt", MACHFUNC_SQRT, {0, 1e9}, "sqrt", CALL(std::sqrt)),
      real("cbrt", MACHFUNC_CBRT, {-1e9, 1e9}, "cbrt", CALL(std::cbrt)),
      real("rsqrt", MACHFUNC_RSQRT, {1e-9, 1e9}, nullptr, [](double x) { return 1 / std::sqrt(x); }),
      real("recip", MACHFUNC_RECIP, {1, 9}, "reciprocal", [](double x) { return 1 / x; }),
      real("sinc", MACHFUNC_SINC, {-30, 30}, nullptr, [](double x) { return x == 0 ? 1 : std::sin(x) / x; }),
      real("erf", MACHFUNC_ERF, {-6, 6}, nullptr, CALL(std::erf)),
      real("erfc", MACHFUNC_ERFC, {-6, 26}, nullptr, CALL(std::erfc)),
      real("gamma", MACHFUNC_GAMMA, {0.1, 170}, nullptr, CALL(std::tgamma)),
      real("loggamma", MACHFUNC_LOGGAMMA, {0.1, 1e3}, nullptr, CALL(std::lgamma)),
      real("logistic", MACHFUNC_LOGISTIC, {-40, 40}, nullptr,
           [](double x) { return 1 / (1 + std::exp(-x)); }),
      real("gudermannian", MACHFUNC_GUDERMANNIAN, {-9, 9}, nullptr,
           [](double x) { return 2 * std::atan(std::tanh(x / 2)); }),
      real("inversegudermannian", MACHFUNC_INVERSEGUDERMANNIAN, {-1.5, 1.5}, nullptr,
           [](double x) { return std::asinh(std::tan(x)); }),
      real("haversine", MACHFUNC_HAVERSINE, {-10, 10}, nullptr,
           [](double x) { return std::sin(x / 2) * std::sin(x / 2); }),
      real("inversehaversine", MACHFUNC_INVERSEHAVERSINE, {0, 1}, nullptr,
           [](double x) { return 2 * std::asin(std::sqrt(x)); }),
      real2("pow(x, y)", MACHFUNC_POW, {0.01, 100}, {-20, 20}, "power", CALL(std::pow)),
      real2("atan2(y, x)", MACHFUNC_ATAN2, {-9, 9}, {-9, 9}, "arctan2", CALL(std::atan2)),
      real2("log(base, x)", MACHFUNC_LOG_BASE, {2, 20}, {1e-3, 1e3}, nullptr,
            [](double base, double x) { return std::log(x) / std::log(base); }),
      real2("mod(x, y)", MACHFUNC_MOD, {-100, 100}, {1, 9}, "remainder",
            [](double x, double y) { return x - y * std::floor(x / y); }),
      complex<double>("complex abs", MACHFUNC_ABS, {-9, 9}, "absolute", CALL(std::abs)),
      complex<double>("complex arg", MACHFUNC_ARG, {-9, 9}, nullptr, CALL(std::arg)),
      complex("complex exp", MACHFUNC_EXP, {-9, 9}, "exp", CALL(std::exp)),
      complex("complex log", MACHFUNC_LOG, {-9, 9}, "log", CALL(std::log)),
      complex("complex sqrt", MACHFUNC_SQRT, {-9, 9}, "sqrt", CALL(std::sqrt)),
      complex("complex sin", MACHFUNC_SIN, {-9, 9}, "sin", CALL(std::sin)),
      complex("complex cos", MACHFUNC_COS, {-9, 9}, "cos", CALL(std::cos)),
      complex("complex tan", MACHFUNC_TAN, {-9, 9}, "tan", CALL(std::tan)),
      complex("complex sinh", MACHFUNC_SINH, {-9, 9}, "sinh", CALL(std::sinh)),
      complex("complex cosh", MACHFUNC_COSH, {-9, 9}, "cosh", CALL(std::cosh)),
      complex("complex tanh", MACHFUNC_TANH, {-9, 9}, "tanh", CALL(std::tanh)),
      complex("complex square", MACHFUNC_SQUARE, {-9, 9}, "square", [](Complex z) { return z * z; }),
      complex2("complex times", MACHFUNC_TIMES, {-9, 9}, "multiply",
               [](Complex a, Complex b) { return a * b; }),
      complex2("complex div", MACHFUNC_DIV, {-9, 9}, "divide", [](Complex a, Complex b) { return a / b; }),
      complex2("complex pow", MACHFUNC_POW, {-3, 3}, "power", CALL(std::pow)),
      single("Real32 exp", MACHFUNC_EXP, {-80, 80}, "exp", CALL(std::exp)),
      single("Real32 expm1", MACHFUNC_EXPM1, {-5, 5}, "expm1", CALL(std::expm1)),
      single("Real32 log", MACHFUNC_LOG, {1e-9, 1e9}, "log", CALL(std::log)),
      single("Real32 log1p", MACHFUNC_LOG1P, {-0.9, 9}, "log1p", CALL(std::log1p)),
      single("Real32 log2", MACHFUNC_LOG2, {1e-9, 1e9}, "log2", CALL(std::log2)),
      single("Real32 log10", MACHFUNC_LOG10, {1e-9, 1e9}, "log10", CALL(std::log10)),
      single("Real32 sin", MACHFUNC_SIN, {-10, 10}, "sin", CALL(std::sin)),
      single("Real32 cos", MACHFUNC_COS, {-10, 10}, "cos", CALL(std::cos)),
      single("Real32 tan", MACHFUNC_TAN, {-10, 10}, "tan", CALL(std::tan)),
      single("Real32 asin", MACHFUNC_ASIN, {-1, 1}, "arcsin", CALL(std::asin)),
      single("Real32 acos", MACHFUNC_ACOS, {-1, 1}, "arccos", CALL(std::acos)),
      single("Real32 atan", MACHFUNC_ATAN, {-9, 9}, "arctan", CALL(std::atan)),
      single("Real32 sinh", MACHFUNC_SINH, {-9, 9}, "sinh", CALL(std::sinh)),
      single("Real32 cosh", MACHFUNC_COSH, {-9, 9}, "cosh", CALL(std::cosh)),
      single("Real32 tanh", MACHFUNC_TANH, {-9, 9}, "tanh", CALL(std::tanh)),
      single("Real32 asinh", MACHFUNC_ASINH, {-9, 9}, "arcsinh", CALL(std::asinh)),
      single("Real32 acosh", MACHFUNC_ACOSH, {1, 9}, "arccosh", CALL(std::acosh)),
      single("Real32 atanh", MACHFUNC_ATANH, {-0.999, 0.999}, "arctanh", CALL(std::atanh)),
      single("Real32 sqrt", MACHFUNC_SQRT, {0, 1e9}, "sqrt", CALL(std::sqrt)),
      single("Real32 cbrt", MACHFUNC_CBRT, {-1e9, 1e9}, "cbrt", CALL(std::cbrt)),
      single("Real32 rsqrt", MACHFUNC_RSQRT, {1e-9, 1e9}, nullptr, [](float x) { return 1 / std::sqrt(x); }),
      single("Real32 erf", MACHFUNC_ERF, {-4, 4}, nullptr, CALL(std::erf)),
      single("Real32 logistic", MACHFUNC_LOGISTIC, {-40, 40}, nullptr,
             [](float x) { return 1 / (1 + std::exp(-x)); }),
      single2("Real32 pow(x, y)", MACHFUNC_POW, {0.01, 100}, {-15, 15}, "power", CALL(std::pow)),
      single2("Real32 atan2(y, x)", MACHFUNC_ATAN2, {-9, 9}, {-9, 9}, "arctan2", CALL(std::atan2)),
  };
}

// Operands evenly spread in their intervals. Those that span many powers of ten, from a number above 0 to its
// inverse, are spread by their logarithms.
std::vector<char> operand(const Row& row, size_t which) {
  const auto [low, high] = row.operands[which];
  const bool logarithmic = low > 0 && high * low == 1 && high > 1000;
  std::mt19937_64 random(7 + which);
  std::uniform_real_distribution<double> in(logarithmic ? std::log(low) : low,
                                            logarithmic ? std::log(high) : high);
  const size_t parts = kElements * (row.type == kComplex ? 2 : 1), size = row.type == kReal32 ? 4 : 8;
  std::vector<char> run(parts * size);
  for (size_t k = 0; k < parts; ++k) {
    const double x = logarithmic ? std::exp(in(random)) : in(random);
    const auto narrow = float(x);
    std::memcpy(&run[k * size], size == 4 ? static_cast<const void*>(&narrow) : &x, size);
  }
  return run;
}

// As numpy calls it.
const char* kind_of(int32_t type) {
  return type == kComplex ? "complex128" : type == kReal32 ? "float32" : "float64";
}

// functions_numpy.py in a process of its own, which answers a line for a line.
class Numpy {
 public:
  Numpy() {
    int to[2], from[2];
    if (pipe(to) != 0 || pipe(from) != 0) return;
    child_ = fork();
    if (child_ == 0) {
      dup2(to[0], 0);
      dup2(from[1], 1);
      for (int end : {to[0], to[1], from[0], from[1]}) close(end);
      // Debian's own, which has the package.
      execl("/usr/bin/python3", "python3", FUNCTIONS_NUMPY, nullptr);
      _exit(1);
    }
    close(to[0]);
    close(from[1]);
    if (child_ < 0) return;
    to_ = fdopen(to[1], "w");
    from_ = fdopen(from[0], "r");
  }
  ~Numpy() {
    if (to_ != nullptr) fclose(to_);
    if (from_ != nullptr) fclose(from_);
    if (child_ > 0) waitpid(child_, nullptr, 0);
  }
  Numpy(const Numpy&) = delete;
  Numpy& operator=(const Numpy&) = delete;

  // Nanoseconds an element; 0 where there is no figure.
  double measure(const Row& row, double milliseconds, const std::vector<std::string>& files) {
    if (to_ == nullptr || row.ufunc == nullptr) return 0;
    std::fprintf(to_, "%s %s %zu %g", row.ufunc, kind_of(row.type), kElements, milliseconds);
    for (const std::string& file : files) std::fprintf(to_, " %s", file.c_str());
    std::fprintf(to_, "\n");
    std::fflush(to_);
    double figure = 0;
    if (std::fscanf(from_, "%lf", &figure) != 1) {
      std::fprintf(stderr, "No figures of numpy: is python3-numpy installed?\n");
      fclose(std::exchange(to_, nullptr));
    }
    return figure;
  }

 private:
  pid_t child_ = -1;
  FILE* to_ = nullptr;
  FILE* from_ = nullptr;
};

// Nanoseconds an element: the least of calls that take the given time together.
double measure(const Run& run, double milliseconds, void* result, const void* a, const void* b) {
  double best = HUGE_VAL, spent = 0;
  for (int number = 1; spent < milliseconds * 1e6;) {
    const auto start = Clock::now();
    for (int k = 0; k < number; ++k) run(result, a, b);
    const double taken = std::chrono::duration<double, std::nano>(Clock::now() - start).count();
    best = std::min(best, taken / number);
    spent += taken;
    if (taken < milliseconds * 1e6 / 8) number *= 2;
  }
  return best / double(kElements);
}

Run vector_run(const Row& row) {
  const auto check = [](int32_t code) {
    if (code != 0) std::abort();
  };
  if (row.operands.size() == 1) {
    const auto f = MNumericArray_getUnaryVectorMachFunc(row.op, row.type);
    return [=](void* result, const void* a, const void*) { check(f(result, a, mint(kElements), 0)); };
  }
  const auto f = MNumericArray_getBinaryVectorMachFunc(row.op, row.type, row.type);
  return
      [=](void* result, const void* a, const void* b) { check(f(result, a, 1, b, 1, mint(kElements), 0)); };
}

Run sleef_run(const Row& row, int target) {
  constexpr decltype(&sleef_baseline::find) kFind[] = {sleef_baseline::find, sleef_avx2::find,
                                                       sleef_avx512::find};
  const bool singles = row.type == kReal32;
  const std::string name = singles ? row.name.substr(std::strlen("Real32 ")) : row.name;
  const SleefLoop loop = kFind[target](name.c_str(), singles);
  if (loop == nullptr) return nullptr;
  return [loop](void* result, const void* a, const void* b) { loop(result, a, b, kElements); };
}

// The operands in files, for numpy to read the same.
class Files {
 public:
  explicit Files(const std::vector<std::vector<char>>& operands) {
    for (const auto& run : operands) {
      char name[] = "/tmp/functions_bench_XXXXXX";
      const int file = mkstemp(name);
      if (file < 0 || write(file, run.data(), run.size()) != ssize_t(run.size())) {
        std::perror("operands for numpy");
        std::exit(1);
      }
      close(file);
      names.emplace_back(name);
    }
  }
  ~Files() {
    for (const std::string& name : names) unlink(name.c_str());
  }
  std::vector<std::string> names;
};

std::string interval_text(const Row& row) {
  std::string text;
  for (const auto& [low, high] : row.operands) {
    char one[64];
    std::snprintf(one, sizeof one, "%s%g:%g", text.empty() ? "" : " ", low, high);
    text += one;
  }
  return text;
}

void print_figure(const char* format, double value) {
  if (value > 0) {
    std::printf(format, value);
  } else {
    std::printf("%9s", "-");
  }
}

void run_row(const Row& row, int turns, double milliseconds, int widest, Numpy& numpy) {
  std::vector<std::vector<char>> operands;
  for (size_t k = 0; k < row.operands.size(); ++k) operands.push_back(operand(row, k));
  const Files files(operands);
  std::vector<double> result(2 * kElements);

  std::vector<Run> runs;
  for (int target = 0; target <= widest; ++target) {
    zenthar::use_target(zenthar::Target(target));
    runs.push_back(vector_run(row));
  }
  runs.push_back(sleef_run(row, widest));
  runs.push_back(row.library);
  const size_t numpy_place = runs.size();
  runs.emplace_back();
  std::vector<double> figures(runs.size(), 0);
  for (int turn = 0; turn < turns; ++turn) {
    for (size_t k = 0; k < runs.size(); ++k) {
      double figure = 0;
      if (k == numpy_place) {
        figure = numpy.measure(row, milliseconds, files.names);
      } else if (runs[k]) {
        figure = measure(runs[k], milliseconds, result.data(), operands[0].data(), operands.back().data());
      }
      figures[k] = turn == 0 ? figure : std::min(figures[k], figure);
    }
  }

  std::printf("%-20s %-22s", row.name.c_str(), interval_text(row).c_str());
  const auto rate = [&](double nanoseconds) { return nanoseconds > 0 ? 1 / nanoseconds : 0; };
  const size_t sleef_place = size_t(widest) + 1, own = size_t(widest);
  for (size_t k = 0; k <= own; ++k) print_figure("%9.3f", rate(figures[k]));
  for (size_t k : {numpy_place, sleef_place, sleef_place + 1}) print_figure("%9.3f", rate(figures[k]));
  for (size_t k : {numpy_place, sleef_place, sleef_place + 1})
    print_figure("%9.2f", figures[k] / figures[own]);
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> only;
  int turns = 5;
  double milliseconds = 4;
  std::string most = kTargetNames[kTargets - 1];
  CLI::App app("Vector functions beside numpy, SLEEF and the mathematics library.");
  app.add_option("--only", only, "only rows whose name contains this (may be repeated)");
  app.add_option("--turns", turns, "turns of each contender in a row (5)")->check(CLI::PositiveNumber);
  app.add_option("--milliseconds", milliseconds, "time of a turn (4)")->check(CLI::PositiveNumber);
  app.add_option("--target", most, "the widest target measured, for the library and SLEEF")
      ->check(CLI::IsMember({"baseline", "avx2", "avx512"}));
  CLI11_PARSE(app, argc, argv);

  InitializeRuntimeLibrary();
  setParallelThreadNumber(1);
  std::signal(SIGPIPE, SIG_IGN);
  int widest = 0;
  while (widest + 1 < kTargets && kTargetNames[widest] != most && zenthar::runs(zenthar::Target(widest + 1)))
    ++widest;

  std::printf("Thousand million elements a second, %zu elements, one thread; ratios of %s to the others.\n",
              kElements, kTargetNames[widest]);
  std::printf("%-20s %-22s", "function", "operands");
  for (int target = 0; target <= widest; ++target) std::printf("%9s", kTargetNames[target]);
  std::printf("%9s%9s%9s%9s%9s%9s\n", "numpy", "SLEEF", "libm", "/numpy", "/SLEEF", "/libm");
  Numpy numpy;
  for (const Row& row : make_rows()) {
    const auto named = [&](const std::string& part) { return row.name.find(part) != std::string::npos; };
    if (only.empty() || std::any_of(only.begin(), only.end(), named))
      run_row(row, turns, milliseconds, widest, numpy);
  }
  return 0;
}
