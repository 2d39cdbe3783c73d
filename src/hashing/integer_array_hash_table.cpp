// Tables keyed by arrays of integers of one length: a thin cover over the general table.
//
// The operations here hash and compare without the detour through the callbacks; those serve whoever works on
// the inner table.
#include <algorithm>
#include <cstring>
#include <memory>

#include "hashing/hash_table.h"
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

bool equal_arrays(const mint* a, const mint* b, mint length) {
  return a == b || (a && b && std::equal(a, a + length, b));
}

int32_t equal_array(const void* entry, const void* key) {
  return equal_arrays(array_at(entry), array_at(key), integer_array_key_length);
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

// A key in use: its key word and its hash, and what entries it finds.
class Key {
 public:
  Key(const st_IntegerArrayHashTable* table, const mint* key)
      : table_(table->table),
        key_(key),
        length_(table->flags & INTEGER_ARRAY_SINGLE ? kSingle : table->key_length),
        hash_(hash_key_bytes(key, uint64_t(table->key_length) * sizeof(mint))) {}

  HashEntry find() const { return find_in(Bucket(table_, hash_)).entry; }

  int32_t remove() const {
    const Bucket bucket(table_, hash_);
    const auto found = find_in(bucket);
    if (!found.entry) return 0;
    remove_found(table_, bucket, found, table_->flags & HASH_TABLE_WEAK);
    return 1;
  }

  HashEntry add() const { return insert_entry(table_, word(), hash_); }

 private:
  static constexpr mint kSingle = -1;

  Bucket::Found find_in(const Bucket& bucket) const {
    return bucket.find(hash_, [this](HashEntry entry) {
      return length_ == kSingle ? entry->key == word() : equal_arrays(array_at(&entry->key), key_, length_);
    });
  }

  void* word() const { return length_ == kSingle ? reinterpret_cast<void*>(*key_) : const_cast<mint*>(key_); }

  HashTable table_;
  const mint* key_;
  mint length_;
  uint64_t hash_;
};

HashTable new_inner_table(bool single, bool copies, mint size, HashEntryFunction free_entry) {
  if (single)
    return New_HashTable(size, hash_single, nullptr, equal_single, HashEntry_NewGeneral, free_entry);
  if (copies && !free_entry) free_entry = free_array;
  return New_HashTable(size, hash_array, copies ? copy_integer_array : nullptr, equal_array,
                       HashEntry_NewGeneral, free_entry);
}

}  // namespace

void copy_integer_array(HashEntry entry, const void* key) {
  entry->key = zalloc(key_bytes(), 0, 0);
  if (entry->key) std::memcpy(entry->key, array_at(key), key_bytes());
}

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
  const Key wanted(table, key);
  HashEntry entry = wanted.find();
  const bool found = entry;
  if (!found) entry = wanted.add();
  if (added) *added = entry && !found;
  return entry;
}

HashEntry IntegerArrayHashTable_Add(IntegerArrayHashTable table, const mint* key) {
  const Operation operation(table);
  return Key(table, key).add();
}

HashEntry IntegerArrayHashTable_Get(IntegerArrayHashTable table, const mint* key) {
  const Operation operation(table);
  return Key(table, key).find();
}

int32_t IntegerArrayHashTable_Remove(IntegerArrayHashTable table, const mint* key) {
  const Operation operation(table);
  return Key(table, key).remove();
}

mint IntegerArrayHashTable_Length(IntegerArrayHashTable table) { return table->table->count; }

mint IntegerArrayHashTable_ByteCount(IntegerArrayHashTable table) {
  if (!table) return 0;
  return HashTable_ByteCount(table->table, nullptr) + mint(sizeof(st_IntegerArrayHashTable));
}
