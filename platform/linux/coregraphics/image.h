/* Making images; <CoreGraphics/CGImage.h> is what callers see. */
#pragma once

#include <CoreGraphics/CGImage.h>

#include "corefoundation/cf_data.h"
#include "coregraphics/pixel_buffer.h"

namespace qor::coregraphics {

/* A new image of the given pixels, which it shares; null if memory is short. */
CGImageRef createImage(const PixelBuffer& pixels) noexcept;

/* A new image of an area of the desktop; null if the area is empty or cannot be read. */
CGImageRef createDesktopImage(const PixelRect& area) noexcept;

}  // namespace qor::coregraphics
