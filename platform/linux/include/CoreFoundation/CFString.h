/* Immutable text. */
#ifndef COREFOUNDATION_CFSTRING_H
#define COREFOUNDATION_CFSTRING_H

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef uint32_t CFStringEncoding;

CF_ENUM(CFStringEncoding, CFStringBuiltInEncodings){
    kCFStringEncodingUTF8 = 0x08000100,
};

CF_OPTIONS(CFOptionFlags, CFStringCompareFlags){
    kCFCompareCaseInsensitive = 1,
};

/* The constant string for a literal. It lives as long as the process; do not release it. */
#define CFSTR(literal) __CFStringMakeConstantString("" literal "")

/* What CFSTR calls: one object for each distinct text (UTF-8, NUL-terminated). */
CFStringRef __CFStringMakeConstantString(const char* text);

/* Writes the text with a terminating NUL into buffer of bufferSize bytes. encoding is
 * kCFStringEncodingUTF8. False if it does not fit or the encoding is another one; the buffer then
 * holds an empty text. */
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);

/* Orders two strings by code unit; with kCFCompareCaseInsensitive, A to Z and a to z are alike. */
CFComparisonResult CFStringCompare(CFStringRef string1, CFStringRef string2,
                                   CFStringCompareFlags options);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
