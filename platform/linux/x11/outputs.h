/* The outputs of an X server that has RandR 1.3. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "coregraphics/pixel_buffer.h"
#include "x11/connection.h"

namespace qor::x11 {

/* An output that shows a part of the root window. */
struct Output {
    std::uint32_t id = 0;
    std::string name;              // the connector's, for example "HDMI-1"
    coregraphics::PixelRect area;  // of the root window, as rotated
    double refreshRate = 0;        // a second; 0 if unknown
};

struct OutputList {
    bool hasOutputs = false;     // active or not
    std::vector<Output> active;  // the main one first, then in the server's order
};

/* The outputs as they are now; null if the server does not answer. */
std::optional<OutputList> listOutputs(Connection& connection);

/* The description data of the display at an output; empty if there is none. */
std::vector<std::uint8_t> readEdid(Connection& connection, std::uint32_t outputId);

}  // namespace qor::x11
