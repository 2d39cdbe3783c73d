// Array tracking: every header made while it is on has a record in a table keyed by its address, and an array
// that is deleted meanwhile is only marked, so that a second deletion is still recognised.
//
// Addresses are unique keys for that reason: nothing registered goes back to the allocator before the end.
#include <mutex>

#include "zenthar/array.h"
#include "zenthar/hashing.h"
#include "zenthar/memory.h"

namespace {

struct TrackingRecord {
  enum Status : uint32_t {
    kFreed = 1,
    // Another record of the same array is marked freed too: that one releases it.
    kReleasedElsewhere = 2
  };

  MNumericArray array;
  uint32_t status;
};
static_assert(sizeof(TrackingRecord) == 16);

constexpr mint kTableSize = 31;

HashTable table = nullptr;
TensorMemoryReporter reporter = nullptr;
// Recursive, so that a reporter may create and delete arrays.
constinit std::recursive_mutex mutex;

void report(const char* message) {
  if (reporter) reporter(message);
}

TrackingRecord* record_of(HashEntry entry) { return static_cast<TrackingRecord*>(entry->value); }

MNumericArray key_at(const void* key_word) { return *static_cast<const MNumericArray*>(key_word); }

uint64_t hash_address(const void* key) { return reinterpret_cast<uint64_t>(key_at(key)); }

int32_t equal_address(const void* entry, const void* key) { return key_at(entry) == key_at(key); }

void clear_value(HashEntry entry) { entry->value = nullptr; }

void release_record(HashEntry entry) {
  TrackingRecord* record = record_of(entry);
  if (!record) return;
  if (record->status == TrackingRecord::kFreed) MTensor_delete(record->array);
  zfree(record);
}

int32_t check_record(HashEntry entry, void*) {
  const TrackingRecord* record = record_of(entry);
  if (!record || record->status & TrackingRecord::kFreed) return 0;
  if (!(record->array->flags & MNUMERICARRAY_FLAG_NOT_OWNED)) report("MTensor not freed");
  return 0;
}

// Whether a record after this one in its chain, made for the same address, is marked freed.
bool freed_elsewhere(HashEntry entry) {
  for (HashEntry other = entry->next; other; other = other->next)
    if (other->key == entry->key && record_of(other) && record_of(other)->status & TrackingRecord::kFreed)
      return true;
  return false;
}

}  // namespace

void initializeTensorMemoryCheck(TensorMemoryReporter new_reporter) {
  table = New_HashTable(kTableSize, hash_address, nullptr, equal_address, clear_value, release_record);
  reporter = new_reporter;
  trackTensorMemory = table != nullptr;
}

void TensorMemory_addNew(MNumericArray array) {
  const std::lock_guard lock(mutex);
  if (!table) return;
  if (HashTable_GetUsingFunction(table, array)) report("MTensor already created");
  auto* record = static_cast<TrackingRecord*>(zalloc(sizeof(TrackingRecord), 0, 0));
  if (!record) return;
  *record = {array, 0};
  if (!HashTable_AddValue(table, array, record)) zfree(record);
}

void TensorMemory_free(MNumericArray array) {
  const std::lock_guard lock(mutex);
  const HashEntry entry = table ? HashTable_GetUsingFunction(table, array) : nullptr;
  TrackingRecord* record = entry ? record_of(entry) : nullptr;
  if (!record)
    report("MTensor cannot be found");
  else if (record->status & TrackingRecord::kFreed)
    report("MTensor has already been freed");
  else
    record->status |=
        TrackingRecord::kFreed | (freed_elsewhere(entry) ? TrackingRecord::kReleasedElsewhere : 0u);
}

void runTensorMemoryCheck(int32_t release) {
  trackTensorMemory = 0;
  if (!table) return;
  HashTable_OrOverAllEntries(table, check_record, nullptr);
  if (!release) return;
  FreeOrEmpty_HashTable(table, 1);
  table = nullptr;  // what a later run without a new start would find
}
