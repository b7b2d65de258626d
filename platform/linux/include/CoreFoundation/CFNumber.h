/* Numbers and truth values as objects. */
#ifndef COREFOUNDATION_CFNUMBER_H
#define COREFOUNDATION_CFNUMBER_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFNumber* CFNumberRef;

/* The two truth values. They live as long as the process; retaining and releasing them does
 * nothing. */
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;

Boolean CFBooleanGetValue(CFBooleanRef boolean);

/* The C types that a number is made from and read into. */
CF_ENUM(CFIndex, CFNumberType){
    kCFNumberSInt32Type = 3,   kCFNumberSInt64Type = 4,    kCFNumberFloat64Type = 6,
    kCFNumberIntType = 9,      kCFNumberLongLongType = 11, kCFNumberDoubleType = 13,
    kCFNumberCGFloatType = 16,
};

/* A new number with the value at valuePtr, which is of the given type. NULL for another type, or if
 * memory is short. */
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType theType, const void* valuePtr);

/* Writes the number to valuePtr as the given type. False if that type cannot hold it exactly: an
 * integer is then cut towards zero and kept within the type's range, and 0 for a NaN. False too for
 * another type, with nothing written. */
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
