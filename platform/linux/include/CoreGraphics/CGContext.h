/*
 * Drawing into memory of the caller's.
 *
 * A context is used by one thread at a time. Its coordinates are in points, one a pixel, with the
 * origin at the lower left and y up; an image is drawn upright in them.
 */
#ifndef COREGRAPHICS_CGCONTEXT_H
#define COREGRAPHICS_CGCONTEXT_H

#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef struct CGContext* CGContextRef;

/* A context over height rows of bytesPerRow bytes at data, from the top down, the caller's to
 * release; data belongs to the caller and outlives the context. bitmapInfo is a CGImageAlphaInfo
 * with a byte order or-ed in. Offered are pixels of 32 bits, 8 a component, in either byte order,
 * with alpha first or last, premultiplied or skipped, and of 16 bits, 5 a component, in either byte
 * order, with the first bit skipped. NULL for any other, for a NULL data or space, for a width or
 * height of 0 or above 32767, and for rows too short for the width. */
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo);

/* Scales the whole image to fill rect, rounded to whole pixels, each pixel the mean of the area of
 * the image that it covers; what lies outside the context is left out. Alpha becomes opaque, and a
 * bit that is skipped is set. Nothing is drawn if either object is NULL, rect is empty, not finite
 * or more than 32767 in a dimension, or memory is short. */
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);

/* Gives a reference back; context may be NULL. */
void CGContextRelease(CGContextRef context);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
