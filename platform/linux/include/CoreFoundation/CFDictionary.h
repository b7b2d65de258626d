/*
 * Dictionaries from string keys to objects, read only: they are made by the functions that hand
 * them out.
 */
#ifndef COREFOUNDATION_CFDICTIONARY_H
#define COREFOUNDATION_CFDICTIONARY_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef const struct __CFDictionary* CFDictionaryRef;

typedef void (*CFDictionaryApplierFunction)(const void* key, const void* value, void* context);

/* The value stored under a key equal to key (a CFStringRef), lent; NULL if there is none. */
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

/* Calls applier once for each pair, on the calling thread, in no promised order. */
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
