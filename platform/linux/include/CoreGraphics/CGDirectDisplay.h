/*
 * Displays: enumeration, geometry, modes and pictures.
 *
 * Bounds are in global display coordinates, where one point is one pixel. Every function may be
 * called from any thread, and asks the display server anew: nothing is remembered that plugging a
 * display could make false. A display that is unknown, or gone since it was listed, has zero
 * bounds, no mode, no image, is not the main one, and its service is 0.
 */
#ifndef COREGRAPHICS_CGDIRECTDISPLAY_H
#define COREGRAPHICS_CGDIRECTDISPLAY_H

#include <CoreGraphics/CGError.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>
#include <IOKit/IOTypes.h>
#include <mach/boolean.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* A display. 0 is no display. */
typedef uint32_t CGDirectDisplayID;

/* A display's mode, as it was when it was copied. */
typedef struct CGDisplayMode* CGDisplayModeRef;

/* The active displays, the main display first. With a NULL activeDisplays, *displayCount becomes
 * their number; otherwise up to maxDisplays identifiers are stored and *displayCount becomes how
 * many. kCGErrorIllegalArgument if displayCount is NULL; kCGErrorCannotComplete, with
 * *displayCount 0, if the display server cannot be reached. */
CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               uint32_t* displayCount);

/* The main display; 0 if there is none. */
CGDirectDisplayID CGMainDisplayID(void);

/* 1 if display is the main display, else 0. */
boolean_t CGDisplayIsMain(CGDirectDisplayID display);

/* The display's rectangle in global display coordinates. */
CGRect CGDisplayBounds(CGDirectDisplayID display);

/* The handle that IODisplayCreateInfoDictionary takes. Nothing to release. */
io_service_t CGDisplayIOServicePort(CGDirectDisplayID display);

/* A picture of the whole display, the caller's to release. NULL on failure. */
CGImageRef CGDisplayCreateImage(CGDirectDisplayID display);

/* The display's current mode, the caller's to release with CGDisplayModeRelease. */
CGDisplayModeRef CGDisplayCopyDisplayMode(CGDirectDisplayID display);

/* Size in points, and in pixels. 0 for a NULL mode. */
size_t CGDisplayModeGetWidth(CGDisplayModeRef mode);
size_t CGDisplayModeGetHeight(CGDisplayModeRef mode);
size_t CGDisplayModeGetPixelWidth(CGDisplayModeRef mode);
size_t CGDisplayModeGetPixelHeight(CGDisplayModeRef mode);

/* Refreshes a second; 0 if unknown or the mode is NULL. */
double CGDisplayModeGetRefreshRate(CGDisplayModeRef mode);

/* The layout of a frame-buffer pixel, most significant bit first, for example
 * "--------RRRRRRRRGGGGGGGGBBBBBBBB". The caller's to release. NULL if unknown. */
CFStringRef CGDisplayModeCopyPixelEncoding(CGDisplayModeRef mode);

/* CFRelease for a mode that may be NULL. */
void CGDisplayModeRelease(CGDisplayModeRef mode);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
