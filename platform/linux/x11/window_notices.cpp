#include "x11/window_notices.h"

#include "x11/notice.h"

namespace qor::x11 {
namespace {

void enterReparented(const xcb_reparent_notify_event_t& notice, xcb_window_t root,
                     ResidueLedger& ledger) {
    if (notice.parent != root)
        return ledger.gone(notice.window);
    // It comes unmapped; that it is mapped again is a notice of its own.
    ledger.appearedAt(notice.window, notice.x, notice.y);
}

}  // namespace

void askForNotices(Connection& connection) {
    connection.addRootEvents(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                             XCB_EVENT_MASK_PROPERTY_CHANGE);
}

bool enter(const xcb_generic_event_t& event, xcb_window_t root, ResidueLedger& ledger) {
    const auto about = isFromServer(event) ? childNoticeIn(event) : std::nullopt;
    if (!about || about->parent != root)
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
            ledger.mapped(about->child);
            return true;
        case XCB_UNMAP_NOTIFY:
            ledger.unmapped(about->child);
            return true;
        case XCB_DESTROY_NOTIFY:
            ledger.gone(about->child);
            return true;
        case XCB_REPARENT_NOTIFY:
            enterReparented(as<xcb_reparent_notify_event_t>(event), root, ledger);
            return true;
        default:  // their order, which the ledger has no part in
            return true;
    }
}

}  // namespace qor::x11
