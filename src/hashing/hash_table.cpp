// The chained hash table.
//
// A chain is walked by pointers that seldom lie in a cache once a table is large, so whatever goes through a
// whole table (a rehash, a visit, its release) asks ahead for the entries of buckets to come.
#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>

#include "hashing/hash_table.h"
#include "hashing/integer_array_keys.h"
#include "hashing/prime_steps.h"
#include "zenthar/hashing.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"

namespace zenthar {
namespace {

constexpr int32_t kQuietFailure = 1;
constexpr int32_t kFatalFailure = 0;

// What a visit has put off, in the field rehash_due.
constexpr uint16_t kGrowthDue = 1;
constexpr uint16_t kShrinkDue = 2;

// How many buckets ahead of the one at hand entries are asked for.
constexpr uint64_t kLookAhead = 16;

struct Release {
  void operator()(void* p) const { zfree(p); }
};

// An array of empty buckets, and their digests; null when there is no memory for it or it exceeds the address
// space.
HashEntry* new_buckets(mint capacity, int32_t failmode) {
  if (uint64_t(capacity) > (SIZE_MAX - kPaddingBytes) / kBucketBytes) {
    if (failmode == kFatalFailure) nomem();
    return nullptr;
  }
  return static_cast<HashEntry*>(kCalloc(1, uint64_t(capacity) * kBucketBytes + kPaddingBytes, 0, failmode));
}

void prefetch_bucket(const st_HashTable* table, uint64_t index) {
  if (index < uint64_t(table->capacity)) __builtin_prefetch(table->buckets[index]);
}

// Links entries at the head of their buckets in the order in which they are given, but some way behind, when
// the bucket that was asked for has arrived.
class DelayedLinker {
 public:
  DelayedLinker(HashEntry* buckets, const PrimeStep& step) : buckets_(buckets), step_(step) {}

  void add(HashEntry entry) {
    const Bucket bucket(buckets_, step_, entry->hash);
    bucket.prefetch();
    if (given_ >= kDelay) link(waiting_[given_ % kDelay]);
    waiting_[given_++ % kDelay] = {entry, bucket};
  }

  void finish() {
    for (uint64_t i = given_ - std::min(given_, kDelay); i < given_; ++i) link(waiting_[i % kDelay]);
  }

 private:
  static constexpr uint64_t kDelay = 16;
  struct Waiting {
    HashEntry entry;
    Bucket bucket;
  };

  static void link(const Waiting& waiting) { waiting.bucket.push(waiting.entry); }

  HashEntry* buckets_;
  const PrimeStep& step_;
  uint64_t given_ = 0;
  Waiting waiting_[kDelay];
};

// Moves the table by one step. False, with the table as it was, where there is no such step or no memory.
bool rehash(st_HashTable* table, mint direction) {
  const mint step = std::clamp(table->step + direction, kFirstStep, kLastStep);
  const PrimeStep& prime = kPrimeSteps[size_t(step)];
  if (mint(prime.prime) == table->capacity) return false;
  HashEntry* buckets = new_buckets(mint(prime.prime), kQuietFailure);
  if (!buckets) return false;
  DelayedLinker linker(buckets, prime);
  const uint64_t capacity = uint64_t(table->capacity);
  for (uint64_t i = 0; i < capacity; ++i) {
    prefetch_bucket(table, i + kLookAhead);
    for (HashEntry entry = table->buckets[i]; entry;) {
      const HashEntry next = entry->next;
      linker.add(entry);
      entry = next;
    }
  }
  linker.finish();
  zfree(table->buckets);
  table->buckets = buckets;
  table->capacity = mint(prime.prime);
  table->step = step;
  return true;
}

bool must_grow(const st_HashTable* table) {
  return table->flags & HASH_TABLE_GROWS && table->capacity <= INT64_MAX - 1 &&
         double(table->count) > double(table->capacity) * HashTableGrowLoadFactor;
}

bool must_shrink(const st_HashTable* table) {
  return table->flags & HASH_TABLE_SHRINKS && table->capacity > table->initial_capacity &&
         double(table->count) < double(table->capacity) * HashTableShrinkLoadFactor;
}

// A visit of all entries, during which buckets and chains stay in place.
class Visit {
 public:
  explicit Visit(st_HashTable* table) : table_(table) { ++table->visits; }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

  // The outermost visit makes up for what was put off, step by step.
  ~Visit() {
    if (--table_->visits != 0) return;
    const uint16_t due = table_->rehash_due;
    table_->rehash_due = 0;
    if (due & kGrowthDue)
      while (must_grow(table_) && rehash(table_, 1)) {
      }
    if (due & kShrinkDue)
      while (must_shrink(table_) && rehash(table_, -1)) {
      }
  }

 private:
  st_HashTable* table_;
};

void grow_if_due(st_HashTable* table) {
  if (!must_grow(table)) [[likely]]
    return;
  if (table->visits)
    table->rehash_due |= kGrowthDue;
  else
    rehash(table, 1);
}

void shrink_if_due(st_HashTable* table) {
  if (!must_shrink(table)) [[likely]]
    return;
  if (table->visits)
    table->rehash_due |= kShrinkDue;
  else
    rehash(table, -1);
}

uint64_t hash_of(const st_HashTable* table, void* const* key) {
  return table->hash ? table->hash(key) : uint64_t(*key);
}

HashEntry find(const st_HashTable* table, uint64_t hash, void* const* key, HashEqualFunction equal) {
  return Bucket(table, hash).find(hash, [=](HashEntry entry) { return !equal || equal(entry, key); }).entry;
}

// Gives up an entry that is no longer linked.
void release_entry(st_HashTable* table, HashEntry entry, bool weak) {
  const std::unique_ptr<st_HashEntry, Release> holder(entry);
  if (weak) WeakHashTable_Remove(table, entry);
  if (table->free_entry) table->free_entry(entry);
}

// Whether there was no memory for the copy of an entry's key.
bool lacks_key(const st_HashTable* table, HashEntry entry) {
  if (entry->key) return false;
  return table->set_key == SetHashString ||
         (table->set_key == copy_integer_array && integer_array_key_length > 0);
}

int32_t remove_first(st_HashTable* table, const st_HashEntry& probe, bool weak) {
  const HashEqualFunction equal = table->equal;
  const Bucket bucket(table, probe.hash);
  const auto found = bucket.find(probe.hash, [&](HashEntry entry) { return !equal || equal(&probe, entry); });
  if (!found.entry) return 0;
  remove_found(table, bucket, found, weak);
  return 1;
}

void remove_all(st_HashTable* table) {
  const bool weak = table->flags & HASH_TABLE_WEAK;
  const uint64_t capacity = uint64_t(table->capacity);
  for (uint64_t i = 0; i < capacity && table->count > 0; ++i) {
    prefetch_bucket(table, i + kLookAhead);
    while (const HashEntry entry = table->buckets[i]) {
      Bucket::at(table, i).unlink(0);
      --table->count;
      release_entry(table, entry, weak);
    }
  }
}

// The first step of a table for so many entries.
mint step_for(mint size) {
  const uint64_t magnitude = size < 0 ? -uint64_t(size) : uint64_t(size);
  mint step = std::min<mint>(std::bit_width(magnitude), kLastStep);
  if (mint(kPrimeSteps[size_t(step)].prime) < size) ++step;
  return std::clamp(step, kFirstStep, kLastStep);
}

}  // namespace

HashEntry insert_entry(st_HashTable* table, void* key, uint64_t hash) {
  Bucket(table, hash).prefetch();
  std::unique_ptr<st_HashEntry, Release> entry(
      static_cast<HashEntry>(zalloc(sizeof(st_HashEntry), 0, kFatalFailure)));
  if (!entry) return nullptr;
  *entry = {nullptr, nullptr, hash, nullptr};
  if (table->new_entry) table->new_entry(entry.get());
  if (table->set_key)
    table->set_key(entry.get(), &key);
  else
    entry->key = key;
  if (lacks_key(table, entry.get())) {
    release_entry(table, entry.release(), false);
    return nullptr;
  }
  Bucket(table, hash).push(entry.get());
  ++table->count;
  const HashEntry added = entry.release();
  if (table->flags & HASH_TABLE_WEAK) WeakHashTable_Add(table, added);
  grow_if_due(table);
  return added;
}

void remove_found(st_HashTable* table, const Bucket& bucket, const Bucket::Found& found, bool weak) {
  bucket.unlink(found.place);
  --table->count;
  release_entry(table, found.entry, weak);
  shrink_if_due(table);
}

}  // namespace zenthar

using namespace zenthar;

HashTable New_HashTable(mint size, HashFunction hash, HashSetKeyFunction set_key, HashEqualFunction equal,
                        HashEntryFunction new_entry, HashEntryFunction free_entry) {
  std::unique_ptr<st_HashTable, Release> table(
      static_cast<HashTable>(zalloc(sizeof(st_HashTable), 0, kFatalFailure)));
  if (!table) return nullptr;
  const mint step = step_for(size);
  const mint capacity = mint(kPrimeSteps[size_t(step)].prime);
  HashEntry* buckets = new_buckets(capacity, kFatalFailure);
  if (!buckets) return nullptr;
  *table = {.buckets = buckets,
            .hash = hash,
            .set_key = set_key,
            .equal = equal,
            .new_entry = new_entry,
            .free_entry = free_entry,
            .reserved = nullptr,
            .initial_capacity = capacity,
            .capacity = capacity,
            .initial_step = step,
            .step = step,
            .count = 0,
            .flags = HASH_TABLE_DEFAULT | HASH_TABLE_GROWS | HASH_TABLE_SHRINKS,
            .visits = 0,
            .rehash_due = 0};
  return table.release();
}

void HashEntry_NewGeneral(HashEntry) {}

HashEntry HashTable_Add(HashTable table, void* key) { return insert_entry(table, key, hash_of(table, &key)); }

HashEntry HashTable_GetOrAdd(HashTable table, void* key, int32_t* added) {
  const uint64_t hash = hash_of(table, &key);
  HashEntry entry = find(table, hash, &key, table->equal);
  if (added) *added = !entry;
  if (!entry) {
    entry = insert_entry(table, key, hash);
    if (added && !entry) *added = 0;
  }
  return entry;
}

HashEntry HashTable_AddValue(HashTable table, void* key, void* value) {
  const HashEntry entry = HashTable_Add(table, key);
  if (entry) entry->value = value;
  return entry;
}

HashEntry HashTable_GetUsingFunction(HashTable table, void* key) {
  return find(table, hash_of(table, &key), &key, table->equal);
}

void* HashTable_GetValue(HashTable table, void* key) {
  const HashEntry entry = find(table, hash_of(table, &key), &key, table->hash ? table->equal : nullptr);
  return entry ? entry->value : nullptr;
}

int32_t HashTable_RemoveElem(HashTable table, void* key) {
  const st_HashEntry probe = {key, nullptr, hash_of(table, &key), nullptr};
  return remove_first(table, probe, table->flags & HASH_TABLE_WEAK);
}

int32_t HashTable_OrOverAllEntries(HashTable table, HashVisitFunction fn, void* data) {
  const Visit visit(table);
  const uint64_t capacity = uint64_t(table->capacity);
  for (uint64_t i = 0; i < capacity; ++i) {
    prefetch_bucket(table, i + kLookAhead);
    for (HashEntry entry = table->buckets[i]; entry;) {
      const HashEntry next = entry->next;
      if (fn(entry, data)) return 1;
      entry = next;
    }
  }
  return 0;
}

mint HashTable_ByteCount(HashTable table, HashEntryBytesFunction entry_bytes) {
  if (!table) return 0;
  mint bytes = mint(sizeof(st_HashTable)) + table->capacity * mint(sizeof(HashEntry)) +
               table->count * mint(sizeof(st_HashEntry));
  if (!entry_bytes) return bytes;
  for (mint i = 0; i < table->capacity; ++i)
    for (HashEntry entry = table->buckets[i]; entry; entry = entry->next) bytes += entry_bytes(entry);
  return bytes;
}

void FreeOrEmpty_HashTable(HashTable table, int32_t free_table) {
  if (!table) return;
  remove_all(table);
  if (free_table) {
    zfree(table->buckets);
    zfree(table);
    return;
  }
  if (table->capacity == table->initial_capacity) return;
  HashEntry* buckets = new_buckets(table->initial_capacity, kFatalFailure);
  if (!buckets) return;  // empty all the same, with more buckets than it began with
  zfree(table->buckets);
  table->buckets = buckets;
  table->capacity = table->initial_capacity;
  table->step = table->initial_step;
}

void SetHashString(HashEntry entry, const void* key) {
  auto* string = *static_cast<const char* const*>(key);
  const size_t bytes = std::strlen(string) + 1;
  entry->key = zalloc(bytes, 0, kFatalFailure);
  if (entry->key) std::memcpy(entry->key, string, bytes);
}

int32_t EqualHashString(const void* entry, const void* key) {
  auto* a = *static_cast<const char* const*>(entry);
  auto* b = *static_cast<const char* const*>(key);
  return a == b || (a && b && std::strcmp(a, b) == 0);
}

void FreeString(HashEntry entry) { zfree(entry->key); }
