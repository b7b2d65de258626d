#include "random_drawing.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::uint16_t kPaletteCells = 24;
constexpr std::uint16_t kImageWidth = 37;
constexpr std::uint16_t kImageHeight = 19;
constexpr std::string_view kFont = "fixed";
constexpr std::string_view kText = "The quick brown fox";

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

xcb_rectangle_t rectangleOf(const Area& area) {
    return {area.x, area.y, area.width, area.height};
}

bool isOfPalette(const xcb_screen_t* screen) {
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0;
         xcb_depth_next(&depth)) {
        const xcb_visualtype_t* visuals = xcb_depth_visuals(depth.data);
        for (int i = 0; i < xcb_depth_visuals_length(depth.data); ++i) {
            if (visuals[i].visual_id == screen->root_visual)
                return visuals[i]._class == XCB_VISUAL_CLASS_PSEUDO_COLOR;
        }
    }
    throw std::runtime_error("the server does not say what its screen's pixels are");
}

std::uint32_t bitsPerPixelOf(xcb_connection_t* connection, std::uint8_t depth) {
    for (auto format = xcb_setup_pixmap_formats_iterator(xcb_get_setup(connection)); format.rem > 0;
         xcb_format_next(&format)) {
        if (format.data->depth == depth)
            return format.data->bits_per_pixel;
    }
    throw std::runtime_error("the server does not say how large its screen's pixels are");
}

}  // namespace

RandomDrawing::RandomDrawing(xcb_connection_t* connection, std::mt19937& random)
    : connection_(connection),
      random_(random),
      screen_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data),
      bitsPerPixel_(bitsPerPixelOf(connection, screen_->root_depth)) {
    const xcb_font_t font = xcb_generate_id(connection);
    xcb_open_font(connection, font, kFont.size(), kFont.data());
    pen_ = xcb_generate_id(connection);
    const std::uint32_t values[]{font, 0};  // in the order of the mask's bits
    xcb_create_gc(connection, pen_, screen_->root, XCB_GC_FONT | XCB_GC_GRAPHICS_EXPOSURES, values);
    if (isOfPalette(screen_))
        allocatePalette();
}

void RandomDrawing::allocatePalette() {
    const std::unique_ptr<xcb_alloc_color_cells_reply_t, FreeReply> cells(
        xcb_alloc_color_cells_reply(
            connection_,
            xcb_alloc_color_cells(connection_, 0, screen_->default_colormap, kPaletteCells, 0),
            nullptr));
    if (cells == nullptr)
        throw std::runtime_error("the server's palette cannot be changed");
    const std::uint32_t* first = xcb_alloc_color_cells_pixels(cells.get());
    palette_.assign(first, first + cells->pixels_len);
    for (int i = 0; i < 3 * kPaletteCells; ++i)
        changePalette();
}

std::uint32_t RandomDrawing::anyPixel() {
    if (hasPalette())
        return palette_[static_cast<std::size_t>(below(static_cast<int>(palette_.size())))];
    return static_cast<std::uint32_t>(random_()) & ((1U << screen_->root_depth) - 1);
}

Area RandomDrawing::anyArea(int mostWidth, int mostHeight) {
    const int divisor = oneIn(2) ? 8 : 1;
    const int width = 1 + below(mostWidth / divisor);
    const int height = 1 + below(mostHeight / divisor);
    return {static_cast<std::int16_t>(below(screen_->width_in_pixels + width) - width),
            static_cast<std::int16_t>(below(screen_->height_in_pixels + height) - height),
            static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
}

xcb_gcontext_t RandomDrawing::pen(std::uint8_t function, std::uint8_t subwindowMode) {
    const std::uint32_t values[]{function, anyPixel(), subwindowMode};  // in the bits' order
    xcb_change_gc(connection_, pen_, XCB_GC_FUNCTION | XCB_GC_FOREGROUND | XCB_GC_SUBWINDOW_MODE,
                  values);
    return pen_;
}

std::string RandomDrawing::draw(xcb_window_t target, xcb_window_t source) {
    switch (below(8)) {
        case 0:
            return fill(target);
        case 1:
            return drawLines(target);
        case 2:
            return drawPoints(target);
        case 3:
            return drawText(target);
        case 4:
            return copy(target, source);
        case 5:
            return scroll(target);
        case 6:
            return putImage(target);
        default:
            return clear(target);
    }
}

// In what follows the random numbers are taken before the request is put together: in which order a
// call's arguments are found is the compiler's choice.

std::string RandomDrawing::fill(xcb_window_t target) {
    const Area area = anyArea(150, 100);
    const xcb_rectangle_t rectangles[]{rectangleOf(area), rectangleOf(anyArea(150, 100))};
    const std::uint32_t count = oneIn(2) ? 1 : 2;
    const auto chosen = pen(oneIn(4) ? XCB_GX_XOR : XCB_GX_COPY);
    xcb_poly_fill_rectangle(connection_, target, chosen, count, rectangles);
    return "fill";
}

std::string RandomDrawing::drawLines(xcb_window_t target) {
    std::array<xcb_point_t, 5> points{};
    for (xcb_point_t& point : points) {
        const Area place = anyArea(8, 8);
        point = {place.x, place.y};
    }
    xcb_poly_line(connection_, XCB_COORD_MODE_ORIGIN, target, pen(), points.size(), points.data());
    return "lines";
}

std::string RandomDrawing::drawPoints(xcb_window_t target) {
    std::array<xcb_point_t, 20> points{};
    for (xcb_point_t& point : points)
        point = {static_cast<std::int16_t>(below(200)), static_cast<std::int16_t>(below(150))};
    xcb_poly_point(connection_, XCB_COORD_MODE_ORIGIN, target, pen(), points.size(), points.data());
    return "points";
}

std::string RandomDrawing::drawText(xcb_window_t target) {
    const auto length = static_cast<std::uint8_t>(1 + below(kText.size()));
    const auto x = static_cast<std::int16_t>(below(100));
    const auto y = static_cast<std::int16_t>(below(150));
    xcb_image_text_8(connection_, length, target, pen(), x, y, kText.data());
    return "text";
}

std::string RandomDrawing::copy(xcb_window_t target, xcb_window_t source) {
    const Area from = anyArea(100, 100);
    const Area to = anyArea(100, 100);
    xcb_copy_area(connection_, source, target, pen(), from.x, from.y, to.x, to.y, from.width,
                  from.height);
    return "copy";
}

std::string RandomDrawing::scroll(xcb_window_t target) {
    const auto rows = static_cast<std::int16_t>(1 + below(20));
    xcb_copy_area(connection_, target, target, pen(), 0, rows, 0, 0, 200, 150);
    return "scroll";
}

/* With noise in the bits that are no part of a pixel, too. */
std::string RandomDrawing::putImage(xcb_window_t target) {
    const std::uint32_t rowBits = (kImageWidth * bitsPerPixel_ + 31) / 32 * 32;
    std::vector<std::uint8_t> bytes(std::size_t{rowBits} / 8 * kImageHeight);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random_());
    const Area place = anyArea(100, 100);
    xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, target, pen(), kImageWidth, kImageHeight,
                  place.x, place.y, 0, screen_->root_depth,
                  static_cast<std::uint32_t>(bytes.size()), bytes.data());
    return "image";
}

std::string RandomDrawing::clear(xcb_window_t target) {
    const Area area = anyArea(150, 100);
    xcb_clear_area(connection_, 0, target, area.x, area.y, area.width, area.height);
    return "clear";
}

std::string RandomDrawing::drawOverAll() {
    const xcb_rectangle_t outline = rectangleOf(anyArea(200, 150));
    xcb_poly_rectangle(connection_, screen_->root,
                       pen(XCB_GX_INVERT, XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS), 1, &outline);
    return "outline";
}

std::string RandomDrawing::changePalette() {
    if (!hasPalette())
        return fill(screen_->root);
    const auto shade = [this] { return static_cast<std::uint16_t>(random_()); };
    const xcb_coloritem_t item{anyPixel(),
                               shade(),
                               shade(),
                               shade(),
                               XCB_COLOR_FLAG_RED | XCB_COLOR_FLAG_GREEN | XCB_COLOR_FLAG_BLUE,
                               0};
    xcb_store_colors(connection_, screen_->default_colormap, 1, &item);
    return "palette";
}

/* Squares, of several sizes, so that a pattern's place on the screen is plain. */
xcb_pixmap_t RandomDrawing::makePattern() {
    const auto square = static_cast<std::uint16_t>(1U << below(5));
    const auto size = static_cast<std::uint16_t>(2 * square);
    const auto middle = static_cast<std::int16_t>(square);
    const xcb_pixmap_t pattern = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, screen_->root_depth, pattern, screen_->root, size, size);
    const xcb_rectangle_t all{0, 0, size, size};
    const xcb_rectangle_t squares[]{{0, 0, square, square}, {middle, middle, square, square}};
    xcb_poly_fill_rectangle(connection_, pattern, pen(), 1, &all);
    xcb_poly_fill_rectangle(connection_, pattern, pen(), 2, squares);
    return pattern;
}
