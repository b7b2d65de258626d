/* Memory that an image is made in, and how the server gets at it. */
#pragma once

#include <xcb/render.h>

#include "coregraphics/pixel_buffer.h"
#include "x11/segment_pool.h"

namespace qor::x11 {

struct ImageMemory {
    coregraphics::PixelBuffer pixels;
    // That the pixels lie at the beginning of; null if the server does not share them. Owned by
    // pixels.
    const Segment* segment = nullptr;
    // All of the image, for the server to draw on; none if it cannot. Owned by the segment.
    xcb_render_picture_t picture = XCB_NONE;
};

}  // namespace qor::x11
