#include "x11/window_shape.h"

#include "x11/desktop_image.h"
#include "x11/property.h"
#include "x11/reply_list.h"

namespace qor::x11 {
namespace {

using coregraphics::PixelRect;

xcb_get_property_cookie_t askOpacity(Connection& connection, xcb_window_t window,
                                     xcb_atom_t property) {
    return xcb_get_property(connection.handle(), 0, window, property, XCB_ATOM_CARDINAL, 0, 1);
}

/* Null if the window has no such property. */
std::optional<std::uint16_t> opacityIn(const xcb_get_property_reply_t* reply) {
    const auto value = singleValueIn(reply);
    return value ? std::optional(static_cast<std::uint16_t>(*value >> 16)) : std::nullopt;
}

}  // namespace

WindowShapeRequest::WindowShapeRequest(Connection& connection, const TopLevel& top,
                                       xcb_atom_t opacityProperty)
    : top_(top),
      ownOpacity_(connection, askOpacity(connection, top.window, opacityProperty)),
      clientOpacity_(connection, askOpacity(connection, top.number, opacityProperty)) {
    if (!connection.link().hasShapes)
        return;
    extents_.emplace(connection, xcb_shape_query_extents(connection.handle(), top.window));
    shape_.emplace(connection, xcb_shape_get_rectangles(connection.handle(), top.window,
                                                        XCB_SHAPE_SK_BOUNDING));
}

std::optional<WindowShape> WindowShapeRequest::take() {
    // Applications ask for an opacity on their own window, and not all window managers pass it on
    // to the frame.
    const auto ownOpacity = opacityIn(ownOpacity_.take().get());
    const auto clientOpacity = opacityIn(clientOpacity_.take().get());
    const PixelRect box{0, 0, top_.box.width, top_.box.height};
    WindowShape shape{.parts = {box},
                      .opacity = ownOpacity.value_or(clientOpacity.value_or(0xffff))};
    if (!shape_)
        return shape;
    const auto extents = extents_->take();
    const auto reply = shape_->take();
    if (extents == nullptr || reply == nullptr)
        return std::nullopt;
    // Of a window without a shape, servers give a rectangle that lacks half of the border.
    if (extents->bounding_shaped == 0)
        return shape;
    shape.isWhole = false;
    shape.parts.clear();
    for (const xcb_rectangle_t& rectangle :
         listIn(*reply, xcb_shape_get_rectangles_rectangles(reply.get()), reply->rectangles_len)) {
        // Coordinates count from inside the border, and may reach past the box.
        const PixelRect part{top_.border + rectangle.x, top_.border + rectangle.y, rectangle.width,
                             rectangle.height};
        if (const PixelRect seen = intersection(part, box); !seen.empty())
            shape.parts.push_back(seen);
    }
    return shape;
}

}  // namespace qor::x11
