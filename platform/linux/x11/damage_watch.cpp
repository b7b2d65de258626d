#include "x11/damage_watch.h"

#include <xcb/damage.h>

#include <utility>

#include "x11/desktop_image.h"

namespace qor::x11 {

using coregraphics::PixelRect;

// Not checked: if the drawable has gone there is nothing to be told of, and whoever reads it learns
// that.
DamageWatch::DamageWatch(Connection& connection, xcb_drawable_t drawable)
    : connection_(connection), damage_(connection.takeIdentifier()), drawn_(kEverything) {
    connection_.addListener(*this);
    xcb_damage_create(connection_.handle(), damage_, drawable,
                      XCB_DAMAGE_REPORT_LEVEL_BOUNDING_BOX);
}

DamageWatch::~DamageWatch() {
    connection_.removeListener(*this);
    if (connection_.handle() == nullptr)
        return;  // left to the parent of a forked child
    xcb_damage_destroy(connection_.handle(), damage_);
    connection_.giveBackIdentifier(damage_);
}

PixelRect DamageWatch::forget() {
    missed_ = {};
    forgotten_ = xcb_damage_subtract(connection_.handle(), damage_, XCB_NONE, XCB_NONE).sequence;
    return std::exchange(drawn_, PixelRect{});
}

bool DamageWatch::take(const xcb_generic_event_t& event) noexcept {
    if (event.response_type != connection_.link().damageNotice)
        return false;
    const auto& notice = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
    if (notice.damage != damage_)
        return false;
    const PixelRect area{notice.area.x, notice.area.y, notice.area.width, notice.area.height};
    // An event carries the number of the last request that the server had come to. The difference
    // is right also when the numbers have wrapped.
    const auto since = static_cast<std::int32_t>(event.full_sequence - forgotten_);
    PixelRect& told = since < 0 ? missed_ : drawn_;
    told = around(told, area);
    return true;
}

}  // namespace qor::x11
