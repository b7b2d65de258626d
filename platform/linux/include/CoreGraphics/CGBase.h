/* The number type of CoreGraphics. */
#ifndef COREGRAPHICS_CGBASE_H
#define COREGRAPHICS_CGBASE_H

typedef double CGFloat;

#endif
