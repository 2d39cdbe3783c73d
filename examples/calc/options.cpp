// The command line, read with getopt_long.
#include "options.h"

#include <getopt.h>
#include <unistd.h>

#include <charconv>
#include <string_view>

#include "text.h"

namespace zcalc {
namespace {

Failure usage_failure(const std::string& message) {
  return Failure(message + "\nTry 'zcalc --help'.", kUsage);
}

int64_t number_option(const char* name, const std::string& text, int64_t smallest, int64_t largest) {
  int64_t value = 0;
  if (parse_integer(text, value) != NumberStatus::kGood || value < smallest || value > largest) {
    throw usage_failure("--" + std::string(name) + " takes a whole number from " + std::to_string(smallest) +
                        " to " + std::to_string(largest) + ", not " + quoted(text));
  }
  return value;
}

ErrorStyle style_option(const std::string& text) {
  if (text == "flag") return kFlagStyle;
  if (text == "jump") return kJumpStyle;
  if (text == "exception") return kExceptionStyle;
  throw usage_failure("--style takes flag, jump or exception, not " + quoted(text));
}

CodeForm form_option(const std::string& text) {
  if (text.empty() || text == "blocks") return CodeForm::kBlocks;
  if (text == "elements") return CodeForm::kElements;
  throw usage_failure("--compile takes blocks or elements, not " + quoted(text));
}

enum LongOnly {
  kCsv = 256,
  kTime,
  kMemory,
  kLeaks,
  kProgress,
  kDigits,
  kLimit,
  kStyle,
  kSeed,
  kGenerator,
  kCompile,
  kCompiler,
  kShowCode,
  kFunctions,
  kVersion
};

constexpr option kOptions[] = {{"data", required_argument, nullptr, 'd'},
                               {"rows", required_argument, nullptr, 'n'},
                               {"digits", required_argument, nullptr, kDigits},
                               {"csv", no_argument, nullptr, kCsv},
                               {"time", no_argument, nullptr, kTime},
                               {"memory", no_argument, nullptr, kMemory},
                               {"leaks", no_argument, nullptr, kLeaks},
                               {"limit", required_argument, nullptr, kLimit},
                               {"style", required_argument, nullptr, kStyle},
                               {"seed", required_argument, nullptr, kSeed},
                               {"generator", required_argument, nullptr, kGenerator},
                               {"compile", optional_argument, nullptr, kCompile},
                               {"compiler", required_argument, nullptr, kCompiler},
                               {"show-code", no_argument, nullptr, kShowCode},
                               {"progress", no_argument, nullptr, kProgress},
                               {"functions", no_argument, nullptr, kFunctions},
                               {"version", no_argument, nullptr, kVersion},
                               {"help", no_argument, nullptr, 'h'},
                               {nullptr, 0, nullptr, 0}};

void apply(Options& options, int option, const std::string& argument) {
  switch (option) {
    case 'd':
      options.data = argument;
      if (argument.empty()) throw usage_failure("--data takes the name of a file");
      break;
    case 'n':
      options.rows = number_option("rows", argument, 0, INT64_MAX);
      break;
    case kDigits:
      options.digits = static_cast<int>(number_option("digits", argument, 1, 17));
      break;
    case kCsv:
      options.csv = true;
      break;
    case kTime:
      options.time = true;
      break;
    case kMemory:
      options.memory = true;
      break;
    case kLeaks:
      options.leaks = true;
      break;
    case kLimit:
      options.limit = parse_byte_size(argument);
      break;
    case kStyle:
      options.style = style_option(argument);
      break;
    case kSeed:
      options.seed = number_option("seed", argument, INT64_MIN, INT64_MAX);
      break;
    case kGenerator:
      options.generator = argument;
      break;
    case kCompile:
      options.compile.form = form_option(argument);
      break;
    case kCompiler:
      options.compile.compiler = argument;
      break;
    case kShowCode:
      options.compile.show = true;
      break;
    case kProgress:
      options.progress = true;
      break;
    case kFunctions:
      options.action = Options::Action::kFunctions;
      break;
    case kVersion:
      options.action = Options::Action::kVersion;
      break;
    case 'h':
      options.action = Options::Action::kHelp;
      break;
    default:
      break;
  }
}

}  // namespace

uint64_t parse_byte_size(const std::string& text) {
  uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  const std::string_view suffix(rest, static_cast<size_t>(end - rest));
  int shift = -1;
  if (suffix.empty()) shift = 0;
  if (suffix == "K" || suffix == "k") shift = 10;
  if (suffix == "M" || suffix == "m") shift = 20;
  if (suffix == "G" || suffix == "g") shift = 30;
  if (error != std::errc() || shift < 0 || value == 0 || value > UINT64_MAX >> shift) {
    throw usage_failure("--limit takes a number of bytes such as 1500, 64K, 100M or 2G, not " + quoted(text));
  }
  return value << shift;
}

Options parse_options(int argc, char** argv) {
  Options options;
  options.progress = isatty(STDERR_FILENO) == 1;
  opterr = 0;
  optind = 1;
  for (int option; (option = getopt_long(argc, argv, ":d:n:h", kOptions, nullptr)) != -1;) {
    // A long option is what stands before optind; of a group of short ones optopt names the one.
    const std::string before = argv[optind - 1];
    const bool is_long = before.compare(0, 2, "--") == 0;
    const std::string word = is_long ? before : std::string("-") + static_cast<char>(optopt);
    if (option == ':') throw usage_failure("option " + printable(word) + " takes an argument");
    if (option == '?') {
      throw usage_failure("unknown or incomplete option " + printable(word) +
                          " (an expression that begins with a minus goes behind --)");
    }
    apply(options, option, optarg != nullptr ? optarg : "");
  }
  if (options.action != Options::Action::kCalculate) return options;
  if (optind == argc) throw usage_failure("no expression is given");
  if (optind + 1 < argc) {
    throw usage_failure("one expression is expected, " + std::to_string(argc - optind) +
                        " are given (is it in quotes?)");
  }
  options.expression = argv[optind];
  return options;
}

std::string help_text() {
  return R"(Usage: zcalc [OPTION]... EXPRESSION

Computes an expression for every row of a data file, or of a range of numbers.

  -d, --data FILE    read columns from a CSV file with a header line; - is standard input
  -n, --rows N       show the first N rows of a result (20)
      --digits N     show reals with N significant digits (10)
      --csv          write all rows of the results as CSV, with all digits
      --time         tell how long reading and computing took
      --memory       tell the bytes in use, their high-water mark and the limit
      --leaks        track all arrays and tell whether each was freed once
      --limit BYTES  limit the memory for arrays (suffixes K, M, G)
      --style STYLE  let errors travel by flag (default), jump or exception
      --seed N       seed random numbers: the same seed gives the same numbers
      --generator NAME  draw them by ExtendedCA (default), MersenneTwister or ParallelGenerator
      --compile      compute by generated C, made by the C compiler; --compile=elements by scalar functions
      --compiler CC  the C compiler (cc)
      --show-code    show what is compiled, on standard error
      --progress     show the progress of long work, also when standard error is no terminal
      --functions    list the functions
  -h, --help         show this text
      --version      show the version

Expressions: numbers (12, 1.5, 6.02e23, 2i), columns and other names ('mean radius' in quotes), + - * / ^,
< <= > >= == !=, parentheses, functions, the constants pi and e. range(n) is 1 to n, range(a, b) is a to b.
random(n) and random(n, a, b) are n random reals, randomint(n, a, b) n integers, choice(n, m) n positions of 1
to m, sample(n, m) n different ones; a list of weights may stand for m.
"name = expression" keeps a result for the expressions behind it; a semicolon stands between two.

Whole numbers are 64-bit integers. They stay integers under + - * and ^, whose overflow is an error; / gives
reals.

  zcalc "period^2 / axis^3" --data planets.csv
  zcalc "x = range(10^7); sin(x)^2 + cos(x)^2" --time

Exit status: 0, 1 when the calculation fails, 2 for a mistake in the options, 130 after Ctrl-C.
)";
}

}  // namespace zcalc
