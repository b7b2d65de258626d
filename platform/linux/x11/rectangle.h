/* Rectangles as the protocol has them. */
#pragma once

#include <xcb/xproto.h>

#include <cstdint>

#include "coregraphics/pixel_buffer.h"

namespace qor::x11 {

/* rect fits into the protocol's 16 bits. */
inline xcb_rectangle_t rectangleOf(const coregraphics::PixelRect& rect) {
    return {static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
            static_cast<std::uint16_t>(rect.width), static_cast<std::uint16_t>(rect.height)};
}

}  // namespace qor::x11
