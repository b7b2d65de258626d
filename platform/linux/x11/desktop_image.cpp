#include "x11/desktop_image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace qor::x11 {

using coregraphics::PixelBuffer;
using coregraphics::PixelRect;

namespace {

constexpr std::size_t kBytesPerPixel = 4;

struct Free {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

/* From calloc, which gives large blocks as fresh pages that are zero without being written. */
std::shared_ptr<std::byte> allocateZeroed(std::size_t size) {
    std::unique_ptr<std::byte, Free> memory(static_cast<std::byte*>(std::calloc(size, 1)));
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

/* The rows have no gaps, as their pixels take four bytes. */
void convertInPlace(const PixelFormat& format, std::byte* rows, const PixelRect& visible) {
    if (lacksOnlyAlpha(format))
        makeOpaque(rows, std::size_t{visible.width} * visible.height);
    else if (!isNative(format))
        convertPixels(format, rows, visible.width, visible.height, rows,
                      rowBytes(format, visible.width));
}

void copyRows(const std::byte* source, const PixelRect& visible, std::byte* target,
              std::size_t targetRowBytes) {
    const std::size_t rowBytes = visible.width * kBytesPerPixel;
    for (std::size_t y = 0; y < visible.height; ++y)
        std::memcpy(target + y * targetRowBytes, source + y * rowBytes, rowBytes);
}

}  // namespace

PixelRect intersection(const PixelRect& a, const PixelRect& b) {
    const auto end = [](std::int32_t start, std::uint32_t length) {
        return static_cast<std::int64_t>(start) + length;
    };
    const std::int32_t left = std::max(a.x, b.x);
    const std::int32_t top = std::max(a.y, b.y);
    const std::int64_t right = std::min(end(a.x, a.width), end(b.x, b.width));
    const std::int64_t bottom = std::min(end(a.y, a.height), end(b.y, b.height));
    if (right <= left || bottom <= top)
        return {};
    return {left, top, static_cast<std::uint32_t>(right - left),
            static_cast<std::uint32_t>(bottom - top)};
}

PixelRect around(const PixelRect& a, const PixelRect& b) {
    const auto right = [](const PixelRect& r) { return r.x + static_cast<std::int32_t>(r.width); };
    const auto bottom = [](const PixelRect& r) {
        return r.y + static_cast<std::int32_t>(r.height);
    };
    const std::int32_t x = std::min(a.x, b.x);
    const std::int32_t y = std::min(a.y, b.y);
    return {x, y, static_cast<std::uint32_t>(std::max(right(a), right(b)) - x),
            static_cast<std::uint32_t>(std::max(bottom(a), bottom(b)) - y)};
}

PixelBuffer desktopImage(const PixelRect& area, const PixelRect& visible, const PixelFormat& format,
                         std::shared_ptr<std::byte> rows) {
    const std::size_t rowBytes = area.width * kBytesPerPixel;
    const bool fitsInPlace = format.bitsPerPixel == 8 * kBytesPerPixel;
    if (fitsInPlace)
        convertInPlace(format, rows.get(), visible);
    if (fitsInPlace && visible == area)
        return {std::move(rows), area.width, area.height, rowBytes};

    auto image = allocateZeroed(rowBytes * area.height);
    if (!visible.empty()) {
        std::byte* corner = image.get() + static_cast<std::size_t>(visible.y - area.y) * rowBytes +
                            static_cast<std::size_t>(visible.x - area.x) * kBytesPerPixel;
        if (fitsInPlace)
            copyRows(rows.get(), visible, corner, rowBytes);
        else
            convertPixels(format, rows.get(), visible.width, visible.height, corner, rowBytes);
    }
    return {std::move(image), area.width, area.height, rowBytes};
}

void put(const PixelBuffer& pixels, const PixelRect& part, const PixelRect& area,
         const PixelBuffer& image) {
    std::byte* target = image.bytes.get() +
                        static_cast<std::size_t>(part.y - area.y) * image.bytesPerRow +
                        static_cast<std::size_t>(part.x - area.x) * kBytesPerPixel;
    for (std::size_t y = 0; y < pixels.height; ++y)
        std::memcpy(target + y * image.bytesPerRow, pixels.bytes.get() + y * pixels.bytesPerRow,
                    pixels.width * kBytesPerPixel);
}

}  // namespace qor::x11
