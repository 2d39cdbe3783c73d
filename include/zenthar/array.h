/**
 * @file array.h
 * @brief Dense arrays: one header under two views, element types and their names, allocation and dimensions.
 *
 * An array is a 64-byte header with two blocks of its own, the dimension list and the element buffer. The
 * handle `MNumericArray` is the general view, with thirteen element types; `MTensor` is the view of compiled
 * code, with four machine types. Both point to the same record: an `MTensor_` entry maps its type and
 * forwards to the `MNumericArray_` entry of the same name.
 *
 * **Reading inline.** Compiled code may read every field of the header directly: `data`, `dimensions`,
 * `rank`, `flattenedLength`, `numericType`, `tensorType`, `flags`, `precision` and `refCount`. It may write
 * the elements and, under its own discipline, count references. All other changes go through the entries
 * below.
 *
 * **Failure modes** of the allocating entries:
 * - 0: memory that runs out calls nomem(); should that return, the status is 403;
 * - 1: the status is 403, and nothing is said;
 * - 2: StartOutOfMemoryAbort() is called once, then the status is 403.
 *
 * A size that overflows is reported to the interrupt function with size -1 in modes 1 and 2. In mode 0 a byte
 * count that overflows calls nomem(), and should that return, the wrapped count is requested. Status 402
 * (::ZENTHAR_ERROR_NEGATIVE_DIMENSION) comes before anything else, reports nothing and starts no abort. After
 * 402 and 403 the array has its old type, shape, buffer and elements.
 *
 * **Threads.** Headers are not locked and reference counts are plain counters: sharing an array between
 * threads is the callers' affair. Different arrays may be used by different threads at the same time.
 */
#ifndef ZENTHAR_ARRAY_H
#define ZENTHAR_ARRAY_H

#include "zenthar/types.h"

ZENTHAR_BEGIN_DECLS

/** Element type identifier, one of the constants below. */
typedef int32_t MNumericArrayTypeId;

/** Element types, with their canonical names, sizes in bytes, and what they are. */
enum {
  MNUMERICARRAY_TYPE_UNDEFINED = 0,          /**< no type: an empty header */
  MNUMERICARRAY_TYPE_INTEGER8 = 1,           /**< "Integer8", 1 byte */
  MNUMERICARRAY_TYPE_UNSIGNED_INTEGER8 = 2,  /**< "UnsignedInteger8", 1 byte */
  MNUMERICARRAY_TYPE_INTEGER16 = 3,          /**< "Integer16", 2 bytes */
  MNUMERICARRAY_TYPE_UNSIGNED_INTEGER16 = 4, /**< "UnsignedInteger16", 2 bytes */
  MNUMERICARRAY_TYPE_INTEGER32 = 5,          /**< "Integer32", 4 bytes */
  MNUMERICARRAY_TYPE_UNSIGNED_INTEGER32 = 6, /**< "UnsignedInteger32", 4 bytes */
  MNUMERICARRAY_TYPE_INTEGER64 = 7,          /**< "Integer64", 8 bytes: ::mint */
  MNUMERICARRAY_TYPE_UNSIGNED_INTEGER64 = 8, /**< "UnsignedInteger64", 8 bytes */
  MNUMERICARRAY_TYPE_REAL32 = 9,             /**< "Real32", 4 bytes: binary32 */
  MNUMERICARRAY_TYPE_REAL64 = 10,            /**< "Real64", 8 bytes: ::mreal */
  MNUMERICARRAY_TYPE_COMPLEX_REAL32 = 11,    /**< "ComplexReal32", 8 bytes: two binary32 */
  MNUMERICARRAY_TYPE_COMPLEX_REAL64 = 12,    /**< "ComplexReal64", 16 bytes: ::mcomplex */
  MNUMERICARRAY_TYPE_REAL16 = 13             /**< "Real16", 2 bytes: binary16 */
};

/** Machine types of the `MTensor` view. */
enum {
  MTENSOR_TYPE_UNDEFINED = 0, /**< an element type that is no machine type */
  MTENSOR_TYPE_BOOLEAN = 1,   /**< stored as Integer64 */
  MTENSOR_TYPE_INTEGER = 2,   /**< Integer64 */
  MTENSOR_TYPE_REAL = 3,      /**< Real64 */
  MTENSOR_TYPE_COMPLEX = 4    /**< ComplexReal64 */
};

/** Bits of the header's `flags`; the others are kept as they are. */
enum {
  MNUMERICARRAY_FLAG_NUMERIC = 0x00000083,   /**< bits 0, 1 and 7, all set for element types 1 to 13 */
  MNUMERICARRAY_FLAG_COMPLEX = 0x00000008,   /**< bit 3: the element type is 11 or 12 */
  MNUMERICARRAY_FLAG_TYPE = 0x0000008b,      /**< the bits that follow the element type */
  MNUMERICARRAY_FLAG_NOT_OWNED = 0x00800000, /**< bit 23: freeing does nothing */
  MNUMERICARRAY_FLAG_PERMANENT = 0x02000000, /**< bit 25: a permanent array, freeing does nothing */
  MNUMERICARRAY_FLAG_NO_FREE = 0x02800000    /**< the no-free mask: bits 23 and 25 */
};

/** The array header. */
struct st_MNumericArray {
  /** Precision tag: 2^53 for an empty header and integer types, ::MachinePrecision for types 9 to 13. */
  mreal precision;
  mint* dimensions;     /**< `rank` dimensions (the block may hold more); null for rank 0 */
  mint rank;            /**< number of dimensions, 0 for a scalar */
  int32_t tensorType;   /**< 2, 3 or 4 for element types 7, 10 and 12, else 0 */
  uint32_t flags;       /**< flag bits; the high half of a 64-bit word with `tensorType` */
  int32_t numericType;  /**< element type identifier; the four bytes after it are unused */
  mint flattenedLength; /**< number of elements: the product of the dimensions, 1 for rank 0 */
  void* data;           /**< the elements, contiguous, last dimension fastest; null when there are none */
  mint refCount;        /**< reference count */
};
typedef struct st_MNumericArray* MNumericArray; /**< handle, general view */
typedef struct st_MNumericArray* MTensor;       /**< handle, compiled code's view */

ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, precision) == 0, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, dimensions) == 8, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, rank) == 16, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, tensorType) == 24, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, flags) == 28, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, numericType) == 32, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, flattenedLength) == 40, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, data) == 48, "array header");
ZENTHAR_STATIC_ASSERT(offsetof(struct st_MNumericArray, refCount) == 56, "array header");
ZENTHAR_STATIC_ASSERT(sizeof(struct st_MNumericArray) == 64, "array header");

/** @name Tables
 * @{ */
extern ZENTHAR_API const mint MNumericArray_typeSizeTable[14];   /**< bytes per element, by element type */
extern ZENTHAR_API const int32_t MTensorToMNumericArrayType[5];  /**< element type, by machine type */
extern ZENTHAR_API const int32_t MNumericArrayToMTensorType[14]; /**< machine type or 0, by element type */
extern ZENTHAR_API const mint CompilerTypeSizeTable[6];          /**< bytes per scalar, by compiler type */
/** @} */

/** @name Names of element types
 * Names are compared exactly. Lookups may run on any thread, but not during initialisation.
 * @{ */

/**
 * @param name a name of an element type, such as "Integer64", "MachineReal" or "Byte"
 * @return its identifier; 0 for an unknown name or null, and for every name before initialisation phase 1
 */
ZENTHAR_API int32_t MNumericArrayType_fromString(const char* name);
/** @return the canonical name of element types 1 to 13, a static string; null for any other value */
ZENTHAR_API const char* MNumericArrayTypeString(int32_t type);
/**
 * The raw-array view's names: "Integer" is Integer32, "Real" and "Complex" are known, "Half" and the machine
 * types are not.
 * @return the identifier, 0 for an unknown name or null; needs no initialisation
 */
ZENTHAR_API int32_t MRawArrayType_fromString(const char* name);
/** @return the raw-array view's canonical name of types 1 to 12, a static string; null for any other value */
ZENTHAR_API const char* MRawArrayTypeString(int32_t type);
/** @} */

/** @name Headers
 * @{ */

/** Not 0 while arrays are tracked, see initializeTensorMemoryCheck(); tested at every creation and deletion.
 */
extern ZENTHAR_API int32_t trackTensorMemory;

/** @return a new empty header: type 0, rank 0, no data, reference count 1 (allocated in failure mode 0) */
ZENTHAR_API MNumericArray MNumericArray_new(void);
/** MNumericArray_new(). */
ZENTHAR_API MTensor MTensor_new(void);
/**
 * Releases an array with its buffer and dimension list, whatever its reference count. Null, and an array with
 * a bit of ::MNUMERICARRAY_FLAG_NO_FREE, are left alone.
 */
ZENTHAR_API void MNumericArray_delete(MNumericArray array);
/** MNumericArray_delete(). */
ZENTHAR_API void MTensor_delete(MTensor array);
/** MTensor_delete(), the entry for compiled code. */
ZENTHAR_API void FreeMTensor(MTensor array);
/** MNumericArray_delete(), the entry for compiled code. */
ZENTHAR_API void FreeMNumericArray(MNumericArray array);
/** Releases buffer and dimension list and makes the header empty, flags included; its count stays. */
ZENTHAR_API void MNumericArray_freeMemory(MNumericArray array);
/** MNumericArray_freeMemory(). */
ZENTHAR_API void MTensor_freeMemory(MTensor array);
/** Adds 1 to the reference count. */
ZENTHAR_API void MTensor_RefCountIncrement(MTensor array);
/** Takes 1 from the reference count; frees nothing at 0. */
ZENTHAR_API void MTensor_RefCountDecrement(MTensor array);
/** Adds 1 to the reference count. */
ZENTHAR_API void MNumericArray_RefCountIncrement(MNumericArray array);
/** Takes 1 from the reference count; frees nothing at 0. */
ZENTHAR_API void MNumericArray_RefCountDecrement(MNumericArray array);
/** Takes 1 from the reference count, and MTensor_delete() when that gives 0. */
ZENTHAR_API void MTensor_release(MTensor array);
/** @return the bytes that header, dimension list and buffer are charged with, as zalloc_round() counts */
ZENTHAR_API mint MNumericArray_getByteCount(MNumericArray array);
/** MNumericArray_getByteCount(). */
ZENTHAR_API mint MTensor_getByteCount(MTensor array);
/** @return the library's permanent empty array, made in initialisation phase 4; null before */
ZENTHAR_API MTensor getEternalMTensor(void);
/** @} */

/** @name Scalars as arrays
 * @{ */

/**
 * @param value a value of the type, or null to leave the element as it is
 * @param type  element type, 1 to 13
 * @return a new rank-0 array (allocated in failure mode 0), or null for any other type
 */
ZENTHAR_API MNumericArray MNumericArray_loadNewRank0(const void* value, int32_t type);
/** MNumericArray_loadNewRank0() with a machine type, 1 to 4. */
ZENTHAR_API MTensor MTensor_loadNewRank0(const void* value, int32_t tensor_type);
/**
 * One of the calling thread's own rank-0 scratch arrays: three for each element type, made on the thread's
 * first call and freed when it ends. The array must not be freed, kept beyond the thread, or given another
 * shape.
 * @param value a value of the type to load into the array, or null
 * @param type  element type, 1 to 13
 * @param slot  0, 1 or 2
 * @return the address of the array's handle; null for any other type or slot
 */
ZENTHAR_API MNumericArray* MNumericArray_loadSharedRank0(const void* value, int32_t type, mint slot);
/** MNumericArray_loadSharedRank0() with a machine type, 1 to 4. */
ZENTHAR_API MTensor* MTensor_loadSharedRank0(const void* value, int32_t tensor_type, mint slot);
/** @} */

/** @name Allocation
 * `dimensions` holds `rank` numbers, none of them negative; it may lie inside the array's own dimension list.
 * Elements are not initialised. `mode` is the failure mode, see the top of this file.
 * @{ */

/**
 * The number of elements of a shape.
 * @param rank       number of dimensions; 0 or less gives 1
 * @param dimensions the dimensions
 * @param mode       0: a negative dimension, and one whose factor would overflow, calls nomem() and is
 * skipped; any other mode: either gives 2^63 - 1 at once
 * @return the product of the dimensions
 */
ZENTHAR_API mint NumberOfElementsCommon(mint rank, const mint* dimensions, int32_t mode);
/**
 * Gives the array in `*handle`, or a new one when that is null, storage for a type and shape.
 * @param[in,out] handle the array's handle; stays null when a new array cannot be had
 * @param type           element type
 * @param rank           number of dimensions
 * @param dimensions     the dimensions
 * @param mode           failure mode
 * @return 0, 402 or 403
 */
ZENTHAR_API int32_t MNumericArray_allocateCommon(MNumericArray* handle, int32_t type, mint rank,
                                                 const mint* dimensions, int32_t mode);
/**
 * Gives an existing array storage for a type and shape, reusing what it has.
 *
 * With the same shape and type the elements stay untouched; with the same shape and another type the buffer
 * is resized with its bytes; with another shape, too, and the dimension list stays when it is long enough. A
 * shape with a dimension of 0 has no buffer. An undefined element type cannot have elements: 403.
 * @return 0, 402 or 403
 */
ZENTHAR_API int32_t MNumericArray_allocateMemoryCommon(MNumericArray array, int32_t type, mint rank,
                                                       const mint* dimensions, int32_t mode);
/** MNumericArray_allocateMemoryCommon() with the type and shape of `model`. @return 0, 402 or 403 */
ZENTHAR_API int32_t MNumericArray_allocateMemoryLikeCommon(MNumericArray array, MNumericArray model,
                                                           int32_t mode);
/** @return a new array of that type and shape, or null when it cannot be had */
ZENTHAR_API MNumericArray MNumericArray_newAllocatedCommon(int32_t type, mint rank, const mint* dimensions,
                                                           int32_t mode);
/** @return a new array, allocated in failure mode 2, or null when it cannot be had */
ZENTHAR_API MNumericArray Runtime_CreateNumericArray(int32_t type, mint rank, const mint* dimensions);
/** MNumericArray_allocateCommon() with a machine type. @return 0, 402 or 403 */
ZENTHAR_API int32_t MTensor_allocateCommon(MTensor* handle, int32_t tensor_type, mint rank,
                                           const mint* dimensions, int32_t mode);
/** MNumericArray_allocateMemoryCommon() with a machine type. @return 0, 402 or 403 */
ZENTHAR_API int32_t MTensor_allocateMemoryCommon(MTensor array, int32_t tensor_type, mint rank,
                                                 const mint* dimensions, int32_t mode);
/** MNumericArray_allocateMemoryLikeCommon(). @return 0, 402 or 403 */
ZENTHAR_API int32_t MTensor_allocateMemoryLikeCommon(MTensor array, MTensor model, int32_t mode);
/** MNumericArray_newAllocatedCommon() with a machine type. @return a new array, or null */
ZENTHAR_API MTensor MTensor_newAllocatedCommon(int32_t tensor_type, mint rank, const mint* dimensions,
                                               int32_t mode);
/** @} */

/** @name Dimensions
 * @{ */

/**
 * Stores a shape in the header; the buffer is not touched.
 * @param array      the array
 * @param rank       number of dimensions; 0 frees the list, and the element count is 1 then
 * @param dimensions the dimensions; may lie inside the header's own list
 * @param count      the element count to store
 * @param mode       failure mode of the list's allocation; starts no abort
 * @return 0, or 403 with the header unchanged
 */
ZENTHAR_API int32_t MNumericArray_setDimensionsCommon(MNumericArray array, mint rank, const mint* dimensions,
                                                      mint count, int32_t mode);
/**
 * MNumericArray_setDimensionsCommon(), unless `dimensions` is the list that the header holds and `rank` its
 * rank.
 */
ZENTHAR_API int32_t MNumericArray_resetDimensionsCommon(MNumericArray array, mint rank,
                                                        const mint* dimensions, mint count, int32_t mode);
/** MNumericArray_resetDimensionsCommon(). */
ZENTHAR_API int32_t MTensor_resetDimensions(MTensor array, mint rank, const mint* dimensions, mint count,
                                            int32_t mode);
/** @return 1 when one shape begins with the other (a scalar's begins every shape), else 0 */
ZENTHAR_API mbool MNumericArray_compatibleDimensionsQ(MNumericArray a, MNumericArray b);
/** MNumericArray_compatibleDimensionsQ(). */
ZENTHAR_API mbool MTensor_compatibleDimensionsQ(MTensor a, MTensor b);
/**
 * The longer of two compatible shapes, `a`'s when the ranks are equal.
 * @param a               an array
 * @param b               another
 * @param[out] rank_out       its rank
 * @param[out] dimensions_out its dimension list itself, not a copy
 * @return 1, or 0 with nothing stored when the shapes are not compatible
 */
ZENTHAR_API mbool MNumericArray_maxCompatibleDimensions(MNumericArray a, MNumericArray b, mint* rank_out,
                                                        const mint** dimensions_out);
/** MNumericArray_maxCompatibleDimensions(). */
ZENTHAR_API mbool MTensor_maxCompatibleDimensions(MTensor a, MTensor b, mint* rank_out,
                                                  const mint** dimensions_out);
/** @} */

/** @name Tracking
 * A checking mode that finds arrays which are registered twice, freed twice, freed without having been
 * created while it is on, or never freed. While ::trackTensorMemory is not 0, every new header is registered,
 * and deleting an array only marks it: its memory stays until the run ends, so that a second deletion is
 * still recognised. Off, it costs a test of the flag.
 *
 * Arrays may be created and deleted in many threads meanwhile; a mode switch must not coincide with either.
 * A problem is reported once, by one of four texts, and the call that met it goes on: "MTensor already
 * created", "MTensor cannot be found", "MTensor has already been freed", "MTensor not freed".
 * @{ */

/** Receives the text of a problem, in the thread that met it; it may create and delete arrays itself. */
typedef void (*TensorMemoryReporter)(const char* message);
/**
 * Begins a run: an empty table of arrays, and tracking on. The table of an earlier run that was not released
 * is forgotten, not freed. Tracking stays off where there is no memory for the table.
 * @param reporter called for every problem; null for none
 */
ZENTHAR_API void initializeTensorMemoryCheck(TensorMemoryReporter reporter);
/**
 * Registers an array; MNumericArray_new() does so while tracking is on. An array that has a record already is
 * reported and gets another.
 */
ZENTHAR_API void TensorMemory_addNew(MNumericArray array);
/**
 * Marks an array as freed; MNumericArray_delete() does so, instead of releasing it, while tracking is on. An
 * array without a record, or marked already, is reported.
 */
ZENTHAR_API void TensorMemory_free(MNumericArray array);
/**
 * Ends a run: tracking off, and every array that is neither marked freed nor bears
 * ::MNUMERICARRAY_FLAG_NOT_OWNED is reported.
 * @param release not 0: arrays marked freed and all records are released (arrays that were not freed stay
 * with their holders), and a further run needs initializeTensorMemoryCheck(); 0: everything is kept, for
 * another call, before which none of the registered arrays may be deleted
 */
ZENTHAR_API void runTensorMemoryCheck(int32_t release);
/** @} */

ZENTHAR_END_DECLS

#endif
