// The registry of methods, and the table that compiled code names them by.
#include <atomic>
#include <cstring>

#include "random/random.h"
#include "zenthar/memory.h"

RandomGeneratorMethod RandomGeneratorMethodList = nullptr;

const mint CompilerRandomGeneratorMethodID[6] = {1, 2, 3, 4, 0, 1};
const char* const CompilerRandomGeneratorMethodList[6] = {"ExtendedCA",        "MKL",       "MersenneTwister",
                                                          "ParallelGenerator", "Automatic", "Default"};
const char* DefaultRandomGeneratorName = "ExtendedCA";

namespace {

mint last_id = 0;

char* copy_of(const char* name) {
  if (!name) return nullptr;
  const size_t bytes = std::strlen(name) + 1;
  auto* copy = static_cast<char*>(zalloc(bytes, 0, 0));
  if (copy) std::memcpy(copy, name, bytes);
  return copy;
}

// The list may be read while the library's own methods come to it in another thread.
RandomGeneratorMethod newest() {
  return std::atomic_ref(RandomGeneratorMethodList).load(std::memory_order_acquire);
}

void link(RandomGeneratorMethod method) {
  method->next = newest();
  std::atomic_ref(RandomGeneratorMethodList).store(method, std::memory_order_release);
}

}  // namespace

bool zenthar::random::add_method(const char* name, mint id, RandomMethodAllocate allocate,
                                 RandomMethodClone clone, RandomMethodFree free_generator) {
  RandomGeneratorMethod method = RandomGeneratorMethod_new(name);
  if (!method) return false;
  method->allocate = allocate;
  method->clone = clone;
  method->free_generator = free_generator;
  if (RandomGeneratorMethod_get(id)) {
    RandomGeneratorMethod_addToMethodList(method);
    return true;
  }
  method->id = id;
  if (last_id < id) last_id = id;
  link(method);
  return true;
}

RandomGeneratorMethod RandomGeneratorMethod_new(const char* name) {
  auto* method = static_cast<RandomGeneratorMethod>(kCalloc(1, sizeof(st_RandomGeneratorMethod), 0, 0));
  if (!method) return nullptr;
  method->name = copy_of(name);
  method->current = New_KThreadLocalStorage();
  if (method->current && (method->name || !name)) return method;
  Delete_KThreadLocalStorage(method->current);
  zfree(method->name);
  zfree(method);
  return nullptr;
}

void RandomGeneratorMethod_addToMethodList(RandomGeneratorMethod method) {
  method->id = ++last_id;
  link(method);
}

RandomGeneratorMethod RandomGeneratorMethod_add(const char* name, RandomMethodAllocate allocate,
                                                RandomMethodClone clone, RandomMethodFree free_generator) {
  RandomGeneratorMethod method = RandomGeneratorMethod_new(name);
  if (!method) return nullptr;
  // The record's name from here on is a copy of its own; the one made with the record belongs to whoever made
  // the record, and stays.
  if (char* copy = copy_of(name)) method->name = copy;
  method->allocate = allocate;
  method->clone = clone;
  method->free_generator = free_generator;
  RandomGeneratorMethod_addToMethodList(method);
  return method;
}

mint RandomGeneratorMethod_find(const char* name) {
  if (!name) return 0;
  for (RandomGeneratorMethod method = newest(); method; method = method->next)
    if (method->name && std::strcmp(method->name, name) == 0) return method->id;
  return 0;
}

RandomGeneratorMethod RandomGeneratorMethod_get(mint id) {
  RandomGeneratorMethod method = newest();
  while (method && method->id != id) method = method->next;
  return method;
}

// The first match counts: 1 is "ExtendedCA", never "Default".
const char* CompiledGetRandomGeneratorName(mint id) {
  for (size_t i = 0; i < 6; ++i)
    if (CompilerRandomGeneratorMethodID[i] == id) return CompilerRandomGeneratorMethodList[i];
  return nullptr;
}
