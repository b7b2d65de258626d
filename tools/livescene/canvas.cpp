#include "canvas.h"

#include <array>
#include <cstdlib>

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, Free>;

// Eight bits of a colour to the protocol's sixteen: 0xFF becomes 0xFFFF.
std::uint16_t channel(Color color, unsigned int shift) {
    return static_cast<std::uint16_t>(((color >> shift) & 0xFFU) * 0x101U);
}

}  // namespace

Canvas::Canvas() {
    int screenNumber = 0;
    connection_.reset(xcb_connect(nullptr, &screenNumber));
    if (!alive()) {
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (; screenNumber > 0; --screenNumber) {
        xcb_screen_next(&screens);
    }
    screen_ = screens.data;

    xcb_connection_t* const connection = connection_.get();
    const xcb_font_t font = xcb_generate_id(connection);
    constexpr std::array<char, 5> kFontThatEveryServerHas{'f', 'i', 'x', 'e', 'd'};
    xcb_open_font(connection, font, kFontThatEveryServerHas.size(), kFontThatEveryServerHas.data());
    context_ = xcb_generate_id(connection);
    const std::array<std::uint32_t, 2> values{font, 0};
    // Without graphics exposures: each presentation would send an event that nobody waits for.
    xcb_create_gc(connection, context_, screen_->root, XCB_GC_FONT | XCB_GC_GRAPHICS_EXPOSURES,
                  values.data());
}

xcb_window_t Canvas::createWindow(const std::string& title, const xcb_rectangle_t& area) {
    xcb_connection_t* const connection = connection_.get();
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen_->root, area.x, area.y,
                      area.width, area.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(title.size()), title.data());
    xcb_map_window(connection, window);
    return window;
}

xcb_pixmap_t Canvas::createPicture(std::uint16_t width, std::uint16_t height) {
    const xcb_pixmap_t picture = xcb_generate_id(connection_.get());
    xcb_create_pixmap(connection_.get(), screen_->root_depth, picture, screen_->root, width,
                      height);
    return picture;
}

void Canvas::fill(xcb_drawable_t drawable, Color color, std::span<const xcb_rectangle_t> areas) {
    setColor(color);
    xcb_poly_fill_rectangle(connection_.get(), drawable, context_,
                            static_cast<std::uint32_t>(areas.size()), areas.data());
}

void Canvas::fill(xcb_drawable_t drawable, Color color, const xcb_rectangle_t& area) {
    fill(drawable, color, std::span(&area, 1));
}

void Canvas::fillEllipse(xcb_drawable_t drawable, Color color, const xcb_rectangle_t& bounds) {
    constexpr std::int16_t kFullCircle = 360 * 64;
    const xcb_arc_t arc{bounds.x, bounds.y, bounds.width, bounds.height, 0, kFullCircle};
    setColor(color);
    xcb_poly_fill_arc(connection_.get(), drawable, context_, 1, &arc);
}

void Canvas::text(xcb_drawable_t drawable, std::int16_t x, std::int16_t baseline, Color color,
                  Color background, const std::string& text) {
    const std::array<std::uint32_t, 2> values{pixel(color), pixel(background)};
    xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND | XCB_GC_BACKGROUND,
                  values.data());
    xcb_image_text_8(connection_.get(), static_cast<std::uint8_t>(text.size()), drawable, context_,
                     x, baseline, text.data());
}

void Canvas::present(xcb_window_t window, xcb_pixmap_t picture, std::uint16_t width,
                     std::uint16_t height) {
    xcb_copy_area(connection_.get(), picture, window, context_, 0, 0, 0, 0, width, height);
}

void Canvas::presentAsBackground(xcb_pixmap_t picture) {
    xcb_change_window_attributes(connection_.get(), screen_->root, XCB_CW_BACK_PIXMAP, &picture);
    xcb_clear_area(connection_.get(), 0, screen_->root, 0, 0, 0, 0);
}

void Canvas::finishDrawing() {
    xcb_connection_t* const connection = connection_.get();
    const ReplyPtr<xcb_get_input_focus_reply_t> drawn(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    while (const ReplyPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
    }
}

// Asks the server once for each colour: it alone knows the bits of its visual.
std::uint32_t Canvas::pixel(Color color) {
    const auto known = pixels_.find(color);
    if (known != pixels_.end()) {
        return known->second;
    }
    xcb_connection_t* const connection = connection_.get();
    const ReplyPtr<xcb_alloc_color_reply_t> reply(xcb_alloc_color_reply(
        connection,
        xcb_alloc_color(connection, screen_->default_colormap, channel(color, 16),
                        channel(color, 8), channel(color, 0)),
        nullptr));
    return pixels_[color] = reply ? reply->pixel : screen_->white_pixel;
}

void Canvas::setColor(Color color) {
    const std::uint32_t foreground = pixel(color);
    xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &foreground);
}
