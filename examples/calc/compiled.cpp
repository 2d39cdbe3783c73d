// The way of a program through the C compiler.
#include "compiled.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "host.h"
#include "text.h"

namespace zcalc {
namespace {

// What compiled code is to have the same bits as the library's: no fused multiply-add. What it calls may
// throw.
constexpr const char* kCompilerFlags[] = {"-std=gnu11",   "-O3",        "-march=native", "-ffp-contract=off",
                                          "-fexceptions", "-fPIC",      "-shared",       "-w",
                                          "-I",           ZCALC_INCLUDE};

/// A directory with the files of one compilation, gone with its object.
class Workplace {
 public:
  Workplace() {
    const char* const place = std::getenv("TMPDIR");
    directory_ = std::string(place != nullptr && *place != 0 ? place : "/tmp") + "/zcalc-XXXXXX";
    if (mkdtemp(directory_.data()) == nullptr) {
      throw Failure("cannot make a directory " + printable(directory_) + ": " + std::strerror(errno));
    }
  }
  ~Workplace() {
    for (const std::string& file : {source(), object(), messages()}) unlink(file.c_str());
    rmdir(directory_.c_str());
  }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  std::string source() const { return directory_ + "/program.c"; }
  std::string object() const { return directory_ + "/program.so"; }
  std::string messages() const { return directory_ + "/messages"; }

 private:
  std::string directory_;
};

void write_file(const std::string& file, const std::string& text) {
  std::FILE* const out = std::fopen(file.c_str(), "we");
  const bool written = out != nullptr && std::fwrite(text.data(), 1, text.size(), out) == text.size();
  const bool closed = out != nullptr && std::fclose(out) == 0;
  if (!written || !closed) throw Failure("cannot write " + printable(file) + ": " + std::strerror(errno));
}

/// The first lines of a file.
std::string beginning(const std::string& file) {
  std::string text(1000, 0);
  std::FILE* const in = std::fopen(file.c_str(), "re");
  text.resize(in == nullptr ? 0 : std::fread(text.data(), 1, text.size(), in));
  if (in != nullptr) std::fclose(in);
  std::string shown;
  for (size_t begin = 0, end; begin < text.size(); begin = end + 1) {
    end = std::min(text.find('\n', begin), text.size());
    shown += "\n  " + printable(std::string_view(text).substr(begin, end - begin));
  }
  return shown;
}

/// Runs a command with its output in a file, and gives its wait status; -1 with errno when it cannot be run.
int run_command(const std::vector<std::string>& words, const std::string& output) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  pid_t process = 0;
  const int error = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    errno = error;
    return -1;
  }
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

void call_compiler(const std::string& compiler, const Workplace& place) {
  std::vector<std::string> words = {compiler};
  words.insert(words.end(), std::begin(kCompilerFlags), std::end(kCompilerFlags));
  words.insert(words.end(), {"-o", place.object(), place.source()});
  const int status = run_command(words, place.messages());
  // Ctrl-C reaches the compiler as well.
  if (interrupted()) throw interruption("while compiling");
  if (status == -1)
    throw Failure("cannot run the C compiler " + quoted(compiler) + ": " + std::strerror(errno));
  if (status == 0) return;
  throw Failure("the C compiler " + quoted(compiler) + " failed " +
                (WIFEXITED(status) ? "with status " + std::to_string(WEXITSTATUS(status))
                                   : "by signal " + std::to_string(WTERMSIG(status))) +
                beginning(place.messages()));
}

/// A loaded object.
class Library {
 public:
  explicit Library(const std::string& file) : handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) throw Failure("cannot load the compiled code: " + printable(dlerror()));
  }
  ~Library() { dlclose(handle_); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <typename Function>
  Function find(const char* name) const {
    return reinterpret_cast<Function>(dlsym(handle_, name));
  }

 private:
  void* handle_;
};

}  // namespace

Runner compile_program(const Program& program, const CompileOptions& options) {
  if (!options.form) return {};
  const std::string code = generate(program, *options.form);
  if (code.empty()) return {};
  if (options.show) std::fputs(code.c_str(), stderr);
  const Workplace place;
  write_file(place.source(), code);
  call_compiler(options.compiler, place);
  const auto library = std::make_shared<Library>(place.object());
  const auto initialize = library->find<int32_t (*)()>("zcalc_initialize");
  const auto run = library->find<int32_t (*)(MTensor, const MTensor*, mint, mint)>("zcalc_run");
  if (initialize == nullptr || run == nullptr || initialize() == 0) {
    throw Failure("the compiled code finds no kernels");
  }
  std::vector<MTensor> arrays;
  arrays.reserve(program.arrays.size());
  for (const Array& array : program.arrays) arrays.push_back(array.get());
  return [library, run, arrays](MTensor result, mint start, mint count) {
    return run(result, arrays.data(), start, start + count);
  };
}

}  // namespace zcalc
