#include "painter.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

}  // namespace

Painter::Painter(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_.get()) != 0)
        throw std::runtime_error("the painter cannot connect to " + display);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
    context_ = xcb_generate_id(connection_.get());
    xcb_create_gc(connection_.get(), context_, screen_->root, 0, nullptr);
    sync();
}

std::uint32_t Painter::pixelFor(Color color) const {
    const auto widened = [](std::uint8_t component) {
        return static_cast<std::uint16_t>(component * 257);
    };
    // The server knows the pixel for a colour whatever its visual is.
    const auto cookie =
        xcb_alloc_color(connection_.get(), screen_->default_colormap, widened(color.red),
                        widened(color.green), widened(color.blue));
    const Reply<xcb_alloc_color_reply_t> reply(
        xcb_alloc_color_reply(connection_.get(), cookie, nullptr));
    if (reply == nullptr)
        throw std::runtime_error("the server has no such colour left");
    return reply->pixel;
}

void Painter::fill(const Area& area, Color color) const {
    const std::uint32_t pixel = pixelFor(color);
    xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &pixel);
    const xcb_rectangle_t rectangle{area.x, area.y, area.width, area.height};
    xcb_poly_fill_rectangle(connection_.get(), screen_->root, context_, 1, &rectangle);
}

xcb_window_t Painter::openWindow(const Area& area, Color color) const {
    const xcb_window_t window = xcb_generate_id(connection_.get());
    const std::uint32_t values[]{pixelFor(color), 1};  // in the order of the mask's bits
    xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, screen_->root, area.x,
                      area.y, area.width, area.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(connection_.get(), window);
    return window;
}

void Painter::sync() const {
    const Reply<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    if (reply == nullptr)
        throw std::runtime_error("the painter lost its server");
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
        if (event->response_type == 0)
            throw std::runtime_error("the server refused what the painter asked for");
    }
}

PaintedScene::PaintedScene(const std::string& display) : painter_(display) {
    constexpr int kCells = 8;
    const int cellWidth = painter_.screenWidth() / kCells + 1;
    const int cellHeight = painter_.screenHeight() / kCells + 1;
    const auto shade = [](int step) { return static_cast<std::uint8_t>(step * 255 / kCells); };
    for (int row = 0; row < kCells; ++row) {
        for (int column = 0; column < kCells; ++column) {
            const Area cell{static_cast<std::int16_t>(column * cellWidth),
                            static_cast<std::int16_t>(row * cellHeight),
                            static_cast<std::uint16_t>(cellWidth),
                            static_cast<std::uint16_t>(cellHeight)};
            painter_.fill(cell, {shade(column), shade(row), shade(column ^ row)});
        }
    }
    painter_.openWindow({17, 23, 120, 90}, {200, 30, 40});
    painter_.openWindow({61, 71, 130, 80}, {30, 180, 220});
    painter_.sync();
}
