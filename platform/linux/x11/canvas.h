/* A pixmap of the root window's depth that windows are drawn on (RENDER). */
#pragma once

#include <cstdint>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/request_batch.h"
#include "x11/server_resource.h"
#include "x11/top_levels.h"
#include "x11/window_content.h"
#include "x11/window_shape.h"

namespace qor::x11 {

class Canvas {
  public:
    /* format is that of the root window's visual. */
    Canvas(Connection& connection, std::uint32_t width, std::uint32_t height,
           xcb_render_pictformat_t format);

    bool hasSize(std::uint32_t width, std::uint32_t height) const {
        return width == width_ && height == height_;
    }
    xcb_drawable_t drawable() const { return pixmap_.id(); }

    /* Begins a picture of an area of the root window, which has the canvas's size: all zero, or
     * opaque black. What the canvas showed before is gone. */
    void beginZero(const coregraphics::PixelRect& area);
    void beginBlack(const coregraphics::PixelRect& area);

    /* Draws a pixmap that repeats from the root window's corner. */
    void drawBackdrop(xcb_pixmap_t pixmap, xcb_render_pictformat_t format);

    /* Draws the parts of a window that lie in the area. */
    void draw(const TopLevel& top, const WindowShape& shape, WindowContent& content);

    /* Whether the canvas was made, and is what was drawn on it. Once a picture, when the reply to a
     * later request has come. */
    bool isSound() { return steps_.firstError() == 0; }

  private:
    void begin(const coregraphics::PixelRect& area, std::uint16_t alpha);
    void clipTo(const std::vector<xcb_rectangle_t>& rectangles);
    xcb_rectangle_t onCanvas(const coregraphics::PixelRect& onRoot) const;

    Connection& connection_;
    const std::uint32_t width_;
    const std::uint32_t height_;
    Pixmap pixmap_;
    Picture picture_;
    RequestBatch steps_;
    coregraphics::PixelRect area_;
};

}  // namespace qor::x11
