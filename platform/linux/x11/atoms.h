/* The numbers by which a server knows names. */
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "x11/connection.h"

namespace qor::x11 {

/* The atoms of names, in their order, in one round trip; null if the server does not answer. */
std::optional<std::vector<xcb_atom_t>> findAtoms(Connection& connection,
                                                 std::span<const std::string_view> names);

}  // namespace qor::x11
