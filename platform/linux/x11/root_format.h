/* What the root window's pixels mean. Nothing is asked of a server in here. */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "x11/pixel_format.h"

namespace qor::x11 {

/* The format of images of the root window. It stays as long as the connection, except for the
 * palette, which is left empty. */
struct RootFormat {
    PixelFormat pixels;
    unsigned paletteSize = 0;  // 0 if pixels have colours of their own
};

/* What a server says of its screen; null if it describes no usable format. */
std::optional<RootFormat> findRootFormat(const xcb_setup_t& setup, const xcb_screen_t& screen);

/* The pixels whose colours, in their order, make a palette of the size. */
std::vector<std::uint32_t> palettePixels(const xcb_screen_t& screen, unsigned size);

}  // namespace qor::x11
