#include "x11/backdrop.h"

#include "x11/property.h"
#include "x11/server_resource.h"

namespace qor::x11 {
namespace {

xcb_get_property_cookie_t ask(Connection& connection, xcb_atom_t property) {
    return xcb_get_property(connection.handle(), 0, connection.screen().root, property,
                            XCB_ATOM_PIXMAP, 0, 1);
}

/* A property outlives the client that set it, and an identifier may be given out again. What it
 * must not be by then is a window. */
bool isPixmapForRoot(Connection& connection, xcb_pixmap_t pixmap) {
    Request<xcb_get_geometry_reply_t> geometryRequest(
        connection, xcb_get_geometry(connection.handle(), pixmap));
    Request<xcb_get_window_attributes_reply_t> windowRequest(
        connection, xcb_get_window_attributes(connection.handle(), pixmap));
    const auto geometry = geometryRequest.take();
    const bool isNoWindow =
        windowRequest.take() == nullptr && windowRequest.errorCode() == XCB_WINDOW;
    return geometry != nullptr && isNoWindow && geometry->root == connection.screen().root &&
           geometry->depth == connection.screen().root_depth;
}

}  // namespace

xcb_pixmap_t findBackdrop(Connection& connection, const BackdropProperties& properties) {
    Request<xcb_get_property_reply_t> usualRequest(connection, ask(connection, properties.usual));
    Request<xcb_get_property_reply_t> olderRequest(connection, ask(connection, properties.older));
    const auto usual = singleValueIn(usualRequest.take().get());
    const auto older = singleValueIn(olderRequest.take().get());
    for (const auto& pixmap : {usual, older}) {
        if (pixmap && isPixmapForRoot(connection, *pixmap))
            return *pixmap;
    }
    return XCB_NONE;
}

void drawBackdrop(Connection& connection, xcb_pixmap_t pixmap, Canvas& canvas) {
    const auto format =
        connection.link().pictureFormats.byVisual.at(connection.screen().root_visual);
    const Picture picture(connection);
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    xcb_render_create_picture(connection.handle(), picture.id(), pixmap, format.id,
                              XCB_RENDER_CP_REPEAT, &repeat);
    canvas.drawBackground(picture.id(), format);
}

}  // namespace qor::x11
