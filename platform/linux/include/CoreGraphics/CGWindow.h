/*
 * Pictures of the desktop and of windows, and the list of windows.
 *
 * A window's number is the one that its toolkit hands to the application: on X11 the identifier of
 * the application's window, not of the frame that a window manager puts around it. A window that no
 * window manager looks after, such as a menu, goes by its own identifier.
 *
 * A picture of chosen windows never shows a pixel of any other window. Where that cannot be made
 * sure of there is no picture: a caller then shows nothing.
 *
 * On X11, pictures of chosen windows need COMPOSITE 0.2, RENDER 0.10 and a screen of true colour;
 * if there are none, a trace line (QOR_COREGRAPHICS_TRACE) says why. From the thread's first one
 * on, until the thread ends, the server keeps the content of every window apart, and with that
 * first one each chosen window is asked to paint itself anew, as some of what it shows may be left
 * from others. So for a moment it may show its background only. Later that happens to parts of a
 * window that is mapped or resized where it overlaps one that is left out.
 */
#ifndef COREGRAPHICS_CGWINDOW_H
#define COREGRAPHICS_CGWINDOW_H

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFString.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* A window of the display server, of any application. */
typedef uint32_t CGWindowID;
#define kCGNullWindowID 0U

/* Who else may read a window's content. On X11 everybody may, and write too. */
CF_ENUM(uint32_t, CGWindowSharingType){
    kCGWindowSharingNone = 0,
    kCGWindowSharingReadOnly = 1,
    kCGWindowSharingReadWrite = 2,
};

/* How a window's content is kept. On X11 not at all where it is covered, or nobody can tell. */
CF_ENUM(uint32_t, CGWindowBackingType){
    kCGBackingStoreRetained = 0,
    kCGBackingStoreNonretained = 1,
    kCGBackingStoreBuffered = 2,
};

CF_OPTIONS(uint32_t, CGWindowListOption){
    kCGWindowListOptionAll = 0, kCGWindowListOptionOnScreenOnly = 1 << 0,
    kCGWindowListOptionIncludingWindow = 1 << 3, /* the given window itself */
};

CF_OPTIONS(uint32_t, CGWindowImageOption){
    kCGWindowImageDefault = 0,
};

/* A picture of screenBounds (global display coordinates, rounded outwards to whole pixels), the
 * caller's to release; NULL if the rectangle is empty, not finite or more than 32767 in a
 * dimension, or on failure.
 *
 * kCGWindowListOptionOnScreenOnly and kCGNullWindowID: everything on screen. What lies outside the
 * screen is zero, in all four bytes of a pixel.
 *
 * kCGWindowListOptionIncludingWindow and a window's number: that window alone, with its frame, at
 * its place, also where others cover it or where it reaches past the screen. All else is zero, in
 * all four bytes. Its own opacity is left aside. NULL if it is not on screen.
 *
 * Any other options: NULL. */
CGImageRef CGWindowListCreateImage(CGRect screenBounds, CGWindowListOption listOption,
                                   CGWindowID windowID, CGWindowImageOption imageOption);

/* The numbers of the windows on screen, mapped but not necessarily in sight, as plain values front
 * to back; the caller's to release. Only for kCGWindowListOptionOnScreenOnly and kCGNullWindowID.
 * NULL for other options, or on failure. */
CFArrayRef CGWindowListCreate(CGWindowListOption option, CGWindowID relativeToWindow);

/* The keys of a window's description, and what is stored under them. The first eight are always
 * there; an optional one is left out if there is nothing to tell.
 *
 * Nobody checks what applications say of themselves: two may give the same name, and a window need
 * not belong to the process that it names. */
extern const CFStringRef kCGWindowNumber;       /* kCFNumberSInt32Type: the CGWindowID */
extern const CFStringRef kCGWindowStoreType;    /* kCFNumberSInt32Type: a CGWindowBackingType */
extern const CFStringRef kCGWindowLayer;        /* kCFNumberIntType: see below */
extern const CFStringRef kCGWindowBounds;       /* CFDictionaryRef for
                                                   CGRectMakeWithDictionaryRepresentation: with its
                                                   frame, in global display coordinates */
extern const CFStringRef kCGWindowSharingState; /* kCFNumberSInt32Type: a CGWindowSharingType */
extern const CFStringRef kCGWindowAlpha;        /* kCFNumberCGFloatType: 0 unseen to 1 opaque */
extern const CFStringRef kCGWindowOwnerPID;     /* kCFNumberIntType: 0 if it is not told */
extern const CFStringRef kCGWindowMemoryUsage;  /* kCFNumberLongLongType: bytes, an estimate */
extern const CFStringRef kCGWindowOwnerName;    /* optional CFStringRef: the application */
extern const CFStringRef kCGWindowName;         /* optional CFStringRef: the title */
extern const CFStringRef kCGWindowIsOnscreen;   /* optional CFBooleanRef */

/* Descriptions of the windows on screen, an array of CFDictionaryRef, front to back: the windows of
 * CGWindowListCreate in the same order, but for one that comes or goes between two calls. The
 * caller's to release. Only for kCGWindowListOptionOnScreenOnly and kCGNullWindowID. NULL for other
 * options, or on failure.
 *
 * The layer is 0 for a usual window, 3 for a tool window or one that is kept above others, 20 for a
 * panel at the screen's edge, 101 for a menu, tooltip or other popup, and -2147483623 for the
 * desktop; a window may be in front of one of a higher layer.
 *
 * Names are UTF-8 of at most a few thousand bytes, blanks in place of control characters. On X11
 * they come from WM_CLASS, and from _NET_WM_NAME or WM_NAME. */
CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeToWindow);

/* A picture of screenBounds (as above, the caller's to release) as it would be if there were only
 * the windows whose numbers are in the array, plain values with the front one first: the desktop's
 * background, and each window with its frame, shape, opacity and alpha channel, also where others
 * cover it. A number that is not of a window on screen is left out. What lies outside the screen is
 * zero, in all four bytes. NULL for a NULL array, for options, or on failure. */
CGImageRef CGWindowListCreateImageFromArray(CGRect screenBounds, CFArrayRef windowArray,
                                            CGWindowImageOption imageOption);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
