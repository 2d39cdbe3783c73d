// Scalars as arrays: new rank-0 arrays, and the scratch arrays that each thread keeps for its scalar
// operands.
//
// A thread's scratch arrays belong to a record, and the record to an entry in a list of all threads' entries,
// so that both the end of the thread and the tear-down of the library find what there is to free.
#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

#include "OS/Unix/thread_end.h"
#include "array/element_types.h"
#include "zenthar/array.h"
#include "zenthar/memory.h"

namespace {

constexpr int kDefinedTypes = zenthar::kElementTypes - 1;
constexpr int kSlots = 3;

struct ScratchRecord {
  MNumericArray* groups[kDefinedTypes];  // the row of each type in `slots`
  MNumericArray slots[kDefinedTypes][kSlots];
};
static_assert(sizeof(ScratchRecord) == 416);

struct ThreadEntry {
  ScratchRecord* record;
  ThreadEntry* next;
  ThreadEntry** link;  // what points to this entry
};

std::mutex entries_mutex;
ThreadEntry* entries = nullptr;

constinit thread_local ThreadEntry* thread_entry = nullptr;

// One machine move instead of a call for the sizes there are.
void load_element(void* data, const void* value, int32_t type) {
  switch (zenthar::element_size(type)) {
    case 1:
      std::memcpy(data, value, 1);
      break;
    case 2:
      std::memcpy(data, value, 2);
      break;
    case 4:
      std::memcpy(data, value, 4);
      break;
    case 8:
      std::memcpy(data, value, 8);
      break;
    default:
      std::memcpy(data, value, 16);
  }
}

void free_record(ScratchRecord* record) {
  if (!record) return;
  for (auto& group : record->slots)
    for (MNumericArray array : group) MNumericArray_delete(array);
  zfree(record);
}

void free_entry(void* value) {
  auto* entry = static_cast<ThreadEntry*>(value);
  {
    const std::lock_guard lock(entries_mutex);
    *entry->link = entry->next;
    if (entry->next) entry->next->link = entry->link;
  }
  thread_entry = nullptr;
  free_record(entry->record);
  std::free(entry);
}

constinit zenthar::ThreadEnd thread_end(free_entry);

// A fork waits until nobody holds the list, so that the child finds it whole and can lock it.
void survive_forks() {
  static const int registered = pthread_atfork([] { entries_mutex.lock(); }, [] { entries_mutex.unlock(); },
                                               [] { entries_mutex.unlock(); });
  static_cast<void>(registered);
}

// The calling thread's entry, made on first use; like the thread layer's cells it comes from malloc, since it
// outlives the allocator's global state. Null without memory.
ThreadEntry* get_entry() {
  if (thread_entry) return thread_entry;
  auto* entry = static_cast<ThreadEntry*>(std::malloc(sizeof(ThreadEntry)));
  if (!entry) return nullptr;
  survive_forks();
  {
    const std::lock_guard lock(entries_mutex);
    *entry = {nullptr, entries, &entries};
    if (entries) entries->link = &entry->next;
    entries = entry;
  }
  thread_end.arm(entry);
  return thread_entry = entry;
}

// Null when a replaced nomem() came back.
ScratchRecord* new_record() {
  auto* record = static_cast<ScratchRecord*>(zalloc(sizeof(ScratchRecord), 0, 0));
  if (!record) return nullptr;
  *record = {};
  for (int type = 0; type < kDefinedTypes; ++type) record->groups[type] = record->slots[type];
  for (int slot = 0; slot < kSlots; ++slot) {
    for (int type = 0; type < kDefinedTypes; ++type) {
      record->groups[type][slot] = MNumericArray_loadNewRank0(nullptr, type + 1);
      if (record->groups[type][slot]) continue;
      free_record(record);
      return nullptr;
    }
  }
  return record;
}

[[gnu::noinline]] ScratchRecord* make_thread_record() {
  ScratchRecord* record = new_record();
  ThreadEntry* entry = record ? get_entry() : nullptr;
  if (entry) {
    entry->record = record;
    return record;
  }
  free_record(record);
  return nullptr;
}

}  // namespace

namespace zenthar {

void scratch_arrays_initialize(int32_t phase) {
  if (phase == 1) thread_end.prepare();
}

// Threads that still run keep their entries, and make new records when they need them again.
void scratch_arrays_tear_down() {
  const std::lock_guard lock(entries_mutex);
  for (ThreadEntry* entry = entries; entry; entry = entry->next) {
    free_record(entry->record);
    entry->record = nullptr;
  }
}

}  // namespace zenthar

MNumericArray MNumericArray_loadNewRank0(const void* value, int32_t type) {
  const mint dimensions[] = {1};
  MNumericArray array = MNumericArray_newAllocatedCommon(type, 0, dimensions, 0);
  if (array && value) load_element(array->data, value, type);
  return array;
}

MNumericArray* MNumericArray_loadSharedRank0(const void* value, int32_t type, mint slot) {
  if (!zenthar::is_defined_type(type) || uint64_t(slot) >= kSlots) return nullptr;
  ScratchRecord* record = thread_entry ? thread_entry->record : nullptr;
  if (!record && !(record = make_thread_record())) return nullptr;
  MNumericArray* handle = &record->groups[type - 1][slot];
  if (value) load_element((*handle)->data, value, type);
  return handle;
}
