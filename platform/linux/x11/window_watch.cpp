#include "x11/window_watch.h"

#include <xcb/shape.h>
#include <xcb/xfixes.h>

#include <algorithm>

#include "x11/notice.h"

namespace qor::x11 {

void WindowWatch::begin(const ManagerAtoms& manager, xcb_atom_t opacityProperty,
                        const BackdropProperties& backdrop) {
    xcb_connection_t* handle = connection_.handle();
    manager_ = manager;
    lookProperties_ = {opacityProperty, backdrop.usual, backdrop.older};
    asked_.clear();
    beginList();
    // What the server was found to offer is known here without asking; null if the connection was
    // lost, and then nothing will be told either.
    if (const auto* selections = xcb_get_extension_data(handle, &xcb_xfixes_id))
        selectionNotice_ =
            static_cast<std::uint8_t>(selections->first_event + XCB_XFIXES_SELECTION_NOTIFY);
    if (connection_.link().hasShapes) {
        if (const auto* shapes = xcb_get_extension_data(handle, &xcb_shape_id))
            shapeNotice_ = static_cast<std::uint8_t>(shapes->first_event + XCB_SHAPE_NOTIFY);
    }
    // Not checked: the root window and the selection's name are there.
    xcb_xfixes_select_selection_input(handle, connection_.screen().root, manager.compositor,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
}

void WindowWatch::beginList() {
    added_.clear();
    lookedInto_.clear();
    below_.clear();
}

void WindowWatch::add(xcb_window_t window) {
    added_.insert(window);
    askOnce(window);
}

void WindowWatch::addTopLevel(xcb_window_t window) {
    added_.insert(window);
    if (askOnce(window) && shapeNotice_ != 0)
        xcb_shape_select_input(connection_.handle(), window, 1);
}

/* True if the window had not been asked to tell before. Not checked: if it has gone, the one that
 * it was in tells. */
bool WindowWatch::askOnce(xcb_window_t window) {
    if (!asked_.insert(window).second)
        return false;
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_.handle(), window, XCB_CW_EVENT_MASK, &mask);
    return true;
}

void WindowWatch::addChildren(xcb_window_t parent, std::span<const xcb_window_t> children) {
    lookedInto_.insert(parent);
    xcb_window_t below = XCB_NONE;
    for (const xcb_window_t child : children) {
        below_.insert_or_assign(child, below);
        below = child;
    }
}

Change WindowWatch::changeBy(const xcb_generic_event_t& event) noexcept {
    if (!isFromServer(event))
        return Change::none;
    if (event.response_type == selectionNotice_)
        return Change::meaning;
    if (event.response_type == shapeNotice_) {
        const auto& notice = as<xcb_shape_notify_event_t>(event);
        return notice.shape_kind == XCB_SHAPE_SK_BOUNDING ? Change::look : Change::none;
    }
    if (event.response_type == XCB_PROPERTY_NOTIFY)
        return changeOfProperty(as<xcb_property_notify_event_t>(event));
    return changeOfChild(event);
}

Change WindowWatch::changeOfChild(const xcb_generic_event_t& event) noexcept {
    const auto notice = childNoticeIn(event);
    if (!notice)  // the root window itself may have another size
        return event.response_type == XCB_CONFIGURE_NOTIFY ? Change::list : Change::none;
    if (event.response_type == XCB_DESTROY_NOTIFY || event.response_type == XCB_REPARENT_NOTIFY)
        asked_.erase(notice->child);
    if (notice->parent == connection_.screen().root)
        return Change::list;
    // What is put into windows for a moment to have them painted holds no application's window.
    if (!lookedInto_.contains(notice->parent) || isOwn(notice->child))
        return Change::none;
    if (event.response_type != XCB_CONFIGURE_NOTIFY)
        return Change::meaning;
    return changesOrder(as<xcb_configure_notify_event_t>(event)) ? Change::meaning : Change::none;
}

/* Most properties, such as titles, change often and mean nothing here. */
Change WindowWatch::changeOfProperty(const xcb_property_notify_event_t& notice) const noexcept {
    if (notice.window != connection_.screen().root && !added_.contains(notice.window))
        return Change::none;
    if (notice.atom == manager_.state || notice.atom == manager_.check ||
        notice.atom == manager_.embeddingInfo)
        return Change::meaning;
    if (notice.atom == manager_.netState)
        return Change::list;
    return std::ranges::count(lookProperties_, notice.atom) > 0 ? Change::look : Change::none;
}

/* A window that is moved or resized tells on which one it lies, too. */
bool WindowWatch::changesOrder(const xcb_configure_notify_event_t& notice) const noexcept {
    const auto found = below_.find(notice.window);
    return found == below_.end() || found->second != notice.above_sibling;
}

bool WindowWatch::isOwn(xcb_window_t window) const {
    const xcb_setup_t* setup = xcb_get_setup(connection_.handle());
    return (window & ~setup->resource_id_mask) == setup->resource_id_base;
}

}  // namespace qor::x11
