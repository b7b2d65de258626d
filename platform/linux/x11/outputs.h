/* What an X server shows where: its outputs, by RandR 1.3, and its monitors, by RandR 1.5. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "x11/arrangement.h"
#include "x11/connection.h"

namespace qor::x11 {

/* The arrangement as it is now, asked for in two round trips; null if the server does not answer.
 * Of a server without RandR it is the root window alone. */
std::optional<Arrangement> askArrangement(Connection& connection);

/* The product name of the display at an output, else the output's own, for example "HDMI-1". In
 * UTF-8; null if there is no such output, or the server does not answer. */
std::optional<std::string> askOutputName(Connection& connection, std::uint32_t outputId);

/* The name that an atom stands for, in UTF-8; null as above. */
std::optional<std::string> askAtomName(Connection& connection, std::uint32_t atom);

}  // namespace qor::x11
