/* What the numbers of a colour mean. */
#ifndef COREGRAPHICS_CGCOLORSPACE_H
#define COREGRAPHICS_CGCOLORSPACE_H

#include <CoreFoundation/CFBase.h>

/* There is one: red, green and blue as the display server has them. Nothing is converted. */
typedef struct CGColorSpace* CGColorSpaceRef;

#endif
