// Hash tables of every kind of key against a model that knows each bucket and chain: insertions, lookups,
// removals, visits that change the table, load factors that make no sense, and bucket arrays that cannot be
// had.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "fuzz.h"
#include "hash_table_model.h"
#include "zenthar/zenthar.h"

namespace {

// There is no memory for more buckets, so that tables stay small enough to be looked at whole.
constexpr size_t kLastStep = 9;
constexpr size_t kMostBucketBytes = size_t(kPrimes[kLastStep]) * 64;  // with what lies beside a bucket

int nomem_calls = 0;
std::multiset<HashEntry> weak_entries;

}  // namespace

extern "C" {
void nomem() { ++nomem_calls; }
void* kCalloc(size_t count, size_t size, int32_t aligned, int32_t failmode) {
  if (count > kMostBucketBytes / size) {
    if (failmode == 0) nomem();
    return nullptr;
  }
  void* p = zalloc(count * size, aligned, failmode);
  return p ? std::memset(p, 0, count * size) : nullptr;
}
void WeakHashTable_Add(HashTable, HashEntry entry) { weak_entries.insert(entry); }
void WeakHashTable_Remove(HashTable, HashEntry entry) {
  REQUIRE(weak_entries.count(entry) == 1);
  weak_entries.erase(entry);
}
}

namespace {

using Key = std::vector<mint>;
using Model = HashTableModel<Key>;

// A table of one kind of key.
class Subject {
 public:
  virtual ~Subject() = default;
  virtual HashTable table() const = 0;
  virtual HashEntry add(const Key& key) = 0;
  virtual HashEntry get_or_add(const Key& key, int32_t* added) = 0;
  virtual HashEntry get(const Key& key) = 0;
  virtual int32_t remove(const Key& key) = 0;
  virtual Key key_of(HashEntry entry) const = 0;
  virtual uint64_t hash_of(const Key& key) const = 0;
  virtual size_t key_length() const { return 1; }
};

// The key word is the key and its hash.
class WordTable : public Subject {
 public:
  explicit WordTable(mint size) : table_(New_HashTable(size, nullptr, nullptr, nullptr, nullptr, nullptr)) {}
  ~WordTable() override { FreeOrEmpty_HashTable(table_, 1); }
  HashTable table() const override { return table_; }
  HashEntry add(const Key& key) override { return HashTable_AddValue(table_, word(key), nullptr); }
  HashEntry get_or_add(const Key& key, int32_t* added) override {
    return HashTable_GetOrAdd(table_, word(key), added);
  }
  HashEntry get(const Key& key) override {
    const HashEntry entry = HashTable_GetUsingFunction(table_, word(key));
    REQUIRE(HashTable_GetValue(table_, word(key)) == (entry ? entry->value : nullptr));
    return entry;
  }
  int32_t remove(const Key& key) override { return HashTable_RemoveElem(table_, word(key)); }
  Key key_of(HashEntry entry) const override { return {reinterpret_cast<mint>(entry->key)}; }
  uint64_t hash_of(const Key& key) const override { return uint64_t(key[0]); }

 private:
  static void* word(const Key& key) { return reinterpret_cast<void*>(key[0]); }
  HashTable table_;
};

// Strings, whose copies the table keeps.
class StringTable : public Subject {
 public:
  explicit StringTable(mint size, bool collide)
      : table_(New_HashTable(size, collide ? first_letter : StringHash, SetHashString, EqualHashString,
                             HashEntry_NewGeneral, FreeString)) {}
  ~StringTable() override { FreeOrEmpty_HashTable(table_, 1); }
  HashTable table() const override { return table_; }
  HashEntry add(const Key& key) override { return HashTable_Add(table_, text(key).data()); }
  HashEntry get_or_add(const Key& key, int32_t* added) override {
    return HashTable_GetOrAdd(table_, text(key).data(), added);
  }
  HashEntry get(const Key& key) override {
    const HashEntry entry = HashTable_GetUsingFunction(table_, text(key).data());
    REQUIRE(HashTable_GetValue(table_, text(key).data()) == (entry ? entry->value : nullptr));
    return entry;
  }
  int32_t remove(const Key& key) override { return HashTable_RemoveElem(table_, text(key).data()); }
  Key key_of(HashEntry entry) const override { return {std::stoll(static_cast<const char*>(entry->key))}; }
  uint64_t hash_of(const Key& key) const override {
    const std::string string = text(key);
    const char* word = string.c_str();
    return table_->hash(&word);
  }

 private:
  static std::string text(const Key& key) { return std::to_string(key[0]); }
  static uint64_t first_letter(const void* key) { return uint64_t(**static_cast<const char* const*>(key)); }
  HashTable table_;
};

// Arrays of integers, copied or the caller's own.
class IntegerArrayTable : public Subject {
 public:
  IntegerArrayTable(mint length, mint size, int32_t flags)
      : table_(New_IntegerArrayHashTable(length, size, flags, nullptr)) {
    if (!table_) return;
    REQUIRE(table_->key_length == length);
    REQUIRE(!!(table_->flags & INTEGER_ARRAY_SINGLE) == (length == 1 && !(flags & INTEGER_ARRAY_FORCE)));
  }
  ~IntegerArrayTable() override { Delete_IntegerArrayHashTable(table_); }
  HashTable table() const override { return table_ ? table_->table : nullptr; }
  HashEntry add(const Key& key) override { return IntegerArrayHashTable_Add(table_, kept(key)); }
  HashEntry get_or_add(const Key& key, int32_t* added) override {
    return IntegerArrayHashTable_GetOrAdd(table_, kept(key), added);
  }
  HashEntry get(const Key& key) override { return IntegerArrayHashTable_Get(table_, key.data()); }
  int32_t remove(const Key& key) override {
    const int32_t removed = IntegerArrayHashTable_Remove(table_, key.data());
    REQUIRE(IntegerArrayHashTable_Length(table_) == table_->table->count);
    return removed;
  }
  Key key_of(HashEntry entry) const override {
    if (table_->flags & INTEGER_ARRAY_SINGLE) return {reinterpret_cast<mint>(entry->key)};
    const mint* first = static_cast<const mint*>(entry->key);
    return Key(first, first + table_->key_length);
  }
  uint64_t hash_of(const Key& key) const override {
    return default_hash_fun(key.data(), key.size() * sizeof(mint));
  }
  size_t key_length() const override { return size_t(table_->key_length); }

 private:
  // Where the table keeps pointers, the key must stay.
  const mint* kept(const Key& key) {
    return table_->flags & INTEGER_ARRAY_COPY_KEYS ? key.data() : keys_.insert(key).first->data();
  }
  IntegerArrayHashTable table_;
  std::set<Key> keys_;
};

class Sequence {
 public:
  explicit Sequence(FuzzedDataProvider& input) : input_(input) {}
  void run();

 private:
  std::unique_ptr<Subject> make();
  void step();
  void visit(int depth);
  static int32_t visit_entry(HashEntry entry, void* visit);
  void change(const Key& key);
  void check(bool every_chain);

  Key key() {
    Key result(subject_->key_length());
    for (mint& word : result) word = input_.ConsumeIntegralInRange<mint>(-3, 60);
    return result;
  }
  void* next_value() { return reinterpret_cast<void*>(++serial_); }

  FuzzedDataProvider& input_;
  std::unique_ptr<Subject> subject_;
  Model model_{2};
  uint64_t serial_ = 0;
};

std::unique_ptr<Subject> Sequence::make() {
  static constexpr mint kNotable[] = {
      0,         100,           400, -100, mint{1} << 20, mint{1} << 40, INT64_MAX, INT64_MAX - 1,
      INT64_MIN, INT64_MIN + 1, -1};
  const mint size = input_.PickValueInArray(kNotable);
  switch (input_.ConsumeIntegralInRange(0, 3)) {
    case 0:
      return std::make_unique<WordTable>(size);
    case 1:
      return std::make_unique<StringTable>(size, input_.ConsumeBool());
    default:
      return std::make_unique<IntegerArrayTable>(input_.ConsumeIntegralInRange<mint>(0, 5), size,
                                                 input_.ConsumeIntegralInRange(0, 3));
  }
}

void Sequence::run() {
  using Limits = std::numeric_limits<double>;
  static constexpr double kFactors[] = {
      2.0, 0.5, 0.0, -1.0, 0.01, 1e300, Limits::infinity(), Limits::quiet_NaN()};
  HashTableGrowLoadFactor = input_.PickValueInArray(kFactors);
  HashTableShrinkLoadFactor = input_.PickValueInArray(kFactors);
  nomem_calls = 0;
  subject_ = make();
  const HashTable table = subject_->table();
  REQUIRE((table == nullptr) == (nomem_calls > 0));
  if (!table) return;
  REQUIRE(table->capacity == kPrimes[table->step]);
  model_ = Model(size_t(table->step));
  model_.last_step = kLastStep;
  if (input_.ConsumeBool()) table->flags |= HASH_TABLE_WEAK;
  for (int i = 0; i < 400 && input_.remaining_bytes() > 0; ++i) {
    step();
    check(i % 8 == 0);
  }
  check(true);
  REQUIRE(nomem_calls == 0);
  subject_.reset();
  REQUIRE(weak_entries.empty());
}

// One operation on the table and the model.
void Sequence::change(const Key& wanted) {
  const uint64_t hash = subject_->hash_of(wanted);
  const auto* known = model_.find(wanted, hash);
  switch (input_.ConsumeIntegralInRange(0, 3)) {
    case 0: {
      const HashEntry entry = subject_->add(wanted);
      REQUIRE(entry && entry->hash == hash && entry->value == nullptr);
      entry->value = next_value();
      model_.add(wanted, hash, serial_);
      break;
    }
    case 1: {
      int32_t added = 9;
      const HashEntry entry = subject_->get_or_add(wanted, &added);
      REQUIRE(entry && added == !known);
      REQUIRE(uint64_t(entry->value) == (known ? known->value : 0));
      if (known) break;
      entry->value = next_value();
      model_.add(wanted, hash, serial_);
      break;
    }
    case 2: {
      const HashEntry entry = subject_->get(wanted);
      REQUIRE((entry != nullptr) == (known != nullptr));
      if (entry) REQUIRE(uint64_t(entry->value) == known->value);
      break;
    }
    default:
      REQUIRE(subject_->remove(wanted) == model_.remove(wanted, hash));
  }
}

void Sequence::step() {
  const HashTable table = subject_->table();
  switch (input_.ConsumeIntegralInRange(0, 11)) {
    case 0:
      return visit(0);
    case 1:
      FreeOrEmpty_HashTable(table, 0);
      return model_.empty();
    case 2:
      table->flags ^= input_.ConsumeBool() ? HASH_TABLE_GROWS : HASH_TABLE_SHRINKS;
      model_.grows = table->flags & HASH_TABLE_GROWS;
      model_.shrinks = table->flags & HASH_TABLE_SHRINKS;
      return;
    case 3:  // many keys at once
      for (int i = 0; i < 40; ++i) {
        Key wanted = key();
        if (!wanted.empty()) wanted[0] += 100 * i;
        const HashEntry entry = subject_->add(wanted);
        entry->value = next_value();
        model_.add(wanted, entry->hash, serial_);
      }
      return;
    default:
      change(key());
  }
}

struct Visit {
  Sequence* sequence;
  int depth;
  uint64_t bucket = 0;
  std::multiset<uint64_t> seen{};
  int left = 100;  // entries added to buckets to come are visited in their turn
};

int32_t Sequence::visit_entry(HashEntry entry, void* data) {
  auto* visit = static_cast<Visit*>(data);
  Sequence* self = visit->sequence;
  Model& model = self->model_;
  const uint64_t bucket = entry->hash % model.chains.size();
  REQUIRE(bucket >= visit->bucket);
  visit->bucket = bucket;
  const auto value = uint64_t(entry->value);
  REQUIRE(visit->seen.insert(value) != visit->seen.end() && visit->seen.count(value) == 1);
  switch (self->input_.ConsumeIntegralInRange(0, 9)) {
    case 0: {
      if (visit->depth > 0) break;  // the entry may be the one that the outer visit sees next
      const Key wanted = self->subject_->key_of(entry);
      const uint64_t hash = entry->hash;
      REQUIRE(self->subject_->remove(wanted) == 1);
      REQUIRE(model.remove(wanted, hash));
      break;
    }
    case 1: {
      if (--visit->left < 0) break;
      const Key wanted = self->key();
      const HashEntry added = self->subject_->add(wanted);
      added->value = self->next_value();
      model.add(wanted, added->hash, self->serial_);
      break;
    }
    case 2:
      if (visit->depth == 0) self->visit(1);
      break;
    case 3:
      return 1;
    default:
      break;
  }
  return 0;
}

void Sequence::visit(int depth) {
  std::multiset<uint64_t> before;
  for (const auto& chain : model_.chains)
    for (const auto& item : chain) before.insert(item.value);
  const mint capacity = subject_->table()->capacity;
  Visit visit{this, depth};
  model_.begin_visit();
  const int32_t answer = HashTable_OrOverAllEntries(subject_->table(), visit_entry, &visit);
  if (depth > 0) REQUIRE(subject_->table()->capacity == capacity);
  model_.end_visit();
  REQUIRE(answer == 0 || answer == 1);
  if (answer == 0 && depth == 1) {
    for (const uint64_t value : before) {
      bool there = false;
      for (const auto& chain : model_.chains)
        for (const auto& item : chain) there = there || item.value == value;
      REQUIRE(!there || visit.seen.count(value) == 1);
    }
  }
}

void Sequence::check(bool every_chain) {
  const HashTable table = subject_->table();
  REQUIRE(table->count == model_.count);
  REQUIRE(table->step == mint(model_.step));
  REQUIRE(table->capacity == mint(model_.chains.size()));
  REQUIRE(!(table->flags & HASH_TABLE_WEAK) || weak_entries.size() == size_t(table->count));
  REQUIRE(HashTable_ByteCount(table, nullptr) == 104 + 8 * table->capacity + 32 * table->count);
  if (!every_chain) return;
  for (mint i = 0; i < table->capacity; ++i) {
    HashEntry entry = table->buckets[i];
    for (const auto& item : model_.chains[size_t(i)]) {
      REQUIRE(entry && entry->hash == item.hash && uint64_t(entry->value) == item.value);
      REQUIRE(subject_->key_of(entry) == item.key);
      entry = entry->next;
    }
    REQUIRE(entry == nullptr);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool started = [] {
    InitRuntimeLibrary(0);
    return MemoryInUse() > 0;
  }();
  REQUIRE(started);
  const uint64_t in_use = MemoryInUse();
  weak_entries.clear();
  FuzzedDataProvider input(data, size);
  Sequence(input).run();
  REQUIRE(MemoryInUse() == in_use);
  return 0;
}
