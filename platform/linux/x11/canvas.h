/* A pixmap of 32 bits a pixel, alpha among them, that windows are drawn on (RENDER): one of its
 * own, or an image's. */
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/pixel_format.h"
#include "x11/request_batch.h"
#include "x11/segment_pool.h"
#include "x11/server_resource.h"
#include "x11/window_content.h"
#include "x11/window_shape.h"

namespace qor::x11 {

/* What becomes of what is beneath a window. */
enum class Laying {
    replacing,  // its pixels take the place, alpha and all
    covering,   // its colours do, opaque: as the server shows windows
    blending,   // it shines through, as compositing managers show windows
};

class Canvas {
  public:
    Canvas(Connection& connection, std::uint32_t width, std::uint32_t height);

    /* On an image's own memory, which the server can draw on, and which outlives it. */
    Canvas(Connection& connection, const Segment& image);

    bool hasSize(std::uint32_t width, std::uint32_t height) const {
        return width == width_ && height == height_;
    }
    xcb_drawable_t drawable() const { return drawable_; }

    /* How the canvas's pixels come out of the server. */
    PixelFormat pixelFormat() const;

    /* Begins a picture of an area of the root window, which has the canvas's size. Only the given
     * parts of the area are drawn from now on, and made all zero or opaque black at first; what the
     * canvas showed there before is gone. */
    void beginZero(const coregraphics::PixelRect& area,
                   const std::vector<coregraphics::PixelRect>& parts);
    void beginBlack(const coregraphics::PixelRect& area,
                    const std::vector<coregraphics::PixelRect>& parts);

    /* The same, for parts that will be drawn on all over: they are left as they are at first. */
    void beginAsIs(const coregraphics::PixelRect& area,
                   const std::vector<coregraphics::PixelRect>& parts);

    /* Draws a picture whose corner is the root window's, opaque. That it is there is not checked:
     * if it is not, black is right. */
    void drawBackground(xcb_render_picture_t picture, const PictureFormat& format);

    /* Draws a window's content where it fills its box. */
    void draw(const coregraphics::PixelRect& box, const WindowShape& shape,
              const PictureFormat& format, Laying laying, WindowContent& content);

    /* A part of the root window, in the canvas's coordinates. */
    coregraphics::PixelRect onCanvas(const coregraphics::PixelRect& onRoot) const;

    /* Whether the canvas was made, and is what was drawn on it. Once a picture, when the reply to a
     * later request has come. */
    bool isSound() { return steps_.firstError() == 0; }

  private:
    void createPicture();
    void begin(std::uint16_t alpha);
    void makeOpaque(const std::vector<xcb_rectangle_t>& rectangles);
    void clipTo(const std::vector<xcb_rectangle_t>& rectangles);
    std::vector<xcb_rectangle_t> drawnOf(const std::vector<coregraphics::PixelRect>& onRoot) const;

    Connection& connection_;
    const std::uint32_t width_;
    const std::uint32_t height_;
    std::optional<Pixmap> pixmap_;  // null if it is not its own
    const xcb_drawable_t drawable_;
    Picture picture_;
    RequestBatch steps_;
    coregraphics::PixelRect area_;
    std::vector<coregraphics::PixelRect> parts_;
};

}  // namespace qor::x11
