/*
 * From a server's image rows to blue, green, red, alpha. No protocol in here.
 *
 * A row is a sequence of pixels of 8, 16, 24 or 32 bits, padded to a multiple of scanlinePad bits.
 * A pixel is red, green, blue and perhaps alpha under masks, or an index into a palette, or indexes
 * into one under masks.
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
    std::uint32_t alphaMask = 0;  // 0: pixels have no alpha, and become 255
    // If not empty, colours as 0xAARRGGBB by pixel value, or if there are masks, each component of
    // the colour by the value under its mask.
    std::vector<std::uint32_t> palette = {};
};

/* Distance from one row of the server's image to the next. */
std::size_t rowBytes(const PixelFormat& format, std::size_t width);

/* True if the server's rows are blue, green, red, alpha as they are, without a gap. */
bool isNative(const PixelFormat& format);

/* True if they are but for their fourth byte, which the server leaves undefined. */
bool lacksOnlyAlpha(const PixelFormat& format);

/* True if the pixels can be converted. */
bool isConvertible(const PixelFormat& format);

/* Sets the fourth byte of each of count pixels of four bytes to 255. */
void makeOpaque(std::byte* pixels, std::size_t count);

/* Converts height rows of width pixels. format is convertible; source holds height rows of
 * rowBytes bytes; target rows are targetRowBytes apart, and may be the source's if those have 32
 * bits a pixel. A component of n bits is spread over 0 to 255, rounded to the nearest. */
void convertPixels(const PixelFormat& format, const std::byte* source, std::size_t width,
                   std::size_t height, std::byte* target, std::size_t targetRowBytes);

}  // namespace qor::x11
