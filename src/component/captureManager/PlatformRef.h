// Owners of platform objects that a Create or Copy call returned.
#ifndef QOR_CONF_PLATFORMREF_H
#define QOR_CONF_PLATFORMREF_H

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include <memory>
#include <type_traits>

template <typename Ref, auto Release>
struct PlatformRelease {
    void operator()(std::remove_pointer_t<Ref>* object) const { Release(object); }
};

// Releases what it holds, null aside, when it goes out of scope.
template <typename Ref, auto Release>
using PlatformRef = std::unique_ptr<std::remove_pointer_t<Ref>, PlatformRelease<Ref, Release>>;

template <typename Ref>
using CFRef = PlatformRef<Ref, &CFRelease>;
using ContextRef = PlatformRef<CGContextRef, &CGContextRelease>;
using ImageRef = PlatformRef<CGImageRef, &CGImageRelease>;
using DisplayModeRef = PlatformRef<CGDisplayModeRef, &CGDisplayModeRelease>;

#endif
