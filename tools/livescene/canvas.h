/*
 * Drawing through an X server: one connection, off-screen pictures, coloured shapes.
 *
 * Core protocol only, so that the scene runs on any server. Requests are unchecked throughout: the
 * server can refuse none of them except for want of memory, and a lost connection shows in alive().
 * Coordinates are pixels from the upper left corner of the drawable.
 */
#ifndef LIVESCENE_CANVAS_H
#define LIVESCENE_CANVAS_H

#include <xcb/xcb.h>

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>

using Color = std::uint32_t;  // 0xRRGGBB

class Canvas {
  public:
    /* Connects to the server in DISPLAY; alive() is false when that failed. */
    Canvas();

    bool alive() const { return xcb_connection_has_error(connection_.get()) == 0; }
    int descriptor() const { return xcb_get_file_descriptor(connection_.get()); }
    std::uint16_t width() const { return screen_->width_in_pixels; }
    std::uint16_t height() const { return screen_->height_in_pixels; }

    /* A mapped top-level window; its picture shows when something is presented. */
    xcb_window_t createWindow(const std::string& title, const xcb_rectangle_t& area);

    /* An off-screen picture of the root's depth. The server frees it with the connection. */
    xcb_pixmap_t createPicture(std::uint16_t width, std::uint16_t height);

    void fill(xcb_drawable_t drawable, Color color, std::span<const xcb_rectangle_t> areas);
    void fill(xcb_drawable_t drawable, Color color, const xcb_rectangle_t& area);
    void fillEllipse(xcb_drawable_t drawable, Color color, const xcb_rectangle_t& bounds);
    void text(xcb_drawable_t drawable, std::int16_t x, std::int16_t baseline, Color color,
              Color background, const std::string& text);

    void present(xcb_window_t window, xcb_pixmap_t picture, std::uint16_t width,
                 std::uint16_t height);
    void presentAsBackground(xcb_pixmap_t picture);

    /* Returns when the server has drawn everything. Also takes the events, which nobody needs. */
    void finishDrawing();

  private:
    std::uint32_t pixel(Color color);
    void setColor(Color color);

    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_screen_t* screen_ = nullptr;  // owned by the connection
    xcb_gcontext_t context_ = 0;
    std::map<Color, std::uint32_t> pixels_;
};

#endif
