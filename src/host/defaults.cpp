// The weak defaults of what an embedding host provides. A strong definition in the host replaces each of
// them.
#include "zenthar/host.h"

#define ZENTHAR_HOST_DEFAULT __attribute__((weak))

// With nobody to tell categories apart, an abort that was requested applies to everything.
ZENTHAR_HOST_DEFAULT mbool watchhandle_c(const char*) { return 1; }

// There is no computation to abort: the null or the status that the request returns carries the failure.
ZENTHAR_HOST_DEFAULT void StartOutOfMemoryAbort(mint) {}

// Nobody keeps weak references: entries of weak tables live like those of any other.
ZENTHAR_HOST_DEFAULT void WeakHashTable_Add(HashTable, HashEntry) {}
ZENTHAR_HOST_DEFAULT void WeakHashTable_Remove(HashTable, HashEntry) {}
