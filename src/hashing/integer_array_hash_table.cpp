// Tables keyed by arrays of integers of one length: a thin cover over the general table.
#include <algorithm>
#include <cstring>
#include <memory>

#include "hashing/hashing.h"
#include "hashing/integer_array_keys.h"
#include "zenthar/hashing.h"
#include "zenthar/memory.h"

namespace zenthar {

mint integer_array_key_length = 0;

namespace {

const mint* array_at(const void* key) { return *static_cast<const mint* const*>(key); }

size_t key_bytes() { return size_t(integer_array_key_length) * sizeof(mint); }

uint64_t hash_single(const void* key) { return hash_key_bytes(key, sizeof(mint)); }

int32_t equal_single(const void* entry, const void* key) {
  return *static_cast<void* const*>(entry) == *static_cast<void* const*>(key);
}

uint64_t hash_array(const void* key) { return hash_key_bytes(array_at(key), key_bytes()); }

int32_t equal_array(const void* entry, const void* key) {
  const mint *a = array_at(entry), *b = array_at(key);
  return a == b || (a && b && std::equal(a, a + integer_array_key_length, b));
}

void copy_array(HashEntry entry, const void* key) {
  entry->key = zalloc(key_bytes(), 0, 0);
  if (entry->key) std::memcpy(entry->key, array_at(key), key_bytes());
}

void free_array(HashEntry entry) { zfree(entry->key); }

// An operation on one table: its key length holds while it runs.
class Operation {
 public:
  Operation(const st_IntegerArrayHashTable* table) { integer_array_key_length = table->key_length; }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;
  ~Operation() { integer_array_key_length = 0; }
};

void* key_word(const st_IntegerArrayHashTable* table, const mint* key) {
  if (table->flags & INTEGER_ARRAY_SINGLE) return reinterpret_cast<void*>(*key);
  return const_cast<mint*>(key);
}

HashTable new_inner_table(bool single, bool copies, mint size, HashEntryFunction free_entry) {
  if (single)
    return New_HashTable(size, hash_single, nullptr, equal_single, HashEntry_NewGeneral, free_entry);
  if (copies && !free_entry) free_entry = free_array;
  return New_HashTable(size, hash_array, copies ? copy_array : nullptr, equal_array, HashEntry_NewGeneral,
                       free_entry);
}

}  // namespace
}  // namespace zenthar

using namespace zenthar;

IntegerArrayHashTable New_IntegerArrayHashTable(mint key_length, mint size, int32_t flags,
                                                HashEntryFunction free_entry) {
  if (key_length < 0) return nullptr;
  const auto table = static_cast<IntegerArrayHashTable>(zalloc(sizeof(st_IntegerArrayHashTable), 0, 0));
  if (!table) return nullptr;
  const bool single = key_length == 1 && !(flags & INTEGER_ARRAY_FORCE);
  HashTable inner = new_inner_table(single, flags & INTEGER_ARRAY_COPY_KEYS, size, free_entry);
  if (!inner) {
    zfree(table);
    return nullptr;
  }
  flags = (flags & ~INTEGER_ARRAY_SINGLE) | (single ? INTEGER_ARRAY_SINGLE : 0);
  *table = {inner, key_length, nullptr, flags};
  return table;
}

void Delete_IntegerArrayHashTable(IntegerArrayHashTable table) {
  if (!table) return;
  const Operation operation(table);
  FreeOrEmpty_HashTable(table->table, 1);
  zfree(table);
}

HashEntry IntegerArrayHashTable_GetOrAdd(IntegerArrayHashTable table, const mint* key, int32_t* added) {
  const Operation operation(table);
  return HashTable_GetOrAdd(table->table, key_word(table, key), added);
}

HashEntry IntegerArrayHashTable_Add(IntegerArrayHashTable table, const mint* key) {
  const Operation operation(table);
  return HashTable_Add(table->table, key_word(table, key));
}

HashEntry IntegerArrayHashTable_Get(IntegerArrayHashTable table, const mint* key) {
  const Operation operation(table);
  return HashTable_GetUsingFunction(table->table, key_word(table, key));
}

int32_t IntegerArrayHashTable_Remove(IntegerArrayHashTable table, const mint* key) {
  const Operation operation(table);
  return HashTable_RemoveElem(table->table, key_word(table, key));
}

mint IntegerArrayHashTable_Length(IntegerArrayHashTable table) { return table->table->count; }

mint IntegerArrayHashTable_ByteCount(IntegerArrayHashTable table) {
  if (!table) return 0;
  return HashTable_ByteCount(table->table, nullptr) + mint(sizeof(st_IntegerArrayHashTable));
}
