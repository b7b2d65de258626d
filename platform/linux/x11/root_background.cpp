#include "x11/root_background.h"

#include <cstring>
#include <numeric>
#include <utility>

#include "x11/rectangle.h"

namespace qor::x11 {
namespace {

using coregraphics::PixelRect;

constexpr std::uint16_t kAll = 0xffff;

/* How far above the screen to be, within the coordinates that there are: a multiple of its height,
 * of a power of two, and of as many other heights that patterns have as possible. */
std::int16_t distanceAbove(std::uint32_t height) {
    constexpr std::uint32_t kFarthest = 32768 - 1;
    constexpr std::uint32_t kHighestPowerOfTwo = 64;
    constexpr std::uint32_t kHighestPattern = 256;
    const auto fits = [](std::uint32_t distance) {
        std::uint32_t patterns = 0;
        for (std::uint32_t pattern = 1; pattern <= kHighestPattern; ++pattern)
            patterns += distance % pattern == 0 ? 1U : 0U;
        return std::pair(std::gcd(distance, kHighestPowerOfTwo), patterns);
    };
    std::uint32_t best = height;
    for (std::uint32_t distance = height; distance <= kFarthest; distance += height) {
        if (fits(distance) > fits(best))
            best = distance;
    }
    return static_cast<std::int16_t>(best);
}

Request<xcb_get_image_reply_t> askFirstPixel(Connection& connection, xcb_pixmap_t pixmap) {
    return {connection,
            xcb_get_image(connection.handle(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, 0, 0, 1, 1, ~0U)};
}

bool areEqual(const xcb_get_image_reply_t& a, const xcb_get_image_reply_t& b) {
    const int size = xcb_get_image_data_length(&a);
    return size == xcb_get_image_data_length(&b) &&
           std::memcmp(xcb_get_image_data(&a), xcb_get_image_data(&b),
                       static_cast<std::size_t>(size)) == 0;
}

}  // namespace

RootBackground::RootBackground(Connection& connection, std::uint32_t width, std::uint32_t height)
    : connection_(connection), width_(width), height_(height), window_(connection) {
    xcb_connection_t* handle = connection.handle();
    const std::uint32_t outsideOfWindowManagement = 1;
    const std::uint32_t values[]{XCB_BACK_PIXMAP_PARENT_RELATIVE, outsideOfWindowManagement};
    const auto above = static_cast<std::int16_t>(-distanceAbove(height));
    // Nothing is checked here: what is drawn from the window is.
    xcb_create_window(handle, XCB_COPY_FROM_PARENT, window_.id(), connection.screen().root, 0,
                      above, static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height),
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values);
    const std::uint32_t lowest = XCB_STACK_MODE_BELOW;
    xcb_configure_window(handle, window_.id(), XCB_CONFIG_WINDOW_STACK_MODE, &lowest);
    xcb_map_window(handle, window_.id());
}

/* Where there is no background, painting it changes nothing. */
void RootBackground::paint(const std::vector<xcb_rectangle_t>& parts,
                           xcb_render_color_t underneath) {
    content_->fill(parts, underneath);
    for (const xcb_rectangle_t& part : parts)
        xcb_clear_area(connection_.handle(), 0, window_.id(), part.x, part.y, part.width,
                       part.height);
}

bool RootBackground::isDefined() {
    if (isDefined_)
        return *isDefined_;
    const auto format =
        connection_.link().pictureFormats.byVisual.at(connection_.screen().root_visual);
    content_.emplace(connection_, window_.id(), format.id);
    const std::vector<xcb_rectangle_t> onePixel{{0, 0, 1, 1}};
    paint(onePixel, {0, 0, 0, kAll});
    auto overBlackRequest = askFirstPixel(connection_, content_->pixmap());
    paint(onePixel, {kAll, kAll, kAll, kAll});
    auto overWhiteRequest = askFirstPixel(connection_, content_->pixmap());
    const auto overBlack = overBlackRequest.take();
    const auto overWhite = overWhiteRequest.take();
    content_.reset();
    if (overBlack == nullptr || overWhite == nullptr)
        return false;
    isDefined_ = areEqual(*overBlack, *overWhite);
    return *isDefined_;
}

void RootBackground::drawOn(Canvas& canvas, const std::vector<PixelRect>& parts) {
    const auto format =
        connection_.link().pictureFormats.byVisual.at(connection_.screen().root_visual);
    content_.emplace(connection_, window_.id(), format.id);
    std::vector<xcb_rectangle_t> rectangles;
    rectangles.reserve(parts.size());
    for (const PixelRect& part : parts)
        rectangles.push_back(rectangleOf(part));
    paint(rectangles, {0, 0, 0, kAll});
    canvas.drawBackground(content_->picture(), format);
}

WindowContent::Outcome RootBackground::outcome() {
    const auto outcome = content_->outcome();
    content_.reset();
    return outcome;
}

}  // namespace qor::x11
