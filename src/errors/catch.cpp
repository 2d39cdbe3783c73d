// Guarded calls: running a function under the exception style in force and telling what it raised.
#include <setjmp.h>
#include <unwind.h>

#include "errors/errors.h"
#include "zenthar/errors.h"
#include "zenthar/memory.h"

namespace {

// What became of a guarded call. A code of 0 can be raised too, so it does not stand for success.
struct Outcome {
  bool raised;
  int32_t code;
};

// A jump buffer on the calling thread's stack for as long as this object lives. It must be made before setjmp
// is called on the buffer, in the same function: then no jump leaves its scope, and an exception or a forced
// unwinding that passes through takes the buffer off.
class RegisteredBuffer {
 public:
  explicit RegisteredBuffer(jmp_buf& buffer) {
    SetJumpStack_Push(&buffer);
    registered_ = SetJumpStack_Peek() == &buffer;
  }
  ~RegisteredBuffer() { SetJumpStack_Pop(); }
  RegisteredBuffer(const RegisteredBuffer&) = delete;
  RegisteredBuffer& operator=(const RegisteredBuffer&) = delete;

  // False when a replaced nomem() came back: there was no memory for the node.
  bool registered() const { return registered_; }

 private:
  bool registered_;
};

// A try block rather than an object with a destructor: when the guarded function changes the style, a raise
// may jump over this frame.
template <class Call>
Outcome run_in_flag_style(const Call& call) {
  const int32_t saved = setExceptionActive(0);
  try {
    call();
  } catch (...) {
    setExceptionActive(saved);
    throw;
  }
  const int32_t code = setExceptionActive(saved);
  return {code != 0, code};
}

// Out of line, so that no other frame's variables are live in a function that returns twice.
template <class Call>
[[gnu::noinline]] Outcome run_in_jump_style(const Call& call) {
  jmp_buf buffer;
  const RegisteredBuffer on_stack(buffer);
  if (!on_stack.registered()) return {true, ZENTHAR_ERROR_MEMORY};
  const int32_t code = setjmp(buffer);
  if (code != 0) return {true, code};
  call();
  return {false, 0};
}

template <class Call>
Outcome run_in_exception_style(const Call& call) {
  try {
    call();
    return {false, 0};
  } catch (const ZentharRuntimeException& exception) {
    return {true, exception.code()};
  }
}

template <class Call>
Outcome run_guarded(const Call& call) {
  switch (zenthar::get_exception_style()) {
    case ZENTHAR_STYLE_FLAG:
      return run_in_flag_style(call);
    case ZENTHAR_STYLE_JUMP:
      return run_in_jump_style(call);
    default:
      return run_in_exception_style(call);
  }
}

// Stands in for a record that there is no memory for when a replaced nomem() came back: null would say that
// nothing was raised.
constinit thread_local st_CompilerError last_resort = {};

CompilerError error_record(int32_t code) {
  if (CompilerError error = New_CompilerError(ZENTHAR_ERROR_KIND_RUNTIME, code)) return error;
  last_resort = {ZENTHAR_ERROR_KIND_RUNTIME, code};
  return &last_resort;
}

}  // namespace

CompilerError catchExceptionHandler(void* arg, void* frame) {
  const auto function = static_cast<st_GuardedFrame*>(frame)->guarded->function;
  const Outcome outcome = run_guarded([=] { function(arg, frame); });
  return outcome.raised ? error_record(outcome.code) : CompilerError_null();
}

mbool ZentharCompiler_CatchBase(void (*fn)(void*, void*, void*, void*), void* a, void* b, void* c, void* d) {
  return run_guarded([=] { fn(a, b, c, d); }).raised;
}

CompilerError New_CompilerError(int32_t kind, int32_t code) {
  auto* error = static_cast<CompilerError>(zalloc(sizeof(st_CompilerError), 0, 0));
  if (error) *error = {kind, code};
  return error;
}

void Delete_CompilerError(CompilerError error) {
  if (error != &last_resort) zfree(error);
}

CompilerError CompilerError_null(void) { return nullptr; }

void Unwind_Resume_Zenthar(void* exception) { _Unwind_Resume(static_cast<_Unwind_Exception*>(exception)); }
