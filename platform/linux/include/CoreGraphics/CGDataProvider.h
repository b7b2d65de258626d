/* Access to an image's bytes. */
#ifndef COREGRAPHICS_CGDATAPROVIDER_H
#define COREGRAPHICS_CGDATAPROVIDER_H

#include <CoreFoundation/CFData.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef struct CGDataProvider* CGDataProviderRef;

/* The provider's bytes, to be given back with CFRelease. No byte is copied: the data is one more
 * reference to the image's own memory and stays valid when the image is released. NULL if provider
 * is NULL or memory is short. */
CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
