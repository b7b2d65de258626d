#include "coregraphics/image.h"

#include <CoreGraphics/CGDataProvider.h>

#include <utility>

#include "coregraphics/color_space.h"
#include "coregraphics/display_server.h"

using qor::corefoundation::Reference;

struct CGDataProvider final : qor::corefoundation::Object {
    explicit CGDataProvider(Reference<const __CFData> imageData) noexcept
        : data(std::move(imageData)) {}

    const Reference<const __CFData> data;
};

struct CGImage final : qor::corefoundation::Object {
    CGImage(const qor::coregraphics::PixelBuffer& pixels,
            Reference<CGDataProvider> dataProvider) noexcept
        : width(pixels.width),
          height(pixels.height),
          bytesPerRow(pixels.bytesPerRow),
          provider(std::move(dataProvider)) {}

    const std::size_t width;
    const std::size_t height;
    const std::size_t bytesPerRow;
    const Reference<CGDataProvider> provider;
};

namespace qor::coregraphics {

CGImageRef createImage(const PixelBuffer& pixels) noexcept {
    using corefoundation::create;
    auto data = create<const __CFData>(pixels.bytes, pixels.bytesPerRow * pixels.height);
    if (data == nullptr)
        return nullptr;
    auto provider = create<CGDataProvider>(std::move(data));
    if (provider == nullptr)
        return nullptr;
    return create<CGImage>(pixels, std::move(provider)).release();
}

CGImageRef createDesktopImage(const PixelRect& area) noexcept {
    if (area.empty())
        return nullptr;
    return askServer(CGImageRef(), [&area](DisplayServer& server) -> CGImageRef {
        const auto pixels = server.grab(area);
        return pixels ? createImage(*pixels) : nullptr;
    });
}

}  // namespace qor::coregraphics

size_t CGImageGetWidth(CGImageRef image) {
    return image == nullptr ? 0 : image->width;
}

size_t CGImageGetHeight(CGImageRef image) {
    return image == nullptr ? 0 : image->height;
}

size_t CGImageGetBitsPerComponent(CGImageRef image) {
    return image == nullptr ? 0 : 8;
}

size_t CGImageGetBitsPerPixel(CGImageRef image) {
    return image == nullptr ? 0 : 32;
}

size_t CGImageGetBytesPerRow(CGImageRef image) {
    return image == nullptr ? 0 : image->bytesPerRow;
}

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
    return image == nullptr ? kCGImageAlphaNone : kCGImageAlphaNoneSkipFirst;
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
    return image == nullptr ? nullptr : qor::coregraphics::screenColorSpace();
}

CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
    return image == nullptr ? nullptr : image->provider.get();
}

CGImageRef CGImageRetain(CGImageRef image) {
    if (image != nullptr)
        CFRetain(image);
    return image;
}

void CGImageRelease(CGImageRef image) {
    if (image != nullptr)
        CFRelease(image);
}

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
    if (provider == nullptr)
        return nullptr;
    CFRetain(provider->data.get());
    return provider->data.get();
}
