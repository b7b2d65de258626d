/*
 * Pictures of the desktop and of windows.
 *
 * Only the picture of everything on screen is offered. Requests that name windows, to leave them
 * out or to show one alone, are refused with NULL: a caller then shows nothing, never a window that
 * it was told to leave out.
 */
#ifndef COREGRAPHICS_CGWINDOW_H
#define COREGRAPHICS_CGWINDOW_H

#include <CoreFoundation/CFArray.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* A window of the display server, of any application. */
typedef uint32_t CGWindowID;
#define kCGNullWindowID 0U

CF_OPTIONS(uint32_t, CGWindowListOption){
    kCGWindowListOptionAll = 0, kCGWindowListOptionOnScreenOnly = 1 << 0,
    kCGWindowListOptionIncludingWindow = 1 << 3, /* the given window itself */
};

CF_OPTIONS(uint32_t, CGWindowImageOption){
    kCGWindowImageDefault = 0,
};

/* A picture of screenBounds (global display coordinates, rounded outwards to whole pixels), the
 * caller's to release. What lies outside the screen is zero, in all four bytes of a pixel. NULL if
 * the rectangle is empty, not finite or more than 32767 in a dimension, if the options ask for
 * anything but everything on screen, or on failure. */
CGImageRef CGWindowListCreateImage(CGRect screenBounds, CGWindowListOption listOption,
                                   CGWindowID windowID, CGWindowImageOption imageOption);

/* The windows (CGWindowID as plain values) that the options choose, front to back. Always NULL at
 * present. */
CFArrayRef CGWindowListCreate(CGWindowListOption option, CGWindowID relativeToWindow);

/* A picture of the given windows alone. Always NULL at present. */
CGImageRef CGWindowListCreateImageFromArray(CGRect screenBounds, CFArrayRef windowArray,
                                            CGWindowImageOption imageOption);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
