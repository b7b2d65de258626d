/* Lists in what a server sent. */
#pragma once

#include <xcb/xcb.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qor::x11 {

/* The list of count elements that begins at first, as far as the reply holds it. A reply tells its
 * own length, which is what was read and allocated, and the lists' lengths apart from that: a
 * server that contradicts itself, or whoever is between, must not have us read past the end. */
template <typename T, typename Reply>
std::span<const T> listIn(const Reply& reply, const T* first, std::uint64_t count) {
    constexpr std::size_t kHead = 32;  // of every reply, not counted in its length
    constexpr std::size_t kUnit = 4;
    const auto* const bytes = reinterpret_cast<const std::byte*>(&reply);
    const std::byte* const end = bytes + kHead + std::size_t{reply.length} * kUnit;
    const auto held = end - reinterpret_cast<const std::byte*>(first);
    if (held <= 0)
        return {};
    return {first, static_cast<std::size_t>(
                       std::min<std::uint64_t>(count, static_cast<std::size_t>(held) / sizeof(T)))};
}

/* The windows in a window, the lowest first. */
inline std::span<const xcb_window_t> childrenIn(const xcb_query_tree_reply_t& tree) {
    return listIn(tree, xcb_query_tree_children(&tree), tree.children_len);
}

}  // namespace qor::x11
