/**
 * @file errors.h
 * @brief Error codes, the three ways an error travels, guarded calls, and abort checks.
 *
 * A run-time error is a 32-bit code. Code that cannot go on raises it with throwZentharException(); how it
 * reaches its handler is the process-wide **exception style** (setExceptionStyle()):
 *
 * | style | a raise                                                           | the raiser              |
 * |-------|-------------------------------------------------------------------|-------------------------|
 * | 1     | stores the code in the exception-active flag (the default)        | returns, unwinds itself |
 * | 2     | jumps to the top of the calling thread's set-jump stack           | is left                 |
 * | other | throws ::ZentharRuntimeException                                  | is left                 |
 *
 * catchExceptionHandler() and ZentharCompiler_CatchBase() run a function under whatever style is in force and
 * tell whether it raised.
 *
 * **Threads.** The style and the flag are one for the process: in flag style two threads that raise at once
 * overwrite each other's code. Both may be read and set from any thread and in signal handlers. Each thread
 * has a set-jump stack of its own.
 */
#ifndef ZENTHAR_ERRORS_H
#define ZENTHAR_ERRORS_H

#include "zenthar/types.h"

#ifdef __cplusplus
#include <exception>
#endif

ZENTHAR_BEGIN_DECLS

/**
 * Error codes. The name of a code, which ZentharRuntimeException::what() gives, stands beside it; codes 47 to
 * 96 are named "reserved_1" to "reserved_50", every other one "error_unknown". 402 and 403 are the statuses
 * of array entries.
 */
enum ZentharErrorCode {
  ZENTHAR_ERROR_SUCCESS = 0,                               /**< "success" */
  ZENTHAR_ERROR_INTEGER_OVERFLOW = 1,                      /**< "integer_overflow" */
  ZENTHAR_ERROR_INDETERMINATE = 2,                         /**< "indeterminate" */
  ZENTHAR_ERROR_INTEGER_INEXACT_DIVISION = 3,              /**< "integer_inexact_division" */
  ZENTHAR_ERROR_FLOATING_POINT_INEXACT = 4,                /**< "floating_point_inexact" */
  ZENTHAR_ERROR_FLOATING_POINT_INVALID = 5,                /**< "floating_point_invalid" */
  ZENTHAR_ERROR_FLOATING_POINT_INFINITE = 6,               /**< "floating_point_infinite" */
  ZENTHAR_ERROR_FLOATING_POINT_OVERFLOW = 7,               /**< "floating_point_overflow" */
  ZENTHAR_ERROR_FLOATING_POINT_UNKNOWN = 8,                /**< "floating_point_unknown" */
  ZENTHAR_ERROR_FLOATING_POINT_NAN = 9,                    /**< "floating_point_nan" */
  ZENTHAR_ERROR_FLOATING_POINT_SUBNORMAL = 10,             /**< "floating_point_subnormal" */
  ZENTHAR_ERROR_FLOATING_POINT_ENVIRONMENT_EXCEPTION = 11, /**< "floating_point_environment_exception" */
  ZENTHAR_ERROR_FLOATING_POINT_ENVIRONMENT_ERROR = 12,     /**< "floating_point_environment_error" */
  ZENTHAR_ERROR_ARGUMENT = 13,                             /**< "argument" */
  ZENTHAR_ERROR_LOGIC = 14,                                /**< "logic" */
  ZENTHAR_ERROR_RANGE = 15,                                /**< "range" */
  ZENTHAR_ERROR_DOMAIN = 16,                               /**< "domain" */
  ZENTHAR_ERROR_SYSTEM = 17,                               /**< "system" */
  ZENTHAR_ERROR_DIVIDE_BY_ZERO = 18,                       /**< "divide_by_zero" */
  ZENTHAR_ERROR_INVALID_TYPE = 19,                         /**< "invalid_type" */
  ZENTHAR_ERROR_INVALID_RANGE = 20,                        /**< "invalid_range" */
  ZENTHAR_ERROR_UNKNOWN = 21,                              /**< "unknown" */
  ZENTHAR_ERROR_UNIMPLEMENTED = 22,                        /**< "unimplemented" */
  ZENTHAR_ERROR_MEMORY = 23,                               /**< "memory" */
  ZENTHAR_ERROR_RANK = 24,                                 /**< "rankerror" */
  ZENTHAR_ERROR_DIMENSION = 25,                            /**< "dimensionerror" */
  ZENTHAR_ERROR_ARRAY_PART = 26,                           /**< "arrayparterror" */
  ZENTHAR_ERROR_EXPRESSION_CONVERSION = 27,                /**< "expressionconversion" */
  ZENTHAR_ERROR_MATH_ARRAY = 28,                           /**< "matharrayerror" */
  ZENTHAR_ERROR_DOT = 29,                                  /**< "doterror" */
  ZENTHAR_ERROR_STREAM_NO_DATA = 30,                       /**< "streamnodata" */
  ZENTHAR_ERROR_STREAM_NO_SPACE = 31,                      /**< "streamnospace" */
  ZENTHAR_ERROR_STREAM_DATA_NOT_AVAILABLE = 32,            /**< "streamdatanotavailable" */
  ZENTHAR_ERROR_STREAM_SPACE_NOT_AVAILABLE = 33,           /**< "streamspacenotavailable" */
  ZENTHAR_ERROR_ABORT = 34,                                /**< "abort" */
  ZENTHAR_ERROR_RANDOM_NUMBER = 35,                        /**< "randomnumbererror" */
  ZENTHAR_ERROR_TAKE = 36,                                 /**< "takeerror" */
  ZENTHAR_ERROR_PARTITION = 37,                            /**< "partitionerror" */
  ZENTHAR_ERROR_REVERSE = 38,                              /**< "reverseerror" */
  ZENTHAR_ERROR_FLATTEN = 39,                              /**< "flattenerror" */
  ZENTHAR_ERROR_ROTATE = 40,                               /**< "rotateerror" */
  ZENTHAR_ERROR_TRANSPOSE = 41,                            /**< "transposeerror" */
  ZENTHAR_ERROR_SORT = 42,                                 /**< "sorterror" */
  ZENTHAR_ERROR_CAST = 43,                                 /**< "cast" */
  ZENTHAR_ERROR_STRING_EXTRACT = 44,                       /**< "stringextract" */
  ZENTHAR_ERROR_ZERO_LENGTH_ARRAY = 45,                    /**< "zerolengtharray" */
  ZENTHAR_ERROR_ARRAY_CREATION = 46,                       /**< "arraycreation" */
  ZENTHAR_ERROR_NEGATIVE_DIMENSION = 402,                  /**< array entries: a dimension is negative */
  ZENTHAR_ERROR_OUT_OF_MEMORY = 403 /**< array entries: no memory, or a size overflowed */
};

/** Exception styles; any value but 1 and 2 is the exception style. */
enum ZentharExceptionStyle {
  ZENTHAR_STYLE_EXCEPTION = 0, /**< a raise throws ::ZentharRuntimeException */
  ZENTHAR_STYLE_FLAG = 1,      /**< a raise sets the exception-active flag and returns */
  ZENTHAR_STYLE_JUMP = 2       /**< a raise jumps to the innermost registered buffer */
};

/** Kind of the error records that the guarded calls make: a run-time exception was caught. */
enum { ZENTHAR_ERROR_KIND_RUNTIME = 4 };

/** What a guarded call caught. */
struct st_CompilerError {
  int32_t kind; /**< ZENTHAR_ERROR_KIND_RUNTIME where a guarded call made it */
  int32_t code; /**< the error code */
};
typedef struct st_CompilerError* CompilerError; /**< handle of an error record */

ZENTHAR_STATIC_ASSERT(sizeof(struct st_CompilerError) == 8, "error record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_CompilerError, kind) == 0, "error record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_CompilerError, code) == 4, "error record");

/** @name Raising
 * @{ */

/**
 * Raises an error code in the exception style in force.
 *
 * In jump style the calling thread's set-jump stack must not be empty, and code 0 arrives as 1; raise only
 * codes that are not 0.
 * @param code the error code
 * @return the code, in flag style; in the other styles the call does not come back
 */
ZENTHAR_API int32_t throwZentharException(int32_t code);
/** Sets the exception style, see ::ZentharExceptionStyle. It is 1 (flag) until this is called. */
ZENTHAR_API void setExceptionStyle(int32_t style);
/** @return the exception-active flag: the code of the pending error in flag style, 0 for none */
ZENTHAR_API int32_t getExceptionActive(void);
/** Sets the exception-active flag. @return what it was */
ZENTHAR_API int32_t setExceptionActive(int32_t code);
/** @return the address of the exception-active flag, for compiled code to test inline */
ZENTHAR_API int32_t* getExceptionActiveHandle(void);
/** @} */

/** @name The calling thread's stack of jump buffers
 * What is left on the stack when a thread ends is freed; the buffers belong to their callers.
 * @{ */

/**
 * Makes `buffer`, a caller-owned `jmp_buf` that `setjmp` has filled or will fill, the target of raises.
 *
 * Where there is no memory for it and a replaced nomem() comes back, SetJumpStack_Peek() still gives the
 * buffer that was innermost before, and raises go there; SetJumpStack_Pop() is due all the same.
 */
ZENTHAR_API void SetJumpStack_Push(void* buffer);
/** @return the innermost buffer, or null when the stack is empty */
ZENTHAR_API void* SetJumpStack_Peek(void);
/** Takes the innermost buffer off. The stack must not be empty. */
ZENTHAR_API void SetJumpStack_Pop(void);
/** @} */

/** @name Guarded calls
 * In flag style the flag is 0 when the function starts and what it was before the call afterwards. In jump
 * style a buffer is on the stack for the duration of the call. In exception style only
 * ::ZentharRuntimeException is caught; other exceptions and forced unwinding pass unchanged, in every style.
 * @{ */

/** A record that begins with the function to guard. */
struct st_GuardedFunction {
  void (*function)(void* arg, void* frame); /**< called with the two arguments of catchExceptionHandler() */
};
/** What catchExceptionHandler() needs of its second argument. */
struct st_GuardedFrame {
  struct st_GuardedFunction* guarded; /**< the record of the function; what follows is the caller's */
};

ZENTHAR_STATIC_ASSERT(offsetof(struct st_GuardedFunction, function) == 0, "guarded function record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_GuardedFrame, guarded) == 0, "guarded frame record");

/**
 * Runs a function and catches what it raises.
 * @param arg   handed to the function
 * @param frame a record that begins as ::st_GuardedFrame; handed to the function too
 * @return null when the function raised nothing, else a new error record (kind 4 and the code), which the
 *         caller releases with Delete_CompilerError() on the same thread
 */
ZENTHAR_API CompilerError catchExceptionHandler(void* arg, void* frame);
/** Runs `fn(a, b, c, d)` and catches what it raises. @return 1 when it raised an error, else 0 */
ZENTHAR_API mbool ZentharCompiler_CatchBase(void (*fn)(void*, void*, void*, void*), void* a, void* b, void* c,
                                            void* d);
/** @return a new error record; null only when memory runs out and a replaced nomem() comes back */
ZENTHAR_API CompilerError New_CompilerError(int32_t kind, int32_t code);
/** Releases an error record. Null is ignored. */
ZENTHAR_API void Delete_CompilerError(CompilerError error);
/** @return null, the record of no error */
ZENTHAR_API CompilerError CompilerError_null(void);
/**
 * `_Unwind_Resume` under a name of this library: the last call of a landing pad of compiled code, going on
 * with the unwinding. Does not return.
 */
ZENTHAR_API void Unwind_Resume_Zenthar(void* exception);
/** @} */

/** @name Abort checks
 * The host requests an abort by setting ::watch, from any thread or a signal handler; code that runs long
 * asks for it with one of these calls. No call clears the flag; initialisation phase 0 does.
 * @{ */

/** Abort flag: not 0 when an abort is requested. Set it as an atomic object would be set. */
extern ZENTHAR_API int32_t watch;
/** Second abort flag, for the host's own use; phase 0 clears it too. */
extern ZENTHAR_API int32_t watch1;

/** @return the address of ::watch */
ZENTHAR_API int32_t* getAbortWatchHandle(void);
/** @return 1 when ::watch is set and the host's watchhandle_c("Compiler") says that it applies, else 0 */
ZENTHAR_API mbool checkAbortWatch(void);
/** checkAbortWatch(), and when that is true, raises ::ZENTHAR_ERROR_ABORT. @return what it found */
ZENTHAR_API mbool checkAbortWatchThrow(void);
/** @} */

/** Does nothing: a target for function pointers that must not be null. */
ZENTHAR_API void dummyFunction(void);
/** Classifies a real. @return 0 finite, 1 NaN, 2 plus infinity, 3 minus infinity */
ZENTHAR_API int32_t TestException(mreal x);

ZENTHAR_END_DECLS

#ifdef __cplusplus
/**
 * What a raise throws in exception style. Catch it by reference; its type information is exported, so that
 * hosts and compiled code catch it across the boundary.
 *
 * Layout: the base (one pointer to the virtual table), then the 32-bit code. Virtual table: complete
 * destructor, deleting destructor, what().
 */
class ZENTHAR_API ZentharRuntimeException : public std::exception {
 public:
  /** @param code the error code it carries */
  explicit ZentharRuntimeException(int32_t code) : code_(code) {}
  /** Copies the code. */
  ZentharRuntimeException(const ZentharRuntimeException&) = default;
  /** Copies the code. @return this */
  ZentharRuntimeException& operator=(const ZentharRuntimeException&) = default;
  ~ZentharRuntimeException() override;
  /** @return the name of the code, a static string, see ::ZentharErrorCode */
  const char* what() const noexcept override;
  /** @return the error code */
  int32_t code() const { return code_; }

 private:
  int32_t code_;
};

static_assert(sizeof(ZentharRuntimeException) == 16, "one pointer and the code");
#endif

#endif
