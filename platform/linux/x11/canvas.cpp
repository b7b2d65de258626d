#include "x11/canvas.h"

#include "x11/desktop_image.h"

namespace qor::x11 {

using coregraphics::PixelRect;

Canvas::Canvas(Connection& connection, std::uint32_t width, std::uint32_t height,
               xcb_render_pictformat_t format)
    : connection_(connection),
      width_(width),
      height_(height),
      pixmap_(connection),
      picture_(connection),
      steps_(connection) {
    xcb_connection_t* handle = connection.handle();
    const xcb_screen_t& screen = connection.screen();
    steps_.add(xcb_create_pixmap_checked(handle, screen.root_depth, pixmap_.id(), screen.root,
                                         static_cast<std::uint16_t>(width),
                                         static_cast<std::uint16_t>(height)));
    steps_.add(
        xcb_render_create_picture_checked(handle, picture_.id(), pixmap_.id(), format, 0, nullptr));
}

void Canvas::beginZero(const PixelRect& area) {
    begin(area, 0);
}

void Canvas::beginBlack(const PixelRect& area) {
    begin(area, 0xffff);
}

void Canvas::begin(const PixelRect& area, std::uint16_t alpha) {
    area_ = area;
    const xcb_rectangle_t all = onCanvas(area);
    clipTo({all});
    // Checked, as otherwise an earlier picture may still be there.
    steps_.add(xcb_render_fill_rectangles_checked(connection_.handle(), XCB_RENDER_PICT_OP_SRC,
                                                  picture_.id(), {0, 0, 0, alpha}, 1, &all));
}

void Canvas::drawBackdrop(xcb_pixmap_t pixmap, xcb_render_pictformat_t format) {
    xcb_connection_t* handle = connection_.handle();
    const Picture picture(connection_);
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    // Not checked: if the pixmap has just gone, black is right.
    xcb_render_create_picture(handle, picture.id(), pixmap, format, XCB_RENDER_CP_REPEAT, &repeat);
    xcb_render_composite(handle, XCB_RENDER_PICT_OP_SRC, picture.id(), XCB_NONE, picture_.id(),
                         static_cast<std::int16_t>(area_.x), static_cast<std::int16_t>(area_.y), 0,
                         0, 0, 0, static_cast<std::uint16_t>(width_),
                         static_cast<std::uint16_t>(height_));
}

void Canvas::draw(const TopLevel& top, const WindowShape& shape, WindowContent& content) {
    std::vector<xcb_rectangle_t> parts;
    for (const PixelRect& part : shape.parts) {
        if (const PixelRect seen = intersection(part, area_); !seen.empty())
            parts.push_back(onCanvas(seen));
    }
    if (parts.empty())
        return;
    clipTo(parts);
    const PixelRect seen = intersection(top.box, area_);
    content.drawOn(picture_.id(), onCanvas(seen), static_cast<std::int16_t>(seen.x - top.box.x),
                   static_cast<std::int16_t>(seen.y - top.box.y), shape.opacity);
}

void Canvas::clipTo(const std::vector<xcb_rectangle_t>& rectangles) {
    steps_.add(xcb_render_set_picture_clip_rectangles_checked(
        connection_.handle(), picture_.id(), 0, 0, static_cast<std::uint32_t>(rectangles.size()),
        rectangles.data()));
}

xcb_rectangle_t Canvas::onCanvas(const PixelRect& onRoot) const {
    return {static_cast<std::int16_t>(onRoot.x - area_.x),
            static_cast<std::int16_t>(onRoot.y - area_.y), static_cast<std::uint16_t>(onRoot.width),
            static_cast<std::uint16_t>(onRoot.height)};
}

}  // namespace qor::x11
