// Lookup in the chained hash table, for those who know their keys better than its callbacks do.
#pragma once

#include "hashing/prime_steps.h"
#include "zenthar/hashing.h"

namespace zenthar {

inline HashEntry* bucket_of(const st_HashTable* table, uint64_t hash) {
  return table->buckets + kPrimeSteps[size_t(table->step)].remainder(hash);
}

// The link to the first of some entries with this hash, or to the end of the chain, or three entries on.
//
// Where a chain ends cannot be predicted, and a wrong guess would be known only when the entry has come from
// memory. So the end is stood for by an entry that has the hash, chosen without a branch: one guess an entry,
// not two. (Of the ways tried this one measured best, though by little.)
inline HashEntry* skip_other_hashes(HashEntry* link, uint64_t hash) {
  st_HashEntry end;
  end.hash = hash;
  for (int i = 0; i < 3; ++i) {
    HashEntry entry = *link ? *link : &end;
    asm("" : "+r"(entry));  // keeps the compiler from making a branch of the choice
    if (entry->hash == hash) break;
    link = &entry->next;
  }
  return link;
}

// The link to the first entry with this hash for which `equal` holds, given the entry; to null when none has.
template <class Equal>
inline HashEntry* find_link(const st_HashTable* table, uint64_t hash, Equal equal) {
  HashEntry* link = skip_other_hashes(bucket_of(table, hash), hash);
  for (; *link; link = &(*link)->next)
    if ((*link)->hash == hash && equal(*link)) break;
  return link;
}

// Inserts an entry, whether or not there is an equal one; null when there is no memory for it.
HashEntry insert_entry(st_HashTable* table, void* key, uint64_t hash);

// Removes and releases the entry of a link.
void remove_linked(st_HashTable* table, HashEntry* link, bool weak);

}  // namespace zenthar
