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

class WindowWatch;

struct TopLevel {
    xcb_window_t window = 0;
    xcb_window_t number = 0;      // the application's window, in it or itself; 0 while not visible
    coregraphics::PixelRect box;  // on the root window, with the border
    std::uint16_t border = 0;
    xcb_visualid_t visual = 0;
    bool isMapped = false;
    bool isForInputOnly = false;
    bool isBesideScreen = false;  // all of it
    // Minimised, or on another workspace, and mapped all the same: until an animation has ended, or
    // because a compositing manager wants their content, which it does not show.
    bool isHidden = false;

    bool isVisible() const { return isMapped && !isForInputOnly && !isHidden; }
    bool isListed() const { return isVisible() && !isBesideScreen && number != 0; }
};

struct WindowStack {
    std::vector<TopLevel> windows;  // the lowest first
    coregraphics::PixelRect root;
    bool isComposited = false;  // a compositing manager shows the windows, not the server itself
};

/* The names that the marks go by. */
struct ManagerAtoms {
    xcb_atom_t state = XCB_NONE;          // WM_STATE, on applications' windows
    xcb_atom_t check = XCB_NONE;          // _NET_SUPPORTING_WM_CHECK, on the root window
    xcb_atom_t embeddingInfo = XCB_NONE;  // _XEMBED_INFO, on parts of other clients' windows
    xcb_atom_t compositor = XCB_NONE;     // _NET_WM_CM_S0 or of another screen, a selection
    xcb_atom_t netState = XCB_NONE;       // _NET_WM_STATE, on applications' windows
    xcb_atom_t hidden = XCB_NONE;         // _NET_WM_STATE_HIDDEN, a state
    xcb_atom_t shaded = XCB_NONE;         // _NET_WM_STATE_SHADED, a state
};

/* All of them; null if the server does not answer. The watch, if there is one, is told what the
 * list is made from. */
std::optional<WindowStack> listTopLevels(Connection& connection, const ManagerAtoms& atoms,
                                         WindowWatch* watch);

}  // namespace qor::x11
