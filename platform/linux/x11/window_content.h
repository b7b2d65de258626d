/* What a window shows, covered or not (COMPOSITE). */
#pragma once

#include <cstdint>
#include <span>

#include "x11/connection.h"
#include "x11/request_batch.h"
#include "x11/server_resource.h"

namespace qor::x11 {

/* Whether the server has COMPOSITE 0.2. Waits without a bound. */
bool offersWindowContents(xcb_connection_t* handle);

/* Has the server keep the content of each child of the root window in a pixmap of its own, and show
 * it as before, until the connection ends. False if it refuses. */
bool keepWindowContents(Connection& connection);

/* The pixmap that a window's content is in, border included, as a picture to read or to write. It
 * stays when the window lets go of it because it is resized, unmapped or destroyed. */
class WindowContent {
  public:
    WindowContent(Connection& connection, xcb_window_t window, xcb_render_pictformat_t format);

    xcb_render_picture_t picture() const { return picture_.id(); }
    xcb_pixmap_t pixmap() const { return pixmap_.id(); }

    /* Writes one colour to areas in the pixmap's coordinates. */
    void fill(std::span<const xcb_rectangle_t> areas, xcb_render_color_t color);

    /* Draws a part of it on another picture, opacity 0xffff being all of it. */
    void drawOn(xcb_render_picture_t target, xcb_render_pict_op_t operation,
                const xcb_rectangle_t& targetArea, std::int16_t x, std::int16_t y,
                std::uint16_t opacity);

    enum class Outcome { done, hasNone, failed };

    /* Once only, when a later request's reply has come. hasNone: the window was not on screen any
     * more. */
    Outcome outcome();

  private:
    Connection& connection_;
    Pixmap pixmap_;
    Picture picture_;
    RequestBatch naming_;
    RequestBatch drawing_;
};

}  // namespace qor::x11
