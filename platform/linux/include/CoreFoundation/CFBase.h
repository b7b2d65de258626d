/*
 * CoreFoundation base types and object lifetime.
 *
 * The part of the CoreFoundation C API that the capture manager uses, with the same names, types
 * and values as on macOS x86-64, so that one source compiles on both systems.
 *
 * Objects are reference counted. A function with Create or Copy in its name gives the caller one
 * reference, which CFRelease gives back; a function with Get lends the object for as long as its
 * owner lives.
 *
 * Every function may be called from any thread. Immutable objects may be shared between threads;
 * a mutable one is changed by one thread at a time.
 */
#ifndef COREFOUNDATION_CFBASE_H
#define COREFOUNDATION_CFBASE_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* An enumeration of a fixed integer type. C before C23 cannot fix the type of an enum, so there
 * the name is the integer type itself and the constants stand beside it. */
#ifdef __cplusplus
#define CF_ENUM(type, name) enum name : type
#define CF_OPTIONS(type, name) \
    typedef type name;         \
    enum : type
#else
#define CF_ENUM(type, name) \
    typedef type name;      \
    enum
#define CF_OPTIONS(type, name) \
    typedef type name;         \
    enum
#endif

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef unsigned char Boolean;
typedef long CFIndex;
typedef unsigned long CFOptionFlags;

/* Any CoreFoundation object, images and display modes included. */
typedef const void* CFTypeRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFAllocator* CFAllocatorRef;

/* The default allocator; NULL means the same. It is the only one there is here. */
extern const CFAllocatorRef kCFAllocatorDefault;

CF_ENUM(CFIndex, CFComparisonResult){
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1,
};

/* Adds a reference to object and returns it. object is not NULL. */
CFTypeRef CFRetain(CFTypeRef object);

/* Gives one reference back; the last one frees the object. object is not NULL. */
void CFRelease(CFTypeRef object);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
