/*
 * A client that paints known colours on a test's X server.
 *
 * Coordinates are pixels of the root window. What was painted is on the screen when sync() returns;
 * it stays when the painter is gone, except for its windows. Errors throw std::runtime_error.
 */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>

struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    friend bool operator==(const Color&, const Color&) = default;
};

struct Area {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

class Painter {
  public:
    explicit Painter(const std::string& display);

    /* Fills an area of the root window. */
    void fill(const Area& area, Color color) const;

    /* Opens a window on top of all others, without a frame, filled with a colour. */
    xcb_window_t openWindow(const Area& area, Color color) const;

    /* Returns when the server has done all that was asked. */
    void sync() const;

    std::uint16_t screenWidth() const { return screen_->width_in_pixels; }
    std::uint16_t screenHeight() const { return screen_->height_in_pixels; }

  private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    std::uint32_t pixelFor(Color color) const;

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_ = nullptr;
    xcb_gcontext_t context_ = 0;
};

/* A screen that no two quarters of look alike: a grid of many colours with windows on it, there as
 * long as the object. */
class PaintedScene {
  public:
    explicit PaintedScene(const std::string& display);

  private:
    Painter painter_;
};
