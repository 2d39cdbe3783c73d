/**
 * @file zenthar.h
 * @brief Everything: the headers of all families.
 */
#ifndef ZENTHAR_ZENTHAR_H
#define ZENTHAR_ZENTHAR_H

#include "zenthar/array.h"
#include "zenthar/comparison.h"
#include "zenthar/dispatch.h"
#include "zenthar/errors.h"
#include "zenthar/evaluation.h"
#include "zenthar/hashing.h"
#include "zenthar/host.h"
#include "zenthar/memory.h"
#include "zenthar/parallel.h"
#include "zenthar/random.h"
#include "zenthar/runtime.h"
#include "zenthar/scalar.h"
#include "zenthar/threads.h"
#include "zenthar/types.h"

#endif
