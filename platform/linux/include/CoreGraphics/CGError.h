/* Result codes. */
#ifndef COREGRAPHICS_CGERROR_H
#define COREGRAPHICS_CGERROR_H

#include <CoreFoundation/CFBase.h>

CF_ENUM(int32_t, CGError){
    kCGErrorSuccess = 0, kCGErrorFailure = 1000, kCGErrorIllegalArgument = 1001,
    kCGErrorCannotComplete = 1004, /* the display server cannot be reached */
};

#endif
