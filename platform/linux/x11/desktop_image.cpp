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

std::byte* placeOf(const PixelRect& part, const PixelRect& area, const PixelBuffer& image) {
    return image.bytes.get() + static_cast<std::size_t>(part.y - area.y) * image.bytesPerRow +
           static_cast<std::size_t>(part.x - area.x) * kBytesPerPixel;
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
    if (a.empty() || b.empty())
        return a.empty() ? b : a;
    const auto right = [](const PixelRect& r) { return r.x + static_cast<std::int32_t>(r.width); };
    const auto bottom = [](const PixelRect& r) {
        return r.y + static_cast<std::int32_t>(r.height);
    };
    const std::int32_t x = std::min(a.x, b.x);
    const std::int32_t y = std::min(a.y, b.y);
    return {x, y, static_cast<std::uint32_t>(std::max(right(a), right(b)) - x),
            static_cast<std::uint32_t>(std::max(bottom(a), bottom(b)) - y)};
}

PixelBuffer imageIn(std::shared_ptr<std::byte> memory, std::uint32_t width, std::uint32_t height) {
    return {std::move(memory), width, height, width * kBytesPerPixel};
}

PixelBuffer zeroImage(std::uint32_t width, std::uint32_t height) {
    return imageIn(allocateZeroed(width * kBytesPerPixel * height), width, height);
}

void putRows(const std::byte* rows, const PixelFormat& format, const PixelRect& part,
             const PixelRect& area, const PixelBuffer& image) {
    std::byte* target = placeOf(part, area, image);
    if (!lacksOnlyAlpha(format) && !isNative(format))
        return convertPixels(format, rows, part.width, part.height, target, image.bytesPerRow);
    const std::size_t sourceRowBytes = part.width * kBytesPerPixel;
    for (std::size_t y = 0; y < part.height; ++y, target += image.bytesPerRow) {
        const std::byte* source = rows + y * sourceRowBytes;
        if (source != target)
            std::memcpy(target, source, sourceRowBytes);
        // While the row is in the cache.
        if (lacksOnlyAlpha(format))
            makeOpaque(target, part.width);
    }
}

PixelBuffer desktopImage(const PixelRect& area, const PixelRect& visible, const PixelFormat& format,
                         std::shared_ptr<std::byte> rows) {
    const bool fitsInPlace = format.bitsPerPixel == 8 * kBytesPerPixel && visible == area;
    const std::byte* source = rows.get();
    PixelBuffer image = fitsInPlace ? imageIn(std::move(rows), area.width, area.height)
                                    : zeroImage(area.width, area.height);
    if (!visible.empty())
        putRows(source, format, visible, area, image);
    return image;
}

void put(const PixelBuffer& pixels, const PixelRect& part, const PixelRect& area,
         const PixelBuffer& image) {
    std::byte* target = placeOf(part, area, image);
    for (std::size_t y = 0; y < pixels.height; ++y)
        std::memcpy(target + y * image.bytesPerRow, pixels.bytes.get() + y * pixels.bytesPerRow,
                    pixels.width * kBytesPerPixel);
}

}  // namespace qor::x11
