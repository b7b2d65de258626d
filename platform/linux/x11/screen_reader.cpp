#include "x11/screen_reader.h"

#include <cstring>
#include <utility>

#include "coregraphics/trace.h"
#include "x11/desktop_image.h"
#include "x11/palette_request.h"

namespace qor::x11 {

using coregraphics::PixelRect;

namespace {

bool isLikeImages(const PixelFormat& format) {
    return lacksOnlyAlpha(format) || isNative(format);
}

ScreenReader::Outcome outcomeOf(GrabStatus status) {
    using Outcome = ScreenReader::Outcome;
    switch (status) {
        case GrabStatus::done:
            return Outcome::done;
        case GrabStatus::noAnswer:
            return Outcome::failed;
        default:
            return Outcome::outdated;
    }
}

}  // namespace

bool ScreenReader::isPossible() {
    if (std::exchange(hasLookedForFormat_, true))
        return format_.has_value();
    const xcb_screen_t& screen = connection_.screen();
    root_ = {0, 0, screen.width_in_pixels, screen.height_in_pixels};
    format_ = findRootFormat(*xcb_get_setup(connection_.handle()), connection_.screen());
    if (!format_)
        coregraphics::trace("no images: a depth of %u bits is not supported", screen.root_depth);
    return format_.has_value();
}

std::optional<ScreenFrame> ScreenReader::begin(const PixelRect& area) {
    ScreenFrame frame{area, intersection(area, root_), transport_.lend(area.width, area.height)};
    const auto& pixels = frame.memory.pixels;
    if (pixels.bytes == nullptr)
        return std::nullopt;
    if (frame.visible != area)
        std::memset(pixels.bytes.get(), 0, pixels.bytesPerRow * pixels.height);
    return frame;
}

xcb_render_picture_t ScreenReader::picture() {
    const auto& formats = connection_.link().pictureFormats.byVisual;
    const auto found = formats.find(connection_.screen().root_visual);
    if (found == formats.end() || !hasOwnColors() || !lacksOnlyAlpha(format_->pixels))
        return XCB_NONE;
    if (!picture_) {
        const std::uint32_t withWindows = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
        picture_.emplace(connection_);
        xcb_render_create_picture(connection_.handle(), picture_->id(), connection_.screen().root,
                                  found->second.id, XCB_RENDER_CP_SUBWINDOW_MODE, &withWindows);
    }
    return picture_->id();
}

// Asking for a pixel outside the root window is an error, and the root window can be resized at any
// time. So its size is asked for in the same round trip as the image, which is cut to the size last
// seen; if that was wrong, so is the frame.
ScreenReader::Outcome ScreenReader::read(ScreenFrame& frame, const PixelRect& part) {
    transport_.trim();  // what is read into is not among it
    const bool isDrawn = frame.memory.picture != XCB_NONE && picture() != XCB_NONE;
    std::optional<xcb_void_cookie_t> drawing;
    if (isDrawn)
        drawing = draw(frame, part);
    const auto geometryCookie = xcb_get_geometry(connection_.handle(), connection_.screen().root);
    Request<xcb_get_geometry_reply_t> geometryRequest(connection_, geometryCookie);
    Outcome outcome = Outcome::done;
    if (!isDrawn && !part.empty())
        outcome = readPixels(frame, part);
    const auto geometry = geometryRequest.take();
    if (drawing)
        outcome = outcomeOfDrawing(*drawing);
    if (outcome == Outcome::failed || geometry == nullptr)
        return Outcome::failed;
    // A notice that was taken in meanwhile may be newer than the reply. An event carries the number
    // of the last request that the server had come to.
    if (static_cast<std::int32_t>(rootKnownAt_ - geometryCookie.sequence) < 0) {
        root_ = {0, 0, geometry->width, geometry->height};
        rootKnownAt_ = geometryCookie.sequence;
    }
    return frame.visible == intersection(frame.area, root_) ? outcome : Outcome::outdated;
}

bool ScreenReader::take(const xcb_generic_event_t& event) noexcept {
    const auto& notice = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
    if (event.response_type == XCB_CONFIGURE_NOTIFY && notice.window == connection_.screen().root) {
        root_ = {0, 0, notice.width, notice.height};
        rootKnownAt_ = event.full_sequence;
    }
    return false;
}

xcb_void_cookie_t ScreenReader::draw(const ScreenFrame& frame, const PixelRect& part) {
    const auto x = static_cast<std::int16_t>(part.x - frame.area.x);
    const auto y = static_cast<std::int16_t>(part.y - frame.area.y);
    return xcb_render_composite_checked(
        connection_.handle(), XCB_RENDER_PICT_OP_SRC, picture(), XCB_NONE, frame.memory.picture,
        static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y), 0, 0, x, y,
        static_cast<std::uint16_t>(part.width), static_cast<std::uint16_t>(part.height));
}

/* Once the reply to a later request has come, or will not come. */
ScreenReader::Outcome ScreenReader::outcomeOfDrawing(xcb_void_cookie_t drawing) {
    if (!connection_.answers()) {
        xcb_discard_reply(connection_.handle(), drawing.sequence);
        return Outcome::failed;
    }
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection_.handle(), drawing));
    if (error == nullptr)
        return Outcome::done;
    transport_.stopDrawing();
    return Outcome::outdated;
}

ScreenReader::Outcome ScreenReader::readPixels(const ScreenFrame& frame, const PixelRect& part) {
    // Whole rows take a copy less, and narrow parts fewer pixels.
    const bool isNarrow = 2 * part.width < frame.area.width;
    const bool canBeRows = frame.memory.segment != nullptr && hasOwnColors() &&
                           isLikeImages(format_->pixels) && frame.visible.x == frame.area.x &&
                           frame.visible.width == frame.area.width;
    return canBeRows && !isNarrow ? readRows(frame, part) : convert(frame, part);
}

ScreenReader::Outcome ScreenReader::readRows(const ScreenFrame& frame, const PixelRect& part) {
    const PixelRect rows{frame.area.x, part.y, frame.area.width, part.height};
    const coregraphics::PixelBuffer& image = frame.memory.pixels;
    const std::size_t offset = static_cast<std::size_t>(rows.y - frame.area.y) * image.bytesPerRow;
    const GrabResult grabbed = transport_.grabInto(frame.memory, offset, connection_.screen().root,
                                                   rows, image.bytesPerRow * rows.height);
    if (grabbed.status == GrabStatus::done)
        putRows(image.bytes.get() + offset, format_->pixels, rows, frame.area, image);
    return outcomeOf(grabbed.status);
}

ScreenReader::Outcome ScreenReader::convert(const ScreenFrame& frame, const PixelRect& part) {
    PixelFormat format = format_->pixels;
    std::optional<PaletteRequest> paletteRequest;
    if (!hasOwnColors())
        paletteRequest.emplace(connection_, format_->paletteSize);
    const GrabResult grabbed = transport_.grab(connection_.screen().root, part,
                                               rowBytes(format, part.width) * part.height);
    if (grabbed.status != GrabStatus::done)
        return outcomeOf(grabbed.status);
    if (paletteRequest && (format.palette = paletteRequest->take()).empty())
        return Outcome::failed;
    putRows(grabbed.bytes.get(), format, part, frame.area, frame.memory.pixels);
    return Outcome::done;
}

}  // namespace qor::x11
