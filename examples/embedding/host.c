/* A small host, whole: it initialises the library, provides what a host provides, runs "compiled" functions
 * under each style of error, aborts one, limits memory, and tears down. docs/embedding.md walks through it.
 */
#include <stdio.h>
#include <zenthar/zenthar.h>

/* What the host provides: definitions in the program replace the library's weak defaults. */

static int abort_wanted; /* what the host's user interface would set */

mbool watchhandle_c(const char* category) {
  printf("  an abort of category %s is asked about\n", category);
  return abort_wanted;
}

static void over_limit(void) { printf("  a request passes the limit\n"); }

/* Compiled code, as a compiler would generate it. The host calls it through catchExceptionHandler(), which
 * finds the function through the frame's first field; what follows is the function's own. */

struct Sum {
  struct st_GuardedFrame frame;
  MTensor a, b, result;
};

static void sum_arrays(void* argument, void* frame) {
  struct Sum* sum = frame;
  (void)argument;
  BinaryVectorFunction plus =
      MTensor_getBinaryVectorMachFunc(MACHFUNC_PLUS, MTENSOR_TYPE_INTEGER, MTENSOR_TYPE_INTEGER);
  if (MTensor_allocateCommon(&sum->result, MTENSOR_TYPE_INTEGER, sum->a->rank, sum->a->dimensions, 1) != 0) {
    throwZentharException(ZENTHAR_ERROR_MEMORY);
    return; /* in flag style raising comes back */
  }
  plus(sum->result->data, sum->a->data, 1, sum->b->data, 1, sum->a->flattenedLength, ZENTHAR_CHECK_OVERFLOW);
}

struct Endless {
  struct st_GuardedFrame frame;
  mint steps;
};

static void run_until_aborted(void* argument, void* frame) {
  struct Endless* endless = frame;
  (void)argument;
  while (!checkAbortWatchThrow()) {
    if (++endless->steps == 1000) watch = 1; /* a host sets it elsewhere: in a signal handler, say */
  }
}

/* Runs compiled code and tells how it ended. Returns the error code, 0 for none. */
static int32_t run(const char* what, void* frame) {
  CompilerError error = catchExceptionHandler(NULL, frame);
  int32_t code = error ? error->code : 0;
  printf("  %s: code %d\n", what, (int)code);
  if (error) Delete_CompilerError(error);
  return code;
}

static MTensor integers(mint length, mint first) {
  MTensor array = MTensor_newAllocatedCommon(MTENSOR_TYPE_INTEGER, 1, &length, 1);
  if (!array) return NULL;
  for (mint i = 0; i < length; ++i) ((mint*)array->data)[i] = first + i;
  return array;
}

static int check_style(int32_t style, const char* name) {
  struct st_GuardedFunction sum_function = {sum_arrays};
  struct st_GuardedFunction endless_function = {run_until_aborted};
  struct Sum sum = {{&sum_function}, integers(4, 10), integers(4, 100), NULL};
  struct Endless endless = {{&endless_function}, 0};
  int right = 0;
  if (!sum.a || !sum.b) return 0;

  printf("style %d, %s\n", (int)style, name);
  setExceptionStyle(style);
  right += run("a sum", &sum) == 0 && ((mint*)sum.result->data)[3] == 116;
  ((mint*)sum.a->data)[2] = INT64_MAX;
  right += run("a sum that overflows", &sum) ==
           ZENTHAR_ERROR_INTEGER_OVERFLOW; /* the result array is used again */
  abort_wanted = 1;
  right += run("an endless loop", &endless) == ZENTHAR_ERROR_ABORT;
  abort_wanted = 0;
  watch = 0; /* the host's flag is the host's to clear */

  MTensor_release(sum.result);
  MTensor_release(sum.b);
  MTensor_release(sum.a);
  return right == 3;
}

int main(void) {
  int right = 1;
  InitRuntimeLibrary(0); /* defaults */
  InitRuntimeLibrary(1); /* memory statistics, names of types */
  InitRuntimeLibrary(4); /* the permanent array */
  uint64_t at_start = MemoryInUse();

  right &= check_style(ZENTHAR_STYLE_FLAG, "flag");
  right &= check_style(ZENTHAR_STYLE_JUMP, "jump");
  right &= check_style(ZENTHAR_STYLE_EXCEPTION, "exception");
  setExceptionStyle(ZENTHAR_STYLE_FLAG);

  printf("limit\n");
  MC_set_interrupt_fun(over_limit);
  MCsetlimit(MemoryInUse() + 1000000);
  mint length = 1000000;
  MTensor large = MTensor_newAllocatedCommon(MTENSOR_TYPE_INTEGER, 1, &length, 1);
  printf("  eight megabytes: %s\n", large ? "granted" : "refused");
  right &= large == NULL;
  MCsetlimit(0);
  MC_set_interrupt_fun(NULL);

  right &= MemoryInUse() == at_start; /* nothing of the above is left */
  DeinitializeRuntimeLibrary(1);
  printf("%s\n", right ? "all as expected" : "something went wrong");
  return right ? 0 : 1;
}
