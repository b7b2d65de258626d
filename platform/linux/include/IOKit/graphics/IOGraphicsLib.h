/* What a display says about itself. */
#ifndef IOKIT_GRAPHICS_IOGRAPHICSLIB_H
#define IOKIT_GRAPHICS_IOGRAPHICSLIB_H

#include <CoreFoundation/CFDictionary.h>
#include <IOKit/IOTypes.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Key of the product name: its value is a dictionary from locale names to names. */
#define kDisplayProductName "DisplayProductName"

enum { kIODisplayOnlyPreferredName = 0x00000200 };

/* The description of the display with the handle that CGDisplayIOServicePort gave, the caller's to
 * release. options is kIODisplayOnlyPreferredName or 0; a display here has a name in one language
 * only, so both give the same. NULL if the display is unknown or the server cannot be reached. */
CFDictionaryRef IODisplayCreateInfoDictionary(io_service_t framebuffer, IOOptionBits options);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
