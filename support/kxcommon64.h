/** @file
 * Common library: bounded memory and string functions, block copy, image scaling.
 *
 * The capture manager uses these through this interface alone and binds them when it is loaded, so
 * a host may put an implementation of its own in place of the bundled libqor_conf_kxcommon64.
 * Usable from C11 and C++17 on. No function keeps state that a caller could see; all may be called
 * from any thread at any time. Source and destination never overlap.
 */
#ifndef QOR_CONF_KXCOMMON64_H
#define QOR_CONF_KXCOMMON64_H

#include <stddef.h>

/** Marks everything that the library exports. */
#define KX_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Fills the first count of destSize bytes. 0 on success; EINVAL for a null pointer, ERANGE when
 * count does not fit. Nothing is written on failure.
 */
KX_API int memset_s(void* dest, size_t destSize, int value, size_t count);

/** Copies count bytes to the destSize at dest; results as of memset_s. */
KX_API int memcpy_s(void* dest, size_t destSize, const void* src, size_t count);

/**
 * Copies src up to its NUL, at most count characters, and terminates dest. 0 on success; EINVAL for
 * a null pointer or a destSize of 0; ERANGE when text and NUL do not fit in destSize bytes. On
 * failure dest, where there is one, is the empty string.
 */
KX_API int strncpy_s(char* dest, size_t destSize, const char* src, size_t count);

/**
 * Copies the first min(count, dstSize) bytes; null pointers copy nothing. Large blocks do not stay
 * in the processor's caches.
 */
KX_API void MacroMemcpy(void* dst, unsigned long dstSize, const void* src, unsigned long count);

/**
 * Scales a packed image of srcWidth x srcHeight pixels to dstWidth x dstHeight packed pixels, each
 * of bytesPerPixel 8-bit channels, bilinearly.
 *
 * Rule: pixel centres lie at half positions. The target pixel t takes its value at the source
 * position (t + 0.5) * (source size / target size) - 0.5 of either axis, between the two nearest
 * source pixels in proportion to their distance; positions before the first or past the last source
 * pixel take that pixel. The result is at most 1 off the exact value, the same on all processors,
 * and correctly rounded, halves up, where the weights are multiples of 1/128.
 *
 * bytesPerPixel is 1, 3 or 4. A null pointer, any other bytesPerPixel, a size below 1, an image
 * larger than memory, or a lack of memory for a few tables leaves dst untouched. These tables, some
 * 40 bytes a target column, are kept until the thread ends, so that frame after frame of the same
 * sizes allocates nothing.
 */
KX_API void BilinearInterpolation(const unsigned char* src, int srcWidth, int srcHeight,
                                  unsigned char* dst, int dstWidth, int dstHeight,
                                  int bytesPerPixel);

/**
 * Halves an image of width x height pixels, 4 bytes a pixel, rows pitch bytes apart, into packed
 * rows of ceil(width / 2) pixels, ceil(height / 2) of them.
 *
 * Rule: each target byte is the mean, rounded to nearest with halves up, of the same channel of the
 * 2 x 2 source pixels it covers; at an odd right or lower edge, of those that are there.
 *
 * A null pointer, a size of 0, or a pitch below width * 4 leaves dst untouched.
 */
KX_API void RgbDownsampling(unsigned int width, unsigned int height, int pitch, unsigned char* src,
                            unsigned char* dst);

#ifdef __cplusplus
}
#endif

#endif
