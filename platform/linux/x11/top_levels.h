/*
 * The windows on the screen: the children of the root window.
 *
 * An application knows its window by the number that its toolkit gave it. A window manager may have
 * put that window into a frame of its own; then the frame is the child of the root window, and
 * somewhere in it is the application's, marked with WM_STATE. A window manager may map the frame
 * before it sets the mark, and take the mark away before it unmaps the frame. Then the frame has no
 * number: under its own it would be taken for another window than the application's.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"

namespace qor::x11 {

struct TopLevel {
    xcb_window_t window = 0;
    xcb_window_t number = 0;      // the application's window, in it or itself; 0 while not visible
    coregraphics::PixelRect box;  // on the root window, with the border
    std::uint16_t border = 0;
    xcb_visualid_t visual = 0;
    bool isMapped = false;
    // Not so: windows for input only, and the server's own, on which compositing managers draw the
    // whole screen.
    bool isOfAnApplication = false;

    bool isVisible() const { return isMapped && isOfAnApplication; }
    bool isListed() const { return isVisible() && number != 0; }
};

/* The names that the marks go by. */
struct ManagerAtoms {
    xcb_atom_t state = XCB_NONE;          // WM_STATE, on applications' windows
    xcb_atom_t check = XCB_NONE;          // _NET_SUPPORTING_WM_CHECK, on the root window
    xcb_atom_t embeddingInfo = XCB_NONE;  // _XEMBED_INFO, on parts of other clients' windows
};

/* All of them, the lowest first; null if the server does not answer. */
std::optional<std::vector<TopLevel>> listTopLevels(Connection& connection,
                                                   const ManagerAtoms& atoms);

}  // namespace qor::x11
