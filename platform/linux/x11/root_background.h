/*
 * What the server shows where there is no window: the root window's own background.
 *
 * It cannot be asked for. But a window can be made to take its parent's background over, so one of
 * ours beside the screen, where nobody sees it, has the server paint it, and the server keeps its
 * content like that of any other (COMPOSITE, which has to be on). Its place is such that patterns
 * lie in it as on the screen, if their height divides that of the screen or is one of the usual
 * ones.
 *
 * Not to be used where a compositing manager runs: that shows something else, and would take the
 * window for an application's.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/canvas.h"
#include "x11/connection.h"
#include "x11/server_resource.h"
#include "x11/window_content.h"

namespace qor::x11 {

class RootBackground {
  public:
    /* For a root window of that size. */
    RootBackground(Connection& connection, std::uint32_t width, std::uint32_t height);

    bool hasSize(std::uint32_t width, std::uint32_t height) const {
        return width == width_ && height == height_;
    }

    /* False if the root window has none, which servers can be told: then what was on screen stays
     * there when a window goes. False too if the server does not answer. */
    bool isDefined();

    /* Has parts of the background painted anew, and draws it on the canvas. */
    void drawOn(Canvas& canvas, const std::vector<coregraphics::PixelRect>& parts);

    /* What became of the drawing. Once only, when a later request's reply has come. */
    WindowContent::Outcome outcome();

  private:
    void paint(const std::vector<xcb_rectangle_t>& parts, xcb_render_color_t underneath);

    Connection& connection_;
    const std::uint32_t width_;
    const std::uint32_t height_;
    Window window_;
    std::optional<bool> isDefined_;         // null until it was asked for
    std::optional<WindowContent> content_;  // while it is being drawn
};

}  // namespace qor::x11
