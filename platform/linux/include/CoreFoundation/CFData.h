/* Immutable bytes. */
#ifndef COREFOUNDATION_CFDATA_H
#define COREFOUNDATION_CFDATA_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef const struct __CFData* CFDataRef;

/* The bytes, lent: valid until the data object is freed, and never changed before that. */
const uint8_t* CFDataGetBytePtr(CFDataRef data);

/* Number of bytes. */
CFIndex CFDataGetLength(CFDataRef data);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
