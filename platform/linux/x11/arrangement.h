/* Which displays the outputs and monitors of an X server make. No protocol in here. */
#pragma once

#include <cstdint>
#include <vector>

#include "coregraphics/display_server.h"
#include "coregraphics/pixel_buffer.h"

namespace qor::x11 {

/* An output that shows a part of the root window. */
struct Output {
    std::uint32_t id = 0;
    coregraphics::PixelRect area;  // of the root window, as rotated
    double refreshRate = 0;        // a second; 0 if unknown
};

/* A part of the root window with a name: the server makes one of each output by itself, and people
 * set others by hand to split outputs or join them. */
struct Monitor {
    std::uint32_t name = 0;  // an atom
    bool isAutomatic = false;
    bool isPrimary = false;
    coregraphics::PixelRect area;
    std::vector<std::uint32_t> outputs;
};

struct Arrangement {
    std::uint32_t rootId = 0;
    coregraphics::PixelRect root;
    unsigned depth = 0;
    bool hasOutputs = false;        // whether or not they show something
    std::vector<Output> outputs;    // those that do, in the server's order
    std::uint32_t mainOutput = 0;   // 0 if none was chosen
    std::vector<Monitor> monitors;  // in the server's order; empty if it knows none
};

/*
 * The displays, the main one first: the monitors set by hand, then the outputs that are not part of
 * one. Outputs that show the same area are one display, which is the main output if that is among
 * them, else the first; the next takes its place when it goes. A server without outputs is one
 * display, its root window, unless there are monitors set by hand.
 *
 * Monitors set by hand are cut to the root window; what is empty then is none.
 */
std::vector<coregraphics::Display> displaysIn(const Arrangement& arrangement);

/* The name of the monitor set by hand that a display is, an atom; 0 if it is none. */
std::uint32_t monitorNameIn(std::uint32_t displayId);

}  // namespace qor::x11
