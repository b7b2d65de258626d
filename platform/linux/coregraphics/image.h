/* Making images; <CoreGraphics/CGImage.h> is what callers see. */
#pragma once

#include <CoreGraphics/CGDataProvider.h>
#include <CoreGraphics/CGImage.h>

#include <cstddef>
#include <utility>

#include "corefoundation/cf_data.h"
#include "corefoundation/object.h"
#include "coregraphics/pixel_buffer.h"

struct CGDataProvider final : qor::corefoundation::Object {
    explicit CGDataProvider(qor::corefoundation::Reference<const __CFData> imageData) noexcept
        : data(std::move(imageData)) {}

    const qor::corefoundation::Reference<const __CFData> data;
};

struct CGImage final : qor::corefoundation::Object {
    CGImage(const qor::coregraphics::PixelBuffer& pixels,
            qor::corefoundation::Reference<CGDataProvider> dataProvider) noexcept
        : width(pixels.width),
          height(pixels.height),
          bytesPerRow(pixels.bytesPerRow),
          provider(std::move(dataProvider)) {}

    const std::size_t width;
    const std::size_t height;
    const std::size_t bytesPerRow;
    const qor::corefoundation::Reference<CGDataProvider> provider;
};

namespace qor::coregraphics {

using ImageReference = corefoundation::Reference<CGImage>;

/* A new image of the given pixels, which it shares. Throws std::bad_alloc. */
ImageReference createImage(const PixelBuffer& pixels);

/* One more reference. */
ImageReference share(const ImageReference& image) noexcept;

/* Whether the given reference is all that is left of an image and its parts: then nobody sees
 * whether its pixels are written again. */
bool isHeldOnce(const ImageReference& image) noexcept;

}  // namespace qor::coregraphics
