/*
 * Immutable images.
 *
 * An image never changes after it was made, whatever happens on the screen, and may be read by any
 * thread. The getters return 0 or NULL for a NULL image.
 */
#ifndef COREGRAPHICS_CGIMAGE_H
#define COREGRAPHICS_CGIMAGE_H

#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGDataProvider.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef struct CGImage* CGImageRef;

/* Where a pixel keeps its alpha; first means the most significant bits of the pixel. */
CF_ENUM(uint32_t, CGImageAlphaInfo){
    kCGImageAlphaNone,
    kCGImageAlphaPremultipliedLast,
    kCGImageAlphaPremultipliedFirst,
    kCGImageAlphaLast,
    kCGImageAlphaFirst,
    kCGImageAlphaNoneSkipLast,
    kCGImageAlphaNoneSkipFirst,
    kCGImageAlphaOnly,
};

/* The order of a pixel's bytes, or-ed to a CGImageAlphaInfo. Default is big. */
CF_OPTIONS(uint32_t, CGBitmapInfo){
    kCGBitmapAlphaInfoMask = 0x1F,        kCGBitmapByteOrderMask = 0x7000,
    kCGBitmapByteOrderDefault = 0 << 12,  kCGBitmapByteOrder16Little = 1 << 12,
    kCGBitmapByteOrder32Little = 2 << 12, kCGBitmapByteOrder16Big = 3 << 12,
    kCGBitmapByteOrder32Big = 4 << 12,
};

/* Width and height in pixels. */
size_t CGImageGetWidth(CGImageRef image);
size_t CGImageGetHeight(CGImageRef image);

/* Always 8 and 32 for a screen image: bytes blue, green, red, and alpha, which is 255 where the
 * screen has none, and 0 with the others where the image reaches past what it shows. */
size_t CGImageGetBitsPerComponent(CGImageRef image);
size_t CGImageGetBitsPerPixel(CGImageRef image);

/* Distance from one row to the next, at least 4 times the width. Rows run from the top down. */
size_t CGImageGetBytesPerRow(CGImageRef image);

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);

/* The image's colour space, lent: valid while the image is. */
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);

/* The provider of the image's bytes, lent: valid while the image is. */
CGDataProviderRef CGImageGetDataProvider(CGImageRef image);

/* CFRetain and CFRelease for an image that may be NULL. */
CGImageRef CGImageRetain(CGImageRef image);
void CGImageRelease(CGImageRef image);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
