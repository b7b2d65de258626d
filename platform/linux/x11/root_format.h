/* What the root window's pixels mean. */
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "x11/connection.h"
#include "x11/pixel_format.h"

namespace qor::x11 {

/* The format of images of the root window. It stays as long as the connection, except for the
 * palette, which is left empty. */
struct RootFormat {
    PixelFormat pixels;
    unsigned paletteSize = 0;  // 0 if pixels have colours of their own
};

/* Null if the server describes no usable format. */
std::optional<RootFormat> findRootFormat(const Connection& connection);

/* Asks for the present colours of the screen's default colormap. */
class PaletteRequest {
  public:
    PaletteRequest(Connection& connection, unsigned size);

    /* Colours as 0xAARRGGBB; empty if the server did not tell. Once only. */
    std::vector<std::uint32_t> take();

  private:
    Request<xcb_query_colors_reply_t> request_;
};

}  // namespace qor::x11
