/* The headers as a C host sees them: the assertions in them hold in C too, and handles made by the library
 * read as the records say. */
#include <stdio.h>
#include <string.h>

#include "zenthar/zenthar.h"

/* Beside what the headers assert of each record: those that only the library and its tests look into, and the
 * members of the first words of the others. */
#define AT(record, field, offset) \
  _Static_assert(offsetof(struct record, field) == (offset), #record "." #field)
_Static_assert(sizeof(mint) == 8 && sizeof(mreal) == 8 && sizeof(mbool) == 4, "machine types");
_Static_assert(sizeof(struct st_GuardedFrame) == 8 && sizeof(struct st_GuardedFunction) == 8,
               "guarded calls");
AT(st_AllocatorPageInformation, page_size, 0);
AT(st_AllocatorPageInformation, page_mask, 8);
AT(st_AllocatorPageInformation, chunk_size, 16);
AT(st_AllocatorPageInformation, pages_per_chunk, 24);
AT(st_AllocatorList, head, 0);
AT(st_RandomBuffer, block, 0);
AT(st_RandomBuffer, words, 8);
AT(st_RandomBuffer, fill, 16);
AT(st_RandomBuffer, state, 24);
AT(st_RandomBuffer, copy_state, 32);
AT(st_RandomBuffer, free_state, 40);
AT(st_RandomBuffer, next, 48);
AT(st_RandomBuffer, current, 56);
AT(st_RandomBuffer, left, 64);
AT(st_RandomBuffer, valid_bits, 68);
_Static_assert(sizeof(struct st_RandomBuffer) == 72, "random buffer");
AT(st_PMT32State, mm, 4);
AT(st_PMT32State, nn, 8);
AT(st_PMT32State, rr, 12);
AT(st_PMT32State, ww, 16);
AT(st_PMT32State, wmask, 20);
AT(st_PMT32State, umask, 24);
AT(st_PMT32State, lmask, 28);
AT(st_PMT32State, shift0, 32);
AT(st_PMT32State, shift1, 36);
AT(st_PMT32State, shiftB, 40);
AT(st_PMT32State, shiftC, 44);

static int failures = 0;

static void check(int holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "does not hold: %s\n", what);
  ++failures;
}
#define CHECK(condition) check((condition) != 0, #condition)

static void raise_code(void* arg, void* frame) {
  (void)frame;
  throwZentharException(*(int32_t*)arg);
}

/* A word of a record, wherever the headers say that its fields are. */
static uint64_t word_at(const void* record, size_t offset) {
  uint64_t word;
  memcpy(&word, (const char*)record + offset, sizeof word);
  return word;
}

static void check_tables(void) {
  HashTable table = New_HashTable(8, NULL, NULL, NULL, HashEntry_NewGeneral, NULL);
  HashEntry entry = HashTable_AddValue(table, (void*)(uintptr_t)40, (void*)(uintptr_t)41);
  CHECK(word_at(entry, 0) == 40 && word_at(entry, 8) == 41 && word_at(entry, 16) == 40 &&
        word_at(entry, 24) == 0);
  CHECK(word_at((void*)(uintptr_t)word_at(table, 0), 8 * (40 % 17)) == (uintptr_t)entry);
  CHECK(word_at(table, 32) == (uintptr_t)HashEntry_NewGeneral && word_at(table, 48) == 0);
  CHECK(word_at(table, 56) == 17 && word_at(table, 64) == 17 && word_at(table, 72) == 4 &&
        word_at(table, 80) == 4);
  CHECK(word_at(table, 88) == 1 && (uint32_t)word_at(table, 96) == 14);
  FreeOrEmpty_HashTable(table, 1);

  IntegerArrayHashTable arrays = New_IntegerArrayHashTable(3, 0, INTEGER_ARRAY_COPY_KEYS, NULL);
  CHECK(word_at(arrays, 0) == (uintptr_t)arrays->table && word_at(arrays, 8) == 3 &&
        word_at(arrays, 16) == 0);
  CHECK((uint32_t)word_at(arrays, 24) == INTEGER_ARRAY_COPY_KEYS);
  Delete_IntegerArrayHashTable(arrays);
}

static void check_random(void) {
  RandomGenerator generator = MersenneTwister_alloc(NULL);
  RandomGeneratorState state = generator->state;
  CHECK(word_at(generator, 0) == (uintptr_t)state &&
        word_at(generator, 8) == (uintptr_t)generator->functions);
  CHECK(word_at(generator->functions, 16) == (uintptr_t)Generic_randomMIntegers);
  CHECK(word_at(generator->functions, 24) == (uintptr_t)Generic_randomMReals);
  CHECK(word_at(state, 16) == 1 && word_at(state, 8) != 0);
  MersenneTwister_seedWord(generator, 5489);
  mint drawn;
  generator->functions->integers(&drawn, 1, INT64_MIN, INT64_MAX, generator);
  RandomBuffer buffer = (RandomBuffer)state->data;
  CHECK(buffer->next == 1 && buffer->block[0] == UINT64_C(14514284786278117030));
  MersenneTwister_free(generator);

  ParallelThreadsSchedule schedule = New_ParallelThreadsSchedule(2, 100);
  CHECK(word_at(schedule, 0) == 2 && word_at(schedule, 8) == 100);
  Delete_ParallelThreadsSchedule(schedule);
}

int main(void) {
  ZentharRTL_initialize();
  InitRuntimeLibrary(1);

  const mint dimensions[2] = {2, 3};
  MTensor tensor = MTensor_newAllocatedCommon(MTENSOR_TYPE_COMPLEX, 2, dimensions, 1);
  CHECK(tensor->rank == 2 && tensor->dimensions[0] == 2 && tensor->dimensions[1] == 3);
  CHECK(tensor->numericType == MNUMERICARRAY_TYPE_COMPLEX_REAL64 &&
        tensor->tensorType == MTENSOR_TYPE_COMPLEX);
  CHECK(tensor->flags == (MNUMERICARRAY_FLAG_NUMERIC | MNUMERICARRAY_FLAG_COMPLEX));
  CHECK(tensor->flattenedLength == 6 && tensor->refCount == 1 && tensor->precision == MachinePrecision);
  CHECK(word_at(tensor, 24) == (((uint64_t)0x8b << 32) | 4));
  FreeMTensor(tensor);

  struct st_GuardedFunction guarded = {raise_code};
  struct st_GuardedFrame frame = {&guarded};
  int32_t code = ZENTHAR_ERROR_DOMAIN;
  for (int32_t style = 0; style <= 2; ++style) {
    setExceptionStyle(style);
    CompilerError error = catchExceptionHandler(&code, &frame);
    CHECK(error && error->kind == ZENTHAR_ERROR_KIND_RUNTIME && error->code == 16);
    Delete_CompilerError(error);
  }
  check_tables();
  check_random();
  DeinitializeRuntimeLibrary(1);
  return failures != 0;
}
