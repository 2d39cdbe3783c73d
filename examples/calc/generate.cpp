// The generator: steps to lines of C.
//
// In both forms a step is either written out, as far as a processor has an instruction for it, or a call of
// the library. Steps on scalars come before the loop. In the form of blocks the values that a call takes or
// gives lie in buffers, one for each register of the program and type; those that do not leave a loop are
// locals.
#include "generate.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <initializer_list>
#include <set>
#include <string_view>
#include <vector>

namespace zcalc {
namespace {

/// Beyond this, C compilers take longer than the rows would.
constexpr size_t kMostSteps = 2000;

constexpr const char* kBeginning = R"(#include <float.h>
#include <zenthar/zenthar.h>

enum { kBlock = 1024 };
static const uint32_t kChecks = ZENTHAR_CHECK_REALS | ZENTHAR_CHECK_OVERFLOW;

/* Read inline; only when it is set is the host asked whether the abort is meant for this code. */
static int32_t abort_requested(void) {
  return __atomic_load_n(&watch, __ATOMIC_RELAXED) != 0 && checkAbortWatch();
}

/* Negative where a real is no number or infinite. */
static mint not_finite(mreal x) { return -(mint)!(__builtin_fabs(x) <= DBL_MAX); }

/* Negative where a product may not fit. Coarse near the limits, so that it vectorises: a second look is exact. */
static mint may_overflow(mint a, mint b) { return -(mint)!(__builtin_fabs((mreal)a * (mreal)b) < 0x1.ffcp62); }
)";

constexpr const char* kEnd = R"(
/* A piece of the rows is a guarded call: what a function raises, by a jump or an exception, ends here. In flag
 * style the flag is one for all threads, so the code that rows() returns counts. */
struct Piece {
  struct st_GuardedFrame frame;
  MTensor result;
  const MTensor* arrays;
  mint start, end;
  int32_t code;
};

static void guarded_rows(void* argument, void* frame) {
  struct Piece* piece = frame;
  (void)argument;
  piece->code = rows(piece->result, piece->arrays, piece->start, piece->end);
}

static void run_piece(void* data, ParallelThread thread) {
  static struct st_GuardedFunction function = {guarded_rows};
  struct Piece piece = *(const struct Piece*)data;
  if (ParallelThread_canceledQ(thread)) return;
  piece.frame.guarded = &function;
  piece.start = ParallelThread_RangeStart(thread);
  piece.end = ParallelThread_RangeEnd(thread);
  CompilerError error = catchExceptionHandler(0, &piece.frame);
  if (error) {
    piece.code = error->code;
    Delete_CompilerError(error);
  }
  if (piece.code != 0) ParallelThread_cancel(thread, piece.code);
}

int32_t zcalc_run(MTensor result, const MTensor* arrays, mint start, mint end) {
  struct st_ParallelThreadsSchedule pieces = {2, 16 * kBlock, 0};
  struct Piece all = {{0}, result, arrays, start, end, 0};
  const int32_t active = getExceptionActive();
  const int32_t code = ParallelThreads_For(&all, 0, run_piece, start, end, 1, &pieces);
  setExceptionActive(active);
  return code;
}
)";

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

std::string numbered(std::string_view prefix, size_t number) {
  return joined({prefix, std::to_string(number)});
}

char letter(int32_t type) { return "?!idc"[type]; }

const char* c_type(int32_t type) { return type == kInteger ? "mint" : type == kReal ? "mreal" : "mcomplex"; }

std::string c_integer(mint value) { return value == INT64_MIN ? "INT64_MIN" : std::to_string(value); }

std::string c_real(mreal value) {
  char text[40];
  std::snprintf(text, sizeof text, "%a", value);
  return text;
}

/// A constant's value, exactly.
std::string c_value(const Array& array) {
  switch (array.type()) {
    case kInteger:
      return c_integer(*array.data<mint>());
    case kReal:
      return c_real(*array.data<mreal>());
    default: {
      const mcomplex value = *array.data<mcomplex>();
      return joined({"{", c_real(value.re), ", ", c_real(value.im), "}"});
    }
  }
}

/// How a step is written out: its value and, for integers, what is negative when that does not fit. A, B and
/// R stand for the operands and the result.
struct Formula {
  std::string_view name;
  std::string_view types;
  std::string_view value;
  std::string_view overflow;
  std::string_view block_overflow = overflow;
};

constexpr Formula kFormulas[] = {
    {"plus", "ii", "(mint)((uint64_t)A + (uint64_t)B)", "(A ^ R) & (B ^ R)"},
    {"subtract", "ii", "(mint)((uint64_t)A - (uint64_t)B)", "(A ^ B) & (A ^ R)"},
    {"times", "ii", "(mint)((uint64_t)A * (uint64_t)B)", "-(mint)__builtin_mul_overflow_p(A, B, (mint)0)",
     "may_overflow(A, B)"},
    {"minus", "i", "(mint)(0 - (uint64_t)A)", "A & R"},
    {"equal", "ii", "A == B", ""},
    {"less", "ii", "A < B", ""},
    {"lessequal", "ii", "A <= B", ""},
    {"equal", "dd", "A == B", ""},
    {"less", "dd", "A < B", ""},
    {"lessequal", "dd", "A <= B", ""},
    {"plus", "dd", "A + B", ""},
    {"plus", "id", "(mreal)A + B", ""},
    {"plus", "di", "A + (mreal)B", ""},
    {"subtract", "dd", "A - B", ""},
    {"subtract", "id", "(mreal)A - B", ""},
    {"subtract", "di", "A - (mreal)B", ""},
    {"times", "dd", "A * B", ""},
    {"times", "id", "(mreal)A * B", ""},
    {"times", "di", "A * (mreal)B", ""},
    {"div", "dd", "A / B", ""},
    {"div", "id", "(mreal)A / B", ""},
    {"div", "di", "A / (mreal)B", ""},
    {"minus", "d", "-A", ""},
};

std::string types_of(const Step& step) {
  std::string types;
  for (size_t i = 0; i < step.operand_count; ++i) types += letter(step.operands[i].type);
  return types;
}

const Formula* formula_of(const Step& step) {
  const std::string types = types_of(step);
  const auto* found = std::ranges::find_if(
      kFormulas, [&](const Formula& f) { return f.name == step.name && f.types == types; });
  return found == std::end(kFormulas) ? nullptr : found;
}

class Generator {
 public:
  Generator(const Program& program, CodeForm form) : program_(program), form_(form) {}

  std::string run();

 private:
  bool possible() const;
  bool written_out(size_t index) const;
  void find_sources();
  void find_stored();

  std::string declarations() const;
  std::string scalar_steps();
  std::string buffers() const;
  std::string blocks();
  std::string fused(size_t& index);
  std::string elements();
  std::string written(size_t index, const std::string& row) const;
  std::string vector_call(size_t index, const std::string& result, const std::string& n);
  std::string scalar_call(size_t index);
  std::string looked_up(const Step& s);

  std::string value(size_t index) const { return numbered("v", index); }
  std::string buffer(size_t index) const;
  std::string operand(size_t index, size_t number, const std::string& row) const;

  const Step& step(size_t index) const { return program_.steps[index]; }
  size_t steps() const { return program_.steps.size(); }
  bool is_last(size_t index) const { return index + 1 == steps(); }

  const Program& program_;
  CodeForm form_;
  /// By step and operand: the step whose result it is.
  std::vector<std::array<size_t, 3>> sources_;
  /// By step: the loop that computes it; a call of a vector function counts as one.
  std::vector<size_t> loops_;
  /// By step: its result is needed outside that loop.
  std::vector<bool> stored_;
  /// Functions that are asked of the library: their variables, and the lines that set them.
  std::set<std::string> functions_;
  std::string variables_;
  std::string look_ups_;
};

bool Generator::possible() const {
  if (program_.steps.empty() || program_.result.scalar || steps() > kMostSteps) return false;
  if (steps() == 1 && step(0).kind == Step::Kind::kCount) return false;  // nothing is gained
  return std::ranges::all_of(program_.steps, [](const Step& s) {
    switch (s.kind) {
      case Step::Kind::kUnary:
      case Step::Kind::kBinary:
      case Step::Kind::kTernary:
        return !s.writes_third;
      case Step::Kind::kCount:
        return true;
      default:
        return false;
    }
  });
}

/// Steps on scalars run once: they are left to the library.
bool Generator::written_out(size_t index) const {
  const Step& s = step(index);
  return !s.result.scalar && (s.kind == Step::Kind::kCount || formula_of(s) != nullptr);
}

void Generator::find_sources() {
  std::vector<size_t> writers(program_.register_count);
  size_t loop = 0;
  bool open = false;
  for (size_t i = 0; i < steps(); ++i) {
    sources_.push_back({});
    for (size_t k = 0; k < step(i).operand_count; ++k) {
      const Operand& o = step(i).operands[k];
      if (o.kind == Operand::Kind::kRegister) sources_[i][k] = writers[o.index];
    }
    writers[step(i).result.index] = i;
    if (!step(i).result.scalar) {
      if (!open || !written_out(i)) ++loop;
      open = written_out(i);
    }
    loops_.push_back(loop);
  }
}

void Generator::find_stored() {
  stored_.assign(steps(), false);
  for (size_t i = 0; i < steps(); ++i) {
    if (step(i).result.scalar) continue;
    if (!written_out(i)) stored_[i] = !is_last(i);
    for (size_t k = 0; k < step(i).operand_count; ++k) {
      const size_t source = sources_[i][k];
      if (step(i).operands[k].kind == Operand::Kind::kRegister && loops_[source] != loops_[i])
        stored_[source] = !step(source).result.scalar;
    }
  }
}

/// Where a block of a step's values lies.
std::string Generator::buffer(size_t index) const {
  const Operand& result = step(index).result;
  return numbered("r", result.index) + letter(result.type);
}

/// The value of an operand. `row` indexes columns; with an empty one the operand is a vector function's, an
/// address.
std::string Generator::operand(size_t index, size_t number, const std::string& row) const {
  const Operand& o = step(index).operands[number];
  const bool address = row.empty();
  if (o.kind == Operand::Kind::kArray) {
    const std::string name = numbered("a", o.index);
    if (o.scalar) return address ? joined({"&", name}) : name;
    return address ? name + " + base" : joined({name, "[", row, "]"});
  }
  const size_t source = sources_[index][number];
  if (step(source).result.scalar) return address ? joined({"&", value(source)}) : value(source);
  if (address) return buffer(source);
  return form_ == CodeForm::kElements || loops_[source] == loops_[index] ? value(source)
                                                                         : buffer(source) + "[j]";
}

/// A step that is computed in place, with its check.
std::string Generator::written(size_t index, const std::string& row) const {
  const Step& s = step(index);
  const std::string name = value(index), begin = joined({"const ", c_type(s.result.type), " ", name, " = "});
  // No row of range() overflows.
  if (s.kind == Step::Kind::kCount) return joined({begin, c_integer(s.first), " + (", row, ");\n"});
  const auto filled = [&](std::string_view pattern) {
    std::string text;
    for (const char c : pattern)
      text += c == 'A'   ? operand(index, 0, row)
              : c == 'B' ? operand(index, 1, row)
              : c == 'R' ? name
                         : std::string(1, c);
    return text;
  };
  const Formula& formula = *formula_of(s);
  std::string line = joined({begin, filled(formula.value), ";\n"});
  const bool real = s.result.type == kReal;
  if (!real && formula.overflow.empty()) return line;
  const bool block = form_ == CodeForm::kBlocks;
  const std::string bad =
      real ? joined({"not_finite(", name, ")"}) : filled(block ? formula.block_overflow : formula.overflow);
  if (block) return joined({line, "      bad |= ", bad, ";\n"});
  const std::string code =
      real ? joined({name, " != ", name,
                     " ? ZENTHAR_ERROR_FLOATING_POINT_NAN : ZENTHAR_ERROR_FLOATING_POINT_INFINITE"})
           : "ZENTHAR_ERROR_INTEGER_OVERFLOW";
  return joined({line, "    if (", real ? bad : joined({"(", bad, ")"}), " < 0) return ", code, ";\n"});
}

/// The variable of a function that the dispatch has for the step.
std::string Generator::looked_up(const Step& s) {
  static constexpr std::string_view kArities[] = {"", "Unary", "Binary", "Ternary"};
  static constexpr std::string_view kTypes[] = {"MTENSOR_TYPE_INTEGER", "MTENSOR_TYPE_REAL",
                                                "MTENSOR_TYPE_COMPLEX"};
  const std::string_view arity = kArities[s.operand_count],
                         form = form_ == CodeForm::kBlocks ? "Vector" : "Scalar";
  std::string name = joined({"f_", s.name, "_", types_of(s)});
  if (!functions_.insert(name).second) return name;
  variables_ += joined({"static ", arity, form, "Function ", name, ";\n"});
  look_ups_ += joined({"  ", name, " = MTensor_get", arity, form, "MachFunc(MNumericArray_getMachFuncID(\"",
                       s.name, "\", ", std::to_string(s.operand_count), ")"});
  for (size_t k = 0; k < s.operand_count; ++k)
    look_ups_ += joined({", ", kTypes[static_cast<size_t>(s.operands[k].type - kInteger)]});
  look_ups_ += joined({");\n  if (!", name, ") return 0;\n"});
  return name;
}

std::string checked(const std::string& call) {
  return joined({"if ((code = ", call, ", kChecks)) != 0) return code;\n"});
}

std::string Generator::vector_call(size_t index, const std::string& result, const std::string& n) {
  const Step& s = step(index);
  std::string call = joined({looked_up(s), "(", result});
  for (size_t k = 0; k < s.operand_count; ++k) {
    call += joined({", ", operand(index, k, "")});
    if (s.operand_count > 1) call += s.operands[k].scalar ? ", 0" : ", 1";
  }
  return checked(joined({call, ", ", n}));
}

/// By the function's name where there is one for these types, complex arguments as their parts; else by that
/// which the dispatch has, through addresses.
std::string Generator::scalar_call(size_t index) {
  const Step& s = step(index);
  const std::string name = joined({"s_machfunc_", types_of(s), "_", s.name});
  const bool named = dlsym(RTLD_DEFAULT, name.c_str()) != nullptr;
  std::string call = joined({named ? name : looked_up(s), "(&", value(index)});
  for (size_t k = 0; k < s.operand_count; ++k) {
    const std::string argument = operand(index, k, "i");
    if (!named) {
      call += joined({", &", argument});
    } else if (s.operands[k].type == kComplex) {
      call += joined({", ", argument, ".re, ", argument, ".im"});
    } else {
      call += joined({", ", argument});
    }
  }
  return joined({c_type(s.result.type), " ", value(index), ";\n    ", checked(call)});
}

/// Constants, and where columns lie: the header is read inline.
std::string Generator::declarations() const {
  std::string text;
  std::set<size_t> known;
  for (const Step& s : program_.steps) {
    for (size_t k = 0; k < s.operand_count; ++k) {
      const Operand& o = s.operands[k];
      if (o.kind != Operand::Kind::kArray || !known.insert(o.index).second) continue;
      const std::string name = numbered("a", o.index);
      text += o.scalar ? joined({"  static const ", c_type(o.type), " ", name, " = ",
                                 c_value(program_.arrays[o.index]), ";\n"})
                       : joined({"  const ", c_type(o.type), "* const ", name, " = arrays[",
                                 std::to_string(o.index), "]->data;\n"});
    }
  }
  return joined({text, "  ", c_type(program_.result.type),
                 "* const restrict out = result->data;\n  int32_t code = 0;\n"});
}

/// Steps on scalars, once.
std::string Generator::scalar_steps() {
  std::string text;
  for (size_t i = 0; i < steps(); ++i) {
    if (!step(i).result.scalar) continue;
    text += form_ == CodeForm::kElements ? joined({"  ", scalar_call(i)})
                                         : joined({"  ", c_type(step(i).result.type), " ", value(i), ";\n  ",
                                                   vector_call(i, joined({"&", value(i)}), "1")});
  }
  return text;
}

std::string Generator::buffers() const {
  std::set<std::string> known;
  std::string text;
  for (size_t i = 0; i < steps(); ++i) {
    if (stored_[i] && known.insert(buffer(i)).second)
      text += joined({"  ", c_type(step(i).result.type), " ", buffer(i), "[kBlock];\n"});
  }
  return text;
}

/// The loop that begins with a step; moves on to its last one.
std::string Generator::fused(size_t& index) {
  std::string body;
  for (const size_t loop = loops_[index]; index < steps() && loops_[index] == loop; ++index) {
    if (step(index).result.scalar) continue;
    body += joined({"      ", written(index, "base + j")});
    if (is_last(index)) body += joined({"      out[base + j] = ", value(index), ";\n"});
    if (stored_[index]) body += joined({"      ", buffer(index), "[j] = ", value(index), ";\n"});
  }
  --index;
  const bool checks = body.find("bad |=") != std::string::npos;
  return joined(
      {checks ? "    bad = 0;\n" : "", "    for (mint j = 0; j < n; ++j) {\n", body, "    }\n",
       checks
           ? "    if (bad < 0) return ZENTHAR_ERROR_UNKNOWN; /* a second look tells which row, and how */\n"
           : ""});
}

std::string Generator::blocks() {
  std::string text =
      "  for (mint base = start; base < end; base += kBlock) {\n"
      "    const mint n = end - base < kBlock ? end - base : kBlock;\n"
      "    mint bad;\n"
      "    if (abort_requested()) return ZENTHAR_ERROR_ABORT;\n";
  for (size_t i = 0; i < steps(); ++i) {
    if (step(i).result.scalar) continue;
    text += written_out(i) ? fused(i)
                           : joined({"    ", vector_call(i, is_last(i) ? "out + base" : buffer(i), "n")});
  }
  return text + "  }\n";
}

std::string Generator::elements() {
  std::string text =
      "  for (mint i = start; i < end; ++i) {\n"
      "    if (i % kBlock == 0 && abort_requested()) return ZENTHAR_ERROR_ABORT;\n";
  for (size_t i = 0; i < steps(); ++i) {
    if (!step(i).result.scalar) text += joined({"    ", written_out(i) ? written(i, "i") : scalar_call(i)});
  }
  return joined({text, "    out[i] = ", value(steps() - 1), ";\n  }\n"});
}

std::string Generator::run() {
  if (!possible()) return {};
  find_sources();
  find_stored();
  std::string rows = "static int32_t rows(MTensor result, const MTensor* arrays, mint start, mint end) {\n";
  rows += declarations();
  if (form_ == CodeForm::kBlocks) rows += buffers();
  rows += scalar_steps();
  rows += form_ == CodeForm::kBlocks ? blocks() : elements();
  rows += "  return code;\n}\n";
  return joined({kBeginning, "\n", variables_, "\nint32_t zcalc_initialize(void) {\n", look_ups_,
                 "  return 1;\n}\n\n", rows, kEnd});
}

}  // namespace

std::string generate(const Program& program, CodeForm form) { return Generator(program, form).run(); }

}  // namespace zcalc
