// Lookup in the chained hash table, for those who know their keys better than its callbacks do.
#pragma once

#include <algorithm>
#include <bit>

#include "hashing/prime_steps.h"
#include "zenthar/hashing.h"

namespace zenthar {

// What is known of a chain without a look at its entries.
//
// A tag is some bits of the hash that the number of the bucket does not tell. Only entries whose tag fits are
// looked at: a key that is absent seldom costs more than its digest, and the entry of one that is present is
// known at once, without a walk whose end the processor cannot predict.
struct alignas(32) Digest {
  static constexpr int kTagBits = 8;
  static constexpr int kTagged = 8;
  static constexpr int kNear = 3;

  uint64_t tags;          // of the first entries of the chain, the first one lowest; 0 behind the last
  HashEntry near[kNear];  // the first entries themselves, where there is a tag

  uint64_t tag(mint place) const { return tags >> place * kTagBits & ((1 << kTagBits) - 1); }
};

// The digests of so many buckets lie behind them in the same block.
inline constexpr uint64_t kBucketBytes = sizeof(HashEntry) + sizeof(Digest);
inline constexpr uint64_t kPaddingBytes = alignof(Digest) - alignof(HashEntry);

inline Digest* digests_of(HashEntry* buckets, uint64_t capacity) {
  const uintptr_t end = reinterpret_cast<uintptr_t>(buckets + capacity);
  return reinterpret_cast<Digest*>((end + alignof(Digest) - 1) & ~(alignof(Digest) - 1));
}

// The chain where a hash belongs. Places count from its head.
class Bucket {
 public:
  struct Found {
    HashEntry entry;  // null: none
    mint place;
  };

  Bucket(const st_HashTable* table, uint64_t hash)
      : Bucket(table->buckets, kPrimeSteps[size_t(table->step)], hash) {}

  Bucket(HashEntry* buckets, const PrimeStep& step, uint64_t hash)
      : Bucket(buckets, step, step.divide(hash)) {}

  Bucket() = default;

  static Bucket at(const st_HashTable* table, uint64_t index) {
    return {table->buckets, kPrimeSteps[size_t(table->step)], PrimeStep::Division{0, index}};
  }

  void prefetch() const {
    __builtin_prefetch(head_, 1);
    __builtin_prefetch(digest_, 1);
  }

  // The first entry with this hash for which `equal` holds.
  template <class Equal>
  Found find(uint64_t hash, Equal equal) const {
    constexpr uint64_t kOneEach = ~uint64_t{0} / ((1 << Digest::kTagBits) - 1);
    constexpr uint64_t kTopEach = kOneEach << (Digest::kTagBits - 1);
    // A tag that fits leaves 0 here. The lowest 0 is marked rightly; above it a tag may be marked wrongly,
    // but never a place without one, since the top bit of every tag is set.
    const uint64_t others = digest_->tags ^ tag_ * kOneEach;
    for (uint64_t fits = (others - kOneEach) & ~others & kTopEach; fits; fits &= fits - 1) {
      const mint place = std::countr_zero(fits) / Digest::kTagBits;
      const HashEntry entry = place < Digest::kNear ? digest_->near[place] : *link(place);
      if (entry->hash == hash && equal(entry)) [[likely]]
        return {entry, place};
    }
    if (!digest_->tag(Digest::kTagged - 1)) [[likely]]
      return {nullptr, 0};
    mint place = Digest::kTagged;
    for (HashEntry entry = *link(place); entry; entry = entry->next, ++place)
      if (entry->hash == hash && equal(entry)) return {entry, place};
    return {nullptr, 0};
  }

  // Links an entry at the head.
  void push(HashEntry entry) const {
    entry->next = *head_;
    *head_ = entry;
    digest_->tags = digest_->tags << Digest::kTagBits | tag_;
    std::copy_backward(digest_->near, digest_->near + Digest::kNear - 1, digest_->near + Digest::kNear);
    digest_->near[0] = entry;
  }

  // Unlinks the entry of a place.
  void unlink(mint place) const {
    HashEntry* const from = link(place);
    *from = (*from)->next;
    if (place >= Digest::kTagged) return;

    const bool full = digest_->tag(Digest::kTagged - 1);
    const uint64_t before = (uint64_t{1} << place * Digest::kTagBits) - 1;
    digest_->tags = (digest_->tags & before) | (digest_->tags >> Digest::kTagBits & ~before);
    // What lies behind has moved up: there is a new last near entry, and a new last one with a tag.
    constexpr int kLastNear = Digest::kNear - 1, kLastTagged = Digest::kTagged - 1;
    if (place < Digest::kNear) {
      std::copy(digest_->near + place + 1, digest_->near + Digest::kNear, digest_->near + place);
      if (digest_->tag(kLastNear)) digest_->near[kLastNear] = digest_->near[kLastNear - 1]->next;
    }
    if (!full) [[likely]]
      return;
    if (const HashEntry last = *link(kLastTagged))
      digest_->tags |= tag_of(step_->divide(last->hash)) << kLastTagged * Digest::kTagBits;
  }

 private:
  Bucket(HashEntry* buckets, const PrimeStep& step, const PrimeStep::Division& hash)
      : step_(&step),
        head_(buckets + hash.remainder),
        digest_(digests_of(buckets, step.prime) + hash.remainder),
        tag_(tag_of(hash)) {}

  static uint64_t tag_of(const PrimeStep::Division& hash) {
    constexpr uint64_t kTop = uint64_t{1} << (Digest::kTagBits - 1);
    return kTop | (hash.quotient & (kTop - 1));
  }

  HashEntry* link(mint place) const {
    if (place == 0) return head_;
    mint at = std::min<mint>(place, Digest::kNear);
    HashEntry* link = &digest_->near[at - 1]->next;
    for (; at < place; ++at) link = &(*link)->next;
    return link;
  }

  const PrimeStep* step_;
  HashEntry* head_;
  Digest* digest_;
  uint64_t tag_;
};

// Inserts an entry, whether or not there is an equal one; null when there is no memory for it.
HashEntry insert_entry(st_HashTable* table, void* key, uint64_t hash);

// The set-key function of integer-array tables that copy their keys.
void copy_integer_array(HashEntry entry, const void* key);

// Removes and releases what was found in a bucket.
void remove_found(st_HashTable* table, const Bucket& bucket, const Bucket::Found& found, bool weak);

}  // namespace zenthar
