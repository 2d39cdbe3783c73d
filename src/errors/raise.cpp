// Raising an error: the exception style, the exception-active flag, and each thread's stack of jump buffers.
#include <setjmp.h>

#include "OS/Unix/thread_end.h"
#include "errors/errors.h"
#include "zenthar/errors.h"
#include "zenthar/memory.h"

namespace {

using zenthar::relaxed;

int32_t exception_style = ZENTHAR_STYLE_FLAG;
int32_t exception_active = 0;

struct JumpNode {
  void* buffer;
  JumpNode* next;
};

struct JumpStack {
  JumpNode* top;
  mint missing;  // buffers pushed above `top` from the first on for which there was no memory
  bool freed_at_thread_end;
};

constinit thread_local JumpStack jump_stack = {};

// What a thread leaves on its stack has nobody to pop it once the thread has ended.
void free_jump_stack(void*) {
  jump_stack.freed_at_thread_end = false;
  jump_stack.missing = 0;
  while (jump_stack.top) SetJumpStack_Pop();
}

constinit zenthar::ThreadEnd thread_end(free_jump_stack);

}  // namespace

int32_t throwZentharException(int32_t code) {
  switch (relaxed(exception_style)) {
    case ZENTHAR_STYLE_FLAG:
      relaxed(exception_active) = code;
      return code;
    case ZENTHAR_STYLE_JUMP:
      jump_stack.missing = 0;
      longjmp(*static_cast<jmp_buf*>(SetJumpStack_Peek()), code);
    default:
      throw ZentharRuntimeException(code);
  }
}

void setExceptionStyle(int32_t style) { relaxed(exception_style) = style; }

int32_t zenthar::get_exception_style() { return relaxed(exception_style); }

int32_t getExceptionActive(void) { return relaxed(exception_active); }

int32_t setExceptionActive(int32_t code) {
  const int32_t previous = relaxed(exception_active);
  relaxed(exception_active) = code;
  return previous;
}

int32_t* getExceptionActiveHandle(void) { return &exception_active; }

void SetJumpStack_Push(void* buffer) {
  if (!jump_stack.freed_at_thread_end) jump_stack.freed_at_thread_end = thread_end.arm(&jump_stack);
  auto* node = jump_stack.missing ? nullptr : static_cast<JumpNode*>(zalloc(sizeof(JumpNode), 0, 0));
  if (!node) {
    ++jump_stack.missing;
    return;
  }
  *node = {buffer, jump_stack.top};
  jump_stack.top = node;
}

void* SetJumpStack_Peek(void) { return jump_stack.top ? jump_stack.top->buffer : nullptr; }

void SetJumpStack_Pop(void) {
  if (jump_stack.missing) {
    --jump_stack.missing;
    return;
  }
  JumpNode* node = jump_stack.top;
  jump_stack.top = node->next;
  zfree(node);
}
