/* The picture that desktops have behind all windows. */
#pragma once

#include "x11/canvas.h"
#include "x11/connection.h"

namespace qor::x11 {

/* Where desktops leave the name of the pixmap that they set as the root window's background, which
 * cannot be asked for otherwise. */
struct BackdropProperties {
    xcb_atom_t usual = XCB_NONE;  // _XROOTPMAP_ID
    xcb_atom_t older = XCB_NONE;  // ESETROOT_PMAP_ID
};

/* That pixmap, which repeats over the root window and has its depth. XCB_NONE if there is none, or
 * what the property names is something else. */
xcb_pixmap_t findBackdrop(Connection& connection, const BackdropProperties& properties);

/* Draws such a pixmap. If it has just gone, the canvas stays as it was. */
void drawBackdrop(Connection& connection, xcb_pixmap_t pixmap, Canvas& canvas);

}  // namespace qor::x11
