// The allocators that are compared: the library, and general-purpose ones loaded beside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zenthar::bench {

// One allocator as the workloads see it. Everyone is called through pointers of the library's own signatures,
// so the measured loops are the same machine code for all; the peers take their leading arguments and leave
// the registers of the others alone, which the System V calling convention allows.
struct Allocator {
  std::string name;
  std::string file;  // the shared object that the three functions were found in
  void* (*allocate)(size_t size, int32_t aligned, int32_t failmode);
  void (*release)(void* block);
  void* (*reallocate)(void* block, size_t size, int32_t aligned, int32_t failmode);
};

// The library, always first, then every peer that is installed and proved to be what it says. The others are
// named in `notes` with the reason. Throws std::runtime_error when the library's own functions are not its
// own.
std::vector<Allocator> load_allocators(std::vector<std::string>& notes);

// Peers keep thread-local data in the static block, whose spare room is set before a process starts, and one
// of them would share the program break with glibc. Starts the program anew with an environment that gives
// room and keeps the heaps apart, once; returns when that is the case.
void ensure_loader_environment(char** arguments);

}  // namespace zenthar::bench
