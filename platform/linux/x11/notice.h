/* How the events are read by which a server tells what became of windows. */
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>

#include "coregraphics/pixel_buffer.h"

namespace qor::x11 {

/* False of an event that a client made up: that says nothing of what the server did. */
inline bool isFromServer(const xcb_generic_event_t& event) {
    constexpr std::uint8_t kSentByClient = 0x80;
    return (event.response_type & kSentByClient) == 0;
}

template <typename Notice>
const Notice& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Notice&>(event);
}

/* Where a window is, border included. */
template <typename Notice>
coregraphics::PixelRect boxIn(const Notice& notice) {
    const unsigned borders = 2U * notice.border_width;
    return {notice.x, notice.y, notice.width + borders, notice.height + borders};
}

/* A window that something became of, and the one in which it was told. */
struct ChildNotice {
    xcb_window_t parent = 0;
    xcb_window_t child = 0;
};

/* Null if the event tells of anything else, or of what became of the window itself that was asked
 * to tell. A window that changes its parent is told of in both. */
inline std::optional<ChildNotice> childNoticeIn(const xcb_generic_event_t& event) {
    const auto notice = [](xcb_window_t teller, xcb_window_t window) {
        return teller == window ? std::nullopt : std::optional(ChildNotice{teller, window});
    };
    const auto inEvent = [&](const auto& typed) { return notice(typed.event, typed.window); };
    switch (event.response_type) {
        case XCB_CREATE_NOTIFY: {
            const auto& typed = as<xcb_create_notify_event_t>(event);
            return notice(typed.parent, typed.window);
        }
        case XCB_DESTROY_NOTIFY:
            return inEvent(as<xcb_destroy_notify_event_t>(event));
        case XCB_UNMAP_NOTIFY:
            return inEvent(as<xcb_unmap_notify_event_t>(event));
        case XCB_MAP_NOTIFY:
            return inEvent(as<xcb_map_notify_event_t>(event));
        case XCB_REPARENT_NOTIFY:
            return inEvent(as<xcb_reparent_notify_event_t>(event));
        case XCB_CONFIGURE_NOTIFY:
            return inEvent(as<xcb_configure_notify_event_t>(event));
        case XCB_CIRCULATE_NOTIFY:
            return inEvent(as<xcb_circulate_notify_event_t>(event));
        default:
            return std::nullopt;
    }
}

}  // namespace qor::x11
