#include "x11/window_notices.h"

namespace qor::x11 {
namespace {

using coregraphics::PixelRect;

constexpr std::uint8_t kSentByClient = 0x80;

template <typename Notice>
const Notice& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Notice&>(event);
}

template <typename Notice>
PixelRect boxIn(const Notice& notice) {
    const unsigned borders = 2U * notice.border_width;
    return {notice.x, notice.y, notice.width + borders, notice.height + borders};
}

void enterReparented(const xcb_reparent_notify_event_t& notice, xcb_window_t root,
                     ResidueLedger& ledger) {
    if (notice.parent != root)
        return ledger.gone(notice.window);
    // It comes unmapped; that it is mapped again is a notice of its own.
    ledger.appearedAt(notice.window, notice.x, notice.y);
}

}  // namespace

void askForNotices(const Connection& connection) {
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    // Not checked: the root window is always there, and notices are for every client to have.
    xcb_change_window_attributes(connection.handle(), connection.screen().root, XCB_CW_EVENT_MASK,
                                 &mask);
}

bool enter(const xcb_generic_event_t& event, xcb_window_t root, ResidueLedger& ledger) {
    // One that a client made up carries a mark, and says nothing of what the server did.
    if ((event.response_type & kSentByClient) != 0)
        return false;
    switch (event.response_type) {
        case XCB_CREATE_NOTIFY: {
            const auto& notice = as<xcb_create_notify_event_t>(event);
            ledger.appeared(notice.window, boxIn(notice), false);
            return true;
        }
        case XCB_CONFIGURE_NOTIFY: {
            const auto& notice = as<xcb_configure_notify_event_t>(event);
            ledger.configured(notice.window, boxIn(notice));
            return true;
        }
        case XCB_MAP_NOTIFY:
            ledger.mapped(as<xcb_map_notify_event_t>(event).window);
            return true;
        case XCB_UNMAP_NOTIFY:
            ledger.unmapped(as<xcb_unmap_notify_event_t>(event).window);
            return true;
        case XCB_DESTROY_NOTIFY:
            ledger.gone(as<xcb_destroy_notify_event_t>(event).window);
            return true;
        case XCB_REPARENT_NOTIFY:
            enterReparented(as<xcb_reparent_notify_event_t>(event), root, ledger);
            return true;
        default:
            return event.response_type == XCB_CIRCULATE_NOTIFY;
    }
}

}  // namespace qor::x11
