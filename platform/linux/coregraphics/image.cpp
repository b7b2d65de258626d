#include "coregraphics/image.h"

#include "coregraphics/color_space.h"

namespace qor::coregraphics {

ImageReference createImage(const PixelBuffer& pixels) {
    using corefoundation::Reference;
    Reference<const __CFData> data(new __CFData(pixels.bytes, pixels.bytesPerRow * pixels.height));
    Reference<CGDataProvider> provider(new CGDataProvider(std::move(data)));
    return ImageReference(new CGImage(pixels, std::move(provider)));
}

ImageReference share(const ImageReference& image) noexcept {
    image->retain();
    return ImageReference(image.get());
}

bool isHeldOnce(const ImageReference& image) noexcept {
    return image->isHeldOnce() && image->provider->isHeldOnce() &&
           image->provider->data->isHeldOnce();
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
