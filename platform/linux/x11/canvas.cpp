#include "x11/canvas.h"

#include "x11/desktop_image.h"
#include "x11/rectangle.h"

namespace qor::x11 {

using coregraphics::PixelRect;

namespace {

constexpr std::uint8_t kDepth = 32;
constexpr std::uint16_t kAll = 0xffff;

}  // namespace

Canvas::Canvas(Connection& connection, std::uint32_t width, std::uint32_t height)
    : connection_(connection),
      width_(width),
      height_(height),
      pixmap_(std::in_place, connection),
      drawable_(pixmap_->id()),
      picture_(connection),
      steps_(connection) {
    steps_.add(xcb_create_pixmap_checked(
        connection.handle(), kDepth, drawable_, connection.screen().root,
        static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)));
    createPicture();
}

Canvas::Canvas(Connection& connection, const Segment& image)
    : connection_(connection),
      width_(image.width),
      height_(image.height),
      drawable_(image.pixmap),
      picture_(connection),
      steps_(connection) {
    createPicture();
}

/* One of the canvas's own also on an image, as it is clipped. */
void Canvas::createPicture() {
    steps_.add(xcb_render_create_picture_checked(connection_.handle(), picture_.id(), drawable_,
                                                 connection_.link().pictureFormats.argb, 0,
                                                 nullptr));
}

PixelFormat Canvas::pixelFormat() const {
    const auto order = xcb_get_setup(connection_.handle())->image_byte_order;
    return {.mostSignificantByteFirst = order == XCB_IMAGE_ORDER_MSB_FIRST,
            .alphaMask = 0xff000000};
}

void Canvas::beginZero(const PixelRect& area, const std::vector<PixelRect>& parts) {
    area_ = area;
    parts_ = parts;
    begin(0);
}

void Canvas::beginBlack(const PixelRect& area, const std::vector<PixelRect>& parts) {
    area_ = area;
    parts_ = parts;
    begin(kAll);
}

void Canvas::beginAsIs(const PixelRect& area, const std::vector<PixelRect>& parts) {
    area_ = area;
    parts_ = parts;
}

void Canvas::begin(std::uint16_t alpha) {
    const auto rectangles = drawnOf({area_});
    clipTo(rectangles);
    // Checked, as otherwise an earlier picture may still be there.
    steps_.add(xcb_render_fill_rectangles_checked(
        connection_.handle(), XCB_RENDER_PICT_OP_SRC, picture_.id(), {0, 0, 0, alpha},
        static_cast<std::uint32_t>(rectangles.size()), rectangles.data()));
}

void Canvas::drawBackground(xcb_render_picture_t picture, const PictureFormat& format) {
    xcb_render_composite(connection_.handle(), XCB_RENDER_PICT_OP_SRC, picture, XCB_NONE,
                         picture_.id(), static_cast<std::int16_t>(area_.x),
                         static_cast<std::int16_t>(area_.y), 0, 0, 0, 0,
                         static_cast<std::uint16_t>(width_), static_cast<std::uint16_t>(height_));
    if (format.hasAlpha)
        makeOpaque(drawnOf({area_}));
}

void Canvas::makeOpaque(const std::vector<xcb_rectangle_t>& rectangles) {
    steps_.add(xcb_render_fill_rectangles_checked(
        connection_.handle(), XCB_RENDER_PICT_OP_ADD, picture_.id(), {0, 0, 0, kAll},
        static_cast<std::uint32_t>(rectangles.size()), rectangles.data()));
}

void Canvas::draw(const PixelRect& box, const WindowShape& shape, const PictureFormat& format,
                  Laying laying, WindowContent& content) {
    std::vector<PixelRect> onRoot = shape.parts;
    for (PixelRect& part : onRoot) {
        part.x += box.x;
        part.y += box.y;
    }
    const auto rectangles = drawnOf(onRoot);
    if (rectangles.empty())
        return;
    clipTo(rectangles);
    const PixelRect seen = intersection(box, area_);
    const bool isBlended = laying == Laying::blending;
    content.drawOn(picture_.id(), isBlended ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC,
                   rectangleOf(onCanvas(seen)), static_cast<std::int16_t>(seen.x - box.x),
                   static_cast<std::int16_t>(seen.y - box.y), isBlended ? shape.opacity : kAll);
    if (laying == Laying::covering && format.hasAlpha)
        makeOpaque(rectangles);
}

void Canvas::clipTo(const std::vector<xcb_rectangle_t>& rectangles) {
    steps_.add(xcb_render_set_picture_clip_rectangles_checked(
        connection_.handle(), picture_.id(), 0, 0, static_cast<std::uint32_t>(rectangles.size()),
        rectangles.data()));
}

PixelRect Canvas::onCanvas(const PixelRect& onRoot) const {
    return {onRoot.x - area_.x, onRoot.y - area_.y, onRoot.width, onRoot.height};
}

/* What of the given areas is drawn at all, on the canvas. */
std::vector<xcb_rectangle_t> Canvas::drawnOf(const std::vector<PixelRect>& onRoot) const {
    std::vector<xcb_rectangle_t> rectangles;
    for (const PixelRect& part : parts_) {
        for (const PixelRect& area : onRoot) {
            if (const PixelRect drawn = intersection(area, part); !drawn.empty())
                rectangles.push_back(rectangleOf(onCanvas(drawn)));
        }
    }
    return rectangles;
}

}  // namespace qor::x11
