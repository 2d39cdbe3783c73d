/* Records of every kind that the printers for gdb show, sound and not, at the place where the test stops it.
 */
#include <string.h>
#include <zenthar/zenthar.h>

static struct st_CompilerError errors[] = {{4, 16}, {4, 46}, {4, 96}, {4, 97}, {4, 403}, {4, -1}};

static void stop(void) { __asm__ volatile(""); }

int main(void) {
  InitRuntimeLibrary(0);
  InitRuntimeLibrary(1);
  InitRuntimeLibrary(4);

  const mint shape[] = {2, 3};
  MTensor reals = MTensor_newAllocatedCommon(MTENSOR_TYPE_REAL, 2, shape, 0);
  for (int i = 0; i < 6; ++i) ((mreal*)reals->data)[i] = i / 4.0;
  MNumericArray all[14] = {0};
  for (int type = 1; type <= 13; ++type) {
    all[type] = MNumericArray_newAllocatedCommon(type, 1, shape, 0);
    memset(all[type]->data, 0, (size_t)(2 * MNumericArray_typeSizeTable[type]));
  }
  memcpy(all[1]->data, "\xff\x7f", 2);
  ((mcomplex*)all[12]->data)[1] = (mcomplex){1.5, -2};
  ((uint16_t*)all[13]->data)[0] = 0x3e00;
  MTensor scalar = MTensor_loadNewRank0(&(mint){-7}, MTENSOR_TYPE_INTEGER);
  MTensor permanent = getEternalMTensor(), none = NULL, wild = (MTensor)(uintptr_t)0x10;
  struct st_MNumericArray broken = *reals, cut = *reals;
  broken.rank = -5;
  cut.data = (void*)(uintptr_t)0x10;

  HashTable words = New_HashTable(0, NULL, NULL, NULL, NULL, NULL);
  for (mint i = 1; i <= 3; ++i) HashTable_AddValue(words, (void*)(uintptr_t)i, (void*)(uintptr_t)(16 * i));
  HashTable strings = New_HashTable(0, StringHash, SetHashString, EqualHashString, NULL, FreeString);
  HashTable_AddValue(strings, "a key", (void*)(uintptr_t)1);
  IntegerArrayHashTable keys = New_IntegerArrayHashTable(2, 0, INTEGER_ARRAY_COPY_KEYS, NULL);
  IntegerArrayHashTable_Add(keys, (mint[]){3, -4})->value = (void*)(uintptr_t)255;
  IntegerArrayHashTable single = New_IntegerArrayHashTable(1, 0, 0, NULL);
  IntegerArrayHashTable_Add(single, (mint[]){-4});
  struct st_HashTable cyclic = *words, torn = *words;
  HashEntry first = words->buckets[1];
  struct st_HashEntry turn = {(void*)(uintptr_t)9, NULL, 0, NULL};
  HashEntry turning[7] = {&turn};
  turn.next = &turn;
  cyclic.buckets = turning;
  torn.buckets = (HashEntry*)(uintptr_t)0x10;
  CompilerError error = errors;

  stop();
  return !(reals && scalar && !none && wild && permanent && keys && single && first && error && broken.rank &&
           cut.rank && torn.count && cyclic.count);
}
