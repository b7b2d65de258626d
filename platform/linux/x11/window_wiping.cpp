#include "x11/window_wiping.h"

#include <xcb/shape.h>

#include "x11/desktop_image.h"
#include "x11/rectangle.h"
#include "x11/server_resource.h"

namespace qor::x11 {
namespace {

using coregraphics::PixelRect;

/* A window of ours on top of all in the other one, there for a moment: the server takes what it
 * uncovers for exposed, in every window beneath, however deep. To find and clear each of them would
 * take a walk through the tree. Nothing is checked: if the window has gone, there is nothing to
 * expose, and if the server is short of memory, zeros stay until the application paints. */
void expose(Connection& connection, const TopLevel& top, const PixelRect& area) {
    xcb_connection_t* handle = connection.handle();
    const Window cover(connection);
    const std::uint32_t zeroPixel = 0;
    const std::uint32_t outsideOfWindowManagement = 1;
    const std::uint32_t values[]{zeroPixel, outsideOfWindowManagement};  // in the bits' order
    const auto x = static_cast<std::int16_t>(area.x - top.border);
    const auto y = static_cast<std::int16_t>(area.y - top.border);
    xcb_create_window(handle, XCB_COPY_FROM_PARENT, cover.id(), top.window, x, y,
                      static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    // Without an input shape the pointer, if it is there, would enter and leave it, and the
    // application would see that.
    if (connection.link().hasShapes)
        xcb_shape_rectangles(handle, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, cover.id(), 0, 0, 0, nullptr);
    xcb_map_window(handle, cover.id());
}

}  // namespace

void wipe(Connection& connection, const TopLevel& top, const WindowShape& shape,
          const std::vector<PixelRect>& areas, WindowContent& content) {
    // The border is the server's to paint, which it does at once; nothing would make it do so
    // again.
    const PixelRect inside{top.border, top.border, top.box.width - 2U * top.border,
                           top.box.height - 2U * top.border};
    std::vector<PixelRect> wiped;
    std::vector<xcb_rectangle_t> rectangles;
    for (const PixelRect& area : areas) {
        const PixelRect part = intersection(area, inside);
        if (part.empty())
            continue;
        wiped.push_back(part);
        rectangles.push_back(rectangleOf(part));
    }
    // The pixmap itself first: the window's shape may leave parts of it out now, and let them be
    // seen later. Not that of a whole window with a border, though: that may have moved inwards
    // meanwhile, and what exposes the window keeps clear of it.
    if (top.border == 0 || !shape.isWhole)
        content.fill(rectangles, {0, 0, 0, 0});
    for (const PixelRect& part : wiped)
        expose(connection, top, part);
}

}  // namespace qor::x11
