#include <CoreGraphics/CGContext.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <optional>

#include "corefoundation/cf_data.h"
#include "coregraphics/area_average.h"

using qor::coregraphics::averageArea;
using qor::coregraphics::Picture;
using qor::coregraphics::Size;

namespace {

constexpr std::size_t kLargestSize = 32767;
constexpr double kFarthestOrigin = 1 << 30;

/* A pixel as one number, and the order in which memory has its bytes. */
struct PixelLayout {
    std::size_t bytes;
    std::uint32_t largest;  // value of a component
    unsigned red;           // the place of its lowest bit, as those of the others
    unsigned green;
    unsigned blue;
    std::uint32_t opaque;  // what alpha is where there is none
    bool isLittleEndian = false;
};

constexpr PixelLayout kAlphaFirst{4, 255, 16, 8, 0, 0xff000000};
constexpr PixelLayout kAlphaLast{4, 255, 24, 16, 8, 0x000000ff};
constexpr PixelLayout kFiveBits{2, 31, 10, 5, 0, 0x8000};

std::optional<PixelLayout> componentsOf(std::size_t bitsPerComponent, std::uint32_t alphaInfo) {
    if (bitsPerComponent == 5 && alphaInfo == kCGImageAlphaNoneSkipFirst)
        return kFiveBits;
    if (bitsPerComponent != 8)
        return std::nullopt;
    switch (alphaInfo) {
        case kCGImageAlphaPremultipliedFirst:
        case kCGImageAlphaNoneSkipFirst:
            return kAlphaFirst;
        case kCGImageAlphaPremultipliedLast:
        case kCGImageAlphaNoneSkipLast:
            return kAlphaLast;
        default:
            return std::nullopt;
    }
}

std::optional<PixelLayout> layoutOf(std::size_t bitsPerComponent, std::uint32_t bitmapInfo) {
    auto layout = componentsOf(bitsPerComponent, bitmapInfo & kCGBitmapAlphaInfoMask);
    if (!layout)
        return std::nullopt;
    const bool isShort = layout->bytes == 2;
    const std::uint32_t little = isShort ? kCGBitmapByteOrder16Little : kCGBitmapByteOrder32Little;
    const std::uint32_t big = isShort ? kCGBitmapByteOrder16Big : kCGBitmapByteOrder32Big;
    const std::uint32_t order = bitmapInfo & ~std::uint32_t{kCGBitmapAlphaInfoMask};
    if (order != little && order != big && order != kCGBitmapByteOrderDefault)
        return std::nullopt;
    layout->isLittleEndian = order == little;
    return layout;
}

bool isSize(std::size_t length) {
    return length > 0 && length <= kLargestSize;
}

/* One dimension of a drawing: where it begins in the context, and its length, in whole pixels. */
struct Span {
    std::ptrdiff_t start;
    std::size_t length;
};

std::optional<Span> wholePixels(double start, double length) {
    // Written so that a NaN fails each comparison.
    if (!(std::abs(start) <= kFarthestOrigin && length > 0 && length <= kLargestSize))
        return std::nullopt;
    const auto first = std::lround(start);
    const auto end = std::lround(start + length);
    if (end <= first)
        return std::nullopt;
    return Span{first, std::min(static_cast<std::size_t>(end - first), kLargestSize)};
}

/* The part of a span that lies within a length, counted from the span's own start. */
struct Visible {
    std::size_t begin;
    std::size_t end;
};

Visible visiblePart(const Span& span, std::size_t length) {
    const auto limit = static_cast<std::ptrdiff_t>(span.length);
    const auto clamp = [limit](std::ptrdiff_t position) {
        return static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(position, 0, limit));
    };
    return {clamp(-span.start), clamp(static_cast<std::ptrdiff_t>(length) - span.start)};
}

}  // namespace

struct CGContext final : qor::corefoundation::Object {
    CGContext(void* data, Size contextSize, std::size_t pitch,
              const PixelLayout& pixelLayout) noexcept
        : bytes(static_cast<std::uint8_t*>(data)),
          size(contextSize),
          bytesPerRow(pitch),
          layout(pixelLayout) {}

    /* y counts from the top. bgr holds the components of the columns from x on. */
    void store(std::size_t x, std::size_t y, std::span<const std::uint8_t> bgr) const {
        std::uint8_t* pixel = bytes + y * bytesPerRow + x * layout.bytes;
        for (std::size_t i = 0; i + 2 < bgr.size(); i += 3, pixel += layout.bytes)
            storePixel(pixel, layout.opaque | component(bgr[i], layout.blue) |
                                  component(bgr[i + 1], layout.green) |
                                  component(bgr[i + 2], layout.red));
    }

    std::uint32_t component(std::uint8_t value, unsigned place) const {
        return (value * layout.largest + 127) / 255 << place;
    }

    void storePixel(std::uint8_t* target, std::uint32_t pixel) const {
        for (std::size_t i = 0; i < layout.bytes; ++i) {
            const std::size_t place = layout.isLittleEndian ? i : layout.bytes - 1 - i;
            target[i] = static_cast<std::uint8_t>(pixel >> (8 * place));
        }
    }

    std::uint8_t* const bytes;
    const Size size;
    const std::size_t bytesPerRow;
    const PixelLayout layout;
};

namespace {

void draw(const CGContext& context, const Span& columns, const Span& rowsFromBottom,
          const Picture& picture) {
    const Span rows{static_cast<std::ptrdiff_t>(context.size.height) - rowsFromBottom.start -
                        static_cast<std::ptrdiff_t>(rowsFromBottom.length),
                    rowsFromBottom.length};
    const Visible visibleRows = visiblePart(rows, context.size.height);
    const Visible visibleColumns = visiblePart(columns, context.size.width);
    if (visibleColumns.begin >= visibleColumns.end)
        return;
    averageArea(
        picture, {columns.length, rows.length}, visibleRows.begin, visibleRows.end,
        [&](std::size_t y, std::span<const std::uint8_t> row) {
            const auto x = columns.start + static_cast<std::ptrdiff_t>(visibleColumns.begin);
            context.store(static_cast<std::size_t>(x),
                          static_cast<std::size_t>(rows.start + static_cast<std::ptrdiff_t>(y)),
                          row.subspan(visibleColumns.begin * 3,
                                      (visibleColumns.end - visibleColumns.begin) * 3));
        });
}

}  // namespace

CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo) {
    const auto layout = layoutOf(bitsPerComponent, bitmapInfo);
    if (data == nullptr || space == nullptr || !layout)
        return nullptr;
    if (!isSize(width) || !isSize(height) || bytesPerRow < width * layout->bytes)
        return nullptr;
    return qor::corefoundation::create<CGContext>(data, Size{width, height}, bytesPerRow, *layout)
        .release();
}

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
    const auto columns = wholePixels(rect.origin.x, rect.size.width);
    const auto rows = wholePixels(rect.origin.y, rect.size.height);
    if (context == nullptr || image == nullptr || !columns || !rows)
        return;
    const qor::corefoundation::Reference<const __CFData> data(
        CGDataProviderCopyData(CGImageGetDataProvider(image)));
    if (data == nullptr)
        return;
    const Picture picture{CFDataGetBytePtr(data.get()),
                          {CGImageGetWidth(image), CGImageGetHeight(image)},
                          CGImageGetBytesPerRow(image)};
    try {
        draw(*context, *columns, *rows, picture);
    } catch (const std::bad_alloc&) {
        // Documented: nothing is drawn. All memory is had before the first row is stored.
    }
}

void CGContextRelease(CGContextRef context) {
    if (context != nullptr)
        CFRelease(context);
}
