/* Values that windows carry under a name. */
#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "x11/reply_list.h"

namespace qor::x11 {

/* A property's value, of elements that are as large as its format says. */
template <typename T>
std::span<const T> valuesIn(const xcb_get_property_reply_t& reply) {
    if (reply.format != 8 * sizeof(T))
        return {};
    return listIn(reply, static_cast<const T*>(xcb_get_property_value(&reply)), reply.value_len);
}

/* A property that is a single number or identifier; null if it is anything else, or not there. */
inline std::optional<std::uint32_t> singleValueIn(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr)
        return std::nullopt;
    const auto values = valuesIn<std::uint32_t>(*reply);
    return values.size() == 1 ? std::optional(values.front()) : std::nullopt;
}

/* A property that is a list of atoms; empty if it is anything else, or not there. */
inline std::span<const xcb_atom_t> atomsIn(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr || reply->type != XCB_ATOM_ATOM)
        return {};
    return valuesIn<xcb_atom_t>(*reply);
}

/* A property that is a list of bytes; empty if it is anything else, or not there. */
inline std::string_view bytesIn(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr)
        return {};
    const auto values = valuesIn<char>(*reply);
    return {values.data(), values.size()};
}

}  // namespace qor::x11
