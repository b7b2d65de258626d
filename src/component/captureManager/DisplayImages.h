// The display services' calls that make images, under names of our own. The SDKs from macOS 15 on
// declare these calls as withdrawn, so that their own names no longer compile, while the systems
// still have them. Should one lack them some day, the library still loads there, and what they make
// is null.
#ifndef QOR_CONF_DISPLAYIMAGES_H
#define QOR_CONF_DISPLAYIMAGES_H

#include <CoreGraphics/CoreGraphics.h>

namespace display_images {

extern "C" {

#define QOR_TEXT(token) #token
#define QOR_TEXT_OF(macro) QOR_TEXT(macro)
#define QOR_PLATFORM_CALL(name) asm(QOR_TEXT_OF(__USER_LABEL_PREFIX__) #name) __attribute__((weak))

CGImageRef displayCreateImage(CGDirectDisplayID display) QOR_PLATFORM_CALL(CGDisplayCreateImage);
CGImageRef windowListCreateImage(CGRect area, CGWindowListOption option, CGWindowID window,
                                 CGWindowImageOption imageOption)
    QOR_PLATFORM_CALL(CGWindowListCreateImage);
CGImageRef windowListCreateImageFromArray(CGRect area, CFArrayRef windows,
                                          CGWindowImageOption imageOption)
    QOR_PLATFORM_CALL(CGWindowListCreateImageFromArray);

#undef QOR_PLATFORM_CALL
#undef QOR_TEXT_OF
#undef QOR_TEXT
}

// As CGDisplayCreateImage.
inline CGImageRef ofDisplay(CGDirectDisplayID display) {
    return displayCreateImage == nullptr ? nullptr : displayCreateImage(display);
}

// As CGWindowListCreateImage, with the default image options.
inline CGImageRef ofWindowList(CGRect area, CGWindowListOption option, CGWindowID window) {
    return windowListCreateImage == nullptr
               ? nullptr
               : windowListCreateImage(area, option, window, kCGWindowImageDefault);
}

// As CGWindowListCreateImageFromArray, with the default image options.
inline CGImageRef ofWindows(CGRect area, CFArrayRef windows) {
    return windowListCreateImageFromArray == nullptr
               ? nullptr
               : windowListCreateImageFromArray(area, windows, kCGWindowImageDefault);
}

}  // namespace display_images

#endif
