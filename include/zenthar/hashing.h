/**
 * @file hashing.h
 * @brief Hashes of byte strings, the chained hash table, and the table keyed by arrays of machine integers.
 *
 * **Byte hashes.** All take a pointer to bytes of any alignment and their count, and have fixed seeds or
 * keys, so a value is the same in every process: hash values decide the order of what tables hold, and are
 * part of the interface. The empty input (the pointer may then be null) is hashed like any other. The 32-bit
 * hashes return their value zero-extended. They are pure and may be called from any thread.
 *
 * **Tables.** A ::HashTable is an array of chains over a prime number of buckets, with callbacks for whatever
 * concerns keys. It grows and shrinks by whole steps of a fixed list of primes, each about twice the one
 * before. Bucket and chain order are defined: an entry is put at the head of bucket `hash % capacity`, and a
 * rehash moves the entries, buckets in order and chains from the head, each to the head of its new bucket.
 *
 * Tables are not synchronised: one thread at a time may work with a table, and with any of the tables keyed
 * by integer arrays. Records, entries and bucket arrays come from zalloc() in failure mode 0; should nomem()
 * return, the call that needed the memory gives null and leaves the table as it was.
 */
#ifndef ZENTHAR_HASHING_H
#define ZENTHAR_HASHING_H

#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** @name Byte hashes
 * @{ */

/** CRC-32: reflected, polynomial 0xEDB88320, initial value and final inversion all ones; 0 when empty. */
ZENTHAR_API uint64_t crc_32_hash(const void* data, uint64_t length);
/** CRC-64: not reflected, polynomial 0x42F0E1EBA9EA3693 of ECMA-182, initial value 0, no final inversion. */
ZENTHAR_API uint64_t crc_64_hash(const void* data, uint64_t length);
/**
 * FNV-1a of 32 bits (Fowler, Noll, Vo) with a seed of 0x8686E159. It differs from the published function: the
 * seed is mixed in by a round of its own, bytes are sign-extended, and the two halves of the length, combined
 * by exclusive or, are mixed in by two rounds at the end.
 */
ZENTHAR_API uint64_t fnv_32_hash(const void* data, uint64_t length);
/**
 * FNV-1a of 64 bits (Fowler, Noll, Vo) with a seed of 0x09AAE5A4F5727A42. It differs from the published
 * function: the seed is mixed in by a round of its own, bytes are sign-extended, and the length is mixed in
 * by a round at the end.
 */
ZENTHAR_API uint64_t fnv_64_hash(const void* data, uint64_t length);
/** MurmurHash3 x86_32 (Appleby), seed 0x4370DD55; of the length, the low 32 bits count. */
ZENTHAR_API uint64_t murmur3_32_32_hash(const void* data, uint64_t length);
/** MurmurHash3 x86_128 (Appleby), seed 0xFC7560E0; the four result words combined by exclusive or. */
ZENTHAR_API uint64_t murmur3_32_128_hash(const void* data, uint64_t length);
/** MurmurHash3 x64_128 (Appleby), seed 0x6641F5B030CFFB2C; the two result words combined by exclusive or. */
ZENTHAR_API uint64_t murmur3_64_128_hash(const void* data, uint64_t length);
/** murmur3_32_32_hash() up to 127 bytes, murmur3_32_128_hash() beyond. */
ZENTHAR_API uint64_t murmur3_32_hash(const void* data, uint64_t length);
/**
 * HalfSipHash-2-4 (Aumasson, Bernstein) with 32 bits of output, key 0xAB89D633792942C2. It differs from the
 * published function: all four words of the state start from the upper halves of SipHash's constants.
 */
ZENTHAR_API uint64_t sip24_32_hash(const void* data, uint64_t length);
/**
 * SipHash-2-4 (Aumasson, Bernstein) with 64 bits of output; its key is the 16 bytes 21 15 de 39 7f ef 98 6f
 * f7 bb 26 71 fe 68 3f ae.
 */
ZENTHAR_API uint64_t sip24_64_hash(const void* data, uint64_t length);

/** A hash of `length` bytes. */
typedef uint64_t (*ByteHashFunction)(const void* data, uint64_t length);
/** The hash that strings and integer arrays are hashed with: murmur3_64_128_hash() until selected otherwise.
 */
extern ZENTHAR_API ByteHashFunction default_hash_fun;
/**
 * Sets ::default_hash_fun by name, for the whole process. Tables that hold entries under another hash no
 * longer find them: select before they are filled.
 * @param name "Murmur3" for murmur3_64_128_hash(), "SIP24" for sip24_64_hash(); any other name, and null,
 * selects murmur3_64_128_hash()
 */
ZENTHAR_API void selectDefaultHashFunction(const char* name);
/** @} */

/** @name Settings
 * Process-wide, set when the library is loaded and again by initialisation phase 0; the host may write them
 * while no table is in use.
 * @{ */

/**
 * Bounds how much of a long string or integer array is hashed. A key of n bytes with n / 2 above this number
 * T gets f(first T bytes) ^ f(last T bytes) ^ f(n as 8 bytes), with f the default hash; any other, f(all
 * bytes). Initially 0x7FFFFFFFFFFFFFFF, which no key reaches.
 */
extern ZENTHAR_API uint64_t HashByteLengthThreshold;
/** A bound on the elements of arrays to be hashed, for compiled code to observe: 0x7FFFFFFFFFFFFFFF. */
extern ZENTHAR_API uint64_t HashArrayLengthThreshold;
/** A table grows when it holds more than this many entries a bucket: 2.0. */
extern ZENTHAR_API mreal HashTableGrowLoadFactor;
/** A table shrinks when, after a removal, it holds fewer than this many entries a bucket: 0.5. */
extern ZENTHAR_API mreal HashTableShrinkLoadFactor;
/** @} */

/** @name Hash tables
 * @{ */

/** What is stored under a key. */
struct st_HashEntry {
  void* key;                 /**< the key word: the key itself or a pointer to what the table keeps of it */
  void* value;               /**< the value word, the caller's to use */
  uint64_t hash;             /**< the full hash of the key */
  struct st_HashEntry* next; /**< next in the chain of the bucket */
};
typedef struct st_HashTable* HashTable; /**< a table */
typedef struct st_HashEntry* HashEntry; /**< an entry */

/** Hashes a key, given a pointer to its key word. */
typedef uint64_t (*HashFunction)(const void* key);
/** Stores a key in a new entry, given a pointer to its key word. */
typedef void (*HashSetKeyFunction)(HashEntry entry, const void* key);
/**
 * Not 0 when two keys are equal. Both arguments point to a key word: of an entry and of the key looked for,
 * or of the probe of a removal and of an entry. Called only where the hashes agree.
 */
typedef int32_t (*HashEqualFunction)(const void* entry, const void* key);
/** Prepares a new entry before its key is set, or releases what an entry owns (not the entry). */
typedef void (*HashEntryFunction)(HashEntry entry);
/** @return the bytes that an entry owns beside its own record */
typedef mint (*HashEntryBytesFunction)(HashEntry entry);
/** Sees one entry; an answer other than 0 ends the visit. */
typedef int32_t (*HashVisitFunction)(HashEntry entry, void* data);

/** Bits of a table's flags. */
enum {
  HASH_TABLE_WEAK = 1,    /**< entries are made known to WeakHashTable_Add() and WeakHashTable_Remove() */
  HASH_TABLE_DEFAULT = 2, /**< set in every new table; has no effect */
  HASH_TABLE_GROWS = 4,   /**< grows by itself */
  HASH_TABLE_SHRINKS = 8  /**< shrinks by itself */
};

/**
 * A chained hash table. Of the fields only `flags` is for others to write, and buckets and chains are for
 * others to read: behind the buckets the table keeps a digest of each chain, by which it finds entries.
 */
struct st_HashTable {
  HashEntry* buckets;           /**< the heads of `capacity` chains */
  HashFunction hash;            /**< null: the key word is the hash */
  HashSetKeyFunction set_key;   /**< null: the key word is stored as it is */
  HashEqualFunction equal;      /**< null: hashes alone decide */
  HashEntryFunction new_entry;  /**< null: nothing to prepare */
  HashEntryFunction free_entry; /**< null: nothing to release */
  void* reserved;               /**< 0 */
  mint initial_capacity;        /**< the capacity that it began with and never shrinks below */
  mint capacity;                /**< number of buckets: the prime of `step` */
  mint initial_step;            /**< number of the prime that is the initial capacity */
  mint step;                    /**< number of the prime that is the capacity, 2 to 63 */
  mint count;                   /**< number of entries */
  int32_t flags;                /**< HASH_TABLE_ bits; 14 when new */
  uint16_t visits;              /**< visits of all entries under way, which put off rehashing */
  uint16_t rehash_due;          /**< what they put off */
};

ZENTHAR_STATIC_ASSERT(sizeof(struct st_HashEntry) == 32, "hash entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashEntry, key) == 0, "hash entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashEntry, value) == 8, "hash entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashEntry, hash) == 16, "hash entry record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashEntry, next) == 24, "hash entry record");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_HashTable) == 104, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, buckets) == 0, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, hash) == 8, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, set_key) == 16, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, equal) == 24, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, new_entry) == 32, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, free_entry) == 40, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, reserved) == 48, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, initial_capacity) == 56, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, capacity) == 64, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, initial_step) == 72, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, step) == 80, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, count) == 88, "hash table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_HashTable, flags) == 96, "hash table record");

/**
 * Makes an empty table.
 * @param size      entries to prepare for: the capacity is the prime next to the power of two above its
 *                  magnitude, 7 at least
 * @param hash      hashes keys; null: the key word is the hash
 * @param set_key   stores keys; null: the key word is stored as it is
 * @param equal     compares keys whose hashes agree; null: equal hashes are equal keys
 * @param new_entry called for every new entry before its key is set, HashEntry_NewGeneral() for one; null:
 *                  nothing to call
 * @param free_entry releases what an entry owns; null: nothing to release
 */
ZENTHAR_API HashTable New_HashTable(mint size, HashFunction hash, HashSetKeyFunction set_key,
                                    HashEqualFunction equal, HashEntryFunction new_entry,
                                    HashEntryFunction free_entry);
/** The new-entry function that does nothing. */
ZENTHAR_API void HashEntry_NewGeneral(HashEntry entry);
/**
 * Inserts an entry, whether or not there is one with an equal key; it is found before that one until the next
 * rehash. The table then grows by one step when it is due; when the memory for that is not to be had, it
 * stays as it is.
 * @param table the table
 * @param key   the key word
 * @return the new entry, its value 0; null, with the table as it was, where there was no memory for it or for
 *         the copy of its key and a replaced nomem() came back
 */
ZENTHAR_API HashEntry HashTable_Add(HashTable table, void* key);
/**
 * The entry with an equal key, or else a new one.
 * @param table      the table
 * @param key        the key word
 * @param[out] added 1 when the entry is new, else 0; may be null
 */
ZENTHAR_API HashEntry HashTable_GetOrAdd(HashTable table, void* key, int32_t* added);
/** HashTable_Add() with a value for the new entry. */
ZENTHAR_API HashEntry HashTable_AddValue(HashTable table, void* key, void* value);
/** @return the entry with an equal key, or null */
ZENTHAR_API HashEntry HashTable_GetUsingFunction(HashTable table, void* key);
/**
 * @return the value word under an equal key, 0 when there is none. In a table without a hash function the key
 * word is looked for by itself, without the equality function.
 */
ZENTHAR_API void* HashTable_GetValue(HashTable table, void* key);
/**
 * Removes the first entry with an equal key and releases it; the table then shrinks by one step when it is
 * due.
 * @return 1 when there was one, else 0
 */
ZENTHAR_API int32_t HashTable_RemoveElem(HashTable table, void* key);
/**
 * Calls `fn(entry, data)` for every entry, buckets in order and each chain from its head, until an answer is
 * not 0.
 *
 * `fn` may remove the entry it is given, and no other that is still to come, and may add entries, which may
 * or may not be seen. A rehash that comes due is made up when the visit ends.
 * @return 1 when an answer ended the visit, else 0
 */
ZENTHAR_API int32_t HashTable_OrOverAllEntries(HashTable table, HashVisitFunction fn, void* data);
/**
 * The bytes of the table: its record, its buckets and its entries, without the digests of the chains, which
 * take another 32 bytes a bucket.
 * @param table       the table; null gives 0
 * @param entry_bytes what each entry owns beside its record; may be null
 */
ZENTHAR_API mint HashTable_ByteCount(HashTable table, HashEntryBytesFunction entry_bytes);
/**
 * Releases every entry, and the table or what it grew by.
 * @param table      the table; null does nothing
 * @param free_table not 0: the table is released; 0: it is left empty, with its initial capacity
 */
ZENTHAR_API void FreeOrEmpty_HashTable(HashTable table, int32_t free_table);
/** @} */

/** @name Callbacks for keys that are NUL-terminated strings
 * The key word is a pointer to the string.
 * @{ */

/** Hashes by ::default_hash_fun, within ::HashByteLengthThreshold. @param p points to the key word */
ZENTHAR_API uint64_t StringHash(const void* p);
ZENTHAR_API void SetHashString(HashEntry entry, const void* key);        /**< keeps a copy from zalloc() */
ZENTHAR_API int32_t EqualHashString(const void* entry, const void* key); /**< 1 for equal strings, else 0 */
ZENTHAR_API void FreeString(HashEntry entry);                            /**< frees the copy */
/** @} */

/** @name Tables keyed by integer arrays
 * All keys of a table have one length. Their callbacks learn it from a process-wide variable that is set for
 * the time of an operation: at most one thread at a time may work with such tables, whichever.
 * @{ */

/** Bits of an integer-array table's flags. */
enum {
  INTEGER_ARRAY_COPY_KEYS = 1, /**< the table keeps copies of the keys, not the caller's pointers */
  INTEGER_ARRAY_FORCE = 2,     /**< keys of length 1 are treated as arrays too */
  INTEGER_ARRAY_SINGLE = 4     /**< set by the table: the key word is the integer itself */
};

/** A table keyed by arrays of `key_length` integers. */
struct st_IntegerArrayHashTable {
  HashTable table; /**< the entries; their key word is the integer or points to the array */
  mint key_length; /**< integers a key */
  void* reserved;  /**< 0 */
  int32_t flags;   /**< INTEGER_ARRAY_ bits */
};
typedef struct st_IntegerArrayHashTable* IntegerArrayHashTable; /**< a table keyed by integer arrays */

ZENTHAR_STATIC_ASSERT(sizeof(struct st_IntegerArrayHashTable) == 32, "integer-array table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_IntegerArrayHashTable, table) == 0, "integer-array table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_IntegerArrayHashTable, key_length) == 8,
                      "integer-array table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_IntegerArrayHashTable, reserved) == 16,
                      "integer-array table record");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_IntegerArrayHashTable, flags) == 24, "integer-array table record");

/**
 * Makes an empty table.
 *
 * Keys of length 1 are kept in the entries themselves, unless INTEGER_ARRAY_FORCE is given;
 * INTEGER_ARRAY_COPY_KEYS then has no effect. Other keys are kept as the caller's pointers, which must stay
 * valid, or as copies.
 * @param key_length integers a key, not negative (null is returned for that)
 * @param size       entries to prepare for, as for New_HashTable()
 * @param flags      INTEGER_ARRAY_COPY_KEYS, INTEGER_ARRAY_FORCE or 0
 * @param free_entry releases what an entry owns, the copy of the key included; null: the copy of the key
 */
ZENTHAR_API IntegerArrayHashTable New_IntegerArrayHashTable(mint key_length, mint size, int32_t flags,
                                                            HashEntryFunction free_entry);
/** Releases the table with its entries; null does nothing. */
ZENTHAR_API void Delete_IntegerArrayHashTable(IntegerArrayHashTable table);
/** HashTable_GetOrAdd() for the key that `key` points to. */
ZENTHAR_API HashEntry IntegerArrayHashTable_GetOrAdd(IntegerArrayHashTable table, const mint* key,
                                                     int32_t* added);
/** HashTable_Add() for the key that `key` points to. */
ZENTHAR_API HashEntry IntegerArrayHashTable_Add(IntegerArrayHashTable table, const mint* key);
/** @return the entry with an equal key, or null */
ZENTHAR_API HashEntry IntegerArrayHashTable_Get(IntegerArrayHashTable table, const mint* key);
/** Removes the first entry with an equal key. @return 1 when there was one, else 0 */
ZENTHAR_API int32_t IntegerArrayHashTable_Remove(IntegerArrayHashTable table, const mint* key);
/** @return the number of entries */
ZENTHAR_API mint IntegerArrayHashTable_Length(IntegerArrayHashTable table);
/** @return the bytes of both records, the buckets and the entries, not of copies of keys */
ZENTHAR_API mint IntegerArrayHashTable_ByteCount(IntegerArrayHashTable table);
/** @} */

ZENTHAR_END_DECLS

#endif
