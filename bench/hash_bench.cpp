// The byte hashes against plain code and the libraries that have the same function, and the hash tables
// against std::unordered_map and absl::flat_hash_map with the same hash.
#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "../tests/reference_hashes.h"
#include "zenthar/hashing.h"

namespace {

// ---- Byte hashes.

uint64_t zlib_crc_32(const void* data, uint64_t length) {
  return crc32(0, static_cast<const Bytef*>(data), uInt(length));
}

uint64_t libdeflate_crc_32(const void* data, uint64_t length) { return libdeflate_crc32(0, data, length); }

struct Hash {
  const char* name;
  ByteHashFunction function;
  ByteHashFunction equal_to;  // what it must agree with before it is measured
};

const Hash kHashes[] = {
    {"crc_32/zenthar", crc_32_hash, reference::crc_32},
    {"crc_32/libdeflate", libdeflate_crc_32, reference::crc_32},
    {"crc_32/zlib", zlib_crc_32, reference::crc_32},
    {"crc_32/plain", reference::crc_32, crc_32_hash},
    {"crc_64/zenthar", crc_64_hash, reference::crc_64},
    {"crc_64/plain", reference::crc_64, crc_64_hash},
    {"fnv_32/zenthar", fnv_32_hash, reference::fnv_32},
    {"fnv_32/plain", reference::fnv_32, fnv_32_hash},
    {"fnv_64/zenthar", fnv_64_hash, reference::fnv_64},
    {"fnv_64/plain", reference::fnv_64, fnv_64_hash},
    {"murmur3_32_32/zenthar", murmur3_32_32_hash, reference::murmur3_32_32},
    {"murmur3_32_32/plain", reference::murmur3_32_32, murmur3_32_32_hash},
    {"murmur3_32_128/zenthar", murmur3_32_128_hash, reference::murmur3_32_128},
    {"murmur3_32_128/plain", reference::murmur3_32_128, murmur3_32_128_hash},
    {"murmur3_64_128/zenthar", murmur3_64_128_hash, reference::murmur3_64_128},
    {"murmur3_64_128/plain", reference::murmur3_64_128, murmur3_64_128_hash},
    {"murmur3_32/zenthar", murmur3_32_hash, reference::murmur3_32},
    {"murmur3_32/plain", reference::murmur3_32, murmur3_32_hash},
    {"sip24_32/zenthar", sip24_32_hash, reference::sip24_32},
    {"sip24_32/plain", reference::sip24_32, sip24_32_hash},
    {"sip24_64/zenthar", sip24_64_hash, reference::sip24_64},
    {"sip24_64/plain", reference::sip24_64, sip24_64_hash},
};

const std::vector<unsigned char>& random_bytes() {
  static const std::vector<unsigned char> bytes = [] {
    std::mt19937_64 random(1);
    std::vector<unsigned char> made((size_t{16} << 20) + 64);
    for (auto& byte : made) byte = static_cast<unsigned char>(random());
    return made;
  }();
  return bytes;
}

// Calls that do not wait for each other, as where many keys are hashed.
void hash_bytes(benchmark::State& state, Hash hash) {
  const uint64_t length = uint64_t(state.range(0));
  const unsigned char* data = random_bytes().data();
  if (hash.function(data, length) != hash.equal_to(data, length)) return state.SkipWithError("wrong value");
  for (auto _ : state) benchmark::DoNotOptimize(hash.function(data, length));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

// Each call waits for the one before, as where the hash decides what is looked at next.
void hash_dependent(benchmark::State& state, Hash hash) {
  const uint64_t length = uint64_t(state.range(0));
  const unsigned char* data = random_bytes().data();
  uint64_t value = 0;
  for (auto _ : state) value = hash.function(data + value % 32, length);
  benchmark::DoNotOptimize(value);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

// ---- Tables. Each wrapper has the same five operations; keys are 64-bit integers or C strings.

constexpr size_t kKeys = 1000000;

struct IntegerHash {
  size_t operator()(int64_t key) const { return murmur3_64_128_hash(&key, sizeof key); }
};

struct TextHash {
  using is_transparent = void;
  size_t operator()(std::string_view key) const { return murmur3_64_128_hash(key.data(), key.size()); }
};

template <class Map>
class IntegerMap {
 public:
  void insert(int64_t key, uint64_t value) { map_.try_emplace(key, value); }
  uint64_t find(int64_t key) const {
    const auto found = map_.find(key);
    return found == map_.end() ? 0 : found->second;
  }
  bool remove(int64_t key) { return map_.erase(key) != 0; }
  size_t size() const { return map_.size(); }

 private:
  Map map_;
};

template <class Map>
class TextMap {
 public:
  void insert(const char* key, uint64_t value) { map_.emplace(key, value); }
  uint64_t find(const char* key) const {
    const auto found = map_.find(std::string_view(key));
    return found == map_.end() ? 0 : found->second;
  }
  bool remove(const char* key) {
    const auto found = map_.find(std::string_view(key));
    if (found == map_.end()) return false;
    map_.erase(found);
    return true;
  }
  size_t size() const { return map_.size(); }

 private:
  Map map_;
};

class ZentharIntegers {
 public:
  ~ZentharIntegers() { Delete_IntegerArrayHashTable(table_); }
  void insert(int64_t key, uint64_t value) {
    int32_t added;
    const HashEntry entry = IntegerArrayHashTable_GetOrAdd(table_, &key, &added);
    if (added) entry->value = reinterpret_cast<void*>(value);
  }
  uint64_t find(int64_t key) const {
    const HashEntry entry = IntegerArrayHashTable_Get(table_, &key);
    return entry ? uint64_t(entry->value) : 0;
  }
  bool remove(int64_t key) { return IntegerArrayHashTable_Remove(table_, &key); }
  size_t size() const { return size_t(IntegerArrayHashTable_Length(table_)); }

 private:
  IntegerArrayHashTable table_ = New_IntegerArrayHashTable(1, 0, 0, nullptr);
};

class ZentharTexts {
 public:
  ~ZentharTexts() { FreeOrEmpty_HashTable(table_, 1); }
  void insert(const char* key, uint64_t value) {
    int32_t added;
    const HashEntry entry = HashTable_GetOrAdd(table_, const_cast<char*>(key), &added);
    if (added) entry->value = reinterpret_cast<void*>(value);
  }
  uint64_t find(const char* key) const {
    return uint64_t(HashTable_GetValue(table_, const_cast<char*>(key)));
  }
  bool remove(const char* key) { return HashTable_RemoveElem(table_, const_cast<char*>(key)); }
  size_t size() const { return size_t(table_->count); }

 private:
  HashTable table_ =
      New_HashTable(0, StringHash, SetHashString, EqualHashString, HashEntry_NewGeneral, FreeString);
};

using StdIntegers = IntegerMap<std::unordered_map<int64_t, uint64_t, IntegerHash>>;
using AbslIntegers = IntegerMap<absl::flat_hash_map<int64_t, uint64_t, IntegerHash>>;
using StdTexts = TextMap<std::unordered_map<std::string, uint64_t, TextHash, std::equal_to<>>>;
using AbslTexts = TextMap<absl::flat_hash_map<std::string, uint64_t, TextHash, std::equal_to<>>>;

// Distinct keys to insert, the same in another order, and as many that are never inserted.
template <class Key>
struct KeySets {
  std::vector<Key> inserted, shuffled, absent;
};

const KeySets<int64_t>& keys_of(int64_t) {
  static const KeySets<int64_t> sets = [] {
    KeySets<int64_t> made;
    std::mt19937_64 random(2);
    for (size_t i = 0; i < 2 * kKeys; ++i)  // the lowest bit tells the sets apart
      (i % 2 ? made.absent : made.inserted).push_back(int64_t(random() << 1 | i % 2));
    std::sort(made.inserted.begin(), made.inserted.end());
    made.inserted.erase(std::unique(made.inserted.begin(), made.inserted.end()), made.inserted.end());
    std::shuffle(made.inserted.begin(), made.inserted.end(), random);
    made.shuffled = made.inserted;
    std::shuffle(made.shuffled.begin(), made.shuffled.end(), random);
    return made;
  }();
  return sets;
}

const KeySets<const char*>& keys_of(const char*) {
  static std::vector<char> text;
  static const KeySets<const char*> sets = [] {
    KeySets<const char*> made;
    std::mt19937_64 random(3);
    text.reserve(2 * kKeys * 48);
    for (size_t i = 0; i < 2 * kKeys; ++i) {
      const size_t at = text.size();
      for (size_t length = 4 + random() % 28; length > 0; --length) text.push_back(char('a' + random() % 26));
      for (size_t number = i; number > 0; number /= 10) text.push_back(char('0' + number % 10));
      text.push_back('\0');
      (i % 2 ? made.absent : made.inserted).push_back(text.data() + at);
    }
    made.shuffled = made.inserted;
    std::shuffle(made.shuffled.begin(), made.shuffled.end(), random);
    return made;
  }();
  return sets;
}

// Processor time of this thread: what others do on the machine meanwhile costs less than by the clock.
double seconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

// Takes the time of one iteration, and checks what was done in it.
template <class Work>
void time_work(benchmark::State& state, size_t expected, Work&& work) {
  const double start = seconds();
  const size_t done = work();
  state.SetIterationTime(seconds() - start);
  if (done != expected) state.SkipWithError("wrong result");
}

template <class Map, class Key>
void fill(Map& map, const KeySets<Key>& keys) {
  uint64_t value = 1;
  for (Key key : keys.inserted) map.insert(key, value++);
}

template <class Map, class Key>
void insert_keys(benchmark::State& state) {
  const auto& keys = keys_of(Key{});
  for (auto _ : state) {
    auto map = std::make_unique<Map>();
    time_work(state, keys.inserted.size(), [&] {
      fill(*map, keys);
      return map->size();
    });
  }
}

template <class Map, class Key>
void look_up(benchmark::State& state, const std::vector<Key>& wanted, size_t hits) {
  Map map;
  fill(map, keys_of(Key{}));
  for (auto _ : state)
    time_work(state, hits, [&] {
      size_t found = 0;
      for (Key key : wanted) found += map.find(key) != 0;
      return found;
    });
}

template <class Map, class Key>
void find_keys(benchmark::State& state) {
  look_up<Map, Key>(state, keys_of(Key{}).shuffled, keys_of(Key{}).shuffled.size());
}

template <class Map, class Key>
void miss_keys(benchmark::State& state) {
  look_up<Map, Key>(state, keys_of(Key{}).absent, 0);
}

template <class Map, class Key>
void remove_keys(benchmark::State& state) {
  const auto& keys = keys_of(Key{});
  for (auto _ : state) {
    auto map = std::make_unique<Map>();
    fill(*map, keys);
    time_work(state, keys.shuffled.size(), [&] {
      size_t removed = 0;
      for (Key key : keys.shuffled) removed += map->remove(key);
      return removed;
    });
  }
}

template <class Map, class Key>
void register_table(const std::string& kind, const std::string& name) {
  const struct {
    const char* operation;
    void (*run)(benchmark::State&);
  } rows[] = {{"insert", insert_keys<Map, Key>},
              {"find", find_keys<Map, Key>},
              {"miss", miss_keys<Map, Key>},
              {"remove", remove_keys<Map, Key>}};
  for (const auto& row : rows)
    benchmark::RegisterBenchmark(("table/" + kind + "/" + row.operation + "/" + name).c_str(), row.run)
        ->UseManualTime()
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);
}

void register_hashes() {
  for (const Hash& hash : kHashes) {
    const std::string name = std::string("hash/") + hash.name;
    benchmark::RegisterBenchmark(name.c_str(), hash_bytes, hash)
        ->Arg(16)
        ->Arg(256)
        ->Arg(64 << 10)
        ->Arg(16 << 20);
    benchmark::RegisterBenchmark((name + "/dependent").c_str(), hash_dependent, hash)->Arg(16);
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_hashes();
  register_table<ZentharIntegers, int64_t>("integers", "zenthar");
  register_table<StdIntegers, int64_t>("integers", "std");
  register_table<AbslIntegers, int64_t>("integers", "absl");
  register_table<ZentharTexts, const char*>("strings", "zenthar");
  register_table<StdTexts, const char*>("strings", "std");
  register_table<AbslTexts, const char*>("strings", "absl");
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
