/*
 * From a server's image rows to blue, green, red, 255. No protocol in here.
 *
 * A row is a sequence of pixels of 8, 16, 24 or 32 bits, padded to a multiple of scanlinePad bits.
 * A pixel is either red, green and blue under masks, or an index into a palette.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qor::x11 {

struct PixelFormat {
    unsigned bitsPerPixel = 32;
    unsigned scanlinePad = 32;  // 8, 16 or 32
    bool mostSignificantByteFirst = false;
    std::uint32_t redMask = 0x00ff0000;
    std::uint32_t greenMask = 0x0000ff00;
    std::uint32_t blueMask = 0x000000ff;
    // Colours as 0xAARRGGBB by pixel value. If not empty, it goes before the masks.
    std::vector<std::uint32_t> palette = {};
};

/* Distance from one row of the server's image to the next. */
std::size_t rowBytes(const PixelFormat& format, std::size_t width);

/* True if the server's rows are blue, green, red, unused as they are, without a gap. */
bool isNative(const PixelFormat& format);

/* True if the pixels can be converted. */
bool isConvertible(const PixelFormat& format);

/* Converts height rows of width pixels. format is convertible; source holds height rows of
 * rowBytes bytes; target rows are targetRowBytes apart and start at multiples of 4. A component of
 * n bits is spread over 0 to 255, rounded to the nearest. */
void convertPixels(const PixelFormat& format, const std::byte* source, std::size_t width,
                   std::size_t height, std::byte* target, std::size_t targetRowBytes);

}  // namespace qor::x11
