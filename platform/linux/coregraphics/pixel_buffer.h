/* Pixel rectangles and the finished pixels of one. No display server in here. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qor::coregraphics {

/* In pixels, origin at the upper left of the desktop. */
struct PixelRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    bool empty() const { return width == 0 || height == 0; }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

/* Rows from the top down, four bytes a pixel: blue, green, red, alpha. The memory goes back to
 * whatever lent it, for reuse, when the last copy of bytes is gone. It is written by its only
 * owner, until an image is made of it, and by nobody afterwards. */
struct PixelBuffer {
    std::shared_ptr<std::byte> bytes;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
};

}  // namespace qor::coregraphics
