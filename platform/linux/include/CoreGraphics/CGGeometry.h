/* Points, sizes and rectangles. Global display coordinates have their origin at the upper left of
 * the desktop, x to the right and y downwards, in points. */
#ifndef COREGRAPHICS_CGGEOMETRY_H
#define COREGRAPHICS_CGGEOMETRY_H

#include <CoreFoundation/CFDictionary.h>
#include <CoreGraphics/CGBase.h>

typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;

typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;

typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;

static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    CGRect rect;
    rect.origin.x = x;
    rect.origin.y = y;
    rect.size.width = width;
    rect.size.height = height;
    return rect;
}

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Writes the rectangle that a dictionary holds as the numbers X, Y, Width and Height. False, with
 * nothing written, if there is none in it, or for NULL. */
bool CGRectMakeWithDictionaryRepresentation(CFDictionaryRef dict, CGRect* rect);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
