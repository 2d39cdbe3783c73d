// A model of the chained hash table that knows every bucket and chain: chains of (key, value) with their
// hashes, and the rules of capacity.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "zenthar/hashing.h"

inline constexpr mint kPrimes[] = {3,    5,    7,    11,   17,    31,    67,    127,    257,   521,
                                   1031, 2053, 4099, 8191, 16411, 32771, 65537, 131071, 262147};

template <class Key>
struct HashTableModel {
  struct Item {
    Key key;
    uint64_t hash, value;
    bool operator==(const Item&) const = default;
  };
  using Chains = std::vector<std::vector<Item>>;

  size_t initial_step, step;
  Chains chains;
  mint count = 0;
  bool grows = true, shrinks = true;
  size_t last_step = std::size(kPrimes) - 1;  // there is no memory for more
  int visits = 0;
  bool growth_due = false, shrink_due = false;

  explicit HashTableModel(size_t first_step)
      : initial_step(first_step), step(first_step), chains(size_t(kPrimes[first_step])) {}

  std::vector<Item>& chain(uint64_t hash) { return chains[hash % chains.size()]; }

  bool must_grow() const { return grows && double(count) > double(chains.size()) * HashTableGrowLoadFactor; }
  bool must_shrink() const {
    return shrinks && step > initial_step &&
           double(count) < double(chains.size()) * HashTableShrinkLoadFactor;
  }
  // False when there is no such step.
  bool rehash(size_t new_step) {
    if (new_step < 2 || new_step > last_step) return false;
    step = new_step;
    const auto capacity = size_t(kPrimes[step]);
    Chains moved(capacity);
    for (const auto& from : chains)
      for (const Item& item : from) {
        auto& to = moved[item.hash % moved.size()];
        to.insert(to.begin(), item);
      }
    chains = std::move(moved);
    return true;
  }
  void add(const Key& key, uint64_t hash, uint64_t value) {
    chain(hash).insert(chain(hash).begin(), {key, hash, value});
    ++count;
    if (!must_grow()) return;
    if (visits)
      growth_due = true;
    else
      rehash(step + 1);
  }
  Item* find(const Key& key, uint64_t hash) {
    for (Item& item : chain(hash))
      if (item.hash == hash && item.key == key) return &item;
    return nullptr;
  }
  bool remove(const Key& key, uint64_t hash) {
    Item* item = find(key, hash);
    if (!item) return false;
    chain(hash).erase(chain(hash).begin() + (item - chain(hash).data()));
    --count;
    if (!must_shrink()) return true;
    if (visits)
      shrink_due = true;
    else
      rehash(step - 1);
    return true;
  }
  void empty() {
    chains.assign(size_t(kPrimes[initial_step]), {});
    step = initial_step;
    count = 0;
  }
  void begin_visit() { ++visits; }
  // The outermost visit makes up for what was put off.
  void end_visit() {
    if (--visits != 0) return;
    if (std::exchange(growth_due, false))
      while (must_grow() && rehash(step + 1)) {
      }
    if (std::exchange(shrink_due, false))
      while (must_shrink() && rehash(step - 1)) {
      }
  }
};
