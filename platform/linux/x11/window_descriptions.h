/*
 * What applications and the window manager say about the windows on screen. Of a long answer only
 * the beginning is asked for.
 */
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "coregraphics/display_server.h"
#include "x11/connection.h"
#include "x11/top_levels.h"

namespace qor::x11 {

class WindowDescriptions {
  public:
    explicit WindowDescriptions(Connection& connection) : connection_(connection) {}

    /* Those of the windows, the lowest one first, that are listed: front to back. One that has gone
     * meanwhile is left out. Null if the server does not answer. */
    std::optional<std::vector<coregraphics::WindowDescription>> describe(
        std::span<const TopLevel> windows);

  private:
    Connection& connection_;
    std::optional<std::vector<xcb_atom_t>> atoms_;  // null until they were asked for
};

}  // namespace qor::x11
