/*
 * Arrays of pointer-sized values.
 *
 * With kCFTypeArrayCallBacks an array holds a reference to each object in it; with NULL callbacks
 * the values are plain pointer-sized numbers, as in a window list.
 */
#ifndef COREFOUNDATION_CFARRAY_H
#define COREFOUNDATION_CFARRAY_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;

typedef const void* (*CFArrayRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFArrayEqualCallBack)(const void* value1, const void* value2);

/* How an array holds its values. A NULL retain or release leaves the value's references alone. */
typedef struct {
    CFIndex version; /* 0 */
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;
    CFArrayEqualCallBack equal;
} CFArrayCallBacks;

/* Values are CoreFoundation objects, retained while they are in the array. */
extern const CFArrayCallBacks kCFTypeArrayCallBacks;

/* A new empty array. capacity is 0: growth has no bound. callBacks is copied; NULL stores plain
 * values. NULL if memory is short. */
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks);

/* A new mutable array with the values and callbacks of array. NULL if memory is short. */
CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                           CFArrayRef array);

/* Number of values in the array. */
CFIndex CFArrayGetCount(CFArrayRef array);

/* The value at index, which is from 0 to the count less one. Lent, not retained. */
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

/* Adds value behind the last one. The array stays as it was if memory is short. */
void CFArrayAppendValue(CFMutableArrayRef array, const void* value);

/* Takes the value at index out; those behind it move down by one. */
void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
