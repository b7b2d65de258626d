/* What RENDER calls the pixel formats of a screen's visuals. */
#pragma once

#include <xcb/render.h>

#include <map>

namespace qor::x11 {

struct PictureFormat {
    xcb_render_pictformat_t id = XCB_NONE;
    bool hasAlpha = false;
};

struct PictureFormats {
    // Of pixels that hold colours, by visual; those with a palette are not among them.
    std::map<xcb_visualid_t, PictureFormat> byVisual;
    // 8 bits each of alpha, red, green and blue in a pixel of 32, from the upper to the lower.
    xcb_render_pictformat_t argb = XCB_NONE;
};

/* Empty if the server has no RENDER 0.10, which is the first with pictures of one colour. Waits
 * without a bound. */
PictureFormats findPictureFormats(xcb_connection_t* handle, int screenNumber);

}  // namespace qor::x11
