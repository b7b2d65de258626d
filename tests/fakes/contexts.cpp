// Drawing into memory of the caller's as the script has it.
#include <algorithm>
#include <cstring>

#include "script.h"

using scripted::Invocation;
using scripted::Output;
using scripted::Reference;

namespace {

constexpr size_t kBytesPerPixel = 4;
constexpr size_t kMostRows = 32767;

// Each pixel of the context shows the pixel of the image at its place, unblended: the image fills
// the context.
void fill(const CGContext& context, const CGImage& image, const std::vector<uint8_t>& bytes) {
    if (bytes.empty()) {
        return;
    }
    for (size_t y = 0; y < context.height; ++y) {
        const size_t row = y * image.height / context.height;
        for (size_t x = 0; x < context.width; ++x) {
            const size_t column = x * image.width / context.width;
            std::memcpy(context.data + y * context.bytesPerRow + x * kBytesPerPixel,
                        bytes.data() + row * image.bytesPerRow + column * kBytesPerPixel,
                        kBytesPerPixel);
        }
    }
}

bool covers(const CGRect& rect, const CGContext& context) {
    return rect.origin.x == 0 && rect.origin.y == 0 &&
           rect.size.width == static_cast<double>(context.width) &&
           rect.size.height == static_cast<double>(context.height);
}

}  // namespace

CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo) {
    const Invocation call("CGBitmapContextCreate", Output{data}, width, height, bitsPerComponent,
                          bytesPerRow, Reference{space}, bitmapInfo);
    const bool fits = width <= bytesPerRow / kBytesPerPixel && height <= kMostRows;
    if (call.fails() || !fits || call.use<CGColorSpace>(space) == nullptr) {
        return nullptr;
    }
    return call.make(std::make_unique<CGContext>(data, width, height, bytesPerRow));
}

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
    const Invocation call("CGContextDrawImage", Reference{context}, rect, Reference{image});
    const auto* const target = call.use<CGContext>(context);
    const auto* const source = call.use<CGImage>(image);
    if (call.fails() || target == nullptr || source == nullptr) {
        return;
    }
    if (!covers(rect, *target)) {
        call.objects().blame("CGContextDrawImage elsewhere than all over " + target->label());
        return;
    }
    fill(*target, *source, *source->provider->paint());
}

void CGContextRelease(CGContextRef context) {
    const Invocation call("CGContextRelease", Reference{context});
    if (context != nullptr) {
        call.objects().release(context, call.function());
    }
}
