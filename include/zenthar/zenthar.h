/**
 * @file zenthar.h
 * @brief Everything: the headers of all families.
 */
#ifndef ZENTHAR_ZENTHAR_H
#define ZENTHAR_ZENTHAR_H

#include "zenthar/memory.h"
#include "zenthar/threads.h"
#include "zenthar/types.h"

#endif
