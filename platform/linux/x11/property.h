/* Values that windows carry under a name. */
#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace qor::x11 {

/* A property that is a single number or identifier; null if it is anything else, or not there. */
inline std::optional<std::uint32_t> singleValueIn(const xcb_get_property_reply_t* reply) {
    std::uint32_t value = 0;
    if (reply == nullptr || reply->format != 32 ||
        xcb_get_property_value_length(reply) != sizeof value)
        return std::nullopt;
    std::memcpy(&value, xcb_get_property_value(reply), sizeof value);
    return value;
}

/* A property that is a list of atoms; empty if it is anything else, or not there. */
inline std::span<const xcb_atom_t> atomsIn(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr || reply->type != XCB_ATOM_ATOM || reply->format != 32)
        return {};
    return {static_cast<const xcb_atom_t*>(xcb_get_property_value(reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(reply)) / sizeof(xcb_atom_t)};
}

}  // namespace qor::x11
