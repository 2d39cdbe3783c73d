// The host's side of the library's interface.
#include "host.h"

#include <zenthar/zenthar.h>

#include <csignal>
#include <cstring>
#include <utility>

#include "text.h"

namespace zcalc {
namespace {

/// What the bytes in use would have become with the last request that passed the limit; 0 for none.
uint64_t over_limit = 0;

/// While the library calls this, the bytes in use include the request.
void note_limit() { over_limit = MemoryInUse(); }

std::vector<std::string> array_problems;

/// An abort is requested by setting the library's flag, which is all that a signal handler may do.
void request_abort(int) { __atomic_store_n(&watch, 1, __ATOMIC_RELAXED); }

void handle_interrupt(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  // The second Ctrl-C is the system's: it ends a process that does not come to a check.
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
}

}  // namespace

Host::Host(ErrorStyle style, uint64_t memory_limit, bool track_arrays) {
  ZentharRTL_initialize();
  InitRuntimeLibrary(1);
  InitRuntimeLibrary(4);
  setExceptionStyle(style);
  // No single array of more than the machine's memory, even where the system would promise it.
  system_allocation_limit = system_memory;
  over_limit = 0;
  MC_set_interrupt_fun(note_limit);
  MCsetlimit(memory_limit);
  if (track_arrays) {
    array_problems.clear();
    initializeTensorMemoryCheck([](const char* problem) { array_problems.emplace_back(problem); });
  }
  handle_interrupt(request_abort);
}

Host::~Host() {
  handle_interrupt(SIG_DFL);
  MCsetlimit(0);
  MC_set_interrupt_fun(nullptr);
  DeinitializeRuntimeLibrary(1);
}

std::vector<std::string> Host::end_tracking() {
  runTensorMemoryCheck(1);
  return std::move(array_problems);
}

std::string error_name(int32_t code) { return ZentharRuntimeException(code).what(); }

Failure allocation_failure(int32_t status) {
  if (status == ZENTHAR_ERROR_OUT_OF_MEMORY && over_limit != 0) {
    return Failure("memory limit of " + byte_size(MCliminuse()) + " reached: " + grouped(over_limit) +
                   " bytes would be in use");
  }
  if (status == ZENTHAR_ERROR_OUT_OF_MEMORY) {
    return Failure("out of memory: an array of this size cannot be had, with " + byte_size(MemoryInUse()) +
                   " in use");
  }
  return Failure("array request failed with status " + std::to_string(status));
}

bool interrupted() { return checkAbortWatch() != 0; }

Failure interruption(const std::string& done) {
  return Failure(error_name(ZENTHAR_ERROR_ABORT) + " (error " + std::to_string(ZENTHAR_ERROR_ABORT) +
                     "): interrupted, " + done,
                 kInterrupted);
}

}  // namespace zcalc

// The library asks for the category of work that checks; a calculator knows only compiled code.
mbool watchhandle_c(const char* category) { return std::strcmp(category, "Compiler") == 0; }
