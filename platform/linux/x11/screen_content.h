/* What the screen shows: all windows as they are seen, and what is around them. */
#pragma once

#include <optional>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"
#include "x11/image_transport.h"
#include "x11/root_format.h"

namespace qor::x11 {

class ScreenContent {
  public:
    ScreenContent(Connection& connection, ImageTransport& transport)
        : connection_(connection), transport_(transport) {}

    /* The present pixels of an area of the root window, zero where it reaches past it. Null if they
     * cannot be had. */
    std::optional<coregraphics::PixelBuffer> grab(const coregraphics::PixelRect& area);

  private:
    bool findFormat();

    Connection& connection_;
    ImageTransport& transport_;
    bool hasLookedForFormat_ = false;
    std::optional<RootFormat> format_;  // null too if it cannot be converted
    coregraphics::PixelRect root_;      // as last seen
};

}  // namespace qor::x11
