#include "x11/window_content.h"

#include <xcb/composite.h>

#include <optional>

namespace qor::x11 {

bool offersWindowContents(xcb_connection_t* handle) {
    if (!isPresent(handle, xcb_composite_id))
        return false;
    const Reply<xcb_composite_query_version_reply_t> reply(xcb_composite_query_version_reply(
        handle, xcb_composite_query_version(handle, 0, 4), nullptr));
    return reply != nullptr && isAtLeast(reply->major_version, reply->minor_version, 0, 2);
}

bool keepWindowContents(Connection& connection) {
    return succeeded(connection, xcb_composite_redirect_subwindows_checked(
                                     connection.handle(), connection.screen().root,
                                     XCB_COMPOSITE_REDIRECT_AUTOMATIC));
}

WindowContent::WindowContent(Connection& connection, xcb_window_t window,
                             xcb_render_pictformat_t format)
    : connection_(connection),
      pixmap_(connection),
      picture_(connection),
      naming_(connection),
      drawing_(connection) {
    xcb_connection_t* handle = connection.handle();
    naming_.add(xcb_composite_name_window_pixmap_checked(handle, window, pixmap_.id()));
    drawing_.add(
        xcb_render_create_picture_checked(handle, picture_.id(), pixmap_.id(), format, 0, nullptr));
}

void WindowContent::fill(std::span<const xcb_rectangle_t> areas, xcb_render_color_t color) {
    drawing_.add(xcb_render_fill_rectangles_checked(
        connection_.handle(), XCB_RENDER_PICT_OP_SRC, picture_.id(), color,
        static_cast<std::uint32_t>(areas.size()), areas.data()));
}

void WindowContent::drawOn(xcb_render_picture_t target, xcb_render_pict_op_t operation,
                           const xcb_rectangle_t& targetArea, std::int16_t x, std::int16_t y,
                           std::uint16_t opacity) {
    xcb_connection_t* handle = connection_.handle();
    std::optional<Picture> mask;
    if (opacity != 0xffff) {
        mask.emplace(connection_);
        drawing_.add(xcb_render_create_solid_fill_checked(handle, mask->id(), {0, 0, 0, opacity}));
    }
    drawing_.add(xcb_render_composite_checked(
        handle, static_cast<std::uint8_t>(operation), picture_.id(), mask ? mask->id() : XCB_NONE,
        target, x, y, 0, 0, targetArea.x, targetArea.y, targetArea.width, targetArea.height));
}

WindowContent::Outcome WindowContent::outcome() {
    const unsigned namingError = naming_.firstError();
    const bool wasDrawn = drawing_.firstError() == 0;
    if (namingError == XCB_WINDOW || namingError == XCB_MATCH)
        return Outcome::hasNone;
    return namingError == 0 && wasDrawn ? Outcome::done : Outcome::failed;
}

}  // namespace qor::x11
