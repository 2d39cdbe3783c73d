/* The headers as a C host sees them: the assertions in them hold in C too, and handles made by the library
 * read as the records say. */
#include <stdio.h>
#include <string.h>

#include "zenthar/zenthar.h"

static int failures = 0;

static void check(int holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "does not hold: %s\n", what);
  ++failures;
}
#define CHECK(condition) check((condition) != 0, #condition)

static void raise_code(void* arg, void* frame) {
  (void)frame;
  throwZentharException(*(int32_t*)arg);
}

int main(void) {
  ZentharRTL_initialize();
  InitRuntimeLibrary(1);

  const mint dimensions[2] = {2, 3};
  MTensor tensor = MTensor_newAllocatedCommon(MTENSOR_TYPE_COMPLEX, 2, dimensions, 1);
  CHECK(tensor->rank == 2 && tensor->dimensions[0] == 2 && tensor->dimensions[1] == 3);
  CHECK(tensor->numericType == MNUMERICARRAY_TYPE_COMPLEX_REAL64 &&
        tensor->tensorType == MTENSOR_TYPE_COMPLEX);
  CHECK(tensor->flags == (MNUMERICARRAY_FLAG_NUMERIC | MNUMERICARRAY_FLAG_COMPLEX));
  CHECK(tensor->flattenedLength == 6 && tensor->refCount == 1 && tensor->precision == MachinePrecision);
  uint64_t type_and_flags;
  memcpy(&type_and_flags, (const char*)tensor + 24, sizeof type_and_flags);
  CHECK(type_and_flags == (((uint64_t)0x8b << 32) | 4));
  FreeMTensor(tensor);

  struct st_GuardedFunction guarded = {raise_code};
  struct st_GuardedFrame frame = {&guarded};
  int32_t code = ZENTHAR_ERROR_DOMAIN;
  for (int32_t style = 0; style <= 2; ++style) {
    setExceptionStyle(style);
    CompilerError error = catchExceptionHandler(&code, &frame);
    CHECK(error && error->kind == ZENTHAR_ERROR_KIND_RUNTIME && error->code == 16);
    Delete_CompilerError(error);
  }
  DeinitializeRuntimeLibrary(1);
  return failures != 0;
}
