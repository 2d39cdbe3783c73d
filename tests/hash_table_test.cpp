// The hash tables: long random sequences against a model that knows every bucket and chain, the callbacks,
// visits that change the table, and every allocation that can fail.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "hash_table_model.h"
#include "hashing/prime_steps.h"
#include "zenthar/hashing.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"

namespace {

// ---- What the host could replace, replaced: requests of chosen sizes fail, and nomem() comes back.
size_t failing_from = SIZE_MAX;  // requests of this size or more get nothing
int nomem_calls = 0;

struct WeakCall {
  bool added;
  HashTable table;
  HashEntry entry;
};
std::vector<WeakCall> weak_calls;

}  // namespace

extern "C" {
void* zalloc(size_t size, int32_t aligned, int32_t failmode) {
  static const auto real = reinterpret_cast<decltype(&zalloc)>(dlsym(RTLD_NEXT, "zalloc"));
  if (size >= failing_from) {
    if (failmode == 0) nomem();
    return nullptr;
  }
  return real(size, aligned, failmode);
}
void* kCalloc(size_t count, size_t size, int32_t aligned, int32_t failmode) {
  void* p = zalloc(count * size, aligned, failmode);
  return p ? std::memset(p, 0, count * size) : nullptr;
}
void nomem() { ++nomem_calls; }
void WeakHashTable_Add(HashTable table, HashEntry entry) { weak_calls.push_back({true, table, entry}); }
void WeakHashTable_Remove(HashTable table, HashEntry entry) { weak_calls.push_back({false, table, entry}); }
}

namespace {

void* word(uint64_t key) { return reinterpret_cast<void*>(key); }

// ---- Callbacks over integer keys that are kept in cells of their own, so that every one can be followed.
std::set<HashEntry> prepared;    // entries given to the new-entry function and not yet released
std::multiset<void*> live_keys;  // copies of keys made and not yet released
int equal_calls = 0;

uint64_t copied_key(const void* key_word) { return **static_cast<const uint64_t* const*>(key_word); }
void prepare(HashEntry entry) {
  EXPECT_EQ(entry->key, nullptr);
  EXPECT_EQ(entry->value, nullptr);
  EXPECT_TRUE(prepared.insert(entry).second);
}
void copy_key(HashEntry entry, const void* key) {
  EXPECT_EQ(prepared.count(entry), 1u);
  entry->key = zalloc(8, 0, 0);
  *static_cast<uint64_t*>(entry->key) = copied_key(key);
  live_keys.insert(entry->key);
}
int32_t equal_keys(const void* entry, const void* key) {
  ++equal_calls;
  return copied_key(entry) == copied_key(key) ? 7 : 0;
}
void release(HashEntry entry) {
  EXPECT_EQ(prepared.erase(entry), 1u) << "an entry is released once";
  EXPECT_EQ(live_keys.erase(entry->key), 1u);
  zfree(entry->key);
}
uint64_t scattered_hash(const void* key) {
  const uint64_t value = copied_key(key);
  return murmur3_64_128_hash(&value, sizeof value);
}
uint64_t colliding_hash(const void* key) { return copied_key(key) % 5; }

using Model = HashTableModel<uint64_t>;

class HashTables : public ::testing::Test {
 protected:
  void SetUp() override { reset(); }
  void TearDown() override {
    EXPECT_TRUE(prepared.empty());
    EXPECT_TRUE(live_keys.empty());
    EXPECT_EQ(nomem_calls, 0);
    reset();
  }
  static void reset() {
    failing_from = SIZE_MAX;
    nomem_calls = equal_calls = 0;
    weak_calls.clear();
    prepared.clear();
    live_keys.clear();
    HashTableGrowLoadFactor = 2.0;
    HashTableShrinkLoadFactor = 0.5;
    HashByteLengthThreshold = 0x7FFFFFFFFFFFFFFF;
  }
};

using KeyOf = uint64_t (*)(HashEntry);

void expect_same_state(HashTable table, const Model& model, KeyOf key_of, bool every_chain) {
  ASSERT_EQ(table->count, model.count);
  ASSERT_EQ(table->capacity, mint(model.chains.size()));
  ASSERT_EQ(table->step, mint(model.step));
  if (!every_chain) return;
  Model::Chains chains(size_t(table->capacity));
  for (size_t i = 0; i < chains.size(); ++i)
    for (HashEntry entry = table->buckets[i]; entry; entry = entry->next)
      chains[i].push_back({key_of(entry), entry->hash, uint64_t(entry->value)});
  ASSERT_EQ(chains, model.chains);
}

// Phases that mostly add and phases that mostly remove, so that capacities go up and down several times.
void run_random_operations(HashTable table, HashFunction hash, bool copied, Model model, uint64_t keys,
                           int operations) {
  std::mt19937_64 random(keys);
  const KeyOf key_of = copied ? [](HashEntry entry) { return *static_cast<uint64_t*>(entry->key); }
                              : [](HashEntry entry) { return uint64_t(entry->key); };
  for (int i = 0; i < operations; ++i) {
    uint64_t key = random() % keys;
    void* key_word = copied ? static_cast<void*>(&key) : word(key);
    const uint64_t h = hash ? hash(&key_word) : key;
    const bool filling = i / (operations / 6) % 2 == 0;
    const uint64_t choice = random() % 10;
    const uint64_t value = random();
    if (choice < (filling ? 3 : 1)) {
      ASSERT_EQ(HashTable_AddValue(table, key_word, word(value))->hash, h);
      model.add(key, h, value);
    } else if (choice < (filling ? 6 : 2)) {
      int32_t added = 9;
      const auto* known = model.find(key, h);
      const HashEntry entry = HashTable_GetOrAdd(table, key_word, choice % 2 ? &added : nullptr);
      ASSERT_EQ(added, choice % 2 ? !known : 9);
      ASSERT_EQ(uint64_t(entry->value), known ? known->value : 0);
      if (!known) model.add(key, h, 0);
    } else if (choice < 8) {
      const auto* known = model.find(key, h);
      const HashEntry entry = HashTable_GetUsingFunction(table, key_word);
      ASSERT_EQ(entry != nullptr, known != nullptr);
      ASSERT_EQ(uint64_t(HashTable_GetValue(table, key_word)), known ? known->value : 0);
    } else {
      ASSERT_EQ(HashTable_RemoveElem(table, key_word), model.remove(key, h));
    }
    if (!filling) {
      ASSERT_EQ(HashTable_RemoveElem(table, key_word), model.remove(key, h));
    }
    ASSERT_NO_FATAL_FAILURE(expect_same_state(table, model, key_of, i % 97 == 0)) << "operation " << i;
  }
  ASSERT_NO_FATAL_FAILURE(expect_same_state(table, model, key_of, true));
  FreeOrEmpty_HashTable(table, 0);
  model.empty();
  ASSERT_NO_FATAL_FAILURE(expect_same_state(table, model, key_of, true));
}

TEST_F(HashTables, RandomOperationsKeepEveryChainAndCapacity) {
  const uint64_t in_use = MemoryInUse();
  HashTable table = New_HashTable(0, scattered_hash, copy_key, equal_keys, prepare, release);
  run_random_operations(table, scattered_hash, true, Model(2), 3000, 30000);
  run_random_operations(table, scattered_hash, true, Model(2), 40, 3000);
  HashTableGrowLoadFactor = 0.75;
  HashTableShrinkLoadFactor = 0.25;
  run_random_operations(table, scattered_hash, true, Model(2), 500, 6000);
  FreeOrEmpty_HashTable(table, 1);
  EXPECT_EQ(MemoryInUse(), in_use);
}

TEST_F(HashTables, CollidingHashesAreToldApartByEquality) {
  HashTable table = New_HashTable(20, colliding_hash, copy_key, equal_keys, prepare, release);
  run_random_operations(table, colliding_hash, true, Model(5), 150, 4000);
  EXPECT_GT(equal_calls, 0);
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, WithoutCallbacksTheKeyWordIsTheHash) {
  HashTable table = New_HashTable(0, nullptr, nullptr, nullptr, nullptr, nullptr);
  run_random_operations(table, nullptr, false, Model(2), 700, 8000);
  FreeOrEmpty_HashTable(table, 1);

  // An equality function that denies everything is not asked by GetValue, which has only the word to go by.
  table = New_HashTable(
      0, nullptr, nullptr, [](const void*, const void*) { return 0; }, nullptr, nullptr);
  HashTable_AddValue(table, word(5), word(50));
  EXPECT_EQ(HashTable_GetValue(table, word(5)), word(50));
  EXPECT_EQ(HashTable_GetUsingFunction(table, word(5)), nullptr);
  EXPECT_EQ(HashTable_RemoveElem(table, word(5)), 0);
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, FlagsTurnGrowthAndShrinkingOff) {
  HashTable table = New_HashTable(0, nullptr, nullptr, nullptr, nullptr, nullptr);
  table->flags &= ~HASH_TABLE_GROWS;
  for (uint64_t i = 0; i < 100; ++i) HashTable_Add(table, word(i));
  EXPECT_EQ(table->capacity, 7);
  table->flags = (table->flags | HASH_TABLE_GROWS) & ~HASH_TABLE_SHRINKS;
  HashTable_Add(table, word(100));
  EXPECT_EQ(table->capacity, 11) << "one step at a time";
  for (uint64_t i = 0; i <= 100; ++i) HashTable_RemoveElem(table, word(i));
  EXPECT_EQ(table->capacity, 11);
  table->flags |= HASH_TABLE_SHRINKS;
  EXPECT_EQ(HashTable_RemoveElem(table, word(0)), 0);
  EXPECT_EQ(table->capacity, 11) << "only a removal shrinks";
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, SizesGiveCapacities) {
  const struct {
    mint size, capacity, step;
  } cases[] = {{0, 7, 2},     {1, 7, 2},        {-3, 7, 2},        {7, 11, 3},           {8, 17, 4},
               {31, 31, 5},   {32, 67, 6},      {100, 127, 7},     {-100, 127, 7},       {127, 127, 7},
               {128, 257, 8}, {8191, 8191, 13}, {8192, 16411, 14}, {1 << 18, 524287, 19}};
  for (const auto& c : cases) {
    HashTable table = New_HashTable(c.size, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(table->capacity, c.capacity) << c.size;
    EXPECT_EQ(table->initial_capacity, c.capacity);
    EXPECT_EQ(table->step, c.step);
    EXPECT_EQ(table->initial_step, c.step);
    EXPECT_EQ(table->count, 0);
    EXPECT_EQ(table->flags, 14);
    EXPECT_EQ(table->reserved, nullptr);
    EXPECT_EQ(HashTable_ByteCount(table, nullptr), 104 + 8 * c.capacity);
    FreeOrEmpty_HashTable(table, 1);
  }
}

TEST_F(HashTables, RemaindersAreExact) {
  std::mt19937_64 random(1);
  for (const auto& step : zenthar::kPrimeSteps) {
    const uint64_t p = step.prime, last = UINT64_MAX - UINT64_MAX % p;
    std::vector<uint64_t> values = {
        0, 1, UINT64_MAX, UINT64_MAX - 1, uint64_t{1} << 63, (uint64_t{1} << 63) - 1};
    for (uint64_t multiple : {p, last, last / p / 2 * p, last - p, random() / p * p})
      for (int i = -2; i <= 2; ++i) values.push_back(multiple + uint64_t(i));
    for (int i = 0; i < 2000; ++i) values.push_back(random() >> random() % 64);
    for (uint64_t n : values) {
      const auto [quotient, remainder] = step.divide(n);
      ASSERT_TRUE(quotient == n / p && remainder == n % p) << n << " by " << p;
    }
  }
  for (size_t i = 0; i < std::size(kPrimes); ++i)
    EXPECT_EQ(zenthar::kPrimeSteps[i].prime, uint64_t(kPrimes[i]));
}

TEST_F(HashTables, ByteCountAddsWhatEntriesOwn) {
  EXPECT_EQ(HashTable_ByteCount(nullptr, nullptr), 0);
  HashTable table = New_HashTable(0, nullptr, nullptr, nullptr, HashEntry_NewGeneral, nullptr);
  for (uint64_t i = 1; i <= 15; ++i) HashTable_Add(table, word(i));
  EXPECT_EQ(HashTable_ByteCount(table, nullptr), 104 + 11 * 8 + 15 * 32);
  EXPECT_EQ(HashTable_ByteCount(table, [](HashEntry entry) { return mint(entry->key); }),
            104 + 11 * 8 + 15 * 32 + 120);
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, StringKeysAreCopiedAndFreed) {
  const uint64_t in_use = MemoryInUse();
  HashTable table =
      New_HashTable(0, StringHash, SetHashString, EqualHashString, HashEntry_NewGeneral, FreeString);
  std::map<std::string, uint64_t> model;
  for (uint64_t i = 0; i < 2000; ++i) {
    std::string key(i % 70, 'a');
    key += std::to_string(i % 900);
    int32_t added;
    const HashEntry entry = HashTable_GetOrAdd(table, key.data(), &added);
    EXPECT_EQ(added == 1, model.find(key) == model.end());
    EXPECT_NE(entry->key, key.data());
    EXPECT_STREQ(static_cast<char*>(entry->key), key.c_str());
    entry->value = word(i);
    model[key] = i;
    key = "overwritten";  // the table has its own copy
  }
  for (auto& [key, value] : model)
    EXPECT_EQ(HashTable_GetValue(table, const_cast<char*>(key.c_str())), word(value));
  EXPECT_EQ(table->count, mint(model.size()));
  char absent[] = "absent";
  EXPECT_EQ(HashTable_GetValue(table, absent), nullptr);
  FreeOrEmpty_HashTable(table, 1);
  EXPECT_EQ(MemoryInUse(), in_use);
}

// ---- Visits.

HashTable table_of(uint64_t keys) {
  HashTable table = New_HashTable(0, nullptr, nullptr, nullptr, nullptr, nullptr);
  for (uint64_t i = 0; i < keys; ++i) HashTable_Add(table, word(i));
  return table;
}

struct VisitLog {
  HashTable table;
  std::vector<uint64_t> seen;
};

TEST_F(HashTables, VisitsGoThroughBucketsInOrderUntilAnAnswer) {
  HashTable table = table_of(40);
  std::vector<uint64_t> expected;
  for (mint i = 0; i < table->capacity; ++i)
    for (HashEntry entry = table->buckets[i]; entry; entry = entry->next)
      expected.push_back(uint64_t(entry->key));
  VisitLog log{table, {}};
  const HashVisitFunction note = [](HashEntry entry, void* data) {
    auto& seen = static_cast<VisitLog*>(data)->seen;
    seen.push_back(uint64_t(entry->key));
    return int32_t(seen.size() == 100 ? -5 : 0);
  };
  EXPECT_EQ(HashTable_OrOverAllEntries(table, note, &log), 0);
  EXPECT_EQ(log.seen, expected);
  log.seen.assign(90, 0);
  EXPECT_EQ(HashTable_OrOverAllEntries(table, note, &log), 1);
  EXPECT_EQ(log.seen.size(), 100u);
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, AVisitorMayRemoveWhatItIsGiven) {
  HashTable table = table_of(1000);
  const mint capacity = table->capacity;
  VisitLog log{table, {}};
  const HashVisitFunction remove_odd = [](HashEntry entry, void* data) {
    auto* l = static_cast<VisitLog*>(data);
    l->seen.push_back(uint64_t(entry->key));
    const mint before = l->table->capacity;
    if (uint64_t(entry->key) % 10) {
      EXPECT_EQ(HashTable_RemoveElem(l->table, entry->key), 1);
    }
    EXPECT_EQ(l->table->capacity, before) << "no rehash during a visit";
    return 0;
  };
  EXPECT_EQ(HashTable_OrOverAllEntries(table, remove_odd, &log), 0);
  EXPECT_EQ(std::set<uint64_t>(log.seen.begin(), log.seen.end()).size(), 1000u);
  EXPECT_EQ(log.seen.size(), 1000u);
  EXPECT_EQ(table->count, 100);
  EXPECT_LT(table->capacity, capacity);
  EXPECT_GE(double(table->count), 0.5 * double(table->capacity)) << "the shrinking is made up";
  for (uint64_t i = 0; i < 1000; ++i)
    EXPECT_EQ(HashTable_GetUsingFunction(table, word(i)) != nullptr, i % 10 == 0);

  // A visit that changes nothing leaves a table that is due for other reasons alone.
  HashTableShrinkLoadFactor = 100.0;
  const mint settled = table->capacity;
  EXPECT_EQ(HashTable_OrOverAllEntries(
                table, [](HashEntry, void*) { return 0; }, nullptr),
            0);
  EXPECT_EQ(table->capacity, settled);
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, GrowthInNestedVisitsIsMadeUpByTheOutermost) {
  HashTable table = table_of(14);
  EXPECT_EQ(table->capacity, 7);
  const HashVisitFunction add_within = [](HashEntry, void* data) {
    auto* t = static_cast<HashTable>(data);
    const HashVisitFunction add = [](HashEntry, void* inner) {
      for (uint64_t i = 100; i < 200; ++i)
        HashTable_GetOrAdd(static_cast<HashTable>(inner), word(i), nullptr);
      return 1;
    };
    EXPECT_EQ(HashTable_OrOverAllEntries(t, add, t), 1);
    EXPECT_EQ(t->capacity, 7);
    return 1;
  };
  EXPECT_EQ(HashTable_OrOverAllEntries(table, add_within, table), 1);
  EXPECT_EQ(table->count, 114);
  EXPECT_EQ(table->capacity, 67) << "the first capacity that 114 entries do not exceed twice";
  for (uint64_t i = 0; i < 14; ++i) EXPECT_NE(HashTable_GetUsingFunction(table, word(i)), nullptr);
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, AVisitThatEndsByAnExceptionEnds) {
  HashTable table = table_of(14);
  EXPECT_THROW(HashTable_OrOverAllEntries(
                   table, [](HashEntry, void*) -> int32_t { throw 1; }, nullptr),
               int);
  HashTable_Add(table, word(14));
  EXPECT_EQ(table->capacity, 11);
  FreeOrEmpty_HashTable(table, 1);
}

// ---- The host's part, and want of memory.

TEST_F(HashTables, WeakTablesTellTheHostOfEveryEntry) {
  HashTable table = New_HashTable(0, nullptr, nullptr, nullptr, nullptr, nullptr);
  HashTable_Add(table, word(1));
  EXPECT_TRUE(weak_calls.empty());
  table->flags |= HASH_TABLE_WEAK;
  const HashEntry two = HashTable_Add(table, word(2)), three = HashTable_GetOrAdd(table, word(3), nullptr);
  HashTable_GetOrAdd(table, word(3), nullptr);
  HashTable_RemoveElem(table, word(2));
  HashTable_RemoveElem(table, word(2));
  ASSERT_EQ(weak_calls.size(), 3u);
  EXPECT_TRUE(weak_calls[0].added && weak_calls[0].entry == two && weak_calls[0].table == table);
  EXPECT_TRUE(weak_calls[1].added && weak_calls[1].entry == three);
  EXPECT_TRUE(!weak_calls[2].added && weak_calls[2].entry == two && weak_calls[2].table == table);
  FreeOrEmpty_HashTable(table, 1);
  EXPECT_EQ(weak_calls.size(), 5u);
}

TEST_F(HashTables, AFailedRehashLeavesTheTableWhole) {
  HashTable table = New_HashTable(0, scattered_hash, copy_key, equal_keys, prepare, release);
  failing_from = 10000;  // from the array of 257 buckets with their digests on
  for (uint64_t key = 0; key < 1000; ++key) HashTable_AddValue(table, &key, word(key + 1));
  EXPECT_EQ(table->capacity, 127);
  EXPECT_EQ(table->step, 7);
  EXPECT_EQ(table->count, 1000);
  for (uint64_t key = 0; key < 1000; ++key) ASSERT_EQ(HashTable_GetValue(table, &key), word(key + 1));
  failing_from = SIZE_MAX;
  uint64_t key = 1000;
  HashTable_Add(table, &key);
  EXPECT_EQ(table->capacity, 257) << "tried again by the next insertion";
  failing_from = 1000;
  for (key = 0; key < 1000; ++key) ASSERT_EQ(HashTable_RemoveElem(table, &key), 1);
  EXPECT_EQ(table->capacity, 257) << "a smaller array was not to be had either";
  failing_from = SIZE_MAX;
  FreeOrEmpty_HashTable(table, 1);
  EXPECT_EQ(nomem_calls, 0);
}

TEST_F(HashTables, AllocationLimitStopsGrowthOnly) {
  HashTable table = New_HashTable(0, nullptr, nullptr, nullptr, nullptr, nullptr);
  system_allocation_limit = 400000;
  for (uint64_t i = 0; i < 40000; ++i) HashTable_Add(table, word(i));
  EXPECT_EQ(table->capacity, 8191);
  system_allocation_limit = ~uint64_t{0};
  for (uint64_t i = 0; i < 40000; ++i) ASSERT_NE(HashTable_GetUsingFunction(table, word(i)), nullptr);
  FreeOrEmpty_HashTable(table, 1);
}

TEST_F(HashTables, WhatCannotBeAllocatedIsNullAndChangesNothing) {
  const uint64_t in_use = MemoryInUse();
  failing_from = 104;
  EXPECT_EQ(New_HashTable(0, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
  failing_from = 105;
  EXPECT_EQ(New_HashTable(100, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(New_IntegerArrayHashTable(2, 100, 0, nullptr), nullptr);
  EXPECT_EQ(nomem_calls, 3);
  failing_from = SIZE_MAX;
  for (mint size : {INT64_MAX, INT64_MIN, mint{1} << 61, mint{1} << 60})
    EXPECT_EQ(New_HashTable(size, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(nomem_calls, 7);

  HashTable table = New_HashTable(0, nullptr, nullptr, nullptr, nullptr, nullptr);
  failing_from = 32;
  int32_t added = 9;
  EXPECT_EQ(HashTable_GetOrAdd(table, word(1), &added), nullptr);
  EXPECT_EQ(added, 0);
  EXPECT_EQ(HashTable_AddValue(table, word(1), word(2)), nullptr);
  EXPECT_EQ(table->count, 0);
  EXPECT_EQ(nomem_calls, 9);
  failing_from = SIZE_MAX;
  FreeOrEmpty_HashTable(table, 1);
  EXPECT_EQ(MemoryInUse(), in_use);
  nomem_calls = 0;
}

// ---- Tables keyed by integer arrays.

TEST_F(HashTables, SingleIntegersAreKeptInTheEntries) {
  static std::vector<void*> freed;
  freed.clear();
  IntegerArrayHashTable table = New_IntegerArrayHashTable(
      1, 0, INTEGER_ARRAY_COPY_KEYS, [](HashEntry entry) { freed.push_back(entry->key); });
  EXPECT_EQ(table->flags, INTEGER_ARRAY_COPY_KEYS | INTEGER_ARRAY_SINGLE);
  EXPECT_EQ(table->key_length, 1);
  for (mint key : {mint{5}, mint{-1}, INT64_MIN}) {
    int32_t added = 9;
    const HashEntry entry = IntegerArrayHashTable_GetOrAdd(table, &key, &added);
    EXPECT_EQ(added, 1);
    EXPECT_EQ(entry->key, word(uint64_t(key)));
    EXPECT_EQ(entry->hash, murmur3_64_128_hash(&key, 8));
    EXPECT_EQ(IntegerArrayHashTable_GetOrAdd(table, &key, &added), entry);
    EXPECT_EQ(added, 0);
    EXPECT_EQ(IntegerArrayHashTable_Get(table, &key), entry);
  }
  mint key = 6;
  EXPECT_EQ(IntegerArrayHashTable_Get(table, &key), nullptr);
  key = 5;
  IntegerArrayHashTable_Add(table, &key);
  EXPECT_EQ(IntegerArrayHashTable_Length(table), 4);
  EXPECT_EQ(IntegerArrayHashTable_ByteCount(table), 104 + 7 * 8 + 4 * 32 + 32);
  EXPECT_EQ(IntegerArrayHashTable_Remove(table, &key), 1);
  EXPECT_EQ(IntegerArrayHashTable_Remove(table, &key), 1);
  EXPECT_EQ(IntegerArrayHashTable_Remove(table, &key), 0);
  Delete_IntegerArrayHashTable(table);
  EXPECT_EQ(freed.size(), 4u);

  HashByteLengthThreshold = 3;
  table = New_IntegerArrayHashTable(1, 0, 0, nullptr);
  const uint64_t eight = 8;
  EXPECT_EQ(IntegerArrayHashTable_Add(table, &key)->hash,
            murmur3_64_128_hash(&key, 3) ^ murmur3_64_128_hash(reinterpret_cast<char*>(&key) + 5, 3) ^
                murmur3_64_128_hash(&eight, 8));
  Delete_IntegerArrayHashTable(table);
}

TEST_F(HashTables, ArrayKeysAreCopiedOrKeptAsTheyAre) {
  for (const auto& [length, flags] :
       std::vector<std::pair<mint, int32_t>>{{3, 0},
                                             {3, INTEGER_ARRAY_COPY_KEYS},
                                             {1, INTEGER_ARRAY_FORCE},
                                             {1, INTEGER_ARRAY_FORCE | INTEGER_ARRAY_COPY_KEYS}}) {
    const uint64_t in_use = MemoryInUse();
    IntegerArrayHashTable table = New_IntegerArrayHashTable(length, 100, flags, nullptr);
    EXPECT_EQ(table->flags, flags);
    std::map<std::vector<mint>, uint64_t> model;
    std::vector<std::vector<mint>> kept(1500);  // the caller's arrays, for the tables that point to them
    std::mt19937_64 random(uint64_t(length + flags));
    for (size_t i = 0; i < kept.size(); ++i) {
      for (mint k = 0; k < length; ++k) kept[i].push_back(mint(random() % (length == 1 ? 1000 : 10)) - 5);
      std::vector<mint> key = kept[i];
      const mint* given = flags & INTEGER_ARRAY_COPY_KEYS ? key.data() : kept[i].data();
      if (random() % 4 == 0) {
        EXPECT_EQ(IntegerArrayHashTable_Remove(table, given), mint(model.erase(key)));
        continue;
      }
      int32_t added;
      const HashEntry entry = IntegerArrayHashTable_GetOrAdd(table, given, &added);
      EXPECT_EQ(entry->hash, murmur3_64_128_hash(given, uint64_t(8 * length)));
      EXPECT_EQ(added, model.count(key) ? 0 : 1);
      EXPECT_EQ(entry->key == given, added && !(flags & INTEGER_ARRAY_COPY_KEYS));
      entry->value = word(i);
      model[key] = i;
    }
    EXPECT_EQ(IntegerArrayHashTable_Length(table), mint(model.size()));
    for (const auto& [key, value] : model)
      EXPECT_EQ(IntegerArrayHashTable_Get(table, key.data())->value, word(value));
    Delete_IntegerArrayHashTable(table);
    EXPECT_EQ(MemoryInUse(), in_use);
  }
}

TEST_F(HashTables, AFreeEntryFunctionOfTheCallerReplacesTheDefault) {
  static int freed;
  freed = 0;
  const uint64_t in_use = MemoryInUse();
  IntegerArrayHashTable table = New_IntegerArrayHashTable(2, 0, INTEGER_ARRAY_COPY_KEYS, [](HashEntry entry) {
    ++freed;
    zfree(entry->key);
  });
  const mint keys[] = {1, 2, 3, 4};
  IntegerArrayHashTable_Add(table, keys);
  IntegerArrayHashTable_Add(table, keys + 1);
  IntegerArrayHashTable_Remove(table, keys);
  EXPECT_EQ(freed, 1);
  Delete_IntegerArrayHashTable(table);
  EXPECT_EQ(freed, 2);
  EXPECT_EQ(MemoryInUse(), in_use);
  Delete_IntegerArrayHashTable(nullptr);
  EXPECT_EQ(New_IntegerArrayHashTable(-1, 0, 0, nullptr), nullptr);
}

}  // namespace
