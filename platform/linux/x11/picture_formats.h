/* What RENDER calls the pixel formats of a screen's visuals. */
#pragma once

#include <xcb/render.h>

#include <map>

namespace qor::x11 {

/* Formats of pixels that hold colours, by visual; those with a palette are not among them. */
using PictureFormats = std::map<xcb_visualid_t, xcb_render_pictformat_t>;

/* Empty if the server has no RENDER 0.10, which is the first with pictures of one colour. Waits
 * without a bound. */
PictureFormats findPictureFormats(xcb_connection_t* handle, int screenNumber);

}  // namespace qor::x11
