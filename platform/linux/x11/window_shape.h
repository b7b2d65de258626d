/* Which part of its box a window fills, and how densely. */
#pragma once

#include <xcb/shape.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/top_levels.h"

namespace qor::x11 {

struct WindowShape {
    // From the box's corner; the whole box unless the window has another shape (SHAPE).
    std::vector<coregraphics::PixelRect> parts;
    bool isWhole = true;             // it fills its box
    std::uint16_t opacity = 0xffff;  // 0xffff is all of it
};

/* Asks for a window's shape and opacity. */
class WindowShapeRequest {
  public:
    /* opacityProperty is the atom _NET_WM_WINDOW_OPACITY. */
    WindowShapeRequest(Connection& connection, const TopLevel& top, xcb_atom_t opacityProperty);

    /* Null if the window has gone or the server does not answer. Once only. */
    std::optional<WindowShape> take();

  private:
    const TopLevel top_;
    // Null without SHAPE.
    std::optional<Request<xcb_shape_query_extents_reply_t>> extents_;
    std::optional<Request<xcb_shape_get_rectangles_reply_t>> shape_;
    Request<xcb_get_property_reply_t> ownOpacity_;
    Request<xcb_get_property_reply_t> clientOpacity_;
};

}  // namespace qor::x11
